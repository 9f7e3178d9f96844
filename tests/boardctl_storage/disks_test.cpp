// boardctl disks and backplanes over a scripted board.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <boost/crc.hpp>
#include <fstream>
#include <set>

#include "boardctl/child.h"
#include "boardctl/texts.h"
#include "program.h"
#include "support/backplane_rules.h"
#include "support/scripted_platform.h"

using boardctl_test::ask;
using boardctl_test::contents;
using boardctl_test::expect_named;
using boardctl_test::Json;
using boardctl_test::keys_of;
using boardctl_test::manual_section;
using boardctl_test::Outcome;
using scripted::platform;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

void write_file(const std::string &path, const std::string &text) { std::ofstream(path) << text; }

// A backplane whose bays are all empty.
const rules::Model &fit_empty(uint32_t card, const char *name) {
    const rules::Model &model = rules::model_named(name);
    rules::fit(card, model.board_id);
    for (const uint16_t address : model.expanders) {
        rules::set_word(rules::bus_of_card(card), address, 0xFFFF);
    }
    return model;
}

const Json &row_of(const Json &rows, const char *key, const Json &value) {
    for (const Json &row : rows) {
        if (row[key] == value) {
            return row;
        }
    }
    throw std::runtime_error("no row " + value.dump());
}

Json values_of(const Json &rows, const char *key) {
    Json values = Json::array();
    for (const Json &row : rows) {
        values.push_back(row[key]);
    }
    return values;
}
Json counting(uint32_t first, uint32_t last) {
    Json numbers = Json::array();
    for (uint32_t number = first; number <= last; ++number) {
        numbers.push_back(number);
    }
    return numbers;
}

// ---- bays ----

TEST(Disks, EachBayOfABackplane) {
    const rules::Model &bpfd = fit_empty(10, "bpfd");
    rules::set_bay(bpfd, 8, 1, 0);
    rules::set_bay(bpfd, 8, 13, 2);
    rules::set_bay(bpfd, 8, 25, 1);
    const Outcome outcome = ask({"disks", "--json"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    const Json document = outcome.json();
    ASSERT_EQ(document["disks"].size(), 25u);
    EXPECT_EQ(document["disks"][0], Json::parse(R"({
        "slot": 1, "silk_screen": 1, "connector": "F I2C 2", "card_key": 10, "board_id": "0x545E",
        "model": "BPFD", "bay": 1, "present": true, "kind": "sas_sata", "zone": 0, "nvme": null})"));
    EXPECT_EQ(document["disks"][1], Json::parse(R"({
        "slot": 2, "silk_screen": 2, "connector": "F I2C 2", "card_key": 10, "board_id": "0x545E",
        "model": "BPFD", "bay": 2, "present": false, "kind": null, "zone": 0, "nvme": null})"));
    EXPECT_EQ(document["disks"][12]["kind"], "unknown");
    // the last bay's number is not the backplane's own, and it has no management
    EXPECT_EQ(document["disks"][24], Json::parse(R"({
        "slot": 25, "silk_screen": null, "connector": "F I2C 2", "card_key": 10,
        "board_id": "0x545E", "model": "BPFD", "bay": 25, "present": true, "kind": "nvme",
        "zone": 0, "nvme": {"name": null, "route": null, "endpoint": null}})"));
    EXPECT_EQ(values_of(document["disks"], "bay"), counting(1, 25));
    EXPECT_EQ(document["failures"], Json::array());
}

TEST(Disks, AnUnstatedTypeByModel) {
    // What a bay of field 2 is taken for: by each model as its own type rule has it.
    const std::map<std::string, const char *> kinds = {
        {"bpfa", "unknown"}, {"bpfb", "unknown"},  {"bpfc", "sas_sata"}, {"bpfg", "sas_sata"},
        {"bpfd", "unknown"}, {"bpfe", "sas_sata"}, {"bpff", "sas_sata"}};
    for (const auto &[name, kind] : kinds) {
        rules::set_bay(fit_empty(10, name.c_str()), 8, 2, 2);
        // bpfa's bus 8 is that of its second connector
        const Json document = ask({"disks", "--json"}).json();
        EXPECT_EQ(document["disks"][1]["kind"], kind) << name;
    }
}

TEST(Disks, SlotsCountOnOverTheConnectors) {
    for (const uint32_t card : {9u, 10u, 11u}) {
        fit_empty(card, "bpfa");
    }
    fit_empty(6, "bprb");
    fit_empty(8, "bpra");
    const Json document = ask({"disks", "--json"}).json();
    const Json slots = values_of(document["disks"], "slot");
    Json expected = counting(1, 24);
    for (const uint32_t slot : {53, 54, 61, 62}) {
        expected.push_back(slot);
    }
    EXPECT_EQ(slots, expected);
    // 8 and 16 are the first numbers of the next backplane
    EXPECT_EQ(row_of(document["disks"], "slot", 8)["silk_screen"], 8);
    EXPECT_EQ(row_of(document["disks"], "slot", 16)["silk_screen"], 16);
    EXPECT_TRUE(row_of(document["disks"], "slot", 24)["silk_screen"].is_null());
    EXPECT_EQ(document["connectors"], Json::parse(R"([
        {"connector": "F I2C 1", "card_key": 9, "board_id": "0x5459", "model": "BPFA", "bays": 8},
        {"connector": "F I2C 2", "card_key": 10, "board_id": "0x5459", "model": "BPFA", "bays": 8},
        {"connector": "F I2C 3", "card_key": 11, "board_id": "0x5459", "model": "BPFA", "bays": 8},
        {"connector": "R I2C 4", "card_key": 5, "board_id": null, "model": null, "bays": 0},
        {"connector": "R I2C 5", "card_key": 6, "board_id": "0x5465", "model": "BPRB", "bays": 2},
        {"connector": "R I2C 7", "card_key": 7, "board_id": null, "model": null, "bays": 0},
        {"connector": "R I2C 8", "card_key": 8, "board_id": "0x5464", "model": "BPRA", "bays": 2}
        ])"));
}

TEST(Disks, ZonesAreTheLibrarysAnswer) {
    fit_empty(11, "bpfc");
    const Json document = ask({"disks", "--json"}).json();
    EXPECT_EQ(values_of(document["disks"], "slot"), counting(25, 36));
    for (const Json &disk : document["disks"]) {
        const uint32_t slot = disk["slot"];
        EXPECT_EQ(disk["zone"], slot == 30 || slot == 31 ? 2 : 0) << slot;
    }
}

TEST(Disks, CustomersNumbersAreShown) {
    mkdir("/conf/vel", 0755);
    write_file("/conf/vel/custom_location_config.ini",
               "[disk custom config]\norigine_zone0_disk3_customzone=0\n"
               "origine_zone0_disk3_customslik=77\n");
    rules::set_bay(fit_empty(10, "bpfb"), 8, 3, 0);
    const Json document = ask({"disks", "--json"}).json();
    EXPECT_EQ(values_of(document["disks"], "silk_screen"),
              Json::parse("[1, 2, 77, 4, 5, 6, 7, null]"));
    const Outcome map = ask({"disks", "--map"});
    EXPECT_THAT(map.out, HasSubstr("| 1| 2|77| 4| 5| 6| 7| 8|\n"));
    EXPECT_THAT(map.out, HasSubstr("| .| .| S| .| .| .| .| .|\n"));
}

TEST(Disks, NoBackplanes) {
    const Outcome outcome = ask({"disks", "--json"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.json()["disks"], Json::array());
    EXPECT_EQ(outcome.json()["connectors"].size(), 7u);
    EXPECT_EQ(ask({"disks"}).out, "Disk bays\n  none\n\nNVMe disks\n  none\n");
}

TEST(Disks, BaysThatCannotBeRead) {
    // One expander of each model is silent.
    for (const char *name :
         {"bpra", "bprb", "bpfa", "bpfb", "bpfc", "bpfg", "bpfd", "bpfe", "bpff"}) {
        const rules::Model &model = rules::model_named(name);
        const uint32_t card = name[2] == 'f' ? 10 : name[3] == 'a' ? 5 : 6;
        fit_empty(card, name);
        platform().expanders.erase({rules::bus_of_card(card), model.expanders.back(), 0, 0});
        const Outcome outcome = ask({"disks", "--json"});
        EXPECT_EQ(outcome.status, 1) << name;
        const char *connector = card == 10 ? "F I2C 2" : card == 5 ? "R I2C 4" : "R I2C 5";
        const Json document = outcome.json();
        EXPECT_EQ(document["failures"],
                  Json::array({std::string("the bays at ") + connector + " cannot be read"}));
        for (const Json &disk : document["disks"]) {
            EXPECT_TRUE(disk["present"].is_null() && disk["kind"].is_null()) << name;
        }
        // the library's own line does not disturb the document
        EXPECT_THAT(outcome.err, HasSubstr("get 9535 failed."));
        rules::unfit(card);
    }
}

TEST(Disks, TheMiddleBackplaneIsNotLookedAt) {
    rules::set_bay(fit_empty(14, "bpma"), 10, 1, 0);
    const Outcome outcome = ask({"disks", "--json"});
    EXPECT_EQ(outcome.status, 0);
    const Json document = outcome.json();
    EXPECT_EQ(values_of(document["disks"], "slot"), counting(99, 100));
    EXPECT_EQ(values_of(document["disks"], "present"), Json::parse("[null, null]"));
    EXPECT_EQ(values_of(document["disks"], "connector"), Json::parse(R"(["M-I2C-6", "M-I2C-6"])"));
    EXPECT_THAT(ask({"disks", "--map"}).out,
                HasSubstr("Middle\n  M-I2C-6 0x5474\n  +---+---+\n  | 99|100|\n  |  -|  -|\n"));
}

// Run in this process, so that its accesses are seen.
TEST(Disks, AreOnlyLookedAt) {
    for (const uint32_t card : rules::cards()) {
        rules::set_bay(fit_empty(card, card < 9 ? "bprb" : "bpfa"), rules::bus_of_card(card), 1, 1);
    }
    for (std::vector<std::string> words :
         {std::vector<std::string>{"boardctl", "disks"}, {"boardctl", "backplanes"}}) {
        std::vector<char *> arguments;
        for (std::string &word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        testing::internal::CaptureStdout();
        boardctl::run(static_cast<int>(words.size()), arguments.data());
        EXPECT_NE(testing::internal::GetCapturedStdout(), "");
    }
    EXPECT_THAT(platform().calls_of("i2cRead"), Not(IsEmpty()));
    for (const char *change : {"i2cWrite", "epldio_write", "ei2c_eeprom_write", "mmap_write32",
                               "pca9535_gpio_word_direction", "pca9535_gpio_word_set", "IniSave"}) {
        EXPECT_THAT(platform().calls_of(change), IsEmpty());
    }
}

// ---- management endpoints ----

using Bytes = std::vector<uint8_t>;

// The code that closes a block read from 0x72.
Bytes sealed(uint8_t command, Bytes block) {
    boost::crc_optimal<8, 0x07> crc;
    for (const uint8_t byte : {uint8_t{0xE4}, command, uint8_t{0xE5}}) {
        crc.process_byte(byte);
    }
    crc.process_bytes(block.data(), block.size());
    block.push_back(crc.checksum());
    return block;
}
Bytes endpoint(Bytes status, Bytes identity) {
    Bytes all = sealed(0, std::move(status));
    const Bytes second = sealed(8, std::move(identity));
    all.insert(all.end(), second.begin(), second.end());
    return all;
}
Bytes identity_of(std::string serial, uint16_t vendor = 0x144D) {
    serial.resize(20, ' ');
    Bytes bytes = {22, static_cast<uint8_t>(vendor >> 8), static_cast<uint8_t>(vendor)};
    bytes.insert(bytes.end(), serial.begin(), serial.end());
    return bytes;
}

class Endpoint : public testing::Test {
protected:
    Endpoint() { rules::set_bay(fit_empty(10, "bpfg"), 8, 4, 1); }
    // On the third routed bay's channel.
    void answer(Bytes bytes) { platform().bytes[{8, 0x72, 0x6A, 3}] = std::move(bytes); }
    Json nvme(int status) {
        const Outcome outcome = ask({"disks", "--json"});
        EXPECT_EQ(outcome.status, status) << outcome.err;
        failures = outcome.json()["failures"];
        return row_of(outcome.json()["disks"], "slot", 4)["nvme"];
    }
    Json failures;
};

TEST_F(Endpoint, AHealthyDisk) {
    answer(endpoint({6, 0xBB, 0xFF, 38, 3, 0, 0}, identity_of("S5KA0N0R100009")));
    EXPECT_EQ(nvme(0), Json::parse(R"({
        "name": "NVME3",
        "route": {"bus": 8, "address": "0x72", "switches": [{"address": "0x6A", "channel": 3}]},
        "endpoint": {"intact": true, "status_flags": "0xBB", "ready": true, "functional": true,
                     "reset_required": false, "pcie_links": [true, false], "smart_warnings": [],
                     "temperature": 38, "wear_percent": 3, "vendor_id": "0x144D",
                     "serial": "S5KA0N0R100009"}})"));
    EXPECT_EQ(failures, Json::array());
    EXPECT_THAT(ask({"disks"}).out,
                HasSubstr("     4  NVME3  8/0x6A.3/0x72  good           38       3  0x144D  "
                          "S5KA0N0R100009\n"));
}

TEST_F(Endpoint, AFailingDisk) {
    answer(endpoint({6, 0x47, 0xE0, 127, 255, 0, 0}, identity_of("01234567890123456789")));
    EXPECT_EQ(nvme(0)["endpoint"], Json::parse(R"({
        "intact": true, "status_flags": "0x47", "ready": false, "functional": false,
        "reset_required": true, "pcie_links": [false, true],
        "smart_warnings": ["spare_low", "temperature", "reliability_degraded", "read_only",
                           "backup_failed"],
        "temperature": 127, "wear_percent": 255, "vendor_id": "0x144D",
        "serial": "01234567890123456789"})"));
    EXPECT_THAT(ask({"disks"}).out,
                HasSubstr("not ready, not functional, reset required, spare low, temperature, "
                          "reliability degraded, read only, backup failed"));
}

TEST_F(Endpoint, EachSmartWarning) {
    const char *names[] = {"spare_low", "temperature", "reliability_degraded", "read_only",
                           "backup_failed"};
    for (unsigned bit = 0; bit < 8; ++bit) {
        const auto inverted = static_cast<uint8_t>(~(1u << bit));
        answer(endpoint({6, 0xBB, inverted, 30, 0, 0, 0}, identity_of("A")));
        EXPECT_EQ(nvme(0)["endpoint"]["smart_warnings"],
                  bit < 5 ? Json::array({names[bit]}) : Json::array());
    }
}

TEST_F(Endpoint, Temperatures) {
    const std::pair<uint8_t, Json> codes[] = {{0x00, 0},       {0x7E, 126},     {0x7F, 127},
                                              {0x80, nullptr}, {0x81, nullptr}, {0xC3, nullptr},
                                              {0xC4, -60},     {0xFF, -1}};
    for (const auto &[code, degrees] : codes) {
        answer(endpoint({6, 0xBB, 0xFF, code, 0, 0, 0}, identity_of("A")));
        EXPECT_EQ(nvme(0)["endpoint"]["temperature"], degrees) << int{code};
    }
}

TEST_F(Endpoint, Serials) {
    for (const auto &[bytes, text] : {std::pair<std::string, std::string>{"A B", "A B"},
                                      {"", ""},
                                      {std::string("A\0\0", 3), "A"},
                                      {" A", " A"}}) {
        std::string field = bytes;
        field.resize(20, bytes.ends_with('\0') ? '\0' : ' ');
        answer(endpoint({6, 0xBB, 0xFF, 30, 0, 0, 0}, identity_of(field)));
        EXPECT_EQ(nvme(0)["endpoint"]["serial"], text);
    }
}

TEST_F(Endpoint, GarbledAnswersAreToldAndShown) {
    const Bytes good = endpoint({6, 0xBB, 0xFF, 38, 3, 0, 0}, identity_of("S5KA0N0R100009"));
    for (size_t byte = 0; byte < good.size(); ++byte) {
        Bytes bad = good;
        bad[byte] ^= 0x04;
        answer(bad);
        const Json found = nvme(1);
        EXPECT_EQ(found["endpoint"]["intact"], false) << byte;
        EXPECT_EQ(failures, Json::array({"slot 4: what answers at 8/0x6A.3/0x72 is garbled"}));
    }
    // A wrong length under a right code.
    answer(endpoint({5, 0xBB, 0xFF, 38, 3, 0, 0}, identity_of("A")));
    EXPECT_EQ(nvme(1)["endpoint"]["intact"], false);
}

TEST_F(Endpoint, ASilentDisk) {
    const Json found = nvme(1);
    EXPECT_EQ(found["name"], "NVME3");
    EXPECT_TRUE(found["endpoint"].is_null());
    EXPECT_EQ(failures, Json::array({"slot 4: nothing answers at 8/0x6A.3/0x72"}));
}

// ---- backplanes ----

TEST(Backplanes, OneRow) {
    platform().back_panel_id = 5;
    const rules::Model &bprb = fit_empty(7, "bprb");
    rules::set_bay(bprb, 5, 1, 1);
    rules::set_bay(bprb, 5, 2, 0);
    const Outcome outcome = ask({"backplanes", "--json"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    const Json document = outcome.json();
    EXPECT_EQ(document["backplanes"], Json::parse(R"([{
        "connector": "R I2C 7", "card_key": 7, "board_id": "0x5465", "model": "BPRB",
        "position": 5, "location": 0, "start_slot": 56, "slots": 2, "shown_numbers": [56, 57],
        "online_disks": 2, "u2_nvme_bays": [1], "sas_sata_bays": [2]}])"));
    EXPECT_EQ(document["slots"], 2);
    EXPECT_EQ(document["fell"], false);
    EXPECT_EQ(document["back_panel_id"], 5);
    EXPECT_EQ(document["constants"], Json::parse(R"({
        "slots_max": 200, "first_card_key": 5, "connectors": 7,
        "sgpio_registers": ["0x04A", "0x04C", "0x050", "0x052"],
        "power": [{"board_id": "0x15459", "register": "0x044", "signal": "HDD_POWER"},
                  {"board_id": "0x1545B", "register": "0x044", "signal": "HDD_POWER"},
                  {"board_id": "0x5472", "register": "0x044", "signal": "HDD_POWER"},
                  {"board_id": "0x1545E", "register": "0x044", "signal": "HDD_POWER"},
                  {"board_id": "0x1545E", "register": "0x045", "signal": "HDD_POWER"},
                  {"board_id": "0x154EF", "register": "0x044", "signal": "HDD_POWER"}],
        "back_panel_slot_id": 0, "direct_location_led": true, "u2_nvme_list": true,
        "it_cards": true, "pmc_cards": true, "amd_process": false, "auto_probe": true,
        "alarm_by_presence_sensor": true, "without_hard_presence": false,
        "rear_disk_sensor": false, "status_sensor": false, "model_match": false,
        "missing_disk_status": 0, "move_out_inform": false, "bprc_present_info": null})"));
}

TEST(Backplanes, EachModelsOwnLists) {
    const std::map<std::string, std::vector<uint32_t>> cards = {
        {"bpra", {5, 8}}, {"bprb", {6, 7}},   {"bpfa", {9, 10, 11}},
        {"bpfb", {10}},   {"bpfc", {10, 11}}, {"bpfg", {10, 11}},
        {"bpfd", {10}},   {"bpfe", {10}},     {"bpff", {10}}};
    uint32_t seed = 1;
    for (const auto &[name, positions] : cards) {
        for (const uint32_t card : positions) {
            const rules::Model &model = rules::model_named(name);
            rules::noise(++seed);
            rules::fit(card, model.board_id);
            const Json row = ask({"backplanes", "--json"}).json()["backplanes"][0];
            rules::Reading reading;
            for (const auto &[key, field] :
                 {std::pair{"u2_nvme_bays", 1u}, std::pair{"sas_sata_bays", 0u}}) {
                Json expected = Json::array();
                const auto listed = reading.listed(model, card, field);
                for (const uint32_t bay : listed.value()) {
                    expected.push_back(bay + 1);
                }
                EXPECT_EQ(row[key], expected) << name << " at " << card;
            }
            rules::unfit(card);
        }
    }
}

TEST(Backplanes, WithoutListsOrCount) {
    fit_empty(5, "bpma");
    rules::fit(9, 21599);  // recognised, but no model
    const Outcome outcome = ask({"backplanes", "--json"});
    EXPECT_EQ(outcome.status, 0);
    const Json rows = outcome.json()["backplanes"];
    EXPECT_EQ(values_of(rows, "board_id"), Json::parse(R"(["0x545F", "0x5474"])"));
    EXPECT_EQ(values_of(rows, "model"), Json::parse("[null, null]"));
    EXPECT_EQ(values_of(rows, "online_disks"), Json::parse("[null, null]"));
    EXPECT_EQ(values_of(rows, "u2_nvme_bays"), Json::parse("[null, null]"));
    EXPECT_EQ(values_of(rows, "start_slot"), Json::parse("[0, 100]"));
    EXPECT_EQ(values_of(rows, "slots"), Json::parse("[32, 2]"));
    EXPECT_TRUE(outcome.json()["back_panel_id"].is_null());
}

TEST(Backplanes, TheFellBackplane) {
    fit_empty(10, "bpff");
    EXPECT_EQ(ask({"backplanes", "--json"}).json()["fell"], true);
}

// ---- customer's locations ----

constexpr char location_file[] = "/var/custom_location_config.ini";
void write_labels() {
    write_file(location_file,
               "[disk custom config]\norigine_zone0_disk3_customzone=1\n"
               "origine_zone0_disk3_customslik=7\norigine_zone2_disk9_customzone=0\n"
               "origine_zone2_disk9_customslik=4\n");
}

TEST(Custom, WithoutAFile) {
    const Outcome outcome = ask({"disks", "custom", "--json"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.json(), Json::parse(R"({
        "file": "/var/custom_location_config.ini", "file_valid": false, "disks": [],
        "converted": null, "failures": []})"));
    EXPECT_THAT(ask({"disks", "custom"}).out,
                HasSubstr("/var/custom_location_config.ini is missing or too small\n"));
}

TEST(Custom, TheLabelsOfTheFile) {
    write_labels();
    const Json document = ask({"disks", "custom", "--json"}).json();
    EXPECT_EQ(document["file_valid"], true);
    EXPECT_EQ(document["disks"], Json::parse(R"([
        {"zone": 0, "disk": 3, "custom_zone": 1, "custom_silk": 7},
        {"zone": 2, "disk": 9, "custom_zone": 0, "custom_silk": 4}])"));
}

TEST(Custom, LooksALabelUp) {
    write_labels();
    EXPECT_EQ(ask({"disks", "custom", "0", "4", "--json"}).json()["converted"],
              Json::parse(R"({"custom_zone": 0, "custom_silk": 4, "zone": 2, "disk": 9})"));
    EXPECT_EQ(ask({"disks", "custom", "3", "4", "--json"}).json()["converted"],
              Json::parse(R"({"custom_zone": 3, "custom_silk": 4, "zone": 3, "disk": 4})"));
    EXPECT_THAT(ask({"disks", "custom", "1", "7"}).out,
                HasSubstr("The disk of the label\n  Customer's zone    1\n"
                          "  Customer's number  7\n  Zone               0\n"
                          "  Disk               3\n"));
}

TEST(Custom, AFileThatCannotBeLoaded) {
    write_labels();
    platform().fail_if = [](const std::string &call) {
        return call.starts_with("VEL_IniLoadFile");
    };
    const Outcome outcome = ask({"disks", "custom", "1", "7", "--json"});
    EXPECT_EQ(outcome.status, 1);
    const std::string message = std::string(location_file) + " cannot be read";
    EXPECT_EQ(outcome.json()["failures"], Json::array({message, message}));
    EXPECT_TRUE(outcome.json()["converted"].is_null());
}

TEST(Custom, WrongUse) {
    for (const std::vector<std::string> &arguments :
         std::vector<std::vector<std::string>>{{"disks", "custom", "1"},
                                               {"disks", "custom", "255", "1"},
                                               {"disks", "custom", "1", "255"},
                                               {"disks", "custom", "-1", "1"},
                                               {"disks", "custom", "1", "2", "3"},
                                               {"disks", "--mop"},
                                               {"backplanes", "--map"}}) {
        EXPECT_EQ(ask(arguments).status, 2) << testing::PrintToString(arguments);
    }
    EXPECT_THAT(platform().calls, IsEmpty());
}

// ---- report and manual ----

TEST(Report, HasBoth) {
    rules::fit(10, 21743);  // its bays cannot be read
    const Outcome outcome = ask({"report", "--json"});
    EXPECT_EQ(outcome.json()["disks"]["disks"].size(), 8u);
    EXPECT_EQ(outcome.json()["backplanes"]["backplanes"].size(), 1u);
    EXPECT_THAT(outcome.json()["failures"].dump(),
                HasSubstr("\"disks: the bays at F I2C 2 cannot be read\""));
    EXPECT_THAT(ask({"report"}).out, testing::AllOf(HasSubstr("\nDisk backplanes\n"),
                                                    HasSubstr("\nDisks\n=====\n\nDisk bays\n")));
}

TEST(Manual, NamesEveryKey) {
    write_labels();
    rules::set_bay(fit_empty(10, "bpfa"), 8, 1, 1);
    platform().bytes[{8, 0x72, 0x6A, 0}] =
        endpoint({6, 0xBB, 0xFF, 38, 3, 0, 0}, identity_of("S5KA0N0R100009"));
    const std::pair<std::vector<std::string>, std::string> documents[] = {
        {{"backplanes", "--json"}, "backplanes"},
        {{"disks", "--json"}, "disks"},
        {{"disks", "custom", "1", "7", "--json"}, "disks"}};
    for (const auto &[command, section] : documents) {
        std::set<std::string> keys = keys_of(ask(command).json());
        EXPECT_GT(keys.size(), 5u);
        for (const char *defined_elsewhere :
             {"failures", "bus", "address", "switches", "channel"}) {
            keys.erase(defined_elsewhere);
        }
        expect_named(keys, manual_section(section));
    }
}

}  // namespace
