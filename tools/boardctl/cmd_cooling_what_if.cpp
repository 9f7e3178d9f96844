// cooling what-if: what the policy answers at an inlet temperature, from the library's answers.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <optional>

#include "cooling.h"

namespace boardctl {

namespace {

constexpr uint32_t full_duty = 255;
constexpr int coldest = -40;
constexpr int hottest = 127;

struct Options : PolicyOptions {
    std::optional<int> inlet;
    std::optional<int> mode;
    bool sweep = false;
    bool csv = false;
};

// What holds at every temperature.
struct Policy {
    uint32_t fan_type;
    uint32_t highest_pwm;
    Json limits;
    Json modes;
    std::vector<double> watts;
};

Json answers_at(const Policy &policy, std::size_t level) {
    Json answers = Json::array();
    for (const Json &mode : policy.modes) {
        const auto curve = mode["pwm"][level].get<uint32_t>();
        const uint32_t pwm = std::min(curve, policy.highest_pwm);
        const uint32_t percent = (pwm * 100 + full_duty / 2) / full_duty;
        answers.push_back({{"mode", mode["mode"]},
                           {"curve_pwm", curve},
                           {"pwm", pwm},
                           {"pwm_percent", percent},
                           {"fan_power", policy.watts[percent]}});
    }
    return answers;
}

Json at_inlet(const Policy &policy, int degrees) {
    const std::size_t level = level_of(policy.limits, degrees);
    return {{"inlet", degrees},
            {"level", level},
            {"level_limit", policy.limits[level]},
            {"answers", answers_at(policy, level)}};
}

// The rotors of one module, each with its limits.
Json rotors_json(uint32_t fan_type) {
    const auto rotor = [fan_type](const char *name, uint32_t fan) {
        return Json{{"rotor", name},
                    {"min_rpm", FAN_GetMinRPM(fan, fan_type)},
                    {"max_rpm", FAN_GetMaxRPM(fan, fan_type)}};
    };
    if (fan_type == FAN_TYPE_SINGLE_ROTOR) {
        return Json::array({rotor("single", 0)});
    }
    return Json::array(
        {rotor("front", 0), rotor("rear", static_cast<uint32_t>(GetFanRealCount()))});
}

std::vector<Chart> sweep_charts(const Json &document, const Policy &policy) {
    Chart pwm = inlet_chart(policy.limits, policy.modes);
    pwm.title = fmt::format("{}: PWM over inlet temperature, fan type {}",
                            document["configuration"]["name"].get<std::string>(), policy.fan_type);
    Chart power = {"Fan power over inlet temperature", pwm.x, {"fan power in W", 80, 4}, true, {}};
    for (std::size_t mode = 0; mode < pwm.curves.size(); ++mode) {
        power.curves.push_back({pwm.curves[mode].name, pwm.curves[mode].mark, {}});
        pwm.curves[mode].values.clear();
        for (const Json &row : document["sweep"]) {
            const Json &answer = row["answers"][mode];
            pwm.curves[mode].values.push_back(answer["pwm"].get<double>());
            power.curves[mode].values.push_back(answer["fan_power"].get<double>());
        }
    }
    return {pwm, power};
}

Json what_if(Session &session, const Options &options) {
    if (options.inlet.has_value() == options.sweep) {
        throw Stopped(status_usage, "say either --inlet DEGREES or --sweep");
    }
    if (!options.sweep && (options.csv || !options.svg.empty())) {
        throw Stopped(status_usage, "--csv and --svg show a --sweep");
    }
    const Json configuration = cooling_configuration();  // before what depends on it
    const Json backplanes = backplanes_or(options.asked_backplanes());
    Policy policy;
    policy.fan_type = fan_type_or(options.fan_type);
    policy.highest_pwm = static_cast<uint32_t>(FAN_GetMaxPwmFanType(policy.fan_type));
    policy.limits = inlet_limits();
    policy.modes = modes_of(backplanes, policy.fan_type);
    policy.watts = fan_power(policy.fan_type);
    if (policy.modes.empty()) {
        session.fail(
            "there are no cooling modes for these backplanes: name others with "
            "--backplanes");
    }
    if (options.mode) {
        const auto others = [&](const Json &mode) { return mode["mode"] != *options.mode; };
        policy.modes.erase(std::remove_if(policy.modes.begin(), policy.modes.end(), others),
                           policy.modes.end());
    }
    Json document = {{"configuration", configuration},
                     {"backplanes", backplanes},
                     {"fan_type", policy.fan_type},
                     {"highest_pwm", policy.highest_pwm},
                     {"rotors", rotors_json(policy.fan_type)}};
    if (!options.sweep) {
        document.update(at_inlet(policy, *options.inlet));
        return document;
    }
    Json rows = Json::array();
    for (int degrees = 0; degrees <= end_of_sweep(policy.limits); ++degrees) {
        rows.push_back(at_inlet(policy, degrees));
    }
    document["sweep"] = std::move(rows);
    document["svg"] = nullptr;
    if (!options.svg.empty()) {
        document["svg"] = write_svg(session, options.svg,
                                    svg_of("Cooling policy", sweep_charts(document, policy)));
    }
    return document;
}

// ---- what a person or a spreadsheet reads ----

void show_head(Page &page, const Json &document) {
    page.heading("What if");
    page.fields(document, {{"Configuration", "/configuration/name"},
                           {"Backplane combination", "/backplanes"},
                           {"Fan type", "/fan_type"},
                           {"Highest PWM", "/highest_pwm"}});
    page.heading("Speed limits");
    page.table(document["rotors"],
               {{"Rotor", "/rotor"}, {"Least RPM", "/min_rpm"}, {"Most RPM", "/max_rpm"}});
}

void show_inlet(Page &page, const Json &document) {
    show_head(page, document);
    const Json &limit = document["level_limit"];
    page.heading(fmt::format("At {} degrees Celsius: level {}, {}", document["inlet"].dump(),
                             document["level"].dump(),
                             limit.is_null() ? "without limit" : "up to " + limit.dump()));
    page.table(document["answers"], {{"Mode", "/mode"},
                                     {"PWM", "/pwm"},
                                     {"Percent", "/pwm_percent"},
                                     {"Fan power in W", "/fan_power"}});
}

void show_sweep(Page &page, const Json &document) {
    show_head(page, document);
    page.heading("By inlet temperature in degrees Celsius");
    std::vector<Column> columns = {{"Inlet", "/inlet"}, {"Level", "/level"}};
    std::size_t place = 0;
    for (const Json &answer : document["sweep"][0]["answers"]) {
        const std::string mode = answer["mode"].dump();
        columns.push_back({"PWM " + mode, fmt::format("/answers/{}/pwm", place)});
        columns.push_back({"%", fmt::format("/answers/{}/pwm_percent", place)});
        columns.push_back({"W", fmt::format("/answers/{}/fan_power", place)});
        ++place;
    }
    page.table(document["sweep"], columns);
}

void show_csv(Page &page, const Json &document) {
    page.line("inlet,level,mode,pwm,pwm_percent,fan_power");
    for (const Json &row : document["sweep"]) {
        for (const Json &answer : row["answers"]) {
            page.line(fmt::format("{},{},{},{},{},{:.2f}", row["inlet"].dump(), row["level"].dump(),
                                  answer["mode"].dump(), answer["pwm"].dump(),
                                  answer["pwm_percent"].dump(), answer["fan_power"].get<double>()));
        }
    }
}

}  // namespace

void add_cooling_what_if(Cli &cli, CLI::App &cooling_command) {
    const auto options = std::make_shared<Options>();
    CLI::App &command =
        cli.add({.name = "what-if",
                 .title = "",
                 .summary = "What the policy answers at an inlet temperature",
                 .run = [options](Session &session) { return what_if(session, *options); },
                 .show =
                     [options](Page &page, const Json &document) {
                         const auto show = options->csv     ? show_csv
                                           : options->sweep ? show_sweep
                                                            : show_inlet;
                         show(page, document);
                     },
                 .in_report = false},
                &cooling_command);
    command.add_option("--inlet", options->inlet, "The inlet temperature in degrees Celsius")
        ->check(CLI::Range(coldest, hottest).description(""))
        ->type_name("DEGREES");
    command.add_flag("--sweep", options->sweep, "The whole range of temperatures");
    command.add_option("--mode", options->mode, "This cooling mode only")
        ->check(CLI::Range(0, FAN_COOLING_MODES - 1).description(""))
        ->type_name("0|1|2");
    command.add_flag("--csv", options->csv, "The sweep as comma-separated values");
    add_policy_options(command, *options);
}

}  // namespace boardctl
