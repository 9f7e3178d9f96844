// How values stand in the JSON documents, and so in the tables made from them.
#pragma once

#include <fmt/format.h>

#include <concepts>
#include <cstring>
#include <nlohmann/json.hpp>
#include <span>
#include <string>

#include "boardplatform/platform.h"

namespace boardctl {

// Keys keep the order in which they were added.
using Json = nlohmann::ordered_json;

// Identifiers, addresses and registers are texts such as "0x5440", padded to their usual width.
template <std::integral Value>
std::string hex(Value value, int digits) {
    return fmt::format("0x{:0{}X}", static_cast<std::make_unsigned_t<Value>>(value), digits);
}
inline std::string hex_byte(uint32_t value) { return hex(value, 2); }
inline std::string hex_register(uint32_t value) { return hex(value, 3); }
inline std::string hex_id(uint32_t value) { return hex(value, 4); }
inline std::string hex_hard_id(uint32_t value) { return hex(value, 6); }

// Bytes as pairs of digits: "0a1b".
std::string hex_digits(std::span<const uint8_t> bytes);

// The text of a fixed field, which may fill it to the last byte.
template <std::size_t N>
std::string field_text(const char (&field)[N]) {
    return {field, strnlen(field, N)};
}

// An answer that has an in-band value for "none": null then.
template <typename Value>
Json unless(Value none, Value value) {
    return value == none ? Json() : Json(value);
}

// {"bus", "address", "switches": [{"address", "channel"}]}; the bus is null where it is not fixed,
// the switches are in the order in which they are passed.
Json route_json(const I2cChipRoute &route);
// The same for people: bus, switches with their channels, address, as in "4/0x70.1/0x22".
std::string route_text(const Json &route);

}  // namespace boardctl
