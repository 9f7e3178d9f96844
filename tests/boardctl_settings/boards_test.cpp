// soc within boardsim: registers and /dev/mem of each simulated board.
#include <gmock/gmock.h>

#include "boardctl/programs.h"

using boardctl_test::Json;
using boardctl_test::Outcome;

namespace {

Outcome on_board(const std::string &board, const std::vector<std::string> &arguments) {
    return boardctl_test::on_board(boardctl_test::board_file(board), arguments);
}

struct Strap {
    const char *board;
    int selection;
    Json size_mib;
    Json first_base;
};

class SocOfBoards : public testing::TestWithParam<Strap> {};

TEST_P(SocOfBoards, IsAnswered) {
    const Strap &strap = GetParam();
    const Outcome outcome = on_board(strap.board, {"soc", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const Json document = outcome.json();
    EXPECT_EQ(document["reset_status"],
              Json::parse(R"({"value": "0x00000001", "ac_power_on": true})"));
    EXPECT_EQ(document["video_memory"]["selection"], strap.selection);
    EXPECT_EQ(document["video_memory"]["size_mib"], strap.size_mib);
    const Json &bases = document["video_memory"]["base_addresses"];
    EXPECT_EQ(bases.is_null() ? Json() : bases[0], strap.first_base);
}

INSTANTIATE_TEST_SUITE_P(Boards, SocOfBoards,
                         testing::Values(Strap{"empty", 1, 16, "0x9C000000"},
                                         Strap{"tarn-12bay", 1, 16, "0x9C000000"},
                                         Strap{"tarn-24bay-fell", 3, 64, "0x9E000000"},
                                         Strap{"tarn-maximal", 3, 64, "0x9E000000"},
                                         Strap{"broken-identifiers", 0, nullptr, nullptr}),
                         [](const auto &strap) {
                             std::string name = strap.param.board;
                             for (char &c : name) {
                                 c = c == '-' ? '_' : c;
                             }
                             return name;
                         });

TEST(Boards, SettingsOfAFreshOneAreAnswered) {
    const Outcome outcome = on_board("tarn-12bay", {"config", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_GT(outcome.json()["settings"].size(), 20u);
}

}  // namespace
