// The clock as logs and test functions write it.
#pragma once

#include <ctime>

namespace bf::oal {

struct TimeText {
    char text[20];  // "YYYY-MM-DD hh:mm:ss"
};
// The local time, by the time zone that is set now.
TimeText local_time();

inline timespec clock_now() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

// Prints both readings between two rules.
void print_clock(const timespec &before, const timespec &after);

}  // namespace bf::oal
