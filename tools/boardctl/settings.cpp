#include "settings.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "boardfeatures/config.h"
#include "boardfeatures/host.h"
#include "boardfeatures/ipc.h"
#include "boardfeatures/pcieid_settings.h"
#include "boardfeatures/soc.h"
#include "numbers.h"

namespace boardctl {

namespace {

constexpr int64_t most_32_bits = 0xFFFFFFFF;
constexpr char here[] = "{}";

constexpr char rtc_file[] = "/conf/vel/rtc_config.ini";
constexpr char monitor_file[] = "/conf/vel/monitor_cfg.ini";
constexpr char effect_mode_file[] = "/conf/vel/pcieidcfg.ini";
constexpr int32_t effect_mode_key = 4123;

// ---- the forms of the library's functions ----

template <typename Number>
bool call_load(int32_t (*load)(Number *), Json &value) {
    auto number = value.get<Number>();
    const bool loaded = load(&number) == 0;
    value = uint32_t{number};
    return loaded;
}
template <auto load>
bool load_one(const std::string &, Values &values) {
    return call_load(load, values[0]);
}
template <auto save>
bool save_one(const std::string &, const Values &values) {
    return save(values[0].get<uint32_t>()) == 0;
}

template <std::size_t count>
std::array<uint8_t, count> bytes_of(const Values &values) {
    std::array<uint8_t, count> bytes = {};
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = values[i].is_null() ? uint8_t{0} : values[i].get<uint8_t>();
    }
    return bytes;
}
template <std::size_t count>
void take_bytes(const std::array<uint8_t, count> &bytes, Values &values) {
    values.assign(bytes.begin(), bytes.end());
}

// The file's own entries, for a setting that the library uses and does not hand out.
template <std::size_t count>
bool read_entries(const char *file, const char *section, const char *const (&names)[count],
                  Values &values) {
    const std::optional<IniText> text = IniText::load(file);
    if (!text) {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (const auto stored = text->value(section, names[i])) {
            values[i] = number_of(*stored).value_or(values[i].get<int64_t>());
        }
    }
    return true;
}

// A time that was never set is one that the library does not answer.
bool load_utc_time(const std::string &, Values &values) {
    uint32_t utc = 0;
    if (GetTimeStampFromRtc(&utc, rtc_file) == 0) {
        values[0] = utc;
        return true;
    }
    const std::optional<IniText> text = IniText::load(rtc_file);
    return text && number_of(text->value("rtcConfig", "utctime").value_or("0")) == 0;
}

// Without file and segment there is nothing to ask for, and asking would leave a segment behind. A
// mode that is neither is repaired by the first question.
bool load_effect_mode(const std::string &, Values &values) {
    if (IniText::missing(effect_mode_file) && OAL_ShmIsExist(effect_mode_key) == 0) {
        return false;
    }
    uint32_t mode = 0;
    for (int question = 0; question < 2; ++question) {
        if (pcieidcfg_get_effect_mode(&mode) != 0) {
            return false;
        }
    }
    values[0] = mode;
    return true;
}

bool load_customer(const std::string &, Values &values) {
    uint32_t index = 0;
    char text[64] = "";
    const bool loaded = IPMI_LoadCustomID(&index, text) == 0;
    values = {index, field_text(text)};
    return loaded;
}

// ---- fan trays and sensors ----

bool load_fan_tray(const std::string &tray, Values &values) {
    char serial[64] = "";
    uint8_t length = 0;
    const auto number = number_of(tray);
    const bool loaded =
        number && IPMI_LoadFantraySN(static_cast<uint32_t>(*number), serial, &length) == 0;
    values = {field_text(serial), uint32_t{length}};
    return loaded;
}
bool save_fan_tray(const std::string &tray, const Values &values) {
    const auto number = number_of(tray);
    const auto serial = values[0].get<std::string>();
    return number && IPMI_SaveFantraySN(static_cast<uint32_t>(*number), serial.c_str(),
                                        static_cast<uint32_t>(serial.size())) == 0;
}
bool erase_fan_tray(const std::string &tray) {
    const auto number = number_of(tray);
    return number && IPMI_DelFantraySN(static_cast<uint32_t>(*number)) == 0;
}

constexpr int64_t largest_temp_threshold = 254;  // from 255 on the entry does not count
constexpr char celsius[] = "degrees C";

Field threshold(const char *device, const char *key, uint32_t fallback, const char *unit) {
    return {fmt::format("temp-threshold.{}.{}", device, key),
            device,
            key,
            fallback,
            0,
            largest_temp_threshold,
            unit};
}
Field sensor_threshold(const char *name, const char *key) {
    return {fmt::format("sensor-threshold.{}.{}", here, name), here, key, nullptr, 0, UINT8_MAX};
}

}  // namespace

const std::vector<Record> &all_settings() {
    static const std::vector<Record> records = {
        {"/conf/vel/nicinfoflag.ini",
         false,
         load_one<IPMI_LoadNICDisplayCfg>,
         save_one<IPMI_SaveNICDisplayCfg>,
         nullptr,
         {{"nic-display", "NicComponentMgnt", "InfoDisplay", 1, 0, most_32_bits}}},
        {rtc_file,
         true,
         load_one<IPMI_RTCConfig_LoadFile>,
         save_one<IPMI_RTCConfig_SaveFile>,
         nullptr,
         {{"rtc-is-utc", "rtcConfig", "isUTC", 1, 0, 1}}},
        {rtc_file,
         true,
         load_utc_time,
         [](const std::string &, const Values &values) {
             return IPMI_UtcTimeAllConfig_SaveFile(values[0].get<uint32_t>(), rtc_file) == 0;
         },
         nullptr,
         {{"utc-time", "rtcConfig", "utctime", 0, 0, most_32_bits, "s"}}},
        {"/conf/vel/bmctimestamp",
         false,
         load_one<IPMI_LoadBMCTimeStamp>,
         save_one<IPMI_SaveBMCTimeStamp>,
         nullptr,
         {{"bmc-time-stamp", "bmc_time_stamp", "bmc time stamp", 0, 0, most_32_bits, "s"}}},
        {"/conf/vel/alarmpolicy",
         false,
         load_one<IPMI_LoadAlarmReportPolicy>,
         save_one<IPMI_SaveAlarmReportPolicy>,
         nullptr,
         {{"alarm-report-policy", "Alarm", "policy", 0, 0, UINT8_MAX}}},
        {"/conf/vel/pch_temp_threshold.ini",
         true,
         [](const std::string &, Values &values) {
             auto bytes = bytes_of<8>(values);
             const bool loaded = IPMI_LoadTempThreshold(bytes.data()) == 0;
             take_bytes(bytes, values);
             return loaded;
         },
         [](const std::string &, const Values &values) {
             return IPMI_SaveTempThreshold(bytes_of<8>(values).data()) == 0;
         },
         nullptr,
         {threshold("pch", "setmask", 24, ""),
          threshold("pch", "upper-non-recoverable", 0, celsius),
          threshold("pch", "upper-critical", 110, celsius),
          threshold("pch", "upper-non-critical", 105, celsius), threshold("mem", "setmask", 24, ""),
          threshold("mem", "upper-non-recoverable", 0, celsius),
          threshold("mem", "upper-critical", 90, celsius),
          threshold("mem", "upper-non-critical", 85, celsius)}},
        {"/conf/vel/sensor_threshold.ini",
         true,
         [](const std::string &sensor, Values &values) {
             const auto fallbacks = bytes_of<6>(values);
             auto bytes = fallbacks;
             const bool loaded =
                 IPMI_LoadSensorThreshold(sensor.c_str(), fallbacks.data(), bytes.data()) == 0;
             take_bytes(bytes, values);
             return loaded;
         },
         [](const std::string &sensor, const Values &values) {
             return IPMI_SaveSensorThreshold(sensor.c_str(), bytes_of<6>(values).data()) == 0;
         },
         nullptr,
         {sensor_threshold("upper-non-recoverable", "UpperNonRecoverable"),
          sensor_threshold("upper-critical", "UpperCritical"),
          sensor_threshold("upper-non-critical", "UpperNonCritical"),
          sensor_threshold("lower-non-recoverable", "LowerNonRecoverable"),
          sensor_threshold("lower-critical", "LowerCritical"),
          sensor_threshold("lower-non-critical", "LowerNonCritical")}},
        {"/conf/BMC1/ThermalProtectCfg.ini",
         true,
         [](const std::string &, Values &values) {
             auto bytes = bytes_of<3>(values);
             const bool loaded = IPMI_LoadLiquidLeakageCfg(&bytes[0], &bytes[1], &bytes[2]) == 0;
             take_bytes(bytes, values);
             return loaded;
         },
         [](const std::string &, const Values &values) {
             const auto bytes = bytes_of<3>(values);
             return IPMI_SaveLiquidLeakageCfg(bytes[0], bytes[1], bytes[2]) == 0;
         },
         nullptr,
         {{"leakage.time", "LeakageTime", "Time", 0, 0, UINT8_MAX},
          {"leakage.mode", "LiquidCooling", "Mode", 0, 0, UINT8_MAX},
          {"leakage.log", "LogNoFlange", "Log", 0, 0, UINT8_MAX}}},
        {"/conf/vel/featureCfgSw.ini",
         false,
         load_one<IPMI_LoadPowerFaultSwitch>,
         nullptr,
         nullptr,
         {{"power-fault-switch", "Fault_Diagnose", "powercontrol_0001", 1, 0, most_32_bits, "",
           false}}},
        {"/conf/vel/featureCfgSw.ini",
         false,
         load_one<IPMI_LoadMemPrefaultSwitch>,
         nullptr,
         nullptr,
         {{"memory-prefault-switch", "System_Management", "faultdiagnose_0002", 0, 0, most_32_bits,
           "", false}}},
        {monitor_file,
         true,
         [](const std::string &, Values &values) {
             return read_entries(monitor_file, "MemCfg",
                                 {"left_mem_threshold_1", "left_mem_threshold_2"}, values);
         },
         nullptr,
         nullptr,
         {{"memory-threshold.low", "MemCfg", "left_mem_threshold_1", 78, INT32_MIN, INT32_MAX,
           "MiB", false},
          {"memory-threshold.very-low", "MemCfg", "left_mem_threshold_2", 40, INT32_MIN, INT32_MAX,
           "MiB", false}}},
        {"/conf/shieldpowerbuttonstate.conf",
         true,
         [](const std::string &, Values &values) {
             values[0] = GetShieldPowerButtonStatus();
             return true;
         },
         save_one<SetShieldPowerButtonStatus>,
         nullptr,
         {{"power-button-shield", "ShieldPowerButton", "enable", 1, 0, 1}}},
        {"/conf/vel/outband_storage_switch.ini",
         true,
         load_one<GetRaidCardOOBSwitch>,
         save_one<SetRaidCardOOBSwitch>,
         nullptr,
         {{"raid-out-of-band", "pmc", "enable", GetRaidCardBoardOOBSwitchDefVal(), 0, 1}}},
        {effect_mode_file,
         true,
         load_effect_mode,
         save_one<pcieidcfg_set_effect_mode>,
         nullptr,
         {{"pcie-effect-mode",
           "probe_new_config",
           "take_effect_mode",
           PCIEID_EFFECT_INTELLIGENT,
           0,
           0,
           "",
           true,
           {{"automatic", PCIEID_EFFECT_AUTOMATIC}, {"intelligent", PCIEID_EFFECT_INTELLIGENT}}}}},
        {"/conf/vel/custominfo",
         false,
         load_customer,
         save_one<IPMI_SaveCustomID>,
         nullptr,
         {{"customer.id", "custom_info_id", "ID_Value", 0, 0, 19},
          {"customer.name", "custom_info_id", "ID_String", "VEL", 0, 63, "", false}}},
        {"/conf/vel/fanvarinfo",
         false,
         load_fan_tray,
         save_fan_tray,
         erase_fan_tray,
         {{"fan-tray.{}.serial", "fantray_sn_{}", "serialNum", "20150305", 0, 63},
          {"fan-tray.{}.length", "fantray_sn_{}", "snLen", 0, 0, UINT8_MAX, "", false}}},
    };
    return records;
}

namespace {

// What stands for "{}" when the text is of the pattern's form.
std::optional<std::string> instance_of(const std::string &pattern, const std::string &text) {
    const std::size_t at = pattern.find(here);
    if (at == pattern.npos) {
        return text == pattern ? std::optional<std::string>("") : std::nullopt;
    }
    const std::string before = pattern.substr(0, at);
    const std::string after = pattern.substr(at + std::size(here) - 1);
    const bool fits = text.size() > before.size() + after.size() && text.starts_with(before) &&
                      text.ends_with(after);
    return fits ? std::optional(
                      text.substr(before.size(), text.size() - before.size() - after.size()))
                : std::nullopt;
}

std::string with_instance(const std::string &pattern, const std::string &instance) {
    const std::size_t at = pattern.find(here);
    return at == pattern.npos ? pattern
                              : std::string(pattern).replace(at, std::size(here) - 1, instance);
}

// A fan tray has a number; a sensor's name becomes the name of a section.
bool names_one(const Field &field, const std::string &instance) {
    if (field.section == here) {
        return instance.find_first_of("[]\r\n") == instance.npos;
    }
    return std::all_of(instance.begin(), instance.end(),
                       [](char c) { return c >= '0' && c <= '9'; }) &&
           number_of(instance).value_or(INT32_MAX) < INT32_MAX &&
           instance == std::to_string(*number_of(instance));
}

Json shown(const Field &field, const Json &value) {
    if (field.words.empty() || !value.is_number()) {
        return value;
    }
    const auto word = std::find_if(field.words.begin(), field.words.end(), [&](const auto &each) {
        return each.second == value.get<uint32_t>();
    });
    return word == field.words.end() ? Json() : Json(word->first);
}

// An entry that the library does not take is not where the value comes from.
bool comes_from(const std::string &stored, const Field &field, const Json &value) {
    const auto number = number_of(stored);
    return field.is_text() || (number && Json(*number) == value) || value != field.fallback;
}

}  // namespace

std::vector<std::string> instances(const Record &record) {
    const Field &field = record.fields.front();
    if (field.name.find(here) == field.name.npos) {
        return {""};
    }
    std::vector<std::string> found;
    if (const std::optional<IniText> text = IniText::load(record.file)) {
        for (const auto &[section, entries] : text->sections()) {
            const auto instance = instance_of(field.section, section);
            if (instance && !instance->empty() && !entries.empty() && names_one(field, *instance)) {
                found.push_back(*instance);
            }
        }
    }
    return found;
}

std::vector<Json> setting_rows(const Record &record, const std::string &instance,
                               std::optional<std::string> &problem) {
    Values values;
    for (const Field &field : record.fields) {
        values.push_back(field.fallback);
    }
    // before the question, which may write the file
    const bool missing = IniText::missing(record.file);
    const std::optional<IniText> text = IniText::load(record.file);
    const bool loaded = record.load(instance, values);
    if (!loaded && !missing) {
        problem = fmt::format("{} cannot be loaded", record.file);
    }
    std::vector<Json> rows;
    for (std::size_t i = 0; i < record.fields.size(); ++i) {
        const Field &field = record.fields[i];
        const std::string section = with_instance(field.section, instance);
        const auto stored = text ? text->value(section, field.key) : std::nullopt;
        const bool from_file = stored && comes_from(*stored, field, values[i]);
        const bool known = loaded && (from_file || !field.fallback.is_null());
        rows.push_back({{"name", with_instance(field.name, instance)},
                        {"value", known ? shown(field, values[i]) : Json()},
                        {"default", shown(field, field.fallback)},
                        {"unit", field.unit.empty() ? Json() : Json(field.unit)},
                        {"source", !known      ? Json()
                                   : from_file ? Json("file")
                                               : Json("default")},
                        {"file", record.file},
                        {"file_exists", !missing},
                        {"section", section},
                        {"key", field.key},
                        {"stored", stored ? Json(*stored) : Json()},
                        {"writable", field.writable}});
    }
    return rows;
}

std::optional<Chosen> find_setting(const std::string &name) {
    for (const Record &record : all_settings()) {
        for (std::size_t i = 0; i < record.fields.size(); ++i) {
            const Field &field = record.fields[i];
            const auto instance = instance_of(field.name, name);
            if (instance && (instance->empty() || names_one(field, *instance))) {
                return Chosen{&record, i, *instance};
            }
        }
    }
    return std::nullopt;
}

std::optional<Json> value_of(const Field &field, const std::string &text) {
    if (field.is_text()) {
        const bool fits = text.size() <= static_cast<std::size_t>(field.largest) &&
                          text.find_first_of("\r\n") == text.npos;
        return fits ? std::optional<Json>(text) : std::nullopt;
    }
    for (const auto &[word, number] : field.words) {
        if (text == word) {
            return number;
        }
    }
    const auto number = number_of(text);
    const bool fits =
        field.words.empty() && number && *number >= field.smallest && *number <= field.largest;
    return fits ? std::optional<Json>(*number) : std::nullopt;
}

std::string range_text(const Field &field) {
    if (field.is_text()) {
        return fmt::format("a text of at most {} characters", field.largest);
    }
    std::string words;
    for (const auto &[word, number] : field.words) {
        words += (words.empty() ? "" : " or ") + word;
    }
    return words.empty() ? fmt::format("a number from {} to {}", field.smallest, field.largest)
                         : words;
}

}  // namespace boardctl
