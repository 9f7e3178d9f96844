// Disks and backplanes of the simulated boards that come with the program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "boardctl/programs.h"
#include "boardctl/texts.h"

using boardctl_test::board_file;
using boardctl_test::contents;
using boardctl_test::expect_golden;
using boardctl_test::Json;
using boardctl_test::on_board;
using boardctl_test::Outcome;

namespace {

// ---- what a person reads, whole ----

struct Golden {
    const char *file;
    const char *board;
    std::vector<std::string> command;
    int status = 0;
};
void PrintTo(const Golden &golden, std::ostream *out) { *out << golden.file; }

class Goldens : public testing::TestWithParam<Golden> {};

TEST_P(Goldens, Text) {
    const Golden &golden = GetParam();
    const Outcome outcome = on_board(board_file(golden.board), golden.command);
    EXPECT_EQ(outcome.status, golden.status) << outcome.err;
    EXPECT_EQ(outcome.err.empty(), golden.status == 0) << outcome.err;
    expect_golden(std::string(golden.file) + ".txt", outcome.out);
}

INSTANTIATE_TEST_SUITE_P(
    Boards, Goldens,
    testing::Values(Golden{"empty-map", "empty", {"disks", "--map"}},
                    Golden{"12bay-disks", "tarn-12bay", {"disks"}},
                    Golden{"12bay-map", "tarn-12bay", {"disks", "--map"}},
                    Golden{"12bay-backplanes", "tarn-12bay", {"backplanes"}},
                    Golden{"12bay-custom", "tarn-12bay", {"disks", "custom"}},
                    Golden{"24bay-map", "tarn-24bay-fell", {"disks", "--map"}},
                    Golden{"25bay-disks", "tarn-25bay", {"disks"}},
                    Golden{"25bay-map", "tarn-25bay", {"disks", "--map"}},
                    Golden{"25bay-backplanes", "tarn-25bay", {"backplanes"}},
                    Golden{"maximal-disks", "tarn-maximal", {"disks"}},
                    Golden{"maximal-map", "tarn-maximal", {"disks", "--map"}},
                    Golden{"maximal-backplanes", "tarn-maximal", {"backplanes"}},
                    Golden{"broken-disks", "broken-backplanes", {"disks"}, 1},
                    Golden{"broken-map", "broken-backplanes", {"disks", "--map"}, 1}),
    [](const auto &golden) {
        std::string name = golden.param.file;
        std::replace(name.begin(), name.end(), '-', '_');
        return name;
    });

// ---- what the board files say ----

struct Filled {
    const char *board;
    const char *bays;  // one character a bay as in the drawing, backplanes in order of connectors
    int status;
};
void PrintTo(const Filled &filled, std::ostream *out) { *out << filled.board; }

class EveryBoard : public testing::TestWithParam<Filled> {};

TEST_P(EveryBoard, HasTheDisksOfItsFile) {
    const Outcome outcome = on_board(board_file(GetParam().board), {"report", "--json"});
    EXPECT_EQ(outcome.status, GetParam().status) << outcome.err;
    const Json report = outcome.json();
    std::string bays;
    std::string connector;
    for (const Json &disk : report["disks"]["disks"]) {
        if (disk["connector"] != connector) {
            bays += connector.empty() ? "" : " ";
            connector = disk["connector"];
        }
        bays += disk["present"].is_null()    ? '-'
                : disk["present"] == false   ? '.'
                : disk["kind"] == "nvme"     ? 'N'
                : disk["kind"] == "sas_sata" ? 'S'
                                             : '?';
        // An NVMe disk with a route answers there, unless the board is a broken one.
        if (GetParam().status == 0 && disk["kind"] == "nvme" && !disk["nvme"]["route"].is_null()) {
            EXPECT_EQ(disk["nvme"]["endpoint"]["intact"], true) << disk;
        }
    }
    EXPECT_EQ(bays, GetParam().bays);
    size_t slots = 0;
    for (const Json &backplane : report["backplanes"]["backplanes"]) {
        slots += backplane["slots"].get<size_t>();
    }
    EXPECT_EQ(report["backplanes"]["slots"], slots);
    EXPECT_EQ(report["disks"]["disks"].size(), slots);
}

INSTANTIATE_TEST_SUITE_P(
    Boards, EveryBoard,
    testing::Values(Filled{"empty", "", 0}, Filled{"tarn-12bay", "SSSSSS..NN.. .. ..", 0},
                    Filled{"tarn-24bay-fell", "SNSNSNSNSSSS.....N.N....", 0},
                    Filled{"tarn-25bay", "SNSNSNSNSSSS.SSSSNSNSNSN. NN S. SS", 0},
                    Filled{"tarn-maximal", "NNNNNNNN NNNNSSSS NNNNSSSS --", 0},
                    Filled{"tarn-24nvme", "NNNNNNNN NNNNNNNN NNNNNNNN", 0},
                    Filled{"tarn-retimer", "NNNNSS.. NNNNNNNN", 0},
                    Filled{"tarn-miscabled", "NN.....S ........", 0},
                    Filled{"tarn-liquid", "NN....SS", 0},
                    Filled{"broken-backplanes", "NNN?S... ........ --", 1},
                    Filled{"broken-identifiers", "--", 1}),
    [](const auto &filled) {
        std::string name = filled.param.board;
        std::replace(name.begin(), name.end(), '-', '_');
        return name;
    });

TEST(FaultyBoards, AnIdentifierThatIsLostIsTold) {
    // The second read, after the one that told that the backplane is there. It is the first of the
    // list.
    const std::string text =
        contents(board_file("tarn-12bay")) + "\n[[fault]]\nchip = \"3:0x20\"\nnth = 2\n";
    char path[] = "/tmp/boardctl-board-XXXXXX";
    const int file = mkstemp(path);
    ASSERT_GE(file, 0);
    close(file);
    std::ofstream(path) << text;
    const Outcome outcome = on_board(path, {"backplanes", "--json"});
    unlink(path);
    EXPECT_EQ(outcome.status, 1);
    const Json document = outcome.json();
    EXPECT_EQ(document["failures"],
              Json::array({"the identifier of a fitted backplane cannot be read"}));
    EXPECT_EQ(document["backplanes"], Json::array());
    EXPECT_EQ(document["slots"], 16);  // asked later
}

}  // namespace
