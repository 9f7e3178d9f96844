// Questions about one disk, over all fitted backplanes.
#include <set>

#include "storage_fitted/support.h"

using rules::Reading;
using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// A question put to the library and to the plain reading: result, output and accesses must agree.
struct Question {
    const char *name;
    int32_t (*ask)(uint32_t slot, NvmeRoute *route, uint8_t *type);
    int32_t (*expect)(Reading &reading, uint32_t slot, NvmeRoute *route, uint8_t *type);
};

int32_t status(Reading &reading, uint32_t slot) { return slot > 200 ? -1 : reading.onboard(slot); }
int32_t typed(Reading &reading, uint32_t slot, uint8_t *type) {
    return status(reading, slot) < 0 ? -1 : reading.gettype(slot, type);
}
int32_t nvme(Reading &reading, uint32_t slot) {
    uint8_t type = 77;
    return typed(reading, slot, &type) == 0 && type == 0;
}
int32_t followed(Reading &reading, uint32_t slot, NvmeRoute *route) {
    return nvme(reading, slot) == 1 ? reading.nvme_route(slot, route) : -1;
}

const Question questions[] = {
    {"hdd_onboard", [](uint32_t slot, NvmeRoute *, uint8_t *) { return hdd_onboard(slot); },
     [](Reading &r, uint32_t slot, NvmeRoute *, uint8_t *) { return r.onboard(slot); }},
    {"hdd_gettype",
     [](uint32_t slot, NvmeRoute *, uint8_t *type) { return hdd_gettype(slot, type); },
     [](Reading &r, uint32_t slot, NvmeRoute *, uint8_t *type) { return r.gettype(slot, type); }},
    {"hdd_get_nvme_i2c_info",
     [](uint32_t slot, NvmeRoute *route, uint8_t *) { return hdd_get_nvme_i2c_info(slot, route); },
     [](Reading &r, uint32_t slot, NvmeRoute *route, uint8_t *) {
         return r.nvme_route(slot, route);
     }},
    {"GetDiskOnlineStatus",
     [](uint32_t slot, NvmeRoute *, uint8_t *) { return GetDiskOnlineStatus(slot); },
     [](Reading &r, uint32_t slot, NvmeRoute *, uint8_t *) { return status(r, slot); }},
    {"GetDiskOnlineStatusExt",
     [](uint32_t slot, NvmeRoute *, uint8_t *) { return GetDiskOnlineStatusExt(0, slot); },
     [](Reading &r, uint32_t slot, NvmeRoute *, uint8_t *) { return status(r, slot); }},
    {"GetDiskType",
     [](uint32_t slot, NvmeRoute *, uint8_t *type) { return GetDiskType(slot, type); },
     [](Reading &r, uint32_t slot, NvmeRoute *, uint8_t *type) { return typed(r, slot, type); }},
    {"GetDiskTypeExt",
     [](uint32_t slot, NvmeRoute *, uint8_t *type) { return GetDiskTypeExt(0, slot, type); },
     [](Reading &r, uint32_t slot, NvmeRoute *, uint8_t *type) { return typed(r, slot, type); }},
    {"IsBackPanelU2NvmePresent",
     [](uint32_t slot, NvmeRoute *, uint8_t *) {
         return static_cast<int32_t>(IsBackPanelU2NvmePresent(slot));
     },
     [](Reading &r, uint32_t slot, NvmeRoute *, uint8_t *) { return nvme(r, slot); }},
    {"IsBackPanelU2NvmePresentExt",
     [](uint32_t slot, NvmeRoute *, uint8_t *) {
         return static_cast<int32_t>(IsBackPanelU2NvmePresentExt(0, slot));
     },
     [](Reading &r, uint32_t slot, NvmeRoute *, uint8_t *) { return nvme(r, slot); }},
    {"GetBackPanelNvmeI2CInfo",
     [](uint32_t slot, NvmeRoute *route, uint8_t *) {
         return GetBackPanelNvmeI2CInfo(slot, route);
     },
     [](Reading &r, uint32_t slot, NvmeRoute *route, uint8_t *) {
         return followed(r, slot, route);
     }},
    {"GetBackPanelNvmeI2CInfoExt",
     [](uint32_t slot, NvmeRoute *route, uint8_t *) {
         return GetBackPanelNvmeI2CInfoExt(0, slot, route);
     },
     [](Reading &r, uint32_t slot, NvmeRoute *route, uint8_t *) {
         return followed(r, slot, route);
     }},
};

// One question; the number of accesses it took.
size_t compare(const Question &question, uint32_t slot, size_t failing = 0) {
    NvmeRoute route, expected_route;
    std::memset(&route, untouched, sizeof(route));
    std::memset(&expected_route, untouched, sizeof(expected_route));
    uint8_t type = untouched, expected_type = untouched;
    Reading reading;
    reading.fail_call = failing;
    platform().fail_call = failing;
    platform().calls.clear();
    const int32_t answer = question.ask(slot, &route, &type);
    const int32_t expected = question.expect(reading, slot, &expected_route, &expected_type);
    EXPECT_EQ(answer, expected) << question.name << " slot " << slot << " failing " << failing;
    EXPECT_EQ(platform().calls, reading.calls)
        << question.name << " slot " << slot << " failing " << failing;
    EXPECT_EQ(type, expected_type) << question.name << " slot " << slot;
    EXPECT_EQ(std::memcmp(&route, &expected_route, sizeof(route)), 0)
        << question.name << " slot " << slot;
    platform().fail_call.reset();
    return reading.calls.size();
}

// Backplanes with a driver, one that is only recognised, and one that is not known at all.
std::vector<uint32_t> boards() {
    std::vector<uint32_t> all;
    for (const rules::Model &model : rules::models()) {
        all.push_back(model.board_id);
    }
    all.push_back(21592);
    all.push_back(21600);
    return all;
}

std::set<uint32_t> interesting_slots(uint32_t board_a, uint32_t board_b) {
    std::set<uint32_t> slots = {0, 103, 200};
    for (const uint32_t board : {board_a, board_b}) {
        if (const rules::Model *model = rules::model_of(board)) {
            for (const auto &[slot, place] : model->slots) {
                // the ends of the runs, and some slots between
                if (!model->slots.contains(slot - 1) || !model->slots.contains(slot + 1) ||
                    slot % 7 == 0) {
                    slots.insert({slot, slot + 1});
                }
            }
        }
    }
    return slots;
}

}  // namespace

class QuestionPairs : public testing::TestWithParam<uint32_t> {};

TEST_P(QuestionPairs, InDifferentPositions) {
    const uint32_t first = GetParam();
    uint32_t seed = first * 1000;
    for (uint32_t second = first + 1; second <= 11; ++second) {
        for (const uint32_t a : boards()) {
            for (const uint32_t b : boards()) {
                rules::noise(++seed);
                rules::fit(first, a);
                rules::fit(second, b);
                for (const uint32_t slot : interesting_slots(a, b)) {
                    for (int question = 0; question < 3; ++question) {
                        compare(questions[question], slot);
                    }
                }
                ASSERT_FALSE(HasFailure()) << a << " at " << first << ", " << b << " at " << second;
            }
        }
        rules::unfit(second);
    }
}
INSTANTIATE_TEST_SUITE_P(FirstCard, QuestionPairs, testing::Range(5u, 11u),
                         testing::PrintToStringParamName());

TEST(Questions, EverySlotOfMixedBoards) {
    for (uint32_t seed = 0; seed < 24; ++seed) {
        Random random(seed);
        rules::noise(seed);
        for (const uint32_t card : rules::cards()) {
            refit(card, any_board(random));
        }
        rules::fit(14, 21620);  // never asked
        if (seed % 3 == 0) {    // an expander that does not answer
            platform().expanders.erase({3 + seed % 7, 0x21, 0, 0});
        }
        testing::internal::CaptureStdout();  // failed reads are printed
        for (uint32_t slot = 0; slot <= 202; ++slot) {
            for (const Question &question : questions) {
                compare(question, slot);
            }
        }
        testing::internal::GetCapturedStdout();
        ASSERT_FALSE(HasFailure()) << "seed " << seed;
    }
}

TEST(Questions, EveryFailedRead) {
    for (uint32_t seed = 100; seed < 106; ++seed) {
        Random random(seed);
        rules::noise(seed);
        for (const uint32_t card : rules::cards()) {
            refit(card, any_board(random));
        }
        testing::internal::CaptureStdout();
        for (const uint32_t slot :
             {0u, 1u, 2u, 9u, 20u, 25u, 30u, 50u, 51u, 53u, 57u, 61u, 99u, 101u}) {
            for (const Question &question : questions) {
                const size_t accesses = compare(question, slot);
                for (size_t failing = 1; failing <= accesses; ++failing) {
                    compare(question, slot, failing);
                }
            }
        }
        testing::internal::GetCapturedStdout();
        ASSERT_FALSE(HasFailure()) << "seed " << seed;
    }
}

TEST(Questions, SlotsAndZonesThatDoNotExistAskNothing) {
    rules::noise(1);
    for (const uint32_t card : rules::cards()) {
        rules::fit(card, 21598);
    }
    NvmeRoute route = {};
    uint8_t type = untouched;
    for (const uint32_t slot : {201u, 202u, 257u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        EXPECT_EQ(GetDiskOnlineStatus(slot), -1);
        EXPECT_EQ(GetDiskOnlineStatusExt(0, slot), -1);
        EXPECT_EQ(GetDiskType(slot, &type), -1);
        EXPECT_EQ(GetDiskTypeExt(0, slot, &type), -1);
        EXPECT_EQ(IsBackPanelU2NvmePresent(slot), 0u);
        EXPECT_EQ(IsBackPanelU2NvmePresentExt(0, slot), 0u);
        EXPECT_EQ(GetBackPanelNvmeI2CInfo(slot, &route), -1);
        EXPECT_EQ(GetBackPanelNvmeI2CInfoExt(0, slot, &route), -1);
    }
    for (const uint32_t zone : {1u, 2u, 256u, 0xFFFFFFFFu}) {
        for (const uint32_t slot : {0u, 1u, 24u}) {
            EXPECT_EQ(GetDiskOnlineStatusExt(zone, slot), -1);
            EXPECT_EQ(GetDiskTypeExt(zone, slot, &type), -1);
            EXPECT_EQ(IsBackPanelU2NvmePresentExt(zone, slot), 0u);
            EXPECT_EQ(GetBackPanelNvmeI2CInfoExt(zone, slot, &route), -1);
        }
    }
    EXPECT_EQ(type, untouched);
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST(Questions, NullsAskNothing) {
    rules::noise(1);
    rules::fit(10, 21598);
    EXPECT_EQ(hdd_gettype(1, nullptr), -1);
    EXPECT_EQ(GetDiskType(1, nullptr), -1);
    EXPECT_EQ(GetDiskTypeExt(0, 1, nullptr), -1);
    EXPECT_EQ(hdd_get_nvme_i2c_info(2, nullptr), -1);
    EXPECT_EQ(GetBackPanelNvmeI2CInfo(2, nullptr), -1);
    EXPECT_EQ(GetBackPanelNvmeI2CInfoExt(0, 2, nullptr), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
}

// ---- stated edge cases ----

TEST(QuestionsEdge, Slot201AsksNothingAndSlot200IsRouted) {
    rules::fit(5, 21604);
    EXPECT_EQ(GetDiskOnlineStatus(201), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_EQ(GetDiskOnlineStatus(200), -1);
    EXPECT_EQ(platform().calls.size(), 8u);
}

TEST(QuestionsEdge, APresentDiskEndsTheWalk) {
    rules::fit(5, 21604);
    rules::fit(6, 21605);
    rules::fit(7, 21605);
    rules::set_word(4, 0x21, 0xFFFC);
    EXPECT_EQ(hdd_onboard(53), 0);
    EXPECT_THAT(platform().calls,
                ElementsAre("ei2c_pca9535_get_word_value 3:0x20 0xFFFF",  // fitted?
                            "ei2c_pca9535_get_word_value 3:0x20 0xFFFF",  // with what?
                            "ei2c_pca9535_get_word_value 4:0x20 0xFFFF",
                            "ei2c_pca9535_get_word_value 4:0x20 0xFFFF",
                            "ei2c_pca9535_get_word_value 4:0x21 0xFFFF"));  // its bays
}

TEST(QuestionsEdge, AnUnknownBackplaneInTheLastConnectorHasTheLastWord) {
    rules::fit(6, 21605);
    rules::fit(11, 21600);
    rules::set_word(4, 0x21, 0xFFFF);
    EXPECT_EQ(hdd_onboard(53), -1);
    // The rear backplane's untyped bay would have answered 2.
    rules::set_word(4, 0x21, 0xFFFE);
    uint8_t type = untouched;
    EXPECT_EQ(hdd_gettype(53, &type), -1);
    EXPECT_EQ(type, DISK_SAS_SATA);
    rules::unfit(11);
    EXPECT_EQ(hdd_gettype(53, &type), 2);
    EXPECT_EQ(GetDiskType(53, &type), 2);
    EXPECT_EQ(IsBackPanelU2NvmePresent(53), 0u);
}

TEST(QuestionsEdge, ConnectorOfTheMidBayIsNeverAsked) {
    rules::fit(14, 21620);
    rules::set_word(10, 0x21, 0);
    EXPECT_EQ(hdd_onboard(99), -1);
    uint8_t type = 0;
    EXPECT_EQ(hdd_gettype(99, &type), -1);
    EXPECT_THAT(platform().calls_of("ei2c_pca9535_get_word_value 10:"), IsEmpty());
    rules::fit(5, 21620);
    EXPECT_EQ(hdd_onboard(99), 0);
}

TEST(QuestionsEdge, APresentSasDiskIsNoNvme) {
    rules::fit(10, 21598);
    rules::noise(1);
    rules::set_bay(rules::model_named("bpfd"), 8, 2, 0);
    EXPECT_EQ(IsBackPanelU2NvmePresent(2), 0u);
    rules::set_bay(rules::model_named("bpfd"), 8, 2, 1);
    EXPECT_EQ(IsBackPanelU2NvmePresent(2), 1u);
    rules::set_bay(rules::model_named("bpfd"), 8, 2, 2);  // present, type not stated
    EXPECT_EQ(GetDiskOnlineStatus(2), 0);
    EXPECT_EQ(IsBackPanelU2NvmePresent(2), 0u);
    NvmeRoute route = {};
    EXPECT_EQ(GetBackPanelNvmeI2CInfo(2, &route), -1);
    EXPECT_EQ(hdd_get_nvme_i2c_info(2, &route), 0);
    EXPECT_STREQ(route.name, "NVME1");
}

TEST(QuestionsEdge, NothingIsCached) {
    rules::fit(10, 21743);
    rules::set_word(8, 0x21, 0xFFFF);
    EXPECT_EQ(hdd_onboard(1), -1);
    rules::set_word(8, 0x21, 0xFFFC);
    EXPECT_EQ(hdd_onboard(1), 0);
    rules::unfit(10);
    EXPECT_EQ(hdd_onboard(1), -1);
    rules::fit(9, 21743);
    EXPECT_EQ(hdd_onboard(1), 0);
}
