// The program itself on every simulated board that comes with it.
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "boardctl/programs.h"
#include "boardctl/texts.h"

using boardctl_test::board_file;
using boardctl_test::contents;
using boardctl_test::End;
using boardctl_test::Json;
using boardctl_test::on_board;
using boardctl_test::Outcome;
using boardctl_test::Setting;
using testing::HasSubstr;
using testing::Not;

namespace {

// What each board file says, read by a person.
struct Board {
    std::string name;
    int status;  // of identity
    const char *hard_id;
    const char *raw_value;
    Json t_variant;
    Json combination;
    Json backplane_id;
    int intrusion;
    std::set<int> cpus;
    std::set<int> fitted;
    std::map<int, std::string> board_ids;  // by card key
};

const std::vector<Board> all_boards = {
    {"empty", 0, "0x544010", "0x544010", false, nullptr, nullptr, 0, {}, {}, {}},
    {"tarn-12bay",
     0,
     "0x544010",
     "0x544010",
     false,
     1,
     "0x545B",
     0,
     {0, 1},
     {1, 5, 6, 7, 8, 10, 16, 17, 18, 19, 20, 22, 25, 27, 28},
     {{1, "0x5450"},
      {5, "0x5464"},
      {6, "0x5469"},
      {7, "0x5467"},
      {8, "0x5464"},
      {10, "0x545B"},
      {27, "0x546C"},
      {28, "0x5481"}}},
    {"tarn-24bay-fell",
     0,
     "0x544012",
     "0xD44012",
     false,
     3,
     "0x546F",
     0,
     {0, 1},
     {6, 7, 10, 17, 18, 19, 20, 22, 27, 29},
     {{6, "0x546A"}, {7, "0x5468"}, {10, "0x546F"}}},
    {"tarn-maximal",
     0,
     "0x544031",
     "0x544031",
     true,
     3,
     "0x5459",
     1,
     {0, 1},
     {1, 5, 6, 7, 8, 9, 10, 11, 14, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 27, 28, 29},
     {{1, "0x5450"},
      {5, "0x5460"},
      {6, "0x546A"},
      {7, "0x5468"},
      {8, "0x546B"},
      {9, "0x5459"},
      {10, "0x5459"},
      {11, "0x5459"},
      {14, "0x5474"},
      {23, "0x5481"},
      {24, "0x5482"},
      {25, "0x546C"},
      {27, "0x546C"},
      {28, "0x546C"},
      {29, "0x546C"},
      {31, "0x5489"},
      {32, "0x548A"}}},
    {"tarn-liquid",
     0,
     "0x544010",
     "0x544010",
     false,
     0,
     "0x5459",
     0,
     {0, 1},
     {7, 9, 14, 17, 18, 19, 20, 22, 28},
     // the kit's identity is read as that of a card in its place
     {{7, "0x5468"}, {9, "0x5459"}, {14, "0x5479"}}},
    {"broken-identifiers",
     1,
     nullptr,
     nullptr,
     nullptr,
     nullptr,
     "0x5464",
     0,
     {0},
     {1, 8, 17, 28},
     {{8, "0x5464"}}},
};

Json text_or_null(const char *text) { return text != nullptr ? Json(text) : Json(); }

class EveryBoard : public testing::TestWithParam<Board> {};

TEST_P(EveryBoard, Identity) {
    const Board &board = GetParam();
    const Outcome outcome = on_board(board_file(board.name), {"identity", "--json"});
    EXPECT_EQ(outcome.status, board.status) << outcome.err;
    const Json json = outcome.json();
    EXPECT_EQ(json["main_board"]["hard_id"], text_or_null(board.hard_id));
    EXPECT_EQ(json["main_board"]["raw_value"], text_or_null(board.raw_value));
    EXPECT_EQ(json["main_board"]["t_variant"], board.t_variant);
    EXPECT_EQ(json["backplanes"]["combination"], board.combination);
    EXPECT_EQ(json["backplanes"]["board_id"], board.backplane_id);
    EXPECT_EQ(json["state"]["intrusion"], board.intrusion);
    EXPECT_EQ(json["state"]["ocp_card_fitted"], board.fitted.contains(22));
    EXPECT_EQ(json["failures"].empty(), board.status == 0);
}

TEST_P(EveryBoard, CardsAndCpus) {
    const Board &board = GetParam();
    const Outcome outcome = on_board(board_file(board.name), {"report", "--json"});
    EXPECT_EQ(outcome.status, board.status) << outcome.err;
    const Json json = outcome.json();
    std::set<int> fitted;
    std::map<int, std::string> board_ids;
    for (const Json &row : json["cards"]["cards"]) {
        if (row["fitted"] == true) {
            fitted.insert(row["key"].get<int>());
        }
        if (row["identifier"].is_object() && row["identifier"]["board_id"].is_string()) {
            board_ids[row["key"].get<int>()] = row["identifier"]["board_id"];
        }
    }
    EXPECT_EQ(fitted, board.fitted);
    EXPECT_EQ(board_ids, board.board_ids);
    std::set<int> cpus;
    for (const Json &cpu : json["cpus"]["cpus"]) {
        if (cpu["fitted"] == true) {
            cpus.insert(cpu["index"].get<int>());
        }
    }
    EXPECT_EQ(cpus, board.cpus);
}

INSTANTIATE_TEST_SUITE_P(Boards, EveryBoard, testing::ValuesIn(all_boards), [](const auto &board) {
    std::string name = board.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

// What a person reads, whole.
class Golden : public testing::TestWithParam<const char *> {};

TEST_P(Golden, Table) {
    const Outcome outcome = on_board(board_file("tarn-12bay"), {GetParam()});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    boardctl_test::expect_golden(std::string("tarn-12bay-") + GetParam() + ".txt", outcome.out);
    EXPECT_THAT(outcome.out, Not(HasSubstr("\x1b")));
}

INSTANTIATE_TEST_SUITE_P(Tarn12Bay, Golden,
                         testing::Values("identity", "maintenance", "cards", "cpus", "leds",
                                         "netcards", "raidcards", "fans", "cooling", "liquid"),
                         [](const auto &command) { return command.param; });

TEST(Program, ColoursItsTablesOnATerminal) {
    const Outcome outcome = on_board(board_file("tarn-12bay"), {"cards"}, {.out = End::terminal});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, HasSubstr("\x1b[32myes\x1b[0m"));
}

TEST(Program, HandsItsStatusOn) {
    EXPECT_EQ(on_board(board_file("empty"), {"nonsense"}).status, 2);
    EXPECT_EQ(on_board(board_file("empty"), {"--help"}).status, 0);
    EXPECT_EQ(on_board(board_file("empty"), {"identity"}).status, 0);
}

TEST(Program, AnEditedBoardAnswersOtherwise) {
    std::string text = contents(board_file("tarn-12bay"));
    const auto change = [&](const std::string &from, const std::string &to) {
        const std::size_t at = text.find(from);
        ASSERT_NE(at, std::string::npos) << from;
        text.replace(at, from.size(), to);
    };
    const auto erase = [&](const std::string &from, const std::string &to) {
        const std::size_t at = text.find(from);
        text.erase(at, text.find(to, at) - at);
    };
    erase("disks = [", "\n[[");
    erase("# ---- cables", "# ---- fans");
    change("bom = 0", "bom = 1");
    change("model = \"BPFC\"", "model = \"BPFD\"");
    char path[] = "/tmp/boardctl-board-XXXXXX";
    const int file = mkstemp(path);
    ASSERT_GE(file, 0);
    close(file);
    std::ofstream(path) << text;
    const Json json = on_board(path, {"identity", "--json"}).json();
    std::remove(path);
    EXPECT_EQ(json["main_board"]["t_variant"], true);
    EXPECT_EQ(json["backplanes"]["combination"], 4);
}

}  // namespace
