// Sleeping, with signals coming in between.
#include <signal.h>
#include <sys/time.h>

#include <atomic>
#include <cerrno>
#include <chrono>

#include "boardfeatures/process.h"
#include "support/libc_layer.h"

using libc_layer::layer;
using libc_layer::Watch;
using testing::ElementsAre;
using Clock = std::chrono::steady_clock;

namespace {

double seconds_of(const std::function<void()> &call) {
    const auto begin = Clock::now();
    call();
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

// Signals every few milliseconds while it lives, `count` of them.
std::atomic<int> signals_left = 0;
std::atomic<int> signals_seen = 0;
std::atomic<Clock::time_point> last_signal;
class Storm {
public:
    Storm(int count, int every_ms) {
        signals_left = count;
        signals_seen = 0;
        struct sigaction action = {};
        action.sa_handler = [](int) {
            ++signals_seen;
            last_signal = Clock::now();
            if (--signals_left == 0) {
                const itimerval none = {};
                setitimer(ITIMER_REAL, &none, nullptr);
            }
        };
        sigaction(SIGALRM, &action, nullptr);
        itimerval timer = {};
        timer.it_interval.tv_usec = timer.it_value.tv_usec = every_ms * 1000;
        setitimer(ITIMER_REAL, &timer, nullptr);
    }
    ~Storm() {
        const itimerval none = {};
        setitimer(ITIMER_REAL, &none, nullptr);
    }
    Storm(const Storm &) = delete;
    Storm &operator=(const Storm &) = delete;
};

class Sleeping : public testing::Test {
protected:
    void TearDown() override { layer().clear(); }
};

}  // namespace

TEST_F(Sleeping, LastsAsLongAsAsked) {
    EXPECT_GE(seconds_of([] { EXPECT_EQ(OAL_MSleep(30), 0); }), 0.030);
    EXPECT_GE(seconds_of([] { EXPECT_EQ(OAL_USleep(30000), 0); }), 0.030);
    EXPECT_GE(seconds_of([] { EXPECT_EQ(OAL_Sleep(1), 0); }), 1.0);
    EXPECT_EQ(OAL_MSleep(0), 0);
    EXPECT_EQ(OAL_USleep(0), 0);
    EXPECT_EQ(OAL_Sleep(0), 0);
}

TEST_F(Sleeping, MillisecondsEndWithASecond) {
    const double lasted = seconds_of([] { EXPECT_EQ(OAL_MSleep(5000), 0); });
    EXPECT_GE(lasted, 1.0);
    EXPECT_LT(lasted, 3.0);
}

TEST_F(Sleeping, WhatLibcIsAsked) {
    const Watch watch;
    layer().fail_with = [](const std::string &) { return EINVAL; };  // nothing is slept
    const std::pair<uint32_t, const char *> milliseconds[] = {{0, "usleep 0"},
                                                              {1, "usleep 1000"},
                                                              {999, "usleep 999000"},
                                                              {1000, "usleep 1000000"},
                                                              {1001, "usleep 1000000"},
                                                              {5000, "usleep 1000000"},
                                                              {4294968, "usleep 1000000"},
                                                              {UINT32_MAX, "usleep 1000000"}};
    for (const auto &[time, call] : milliseconds) {
        layer().calls.clear();
        EXPECT_EQ(OAL_MSleep(time), EINVAL);
        EXPECT_THAT(layer().calls, ElementsAre(call));
    }
    layer().calls.clear();
    EXPECT_NE(OAL_USleep(UINT32_MAX), 0);
    EXPECT_THAT(layer().calls, ElementsAre("usleep 4294967295"));
    layer().calls.clear();
    EXPECT_EQ(OAL_Sleep(86400), 86400);  // not begun again but for a signal
    EXPECT_THAT(layer().calls, ElementsAre("sleep 86400"));
}

TEST_F(Sleeping, ASignalBeginsItAgain) {
    const Watch watch;
    int interruptions = 0;
    layer().fail_with = [&](const std::string &) { return ++interruptions <= 3 ? EINTR : EIO; };
    EXPECT_EQ(OAL_MSleep(20), EIO);
    EXPECT_THAT(layer().calls,
                ElementsAre("usleep 20000", "usleep 20000", "usleep 20000", "usleep 20000"));
    layer().calls.clear();
    interruptions = 0;
    EXPECT_NE(OAL_USleep(20), 0);
    EXPECT_THAT(layer().calls, ElementsAre("usleep 20", "usleep 20", "usleep 20", "usleep 20"));
    layer().calls.clear();
    interruptions = 0;
    EXPECT_EQ(OAL_Sleep(9), 9);
    EXPECT_THAT(layer().calls, ElementsAre("sleep 9", "sleep 9", "sleep 9", "sleep 9"));
}

TEST_F(Sleeping, AnErrorLeftFromBeforeIsNone) {
    errno = EINTR;
    EXPECT_EQ(OAL_MSleep(1), 0);
    errno = EINTR;
    EXPECT_LT(seconds_of([] { EXPECT_EQ(OAL_USleep(1000), 0); }), 10);
    errno = EINTR;
    EXPECT_EQ(OAL_Sleep(0), 0);
}

TEST_F(Sleeping, SignalStorm) {
    // The whole time passes after the last signal.
    for (const auto &sleep : {std::function<int32_t()>([] { return OAL_MSleep(100); }),
                              std::function<int32_t()>([] { return OAL_USleep(100000); })}) {
        const Storm storm(100, 4);
        EXPECT_EQ(sleep(), 0);
        const auto quiet = Clock::now() - last_signal.load();
        EXPECT_EQ(signals_seen, 100);
        EXPECT_GE(std::chrono::duration<double>(quiet).count(), 0.1);
    }
    // libc tells whole seconds, so that each signal takes away up to one.
    const Storm storm(2, 100);
    EXPECT_GE(seconds_of([] { EXPECT_EQ(OAL_Sleep(4), 0); }), 2.0);
    EXPECT_EQ(signals_seen, 2);
}

TEST_F(Sleeping, TestFormsPrintTheClock) {
    const std::string rule(66, '-');
    const std::string page = rule +
                             "\n  tv1.tv_sec = [0-9]{8,}, tv1.tv_nsec = [0-9]{10}\n"
                             "  tv2.tv_sec = [0-9]{8,}, tv2.tv_nsec = [0-9]{10}\n" +
                             rule + "\n";
    for (const auto &sleep : {std::function<int32_t()>([] { return OAL_MSleepTest(20); }),
                              std::function<int32_t()>([] { return OAL_USleepTest(20000); })}) {
        layer().clear();
        testing::internal::CaptureStdout();
        {
            const Watch watch;
            EXPECT_EQ(sleep(), 0);
        }
        const std::string said = testing::internal::GetCapturedStdout();
        EXPECT_THAT(said, testing::ContainsRegex("^" + page + "$"));
        EXPECT_EQ(said.size(), std::string(said).find_last_of('\n') + 1);
        EXPECT_THAT(layer().calls,
                    ElementsAre("clock_gettime 0", "usleep 20000", "clock_gettime 0"));
        long long sec[2], nsec[2];
        ASSERT_EQ(std::sscanf(said.c_str() + 67,
                              "  tv1.tv_sec = %lld, tv1.tv_nsec = %lld\n"
                              "  tv2.tv_sec = %lld, tv2.tv_nsec = %lld\n",
                              &sec[0], &nsec[0], &sec[1], &nsec[1]),
                  4);
        EXPECT_GE((sec[1] - sec[0]) * 1000000000 + nsec[1] - nsec[0], 20000000);
    }
}
