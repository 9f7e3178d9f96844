// Available memory and its thresholds.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "boardfeatures/config.h"
#include "support/config_files.h"
#include "support/libc_layer.h"

namespace files = config_files;
using files::Line;
using libc_layer::layer;
using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char memory_monitor[] = "/conf/vel/monitor_cfg.ini";
constexpr char meminfo[] = "/conf/meminfo";

// What /proc/meminfo says.
void kernel_says(const std::string &text) {
    files::write(meminfo, text);
    layer().redirected["/proc/meminfo"] = meminfo;
}

int32_t available_mem() {
    const libc_layer::Watch watch;
    return IPMI_GetAvailableMem();
}

}  // namespace

TEST(AvailableMem, IsWhatThisKernelSays) {
    const int32_t available = IPMI_GetAvailableMem();
    EXPECT_GT(available, 0);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(AvailableMem, IsTheFirstLineWithTheLabelInMebibytes) {
    kernel_says(
        "MemTotal:         506468 kB\nMemFree:  1 kB\nMemAvailable:     104447 kB\n"
        "MemAvailable: 1 kB\n");
    EXPECT_EQ(available_mem(), 101) << "truncated";
    kernel_says("MemAvailable:1024");
    EXPECT_EQ(available_mem(), 1);
    kernel_says("xMemAvailable:\t2047kB\n");
    EXPECT_EQ(available_mem(), 1);
    kernel_says("MemAvailable: 0 kB\n");
    EXPECT_EQ(available_mem(), 0);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(AvailableMem, LinesMayBeLong) {
    kernel_says(std::string(3000, 'x') + "\nMemAvailable: 2048 kB\n");
    EXPECT_EQ(available_mem(), 2);
    // 1,023 characters at a time: a label that they cut is none
    kernel_says(std::string(1010, 'x') + "MemAvailable: 2048 kB\n");
    EXPECT_EQ(available_mem(), 0) << "its number is in the next piece";
    kernel_says(std::string(1011, 'x') + "MemAvailable: 2048 kB\n");
    EXPECT_EQ(available_mem(), -1);
}

TEST(AvailableMem, WithoutTheLineThereIsNoAnswer) {
    for (const char *text : {"", "MemTotal: 5 kB\n", "MemAvailable 5 kB\n", "memavailable: 5\n"}) {
        kernel_says(text);
        EXPECT_EQ(available_mem(), -1) << text;
    }
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(AvailableMem, AFileThatCannotBeOpenedIsToldWithItsReason) {
    layer().fail_with = [](const std::string &) { return EACCES; };
    EXPECT_EQ(available_mem(), -1);
    EXPECT_THAT(layer().calls, ElementsAre("fopen /proc/meminfo r"));
    EXPECT_THAT(files::lines(), ElementsAre(Line{"audit", 176,
                                                 "fopen /proc/meminfo failed! [" +
                                                     std::to_string(EACCES) + "]\n"}));
}

TEST(AvailableMem, AFailedCloseFailsTheAnswer) {
    kernel_says("MemAvailable: 2048 kB\n");
    const size_t before = files::open_descriptors();
    layer().fail_with = [](const std::string &call) { return call == "fclose" ? EIO : 0; };
    EXPECT_EQ(available_mem(), -1);
    EXPECT_EQ(files::open_descriptors(), before);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(AvailableMem, ANumberThatDoesNotFitIsToldAndTheGreatestOneCounts) {
    kernel_says("MemAvailable: 99999999999999999999999 kB\n");
    EXPECT_EQ(available_mem(), 0x7FFFFFFF / 1024);
    kernel_says("MemAvailable: 2147483648 kB\n");
    EXPECT_EQ(available_mem(), 0x7FFFFFFF / 1024);
    const Line told = {"audit", 176, "strtol failed! [" + std::to_string(ERANGE) + "]"};
    EXPECT_THAT(files::lines(), ElementsAre(told, told));
    platform().clear_record();
    kernel_says("MemAvailable: 2147483647 kB\n");
    EXPECT_EQ(available_mem(), 0x7FFFFFFF / 1024);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(AvailableMem, NoNumberIsToldAndCountsAs0) {
    kernel_says("MemAvailable: some kB\n");
    EXPECT_EQ(available_mem(), 0);
    EXPECT_THAT(files::lines(), ElementsAre(Line{"audit", 176, "strtol failed! [0]"}));
}

TEST(AvailableMem, LeavesNoFileOpen) {
    const size_t before = files::open_descriptors();
    for (const char *text : {"", "MemAvailable: 1 kB\n", "MemAvailable: x\n"}) {
        kernel_says(text);
        available_mem();
    }
    EXPECT_EQ(files::open_descriptors(), before);
}

TEST(AvailableMemStatus, Defaults) {
    files::write(memory_monitor, "");
    const std::pair<int32_t, int32_t> expected[] = {{-1, 2}, {0, 2},  {39, 2}, {40, 1},
                                                    {50, 1}, {77, 1}, {78, 0}, {5000, 0}};
    for (const auto &[available, status] : expected) {
        EXPECT_EQ(IPMI_GetAvailableMemStatus(available), status) << available;
    }
}

TEST(AvailableMemStatus, ThresholdsOfTheFile) {
    files::write(memory_monitor, "[MemCfg]\nleft_mem_threshold_1=20\nleft_mem_threshold_2=100\n");
    EXPECT_EQ(IPMI_GetAvailableMemStatus(99), 2) << "the second threshold is asked first";
    EXPECT_EQ(IPMI_GetAvailableMemStatus(100), 0);
    files::write(memory_monitor, "[MemCfg]\nleft_mem_threshold_1=-5\nleft_mem_threshold_2=-10\n");
    EXPECT_EQ(IPMI_GetAvailableMemStatus(-6), 1) << "signed";
    EXPECT_EQ(IPMI_GetAvailableMemStatus(0), 0);
    EXPECT_EQ(IPMI_GetAvailableMemStatus(-11), 2);
}

TEST(AvailableMemStatus, AMissingFileFails) {
    EXPECT_EQ(IPMI_GetAvailableMemStatus(50), -1);
    EXPECT_THAT(files::lines(), ElementsAre(Line{"audit", 176, "IniLoadFile failed!"}));
}
