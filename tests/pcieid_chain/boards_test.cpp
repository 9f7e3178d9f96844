// The whole chain on fitted boards, against lists that were worked out by hand.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "boardfeatures/pcieid_enum.h"
#include "fitted_board.h"
#include "support/pcieid_lines.h"

using testing::ElementsAreArray;

namespace {

class Boards : public testing::TestWithParam<const char *> {
protected:
    Boards() { std::memset(static_cast<void *>(work.get()), 0xA5, sizeof(*work)); }

    std::vector<std::string> items() const { return item_lines(*work, *cfg); }

    std::unique_ptr<pcieid_workspace> work = std::make_unique<pcieid_workspace>();
    std::unique_ptr<pciecfg_list> cfg = std::make_unique<pciecfg_list>();
};

TEST_P(Boards, YieldTheirList) {
    const FittedBoard board = fit_board(GetParam());
    EXPECT_EQ(pcieid_identify(work.get(), cfg.get()), 0);
    EXPECT_THAT(items(), ElementsAreArray(board.items));
    EXPECT_THAT(uplink_lines(*work), ElementsAreArray(board.uplinks));
    EXPECT_EQ(scripted::platform().calls.size(), board.calls);
    // each stated message, in this order among others
    auto expected = board.log.begin();
    for (const std::string &line : said()) {
        if (expected != board.log.end() && squeezed(line) == *expected) {
            ++expected;
        }
    }
    EXPECT_TRUE(expected == board.log.end()) << *expected;
}

// A list as it is stored: names rebuilt from type and number, nothing reserved, a clean tail.
TEST_P(Boards, AreAsAStoredListReadsBack) {
    fit_board(GetParam());
    std::memset(static_cast<void *>(cfg.get()), 0x5A, sizeof(*cfg));
    EXPECT_EQ(pcieid_identify(work.get(), cfg.get()), 0);
    ASSERT_LE(cfg->count, PCIECFG_MAX_ITEMS);
    const auto decoded = std::make_unique<pciecfg_list>();
    decoded->count = cfg->count;
    for (uint32_t i = 0; i < cfg->count; ++i) {
        uint8_t bytes[PCIECFG_ITEM_SIZE];
        EXPECT_EQ(pciecfg_item_encode(&cfg->items[i], bytes), 0);
        EXPECT_EQ(pciecfg_item_decode(bytes, &decoded->items[i]), 0);
    }
    EXPECT_EQ(std::memcmp(cfg.get(), decoded.get(), sizeof(*cfg)), 0);
    EXPECT_EQ(std::memcmp(cfg.get(), &work->identified, sizeof(*cfg)), 0);
}

// What is already announced reads back the same.
TEST_P(Boards, AgainGiveTheSame) {
    fit_board(GetParam());
    EXPECT_EQ(pcieid_identify(work.get(), cfg.get()), 0);
    const auto first = items();
    const auto calls = scripted::platform().calls;
    scripted::platform().clear_record();
    EXPECT_EQ(pcieid_identify(work.get(), &work->identified), 0);
    *cfg = work->identified;
    EXPECT_THAT(items(), ElementsAreArray(first));
    EXPECT_THAT(scripted::platform().calls, ElementsAreArray(calls));
}

INSTANTIATE_TEST_SUITE_P(Fitted, Boards, testing::ValuesIn(board_names), [](const auto &board) {
    std::string name = board.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

}  // namespace
