// The interfaces between the mainboard and its backplanes, whose slot bases depend on two cards.
#include <gmock/gmock.h>

#include "boardfeatures/pcieid_enum.h"
#include "support/bytes.h"
#include "support/scripted_platform.h"

using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// The word that a one-chip identifier straps: the board id's low 10 bits and a parity bit.
uint16_t word_of(uint16_t board_id) {
    const uint16_t word = static_cast<uint16_t>((board_id & 0x3FF) << 5);
    return static_cast<uint16_t>(__builtin_popcount(word) % 2 ? word : word | 0x8000);
}

void fit(uint32_t bus, uint16_t board_id) {
    platform().identifier(bus, 0x20, 0, 0, word_of(board_id));
}

constexpr char read_10[] = "ei2c_pca9535_get_word_value 8:0x20 0xFFFF";
constexpr char read_11[] = "ei2c_pca9535_get_word_value 9:0x20 0xFFFF";

Bytes interfaces(uint32_t second_base, uint32_t third_base) {
    struct Row {
        const char *name;
        uint32_t index, bus, disk, riser;
    };
    const Row rows[] = {
        {"F I2C 1", 9, 7, 0, 0},           {"F I2C 2", 10, 8, second_base, 0},
        {"F I2C 3", 11, 9, third_base, 0}, {"R I2C 4", 5, 3, 50, 1},
        {"R I2C 5", 6, 4, 52, 3},          {"R I2C 7", 7, 5, 56, 6},
        {"R I2C 8", 8, 6, 60, 9},
    };
    Bytes list;
    list.u32(7);
    for (const Row &row : rows) {
        list.text(row.name, 64).u32(row.index).chip(row.bus, 0xFF, 0, 0, row.name);
        list.u32(row.disk).u32(row.riser);
    }
    return list.until(1732);
}

void expect_interfaces(uint32_t second_base, uint32_t third_base) {
    mb2bpifc_list list;
    fill_with_garbage(list);
    EXPECT_EQ(board_get_backplane_mbifc_list(&list), 0);
    expect_bytes(&list, sizeof(list), interfaces(second_base, third_base));
}

void expect_info(const scripted::Message &message, const std::string &text_end) {
    EXPECT_EQ(message.channel, "info");
    EXPECT_EQ(message.number, 56u);
    EXPECT_EQ(message.source, "pcieid_metadata");
    EXPECT_EQ(message.function, "board_get_backplane_mbifc_list");
    EXPECT_EQ(message.text, "[Func:board_get_backplane_mbifc_list,Line:" +
                                std::to_string(message.line) + "]" + text_end);
}

TEST(Interfaces, NoCardIsAskedFourTimes) {
    expect_interfaces(0, 16);
    EXPECT_THAT(platform().calls, ElementsAre(read_10, read_11, read_10, read_11, read_10, read_11,
                                              read_10, read_11));
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(Interfaces, BothCardsAnswerAtOnce) {
    fit(8, 0x5459);
    fit(9, 0x545B);
    expect_interfaces(8, 24);
    EXPECT_THAT(platform().calls, ElementsAre(read_10, read_11));
    ASSERT_EQ(platform().messages.size(), 2u);
    expect_info(platform().messages[0], ", slot10 board id is 0x5459\n");
    expect_info(platform().messages[1], ", slot11 board id is 0x545b\n");
}

TEST(Interfaces, OneMissingCardHasBothReadAgain) {
    fit(8, 0x5459);
    expect_interfaces(8, 16);
    EXPECT_EQ(platform().calls.size(), 8u);
    ASSERT_EQ(platform().messages.size(), 1u);
    expect_info(platform().messages[0], ", slot10 board id is 0x5459\n");
}

TEST(Interfaces, OtherCardsDecideNothing) {
    fit(8, 0x545B);
    fit(9, 0x5459);
    expect_interfaces(0, 16);
    EXPECT_THAT(platform().calls, ElementsAre(read_10, read_11));
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(Interfaces, OnlyTheThirdCardDecides) {
    fit(8, 0x545E);
    fit(9, 0x545B);
    expect_interfaces(0, 24);
    ASSERT_EQ(platform().messages.size(), 1u);
    expect_info(platform().messages[0], ", slot11 board id is 0x545b\n");
}

// The n-th read of the pair fails once.
TEST(Interfaces, ACardThatAnswersLateIsFound) {
    for (size_t n = 1; n <= 6; ++n) {
        SCOPED_TRACE(n);
        platform() = {};
        fit(8, 0x5459);
        fit(9, 0x545B);
        platform().fail_if = [n](const std::string &) { return platform().calls.size() <= n; };
        expect_interfaces(8, 24);
        EXPECT_EQ(platform().calls.size(), 2 * (n / 2 + (n % 2)) + 2);
    }
}

TEST(Interfaces, ACardThatAnswersInTheFifthAttemptIsTooLate) {
    fit(8, 0x5459);
    fit(9, 0x545B);
    platform().fail_if = [](const std::string &call) {
        return call == read_10 && platform().calls_of(read_10).size() <= 4;
    };
    expect_interfaces(0, 24);
    EXPECT_EQ(platform().calls.size(), 8u);
}

// ---- hardware IDs ----

TEST(HardwareId, OnlyTheLowByteOfTheIndexCounts) {
    fit(8, 0x5459);
    EXPECT_EQ(hwid_of(0x10A), 0x5459u);
    EXPECT_EQ(hwid_of(0x0A), 0x5459u);
    EXPECT_THAT(platform().calls, ElementsAre(read_10, read_10));
}

TEST(HardwareId, NoneWhereNothingAnswers) { EXPECT_EQ(hwid_of(10), 0x7FFFu); }

TEST(HardwareId, AnIndexWithoutACardIsNotRead) {
    EXPECT_EQ(hwid_of(200), 0x7FFFu);
    EXPECT_EQ(hwid_of(0), 0u);
    EXPECT_THAT(platform().calls, IsEmpty());
}

}  // namespace
