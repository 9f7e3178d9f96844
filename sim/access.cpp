#include "access.h"

#include <time.h>

#include <cerrno>

#include "bus.h"
#include "default_board.h"

namespace boardsim {

namespace {

bool is_chip(Target target) { return target == Target::chip || target == Target::chip_offset; }

bool matches(const FaultRecord &fault, const Access &access) {
    if (fault.origin == static_cast<uint32_t>(Origin::unused) ||
        (fault.call != any_call && fault.call != index_of(access.call))) {
        return false;
    }
    switch (static_cast<Target>(fault.target)) {
        case Target::any:
            return true;
        case Target::chip:
            return is_chip(access.target) && fault.route == access.route;
        case Target::chip_offset:
            return is_chip(access.target) && fault.route == access.route &&
                   fault.number == access.number;
        default:
            return fault.target == static_cast<uint32_t>(access.target) &&
                   fault.number == access.number;
    }
}

void count(State &state, const Access &access, bool failed) {
    CallAccount &calls = state.accounts.calls[index_of(access.call)];
    std::atomic_ref(calls.made).fetch_add(1, std::memory_order_relaxed);
    if (failed) {
        std::atomic_ref(calls.failed).fetch_add(1, std::memory_order_relaxed);
    }
    if (is_chip(access.target)) {
        bus_account(state.accounts, access.route.bus).calls[index_of(access.call)] += 1;
    }
}

void wait_for_real(uint64_t microseconds) {
    timespec rest = {static_cast<time_t>(microseconds / 1'000'000),
                     static_cast<long>(microseconds % 1'000'000 * 1000)};
    while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}

void load_default_board(State &state) {
    if (state.header.loaded == 0) {
        state.board = default_board();
        state.header.loaded = 1;
    }
}

}  // namespace

Verdict judge(Board &board, const Access &access) {
    Verdict verdict;
    if (board.fault_count == 0) {
        return verdict;
    }
    for (FaultRecord &fault : board.faults) {
        if (!matches(fault, access)) {
            continue;
        }
        fault.seen += 1;
        if (fault.nth != 0 && fault.seen != fault.nth) {
            continue;
        }
        fault.fired += 1;
        verdict.delay_us += fault.delay_us;
        verdict.flips ^= fault.flips;
        if (fault.fails != 0 && !verdict.failure) {
            verdict.failure = fault.result;
        }
        if (fault.has_value != 0 && !verdict.value) {
            verdict.value = fault.value;
        }
    }
    return verdict;
}

bool put_fault(Board &board, const FaultRecord &fault) {
    for (FaultRecord &record : board.faults) {
        if (record.origin == static_cast<uint32_t>(Origin::unused)) {
            record = fault;
            std::atomic_ref(board.fault_count).fetch_add(1);
            return true;
        }
    }
    return false;
}

void remove_faults(Board &board, Origin origin) {
    for (FaultRecord &record : board.faults) {
        if (record.origin == static_cast<uint32_t>(origin)) {
            record = {};
            std::atomic_ref(board.fault_count).fetch_sub(1);
        }
    }
}

Outcome perform(const Access &access, const std::function<int(State &)> &answer) {
    SharedState *const shared = process_state();
    if (shared == nullptr) {
        return {-1, std::nullopt, 0};
    }
    Outcome outcome = {};
    Verdict verdict;
    bool real_time = false;
    {
        const StateLock lock(*shared);
        State &state = shared->state();
        load_default_board(state);
        verdict = judge(state.board, access);
        if (verdict.failure) {
            outcome.result = *verdict.failure;
            if (is_chip(access.target)) {
                account_missing_acknowledge(state, access.route);
            }
        } else {
            outcome.result = answer(state);
            outcome.value = verdict.value;
            outcome.flips = verdict.flips;
        }
        count(state, access, outcome.result < 0);
        state.accounts.delayed_us += verdict.delay_us;
        real_time = state.board.real_time != 0;
    }
    if (real_time && verdict.delay_us != 0) {
        wait_for_real(verdict.delay_us);
    }
    return outcome;
}

int perform_sleep(uint64_t microseconds) {
    bool real_time = false;
    const Outcome outcome = perform({.call = Call::select_sleep}, [&](State &state) {
        state.accounts.slept_us += microseconds;
        real_time = state.board.real_time != 0;
        return 0;
    });
    if (real_time) {
        wait_for_real(microseconds);
    }
    return outcome.result;
}

int software_call(Call call) {
    SharedState *const shared = process_state();
    if (shared == nullptr) {
        return 0;
    }
    State &state = shared->state();
    CallAccount &account = state.accounts.calls[index_of(call)];
    std::atomic_ref(account.made).fetch_add(1, std::memory_order_relaxed);
    if (std::atomic_ref(state.board.fault_count).load(std::memory_order_relaxed) == 0) {
        return 0;
    }
    const StateLock lock(*shared);
    const Verdict verdict = judge(state.board, {.call = call});
    if (!verdict.failure) {
        return 0;
    }
    std::atomic_ref(account.failed).fetch_add(1, std::memory_order_relaxed);
    return *verdict.failure;
}

}  // namespace boardsim
