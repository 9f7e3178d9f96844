// Reading FRU data: the common header and the areas that IPMI defines, with everything that is
// wrong with them said instead of believed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace boardctl {

struct FruField {
    std::string name;  // "serial"; custom fields are "custom"
    std::string text;
};

struct FruArea {
    std::string name;  // "chassis", "board", "product"
    size_t offset = 0;
    size_t length = 0;
    bool checksum_valid = false;
    std::optional<uint8_t> chassis_type;
    std::optional<uint8_t> language;
    std::optional<uint32_t> manufactured;  // minutes since the beginning of 1996; 0: not stated
    std::vector<FruField> fields;
};

struct FruImage {
    bool has_header = false;
    uint8_t version = 0;
    bool checksum_valid = false;  // of the common header
    size_t internal_use = 0;      // offsets in bytes, 0 = none
    size_t multi_record = 0;
    std::vector<FruArea> areas;  // in the header's order
    std::vector<std::string> problems;
};

constexpr size_t fru_header_size = 8;

FruImage decode_fru(std::span<const uint8_t> bytes);

// How far the data reach that the header names, by reading what tells it: at most 4080 bytes of
// areas, records behind them. Nothing when a read fails or there is no valid header.
using FruReader = std::function<bool(size_t offset, std::span<uint8_t> bytes)>;
std::optional<size_t> fru_extent(const FruReader &read);

// "2024-05-17 08:30"
std::string fru_time(uint32_t minutes);

}  // namespace boardctl
