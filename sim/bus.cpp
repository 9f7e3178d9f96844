// Clocks of a transfer at the bus's rate: a start or stop condition takes one, a byte with its
// acknowledge bit nine. Before each transfer the driver writes the channel to every switch on the
// way, changed or not: other processes use the same switches, so it cannot know where they stand.
#include "bus.h"

#include <algorithm>
#include <functional>
#include <vector>

#include "chips.h"

namespace boardsim {

namespace {

constexpr uint64_t condition_clocks = 1;
constexpr uint64_t byte_clocks = 9;
constexpr uint64_t unanswered_clocks = condition_clocks + byte_clocks + condition_clocks;
constexpr uint64_t selection_clocks = condition_clocks + 2 * byte_clocks + condition_clocks;

void spend(State &state, uint32_t bus, uint64_t clocks) {
    BusAccount &account = bus_account(state.accounts, bus);
    account.clocks += clocks;
    account.nanoseconds += clocks * 1'000'000'000 / state.board.bus_clock_hz;
}

void count_transfer(State &state, uint32_t bus, size_t bytes) {
    BusAccount &account = bus_account(state.accounts, bus);
    account.transfers += 1;
    account.bytes += bytes;
}

// The next chip on the route that acknowledges its address. There are several where a cable is
// split: each of them takes what is written.
ChipRecord *answering(Board &board, const Route &route, const ChipRecord *after) {
    ChipRecord *chip = find_chip(board, route, after);
    while (chip != nullptr && chip->answers == 0) {
        chip = find_chip(board, route, chip);
    }
    return chip;
}

// The chip at the end of the route; null when a switch or the chip does not acknowledge.
ChipRecord *reach(State &state, const Route &route) {
    for (uint32_t n = 0; n < route.switches(); ++n) {
        if (!has_switch(state.board, route, n)) {
            spend(state, route.bus, unanswered_clocks);
            return nullptr;
        }
        spend(state, route.bus, selection_clocks);
    }
    ChipRecord *chip = answering(state.board, route, nullptr);
    if (chip == nullptr) {
        spend(state, route.bus, unanswered_clocks);
    }
    return chip;
}

}  // namespace

BusAccount &bus_account(Accounts &accounts, uint32_t bus) {
    return accounts.buses[std::min(bus, account_buses - 1)];
}

void account_missing_acknowledge(State &state, const Route &route) {
    spend(state, route.bus, unanswered_clocks);
}

int bus_read(State &state, const Route &route, uint32_t offset_width, uint32_t offset,
             std::span<uint8_t> data) {
    count_transfer(state, route.bus, data.size());
    const ChipRecord *chip = reach(state, route);
    if (chip == nullptr) {
        return -1;
    }
    const uint64_t offset_clocks =
        offset_width == 0 ? 0 : condition_clocks + byte_clocks * (1 + offset_width);
    spend(state, route.bus,
          offset_clocks + condition_clocks + byte_clocks * (1 + data.size()) + condition_clocks);
    if (!model_of(*chip).read(cells_of(state.board, *chip), offset, data)) {
        return -1;
    }
    // A bit is 1 on the bus when no chip pulls it low.
    while ((chip = answering(state.board, route, chip)) != nullptr) {
        std::vector<uint8_t> other(data.size());
        if (model_of(*chip).read(cells_of(state.board, *chip), offset, other)) {
            std::transform(data.begin(), data.end(), other.begin(), data.begin(), std::bit_and<>());
        }
    }
    return 0;
}

int bus_write(State &state, const Route &route, uint32_t offset_width, uint32_t offset,
              std::span<const uint8_t> data) {
    count_transfer(state, route.bus, data.size());
    bool taken = false;
    const ChipRecord *chip = reach(state, route);
    if (chip != nullptr) {
        spend(state, route.bus,
              condition_clocks + byte_clocks * (1 + offset_width + data.size()) + condition_clocks);
    }
    for (; chip != nullptr; chip = answering(state.board, route, chip)) {
        taken |= model_of(*chip).write(cells_of(state.board, *chip), offset, data);
    }
    return taken ? 0 : -1;
}

}  // namespace boardsim
