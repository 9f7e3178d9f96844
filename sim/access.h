// How every platform call goes: counted, held against the faults, then answered by the board.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "state.h"

namespace boardsim {

struct Access {
    Call call;
    Target target = Target::any;
    uint32_t number = 0;  // register, line, fan, physical address, or offset in the chip
    Route route = {};
};

struct Outcome {
    int result;
    std::optional<uint32_t> value;  // what a fault says was read
    uint32_t flips;                 // the bits of it that a fault inverts

    uint32_t seen(uint32_t real) const { return value.value_or(real) ^ flips; }
};

// What the faults have to say to an access; counts them. The first failure and the first value win,
// flips and delays add up.
struct Verdict {
    std::optional<int> failure;
    std::optional<uint32_t> value;
    uint32_t flips = 0;
    uint64_t delay_us = 0;
};
Verdict judge(Board &board, const Access &access);

// Adds a fault; false when there is no room.
bool put_fault(Board &board, const FaultRecord &fault);
void remove_faults(Board &board, Origin origin);

// One access to the hardware, under the state's lock. `answer` is not asked when a fault fails it.
Outcome perform(const Access &access, const std::function<int(State &)> &answer);

// select_sleep: accounted, and slept only when the board runs in real time.
int perform_sleep(uint64_t microseconds);

// A call that needs no hardware: counted; the result of a fault that fails it, else 0.
int software_call(Call call);

}  // namespace boardsim
