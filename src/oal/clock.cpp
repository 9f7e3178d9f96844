#include "oal/clock.h"

#include <cstdio>

namespace bf::oal {

namespace {

void print_rule() {
    std::printf("------------------------------------------------------------------\n");
}

}  // namespace

TimeText local_time() {
    tzset();  // the zone may have been changed since the process began
    const time_t now = time(nullptr);
    tm local = {};
    localtime_r(&now, &local);
    TimeText time = {};
    std::strftime(time.text, sizeof(time.text), "%F %T", &local);
    return time;
}

void print_clock(const timespec &before, const timespec &after) {
    print_rule();
    std::printf("  tv1.tv_sec = %08ld, tv1.tv_nsec = %010ld\n", static_cast<long>(before.tv_sec),
                before.tv_nsec);
    std::printf("  tv2.tv_sec = %08ld, tv2.tv_nsec = %010ld\n", static_cast<long>(after.tv_sec),
                after.tv_nsec);
    print_rule();
}

}  // namespace bf::oal
