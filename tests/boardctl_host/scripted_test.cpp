// power, topology, dimm, bios, fru and pier over a scripted board: documents, failures, consent.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "boardctl/child.h"
#include "support/scripted_platform.h"

using boardctl_test::ask;
using boardctl_test::contents;
using boardctl_test::End;
using boardctl_test::Json;
using boardctl_test::Outcome;
using scripted::platform;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

void write_file(const std::string &path, const std::string &text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

const std::string image = "/resvz/firmware/FRU/FRU.BIN";

Json json_of(const std::vector<std::string> &arguments, int status = 0) {
    std::vector<std::string> all = arguments;
    all.emplace_back("--json");
    const Outcome outcome = ask(all);
    EXPECT_EQ(outcome.status, status) << outcome.err;
    return outcome.json();
}

}  // namespace

// ---- power ----

TEST(Power, Document) {
    platform().identifier(13, 0x26, 0, 0, 0x0800);  // board 0x5440, BOM 0
    platform().gpio[201] = 1;
    platform().epld = {{0x190, 1}, {0x192, 1}, {0x310, 0xA0E8}, {0x312, 0x0018}, {0x844, 0x1252}};
    platform().bytes[{13, 0x64, 0x77, 0}] = std::vector<uint8_t>(256, 0x21);
    const Json document = json_of({"power"});
    EXPECT_EQ(document["supplies"], Json::parse(R"([
        {"index": 0, "name": "psu0", "fitted": true,
         "pmbus": {"bus": 1, "address": "0x58", "switches": []}},
        {"index": 1, "name": "psu1", "fitted": false,
         "pmbus": {"bus": 1, "address": "0x59", "switches": []}}])"));
    EXPECT_EQ(document["power_ok"], Json::parse(R"({"any": true, "register": "0x0001"})"));
    ASSERT_EQ(document["regulators"].size(), 14u);
    EXPECT_EQ(document["regulators"][0], Json::parse(R"({
        "cpu": 0, "rail": "PVCCIN", "rail_code": 3, "model": "XDPE12284", "instance": 0,
        "route": {"bus": 13, "address": "0x64", "switches": [{"address": "0x77", "channel": 0}]},
        "status_register": "0x310", "first_status": {"bit": 15, "level": 1},
        "second_status": {"bit": 6, "level": 1}})"));
    EXPECT_EQ(document["regulators"][13]["first_status"], nullptr);
    EXPECT_EQ(document["regulators"][13]["rail_code"], nullptr);
    EXPECT_EQ(document["firmware"]["regulators"][4]["revision"], "0x21");
    EXPECT_EQ(document["firmware"]["regulators"][3]["revision"], nullptr);
    EXPECT_EQ(document["faults"]["cpu"][0], Json::parse(R"({
        "group": 0, "register": "0x310", "mask": "0xE0", "value": "0xA0E8", "masked": "0xE0"})"));
    EXPECT_EQ(document["faults"]["dimm"][1]["masked"], "0x18");
    EXPECT_EQ(document["faults"]["abnormal"].size(), 27u);
    EXPECT_EQ(document["faults"]["abnormal"][1]["masked"], "0x52");
    EXPECT_EQ(document["faults"]["abnormal"][0]["mask"], nullptr);
    EXPECT_EQ(document["support"], Json::parse(R"({"supplies": true, "gpu": false,
        "pcie_self_test_alarm": false, "ai_adapter": false})"));
}

TEST(Power, ARegisterThatCannotBeReadFails) {
    platform().fail_if = [](const std::string &call) { return call == "epldio_read 0x192"; };
    const Json document = json_of({"power"}, 1);
    EXPECT_EQ(document["power_ok"], Json::parse(R"({"any": null, "register": null})"));
    EXPECT_EQ(document["failures"], Json::array({"the power-ok register cannot be read"}));
}

TEST(Power, ARegisterThatDoesNotSettleFails) {
    uint16_t word = 0;
    platform().on_epld_read = [&](uint32_t reg, uint16_t *value) {
        *value = reg == 0x192 ? word++ : 0;
        return 0;
    };
    const Json document = json_of({"power"}, 1);
    EXPECT_EQ(document["power_ok"], Json::parse(R"({"any": false, "register": null})"));
    EXPECT_EQ(document["failures"], Json::array({"the power-ok register does not settle"}));
}

// ---- topology ----

TEST(Topology, EveryDeviceStandsOnceInTheTree) {
    const Json document = json_of({"topology"});
    size_t devices = 0;
    for (const Json &bus : document["buses"]) {
        devices += bus["devices"].size();
        for (const Json &mux : bus["switches"]) {
            for (const Json &channel : mux["channels"]) {
                devices += channel["devices"].size();
            }
        }
    }
    EXPECT_EQ(devices, 55u);
    EXPECT_EQ(document["buses"].size(), 14u);
    EXPECT_EQ(document["buses"][1]["devices"][0],
              Json::parse(R"({"address": "0x58", "address_8bit": "0xB0", "name": "PSU1"})"));
    EXPECT_EQ(document["buses"][12]["switches"][0]["address"], "0x70");
    EXPECT_EQ(document["buses"][12]["switches"][0]["channels"][5]["devices"][0]["name"],
              "slimline-6");
    EXPECT_TRUE(platform().calls.empty());
}

// ---- dimm ----

TEST(Dimm, FittedAsTheHostHasTold) {
    EXPECT_EQ(json_of({"dimm"})["sockets"][0]["fitted"], nullptr);
    write_file("/var/host_dimms", "1\n32\nx");
    const Json sockets = json_of({"dimm"})["sockets"];
    EXPECT_EQ(sockets[0], Json::parse(R"({"index": 1, "dimm_number": 1, "label": "DIMM1A1",
        "cpu": 0, "controller": 3, "channel": 0, "slot": 0, "bios_channel": 6,
        "card_index": null, "fitted": true})"));
    EXPECT_EQ(sockets[1]["fitted"], false);
    EXPECT_EQ(sockets[31]["fitted"], true);
}

TEST(Dimm, DecodeSel) {
    const Json document = json_of({"dimm", "decode-sel", "0x10", "2"});
    EXPECT_EQ(document["dimm_number"], 30);
    EXPECT_EQ(document["label"], "DIMM2G2");
    EXPECT_EQ(document["direct"], false);
    EXPECT_EQ(document["socket"]["controller"], 0);
    const Json direct = json_of({"dimm", "decode-sel", "0xFF", "0x0B"});
    EXPECT_EQ(direct["dimm_number"], 1);
    EXPECT_EQ(direct["label"], "DIMM1A1");
    EXPECT_EQ(direct["direct"], true);
    EXPECT_EQ(direct["card_index"], 255);
    const Json far = json_of({"dimm", "decode-sel", "0", "0xF1"});
    EXPECT_EQ(far["dimm_number"], 120);
    EXPECT_EQ(far["socket"], nullptr);
    const Json none = json_of({"dimm", "decode-sel", "0x2F", "0"}, 1);
    EXPECT_EQ(none["dimm_number"], nullptr);
    EXPECT_EQ(none["label"], nullptr);
    EXPECT_EQ(none["failures"], Json::array({"the event names no socket"}));
}

TEST(Dimm, DecodeBios) {
    const Json packed = json_of({"dimm", "decode-bios", "5", "0", "0x5D"});
    EXPECT_EQ(packed["packed"], true);
    EXPECT_EQ(packed["direct"], false);
    EXPECT_EQ(packed["label"], "DIMM2B2");
    EXPECT_EQ(json_of({"dimm", "decode-bios", "4", "0x10", "0x02"})["label"], "DIMM2G2");
}

TEST(Dimm, WrongUse) {
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"dimm", "decode-sel", "1"},
          {"dimm", "decode-sel", "256", "1"},
          {"dimm", "decode-sel", "-1", "1"},
          {"dimm", "decode-bios", "1", "2"},
          {"dimm", "decode-sel", "x", "1"}}) {
        EXPECT_EQ(ask(arguments).status, 2);
    }
}

// ---- bios ----

TEST(Bios, ItemsAndValues) {
    const Json items = json_of({"bios"})["items"];
    ASSERT_EQ(items.size(), 40u);
    EXPECT_EQ(items[4], Json::parse(R"({"group": 0, "item": 4, "name": "PackageCState",
        "placeholder": false, "values": [{"code": 0, "text": "C01State"},
        {"code": 1, "text": "C2State"}, {"code": 2, "text": "C6(nonRetention)State"},
        {"code": 255, "text": "Auto"}], "range": null})"));
    EXPECT_EQ(items[10], Json::parse(R"({"group": 1, "item": 2, "name": null,
        "placeholder": true, "values": [], "range": null})"));
    EXPECT_EQ(items[38], Json::parse(R"({"group": 128, "item": 4, "name": "PxeRetryCount",
        "placeholder": false, "values": [], "range": {"lowest": 1, "highest": 99}})"));
    EXPECT_TRUE(platform().calls.empty());
}

TEST(Bios, BothWays) {
    EXPECT_EQ(json_of({"bios", "decode", "6", "0", "2"})["text"], "UEFI");
    EXPECT_EQ(json_of({"bios", "decode", "128", "4", "99"})["text"], "99");
    Json failed = json_of({"bios", "decode", "6", "0", "0"}, 1);
    EXPECT_EQ(failed["completion"], "0xC7");
    EXPECT_EQ(failed["text"], nullptr);
    failed = json_of({"bios", "decode", "1", "2", "0"}, 1);
    EXPECT_EQ(failed["completion"], "0x80");
    EXPECT_EQ(failed["failures"], Json::array({"the item is reserved"}));
    EXPECT_EQ(json_of({"bios", "encode", "BootMode", "UEFI"})["code"], 2);
    EXPECT_EQ(json_of({"bios", "encode", "PackageCState", "Auto"})["code"], 255);
    failed = json_of({"bios", "encode", "BootMode", "uefi"}, 1);
    EXPECT_EQ(failed["completion"], "0xC7");
    failed = json_of({"bios", "encode", "PxeRetryCount", "many"}, 1);
    EXPECT_EQ(failed["code"], nullptr);
    failed = json_of({"bios", "encode", "BootMode", std::string(33, 'U')}, 1);
    EXPECT_EQ(failed["code"], nullptr);
}

// ---- fru ----

namespace {

// The smallest image with a board area: "VEL", checksums right.
const std::string small_image("\x01\0\0\x01\0\0\0\xFE\x01\x02\0\x7E\xBB\xE3\xC3VEL\0\0\0\0\xC1\x76",
                              24);

}  // namespace

TEST(Fru, Show) {
    write_file(image, small_image);
    const Json document = json_of({"fru", "show", "mainboard"});
    EXPECT_EQ(document["card"], Json::parse(R"({"key": 0, "name": "mainboard", "route": null})"));
    EXPECT_EQ(document["header"], Json::parse(R"({"version": 1, "checksum_valid": true,
        "internal_use": null, "multi_record": null})"));
    EXPECT_EQ(document["board"], Json::parse(R"({"offset": 8, "length": 16,
        "checksum_valid": true, "language": 0, "manufactured": "2024-05-17 08:30",
        "manufacturer": "VEL", "product": "", "serial": "", "part": "", "file_id": "",
        "custom": []})"));
    EXPECT_EQ(document["product"], nullptr);
    EXPECT_EQ(document["bytes"], 24);
    EXPECT_EQ(document["problems"], Json::array());
}

TEST(Fru, NamesAndKeys) {
    write_file(image, small_image);
    for (const char *name : {"0", "0x0", "mainboard", "MainBoard"}) {
        EXPECT_EQ(json_of({"fru", "show", name})["card"]["key"], 0);
    }
    for (const char *name : {"256", "-1", "2", "16", "nobody", ""}) {
        const Outcome outcome = ask({"fru", "show", name});
        EXPECT_EQ(outcome.status, 2) << name;
        EXPECT_THAT(outcome.err, StartsWith("boardctl: no FRU data are known for ")) << name;
    }
    EXPECT_THAT(ask({"fru", "show", "nobody"}).err,
                HasSubstr("; there are mainboard, sas, bpra_1"));
}

TEST(Fru, NothingThereFails) {
    EXPECT_EQ(json_of({"fru", "show", "mainboard"}, 1)["failures"],
              Json::array({"the FRU data cannot be read"}));
    write_file(image, std::string(64, '\xFF'));
    const Json blank = json_of({"fru", "show", "mainboard"}, 1);
    EXPECT_EQ(blank["failures"], Json::array({"there are no FRU data"}));
    EXPECT_EQ(blank["header"], nullptr);
    write_file(image, small_image.substr(0, 20));
    EXPECT_EQ(json_of({"fru", "show", "mainboard"}, 1)["failures"][0],
              "the FRU data end before what the header names");
}

TEST(Fru, Read) {
    write_file(image, small_image + "rest");
    EXPECT_EQ(json_of({"fru", "read", "0"})["length"], 24);
    EXPECT_EQ(json_of({"fru", "read", "0", "--offset", "24", "--length", "4"})["bytes"],
              "72657374");
    const Json cut = json_of({"fru", "read", "0", "--offset", "26", "--length", "100"}, 1);
    EXPECT_EQ(cut["bytes"], "7374");
    EXPECT_EQ(cut["failures"], Json::array({"2 of 100 bytes can be read"}));
    EXPECT_EQ(json_of({"fru", "read", "0", "/var/out"})["path"], "/var/out");
    EXPECT_EQ(contents("/var/out"), small_image);
    EXPECT_EQ(json_of({"fru", "read", "0", "/none/out"}, 1)["failures"],
              Json::array({"/none/out cannot be written: No such file or directory"}));
}

TEST(Fru, WriteNeedsConsent) {
    write_file(image, small_image);
    write_file("/var/new", "new");
    const Outcome nobody = ask({"fru", "write", "0", "/var/new"});
    EXPECT_EQ(nobody.status, 2);
    EXPECT_EQ(nobody.err, "boardctl: this changes the board: confirm it with --yes\n");
    const Outcome no = ask({"fru", "write", "0", "/var/new"},
                           {.err = End::terminal, .in = End::terminal, .typed = "n\n"});
    EXPECT_EQ(no.status, 1);
    EXPECT_THAT(no.err, HasSubstr("Write 3 bytes at offset 0 of the FRU data of mainboard? [y/N]"));
    EXPECT_EQ(contents(image), small_image);
    const Outcome yes = ask({"fru", "write", "0", "/var/new", "--offset", "2"},
                            {.err = End::terminal, .in = End::terminal, .typed = "y\n"});
    EXPECT_EQ(yes.status, 0);
    EXPECT_EQ(contents(image).substr(2, 3), "new");
}

TEST(Fru, WriteIsVerified) {
    write_file(image, std::string(100, 'x'));
    write_file("/var/new", std::string(70, 'n'));
    const Json document = json_of({"fru", "write", "0", "/var/new", "--offset", "10", "--yes"});
    EXPECT_EQ(document["written"], 70);
    EXPECT_EQ(document["verified"], true);
    EXPECT_EQ(contents(image), std::string(10, 'x') + std::string(70, 'n') + std::string(20, 'x'));
}

// An EEPROM that takes its time: how far it is shows on a terminal, and nothing of it stays.
TEST(Fru, ASlowWriteShowsHowFarItIs) {
    write_file("/var/new", std::string(160, 'n'));
    platform().epld[0x208] = 1 << 3;
    platform().bytes[{11, 0x51, 0, 0}] = std::vector<uint8_t>(256, 0);
    platform().fail_if = [](const std::string &call) {
        usleep(call.starts_with("ei2c_eeprom_write") ? 350'000 : 0);
        return false;
    };
    const std::vector<std::string> write = {"fru", "write", "sas", "/var/new", "--yes"};
    const Outcome outcome = ask(write, {.err = End::terminal});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.err, testing::ContainsRegex("^\r\x1b\\[KWriting FRU data \\((32|64|96) of "
                                                    "160 bytes, 1 s\\)"));
    EXPECT_THAT(outcome.err, testing::EndsWith("\r\x1b[K"));
    EXPECT_THAT(outcome.out, testing::EndsWith("  Verified       yes\n"));
    EXPECT_EQ(ask(write).err, "");
}

TEST(Fru, AWriteThatFails) {
    write_file("/var/new", std::string(70, 'n'));
    platform().epld[0x208] = 1 << 3;
    platform().bytes[{11, 0x51, 0, 0}] = std::vector<uint8_t>(256, 0);
    platform().fail_if = [](const std::string &call) {
        return call == "ei2c_eeprom_write 11:0x51 offset 0x20 length 32";
    };
    Json document = json_of({"fru", "write", "sas", "/var/new", "--yes"}, 1);
    EXPECT_EQ(document["written"], 32);
    EXPECT_EQ(document["verified"], false);
    EXPECT_EQ(document["failures"], Json::array({"32 of 70 bytes were written"}));

    // An EEPROM that is write-protected takes the bytes and keeps what it has.
    platform().failure = 32;
    platform().fail_if = [](const std::string &call) {
        return call.starts_with("ei2c_eeprom_write") && call.ends_with("length 32");
    };
    document = json_of({"fru", "write", "sas", "/var/new", "--yes"}, 1);
    EXPECT_EQ(document["written"], 70);
    EXPECT_EQ(document["verified"], false);
    EXPECT_EQ(document["failures"], Json::array({"the FRU data do not hold what was written"}));
}

TEST(Fru, WhatCannotBeWritten) {
    EXPECT_EQ(ask({"fru", "write", "0", "/var/none", "--yes"}).status, 1);
    write_file("/var/empty", "");
    EXPECT_THAT(ask({"fru", "write", "0", "/var/empty", "--yes"}).err,
                HasSubstr("/var/empty holds 0 bytes"));
    write_file("/var/huge", std::string(0x10001, 'x'));
    EXPECT_EQ(ask({"fru", "write", "0", "/var/huge", "--yes"}).status, 1);
    EXPECT_EQ(ask({"fru", "write", "0"}).status, 2);
    EXPECT_EQ(ask({"fru", "write", "0", "/var/x", "--offset", "65536", "--yes"}).status, 2);
    EXPECT_TRUE(platform().calls.empty());
}

// ---- pier ----

TEST(Pier, Send) {
    platform().on_i2c_write = [](const I2cChipRoute &, uint32_t, const uint8_t *, uint32_t) {
        return 0;
    };
    platform().on_i2c_read = [](const I2cChipRoute &, uint32_t length, uint8_t *bytes,
                                uint32_t offset) {
        const std::string source = offset == 0 ? std::string("\x05\x01\0\0", 4) : "Hello";
        std::copy_n(source.begin(), length, bytes);
        return 0;
    };
    const Json document = json_of({"pier", "send", "6", "1", "0x80", "3", "0aFF", "0x10"});
    EXPECT_EQ(document, Json::parse(R"({"pcie_slot": 6, "command": ["0x01", "0x80", "0x03"],
        "request": "0aff10", "answered": true, "length": 5, "response": "48656c6c6f",
        "failures": []})"));
    const Outcome table = ask({"pier", "send", "6", "1", "2", "3"});
    EXPECT_THAT(table.out, HasSubstr("As text   Hello\n"));
}

TEST(Pier, AFailedExchange) {
    const Json document = json_of({"pier", "send", "10", "1", "2", "3"}, 1);
    EXPECT_EQ(document["answered"], false);
    EXPECT_EQ(document["response"], nullptr);
    EXPECT_EQ(document["failures"], Json::array({"the exchange with the card in slot 10 failed"}));
}

TEST(Pier, WrongUse) {
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"pier", "send", "0", "1", "2", "3"},
          {"pier", "send", "11", "1", "2", "3"},
          {"pier", "send", "1", "256", "2", "3"},
          {"pier", "send", "1", "1", "2"},
          {"pier", "send", "1", "1", "2", "3", "xyz"},
          {"pier", "send", "1", "1", "2", "3", "123"},
          {"pier", "send", "1", "1", "2", "3", "0x"},
          {"pier", "send", "1", "1", "2", "3", std::string(242, 'a')}}) {
        EXPECT_EQ(ask(arguments).status, 2);
    }
    EXPECT_TRUE(platform().calls.empty());
}

TEST(Pier, Cards) {
    const Json cards = json_of({"pier"})["cards"];
    ASSERT_EQ(cards.size(), 10u);
    EXPECT_EQ(cards[2], Json::parse(R"({"index": 2, "key": 25, "pcie_slot": 3, "name": "pcie3",
        "fitted": false, "route": {"bus": 4, "address": "0x61",
        "switches": [{"address": "0x70", "channel": 3}]}})"));
    EXPECT_EQ(cards[9]["fitted"], nullptr);
}
