// Every setting that is kept in a file. A further one is a row here and its two exported lines.
#pragma once

#include <cstdint>

namespace bf::config {

enum FileId : uint8_t {
    nic_display_file,
    rtc_file,
    fantray_file,
    alarm_policy_file,
    temp_threshold_file,
    sensor_threshold_file,
    thermal_protect_file,
    feature_switch_file,
    bmc_time_stamp_file,
    monitor_file,
    custom_location_file,
    custom_pchdisk_file,
    custom_info_file,
};

struct File {
    FileId id;
    bool must_exist;    // otherwise the first save creates it
    uint16_t lock_key;  // the semaphore that guards it between processes, 0: none
    char path[40];
};

inline constexpr File files[] = {
    {nic_display_file, false, 12338, "/conf/vel/nicinfoflag.ini"},
    {rtc_file, true, 12303, "/conf/vel/rtc_config.ini"},
    {fantray_file, false, 12305, "/conf/vel/fanvarinfo"},
    {alarm_policy_file, false, 0, "/conf/vel/alarmpolicy"},
    {temp_threshold_file, true, 0, "/conf/vel/pch_temp_threshold.ini"},
    {sensor_threshold_file, true, 0, "/conf/vel/sensor_threshold.ini"},
    {thermal_protect_file, true, 0, "/conf/BMC1/ThermalProtectCfg.ini"},
    {feature_switch_file, false, 0, "/conf/vel/featureCfgSw.ini"},
    {bmc_time_stamp_file, false, 12340, "/conf/vel/bmctimestamp"},
    {monitor_file, true, 0, "/conf/vel/monitor_cfg.ini"},
    {custom_location_file, false, 12306, "/conf/vel/custom_location_config.ini"},
    {custom_pchdisk_file, false, 12325, "/conf/vel/custom_pchdisk_config.ini"},
    {custom_info_file, false, 12306, "/conf/vel/custominfo"},
};

constexpr bool rows_are_in_order() {
    uint8_t place = 0;
    for (const File &file : files) {
        if (file.id != place++) {
            return false;
        }
    }
    return true;
}
static_assert(rows_are_in_order());

constexpr const File &file_of(FileId id) { return files[id]; }

enum class Kind : uint8_t { number, signed_number, small_number, text };

// What a stored number becomes.
enum class Rule : uint8_t {
    whole,
    low_byte,
    byte_below_255,      // a value of 255 or more leaves the caller's byte as it is
    byte_below_256,      // the same from 256 on
    low_byte_below_255,  // the low byte; 255 leaves the caller's byte as it is
};

// Section and key may hold the printf conversions of whole numbers, which a Place provides.
struct Setting {
    FileId file;
    Kind kind;
    Rule rule;
    uint16_t size;      // of the caller's value in bytes; a text is cut to one character less
    uint32_t fallback;  // of a number
    char section[24];   // empty: named by the caller
    char key[56];
    char text[12];  // the fallback of a text
};

inline constexpr Setting nic_display[] = {
    {nic_display_file, Kind::number, Rule::whole, 4, 1, "NicComponentMgnt", "InfoDisplay", ""},
};

inline constexpr Setting rtc_is_utc[] = {
    {rtc_file, Kind::small_number, Rule::whole, 1, 1, "rtcConfig", "isUTC", ""},
};
inline constexpr Setting utc_time[] = {
    {rtc_file, Kind::number, Rule::whole, 4, 0, "rtcConfig", "utctime", ""},
};

inline constexpr Setting fantray_sn[] = {
    {fantray_file, Kind::text, Rule::whole, 64, 0, "fantray_sn_%d", "serialNum", "20150305"},
    {fantray_file, Kind::number, Rule::low_byte, 1, 0, "fantray_sn_%d", "snLen", ""},
};

inline constexpr Setting alarm_policy[] = {
    {alarm_policy_file, Kind::number, Rule::low_byte, 1, 0, "Alarm", "policy", ""},
};
inline constexpr Setting alarm_codes[] = {
    {alarm_policy_file, Kind::text, Rule::whole, 1024, 0, "AlarmReportDisable", "Alarmcode", " "},
};
inline constexpr Setting alarm_disabled_once[] = {
    {alarm_policy_file, Kind::signed_number, Rule::whole, 4, 0, "", "flag", ""},
};

inline constexpr Setting temp_threshold[] = {
    {temp_threshold_file, Kind::number, Rule::byte_below_255, 1, 24, "pch", "setmask", ""},
    {temp_threshold_file, Kind::number, Rule::byte_below_255, 1, 0, "pch", "upper-non-recoverable",
     ""},
    {temp_threshold_file, Kind::number, Rule::byte_below_255, 1, 110, "pch", "upper-critical", ""},
    {temp_threshold_file, Kind::number, Rule::byte_below_255, 1, 105, "pch", "upper-non-critical",
     ""},
    {temp_threshold_file, Kind::number, Rule::byte_below_255, 1, 24, "mem", "setmask", ""},
    {temp_threshold_file, Kind::number, Rule::byte_below_255, 1, 0, "mem", "upper-non-recoverable",
     ""},
    {temp_threshold_file, Kind::number, Rule::byte_below_255, 1, 90, "mem", "upper-critical", ""},
    {temp_threshold_file, Kind::number, Rule::byte_below_255, 1, 85, "mem", "upper-non-critical",
     ""},
};

// The defaults are the caller's.
inline constexpr Setting sensor_threshold[] = {
    {sensor_threshold_file, Kind::number, Rule::byte_below_256, 1, 0, "", "UpperNonRecoverable",
     ""},
    {sensor_threshold_file, Kind::number, Rule::byte_below_256, 1, 0, "", "UpperCritical", ""},
    {sensor_threshold_file, Kind::number, Rule::byte_below_256, 1, 0, "", "UpperNonCritical", ""},
    {sensor_threshold_file, Kind::number, Rule::byte_below_256, 1, 0, "", "LowerNonRecoverable",
     ""},
    {sensor_threshold_file, Kind::number, Rule::byte_below_256, 1, 0, "", "LowerCritical", ""},
    {sensor_threshold_file, Kind::number, Rule::byte_below_256, 1, 0, "", "LowerNonCritical", ""},
};

inline constexpr Setting liquid_leakage[] = {
    {thermal_protect_file, Kind::number, Rule::low_byte, 1, 0, "LeakageTime", "Time", ""},
    {thermal_protect_file, Kind::number, Rule::low_byte, 1, 0, "LiquidCooling", "Mode", ""},
    {thermal_protect_file, Kind::number, Rule::low_byte, 1, 0, "LogNoFlange", "Log", ""},
};

inline constexpr Setting power_fault_switch[] = {
    {feature_switch_file, Kind::number, Rule::whole, 4, 1, "Fault_Diagnose", "powercontrol_0001",
     ""},
};
inline constexpr Setting mem_prefault_switch[] = {
    {feature_switch_file, Kind::number, Rule::whole, 4, 0, "System_Management",
     "faultdiagnose_0002", ""},
};

inline constexpr Setting bmc_time_stamp[] = {
    {bmc_time_stamp_file, Kind::number, Rule::whole, 4, 0, "bmc_time_stamp", "bmc time stamp", ""},
};

inline constexpr Setting memory_thresholds[] = {
    {monitor_file, Kind::signed_number, Rule::whole, 4, 78, "MemCfg", "left_mem_threshold_1", ""},
    {monitor_file, Kind::signed_number, Rule::whole, 4, 40, "MemCfg", "left_mem_threshold_2", ""},
};

inline constexpr Setting custom_location[] = {
    {custom_location_file, Kind::number, Rule::low_byte_below_255, 1, 255, "disk custom config",
     "origine_zone%d_disk%d_customzone", ""},
    {custom_location_file, Kind::number, Rule::low_byte_below_255, 1, 255, "disk custom config",
     "origine_zone%d_disk%d_customslik", ""},
};

inline constexpr Setting custom_pchdisk[] = {
    {custom_pchdisk_file, Kind::number, Rule::whole, 4, 255, "Pchdisk custom config",
     "CPU%d_BDF %04x:%02x:%02x.%01x_port%d_diskslot", ""},
    {custom_pchdisk_file, Kind::text, Rule::whole, 33, 0, "Pchdisk custom config",
     "CPU%d_BDF %04x:%02x:%02x.%01x_port%d_customsilk", ""},
};

inline constexpr Setting custom_info[] = {
    {custom_info_file, Kind::text, Rule::whole, 256, 0, "custom_info_%d", "infoString", ""},
    {custom_info_file, Kind::number, Rule::whole, 4, 0, "custom_info_%d", "infoLen", ""},
};
inline constexpr Setting product_extra[] = {
    {custom_info_file, Kind::text, Rule::whole, 256, 0, "%d_Product_Extra", "info_String_%d", ""},
    {custom_info_file, Kind::number, Rule::whole, 4, 0, "%d_Product_Extra", "info_Len_%d", ""},
};
inline constexpr Setting custom_id[] = {
    {custom_info_file, Kind::number, Rule::whole, 4, 0, "custom_info_id", "ID_Value", ""},
    {custom_info_file, Kind::text, Rule::whole, 64, 0, "custom_info_id", "ID_String", "VEL"},
};

}  // namespace bf::config
