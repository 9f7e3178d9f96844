#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "boardfeatures/pcieid.h"
#include "support/pciecfg_model.h"
#include "support/scripted_platform.h"

using scripted::platform;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

const uint8_t *bytes_of_text(const char *text) { return reinterpret_cast<const uint8_t *>(text); }

pciecfg_list sample_list() {
    pciecfg_list list;
    std::memset(&list, 0, sizeof(list));
    list.count = 3;
    auto set = [&](int k, uint32_t cpu, uint32_t x1, uint32_t width, uint32_t type, uint8_t number,
                   uint16_t vpp, uint8_t port) {
        pciecfg_item &item = list.items[k];
        item.cpu = cpu;
        item.x1_start = x1;
        item.width = width;
        item.type = type;
        item.number = number;
        item.vpp_address = vpp;
        item.vpp_port = port;
        model::set_name(item);
    };
    set(0, 0, 16, 16, PCIECFG_PCIE_SLOT, 3, 0, 0);
    set(1, 1, 48, 4, PCIECFG_HDD_SLOT, 9, 0x27, 1);
    set(2, 1, 0, 8, PCIECFG_OCP_SLOT, 1, 0, 0);
    return list;
}

// What a board stored for sample_list(): the CRCs come from another program.
constexpr uint8_t sample_pages[64] = {
    0x01, 0x10, 0x00, 0x03, 0xF1, 0x8C, 0x00, 0x00, 0x50, 0x43, 0x49, 0x45, 0x00, 0x00, 0xCB, 0x37,
    0x00, 0x10, 0x10, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x01, 0x30, 0x04, 0x00, 0x03, 0x09, 0xA7, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x01, 0x00, 0x08, 0x00, 0x02, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};

}  // namespace

// ---- CRC ----

TEST(Crc, PublishedCheckValues) {
    const uint8_t *check = bytes_of_text("123456789");
    EXPECT_EQ(crc16Calc(check, 9), 0x31C3u);                     // CRC-16/XMODEM
    EXPECT_EQ(crc16Accumulate(0xFFFF, check, 9), 0x29B1u);       // CRC-16/IBM-3740
    EXPECT_EQ(crc16Accumulate(0x1D0F, check, 9), 0xE5CCu);       // CRC-16/SPI-FUJITSU
    EXPECT_EQ(crc16Accumulate(0, check, 9) ^ 0xFFFFu, 0xCE3Cu);  // CRC-16/GSM
    EXPECT_EQ(my_crc16(check, 9), 0x6BE3u);
}

TEST(Crc, NoBytes) {
    const uint8_t byte = 0x55;
    EXPECT_EQ(my_crc16(&byte, 0), 0x0141u);
    EXPECT_EQ(crc16Calc(&byte, 0), 0u);
    EXPECT_EQ(crc16Accumulate(0xBEEF, &byte, 0), 0xBEEFu);
}

TEST(Crc, NullCountsAsNoBytes) {
    EXPECT_EQ(my_crc16(nullptr, 5), 0x0141u);
    EXPECT_EQ(crc16Calc(nullptr, 5), 0u);
    EXPECT_EQ(crc16Accumulate(0x1234, nullptr, 5), 0x1234u);
}

TEST(Crc, EveryLengthAndAlignmentAgreesWithTheBitwiseDivision) {
    model::Random random(1);
    model::Bytes data(80);
    for (uint8_t &byte : data) {
        byte = static_cast<uint8_t>(random());
    }
    for (size_t first = 0; first < 8; ++first) {
        for (uint32_t length = 0; length <= 64; ++length) {
            const std::span<const uint8_t> part(&data[first], length);
            ASSERT_EQ(my_crc16(part.data(), length), model::crc(0x0141, part));
            ASSERT_EQ(crc16Calc(part.data(), length), model::crc(0, part));
            ASSERT_EQ(crc16Accumulate(0xA5C3, part.data(), length), model::crc(0xA5C3, part));
        }
    }
}

TEST(Crc, EverySingleByteMessage) {
    for (unsigned value = 0; value < 256; ++value) {
        const uint8_t byte = static_cast<uint8_t>(value);
        ASSERT_EQ(my_crc16(&byte, 1), model::crc(0x0141, {&byte, 1}));
        ASSERT_EQ(crc16Calc(&byte, 1), model::crc(0, {&byte, 1}));
    }
}

TEST(Crc, PiecesGiveTheWhole) {
    model::Random random(2);
    model::Bytes data(2048);
    for (uint8_t &byte : data) {
        byte = static_cast<uint8_t>(random());
    }
    for (uint32_t cut = 0; cut <= 2048; cut += 97) {
        const uint32_t head = crc16Accumulate(0x0141, data.data(), cut);
        EXPECT_EQ(crc16Accumulate(head, data.data() + cut, 2048 - cut),
                  my_crc16(data.data(), 2048));
    }
}

// ---- items ----

TEST(ItemCodec, EncodesTheStatedBytes) {
    pciecfg_item item = {};
    item.cpu = 0x101;  // only the low 8 bits are stored
    item.x1_start = 0x230;
    item.width = 0x304;
    item.type = 0x403;
    item.number = 9;
    item.reserved = 0xFFFFFFFF;
    item.vpp_address = 0xFFA7;  // 7 bits used
    item.vpp_port = 1;
    uint8_t bytes[16];
    std::memset(bytes, 0xEE, sizeof(bytes));
    EXPECT_EQ(pciecfg_item_encode(&item, bytes), 0);
    EXPECT_THAT(bytes, ElementsAre(1, 0x30, 4, 0, 3, 9, 0xA7, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(ItemCodec, DecodesAndNamesEveryType) {
    const char *const names[] = {"PCIe SLOT 7",      "EMBEDDED 7",       "OCP SLOT 7",
                                 "HDD SLOT 7",       "HDD ZONE1 SLOT 7", "HDD ZONE2 SLOT 7",
                                 "HDD ZONE3 SLOT 7", "MEZZ SLOT 7",      "UNKNOWN TYPE SLOT 7"};
    for (uint8_t type = 0; type < 9; ++type) {
        const uint8_t bytes[16] = {1, 2, 3, 0xFF, type, 7, 0xA7, 9, 9, 9, 9, 9, 9, 9, 9, 9};
        pciecfg_item item;
        std::memset(&item, 0xEE, sizeof(item));
        EXPECT_EQ(pciecfg_item_decode(bytes, &item), 0);
        pciecfg_item expected;
        std::memset(&expected, 0, sizeof(expected));
        expected.type = type;
        expected.number = 7;
        std::strcpy(expected.name, names[type]);
        expected.cpu = 1;
        expected.x1_start = 2;
        expected.width = 3;
        expected.vpp_address = 0x27;
        expected.vpp_port = 1;
        EXPECT_EQ(std::memcmp(&item, &expected, sizeof(item)), 0) << names[type];
    }
}

TEST(ItemCodec, UnknownTypeIsNoError) {
    const uint8_t bytes[16] = {0, 0, 0, 0, 9, 255};
    pciecfg_item item;
    EXPECT_EQ(pciecfg_item_decode(bytes, &item), 0);
    EXPECT_STREQ(item.name, "UNKNOWN TYPE SLOT 255");
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(ItemCodec, EveryStoredItemThatUsesOnlyItsFieldsComesBack) {
    model::Random random(3);
    for (int round = 0; round < 2000; ++round) {
        uint8_t bytes[16] = {};
        for (int i : {0, 1, 2, 4, 5, 6}) {
            bytes[i] = static_cast<uint8_t>(random());
        }
        pciecfg_item item;
        uint8_t again[16];
        ASSERT_EQ(pciecfg_item_decode(bytes, &item), 0);
        ASSERT_EQ(pciecfg_item_encode(&item, again), 0);
        ASSERT_EQ(std::memcmp(bytes, again, 16), 0);
    }
}

TEST(ItemCodec, NullIsRefused) {
    pciecfg_item item = {};
    uint8_t bytes[16] = {};
    EXPECT_EQ(pciecfg_item_encode(nullptr, bytes), -1);
    EXPECT_EQ(pciecfg_item_encode(&item, nullptr), -1);
    EXPECT_EQ(pciecfg_item_decode(nullptr, &item), -1);
    EXPECT_EQ(pciecfg_item_decode(bytes, nullptr), -1);
}

// ---- header ----

TEST(HeaderEncode, FillsEveryByteAndReportsBothCrcs) {
    uint8_t header[16];
    std::memset(header, 0xEE, sizeof(header));
    EXPECT_EQ(pciecfg_header_encode(sample_pages + 16, 48, header), 0);
    EXPECT_EQ(std::memcmp(header, sample_pages, 16), 0);
    ASSERT_THAT(platform().messages, SizeIs(2));
    const auto &data = platform().messages[0];
    EXPECT_EQ(data.channel, "info");
    EXPECT_EQ(data.number, 56u);
    EXPECT_EQ(data.source, "pciecfg_io");
    EXPECT_EQ(data.function, "pciecfg_v1_header_encode");
    EXPECT_EQ(data.text, "pciecfg_v1_header_encode(@" + std::to_string(data.line) +
                             ") DATACRC=f18c. MSB=f1, LSB=8c.\n");
    const auto &head = platform().messages[1];
    EXPECT_EQ(head.channel, "warn");
    EXPECT_EQ(head.number, 56u);
    EXPECT_EQ(head.source, "pciecfg_io");
    EXPECT_EQ(head.function, "pciecfg_v1_header_encode");
    EXPECT_EQ(head.text, "pciecfg_v1_header_encode(@" + std::to_string(head.line) +
                             ") HDRCRC=cb37. MSB=cb, LSB=37.\n");
}

TEST(HeaderEncode, AcceptsTheLengthsOfOneToFiveHundredTwelveItems) {
    const model::Bytes data(8256, 0x5A);
    for (uint32_t length = 0; length <= 8256; ++length) {
        uint8_t header[16];
        const bool good = length >= 16 && length % 16 == 0 && length < 8208;
        ASSERT_EQ(pciecfg_header_encode(data.data(), length, header), good ? 0 : -1) << length;
        if (good) {
            ASSERT_EQ(header[2] * 256u + header[3], length / 16);
        }
        platform().clear_record();
    }
}

TEST(HeaderEncode, RefusalNamesBufferAndLength) {
    uint8_t header[16];
    std::memset(header, 0xEE, sizeof(header));
    EXPECT_EQ(pciecfg_header_encode(nullptr, 16, header), -1);
    EXPECT_THAT(header, testing::Each(0xEE));
    EXPECT_EQ(pciecfg_header_encode(sample_pages, 17, header), -1);
    EXPECT_THAT(header, testing::Each(0xEE));
    ASSERT_THAT(platform().messages, SizeIs(2));
    const auto &line = platform().messages[0];
    EXPECT_EQ(line.channel, "warn");
    EXPECT_EQ(line.text, "pciecfg_v1_header_encode(@" + std::to_string(line.line) +
                             ") databuf=(nil), datalen=16, invalid.\n");
    EXPECT_THAT(platform().messages[1].text, EndsWith(", datalen=17, invalid.\n"));
    EXPECT_EQ(pciecfg_header_encode(sample_pages, 16, nullptr), -1);
}

// ---- lists ----

TEST(ListEncode, KnownImage) {
    const pciecfg_list list = sample_list();
    pciecfg_image image;
    std::memset(&image, 0xEE, sizeof(image));
    EXPECT_EQ(pciecfg_encode(&list, &image), 0);
    model::Bytes expected(2064, 0);
    std::copy(std::begin(sample_pages), std::end(sample_pages), expected.begin());
    EXPECT_EQ(model::bytes_of(image), expected);
    EXPECT_EQ(model::image_of(list), expected);  // the model agrees with the other program
}

TEST(ListEncode, RandomListsAgreeWithTheModel) {
    model::Random random(4);
    for (int round = 0; round < 500; ++round) {
        pciecfg_list list = model::random_list(random, 1 + random() % 128);
        if (round % 2 != 0) {  // numbers that are cut
            for (uint32_t k = 0; k < list.count; ++k) {
                list.items[k].cpu = random();
                list.items[k].x1_start = random();
                list.items[k].width = random();
                list.items[k].type = random();
                list.items[k].vpp_address = static_cast<uint16_t>(random());
            }
        }
        pciecfg_image image;
        ASSERT_EQ(pciecfg_encode(&list, &image), 0);
        ASSERT_EQ(model::bytes_of(image), model::image_of(list)) << "round " << round;
        platform().clear_record();
    }
}

TEST(ListEncode, FullListFillsTheImage) {
    model::Random random(5);
    const pciecfg_list list = model::random_list(random, 128);
    pciecfg_image image;
    EXPECT_EQ(pciecfg_encode(&list, &image), 0);
    EXPECT_EQ(image.header[2] * 256 + image.header[3], 128);
    EXPECT_EQ(model::bytes_of(image), model::image_of(list));
}

TEST(ListEncode, TooManyItemsAreRefusedInSilence) {
    pciecfg_list list = sample_list();
    list.count = 129;
    pciecfg_image image;
    std::memset(&image, 0xEE, sizeof(image));
    EXPECT_EQ(pciecfg_encode(&list, &image), -1);
    EXPECT_THAT(platform().messages, IsEmpty());
    EXPECT_THAT(model::bytes_of(image), testing::Each(0xEE));
}

TEST(ListEncode, EmptyListIsRefusedByTheHeader) {
    pciecfg_list list = sample_list();
    list.count = 0;
    pciecfg_image image;
    std::memset(&image, 0xEE, sizeof(image));
    EXPECT_EQ(pciecfg_encode(&list, &image), -1);
    EXPECT_THAT(model::bytes_of(image), testing::Each(0xEE));
    ASSERT_THAT(platform().messages, SizeIs(2));
    EXPECT_THAT(platform().messages[0].text, EndsWith(", datalen=0, invalid.\n"));
    const auto &line = platform().messages[1];
    EXPECT_EQ(line.function, "pciecfg_encode");
    EXPECT_EQ(line.text,
              "pciecfg_encode(@" + std::to_string(line.line) +
                  ") pciecfg_header_encode(item_count=0, item_size=16) failed retval = -1.\n");
}

TEST(ListEncode, NullIsRefused) {
    const pciecfg_list list = sample_list();
    pciecfg_image image;
    EXPECT_EQ(pciecfg_encode(nullptr, &image), -1);
    EXPECT_EQ(pciecfg_encode(&list, nullptr), -1);
    EXPECT_THAT(platform().messages, IsEmpty());
}

// ---- sorting ----

TEST(ListSort, CpuThenLane) {
    pciecfg_list list = sample_list();
    list.count = 2;
    list.items[0].cpu = 1;
    list.items[0].x1_start = 0;
    list.items[1].cpu = 0;
    list.items[1].x1_start = 32;
    pciecfg_list sorted;
    EXPECT_EQ(pciecfg_sort(&list, &sorted), 0);
    EXPECT_EQ(sorted.items[0].cpu, 0u);
    EXPECT_EQ(sorted.items[1].cpu, 1u);
    EXPECT_EQ(sorted.count, 2u);
}

TEST(ListSort, EqualKeysKeepTheirOrder) {
    pciecfg_list list = sample_list();
    for (uint32_t k = 0; k < 3; ++k) {
        list.items[k].cpu = 1;
        list.items[k].x1_start = 8;
        list.items[k].number = static_cast<uint8_t>(30 - k);
    }
    EXPECT_EQ(pciecfg_sort(&list, &list), 0);
    EXPECT_EQ(list.items[0].number, 30);
    EXPECT_EQ(list.items[1].number, 29);
    EXPECT_EQ(list.items[2].number, 28);
}

TEST(ListSort, RandomListsAgreeWithAStableSort) {
    model::Random random(6);
    for (int round = 0; round < 300; ++round) {
        pciecfg_list list = model::random_list(random, random() % 129);
        for (uint32_t k = 0; k < list.count; ++k) {  // many equal keys, some beyond 8 bits
            list.items[k].cpu = random() % 3 == 0 ? 0x80000000u : random() % 3;
            list.items[k].x1_start = random() % 5 * (random() % 2 != 0 ? 1u : 0x20000000u);
        }
        pciecfg_list expected = list;
        std::stable_sort(expected.items, expected.items + expected.count,
                         [](const pciecfg_item &a, const pciecfg_item &b) {
                             return std::tie(a.cpu, a.x1_start) < std::tie(b.cpu, b.x1_start);
                         });
        pciecfg_list sorted;
        ASSERT_EQ(pciecfg_sort(&list, &sorted), 0);
        ASSERT_EQ(std::memcmp(&sorted, &expected, sizeof(sorted)), 0) << "round " << round;
        ASSERT_EQ(pciecfg_sort(&list, &list), 0);
        ASSERT_EQ(std::memcmp(&list, &expected, sizeof(list)), 0) << "in place";
    }
}

TEST(ListSort, OneItemAndNoneAreCopiedWhole) {
    for (uint32_t count : {0u, 1u}) {
        pciecfg_list list = sample_list();
        list.count = count;
        pciecfg_list sorted;
        std::memset(&sorted, 0xEE, sizeof(sorted));
        EXPECT_EQ(pciecfg_sort(&list, &sorted), 0);
        EXPECT_EQ(std::memcmp(&sorted, &list, sizeof(list)), 0);
    }
}

TEST(ListSort, OverflowLeavesTheOutputAlone) {
    pciecfg_list list = sample_list();
    list.count = 129;
    pciecfg_list sorted;
    std::memset(&sorted, 0xEE, sizeof(sorted));
    const pciecfg_list before = sorted;
    EXPECT_EQ(pciecfg_sort(&list, &sorted), -1);
    EXPECT_EQ(std::memcmp(&sorted, &before, sizeof(before)), 0);
    ASSERT_THAT(platform().messages, SizeIs(1));
    const auto &line = platform().messages[0];
    EXPECT_EQ(line.channel, "warn");
    EXPECT_EQ(line.number, 56u);
    EXPECT_EQ(line.source, "pciecfg_io");
    EXPECT_EQ(line.text, "pciecfg_sort(@" + std::to_string(line.line) +
                             ") inlist count is 129, max count is 128, overflow.\n");
}

TEST(ListSort, NullIsRefused) {
    pciecfg_list list = sample_list();
    EXPECT_EQ(pciecfg_sort(nullptr, &list), -1);
    EXPECT_EQ(pciecfg_sort(&list, nullptr), -1);
}

// ---- comparing ----

TEST(ListCompare, EqualLists) {
    const pciecfg_list a = sample_list();
    const pciecfg_list b = sample_list();
    EXPECT_EQ(pciecfg_compare(&a, &b), 0);
}

TEST(ListCompare, EveryByteOfEveryItemCounts) {
    const pciecfg_list a = sample_list();
    for (size_t at = 0; at < 3 * sizeof(pciecfg_item); ++at) {
        pciecfg_list b = a;
        reinterpret_cast<uint8_t *>(b.items)[at] ^= 0x40;
        ASSERT_EQ(pciecfg_compare(&a, &b), -1) << "byte " << at;
    }
}

TEST(ListCompare, AByteBehindTheNameCounts) {
    const pciecfg_list a = sample_list();
    pciecfg_list b = a;
    b.items[1].name[30] = 'x';
    EXPECT_STREQ(a.items[1].name, b.items[1].name);
    EXPECT_EQ(pciecfg_compare(&a, &b), -1);
}

TEST(ListCompare, ItemsBeyondTheCountDoNot) {
    const pciecfg_list a = sample_list();
    pciecfg_list b = a;
    b.items[3].cpu = 5;
    EXPECT_EQ(pciecfg_compare(&a, &b), 0);
}

TEST(ListCompare, Counts) {
    pciecfg_list a = sample_list();
    pciecfg_list b = a;
    b.count = 2;
    EXPECT_EQ(pciecfg_compare(&a, &b), -1);
    a.count = b.count = 0;
    EXPECT_EQ(pciecfg_compare(&a, &b), 0);
    a.count = b.count = 129;
    EXPECT_EQ(pciecfg_compare(&a, &b), -1);
    EXPECT_EQ(pciecfg_compare(nullptr, &b), -1);
    EXPECT_EQ(pciecfg_compare(&a, nullptr), -1);
}
