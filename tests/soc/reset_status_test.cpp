// The reset status: captured once a boot, in the right order, and shared by all processes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <cerrno>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "boardfeatures/ipc.h"
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

constexpr int32_t key = 4129;
constexpr uint32_t reset_status = 0x1E6E203C;

const std::vector<std::string> capture = {
    "mmap_read32 0x1E6E203C", "mmap_write32 0x1E6E2000 0x1688A8A8",
    "mmap_write32 0x1E6E203C 0x00000000", "mmap_write32 0x1E6E2000 0x00000000",
    "mmap_read32 0x1E6E203C"};

template <typename Call>
auto watched(Call call) {
    const Watch watch;
    return call();
}

std::string printed(const std::function<void()> &call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

int semaphore_value() { return semctl(semget(key, 0, 0), 0, GETVAL); }
void remove_all() {
    shmctl(shmget(key, 0, 0), IPC_RMID, nullptr);
    semctl(semget(key, 0, 0), 0, IPC_RMID);
}
bool exists() { return shmget(key, 0, 0) != -1; }
void store(uint32_t value) {
    SCU3CInfoShmCreate();
    ASSERT_EQ(OAL_ShmWrite(key, &value, sizeof(value), 0), 0u);
}
uint32_t stored() {
    uint32_t value = 0xDEAD;
    EXPECT_EQ(OAL_ShmRead(key, &value, sizeof(value), 0), 0u);
    return value;
}
void fail_calls(const std::string &prefix, int from = 1) {
    layer().fail_with = [=, seen = 0](const std::string &call) mutable {
        return call.starts_with(prefix) && ++seen >= from ? EIO : 0;
    };
}

// One line as it appears in both logs.
void expect_logged(size_t index, const std::string &text) {
    ASSERT_LT(index + 1, platform().messages.size());
    const scripted::Message &audit = platform().messages[index];
    EXPECT_EQ(audit.channel, "audit");
    EXPECT_EQ(audit.number, 134u);
    EXPECT_EQ(audit.text, text);
    const scripted::Message &debug = platform().messages[index + 1];
    EXPECT_EQ(debug.channel, "dbgout");
    EXPECT_EQ(debug.number, 130u);
    EXPECT_EQ(debug.source, "soc");
    EXPECT_GT(debug.line, 0);
    EXPECT_EQ(debug.text, text);
}

}  // namespace

// ---- the segment ----

TEST(Segment, IsMadeHoldingZero) {
    EXPECT_EQ(watched([] { return SCU3CInfoShmCreate(); }), 0);
    EXPECT_THAT(layer().calls,
                ElementsAre("shmget 4129 0 0x0",                                             //
                            "shmget 4129 0 0x0", "shmget 4129 4 0x7B6",                      //
                            "semget 4129 0 0x0", "semget 4129 1 0x7B6",                      //
                            "semctl 4129 0 SETVAL 1",                                        //
                            "semget 4129 0 0x0", "semtimedop 4129 0:-1:0x1000 0.500000000",  //
                            "shmget 4129 0 0x0", "shmat 4129 0x0",                           //
                            "shmget 4129 0 0x0", "shmdt 4129",                               //
                            "semget 4129 0 0x0", "semtimedop 4129 0:1:0x1000 0.500000000"));
    EXPECT_EQ(stored(), 0u);
    EXPECT_EQ(semaphore_value(), 1);
    EXPECT_EQ(libc_layer::attachments(key), 0u);
}

TEST(Segment, ThatExistsIsLeftAlone) {
    store(77);
    EXPECT_EQ(watched([] { return SCU3CInfoShmCreate(); }), 0);
    EXPECT_THAT(layer().calls, ElementsAre("shmget 4129 0 0x0"));
    EXPECT_EQ(stored(), 77u);
}

TEST(Segment, FailsWithoutMemoryOrSemaphore) {
    for (const char *call : {"shmget 4129 4", "semget 4129 1"}) {
        fail_calls(call);
        EXPECT_EQ(watched([] { return SCU3CInfoShmCreate(); }), -1);
        EXPECT_FALSE(exists());
    }
}

TEST(Segment, ThatCannotBeAttachedKeepsItsSemaphoreUntilTheProcessEnds) {
    Child creator([] {
        fail_calls("shmat");
        const int32_t result = watched([] { return SCU3CInfoShmCreate(); });
        return result == -1 && semaphore_value() == 0 ? 0 : 1;
    });
    EXPECT_EQ(creator.wait(), 0);
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(Segment, IsAttachedOnceForReadsAndWrites) {
    SCU3CInfoShmCreate();
    uint32_t value = 1;
    EXPECT_EQ(watched([&] { return ReadSCU3CInfoFromShm(&value); }), 0);
    EXPECT_EQ(value, 0u);
    EXPECT_THAT(layer().calls,
                ElementsAre("semget 4129 0 0x0", "semtimedop 4129 0:-1:0x1000 0.500000000",
                            "shmget 4129 0 0x0", "shmat 4129 0x0",  //
                            "semget 4129 0 0x0", "semtimedop 4129 0:1:0x1000 0.500000000"));
    layer().calls.clear();
    EXPECT_EQ(watched([] { return WriteSCU3CInfoInShm(0x12345678); }), 0);
    EXPECT_THAT(layer().calls,
                ElementsAre("semget 4129 0 0x0", "semtimedop 4129 0:-1:0x1000 0.500000000",
                            "semget 4129 0 0x0", "semtimedop 4129 0:1:0x1000 0.500000000"));
    EXPECT_EQ(ReadSCU3CInfoFromShm(&value), 0);
    EXPECT_EQ(value, 0x12345678u);
    EXPECT_EQ(stored(), 0x12345678u);
    EXPECT_EQ(libc_layer::attachments(key), 1u);
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(Segment, IsAttachedOnceByManyThreads) {
    SCU3CInfoShmCreate();
    WriteSCU3CInfoInShm(5);
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 50; ++round) {
                uint32_t value = 0;
                EXPECT_EQ(ReadSCU3CInfoFromShm(&value), 0);
                EXPECT_EQ(value, 5u);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(libc_layer::attachments(key), 1u);
}

TEST(Segment, NullIsRefused) {
    SCU3CInfoShmCreate();
    EXPECT_EQ(watched([] { return ReadSCU3CInfoFromShm(nullptr); }), -1);
    EXPECT_THAT(layer().calls, IsEmpty());
}

TEST(Segment, ThatIsMissingCannotBeReadOrWritten) {
    uint32_t value = 7;
    EXPECT_EQ(ReadSCU3CInfoFromShm(&value), -1);
    EXPECT_EQ(WriteSCU3CInfoInShm(1), -1);
    EXPECT_EQ(value, 7u);
}

TEST(Segment, AFailedAttachGivesTheSemaphoreBackAndIsTriedAgain) {
    store(9);
    uint32_t value = 7;
    fail_calls("shmat");
    EXPECT_EQ(watched([&] { return ReadSCU3CInfoFromShm(&value); }), -1);
    EXPECT_EQ(watched([] { return WriteSCU3CInfoInShm(1); }), -1);
    EXPECT_EQ(value, 7u);
    EXPECT_EQ(semaphore_value(), 1);
    EXPECT_EQ(ReadSCU3CInfoFromShm(&value), 0);
    EXPECT_EQ(value, 9u);
}

TEST(Segment, IsReadAfterTheWaitWhenSomeoneElseHoldsTheSemaphore) {
    store(9);
    ASSERT_EQ(OAL_LockMemResource(key), 0u);
    uint32_t value = 0;
    EXPECT_EQ(ReadSCU3CInfoFromShm(&value), 0);
    EXPECT_EQ(value, 9u);
    // and what the other holds is not given back for it
    EXPECT_EQ(semaphore_value(), 0);
}

// ---- the capture ----

TEST(Capture, ReadsClearsAndKeepsTheRegister) {
    platform().memory[reset_status] = 0xABCD0001;
    uint32_t value = 0;
    EXPECT_EQ(printed([&] { value = VEL_readSCU3C(); }),
              "SCU3C original value: ABCD0001, cleared value: 00000000\n");
    EXPECT_EQ(value, 0xABCD0001u);
    EXPECT_EQ(platform().calls, capture);
    ASSERT_EQ(platform().messages.size(), 2u);
    expect_logged(0, "SCU3C original value: ABCD0001, cleared value: 00000000\n");
    EXPECT_EQ(platform().memory[reset_status], 0u);
    EXPECT_EQ(platform().memory[0x1E6E2000], 0u);
    EXPECT_EQ(stored(), 0xABCD0001u);
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(Capture, HappensOnceInAProcess) {
    platform().memory[reset_status] = 2;
    VEL_readSCU3C();
    platform().clear_record();
    platform().memory[reset_status] = 4;
    layer().calls.clear();
    EXPECT_EQ(watched([] { return VEL_readSCU3C(); }), 2u);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
    EXPECT_THAT(layer().calls, ElementsAre("shmget 4129 0 0x0"));
}

TEST(Capture, HappensOnceInABoot) {
    platform().memory[reset_status] = 0x11;
    Child first([] { return VEL_readSCU3C() == 0x11 && platform().calls == capture ? 0 : 1; });
    EXPECT_EQ(first.wait(), 0);
    platform().memory[reset_status] = 0;
    EXPECT_EQ(VEL_readSCU3C(), 0x11u);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(Capture, OfZeroIsTriedAgain) {
    EXPECT_EQ(VEL_readSCU3C(), 0u);
    EXPECT_EQ(platform().calls, capture);
    platform().clear_record();
    platform().memory[reset_status] = 3;
    EXPECT_EQ(VEL_readSCU3C(), 3u);
    EXPECT_EQ(platform().calls, capture);
}

TEST(Capture, TellsAnAcPowerOn) {
    const auto answer = [](uint32_t status) {
        Child process([=] {
            remove_all();
            platform().memory[reset_status] = status;
            return VEL_PDKIsACPowerOn();
        });
        return process.wait();
    };
    EXPECT_EQ(answer(0x00000001), 1);
    EXPECT_EQ(answer(0xFFFFFFFF), 1);
    EXPECT_EQ(answer(0xFFFFFFFE), 0);
    EXPECT_EQ(answer(0), 0);
}

TEST(Capture, WithoutASegmentAnswersNothing) {
    platform().memory[reset_status] = 5;
    fail_calls("shmget");
    uint32_t value = 1;
    EXPECT_EQ(printed([&] { value = watched([] { return VEL_readSCU3C(); }); }),
              "SCU3C create Shm failed");
    EXPECT_EQ(value, 0u);
    EXPECT_THAT(platform().calls, IsEmpty());
    ASSERT_EQ(platform().messages.size(), 2u);
    expect_logged(0, "SCU3C create Shm failed\n");
    EXPECT_EQ(VEL_PDKIsACPowerOn(), 1);  // it works again
}

TEST(Capture, WithAnUnreadableSegmentStillReadsTheRegister) {
    store(0);
    platform().memory[reset_status] = 5;
    fail_calls("shmat");
    uint32_t value = 1;
    EXPECT_EQ(printed([&] { value = watched([] { return VEL_readSCU3C(); }); }),
              "SCU3C read Shm failed"
              "SCU3C original value: 00000005, cleared value: 00000000\n"
              "SCU3C write Shm failed");
    EXPECT_EQ(value, 5u);
    EXPECT_EQ(platform().calls, capture);
    ASSERT_EQ(platform().messages.size(), 6u);
    expect_logged(0, "SCU3C read Shm failed\n");
    expect_logged(2, "SCU3C original value: 00000005, cleared value: 00000000\n");
    expect_logged(4, "SCU3C write Shm failed\n");
    EXPECT_EQ(VEL_readSCU3C(), 5u);
}

TEST(Capture, DoesNotClearWhatItCouldNotRead) {
    platform().memory[reset_status] = 5;
    platform().fail_call = 1;
    EXPECT_EQ(VEL_readSCU3C(), 0u);
    EXPECT_THAT(platform().calls, ElementsAre("mmap_read32 0x1E6E203C"));
    EXPECT_EQ(platform().memory[reset_status], 5u);
    platform().clear_record();
    platform().fail_call.reset();
    EXPECT_EQ(VEL_readSCU3C(), 5u);
    EXPECT_EQ(platform().calls, capture);
}

TEST(Capture, AlwaysLocksTheRegistersAgain) {
    for (size_t failing = 2; failing <= 5; ++failing) {
        Child process([=] {
            remove_all();
            platform().memory[reset_status] = 5;
            platform().fail_call = failing;
            return VEL_readSCU3C() == 5 && platform().calls == capture && stored() == 5 ? 0 : 1;
        });
        EXPECT_EQ(process.wait(), 0) << failing;
    }
}

// Each system call fails once: an answer all the same, and a free semaphore for the next process.
TEST(Capture, WithAnySystemCallFailingLeavesNothingBehind) {
    const auto run = [](size_t failing) {
        Child process([=] {
            testing::internal::CaptureStdout();
            platform().memory[reset_status] = 5;
            if (failing != 0) {
                layer().fail_call = failing;
            }
            const size_t descriptors = libc_layer::open_descriptors();
            const uint32_t value = watched([] { return VEL_readSCU3C(); });
            const bool clean = libc_layer::open_descriptors() == descriptors &&
                               libc_layer::attachments(key).value_or(0) <= 2;
            testing::internal::GetCapturedStdout();
            if (!clean || (value != 0 && value != 5)) {
                return 255;
            }
            return static_cast<int>(layer().calls.size());
        });
        return process.wait();
    };
    const int calls = run(0);
    ASSERT_GT(calls, 10);
    ASSERT_LT(calls, 255);
    for (int failing = 1; failing <= calls; ++failing) {
        remove_all();
        const int made = run(static_cast<size_t>(failing));
        EXPECT_NE(made, 255) << failing;
        EXPECT_GE(made, failing);
        EXPECT_EQ(libc_layer::attachments(key).value_or(0), 0u) << failing;
        if (semget(key, 0, 0) != -1 && failing != 6) {  // 6: the semaphore was never set to 1
            EXPECT_EQ(semaphore_value(), 1) << failing;
        }
    }
}
