// Each command over a scripted board: its document, its table, its exit status.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <fstream>
#include <set>
#include <sstream>

#include "boardfeatures/host.h"
#include "child.h"
#include "program.h"
#include "support/scripted_platform.h"

using boardctl_test::ask;
using boardctl_test::End;
using boardctl_test::Json;
using boardctl_test::Outcome;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

// Board 0x5440, PCB 0, BOM 1: the T variant; bit 15 makes the parity odd.
constexpr uint16_t t_variant_word = 0x8801;
// Board 0x5459, PCB 1, BOM 0.
constexpr uint16_t backplane_word = 0x0B28 | 0x8000 * ((5 + 1) % 2);

void main_board(uint16_t word) { scripted::platform().identifier(13, 0x26, 0, 0, word); }

const Json &row_of(const Json &rows, const char *key, const Json &value) {
    for (const Json &row : rows) {
        if (row[key] == value) {
            return row;
        }
    }
    throw std::runtime_error("no row " + value.dump());
}

std::string file_text(const char *path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

const std::vector<std::string> all_commands = {
    "fans",   "cooling",  "liquid",       "identity",    "maintenance", "cards", "cpus",
    "leds",   "netcards", "raidcards",    "pcie",        "backplanes",  "disks", "config",
    "alarms", "customer", "slots-custom", "effect-mode", "soc",         "ipc",   "net",
    "check",  "oplog",    "cpu",          "report",      "pier",        "power", "topology",
    "dimm",   "bios",     "fru"};

TEST(Identity, TellsTheMainBoard) {
    main_board(t_variant_word);
    scripted::platform().epld[0x188] = 1;
    scripted::platform().epld[0x208] = 1 << 12;
    const Outcome outcome = ask({"identity", "--json"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    const Json json = outcome.json();
    EXPECT_EQ(json["main_board"], Json::parse(R"({
        "board_id": "0x5440", "pcb_id": 0, "bom_id": 1, "hard_id": "0x544001",
        "raw_value": "0x544001", "bus": 13, "t_variant": true})"))
        << outcome.out;
    EXPECT_EQ(json["backplanes"], Json::parse(R"({"combination": null, "board_id": null})"));
    EXPECT_EQ(json["state"],
              Json::parse(R"({"intrusion": 1, "ocp_card_fitted": true, "ocp_card_location": 2})"));
    EXPECT_EQ(json["constants"], Json::parse(R"({
        "rack_server": true, "blade_server": false, "slot_id": null, "hardware_address": 0,
        "single_bios_flash": true, "low_config_processor": false, "cups_board_type": 1,
        "mac_default_board_type": 0, "power_off_delay": 4,
        "power_status_registers": ["0x310", "0x312"], "epld_update_channel": 0,
        "fru_firmware_location": 1, "card_key_max": 30, "sel_transfer_flag": 0,
        "host1_uart_sol_source": 0, "host1_soc_uart_epld_value": 255, "product_name_card": null,
        "product_name_card_board_id": null, "maintenance_test_registers": 111})"));
    EXPECT_EQ(json["failures"], Json::array());

    const Outcome table = ask({"identity"});
    EXPECT_EQ(table.status, 0);
    EXPECT_THAT(table.out, StartsWith("Main board\n  Board id               0x5440\n"));
    EXPECT_THAT(table.out, HasSubstr("\n  T variant              yes\n"));
    EXPECT_THAT(table.out, HasSubstr("\n  Power status registers      0x310, 0x312\n"));
}

TEST(Identity, OtherBomIsNoTVariant) {
    main_board(0x0800);
    const Json json = ask({"identity", "--json"}).json();
    EXPECT_EQ(json["main_board"]["board_id"], "0x5440");
    EXPECT_EQ(json["main_board"]["t_variant"], false);
}

TEST(Identity, BackplaneCombination) {
    main_board(t_variant_word);
    scripted::platform().identifier(7, 0x20, 0, 0, backplane_word);
    Json json = ask({"identity", "--json"}).json();
    EXPECT_EQ(json["backplanes"], Json::parse(R"({"combination": 0, "board_id": "0x5459"})"));
    scripted::platform().identifier(8, 0x20, 0, 0, backplane_word);
    json = ask({"identity", "--json"}).json();
    EXPECT_EQ(json["backplanes"], Json::parse(R"({"combination": 2, "board_id": "0x5459"})"));
}

// What cannot be read fails the command; everything else is still told.
TEST(Identity, WithoutAnIdentifier) {
    const Outcome outcome = ask({"identity", "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "boardctl: the main board's identifier cannot be read\n");
    const Json json = outcome.json();
    EXPECT_TRUE(json["main_board"]["board_id"].is_null());
    EXPECT_TRUE(json["main_board"]["raw_value"].is_null());
    EXPECT_TRUE(json["main_board"]["t_variant"].is_null());
    EXPECT_EQ(json["main_board"]["bus"], 13);
    EXPECT_EQ(json["constants"]["power_off_delay"], 4);
    EXPECT_EQ(json["failures"], Json::array({"the main board's identifier cannot be read"}));
    const Outcome table = ask({"identity"});
    EXPECT_EQ(table.status, 1);
    EXPECT_THAT(table.out, HasSubstr("\n  T variant              -\n"));
}

TEST(Identity, EvenParityIsNoIdentifier) {
    main_board(t_variant_word ^ 0x8000);
    EXPECT_EQ(ask({"identity"}).status, 1);
}

TEST(Maintenance, AllRegistersInOrder) {
    const Outcome outcome = ask({"maintenance", "--json"});
    EXPECT_EQ(outcome.status, 0);
    const Json registers = outcome.json()["registers"];
    ASSERT_EQ(registers.size(), 111u);
    EXPECT_EQ(registers.front(), "0x080");
    EXPECT_EQ(registers[71], "0x380");
    EXPECT_EQ(registers.back(), "0x866");
    const Outcome table = ask({"maintenance"});
    EXPECT_THAT(table.out, StartsWith("111 EPLD registers in the order of the maintenance test\n"
                                      "  0x080  0x082  0x084"));
    EXPECT_THAT(table.out, testing::EndsWith("  0x864  0x866\n"));
}

// Key, name and how the presence is known, as an engineer would list them.
TEST(Cards, EveryPosition) {
    const Json rows = ask({"cards", "--json"}).json()["cards"];
    std::vector<std::string> lines;
    for (const Json &row : rows) {
        const Json &presence = row["presence"];
        std::string line = row["key"].dump() + " " + row["name"].get<std::string>();
        for (const char *part : {"register", "bit", "pin"}) {
            line += presence.contains(part) ? " " + presence[part].dump() : "";
        }
        if (presence.contains("route")) {
            line += " bus " + presence["route"]["bus"].dump();
            line += presence["route"]["switches"].empty() ? "" : " switched";
        }
        const Json &identifier = row["identifier"];
        line += identifier.is_null() ? " no identifier" : " id " + identifier["bus"].dump();
        lines.push_back(line);
    }
    EXPECT_THAT(lines, testing::ElementsAreArray({R"(1 sas "0x208" 3 id 11)",
                                                  "5 bpra_1 bus 3 id 3",
                                                  "6 bprb_1 bus 4 id 4",
                                                  "7 bprb_2 bus 5 id 5",
                                                  "8 bpra_2 bus 6 id 6",
                                                  "9 bpfa_1 bus 7 id 7",
                                                  "10 bpfa_2 bus 8 id 8",
                                                  "11 bpfa_3 bus 9 id 9",
                                                  "14 M-I2C-6 bus 10 id 10",
                                                  R"(16 TPM "0x208" 5 no identifier)",
                                                  R"(17 FAN1 "0x208" 6 no identifier)",
                                                  R"(18 FAN2 "0x208" 7 no identifier)",
                                                  R"(19 FAN3 "0x208" 8 no identifier)",
                                                  R"(20 FAN4 "0x208" 9 no identifier)",
                                                  R"(21 RAIDKEY "0x208" 11 no identifier)",
                                                  R"(22 OCP "0x208" 12 no identifier)",
                                                  "23 pcie1 0 bus 3 id 3",
                                                  "24 pcie2 1 bus 3 id 3",
                                                  "25 pcie3 2 bus 4 switched id 4",
                                                  "26 pcie4 1 bus 4 switched id 4",
                                                  "27 pcie5 0 bus 4 switched id 4",
                                                  "28 pcie6 0 bus 5 switched id 5",
                                                  "29 pcie7 1 bus 5 switched id 5",
                                                  "30 pcie8 2 bus 5 switched id 5",
                                                  "31 pcie9 0 bus 6 id 6",
                                                  "32 pcie10 1 bus 6 id 6"}));
}

TEST(Cards, FittedAndIdentified) {
    scripted::platform().epld[0x208] = 1 << 3 | 1 << 7;
    scripted::platform().identifier(7, 0x20, 0, 0, backplane_word);
    scripted::platform().expanders[{3, 0x21, 0, 0}].input = 0xFFFE;     // pcie1's pin is low
    scripted::platform().identifier(6, 0x22, 0x70, 1, t_variant_word);  // pcie9's card
    const Outcome outcome = ask({"cards", "--json"});
    EXPECT_EQ(outcome.status, 0);
    const Json json = outcome.json();
    EXPECT_EQ(json["card_key_max"], 30);
    std::set<int> fitted, unknown;
    for (const Json &row : json["cards"]) {
        if (row["fitted"].is_null()) {
            unknown.insert(row["key"].get<int>());
            EXPECT_EQ(row["online_status"], -1);
        } else {
            EXPECT_EQ(row["online_status"], row["fitted"] == true ? 1 : 0);
            if (row["fitted"] == true) {
                fitted.insert(row["key"].get<int>());
            }
        }
    }
    EXPECT_THAT(fitted, ElementsAre(1, 9, 18, 23));
    EXPECT_THAT(unknown, ElementsAre(31, 32));
    EXPECT_EQ(row_of(json["cards"], "key", 9)["identifier"], Json::parse(R"({
        "bus": 7, "board_id": "0x5459", "pcb_id": 1, "bom_id": 0, "hard_id": "0x545910",
        "raw_value": "0xD45910"})"));
    EXPECT_EQ(row_of(json["cards"], "key", 31)["identifier"]["board_id"], "0x5440");
    // fitted, but without an identifier that can be read
    EXPECT_EQ(row_of(json["cards"], "key", 1)["identifier"], Json::parse(R"({
        "bus": 11, "board_id": null, "pcb_id": null, "bom_id": null, "hard_id": null,
        "raw_value": null})"));

    const std::string table = ask({"cards"}).out;
    EXPECT_THAT(table, HasSubstr("\n    9  bpfa_1   yes      0x5459    1    0  0x545910       7  "
                                 "identifier 7/0x20\n"));
    EXPECT_THAT(table, HasSubstr("\n   31  pcie9    unknown  0x5440    0    1  0x544001       6  "
                                 "expander 6/0x21 pin 0 low\n"));
    EXPECT_THAT(table, HasSubstr("\n   25  pcie3    no       -         -    -  -              4  "
                                 "expander 4/0x70.0/0x21 pin 2 low\n"));
    EXPECT_THAT(table, HasSubstr("keys 1 to 30 only\n"));
}

TEST(Cards, TwoChipIdentifiers) {
    // the SAS card's 24 bits: board 0x1234, PCB 5, BOM 6, odd without bit 23
    scripted::platform().identifier(13, 0x20, 0x77, 5, 0x3456);
    scripted::platform().identifier(13, 0x21, 0x77, 5, 0x0012);
    const Json rows = ask({"cards", "--json"}).json()["base_info"];
    std::vector<int> keys;
    for (const Json &row : rows) {
        keys.push_back(row["key"].get<int>());
    }
    EXPECT_THAT(keys, ElementsAre(0, 1, 2, 3, 4, 5, 7, 9, 10, 13, 14, 15, 16));
    EXPECT_EQ(row_of(rows, "key", 3)["identifier"], Json::parse(R"({
        "bus": 13, "board_id": "0x1234", "pcb_id": 5, "bom_id": 6, "hard_id": "0x123456",
        "raw_value": "0x123456"})"));
    EXPECT_TRUE(row_of(rows, "key", 4)["identifier"]["board_id"].is_null());
}

// An unknown key is found out without a message: only those that have no two-chip row leave one
// line each in the run-time debug log.
TEST(Cards, LooksForKeysQuietly) {
    const auto outcome = boardctl_test::in_child([] {
        std::string arguments[] = {"boardctl", "cards"};
        char *argv[] = {arguments[0].data(), arguments[1].data(), nullptr};
        boardctl::run(2, argv);
        const auto texts = scripted::platform().texts();
        for (const std::string &text : texts) {
            std::fputs(text.c_str(), stderr);
        }
        return static_cast<int>(texts.size());
    });
    // of the keys 0 to 32 thirteen have such a row
    EXPECT_EQ(outcome.status, 33 - 13);
    EXPECT_THAT(outcome.err, Not(HasSubstr("get_hwid_Smbus")));
}

TEST(Cpus, FittedOnes) {
    scripted::platform().epld[0x8C] = 2;
    scripted::platform().epld[0x316] = 0xBEEF;
    const Outcome outcome = ask({"--json", "cpus"});
    EXPECT_EQ(outcome.status, 0);
    const Json json = outcome.json();
    EXPECT_EQ(json["cpus"], Json::parse(R"([
        {"index": 0, "silk_screen": 1, "entity_instance": 1, "fitted": false},
        {"index": 1, "silk_screen": 2, "entity_instance": 2, "fitted": true}])"));
    EXPECT_EQ(json["location_register"], "0xBEEF");
    EXPECT_EQ(json["constants"], Json::parse(R"({
        "type": 1, "platform": 1, "max_count": 2,
        "temperature_limits": {"tjmax": null, "critical": null, "non_recoverable": null},
        "epld_temperature": false, "epld_temperature_offset": null, "iss": false,
        "reduce_flag": 0, "bios_post_end_flag": 255, "frb2_watchdog_timeout": 64,
        "os_time_register": null, "os_sync_time": null, "sync_time_save_path": 0,
        "temperature_non_critical_disable": null})"));
    EXPECT_THAT(ask({"cpus"}).out, HasSubstr("\n      1            2                2  yes\n"));
}

TEST(Leds, AllAndTheirBits) {
    const Outcome outcome = ask({"leds", "--json"});
    EXPECT_EQ(outcome.status, 0);
    const Json json = outcome.json();
    EXPECT_EQ(json["counts"], Json::parse(R"({"all": 8, "epld": 7, "i2c": 0, "gpio": 0})"));
    ASSERT_EQ(json["leds"].size(), 8u);
    EXPECT_EQ(json["leds"][0], Json::parse(R"({
        "index": 0, "led_id": "0xFF", "kind": "0x00", "attribute": "0x05", "epld": null})"));
    EXPECT_EQ(json["leds"][4], Json::parse(R"({
        "index": 4, "led_id": "0x59", "kind": "0x04", "attribute": "0x03",
        "epld": {"register": "0x33E", "mask": "0x02", "on_value": 0, "off_value": 0}})"));
    EXPECT_EQ(json["leds"][7]["epld"], Json::parse(R"({
        "register": "0x032", "mask": "0x01", "on_value": 0, "off_value": 1})"));
    EXPECT_THAT(ask({"leds"}).out,
                HasSubstr("\n      4  0x59    0x04  0x03       0x33E          0x02   0    0\n"));
}

TEST(Netcards, ControllersPortsSupport) {
    const Outcome outcome = ask({"netcards", "--json"});
    EXPECT_EQ(outcome.status, 0);
    const Json json = outcome.json();
    ASSERT_EQ(json["controllers"].size(), 2u);
    EXPECT_EQ(json["controllers"][1], Json::parse(R"({
        "index": 1, "board_id": "0x00FF", "package_id": 1, "slot_id": 255, "interface_type": 0,
        "device_name": "I210", "name": "OnBoard", "chip_maker": "Intel", "card_maker": "VEL",
        "module": "1*GE",
        "ports": [{"port": 0, "speed": 0, "sub_interface": 0, "sub_index": 2}]})"));
    EXPECT_EQ(json["support"], Json::parse(R"({
        "ncsi": true, "smbus": true, "bond_configuration": true, "auto_configuration": true,
        "tep": false, "sync_mac": false, "x722_only_2_copper": false,
        "phy_check_disabled": false, "correct_device_table": false, "mctp_closed": false,
        "bus_owner_proxy_eid": 8})"));
    EXPECT_THAT(ask({"netcards"}).out,
                AllOf(HasSubstr("\n      1  OnBoard  I210    Intel"), HasSubstr("\nPorts\n")));
}

TEST(Raidcards, PositionsAndRoutes) {
    g_ControllerList.count = 1;
    g_ControllerList.entries[0] = {.id1 = 0x1000, .device_id = 0x00E6, .pcie_slot = 4};
    const Outcome outcome = ask({"raidcards", "--json"});
    EXPECT_EQ(outcome.status, 0);
    const Json json = outcome.json();
    EXPECT_EQ(json["supported"], true);
    EXPECT_EQ(json["max_count"], 11);
    EXPECT_EQ(json["out_of_band"],
              Json::parse(R"({"switch": null, "default": 1, "board_switch": false})"));
    ASSERT_EQ(json["raid_cards"].size(), 11u);
    EXPECT_EQ(json["raid_cards"][3], Json::parse(R"({
        "index": 4, "name": "pcie4", "pcie_slot": 4, "card_key": 26,
        "route": {"bus": 4, "address": "0x05",
                  "switches": [{"address": "0x70", "channel": 2}]},
        "controller_listed": true})"));
    EXPECT_EQ(json["raid_cards"][10], Json::parse(R"({
        "index": 11, "name": "pmc", "pcie_slot": null, "card_key": 3,
        "route": {"bus": 13, "address": "0x01",
                  "switches": [{"address": "0x77", "channel": 5}]},
        "controller_listed": false})"));
    EXPECT_THAT(ask({"raidcards"}).out,
                HasSubstr("\n     11  pmc             -         3  13/0x77.5/0x01  no\n"));
}

class Switch : public testing::Test {
protected:
    static constexpr char path[] = "/conf/vel/outband_storage_switch.ini";
    Switch() {
        mkdir("/conf/vel", 0755);
        std::ofstream(path) << "[pmc]\nenable = 1\n";
    }
};

TEST_F(Switch, IsShown) {
    EXPECT_EQ(ask({"raidcards", "--json"}).json()["out_of_band"]["switch"], 1);
    std::ofstream(path) << "[pmc]\nenable = 0\n";
    EXPECT_EQ(ask({"raidcards", "--json"}).json()["out_of_band"]["switch"], 0);
}

TEST_F(Switch, IsSetWithYes) {
    const Outcome outcome = ask({"raidcards", "set-oob", "off", "--yes", "--json"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.json(), Json::parse(R"({"out_of_band": {"switch": 0}, "failures": []})"));
    EXPECT_EQ(ask({"raidcards", "--json"}).json()["out_of_band"]["switch"], 0);
    EXPECT_EQ(ask({"raidcards", "set-oob", "on", "-y"}).out, "  Out-of-band switch  1\n");
}

TEST_F(Switch, IsNotSetUnasked) {
    const std::string before = file_text(path);
    const Outcome outcome = ask({"raidcards", "set-oob", "off"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "boardctl: this changes the board: confirm it with --yes\n");
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(file_text(path), before);
}

TEST_F(Switch, IsSetWithConsentOnly) {
    const std::string before = file_text(path);
    const Outcome refused = ask({"raidcards", "set-oob", "off"},
                                {.err = End::terminal, .in = End::terminal, .typed = "n\n"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, StartsWith("Set the out-of-band switch to 0? [y/N] "));
    EXPECT_THAT(refused.err, HasSubstr("nothing was changed"));
    EXPECT_EQ(file_text(path), before);
    const Outcome given = ask({"raidcards", "set-oob", "off"},
                              {.err = End::terminal, .in = End::terminal, .typed = "y\n"});
    EXPECT_EQ(given.status, 0);
    EXPECT_EQ(given.out, "  Out-of-band switch  0\n");
}

TEST_F(Switch, FailsWithoutItsFile) {
    std::remove(path);
    const Outcome outcome = ask({"raidcards", "set-oob", "off", "-y"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "boardctl: the out-of-band switch cannot be saved\n");
}

TEST_F(Switch, TakesOnAndOffOnly) {
    EXPECT_EQ(ask({"raidcards", "set-oob", "maybe", "-y"}).status, 2);
    EXPECT_EQ(ask({"raidcards", "set-oob", "-y"}).status, 2);
}

// The report is what the single commands print.
TEST(Report, HoldsTheDocumentsOfAllCommands) {
    main_board(t_variant_word);
    scripted::platform().epld[0x208] = 0x1234;
    scripted::platform().fan_rpm = {{3, 9000}, {7, 8000}};  // the fourth module's
    const Outcome outcome = ask({"report", "--json"});
    EXPECT_EQ(outcome.status, 0);
    Json report = outcome.json();
    EXPECT_EQ(report["failures"], Json::array());
    report.erase("failures");
    std::vector<std::string> names;
    for (const auto &[name, document] : report.items()) {
        names.push_back(name);
        Json alone = ask({name, "--json"}).json();
        alone.erase("failures");
        EXPECT_EQ(document, alone) << name;
    }
    EXPECT_THAT(names,
                testing::IsSupersetOf({"identity", "cards", "cpus", "leds", "netcards", "raidcards",
                                       "pcie", "fans", "cooling", "liquid", "backplanes", "disks",
                                       "config", "alarms", "customer", "slots-custom", "net"}));
    EXPECT_EQ(names.front(), "identity");

    const std::string table = ask({"report"}).out;
    for (const std::string &name : names) {
        EXPECT_THAT(table, HasSubstr(ask({name}).out)) << name;
    }
    EXPECT_THAT(table, StartsWith("Board identity\n==============\n\nMain board\n"));
}

TEST(Report, MarksFailuresWithTheirSection) {
    const Outcome outcome = ask({"report", "--json"});
    EXPECT_EQ(outcome.status, 1);
    const char text[] = "identity: the main board's identifier cannot be read";
    EXPECT_EQ(outcome.json()["failures"], Json::array({text}));
    EXPECT_EQ(outcome.err, std::string("boardctl: ") + text + "\n");
    EXPECT_EQ(outcome.json()["cards"]["cards"].size(), 26u);
}

TEST(Use, WrongUseIsStatus2) {
    for (const std::vector<std::string> &arguments :
         std::vector<std::vector<std::string>>{{},
                                               {"nonsense"},
                                               {"identity", "--nonsense"},
                                               {"identity", "surplus"},
                                               {"identity", "cards"},
                                               {"--color", "sometimes", "cards"},
                                               {"--color"},
                                               {"cards", "--yes"}}) {
        const Outcome outcome = ask(arguments);
        EXPECT_EQ(outcome.status, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err, "");
    }
}

TEST(Use, HelpEverywhere) {
    const Outcome help = ask({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    EXPECT_THAT(help.out, AllOf(HasSubstr("--json"), HasSubstr("--color auto|always|never"),
                                HasSubstr("--version"), HasSubstr("Exit status")));
    for (const std::string &command : all_commands) {
        EXPECT_THAT(help.out, HasSubstr("\n  " + command + " "));
        const Outcome of_command = ask({command, "--help"});
        EXPECT_EQ(of_command.status, 0) << command;
        EXPECT_EQ(of_command.err, "") << command;
        EXPECT_THAT(of_command.out, HasSubstr("Usage: boardctl " + command));
    }
    const Outcome deep = ask({"raidcards", "set-oob", "--help"});
    EXPECT_EQ(deep.status, 0);
    EXPECT_THAT(deep.out, AllOf(HasSubstr("value on|off REQUIRED"), HasSubstr("-y,--yes")));
    // asking for help asks the board nothing
    EXPECT_THAT(scripted::platform().calls, testing::IsEmpty());
}

TEST(Use, Version) {
    const Outcome outcome = ask({"--version"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, testing::MatchesRegex("boardctl [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(Use, ColourOnATerminalOnly) {
    main_board(t_variant_word);
    const auto coloured = [](const std::vector<std::string> &arguments, End out,
                             const char *variable = "X", const char *value = "") {
        const Outcome outcome = ask(arguments, {.out = out, .environment = {{variable, value}}});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_NE(outcome.out, "");
        return outcome.out.find('\x1b') != std::string::npos;
    };
    EXPECT_FALSE(coloured({"report"}, End::pipe));
    EXPECT_TRUE(coloured({"report"}, End::terminal));
    EXPECT_TRUE(coloured({"--color", "always", "report"}, End::pipe));
    EXPECT_FALSE(coloured({"--color", "never", "report"}, End::terminal));
    EXPECT_FALSE(coloured({"report"}, End::terminal, "NO_COLOR", "1"));
    EXPECT_FALSE(coloured({"report"}, End::terminal, "TERM", "dumb"));
    EXPECT_TRUE(coloured({"report", "--color=always"}, End::pipe, "NO_COLOR", "1"));
    EXPECT_FALSE(coloured({"report", "--json", "--color=always"}, End::terminal));
}

TEST(Use, FullDiskIsTold) {
    main_board(t_variant_word);
    const Outcome outcome = ask({"report"}, {.out_path = "/dev/full"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("cannot write to standard output"));
}

}  // namespace
