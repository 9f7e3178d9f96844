// The video memory strap, read through /dev/mem, and what follows from it.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>

#include "boardfeatures/soc.h"
#include "support/child_process.h"
#include "support/libc_layer.h"
#include "support/scripted_platform.h"

using child_process::Child;
using libc_layer::layer;
using libc_layer::Watch;
using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char memory_file[] = "/var/dev_mem";

// Physical memory of which only the strap's word is there, with all other bits of it set.
void strap(uint32_t selection) {
    const uint32_t word = (selection << 2) | ~0x0Cu;
    const int file = open(memory_file, O_RDWR | O_CREAT, 0600);
    ASSERT_GE(file, 0);
    ASSERT_EQ(pwrite(file, &word, sizeof(word), 0x1E6E2070), 4);
    ASSERT_EQ(ftruncate(file, 0x1E6E3000), 0);
    close(file);
    layer().redirected["/dev/mem"] = memory_file;
}

template <typename Call>
auto watched(Call call) {
    const Watch watch;
    return call();
}

int32_t read_selection(uint32_t *selection) {
    return watched([=] { return GetVGAMemSizeSelection(selection); });
}

// The answer of a process that finds this strap; it must fit an exit status.
int with_strap(uint32_t selection, int (*ask)()) {
    strap(selection);
    Child process([=] { return watched(ask); });
    return process.wait();
}

}  // namespace

TEST(VideoMemory, StrapIsReadOnce) {
    strap(3);
    const size_t descriptors = libc_layer::open_descriptors();
    uint32_t selection = 0;
    EXPECT_EQ(read_selection(&selection), 0);
    EXPECT_EQ(selection, 3u);
    EXPECT_THAT(layer().calls, ElementsAre("open /dev/mem 0x80002 00",
                                           "mmap 4096 0x3 0x1 0x1E6E2000", "munmap 4096", "close"));
    EXPECT_EQ(libc_layer::open_descriptors(), descriptors);
    ASSERT_EQ(platform().messages.size(), 1u);
    const scripted::Message &message = platform().messages[0];
    EXPECT_EQ(message.channel, "runtime");
    EXPECT_EQ(message.number, 135u);
    EXPECT_EQ(message.source, "share_mem_info");
    EXPECT_EQ(message.text, "[GetVGAMemSizeSelection " + std::to_string(message.line) +
                                "]VGA memory size selection: 3(3: 64MB, 1: 16MB).");

    strap(1);
    layer().calls.clear();
    selection = 0;
    EXPECT_EQ(read_selection(&selection), 0);
    EXPECT_EQ(selection, 3u);
    EXPECT_THAT(layer().calls, IsEmpty());
    EXPECT_EQ(platform().messages.size(), 1u);
}

TEST(VideoMemory, EverySelectionIsAnAnswer) {
    for (uint32_t wanted = 0; wanted < 4; ++wanted) {
        EXPECT_EQ(with_strap(wanted,
                             [] {
                                 uint32_t selection = 99;
                                 const int32_t result = GetVGAMemSizeSelection(&selection);
                                 GetVGAMemSizeSelection(&selection);
                                 // read once, selection 0 included
                                 return result == 0 && layer().calls.size() == 4
                                            ? static_cast<int>(selection)
                                            : 99;
                             }),
                  static_cast<int>(wanted));
    }
}

TEST(VideoMemory, EveryFailureIsClosedAndTriedAgain) {
    strap(1);
    const size_t descriptors = libc_layer::open_descriptors();
    for (size_t failing = 1; failing <= 2; ++failing) {
        layer().calls.clear();
        layer().fail_call = failing;
        layer().failure = EACCES;
        uint32_t selection = 99;
        EXPECT_EQ(read_selection(&selection), -1);
        EXPECT_EQ(selection, 99u);
        EXPECT_EQ(libc_layer::open_descriptors(), descriptors);
        EXPECT_THAT(platform().messages, IsEmpty());
    }
    EXPECT_THAT(layer().calls,
                ElementsAre("open /dev/mem 0x80002 00", "mmap 4096 0x3 0x1 0x1E6E2000", "close"));
    layer().fail_call.reset();
    uint32_t selection = 99;
    EXPECT_EQ(read_selection(&selection), 0);
    EXPECT_EQ(selection, 1u);
}

TEST(VideoMemory, AFailedUnmapOrCloseIsNoFailure) {
    for (const size_t failing : {3u, 4u}) {
        strap(1);
        Child process([=] {
            layer().fail_call = failing;
            uint32_t selection = 99;
            return read_selection(&selection) == 0 ? static_cast<int>(selection) : 98;
        });
        EXPECT_EQ(process.wait(), 1);
    }
}

TEST(VideoMemory, AMissingDeviceCannotBeRead) {
    layer().redirected["/dev/mem"] = "/var/no_such_device";
    uint32_t selection = 99;
    EXPECT_EQ(read_selection(&selection), -1);
    EXPECT_EQ(watched([] { return GetBmcMemType(); }), -1);
    EXPECT_EQ(watched([&] { return GetBmcMemBasePhyAddr(0, &selection); }), -1);
    EXPECT_EQ(selection, 99u);
}

TEST(VideoMemory, NullAndBadIndexesAreRefusedFirst) {
    strap(3);
    uint32_t address = 99;
    const Watch watch;
    EXPECT_EQ(GetVGAMemSizeSelection(nullptr), -1);
    EXPECT_EQ(GetBmcMemBasePhyAddr(0, nullptr), -1);
    EXPECT_EQ(GetBmcMemBasePhyAddr(-1, &address), -1);
    EXPECT_EQ(GetBmcMemBasePhyAddr(INT32_MIN, &address), -1);
    EXPECT_THAT(layer().calls, IsEmpty());
    EXPECT_EQ(GetBmcMemBasePhyAddr(5, &address), -1);
    EXPECT_EQ(GetBmcMemBasePhyAddr(INT32_MAX, &address), -1);
    EXPECT_EQ(address, 99u);
}

TEST(VideoMemory, TypeFollowsTheStrap) {
    const auto type = [] { return GetBmcMemType() + 1; };
    EXPECT_EQ(with_strap(0, type), 0);
    EXPECT_EQ(with_strap(1, type), 2);
    EXPECT_EQ(with_strap(2, type), 0);
    EXPECT_EQ(with_strap(3, type), 3);
}

TEST(VideoMemory, BasesWith16Megabytes) {
    strap(1);
    const char *bases[] = {"9c000000", "9c100000", "9d000000", "9e000000", "9e000028"};
    for (int32_t index = 0; index < 5; ++index) {
        uint32_t address = 0;
        EXPECT_EQ(watched([&] { return GetBmcMemBasePhyAddr(index, &address); }), 0);
        EXPECT_EQ(address, std::stoul(bases[index], nullptr, 16));
    }
}

TEST(VideoMemory, BasesWith64Megabytes) {
    strap(3);
    const char *bases[] = {"9e000000", "9e100000", "9f000000", "9d000000", "9d000028"};
    for (int32_t index = 0; index < 5; ++index) {
        uint32_t address = 0;
        EXPECT_EQ(watched([&] { return GetBmcMemBasePhyAddr(index, &address); }), 0);
        EXPECT_EQ(address, std::stoul(bases[index], nullptr, 16));
    }
}

TEST(VideoMemory, NoBasesForUnsupportedStraps) {
    for (const uint32_t selection : {0u, 2u}) {
        EXPECT_EQ(
            with_strap(selection,
                       [] {
                           uint32_t address = 99;
                           return GetBmcMemBasePhyAddr(0, &address) == -1 && address == 99 ? 0 : 1;
                       }),
            0);
    }
}

TEST(VideoMemory, NothingElseOpensPhysicalMemory) {
    uint32_t value = 0;
    testing::internal::CaptureStdout();
    {
        const Watch watch;
        SCU3CInfoShmCreate();
        VEL_readSCU3C();
        VEL_PDKIsACPowerOn();
        ReadSCU3CInfoFromShm(&value);
        WriteSCU3CInfoInShm(1);
        GetVGASwitchValue();
        SetVGASwitchValue();
        InitVGASwitchValue(1);
        GetShieldPowerButtonStatus();
        SetShieldPowerButtonStatus(1);
    }
    testing::internal::GetCapturedStdout();
    EXPECT_THAT(layer().calls_of("open"), IsEmpty());
    EXPECT_THAT(layer().calls_of("fopen"), IsEmpty());
    EXPECT_THAT(layer().calls_of("mmap"), IsEmpty());
}

TEST(VgaSwitch, SwitchesNothing) {
    EXPECT_EQ(GetVGASwitchValue(), 128);
    EXPECT_EQ(SetVGASwitchValue(), 128);
    for (const uint32_t value : {0u, 1u, 128u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        EXPECT_EQ(static_cast<uint32_t>(InitVGASwitchValue(value)), value);
    }
    EXPECT_THAT(platform().calls, IsEmpty());
}
