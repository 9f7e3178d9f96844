// Segments and memory resources: creation, removal, attachments, copies under the semaphore.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "boardfeatures/ipc.h"
#include "oal_ipc/ipc_state.h"
#include "support/child_process.h"
#include "support/libc_layer.h"

using namespace ipc_state;
using child_process::Child;
using child_process::Signpost;
using libc_layer::attachments;
using libc_layer::layer;
using libc_layer::Watch;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

template <typename Call>
auto watched(Call call) {
    const Watch watch;
    return call();
}

// The call that begins with `prefix` fails from its `from`-th time on.
void fail_calls(const std::string &prefix, int error, int from = 1) {
    layer().fail_with = [=, seen = 0](const std::string &call) mutable {
        return call.starts_with(prefix) && ++seen >= from ? error : 0;
    };
}

std::string printed(const std::function<void()> &call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

}  // namespace

// ---- creation ----

using Create = uint32_t (*)(int32_t, uint32_t);
class Creation : public testing::TestWithParam<Create> {
protected:
    static uint32_t create(uint32_t size) {
        return watched([=] { return GetParam()(key, size); });
    }
};
INSTANTIATE_TEST_SUITE_P(, Creation, testing::Values(&OAL_ShmCreate, &OAL_CreatMemResource),
                         [](const auto &row) {
                             return row.index == 0 ? "ShmCreate" : "CreatMemResource";
                         });

TEST_P(Creation, MakesSegmentAndSemaphore) {
    const uint32_t id = create(100);
    EXPECT_EQ(id, static_cast<uint32_t>(segment_id()));
    EXPECT_THAT(layer().calls,
                ElementsAre("shmget 12305 0 0x0", "shmget 12305 100 0x7B6", "semget 12305 0 0x0",
                            "semget 12305 1 0x7B6", "semctl 12305 0 SETVAL 1"));
    EXPECT_EQ(segment_status().shm_segsz, 100u);
    EXPECT_EQ(segment_status().shm_perm.mode & 0777u, 0666u);
    EXPECT_EQ(semaphore_value(), 1);
    EXPECT_EQ(attachments(key), 0u);
}

TEST_P(Creation, AnswersAnExistingSegmentWhateverItsSize) {
    make_segment(8);
    const uint32_t id = create(100);
    EXPECT_EQ(id, static_cast<uint32_t>(segment_id()));
    EXPECT_THAT(layer().calls, ElementsAre("shmget 12305 0 0x0", "shmget 12305 0 0x0"));
    EXPECT_EQ(segment_status().shm_segsz, 8u);
    EXPECT_FALSE(has_semaphore());
    char byte = 0;
    EXPECT_EQ(OAL_ShmRead(key, &byte, 1, 0), 0x80108302u);
}

TEST_P(Creation, UsesASemaphoreThatIsThere) {
    make_semaphore(0);
    create(4);
    EXPECT_TRUE(has_segment());
    EXPECT_EQ(semaphore_value(), 0);
}

TEST_P(Creation, FailsForASizeThatTheSystemRefuses) {
    EXPECT_EQ(create(0), 0x80108203u);
    EXPECT_FALSE(has_segment());
    EXPECT_FALSE(has_semaphore());
}

TEST_P(Creation, TakesTheSegmentBackWithoutASemaphore) {
    fail_calls("semget 12305 1", ENOSPC);
    EXPECT_EQ(create(4), 0x80108303u);
    EXPECT_EQ(layer().calls.back(), "shmctl 12305 IPC_RMID");
    EXPECT_FALSE(has_segment());
}

TEST_P(Creation, TakesTheSegmentBackWhenTheSemaphoreVanishes) {
    make_semaphore();
    fail_calls("semget", ENOENT, 2);
    EXPECT_EQ(create(4), 0x80108303u);
    EXPECT_FALSE(has_segment());
}

TEST_P(Creation, AnswersAllBitsWhenAnExistingSegmentVanishes) {
    make_segment(4);
    layer().fail_call = 2;
    EXPECT_EQ(create(4), 0xFFFFFFFFu);
}

TEST(ShmIsExist, LooksTheKeyUp) {
    EXPECT_EQ(OAL_ShmIsExist(key), 0);
    make_segment(4);
    EXPECT_EQ(watched([] { return OAL_ShmIsExist(key); }), 1);
    EXPECT_THAT(layer().calls, ElementsAre("shmget 12305 0 0x0"));
}

// ---- creation with an attachment ----

class CreatMemResource1 : public testing::Test {
protected:
    ~CreatMemResource1() override {
        if (address_ != nullptr && address_ != garbage()) {
            shmdt(address_);
        }
    }
    static void *garbage() { return &marker_; }
    uint32_t create(uint32_t size) {
        return watched([&] { return OAL_CreatMemResource1(key, size, &address_); });
    }
    inline static char marker_;
    void *address_ = garbage();
};

TEST_F(CreatMemResource1, HandsOutNewZeroedMemory) {
    EXPECT_EQ(create(64), 0u);
    EXPECT_THAT(layer().calls,
                ElementsAre("shmget 12305 64 0x7B6", "semget 12305 0 0x0", "semget 12305 1 0x7B6",
                            "semctl 12305 0 SETVAL 1", "shmat 12305 0x0"));
    EXPECT_EQ(std::string(static_cast<char *>(address_), 64), std::string(64, '\0'));
    EXPECT_EQ(attachments(key), 1u);
    std::memset(address_, 'x', 64);
    EXPECT_EQ(segment_bytes(), std::string(64, 'x'));
    EXPECT_EQ(semaphore_value(), 1);
}

// Also when another process was quicker than the zeroing.
TEST_F(CreatMemResource1, ZeroesWhatIsThere) {
    layer().before = [](const std::string &call) {
        if (call.starts_with("shmat")) {
            fill_segment('x');
        }
    };
    EXPECT_EQ(create(64), 0u);
    EXPECT_EQ(std::string(static_cast<char *>(address_), 64), std::string(64, '\0'));
}

TEST_F(CreatMemResource1, LeavesExistingMemoryAlone) {
    make_segment(64);
    fill_segment('y');
    EXPECT_EQ(create(64), 0x80108201u);
    EXPECT_THAT(layer().calls,
                ElementsAre("shmget 12305 64 0x7B6", "shmget 12305 0 0x0", "shmat 12305 0x0"));
    EXPECT_EQ(std::string(static_cast<char *>(address_), 64), std::string(64, 'y'));
    EXPECT_FALSE(has_semaphore());
}

TEST_F(CreatMemResource1, RefusesNull) {
    EXPECT_EQ(watched([] { return OAL_CreatMemResource1(key, 64, nullptr); }), 0x80108004u);
    EXPECT_THAT(layer().calls, IsEmpty());
}

TEST_F(CreatMemResource1, FailsWithoutMemory) {
    fail_calls("shmget", ENOSPC);
    EXPECT_EQ(create(64), 0x80108303u);
    EXPECT_EQ(address_, nullptr);
    EXPECT_EQ(layer().calls.size(), 1u);
}

TEST_F(CreatMemResource1, FailsWhenExistingMemoryVanishes) {
    make_segment(64);
    fail_calls("shmget", ENOENT, 2);
    EXPECT_EQ(create(64), 0x80108303u);
    EXPECT_EQ(address_, nullptr);
}

TEST_F(CreatMemResource1, FailsWhenExistingMemoryCannotBeAttached) {
    make_segment(64);
    fail_calls("shmat", ENOMEM);
    EXPECT_EQ(create(64), 0x80108303u);
    EXPECT_EQ(address_, nullptr);
    EXPECT_TRUE(has_segment());
}

TEST_F(CreatMemResource1, TakesTheMemoryBackWithoutASemaphore) {
    fail_calls("semget 12305 1", ENOSPC);
    EXPECT_EQ(create(64), 0x80108303u);
    EXPECT_EQ(address_, nullptr);
    EXPECT_FALSE(has_segment());
}

TEST_F(CreatMemResource1, LeavesTheSemaphoreWhenNewMemoryCannotBeAttached) {
    fail_calls("shmat", ENOMEM);
    EXPECT_EQ(create(64), 0x80108303u);
    EXPECT_EQ(address_, nullptr);
    EXPECT_FALSE(has_segment());
    EXPECT_EQ(semaphore_value(), 1);
    const std::string id_as_key = "semget " + std::to_string(semaphore_id()) + " 0 0x0";
    EXPECT_THAT(layer().calls, ElementsAre("shmget 12305 64 0x7B6", "semget 12305 0 0x0",
                                           "semget 12305 1 0x7B6", "semctl 12305 0 SETVAL 1",
                                           "shmat 12305 0x0", "shmctl 12305 IPC_RMID", id_as_key));
}

// ---- removal ----

struct Removal {
    int32_t (*release)(int32_t);
    const char *name;
};
void PrintTo(const Removal &removal, std::ostream *out) { *out << removal.name; }

class Releases : public testing::TestWithParam<Removal> {
protected:
    static int32_t release() {
        return watched([] { return GetParam().release(key); });
    }
};
INSTANTIATE_TEST_SUITE_P(, Releases,
                         testing::Values(Removal{&OAL_ShmRelease, "OAL_ShmRelease"},
                                         Removal{&OAL_DestoryMemResource,
                                                 "OAL_DestoryMemResource"}),
                         [](const auto &row) { return row.param.name; });

TEST_P(Releases, LeavesASemaphoreWithoutASegmentAlone) {
    make_semaphore();
    EXPECT_EQ(release(), 0);
    EXPECT_THAT(layer().calls, ElementsAre("shmget 12305 0 0x0"));
    EXPECT_TRUE(has_semaphore());
}

TEST_P(Releases, RemovesBoth) {
    make_segment(4);
    make_semaphore();
    EXPECT_EQ(release(), 0);
    EXPECT_THAT(layer().calls,
                ElementsAre("shmget 12305 0 0x0", "shmget 12305 0 0x0", "shmctl 12305 IPC_RMID",
                            "semget 12305 0 0x0", "semget 12305 0 0x0", "semctl 12305 0 IPC_RMID"));
    EXPECT_FALSE(has_segment());
    EXPECT_FALSE(has_semaphore());
}

TEST_P(Releases, NeedsNoSemaphore) {
    make_segment(4);
    EXPECT_EQ(release(), 0);
    EXPECT_FALSE(has_segment());
}

TEST_P(Releases, PrintsWhyTheLookUpFailed) {
    make_segment(4);
    make_semaphore();
    fail_calls("shmget", EACCES, 2);
    int32_t result = 0;
    EXPECT_EQ(printed([&] { result = release(); }),
              std::string(GetParam().name) + "(), sdwShmId=-1, errno=13, Permission denied\n");
    EXPECT_EQ(result, -1);
    EXPECT_TRUE(has_segment());
    EXPECT_TRUE(has_semaphore());
}

TEST_P(Releases, KeepsTheSemaphoreWhenTheSegmentStays) {
    make_segment(4);
    make_semaphore();
    fail_calls("shmctl", EPERM);
    int32_t result = 0;
    EXPECT_EQ(printed([&] { result = release(); }), "");
    EXPECT_EQ(result, -1);
    EXPECT_TRUE(has_semaphore());
}

TEST_P(Releases, ReportsASemaphoreThatStays) {
    for (const char *call : {"semget", "semctl"}) {
        make_segment(4);
        make_semaphore();
        layer().clear();
        fail_calls(call, EPERM, call == std::string("semget") ? 2 : 1);
        EXPECT_EQ(release(), -1);
        EXPECT_FALSE(has_segment());
        EXPECT_TRUE(has_semaphore());
    }
}

// ---- copies ----

class Copies : public testing::Test {
protected:
    Copies() {
        make_segment(64);
        make_semaphore();
        fill_segment('.');
    }
    uint32_t read(uint32_t length, uint32_t offset) {
        return watched([&] { return OAL_ShmRead(key, buffer_, length, offset); });
    }
    uint32_t write(uint32_t length, uint32_t offset) {
        return watched([&] { return OAL_ShmWrite(key, buffer_, length, offset); });
    }
    std::string buffer() const { return {buffer_, 8}; }
    char buffer_[128] = "abcdefg";
};

TEST_F(Copies, WriteTouchesItsRangeOnly) {
    EXPECT_EQ(write(3, 5), 0u);
    EXPECT_EQ(segment_bytes(), "....." + std::string("abc") + std::string(56, '.'));
    EXPECT_THAT(layer().calls,
                ElementsAre("shmget 12305 0 0x0", "semget 12305 0 0x0", "shmctl 12305 IPC_STAT",
                            "semop 12305 0:-1:0x0", "shmat 12305 0x0", "shmdt 12305",
                            "semop 12305 0:1:0x0"));
    EXPECT_EQ(semaphore_value(), 1);
    EXPECT_EQ(attachments(key), 0u);
}

TEST_F(Copies, ReadTouchesItsRangeOnly) {
    EXPECT_EQ(read(3, 61), 0u);
    EXPECT_STREQ(buffer_, "...defg");
    EXPECT_THAT(layer().calls,
                ElementsAre("shmget 12305 0 0x0", "semget 12305 0 0x0", "shmctl 12305 IPC_STAT",
                            "semop 12305 0:-1:0x0", "shmat 12305 0x1000", "shmdt 12305",
                            "semop 12305 0:1:0x0"));
    EXPECT_EQ(semaphore_value(), 1);
    EXPECT_EQ(attachments(key), 0u);
}

TEST_F(Copies, TheRangeEndsWithTheSegment) {
    EXPECT_EQ(read(64, 0), 0u);
    EXPECT_EQ(read(1, 63), 0u);
    EXPECT_EQ(read(0, 64), 0u);
    EXPECT_EQ(write(64, 0), 0u);
    EXPECT_EQ(write(1, 63), 0u);
    for (const auto &[length, offset] :
         std::vector<std::pair<uint32_t, uint32_t>>{{65, 0},
                                                    {64, 1},
                                                    {1, 64},
                                                    {0, 65},
                                                    {2, 63},
                                                    {1, 0xFFFFFFFF},
                                                    {0xFFFFFFFF, 1},
                                                    {0x80000000, 0x80000000}}) {
        EXPECT_EQ(read(length, offset), 0x80108004u) << length << " " << offset;
        EXPECT_EQ(write(length, offset), 0x80108004u) << length << " " << offset;
    }
    EXPECT_EQ(semaphore_value(), 1);
}

TEST_F(Copies, NullIsRefusedFirst) {
    EXPECT_EQ(watched([] { return OAL_ShmRead(key, nullptr, 1, 0); }), 0x80108004u);
    EXPECT_EQ(watched([] { return OAL_ShmWrite(key, nullptr, 1, 0); }), 0x80108004u);
    EXPECT_THAT(layer().calls, IsEmpty());
}

TEST_F(Copies, EachStepHasItsCode) {
    const struct {
        const char *call;
        int from;
        uint32_t code;
    } steps[] = {{"shmget", 1, 0x80108202},
                 {"semget", 1, 0x80108302},
                 {"shmctl", 1, 0x80108204},
                 {"semop", 1, 0x80108304},
                 {"semop", 2, 0x80108305}};
    for (const auto &step : steps) {
        fail_calls(step.call, EIDRM, step.from);
        EXPECT_EQ(read(1, 0), step.code);
        set_semaphore_value(1);
        fail_calls(step.call, EIDRM, step.from);
        EXPECT_EQ(write(1, 0), step.code);
        set_semaphore_value(1);
    }
}

TEST_F(Copies, WhatIsCopiedStaysCopiedWhenTheUnlockFails) {
    fail_calls("semop", EIDRM, 2);
    EXPECT_EQ(write(1, 0), 0x80108305u);
    EXPECT_EQ(segment_bytes()[0], 'a');
}

TEST_F(Copies, AnInterruptedLockIsNotTriedAgain) {
    fail_calls("semop", EINTR);
    EXPECT_EQ(read(1, 0), 0x80108304u);
    EXPECT_EQ(layer().calls_of("semop").size(), 1u);
}

TEST_F(Copies, AFailedAttachIsNotNoticed) {
    fail_calls("shmat", ENOMEM);
    EXPECT_EQ(read(3, 0), 0u);
    EXPECT_STREQ(buffer_, "abcdefg");
    EXPECT_EQ(write(3, 0), 0u);
    EXPECT_EQ(segment_bytes(), std::string(64, '.'));
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(CopiesWithoutResource, NameWhatIsMissing) {
    char byte = 0;
    EXPECT_EQ(OAL_ShmRead(key, &byte, 1, 0), 0x80108202u);
    make_semaphore();
    EXPECT_EQ(OAL_ShmWrite(key, &byte, 1, 0), 0x80108202u);
    remove_all();
    make_segment(4);
    EXPECT_EQ(OAL_ShmRead(key, &byte, 1, 0), 0x80108302u);
    EXPECT_EQ(OAL_ShmWrite(key, &byte, 1, 0), 0x80108302u);
}

TEST_F(Copies, WaitForTheirTurn) {
    set_semaphore_value(0);
    Child unlocker([] {
        usleep(300'000);
        return OAL_UnLockMemResource(key) == 0 ? 0 : 1;
    });
    const Stopwatch watch;
    EXPECT_EQ(read(1, 0), 0u);
    EXPECT_GE(watch.seconds(), 0.2);
    EXPECT_EQ(unlocker.wait(), 0);
}

TEST_F(Copies, AProcessThatDiesInsideLeavesTheLockTaken) {
    for (const bool writes : {false, true}) {
        Child victim([&] {
            // between lock and unlock
            layer().before = [](const std::string &call) {
                if (call.starts_with("shmat")) {
                    raise(SIGKILL);
                }
            };
            return static_cast<int>(writes ? write(1, 0) : read(1, 0));
        });
        EXPECT_EQ(victim.wait(), 128 + SIGKILL);
        EXPECT_EQ(semaphore_value(), 0);
        EXPECT_EQ(OAL_SemLockByKey(key, 0), 0x80108304u);
        EXPECT_EQ(OAL_LockMemResource(key), 0x80108304u);
        EXPECT_EQ(OAL_UnLockMemResource(key), 0u);
        EXPECT_EQ(read(1, 0), 0u);
    }
}

// ---- memory resources ----

TEST(MemResource, LockNeverWaits) {
    OAL_CreatMemResource(key, 4);
    EXPECT_EQ(watched([] { return OAL_LockMemResource(key); }), 0u);
    const Stopwatch watch;
    EXPECT_EQ(watched([] { return OAL_LockMemResource(key); }), 0x80108304u);
    EXPECT_LT(watch.seconds(), 0.5);
    EXPECT_EQ(watched([] { return OAL_UnLockMemResource(key); }), 0u);
    EXPECT_THAT(layer().calls,
                ElementsAre("semget 12305 0 0x0", "semop 12305 0:-1:0x800", "semget 12305 0 0x0",
                            "semop 12305 0:-1:0x800", "semget 12305 0 0x0", "semop 12305 0:1:0x0"));
}

TEST(MemResource, LockIsNotTriedAgain) {
    OAL_CreatMemResource(key, 4);
    for (const int error : {EINTR, EIDRM}) {
        fail_calls("semop", error);
        layer().calls.clear();
        EXPECT_EQ(watched([] { return OAL_LockMemResource(key); }), 0x80108304u);
        EXPECT_EQ(watched([] { return OAL_UnLockMemResource(key); }), 0x80108305u);
        EXPECT_EQ(layer().calls.size(), 4u);
    }
}

TEST(MemResource, LockNeedsASemaphore) {
    make_segment(4);
    EXPECT_EQ(OAL_LockMemResource(key), 0x80108302u);
    EXPECT_EQ(OAL_UnLockMemResource(key), 0x80108302u);
}

TEST(MemResource, ALockOutlivesItsProcess) {
    OAL_CreatMemResource(key, 4);
    const Signpost held;
    Child holder([&] {
        OAL_LockMemResource(key);
        held.reach();
        pause();
        return 0;
    });
    held.wait();
    holder.kill_now();
    EXPECT_EQ(OAL_LockMemResource(key), 0x80108304u);
    EXPECT_EQ(OAL_UnLockMemResource(key), 0u);
    EXPECT_EQ(OAL_LockMemResource(key), 0u);
}

TEST(MemResource, UnlockingAFreeOneRaisesIt) {
    OAL_CreatMemResource(key, 4);
    EXPECT_EQ(OAL_UnLockMemResource(key), 0u);
    EXPECT_EQ(semaphore_value(), 2);
}

TEST(MemResource, EachAddressIsAnAttachmentOfItsOwn) {
    OAL_CreatMemResource(key, 4);
    void *first = watched([] { return OAL_GetMemResourceAddr(key); });
    EXPECT_THAT(layer().calls, ElementsAre("shmget 12305 0 0x0", "shmat 12305 0x0"));
    void *second = OAL_GetMemResourceAddr(key);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(attachments(key), 2u);
    std::memcpy(first, "abc", 4);
    EXPECT_STREQ(static_cast<char *>(second), "abc");
    layer().calls.clear();
    EXPECT_EQ(watched([=] { return OAL_PutMemResourceAddr(key, first); }), 0u);
    EXPECT_EQ(layer().calls.size(), 2u);
    EXPECT_EQ(layer().calls.front(), "shmget 12305 0 0x0");
    EXPECT_EQ(attachments(key), 1u);
    EXPECT_EQ(OAL_PutMemResourceAddr(key, second), 0u);
    EXPECT_EQ(attachments(key), 0u);
}

TEST(MemResource, NoAddressWithoutASegment) {
    EXPECT_EQ(OAL_GetMemResourceAddr(key), nullptr);
    make_segment(4);
    fail_calls("shmat", ENOMEM);
    EXPECT_EQ(watched([] { return OAL_GetMemResourceAddr(key); }), nullptr);
}

TEST(MemResource, PutLooksAtTheKeyFirst) {
    int local = 0;
    EXPECT_EQ(OAL_PutMemResourceAddr(key, nullptr), 0x80108202u);
    EXPECT_EQ(OAL_PutMemResourceAddr(key, &local), 0x80108202u);
    make_segment(4);
    EXPECT_EQ(OAL_PutMemResourceAddr(key, nullptr), 0x80108004u);
    EXPECT_EQ(OAL_PutMemResourceAddr(key, &local), 0x80108206u);
}
