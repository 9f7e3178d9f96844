// The alarm codes that are not reported: the policy file, the process's copy and the segment.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <thread>

#include "boardfeatures/config.h"
#include "support/config_files.h"
#include "support/libc_layer.h"

namespace files = config_files;
using files::debug;
using files::Line;
using libc_layer::layer;
using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char path[] = "/conf/vel/alarmpolicy";
constexpr int key = 4138;

using Codes = std::vector<uint16_t>;

Codes trimmed(const uint16_t *codes) {
    Codes list(codes, codes + 128);
    while (!list.empty() && list.back() == 0) {
        list.pop_back();
    }
    return list;
}
Codes process_copy() { return trimmed(g_AlarmDisbleCode); }

// What any process sees.
Codes segment() {
    AlarmDisableCodeInfo info;
    std::memset(&info, 0xEE, sizeof(info));
    EXPECT_EQ(GetAlarmDisableCodeInfo(&info), 0);
    return trimmed(info.AlarmDisbleCode);
}

std::optional<std::string> stored_codes() {
    return files::stored(path, "AlarmReportDisable", "Alarmcode");
}
std::optional<std::string> flag_of(const std::string &name) {
    return files::stored(path, name, "flag");
}

void policy_file(const std::string &codes) {
    files::write(path, "[AlarmReportDisable]\nAlarmcode=\"" + codes + "\"\n");
}

std::string text_of(const Codes &codes) {
    std::string text;
    for (const uint16_t code : codes) {
        text += std::to_string(code) + ' ';
    }
    return text;
}

Codes numbers(int count) {
    Codes codes;
    for (int i = 0; i < count; ++i) {
        codes.push_back(static_cast<uint16_t>(10001 + i));
    }
    return codes;
}

const Line mirrored(int first) {
    return debug("g_AlarmDisbleCodeInfoAddr->AlarmDisbleCode[0] = " + std::to_string(first) + "\n");
}
const Line unmapped = debug("get g_AlarmDisbleCodeInfoAddr failed!\n");
const Line unlocked = debug("sem lock failed, line=L\n");

size_t saves() { return platform().calls_of("IniSaveFile").size(); }

class AlarmCodes : public testing::Test {
protected:
    AlarmCodes() { std::filesystem::create_directories("/conf/vel"); }
};

class WithSegment : public AlarmCodes {
protected:
    WithSegment() {
        EXPECT_EQ(VEL_CreateAlarmDisableCodeInfoShmAddr(), 0);
        EXPECT_THAT(platform().messages, IsEmpty());
    }
};

struct Default {
    uint16_t code;
    const char *name;
};
constexpr Default defaults[] = {{30880, "PowerokChangeFlag"},
                                {30870, "SfpHealthOkFlag"},
                                {30911, "NvmeLinkDown"},
                                {30912, "NvmeSmartAbnormal"},
                                {30918, "PDForeignState"}};
const Codes default_codes = {30880, 30870, 30911, 30912, 30918};

}  // namespace

// ---- exported data ----

TEST(DisabledAlarms, AreFiveWithPaddedNames) {
    EXPECT_EQ(g_disabled_alarm_cnt, 5u);
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(g_disabled_alarm[i].code, defaults[i].code);
        char name[32] = {};
        std::strcpy(name, defaults[i].name);
        EXPECT_EQ(std::memcmp(g_disabled_alarm[i].name, name, sizeof(name)), 0) << name;
    }
    EXPECT_EQ(sizeof(g_disabled_alarm[0]), 34u);
    EXPECT_EQ(sizeof(g_AlarmDisbleCode), 256u);
    EXPECT_EQ(g_AlarmDisbleCodeInfoAddr, nullptr);
    EXPECT_THAT(process_copy(), IsEmpty());
}

// ---- the segment ----

TEST_F(AlarmCodes, TheSegmentIs256BytesWithASemaphore) {
    EXPECT_EQ(VEL_CreateAlarmDisableCodeInfoShmAddr(), 0);
    shmid_ds status = {};
    ASSERT_EQ(shmctl(shmget(key, 0, 0), IPC_STAT, &status), 0);
    EXPECT_EQ(status.shm_segsz, 256u);
    EXPECT_EQ(files::semaphore_value(key), 1);
    EXPECT_EQ(files::attachments(key), 1);
    EXPECT_NE(g_AlarmDisbleCodeInfoAddr, nullptr);
    EXPECT_THAT(platform().messages, IsEmpty());
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST_F(AlarmCodes, TheSegmentIsReadUnderItsLock) {
    EXPECT_EQ(VEL_CreateAlarmDisableCodeInfoShmAddr(), 0);
    AlarmDisableCodeInfo info = {};
    {
        const libc_layer::Watch watch;
        EXPECT_EQ(GetAlarmDisableCodeInfo(&info), 0);
    }
    EXPECT_THAT(layer().calls,
                ElementsAre("semget 4138 0 0x0", "semtimedop 4138 0:-1:0x1000 0.500000000",
                            "semget 4138 0 0x0", "semtimedop 4138 0:1:0x1000 0.500000000"));
    ASSERT_EQ(OAL_PutMemResourceAddr(key, g_AlarmDisbleCodeInfoAddr), OAL_OK);
    g_AlarmDisbleCodeInfoAddr = nullptr;
    layer().clear();
    {
        const libc_layer::Watch watch;
        EXPECT_EQ(GetAlarmDisableCodeInfo(&info), 0);
    }
    ASSERT_GE(layer().calls.size(), 5u);
    EXPECT_THAT(layer().calls[1], testing::StartsWith("semtimedop 4138 0:-1"));
    EXPECT_THAT(layer().calls_of("shmat"), ElementsAre("shmat 4138 0x0"))
        << "mapped under the lock";
    EXPECT_THAT(layer().calls.back(), testing::StartsWith("semtimedop 4138 0:1"));
}

TEST_F(AlarmCodes, CreatingAgainEmptiesItAndAttachesOnce) {
    EXPECT_EQ(VEL_CreateAlarmDisableCodeInfoShmAddr(), 0);
    g_AlarmDisbleCode[0] = 5;
    g_AlarmDisbleCode[127] = 6;
    EXPECT_EQ(SetAlarmDisableCodeInfo(), 0);
    EXPECT_EQ(segment().size(), 128u);
    EXPECT_EQ(VEL_CreateAlarmDisableCodeInfoShmAddr(), 0);
    EXPECT_THAT(segment(), IsEmpty());
    EXPECT_EQ(files::attachments(key), 1);
    EXPECT_EQ(files::semaphore_value(key), 1);
    EXPECT_EQ(g_AlarmDisbleCode[127], 6) << "the process's copy is another matter";
}

TEST_F(AlarmCodes, WithoutSegmentNothingCanBeReadOrWritten) {
    AlarmDisableCodeInfo info;
    std::memset(&info, 0xEE, sizeof(info));
    EXPECT_EQ(GetAlarmDisableCodeInfo(&info), -1);
    EXPECT_EQ(info.AlarmDisbleCode[0], 0xEEEE);
    EXPECT_EQ(SetAlarmDisableCodeInfo(), -1);
    EXPECT_THAT(files::lines(), ElementsAre(unmapped, unmapped));
    EXPECT_EQ(g_AlarmDisbleCodeInfoAddr, nullptr);
}

TEST_F(WithSegment, ANullIsRefusedFirst) {
    EXPECT_EQ(GetAlarmDisableCodeInfo(nullptr), -1);
    EXPECT_EQ(Get_DisabledFlag(nullptr), -1);
    EXPECT_THAT(platform().messages, IsEmpty());
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST_F(WithSegment, TheWholeListIsCopied) {
    for (size_t i = 0; i < 128; ++i) {
        g_AlarmDisbleCode[i] = static_cast<uint16_t>(65535 - i);
    }
    EXPECT_EQ(SetAlarmDisableCodeInfo(), 0);
    EXPECT_THAT(files::lines(), ElementsAre(mirrored(65535)));
    EXPECT_EQ(segment(), Codes(g_AlarmDisbleCode, g_AlarmDisbleCode + 128));
    EXPECT_EQ(files::lines().size(), 1u) << "reading says nothing";
    EXPECT_EQ(files::semaphore_value(key), 1);
}

TEST_F(WithSegment, IsMappedAgainWhenTheAddressIsGone) {
    ASSERT_EQ(OAL_PutMemResourceAddr(key, g_AlarmDisbleCodeInfoAddr), OAL_OK);
    g_AlarmDisbleCodeInfoAddr = nullptr;
    EXPECT_THAT(segment(), IsEmpty());
    EXPECT_NE(g_AlarmDisbleCodeInfoAddr, nullptr);
    EXPECT_EQ(files::attachments(key), 1);
    EXPECT_THAT(segment(), IsEmpty());
    EXPECT_EQ(files::attachments(key), 1);
}

TEST_F(WithSegment, ASecondProcessSeesAChangeAtOnce) {
    files::in_other_process([] { EXPECT_THAT(segment(), IsEmpty()); });
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(700, 1), 0);
    files::in_other_process([] {
        EXPECT_EQ(segment(), Codes{700});
        EXPECT_EQ(IPMI_SaveAlarmReportDisable(800, 1), 0);
    });
    EXPECT_EQ(segment(), (Codes{700, 800}));
    EXPECT_EQ(process_copy(), Codes{700}) << "private to the process";
}

TEST_F(WithSegment, AProcessThatIsAlreadyRunningSeesAChange) {
    int ready[2];
    int go[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(go), 0);
    const pid_t reader = files::start_process([&] {
        EXPECT_THAT(segment(), IsEmpty());
        EXPECT_EQ(::write(ready[1], "r", 1), 1);
        char none;
        EXPECT_EQ(::read(go[0], &none, 1), 1);
        EXPECT_EQ(segment(), Codes{700});
        EXPECT_THAT(platform().calls, IsEmpty()) << "no file is touched";
    });
    char none;
    EXPECT_EQ(::read(ready[0], &none, 1), 1);
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(700, 1), 0);
    EXPECT_EQ(::write(go[1], "g", 1), 1);
    files::expect_success(reader);
}

TEST_F(WithSegment, AHeldLockKeepsTheSegmentAsItIsAfterHalfASecond) {
    const files::HeldElsewhere held({key});
    g_AlarmDisbleCode[0] = 9;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(SetAlarmDisableCodeInfo(), -1);
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(490));
    EXPECT_LT(waited, std::chrono::milliseconds(1900));
    AlarmDisableCodeInfo info = {};
    EXPECT_EQ(GetAlarmDisableCodeInfo(&info), -1);
    EXPECT_EQ(VEL_CreateAlarmDisableCodeInfoShmAddr(), -1);
    EXPECT_EQ(g_AlarmDisbleCodeInfoAddr->AlarmDisbleCode[0], 0);
    EXPECT_THAT(files::lines(), ElementsAre(unlocked, unlocked, unlocked));
}

TEST_F(WithSegment, ARemovedSemaphoreIsNoLicence) {
    ASSERT_EQ(OAL_SemRelease(key), 0);
    g_AlarmDisbleCode[0] = 9;
    EXPECT_EQ(SetAlarmDisableCodeInfo(), -1);
    EXPECT_EQ(g_AlarmDisbleCodeInfoAddr->AlarmDisbleCode[0], 0);
    EXPECT_THAT(files::lines(), ElementsAre(unlocked));
}

TEST_F(WithSegment, ThreadsReadWholeLists) {
    std::vector<std::thread> threads;
    std::atomic<int> mixed = 0;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                AlarmDisableCodeInfo info;
                if (GetAlarmDisableCodeInfo(&info) != 0 ||
                    !std::all_of(std::begin(info.AlarmDisbleCode), std::end(info.AlarmDisbleCode),
                                 [&](uint16_t code) { return code == info.AlarmDisbleCode[0]; })) {
                    ++mixed;
                }
            }
        });
    }
    for (int i = 0; i < 200; ++i) {
        std::fill(std::begin(g_AlarmDisbleCode), std::end(g_AlarmDisbleCode), i);
        EXPECT_EQ(SetAlarmDisableCodeInfo(), 0);
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(mixed, 0);
}

// ---- changing the list ----

TEST_F(WithSegment, TheFirstCodeTakesTheEmptyDefaultsPlace) {
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(123, 1), 0);
    EXPECT_EQ(stored_codes(), "123 ");
    EXPECT_EQ(process_copy(), Codes{123});
    EXPECT_EQ(segment(), Codes{123});
    EXPECT_THAT(files::lines(), ElementsAre(mirrored(123)));
    EXPECT_THAT(platform().calls, ElementsAre("VEL_IniLoadFile /conf/vel/alarmpolicy",
                                              "IniGetStr AlarmReportDisable/Alarmcode",
                                              "IniSetStr AlarmReportDisable/Alarmcode",
                                              "IniSaveFile /conf/vel/alarmpolicy", "IniCloseFile"));
}

TEST_F(WithSegment, CodesAreAppendedAndRemovedInOrder) {
    for (const uint32_t code : {30911u, 5u, 65535u}) {
        EXPECT_EQ(IPMI_SaveAlarmReportDisable(code, 1), 0);
    }
    EXPECT_EQ(stored_codes(), "30911 5 65535 ");
    EXPECT_EQ(segment(), (Codes{30911, 5, 65535}));
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(5, 0), 0);
    EXPECT_EQ(stored_codes(), "30911 65535 ");
    EXPECT_EQ(segment(), (Codes{30911, 65535}));
}

TEST_F(WithSegment, ACodeThatIsListedChangesNothing) {
    policy_file("11 22 ");
    const auto before = files::read(path);
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(22, 1), 0);
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(11, 1), 0);
    EXPECT_EQ(saves(), 0u);
    EXPECT_EQ(files::read(path), before);
    EXPECT_EQ(segment(), (Codes{11, 22})) << "mirrored all the same";
}

TEST_F(WithSegment, RemovingWhatIsNotListedChangesNothing) {
    policy_file("11 22 ");
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(33, 0), 0);
    EXPECT_EQ(saves(), 0u);
    EXPECT_EQ(segment(), (Codes{11, 22}));
    std::filesystem::remove(path);
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(33, 0), 0);
    EXPECT_EQ(saves(), 0u);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_THAT(segment(), IsEmpty());
}

TEST_F(WithSegment, RemovingTheOnlyCodeWritesAnEmptyText) {
    policy_file("11 ");
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(11, 0), 0);
    EXPECT_EQ(stored_codes(), "");
    EXPECT_THAT(segment(), IsEmpty());
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(12, 1), 0) << "and a code can follow";
    EXPECT_EQ(stored_codes(), "12 ");
}

TEST_F(WithSegment, EveryOccurrenceIsRemoved) {
    policy_file("11 22 11 33 11 ");
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(11, 0), 0);
    EXPECT_EQ(stored_codes(), "22 33 ");
}

TEST_F(WithSegment, ATextThatStartsWithABlankIsEmptyForAnAddition) {
    policy_file(" 11 22 ");
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(33, 1), 0);
    EXPECT_EQ(stored_codes(), "33 ");
    policy_file(" 11 22 ");
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(22, 0), 0);
    EXPECT_EQ(stored_codes(), "11 ") << "a removal walks it";
}

TEST_F(WithSegment, TokensAreReadFromFiveCharacters) {
    policy_file("309111  7   abc 99999 1x +8 ");
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(44, 1), 0);
    EXPECT_EQ(process_copy(), (Codes{30911, 7, 0, 99999 - 65536, 1, 8, 44}));
    EXPECT_EQ(stored_codes(), "30911 7 34463 1 8 44 ") << "without the zero";
}

TEST_F(WithSegment, A129thCodeIsIgnoredSilently) {
    const Codes full = numbers(128);
    policy_file(text_of(full));
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(5, 1), 0);
    EXPECT_EQ(saves(), 0u);
    EXPECT_EQ(segment(), full);
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(full[64], 0), 0);
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(5, 1), 0);
    EXPECT_EQ(segment().back(), 5);
    EXPECT_EQ(segment().size(), 128u);
    EXPECT_EQ(IPMI_LoadAlarmReportDisable(), 0);
    EXPECT_EQ(segment().size(), 128u);
}

TEST_F(WithSegment, ALongerTextIsReadUpTo128Codes) {
    policy_file(text_of(numbers(160)));
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(10160, 1), 0) << "listed beyond the list's end";
    EXPECT_EQ(saves(), 0u);
    EXPECT_EQ(segment(), numbers(128));
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(10001, 0), 0);
    Codes rest = numbers(129);
    rest.erase(rest.begin());
    EXPECT_EQ(segment(), rest) << "a dropped code makes room";
    EXPECT_EQ(stored_codes(), text_of(rest));
}

TEST_F(WithSegment, OtherWishesChangeNothing) {
    policy_file("11 22 ");
    for (const uint32_t disable : {2u, 256u, 0xFFFFFFFFu}) {
        EXPECT_EQ(IPMI_SaveAlarmReportDisable(11, disable), 0);
        EXPECT_EQ(IPMI_SaveAlarmReportDisable(33, disable), 0);
    }
    EXPECT_EQ(saves(), 0u);
    EXPECT_EQ(segment(), (Codes{11, 22}));
}

TEST_F(WithSegment, ACodeThatIsNoneIsRefused) {
    policy_file("11 22 ");
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(65536 + 11, 0), -1);
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(0xFFFFFFFF, 1), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST_F(AlarmCodes, AMissingSegmentDoesNotFailAChange) {
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(11, 1), 0);
    EXPECT_EQ(stored_codes(), "11 ");
    EXPECT_EQ(process_copy(), Codes{11});
    EXPECT_THAT(files::lines(), ElementsAre(unmapped));
}

TEST_F(WithSegment, AFileThatCannotBeLoadedFailsAChange) {
    g_AlarmDisbleCode[0] = 9;
    std::filesystem::remove("/conf/vel");
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(11, 1), -1);
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(11, 0), -1);
    EXPECT_EQ(process_copy(), Codes{9});
    EXPECT_THAT(segment(), IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST_F(WithSegment, AFailedSaveFailsTheChangeAndKeepsTheSegment) {
    policy_file("11 ");
    platform().fail_if = [](const std::string &call) { return call.starts_with("IniSaveFile"); };
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(22, 1), -1);
    EXPECT_EQ(stored_codes(), "11 ");
    EXPECT_THAT(segment(), IsEmpty());
    EXPECT_EQ(files::open_handles(), 0);
}

TEST_F(WithSegment, TheReportPolicyOfTheFileStays) {
    EXPECT_EQ(IPMI_SaveAlarmReportPolicy(3), 0);
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(22, 1), 0);
    uint8_t policy = 0;
    EXPECT_EQ(IPMI_LoadAlarmReportPolicy(&policy), 0);
    EXPECT_EQ(policy, 3);
}

// ---- the flag of a default-disabled alarm ----

TEST_F(WithSegment, TheFlagIsSetWithAChange) {
    for (const Default &alarm : defaults) {
        EXPECT_EQ(flag_of(alarm.name), std::nullopt);
        EXPECT_EQ(IPMI_SaveAlarmReportDisable(alarm.code, 1), 0);
        EXPECT_EQ(flag_of(alarm.name), "1");
    }
    EXPECT_EQ(segment(), default_codes);
}

TEST_F(WithSegment, TheFlagIsSavedWhenOnlyItChanged) {
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(30911, 0), 0) << "not listed";
    EXPECT_EQ(flag_of("NvmeLinkDown"), "1");
    EXPECT_EQ(stored_codes(), std::nullopt) << "the list is not written";
    EXPECT_EQ(saves(), 1u);
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(30911, 0), 0);
    EXPECT_EQ(saves(), 1u) << "nothing changed any more";
}

TEST_F(WithSegment, OtherAlarmsHaveNoFlag) {
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(30913, 1), 0);
    EXPECT_EQ(files::read(path)->find("flag"), std::string::npos);
}

TEST_F(WithSegment, TheFlagIsTold) {
    files::write(path, "[NvmeLinkDown]\nflag=1\n[Odd]\nflag=-7\n");
    EXPECT_EQ(Get_DisabledFlag("NvmeLinkDown"), 1);
    EXPECT_EQ(Get_DisabledFlag("PDForeignState"), 0);
    EXPECT_EQ(Get_DisabledFlag("Odd"), -7);
    EXPECT_THAT(files::lines(), ElementsAre(Line{"audit", 175, "NvmeLinkDown disabledFlag = 1\n"},
                                            Line{"audit", 175, "PDForeignState disabledFlag = 0\n"},
                                            Line{"audit", 175, "Odd disabledFlag = -7\n"}));
    EXPECT_EQ(files::open_handles(), 0);
}

TEST_F(WithSegment, AFlagThatCannotBeLoadedIsTold) {
    std::filesystem::remove("/conf/vel");
    EXPECT_EQ(Get_DisabledFlag("NvmeLinkDown"), -1);
    EXPECT_THAT(files::lines(),
                ElementsAre(Line{"audit", 175, "open /conf/vel/alarmpolicy failed!\n"}));
}

TEST_F(WithSegment, ADefaultsFlagIsSetBeforeTheList) {
    policy_file("11 ");
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(30911, 1), 0);
    EXPECT_THAT(
        platform().calls,
        ElementsAre("VEL_IniLoadFile /conf/vel/alarmpolicy",
                    "IniGetStr AlarmReportDisable/Alarmcode", "IniGetSInt NvmeLinkDown/flag",
                    "IniSetSInt NvmeLinkDown/flag", "IniSetStr AlarmReportDisable/Alarmcode",
                    "IniSaveFile /conf/vel/alarmpolicy", "IniCloseFile"));
}

// ---- reloading ----

TEST_F(WithSegment, AListWrittenByHandIsTakenUp) {
    policy_file("30911 30912 ");
    files::in_other_process([] {
        EXPECT_EQ(IPMI_LoadAlarmReportDisable(), 0);
        EXPECT_EQ(process_copy(), (Codes{30911, 30912}));
        EXPECT_THAT(files::lines(), ElementsAre(mirrored(30911)));
        EXPECT_THAT(platform().calls,
                    ElementsAre("VEL_IniLoadFile /conf/vel/alarmpolicy",
                                "IniGetStr AlarmReportDisable/Alarmcode", "IniCloseFile"));
    });
    EXPECT_EQ(segment(), (Codes{30911, 30912}));
}

TEST_F(WithSegment, ASingleBlankClearsHalfTheCopyAndLeavesTheSegment) {
    std::fill(std::begin(g_AlarmDisbleCode), std::end(g_AlarmDisbleCode), 9);
    EXPECT_EQ(SetAlarmDisableCodeInfo(), 0);
    platform().clear_record();
    EXPECT_EQ(IPMI_LoadAlarmReportDisable(), 0) << "no file: the default";
    EXPECT_TRUE(std::all_of(g_AlarmDisbleCode, g_AlarmDisbleCode + 64,
                            [](uint16_t code) { return code == 0; }));
    EXPECT_TRUE(std::all_of(g_AlarmDisbleCode + 64, g_AlarmDisbleCode + 128,
                            [](uint16_t code) { return code == 9; }));
    EXPECT_EQ(segment(), Codes(128, 9));
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST_F(WithSegment, CodesFromThe65thOnStayUntilOthersTakeTheirPlaces) {
    std::fill(std::begin(g_AlarmDisbleCode), std::end(g_AlarmDisbleCode), 9);
    policy_file("1 2 ");
    EXPECT_EQ(IPMI_LoadAlarmReportDisable(), 0);
    EXPECT_EQ(g_AlarmDisbleCode[1], 2);
    EXPECT_EQ(g_AlarmDisbleCode[2], 0);
    EXPECT_EQ(g_AlarmDisbleCode[63], 0);
    EXPECT_EQ(g_AlarmDisbleCode[64], 9);
    EXPECT_EQ(segment(), process_copy());
    policy_file(text_of(numbers(70)));
    EXPECT_EQ(IPMI_LoadAlarmReportDisable(), 0);
    EXPECT_EQ(g_AlarmDisbleCode[69], 10070);
    EXPECT_EQ(g_AlarmDisbleCode[70], 9);
}

TEST_F(WithSegment, AnEmptyTextEmptiesTheSegment) {
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(11, 1), 0);
    policy_file("");
    EXPECT_EQ(IPMI_LoadAlarmReportDisable(), 0);
    EXPECT_THAT(segment(), IsEmpty());
}

TEST_F(WithSegment, LeadingBlanksBeforeCodesAreSkipped) {
    policy_file("  11   22");
    EXPECT_EQ(IPMI_LoadAlarmReportDisable(), 0);
    EXPECT_EQ(process_copy(), (Codes{11, 22}));
}

TEST_F(WithSegment, ALongTextIsReloadedUpTo128Codes) {
    policy_file(text_of(numbers(160)));
    EXPECT_EQ(IPMI_LoadAlarmReportDisable(), 0);
    EXPECT_EQ(segment(), numbers(128));
    policy_file(std::string(1022, ' ') + "12345 ");
    EXPECT_EQ(IPMI_LoadAlarmReportDisable(), 0);
    EXPECT_EQ(g_AlarmDisbleCode[0], 1) << "1,023 characters are read";
}

TEST_F(AlarmCodes, AMissingSegmentDoesNotFailTheReload) {
    policy_file("11 ");
    EXPECT_EQ(IPMI_LoadAlarmReportDisable(), 0);
    EXPECT_EQ(process_copy(), Codes{11});
    EXPECT_THAT(files::lines(), ElementsAre(unmapped));
}

TEST_F(AlarmCodes, AFileThatCannotBeLoadedFailsTheReload) {
    std::fill(std::begin(g_AlarmDisbleCode), std::end(g_AlarmDisbleCode), 9);
    std::filesystem::remove("/conf/vel");
    EXPECT_EQ(IPMI_LoadAlarmReportDisable(), -1);
    EXPECT_THAT(files::lines(), IsEmpty()) << "its callers tell";
    EXPECT_EQ(g_AlarmDisbleCode[63], 0) << "cleared first";
    EXPECT_EQ(g_AlarmDisbleCode[64], 9);
}

// ---- reporting again ----

TEST_F(WithSegment, ReportsAgainWhenThePolicySaysSo) {
    EXPECT_EQ(IsNeedAlarmReReport(), 0);
    policy_file("11 ");
    EXPECT_EQ(IPMI_SaveAlarmReportPolicy(2), 0);
    EXPECT_EQ(IsNeedAlarmReReport(), 1);
    EXPECT_EQ(segment(), Codes{11}) << "reloaded";
    EXPECT_EQ(IPMI_SaveAlarmReportPolicy(256), 0);
    EXPECT_EQ(IsNeedAlarmReReport(), 0) << "a byte";
}

TEST_F(WithSegment, AFailedReloadIsToldAndThePolicyCountsAllTheSame) {
    files::write(path, "[Alarm]\npolicy=1\n");
    platform().fail_call = 1;
    EXPECT_EQ(IsNeedAlarmReReport(), 1);
    EXPECT_THAT(files::lines(), ElementsAre(debug("IniLoadFile failed!")));
    platform().clear_record();
    platform().fail_if = [](const std::string &call) { return call.starts_with("VEL_Ini"); };
    EXPECT_EQ(IsNeedAlarmReReport(), 0) << "an unreadable policy is none";
}

// ---- start ----

TEST_F(AlarmCodes, TheFirstStartDisablesTheDefaults) {
    EXPECT_EQ(loadAlarmReportDisable(), 0);
    EXPECT_EQ(stored_codes(), "30880 30870 30911 30912 30918 ");
    EXPECT_EQ(segment(), default_codes);
    std::vector<Line> expected;
    for (const Default &alarm : defaults) {
        EXPECT_EQ(flag_of(alarm.name), "1");
        expected.push_back({"audit", 175, std::string(alarm.name) + " disabledFlag = 0\n"});
        expected.push_back(mirrored(30880));
    }
    expected.push_back(mirrored(30880));
    EXPECT_EQ(files::lines(), expected);
}

TEST_F(AlarmCodes, TheNextStartChangesNoFile) {
    EXPECT_EQ(loadAlarmReportDisable(), 0);
    const auto before = files::read(path);
    files::in_other_process([] {
        platform().clear_record();
        EXPECT_EQ(loadAlarmReportDisable(), 0);
        EXPECT_EQ(saves(), 0u);
        EXPECT_EQ(segment(), default_codes);
    });
    EXPECT_EQ(files::read(path), before);
}

TEST_F(AlarmCodes, AnAlarmThatTheUserEnabledAgainStaysEnabled) {
    EXPECT_EQ(loadAlarmReportDisable(), 0);
    EXPECT_EQ(IPMI_SaveAlarmReportDisable(30911, 0), 0);
    files::in_other_process([] {
        EXPECT_EQ(loadAlarmReportDisable(), 0);
        EXPECT_EQ(segment(), (Codes{30880, 30870, 30912, 30918}));
    });
}

TEST_F(AlarmCodes, TheUsersOwnCodesStayBeforeTheDefaults) {
    policy_file("7 ");
    EXPECT_EQ(loadAlarmReportDisable(), 0);
    EXPECT_EQ(stored_codes(), "7 30880 30870 30911 30912 30918 ");
}

TEST_F(AlarmCodes, AFlagThatCannotBeReadCountsAsSet) {
    platform().fail_call = 1;  // the first flag's load
    EXPECT_EQ(loadAlarmReportDisable(), 0);
    EXPECT_EQ(stored_codes(), "30870 30911 30912 30918 ");
    EXPECT_EQ(flag_of("PowerokChangeFlag"), std::nullopt);
}

TEST_F(AlarmCodes, AnAlarmThatCannotBeSetEndsTheStart) {
    platform().fail_if = [](const std::string &call) { return call.starts_with("IniSaveFile"); };
    EXPECT_EQ(loadAlarmReportDisable(), -1);
    EXPECT_THAT(files::lines(),
                ElementsAre(Line{"audit", 175, "PowerokChangeFlag disabledFlag = 0\n"},
                            Line{"audit", 138, " set alarm 30880 failed!\n"}));
    EXPECT_EQ(saves(), 1u);
}

TEST_F(AlarmCodes, AnUnwritableFolderFailsTheReloadAtLast) {
    std::filesystem::remove("/conf/vel");
    EXPECT_EQ(loadAlarmReportDisable(), -1);
    std::vector<Line> expected(5, {"audit", 175, "open /conf/vel/alarmpolicy failed!\n"});
    expected.push_back(debug(" IniLoadFile failed!"));
    EXPECT_EQ(files::lines(), expected);
}

TEST_F(AlarmCodes, ASegmentThatCannotBeCreatedIsTold) {
    layer().fail_with = [](const std::string &call) {
        return call.starts_with("shmget 4138 256") ? ENOSPC : 0;
    };
    const libc_layer::Watch watch;
    EXPECT_EQ(loadAlarmReportDisable(), -1);
    EXPECT_THAT(files::lines(),
                ElementsAre(debug("Create alarm disable code shm failed.\n"),
                            debug("VEL_CreateAlarmDisableCodeInfoShmAddr failed!\n")));
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST_F(AlarmCodes, NothingIsLeftBehindWhenAnySystemCallFails) {
    for (size_t n = 1;; ++n) {
        bool done = false;
        const pid_t child = files::start_process([&] {
            platform().clear_record();
            layer().fail_call = n;
            int result = 0;
            {
                const libc_layer::Watch watch;
                result = loadAlarmReportDisable();
            }
            EXPECT_THAT(result, testing::AnyOf(0, -1));
            EXPECT_EQ(files::open_handles(), 0);
            EXPECT_LE(files::attachments(key), g_AlarmDisbleCodeInfoAddr != nullptr ? 1 : 0);
            if (layer().calls.size() < n) {
                _exit(3);  // no such call any more
            }
        });
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        done = WIFEXITED(status) && WEXITSTATUS(status) == 3;
        EXPECT_TRUE(done || status == 0) << "call " << n;
        EXPECT_LE(files::attachments(key), 0) << "call " << n;
        EXPECT_NE(files::semaphore_value(key), 2) << "call " << n;
        OAL_DestoryMemResource(key);
        OAL_SemRelease(key);
        std::filesystem::remove(path);
        if (done) {
            EXPECT_GT(n, 10u);
            break;
        }
    }
}

TEST_F(AlarmCodes, ASegmentThatCannotBeMappedEndsTheStart) {
    layer().fail_with = [](const std::string &call) {
        return call.starts_with("shmat 4138 ") ? EACCES : 0;
    };
    const libc_layer::Watch watch;
    EXPECT_EQ(loadAlarmReportDisable(), -1);
    EXPECT_THAT(files::lines(),
                ElementsAre(debug("alarm disable code shm is null.\n"),
                            debug("VEL_CreateAlarmDisableCodeInfoShmAddr failed!\n")));
    EXPECT_EQ(g_AlarmDisbleCodeInfoAddr, nullptr);
    EXPECT_THAT(platform().calls, IsEmpty());
}

// ---- every failing platform call ----

TEST_F(WithSegment, NothingIsLeftBehindWhenAnyCallFails) {
    const std::pair<const char *, std::function<int()>> functions[] = {
        {"add", [] { return IPMI_SaveAlarmReportDisable(30911, 1); }},
        {"remove", [] { return IPMI_SaveAlarmReportDisable(11, 0); }},
        {"reload", [] { return IPMI_LoadAlarmReportDisable(); }},
        {"flag", [] { return Get_DisabledFlag("NvmeLinkDown"); }},
        {"policy", [] { return IsNeedAlarmReReport(); }},
        {"start", [] { return loadAlarmReportDisable(); }},
    };
    for (const auto &[name, run] : functions) {
        policy_file("11 22 ");
        platform().clear_record();
        run();
        const size_t calls = platform().calls.size();
        ASSERT_GT(calls, 2u) << name;
        const size_t descriptors = files::open_descriptors();
        for (size_t n = 1; n <= calls; ++n) {
            SCOPED_TRACE(std::string(name) + " call " + std::to_string(n));
            policy_file("11 22 ");
            platform().clear_record();
            platform().fail_call = n;
            const int result = run();
            platform().fail_call = std::nullopt;
            EXPECT_THAT(result, testing::AnyOf(0, -1));
            const std::string failed = platform().calls.at(n - 1);
            if (failed.starts_with("IniS") && std::string(name) != "policy") {
                EXPECT_EQ(result, -1) << failed;
            }
            EXPECT_EQ(files::open_handles(n), 0);
            EXPECT_EQ(files::open_descriptors(), descriptors);
            EXPECT_EQ(files::semaphore_value(key), 1);
            EXPECT_EQ(files::attachments(key), 1);
        }
    }
}
