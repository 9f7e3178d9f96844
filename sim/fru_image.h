// FRU data as IPMI lays them out: a common header and areas of fields, each closed by a checksum.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace boardsim {

constexpr size_t longest_fru_text = 63;

// The fields of an area in the order that its layout gives them, then the custom ones.
struct FruArea {
    std::vector<uint8_t> fixed;  // what stands before the fields
    std::vector<std::string> fields;
    bool right_checksum = true;
};

struct FruContent {
    std::optional<FruArea> chassis, board, product;
    bool right_checksum = true;  // of the common header
};

std::vector<uint8_t> fru_image(const FruContent &content);

}  // namespace boardsim
