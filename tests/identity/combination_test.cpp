// What is derived from several identifiers: the board's variant and the backplane combination, with
// the exact reads that each answer takes.
#include <algorithm>

#include "identity/reader.h"

using namespace identity;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr uint32_t absent = 0x7FFF;

// The identifier reads of keys 5..last, in order.
std::vector<std::string> reads_up_to(uint32_t last) {
    const char *const chips[] = {"3:0x20", "4:0x20", "5:0x20", "6:0x20",
                                 "7:0x20", "8:0x20", "9:0x20"};
    std::vector<std::string> reads;
    for (uint32_t key = 5; key <= last; ++key) {
        reads.push_back(std::string("ei2c_pca9535_get_word_value ") + chips[key - 5] + " 0xFFFF");
    }
    return reads;
}

// Fits keys 5..11 with these board ids.
void fit_backplanes(const std::vector<uint32_t> &board_ids) {
    platform().expanders.clear();
    for (uint32_t i = 0; i < board_ids.size(); ++i) {
        if (board_ids[i] != absent) {
            fit(5 + i, word_of(board_ids[i], i % 4, i));
        }
    }
    platform().clear_record();
}

struct Answer {
    uint32_t value;
    uint32_t last_key;
};

Answer combination_of(const std::vector<uint32_t> &ids) {
    const auto decides = [](uint32_t id) { return id == 0x545B || id == 0x545E || id == 0x546F; };
    const auto first = std::find_if(ids.begin(), ids.end(), decides);
    if (first != ids.end()) {
        const uint32_t value = *first == 0x545B ? 1 : *first == 0x545E ? 4 : 3;
        return {value, static_cast<uint32_t>(5 + (first - ids.begin()))};
    }
    switch (std::count(ids.begin(), ids.end(), 0x5459u)) {
        case 1:
            return {0, 11};
        case 2:
            return {2, 11};
        case 3:
            return {3, 11};
        default:
            return {255, 11};
    }
}

Answer special_of(const std::vector<uint32_t> &ids) {
    const auto first = std::find(ids.begin(), ids.end(), 0x5473u);
    if (first != ids.end()) {
        return {0x5473, static_cast<uint32_t>(5 + (first - ids.begin()))};
    }
    const auto highest =
        std::find_if(ids.rbegin(), ids.rend(), [](uint32_t id) { return id != absent; });
    return {highest == ids.rend() ? absent : *highest, 11};
}

void check_combination(const std::vector<uint32_t> &ids) {
    const Answer expected = combination_of(ids);
    platform().clear_record();
    ASSERT_EQ(GetHDbkBoardId(), static_cast<int32_t>(expected.value));
    ASSERT_EQ(platform().calls, reads_up_to(expected.last_key));
    ASSERT_THAT(platform().messages, IsEmpty());
}

void check_special(const std::vector<uint32_t> &ids) {
    const Answer expected = special_of(ids);
    platform().clear_record();
    ASSERT_EQ(GetSpecialHDbkBoardId(), expected.value);
    ASSERT_EQ(platform().calls, reads_up_to(expected.last_key));
    ASSERT_THAT(platform().messages, IsEmpty());
}

}  // namespace

// ---- the variant ----

TEST(TarnT, EveryBoardPcbAndBomIdentifier) {
    for (uint32_t board = 0x5400; board <= 0x57FF; ++board) {
        const bool near = board >= 0x543E && board <= 0x5442;
        for (uint32_t pcb = 0; pcb < (near ? 4u : 1u); ++pcb) {
            for (uint32_t bom = 0; bom < 8; ++bom) {
                platform().identifier(13, 0x26, 0, 0, word_of(board, pcb, bom));
                platform().clear_record();
                ASSERT_EQ(isTarnT(), board == 0x5440 && bom == 1 ? 1 : 0) << board << " " << bom;
                ASSERT_THAT(platform().calls,
                            ElementsAre("ei2c_pca9535_get_word_value 13:0x26 0xFFFF"));
            }
        }
    }
}

TEST(TarnT, NoIdentifierMeansNo) {
    EXPECT_EQ(isTarnT(), 0);
    fit(0, word_of(0x5440, 0, 1) ^ 0x8000);
    EXPECT_EQ(isTarnT(), 0);
    fit(0, word_of(0x5440, 0, 1));
    for (const int failure : failures) {
        platform().clear_record();
        platform().failure = failure;
        platform().fail_call = 1;
        EXPECT_EQ(isTarnT(), 0);
        EXPECT_EQ(platform().calls.size(), 1u);
        platform().fail_call.reset();
        EXPECT_EQ(isTarnT(), 1);
    }
    EXPECT_THAT(platform().messages, IsEmpty());
}

// ---- the combination code ----

TEST(BackplaneCombination, OneCountedBackplaneAnswersZero) {
    for (size_t position = 0; position < 7; ++position) {
        std::vector<uint32_t> ids(7, absent);
        ids[position] = 0x5459;
        fit_backplanes(ids);
        EXPECT_EQ(GetHDbkBoardId(), 0);
        EXPECT_EQ(platform().calls, reads_up_to(11));
    }
}

TEST(BackplaneCombination, NoBackplaneAnswers255) {
    fit_backplanes({});
    EXPECT_EQ(GetHDbkBoardId(), 255);
    EXPECT_EQ(platform().calls, reads_up_to(11));
}

TEST(BackplaneCombination, TwoThreeAndMoreCountedBackplanes) {
    const int32_t answers[] = {255, 0, 2, 3, 255, 255, 255, 255};
    for (size_t count = 0; count <= 7; ++count) {
        fit_backplanes(std::vector<uint32_t>(count, 0x5459));
        EXPECT_EQ(GetHDbkBoardId(), answers[count]) << count;
        EXPECT_EQ(platform().calls, reads_up_to(11));
    }
}

TEST(BackplaneCombination, ADecidingBackplaneEndsTheReads) {
    fit_backplanes({0x5459, 0x545E, 0x545B, 0x546F, 0x5459, 0x5459, 0x5459});
    EXPECT_EQ(GetHDbkBoardId(), 4);
    EXPECT_EQ(platform().calls, reads_up_to(6));

    fit_backplanes({0x545B, 0x545E});
    EXPECT_EQ(GetHDbkBoardId(), 1);
    EXPECT_EQ(platform().calls, reads_up_to(5));

    fit_backplanes({absent, absent, 0x546F});
    EXPECT_EQ(GetHDbkBoardId(), 3);
    EXPECT_EQ(platform().calls, reads_up_to(7));
}

TEST(BackplaneCombination, EveryDecidingBackplaneAtEveryKey) {
    for (const uint32_t deciding : {0x545Bu, 0x545Eu, 0x546Fu}) {
        for (size_t position = 0; position < 7; ++position) {
            std::vector<uint32_t> ids(7, 0x5459);
            ids[position] = deciding;
            fit_backplanes(ids);
            check_combination(ids);
        }
    }
}

TEST(BackplaneCombination, EveryIdentifierAlone) {
    for (uint32_t id = 0x5400; id <= 0x57FF; ++id) {
        std::vector<uint32_t> ids(7, absent);
        ids[id % 7] = id;
        fit_backplanes(ids);
        ASSERT_NO_FATAL_FAILURE(check_combination(ids)) << std::hex << id;
        ASSERT_NO_FATAL_FAILURE(check_special(ids)) << std::hex << id;
    }
}

// Each of the seven keys takes each of four kinds of identifier; which deciding identifier stands
// for its kind changes with the combination. Answers are compared for all, the reads for some.
TEST(BackplaneCombination, EveryCombination) {
    const uint32_t deciding[] = {0x545B, 0x545E, 0x546F, 0x5473};
    std::vector<uint32_t> ids(7);
    platform().on_word_read = [&](const I2cChipRoute &route, uint32_t, uint32_t *value) {
        const uint32_t id = ids[route.bus - 3];
        *value = id == absent ? 0 : word_of(id);
        return 0;
    };
    for (uint32_t combination = 0; combination < 1u << 14; ++combination) {
        for (uint32_t i = 0; i < 7; ++i) {
            const uint32_t kinds[] = {absent, 0x5459, 0x5465,
                                      deciding[(combination + i + combination / 64) % 4]};
            ids[i] = kinds[(combination >> (2 * i)) % 4];
        }
        if (combination % 37 == 0) {
            ASSERT_NO_FATAL_FAILURE(check_combination(ids)) << combination;
            ASSERT_NO_FATAL_FAILURE(check_special(ids)) << combination;
        } else {
            ASSERT_EQ(GetHDbkBoardId(), static_cast<int32_t>(combination_of(ids).value));
            ASSERT_EQ(GetSpecialHDbkBoardId(), special_of(ids).value);
            platform().calls.clear();
        }
    }
    platform().on_word_read = nullptr;
}

TEST(BackplaneCombination, EachFailingReadCountsAsNoCard) {
    const std::vector<uint32_t> boards[] = {
        {0x5459, 0x5459, 0x5465, 0x5459, absent, 0x5459, 0x5465},
        {0x5459, 0x546F, 0x5459, 0x545B, 0x5473, 0x545E, 0x5459},
        {0x5473, absent, absent, absent, absent, absent, 0x545E},
    };
    for (const int failure : failures) {
        for (const std::vector<uint32_t> &ids : boards) {
            for (size_t n = 1; n <= 7; ++n) {
                std::vector<uint32_t> seen = ids;
                seen[n - 1] = absent;
                fit_backplanes(ids);
                platform().failure = failure;
                platform().fail_call = n;
                ASSERT_NO_FATAL_FAILURE(check_combination(seen)) << n;
                ASSERT_NO_FATAL_FAILURE(check_special(seen)) << n;
                platform().fail_call.reset();
                ASSERT_NO_FATAL_FAILURE(check_combination(ids)) << n;
                ASSERT_NO_FATAL_FAILURE(check_special(ids)) << n;
            }
        }
    }
}

TEST(BackplaneCombination, EvenParityCountsAsNoCard) {
    fit_backplanes({0x545B, 0x5459});
    fit(5, word_of(0x545B) ^ 0x8000);
    EXPECT_EQ(GetHDbkBoardId(), 0);
    EXPECT_EQ(platform().calls, reads_up_to(11));
}

// ---- the special backplane ----

TEST(SpecialBackplane, TheHighestKeyThatAnswers) {
    fit_backplanes({0x5459, absent, absent, absent, 0x5465, absent, absent});
    EXPECT_EQ(GetSpecialHDbkBoardId(), 0x5465u);
    EXPECT_EQ(platform().calls, reads_up_to(11));
}

TEST(SpecialBackplane, ReturnsAtOnceWhereItIsFound) {
    fit_backplanes({0x5459, absent, 0x5473, 0x5465, 0x5473, absent, 0x5459});
    EXPECT_EQ(GetSpecialHDbkBoardId(), 0x5473u);
    EXPECT_EQ(platform().calls, reads_up_to(7));
}

TEST(SpecialBackplane, NoneAnswers) {
    fit_backplanes({});
    EXPECT_EQ(GetSpecialHDbkBoardId(), 0x7FFFu);
    EXPECT_EQ(platform().calls, reads_up_to(11));
}
