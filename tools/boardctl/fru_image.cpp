#include "fru_image.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <numeric>

namespace boardctl {

namespace {

constexpr size_t fru_unit = 8;  // offsets and lengths count these
constexpr uint8_t fru_format = 1;
constexpr uint8_t fru_format_bits = 0x0F;
constexpr uint8_t end_of_fields = 0xC1;
constexpr uint8_t field_length_bits = 0x3F;
constexpr size_t fru_record_header = 5;
constexpr uint8_t last_fru_record = 0x80;

// The header's bytes.
enum FruHeaderByte : size_t {
    version_byte,
    internal_byte,
    chassis_byte,
    board_byte,
    product_byte,
    multi_record_byte
};

struct FruLayout {
    const char *name;
    FruHeaderByte byte;
    size_t first_field;  // in the area
    std::vector<const char *> fields;
};
const std::array<FruLayout, 3> &fru_layouts() {
    static const std::array<FruLayout, 3> all = {
        FruLayout{"chassis", chassis_byte, 3, {"part", "serial"}},
        FruLayout{"board", board_byte, 6, {"manufacturer", "product", "serial", "part", "file_id"}},
        FruLayout{
            "product",
            product_byte,
            3,
            {"manufacturer", "product", "part", "version", "serial", "asset_tag", "file_id"}}};
    return all;
}

bool sums_to_zero(std::span<const uint8_t> bytes) {
    return (std::accumulate(bytes.begin(), bytes.end(), 0u) & 0xFF) == 0;
}

// ---- texts ----

std::string binary_text(std::span<const uint8_t> bytes) {
    std::string text;
    for (const uint8_t byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof(digits), "%02X", byte);
        text += digits;
    }
    return text;
}

std::string bcd_plus_text(std::span<const uint8_t> bytes) {
    constexpr char digits[] = "0123456789 -.???";
    std::string text;
    for (const uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

// Four characters in three bytes, the first in the lowest bits.
std::string packed_text(std::span<const uint8_t> bytes) {
    std::string text;
    uint32_t held = 0;
    unsigned bits = 0;
    for (const uint8_t byte : bytes) {
        held |= static_cast<uint32_t>(byte) << bits;
        for (bits += 8; bits >= 6; bits -= 6) {
            text += static_cast<char>(' ' + (held & 0x3F));
            held >>= 6;
        }
    }
    return text;
}

// Latin-1 as UTF-8.
std::string latin_text(std::span<const uint8_t> bytes) {
    std::string text;
    for (const uint8_t byte : bytes) {
        if (byte < 0x80) {
            text += static_cast<char>(byte);
        } else {
            text += static_cast<char>(0xC0 | byte >> 6);
            text += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return text;
}

std::string typed_text(uint8_t type, std::span<const uint8_t> bytes) {
    std::string text;
    switch (type) {
        case 0:
            return binary_text(bytes);
        case 1:
            text = bcd_plus_text(bytes);
            break;
        case 2:
            text = packed_text(bytes);
            break;
        default:
            text = latin_text(bytes);
            break;
    }
    // Fields are padded with blanks, and with NULs by some tools.
    while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) {
        text.pop_back();
    }
    return text;
}

// ---- areas ----

void decode_fru_fields(std::span<const uint8_t> area, const FruLayout &layout, FruArea &found,
                       std::vector<std::string> &problems) {
    size_t at = layout.first_field;
    const size_t end = area.size() - 1;  // the checksum
    while (at < end && area[at] != end_of_fields) {
        const size_t length = area[at] & field_length_bits;
        if (length > end - at - 1) {
            problems.push_back(found.name + " area: a field goes beyond its end");
            return;
        }
        const size_t number = found.fields.size();
        found.fields.push_back(
            {number < layout.fields.size() ? layout.fields[number] : "custom",
             typed_text(static_cast<uint8_t>(area[at] >> 6), area.subspan(at + 1, length))});
        at += 1 + length;
    }
    if (at >= end) {
        problems.push_back(found.name + " area: its fields have no end");
    }
}

void decode_fru_area(std::span<const uint8_t> bytes, const FruLayout &layout, FruImage &image) {
    FruArea found;
    found.name = layout.name;
    found.offset = bytes[layout.byte] * fru_unit;
    if (found.offset == 0) {
        return;
    }
    const std::string area_name = found.name + " area: ";
    if (found.offset + fru_unit > bytes.size()) {
        image.problems.push_back(area_name + "lies beyond the data");
        return;
    }
    found.length = bytes[found.offset + 1] * fru_unit;
    if (found.length == 0 || found.length > bytes.size() - found.offset) {
        image.problems.push_back(area_name + "its length cannot be");
        return;
    }
    const auto area = bytes.subspan(found.offset, found.length);
    if ((area[0] & fru_format_bits) != fru_format) {
        image.problems.push_back(area_name + "its format is not known");
        return;
    }
    found.checksum_valid = sums_to_zero(area);
    if (!found.checksum_valid) {
        image.problems.push_back(area_name + "wrong checksum");
    }
    if (layout.byte == chassis_byte) {
        found.chassis_type = area[2];
    } else {
        found.language = area[2];
    }
    if (layout.byte == board_byte) {
        found.manufactured =
            area[3] | static_cast<uint32_t>(area[4]) << 8 | static_cast<uint32_t>(area[5]) << 16;
    }
    decode_fru_fields(area, layout, found, image.problems);
    image.areas.push_back(std::move(found));
}

}  // namespace

FruImage decode_fru(std::span<const uint8_t> bytes) {
    FruImage image;
    if (bytes.size() < fru_header_size) {
        image.problems.push_back("no common header");
        return image;
    }
    const auto header = bytes.first(fru_header_size);
    image.version = header[version_byte] & fru_format_bits;
    image.checksum_valid = sums_to_zero(header);
    if (image.version != fru_format) {
        image.problems.push_back("common header: its format is not known");
        return image;
    }
    image.has_header = true;
    if (!image.checksum_valid) {
        image.problems.push_back("common header: wrong checksum");
    }
    image.internal_use = header[internal_byte] * fru_unit;
    image.multi_record = header[multi_record_byte] * fru_unit;
    for (const FruLayout &layout : fru_layouts()) {
        decode_fru_area(bytes, layout, image);
    }
    return image;
}

std::optional<size_t> fru_extent(const FruReader &read) {
    std::array<uint8_t, fru_header_size> header = {};
    if (!read(0, header) || (header[version_byte] & fru_format_bits) != fru_format) {
        return std::nullopt;
    }
    size_t extent = header.size();
    for (const FruLayout &layout : fru_layouts()) {
        const size_t offset = header[layout.byte] * fru_unit;
        std::array<uint8_t, 2> start = {};
        if (offset != 0 && read(offset, start)) {
            extent = std::max(extent, offset + std::max<size_t>(start[1], 1) * fru_unit);
        }
    }
    // A record's header: type, format, length, and two checksums.
    size_t record = header[multi_record_byte] * fru_unit;
    constexpr size_t farthest = 0x10000;
    while (record != 0 && record < farthest) {
        std::array<uint8_t, fru_record_header> start = {};
        if (!read(record, start) || !sums_to_zero(start)) {
            break;
        }
        record += fru_record_header + start[2];
        extent = std::max(extent, record);
        if ((start[1] & last_fru_record) != 0) {
            break;
        }
    }
    return extent;
}

std::string fru_time(uint32_t minutes) {
    using namespace std::chrono;
    const sys_time<std::chrono::minutes> moment =
        sys_days(year{1996} / January / 1) + std::chrono::minutes(minutes);
    const auto day = floor<days>(moment);
    const year_month_day date(day);
    const hh_mm_ss time(moment - day);
    char text[32];
    std::snprintf(text, sizeof(text), "%04d-%02u-%02u %02d:%02d", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()));
    return text;
}

}  // namespace boardctl
