// Fans by index, PWM output and tachometer; their labels, control and presence.
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>

#include "base/bits.h"
#include "base/lookup.h"
#include "cooling/configuration.h"

using namespace bf::board;
using bf::cooling::fell_known;

namespace {

constexpr char epld_reset_flag[] = "/var/epldresetflag";
constexpr uint32_t no_slot_number = 0;

// A caller's switching changes the rows of the configuration of the moment.
FanIndexMap fan_rows_tarn = fan_rows;
FanIndexMap fan_rows_fell = fan_rows;

// The last EPLD answer of any fan.
std::atomic<uint32_t> last_presence{0};

FanIndexMap runtime_map = {};
std::array<FanAllocationInfo, 2> allocation_infos = {};

FanRow *row_by_position(uint32_t fan_index) {
    FanIndexMap &map = fell_known() ? fan_rows_fell : fan_rows_tarn;
    return fan_index < std::size(map.rows) ? &map.rows[fan_index] : nullptr;
}

// The `wanted` byte of the first row whose `field` equals `key`; once `Fell` is known its rows are
// searched first.
int32_t look_up(uint8_t FanRow::*field, uint32_t key, uint8_t FanRow::*wanted, uint8_t *out) {
    if (out == nullptr) {
        return -1;
    }
    const FanRow *row = fell_known() ? bf::find_row(fan_rows_fell.rows, field, key) : nullptr;
    if (row == nullptr) {
        row = bf::find_row(fan_rows_tarn.rows, field, key);
    }
    return bf::copy_row(row != nullptr ? &(row->*wanted) : nullptr, out);
}

// An index of exactly the count passes and finds no row.
int32_t look_up_fan(uint32_t fan_index, uint8_t FanRow::*wanted, uint8_t *out) {
    if (fan_index > static_cast<uint32_t>(GetFanMaxCount())) {
        return -1;
    }
    return look_up(&FanRow::fan_index, fan_index, wanted, out);
}

int32_t write_number(const FanIndexMap &map, uint32_t fan_index, char *mark) {
    if (mark == nullptr) {
        return -1;
    }
    if (bf::find_row(map.rows, &FanRow::fan_index, fan_index) != nullptr) {
        std::snprintf(mark, sizeof(FanRow::mark), "%u", fan_index + 1);
    }
    return 0;
}

// Threads may switch a fan while others ask.
std::atomic_ref<uint8_t> control_of(FanRow &row) { return std::atomic_ref(row.control_enabled); }

void switch_control(uint32_t fan_index, uint8_t enabled) {
    if (FanRow *row = row_by_position(fan_index)) {
        control_of(*row).store(enabled, std::memory_order_relaxed);
    }
}

const FanPresence *presence_of(uint32_t fan_index) {
    for (const FanPresence &row : fan_presence) {
        const bool known_method =
            row.method == by_epld_bit || row.method == by_expander_input || row.method == by_speed;
        if (row.fan_index == fan_index && known_method) {
            return &row;
        }
    }
    return nullptr;
}

int32_t present_by_epld(const FanPresence &row) {
    if (access(epld_reset_flag, F_OK) == 0) {
        return static_cast<int32_t>(last_presence.load(std::memory_order_relaxed));
    }
    uint16_t value = 0;
    if (epldio_read(fan_presence_register, &value) != 0) {
        return 0;
    }
    const uint32_t present = bf::bit_of(value, row.epld_bit);
    last_presence.store(present, std::memory_order_relaxed);
    return static_cast<int32_t>(present);
}

int32_t present_by_expander(const FanPresence &row) {
    uint32_t level = 0;
    return ei2c_pca9535_get_value(&row.route, row.pin, &level) >= 0 && level == 0;
}

int32_t present_by_speed(const FanPresence &row) {
    uint32_t rpm = 0;
    const auto number = static_cast<uint32_t>(&row - fan_presence);
    return get_fan_speed(0, number, &rpm) >= 0 && rpm != 0;
}

}  // namespace

extern "C" {

int32_t _GetFanPwmIndexByFanIndex(uint32_t fan_index, uint8_t *pwm_index) {
    return look_up_fan(fan_index, &FanRow::pwm_index, pwm_index);
}
int32_t GetFanPwmIndexByFanIndex(uint32_t fan_index, uint8_t *pwm_index) {
    return _GetFanPwmIndexByFanIndex(fan_index, pwm_index);
}
int32_t GetTachNumByFanIndex(uint32_t fan_index, uint8_t *tach_number) {
    return look_up_fan(fan_index, &FanRow::tach_number, tach_number);
}
int32_t GetFanControlModeByFanIndex(uint32_t fan_index, uint8_t *control_mode) {
    return look_up_fan(fan_index, &FanRow::control_mode, control_mode);
}
int32_t GetFanFanIndexByPwmIndex(uint32_t pwm_index, uint8_t *fan_index) {
    return look_up(&FanRow::pwm_index, pwm_index, &FanRow::fan_index, fan_index);
}
int32_t GetFanIndexByTachNum(uint32_t tach_number, uint8_t *fan_index) {
    return look_up(&FanRow::tach_number, tach_number, &FanRow::fan_index, fan_index);
}

int32_t getFanMarkbyFanIndex_Tarn(uint32_t fan_index, char *mark) {
    return write_number(fan_rows_tarn, fan_index, mark);
}
int32_t getFanMarkbyFanIndex_Fell(uint32_t fan_index, char *mark) {
    return write_number(fan_rows_fell, fan_index, mark);
}

// The marks are the plain configuration's in both.
int32_t GetFanMarkByFanIndex(uint32_t fan_index, char *mark, uint32_t fan_type) {
    if (mark == nullptr || fan_index > static_cast<uint32_t>(GetFanMaxCount())) {
        return -1;
    }
    if (fan_type != FAN_TYPE_DUAL_ROTOR) {
        return getFanMarkbyFanIndex_Tarn(fan_index, mark);
    }
    const FanRow *row = bf::find_row(fan_rows_tarn.rows, &FanRow::fan_index, fan_index);
    if (row == nullptr) {
        return -1;
    }
    bf::copy_text(mark, row->mark);
    return 0;
}

uint32_t FAN_GetFanSlotNum(uint32_t fan_index) {
    const FanRow *row = row_by_position(fan_index);
    return row != nullptr ? row->slot_number : no_slot_number;
}

int32_t FanNeedSetFantraySerialNumber(uint32_t fan_index, uint8_t *need) {
    const FanRow *row = row_by_position(fan_index);
    if (row == nullptr || need == nullptr) {
        return -1;
    }
    *need = row->pwm_index;
    return 1;
}

int32_t IsFanNeedControl(uint32_t fan_index) {
    FanRow *row = row_by_position(fan_index);
    return row != nullptr ? control_of(*row).load(std::memory_order_relaxed) : -1;
}
void DisableFanCtrl(uint32_t fan_index) { switch_control(fan_index, 0); }
void EnableFanCtrl(uint32_t fan_index) { switch_control(fan_index, 1); }

int32_t GetFanOnlineStatus(uint32_t fan_index) {
    if (fan_index >= static_cast<uint32_t>(GetFanMaxCount_Board())) {
        return -1;
    }
    const FanPresence *row = presence_of(fan_index);
    if (row == nullptr) {
        return 0;
    }
    switch (row->method) {
        case by_epld_bit:
            return present_by_epld(*row);
        case by_expander_input:
            return present_by_expander(*row);
        default:
            return present_by_speed(*row);
    }
}

int32_t IsSupportMockPresent(uint32_t fan_index) {
    for (const FanPresence &row : fan_presence) {
        if (row.fan_index == fan_index && row.method == by_speed) {
            return 1;
        }
    }
    return 0;
}

int32_t SetFanIndexMap(const FanIndexMap *map) { return bf::copy_row(map, &runtime_map); }
int32_t GetFanIndexMap(FanIndexMap *map) { return bf::copy_row<FanIndexMap>(&runtime_map, map); }

int32_t SetFanAllocationINfo(const FanAllocationInfo *info, uint32_t block) {
    return block < allocation_infos.size() ? bf::copy_row(info, &allocation_infos[block]) : -1;
}
int32_t GetAllocationINfo(FanAllocationInfo *info, uint32_t block) {
    return bf::copy_row<FanAllocationInfo>(bf::row_at(allocation_infos, block), info);
}

int32_t IsSupportPartitionCtrolFan() {
    return bf::cooling::choose_known(partition_control_supported);
}

}  // extern "C"
