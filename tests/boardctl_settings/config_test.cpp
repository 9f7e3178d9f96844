// config: every setting with its file, its default, what it takes and where its value comes from.
#include <gmock/gmock.h>

#include <map>

#include "boardctl/child.h"
#include "boardfeatures/ipc.h"
#include "support/config_files.h"

using boardctl_test::ask;
using boardctl_test::End;
using boardctl_test::Json;
using boardctl_test::Outcome;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

struct Entry {
    const char *name;
    const char *file;
    const char *section;
    const char *key;
    Json fallback;
    bool must_exist;
    bool writable;
    std::string smallest;  // what it just takes, and what is just too large
    std::string largest;
    std::string too_large;
};

const std::string most = "4294967295";
const std::string over = "4294967296";

// As the owner of each file would write it down.
const std::vector<Entry> entries = {
    {"nic-display", "/conf/vel/nicinfoflag.ini", "NicComponentMgnt", "InfoDisplay", 1, false, true,
     "0", most, over},
    {"rtc-is-utc", "/conf/vel/rtc_config.ini", "rtcConfig", "isUTC", 1, true, true, "0", "1", "2"},
    {"utc-time", "/conf/vel/rtc_config.ini", "rtcConfig", "utctime", 0, true, true, "0", most,
     over},
    {"bmc-time-stamp", "/conf/vel/bmctimestamp", "bmc_time_stamp", "bmc time stamp", 0, false, true,
     "0", most, over},
    {"alarm-report-policy", "/conf/vel/alarmpolicy", "Alarm", "policy", 0, false, true, "0", "255",
     "256"},
    {"temp-threshold.pch.setmask", "/conf/vel/pch_temp_threshold.ini", "pch", "setmask", 24, true,
     true, "0", "254", "255"},
    {"temp-threshold.pch.upper-non-recoverable", "/conf/vel/pch_temp_threshold.ini", "pch",
     "upper-non-recoverable", 0, true, true, "0", "254", "255"},
    {"temp-threshold.pch.upper-critical", "/conf/vel/pch_temp_threshold.ini", "pch",
     "upper-critical", 110, true, true, "0", "254", "255"},
    {"temp-threshold.pch.upper-non-critical", "/conf/vel/pch_temp_threshold.ini", "pch",
     "upper-non-critical", 105, true, true, "0", "254", "255"},
    {"temp-threshold.mem.setmask", "/conf/vel/pch_temp_threshold.ini", "mem", "setmask", 24, true,
     true, "0", "254", "255"},
    {"temp-threshold.mem.upper-non-recoverable", "/conf/vel/pch_temp_threshold.ini", "mem",
     "upper-non-recoverable", 0, true, true, "0", "254", "255"},
    {"temp-threshold.mem.upper-critical", "/conf/vel/pch_temp_threshold.ini", "mem",
     "upper-critical", 90, true, true, "0", "254", "255"},
    {"temp-threshold.mem.upper-non-critical", "/conf/vel/pch_temp_threshold.ini", "mem",
     "upper-non-critical", 85, true, true, "0", "254", "255"},
    {"leakage.time", "/conf/BMC1/ThermalProtectCfg.ini", "LeakageTime", "Time", 0, true, true, "0",
     "255", "256"},
    {"leakage.mode", "/conf/BMC1/ThermalProtectCfg.ini", "LiquidCooling", "Mode", 0, true, true,
     "0", "255", "256"},
    {"leakage.log", "/conf/BMC1/ThermalProtectCfg.ini", "LogNoFlange", "Log", 0, true, true, "0",
     "255", "256"},
    {"power-fault-switch", "/conf/vel/featureCfgSw.ini", "Fault_Diagnose", "powercontrol_0001", 1,
     false, false, "0", most, over},
    {"memory-prefault-switch", "/conf/vel/featureCfgSw.ini", "System_Management",
     "faultdiagnose_0002", 0, false, false, "0", most, over},
    {"memory-threshold.low", "/conf/vel/monitor_cfg.ini", "MemCfg", "left_mem_threshold_1", 78,
     true, false, "-5", "1000", ""},
    {"memory-threshold.very-low", "/conf/vel/monitor_cfg.ini", "MemCfg", "left_mem_threshold_2", 40,
     true, false, "-5", "1000", ""},
    {"power-button-shield", "/conf/shieldpowerbuttonstate.conf", "ShieldPowerButton", "enable", 1,
     true, true, "0", "1", "2"},
    {"raid-out-of-band", "/conf/vel/outband_storage_switch.ini", "pmc", "enable", 1, true, true,
     "0", "1", "2"},
    {"pcie-effect-mode", "/conf/vel/pcieidcfg.ini", "probe_new_config", "take_effect_mode",
     "intelligent", true, true, "automatic", "intelligent", "73"},
    {"customer.id", "/conf/vel/custominfo", "custom_info_id", "ID_Value", 0, false, true, "0", "19",
     "20"},
    {"customer.name", "/conf/vel/custominfo", "custom_info_id", "ID_String", "VEL", false, false,
     "", "", ""},
};

Json row_of(const Json &document, const std::string &name) {
    for (const Json &row : document["settings"]) {
        if (row["name"] == name) {
            return row;
        }
    }
    return nullptr;
}

Json shown(const Entry &entry, const std::string &text) {
    return entry.fallback.is_string() ? Json(text) : Json(std::stoll(text));
}

TEST(Config, ListsEverySetting) {
    std::filesystem::create_directories("/conf/vel");
    const Outcome outcome = ask({"config", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const Json document = outcome.json();
    ASSERT_EQ(document["settings"].size(), entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const Entry &entry = entries[i];
        const Json &row = document["settings"][i];
        EXPECT_EQ(row["name"], entry.name);
        EXPECT_EQ(row["file"], entry.file) << entry.name;
        EXPECT_EQ(row["file_exists"], false) << entry.name;
        EXPECT_EQ(row["section"], entry.section) << entry.name;
        EXPECT_EQ(row["key"], entry.key) << entry.name;
        EXPECT_EQ(row["default"], entry.fallback) << entry.name;
        EXPECT_EQ(row["writable"], entry.writable) << entry.name;
        EXPECT_TRUE(row["stored"].is_null()) << entry.name;
        // the power button is shielded without its file, too
        const bool answered = !entry.must_exist || entry.name == std::string("power-button-shield");
        EXPECT_EQ(row["value"], answered ? entry.fallback : Json()) << entry.name;
        EXPECT_EQ(row["source"], answered ? Json("default") : Json()) << entry.name;
    }
    EXPECT_EQ(row_of(document, "utc-time")["unit"], "s");
    EXPECT_EQ(row_of(document, "temp-threshold.mem.upper-critical")["unit"], "degrees C");
    EXPECT_EQ(row_of(document, "memory-threshold.low")["unit"], "MiB");
    EXPECT_TRUE(row_of(document, "leakage.mode")["unit"].is_null());
}

TEST(Config, WithoutAFolderNothingIsAnswered) {
    const Outcome outcome = ask({"config", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(row_of(outcome.json(), "bmc-time-stamp")["value"].is_null());
    EXPECT_EQ(row_of(outcome.json(), "nic-display")["value"], 1);
}

TEST(Config, ShowsATable) {
    config_files::write("/conf/vel/rtc_config.ini", "[rtcConfig]\nisUTC=0\nutctime=1700000000\n");
    const Outcome outcome = ask({"config"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, StartsWith("Settings\n  Name "));
    EXPECT_THAT(outcome.out, testing::ContainsRegex("\n  rtc-is-utc +0 +1 +file +yes +/conf/vel"));
    EXPECT_THAT(outcome.out,
                testing::ContainsRegex("\n  utc-time +1700000000 s +0 +file +yes +/conf/vel"));
    EXPECT_THAT(outcome.out, testing::ContainsRegex("\n  leakage.time +- +0 +no file +yes +/conf"));
    EXPECT_THAT(outcome.out,
                testing::ContainsRegex("\n  power-button-shield +1 +1 +default +yes +/conf"));
}

// A file edited by hand: what the entry says is what is answered, and where it comes from.
TEST(Config, TellsWhatComesFromTheFile) {
    std::map<std::string, std::map<std::string, std::string>> files;
    for (const Entry &entry : entries) {
        const std::string text = entry.fallback.is_string() ? "" : entry.largest;
        if (!text.empty()) {
            files[entry.file][entry.section] += std::string(entry.key) + " = " + text + "\n";
        }
    }
    for (const auto &[file, sections] : files) {
        std::string text;
        for (const auto &[section, lines] : sections) {
            text += "[" + section + "]\n" + lines;
        }
        config_files::write(file, "; by hand\n" + text);
    }
    config_files::write("/conf/vel/pcieidcfg.ini", "[probe_new_config]\ntake_effect_mode=65\n");
    const Outcome outcome = ask({"config", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const Json document = outcome.json();
    for (const Entry &entry : entries) {
        const Json row = row_of(document, entry.name);
        EXPECT_EQ(row["file_exists"], true) << entry.name;
        if (entry.fallback.is_string()) {
            continue;
        }
        EXPECT_EQ(row["value"], shown(entry, entry.largest)) << entry.name;
        EXPECT_EQ(row["stored"], entry.largest) << entry.name;
        EXPECT_EQ(row["source"], "file") << entry.name;
    }
    EXPECT_EQ(row_of(document, "pcie-effect-mode")["value"], "automatic");
    EXPECT_EQ(row_of(document, "pcie-effect-mode")["stored"], "65");
    EXPECT_EQ(row_of(document, "customer.name")["value"], "VEL");
    EXPECT_EQ(row_of(document, "customer.name")["source"], "default");
}

TEST(Config, AnEntryThatDoesNotCountIsNoSource) {
    config_files::write("/conf/vel/pch_temp_threshold.ini", "[pch]\nupper-critical=300\n");
    config_files::write("/conf/shieldpowerbuttonstate.conf", "[ShieldPowerButton]\nenable=7\n");
    for (const auto &[name, value, stored] :
         {std::tuple("temp-threshold.pch.upper-critical", 110, "300"),
          std::tuple("power-button-shield", 1, "7")}) {
        const Json row = ask({"config", "get", name, "--json"}).json();
        EXPECT_EQ(row["value"], value) << name;
        EXPECT_EQ(row["source"], "default") << name;
        EXPECT_EQ(row["stored"], stored) << name;
    }
}

class EverySetting : public testing::TestWithParam<std::size_t> {};

TEST_P(EverySetting, IsSetAndGot) {
    const Entry &entry = entries[GetParam()];
    config_files::write(entry.file, entry.must_exist ? "[Other]\nkept=1\n" : "");
    if (!entry.writable) {
        const Outcome refused = ask({"config", "set", std::string(entry.name) + "=1"});
        EXPECT_EQ(refused.status, 2);
        EXPECT_EQ(refused.err, std::string("boardctl: ") + entry.name + " cannot be set\n");
        return;
    }
    for (const std::string &text : {entry.largest, entry.smallest}) {
        const Outcome set = ask({"config", "set", std::string(entry.name) + "=" + text, "--json"});
        EXPECT_EQ(set.status, 0) << set.err;
        ASSERT_EQ(set.json()["settings"].size(), 1u);
        EXPECT_EQ(set.json()["settings"][0]["value"], shown(entry, text));
        const Outcome got = ask({"config", "get", entry.name, "--json"});
        EXPECT_EQ(got.status, 0) << got.err;
        EXPECT_EQ(got.json()["value"], shown(entry, text));
        EXPECT_EQ(got.json()["source"], "file");
        const auto stored = config_files::stored(entry.file, entry.section, entry.key);
        EXPECT_EQ(stored, text == "automatic" ? "65" : text == "intelligent" ? "73" : text);
    }
    const auto before = config_files::read(entry.file);
    for (const std::string &text : {entry.too_large, std::string("-1"), std::string("much")}) {
        const Outcome refused = ask({"config", "set", std::string(entry.name) + "=" + text});
        EXPECT_EQ(refused.status, 2) << text;
        EXPECT_THAT(refused.err, StartsWith(std::string("boardctl: ") + entry.name + " takes "));
        EXPECT_EQ(refused.out, "");
    }
    EXPECT_EQ(config_files::read(entry.file), before);
}

TEST_P(EverySetting, NeedsAFileThatMustExist) {
    const Entry &entry = entries[GetParam()];
    std::filesystem::create_directories("/conf/vel");
    std::filesystem::create_directories("/conf/BMC1");
    if (!entry.writable) {
        return;
    }
    const Outcome set = ask({"config", "set", std::string(entry.name) + "=" + entry.smallest});
    EXPECT_EQ(set.status, entry.must_exist ? 1 : 0) << set.err;
    if (entry.must_exist) {
        EXPECT_EQ(set.err, std::string("boardctl: ") + entry.file +
                               " cannot be saved: it does not exist, and a save does not create "
                               "it\n");
    }
    EXPECT_EQ(std::filesystem::exists(entry.file), !entry.must_exist);
}

INSTANTIATE_TEST_SUITE_P(Config, EverySetting, testing::Range(std::size_t{0}, entries.size()),
                         [](const auto &place) {
                             std::string name = entries[place.param].name;
                             std::replace_if(
                                 name.begin(), name.end(), [](char c) { return !isalnum(c); }, '_');
                             return name;
                         });

TEST(Config, SeveralAreStoredTogetherOrNotAtAll) {
    config_files::write("/conf/BMC1/ThermalProtectCfg.ini", "");
    EXPECT_EQ(
        ask({"config", "set", "leakage.time=30", "leakage.mode=2", "nic-display=many"}).status, 2);
    EXPECT_EQ(config_files::read("/conf/BMC1/ThermalProtectCfg.ini"), "");
    const Outcome outcome =
        ask({"config", "set", "leakage.time=30", "nic-display=0", "leakage.log=1"});
    EXPECT_EQ(outcome.status, 1);  // /conf/vel is not there
    EXPECT_EQ(ask({"config", "get", "leakage.time", "--json"}).json()["value"], 30);
    EXPECT_EQ(ask({"config", "get", "leakage.log", "--json"}).json()["value"], 1);
    EXPECT_EQ(ask({"config", "get", "leakage.mode", "--json"}).json()["value"], 0);
}

TEST(Config, GetTellsOneSetting) {
    config_files::write("/conf/vel/rtc_config.ini", "[rtcConfig]\nutctime = 1700000000\n");
    const Outcome outcome = ask({"config", "get", "utc-time"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out,
              "  Value        1700000000 s\n"
              "  Default      0\n"
              "  From         file\n"
              "  File         /conf/vel/rtc_config.ini\n"
              "  Section      rtcConfig\n"
              "  Key          utctime\n"
              "  Stored text  1700000000\n"
              "  Can be set   yes\n");
}

TEST(Config, GetFailsWithoutAValue) {
    const Outcome outcome = ask({"config", "get", "rtc-is-utc", "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "boardctl: rtc-is-utc has no value: there is no /conf/vel/rtc_config.ini\n");
    EXPECT_TRUE(outcome.json()["value"].is_null());
    EXPECT_EQ(outcome.json()["failures"].size(), 1u);
}

TEST(Config, AHeldLockIsAFailure) {
    config_files::write("/conf/vel/bmctimestamp", "[bmc_time_stamp]\nbmc time stamp=5\n");
    OAL_SemCreate(12340);
    ASSERT_EQ(OAL_SemLockByKey(12340, 0), 0u);
    const Outcome outcome = ask({"config", "get", "bmc-time-stamp"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "boardctl: /conf/vel/bmctimestamp cannot be loaded\n");
}

TEST(Config, UnknownNamesAreWrongUse) {
    for (const std::vector<std::string> &arguments : std::vector<std::vector<std::string>>{
             {"config", "get", "nonsense"},
             {"config", "get"},
             {"config", "set"},
             {"config", "set", "nonsense=1"},
             {"config", "set", "nic-display"},
             {"config", "set", "nic-display="},
             {"config", "get", "fan-tray..serial"},
             {"config", "get", "fan-tray.x.serial"},
             {"config", "get", "fan-tray.01.serial"},
             {"config", "get", "sensor-threshold.a]b.upper-critical"},
             {"config", "delete", "nic-display", "--yes"},
             {"config", "nonsense"}}) {
        const Outcome outcome = ask(arguments);
        EXPECT_EQ(outcome.status, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err, "");
    }
}

// ---- sensors ----

const std::string sensors = "/conf/vel/sensor_threshold.ini";

TEST(Sensors, AreListedFromTheFile) {
    config_files::write(sensors, "[CPU1 Temp]\nUpperCritical=95\nLowerCritical=400\n");
    const Json document = ask({"config", "--json"}).json();
    const Json row = row_of(document, "sensor-threshold.CPU1 Temp.upper-critical");
    ASSERT_FALSE(row.is_null());
    EXPECT_EQ(row["value"], 95);
    EXPECT_EQ(row["source"], "file");
    EXPECT_TRUE(row["default"].is_null());
    EXPECT_EQ(row["section"], "CPU1 Temp");
    EXPECT_TRUE(
        row_of(document, "sensor-threshold.CPU1 Temp.lower-non-critical")["value"].is_null());
    EXPECT_EQ(document["settings"].size(), entries.size() + 6);
}

TEST(Sensors, AreSavedAsAWhole) {
    config_files::write(sensors, "");
    const Outcome refused = ask({"config", "set", "sensor-threshold.Inlet.upper-critical=45"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.err,
                HasSubstr("sensor-threshold.Inlet.upper-non-recoverable has no value"));
    EXPECT_EQ(config_files::read(sensors), "");
    const std::string of = "sensor-threshold.Inlet.";
    const Outcome all =
        ask({"config", "set", of + "upper-non-recoverable=60", of + "upper-critical=45",
             of + "upper-non-critical=40", of + "lower-non-recoverable=0",
             of + "lower-critical=255", of + "lower-non-critical=5", "--json"});
    EXPECT_EQ(all.status, 0) << all.err;
    EXPECT_EQ(all.json()["settings"].size(), 6u);
    EXPECT_EQ(ask({"config", "set", of + "upper-critical=46"}).status, 0);
    for (const auto &[key, value] : {std::pair("UpperNonRecoverable", "60"),
                                     {"UpperCritical", "46"},
                                     {"UpperNonCritical", "40"},
                                     {"LowerNonRecoverable", "0"},
                                     {"LowerCritical", "255"},
                                     {"LowerNonCritical", "5"}}) {
        EXPECT_EQ(config_files::stored(sensors, "Inlet", key), value) << key;
    }
}

// ---- fan trays ----

TEST(FanTrays, AreStoredListedAndDeleted) {
    std::filesystem::create_directories("/conf/vel");
    EXPECT_EQ(ask({"config", "set", "fan-tray.2.serial=SN 0815"}).status, 0);
    EXPECT_EQ(config_files::stored("/conf/vel/fanvarinfo", "fantray_sn_2", "serialNum"), "SN 0815");
    EXPECT_EQ(config_files::stored("/conf/vel/fanvarinfo", "fantray_sn_2", "snLen"), "7");
    Json document = ask({"config", "--json"}).json();
    EXPECT_EQ(row_of(document, "fan-tray.2.serial")["value"], "SN 0815");
    EXPECT_EQ(row_of(document, "fan-tray.2.length")["value"], 7);
    const Json absent = ask({"config", "get", "fan-tray.3.serial", "--json"}).json();
    EXPECT_EQ(absent["value"], "20150305");
    EXPECT_EQ(absent["source"], "default");

    EXPECT_EQ(ask({"config", "delete", "fan-tray.2.serial"}).status, 2);  // nobody to ask
    const Outcome no = ask({"config", "delete", "fan-tray.2.serial"},
                           {.err = End::terminal, .in = End::terminal, .typed = "n\n"});
    EXPECT_EQ(no.status, 1);
    EXPECT_THAT(no.err, StartsWith("Delete fan-tray.2.serial, fan-tray.2.length in "
                                   "/conf/vel/fanvarinfo? [y/N] "));
    EXPECT_EQ(config_files::stored("/conf/vel/fanvarinfo", "fantray_sn_2", "snLen"), "7");
    const Outcome yes = ask({"config", "delete", "fan-tray.2.serial", "--yes", "--json"});
    EXPECT_EQ(yes.status, 0);
    EXPECT_EQ(yes.json()["deleted"], Json::parse(R"(["fan-tray.2.serial", "fan-tray.2.length"])"));
    EXPECT_EQ(config_files::stored("/conf/vel/fanvarinfo", "fantray_sn_2", "snLen"), std::nullopt);
    document = ask({"config", "--json"}).json();
    EXPECT_TRUE(row_of(document, "fan-tray.2.serial").is_null());
}

TEST(FanTrays, SerialNumbersAreShort) {
    std::filesystem::create_directories("/conf/vel");
    const std::string longest(63, 'x');
    EXPECT_EQ(ask({"config", "set", "fan-tray.1.serial=" + longest}).status, 0);
    EXPECT_EQ(ask({"config", "get", "fan-tray.1.serial", "--json"}).json()["value"], longest);
    EXPECT_EQ(ask({"config", "set", "fan-tray.1.serial=" + longest + "x"}).status, 2);
    EXPECT_EQ(ask({"config", "set", "fan-tray.1.length=5"}).status, 2);
}

TEST(Report, HasTheSettings) {
    config_files::write("/conf/vel/rtc_config.ini", "[rtcConfig]\nisUTC=0\n");
    const Json report = ask({"report", "--json"}).json();
    EXPECT_EQ(report["config"]["settings"].size(), entries.size());
    EXPECT_EQ(row_of(report["config"], "rtc-is-utc")["value"], 0);
    EXPECT_THAT(ask({"report"}).out, HasSubstr("\nSettings\n========\n"));
}

}  // namespace
