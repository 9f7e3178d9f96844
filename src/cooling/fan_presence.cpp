#include "cooling/fan_presence.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>

#include "base/bits.h"
#include "main/cooling_tables.h"

namespace bf::cooling {

namespace {

constexpr char epld_reset_flag[] = "/var/epldresetflag";

// The last EPLD answer of any fan: what all report while the EPLD is being reset.
std::atomic<uint32_t> last_presence{0};

int32_t present_by_epld(const FanPresence &row) {
    if (access(epld_reset_flag, F_OK) == 0) {
        return static_cast<int32_t>(last_presence.load(std::memory_order_relaxed));
    }
    uint16_t value = 0;
    if (epldio_read(board::fan_presence_register, &value) != 0) {
        return 0;
    }
    const uint32_t present = bit_of(value, row.epld_bit);
    last_presence.store(present, std::memory_order_relaxed);
    return static_cast<int32_t>(present);
}

// The expander's input is low while the fan is there.
int32_t present_by_expander(const FanPresence &row) {
    uint32_t level = 0;
    return ei2c_pca9535_get_value(&row.route, row.pin, &level) >= 0 && level == 0;
}

int32_t present_by_speed(uint32_t row_number) {
    uint32_t rpm = 0;
    return get_fan_speed(0, row_number, &rpm) >= 0 && rpm != 0;
}

}  // namespace

int32_t fan_present(std::span<const FanPresence> rows, uint32_t fan_index) {
    uint32_t number = 0;
    for (const FanPresence &row : rows) {
        if (row.fan_index == fan_index) {
            switch (row.method) {
                case by_epld_bit:
                    return present_by_epld(row);
                case by_expander_input:
                    return present_by_expander(row);
                case by_speed:
                    return present_by_speed(number);
                default:
                    break;
            }
        }
        ++number;
    }
    return 0;
}

int32_t present_by_speed_only(std::span<const FanPresence> rows, uint32_t fan_index) {
    return std::ranges::any_of(rows, [fan_index](const FanPresence &row) {
        return row.fan_index == fan_index && row.method == by_speed;
    });
}

}  // namespace bf::cooling
