// Every function: its platform calls in order, under which lock; each of them failing; a file that
// cannot be loaded; a lock that cannot be had.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstring>

#include "boardfeatures/config.h"
#include "support/config_files.h"
#include "support/libc_layer.h"

namespace files = config_files;
using files::Line;
using libc_layer::layer;
using scripted::platform;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

using Calls = std::vector<std::string>;

// What a function does when all goes well: loads `path`, makes `calls`, closes.
struct Function {
    std::string name;
    int lock;  // 0: none
    std::string load;
    std::string path;
    Calls calls;
    std::function<int()> run;
    std::vector<Line> unloaded;  // what it says when the file gives no handle
};
void PrintTo(const Function &function, std::ostream *out) { *out << function.name; }

constexpr char nic[] = "/conf/vel/nicinfoflag.ini";
constexpr char rtc[] = "/conf/vel/rtc_config.ini";
constexpr char fan[] = "/conf/vel/fanvarinfo";
constexpr char alarm_file[] = "/conf/vel/alarmpolicy";
constexpr char temperature[] = "/conf/vel/pch_temp_threshold.ini";
constexpr char sensor[] = "/conf/vel/sensor_threshold.ini";
constexpr char leak[] = "/conf/BMC1/ThermalProtectCfg.ini";
constexpr char feature[] = "/conf/vel/featureCfgSw.ini";
constexpr char stamp_file[] = "/conf/vel/bmctimestamp";
constexpr char monitor[] = "/conf/vel/monitor_cfg.ini";
constexpr char named[] = "/conf/named";

constexpr char existing[] = "IniLoadFile";
constexpr char created[] = "VEL_IniLoadFile";

// Calls of one kind for several keys of a section.
Calls each(const std::string &call, const std::string &section, const Calls &keys) {
    Calls calls;
    for (const std::string &key : keys) {
        calls.push_back(call + " " + section + "/" + key);
    }
    return calls;
}

Calls operator+(Calls first, const Calls &second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Calls saved(const char *path) { return {std::string("IniSaveFile ") + path}; }

// Outputs are the same storage for all, and must stay as they are when a function fails.
uint32_t word_a;
uint8_t byte_a;
uint8_t byte_b;
uint8_t byte_c;
uint8_t bytes[8];
char text[64];
constexpr uint8_t defaults[6] = {1, 2, 3, 4, 5, 6};

void reset_outputs() {
    word_a = 0xA5A5A5A5;
    byte_a = byte_b = byte_c = 0xA5;
    std::memset(bytes, 0xA5, sizeof(bytes));
    std::memset(text, 0xA5, sizeof(text));
}
bool outputs_are_untouched() {
    const std::string now = std::string(reinterpret_cast<char *>(bytes), sizeof(bytes)) +
                            std::string(text, sizeof(text));
    return word_a == 0xA5A5A5A5 && byte_a == 0xA5 && byte_b == 0xA5 && byte_c == 0xA5 &&
           now == std::string(now.size(), '\xA5');
}

std::vector<Function> all_functions() {
    const Calls temperatures = {"setmask", "upper-non-recoverable", "upper-critical",
                                "upper-non-critical"};
    const Calls limits = {"UpperNonRecoverable", "UpperCritical", "UpperNonCritical",
                          "LowerNonRecoverable", "LowerCritical", "LowerNonCritical"};
    std::vector<Function> functions = {
        {"IPMI_SaveNICDisplayCfg",
         12338,
         created,
         nic,
         Calls{"IniSetUInt NicComponentMgnt/InfoDisplay"} + saved(nic),
         [] { return IPMI_SaveNICDisplayCfg(1); },
         {}},
        {"IPMI_LoadNICDisplayCfg",
         0,
         created,
         nic,
         {"IniGetUInt NicComponentMgnt/InfoDisplay"},
         [] { return IPMI_LoadNICDisplayCfg(&word_a); },
         {}},
        {"IPMI_RTCConfig_SaveFile",
         12303,
         existing,
         rtc,
         Calls{"IniSetChar rtcConfig/isUTC"} + saved(rtc),
         [] { return IPMI_RTCConfig_SaveFile(1); },
         {}},
        {"IPMI_RTCConfig_LoadFile",
         12303,
         existing,
         rtc,
         {"IniGetChar rtcConfig/isUTC"},
         [] { return IPMI_RTCConfig_LoadFile(&byte_a); },
         {}},
        {"IPMI_UtcTimeConfig_LoadFile",
         12303,
         existing,
         rtc,
         {"IniGetUInt rtcConfig/utctime", "IniGetChar rtcConfig/isUTC"},
         [] { return IPMI_UtcTimeConfig_LoadFile(&word_a, &byte_a); },
         {}},
        {"IPMI_UtcTimeAllConfig_SaveFile",
         12303,
         existing,
         named,
         Calls{"IniSetUInt rtcConfig/utctime"} + saved(named),
         [] { return IPMI_UtcTimeAllConfig_SaveFile(9, named); },
         {}},
        {"IPMI_UtcTimeAddConfig_SaveFile",
         12303,
         existing,
         named,
         Calls{"IniGetUInt rtcConfig/utctime", "IniSetUInt rtcConfig/utctime"} + saved(named),
         [] { return IPMI_UtcTimeAddConfig_SaveFile(9, &word_a, named); },
         {}},
        {"GetTimeStampFromRtc",
         12303,
         existing,
         named,
         {"IniGetUInt rtcConfig/utctime"},
         [] { return GetTimeStampFromRtc(&word_a, named); },
         {}},
        {"IPMI_SaveFantraySN",
         12305,
         created,
         fan,
         Calls{"IniSetStr fantray_sn_4/serialNum", "IniSetUInt fantray_sn_4/snLen"} + saved(fan),
         [] { return IPMI_SaveFantraySN(4, "SN", 2); },
         {}},
        {"IPMI_LoadFantraySN",
         12305,
         created,
         fan,
         {"IniGetStr fantray_sn_4/serialNum", "IniGetUInt fantray_sn_4/snLen"},
         [] { return IPMI_LoadFantraySN(4, text, &byte_a); },
         {}},
        {"IPMI_DelFantraySN",
         12305,
         created,
         fan,
         Calls{"IniDelEntry fantray_sn_4/serialNum", "IniDelEntry fantray_sn_4/snLen",
               "IniDelSection fantray_sn_4"} +
             saved(fan),
         [] { return IPMI_DelFantraySN(4); },
         {}},
        {"IPMI_SaveAlarmReportPolicy",
         0,
         created,
         alarm_file,
         Calls{"IniSetUInt Alarm/policy"} + saved(alarm_file),
         [] { return IPMI_SaveAlarmReportPolicy(1); },
         {}},
        {"IPMI_LoadAlarmReportPolicy",
         0,
         created,
         alarm_file,
         {"IniGetUInt Alarm/policy"},
         [] { return IPMI_LoadAlarmReportPolicy(&byte_a); },
         {}},
        {"IPMI_SaveTempThreshold",
         0,
         existing,
         temperature,
         each("IniSetUInt", "pch", temperatures) + each("IniSetUInt", "mem", temperatures) +
             saved(temperature),
         [] { return IPMI_SaveTempThreshold(bytes); },
         {}},
        {"IPMI_LoadTempThreshold",
         0,
         existing,
         temperature,
         each("IniGetUInt", "pch", temperatures) + each("IniGetUInt", "mem", temperatures),
         [] { return IPMI_LoadTempThreshold(bytes); },
         {}},
        {"IPMI_SaveSensorThreshold",
         0,
         existing,
         sensor,
         each("IniSetUInt", "Inlet", limits) + saved(sensor),
         [] { return IPMI_SaveSensorThreshold("Inlet", defaults); },
         {}},
        {"IPMI_LoadSensorThreshold",
         0,
         existing,
         sensor,
         each("IniGetUInt", "Inlet", limits),
         [] { return IPMI_LoadSensorThreshold("Inlet", defaults, bytes); },
         {}},
        {"IPMI_SaveLiquidLeakageCfg",
         0,
         existing,
         leak,
         Calls{"IniSetUInt LeakageTime/Time", "IniSetUInt LiquidCooling/Mode",
               "IniSetUInt LogNoFlange/Log"} +
             saved(leak),
         [] { return IPMI_SaveLiquidLeakageCfg(1, 2, 3); },
         {}},
        {"IPMI_LoadLiquidLeakageCfg",
         0,
         existing,
         leak,
         {"IniGetUInt LeakageTime/Time", "IniGetUInt LiquidCooling/Mode",
          "IniGetUInt LogNoFlange/Log"},
         [] { return IPMI_LoadLiquidLeakageCfg(&byte_a, &byte_b, &byte_c); },
         {}},
        {"IPMI_LoadPowerFaultSwitch",
         0,
         created,
         feature,
         {"IniGetUInt Fault_Diagnose/powercontrol_0001"},
         [] { return IPMI_LoadPowerFaultSwitch(&word_a); },
         {}},
        {"IPMI_LoadMemPrefaultSwitch",
         0,
         created,
         feature,
         {"IniGetUInt System_Management/faultdiagnose_0002"},
         [] { return IPMI_LoadMemPrefaultSwitch(&word_a); },
         {}},
        {"IPMI_SaveBMCTimeStamp",
         12340,
         created,
         stamp_file,
         Calls{"IniSetUInt bmc_time_stamp/bmc time stamp"} + saved(stamp_file),
         [] { return IPMI_SaveBMCTimeStamp(5); },
         {}},
        {"IPMI_LoadBMCTimeStamp",
         12340,
         created,
         stamp_file,
         {"IniGetUInt bmc_time_stamp/bmc time stamp"},
         [] { return IPMI_LoadBMCTimeStamp(&word_a); },
         {}},
        {"IPMI_GetAvailableMemStatus",
         0,
         existing,
         monitor,
         {"IniGetSInt MemCfg/left_mem_threshold_1", "IniGetSInt MemCfg/left_mem_threshold_2"},
         [] { return IPMI_GetAvailableMemStatus(78); },
         {{"audit", 176, "IniLoadFile failed!"}}},
    };
    for (Function &function : functions) {
        if (function.unloaded.empty()) {
            function.unloaded = {
                files::debug(function.name + " failed! " + function.path + " is NULL!\n")};
        }
    }
    return functions;
}

// Files in which every function has something to find.
void fill_files() {
    files::write(nic, "");
    files::write(rtc, "[rtcConfig]\nutctime=100\nisUTC=1\n");
    files::write(named, "[rtcConfig]\nutctime=100\n");
    files::write(fan, "[fantray_sn_4]\nserialNum=OLD\nsnLen=3\n");
    files::write(alarm_file, "");
    files::write(temperature, "");
    files::write(sensor, "");
    files::write(leak, "");
    files::write(feature, "");
    files::write(stamp_file, "");
    files::write(monitor, "");
}

class EachFunction : public testing::TestWithParam<Function> {
protected:
    EachFunction() {
        fill_files();
        reset_outputs();
    }
    Calls good_run() const {
        const Function &f = GetParam();
        return Calls{f.load + " " + f.path} + f.calls + Calls{"IniCloseFile"};
    }
    bool saves() const { return GetParam().calls.back().starts_with("IniSaveFile"); }
};
class EachLockedFunction : public EachFunction {};

std::vector<Function> locked_functions() {
    std::vector<Function> functions = all_functions();
    std::erase_if(functions, [](const Function &function) { return function.lock == 0; });
    return functions;
}

}  // namespace

TEST_P(EachFunction, CallsThePlatformInOrderUnderItsLock) {
    const Function &f = GetParam();
    std::vector<int> lock_values;
    platform().fail_if = [&](const std::string &) {
        lock_values.push_back(f.lock == 0 ? 0 : files::semaphore_value(f.lock));
        return false;
    };
    const size_t before = files::open_descriptors();
    EXPECT_EQ(f.run(), 0);
    EXPECT_THAT(platform().calls, ElementsAreArray(good_run()));
    EXPECT_THAT(lock_values, testing::Each(0)) << "taken before the load, held over the close";
    if (f.name != "IPMI_LoadSensorThreshold") {
        EXPECT_THAT(files::lines(), IsEmpty());
    }
    EXPECT_EQ(files::open_descriptors(), before);
    if (f.lock != 0) {
        EXPECT_EQ(files::semaphore_value(f.lock), 1) << "given back";
    }
    for (const int key : {12303, 12305, 12306, 12325, 12338, 12340}) {
        if (key != f.lock) {
            EXPECT_EQ(files::semaphore_value(key), -1) << "not touched: " << key;
        }
    }
}

TEST_P(EachFunction, LeavesNothingBehindWhenAnyCallFails) {
    const Function &f = GetParam();
    const size_t calls = good_run().size();
    const size_t before = files::open_descriptors();
    for (size_t n = 1; n <= calls; ++n) {
        fill_files();
        reset_outputs();
        platform().clear_record();
        platform().fail_call = n;
        const int result = f.run();
        platform().fail_call = std::nullopt;
        ASSERT_GE(platform().calls.size(), n);
        const std::string failed = platform().calls[n - 1];
        SCOPED_TRACE(failed);
        EXPECT_EQ(files::open_handles(n), 0);
        EXPECT_EQ(files::open_descriptors(), before);
        if (f.lock != 0) {
            EXPECT_EQ(files::semaphore_value(f.lock), 1);
        }
        // A number that cannot be read is a missing one; what cannot be deleted is not there.
        const bool tolerated = failed.starts_with("IniGet") && !failed.starts_with("IniGetStr");
        const bool harmless = failed.starts_with("IniDel") || failed == "IniCloseFile";
        if (!tolerated && !harmless) {
            EXPECT_EQ(result, -1);
            EXPECT_TRUE(outputs_are_untouched());
        } else if (harmless) {
            EXPECT_EQ(result, 0);
        }
        if (n == 1) {
            EXPECT_EQ(files::lines(), f.unloaded);
            EXPECT_THAT(platform().calls, ElementsAre(good_run().front()));
        }
        const bool changed_nothing = saves() && n < calls && !harmless;
        if (changed_nothing && f.path != std::string(fan)) {
            EXPECT_EQ(f.run(), 0) << "works again";
        }
    }
}

TEST_P(EachLockedFunction, FailsWhenItsLockCannotBeCreated) {
    const Function &f = GetParam();
    layer().fail_with = [](const std::string &call) {
        return call.starts_with("semget") && call.ends_with("1 0x7B6") ? ENOSPC : 0;
    };
    const libc_layer::Watch watch;
    EXPECT_EQ(f.run(), -1);
    EXPECT_THAT(platform().calls, IsEmpty()) << "the file is not touched";
    EXPECT_THAT(files::lines(), ElementsAre(files::debug("sem create failed, line=L\n")));
    EXPECT_TRUE(outputs_are_untouched());
    EXPECT_EQ(files::semaphore_value(f.lock), -1);
}

TEST_P(EachLockedFunction, WaitsTwoSecondsAndLetsTheKernelUndo) {
    const std::string key = std::to_string(GetParam().lock);
    {
        const libc_layer::Watch watch;
        EXPECT_EQ(GetParam().run(), 0);
    }
    EXPECT_THAT(layer().calls_of("semget " + key + " 1"),
                ElementsAre("semget " + key + " 1 0x7B6"));
    EXPECT_THAT(layer().calls_of("semtimedop"),
                ElementsAre("semtimedop " + key + " 0:-1:0x1000 2.000000000",
                            "semtimedop " + key + " 0:1:0x1000 2.000000000"));
}

TEST_P(EachLockedFunction, FailsWhenItsLockIsRemovedMeanwhile) {
    const Function &f = GetParam();
    platform().fail_if = [&](const std::string &call) {
        if (call == "IniCloseFile") {
            semctl(semget(f.lock, 0, 0), 0, IPC_RMID);
        }
        return false;
    };
    EXPECT_EQ(f.run(), 0) << "a failed release is told and otherwise ignored";
    EXPECT_THAT(files::lines(), ElementsAre(files::debug("sem lock failed, line=L\n")));
}

TEST_P(EachFunction, LeavesNothingBehindWhenAnySystemCallFails) {
    const Function &f = GetParam();
    if (f.lock != 0) {
        OAL_SemCreate(f.lock);
    }
    const size_t before = files::open_descriptors();
    for (size_t n = 1;; ++n) {
        fill_files();
        reset_outputs();
        platform().clear_record();
        layer().clear();
        layer().fail_call = n;
        int result = 0;
        {
            const libc_layer::Watch watch;
            result = f.run();
        }
        if (layer().calls.size() < n) {
            break;
        }
        const std::string failed = layer().calls[n - 1];
        SCOPED_TRACE(failed + ", call " + std::to_string(n));
        EXPECT_EQ(files::open_handles(), 0);
        EXPECT_EQ(files::open_descriptors(), before);
        if (!failed.starts_with("sem")) {
            EXPECT_EQ(result, 0) << "opening and looking at a file is not its load";
            continue;
        }
        // Which semaphore call it is: two look-ups for the creation, look-up and lock, look-up and
        // unlock, then perhaps another semaphore's.
        const size_t before_it = layer().calls.size() - layer().calls_of("sem").size();
        const size_t place = n > before_it ? n - before_it : n;
        if (place <= 4) {
            EXPECT_EQ(result, -1);
            EXPECT_THAT(platform().calls, IsEmpty());
            EXPECT_THAT(files::lines(),
                        ElementsAre(files::debug(place <= 2 ? "sem create failed, line=L\n"
                                                            : "sem lock failed, line=L\n")));
            EXPECT_TRUE(outputs_are_untouched());
            EXPECT_EQ(files::semaphore_value(f.lock), 1);
        } else if (place <= 6) {
            EXPECT_EQ(result, 0);
            EXPECT_THAT(files::lines(), ElementsAre(files::debug("sem lock failed, line=L\n")));
            EXPECT_EQ(files::semaphore_value(f.lock), 0) << "nothing could give it back";
            EXPECT_EQ(OAL_SemUnLockByKey(f.lock, 0), OAL_OK);
        } else {
            EXPECT_EQ(result, 0);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Config, EachFunction, testing::ValuesIn(all_functions()),
                         [](const auto &row) { return row.param.name; });
INSTANTIATE_TEST_SUITE_P(Config, EachLockedFunction, testing::ValuesIn(locked_functions()),
                         [](const auto &row) { return row.param.name; });

// All functions wait at the same time: each in its own process, all locks held by another.
TEST(HeldLock, FailsEveryFunctionAfterTwoSecondsWithoutTouchingItsFile) {
    fill_files();
    std::vector<pid_t> children;
    {
        const files::HeldElsewhere held({12303, 12305, 12338, 12340});
        for (const Function &f : locked_functions()) {
            children.push_back(files::start_process([&] {
                SCOPED_TRACE(f.name);
                reset_outputs();
                const auto start = std::chrono::steady_clock::now();
                EXPECT_EQ(f.run(), -1);
                const auto waited = std::chrono::steady_clock::now() - start;
                EXPECT_GE(waited, std::chrono::milliseconds(1990));
                EXPECT_LT(waited, std::chrono::milliseconds(9000));
                EXPECT_THAT(platform().calls, IsEmpty());
                EXPECT_THAT(files::lines(), ElementsAre(files::debug("sem lock failed, line=L\n")));
                EXPECT_TRUE(outputs_are_untouched());
            }));
        }
        EXPECT_EQ(children.size(), 12u);
        for (const pid_t child : children) {
            files::expect_success(child);
        }
    }
    EXPECT_EQ(files::read(rtc), "[rtcConfig]\nutctime=100\nisUTC=1\n");
    for (const int key : {12303, 12305, 12338, 12340}) {
        EXPECT_EQ(files::semaphore_value(key), 1);
    }
}

TEST(HeldLock, OfTheNicFileDoesNotHinderItsLoad) {
    fill_files();
    const files::HeldElsewhere held({12338});
    EXPECT_EQ(IPMI_LoadNICDisplayCfg(&word_a), 0);
    EXPECT_EQ(word_a, 1u);
}

TEST(HeldLock, IsTakenAsSoonAsItIsGivenBack) {
    fill_files();
    std::optional<files::HeldElsewhere> held(std::in_place, std::vector<int>{12340});
    const pid_t saver = files::start_process([] { EXPECT_EQ(IPMI_SaveBMCTimeStamp(42), 0); });
    usleep(100000);
    held.reset();
    files::expect_success(saver);
    EXPECT_EQ(files::stored(stamp_file, "bmc_time_stamp", "bmc time stamp"), "42");
}
