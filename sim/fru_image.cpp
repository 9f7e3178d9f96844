#include "fru_image.h"

#include <numeric>

namespace boardsim {

namespace {

constexpr uint8_t format_version = 1;
constexpr size_t unit = 8;  // offsets and lengths count these
constexpr uint8_t text_type = 0xC0;
constexpr uint8_t end_of_fields = 0xC1;
constexpr size_t header_offset_of_chassis = 2;

void close_with_checksum(std::vector<uint8_t> &bytes, bool right) {
    const auto sum = std::accumulate(bytes.begin(), bytes.end(), uint8_t{0},
                                     [](int a, int b) { return static_cast<uint8_t>(a + b); });
    bytes.push_back(static_cast<uint8_t>(-sum + (right ? 0 : 1)));
}

std::vector<uint8_t> area_bytes(const FruArea &area) {
    std::vector<uint8_t> bytes = {format_version, 0};
    bytes.insert(bytes.end(), area.fixed.begin(), area.fixed.end());
    for (std::string text : area.fields) {
        if (text.size() == 1) {
            text += ' ';  // the type byte of a single character would mean the end
        }
        bytes.push_back(static_cast<uint8_t>(text_type | text.size()));
        if (text.empty()) {
            bytes.back() = 0;
        }
        bytes.insert(bytes.end(), text.begin(), text.end());
    }
    bytes.push_back(end_of_fields);
    bytes.resize((bytes.size() + 1 + unit - 1) / unit * unit - 1);
    bytes[1] = static_cast<uint8_t>((bytes.size() + 1) / unit);
    close_with_checksum(bytes, area.right_checksum);
    return bytes;
}

}  // namespace

std::vector<uint8_t> fru_image(const FruContent &content) {
    std::vector<uint8_t> header(unit - 1);
    header[0] = format_version;
    std::vector<uint8_t> areas;
    size_t place = header_offset_of_chassis;
    for (const auto *area : {&content.chassis, &content.board, &content.product}) {
        if (area->has_value()) {
            header[place] = static_cast<uint8_t>((unit + areas.size()) / unit);
            const std::vector<uint8_t> bytes = area_bytes(**area);
            areas.insert(areas.end(), bytes.begin(), bytes.end());
        }
        ++place;
    }
    close_with_checksum(header, content.right_checksum);
    header.insert(header.end(), areas.begin(), areas.end());
    return header;
}

}  // namespace boardsim
