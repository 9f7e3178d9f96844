// Add-in components: PID parameters, cards without a temperature sensor, fan power, switches.
#include <span>

#include "cooling/records.h"

using namespace bf::board;
using namespace bf::cooling;

namespace {

std::span<const NoTempComponent> no_sensor_cards(bool fell) {
    if (fell) {
        return fell_no_sensor_cards;
    }
    return tarn_no_sensor_cards;
}

std::span<const FanPower> fan_power(bool fell, uint32_t fan_type) {
    const bool single = fan_type == FAN_TYPE_SINGLE_ROTOR;
    if (fell) {
        return single ? fell_single_rotor_power : fell_dual_rotor_power;
    }
    return single ? tarn_single_rotor_power : tarn_dual_rotor_power;
}

}  // namespace

extern "C" {

// ---- PID parameters through a family member ----

int32_t FAN_GetShareMainbaordGpuPIDParas(FanPidParas *paras) { return give_chosen(paras, gpu_pid); }
int32_t FAN_GetGpuPIDParas(FanPidParas *paras) {
    return cleared_s(paras, sizeof(*paras), FAN_GetShareMainbaordGpuPIDParas);
}

int32_t FAN_GetShareMainbaordGpuPIDForT4Paras(FanPidParas *paras) {
    return give_chosen(paras, gpu_t4_pid);
}
int32_t FAN_GetGpuPIDForT4Paras(FanPidParas *paras) {
    return cleared_s(paras, sizeof(*paras), FAN_GetShareMainbaordGpuPIDForT4Paras);
}

// ---- PID parameters that are constants ----

int32_t FAN_GetNicPIDParas(FanPidParas *p) { return give_cleared_s(p, nic_pid); }
int32_t FAN_GetRaidPIDParas(FanPidParas *p) { return give_cleared_s(p, raid_pid); }
int32_t FAN_GetOptModPIDParas(FanPidParas *p) { return give_cleared_s(p, optical_module_pid); }
int32_t FAN_GetFcModPIDParas(FanPidParas *p) { return give_cleared_s(p, fc_module_pid); }
int32_t FAN_GetGpuPIDForR420Paras(FanPidParas *p) { return give_cleared_s(p, gpu_r420_pid); }
int32_t FAN_Get34XRaidPIDParas(FanGpuPidParas *p) { return give_cleared_s(p, raid_34x_pid); }
int32_t FAN_GetGpuL40sPIDParas(FanGpuPidParas *p) { return give_cleared_s(p, gpu_l40s_pid); }
int32_t FAN_GetGpuL20PIDParas(FanGpuPidParas *p) { return give_cleared_s(p, gpu_l20_pid); }
int32_t FAN_GetGpu4080PIDParas(FanGpuPidParas *p) { return give_cleared_s(p, gpu_4080_pid); }
int32_t FAN_GetGpu4090PIDParas(FanGpuPidParas *p) { return give_cleared_s(p, gpu_4090_pid); }
int32_t FAN_GetGpu4090DPIDParas(FanGpuPidParas *p) { return give_cleared_s(p, gpu_4090d_pid); }
int32_t FAN_GetGpuX8PIDParas(FanGpuPidParas *p) { return give_cleared_s(p, gpu_x8_pid); }
int32_t FAN_GetGpuT20PIDParas(FanGpuPidParas *p) { return give_cleared_s(p, gpu_t20_pid); }
int32_t FAN_GetGpuI20PIDParas(FanGpuPidParas *p) { return give_cleared_s(p, gpu_i20_pid); }
int32_t FAN_GetGpuS3000PIDParas(FanGpuPidParas *p) { return give_cleared_s(p, gpu_s3000_pid); }
int32_t FAN_GetGpuVG1000PIDParas(FanGpuPidParas *p) { return give_cleared_s(p, gpu_vg1000_pid); }
int32_t FAN_GetGpuL2PIDParas(FanGpuPidParas *p) { return give_cleared_s(p, gpu_l2_pid); }

// ---- cards without a temperature sensor ----

int32_t FAN_GetNoTempComponentsCounts() {
    return static_cast<int32_t>(no_sensor_cards(is_fell()).size());
}
int32_t FAN_GetNoTempComponentsCountsInBoard() { return FAN_GetNoTempComponentsCounts(); }

int32_t FAN_GetNoTempComponents(NoTempComponent *components) {
    if (components == nullptr) {
        return -1;
    }
    const auto cards = no_sensor_cards(is_fell());
    std::memcpy(components, cards.data(), cards.size_bytes());
    return 0;
}
int32_t FAN_GetNoTempComponentsInBoard(NoTempComponent *components) {
    return cleared(components, sizeof(*components), FAN_GetNoTempComponents);
}

int32_t FAN_GetNoTempComponentsPWMLevel(uint8_t *pwm) { return give_chosen(pwm, no_sensor_pwm); }
int32_t FAN_GetNoTempComponentsPWM(uint8_t *pwm) {
    return cleared(pwm, FAN_LIST_SIZE, FAN_GetNoTempComponentsPWMLevel);
}

int32_t FAN_GetBottomDevPwmLevel(uint8_t *pwm) { return give_chosen(pwm, bottom_device_pwm); }
int32_t FAN_GetBottomDevPwm(uint8_t *pwm) {
    return cleared(pwm, FAN_LIST_SIZE, FAN_GetBottomDevPwmLevel);
}

int32_t FAN_GetNoTempFcPWM(uint8_t *pwm) { return give(pwm, CurveList{}); }

// ---- fan power ----

int32_t FAN_GetFanPower(FanPower *power, uint32_t fan_type) {
    if (power == nullptr) {
        return -1;
    }
    const auto rows = fan_power(is_fell(), fan_type);
    std::memcpy(power, rows.data(), rows.size_bytes());
    return 0;
}
int32_t FAN_GetTotalPower(FanPower *power, uint32_t fan_type) {
    if (power == nullptr) {
        return -1;
    }
    std::memset(power, 0, sizeof(FanPower) * FAN_POWER_ROWS);
    return FAN_GetFanPower(power, fan_type);
}

// ---- switches ----

int32_t FAN_IsSupportA4000GPU() { return choose(gpu_a4000_supported); }
int32_t IsSupportA4000Gpu() { return FAN_IsSupportA4000GPU(); }
int32_t FAN_IsSupport3080GPU() { return choose(gpu_3080_supported); }
int32_t IsSupport3080Gpu() { return FAN_IsSupport3080GPU(); }
int32_t FAN_IsSupportDualRotorsSpeedLimit() { return choose(dual_rotor_limit_supported); }
int32_t IsSupportDualRotorsSpeedLimit() { return FAN_IsSupportDualRotorsSpeedLimit(); }
int32_t IsCrag_3080Gpu() { return 0; }

int32_t GetServerTypeForGearCooling() { return choose_known(gear_cooling_server_type); }
int32_t FAN_GetServerTypeForGearCooling() { return GetServerTypeForGearCooling(); }

int32_t FanGetNvmeStartTemp() { return 60; }

}  // extern "C"
