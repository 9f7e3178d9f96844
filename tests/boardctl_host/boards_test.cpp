// power, topology, dimm, bios, fru and pier within boardsim, on the boards that are shipped.
#include <gmock/gmock.h>

#include "boardctl/programs.h"
#include "boardctl/texts.h"

using boardctl_test::board_file;
using boardctl_test::expect_golden;
using boardctl_test::in_boardsim;
using boardctl_test::Json;
using boardctl_test::Outcome;
using testing::HasSubstr;
using testing::Not;

namespace {

Outcome on_board(const std::string &board, const std::vector<std::string> &arguments) {
    return boardctl_test::on_board(board_file(board), arguments);
}

const Json &row_of(const Json &rows, const char *key, const Json &value) {
    for (const Json &row : rows) {
        if (row[key] == value) {
            return row;
        }
    }
    throw std::runtime_error("no row " + value.dump());
}

}  // namespace

// ---- what a person reads, whole ----

struct Page {
    const char *name;
    std::vector<std::string> arguments;
    int status = 0;
    const char *board = "tarn-12bay";
};
void PrintTo(const Page &page, std::ostream *out) { *out << page.name; }

class HostGolden : public testing::TestWithParam<Page> {};

TEST_P(HostGolden, Table) {
    const Page &page = GetParam();
    const Outcome outcome = on_board(page.board, page.arguments);
    EXPECT_EQ(outcome.status, page.status) << outcome.err;
    EXPECT_EQ(outcome.err.empty(), page.status == 0) << outcome.err;
    expect_golden(std::string(page.board) + "-" + page.name + ".txt", outcome.out);
    EXPECT_THAT(outcome.out, Not(HasSubstr("\x1b")));
}

INSTANTIATE_TEST_SUITE_P(
    Boards, HostGolden,
    testing::Values(Page{"power", {"power"}}, Page{"topology", {"topology"}},
                    Page{"dimm", {"dimm"}},
                    Page{"dimm_decode_sel", {"dimm", "decode-sel", "0x10", "0x02"}},
                    Page{"dimm_decode_bios", {"dimm", "decode-bios", "0x25", "0", "0x5D"}},
                    Page{"bios", {"bios"}}, Page{"bios_decode", {"bios", "decode", "6", "0", "2"}},
                    Page{"bios_encode", {"bios", "encode", "BootMode", "UEFI"}},
                    Page{"fru", {"fru"}}, Page{"fru_show", {"fru", "show", "mainboard"}},
                    Page{"fru_read", {"fru", "read", "pcie6"}}, Page{"pier", {"pier"}},
                    Page{"pier_send", {"pier", "send", "6", "1", "0", "0"}},
                    Page{"power", {"power"}, 0, "broken-identifiers"},
                    Page{"fru_show", {"fru", "show", "sas"}, 1, "broken-identifiers"}),
    [](const auto &page) {
        std::string name = std::string(page.param.board) + "_" + page.param.name;
        for (char &c : name) {
            c = c == '-' ? '_' : c;
        }
        return name;
    });

// ---- power ----

TEST(PowerOnBoards, Supplies) {
    const auto supplies = [](const char *board) {
        const Json document = on_board(board, {"power", "--json"}).json();
        return std::make_tuple(document["supplies"][0]["fitted"].get<bool>(),
                               document["supplies"][1]["fitted"].get<bool>(),
                               document["power_ok"]["register"].get<std::string>());
    };
    EXPECT_EQ(supplies("empty"), std::make_tuple(false, false, "0x0000"));
    EXPECT_EQ(supplies("tarn-12bay"), std::make_tuple(true, true, "0x0003"));
    // One whose presence bit is lost and one that is silent.
    EXPECT_EQ(supplies("broken-identifiers"), std::make_tuple(true, true, "0x0001"));
}

TEST(PowerOnBoards, RegulatorFirmware) {
    Json document = on_board("tarn-12bay", {"power", "--json"}).json();
    EXPECT_EQ(document["firmware"]["supported"], true);
    EXPECT_EQ(document["firmware"]["regulators"].size(), 10u);
    EXPECT_EQ(document["firmware"]["regulators"][4]["revision"], "0x12");
    EXPECT_EQ(document["firmware"]["regulators"][5]["revision"], "0x05");
    EXPECT_EQ(document["regulators"].size(), 14u);
    document = on_board("tarn-maximal", {"power", "--json"}).json();
    EXPECT_EQ(document["firmware"]["supported"], false) << "the T variant";
    EXPECT_EQ(document["firmware"]["regulators"][4]["revision"], nullptr);
    EXPECT_EQ(document["regulators"][0]["model"], "TPS53688");
}

// ---- dimm ----

TEST(DimmOnBoards, FittedAsTheHostHasTold) {
    EXPECT_EQ(on_board("empty", {"dimm", "--json"}).json()["sockets"][0]["fitted"], nullptr);
    const Json sockets = on_board("tarn-12bay", {"dimm", "--json"}).json()["sockets"];
    EXPECT_EQ(row_of(sockets, "label", "DIMM1A1")["fitted"], true);
    EXPECT_EQ(row_of(sockets, "label", "DIMM1A2")["fitted"], false);
    EXPECT_EQ(row_of(sockets, "label", "DIMM2D1")["fitted"], true);
}

// ---- fru ----

TEST(FruOnBoards, WhatIsWrongIsSaid) {
    Outcome outcome = on_board("broken-identifiers", {"fru", "show", "mainboard", "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.json()["header"]["checksum_valid"], false);
    EXPECT_EQ(outcome.json()["board"]["product"], "Tarn main board");
    EXPECT_EQ(outcome.json()["failures"], Json::array({"common header: wrong checksum"}));
    outcome = on_board("broken-identifiers", {"fru", "show", "pcie6", "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.json()["failures"], Json::array({"the FRU data cannot be read"}));
    EXPECT_EQ(on_board("tarn-12bay", {"fru", "show", "ocp"}).status, 2);
    EXPECT_EQ(on_board("tarn-12bay", {"fru", "show", "16"}).status, 2);
}

TEST(FruOnBoards, OfEveryCard) {
    const Outcome outcome = on_board("tarn-maximal", {"fru", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const Json cards = outcome.json()["cards"];
    ASSERT_EQ(cards.size(), 20u);
    for (const Json &card : cards) {
        EXPECT_EQ(card["readable"], card["fitted"] != false) << card["name"];
        EXPECT_EQ(card["problems"], Json::array());
    }
    EXPECT_EQ(row_of(cards, "name", "pcie10")["board_product"], "Card in slot 10");
    EXPECT_EQ(row_of(cards, "name", "pcie10")["fitted"], nullptr);
}

// Written, verified, and there when it is read again; the main board's in its file.
TEST(FruOnBoards, WriteAndReadBack) {
    const std::string boardctl = std::string(EMULATOR) + " " + BOARDCTL_PATH;
    const Outcome outcome =
        in_boardsim(board_file("tarn-12bay"),
                    {"sh", "-c",
                     "printf 'a new image' >/var/new && " + boardctl +
                         " fru write sas /var/new --offset 0x20 --yes && " + boardctl +
                         " fru read sas --offset 0x20 --length 11 && " + boardctl +
                         " fru write 0 /var/new --offset 0x8001 --yes >/dev/null && " + boardctl +
                         " fru read mainboard /var/got --offset 0x8001 --length 11 >/dev/null && "
                         "cmp /var/new /var/got && "
                         "dd if=/resvz/firmware/FRU/FRU.BIN bs=1 skip=8193 count=11 2>/dev/null"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out,
              "  Card           sas\n"
              "  Offset         32\n"
              "  Bytes written  11\n"
              "  Verified       yes\n"
              "00000020  61 20 6e 65 77 20 69 6d  61 67 65                 |a new image|\n"
              "a new image");
}

// ---- pier ----

TEST(PierOnBoards, EveryKindOfCard) {
    struct Kind {
        const char *slot;
        int status;
        Json length, response;
    };
    const Kind kinds[] = {
        {"1", 0, 3, "0a0b0c"},            // echoes
        {"2", 0, 3, "0a0b0c"},            // slowly
        {"6", 0, 8, "5049455220322e30"},  // "PIER 2.0"
        {"7", 1, nullptr, nullptr},       // an error code
        {"5", 1, nullptr, nullptr},       // never
        {"9", 0, nullptr, ""},            // no data
        {"10", 0, nullptr, ""},           // more than there can be
        {"3", 1, nullptr, nullptr},       // no mailbox
    };
    for (const Kind &kind : kinds) {
        const Outcome outcome = on_board(
            "tarn-maximal", {"pier", "send", kind.slot, "1", "2", "3", "0a0b", "0C", "--json"});
        EXPECT_EQ(outcome.status, kind.status) << kind.slot << outcome.err;
        EXPECT_EQ(outcome.json()["length"], kind.length) << kind.slot;
        EXPECT_EQ(outcome.json()["response"], kind.response) << kind.slot;
        EXPECT_EQ(outcome.json()["command"], Json::array({"0x01", "0x02", "0x03"}));
    }
}

// ---- the report ----

TEST(ReportOnBoards, HasTheHostsSections) {
    const Outcome outcome = on_board("tarn-12bay", {"report", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const Json report = outcome.json();
    for (const char *section : {"pier", "power", "topology", "dimm", "bios", "fru"}) {
        Json alone = on_board("tarn-12bay", {section, "--json"}).json();
        alone.erase("failures");
        EXPECT_EQ(report[section], alone) << section;
    }
}
