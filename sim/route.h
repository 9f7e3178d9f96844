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
    uint32_t switch_address = 0;  // bits 0-15 first level, 16-31 second level, 0 = none
    uint32_t switch_channel = 0;  // same split

    bool operator==(const Route &) const = default;

    uint32_t switch_at(uint32_t level) const { return switch_address >> (16 * level) & 0xFFFF; }
    uint32_t channel_at(uint32_t level) const { return switch_channel >> (16 * level) & 0xFFFF; }
};
static_assert(sizeof(Route) == 16);

constexpr uint32_t switch_levels = 2;

// The channel of a level without a switch says nothing, neither do flags and name.
Route route_of(const I2cChipRoute &route);
I2cChipRoute contract_route(const Route &route);

// "13:0x26", behind a switch "4:0x70.1:0x22", behind two "4:0x70.1:0x71.2:0x22".
std::string route_text(const Route &route);
std::optional<Route> parse_route(std::string_view text);

}  // namespace boardsim
