// Every rule that a board file is checked by, with the line and the key that the message names.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <memory>

#include "board_file.h"
#include "board_test.h"

using boardsim::Error;

namespace {

std::string refusal(std::string_view text) {
    const auto board = std::make_unique<boardsim::Board>();
    try {
        boardsim::read_board(text, "x.toml", *board);
        return "it was taken";
    } catch (const Error &error) {
        return error.what();
    }
}

struct Wrong {
    const char *text;
    const char *message;
};

class WrongFile : public testing::TestWithParam<Wrong> {};

TEST_P(WrongFile, IsRefusedWithLineAndKey) {
    EXPECT_THAT(refusal(GetParam().text), testing::StartsWith(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    Syntax, WrongFile,
    testing::Values(
        Wrong{"\nname = ", "x.toml:2: "}, Wrong{"a = 1\na = 2\n", "x.toml:2: "},
        Wrong{"name = 5", "x.toml:1: name: is not a text"},
        Wrong{"\n\nboard = 5", "x.toml:3: board: unknown key"},
        Wrong{"[mainbord]\nboard = 0x5440", "x.toml:1: mainbord: unknown key"},
        Wrong{"mainboard = 5", "x.toml:1: mainboard: is not a table, [mainboard]"},
        Wrong{"[card]\nkey = 5", "x.toml:1: card: is not a list of tables, [[card]]"},
        Wrong{"card = [1]", "x.toml:1: card: is not a list of tables, [[card]]"},
        Wrong{"name = \"0123456789012345678901234567890123456789012345678901234567890123\"",
              "x.toml:1: name: is longer than 63 characters"}));

INSTANTIATE_TEST_SUITE_P(
    Mainboard, WrongFile,
    testing::Values(
        Wrong{"[mainboard]\npcb = 1", "x.toml:1: mainboard.board: is missing"},
        Wrong{"[mainboard]\nboard = 0x53FF",
              "x.toml:2: mainboard.board: 0x53FF is out of range, 0x5400 to 0x57FF"},
        Wrong{"[mainboard]\nboard = 0x5800",
              "x.toml:2: mainboard.board: 0x5800 is out of range, 0x5400 to 0x57FF"},
        Wrong{"[mainboard]\nboard = 0x5440\npcb = 4",
              "x.toml:3: mainboard.pcb: 0x4 is out of range, 0x0 to 0x3"},
        Wrong{"[mainboard]\nboard = 0x5440\nbom = 8",
              "x.toml:3: mainboard.bom: 0x8 is out of range, 0x0 to 0x7"},
        Wrong{"[mainboard]\nboard = 0x5440\nbom = -1",
              "x.toml:3: mainboard.bom: -1 is out of range"},
        Wrong{"[mainboard]\nboard = \"0x5440\"",
              "x.toml:2: mainboard.board: is not a whole number"},
        Wrong{"[mainboard]\nboard = 1.5", "x.toml:2: mainboard.board: is not a whole number"},
        Wrong{"[mainboard]\nboard = 0x5440\nparity = 1",
              "x.toml:3: mainboard.parity: is neither true nor false"},
        Wrong{"[mainboard]\nword = 0x10000", "x.toml:2: mainboard.word: 0x10000 is out of range"},
        Wrong{"[mainboard]\nword = 1\nboard = 0x5440",
              "x.toml:3: mainboard.board: cannot stand beside word"},
        Wrong{"[mainboard]\nword = 1\nparity = true",
              "x.toml:3: mainboard.parity: cannot stand beside word"},
        Wrong{"[mainboard]\nboard = 0x5440\ncolour = 1",
              "x.toml:3: mainboard.colour: unknown key"}));

INSTANTIATE_TEST_SUITE_P(
    Cards, WrongFile,
    testing::Values(
        Wrong{"[[card]]\nboard = 0x5464", "x.toml:1: card: needs either a key or a position"},
        Wrong{"[[card]]\nkey = 5\nposition = \"bpra_1\"\nboard = 0x5464",
              "x.toml:1: card: needs either a key or a position"},
        Wrong{"[[card]]\nkey = 12\nboard = 0x5464",
              "x.toml:2: card.key: no position has the card key 12"},
        Wrong{"[[card]]\nkey = 256\nboard = 0x5464", "x.toml:2: card.key: 0x100 is out of range"},
        Wrong{"[[card]]\nposition = \"pcie11\"",
              "x.toml:2: card.position: there is no position \"pcie11\"; there are sas, bpra_1"},
        Wrong{"[[card]]\nposition = \"bpra_1\"", "x.toml:1: card.board: is missing"},
        Wrong{"[[card]]\nposition = \"tpm\"\nboard = 0x5464",
              "x.toml:1: card: a card in tpm carries no identifier"},
        Wrong{"[[card]]\nposition = \"tpm\"\nanswers = false",
              "x.toml:1: card: a card in tpm carries no identifier"},
        Wrong{"[[card]]\nkey = 5\nboard = 0x5464\n[[card]]\nposition = \"bpra_1\"\nboard = 0x5464",
              "x.toml:4: card: a chip at 3:0x20 is already fitted by x.toml:1"},
        Wrong{"[[card]]\nkey = 25\n[[card]]\nposition = \"pcie3\"",
              "x.toml:3: card: a card is already fitted in pcie3"},
        Wrong{"[present]\ntpn = true", "x.toml:2: present.tpn: unknown key"},
        Wrong{"[present]\nbpra_1 = true", "x.toml:2: present.bpra_1: unknown key"},
        Wrong{"[present]\ntpm = 1", "x.toml:2: present.tpm: is neither true nor false"},
        Wrong{"[chassis]\nopen = true", "x.toml:2: chassis.open: unknown key"}));

INSTANTIATE_TEST_SUITE_P(
    Backplanes, WrongFile,
    testing::Values(
        Wrong{"[[backplane]]\nmodel = \"BPFA\"", "x.toml:1: backplane.connector: is missing"},
        Wrong{"[[backplane]]\nconnector = \"F I2C 1\"", "x.toml:1: backplane.model: is missing"},
        Wrong{
            "[[backplane]]\nconnector = \"F I2C 4\"\nmodel = \"BPFA\"",
            "x.toml:2: backplane.connector: there is no connector \"F I2C 4\"; there are F I2C 1, "
            "F I2C 2, F I2C 3, R I2C 4, R I2C 5, R I2C 7, R I2C 8, M I2C 6"},
        Wrong{"[[backplane]]\nconnector = \"F I2C 1\"\nmodel = \"BPFH\"",
              "x.toml:3: backplane.model: there is no model \"BPFH\"; there are BPFA, BPFB, BPFC, "
              "BPFD, BPFE, BPFF, BPFG, BPMA, BPRA, BPRB, BPRD, BPRE"},
        Wrong{"[[backplane]]\nconnector = \"F I2C 1\"\nmodel = \"BPFA\"\nboard = 0x5459",
              "x.toml:4: backplane.board: unknown key"},
        Wrong{"[[backplane]]\nconnector = \"F I2C 1\"\nmodel = \"BPFA\"\npcb = 4",
              "x.toml:4: backplane.pcb: 0x4 is out of range"},
        Wrong{"[[card]]\nposition = \"bpfa_1\"\nboard = 0x5459\n[[backplane]]\nconnector = "
              "\"F I2C 1\"\nmodel = \"BPFA\"",
              "x.toml:4: backplane: a chip at 7:0x20 is already fitted by x.toml:1"}));

INSTANTIATE_TEST_SUITE_P(
    RisersAndRetimers, WrongFile,
    testing::Values(
        Wrong{"[[riser]]\nboard = 0x5469", "x.toml:1: riser.connector: is missing"},
        Wrong{"[[riser]]\nconnector = \"RISER2\"", "x.toml:1: riser.board: is missing"},
        Wrong{
            "[[riser]]\nconnector = \"RISER1\"\nboard = 0x5469",
            "x.toml:2: riser.connector: there is no riser connector \"RISER1\"; there are RISER2, "
            "RISER3"},
        Wrong{"[[riser]]\nconnector = \"RISER2\"\nboard = 0x5469\nslots = 3",
              "x.toml:4: riser.slots: unknown key"},
        Wrong{"[[backplane]]\nconnector = \"R I2C 5\"\nmodel = \"BPRB\"\n[[riser]]\nconnector = "
              "\"RISER2\"\nboard = 0x5469",
              "x.toml:1: backplane: a chip at 4:0x20 is already fitted by x.toml:4"},
        Wrong{"[[retimer]]\nbom = 1", "x.toml:1: retimer.slot: is missing"},
        Wrong{"[[retimer]]\nslot = 11", "x.toml:2: retimer.slot: 0xB is out of range, 0x1 to 0xA"},
        Wrong{"[[retimer]]\nslot = 5", "x.toml:2: retimer.slot: no riser with a slot 5 is fitted"},
        Wrong{"[[riser]]\nconnector = \"RISER2\"\nboard = 0x546A\n[[retimer]]\nslot = 4",
              "x.toml:5: retimer.slot: no riser with a slot 4 is fitted"},
        Wrong{"[[riser]]\nconnector = \"RISER2\"\nboard = 0x546A\n[[retimer]]\nslot = 5\nboard = "
              "0x546C",
              "x.toml:6: retimer.board: unknown key"},
        Wrong{"[[riser]]\nconnector = \"RISER2\"\nboard = 0x546A\n[[retimer]]\nslot = "
              "5\n[[card]]\nposition = \"pcie5\"",
              "x.toml:4: retimer: a card is already fitted in pcie5"}));

// Each on a board of two front backplanes of four uplinks.
class WrongCable : public testing::TestWithParam<Wrong> {};

TEST_P(WrongCable, IsRefusedWithLineAndKey) {
    const std::string board =
        "[[backplane]]\nconnector = \"F I2C 1\"\nmodel = \"BPFA\"\n"
        "[[backplane]]\nconnector = \"F I2C 2\"\nmodel = \"BPRA\"\n";
    EXPECT_EQ(refusal(board + GetParam().text), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Cables, WrongCable,
    testing::Values(
        Wrong{"[[cable]]\nto = \"F I2C 1 SLIMLINE A\"", "x.toml:7: cable.from: is missing"},
        Wrong{"[[cable]]\nfrom = \"CPU1 SLIMLINE A\"", "x.toml:7: cable.to: is missing"},
        Wrong{
            "[[cable]]\nfrom = \"CPU1 SLIMLINE C\"\nto = \"F I2C 1 SLIMLINE A\"",
            "x.toml:8: cable.from: there is no socket \"CPU1 SLIMLINE C\"; there are CPU1 SLIMLINE "
            "A, CPU1 SLIMLINE B, CPU2 SLIMLINE C, CPU2 SLIMLINE D, CPU2 SLIMLINE E, CPU2 SLIMLINE "
            "F"},
        Wrong{
            "[[cable]]\nfrom = \"retimer 5 port 0\"\nto = \"F I2C 1 SLIMLINE A\"",
            "x.toml:8: cable.from: there is no socket \"retimer 5 port 0\"; there are CPU1 "
            "SLIMLINE "
            "A, CPU1 SLIMLINE B, CPU2 SLIMLINE C, CPU2 SLIMLINE D, CPU2 SLIMLINE E, CPU2 SLIMLINE "
            "F"},
        Wrong{"[[cable]]\nfrom = \"CPU1 SLIMLINE A\"\nto = \"F I2C 1 SLIMLINE E\"",
              "x.toml:9: cable.to: there is no uplink \"F I2C 1 SLIMLINE E\"; there are F I2C 1 "
              "SLIMLINE A, F I2C 1 SLIMLINE B, F I2C 1 SLIMLINE C, F I2C 1 SLIMLINE D, F I2C 2 "
              "SLIMLINE"},
        Wrong{
            "[[cable]]\nfrom = \"CPU1 SLIMLINE A\"\nto = \"F I2C 1 SLIMLINE A\"\nplugged_into = "
            "\"CPU3\"",
            "x.toml:10: cable.plugged_into: there is no socket \"CPU3\"; there are CPU1 SLIMLINE "
            "A, CPU1 SLIMLINE B, CPU2 SLIMLINE C, CPU2 SLIMLINE D, CPU2 SLIMLINE E, CPU2 SLIMLINE "
            "F"},
        Wrong{
            "[[cable]]\nfrom = \"CPU1 SLIMLINE A\"\nto = \"F I2C 1 SLIMLINE A\"\n[[cable]]\nfrom = "
            "\"CPU1 SLIMLINE B\"\nto = \"F I2C 1 SLIMLINE A\"",
            "x.toml:12: cable.to: \"F I2C 1 SLIMLINE A\" has the cable of x.toml:7 already"},
        Wrong{
            "[[cable]]\nfrom = \"CPU1 SLIMLINE A\"\nto = \"F I2C 1 SLIMLINE A\"\n[[cable]]\nfrom = "
            "\"CPU1 SLIMLINE A\"\nto = \"F I2C 1 SLIMLINE B\"",
            "x.toml:11: cable.from: \"CPU1 SLIMLINE A\" has the cable of x.toml:7 already; a "
            "second "
            "end of that one says split = true"},
        Wrong{
            "[[cable]]\nfrom = \"CPU1 SLIMLINE A\"\nto = \"F I2C 1 SLIMLINE A\"\n[[cable]]\nfrom = "
            "\"CPU1 SLIMLINE B\"\nto = \"F I2C 1 SLIMLINE B\"\nplugged_into = \"CPU1 SLIMLINE A\"",
            "x.toml:13: cable.plugged_into: \"CPU1 SLIMLINE A\" has the cable of x.toml:7 already; "
            "a "
            "second end of that one says split = true"},
        Wrong{"[[cable]]\nfrom = \"CPU1 SLIMLINE A\"\nto = \"F I2C 1 SLIMLINE A\"\nparity = false",
              "x.toml:10: cable.parity: unknown key"},
        Wrong{"[[cable]]\nfrom = \"CPU1 SLIMLINE A\"\nto = \"F I2C 1 SLIMLINE A\"\nsplit = 1",
              "x.toml:10: cable.split: is neither true nor false"}));

TEST(BoardFile, CablesNeedABackplane) {
    EXPECT_EQ(refusal("[[cable]]\nfrom = \"CPU1 SLIMLINE A\"\nto = \"F I2C 1 SLIMLINE A\""),
              "x.toml:3: cable.to: there is no uplink \"F I2C 1 SLIMLINE A\"");
}

INSTANTIATE_TEST_SUITE_P(
    FansAndPower, WrongFile,
    testing::Values(
        Wrong{"[[fan]]\nfront_rpm = 1", "x.toml:1: fan.module: is missing"},
        Wrong{"[[fan]]\nmodule = 5", "x.toml:2: fan.module: 0x5 is out of range, 0x1 to 0x4"},
        Wrong{"[[fan]]\nmodule = 1\n[[fan]]\nmodule = 1",
              "x.toml:4: fan.module: fan module 1 is already fitted"},
        Wrong{"[[fan]]\nmodule = 1\nrear_rpm = 100001",
              "x.toml:3: fan.rear_rpm: 0x186A1 is out of range"},
        Wrong{"[[fan]]\nmodule = 1\nfront_tachometer = 0",
              "x.toml:3: fan.front_tachometer: is neither true nor false"},
        Wrong{"[[fan]]\nmodule = 1\nfront_tachometer = false\n[[fan]]\nmodule = 1",
              "x.toml:5: fan.module: fan module 1 is already fitted"},
        Wrong{"[[psu]]\nslot = 3", "x.toml:2: psu.slot: 0x3 is out of range, 0x1 to 0x2"},
        Wrong{"[[psu]]\nslot = 1\n[[psu]]\nslot = 1",
              "x.toml:3: psu: a chip at 1:0x58 is already fitted by x.toml:1"},
        Wrong{"[[psu]]\nslot = 1\n[psu.registers]\n256 = 1",
              "x.toml:4: psu.registers.256: is out of range, 0x0 to 0xFF"},
        Wrong{"[[psu]]\nslot = 1\nwatts = 900", "x.toml:3: psu.watts: unknown key"}));

INSTANTIATE_TEST_SUITE_P(
    LiquidCooling, WrongFile,
    testing::Values(
        Wrong{"[liquid_cooling]\nkit = 1",
              "x.toml:2: liquid_cooling.kit: is neither true nor false"},
        Wrong{"[liquid_cooling]\npump = true", "x.toml:2: liquid_cooling.pump: unknown key"},
        Wrong{"[liquid_cooling]\nsensor = \"leakage\"",
              "x.toml:1: liquid_cooling.state: is missing"},
        Wrong{"[liquid_cooling]\nstate = \"dry\"", "x.toml:2: liquid_cooling.state: unknown key"},
        Wrong{"[liquid_cooling]\nsensor = \"rope\"\nstate = \"dry\"",
              "x.toml:2: liquid_cooling.sensor: there is no sensor \"rope\"; there are leakage, "
              "line"},
        Wrong{"[liquid_cooling]\nsensor = \"leakage\"\nstate = \"broken\"",
              "x.toml:3: liquid_cooling.state: a sensor of this kind is never \"broken\" but dry, "
              "leaking, absent"},
        Wrong{"[liquid_cooling]\nsensor = \"line\"\nstate = \"dry\"",
              "x.toml:3: liquid_cooling.state: a sensor of this kind is never \"dry\" but intact, "
              "broken, absent"},
        Wrong{"[liquid_cooling]\nkit = true\n[[backplane]]\nconnector = \"M I2C 6\"\nmodel = "
              "\"BPMA\"",
              "x.toml:1: liquid_cooling: a chip at 10:0x20 is already fitted by x.toml:3"}));

INSTANTIATE_TEST_SUITE_P(
    Raw, WrongFile,
    testing::Values(
        Wrong{"[[chip]]\nkind = \"eeprom\"", "x.toml:1: chip.at: is missing"},
        Wrong{"[[chip]]\nat = \"3\"\nkind = \"eeprom\"",
              "x.toml:2: chip.at: \"3\" is no route; write bus:address"},
        Wrong{"[[chip]]\nat = 3\nkind = \"eeprom\"", "x.toml:2: chip.at: is not a text"},
        Wrong{"[[chip]]\nat = \"3:0x20\"", "x.toml:1: chip.kind: is missing"},
        Wrong{"[[chip]]\nat = \"3:0x20\"\nkind = \"pca9555\"",
              "x.toml:3: chip.kind: there is no kind \"pca9555\""},
        Wrong{"[[chip]]\nat = \"3:0x20\"\nkind = \"pca9535\"\n[[chip]]\nat = \"3:32\"\nkind = "
              "\"eeprom\"",
              "x.toml:4: chip: a chip at 3:0x20 is already fitted by x.toml:1"},
        Wrong{"[mainboard]\nboard = 0x5440\n[[chip]]\nat = \"13:0x26\"\nkind = \"eeprom\"",
              "x.toml:3: chip: a chip at 13:0x26 is already fitted by x.toml:1"},
        Wrong{"[[chip]]\nat = \"3:0x20\"\nkind = \"pca9535\"\ninput = 65536",
              "x.toml:4: chip.input: 0x10000 is out of range"},
        Wrong{"[[chip]]\nat = \"3:0x20\"\nkind = \"pca9535\"\nsize = 8",
              "x.toml:4: chip.size: unknown key"},
        Wrong{"[[chip]]\nat = \"3:0x20\"\nkind = \"pca9535\"\nbytes = [1]",
              "x.toml:4: chip.bytes: unknown key"},
        Wrong{"[[chip]]\nat = \"3:0x20\"\nkind = \"eeprom\"\ninput = 1",
              "x.toml:4: chip.input: unknown key"},
        Wrong{"[[chip]]\nat = \"3:0x20\"\nkind = \"eeprom\"\nsize = 65537",
              "x.toml:4: chip.size: 0x10001 is out of range"},
        Wrong{"[[chip]]\nat = \"3:0x20\"\nkind = \"eeprom\"\nbytes = [256]",
              "x.toml:4: chip.bytes: 0x100 is out of range, 0x0 to 0xFF"},
        Wrong{"[[chip]]\nat = \"3:0x20\"\nkind = \"eeprom\"\nbytes = 1",
              "x.toml:4: chip.bytes: is not a list of bytes"},
        Wrong{"[[chip]]\nat = \"3:0x20\"\nkind = \"eeprom\"\nsize = 1\nbytes = [1, 2]",
              "x.toml:5: chip.bytes: holds more than 1 bytes"},
        Wrong{"[[chip]]\nat = \"3:0x20\"\nkind = \"eeprom\"\nsize = 1\ntext = \"ab\"",
              "x.toml:5: chip.text: is longer than 1 characters"},
        Wrong{"[[chip]]\nat = \"3:0x20\"\nkind = \"eeprom\"\nbytes = [1]\ntext = \"ab\"",
              "x.toml:5: chip.text: cannot stand beside bytes"},
        Wrong{"[[chip]]\nat = \"3:0x20\"\nkind = \"registers\"\nsize = 16\n[chip.registers]\n0x10 "
              "= 1",
              "x.toml:6: chip.registers.0x10: is out of range, 0x0 to 0xF"},
        Wrong{"[[chip]]\nat = \"3:0x20\"\nkind = \"registers\"\n[chip.registers]\n1 = 256",
              "x.toml:5: chip.registers.1: 0x100 is out of range"},
        Wrong{"[epld]\nin_reset = 1", "x.toml:2: epld.in_reset: is neither true nor false"},
        Wrong{"[epld]\n0x208 = 1", "x.toml:2: epld.0x208: unknown key"},
        Wrong{"[epld.registers]\n0x1000 = 1",
              "x.toml:2: epld.registers.0x1000: is out of range, 0x0 to 0xFFF"},
        Wrong{"[epld.registers]\n0x208 = 0x10000",
              "x.toml:2: epld.registers.0x208: 0x10000 is out of range"},
        Wrong{"[epld.registers]\nfan = 1", "x.toml:2: epld.registers.fan: is not a number"},
        Wrong{"[epld.registers]\n\"-1\" = 1", "x.toml:2: epld.registers.-1: is not a number"},
        Wrong{"[epld.registers]\n0x10 = 1\n16 = 1", "x.toml:"},
        Wrong{"[gpio]\n256 = 1", "x.toml:2: gpio.256: is out of range, 0x0 to 0xFF"},
        Wrong{"[gpio]\n1 = 2", "x.toml:2: gpio.1: 0x2 is out of range, 0x0 to 0x1"},
        Wrong{"[memory]\n0x100000000 = 1", "x.toml:2: memory.0x100000000: is out of range"},
        Wrong{"[memory]\n0x10 = 0x100000000", "x.toml:2: memory.0x10: 0x100000000 is out of range"},
        Wrong{"[storage]\nback_panel_id = -1",
              "x.toml:2: storage.back_panel_id: -1 is out of range"},
        Wrong{"[bus]\nclock = 999", "x.toml:2: bus.clock: 0x3E7 is out of range"},
        Wrong{"[bus]\nclok = 100000", "x.toml:2: bus.clok: unknown key"},
        Wrong{"[time]\nreal = \"yes\"", "x.toml:2: time.real: is neither true nor false"},
        Wrong{"[[fault]]\nregister = 0x1000", "x.toml:2: fault.register: 0x1000 is out of range"},
        Wrong{"[[fault]]\nnth = 1", "x.toml:1: fault: needs an access or a target"},
        Wrong{"[[fault]]\nline = 1\nflips = 0", "x.toml:3: fault.flips: 0x0 is out of range"},
        Wrong{"[[fault]]\nline = 1\nflips = 1\nresult = -5",
              "x.toml:4: fault.result: an access that fails reads no value"},
        Wrong{"[[fault]]\nline = 1\noffset = 1", "x.toml:3: fault.offset: unknown key"}));

TEST(BoardFile, NumbersOfOneRegisterWrittenTwiceAreRefused) {
    EXPECT_THAT(refusal("[epld.registers]\n0x10 = 1\n16 = 1"),
                testing::HasSubstr("is the same number as another key"));
}

TEST(BoardFile, MoreChipsThanABoardHolds) {
    std::string text;
    for (uint32_t i = 0; i <= boardsim::most_chips; ++i) {
        text += "[[chip]]\nat = \"" + std::to_string(i / 100) + ':' + std::to_string(i % 100) +
                "\"\nkind = \"pca9535\"\n";
    }
    EXPECT_THAT(refusal(text), testing::HasSubstr("chip: the board has no room for another chip"));
    EXPECT_THAT(refusal(text), testing::StartsWith("x.toml:1153: "));
}

TEST(BoardFile, MoreMemoryWordsAndFaultsThanABoardHolds) {
    std::string words = "[memory]\n";
    for (uint32_t i = 0; i <= boardsim::most_memory_words; ++i) {
        words += std::to_string(i) + " = 0\n";
    }
    EXPECT_EQ(refusal(words), "x.toml:1: memory: holds more than 256 words");
    std::string faults;
    for (uint32_t i = 0; i <= boardsim::most_faults; ++i) {
        faults += "[[fault]]\nregister = 0\n";
    }
    EXPECT_EQ(refusal(faults), "x.toml:129: fault: the board has no room for another fault");
}

TEST(BoardFile, MissingFile) {
    EXPECT_THROW(boardsim::make_state("/var/none.toml", "/var/board.state"), Error);
}

// ---- what a right file makes ----

using Fitted = BoardTest;

uint32_t ones(int64_t word) {
    return static_cast<uint32_t>(__builtin_popcountll(static_cast<uint64_t>(word)));
}

TEST_F(Fitted, IdentifierWordHasOddParityOverItsFields) {
    board(R"(
[mainboard]
board = 0x57FF
pcb = 3
bom = 7
[[card]]
position = "bpra_1"
board = 0x5400
[[card]]
key = 6
board = 0x5469
pcb = 2
bom = 5
[[card]]
key = 7
board = 0x5469
pcb = 2
bom = 5
parity = false
[[card]]
key = 8
word = 0x1234
[[card]]
key = 9
board = 0x5459
answers = false
)");
    EXPECT_EQ(word_at(at(13, 0x26)), 0x7FFF);
    EXPECT_EQ(word_at(at(3, 0x20)), 0x8000);
    EXPECT_EQ(word_at(at(4, 0x20)), 0x0D35);
    EXPECT_EQ(ones(word_at(at(4, 0x20))) % 2, 1u);
    EXPECT_EQ(word_at(at(5, 0x20)), 0x8D35);
    EXPECT_EQ(word_at(at(6, 0x20)), 0x1234);
    EXPECT_EQ(word_at(at(7, 0x20)), -1);
    EXPECT_EQ(word_at(at(8, 0x20)), -1);
}

TEST_F(Fitted, EveryPositionByKeyAndByName) {
    struct Row {
        uint32_t key;
        const char *name;
        const char *identifier;  // nullptr: none
        const char *presence;    // an expander, or the bit of EPLD register 0x208
        uint32_t bit;
    };
    const Row rows[] = {
        {1, "sas", "11:0x20", nullptr, 3},
        {5, "bpra_1", "3:0x20", "", 0},
        {6, "bprb_1", "4:0x20", "", 0},
        {7, "bprb_2", "5:0x20", "", 0},
        {8, "bpra_2", "6:0x20", "", 0},
        {9, "bpfa_1", "7:0x20", "", 0},
        {10, "bpfa_2", "8:0x20", "", 0},
        {11, "bpfa_3", "9:0x20", "", 0},
        {14, "m_i2c_6", "10:0x20", "", 0},
        {16, "tpm", nullptr, nullptr, 5},
        {17, "fan1", nullptr, nullptr, 6},
        {18, "fan2", nullptr, nullptr, 7},
        {19, "fan3", nullptr, nullptr, 8},
        {20, "fan4", nullptr, nullptr, 9},
        {21, "raid_key", nullptr, nullptr, 11},
        {22, "ocp", nullptr, nullptr, 12},
        {23, "pcie1", "3:0x70.1:0x22", "3:0x21", 0},
        {24, "pcie2", "3:0x70.2:0x22", "3:0x21", 1},
        {25, "pcie3", "4:0x70.3:0x22", "4:0x70.0:0x21", 2},
        {26, "pcie4", "4:0x70.2:0x22", "4:0x70.0:0x21", 1},
        {27, "pcie5", "4:0x70.1:0x22", "4:0x70.0:0x21", 0},
        {28, "pcie6", "5:0x70.1:0x22", "5:0x70.0:0x21", 0},
        {29, "pcie7", "5:0x70.2:0x22", "5:0x70.0:0x21", 1},
        {30, "pcie8", "5:0x70.3:0x22", "5:0x70.0:0x21", 2},
        {31, "pcie9", "6:0x70.1:0x22", "6:0x21", 0},
        {32, "pcie10", "6:0x70.2:0x22", "6:0x21", 1},
    };
    for (const Row &row : rows) {
        for (const bool by_key : {true, false}) {
            SCOPED_TRACE(row.name);
            std::string text = "[[card]]\n";
            text += by_key ? "key = " + std::to_string(row.key)
                           : "position = \"" + std::string(row.name) + '"';
            text += row.identifier == nullptr ? "\n" : "\nboard = 0x5401\n";
            boardsim::Simulator &board_ = board(text);
            if (row.identifier != nullptr) {
                EXPECT_EQ(board_.expander(row.identifier).input, 0x0020);
            }
            if (row.presence == nullptr) {
                EXPECT_EQ(board_.epld(0x208), 1u << row.bit);
            } else {
                EXPECT_EQ(board_.epld(0x208), 0);
            }
            if (row.presence != nullptr && row.presence[0] != '\0') {
                EXPECT_EQ(board_.expander(row.presence).input, 0xFFFF & ~(1u << row.bit));
            }
        }
    }
}

TEST_F(Fitted, BackplanesByConnectorAndModel) {
    const std::pair<const char *, const char *> connectors[] = {
        {"F I2C 1", "7:0x20"}, {"F I2C 2", "8:0x20"}, {"F I2C 3", "9:0x20"},
        {"R I2C 4", "3:0x20"}, {"R I2C 5", "4:0x20"}, {"R I2C 7", "5:0x20"},
        {"R I2C 8", "6:0x20"}, {"M I2C 6", "10:0x20"}};
    const std::pair<const char *, uint16_t> models[] = {
        // PCB 1, BOM 2, odd parity
        {"BPFA", 0x8B2A}, {"BPFB", 0x1DEA}, {"BPFC", 0x0B6A}, {"BPFD", 0x0BCA},
        {"BPFE", 0x8DEA}, {"BPFF", 0x0E6A}, {"BPFG", 0x8E4A}, {"BPMA", 0x8E8A},
        {"BPRA", 0x0C8A}, {"BPRB", 0x8CAA}, {"BPRD", 0x0D6A}, {"BPRE", 0x8C0A}};
    for (const auto &[connector, route] : connectors) {
        for (const auto &[model, word] : models) {
            SCOPED_TRACE(std::string(connector) + ' ' + model);
            board("[[backplane]]\nconnector = \"" + std::string(connector) + "\"\nmodel = \"" +
                  model + "\"\npcb = 1\nbom = 2\n");
            EXPECT_EQ(sim().expander(route).input, word);
        }
    }
}

TEST_F(Fitted, SlotCardsShareTheirRisersExpander) {
    board("[[card]]\nkey = 25\n[[card]]\nkey = 27\n");
    EXPECT_EQ(word_at(at(4, 0x21, 0x70, 0)), 0xFFFA);
    EXPECT_EQ(word_at(at(4, 0x22, 0x70, 3)), -1);  // a card without an identifier
}

TEST_F(Fitted, PresentBitsByMeaning) {
    board(R"(
[present]
sas = true
tpm = true
fan1 = true
fan4 = true
raid_key = true
ocp = true
cpu2 = true
[chassis]
intrusion = true
)");
    EXPECT_EQ(epld_at(0x208), 0x1A68);
    EXPECT_EQ(epld_at(0x8C), 2);
    EXPECT_EQ(epld_at(0x188), 1);
}

TEST_F(Fitted, PresentHasTheLastWordOverCards) {
    board(
        "[[card]]\nposition = \"sas\"\nboard = 0x5450\n[[fan]]\nmodule = 2\n"
        "[present]\nsas = false\nfan2 = false\n");
    EXPECT_EQ(epld_at(0x208), 0);
    EXPECT_NE(word_at(at(11, 0x20)), -1);
}

TEST_F(Fitted, FansAndPowerModules) {
    board(R"(
[[fan]]
module = 3
front_rpm = 9000
rear_rpm = 8000
[[psu]]
slot = 1
present = false
[[psu]]
slot = 2
power_ok = false
[psu.registers]
0x9B = 0x11
)");
    uint32_t rpm = 0;
    EXPECT_EQ(get_fan_speed(0, 2, &rpm), 0);
    EXPECT_EQ(rpm, 9000u);
    EXPECT_EQ(get_fan_speed(0, 6, &rpm), 0);
    EXPECT_EQ(rpm, 8000u);
    EXPECT_EQ(epld_at(0x208), 1 << 8);
    EXPECT_EQ(epld_at(0x190), 2);
    EXPECT_EQ(epld_at(0x192), 1);
    I2cChipRoute psu = at(1, 0x59);
    psu.flags = 4;
    uint8_t value = 0;
    EXPECT_GE(ei2c_smbus_read_byte_data(&psu, 0x19, &value), 0);
    EXPECT_EQ(value, 0xB0);
    EXPECT_GE(ei2c_smbus_read_byte_data(&psu, 0x9B, &value), 0);
    EXPECT_EQ(value, 0x11);
}

// A failed tachometer is silent; the module is there all the same.
TEST_F(Fitted, FailedTachometers) {
    board(
        "[[fan]]\nmodule = 1\nfront_rpm = 9000\nrear_tachometer = false\n"
        "[[fan]]\nmodule = 4\nfront_tachometer = false\nfront_rpm = 9000\nrear_tachometer = "
        "true\n");
    uint32_t rpm = 1;
    EXPECT_EQ(get_fan_speed(0, 0, &rpm), 0);
    EXPECT_EQ(rpm, 9000u);
    EXPECT_EQ(get_fan_speed(0, 4, &rpm), -1);
    EXPECT_EQ(get_fan_speed(0, 3, &rpm), -1);
    EXPECT_EQ(get_fan_speed(0, 7, &rpm), 0);
    EXPECT_EQ(rpm, 0u);
    EXPECT_EQ(epld_at(0x208), 0x0240);
}

TEST_F(Fitted, LiquidCooling) {
    board("[liquid_cooling]\nkit = true\nflange_card = true\n");
    EXPECT_EQ(word_at(at(10, 0x20)), 0x8F28);
    EXPECT_EQ(word_at(at(13, 0x20, 0x77, 3), 0xFF), 9);
    EXPECT_EQ(word_at(at(10, 0x21)), -1);
}

TEST_F(Fitted, NoLiquidCooling) {
    board("[liquid_cooling]\nkit = false\nflange_card = false\n");
    EXPECT_EQ(word_at(at(10, 0x20)), -1);
    EXPECT_EQ(word_at(at(13, 0x20, 0x77, 3)), -1);
}

TEST_F(Fitted, RawRegistersHaveTheLastWord) {
    board("[epld.registers]\n0x208 = 0x0001\n[[card]]\nposition = \"ocp\"\n");
    EXPECT_EQ(epld_at(0x208), 1);
}

TEST_F(Fitted, PolarityAndConfigOfARawExpander) {
    board(
        "[[chip]]\nat = \"3:0x21\"\nkind = \"pca9535\"\ninput = 0x00FF\noutput = 0xA000\n"
        "polarity = 0x000F\nconfig = 0x0FFF\nname = \"odd\"\n");
    EXPECT_EQ(word_at(at(3, 0x21)), 0xA0F0);
}

TEST_F(Fitted, NameOfTheBoard) { EXPECT_EQ(board("name = \"mine\"").board_name(), "mine"); }

}  // namespace
