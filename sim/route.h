// Where a chip sits: bus, up to two levels of switches with their channels, address.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "boardplatform/platform.h"

namespace boardsim {

struct Route {
    uint32_t bus = 0;
    uint32_t address = 0;
    // The switch next to the chip in bits 0-15, the one in front of that in bits 16-31; 0 = none.
    uint32_t switch_address = 0;
    uint32_t switch_channel = 0;  // same split

    bool operator==(const Route &) const = default;

    uint32_t switches() const {
        return (switch_address & 0xFFFF) == 0 ? 0 : switch_address <= 0xFFFF ? 1 : 2;
    }
    // The n-th switch on the way, from 0 for the one on the bus itself.
    uint32_t switch_at(uint32_t n) const { return switch_address >> shift(n) & 0xFFFF; }
    uint32_t channel_at(uint32_t n) const { return switch_channel >> shift(n) & 0xFFFF; }

private:
    uint32_t shift(uint32_t n) const { return 16 * (switches() - 1 - n); }
};
static_assert(sizeof(Route) == 16);

constexpr uint32_t most_switches = 2;

// The channel of a level without a switch says nothing, neither do flags and name.
Route route_of(const I2cChipRoute &route);
I2cChipRoute contract_route(const Route &route);

// "13:0x26", behind a switch "4:0x70.1:0x22", behind two "4:0x70.1:0x71.2:0x22".
std::string route_text(const Route &route);
std::optional<Route> parse_route(std::string_view text);

}  // namespace boardsim
