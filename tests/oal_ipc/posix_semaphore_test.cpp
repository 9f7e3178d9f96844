// POSIX named semaphores: exact calls, waits, and what is printed when they fail.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>
#include <time.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <ostream>
#include <string>

#include "boardfeatures/ipc.h"
#include "oal_ipc/ipc_state.h"
#include "support/libc_layer.h"

using ipc_state::Stopwatch;
using libc_layer::layer;
using libc_layer::Watch;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char name[] = "/boardfeatures";

template <typename Call>
auto watched(Call call) {
    const Watch watch;
    return call();
}

int value_of(sem_t *handle) {
    int value = -1;
    sem_getvalue(handle, &value);
    return value;
}

std::string printed(const std::function<void()> &call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

double seconds_of(const timespec &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void fail_all(int error) {
    layer().fail_with = [=](const std::string &) { return error; };
}

}  // namespace

// The exported names and what they forward to.
struct Functions {
    const char *family;
    decltype(&OAL_PosixSemOpen) open;
    decltype(&OAL_PosixSemClose) close;
    decltype(&OAL_PosixSemDelete) unlink;
    decltype(&OAL_PosixSemWait) wait;
    decltype(&OAL_PosixSemPost) post;
};

void PrintTo(const Functions &functions, std::ostream *out) { *out << functions.family; }

class PosixSem : public testing::TestWithParam<Functions> {
protected:
    const Functions &sem = GetParam();
};

INSTANTIATE_TEST_SUITE_P(
    , PosixSem,
    testing::Values(Functions{"OAL", &OAL_PosixSemOpen, &OAL_PosixSemClose, &OAL_PosixSemDelete,
                              &OAL_PosixSemWait, &OAL_PosixSemPost},
                    Functions{"posix", &posix_sem_open, &posix_sem_close, &posix_sem_unlink,
                              &posix_sem_wait, &posix_sem_post}),
    [](const auto &row) { return row.param.family; });

TEST_P(PosixSem, OpensWithItsValue) {
    sem_t *handle = watched([&] { return sem.open(name, 3); });
    ASSERT_NE(handle, nullptr);
    EXPECT_THAT(layer().calls, ElementsAre("sem_open /boardfeatures 0x42 0666 3"));
    EXPECT_EQ(value_of(handle), 3);
    EXPECT_EQ(sem.close(handle), 0);
    EXPECT_EQ(sem.unlink(name), 0);
}

TEST_P(PosixSem, OpensAnExistingOneAsItIs) {
    sem_t *first = sem.open(name, 2);
    sem_t *second = sem.open(name, 7);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(value_of(second), 2);
    EXPECT_EQ(sem.post(second), 0);
    EXPECT_EQ(value_of(first), 3);
}

TEST_P(PosixSem, RefusesWithoutASystemCall) {
    const Watch watch;
    EXPECT_EQ(sem.open(nullptr, 1), nullptr);
    EXPECT_EQ(sem.open(name, -1), nullptr);
    EXPECT_EQ(sem.open(name, INT32_MIN), nullptr);
    EXPECT_EQ(sem.close(nullptr), -1);
    EXPECT_EQ(sem.unlink(nullptr), -1);
    EXPECT_EQ(sem.wait(nullptr, 0), -1);
    EXPECT_EQ(sem.wait(nullptr, -1), -1);
    EXPECT_EQ(sem.wait(nullptr, 1), -1);
    EXPECT_EQ(sem.post(nullptr), -1);
    EXPECT_THAT(layer().calls, IsEmpty());
}

TEST_P(PosixSem, PrintsWhyItCannotBeOpened) {
    sem_t *handle = nullptr;
    EXPECT_EQ(printed([&] { handle = sem.open("/not/a/name", 1); }),
              "line:1949, func:posix_sem_open(), errno=22, Invalid argument\n");
    EXPECT_EQ(handle, nullptr);
    fail_all(EMFILE);
    EXPECT_EQ(printed([&] { watched([&] { return handle = sem.open(name, 1); }); }),
              "line:1949, func:posix_sem_open(), errno=24, Too many open files\n");
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(errno, EMFILE);
}

TEST_P(PosixSem, PrintsWhyItCannotBeClosed) {
    sem_t *handle = sem.open(name, 1);
    fail_all(EINVAL);
    int32_t result = 0;
    EXPECT_EQ(printed([&] { result = watched([&] { return sem.close(handle); }); }),
              "line:1967, func:posix_sem_close(), errno=22, Invalid argument\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_THAT(layer().calls, ElementsAre("sem_close"));
}

TEST_P(PosixSem, PrintsWhyItCannotBeUnlinked) {
    int32_t result = 0;
    EXPECT_EQ(printed([&] { result = watched([&] { return sem.unlink(name); }); }),
              "line:1984, func:posix_sem_unlink(), errno=2, No such file or directory\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_THAT(layer().calls, ElementsAre("sem_unlink /boardfeatures"));
}

TEST_P(PosixSem, ZeroSecondsDoNotWait) {
    sem_t *handle = sem.open(name, 1);
    EXPECT_EQ(watched([&] { return sem.wait(handle, 0); }), 0);
    EXPECT_EQ(value_of(handle), 0);
    EXPECT_EQ(watched([&] { return sem.wait(handle, 0); }), -1);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_THAT(layer().calls, ElementsAre("sem_trywait", "sem_trywait"));
}

TEST_P(PosixSem, MinusOneWaitsWithoutLimit) {
    sem_t *handle = sem.open(name, 1);
    EXPECT_EQ(watched([&] { return sem.wait(handle, -1); }), 0);
    EXPECT_THAT(layer().calls, ElementsAre("sem_wait"));
    EXPECT_EQ(value_of(handle), 0);
}

TEST_P(PosixSem, SecondsAreADeadlineOnTheClock) {
    sem_t *handle = sem.open(name, 1);
    timespec before = {};
    timespec after = {};
    clock_gettime(CLOCK_REALTIME, &before);
    EXPECT_EQ(watched([&] { return sem.wait(handle, 100); }), 0);
    clock_gettime(CLOCK_REALTIME, &after);
    ASSERT_EQ(layer().calls.size(), 2u);
    EXPECT_EQ(layer().calls[0], "clock_gettime 0");
    const double deadline = std::stod(layer().calls[1].substr(std::strlen("sem_timedwait ")));
    EXPECT_GE(deadline, seconds_of(before) + 100 - 1e-4);
    EXPECT_LE(deadline, seconds_of(after) + 100 + 1e-4);
}

TEST_P(PosixSem, TheTimeIsOverAfterItsSeconds) {
    sem_t *handle = sem.open(name, 0);
    const Stopwatch watch;
    EXPECT_EQ(sem.wait(handle, 1), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(watch.seconds(), 0.99);
    EXPECT_LT(watch.seconds(), 3);
}

TEST_P(PosixSem, ADeadlineInThePastStillTakesAFreeOne) {
    sem_t *handle = sem.open(name, 1);
    EXPECT_EQ(sem.wait(handle, -2), 0);
    EXPECT_EQ(sem.wait(handle, -2), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
}

TEST_P(PosixSem, TheLongestTimeStaysWithinTheClock) {
    sem_t *handle = sem.open(name, 1);
    EXPECT_EQ(watched([&] { return sem.wait(handle, INT32_MAX); }), 0);
    EXPECT_GT(std::stod(layer().calls[1].substr(std::strlen("sem_timedwait "))), 2147483646.0);
}

TEST_P(PosixSem, AnInterruptedWaitStartsAgain) {
    sem_t *handle = sem.open(name, 1);
    for (const int32_t seconds : {0, -1, 5}) {
        int interruptions = 3;
        layer().calls.clear();
        layer().fail_with = [&](const std::string &call) {
            return call.starts_with("sem_") && interruptions-- > 0 ? EINTR : 0;
        };
        EXPECT_EQ(watched([&] { return sem.wait(handle, seconds); }), 0);
        EXPECT_EQ(layer().calls_of("sem_").size(), 4u);
        // the deadline is a new one each time
        EXPECT_EQ(layer().calls_of("clock_gettime").size(), seconds == 5 ? 4u : 0u);
        EXPECT_EQ(sem.post(handle), 0);
    }
}

TEST_P(PosixSem, ASignalExtendsATimedWait) {
    sem_t *handle = sem.open(name, 0);
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    itimerval once = {};
    once.it_value.tv_usec = 600'000;
    const Stopwatch watch;
    setitimer(ITIMER_REAL, &once, nullptr);
    EXPECT_EQ(sem.wait(handle, 1), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(watch.seconds(), 1.55);
}

TEST_P(PosixSem, OtherFailuresEndTheWait) {
    sem_t *handle = sem.open(name, 1);
    for (const int32_t seconds : {0, -1, 5}) {
        layer().fail_with = [](const std::string &call) {
            return call.starts_with("sem_") ? EINVAL : 0;
        };
        EXPECT_EQ(watched([&] { return sem.wait(handle, seconds); }), -1);
        EXPECT_EQ(errno, EINVAL);
    }
    fail_all(EPERM);
    EXPECT_EQ(watched([&] { return sem.wait(handle, 5); }), -1);
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(layer().calls.back(), "clock_gettime 0");
}

TEST_P(PosixSem, PostHandsOnItsResult) {
    sem_t *handle = sem.open(name, 0);
    EXPECT_EQ(watched([&] { return sem.post(handle); }), 0);
    EXPECT_EQ(value_of(handle), 1);
    EXPECT_THAT(layer().calls, ElementsAre("sem_post"));
    fail_all(EOVERFLOW);
    EXPECT_EQ(watched([&] { return sem.post(handle); }), -1);
    EXPECT_EQ(errno, EOVERFLOW);
}
