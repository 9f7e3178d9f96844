#include "route.h"

#include <charconv>
#include <cstdio>
#include <vector>

namespace boardsim {

namespace {

constexpr uint32_t largest_address = 0x7F;
constexpr uint32_t largest_bus = 0xFE;
constexpr uint32_t largest_channel = 15;

std::optional<uint32_t> parse_number(std::string_view text, uint32_t largest) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
        base = 16;
    }
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc() || end != text.data() + text.size() || number > largest) {
        return std::nullopt;
    }
    return number;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == text.npos) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

}  // namespace

Route route_of(const I2cChipRoute &contract) {
    Route route = {contract.bus, contract.address, contract.switch_address,
                   contract.switch_channel};
    for (const uint32_t half : {0xFFFFu, 0xFFFF0000u}) {
        if ((route.switch_address & half) == 0) {
            route.switch_channel &= ~half;
        }
    }
    return route;
}

I2cChipRoute contract_route(const Route &route) {
    I2cChipRoute contract = {};
    contract.bus = route.bus;
    contract.address = static_cast<uint16_t>(route.address);
    contract.switch_address = route.switch_address;
    contract.switch_channel = route.switch_channel;
    return contract;
}

std::string route_text(const Route &route) {
    char part[32];
    std::string text = std::to_string(route.bus);
    for (uint32_t n = 0; n < route.switches(); ++n) {
        std::snprintf(part, sizeof(part), ":0x%02X.%u", route.switch_at(n), route.channel_at(n));
        text += part;
    }
    std::snprintf(part, sizeof(part), ":0x%02X", route.address);
    return text + part;
}

std::optional<Route> parse_route(std::string_view text) {
    const auto parts = split(text, ':');
    if (parts.size() < 2 || parts.size() > 2 + most_switches) {
        return std::nullopt;
    }
    const auto bus = parse_number(parts.front(), largest_bus);
    const auto address = parse_number(parts.back(), largest_address);
    if (!bus || !address) {
        return std::nullopt;
    }
    Route route = {*bus, *address, 0, 0};
    for (size_t n = 1; n + 1 < parts.size(); ++n) {
        const auto pair = split(parts[n], '.');
        if (pair.size() != 2) {
            return std::nullopt;
        }
        const auto address_of_switch = parse_number(pair[0], largest_address);
        const auto channel = parse_number(pair[1], largest_channel);
        if (!address_of_switch || *address_of_switch == 0 || !channel) {
            return std::nullopt;
        }
        route.switch_address = route.switch_address << 16 | *address_of_switch;
        route.switch_channel = route.switch_channel << 16 | *channel;
    }
    return route;
}

}  // namespace boardsim
