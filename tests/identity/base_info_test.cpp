// Identifiers behind a source of one or two chips, and the base-info table of such sources.
#include "identity/reader.h"

using namespace identity;
using testing::ElementsAre;

namespace {

I2cChipRoute some_route(uint32_t seed) {
    I2cChipRoute route = route_of(seed, 0x20 + seed, "0x70", seed + 1, "chip");
    route.flags = static_cast<uint16_t>(0x100 + seed);
    return route;
}

HardIdSource source_with(uint8_t chips) {
    HardIdSource source = {};
    source.key = 77;
    source.chips = chips;
    source.route[0] = some_route(1);
    source.route[1] = some_route(2);
    return source;
}

// The fields of a 24-bit identifier, by division.
HardIdInfo fields_of(uint32_t value) {
    return info_of(value / 256 % 0x8000, value / 16 % 16, value % 16, value % 0x800000,
                   value % 0x1000000);
}

// The rows that answer for a key, in the order of the attempts.
std::vector<TwoChips> rows_of(uint32_t key) {
    static const std::map<uint32_t, std::vector<size_t>> rows = {
        {0, {0}}, {3, {1}},   {4, {2}},   {5, {3}},   {9, {4}},      {1, {7}},     {2, {8}},
        {7, {9}}, {10, {10}}, {13, {11}}, {15, {13}}, {14, {5, 12}}, {16, {6, 14}}};
    static const std::vector<TwoChips> table = two_chip_table();
    std::vector<TwoChips> found;
    const auto indexes = rows.find(key);
    if (indexes != rows.end()) {
        for (const size_t index : indexes->second) {
            EXPECT_EQ(table[index].key, key);
            found.push_back(table[index]);
        }
    }
    return found;
}

// A 24-bit identifier with odd parity in two words.
constexpr uint32_t some_identifier = 0x5A1235 | 0x800000;

}  // namespace

// ---- the parity check ----

TEST(HardIdCheck, OneWord) {
    for (uint32_t word = 0; word <= 0xFFFF; ++word) {
        const uint32_t words[] = {word};
        uint32_t value = 0xA5A5A5A5;
        ASSERT_EQ(_HardIdCheck(1, words, &value), odd_ones(word) ? 0 : -1) << word;
        ASSERT_EQ(value, word);
    }
    expect_silence();
}

TEST(HardIdCheck, OneWordCountsItsLowSixteenBitsOnly) {
    const uint32_t words[] = {0x10001};
    uint32_t value = 0;
    EXPECT_EQ(_HardIdCheck(1, words, &value), 0);
    EXPECT_EQ(value, 0x10001u);
}

TEST(HardIdCheck, TwoWords) {
    for (uint32_t high = 0; high <= 0xFF; ++high) {
        for (uint32_t low = 0; low <= 0xFFFF; low += 251) {
            const uint32_t words[] = {low, high};
            uint32_t value = 0xA5A5A5A5;
            ASSERT_EQ(_HardIdCheck(2, words, &value), odd_ones(low) != odd_ones(high) ? 0 : -1);
            ASSERT_EQ(value, high * 0x10000 + low);
        }
    }
}

TEST(HardIdCheck, TwoWordsCountTwentyFourBits) {
    const uint32_t words[] = {0x0001, 0x100};
    uint32_t value = 0;
    EXPECT_EQ(_HardIdCheck(2, words, &value), 0);
    EXPECT_EQ(value, 0x1000001u);
}

TEST(HardIdCheck, OtherCountsFail) {
    const uint32_t words[] = {1, 0};
    for (const uint32_t count : {0u, 3u, 255u, 0x10001u, 0x10002u, UINT32_MAX}) {
        uint32_t value = 0xA5A5A5A5;
        EXPECT_EQ(_HardIdCheck(count, words, &value), -1) << count;
        EXPECT_EQ(value, 0xA5A5A5A5u);
    }
}

TEST(HardIdCheck, Null) {
    const uint32_t words[] = {1, 0};
    uint32_t value = 0xA5A5A5A5;
    for (const uint32_t count : {0u, 1u, 2u, 3u}) {
        EXPECT_EQ(_HardIdCheck(count, nullptr, &value), -1);
        EXPECT_EQ(_HardIdCheck(count, words, nullptr), -1);
        EXPECT_EQ(_HardIdCheck(count, nullptr, nullptr), -1);
    }
    EXPECT_EQ(value, 0xA5A5A5A5u);
    expect_silence();
}

// ---- one source ----

TEST(HardIdBySource, OneChipReadsOnceAndDropsBitSeven) {
    for (uint32_t word = 0; word <= 0xFFFF; ++word) {
        WordScript chip({{word, 0}});
        platform().calls.clear();
        HardIdInfo info = untouched();
        const int32_t result = GetHardIdByI2CInfo(source_with(1), &info);
        ASSERT_EQ(chip.reads.size(), 1u);
        ASSERT_TRUE(same_route(chip.reads[0].route, some_route(1)));
        ASSERT_EQ(chip.reads[0].mask, 0xFFFFu);
        if (odd_ones(word)) {
            ASSERT_EQ(result, 0);
            ASSERT_EQ(bytes_of(info), bytes_of(fields_of(word - (word & 0x80)))) << word;
        } else {
            ASSERT_EQ(result, -1);
            ASSERT_EQ(bytes_of(info), bytes_of(untouched())) << word;
        }
    }
}

TEST(HardIdBySource, TwoChipsReadLowThenHigh) {
    WordScript chips({{some_identifier & 0xFFFF, 0}, {some_identifier >> 16, 0}});
    ASSERT_TRUE(odd_ones(some_identifier));
    HardIdInfo info = untouched();
    EXPECT_EQ(GetHardIdByI2CInfo(source_with(2), &info), 0);
    ASSERT_EQ(chips.reads.size(), 2u);
    EXPECT_TRUE(same_route(chips.reads[0].route, some_route(1)));
    EXPECT_EQ(chips.reads[0].mask, 0xFFFFu);
    EXPECT_TRUE(same_route(chips.reads[1].route, some_route(2)));
    EXPECT_EQ(chips.reads[1].mask, 0xFFu);
    EXPECT_EQ(bytes_of(info), bytes_of(info_of(0x5A12, 3, 5, 0x5A1235, 0xDA1235)));
}

TEST(HardIdBySource, TwoChipsEveryValue) {
    uint32_t low = 0, high = 0;
    platform().on_word_read = [&](const I2cChipRoute &, uint32_t mask, uint32_t *value) {
        *value = mask == 0xFFFF ? low : high;
        return 0;
    };
    // Every low word with two high bytes, every high byte with spread low words.
    const auto check = [&] {
        platform().calls.clear();
        HardIdInfo info = untouched();
        const bool good = odd_ones(low) != odd_ones(high);
        ASSERT_EQ(GetHardIdByI2CInfo(source_with(2), &info), good ? 0 : -1);
        ASSERT_EQ(bytes_of(info), bytes_of(good ? fields_of(high * 0x10000 + low) : untouched()))
            << high << " " << low;
    };
    for (low = 0; low <= 0xFFFF && !HasFatalFailure(); ++low) {
        high = 0x54;
        check();
        high = 0xD7;
        check();
    }
    for (high = 0; high <= 0xFF && !HasFatalFailure(); ++high) {
        for (low = 0; low <= 0xFFFF; low += 509) {
            check();
        }
    }
    platform().on_word_read = nullptr;
}

TEST(HardIdBySource, NoChipReadsNothingAndFails) {
    HardIdInfo info = untouched();
    EXPECT_EQ(GetHardIdByI2CInfo(source_with(0), &info), -1);
    EXPECT_EQ(bytes_of(info), bytes_of(untouched()));
    expect_silence();
}

TEST(HardIdBySource, MoreChipsThanRoutesAreRefused) {
    for (const int chips : {3, 4, 127, 128, 255}) {
        WordScript chip({{1, 0}, {0, 0}});
        HardIdInfo info = untouched();
        EXPECT_EQ(GetHardIdByI2CInfo(source_with(static_cast<uint8_t>(chips)), &info), -1);
        EXPECT_EQ(bytes_of(info), bytes_of(untouched()));
        EXPECT_TRUE(chip.reads.empty());
    }
    expect_silence();
}

TEST(HardIdBySource, TheKeyAndThePaddingAreNotLookedAt) {
    for (const int key : {0, 1, 200, 255}) {
        WordScript chip({{0x8000, 0}});
        HardIdSource source = source_with(1);
        source.key = static_cast<uint8_t>(key);
        source.pad[0] = source.pad[1] = 0xEE;
        HardIdInfo info = untouched();
        EXPECT_EQ(GetHardIdByI2CInfo(source, &info), 0);
        EXPECT_EQ(info.board_id, 0x80);
    }
}

TEST(HardIdBySource, TheFirstFailingReadEndsTheCallWithItsCode) {
    for (const int failure : failures) {
        for (const uint8_t chips : {uint8_t{1}, uint8_t{2}}) {
            for (size_t n = 1; n <= chips; ++n) {
                SCOPED_TRACE(testing::Message()
                             << failure << " chips " << int{chips} << " n " << n);
                platform().clear_record();
                platform().failure = failure;
                platform().fail_call = n;
                for (const uint32_t chip : {1u, 2u}) {
                    platform().expanders[scripted::chip_of(some_route(chip))].input =
                        chip == 1 ? 0x0001 : 0x0000;
                }
                HardIdInfo info = untouched();
                EXPECT_EQ(GetHardIdByI2CInfo(source_with(chips), &info), failure);
                EXPECT_EQ(platform().calls.size(), n);
                EXPECT_EQ(bytes_of(info), bytes_of(untouched()));
                platform().fail_call.reset();
                EXPECT_EQ(GetHardIdByI2CInfo(source_with(chips), &info), 0);
                EXPECT_EQ(bytes_of(info), bytes_of(fields_of(1)));
            }
        }
    }
    EXPECT_TRUE(platform().messages.empty());
}

TEST(HardIdBySource, Null) {
    for (const uint8_t chips : {uint8_t{0}, uint8_t{1}, uint8_t{2}, uint8_t{255}}) {
        EXPECT_EQ(GetHardIdByI2CInfo(source_with(chips), nullptr), -1);
    }
    expect_silence();
}

// ---- the table ----

TEST(BaseInfoTable, EachKeyReadsBothChipsWithTheirWholeRoutes) {
    EXPECT_EQ(two_chip_table().size(), 15u);
    for (const uint32_t key : key_space()) {
        SCOPED_TRACE(key);
        const std::vector<TwoChips> rows = rows_of(key);
        WordScript chips({{some_identifier & 0xFFFF, 0}, {some_identifier >> 16, 0}});
        platform().clear_record();
        HardIdInfo info = untouched();
        const int32_t result = GetHardIdFromBaseInfoTable(key, &info);
        if (rows.empty()) {
            EXPECT_EQ(result, -1);
            EXPECT_EQ(bytes_of(info), bytes_of(untouched()));
            expect_silence();
            continue;
        }
        EXPECT_EQ(result, 0);
        EXPECT_EQ(bytes_of(info), bytes_of(fields_of(some_identifier)));
        ASSERT_EQ(chips.reads.size(), 2u);
        EXPECT_TRUE(same_route(chips.reads[0].route, rows[0].low));
        EXPECT_EQ(chips.reads[0].mask, 0xFFFFu);
        EXPECT_TRUE(same_route(chips.reads[1].route, rows[0].high));
        EXPECT_EQ(chips.reads[1].mask, 0xFFu);
    }
}

TEST(BaseInfoTable, EachFailingReadOfEachKey) {
    for (const int failure : failures) {
        for (const uint32_t key : key_space()) {
            const std::vector<TwoChips> rows = rows_of(key);
            // The routes in the order in which they are read while everything fails at read n of a
            // row: a failed low word leaves the high one alone.
            for (const bool low_fails : {true, false}) {
                SCOPED_TRACE(testing::Message() << key << " " << failure << " " << low_fails);
                std::vector<WordRead> expected;
                for (const TwoChips &row : rows) {
                    expected.push_back({row.low, 0xFFFF});
                    if (!low_fails) {
                        expected.push_back({row.high, 0xFF});
                    }
                }
                std::vector<WordRead> reads;
                platform().on_word_read = [&](const I2cChipRoute &route, uint32_t mask,
                                              uint32_t *value) {
                    reads.push_back({route, mask});
                    *value = 1;
                    return (mask == 0xFFFF) == low_fails ? failure : 0;
                };
                HardIdInfo info = untouched();
                EXPECT_EQ(GetHardIdFromBaseInfoTable(key, &info), -1);
                EXPECT_EQ(bytes_of(info), bytes_of(untouched()));
                ASSERT_EQ(reads.size(), expected.size());
                for (size_t i = 0; i < reads.size(); ++i) {
                    EXPECT_TRUE(same_route(reads[i].route, expected[i].route));
                    EXPECT_EQ(reads[i].mask, expected[i].mask);
                }
                platform().on_word_read = nullptr;
            }
        }
    }
    EXPECT_TRUE(platform().messages.empty());
}

TEST(BaseInfoTable, KeysWithTwoRowsTryTheSecondWhenTheFirstFails) {
    for (const uint32_t key : {14u, 16u}) {
        const std::vector<TwoChips> rows = rows_of(key);
        ASSERT_EQ(rows.size(), 2u);
        const std::vector<WordScript::Answer> good = {{some_identifier & 0xFFFF, 0},
                                                      {some_identifier >> 16, 0}};
        struct Case {
            const char *what;
            std::vector<WordScript::Answer> first_row;
        };
        const Case cases[] = {{"low word fails", {{0, -5}}},
                              {"high byte fails", {{1, 0}, {0, 1}}},
                              {"even parity", {{1, 0}, {1, 0}}}};
        for (const Case &c : cases) {
            SCOPED_TRACE(testing::Message() << key << " " << c.what);
            std::vector<WordScript::Answer> answers = c.first_row;
            answers.insert(answers.end(), good.begin(), good.end());
            WordScript chips(answers);
            HardIdInfo info = untouched();
            EXPECT_EQ(GetHardIdFromBaseInfoTable(key, &info), 0);
            EXPECT_EQ(bytes_of(info), bytes_of(fields_of(some_identifier)));
            ASSERT_EQ(chips.reads.size(), answers.size());
            EXPECT_TRUE(same_route(chips.reads[0].route, rows[0].low));
            EXPECT_TRUE(same_route(chips.reads[answers.size() - 2].route, rows[1].low));
            EXPECT_TRUE(same_route(chips.reads[answers.size() - 1].route, rows[1].high));
        }
    }
}

TEST(BaseInfoTable, EvenParityFails) {
    for (const uint32_t key : {0u, 14u, 16u, 10u}) {
        WordScript chips({{0, 0}});
        HardIdInfo info = untouched();
        EXPECT_EQ(GetHardIdFromBaseInfoTable(key, &info), -1);
        EXPECT_EQ(bytes_of(info), bytes_of(untouched()));
        EXPECT_EQ(chips.reads.size(), 2 * rows_of(key).size());
    }
}

TEST(BaseInfoTable, Null) {
    for (const uint32_t key : key_space()) {
        EXPECT_EQ(GetHardIdFromBaseInfoTable(key, nullptr), -1);
    }
    expect_silence();
}

TEST(BaseInfoTable, BusOfEachKey) {
    for (const uint32_t key : key_space()) {
        SCOPED_TRACE(key);
        platform().clear_record();
        const std::vector<TwoChips> rows = rows_of(key);
        uint32_t bus = 0xA5A5A5A5;
        const int32_t result = GetSmbusFromBaseInfoTable(key, &bus);
        EXPECT_TRUE(platform().calls.empty());
        if (rows.empty()) {
            EXPECT_EQ(result, -1);
            EXPECT_EQ(bus, 0xA5A5A5A5u);
            expect_message("runtime", 135, "boardid_common_info",
                           "GetSmbusFromBaseInfoTable  failed!\n");
        } else {
            EXPECT_EQ(result, 0);
            EXPECT_EQ(bus, rows[0].low.bus);
            EXPECT_TRUE(platform().messages.empty());
        }
    }
}

TEST(BaseInfoTable, BusNull) {
    for (const uint32_t key : {0u, 14u, 6u, 300u}) {
        platform().clear_record();
        EXPECT_EQ(GetSmbusFromBaseInfoTable(key, nullptr), -1);
        EXPECT_TRUE(platform().calls.empty());
        expect_message("dbgout", 130, "boardid_common_info",
                       "GetSmbusFromBaseInfoTable  failed! client == NULL!\n");
    }
}
