// cooling in two files: cmd_cooling.cpp shows the policy, cmd_cooling_what_if.cpp asks what it
// answers.
#pragma once

#include <vector>

#include "boardfeatures/cooling.h"
#include "chart.h"
#include "command.h"

namespace boardctl {

inline constexpr std::size_t inlet_levels = 8;

// {"name", "reason", "position_10", "position_11"}: looks the configuration up.
Json cooling_configuration();

// The fan type of this board, or the one that was asked for.
uint32_t fan_type_or(uint32_t asked);
// The code of the fitted backplanes, or the one that was asked for; null: none of the known ones.
Json backplanes_or(const Json &asked);

// What the levels end at in degrees Celsius; the last one has no limit: null.
Json inlet_limits();
// The level, from 0, that an inlet temperature is in.
std::size_t level_of(const Json &limits, int degrees);
// The temperature up to which curves are shown.
int end_of_sweep(const Json &limits);

// [{"mode", "pwm": [8]}] by mode; empty when the policy has none for these backplanes.
Json modes_of(const Json &backplanes, uint32_t fan_type);
// Watts by PWM percent, 0 to 100.
std::vector<double> fan_power(uint32_t fan_type);

// The curves of the modes over the inlet temperature.
Chart inlet_chart(const Json &limits, const Json &modes);

// Notes a failure when the file cannot be written; the path, null then.
Json write_svg(Session &session, const std::string &path, const std::string &svg);

// The options that both commands have.
struct PolicyOptions {
    uint32_t fan_type = 0;  // 0: the board's
    int backplanes = -1;    // -1: the fitted ones
    std::string svg;

    Json asked_backplanes() const { return backplanes < 0 ? Json() : Json(backplanes); }
};
void add_fan_type_option(CLI::App &command, uint32_t &fan_type);
void add_policy_options(CLI::App &command, PolicyOptions &options);

void add_cooling_what_if(Cli &cli, CLI::App &cooling_command);

}  // namespace boardctl
