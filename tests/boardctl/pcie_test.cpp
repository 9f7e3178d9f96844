// boardctl pcie over fitted and cabled boards, with the flash on the scripted platform.
#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include "boardctl/child.h"
#include "boardctl/texts.h"
#include "boardfeatures/pcieid_enum.h"
#include "pcieid_chain/fitted_board.h"
#include "program.h"
#include "support/scripted_flash.h"

using boardctl_test::ask;
using boardctl_test::contents;
using boardctl_test::End;
using boardctl_test::Json;
using boardctl_test::Outcome;
using scripted::platform;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

Json row_named(const Json &rows, const std::string &name) {
    for (const Json &row : rows) {
        if (row["name"] == name) {
            return row;
        }
    }
    return nullptr;
}

// Runs boardctl here, so that what it does to the flash stays.
int run_here(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "boardctl");
    std::vector<char *> argv;
    for (std::string &argument : arguments) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    return boardctl::run(static_cast<int>(arguments.size()), argv.data());
}

TEST(PcieSlots, TellWhereEachComesFrom) {
    fit_board("maximal");
    const Outcome outcome = ask({"pcie", "slots", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const Json json = outcome.json();
    ASSERT_EQ(json["slots"].size(), 14u);
    EXPECT_EQ(json["slots"][0], Json::parse(R"({
        "name": "PCIe SLOT 5", "type": "pcie", "number": 5, "cpu": 0, "x1_start": 0, "width": 16,
        "vpp": null,
        "origin": {"connector": "RISER2", "riser_board_id": "0x5469", "interface": null,
                   "device": null, "device_board_id": null, "uplinks": []}})"));
    EXPECT_EQ(row_named(json["slots"], "OCP SLOT 1")["origin"], Json::parse(R"({
        "connector": "OCP3.0", "riser_board_id": null, "interface": null, "device": null,
        "device_board_id": null, "uplinks": []})"));
    EXPECT_EQ(row_named(json["slots"], "HDD SLOT 3"), Json::parse(R"({
        "name": "HDD SLOT 3", "type": "disk", "number": 3, "cpu": 0, "x1_start": 60, "width": 4,
        "vpp": {"address": "0x27", "port": 1},
        "origin": {"connector": null, "riser_board_id": null, "interface": "F I2C 1",
                   "device": "BPFB", "device_board_id": "0x54EF",
                   "uplinks": [{"uplink": 1, "name": "SLIMLINE B",
                                "socket": "CPU1 SLIMLINE B"}]}})"));
    EXPECT_EQ(row_named(json["slots"], "PCIe SLOT 6")["origin"]["uplinks"], Json::parse(R"([
        {"uplink": 0, "name": "SLIMLINE A", "socket": "CPU2 SLIMLINE E"},
        {"uplink": 1, "name": "SLIMLINE B", "socket": "CPU2 SLIMLINE F"}])"));
    EXPECT_EQ(row_named(json["slots"], "MEZZ SLOT 1")["type"], "mezzanine");
}

TEST(PcieSlots, OfABoardWithoutCardsAreItsOwn) {
    const Json json = ask({"pcie", "slots", "--json"}).json();
    ASSERT_EQ(json["slots"].size(), 2u);
    EXPECT_EQ(json["slots"][0]["name"], "OCP SLOT 1");
    EXPECT_EQ(json["slots"][1]["name"], "MEZZ SLOT 1");
}

TEST(PcieLanes, SpansCoverEachCpu) {
    fit_board("maximal");
    const Json json = ask({"pcie", "lanes", "--json"}).json();
    const Json &cpus = json["lanes"]["cpus"];
    ASSERT_EQ(cpus.size(), 2u);
    for (const Json &cpu : cpus) {
        unsigned next = 0;
        for (const Json &span : cpu["spans"]) {
            EXPECT_EQ(span["x1_start"], next);
            next += span["width"].get<unsigned>();
        }
        EXPECT_EQ(next, 64u);
        EXPECT_EQ(cpu["shared"], 0);
    }
    EXPECT_EQ(cpus[0]["free"], 0);
    EXPECT_EQ(cpus[1]["free"], 32);
    EXPECT_EQ(cpus[1]["spans"][0], Json::parse(R"({"x1_start": 0, "width": 32, "slots": []})"));
    EXPECT_EQ(cpus[1]["spans"][1], Json::parse(R"({"x1_start": 32, "width": 16, "slots": [
        {"name": "PCIe SLOT 6", "type": "pcie", "number": 6}]})"));
    EXPECT_EQ(json["lanes"]["outside"], Json::array());
}

TEST(PcieLanes, AreDrawnInARow) {
    fit_board("maximal");
    const Outcome outcome = ask({"pcie", "lanes"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out,
              "CPU 0, 0 of 64 lanes free\n"
              "  0       8       16      24      32      40      48      56\n"
              "  |       |       |       |       |       |       |       |\n"
              "  [====slot 5====][slot 3][slot 4][ocp 1=][mezz 1][0=][1=][2=][3=]\n"
              "\n"
              "CPU 1, 32 of 64 lanes free\n"
              "  0       8       16      24      32      40      48      56\n"
              "  |       |       |       |       |       |       |       |\n"
              "  ................................[====slot 6====][4=][5=][6=][7=]\n"
              "\n"
              "  [12] bay 12, [s3] PCIe slot 3, [o1] OCP, [m1] mezzanine, . free\n");
}

TEST(PcieLanes, ShowWhatIsClaimedTwice) {
    fit_board("miscabled");
    const Outcome outcome = ask({"pcie", "lanes"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out,
                HasSubstr("\n  ................................[ocp 1=][mezz 1]!!!!!!!!........\n"
                          "  ! lanes 48-51 are claimed by HDD SLOT 8, HDD SLOT 10\n"
                          "  ! lanes 52-55 are claimed by HDD SLOT 9, HDD SLOT 11\n"));
    EXPECT_EQ(ask({"pcie", "lanes", "--json"}).json()["lanes"]["cpus"][0]["shared"], 8);
}

TEST(PcieLanes, AreColouredOnATerminalOnly) {
    fit_board("maximal");
    EXPECT_THAT(
        ask({"pcie", "lanes"}, {.out = End::terminal}).out,
        AllOf(HasSubstr("\x1b[36m[====slot 6====]\x1b[0m"), HasSubstr("\x1b[32m[4=]\x1b[0m"),
              HasSubstr("\x1b[2m................................\x1b[0m")));
    EXPECT_THAT(ask({"pcie", "lanes"}).out, Not(HasSubstr("\x1b")));
}

TEST(PcieCables, TellWhyAnUplinkIsUnbound) {
    fit_board("miscabled");
    const Outcome outcome = ask({"pcie", "cables", "--json"});
    EXPECT_EQ(outcome.status, 0);
    const Json json = outcome.json();
    ASSERT_EQ(json["cables"].size(), 10u);
    EXPECT_EQ(json["cables"][0], Json::parse(R"({
        "interface": "F I2C 1", "device": "BPFA", "device_board_id": "0x5459", "uplink": 0,
        "name": "SLIMLINE A",
        "route": {"bus": 7, "address": "0x27", "switches": [{"address": "0x70", "channel": 0}]},
        "own_index": 0, "state": "bound", "reason": null, "socket": "CPU2 SLIMLINE C",
        "socket_index": 2, "cpu": 1, "x1_start": 48, "width": 8,
        "feeds": ["HDD SLOT 0", "HDD SLOT 1"]})"));
    std::vector<std::string> states;
    for (const Json &cable : json["cables"]) {
        states.push_back(cable["state"]);
    }
    EXPECT_THAT(states, testing::ElementsAre("bound", "no_index", "no_word", "no_index", "bound",
                                             "bound", "no_socket", "no_index", "bound", "bound"));
    const Json &beyond = json["cables"][6];
    EXPECT_EQ(beyond["socket_index"], 20);
    EXPECT_TRUE(beyond["socket"].is_null());
    EXPECT_TRUE(beyond["cpu"].is_null());
    EXPECT_TRUE(json["cables"][1]["own_index"].is_null());
    // the socket with two cables, and one without any
    EXPECT_EQ(json["sockets"][0]["uplinks"],
              Json::array({"F I2C 2 SLIMLINE A", "F I2C 2 SLIMLINE B"}));
    EXPECT_EQ(json["sockets"][3]["uplinks"], Json::array());

    const std::string table = ask({"pcie", "cables"}).out;
    EXPECT_THAT(table, HasSubstr("the cable names socket 20, which the board does not have"));
    EXPECT_THAT(table, HasSubstr("no valid word of a socket"));
}

TEST(PcieCables, RetimerPortsAreSocketsOfTheirSlot) {
    fit_board("retimer");
    const Json sockets = ask({"pcie", "cables", "--json"}).json()["sockets"];
    ASSERT_GT(sockets.size(), 6u);
    EXPECT_TRUE(sockets[5]["retimer_slot"].is_null());
    EXPECT_THAT(sockets[6]["retimer_slot"].get<std::string>(), Not(testing::IsEmpty()));
}

// What a person reads, whole.
class PcieGolden : public testing::TestWithParam<const char *> {};

TEST_P(PcieGolden, Table) {
    fit_board(GetParam());
    const Outcome outcome = ask({"pcie"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    boardctl_test::expect_golden(std::string("pcie-") + GetParam() + ".txt", outcome.out);
}

INSTANTIATE_TEST_SUITE_P(Fitted, PcieGolden, testing::Values("24nvme", "miscabled", "retimer"),
                         [](const auto &board) { return std::string("of_") + board.param; });

class PcieFlash : public testing::Test {
protected:
    PcieFlash() { fit("24nvme"); }
    void fit(const char *board) {
        platform() = {};
        flash.install();
        fit_board(board);
    }
    void store() { ASSERT_EQ(pcieid_identify_and_store(work.get()), 0); }

    scripted::Flash flash;
    std::unique_ptr<pcieid_workspace> work = std::make_unique<pcieid_workspace>();
};

TEST_F(PcieFlash, VerifiesWhatIsStored) {
    store();
    const Outcome outcome = ask({"pcie", "verify", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json(), Json::parse(R"({"same": true, "identified": 27, "stored": 27,
                                              "differences": [], "failures": []})"));
    EXPECT_THAT(ask({"pcie", "verify"}).out, StartsWith("  Same              yes\n"));
}

TEST_F(PcieFlash, VerifyTellsTheDifferences) {
    fit("maximal");
    store();
    std::swap(platform().same_expander[socket_chip("A")],
              platform().same_expander[socket_chip("B")]);
    Outcome outcome = ask({"pcie", "verify", "--json"});
    EXPECT_EQ(outcome.status, 1);
    Json json = outcome.json();
    EXPECT_EQ(json["same"], false);
    ASSERT_EQ(json["differences"].size(), 4u);
    const Json moved = row_named(json["differences"], "HDD SLOT 0");
    EXPECT_EQ(moved["identified"]["x1_start"], 56);
    EXPECT_EQ(moved["stored"]["x1_start"], 48);
    EXPECT_THAT(ask({"pcie", "verify"}).out,
                HasSubstr("HDD SLOT 0  CPU 0 lane 56 x4, VPP 0x27 port 0  "
                          "CPU 0 lane 48 x4, VPP 0x26 port 0\n"));

    // bays that are gone stand on the stored side only
    fit("empty");
    json = ask({"pcie", "verify", "--json"}).json();
    EXPECT_EQ(json["identified"], 2);
    EXPECT_EQ(json["stored"], 14);
    EXPECT_EQ(json["differences"].size(), 12u);
    EXPECT_TRUE(row_named(json["differences"], "HDD SLOT 0")["identified"].is_null());
}

TEST_F(PcieFlash, AnEmptyFlashIsNoList) {
    Outcome outcome = ask({"pcie", "verify", "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.json()["same"], false);
    EXPECT_TRUE(outcome.json()["stored"].is_null());
    outcome = ask({"pcie", "stored", "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err,
                testing::EndsWith("boardctl: the flash cannot be read or holds no valid list\n"));
    EXPECT_EQ(outcome.json()["valid"], false);
    EXPECT_EQ(outcome.json()["slots"], Json::array());
}

TEST_F(PcieFlash, StoredIsTheListWithoutOrigins) {
    store();
    const Outcome outcome = ask({"pcie", "stored", "--json"});
    EXPECT_EQ(outcome.status, 0);
    Json identified = ask({"pcie", "slots", "--json"}).json()["slots"];
    for (Json &row : identified) {
        row.erase("origin");
    }
    EXPECT_EQ(outcome.json()["slots"], identified);
    EXPECT_THAT(ask({"pcie", "stored"}).out, StartsWith("Stored slots\n"));
}

TEST_F(PcieFlash, StoresWithConsentAndOnlyWhatChanged) {
    EXPECT_EQ(ask({"pcie", "store"}).status, 2);
    const Outcome first = ask({"pcie", "store", "--yes", "--json"});
    EXPECT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(first.json()["written"], true);
    EXPECT_EQ(first.json()["stored"], true);
    EXPECT_EQ(first.json()["slots"].size(), 27u);
    store();
    const Outcome again = ask({"pcie", "store", "--yes", "--json"});
    EXPECT_EQ(again.status, 0);
    EXPECT_EQ(again.json()["written"], false);
    EXPECT_EQ(again.json()["stored"], true);
}

TEST_F(PcieFlash, StoreLeavesTheListInTheFlash) {
    const Outcome outcome = boardctl_test::in_child([] {
        return run_here({"pcie", "verify"}) * 10 + run_here({"pcie", "store", "-y"}) +
               run_here({"pcie", "verify"});
    });
    EXPECT_EQ(outcome.status, 10);
}

TEST_F(PcieFlash, StoreFindsOutThatTheFlashDidNotTakeIt) {
    const auto write = platform().on_epld_write;
    platform().on_epld_write = [write](uint32_t reg, uint16_t value) {
        return write(reg, reg == 0x350 ? static_cast<uint16_t>(value ^ 1) : value);
    };
    const Outcome outcome = ask({"pcie", "store", "-y", "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.json()["stored"], false);
    EXPECT_THAT(outcome.err, HasSubstr("the flash does not hold what was written"));
}

TEST_F(PcieFlash, ADeniedFlashFailsEach) {
    flash.ownership_denied = true;
    EXPECT_EQ(ask({"pcie", "store", "-y"}).status, 1);
    EXPECT_EQ(ask({"pcie", "stored"}).status, 1);
    EXPECT_EQ(ask({"pcie", "verify"}).status, 1);
    EXPECT_EQ(ask({"pcie", "dump"}).status, 1);
    EXPECT_EQ(ask({"pcie", "dumpfile", "/var/pages"}).status, 1);
    EXPECT_EQ(ask({"pcie", "erase", "-y"}).status, 1);
    EXPECT_THAT(flash.commands, testing::IsEmpty());
}

TEST_F(PcieFlash, ErasesWithConsentOnly) {
    store();
    const Outcome nobody = ask({"pcie", "erase"});
    EXPECT_EQ(nobody.status, 2);
    EXPECT_EQ(nobody.err, "boardctl: this changes the board: confirm it with --yes\n");
    const Outcome refused =
        ask({"pcie", "erase"}, {.err = End::terminal, .in = End::terminal, .typed = "n\n"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, StartsWith("Erase the whole flash?"));
    const Outcome given = ask({"pcie", "erase", "--yes", "--json"});
    EXPECT_EQ(given.status, 0) << given.err;
    EXPECT_EQ(given.json(), Json::parse(R"({"erased": true, "failures": []})"));

    // refused: the list is still there; erased: it is not
    const auto then_stored = [](const char *consent) {
        return boardctl_test::in_child([consent] {
                   const int first = consent != nullptr ? run_here({"pcie", "erase", consent})
                                                        : run_here({"pcie", "erase"});
                   return first * 10 + run_here({"pcie", "stored"});
               })
            .status;
    };
    EXPECT_EQ(then_stored(nullptr), 20);
    EXPECT_EQ(then_stored("-y"), 1);
}

TEST_F(PcieFlash, EraseFindsOutThatItDidNotWork) {
    store();
    const auto write = platform().on_epld_write;
    platform().on_epld_write = [write](uint32_t reg, uint16_t value) {
        const bool erase = reg == 0x344 && (value & 0x1F) == 0x1F;
        return erase ? 0 : write(reg, value);
    };
    flash.never_completes = false;
    const Outcome outcome = ask({"pcie", "erase", "-y", "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.json()["erased"], false);
}

TEST_F(PcieFlash, DumpsPages) {
    flash.pages[1] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0, 0, 0, 0, 0, 0, 0xBE, 0xEF};
    const Outcome outcome = ask({"pcie", "dump", "3", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const Json json = outcome.json();
    EXPECT_EQ(json["flash_pages"], 2046);
    ASSERT_EQ(json["pages"].size(), 3u);
    EXPECT_EQ(json["pages"][1], Json::parse(R"({"page": 1, "words": ["0x0123", "0x4567", "0x89AB",
        "0xCDEF", "0x0000", "0x0000", "0x0000", "0xBEEF"]})"));
    EXPECT_EQ(ask({"pcie", "dump", "2"}).out,
              " PAGE | 0000 0002 0004 0006 0008 000A 000C 000E\n"
              "------------------------------------------------\n"
              "    0 | FFFF FFFF FFFF FFFF FFFF FFFF FFFF FFFF\n"
              "    1 | 0123 4567 89AB CDEF 0000 0000 0000 BEEF\n");
    EXPECT_EQ(ask({"pcie", "dump", "--json"}).json()["pages"].size(), 129u);
    EXPECT_EQ(ask({"pcie", "dump", "0"}).status, 2);
    EXPECT_EQ(ask({"pcie", "dump", "2047"}).status, 2);
}

TEST_F(PcieFlash, DumpTellsPagesThatCannotBeRead) {
    const auto read = platform().on_epld_read;
    platform().on_epld_read = [this, read](uint32_t reg, uint16_t *value) {
        return reg == 0x35E && flash.page_address == 1 ? -5 : read(reg, value);
    };
    const Outcome outcome = ask({"pcie", "dump", "2", "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.json()["pages"][1]["words"].is_null());
    EXPECT_EQ(outcome.json()["failures"], Json::array({"1 pages cannot be read"}));

    const Outcome file = ask({"pcie", "dumpfile", "/var/pages", "--json"});
    EXPECT_EQ(file.status, 1);
    EXPECT_EQ(file.json()["unread_pages"], Json::array({1}));
    std::filesystem::remove("/var/pages");
}

TEST_F(PcieFlash, DumpsAFile) {
    store();
    const Outcome outcome = ask({"pcie", "dumpfile", "/var/pages", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json(), Json::parse(R"({"path": "/var/pages", "flash_pages": 2046,
        "bytes": 32736, "unread_pages": [], "failures": []})"));
    const std::string bytes = contents("/var/pages");
    ASSERT_EQ(bytes.size(), 32736u);
    for (size_t i = 0; i < bytes.size(); ++i) {
        ASSERT_EQ(static_cast<uint8_t>(bytes[i]), flash.pages[i / 16][i % 16]) << i;
    }
    std::filesystem::remove("/var/pages");
    const Outcome nowhere = ask({"pcie", "dumpfile", "/no/such/place"});
    EXPECT_EQ(nowhere.status, 1);
    EXPECT_THAT(nowhere.err, HasSubstr("/no/such/place cannot be written: No such file"));
    EXPECT_EQ(ask({"pcie", "dumpfile"}).status, 2);
}

TEST(PcieReport, HasSlotsLanesAndCables) {
    fit_board("24nvme");
    const Json report = ask({"report", "--json"}).json();
    for (const char *part : {"slots", "lanes", "cables"}) {
        EXPECT_EQ(report["pcie"][part], ask({"pcie", part, "--json"}).json()[part]) << part;
        EXPECT_FALSE(report["pcie"][part].empty());
    }
    EXPECT_THAT(ask({"report"}).out, HasSubstr("\nPCIe slots, lanes and cables\n"));
}

}  // namespace
