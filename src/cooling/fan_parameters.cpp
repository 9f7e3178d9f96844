// Fan limits, curves and PID parameters. An exported getter clears the caller's buffer and asks its
// family member, which looks the configuration up and answers from the board's tables.
#include <span>

#include "base/lookup.h"
#include "cooling/records.h"

using namespace bf::board;
using namespace bf::cooling;

namespace {

constexpr int32_t no_rpm = 0;
constexpr int32_t no_fan_type = 255;

int32_t rpm_of(const RpmLimit &limit, uint32_t fan_index, uint32_t fan_type) {
    if (fan_type == FAN_TYPE_SINGLE_ROTOR) {
        return limit.single_rotor;
    }
    const FanKind *fan = bf::row_at(fan_kinds, fan_index);
    if (fan == nullptr) {
        return no_rpm;
    }
    return fan->rear != 0 ? limit.rear : limit.front;
}

int32_t fan_type_in_tray(uint32_t flag, uint32_t fan_index) {
    const FanKind *fan = bf::row_at(fan_kinds, fan_index);
    if (fan == nullptr) {
        return no_fan_type;
    }
    return fan->rear != 0 && (flag & 0xFF) != 0 ? FAN_TYPE_DUAL_ROTOR : FAN_TYPE_SINGLE_ROTOR;
}

std::span<const CoolingModeRecord> cooling_modes(bool fell) {
    if (fell) {
        return fell_cooling_modes;
    }
    return tarn_cooling_modes;
}

int32_t give_no_curve(uint8_t *pwm) { return give(pwm, CurveList{}); }

int32_t give_limits(const ThermalLimits &limits, uint8_t *low, uint8_t *high) {
    if (low == nullptr || high == nullptr) {
        return -1;
    }
    *low = limits.low;
    *high = limits.high;
    return 0;
}

}  // namespace

extern "C" {

// ---- limits ----

int32_t FAN_GetShareMainbaordMinRpm(uint32_t fan_index, uint32_t fan_type) {
    return rpm_of(choose(min_rpm), fan_index, fan_type);
}
int32_t FAN_GetMinRPM(uint32_t fan_index, uint32_t fan_type) {
    return FAN_GetShareMainbaordMinRpm(fan_index, fan_type);
}

int32_t FAN_GetShareMainbaordMaxRpm(uint32_t fan_index, uint32_t fan_type) {
    return rpm_of(choose(max_rpm), fan_index, fan_type);
}
int32_t FAN_GetMaxRPM(uint32_t fan_index, uint32_t fan_type) {
    return FAN_GetShareMainbaordMaxRpm(fan_index, fan_type);
}

int32_t FAN_GetShareMainbaordPulseRpm() { return choose(pulse_rpm); }
int32_t FAN_GetPulse() { return FAN_GetShareMainbaordPulseRpm(); }

int32_t FAN_GetShareMainbaordMaxDownPwm() { return choose(max_down_pwm); }
int32_t FAN_GetMaxDownPwm() { return FAN_GetShareMainbaordMaxDownPwm(); }

int32_t FAN_GetShareMainbaordCallBackPwmByPower() { return choose(call_back_pwm_by_power); }
int32_t FAN_GetCallBackPwmByPower() { return FAN_GetShareMainbaordCallBackPwmByPower(); }

int32_t FAN_GetShareMainbaordOtherTMarginOffset() { return choose(other_margin_offset); }
int32_t FAN_GetOtherTMarginOffset() { return FAN_GetShareMainbaordOtherTMarginOffset(); }

int32_t FAN_GetShareMainbaordGPUTMarginBnry() { return choose(gpu_margin); }
int32_t FAN_GetGPUTMarginBnry() { return FAN_GetShareMainbaordGPUTMarginBnry(); }

int32_t FAN_GetShareMainbaordCPUTime() { return choose(cpu_time); }
int32_t FAN_GetCPUTime() { return FAN_GetShareMainbaordCPUTime(); }

int32_t FAN_GetShareMainbaordRAIDParas() { return choose(raid_paras); }
int32_t FAN_GetRAIDParas() { return FAN_GetShareMainbaordRAIDParas(); }

int32_t FAN_GetShareMainbaordGPUParas() { return choose(gpu_paras); }
int32_t FAN_GetGPUParas() { return FAN_GetShareMainbaordGPUParas(); }

int32_t FAN_GetShareMainbaordSmartNicParas() { return choose(smart_nic_paras); }
int32_t FAN_GetSmartNicParas() { return FAN_GetShareMainbaordSmartNicParas(); }

int32_t FAN_GetAIAdapterParas() { return 0; }

int32_t FAN_GetShareMainbaordMaxIntempLevel() { return choose(max_inlet_level); }
int32_t FAN_GetMaxIntempLevel() { return FAN_GetShareMainbaordMaxIntempLevel(); }

int32_t FAN_GetShareMainbaordIntempRevises() { return choose(inlet_revises); }
int32_t FAN_GetIntempRevises() { return FAN_GetShareMainbaordIntempRevises(); }

int32_t FAN_GetShareMainbaordFantrayType(uint32_t flag, uint32_t fan_index) {
    is_fell();  // a member like the others: the look-up is made, the answer is the same in both
    return fan_type_in_tray(flag, fan_index);
}
int32_t FAN_GetFantrayType(uint32_t flag, uint32_t fan_index) {
    return FAN_GetShareMainbaordFantrayType(flag, fan_index);
}
int32_t FAN_GetFantype_Tarn(uint32_t flag, uint32_t fan_index) {
    return fan_type_in_tray(flag, fan_index);
}

int32_t _FAN_GetShareMainbaordMaxPwmByFanType(uint32_t fan_type) {
    return fan_type == FAN_TYPE_DUAL_ROTOR ? choose_known(max_pwm_dual_rotor) : max_pwm;
}
int32_t FAN_GetMaxPwmFanType(uint32_t fan_type) {
    return _FAN_GetShareMainbaordMaxPwmByFanType(fan_type);
}

int32_t FAN_GetPCHThermalParams(uint8_t *low, uint8_t *high) {
    return give_limits(pch_limits, low, high);
}
int32_t FAN_GetMemThermalParams(uint8_t *low, uint8_t *high) {
    return give_limits(memory_limits, low, high);
}

double FAN_HarddiskTempAbGetMaxPwm() { return pwm_without_disk_temperature; }
double FAN_GetHarddiskTempFailed() { return FAN_HarddiskTempAbGetMaxPwm(); }
double _FAN_GetMaxPwmByNvme() { return pwm_without_nvme_temperature; }
double FAN_GetMaxPwmNvmeGetFailed() { return _FAN_GetMaxPwmByNvme(); }

// ---- lists ----

int32_t FAN_GetShareMainbaordPowerLstPwm(uint8_t *pwm) { return give_chosen(pwm, power_pwm); }
int32_t FAN_GetPowerLstPwm(uint8_t *pwm) {
    return cleared(pwm, FAN_LIST_SIZE, FAN_GetShareMainbaordPowerLstPwm);
}

int32_t FAN_GetShareMainbaordPowerLevel(uint16_t *watts) {
    return give_chosen(watts, power_levels);
}
int32_t FAN_GetPowerLevel(uint16_t *watts) {
    return cleared(watts, sizeof(PowerLevels), FAN_GetShareMainbaordPowerLevel);
}

int32_t FAN_GetShareMainbaordCPUTMarginOffset(uint8_t *offset) {
    return give_chosen(offset, cpu_margin_offsets);
}
int32_t FAN_GetCPUTMarginOffset(uint8_t *offset) {
    return cleared_s(offset, sizeof(MarginOffsets), FAN_GetShareMainbaordCPUTMarginOffset);
}

int32_t FAN_GetIntemp(uint8_t *degrees) {
    return give_chosen(degrees, inlet_levels) == 0 ? inlet_without_limit : -1;
}

int32_t FAN_GetIntempLstPwm(uint8_t *pwm) { return give(pwm, inlet_pwm); }
int32_t FAN_GetIntempLstPwmOf36LargeTop(uint8_t *pwm) { return give_no_curve(pwm); }
int32_t FAN_GetIntempLstPwmOf36LargeBottom(uint8_t *pwm) { return give_no_curve(pwm); }
int32_t FAN_GetIntempLstPwmOf24LargeTop(uint8_t *pwm) { return give_no_curve(pwm); }
int32_t FAN_GetIntempLstPwmOf24LargeBottom(uint8_t *pwm) { return give_no_curve(pwm); }
int32_t FAN_GetIntempLstPwmOf9000RpmTop(uint8_t *pwm) { return give_no_curve(pwm); }
int32_t FAN_GetIntempLstPwmOf9000RpmBottom(uint8_t *pwm) { return give_no_curve(pwm); }

// ---- PID parameters ----

int32_t FAN_GetShareMainbaordNvmePIDParas(FanPidParas *paras) {
    return give_chosen(paras, nvme_pid);
}
int32_t FAN_GetNvmePIDParas(FanPidParas *paras) {
    return cleared(paras, sizeof(*paras), FAN_GetShareMainbaordNvmePIDParas);
}

int32_t FAN_GetShareMainbaordCPULargePIDParas(FanPidParas *paras) {
    return give_chosen(paras, cpu_large_pid);
}
int32_t FAN_GetCPULargePIDParas(FanPidParas *paras) {
    return cleared(paras, sizeof(*paras), FAN_GetShareMainbaordCPULargePIDParas);
}

int32_t FAN_GetShareMainbaordCPUSmallPIDParas(FanPidParas *paras) {
    return give_chosen(paras, cpu_small_pid);
}
int32_t FAN_GetCPUSmallPIDParas(FanPidParas *paras) {
    return cleared(paras, sizeof(*paras), FAN_GetShareMainbaordCPUSmallPIDParas);
}

int32_t FAN_GetShareMainbaordOtherPIDParas(FanPidParas *paras) {
    return give_chosen(paras, other_pid);
}
int32_t FAN_GetOtherPIDParas(FanPidParas *paras) {
    return cleared(paras, sizeof(*paras), FAN_GetShareMainbaordOtherPIDParas);
}

// ---- cooling modes ----

int32_t FAN_GetShareMainbaordCoolingModeCnt() {
    return static_cast<int32_t>(cooling_modes(is_fell()).size());
}
int32_t FAN_GetCoolingModeCnt() { return FAN_GetShareMainbaordCoolingModeCnt(); }

int32_t FAN_GetShareMainbaordCoolingMode(CoolingModeRecord *records) {
    if (records == nullptr) {
        return -1;
    }
    const auto modes = cooling_modes(is_fell());
    std::memcpy(records, modes.data(), modes.size_bytes());
    return 0;
}
int32_t FAN_GetCoolingMode(CoolingModeRecord *records) {
    return cleared(records, sizeof(*records), FAN_GetShareMainbaordCoolingMode);
}

int32_t FAN_GetShareMainbaordCoolingModeParaByHDbk(uint32_t hdbk_id, uint32_t fan_type,
                                                   CoolingModeRecord *records) {
    if (records == nullptr) {
        return -1;
    }
    give(records, CoolingModeRecord{});
    const bool fell = is_fell();
    // `Fell` has one backplane combination, so the caller's is not asked.
    const uint32_t wanted = fell ? fell_hdbk_id : hdbk_id;
    int32_t result = -1;
    for (const CoolingModeRecord &row : cooling_modes(fell)) {
        if (row.hdbk_id == wanted && row.fan_type == fan_type) {
            result = give(&records[row.mode], row);
        }
    }
    return result;
}
int32_t FAN_GetCoolingModeParaByHDbk(uint32_t hdbk_id, uint32_t fan_type,
                                     CoolingModeRecord *records) {
    return FAN_GetShareMainbaordCoolingModeParaByHDbk(hdbk_id, fan_type, records);
}

}  // extern "C"
