#include "support/virtual_clock.h"

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>

namespace {

// A start that is neither zero nor a whole second: only differences may matter.
constexpr int64_t start = 1'234'567'890;
std::atomic<int64_t> now_us{0};

}  // namespace

namespace scripted {

void start_virtual_clock() { now_us = start; }
void advance_virtual_clock(int64_t microseconds) { now_us += microseconds; }
int64_t virtual_now() { return now_us - start; }

}  // namespace scripted

extern "C" int clock_gettime(clockid_t clock, struct timespec *now) noexcept {
    if (clock != CLOCK_MONOTONIC || now_us == 0) {
        return static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    }
    now->tv_sec = static_cast<time_t>(now_us / 1'000'000);
    now->tv_nsec = static_cast<long>(now_us % 1'000'000 * 1000);
    return 0;
}
