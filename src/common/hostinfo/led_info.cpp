// The front-panel LEDs.
#include "base/lookup.h"
#include "boardfeatures/host.h"
#include "main/led_table.h"

namespace {

const LedInfo *led_by_id(uint32_t led_id) {
    return bf::find_row(bf::board::tAllLedTable, &LedInfo::led_id, led_id);
}

}  // namespace

extern "C" {

int32_t GetAllLedCount() { return static_cast<int32_t>(std::size(bf::board::tAllLedTable)); }
int32_t GetEpldLedCount() { return static_cast<int32_t>(std::size(bf::board::epld_led_table)); }
int32_t GetI2cLedCount() { return 0; }
int32_t GetGpioLedCount() { return 0; }

int32_t GetLedCommonInfoByIndex(uint32_t index, LedInfo *out) {
    return bf::copy_row(bf::row_at(bf::board::tAllLedTable, index), out);
}

int32_t GetLedCommonInfoByLedId(uint32_t led_id, LedInfo *out) {
    return bf::copy_row(led_by_id(led_id), out);
}

int32_t GetLedindexByLedId(uint32_t led_id, uint32_t *index) {
    const LedInfo *led = led_by_id(led_id);
    if (led == nullptr || index == nullptr) {
        return -1;
    }
    *index = static_cast<uint32_t>(led - bf::board::tAllLedTable);
    return 0;
}

int32_t GetLedEpldInfoByLedId(uint32_t led_id, LedEpldInfo *out) {
    return bf::copy_row(bf::find_row(bf::board::epld_led_table, &LedEpldInfo::led_id, led_id), out);
}

int32_t GetLedGpioInfoByLedId(uint32_t, void *) { return -1; }
int32_t GetLedI2cInfoByLedId(uint32_t, void *) { return -1; }

}  // extern "C"
