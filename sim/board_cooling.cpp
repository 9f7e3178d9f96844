// [liquid_cooling]: the kit and its leak sensor, each behind an expander, and the flange card.
#include <algorithm>
#include <array>

#include "board_reader.h"

namespace boardsim {

namespace {

constexpr Route kit_expander = {10, 0x20, 0, 0};
constexpr Route leak_expander = {10, 0x21, 0, 0};
constexpr Route flange_card_expander = {13, 0x20, 0x77, 3};
constexpr uint16_t kit_pins = 0x8F28;
constexpr uint16_t flange_card_pins = 0x0009;

// What a sensor puts on the pins: its kind on port 1; on port 0, pin 0 is high without a line, and
// pin 1 is low while it leaks, or high while the line is broken.
struct SensorState {
    const char *sensor;
    const char *state;
    uint16_t pins;
};
constexpr std::array sensor_states = {
    SensorState{"leakage", "dry", 0x0102},    SensorState{"leakage", "leaking", 0x0100},
    SensorState{"leakage", "absent", 0x0103}, SensorState{"line", "intact", 0x0000},
    SensorState{"line", "broken", 0x0002},    SensorState{"line", "absent", 0x0001},
};

void fit_sensor(Builder &builder, Table &table, const std::string &sensor) {
    const std::string state = table.required_text("state", 16);
    std::string known;
    for (const SensorState &each : sensor_states) {
        if (sensor != each.sensor) {
            continue;
        }
        if (state == each.state) {
            builder.fit_expander(table, leak_expander, "leak sensor", each.pins);
            return;
        }
        known += known.empty() ? each.state : std::string(", ") + each.state;
    }
    if (known.empty()) {
        table.fail("sensor", "there is no sensor \"" + sensor + "\"; there are leakage, line");
    }
    table.fail("state", "a sensor of this kind is never \"" + state + "\" but " + known);
}

}  // namespace

void read_liquid_cooling(Builder &builder, Table &table) {
    if (table.flag("kit").value_or(false)) {
        builder.fit_expander(table, kit_expander, "liquid kit", kit_pins);
    }
    if (const auto sensor = table.text("sensor", 16)) {
        fit_sensor(builder, table, *sensor);
    }
    if (table.flag("flange_card").value_or(false)) {
        builder.fit_expander(table, flange_card_expander, "flange card", flange_card_pins);
    }
}

}  // namespace boardsim
