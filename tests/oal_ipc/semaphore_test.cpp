// System V semaphores as locks: exact calls, codes, waits and interruptions.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>

#include <cerrno>
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

int failing_times(int &left, int error) { return left-- > 0 ? error : 0; }

}  // namespace

TEST(SemCreate, MakesOneSemaphoreAtOneForAll) {
    const uint32_t id = watched([] { return OAL_SemCreate(key); });
    EXPECT_EQ(id, static_cast<uint32_t>(semaphore_id()));
    EXPECT_THAT(layer().calls, ElementsAre("semget 12305 0 0x0", "semget 12305 1 0x7B6",
                                           "semctl 12305 0 SETVAL 1"));
    EXPECT_EQ(semaphore_value(), 1);
    EXPECT_EQ(semaphore_status().sem_nsems, 1u);
    EXPECT_EQ(semaphore_status().sem_perm.mode & 0777u, 0666u);
}

TEST(SemCreate, LeavesAnExistingSetAsItIs) {
    make_semaphore(0);
    const uint32_t id = watched([] { return OAL_SemCreate(key); });
    EXPECT_EQ(id, static_cast<uint32_t>(semaphore_id()));
    EXPECT_THAT(layer().calls, ElementsAre("semget 12305 0 0x0", "semget 12305 0 0x0"));
    EXPECT_EQ(semaphore_value(), 0);
}

TEST(SemCreate, TakesNegativeKeysAsTheyAre) {
    const uint32_t id = OAL_SemCreate(-5);
    EXPECT_EQ(id, static_cast<uint32_t>(semaphore_id(-5)));
    EXPECT_EQ(semaphore_value(-5), 1);
}

TEST(SemCreate, FailsWhenTheSetCannotBeMade) {
    layer().fail_call = 2;
    layer().failure = ENOSPC;
    EXPECT_EQ(watched([] { return OAL_SemCreate(key); }), 0x80108303u);
    EXPECT_FALSE(has_semaphore());
}

TEST(SemCreate, AnswersAllBitsWhenAnExistingSetVanishes) {
    make_semaphore();
    layer().fail_call = 2;
    layer().failure = ENOENT;
    EXPECT_EQ(watched([] { return OAL_SemCreate(key); }), 0xFFFFFFFFu);
}

TEST(SemCreate, DoesNotNoticeThatTheValueIsNotSet) {
    layer().fail_call = 3;
    const uint32_t id = watched([] { return OAL_SemCreate(key); });
    EXPECT_EQ(id, static_cast<uint32_t>(semaphore_id()));
    EXPECT_EQ(semaphore_value(), 0);
}

TEST(SemIsExist, LooksTheKeyUp) {
    EXPECT_EQ(OAL_SemIsExist(key), 0);
    make_semaphore();
    EXPECT_EQ(watched([] { return OAL_SemIsExist(key); }), 1);
    EXPECT_THAT(layer().calls, ElementsAre("semget 12305 0 0x0"));
}

TEST(SemRelease, IsContentWithoutASet) {
    EXPECT_EQ(watched([] { return OAL_SemRelease(key); }), 0);
    EXPECT_THAT(layer().calls, ElementsAre("semget 12305 0 0x0"));
}

TEST(SemRelease, RemovesTheSet) {
    make_semaphore();
    EXPECT_EQ(watched([] { return OAL_SemRelease(key); }), 0);
    EXPECT_THAT(layer().calls,
                ElementsAre("semget 12305 0 0x0", "semget 12305 0 0x0", "semctl 12305 0 IPC_RMID"));
    EXPECT_FALSE(has_semaphore());
}

TEST(SemRelease, FailsWhenLookUpOrRemovalFails) {
    make_semaphore();
    for (const size_t call : {2u, 3u}) {
        layer().clear();
        layer().fail_call = call;
        EXPECT_EQ(watched([] { return OAL_SemRelease(key); }), -1);
        EXPECT_TRUE(has_semaphore());
    }
}

// ---- the operation for each time-out ----

struct Wait {
    uint32_t timeout_ms;
    const char *call;   // before the step
    const char *flags;  // and after it
};

// How the cases are named.
void PrintTo(const Wait &wait, std::ostream *out) { *out << wait.timeout_ms; }

class Waits : public testing::TestWithParam<Wait> {
protected:
    static std::string step(int direction) {
        return GetParam().call + std::string(" 12305 0:") + std::to_string(direction) + ":" +
               GetParam().flags;
    }
};

INSTANTIATE_TEST_SUITE_P(, Waits,
                         testing::Values(Wait{0, "semop", "0x1800"}, Wait{65535, "semop", "0x1000"},
                                         Wait{1, "semtimedop", "0x1000 0.001000000"},
                                         Wait{999, "semtimedop", "0x1000 0.999000000"},
                                         Wait{1000, "semtimedop", "0x1000 1.000000000"},
                                         Wait{1500, "semtimedop", "0x1000 1.500000000"},
                                         Wait{65534, "semtimedop", "0x1000 65.534000000"},
                                         Wait{65536, "semtimedop", "0x1000 65.536000000"},
                                         Wait{4294967295u, "semtimedop",
                                              "0x1000 4294967.295000000"}),
                         testing::PrintToStringParamName());

TEST_P(Waits, LockByKey) {
    make_semaphore();
    EXPECT_EQ(watched([] { return OAL_SemLockByKey(key, GetParam().timeout_ms); }), 0u);
    EXPECT_THAT(layer().calls, ElementsAre("semget 12305 0 0x0", step(-1)));
    EXPECT_EQ(semaphore_value(), 0);
}

TEST_P(Waits, UnlockByKey) {
    make_semaphore(0);
    EXPECT_EQ(watched([] { return OAL_SemUnLockByKey(key, GetParam().timeout_ms); }), 0u);
    EXPECT_THAT(layer().calls, ElementsAre("semget 12305 0 0x0", step(1)));
    EXPECT_EQ(semaphore_value(), 1);
}

TEST_P(Waits, LockAndUnlockById) {
    make_semaphore();
    const auto id = static_cast<uint32_t>(watched([] { return semaphore_id(); }));
    layer().calls.clear();
    EXPECT_EQ(watched([=] { return OAL_SemLockBySemId(id, GetParam().timeout_ms); }), 0u);
    EXPECT_EQ(semaphore_value(), 0);
    EXPECT_EQ(watched([=] { return OAL_SemUnLockBySemId(id, GetParam().timeout_ms); }), 0u);
    EXPECT_EQ(semaphore_value(), 1);
    EXPECT_THAT(layer().calls, ElementsAre(step(-1), step(1)));
}

TEST_P(Waits, AnyOtherFailureEndsTheAttempt) {
    make_semaphore();
    const auto id = static_cast<uint32_t>(semaphore_id());
    layer().fail_with = [](const std::string &call) {
        return call.starts_with("semget") ? 0 : EIDRM;
    };
    const uint32_t wait = GetParam().timeout_ms;
    EXPECT_EQ(watched([=] { return OAL_SemLockByKey(key, wait); }), 0x80108304u);
    EXPECT_EQ(watched([=] { return OAL_SemUnLockByKey(key, wait); }), 0x80108305u);
    EXPECT_EQ(watched([=] { return OAL_SemLockBySemId(id, wait); }), 0x80108304u);
    EXPECT_EQ(watched([=] { return OAL_SemUnLockBySemId(id, wait); }), 0x80108305u);
    EXPECT_EQ(layer().calls.size(), 6u);
    EXPECT_EQ(semaphore_value(), 1);
}

TEST_P(Waits, LockByKeyStartsAgainWithTheLookUp) {
    make_semaphore();
    int interruptions = 2;
    layer().fail_with = [&](const std::string &call) {
        return call.starts_with("semget") ? 0 : failing_times(interruptions, EINTR);
    };
    EXPECT_EQ(watched([] { return OAL_SemLockByKey(key, GetParam().timeout_ms); }), 0u);
    EXPECT_EQ(layer().calls_of("semget 12305 0 0x0").size(), 3u);
    EXPECT_EQ(layer().calls_of(GetParam().call).size(), 3u);
}

TEST_P(Waits, UnlockByKeyLooksUpOnce) {
    make_semaphore(0);
    int interruptions = 2;
    layer().fail_with = [&](const std::string &call) {
        return call.starts_with("semget") ? 0 : failing_times(interruptions, EINTR);
    };
    EXPECT_EQ(watched([] { return OAL_SemUnLockByKey(key, GetParam().timeout_ms); }), 0u);
    EXPECT_EQ(layer().calls_of("semget").size(), 1u);
    EXPECT_EQ(layer().calls_of(GetParam().call).size(), 3u);
}

// ---- a wait grows with each interruption ----

TEST(GrowingWait, AddsTheWholeTimeOutEachTime) {
    make_semaphore();
    const auto id = static_cast<uint32_t>(watched([] { return semaphore_id(); }));
    const auto growing = ElementsAre(
        "semtimedop 12305 0:-1:0x1000 1.999000000", "semtimedop 12305 0:-1:0x1000 3.998000000",
        "semtimedop 12305 0:-1:0x1000 5.997000000", "semtimedop 12305 0:-1:0x1000 7.996000000");
    int interruptions = 3;
    layer().fail_with = [&](const std::string &call) {
        return call.starts_with("semtimedop") ? failing_times(interruptions, EINTR) : 0;
    };
    layer().calls.clear();
    EXPECT_EQ(watched([] { return OAL_SemLockByKey(key, 1999); }), 0u);
    EXPECT_THAT(layer().calls_of("semtimedop"), growing);

    set_semaphore_value(1);
    interruptions = 3;
    layer().calls.clear();
    EXPECT_EQ(watched([=] { return OAL_SemLockBySemId(id, 1999); }), 0u);
    EXPECT_THAT(layer().calls_of("semtimedop"), growing);

    interruptions = 3;
    layer().calls.clear();
    EXPECT_EQ(watched([=] { return OAL_SemUnLockBySemId(id, 1999); }), 0u);
    EXPECT_THAT(layer().calls_of("semtimedop"),
                ElementsAre("semtimedop 12305 0:1:0x1000 1.999000000",
                            "semtimedop 12305 0:1:0x1000 3.998000000",
                            "semtimedop 12305 0:1:0x1000 5.997000000",
                            "semtimedop 12305 0:1:0x1000 7.996000000"));
}

TEST(GrowingWait, NeverLeavesTheRangeOfTheClock) {
    make_semaphore();
    int interruptions = 600;  // 600 times 49 days are more than 32 bits of seconds
    layer().fail_with = [&](const std::string &call) {
        return call.starts_with("semtimedop") ? failing_times(interruptions, EINTR) : 0;
    };
    EXPECT_EQ(watched([] { return OAL_SemLockByKey(key, 4294967295u); }), 0u);
    long long last = 0;
    for (const std::string &call : layer().calls_of("semtimedop")) {
        const long long seconds = std::stoll(call.substr(call.find("0x1000 ") + 7));
        EXPECT_GE(seconds, last);
        last = seconds;
    }
    EXPECT_GE(last, sizeof(time_t) == 4 ? 2147483647LL : 4294967LL * 600);
}

TEST(GrowingWait, ASignalMakesTheWaitLonger) {
    make_semaphore(0);
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    itimerval once = {};
    once.it_value.tv_usec = 200'000;
    const Stopwatch watch;
    setitimer(ITIMER_REAL, &once, nullptr);
    // 0.2 s until the signal, then another 2 x 0.5 s
    EXPECT_EQ(OAL_SemLockByKey(key, 500), 0x80108304u);
    EXPECT_GE(watch.seconds(), 1.15);
    EXPECT_LT(watch.seconds(), 3);
}

TEST(LockByKey, NoticesThatTheSetIsGoneAfterAnInterruption) {
    make_semaphore();
    layer().fail_with = [](const std::string &call) {
        return call.starts_with("semtimedop") ? EINTR : 0;
    };
    layer().before = [](const std::string &call) {
        if (call.starts_with("semtimedop")) {
            remove_all();
        }
    };
    EXPECT_EQ(watched([] { return OAL_SemLockByKey(key, 1000); }), 0x80108302u);
}

TEST(LockByKey, AnswersForAMissingKey) {
    EXPECT_EQ(OAL_SemLockByKey(key, 0), 0x80108302u);
    EXPECT_EQ(OAL_SemLockByKey(key, 1000), 0x80108302u);
    EXPECT_EQ(OAL_SemLockByKey(key, 65535), 0x80108302u);
    EXPECT_EQ(OAL_SemUnLockByKey(key, 0), 0x80108302u);
    EXPECT_FALSE(has_semaphore());
}

TEST(LockById, AnswersForAnUnknownId) {
    for (const uint32_t id : {0xFFFFFFFFu, 0x80108303u, 0x7FFFFFFFu}) {
        EXPECT_EQ(OAL_SemLockBySemId(id, 0), 0x80108304u);
        EXPECT_EQ(OAL_SemUnLockBySemId(id, 0), 0x80108305u);
    }
}

TEST(HeldLock, IsRefusedAtOnceWithoutAWait) {
    make_semaphore(0);
    const Stopwatch watch;
    EXPECT_EQ(OAL_SemLockByKey(key, 0), 0x80108304u);
    EXPECT_EQ(OAL_SemLockBySemId(static_cast<uint32_t>(semaphore_id()), 0), 0x80108304u);
    EXPECT_LT(watch.seconds(), 0.5);
}

TEST(HeldLock, IsWaitedForAsLongAsAsked) {
    make_semaphore(0);
    const Stopwatch watch;
    EXPECT_EQ(OAL_SemLockByKey(key, 1500), 0x80108304u);
    EXPECT_GE(watch.seconds(), 1.5);
    EXPECT_LT(watch.seconds(), 4);
}

TEST(HeldLock, IsNotRecursive) {
    OAL_SemCreate(key);
    EXPECT_EQ(OAL_SemLockByKey(key, 0), 0u);
    EXPECT_EQ(OAL_SemLockByKey(key, 0), 0x80108304u);
    EXPECT_EQ(OAL_SemUnLockByKey(key, 0), 0u);
    EXPECT_EQ(OAL_SemLockByKey(key, 0), 0u);
}

TEST(HeldLock, WithoutLimitIsTakenWhenTheHolderUnlocks) {
    OAL_SemCreate(key);
    const Signpost held;
    Child holder([&] {
        OAL_SemLockByKey(key, 0);
        held.reach();
        usleep(300'000);
        return OAL_SemUnLockByKey(key, 0) == 0 ? 0 : 1;
    });
    held.wait();
    const Stopwatch watch;
    EXPECT_EQ(OAL_SemLockByKey(key, 65535), 0u);
    EXPECT_GE(watch.seconds(), 0.2);
    EXPECT_EQ(holder.wait(), 0);
}

// ---- undo ----

TEST(Undo, ALockComesBackWhenItsHolderIsKilled) {
    OAL_SemCreate(key);
    const auto id = static_cast<uint32_t>(semaphore_id());
    for (const uint32_t wait : {0u, 65535u, 1000u}) {
        for (const bool by_key : {true, false}) {
            const Signpost held;
            Child holder([&] {
                const uint32_t result =
                    by_key ? OAL_SemLockByKey(key, wait) : OAL_SemLockBySemId(id, wait);
                held.reach();
                pause();
                return static_cast<int>(result);
            });
            held.wait();
            EXPECT_EQ(OAL_SemLockByKey(key, 0), 0x80108304u);
            holder.kill_now();
            EXPECT_EQ(OAL_SemLockByKey(key, 2000), 0u) << wait << by_key;
            EXPECT_EQ(OAL_SemUnLockByKey(key, 0), 0u);
        }
    }
}

TEST(Undo, AnUnlockIsTakenBackWhenItsProcessEnds) {
    make_semaphore(0);
    Child visitor([] { return OAL_SemUnLockByKey(key, 0) == 0 ? 0 : 1; });
    EXPECT_EQ(visitor.wait(), 0);
    EXPECT_EQ(semaphore_value(), 0);
}
