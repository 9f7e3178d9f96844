// The decoder of FRU data: what IPMI lays down, and everything that can be wrong.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

#include "fru_image.h"

using boardctl::decode_fru;
using boardctl::fru_extent;
using boardctl::FruImage;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Bytes = std::vector<uint8_t>;

void close(Bytes &bytes) {
    bytes.push_back(static_cast<uint8_t>(-std::accumulate(bytes.begin(), bytes.end(), 0)));
}

// An area of whole units from its content.
Bytes area(Bytes content) {
    content.insert(content.begin(), {1, 0});
    content.resize((content.size() + 1 + 7) / 8 * 8 - 1);
    content[1] = static_cast<uint8_t>((content.size() + 1) / 8);
    close(content);
    return content;
}

// An image whose only area is the one of a header byte.
Bytes image_with(size_t header_byte, const Bytes &content) {
    Bytes bytes = {1, 0, 0, 0, 0, 0, 0};
    bytes[header_byte] = 1;
    close(bytes);
    bytes.insert(bytes.end(), content.begin(), content.end());
    return bytes;
}

constexpr size_t chassis = 2, board = 3, product = 4;

std::vector<std::string> texts(const FruImage &image) {
    std::vector<std::string> found;
    for (const auto &each : image.areas) {
        for (const auto &field : each.fields) {
            found.push_back(field.name + "=" + field.text);
        }
    }
    return found;
}

}  // namespace

TEST(FruImage, ProductArea) {
    const FruImage image = decode_fru(image_with(
        product, area({25,  0xC3, 'V', 'E', 'L',  0xC2, 'a',  'b', 0,   0xC1 - 1, 0xC4,
                       's', 'e',  'r', ' ', 0xC0, 0,    0xC3, 'o', 'w', 'n',      0xC1})));
    EXPECT_TRUE(image.has_header);
    EXPECT_THAT(image.problems, IsEmpty());
    ASSERT_EQ(image.areas.size(), 1u);
    EXPECT_EQ(image.areas[0].name, "product");
    EXPECT_EQ(image.areas[0].offset, 8u);
    EXPECT_EQ(image.areas[0].language, 25);
    EXPECT_TRUE(image.areas[0].checksum_valid);
    EXPECT_THAT(texts(image), ElementsAre("manufacturer=VEL", "product=ab", "part=", "version=",
                                          "serial=ser", "asset_tag=", "file_id=", "custom=own"));
}

TEST(FruImage, ChassisArea) {
    const FruImage image = decode_fru(image_with(chassis, area({0x17, 0xC2, 'p', 'n', 0, 0xC1})));
    ASSERT_EQ(image.areas.size(), 1u);
    EXPECT_EQ(image.areas[0].chassis_type, 0x17);
    EXPECT_FALSE(image.areas[0].language);
    EXPECT_THAT(texts(image), ElementsAre("part=pn", "serial="));
}

// Binary, BCD plus, six-bit ASCII, Latin-1.
TEST(FruImage, EveryTypeOfText) {
    const FruImage image = decode_fru(image_with(
        board, area({0,    0x7E, 0xBB, 0xE3, 0x02, 0xAB, 0x0C, 0x43, 0x12, 0xB4, 0xCA, 0x83,
                     0x29, 0xDC, 0xA6, 0xC3, 'M',  0xFC, 'r',  0xC2, 'x',  0,    0xC1})));
    ASSERT_EQ(image.areas.size(), 1u);
    EXPECT_EQ(image.areas[0].manufactured, 0xE3BB7Eu);
    // 0x29 0xDC 0xA6 is the standard's own example: "IPMI".
    EXPECT_THAT(texts(image), ElementsAre("manufacturer=AB0C", "product=12-4.", "serial=IPMI",
                                          "part=M\xC3\xBCr", "file_id=x"))
        << testing::PrintToString(texts(image));
}

TEST(FruImage, Times) {
    EXPECT_EQ(boardctl::fru_time(1), "1996-01-01 00:01");
    EXPECT_EQ(boardctl::fru_time(0xE3BB7E), "2024-05-17 08:30");
    EXPECT_EQ(boardctl::fru_time(0xFFFFFF), "2027-11-24 20:15");
}

// ---- what can be wrong ----

TEST(FruImage, NoHeader) {
    EXPECT_FALSE(decode_fru({}).has_header);
    EXPECT_FALSE(decode_fru(Bytes(7, 1)).has_header);
    EXPECT_FALSE(decode_fru(Bytes(64, 0xFF)).has_header);
    EXPECT_FALSE(decode_fru(Bytes(64, 0)).has_header);
    EXPECT_THAT(decode_fru(Bytes(64, 0)).problems,
                ElementsAre("common header: its format is not known"));
}

TEST(FruImage, WrongChecksums) {
    Bytes bytes = image_with(product, area({0, 0xC1}));
    bytes[7] ^= 1;
    bytes.back() ^= 1;
    const FruImage image = decode_fru(bytes);
    EXPECT_THAT(image.problems,
                ElementsAre("common header: wrong checksum", "product area: wrong checksum"));
    EXPECT_EQ(image.areas.size(), 1u) << "what it says is shown";
}

TEST(FruImage, AreasThatCannotBe) {
    const auto problems = [](const Bytes &bytes) { return decode_fru(bytes).problems; };
    EXPECT_THAT(problems(image_with(board, {})), ElementsAre("board area: lies beyond the data"));
    Bytes bytes = image_with(board, area({0, 0, 0, 0, 0xC1}));
    bytes[9] = 0;
    EXPECT_THAT(problems(bytes), ElementsAre("board area: its length cannot be"));
    bytes[9] = 255;
    EXPECT_THAT(problems(bytes), ElementsAre("board area: its length cannot be"));
    bytes[9] = 1;
    bytes[8] = 2;
    EXPECT_THAT(problems(bytes), ElementsAre("board area: its format is not known"));
    EXPECT_THAT(problems(image_with(board, area({0, 0, 0, 0, 0xC9, 'x', 'y'}))),
                ElementsAre("board area: a field goes beyond its end"));
    EXPECT_THAT(problems(image_with(product, area({0, 0, 0, 0, 0}))),
                ElementsAre("product area: its fields have no end"));
}

// ---- how far it reaches ----

namespace {

std::optional<size_t> extent_of(const Bytes &bytes) {
    return fru_extent([&](size_t offset, std::span<uint8_t> part) {
        if (offset + part.size() > bytes.size()) {
            return false;
        }
        std::copy_n(bytes.begin() + static_cast<long>(offset), part.size(), part.begin());
        return true;
    });
}

}  // namespace

TEST(FruExtent, Areas) {
    EXPECT_EQ(extent_of(image_with(board, area({0, 0, 0, 0, 0xC1}))), 24u - 8u);
    EXPECT_EQ(extent_of(image_with(product, area(Bytes(100, 0)))), 8u + 104u);
    EXPECT_EQ(extent_of(image_with(product, {})), 8u);
    EXPECT_EQ(extent_of({}), std::nullopt);
    EXPECT_EQ(extent_of(Bytes(64, 0xFF)), std::nullopt);
}

TEST(FruExtent, Records) {
    const auto record = [](uint8_t format, uint8_t length) {
        Bytes bytes = {0, format, length, 0};
        close(bytes);
        bytes.resize(bytes.size() + length);
        return bytes;
    };
    Bytes records = record(0x02, 10);
    const Bytes last = record(0x82, 7);
    records.insert(records.end(), last.begin(), last.end());
    records.resize(records.size() + 50);
    EXPECT_EQ(extent_of(image_with(5, records)), 8u + 15u + 12u);
    // A chain that never ends, ends.
    Bytes endless;
    for (int i = 0; i < 400; ++i) {
        const Bytes one = record(0x02, 255);
        endless.insert(endless.end(), one.begin(), one.end());
    }
    EXPECT_LE(extent_of(image_with(5, endless)), 0x10000u + 260u);
}
