// What processes share and customers choose: alarms, customer, slots-custom, effect-mode, soc, ipc.
#include <fcntl.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <set>

#include "boardctl/child.h"
#include "boardctl/texts.h"
#include "boardfeatures/config.h"
#include "boardfeatures/ipc.h"
#include "boardfeatures/soc.h"
#include "support/config_files.h"

using boardctl_test::ask;
using boardctl_test::End;
using boardctl_test::expect_named;
using boardctl_test::Json;
using boardctl_test::keys_of;
using boardctl_test::manual_section;
using boardctl_test::Outcome;
using config_files::stored;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr char policy[] = "/conf/vel/alarmpolicy";
constexpr char labels[] = "/conf/vel/custom_location_config.ini";
constexpr char pch[] = "/conf/vel/custom_pchdisk_config.ini";
constexpr char mode_file[] = "/conf/vel/pcieidcfg.ini";

Json row_of(const Json &rows, const char *key, const Json &value) {
    for (const Json &row : rows) {
        if (row[key] == value) {
            return row;
        }
    }
    return nullptr;
}

Outcome typed(const std::vector<std::string> &arguments, const char *answer) {
    return ask(arguments, {.err = End::terminal, .in = End::terminal, .typed = answer});
}

// ---- alarms ----

TEST(Alarms, KnowsTheDefaultsWithoutAnything) {
    const Outcome outcome = ask({"alarms", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json(), Json::parse(R"({
        "shared_list": false, "report_policy": null, "file": "/conf/vel/alarmpolicy",
        "file_exists": false, "alarms": [
        {"code": 30880, "name": "PowerokChangeFlag", "disabled": null, "stored": false,
         "disabled_by_default": true, "default_applied": null},
        {"code": 30870, "name": "SfpHealthOkFlag", "disabled": null, "stored": false,
         "disabled_by_default": true, "default_applied": null},
        {"code": 30911, "name": "NvmeLinkDown", "disabled": null, "stored": false,
         "disabled_by_default": true, "default_applied": null},
        {"code": 30912, "name": "NvmeSmartAbnormal", "disabled": null, "stored": false,
         "disabled_by_default": true, "default_applied": null},
        {"code": 30918, "name": "PDForeignState", "disabled": null, "stored": false,
         "disabled_by_default": true, "default_applied": null}], "failures": []})"));
    EXPECT_EQ(OAL_ShmIsExist(4138), 0);
}

class SharedAlarms : public testing::Test {
protected:
    SharedAlarms() {
        std::filesystem::create_directories("/conf/vel");
        EXPECT_EQ(loadAlarmReportDisable(), 0);
    }
    static std::vector<uint16_t> shared() {
        AlarmDisableCodeInfo list = {};
        EXPECT_EQ(GetAlarmDisableCodeInfo(&list), 0);
        const auto end = std::find(std::begin(list.AlarmDisbleCode), std::end(list.AlarmDisbleCode),
                                   uint16_t{0});
        return {std::begin(list.AlarmDisbleCode), end};
    }
};

TEST_F(SharedAlarms, AreListed) {
    const Json document = ask({"alarms", "--json"}).json();
    EXPECT_EQ(document["shared_list"], true);
    EXPECT_EQ(document["report_policy"], 0);
    EXPECT_EQ(document["alarms"].size(), 5u);
    for (const Json &row : document["alarms"]) {
        EXPECT_EQ(row["disabled"], true);
        EXPECT_EQ(row["stored"], true);
        EXPECT_EQ(row["default_applied"], true);
    }
    EXPECT_THAT(ask({"alarms"}).out,
                testing::ContainsRegex("\n  30911  NvmeLinkDown +yes +yes +yes +yes\n"));
}

TEST_F(SharedAlarms, AreDisabledAndEnabled) {
    const Outcome disabled = ask({"alarms", "disable", "4711", "8", "--yes", "--json"});
    EXPECT_EQ(disabled.status, 0) << disabled.err;
    EXPECT_EQ(row_of(disabled.json()["alarms"], "code", 4711)["disabled"], true);
    EXPECT_THAT(shared(), testing::ElementsAre(30880, 30870, 30911, 30912, 30918, 4711, 8));
    EXPECT_EQ(stored(policy, "AlarmReportDisable", "Alarmcode"),
              "30880 30870 30911 30912 30918 4711 8 ");

    const Outcome enabled = ask({"alarms", "enable", "30911", "4711", "--json"});
    EXPECT_EQ(enabled.status, 0) << enabled.err;
    EXPECT_THAT(shared(), testing::ElementsAre(30880, 30870, 30912, 30918, 8));
    const Json row = row_of(enabled.json()["alarms"], "code", 30911);
    EXPECT_EQ(row["disabled"], false);
    EXPECT_EQ(row["stored"], false);
    EXPECT_EQ(row["default_applied"], true);
    EXPECT_TRUE(row_of(enabled.json()["alarms"], "code", 4711).is_null());
}

TEST_F(SharedAlarms, DisablingAsks) {
    EXPECT_EQ(ask({"alarms", "disable", "4711"}).status, 2);
    const Outcome refused = typed({"alarms", "disable", "4711"}, "n\n");
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, StartsWith("Report 4711 no more? [y/N] "));
    EXPECT_EQ(shared().size(), 5u);
    EXPECT_EQ(typed({"alarms", "disable", "4711"}, "y\n").status, 0);
    EXPECT_EQ(shared().size(), 6u);
}

TEST_F(SharedAlarms, AFullListIsTold) {
    std::string codes;
    for (int code = 1; code <= 128; ++code) {
        codes += std::to_string(code) + " ";
    }
    config_files::write(policy, "[AlarmReportDisable]\nAlarmcode=\"" + codes + "\"\n");
    const Outcome outcome = ask({"alarms", "disable", "500", "--yes"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "boardctl: alarm 500 cannot be stored in /conf/vel/alarmpolicy\n");
}

TEST_F(SharedAlarms, ReloadTakesTheFile) {
    config_files::write(policy, "[AlarmReportDisable]\nAlarmcode=\"17 4 \"\n");
    const Json before = ask({"alarms", "--json"}).json();
    EXPECT_EQ(row_of(before["alarms"], "code", 17)["disabled"], false);
    EXPECT_EQ(row_of(before["alarms"], "code", 30880)["stored"], false);
    const Outcome outcome = ask({"alarms", "reload", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(row_of(outcome.json()["alarms"], "code", 17)["disabled"], true);
    EXPECT_THAT(shared(), testing::ElementsAre(17, 4));
}

TEST(Alarms, ReloadNeedsTheSharedList) {
    config_files::write(policy, "[AlarmReportDisable]\nAlarmcode=\"17 \"\n");
    const Outcome outcome = ask({"alarms", "reload"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "boardctl: no process has made the shared list yet\n");
}

TEST(Alarms, CannotBeStoredWithoutAFolder) {
    const Outcome outcome = ask({"alarms", "disable", "17", "-y"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("alarm 17 cannot be changed"));
}

TEST(Alarms, TakesCodesOnly) {
    for (const char *code : {"0", "65536", "-1", "many"}) {
        EXPECT_EQ(ask({"alarms", "enable", code}).status, 2) << code;
    }
    EXPECT_EQ(ask({"alarms", "enable"}).status, 2);
    EXPECT_EQ(ask({"alarms", "enable", "17", "--yes"}).status, 2);
}

// ---- customer ----

TEST(Customer, IsTheDefaultAtFirst) {
    std::filesystem::create_directories("/conf/vel");
    const Outcome outcome = ask({"customer", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json(), Json::parse(R"({"id": 0, "name": "VEL",
        "file": "/conf/vel/custominfo", "texts": [], "failures": []})"));
}

TEST(Customer, IsChosen) {
    std::filesystem::create_directories("/conf/vel");
    const Outcome outcome = ask({"customer", "set-id", "17", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json()["id"], 17);
    EXPECT_EQ(outcome.json()["name"], "bilibili");
    EXPECT_EQ(stored("/conf/vel/custominfo", "custom_info_id", "ID_String"), "bilibili");
    EXPECT_EQ(ask({"customer", "set-id", "20"}).status, 2);
    EXPECT_THAT(ask({"customer"}).out, StartsWith("Customer\n  Identity  17\n"));
}

TEST(Customer, HasTexts) {
    std::filesystem::create_directories("/conf/vel");
    EXPECT_EQ(ask({"customer", "set-text", "0", "Rack 12"}).status, 0);
    EXPECT_EQ(ask({"customer", "set-text", "3", "second", "--index", "12"}).status, 0);
    EXPECT_EQ(ask({"customer", "set-text", "3", "first", "--index", "2"}).status, 0);
    const Outcome outcome = ask({"customer", "--json"});
    EXPECT_EQ(outcome.json()["texts"], Json::parse(R"([
        {"kind": 0, "index": null, "text": "Rack 12", "length": 7},
        {"kind": 3, "index": 2, "text": "first", "length": 5},
        {"kind": 3, "index": 12, "text": "second", "length": 6}])"));
    EXPECT_EQ(stored("/conf/vel/custominfo", "3_Product_Extra", "info_String_12"), "second");
    EXPECT_THAT(ask({"customer"}).out, HasSubstr("\n     3     12  second        6\n"));
}

TEST(Customer, RefusesWrongTexts) {
    std::filesystem::create_directories("/conf/vel");
    EXPECT_EQ(ask({"customer", "set-text", "1", "x"}).status, 2);
    EXPECT_EQ(ask({"customer", "set-text", "3", "x"}).status, 2);
    EXPECT_EQ(ask({"customer", "set-text", "0", "x", "--index", "1"}).status, 2);
    EXPECT_EQ(ask({"customer", "set-text", "0", "a\nb"}).status, 2);
    EXPECT_EQ(ask({"customer", "set-text", "0", std::string(256, 'x')}).status, 2);
    EXPECT_EQ(ask({"customer", "set-text", "0", std::string(255, 'x')}).status, 0);
}

TEST(Customer, FailsWithoutAFolder) {
    const Outcome outcome = ask({"customer", "set-id", "1"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "boardctl: /conf/vel/custominfo cannot be saved\n");
}

// ---- slots-custom ----

TEST(SlotsCustom, LabelsDisks) {
    std::filesystem::create_directories("/conf/vel");
    EXPECT_EQ(ask({"slots-custom", "--json"}).json(),
              Json::parse(R"({"disks": [], "pch_disks": [], "failures": []})"));
    EXPECT_EQ(ask({"slots-custom", "set", "0", "3", "1", "5"}).status, 0);
    const Outcome outcome = ask({"slots-custom", "set", "0", "12", "1", "6", "--json"});
    EXPECT_EQ(outcome.json()["disks"], Json::parse(R"([
        {"zone": 0, "disk": 3, "custom_zone": 1, "custom_silk": 5},
        {"zone": 0, "disk": 12, "custom_zone": 1, "custom_silk": 6}])"));
    EXPECT_EQ(stored(labels, "disk custom config", "origine_zone0_disk12_customslik"), "6");
    EXPECT_THAT(ask({"slots-custom"}).out, HasSubstr("\n     0    12                1  "));
}

TEST(SlotsCustom, TellsWhoHasTheLabels) {
    std::filesystem::create_directories("/conf/vel");
    EXPECT_EQ(ask({"slots-custom", "set", "0", "4", "1", "5"}).status, 0);
    const Outcome outcome = ask({"slots-custom", "set", "0", "3", "1", "5"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "boardctl: the labels cannot be saved in /conf/vel/custom_location_config.ini: "
              "zone 0, disk 4 has them\n");
    EXPECT_EQ(stored(labels, "disk custom config", "origine_zone0_disk3_customslik"), std::nullopt);
}

TEST(SlotsCustom, DeletingAsks) {
    std::filesystem::create_directories("/conf/vel");
    EXPECT_EQ(ask({"slots-custom", "set", "2", "254", "0", "254"}).status, 0);
    EXPECT_EQ(ask({"slots-custom", "delete", "2", "254"}).status, 2);
    const Outcome refused = typed({"slots-custom", "delete", "2", "254"}, "n\n");
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, StartsWith("Delete the labels of zone 2, disk 254? [y/N] "));
    const Outcome outcome = ask({"slots-custom", "delete", "2", "254", "-y", "--json"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.json()["disks"], Json::array());
}

TEST(SlotsCustom, TakesDisksAndLabelsOnly) {
    for (const std::vector<std::string> &numbers :
         std::vector<std::vector<std::string>>{{"4", "0", "0", "0"},
                                               {"0", "255", "0", "0"},
                                               {"0", "0", "255", "0"},
                                               {"0", "0", "0", "255"},
                                               {"0", "0", "0"}}) {
        std::vector<std::string> arguments = {"slots-custom", "set"};
        arguments.insert(arguments.end(), numbers.begin(), numbers.end());
        EXPECT_EQ(ask(arguments).status, 2) << testing::PrintToString(numbers);
    }
}

TEST(SlotsCustom, LabelsPchDisks) {
    std::filesystem::create_directories("/conf/vel");
    const std::string place = "1/0000:00:17.1/3";
    EXPECT_EQ(ask({"slots-custom", "set-pch", place, "--silk", "System A"}).status, 0);
    const Outcome outcome = ask({"slots-custom", "set-pch", place, "--slot", "9", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json()["pch_disks"], Json::parse(R"([
        {"place": "1/0000:00:17.1/3", "cpu": 1, "segment": 0, "bus": 0, "device": 23,
         "function": 1, "port": 3, "custom_slot": 9, "custom_silk": "System A"}])"));
    EXPECT_EQ(stored(pch, "Pchdisk custom config", "CPU1_BDF 0000:00:17.1_port3_customsilk"),
              "System A");
    EXPECT_THAT(ask({"slots-custom"}).out,
                HasSubstr("\n  1/0000:00:17.1/3                9  System A\n"));

    EXPECT_EQ(ask({"slots-custom", "delete-pch", place}).status, 2);
    EXPECT_EQ(ask({"slots-custom", "delete-pch", place, "--slot", "-y", "--json"})
                  .json()["pch_disks"][0]["custom_slot"],
              nullptr);
    EXPECT_EQ(ask({"slots-custom", "delete-pch", place, "-y", "--json"}).json()["pch_disks"],
              Json::array());
}

TEST(SlotsCustom, RefusesWrongPchDisks) {
    std::filesystem::create_directories("/conf/vel");
    const std::string place = "0/0000:00:17.0/3";
    for (const char *wrong : {"0/0000:00:17.0", "0/0:0:17.0/3", "x", "0/0000:00:17.0/3x"}) {
        EXPECT_EQ(ask({"slots-custom", "set-pch", wrong, "--slot", "1"}).status, 2) << wrong;
    }
    EXPECT_EQ(ask({"slots-custom", "set-pch", place}).status, 2);
    EXPECT_EQ(ask({"slots-custom", "set-pch", place, "--slot", "255"}).status, 2);
    EXPECT_EQ(ask({"slots-custom", "set-pch", place, "--silk", ""}).status, 2);
    EXPECT_EQ(ask({"slots-custom", "set-pch", place, "--silk", std::string(33, 'x')}).status, 2);
    EXPECT_EQ(ask({"slots-custom", "set-pch", place, "--silk", "ä"}).status, 2);
    EXPECT_EQ(ask({"slots-custom", "set-pch", place, "--silk", std::string(32, 'x')}).status, 0);
}

// ---- effect-mode ----

TEST(EffectMode, IsNotAskedForWhereNothingIsKept) {
    const Outcome outcome = ask({"effect-mode", "--json"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.json(), Json::parse(R"({"mode": null, "default": "intelligent",
        "source": null, "file": "/conf/vel/pcieidcfg.ini", "file_exists": false, "stored": null,
        "failures": []})"));
    EXPECT_EQ(OAL_ShmIsExist(4123), 0);
}

TEST(EffectMode, IsReadAndSet) {
    config_files::write(mode_file, "[probe_new_config]\n");
    EXPECT_EQ(ask({"effect-mode", "--json"}).json()["source"], "default");
    EXPECT_EQ(stored(mode_file, "probe_new_config", "take_effect_mode"), "73");
    const Outcome outcome = ask({"effect-mode", "set", "automatic", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json()["mode"], "automatic");
    EXPECT_EQ(stored(mode_file, "probe_new_config", "take_effect_mode"), "65");
    EXPECT_THAT(ask({"effect-mode"}).out, HasSubstr("\n  Mode         automatic\n"));
}

TEST(EffectMode, RepairsAModeThatIsNone) {
    config_files::write(mode_file, "[probe_new_config]\ntake_effect_mode=66\n");
    EXPECT_EQ(ask({"effect-mode", "--json"}).json()["mode"], "intelligent");
    EXPECT_EQ(stored(mode_file, "probe_new_config", "take_effect_mode"), "73");
}

TEST(EffectMode, CannotBeStoredWithoutItsFile) {
    const Outcome outcome = ask({"effect-mode", "set", "automatic", "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.json()["mode"], "automatic");
    EXPECT_EQ(ask({"effect-mode", "set", "manual"}).status, 2);
}

// ---- soc ----

// Physical memory of which only the strap's word is there.
void strap(uint32_t word) {
    const int file = open("/dev/mem", O_RDWR | O_CREAT, 0600);
    ASSERT_GE(file, 0);
    ASSERT_EQ(ftruncate(file, 0x1E6E3000), 0);
    ASSERT_EQ(pwrite(file, &word, sizeof(word), 0x1E6E2070), 4);
    close(file);
}

TEST(Soc, TellsResetAndStraps) {
    strap(0x0000000C);
    EXPECT_EQ(SCU3CInfoShmCreate(), 0);
    EXPECT_EQ(WriteSCU3CInfoInShm(0x5), 0);
    const Outcome outcome = ask({"soc", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json(), Json::parse(R"({
        "reset_status": {"value": "0x00000005", "ac_power_on": true},
        "video_memory": {"selection": 3, "size_mib": 64, "type": 2, "base_addresses":
            ["0x9E000000", "0x9E100000", "0x9F000000", "0x9D000000", "0x9D000028"]},
        "vga_switch": 128, "power_button_shielded": true, "failures": []})"));
    EXPECT_THAT(ask({"soc"}).out, StartsWith("Management SoC\n  Reset status           0x00000005\n"
                                             "  AC power came on       yes\n"));
}

TEST(Soc, AnUnsupportedStrapHasNoMemory) {
    strap(0x00000008);
    const Outcome outcome = ask({"soc", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json()["video_memory"], Json::parse(R"({"selection": 2, "size_mib": null,
        "type": null, "base_addresses": null})"));
}

// The library prints what it captures; the document stays one.
TEST(Soc, CapturesOnce) {
    strap(0x00000004);
    scripted::platform().memory[0x1E6E203C] = 0x2;
    const Outcome first = ask({"soc", "--json"});
    EXPECT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(first.json()["reset_status"],
              Json::parse(R"({"value": "0x00000002", "ac_power_on": false})"));
    EXPECT_THAT(first.err, HasSubstr("SCU3C original value: 00000002"));
    uint32_t kept = 0;
    EXPECT_EQ(ReadSCU3CInfoFromShm(&kept), 0);
    EXPECT_EQ(kept, 2u);
    const Outcome second = ask({"soc", "--json"});
    EXPECT_EQ(second.json(), first.json());
    EXPECT_EQ(second.err, "");
}

TEST(Soc, FailsWithoutPhysicalMemory) {
    const Outcome outcome = ask({"soc", "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err,
                HasSubstr("boardctl: the video memory's strap cannot be read from /dev/mem\n"));
    EXPECT_TRUE(outcome.json()["video_memory"]["selection"].is_null());
}

// ---- ipc ----

TEST(Ipc, ListsEveryKey) {
    const Outcome outcome = ask({"ipc", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    std::set<int> keys, segments;
    const Json document = outcome.json();
    for (const Json &row : document["keys"]) {
        keys.insert(row["key"].get<int>());
        if (row["has_segment"] == true) {
            segments.insert(row["key"].get<int>());
        }
        EXPECT_TRUE(row["segment"].is_null());
        EXPECT_TRUE(row["semaphore"].is_null());
    }
    EXPECT_THAT(keys, testing::ElementsAre(4123, 4129, 4138, 12294, 12303, 12305, 12306, 12309,
                                           12325, 12338, 12339, 12340));
    EXPECT_THAT(segments, testing::ElementsAre(4123, 4129, 4138));
    EXPECT_THAT(ask({"ipc"}).out, testing::ContainsRegex("\n  12339  no +- +- +- +network card"));
}

// Under emulation the kernel knows the emulator.
std::string program_of(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

TEST(Ipc, TellsSizeValueAndLastUser) {
    OAL_CreatMemResource(4138, 256);
    void *address = OAL_GetMemResourceAddr(4138);
    ASSERT_NE(address, nullptr);
    OAL_SemCreate(12306);
    ASSERT_EQ(OAL_SemLockByKey(12306, 0), 0u);
    const Outcome outcome = ask({"ipc", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const Json alarms = row_of(outcome.json()["keys"], "key", 4138);
    const Json self = {{"pid", getpid()}, {"program", program_of(getpid())}};
    // a forked copy of this process has its attachment, too
    EXPECT_EQ(alarms["segment"],
              (Json{{"size", 256}, {"attached", 2}, {"creator", self}, {"last_user", self}}));
    EXPECT_EQ(alarms["semaphore"]["value"], 1);
    const Json custom = row_of(outcome.json()["keys"], "key", 12306);
    EXPECT_EQ(custom["semaphore"], (Json{{"value", 0}, {"waiting", 0}, {"last_user", self}}));
    EXPECT_TRUE(custom["segment"].is_null());
    EXPECT_THAT(ask({"ipc"}).out, testing::ContainsRegex("\n +4138  yes +256 +2 +[0-9]+ " +
                                                         program_of(getpid()) + " +disabled"));
    OAL_PutMemResourceAddr(4138, address);
}

TEST(Ipc, KnowsUsersThatEnded) {
    OAL_SemCreate(12340);
    const auto child = boardctl_test::in_child([] {
        return OAL_SemLockByKey(12340, 0) == 0 && OAL_SemUnLockByKey(12340, 0) == 0 ? 0 : 1;
    });
    ASSERT_EQ(child.status, 0);
    const Json row = row_of(ask({"ipc", "--json"}).json()["keys"], "key", 12340);
    EXPECT_TRUE(row["semaphore"]["last_user"]["program"].is_null());
    EXPECT_THAT(ask({"ipc"}).out, HasSubstr(" (ended)"));
}

// ---- the manual ----

TEST(Manual, NamesEveryKey) {
    config_files::write(mode_file, "");
    config_files::write("/conf/vel/sensor_threshold.ini", "[Inlet]\nUpperCritical=1\n");
    strap(4);
    OAL_CreatMemResource(4138, 256);
    EXPECT_EQ(ask({"slots-custom", "set", "0", "3", "1", "5"}).status, 0);
    EXPECT_EQ(ask({"slots-custom", "set-pch", "1/0000:00:17.1/3", "--slot", "9"}).status, 0);
    EXPECT_EQ(ask({"customer", "set-text", "0", "Rack 12"}).status, 0);
    for (const char *command :
         {"config", "alarms", "customer", "slots-custom", "effect-mode", "soc", "ipc"}) {
        std::set<std::string> keys = keys_of(ask({command, "--json"}).json());
        EXPECT_GT(keys.size(), 3u);
        keys.erase("failures");
        expect_named(keys, manual_section(command));
    }
}

TEST(Manual, NamesEverySetting) {
    const std::string manual = boardctl_test::manual();
    const Json settings = ask({"config", "--json"}).json();
    for (const Json &row : settings["settings"]) {
        std::string name = row["name"];
        if (name.starts_with("temp-threshold.")) {
            EXPECT_THAT(manual, HasSubstr("`" + name.substr(name.rfind('.') + 1) + "`"));
            name = name.substr(0, name.rfind('.')) + ".*";
        }
        EXPECT_THAT(manual, HasSubstr("`" + name + "`"));
    }
}

}  // namespace
