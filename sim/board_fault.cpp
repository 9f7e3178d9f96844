// [[fault]]: which access, and what happens to it.
#include "board_reader.h"

namespace boardsim {

namespace {

constexpr int64_t longest_delay_us = 3'600'000'000;

struct TargetKey {
    const char *key;
    Target target;
    int64_t largest;
};
constexpr TargetKey target_keys[] = {
    {"register", Target::epld, epld_registers - 1},
    {"line", Target::gpio, gpio_lines - 1},
    {"fan", Target::fan, fan_tachometers - 1},
    {"physical", Target::memory, 0xFFFFFFFF},
};

std::optional<Route> chip_of(Table &table) {
    const auto route = table.route("chip");
    const auto card = table.text("card", 16);
    if (!card) {
        return route;
    }
    if (route) {
        table.fail("card", "cannot stand beside chip");
    }
    const auto identifier = identifier_route(*card);
    if (!identifier) {
        table.fail("card", '"' + *card + "\" is no position with an identifier");
    }
    return identifier;
}

void read_target(Table &table, FaultRecord &fault) {
    bool chosen = false;
    if (const auto route = chip_of(table)) {
        fault.target = static_cast<uint32_t>(Target::chip);
        fault.route = *route;
        chosen = true;
        if (const auto offset = table.number("offset", 0, 0xFFFF)) {
            fault.target = static_cast<uint32_t>(Target::chip_offset);
            fault.number = *offset;
        }
    }
    for (const TargetKey &each : target_keys) {
        if (const auto number = table.number(each.key, 0, each.largest)) {
            if (chosen) {
                table.fail(each.key, "a fault has one target only");
            }
            fault.target = static_cast<uint32_t>(each.target);
            fault.number = *number;
            chosen = true;
        }
    }
}

}  // namespace

FaultRecord parse_fault(Table &table, Origin origin) {
    FaultRecord fault = {};
    fault.origin = static_cast<uint32_t>(origin);
    fault.call = any_call;
    if (const auto name = table.text("access", 64)) {
        const auto call = find_call(*name);
        if (!call) {
            table.fail("access", "there is no platform function \"" + *name + '"');
        }
        fault.call = index_of(*call);
    }
    read_target(table, fault);
    if (fault.call == any_call && fault.target == static_cast<uint32_t>(Target::any)) {
        table.fail("needs an access or a target: chip, card, register, line, fan, physical");
    }
    fault.nth = table.number("nth", 1, 0xFFFFFFFF).value_or(0);
    if (const auto value = table.number("value", 0, 0xFFFFFFFF)) {
        fault.has_value = 1;
        fault.value = *value;
    }
    fault.delay_us = table.number("delay_us", 0, longest_delay_us).value_or(0);
    fault.flips = table.number("flips", 1, 0xFFFFFFFF).value_or(0);
    const auto result = table.signed_number("result", INT32_MIN, -1);
    const bool wrong = fault.has_value != 0 || fault.flips != 0;
    if (result && wrong) {
        table.fail("result", "an access that fails reads no value");
    }
    // Neither a wrong word nor a delay: it fails.
    fault.fails = result || (!wrong && fault.delay_us == 0) ? 1 : 0;
    fault.result = result.value_or(-1);
    return fault;
}

void read_fault(Builder &builder, Table &table) {
    builder.add_fault(table, parse_fault(table, Origin::board_file));
}

}  // namespace boardsim
