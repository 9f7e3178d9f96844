// FRU data in the cards' EEPROMs.
#include <climits>
#include <map>

#include "fru/fru_support.h"

using namespace fru;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// How a card's presence is asked, and where its EEPROM is.
struct Card {
    uint32_t key;
    std::string question;  // none: the key counts as present without one
    std::string place;
};
const std::vector<Card> &cards() {
    static const std::vector<Card> all = {
        {1, "epldio_read 0x208", "11:0x51"},
        {5, "ei2c_pca9535_get_word_value 3:0x20 0xFFFF", "3:0x51"},
        {11, "ei2c_pca9535_get_word_value 9:0x20 0xFFFF", "9:0x51"},
        {14, "ei2c_pca9535_get_word_value 10:0x20 0xFFFF", "10:0x51"},
        {23, "ei2c_pca9535_get_value 3:0x21 pin 0", "3:0x70.2:0x53"},
        {30, "ei2c_pca9535_get_value 5:0x70.0:0x21 pin 2", "5:0x70.3:0x53"},
        {31, "", "6:0x70.2:0x53"},
        {32, "", "6:0x70.1:0x53"},
    };
    return all;
}

void fit_everything() {
    platform().epld[0x208] = 0xFFFF;
    for (uint32_t bus = 3; bus <= 10; ++bus) {
        platform().identifier(bus, 0x20, 0, 0, 0x8000);
        platform().expanders[{bus, 0x21, 0, 0}].input = 0;
        platform().expanders[{bus, 0x21, 0x70, 0}].input = 0;
    }
    for (const scripted::Chip chip : {scripted::Chip{11, 0x51, 0, 0},
                                      {3, 0x51, 0, 0},
                                      {9, 0x51, 0, 0},
                                      {10, 0x51, 0, 0},
                                      {3, 0x53, 0x70, 2},
                                      {5, 0x53, 0x70, 3},
                                      {6, 0x53, 0x70, 2},
                                      {6, 0x53, 0x70, 1}}) {
        std::vector<uint8_t> &bytes = platform().bytes[chip];
        for (uint32_t i = 0; i < 256; ++i) {
            bytes.push_back(static_cast<uint8_t>(i ^ chip.bus));
        }
    }
}

std::vector<std::string> calls_of(const Card &card, const std::string &transfer) {
    std::vector<std::string> calls;
    if (!card.question.empty()) {
        calls.push_back(card.question);
    }
    if (!transfer.empty()) {
        calls.push_back(transfer);
    }
    return calls;
}

void expect_message(const std::string &channel, const std::string &function,
                    const std::string &text) {
    ASSERT_EQ(platform().messages.size(), 1u);
    const scripted::Message &message = platform().messages[0];
    EXPECT_EQ(message.channel, channel);
    EXPECT_EQ(message.number, 43u);
    EXPECT_EQ(message.source, "fru_common_info");
    EXPECT_EQ(message.function, function);
    EXPECT_EQ(message.text, text);
    if (channel == "error") {
        EXPECT_THAT(platform().failed_stats,
                    ElementsAre(std::pair(std::string("fru_common_info"), message.line)));
    } else {
        EXPECT_THAT(platform().failed_stats, IsEmpty());
    }
}

}  // namespace

TEST(CardFru, IsReadAndWrittenInTheEeprom) {
    fit_everything();
    for (const Card &card : cards()) {
        SCOPED_TRACE(card.key);
        platform().clear_record();
        uint8_t bytes[4] = {};
        ASSERT_EQ(FruRead(card.key, 8, bytes, 3), 3);
        FruRow row = {};
        ASSERT_EQ(GetFruI2cinfoBySlotID(card.key, &row), 0);
        EXPECT_TRUE(scripted::same_route(platform().routes.back(), row.route));
        const auto bus = static_cast<uint8_t>(std::stoul(card.place));
        EXPECT_THAT(bytes, ElementsAre(8 ^ bus, 9 ^ bus, 10 ^ bus, 0));
        EXPECT_EQ(platform().calls,
                  calls_of(card, "ei2c_eeprom_read " + card.place + " offset 0x8 length 3"));

        platform().clear_record();
        const uint8_t fresh[] = {0x11, 0x22};
        EXPECT_EQ(FruWrite(card.key, 9, fresh, 2), 2);
        EXPECT_EQ(platform().calls,
                  calls_of(card, "ei2c_eeprom_write " + card.place + " offset 0x9 length 2"));
        EXPECT_EQ(FruRead(card.key, 8, bytes, 4), 4);
        EXPECT_THAT(bytes, ElementsAre(8 ^ bus, 0x11, 0x22, 11 ^ bus));
        EXPECT_THAT(platform().messages, IsEmpty());
    }
}

// Offsets of cards are the EEPROM's own, also where the main board's fold.
TEST(CardFru, OffsetsAreNotMapped) {
    fit_everything();
    uint8_t byte = 0;
    for (const uint32_t offset : {0u, 0x8000u, 0x8001u, UINT32_MAX}) {
        platform().clear_record();
        platform().fail_if = [](const std::string &call) { return call.starts_with("ei2c_ee"); };
        FruRead(1, offset, &byte, 1);
        FruWrite(1, offset, &byte, 1);
        char text[16];
        std::snprintf(text, sizeof(text), "0x%X", offset);
        EXPECT_THAT(
            platform().calls_of("ei2c_ee"),
            ElementsAre(std::string("ei2c_eeprom_read 11:0x51 offset ") + text + " length 1",
                        std::string("ei2c_eeprom_write 11:0x51 offset ") + text + " length 1"));
    }
}

TEST(CardFru, TheTransfersResultIsHandedOn) {
    fit_everything();
    platform().fail_if = [](const std::string &call) { return call.starts_with("ei2c_ee"); };
    for (const int result : {-5, -1, 0, 1, 2, 7, INT_MIN, INT_MAX}) {
        platform().clear_record();
        platform().failure = result;
        uint8_t bytes[8] = {};
        EXPECT_EQ(FruRead(23, 0, bytes, 8), result);
        EXPECT_EQ(FruWrite(23, 0, bytes, 8), result);
        EXPECT_THAT(platform().messages, IsEmpty());
    }
}

TEST(CardFru, AnAbsentCardIsNotTouched) {
    for (const Card &card : cards()) {
        if (card.question.empty()) {
            continue;
        }
        SCOPED_TRACE(card.key);
        uint8_t bytes[4] = {1, 2, 3, 4};
        platform().clear_record();
        EXPECT_EQ(FruRead(card.key, 0, bytes, 4), -1);
        EXPECT_EQ(platform().calls, calls_of(card, ""));
        expect_message("warn", "FruRead", "Card(" + std::to_string(card.key) + ") not present\n");
        EXPECT_THAT(bytes, ElementsAre(1, 2, 3, 4));

        platform().clear_record();
        EXPECT_EQ(FruWrite(card.key, 0, bytes, 4), -1);
        EXPECT_EQ(platform().calls, calls_of(card, ""));
        EXPECT_THAT(platform().messages, IsEmpty());
    }
}

// Keys that are present, or count as such, and have no EEPROM.
TEST(CardFru, NoEepromIsKnown) {
    fit_everything();
    for (const uint32_t key :
         {16u, 17u, 18u, 19u, 20u, 21u, 22u, 33u, 255u, 256u, 257u, 0x10017u, UINT32_MAX}) {
        SCOPED_TRACE(key);
        platform().clear_record();
        uint8_t byte = 0xA5;
        EXPECT_EQ(FruRead(key, 0, &byte, 1), -1);
        EXPECT_EQ(byte, 0xA5);
        EXPECT_THAT(platform().calls_of("ei2c_ee"), IsEmpty());
        expect_message("error", "FruRead",
                       "Get Fru I2c info By SlotID(" + std::to_string(key) + ") fail!\n");
        platform().clear_record();
        EXPECT_EQ(FruWrite(key, 0, &byte, 1), -1);
        EXPECT_THAT(platform().calls_of("ei2c_ee"), IsEmpty());
        EXPECT_THAT(platform().messages, IsEmpty());
        EXPECT_THAT(platform().failed_stats, IsEmpty());
    }
}

// Keys of the identifier tables that are no card's.
TEST(CardFru, UnknownKeysAreAbsent) {
    fit_everything();
    for (const uint32_t key : {2u, 3u, 4u, 12u, 13u, 15u}) {
        uint8_t byte = 0;
        platform().clear_record();
        EXPECT_EQ(FruRead(key, 0, &byte, 1), -1);
        EXPECT_EQ(FruWrite(key, 0, &byte, 1), -1);
        EXPECT_THAT(platform().calls, IsEmpty());
        expect_message("warn", "FruRead", "Card(" + std::to_string(key) + ") not present\n");
    }
}

TEST(CardFru, NullIsRefusedBeforeAnyAccess) {
    fit_everything();
    for (const uint32_t key : {0u, 1u, 23u, 99u}) {
        platform().clear_record();
        EXPECT_EQ(FruRead(key, 0, nullptr, 4), -1);
        EXPECT_THAT(platform().calls, IsEmpty());
        expect_message("warn", "FruRead", "FruRead: NULL == buf\n");
        platform().clear_record();
        EXPECT_EQ(FruWrite(key, 0, nullptr, 4), -1);
        expect_silence();
    }
}

// Each platform call fails in turn; what was there stays.
TEST(CardFru, EachFailingCall) {
    fit_everything();
    const auto before = platform().bytes;
    for (const Card &card : cards()) {
        const size_t calls = card.question.empty() ? 1 : 2;
        for (size_t n = 1; n <= calls; ++n) {
            SCOPED_TRACE(testing::Message() << card.key << " call " << n);
            uint8_t bytes[4] = {};
            platform().clear_record();
            platform().fail_call = n;
            EXPECT_EQ(FruRead(card.key, 0, bytes, 4), n == calls ? -5 : -1);
            EXPECT_EQ(platform().calls.size(), n);
            platform().clear_record();
            EXPECT_EQ(FruWrite(card.key, 0, bytes, 4), n == calls ? -5 : -1);
            EXPECT_EQ(platform().calls.size(), n);
            EXPECT_EQ(platform().bytes, before);
        }
    }
}
