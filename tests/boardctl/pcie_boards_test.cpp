// boardctl pcie, the program itself, on the boards that come with it.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <set>

#include "boardctl/programs.h"
#include "boardctl/texts.h"

using boardctl_test::board_file;
using boardctl_test::contents;
using boardctl_test::End;
using boardctl_test::expect_golden;
using boardctl_test::Json;
using boardctl_test::on_board;
using boardctl_test::Outcome;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

Outcome pcie(const std::string &board, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "pcie");
    return on_board(board_file(board), arguments);
}

// What a person reads, whole.
class PcieOnBoard : public testing::TestWithParam<const char *> {};

TEST_P(PcieOnBoard, Table) {
    const Outcome outcome = pcie(GetParam(), {});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    expect_golden(std::string(GetParam()) + "-pcie.txt", outcome.out);
}

// The parts are the whole, and the report has it all.
TEST_P(PcieOnBoard, PartsAndReport) {
    const Json whole = pcie(GetParam(), {"--json"}).json();
    std::set<std::string> keys;
    for (const char *part : {"slots", "lanes", "cables"}) {
        const Outcome outcome = pcie(GetParam(), {part, "--json"});
        EXPECT_EQ(outcome.status, 0) << part;
        const Json json = outcome.json();
        for (const auto &[key, value] : json.items()) {
            EXPECT_EQ(value, whole[key]) << part << ' ' << key;
            keys.insert(key);
        }
    }
    EXPECT_THAT(keys, ElementsAre("cables", "failures", "lanes", "slots", "sockets"));
    const Json report = on_board(board_file(GetParam()), {"report", "--json"}).json()["pcie"];
    for (const std::string &key : keys) {
        if (key != "failures") {
            EXPECT_EQ(report[key], whole[key]) << key;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Shipped, PcieOnBoard,
                         testing::Values("empty", "tarn-12bay", "tarn-24bay-fell", "tarn-24nvme",
                                         "tarn-retimer", "tarn-miscabled", "tarn-maximal"),
                         [](const auto &board) {
                             std::string name = board.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

Json named(const Json &rows, const std::string &name) {
    const auto row = std::find_if(rows.begin(), rows.end(),
                                  [&name](const Json &each) { return each["name"] == name; });
    return row != rows.end() ? *row : Json();
}

TEST(PcieBoards, SlotsTellConnectorRiserUplinkAndSocket) {
    const Json slots = pcie("tarn-maximal", {"slots", "--json"}).json()["slots"];
    EXPECT_EQ(named(slots, "PCIe SLOT 1")["origin"], Json::parse(R"({
        "connector": null, "riser_board_id": null, "interface": "R I2C 4", "device": "BPRE",
        "device_board_id": "0x5460",
        "uplinks": [{"uplink": 0, "name": "SLIMLINE A", "socket": "CPU2 SLIMLINE E"},
                    {"uplink": 1, "name": "SLIMLINE B", "socket": "CPU2 SLIMLINE F"}]})"));
    EXPECT_EQ(named(slots, "HDD SLOT 22"), Json::parse(R"({
        "name": "HDD SLOT 22", "type": "disk", "number": 22, "cpu": 1, "x1_start": 20, "width": 4,
        "vpp": {"address": "0x20", "port": 0},
        "origin": {"connector": null, "riser_board_id": null, "interface": "F I2C 3",
                   "device": "BPFA", "device_board_id": "0x5459",
                   "uplinks": [{"uplink": 3, "name": "SLIMLINE D",
                                "socket": "Retimer's SLIMLINE 1 @ PCIeSlot 7"}]}})"));
    const Json retimer = pcie("tarn-retimer", {"slots", "--json"}).json()["slots"];
    EXPECT_EQ(named(retimer, "PCIe SLOT 8")["origin"], Json::parse(R"({
        "connector": "RISER3", "riser_board_id": "0x5467", "interface": null, "device": null,
        "device_board_id": null, "uplinks": []})"));
}

TEST(PcieBoards, NoLaneOfTheMaximalBoardIsFree) {
    const Outcome outcome = pcie("tarn-maximal", {"lanes"});
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("CPU 0, 0 of 64 lanes free\n"),
                                   HasSubstr("\n  [15][14][13][12][8=][9=][10][11][ocp 1=][mezz 1]"
                                             "[0=][1=][2=][3=]\n"),
                                   HasSubstr("CPU 1, 0 of 64 lanes free\n"),
                                   HasSubstr("\n  [16][17][18][19][23][22][21][20][====slot 1====]"
                                             "[4=][5=][6=][7=]\n")));
}

TEST(PcieBoards, CablesTellWhatIsWrongWithEach) {
    const Json json = pcie("tarn-miscabled", {"cables", "--json"}).json();
    std::vector<std::string> states;
    for (const Json &cable : json["cables"]) {
        states.push_back(cable["interface"].get<std::string>() + ' ' +
                         cable["name"].get<std::string>() + ' ' +
                         cable["state"].get<std::string>());
    }
    EXPECT_THAT(states, ElementsAre("F I2C 1 SLIMLINE A bound", "F I2C 1 SLIMLINE B no_word",
                                    "F I2C 1 SLIMLINE C bound", "F I2C 1 SLIMLINE D no_index",
                                    "F I2C 2 SLIMLINE A bound", "F I2C 2 SLIMLINE B bound",
                                    "F I2C 2 SLIMLINE C no_word", "F I2C 2 SLIMLINE D no_word",
                                    "R I2C 4 SLIMLINE A bound", "R I2C 4 SLIMLINE B bound"));
    EXPECT_EQ(named(json["sockets"], "CPU2 SLIMLINE E")["uplinks"],
              Json::array({"F I2C 2 SLIMLINE A", "F I2C 2 SLIMLINE B"}));
    EXPECT_EQ(named(json["sockets"], "CPU1 SLIMLINE A")["uplinks"],
              Json::array({"F I2C 1 SLIMLINE C"}));
    EXPECT_EQ(named(json["sockets"], "CPU1 SLIMLINE B")["uplinks"], Json::array());
}

// ---- the flash, which the board keeps from one process to the next ----

class PcieFlashOnBoard : public testing::Test {
protected:
    PcieFlashOnBoard() {
        char path[] = "/tmp/boardctl-state-XXXXXX";
        state_ = mkdtemp(path);
    }
    ~PcieFlashOnBoard() override { EXPECT_EQ(std::system(("rm -rf " + state_).c_str()), 0); }
    Outcome ask(std::vector<std::string> arguments, const std::vector<std::string> &options = {},
                const boardctl_test::Setting &setting = {}) {
        arguments.insert(arguments.begin(), "pcie");
        std::vector<std::string> all = {"--state", state_};
        all.insert(all.end(), options.begin(), options.end());
        return on_board(board_file("tarn-12bay"), arguments, setting, all);
    }

    std::string state_;
};

TEST_F(PcieFlashOnBoard, FromStoreToErase) {
    EXPECT_EQ(ask({"stored"}).status, 1);  // delivered empty
    EXPECT_EQ(ask({"verify"}).status, 1);

    const Json stored = ask({"store", "--yes", "--json"}).json();
    EXPECT_EQ(stored["written"], true);
    EXPECT_EQ(stored["stored"], true);
    EXPECT_EQ(stored["slots"].size(), 23u);
    const Outcome verified = ask({"verify", "--json"});
    EXPECT_EQ(verified.status, 0) << verified.err;
    EXPECT_EQ(verified.json(), Json::parse(R"({"same": true, "identified": 23, "stored": 23,
                                               "differences": [], "failures": []})"));
    EXPECT_EQ(ask({"store", "--yes", "--json"}).json()["written"], false);
    EXPECT_EQ(ask({"stored", "--json"}).json()["slots"], stored["slots"]);

    // HDD SLOT 61: CPU 0, lane 0, x4, type 3, VPP 0x20 port 1
    const Json pages = ask({"dump", "24", "--json"}).json()["pages"];
    EXPECT_EQ(pages[0]["words"][0], "0x0110");
    EXPECT_EQ(pages[0]["words"][1], "0x0017");
    EXPECT_EQ(pages[0]["words"][4], "0x5043");
    EXPECT_EQ(pages[0]["words"][5], "0x4945");
    EXPECT_EQ(pages[1]["words"], Json::parse(R"(["0x0000", "0x0400", "0x033D", "0xA000", "0x0000",
                                                 "0x0000", "0x0000", "0x0000"])"));
    const std::string file = state_ + "/pages";
    EXPECT_EQ(ask({"dumpfile", file, "--json"}).json()["bytes"], 32736);
    EXPECT_EQ(contents(file).substr(0, 12),
              std::string("\1\20\0\27", 4) + contents(file).substr(4, 4) + "PCIE");

    EXPECT_EQ(ask({"erase", "--yes", "--json"}).json()["erased"], true);
    EXPECT_EQ(ask({"verify"}).status, 1);
    EXPECT_EQ(ask({"dump", "1", "--json"}).json()["pages"][0]["words"][0], "0xFFFF");
}

TEST_F(PcieFlashOnBoard, FaultsOfTheFlashFail) {
    ASSERT_EQ(ask({"store", "-y"}).status, 0);
    const std::vector<std::string> silent = {"--fault", "register=0x344"};
    for (const std::vector<std::string> &command : {std::vector<std::string>{"store", "-y"},
                                                    {"stored"},
                                                    {"verify"},
                                                    {"dump", "2"},
                                                    {"dumpfile", state_ + "/pages"},
                                                    {"erase", "-y"}}) {
        EXPECT_EQ(ask(command, silent).status, 1) << command[0];
    }
    EXPECT_EQ(ask({"verify"}).status, 0);  // none of them has changed it
}

// Two hundred pages take some two seconds.
TEST_F(PcieFlashOnBoard, LongOperationsShowHowFarTheyAreOnATerminal) {
    const Outcome dump = ask({"dump", "200"}, {"--real-time"}, {.err = End::terminal});
    EXPECT_EQ(dump.status, 0);
    EXPECT_THAT(dump.err, testing::ContainsRegex(
                              "^\r\x1b\\[KReading the flash \\([1-9][0-9]* of 200 pages, 1 s\\)"));
    EXPECT_THAT(dump.err, testing::EndsWith("\r\x1b[K"));
    EXPECT_THAT(dump.out, Not(HasSubstr("Reading")));
    EXPECT_EQ(std::count(dump.out.begin(), dump.out.end(), '\n'), 202);

    EXPECT_EQ(ask({"dump", "200"}, {"--real-time"}).err, "");  // not for a program
}

TEST_F(PcieFlashOnBoard, ErasingShowsThatItGoesOn) {
    const Outcome erase = ask({"erase", "--yes"}, {"--real-time"}, {.err = End::terminal});
    EXPECT_EQ(erase.status, 0);
    EXPECT_THAT(erase.err, HasSubstr("\r\x1b[KErasing the flash (7 s)"));
    EXPECT_THAT(erase.err, HasSubstr("\r\x1b[KReading the flash (1 s)"));
    EXPECT_THAT(erase.out, HasSubstr("Erased"));
}

}  // namespace
