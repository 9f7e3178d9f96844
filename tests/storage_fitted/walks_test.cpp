// The lists over all connectors and what they remember.
#include <array>

#include "storage_fitted/support.h"

using rules::Reading;
using scripted::platform;
using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// One of the two walks as a person would tell it, with a memory of its own.
struct Walk {
    bool disks;                           // SAS/SATA rather than U.2
    std::array<bool, 7> seen = {};        // once fitted, always fitted
    std::array<uint32_t, 7> boards = {};  // 0: not read yet
    uint32_t asked = 0;

    std::vector<uint32_t> bays = {};  // appended by the last call
    std::string trace = {};

    void call(Reading &reading) {
        bays.clear();
        trace.clear();
        for (uint32_t position = 0; position < 7; ++position) {
            const uint32_t card = 5 + position;
            if (!seen[position]) {
                if (asked == 21) {
                    continue;
                }
                ++asked;
                seen[position] = reading.fitted(card);
            }
            if (!seen[position]) {
                continue;
            }
            if (boards[position] == 0 || boards[position] == rules::no_board) {
                boards[position] = reading.board(card);
            }
            char line[80];
            std::snprintf(line, sizeof(line), "cardid[%u] = 0x%x, %s = %u\n", position,
                          boards[position], disks ? "hdd_try_count" : "try_count", asked);
            trace += line;
            const rules::Model *model = rules::model_of(boards[position]);
            if (model == nullptr || model->listed == 0) {
                continue;
            }
            if (const auto found = reading.listed(*model, card, disks ? 0 : 1)) {
                bays.insert(bays.end(), found->begin(), found->end());
            }
        }
    }
};

// Asks the library and the plain walk once.
size_t compare(Walk &walk, size_t failing = 0) {
    Reading reading;
    reading.fail_call = failing;
    walk.call(reading);
    platform().fail_call = failing;
    platform().calls.clear();
    if (walk.disks) {
        HddList list, expected;
        std::memset(&list, untouched, sizeof(list));
        list.count = 1;  // appended to
        expected = list;
        for (const uint32_t bay : walk.bays) {
            expected.entries[expected.count++] = {0, static_cast<uint8_t>(bay)};
        }
        EXPECT_EQ(HDD_GetOnlinePdList(&list), 0);
        EXPECT_EQ(std::memcmp(&list, &expected, sizeof(list)), 0);
    } else {
        U2NvmeList list, expected;
        std::memset(&list, untouched, sizeof(list));
        list.count = 1;
        expected = list;
        for (const uint32_t bay : walk.bays) {
            expected.entries[expected.count++] = {bay, {0, 0}};
        }
        EXPECT_EQ(hdd_get_u2_nvme_list(&list), 0);
        EXPECT_EQ(std::memcmp(&list, &expected, sizeof(list)), 0);
    }
    EXPECT_EQ(platform().calls, reading.calls);
    platform().fail_call.reset();
    return reading.calls.size();
}

}  // namespace

class WalkPairs : public testing::TestWithParam<uint32_t> {};

TEST_P(WalkPairs, InDifferentPositions) {
    const uint32_t first = GetParam();
    uint32_t seed = first * 1000;
    for (uint32_t second = first + 1; second <= 11; ++second) {
        for (const rules::Model &a : rules::models()) {
            for (const rules::Model &b : rules::models()) {
                rules::fit(first, a.board_id);
                rules::fit(second, b.board_id);
                rules::noise(++seed);
                in_child([&] {  // what is learned of a pair is kept
                    Walk nvmes = {.disks = false}, disks = {.disks = true};
                    compare(nvmes);
                    compare(disks);
                });
                ASSERT_FALSE(HasFailure())
                    << a.name << " at " << first << ", " << b.name << " at " << second;
            }
        }
        rules::unfit(second);
    }
}
INSTANTIATE_TEST_SUITE_P(FirstCard, WalkPairs, testing::Range(5u, 11u),
                         testing::PrintToStringParamName());

TEST(Walks, BackplanesThatComeAndGo) {
    for (uint32_t seed = 0; seed < 40; ++seed) {
        in_child([&] {
            Random random(seed);
            Walk nvmes = {.disks = false}, disks = {.disks = true};
            testing::internal::CaptureStdout();
            for (int step = 0; step < 12; ++step) {
                rules::noise(seed * 100 + step);
                for (const uint32_t card : rules::cards()) {
                    if (random.below(3) == 0) {
                        refit(card, any_board(random));
                    }
                }
                if (random.below(3) != 0) {
                    compare(nvmes, random.below(12));
                }
                if (random.below(3) != 0) {
                    compare(disks, random.below(12));
                }
            }
            testing::internal::GetCapturedStdout();
        });
        ASSERT_FALSE(HasFailure()) << "seed " << seed;
    }
}

TEST(Walks, EveryFailedRead) {
    rules::noise(5);
    for (uint32_t i = 0; i < 7; ++i) {
        rules::fit(5 + i, rules::models()[i].board_id);
    }
    for (const bool of_disks : {false, true}) {
        size_t accesses = 0;
        {
            Walk walk = {.disks = of_disks};
            Reading reading;
            walk.call(reading);
            accesses = reading.calls.size();
        }
        ASSERT_EQ(accesses, 14u + 12u);
        for (size_t failing = 1; failing <= accesses; ++failing) {
            in_child([&] {
                testing::internal::CaptureStdout();
                Walk walk = {.disks = of_disks};
                compare(walk, failing);
                compare(walk);  // what failed is asked again, the rest is known
                compare(walk);
                testing::internal::GetCapturedStdout();
            });
        }
        ASSERT_FALSE(HasFailure());
    }
}

TEST(WalksEdge, AfterTwentyOneQuestionsNoConnectorIsAskedAgain) {
    U2NvmeList nvmes = {};
    for (int call = 0; call < 3; ++call) {
        platform().clear_record();
        EXPECT_EQ(GetAllU2NVMeSlotInfo(&nvmes), 0);
        EXPECT_EQ(platform().calls.size(), 7u);
    }
    rules::fit(10, 21743);
    rules::set_word(8, 0x21, 0x5555);
    platform().clear_record();
    EXPECT_EQ(GetAllU2NVMeSlotInfo(&nvmes), 0);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_EQ(nvmes.count, 0u);

    // The other list has questions of its own.
    rules::set_word(8, 0x21, 0);
    HddList disks = {};
    EXPECT_EQ(HDD_CollectAllPdListFromHardSignal(&disks), 0);
    EXPECT_EQ(disks.count, 8u);
    EXPECT_EQ(platform().calls.size(), 9u);
}

TEST(WalksEdge, TheTwentyFirstQuestionIsStillAsked) {
    // Six connectors stay empty: 7 + 6 + 6 questions, then two of the fourth call.
    rules::fit(5, 21604);
    rules::set_word(3, 0x21, 0xFFFF);
    U2NvmeList nvmes = {};
    const size_t expected[] = {7 + 1 + 1, 6 + 1, 6 + 1, 2 + 1, 1, 1};
    for (const size_t accesses : expected) {
        platform().clear_record();
        EXPECT_EQ(hdd_get_u2_nvme_list(&nvmes), 0);
        EXPECT_EQ(platform().calls.size(), accesses);
    }
}

TEST(WalksEdge, ALateBackplaneIsListedWhileQuestionsAreLeft) {
    HddList disks = {};
    HDD_GetOnlinePdList(&disks);
    HDD_GetOnlinePdList(&disks);
    rules::fit(7, 21605);
    rules::set_word(5, 0x21, 0xFFF0);
    HDD_GetOnlinePdList(&disks);
    EXPECT_EQ(disks.count, 2u);
    for (int call = 0; call < 5; ++call) {
        disks = {};
        HDD_GetOnlinePdList(&disks);
        EXPECT_EQ(disks.count, 2u);  // known for good
    }
}

TEST(WalksEdge, AKnownBoardIdIsNotReadAgain) {
    for (uint32_t card = 5; card <= 11; ++card) {
        rules::fit(card, 21605);
        rules::set_word(card - 2, 0x21, 0xFFFD);
    }
    U2NvmeList nvmes = {};
    hdd_get_u2_nvme_list(&nvmes);
    EXPECT_EQ(nvmes.count, 7u);
    platform().clear_record();
    hdd_get_u2_nvme_list(&nvmes);
    EXPECT_EQ(nvmes.count, 14u);
    EXPECT_THAT(platform().calls, ElementsAre("ei2c_pca9535_get_word_value 3:0x21 0xFFFF",
                                              "ei2c_pca9535_get_word_value 4:0x21 0xFFFF",
                                              "ei2c_pca9535_get_word_value 5:0x21 0xFFFF",
                                              "ei2c_pca9535_get_word_value 6:0x21 0xFFFF",
                                              "ei2c_pca9535_get_word_value 7:0x21 0xFFFF",
                                              "ei2c_pca9535_get_word_value 8:0x21 0xFFFF",
                                              "ei2c_pca9535_get_word_value 9:0x21 0xFFFF"));
}

TEST(WalksEdge, AFailedBackplaneDoesNotKeepTheOthersFromTheList) {
    rules::fit(5, 21604);  // its expander does not answer
    rules::fit(10, 21743);
    rules::set_word(8, 0x21, 0x5555);
    U2NvmeList nvmes = {};
    const std::string text = printed([&] { EXPECT_EQ(hdd_get_u2_nvme_list(&nvmes), 0); });
    EXPECT_EQ(nvmes.count, 8u);
    EXPECT_THAT(text, testing::MatchesRegex(
                          "\\[_bpra_get_u2_nvme_list [0-9]+\\] bus 3 get 9535 failed\\.\n"));
}

TEST(Walks, NullsAskNothing) {
    rules::fit(5, 21604);
    EXPECT_EQ(hdd_get_u2_nvme_list(nullptr), -1);
    EXPECT_EQ(GetAllU2NVMeSlotInfo(nullptr), -1);
    EXPECT_EQ(HDD_GetOnlinePdList(nullptr), -1);
    EXPECT_EQ(HDD_CollectAllPdListFromHardSignal(nullptr), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST(Walks, TracesWithTheirMarkerFiles) {
    rules::fit(5, 21604);
    rules::fit(8, 21600);  // not known: traced all the same
    rules::fit(10, 21743);
    rules::fit(11, 21620);
    rules::noise(3);
    Walk nvmes = {.disks = false}, disks = {.disks = true};
    EXPECT_EQ(printed([&] {
                  in_child([&] {
                      Walk quiet = {.disks = false}, quiet_disks = {.disks = true};
                      compare(quiet);
                      compare(quiet_disks);
                  });
              }),
              "");
    write_file("/var/nvmetest", "");
    for (int call = 0; call < 6; ++call) {
        const std::string text = printed([&] { compare(nvmes); });
        EXPECT_EQ(text, nvmes.trace);
        EXPECT_EQ(printed([&] {
                      if (call == 0) {
                          compare(disks);
                      }
                  }),
                  "");
    }
    EXPECT_EQ(nvmes.asked, 21u);
    EXPECT_EQ(nvmes.trace,
              "cardid[0] = 0x5464, try_count = 19\ncardid[3] = 0x5460, try_count = 21\n"
              "cardid[5] = 0x54ef, try_count = 21\ncardid[6] = 0x5474, try_count = 21\n");
    unlink("/var/nvmetest");
    write_file("/var/oobdbg", "");
    const std::string text = printed([&] { compare(disks); });
    EXPECT_THAT(
        text, testing::MatchesRegex("cardid\\[0\\] = 0x5464, hdd_try_count = 7\n"
                                    "\\[bpra_get_hdd_list [0-9]+\\] bus = 3, iovalue =  [0-9a-f]+\n"
                                    "\\[bpra_get_hdd_list [0-9]+\\] slotCounts = [0-9]+\n"
                                    "cardid\\[3\\] = 0x5460, hdd_try_count = 9\n"
                                    "cardid\\[5\\] = 0x54ef, hdd_try_count = 10\n"
                                    "\\[bpfb_get_hdd_list [0-9]+\\] bus = 8, iovalue =  [0-9a-f]+\n"
                                    "\\[bpfb_get_hdd_list [0-9]+\\] slotCounts = [0-9]+\n"
                                    "cardid\\[6\\] = 0x5474, hdd_try_count = 10\n"));
    EXPECT_EQ(printed([&] { compare(nvmes); }), "");
}
