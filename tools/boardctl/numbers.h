// Numbers as people write them on the command line and in files.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace boardctl {

// A whole number that is all of the text, decimal or hexadecimal with a prefix.
inline std::optional<int64_t> number_of(std::string_view text) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(hexadecimal ? 2 : 0);
    int64_t number = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, hexadecimal ? 16 : 10);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && !(hexadecimal && number < 0) ? std::optional(number) : std::nullopt;
}

}  // namespace boardctl
