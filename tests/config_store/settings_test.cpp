// Every setting: where it is kept, what it reads as when it is missing, what a second process sees.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "boardfeatures/config.h"
#include "support/config_files.h"

namespace files = config_files;
using scripted::platform;

namespace {

// A second reading of where each setting lives. `save` stores `sample`; a load answers the value as
// text, nothing when it fails.
struct Kept {
    std::string name;
    std::string path;
    std::string section;
    std::string key;
    bool created;  // a load of a missing file answers the default, a save creates the file
    std::string sample;
    std::optional<std::string> missing;
    std::function<int()> save;
    std::function<std::optional<std::string>()> load;
};
void PrintTo(const Kept &row, std::ostream *out) { *out << row.name; }

template <typename Number>
std::optional<std::string> answer(int result, const Number &value) {
    return result == 0 ? std::optional(std::to_string(value)) : std::nullopt;
}

constexpr uint8_t eight[8] = {11, 12, 13, 14, 15, 16, 17, 18};
constexpr uint8_t six[6] = {21, 22, 23, 24, 25, 26};
constexpr uint8_t six_defaults[6] = {91, 92, 93, 94, 95, 96};
constexpr char other_time[] = "/conf/other/time.ini";

std::vector<Kept> all_kept() {
    std::vector<Kept> rows = {
        {"nic_display", "/conf/vel/nicinfoflag.ini", "NicComponentMgnt", "InfoDisplay", true, "0",
         "1", [] { return IPMI_SaveNICDisplayCfg(0); },
         [] {
             uint32_t flag = 77;
             return answer(IPMI_LoadNICDisplayCfg(&flag), flag);
         }},
        {"is_utc", "/conf/vel/rtc_config.ini", "rtcConfig", "isUTC", false, "0", "1",
         [] { return IPMI_RTCConfig_SaveFile(0); },
         [] {
             uint8_t flag = 77;
             return answer(IPMI_RTCConfig_LoadFile(&flag), flag);
         }},
        {"utc_time", other_time, "rtcConfig", "utctime", false, "4000000000", std::nullopt,
         [] { return IPMI_UtcTimeAllConfig_SaveFile(4000000000u, other_time); },
         [] {
             uint32_t time = 77;
             return answer(GetTimeStampFromRtc(&time, other_time), time);
         }},
        {"rtc_utc_time", "/conf/vel/rtc_config.ini", "rtcConfig", "utctime", false, "1700000000",
         std::nullopt,
         [] { return IPMI_UtcTimeAllConfig_SaveFile(1700000000, "/conf/vel/rtc_config.ini"); },
         [] {
             uint32_t time = 77;
             uint8_t flag = 77;
             return answer(IPMI_UtcTimeConfig_LoadFile(&time, &flag), time);
         }},
        {"fantray_serial", "/conf/vel/fanvarinfo", "fantray_sn_3", "serialNum", true, "2102312ABC",
         "20150305", [] { return IPMI_SaveFantraySN(3, "2102312ABC", 10); },
         []() -> std::optional<std::string> {
             char serial[64];
             uint8_t length = 77;
             return IPMI_LoadFantraySN(3, serial, &length) == 0 ? std::optional(serial)
                                                                : std::nullopt;
         }},
        {"fantray_length", "/conf/vel/fanvarinfo", "fantray_sn_250", "snLen", true, "10", "0",
         [] { return IPMI_SaveFantraySN(250, "2102312ABC", 10); },
         [] {
             char serial[64];
             uint8_t length = 77;
             return answer(IPMI_LoadFantraySN(250, serial, &length), length);
         }},
        {"alarm_policy", "/conf/vel/alarmpolicy", "Alarm", "policy", true, "2", "0",
         [] { return IPMI_SaveAlarmReportPolicy(2); },
         [] {
             uint8_t policy = 77;
             return answer(IPMI_LoadAlarmReportPolicy(&policy), policy);
         }},
        {"power_fault_switch", "/conf/vel/featureCfgSw.ini", "Fault_Diagnose", "powercontrol_0001",
         true, "70000", "1", nullptr,
         [] {
             uint32_t value = 77;
             return answer(IPMI_LoadPowerFaultSwitch(&value), value);
         }},
        {"mem_prefault_switch", "/conf/vel/featureCfgSw.ini", "System_Management",
         "faultdiagnose_0002", true, "1", "0", nullptr,
         [] {
             uint32_t value = 77;
             return answer(IPMI_LoadMemPrefaultSwitch(&value), value);
         }},
        {"bmc_time_stamp", "/conf/vel/bmctimestamp", "bmc_time_stamp", "bmc time stamp", true,
         "4294967295", "0", [] { return IPMI_SaveBMCTimeStamp(4294967295u); },
         [] {
             uint32_t stamp = 77;
             return answer(IPMI_LoadBMCTimeStamp(&stamp), stamp);
         }},
    };
    const char *const leakage[3][2] = {
        {"LeakageTime", "Time"}, {"LiquidCooling", "Mode"}, {"LogNoFlange", "Log"}};
    for (int i = 0; i < 3; ++i) {
        rows.push_back({std::string("leakage_") + leakage[i][1], "/conf/BMC1/ThermalProtectCfg.ini",
                        leakage[i][0], leakage[i][1], false, std::to_string(31 + i), "0",
                        [] { return IPMI_SaveLiquidLeakageCfg(31, 32, 33); },
                        [i] {
                            uint8_t values[3] = {77, 77, 77};
                            const int result =
                                IPMI_LoadLiquidLeakageCfg(&values[0], &values[1], &values[2]);
                            return answer(result, values[i]);
                        }});
    }
    const char *const temperatures[4] = {"setmask", "upper-non-recoverable", "upper-critical",
                                         "upper-non-critical"};
    const char *const temperature_defaults[8] = {"24", "0", "110", "105", "24", "0", "90", "85"};
    for (int i = 0; i < 8; ++i) {
        rows.push_back({"temp_" + std::to_string(i), "/conf/vel/pch_temp_threshold.ini",
                        i < 4 ? "pch" : "mem", temperatures[i % 4], false, std::to_string(11 + i),
                        temperature_defaults[i], [] { return IPMI_SaveTempThreshold(eight); },
                        [i] {
                            uint8_t values[8] = {77, 77, 77, 77, 77, 77, 77, 77};
                            return answer(IPMI_LoadTempThreshold(values), values[i]);
                        }});
    }
    const char *const sensor_keys[6] = {"UpperNonRecoverable", "UpperCritical", "UpperNonCritical",
                                        "LowerNonRecoverable", "LowerCritical", "LowerNonCritical"};
    for (int i = 0; i < 6; ++i) {
        rows.push_back(
            {"sensor_" + std::to_string(i), "/conf/vel/sensor_threshold.ini", "CPU1 Core Rem",
             sensor_keys[i], false, std::to_string(21 + i), std::to_string(91 + i),
             [] { return IPMI_SaveSensorThreshold("CPU1 Core Rem", six); },
             [i] {
                 uint8_t values[6] = {77, 77, 77, 77, 77, 77};
                 return answer(IPMI_LoadSensorThreshold("CPU1 Core Rem", six_defaults, values),
                               values[i]);
             }});
    }
    return rows;
}

std::vector<Kept> only(bool (*wanted)(const Kept &)) {
    std::vector<Kept> rows = all_kept();
    std::erase_if(rows, [&](const Kept &row) { return !wanted(row); });
    return rows;
}

class EachSetting : public testing::TestWithParam<Kept> {
protected:
    EachSetting() {
        std::filesystem::create_directories("/conf/vel");
        std::filesystem::create_directories("/conf/BMC1");
        std::filesystem::create_directories("/conf/other");
    }
    // A file without the setting; not empty, because an empty time file counts as none.
    void empty_file() const { files::write(GetParam().path, "[none]\nnothing=1\n"); }
};

class EachSavedSetting : public EachSetting {};
class EachNumber : public EachSetting {};

}  // namespace

TEST_P(EachSavedSetting, IsStoredWhereItBelongs) {
    const Kept &row = GetParam();
    if (!row.created) {
        empty_file();
    }
    EXPECT_EQ(row.save(), 0);
    EXPECT_EQ(files::stored(row.path, row.section, row.key), row.sample);
    EXPECT_EQ(row.load(), row.sample);
}

TEST_P(EachSetting, WrittenByHandIsTakenUpByTheNextProcess) {
    const Kept &row = GetParam();
    empty_file();
    EXPECT_EQ(row.load(), row.missing);
    files::write(row.path, files::ini_text(row.section, row.key, row.sample));
    files::in_other_process([&] { EXPECT_EQ(row.load(), row.sample); });
    EXPECT_EQ(row.load(), row.sample);
}

TEST_P(EachSetting, MissingKeyReadsAsTheDefault) {
    const Kept &row = GetParam();
    empty_file();
    EXPECT_EQ(row.load(), row.missing);
    EXPECT_EQ(files::read(row.path), "[none]\nnothing=1\n");
}

TEST_P(EachSetting, MissingFileReadsAsTheDefaultOrFails) {
    const Kept &row = GetParam();
    EXPECT_EQ(row.load(), row.created ? row.missing : std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(row.path));
    if (row.save) {
        EXPECT_EQ(row.save(), row.created ? 0 : -1);
        EXPECT_EQ(std::filesystem::exists(row.path), row.created);
    }
}

TEST_P(EachNumber, ANumberThatIsNoneReadsAsTheDefault) {
    const Kept &row = GetParam();
    for (const char *text : {"", "twelve", "12x", "99999999999", "-3"}) {
        files::write(row.path, files::ini_text(row.section, row.key, text));
        EXPECT_EQ(row.load(), row.missing) << text;
    }
}

TEST_P(EachSavedSetting, OtherSettingsOfTheFileStay) {
    const Kept &row = GetParam();
    empty_file();
    EXPECT_EQ(row.save(), 0);
    EXPECT_EQ(files::stored(row.path, "none", "nothing"), "1");
}

TEST_P(EachSavedSetting, AnUnwritableFolderFailsTheSave) {
    const Kept &row = GetParam();
    const std::filesystem::path folder = std::filesystem::path(row.path).parent_path();
    std::filesystem::remove(folder);
    EXPECT_EQ(row.save(), -1);
    EXPECT_EQ(files::open_handles(), 1);  // the load that gave no handle
    files::write(folder, "a file in the folder's place");
    EXPECT_EQ(row.save(), -1);
}

INSTANTIATE_TEST_SUITE_P(Config, EachSetting, testing::ValuesIn(all_kept()),
                         [](const auto &row) { return row.param.name; });
INSTANTIATE_TEST_SUITE_P(Config, EachSavedSetting, testing::ValuesIn(only([](const Kept &row) {
                             return row.save != nullptr;
                         })),
                         [](const auto &row) { return row.param.name; });
INSTANTIATE_TEST_SUITE_P(Config, EachNumber, testing::ValuesIn(only([](const Kept &row) {
                             return row.key != "serialNum";
                         })),
                         [](const auto &row) { return row.param.name; });

// ---- range rules ----

TEST(TempThreshold, A300KeepsTheCallersByte) {
    files::write("/conf/vel/pch_temp_threshold.ini", "[pch]\nupper-critical=300\n");
    uint8_t values[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(IPMI_LoadTempThreshold(values), 0);
    EXPECT_THAT(values, testing::ElementsAre(24, 0, 3, 105, 24, 0, 90, 85));
}

TEST(TempThreshold, From255OnTheCallersByteStays) {
    files::write("/conf/vel/pch_temp_threshold.ini",
                 "[pch]\nsetmask=254\nupper-non-recoverable=255\nupper-critical=256\n"
                 "[mem]\nsetmask=255\nupper-critical=4294967295\nupper-non-critical=254\n");
    uint8_t values[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(IPMI_LoadTempThreshold(values), 0);
    EXPECT_THAT(values, testing::ElementsAre(254, 2, 3, 105, 5, 0, 7, 254));
    EXPECT_THAT(files::lines(), testing::IsEmpty());
}

TEST(SensorThreshold, From256OnTheCallersByteStays) {
    files::write("/conf/vel/sensor_threshold.ini",
                 "[Inlet]\nUpperNonRecoverable=255\nUpperCritical=256\nUpperNonCritical=300\n"
                 "LowerNonRecoverable=0\nLowerCritical=4294967295\n");
    const uint8_t defaults[6] = {1, 1, 1, 1, 1, 66};
    uint8_t values[6] = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(IPMI_LoadSensorThreshold("Inlet", defaults, values), 0);
    EXPECT_THAT(values, testing::ElementsAre(255, 2, 3, 0, 5, 66));
    EXPECT_THAT(
        files::lines(),
        testing::ElementsAre(files::debug("cSection:Inlet, key:UpperNonRecoverable, value:255\n"),
                             files::debug("cSection:Inlet, key:LowerNonRecoverable, value:0\n"),
                             files::debug("cSection:Inlet, key:LowerNonCritical, value:66\n")));
}

TEST(SensorThreshold, SensorsDoNotMix) {
    files::write("/conf/vel/sensor_threshold.ini", "");
    const uint8_t defaults[6] = {};
    uint8_t values[6] = {};
    EXPECT_EQ(IPMI_SaveSensorThreshold("Inlet", six), 0);
    EXPECT_EQ(IPMI_SaveSensorThreshold("Outlet", eight), 0);
    EXPECT_EQ(IPMI_LoadSensorThreshold("Inlet", defaults, values), 0);
    EXPECT_THAT(values, testing::ElementsAreArray(six));
    EXPECT_EQ(IPMI_LoadSensorThreshold("Outlet", defaults, values), 0);
    EXPECT_THAT(values, testing::ElementsAre(11, 12, 13, 14, 15, 16));
}

TEST(SensorThreshold, NullsAreRefusedFirst) {
    uint8_t values[6] = {};
    EXPECT_EQ(IPMI_SaveSensorThreshold(nullptr, values), -1);
    EXPECT_EQ(IPMI_SaveSensorThreshold("Inlet", nullptr), -1);
    EXPECT_EQ(IPMI_LoadSensorThreshold(nullptr, values, values), -1);
    EXPECT_EQ(IPMI_LoadSensorThreshold("Inlet", nullptr, values), -1);
    EXPECT_EQ(IPMI_LoadSensorThreshold("Inlet", values, nullptr), -1);
    EXPECT_THAT(platform().calls, testing::IsEmpty());
}

TEST(LiquidLeakage, KeepsBytes) {
    files::write("/conf/BMC1/ThermalProtectCfg.ini", "");
    EXPECT_EQ(IPMI_SaveLiquidLeakageCfg(256, 257, 511), 0);
    EXPECT_EQ(files::stored("/conf/BMC1/ThermalProtectCfg.ini", "LogNoFlange", "Log"), "255");
    uint8_t time = 7;
    uint8_t mode = 7;
    uint8_t log = 7;
    EXPECT_EQ(IPMI_LoadLiquidLeakageCfg(&time, &mode, &log), 0);
    EXPECT_EQ(time, 0);
    EXPECT_EQ(mode, 1);
    EXPECT_EQ(log, 255);
    files::write("/conf/BMC1/ThermalProtectCfg.ini", "[LeakageTime]\nTime=259\n");
    EXPECT_EQ(IPMI_LoadLiquidLeakageCfg(&time, &mode, &log), 0);
    EXPECT_EQ(time, 3);
}

TEST(LiquidLeakage, NullsAreRefusedFirst) {
    uint8_t value = 7;
    EXPECT_EQ(IPMI_LoadLiquidLeakageCfg(nullptr, &value, &value), -1);
    EXPECT_EQ(IPMI_LoadLiquidLeakageCfg(&value, nullptr, &value), -1);
    EXPECT_EQ(IPMI_LoadLiquidLeakageCfg(&value, &value, nullptr), -1);
    EXPECT_THAT(platform().calls, testing::IsEmpty());
}

TEST(AlarmPolicy, IsStoredWholeAndReadAsAByte) {
    std::filesystem::create_directories("/conf/vel");
    EXPECT_EQ(IPMI_SaveAlarmReportPolicy(0x1FE), 0);
    EXPECT_EQ(files::stored("/conf/vel/alarmpolicy", "Alarm", "policy"), "510");
    uint8_t policy = 0;
    EXPECT_EQ(IPMI_LoadAlarmReportPolicy(&policy), 0);
    EXPECT_EQ(policy, 0xFE);
}

TEST(Switches, NullsAreRefusedFirst) {
    EXPECT_EQ(IPMI_LoadPowerFaultSwitch(nullptr), -1);
    EXPECT_EQ(IPMI_LoadMemPrefaultSwitch(nullptr), -1);
    EXPECT_EQ(IPMI_LoadAlarmReportPolicy(nullptr), -1);
    EXPECT_EQ(IPMI_LoadBMCTimeStamp(nullptr), -1);
    EXPECT_EQ(IPMI_LoadNICDisplayCfg(nullptr), -1);
    EXPECT_EQ(IPMI_SaveTempThreshold(nullptr), -1);
    EXPECT_EQ(IPMI_LoadTempThreshold(nullptr), -1);
    EXPECT_THAT(platform().calls, testing::IsEmpty());
    EXPECT_EQ(files::semaphore_value(12340), -1);
}

TEST(NicDisplay, AMissingFileReadsAs1WithoutAnyCall) {
    uint32_t flag = 77;
    EXPECT_EQ(IPMI_LoadNICDisplayCfg(&flag), 0);
    EXPECT_EQ(flag, 1u);
    EXPECT_THAT(platform().calls, testing::IsEmpty());
    EXPECT_EQ(files::semaphore_value(12338), -1);
    EXPECT_FALSE(std::filesystem::exists("/conf/vel/nicinfoflag.ini"));
}

// ---- fan trays ----

constexpr char fantray_path[] = "/conf/vel/fanvarinfo";

TEST(FantraySN, ATrayWithoutSectionReadsTheDefaults) {
    files::write(fantray_path, "[fantray_sn_2]\nserialNum=ABC\nsnLen=3\n");
    char serial[64];
    std::memset(serial, 'x', sizeof(serial));
    uint8_t length = 9;
    EXPECT_EQ(IPMI_LoadFantraySN(3, serial, &length), 0);
    EXPECT_STREQ(serial, "20150305");
    EXPECT_EQ(length, 0);
    EXPECT_EQ(serial[9], 'x');
}

TEST(FantraySN, AtMost63Characters) {
    const std::string text(70, 's');
    files::write(fantray_path, files::ini_text("fantray_sn_1", "serialNum", text));
    char serial[64];
    uint8_t length = 9;
    EXPECT_EQ(IPMI_LoadFantraySN(1, serial, &length), 0);
    EXPECT_EQ(serial, text.substr(0, 63));
    EXPECT_EQ(IPMI_SaveFantraySN(1, text.c_str(), 70), 0);
    EXPECT_EQ(files::stored(fantray_path, "fantray_sn_1", "serialNum"), text.substr(0, 63));
    EXPECT_EQ(files::stored(fantray_path, "fantray_sn_1", "snLen"), "70");
    EXPECT_EQ(IPMI_SaveFantraySN(1, text.substr(0, 63).c_str(), 63), 0);
    EXPECT_EQ(IPMI_LoadFantraySN(1, serial, &length), 0);
    EXPECT_EQ(serial, text.substr(0, 63));
    EXPECT_EQ(length, 63);
}

TEST(FantraySN, TheLengthIsReadAsAByte) {
    std::filesystem::create_directories("/conf/vel");
    EXPECT_EQ(IPMI_SaveFantraySN(1, "A", 0x10203), 0);
    EXPECT_EQ(files::stored(fantray_path, "fantray_sn_1", "snLen"), "66051");
    char serial[64];
    uint8_t length = 9;
    EXPECT_EQ(IPMI_LoadFantraySN(1, serial, &length), 0);
    EXPECT_EQ(length, 3);
}

TEST(FantraySN, ATrayIsDeletedWithItsSection) {
    std::filesystem::create_directories("/conf/vel");
    EXPECT_EQ(IPMI_SaveFantraySN(1, "ONE", 3), 0);
    EXPECT_EQ(IPMI_SaveFantraySN(2, "TWO", 3), 0);
    EXPECT_EQ(IPMI_DelFantraySN(1), 0);
    EXPECT_EQ(files::read(fantray_path), "[fantray_sn_2]\nserialNum=TWO\nsnLen=3\n");
    EXPECT_EQ(IPMI_DelFantraySN(1), 0) << "nothing to delete";
    EXPECT_EQ(files::read(fantray_path), "[fantray_sn_2]\nserialNum=TWO\nsnLen=3\n");
}

TEST(FantraySN, NullsAreRefusedFirst) {
    char serial[64];
    uint8_t length = 9;
    EXPECT_EQ(IPMI_SaveFantraySN(1, nullptr, 3), -1);
    EXPECT_EQ(IPMI_LoadFantraySN(1, nullptr, &length), -1);
    EXPECT_EQ(IPMI_LoadFantraySN(1, serial, nullptr), -1);
    EXPECT_THAT(platform().calls, testing::IsEmpty());
    EXPECT_EQ(files::semaphore_value(12305), -1);
}
