// The clock lines of the test functions.
#pragma once

#include <ctime>

namespace bf::oal {

inline timespec clock_now() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

// Prints both readings between two rules.
void print_clock(const timespec &before, const timespec &after);

}  // namespace bf::oal
