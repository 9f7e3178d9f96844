// A monotonic clock that stands still until a test moves it. Linked in with the library
// `virtual_clock`; until start() is called the machine's own clock answers.
#pragma once

#include <cstdint>

namespace scripted {

void start_virtual_clock();
void advance_virtual_clock(int64_t microseconds);
int64_t virtual_now();  // microseconds since start_virtual_clock()

}  // namespace scripted
