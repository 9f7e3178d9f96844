// Sleeping that signals do not cut short.
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "boardfeatures/process.h"
#include "oal/clock.h"

namespace {

constexpr uint64_t longest_sleep_us = 1000000;

int sleep_us(uint32_t microseconds) {
    int result = 0;
    do {
        errno = 0;
        result = usleep(microseconds);
    } while (result != 0 && errno == EINTR);
    return result;
}

template <typename Sleep>
int32_t timed(Sleep sleep, uint32_t time) {
    const timespec before = bf::oal::clock_now();
    const int32_t result = sleep(time);
    bf::oal::print_clock(before, bf::oal::clock_now());
    return result;
}

}  // namespace

extern "C" {

int32_t OAL_MSleep(uint32_t milliseconds) {
    const uint64_t wanted = static_cast<uint64_t>(milliseconds) * 1000;
    return sleep_us(static_cast<uint32_t>(std::min(wanted, longest_sleep_us))) == 0 ? 0 : errno;
}

int32_t OAL_USleep(uint32_t microseconds) { return sleep_us(microseconds); }

int32_t OAL_Sleep(uint32_t seconds) {
    unsigned left = seconds;
    do {
        errno = 0;
        left = sleep(left);
    } while (left != 0 && errno == EINTR);
    return static_cast<int32_t>(left);
}

int32_t OAL_MSleepTest(uint32_t milliseconds) { return timed(OAL_MSleep, milliseconds); }
int32_t OAL_USleepTest(uint32_t microseconds) { return timed(OAL_USleep, microseconds); }

}  // extern "C"
