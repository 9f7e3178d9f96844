// fans, cooling and liquid over a scripted board: documents, drawings, pictures, exit status.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>

#include "boardctl/child.h"
#include "boardctl/texts.h"
#include "cooling/component_rows.h"
#include "cooling/curves.h"
#include "support/cooling_machine.h"

using boardctl_test::ask;
using boardctl_test::contents;
using boardctl_test::expect_golden;
using boardctl_test::Json;
using boardctl_test::Outcome;
using cooling::fit_cards;
using cooling::no_card;
using scripted::platform;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

// Four modules that turn; 12 bays in front of a Tarn, 24 in front of a Fell.
void everyday_board(bool fell = false) {
    platform().epld[0x208] = 0x03C0;
    for (uint32_t fan = 0; fan < 8; ++fan) {
        platform().fan_rpm[fan] = 8000 + 10 * fan;
    }
    fit_cards(fell ? 0x546F : 0x545B, no_card);
}

// ---- fans ----

const Json &fan(const Json &document, int index) { return document["fans"][index]; }

TEST(Fans, TellsWhereEachIsAndHowItTurns) {
    everyday_board();
    const Outcome outcome = ask({"fans", "--json"});
    EXPECT_EQ(outcome.status, 0);
    const Json json = outcome.json();
    EXPECT_EQ(json["fan_type"], 8);
    EXPECT_EQ(json["modules"], 4);
    EXPECT_EQ(json["max_count"], 8);
    EXPECT_EQ(json["inlet_sensors"], 1);
    ASSERT_EQ(json["fans"].size(), 8u);
    EXPECT_EQ(fan(json, 2), Json::parse(R"({"index": 2, "label": "3F", "module": 3,
        "rotor": "front", "pwm_index": 2, "tachometer": 2, "present": true, "controlled": true,
        "control_mode": 0, "rpm": 8020, "min_rpm": 1350, "max_rpm": 17000,
        "within_limits": true})"));
    EXPECT_EQ(fan(json, 7), Json::parse(R"({"index": 7, "label": "4R", "module": 4,
        "rotor": "rear", "pwm_index": 3, "tachometer": 7, "present": true, "controlled": true,
        "control_mode": 0, "rpm": 8070, "min_rpm": 1100, "max_rpm": 14500,
        "within_limits": true})"));
}

TEST(Fans, OfASingleRotorAreFour) {
    everyday_board();
    const Json json = ask({"fans", "--fan-type", "7", "--json"}).json();
    EXPECT_EQ(json["fan_type"], 7);
    ASSERT_EQ(json["fans"].size(), 4u);
    for (int index = 0; index < 4; ++index) {
        EXPECT_EQ(fan(json, index)["label"], std::to_string(index + 1));
        EXPECT_EQ(fan(json, index)["rotor"], "single");
        EXPECT_EQ(fan(json, index)["min_rpm"], 1200);
        EXPECT_EQ(fan(json, index)["max_rpm"], 15000);
    }
}

// A module that is not there is an answer, a tachometer that does not answer is a failure.
TEST(Fans, AbsentModulesAndFailedTachometers) {
    everyday_board();
    platform().epld[0x208] = 0x0340;
    platform().fan_rpm.erase(4);
    const Outcome outcome = ask({"fans", "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "boardctl: the speed of fan 1R cannot be read\n");
    const Json json = outcome.json();
    EXPECT_EQ(fan(json, 0)["present"], true);
    EXPECT_EQ(fan(json, 0)["rpm"], 8000);
    EXPECT_EQ(fan(json, 4)["present"], true);
    EXPECT_TRUE(fan(json, 4)["rpm"].is_null());
    EXPECT_TRUE(fan(json, 4)["within_limits"].is_null());
    for (const int index : {1, 5}) {
        EXPECT_EQ(fan(json, index)["present"], false);
        EXPECT_TRUE(fan(json, index)["rpm"].is_null());
    }
}

TEST(Fans, OutsideTheirLimits) {
    everyday_board();
    platform().fan_rpm = {{0, 1349}, {1, 1350}, {2, 17000}, {3, 17001},
                          {4, 1099}, {5, 1100}, {6, 14500}, {7, 14501}};
    const Json json = ask({"fans", "--json"}).json();
    for (int index = 0; index < 8; ++index) {
        const int place = index % 4;
        EXPECT_EQ(fan(json, index)["within_limits"], place == 1 || place == 2) << index;
    }
}

TEST(Fans, WhileTheEpldIsReset) {
    everyday_board();
    close(open("/var/epldresetflag", O_CREAT | O_WRONLY, 0600));
    const Outcome outcome = ask({"fans", "--json"});
    unlink("/var/epldresetflag");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("the EPLD is being reset"));
    const Json json = outcome.json();
    EXPECT_TRUE(fan(json, 3)["present"].is_null());
    EXPECT_EQ(fan(json, 3)["rpm"], 8030);  // the tachometers are read elsewhere
}

// ---- cooling ----

Json configuration_of(uint16_t position_10, uint16_t position_11) {
    fit_cards(position_10, position_11);
    return ask({"cooling", "--json"}).json()["configuration"];
}

TEST(Cooling, TellsTheConfigurationAndWhy) {
    EXPECT_EQ(configuration_of(no_card, no_card), Json::parse(R"({"name": "Tarn",
        "reason": "no card answers in position 10 or 11",
        "position_10": null, "position_11": null})"));
    EXPECT_EQ(configuration_of(0x5459, no_card), Json::parse(R"({"name": "Tarn",
        "reason": "the cards in positions 10 (0x5459) and 11 (none) do not make it a Fell",
        "position_10": "0x5459", "position_11": null})"));
    EXPECT_EQ(configuration_of(0x5459, 0x545B), Json::parse(R"({"name": "Fell",
        "reason": "the cards in positions 10 (0x5459) and 11 (0x545B) make it a Fell",
        "position_10": "0x5459", "position_11": "0x545B"})"));
    EXPECT_EQ(configuration_of(0x5473, no_card)["name"], "Fell");
}

TEST(Cooling, TellsThePolicyOfEachConfiguration) {
    for (const bool fell : {false, true}) {
        everyday_board(fell);
        const Outcome outcome = ask({"cooling", "--json"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        const Json json = outcome.json();
        EXPECT_EQ(json["fan_type"], 8);
        EXPECT_EQ(json["backplanes"], fell ? 3 : 1);
        EXPECT_EQ(
            json["highest_pwm"],
            Json::parse(fell ? R"([{"fan_type": 7, "pwm": 255}, {"fan_type": 8, "pwm": 255}])"
                             : R"([{"fan_type": 7, "pwm": 255}, {"fan_type": 8, "pwm": 220}])"));
        EXPECT_EQ(json["inlet_limits"], Json::parse("[15, 20, 25, 30, 35, 40, 45, null]"));
        EXPECT_EQ(json["inlet_pwm"], Json::parse("[70, 70, 100, 140, 210, 240, 255, 255]"));
        EXPECT_EQ(json["power_levels"], Json::parse("[235, 260, 300, 330, 360]"));
        const auto rows = fell ? cooling::fell_rows() : cooling::tarn_rows();
        ASSERT_EQ(json["modes"].size(), rows.size());
        for (size_t i = 0; i < rows.size(); ++i) {
            const Json expected = {{"backplanes", rows[i].hdbk},
                                   {"fan_type", rows[i].fan_type},
                                   {"mode", rows[i].mode},
                                   {"in_use", rows[i].fan_type == 8 && (fell || rows[i].hdbk == 1)},
                                   {"pwm", rows[i].pwm}};
            EXPECT_EQ(json["modes"][i], expected);
        }
        ASSERT_EQ(json["sensorless_cards"].size(), fell ? 7u : 5u);
        EXPECT_EQ(json["sensorless_cards"][3]["subsystem_device_id"], fell ? "0x0008" : "0x0004");
        EXPECT_EQ(json["sensorless_pwm"][4], fell ? 225 : 200);
        ASSERT_EQ(json["pid"].size(), 11u);
        EXPECT_EQ(json["pid"][3], Json::parse(fell ? R"({"component": "other", "kp": 4.0,
            "ki": 16.0, "kd": 0.0, "cycle": 2})"
                                                   : R"({"component": "other", "kp": 4.0,
            "ki": 16.0, "kd": 0.0, "cycle": 4})"));
        EXPECT_EQ(json["banded_pid"].size(), cooling::gpu_rows().size());
        EXPECT_EQ(json["banded_pid"][0], Json::parse(R"({"component": "RAID card 34X", "bands": [
            {"kp": 2.0, "ki": 3.0, "kd": 0.0}, {"kp": 2.0, "ki": 12.0, "kd": 0.0},
            {"kp": 6.0, "ki": 8.0, "kd": 0.0}], "a": 3, "b": 5, "target": 85, "cycle": 1})"));
        EXPECT_EQ(json["parameters"]["gear_cooling_server_type"], fell ? 5 : 4);
        EXPECT_EQ(json["support"]["gpu_a4000"], !fell);
        EXPECT_EQ(json["support"]["partition_control"], !fell);
    }
}

TEST(Cooling, OfOtherBackplanesAndFans) {
    everyday_board();
    const Json json = ask({"cooling", "--backplanes", "4", "--fan-type", "7", "--json"}).json();
    EXPECT_EQ(json["backplanes"], 4);
    EXPECT_EQ(json["fan_type"], 7);
    for (const Json &row : json["modes"]) {
        EXPECT_EQ(row["in_use"], row["backplanes"] == 4 && row["fan_type"] == 7);
    }
}

// ---- what-if ----

// The level's place, counted from 0, in the curves.
int level_of(int degrees) { return degrees <= 15 ? 0 : std::min((degrees - 11) / 5, 7); }

struct Asked {
    bool fell;
    uint32_t fan_type;
    uint16_t hdbk;
};

// Everything that must be answered at an inlet temperature, from the design's lists.
void expect_answer(const Json &json, const Asked &asked, int degrees, int mode_count) {
    SCOPED_TRACE(testing::Message() << degrees << " degrees");
    const int level = level_of(degrees);
    EXPECT_EQ(json["inlet"], degrees);
    EXPECT_EQ(json["level"], level);
    EXPECT_EQ(json["level_limit"], level == 7 ? Json() : Json(15 + 5 * level));
    const cooling::PowerCurve power(cooling::power_points(asked.fell, asked.fan_type));
    ASSERT_EQ(json["answers"].size(), static_cast<size_t>(mode_count));
    for (const Json &answer : json["answers"]) {
        bool found = false;
        for (const auto &row : asked.fell ? cooling::fell_rows() : cooling::tarn_rows()) {
            if (row.mode != answer["mode"] || row.fan_type != asked.fan_type ||
                (!asked.fell && row.hdbk != asked.hdbk)) {
                continue;
            }
            found = true;
            const uint32_t pwm = row.pwm[level];
            const auto percent = static_cast<uint32_t>(std::lround(pwm / 2.55));
            EXPECT_EQ(answer["curve_pwm"], pwm);
            EXPECT_EQ(answer["pwm"], pwm);
            EXPECT_EQ(answer["pwm_percent"], percent);
            EXPECT_NEAR(answer["fan_power"].get<double>(), power.watts(percent), 1e-9);
        }
        EXPECT_TRUE(found);
    }
}

TEST(WhatIf, AnswersAtEveryTemperature) {
    for (const Asked &asked : {Asked{false, 8, 1}, Asked{false, 7, 1}, Asked{true, 8, 3},
                               Asked{true, 7, 3}, Asked{false, 8, 0}, Asked{false, 7, 4}}) {
        everyday_board(asked.fell);
        const Outcome outcome =
            ask({"cooling", "what-if", "--sweep", "--fan-type", std::to_string(asked.fan_type),
                 "--backplanes", std::to_string(asked.hdbk), "--json"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        const Json json = outcome.json();
        ASSERT_EQ(json["sweep"].size(), 51u);
        for (int degrees = 0; degrees <= 50; ++degrees) {
            expect_answer(json["sweep"][degrees], asked, degrees, 3);
        }
    }
    for (const int degrees : {-40, -1, 0, 15, 16, 20, 21, 45, 46, 126, 127}) {
        everyday_board();
        const Outcome outcome =
            ask({"cooling", "what-if", "--inlet", std::to_string(degrees), "--json"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        expect_answer(outcome.json(), {false, 8, 1}, degrees, 3);
    }
}

TEST(WhatIf, OneModeAndItsLimits) {
    everyday_board();
    const Json json =
        ask({"cooling", "what-if", "--inlet", "33", "--mode", "1", "--fan-type", "7", "--json"})
            .json();
    ASSERT_EQ(json["answers"].size(), 1u);
    EXPECT_EQ(json["answers"][0], Json::parse(R"({"mode": 1, "curve_pwm": 200, "pwm": 200,
        "pwm_percent": 78, "fan_power": 24.12})"));
    EXPECT_EQ(json["highest_pwm"], 255);
    EXPECT_EQ(json["rotors"],
              Json::parse(R"([{"rotor": "single", "min_rpm": 1200, "max_rpm": 15000}])"));
    EXPECT_EQ(ask({"cooling", "what-if", "--inlet", "33", "--json"}).json()["rotors"],
              Json::parse(R"([{"rotor": "front", "min_rpm": 1350, "max_rpm": 17000},
                              {"rotor": "rear", "min_rpm": 1100, "max_rpm": 14500}])"));
}

// The configuration is known before the highest duty is asked.
TEST(WhatIf, AFellMayTurnFansFully) {
    everyday_board(true);
    const Json json = ask({"cooling", "what-if", "--inlet", "50", "--json"}).json();
    EXPECT_EQ(json["highest_pwm"], 255);
    EXPECT_EQ(json["answers"][0]["pwm"], 255);
    EXPECT_EQ(json["answers"][0]["pwm_percent"], 100);
    EXPECT_EQ(json["answers"][0]["fan_power"], 70.02);
}

TEST(WhatIf, CommaSeparatedValues) {
    everyday_board();
    const Outcome outcome = ask({"cooling", "what-if", "--sweep", "--csv", "--mode", "0"});
    EXPECT_EQ(outcome.status, 0);
    std::istringstream lines(outcome.out);
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(line, "inlet,level,mode,pwm,pwm_percent,fan_power");
    int count = 0;
    while (std::getline(lines, line)) {
        if (count == 30) {
            EXPECT_EQ(line, "30,3,0,110,43,9.01");
        }
        ++count;
    }
    EXPECT_EQ(count, 51);
}

TEST(WhatIf, UnknownBackplanesHaveNoCurves) {
    for (const char *const command : {"what-if", "--plot"}) {
        std::vector<std::string> line = {"cooling", command, "--json"};
        if (line[1] == "what-if") {
            line.insert(line.end(), {"--inlet", "20"});
        }
        const Outcome outcome = ask(line);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, HasSubstr("there are no cooling modes for these backplanes"));
        EXPECT_TRUE(outcome.json()["backplanes"].is_null());
        line.insert(line.end(), {"--backplanes", "2"});
        EXPECT_EQ(ask(line).status, 0);
        line.back() = "5";
        EXPECT_EQ(ask(line).status, 1);
    }
    EXPECT_EQ(ask({"cooling", "--plot"}).status, 1);
    EXPECT_EQ(ask({"cooling"}).status, 0);  // all modes of the policy can be told
}

TEST(WhatIf, WrongUse) {
    everyday_board();
    for (const std::vector<std::string> &arguments : std::vector<std::vector<std::string>>{
             {"cooling", "what-if"},
             {"cooling", "what-if", "--inlet", "20", "--sweep"},
             {"cooling", "what-if", "--inlet", "20", "--csv"},
             {"cooling", "what-if", "--inlet", "20", "--svg", "/var/x.svg"},
             {"cooling", "what-if", "--inlet", "128"},
             {"cooling", "what-if", "--inlet", "-41"},
             {"cooling", "what-if", "--inlet", "warm"},
             {"cooling", "what-if", "--inlet", "20", "--mode", "3"},
             {"cooling", "what-if", "--inlet", "20", "--fan-type", "6"},
             {"cooling", "what-if", "--inlet", "20", "--backplanes", "255"},
             {"cooling", "--fan-type", "9"},
             {"fans", "--fan-type", "9"}}) {
        const Outcome outcome = ask(arguments);
        EXPECT_EQ(outcome.status, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err, "");
    }
    EXPECT_NE(access("/var/x.svg", F_OK), 0);
}

// ---- liquid ----

TEST(Liquid, NothingFittedIsAnAnswer) {
    const Outcome outcome = ask({"liquid", "--json"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.json(), Json::parse(R"({"kit": {"fitted": false, "bus": 10},
        "flange_card": {"fitted": false, "bus": 13},
        "leak_sensor": {"leaking": null, "line_broken": null, "line_absent": null},
        "fc_level": false, "device_mask": "0xFEBE", "failures": []})"));
}

TEST(Liquid, TheKitAndItsSensor) {
    platform().bytes[{10, 0x20, 0, 0}] = {0x28, 0x8F};
    platform().bytes[{13, 0x20, 0x77, 3}] = {9};
    const struct {
        uint8_t port_0, port_1;
        bool leaking, broken, absent;
    } states[] = {{2, 1, false, false, false}, {0, 1, true, false, false},
                  {0, 0, false, false, false}, {2, 0, false, true, false},
                  {1, 0, false, false, true},  {2, 5, false, false, false}};
    for (const auto &state : states) {
        platform().bytes[{10, 0x21, 0, 0}] = {state.port_0, state.port_1};
        const Outcome outcome = ask({"liquid", "--json"});
        EXPECT_EQ(outcome.status, 0);
        const Json json = outcome.json();
        EXPECT_EQ(json["kit"]["fitted"], true);
        EXPECT_EQ(json["flange_card"]["fitted"], true);
        EXPECT_EQ(json["leak_sensor"]["leaking"], state.leaking);
        EXPECT_EQ(json["leak_sensor"]["line_broken"], state.broken);
        EXPECT_EQ(json["leak_sensor"]["line_absent"], state.absent);
    }
}

TEST(Liquid, AKitWhoseSensorIsSilentFails) {
    platform().bytes[{10, 0x20, 0, 0}] = {0x28, 0x8F};
    const Outcome outcome = ask({"liquid", "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("the leak sensor of the liquid-cooling kit cannot be read"));
    EXPECT_TRUE(outcome.json()["leak_sensor"]["leaking"].is_null());
    platform().bytes[{10, 0x20, 0, 0}] = {0x8F, 0x28};  // another card there, and no sensor
    EXPECT_EQ(ask({"liquid"}).status, 0);
}

// ---- what a person sees, whole ----

TEST(Drawings, OfBothConfigurations) {
    for (const bool fell : {false, true}) {
        everyday_board(fell);
        const std::string name = fell ? "fell" : "tarn";
        expect_golden(name + "-plot.txt", ask({"cooling", "--plot"}).out);
        expect_golden(name + "-plot-7.txt", ask({"cooling", "--plot", "--fan-type", "7"}).out);
        expect_golden(name + "-what-if.txt", ask({"cooling", "what-if", "--inlet", "33"}).out);
        expect_golden(name + "-sweep.txt", ask({"cooling", "what-if", "--sweep"}).out);
    }
}

TEST(Drawings, InColour) {
    everyday_board(true);
    const std::string text = ask({"cooling", "--plot", "--color", "always"}).out;
    EXPECT_THAT(text, HasSubstr("\x1b[36m0\x1b[0m  mode 0"));
    EXPECT_THAT(text, HasSubstr("\x1b[1m1\x1b[0m  mode 1"));
    EXPECT_THAT(text, HasSubstr("\x1b[32m2\x1b[0m  mode 2"));
}

// Elements are closed in the order in which they were opened.
void expect_well_formed(const std::string &text) {
    std::vector<std::string> open;
    for (size_t at = text.find('<'); at != text.npos; at = text.find('<', at + 1)) {
        const size_t end = text.find('>', at);
        ASSERT_NE(end, text.npos);
        const std::string tag = text.substr(at + 1, end - at - 1);
        const std::string name = tag.substr(0, tag.find_first_of(" /", 1));
        if (tag.starts_with('/')) {
            ASSERT_FALSE(open.empty());
            EXPECT_EQ("/" + open.back(), tag);
            open.pop_back();
        } else if (!tag.ends_with('/')) {
            open.push_back(name);
        }
    }
    EXPECT_TRUE(open.empty());
    EXPECT_THAT(text, StartsWith("<svg xmlns=\"http://www.w3.org/2000/svg\""));
    EXPECT_THAT(text, Not(HasSubstr("nan")));
}

TEST(Pictures, OfCurvesAndSweep) {
    for (const bool fell : {false, true}) {
        everyday_board(fell);
        for (const bool sweep : {false, true}) {
            const std::string name =
                std::string(fell ? "fell" : "tarn") + (sweep ? "-sweep.svg" : "-plot.svg");
            const std::string path = "/var/" + name;
            std::vector<std::string> line = {"cooling", "--svg", path, "--json"};
            if (sweep) {
                line = {"cooling", "what-if", "--sweep", "--svg", path, "--json"};
            }
            const Outcome outcome = ask(line);
            EXPECT_EQ(outcome.status, 0) << outcome.err;
            EXPECT_EQ(outcome.json()["svg"], path);
            expect_well_formed(contents(path));
            expect_golden(name, contents(path));
        }
    }
}

TEST(Pictures, ThatCannotBeWrittenFail) {
    everyday_board();
    for (const char *const path : {"/nowhere/x.svg", "/dev/full"}) {
        for (const bool sweep : {false, true}) {
            std::vector<std::string> line = {"cooling", "--svg", path, "--json"};
            if (sweep) {
                line.insert(line.begin() + 1, {"what-if", "--sweep"});
            }
            const Outcome outcome = ask(line);
            EXPECT_EQ(outcome.status, 1);
            EXPECT_THAT(outcome.err, HasSubstr(std::string(path) + ": cannot be written: "));
            EXPECT_TRUE(outcome.json()["svg"].is_null());
            EXPECT_FALSE(outcome.json()["fan_type"].is_null());
        }
    }
}

// ---- the manual ----

TEST(Manual, NamesEveryKeyAndOption) {
    everyday_board();
    const std::string manual = boardctl_test::manual();
    std::set<std::string> keys;
    for (const std::vector<std::string> &line :
         std::vector<std::vector<std::string>>{{"fans"},
                                               {"cooling"},
                                               {"cooling", "--plot"},
                                               {"liquid"},
                                               {"cooling", "what-if", "--inlet", "20"},
                                               {"cooling", "what-if", "--sweep"}}) {
        std::vector<std::string> arguments = line;
        arguments.emplace_back("--json");
        boardctl_test::collect_keys(ask(arguments).json(), keys);
    }
    EXPECT_GT(keys.size(), 80u);
    boardctl_test::expect_named(keys, manual);
    for (const char *const option : {"--plot", "--svg", "--fan-type", "--backplanes", "--inlet",
                                     "--mode", "--sweep", "--csv"}) {
        EXPECT_NE(manual.find(option), manual.npos) << option;
    }
}

}  // namespace
