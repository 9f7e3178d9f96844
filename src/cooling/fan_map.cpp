// Fans by index, PWM output and tachometer; their labels, control and presence.
#include <array>
#include <atomic>
#include <cstdio>

#include "base/lookup.h"
#include "cooling/configuration.h"
#include "cooling/fan_presence.h"
#include "cooling/records.h"

using namespace bf::board;
using bf::cooling::fell_known;
using bf::cooling::give;
using bf::cooling::take;

namespace {

constexpr uint32_t no_slot_number = 0;

// A caller's switching changes the rows of the configuration of the moment.
FanIndexMap fan_rows_tarn = fan_rows;
FanIndexMap fan_rows_fell = fan_rows;

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
    return bf::cooling::fan_present(fan_presence, fan_index);
}

int32_t IsSupportMockPresent(uint32_t fan_index) {
    return bf::cooling::present_by_speed_only(fan_presence, fan_index);
}

int32_t SetFanIndexMap(const FanIndexMap *map) { return take(runtime_map, map); }
int32_t GetFanIndexMap(FanIndexMap *map) { return give(map, runtime_map); }

int32_t SetFanAllocationINfo(const FanAllocationInfo *info, uint32_t block) {
    return block < allocation_infos.size() ? take(allocation_infos[block], info) : -1;
}
int32_t GetAllocationINfo(FanAllocationInfo *info, uint32_t block) {
    return block < allocation_infos.size() ? give(info, allocation_infos[block]) : -1;
}

int32_t IsSupportPartitionCtrolFan() {
    return bf::cooling::choose_known(partition_control_supported);
}

}  // extern "C"
