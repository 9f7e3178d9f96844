#include "format.h"

namespace boardctl {

Json route_json(const I2cChipRoute &route) {
    constexpr uint32_t floating_bus = 0xFF;
    Json switches = Json::array();
    // The outer switch of two stands in the upper halves.
    for (const int shift : {16, 0}) {
        const uint32_t address = (route.switch_address >> shift) & 0xFFFF;
        if (address != 0) {
            switches.push_back({{"address", hex_byte(address)},
                                {"channel", (route.switch_channel >> shift) & 0xFFFF}});
        }
    }
    return {{"bus", unless(floating_bus, route.bus)},
            {"address", hex_byte(route.address)},
            {"switches", std::move(switches)}};
}

std::string route_text(const Json &route) {
    std::string text = route["bus"].is_null() ? "*" : route["bus"].dump();
    for (const Json &level : route["switches"]) {
        text += fmt::format("/{}.{}", level["address"].get<std::string>(), level["channel"].dump());
    }
    return text + "/" + route["address"].get<std::string>();
}

std::string hex_digits(std::span<const uint8_t> bytes) {
    std::string digits;
    for (const uint8_t byte : bytes) {
        digits += fmt::format("{:02x}", byte);
    }
    return digits;
}

}  // namespace boardctl
