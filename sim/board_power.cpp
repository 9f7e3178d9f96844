// [[fan]], [[psu]] and [[regulator]]: what turns and what feeds.
#include <algorithm>

#include "board_reader.h"
#include "chip_regulator.h"

namespace boardsim {

namespace {

constexpr uint32_t fan_modules = 4;
constexpr uint32_t fan_presence_register = 0x208;
constexpr uint32_t first_fan_presence_bit = 6;
constexpr int64_t fastest_rpm = 100'000;

constexpr uint32_t power_modules = 2;
constexpr uint32_t power_module_bus = 1;
constexpr uint32_t first_power_module_address = 0x58;
constexpr uint32_t power_presence_register = 0x190;
constexpr uint32_t power_ok_register = 0x192;
constexpr uint32_t pmbus_capability = 0x19;
constexpr uint8_t pmbus_400khz_with_pec = 0xB0;

constexpr uint32_t regulator_bus = 13;
constexpr uint32_t regulator_switch = 0x77;
constexpr uint32_t cpus = 2;

// A rotor that stands still answers 0; a failed tachometer does not answer, however it turns.
void set_rotor(Builder &builder, Table &table, const std::string &rotor, uint32_t tachometer) {
    FanRecord &fan = builder.board.fans[tachometer];
    fan.rpm = table.number(rotor + "_rpm", 0, fastest_rpm).value_or(0);
    fan.answers = table.flag(rotor + "_tachometer").value_or(true) ? 1 : 0;
}

}  // namespace

// Module n holds the front rotor n - 1 and the rear rotor n + 3.
void read_fan(Builder &builder, Table &table) {
    const uint32_t module = table.required_number("module", 1, fan_modules) - 1;
    if ((builder.fan_modules >> module & 1) != 0) {
        table.fail("module", "fan module " + std::to_string(module + 1) + " is already fitted");
    }
    builder.fan_modules |= 1u << module;
    set_rotor(builder, table, "front", module);
    set_rotor(builder, table, "rear", module + fan_modules);
    builder.set_epld_bit(fan_presence_register, first_fan_presence_bit + module, true);
}

void read_psu(Builder &builder, Table &table) {
    const uint32_t slot = table.required_number("slot", 1, power_modules) - 1;
    const Route route = {power_module_bus, first_power_module_address + slot, 0, 0};
    ChipRecord &chip =
        builder.fit(table, route, registers_model.name, "psu" + std::to_string(slot));
    chip.answers = table.flag("answers").value_or(true) ? 1 : 0;
    const auto cells = builder.cells(chip);
    cells[pmbus_capability] = pmbus_400khz_with_pec;
    if (auto registers = table.table("registers")) {
        for (const auto &[number, value] : registers->numbered(0xFF, 0xFF)) {
            cells[number] = static_cast<uint8_t>(value);
        }
    }
    builder.set_epld_bit(power_presence_register, slot, table.flag("present").value_or(true));
    builder.set_epld_bit(power_ok_register, slot, table.flag("power_ok").value_or(true));
}

void read_regulator(Builder &builder, Table &table) {
    const uint32_t cpu = table.required_number("cpu", 1, cpus) - 1;
    const uint32_t address = table.required_number("address", 0x03, 0x77);
    ChipRecord &chip = builder.fit(table, {regulator_bus, address, regulator_switch, cpu},
                                   regulator_model.name, "regulator");
    chip.answers = table.flag("answers").value_or(true) ? 1 : 0;
    const auto revisions = table.bytes("revisions", most_regulator_pages);
    if (!revisions || revisions->empty()) {
        table.fail("revisions", "is not a list of one byte a page");
    }
    const auto cells = builder.cells(chip);
    cells[regulator_pages] = static_cast<uint8_t>(revisions->size());
    std::copy(revisions->begin(), revisions->end(), cells.begin() + regulator_revisions);
}

}  // namespace boardsim
