// The clock chip's setting, the times of the time files, and the signal to the time-keeping
// process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "boardfeatures/config.h"
#include "support/config_files.h"

namespace files = config_files;
using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
constexpr char rtc_path[] = "/conf/vel/rtc_config.ini";
constexpr char time_path[] = "/conf/vel/time.ini";
constexpr int rtc_lock = 12303;
constexpr int time_keeper = 12294;

std::string time_file(const std::string &time) {
    return files::ini_text("rtcConfig", "utctime", time);
}
}  // namespace

TEST(RtcConfig, A2IsRefusedAndWritesNothing) {
    files::write(rtc_path, "[rtcConfig]\nisUTC=1\n");
    EXPECT_EQ(IPMI_RTCConfig_SaveFile(2), -1);
    EXPECT_EQ(IPMI_RTCConfig_SaveFile(0xFFFFFFFF), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_EQ(files::semaphore_value(rtc_lock), -1);
    EXPECT_EQ(files::read(rtc_path), "[rtcConfig]\nisUTC=1\n");
}

TEST(RtcConfig, ASaveSignalsTheTimeKeeperAfterItsOwnLock) {
    files::write(rtc_path, "");
    OAL_SemCreate(time_keeper);
    EXPECT_EQ(OAL_SemLockByKey(time_keeper, 0), OAL_OK);
    int at_close = -1;
    platform().fail_if = [&](const std::string &call) {
        if (call == "IniCloseFile") {
            at_close = files::semaphore_value(time_keeper);
        }
        return false;
    };
    EXPECT_EQ(IPMI_RTCConfig_SaveFile(1), 0);
    EXPECT_EQ(at_close, 0) << "not before the file is closed";
    EXPECT_EQ(files::semaphore_value(time_keeper), 1);
    EXPECT_EQ(files::semaphore_value(rtc_lock), 1);
    EXPECT_EQ(IPMI_RTCConfig_SaveFile(1), 0);
    EXPECT_EQ(files::semaphore_value(time_keeper), 2) << "one release a save";
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(RtcConfig, WithoutATimeKeeperASaveSucceedsSilently) {
    files::write(rtc_path, "");
    EXPECT_EQ(IPMI_RTCConfig_SaveFile(0), 0);
    EXPECT_EQ(files::semaphore_value(time_keeper), -1) << "not created";
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(RtcConfig, AFailedSaveSignalsNothing) {
    OAL_SemCreate(time_keeper);
    EXPECT_EQ(IPMI_RTCConfig_SaveFile(1), -1) << "the file does not exist";
    files::write(rtc_path, "");
    platform().fail_if = [](const std::string &call) { return call.starts_with("IniSaveFile"); };
    EXPECT_EQ(IPMI_RTCConfig_SaveFile(1), -1);
    EXPECT_EQ(files::semaphore_value(time_keeper), 1);
}

TEST(RtcConfig, NullsAreRefusedFirst) {
    uint32_t time = 0;
    uint8_t flag = 0;
    EXPECT_EQ(IPMI_RTCConfig_LoadFile(nullptr), -1);
    EXPECT_EQ(IPMI_UtcTimeConfig_LoadFile(nullptr, &flag), -1);
    EXPECT_EQ(IPMI_UtcTimeConfig_LoadFile(&time, nullptr), -1);
    EXPECT_EQ(IPMI_UtcTimeAllConfig_SaveFile(1, nullptr), -1);
    EXPECT_EQ(IPMI_UtcTimeAddConfig_SaveFile(1, nullptr, time_path), -1);
    EXPECT_EQ(IPMI_UtcTimeAddConfig_SaveFile(1, &time, nullptr), -1);
    EXPECT_EQ(GetTimeStampFromRtc(nullptr, time_path), -1);
    EXPECT_EQ(GetTimeStampFromRtc(&time, nullptr), -1);
    EXPECT_EQ(isRtcConfFileHaveValue(nullptr), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_EQ(files::semaphore_value(rtc_lock), -1);
}

TEST(UtcTime, BothValuesAreRead) {
    files::write(rtc_path, "[rtcConfig]\nutctime=1700000000\nisUTC=0\n");
    uint32_t time = 0;
    uint8_t flag = 77;
    EXPECT_EQ(IPMI_UtcTimeConfig_LoadFile(&time, &flag), 0);
    EXPECT_EQ(time, 1700000000u);
    EXPECT_EQ(flag, 0);
    files::write(rtc_path, time_file("5"));
    EXPECT_EQ(IPMI_UtcTimeConfig_LoadFile(&time, &flag), 0);
    EXPECT_EQ(time, 5u);
    EXPECT_EQ(flag, 1);
}

TEST(UtcTime, ATimeNeverSetFailsTheLoadAndWritesNothing) {
    uint32_t time = 77;
    uint8_t flag = 77;
    for (const char *text : {"[rtcConfig]\nisUTC=1\n", "[rtcConfig]\nutctime=0\nisUTC=1\n"}) {
        files::write(rtc_path, text);
        EXPECT_EQ(IPMI_UtcTimeConfig_LoadFile(&time, &flag), -1);
        EXPECT_EQ(GetTimeStampFromRtc(&time, rtc_path), -1);
    }
    EXPECT_EQ(time, 77u);
    EXPECT_EQ(flag, 77);
    EXPECT_THAT(platform().messages, IsEmpty());
    EXPECT_EQ(files::semaphore_value(rtc_lock), 1);
}

TEST(UtcTime, IsAdvanced) {
    files::write(time_path, time_file("1700000000"));
    uint32_t time = 77;
    EXPECT_EQ(IPMI_UtcTimeAddConfig_SaveFile(90, &time, time_path), 0);
    EXPECT_EQ(time, 1700000090u);
    EXPECT_EQ(files::read(time_path), time_file("1700000090"));
    EXPECT_EQ(IPMI_UtcTimeAddConfig_SaveFile(0xFFFFFFFF, &time, time_path), 0);
    EXPECT_EQ(time, 1700000089u) << "32 bits";
}

TEST(UtcTime, ATimeNeverSetIsNeverAdvanced) {
    uint32_t time = 77;
    for (const std::string &text : {time_file("0"), std::string("[rtcConfig]\n"), std::string()}) {
        files::write(time_path, text);
        platform().clear_record();
        EXPECT_EQ(IPMI_UtcTimeAddConfig_SaveFile(90, &time, time_path), -1);
        EXPECT_EQ(files::read(time_path), text);
        EXPECT_THAT(platform().calls, ElementsAre(std::string("IniLoadFile ") + time_path,
                                                  "IniGetUInt rtcConfig/utctime", "IniCloseFile"));
    }
    EXPECT_EQ(time, 77u);
    EXPECT_EQ(files::semaphore_value(rtc_lock), 1);
}

TEST(UtcTime, AFailedSaveLeavesTheOutput) {
    files::write(time_path, time_file("100"));
    platform().fail_if = [](const std::string &call) { return call.starts_with("IniSaveFile"); };
    uint32_t time = 77;
    EXPECT_EQ(IPMI_UtcTimeAddConfig_SaveFile(90, &time, time_path), -1);
    EXPECT_EQ(time, 77u);
    EXPECT_EQ(files::read(time_path), time_file("100"));
}

TEST(UtcTime, AnEmptyFileGivesNoTimeStampAndTakesNoLock) {
    files::write(time_path, "");
    uint32_t time = 77;
    EXPECT_EQ(isRtcConfFileHaveValue(time_path), 0);
    EXPECT_EQ(GetTimeStampFromRtc(&time, time_path), -1);
    EXPECT_EQ(time, 77u);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_EQ(files::semaphore_value(rtc_lock), -1);
}

TEST(UtcTime, AMissingFileGivesNoTimeStamp) {
    uint32_t time = 77;
    EXPECT_EQ(isRtcConfFileHaveValue(time_path), -1);
    EXPECT_EQ(GetTimeStampFromRtc(&time, time_path), -1);
    EXPECT_EQ(time, 77u);
    EXPECT_THAT(
        files::lines(),
        ElementsAre(files::debug("GetTimeStampFromRtc failed! /conf/vel/time.ini is NULL!\n")));
}

TEST(UtcTime, AFirstLineIsAnyLine) {
    for (const std::string &text : {std::string("\n"), std::string("x"), std::string(5000, 'y')}) {
        files::write(time_path, text);
        EXPECT_EQ(isRtcConfFileHaveValue(time_path), 1);
    }
    EXPECT_EQ(isRtcConfFileHaveValue("/conf/vel"), 0) << "a folder has no lines";
}

TEST(UtcTime, LooksAtFilesWithoutLeavingThemOpen) {
    files::write(time_path, time_file("7"));
    const size_t before = files::open_descriptors();
    uint32_t time = 0;
    EXPECT_EQ(GetTimeStampFromRtc(&time, time_path), 0);
    EXPECT_EQ(isRtcConfFileHaveValue(time_path), 1);
    EXPECT_EQ(isRtcConfFileHaveValue("/conf/vel"), 0);
    EXPECT_EQ(files::open_descriptors(), before);
}
