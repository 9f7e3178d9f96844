// Fan limits, curves and PID parameters of the two configurations.
#pragma once

#include <iterator>

#include "boardfeatures/cooling.h"
#include "cooling/fan_presence.h"
#include "main/fan_power_table.h"

namespace bf::board {

// A fact that may differ between the configurations.
template <typename Value>
struct PerConfiguration {
    Value tarn;
    Value fell;
};

template <typename Value>
constexpr PerConfiguration<Value> both(Value value) {
    return {value, value};
}

// ---- recognising `Fell` ----

inline constexpr uint32_t fell_first_key = 10;
inline constexpr uint32_t fell_second_key = 11;
inline constexpr uint16_t fell_first_ids[] = {0x5473, 0x546F};
inline constexpr uint16_t fell_second_id = 0x545B;

// ---- limits ----

// The rotors of a dual-rotor module: fans 0..3 in front, 4..7 behind.
inline constexpr uint32_t fan_count = 8;
struct FanKind {
    uint32_t fan_index;
    uint32_t rear;
};
inline constexpr FanKind fan_kinds[] = {{0, 0}, {1, 0}, {2, 0}, {3, 0},
                                        {4, 1}, {5, 1}, {6, 1}, {7, 1}};
static_assert(std::size(fan_kinds) == fan_count);

struct RpmLimit {
    int32_t single_rotor;
    int32_t front;
    int32_t rear;
};
inline constexpr auto min_rpm = both(RpmLimit{1200, 1350, 1100});
inline constexpr auto max_rpm = both(RpmLimit{15000, 17000, 14500});

inline constexpr int32_t max_pwm = 255;
inline constexpr PerConfiguration<int32_t> max_pwm_dual_rotor = {220, 255};

inline constexpr auto pulse_rpm = both(1000);
inline constexpr auto max_down_pwm = both(0);
inline constexpr auto call_back_pwm_by_power = both(0);
inline constexpr auto other_margin_offset = both(3);
inline constexpr auto gpu_margin = both(10);
inline constexpr auto cpu_time = both(2);
inline constexpr auto raid_paras = both(5);
inline constexpr auto gpu_paras = both(1);
inline constexpr auto smart_nic_paras = both(1);
inline constexpr auto max_inlet_level = both(45);
inline constexpr auto inlet_revises = both(0);
inline constexpr PerConfiguration<int32_t> gpu_a4000_supported = {1, 0};
inline constexpr PerConfiguration<int32_t> gpu_3080_supported = {1, 0};
inline constexpr PerConfiguration<int32_t> dual_rotor_limit_supported = {1, 0};
inline constexpr PerConfiguration<int32_t> gear_cooling_server_type = {4, 5};
inline constexpr PerConfiguration<int32_t> partition_control_supported = {1, 0};

inline constexpr double pwm_without_disk_temperature = 178.0;
inline constexpr double pwm_without_nvme_temperature = 178.0;

// ---- lists ----

struct CurveList {
    uint8_t values[FAN_LIST_SIZE];
};
struct PowerLevels {
    uint16_t watts[5];
};
struct MarginOffsets {
    uint8_t degrees[3];
};

inline constexpr auto power_pwm = both(CurveList{});
inline constexpr auto power_levels = both(PowerLevels{{235, 260, 300, 330, 360}});
inline constexpr auto cpu_margin_offsets = both(MarginOffsets{{3, 5, 1}});
inline constexpr auto inlet_levels = both(CurveList{{15, 20, 25, 30, 35, 40, 45, 127}});
inline constexpr int32_t inlet_without_limit = 127;
inline constexpr CurveList inlet_pwm = {{70, 70, 100, 140, 210, 240, 255, 255}};
inline constexpr PerConfiguration<CurveList> no_sensor_pwm = {
    {{75, 90, 120, 150, 200, 240, 255, 255}},
    {{75, 90, 120, 150, 225, 255, 255, 255}},
};
inline constexpr PerConfiguration<CurveList> bottom_device_pwm = no_sensor_pwm;

struct ThermalLimits {
    uint8_t low;
    uint8_t high;
};
inline constexpr ThermalLimits pch_limits = {78, 90};
inline constexpr ThermalLimits memory_limits = {70, 80};

// ---- PID parameters: Kp, Ki, Kd, cycle ----

inline constexpr auto nvme_pid = both(FanPidParas{4, 0, 0, 3, 0});
inline constexpr auto cpu_large_pid = both(FanPidParas{2, 4, 2, 2, 0});
inline constexpr auto cpu_small_pid = both(FanPidParas{5, 5, 0, 2, 0});
inline constexpr PerConfiguration<FanPidParas> other_pid = {{4, 16, 0, 4, 0}, {4, 16, 0, 2, 0}};
inline constexpr auto gpu_pid = both(FanPidParas{3, 2, 1, 1, 0});
inline constexpr auto gpu_t4_pid = both(FanPidParas{3, 2, 3, 1, 0});
inline constexpr FanPidParas nic_pid = {2, 3, 0, 1, 0};
inline constexpr FanPidParas raid_pid = {2, 3, 0, 1, 0};
inline constexpr FanPidParas optical_module_pid = {2, 6, 0, 1, 0};
inline constexpr FanPidParas fc_module_pid = {2, 3, 0, 1, 0};
inline constexpr FanPidParas gpu_r420_pid = {3, 2, 0, 1, 0};

// Three bands, then parameters A and B, target and cycle.
inline constexpr FanGpuPidParas raid_34x_pid = {{{2, 3, 0}, {2, 12, 0}, {6, 8, 0}}, 3, 5, 85, 1};
inline constexpr FanGpuPidParas gpu_l40s_pid = {{{5, 8, 0}, {2, 3, 0}, {4, 3, 0}}, 5, 3, 80, 1};
inline constexpr FanGpuPidParas gpu_l20_pid = {{{5, 8, 0}, {2, 2, 0}, {4, 2, 0}}, 10, 3, 78, 1};
inline constexpr FanGpuPidParas gpu_4080_pid = {{{2, 2, 0}, {4, 4, 0}, {6, 1, 0}}, 3, 0, 4, 1};
inline constexpr FanGpuPidParas gpu_4090_pid = {{{2, 2, 0}, {4, 4, 0}, {6, 1, 0}}, 3, 0, 4, 1};
inline constexpr FanGpuPidParas gpu_4090d_pid = {{{4, 4, 0}, {2, 2, 0}, {4, 2, 0}}, 4, 0, 6, 1};
inline constexpr FanGpuPidParas gpu_x8_pid = {{{6, 4, 0}, {2, 3, 0}, {4, 3, 0}}, 5, 3, 80, 1};
inline constexpr FanGpuPidParas gpu_t20_pid = {{{6, 4, 0}, {2, 3, 0}, {4, 3, 0}}, 5, 3, 80, 1};
inline constexpr FanGpuPidParas gpu_i20_pid = {{{6, 4, 0}, {2, 3, 0}, {4, 3, 0}}, 5, 3, 80, 1};
inline constexpr FanGpuPidParas gpu_s3000_pid = {{{6, 4, 0}, {2, 3, 0}, {4, 3, 0}}, 5, 3, 72, 1};
inline constexpr FanGpuPidParas gpu_vg1000_pid = {{{6, 6, 0}, {2, 3, 0}, {4, 3, 0}}, 5, 3, 75, 1};
inline constexpr FanGpuPidParas gpu_l2_pid = {{{3, 2, 1}, {3, 2, 1}, {3, 2, 1}}, 10, 3, 75, 1};

// ---- cooling modes: mode, fan type, backplane combination, PWM per inlet level ----

inline constexpr CoolingModeRecord tarn_cooling_modes[] = {
    {2, 7, 0, {50, 60, 70, 90, 120, 160, 210, 255}, {}},
    {0, 7, 0, {60, 70, 80, 100, 150, 190, 230, 255}, {}},
    {1, 7, 0, {70, 85, 110, 150, 200, 240, 255, 255}, {}},
    {2, 7, 1, {55, 65, 75, 95, 120, 160, 210, 255}, {}},
    {0, 7, 1, {65, 75, 85, 110, 150, 190, 230, 255}, {}},
    {1, 7, 1, {75, 90, 120, 150, 200, 240, 255, 255}, {}},
    {2, 7, 2, {50, 60, 70, 90, 120, 160, 210, 255}, {}},
    {0, 7, 2, {60, 70, 80, 100, 150, 190, 230, 255}, {}},
    {1, 7, 2, {70, 85, 110, 150, 200, 240, 255, 255}, {}},
    {2, 7, 3, {55, 65, 75, 95, 120, 160, 210, 255}, {}},
    {0, 7, 3, {65, 75, 85, 110, 150, 190, 230, 255}, {}},
    {1, 7, 3, {75, 90, 120, 150, 200, 240, 255, 255}, {}},
    {2, 7, 4, {55, 65, 75, 95, 120, 160, 210, 255}, {}},
    {0, 7, 4, {65, 75, 85, 110, 150, 190, 230, 255}, {}},
    {1, 7, 4, {75, 90, 120, 150, 200, 240, 255, 255}, {}},
    {2, 8, 0, {40, 55, 70, 100, 140, 180, 220, 220}, {}},
    {0, 8, 0, {40, 55, 70, 100, 140, 180, 220, 220}, {}},
    {1, 8, 0, {50, 65, 90, 120, 170, 210, 220, 220}, {}},
    {2, 8, 1, {40, 55, 75, 110, 150, 190, 220, 220}, {}},
    {0, 8, 1, {40, 55, 75, 110, 150, 190, 220, 220}, {}},
    {1, 8, 1, {50, 65, 90, 120, 170, 210, 220, 220}, {}},
    {2, 8, 2, {40, 55, 70, 100, 140, 180, 220, 220}, {}},
    {0, 8, 2, {40, 55, 70, 100, 140, 180, 220, 220}, {}},
    {1, 8, 2, {50, 65, 90, 120, 170, 210, 220, 220}, {}},
    {2, 8, 3, {40, 55, 75, 110, 150, 190, 220, 220}, {}},
    {0, 8, 3, {40, 55, 75, 110, 150, 190, 220, 220}, {}},
    {1, 8, 3, {50, 65, 90, 120, 170, 210, 220, 220}, {}},
    {2, 8, 4, {40, 55, 75, 110, 150, 190, 220, 220}, {}},
    {0, 8, 4, {40, 55, 75, 110, 150, 190, 220, 220}, {}},
    {1, 8, 4, {50, 65, 90, 120, 170, 210, 220, 220}, {}},
};
static_assert(std::size(tarn_cooling_modes) == FAN_COOLING_MODES_MAX);

inline constexpr uint16_t fell_hdbk_id = 3;
inline constexpr CoolingModeRecord fell_cooling_modes[] = {
    {2, 7, fell_hdbk_id, {55, 65, 95, 135, 200, 230, 255, 255}, {}},
    {0, 7, fell_hdbk_id, {65, 75, 95, 140, 210, 240, 255, 255}, {}},
    {1, 7, fell_hdbk_id, {75, 90, 120, 150, 225, 255, 255, 255}, {}},
    {2, 8, fell_hdbk_id, {35, 45, 65, 110, 190, 230, 255, 255}, {}},
    {0, 8, fell_hdbk_id, {40, 55, 70, 120, 200, 240, 255, 255}, {}},
    {1, 8, fell_hdbk_id, {55, 70, 100, 145, 220, 255, 255, 255}, {}},
};
static_assert(std::size(fell_cooling_modes) == 6);

// ---- cards without a temperature sensor: vendor, device, subsystem vendor, subsystem device ----

inline constexpr NoTempComponent tarn_no_sensor_cards[] = {
    {0x8086, 0x10FB, 0xFFFF, 0x0B1F}, {0x8086, 0x1572, 0x1CF2, 0x0B49},
    {0x15B3, 0x1015, 0x15B3, 0x0004}, {0x8086, 0x1572, 0x8086, 0x0004},
    {0x8086, 0x1572, 0x8086, 0x00A1},
};
inline constexpr NoTempComponent fell_no_sensor_cards[] = {
    {0x8086, 0x10FB, 0xFFFF, 0x0B1F}, {0x8086, 0x1572, 0x1CF2, 0x0B49},
    {0x15B3, 0x1015, 0x15B3, 0x0004}, {0x8086, 0x1572, 0x8086, 0x0008},
    {0x8086, 0x1572, 0x8086, 0x0004}, {0x8086, 0x15FF, 0x8086, 0x000C},
    {0x8086, 0x1572, 0x8086, 0x00A1},
};
static_assert(std::size(fell_no_sensor_cards) == FAN_NO_TEMP_COMPONENTS_MAX);

// ---- fans ----

// Rows in fan order: index, PWM output, tachometer, control mode, controlled, mark, module, tray.
// The two configurations have the same fans; switching control of one applies to the rows of the
// configuration of the moment.
inline constexpr FanIndexMap fan_rows = {{
    {0, 0, 0, 0, 1, "1F", {}, "fan1", 1},
    {1, 1, 1, 0, 1, "2F", {}, "fan2", 2},
    {2, 2, 2, 0, 1, "3F", {}, "fan3", 3},
    {3, 3, 3, 0, 1, "4F", {}, "fan4", 4},
    {4, 0, 4, 0, 1, "1R", {}, "fan1", 1},
    {5, 1, 5, 0, 1, "2R", {}, "fan2", 2},
    {6, 2, 6, 0, 1, "3R", {}, "fan3", 3},
    {7, 3, 7, 0, 1, "4R", {}, "fan4", 4},
}};

inline constexpr uint32_t fan_presence_register = 0x208;

// How each fan's presence is known: fan, method, EPLD bit; the module is named in the route.
inline constexpr cooling::FanPresence fan_presence[] = {
    {0, cooling::by_epld_bit, 6, 0, {0, 0, 0, 0, 0, "fan1"}},
    {1, cooling::by_epld_bit, 7, 0, {0, 0, 0, 0, 0, "fan2"}},
    {2, cooling::by_epld_bit, 8, 0, {0, 0, 0, 0, 0, "fan3"}},
    {3, cooling::by_epld_bit, 9, 0, {0, 0, 0, 0, 0, "fan4"}},
    {4, cooling::by_epld_bit, 6, 0, {0, 0, 0, 0, 0, "fan1"}},
    {5, cooling::by_epld_bit, 7, 0, {0, 0, 0, 0, 0, "fan2"}},
    {6, cooling::by_epld_bit, 8, 0, {0, 0, 0, 0, 0, "fan3"}},
    {7, cooling::by_epld_bit, 9, 0, {0, 0, 0, 0, 0, "fan4"}},
};

inline constexpr uint8_t fan_types[] = {FAN_TYPE_SINGLE_ROTOR, FAN_TYPE_DUAL_ROTOR};
inline constexpr uint8_t rear_rotor_sensors[] = {4, 5, 6, 7};

// ---- liquid cooling ----

inline constexpr I2cChipRoute flange_card_expander = {13, 0x20, 0, 0x77, 3, {}};
inline constexpr I2cChipRoute liquid_kit_expander = {10, 0x20, 0, 0, 0, {}};
inline constexpr I2cChipRoute leak_expander = {10, 0x21, 0, 0, 0, {}};
inline constexpr uint8_t flange_card_id = 9;
inline constexpr uint8_t liquid_kit_id[] = {0x28, 0x8F};

}  // namespace bf::board
