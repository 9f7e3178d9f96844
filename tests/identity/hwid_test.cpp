// Identifiers of the main board and the cards: which chip is read, how a word is decoded, and what
// the getters answer.
#include <functional>

#include "identity/reader.h"

using namespace identity;
using testing::ElementsAre;

namespace {

// The decoding of a one-chip word, written over single bits.
std::optional<HardIdInfo> decoded(uint32_t word) {
    int ones = 0;
    uint32_t bit[16];
    for (int i = 0; i < 16; ++i) {
        bit[i] = (word >> i) % 2;
        ones += static_cast<int>(bit[i]);
    }
    if (ones % 2 == 0) {
        return std::nullopt;
    }
    uint32_t board = 0x5400, pcb = bit[3] + 2 * bit[4], bom = bit[0] + 2 * bit[1] + 4 * bit[2];
    for (int i = 5; i < 15; ++i) {
        board += bit[i] << (i - 5);
    }
    const uint32_t hard = board * 0x100 + pcb * 0x10 + bom;
    int hard_ones = 0;
    for (int i = 0; i < 23; ++i) {
        hard_ones += static_cast<int>((hard >> i) % 2);
    }
    return info_of(board, pcb, bom, hard, hard_ones % 2 == 0 ? hard + 0x800000 : hard);
}

struct Getter {
    const char *name;
    std::function<uint32_t(uint32_t key)> ask;
    std::function<uint32_t(const HardIdInfo &)> field;
    uint32_t error;
    bool main_board;
};

const std::vector<Getter> &getters() {
    static const std::vector<Getter> all = [] {
        const auto board = [](const HardIdInfo &info) -> uint32_t { return info.board_id; };
        const auto pcb = [](const HardIdInfo &info) -> uint32_t { return info.pcb_id; };
        const auto bom = [](const HardIdInfo &info) -> uint32_t { return info.bom_id; };
        const auto hard = [](const HardIdInfo &info) { return info.hard_id; };
        const auto raw = [](const HardIdInfo &info) { return info.raw_value; };
        return std::vector<Getter>{
            {"GetBoardId", [](uint32_t) { return GetBoardId(); }, board, 0x7FFF, true},
            {"GetBoardPcbId", [](uint32_t) { return GetBoardPcbId(); }, pcb, 15, true},
            {"GetBoardBomId", [](uint32_t) { return GetBoardBomId(); }, bom, 15, true},
            {"GetBoardHardId", [](uint32_t) { return GetBoardHardId(); }, hard, 0xFFFFFF, true},
            {"GetBoardRawValue", [](uint32_t) { return GetBoardRawValue(); }, raw, 0xFFFFFF, true},
            {"GetCardBoardId", GetCardBoardId, board, 0x7FFF, false},
            {"GetCardPcbId", GetCardPcbId, pcb, 15, false},
            {"GetCardBomId", GetCardBomId, bom, 15, false},
            {"GetCardHardId", GetCardHardId, hard, 0xFFFFFF, false},
        };
    }();
    return all;
}

struct Reader {
    const char *name;
    int32_t (*read)(uint32_t key, HardIdInfo *out);
};
constexpr Reader readers[] = {{"get_hwid_compat", get_hwid_compat},
                              {"GetHardId", GetHardId},
                              {"GetHardIdInfo", GetHardIdInfo}};

const OneChip *row_of(const std::vector<OneChip> &table, uint32_t key) {
    for (const OneChip &row : table) {
        if (row.key == key) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace

// ---- the table: one chip a key ----

TEST(IdentifierTable, HasTwentyRowsWithKeysOfTheirOwn) {
    const auto table = one_chip_table();
    EXPECT_EQ(table.size(), 20u);
    std::map<uint32_t, int> keys;
    for (const OneChip &row : table) {
        EXPECT_EQ(++keys[row.key], 1) << row.key;
    }
}

TEST(IdentifierTable, EachReaderReadsTheKeysChipOnceWithItsWholeRoute) {
    const auto table = one_chip_table();
    for (const Reader &reader : readers) {
        for (const uint32_t key : key_space()) {
            SCOPED_TRACE(testing::Message() << reader.name << " key " << key);
            const bool refuses_main_board = reader.read == GetHardIdInfo;
            const OneChip *row = key == 0 && refuses_main_board ? nullptr : row_of(table, key);
            WordScript chip({{word_of(0x5440, 2, 5), 0}});
            platform().clear_record();
            HardIdInfo info = untouched();
            const int32_t result = reader.read(key, &info);
            if (row == nullptr) {
                EXPECT_EQ(result, -1);
                EXPECT_EQ(bytes_of(info), bytes_of(untouched()));
                expect_silence();
                continue;
            }
            EXPECT_EQ(result, 0);
            EXPECT_EQ(bytes_of(info), bytes_of(*decoded(word_of(0x5440, 2, 5))));
            ASSERT_EQ(chip.reads.size(), 1u);
            EXPECT_TRUE(same_route(chip.reads[0].route, row->chip));
            EXPECT_EQ(chip.reads[0].mask, 0xFFFFu);
            EXPECT_EQ(platform().calls.size(), 1u);
        }
    }
}

TEST(IdentifierTable, EachGetterReadsTheKeysChipOnce) {
    const auto table = one_chip_table();
    const uint16_t word = word_of(0x5465, 3, 6);
    for (const Getter &getter : getters()) {
        for (const uint32_t key : key_space()) {
            SCOPED_TRACE(testing::Message() << getter.name << " key " << key);
            WordScript chip({{word, 0}});
            platform().clear_record();
            const uint32_t answer = getter.ask(key);
            const OneChip *row = row_of(table, getter.main_board ? 0 : key);
            if (!getter.main_board && key == 0) {
                EXPECT_EQ(answer, 0u);
                expect_silence();
            } else if (row == nullptr) {
                EXPECT_EQ(answer, getter.error);
                expect_silence();
            } else {
                EXPECT_EQ(answer, getter.field(*decoded(word)));
                ASSERT_EQ(chip.reads.size(), 1u);
                EXPECT_TRUE(same_route(chip.reads[0].route, row->chip));
                EXPECT_EQ(chip.reads[0].mask, 0xFFFFu);
                EXPECT_EQ(platform().calls.size(), 1u);
            }
        }
    }
}

TEST(IdentifierTable, BusOfEachKey) {
    const auto table = one_chip_table();
    for (const auto ask : {get_hwid_Smbus, GetSmbus}) {
        for (const uint32_t key : key_space()) {
            SCOPED_TRACE(key);
            platform().clear_record();
            uint32_t bus = 0xA5A5A5A5;
            const int32_t result = ask(key, &bus);
            const OneChip *row = row_of(table, key);
            EXPECT_TRUE(platform().calls.empty());
            if (row == nullptr) {
                EXPECT_EQ(result, -1);
                EXPECT_EQ(bus, 0xA5A5A5A5u);
                expect_message("runtime", 135, "hwid_compat", "get_hwid_Smbus  failed!\n");
            } else {
                EXPECT_EQ(result, 0);
                EXPECT_EQ(bus, row->chip.bus);
                EXPECT_TRUE(platform().messages.empty());
            }
        }
    }
}

// ---- decoding ----

TEST(OneChipDecoding, OnlyTheParityBit) {
    platform().identifier(13, 0x26, 0, 0, 0x8000);
    HardIdInfo info = untouched();
    EXPECT_EQ(GetHardId(0, &info), 0);
    EXPECT_EQ(bytes_of(info), bytes_of(info_of(0x5400, 0, 0, 0x540000, 0x540000)));
    EXPECT_THAT(platform().calls, ElementsAre("ei2c_pca9535_get_word_value 13:0x26 0xFFFF"));
}

TEST(OneChipDecoding, OnlyTheLowestBit) {
    platform().identifier(13, 0x26, 0, 0, 0x0001);
    HardIdInfo info = untouched();
    EXPECT_EQ(GetHardId(0, &info), 0);
    EXPECT_EQ(bytes_of(info), bytes_of(info_of(0x5400, 0, 1, 0x540001, 0xD40001)));
}

TEST(OneChipDecoding, AllBitsButParity) {
    platform().identifier(13, 0x26, 0, 0, 0x7FFF);
    HardIdInfo info = untouched();
    EXPECT_EQ(GetHardId(0, &info), 0);
    EXPECT_EQ(bytes_of(info), bytes_of(info_of(0x57FF, 3, 7, 0x57FF37, 0x57FF37 | 0x800000)));
}

TEST(OneChipDecoding, AWordOfZeroesHasEvenParity) {
    platform().identifier(13, 0x26, 0, 0, 0x0000);
    EXPECT_EQ(GetBoardId(), 0x7FFFu);
    EXPECT_THAT(platform().calls, ElementsAre("ei2c_pca9535_get_word_value 13:0x26 0xFFFF"));
}

TEST(OneChipDecoding, EveryWord) {
    for (uint32_t word = 0; word <= 0xFFFF; ++word) {
        platform().identifier(13, 0x26, 0, 0, static_cast<uint16_t>(word));
        platform().calls.clear();
        const auto expected = decoded(word);
        HardIdInfo info = untouched();
        ASSERT_EQ(get_hwid_compat(0, &info), expected ? 0 : -1) << std::hex << word;
        ASSERT_EQ(bytes_of(info), bytes_of(expected.value_or(HardIdInfo{}))) << std::hex << word;
    }
}

TEST(OneChipDecoding, ManyWordsThroughEveryGetter) {
    for (uint32_t word = 0; word <= 0xFFFF; word += 7) {
        platform().identifier(13, 0x26, 0, 0, static_cast<uint16_t>(word));
        platform().identifier(7, 0x20, 0, 0, static_cast<uint16_t>(word));
        platform().calls.clear();
        const auto expected = decoded(word);
        for (const Getter &getter : getters()) {
            ASSERT_EQ(getter.ask(9), expected ? getter.field(*expected) : getter.error)
                << getter.name << std::hex << " " << word;
        }
    }
}

TEST(OneChipDecoding, NothingIsKeptBetweenCalls) {
    fit(0, word_of(0x5440));
    EXPECT_EQ(GetBoardId(), 0x5440u);
    fit(0, word_of(0x5441));
    EXPECT_EQ(GetBoardId(), 0x5441u);
    platform().expanders.clear();
    EXPECT_EQ(GetBoardId(), 0x7FFFu);
    EXPECT_EQ(platform().calls.size(), 3u);
}

// ---- key 0 is the main board and no card ----

TEST(CardGetters, KeyZeroAnswersZeroWithoutARead) {
    fit(0, word_of(0x5440, 1, 1));
    EXPECT_EQ(GetCardBoardId(0), 0u);
    EXPECT_EQ(GetCardPcbId(0), 0u);
    EXPECT_EQ(GetCardBomId(0), 0u);
    EXPECT_EQ(GetCardHardId(0), 0u);
    expect_silence();
    EXPECT_EQ(GetBoardId(), 0x5440u);
    EXPECT_EQ(platform().calls.size(), 1u);
}

TEST(CardGetters, HardIdInfoRefusesKeyZero) {
    fit(0, word_of(0x5440));
    HardIdInfo info = untouched();
    EXPECT_EQ(GetHardIdInfo(0, &info), -1);
    EXPECT_EQ(bytes_of(info), bytes_of(untouched()));
    expect_silence();
}

TEST(CardGetters, KeysBeyondAByteAreUnknown) {
    fit(5, word_of(0x5459));
    for (const uint32_t key : {256u + 5u, 0x10005u, 0xFFFFFF05u}) {
        EXPECT_EQ(GetCardBoardId(key), 0x7FFFu);
        EXPECT_EQ(GetCardPcbId(key), 15u);
        EXPECT_EQ(GetCardBomId(key), 15u);
        EXPECT_EQ(GetCardHardId(key), 0xFFFFFFu);
        HardIdInfo info = untouched();
        EXPECT_EQ(GetHardId(key, &info), -1);
    }
    expect_silence();
}

// ---- failures ----

TEST(IdentifierFailure, EveryReaderOnEveryKey) {
    for (const int failure : failures) {
        for (const OneChip &row : one_chip_table()) {
            for (const Reader &reader : readers) {
                if (row.key == 0 && reader.read == GetHardIdInfo) {
                    continue;
                }
                SCOPED_TRACE(testing::Message() << reader.name << " " << row.key << " " << failure);
                HardIdInfo info = untouched();
                {
                    WordScript chip({{0, failure}});
                    EXPECT_EQ(reader.read(row.key, &info), -1);
                    EXPECT_EQ(chip.reads.size(), 1u);
                }
                EXPECT_EQ(bytes_of(info), bytes_of(HardIdInfo{}));
                fit(row.key, word_of(0x5473, 1, 2));
                EXPECT_EQ(reader.read(row.key, &info), 0);
                EXPECT_EQ(bytes_of(info), bytes_of(*decoded(word_of(0x5473, 1, 2))));
            }
        }
    }
    EXPECT_TRUE(platform().messages.empty());
}

TEST(IdentifierFailure, EveryGetterAnswersItsErrorValue) {
    for (const int failure : failures) {
        for (const Getter &getter : getters()) {
            SCOPED_TRACE(testing::Message() << getter.name << " " << failure);
            fit(0, word_of(0x5473, 1, 2));
            fit(7, word_of(0x5473, 1, 2));
            platform().failure = failure;
            platform().clear_record();
            platform().fail_call = 1;
            EXPECT_EQ(getter.ask(7), getter.error);
            EXPECT_EQ(platform().calls.size(), 1u);
            platform().fail_call.reset();
            EXPECT_EQ(getter.ask(7), getter.field(*decoded(word_of(0x5473, 1, 2))));
        }
    }
    EXPECT_TRUE(platform().messages.empty());
}

TEST(IdentifierFailure, EvenParityFailsEveryReaderAndGetter) {
    for (const OneChip &row : one_chip_table()) {
        fit(row.key, word_of(0x5459, 1, 1) ^ 0x8000);
    }
    for (const OneChip &row : one_chip_table()) {
        HardIdInfo info = untouched();
        EXPECT_EQ(get_hwid_compat(row.key, &info), -1);
        EXPECT_EQ(bytes_of(info), bytes_of(HardIdInfo{}));
        for (const Getter &getter : getters()) {
            if (row.key != 0 || getter.main_board) {
                EXPECT_EQ(getter.ask(row.key), getter.error) << getter.name;
            }
        }
    }
    EXPECT_TRUE(platform().messages.empty());
}

// ---- null pointers ----

TEST(IdentifierNull, ReadersRefuseSilently) {
    for (const OneChip &row : one_chip_table()) {
        fit(row.key, word_of(0x5459));
    }
    for (const Reader &reader : readers) {
        for (const uint32_t key : key_space()) {
            EXPECT_EQ(reader.read(key, nullptr), -1) << reader.name << " " << key;
        }
    }
    expect_silence();
}

TEST(IdentifierNull, GetSmbusSaysSo) {
    for (const uint32_t key : {0u, 5u, 2u, 300u}) {
        platform().clear_record();
        EXPECT_EQ(GetSmbus(key, nullptr), -1);
        EXPECT_TRUE(platform().calls.empty());
        expect_message("dbgout", 130, "boardid_common_info", "GetSmbus  failed! client == NULL!\n");
    }
}

TEST(IdentifierNull, HwidSmbusSaysSo) {
    for (const uint32_t key : {0u, 5u, 2u, 300u}) {
        platform().clear_record();
        EXPECT_EQ(get_hwid_Smbus(key, nullptr), -1);
        EXPECT_TRUE(platform().calls.empty());
        expect_message("dbgout", 130, "hwid_compat", "get_hwid_Smbus  failed! client == NULL!\n");
    }
}
