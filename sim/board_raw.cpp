// Chips, registers and lines as they are, for what no other section says: [[chip]], [gpio],
// [epld.registers], [memory], [storage], and the simulator's own [bus] and [time].
#include <algorithm>

#include "board_reader.h"

namespace boardsim {

namespace {

void fill_expander(Builder &builder, Table &table, const ChipRecord &chip) {
    const auto cells = builder.cells(chip);
    const auto pair = [&](const char *key, uint8_t first) {
        if (const auto word = table.number(key, 0, 0xFFFF)) {
            cells[first] = static_cast<uint8_t>(*word);
            cells[first + 1u] = static_cast<uint8_t>(*word >> 8);
        }
    };
    pair("input", input_port);
    pair("output", output_port);
    pair("polarity", polarity_port);
    pair("config", config_port);
}

void fill_eeprom(Builder &builder, Table &table, const ChipRecord &chip) {
    const auto cells = builder.cells(chip);
    const auto bytes = table.bytes("bytes", cells.size());
    const auto text = table.text("text", cells.size());
    if (bytes && text) {
        table.fail("text", "cannot stand beside bytes");
    }
    if (bytes) {
        std::copy(bytes->begin(), bytes->end(), cells.begin());
    } else if (text) {
        std::copy(text->begin(), text->end(), cells.begin());
    }
}

void fill_registers(Builder &builder, Table &table, const ChipRecord &chip) {
    const auto cells = builder.cells(chip);
    if (auto registers = table.table("registers")) {
        for (const auto &[number, value] :
             registers->numbered(static_cast<int64_t>(cells.size()) - 1, 0xFF)) {
            cells[number] = static_cast<uint8_t>(value);
        }
    }
}

}  // namespace

void read_chip(Builder &builder, Table &table) {
    const Route route = table.required_route("at");
    const std::string kind = table.required_text("kind", 16);
    const auto model = find_model(kind);
    if (!model || kind == regulator_model.name || kind == pier_model.name) {
        table.fail("kind", "there is no kind \"" + kind +
                               "\"; there are pca9535, eeprom, "
                               "registers");
    }
    std::optional<uint32_t> size;
    if (kind != pca9535_model.name) {
        size = table.number("size", 1, largest_size(*model));
    }
    ChipRecord &chip = builder.fit(table, route, kind,
                                   table.text("name", sizeof(chip.name) - 1).value_or(kind), size);
    chip.answers = table.flag("answers").value_or(true) ? 1 : 0;
    if (kind == pca9535_model.name) {
        fill_expander(builder, table, chip);
    } else if (kind == eeprom_model.name) {
        fill_eeprom(builder, table, chip);
    } else {
        fill_registers(builder, table, chip);
    }
}

void read_gpio(Builder &builder, Table &table) {
    for (const auto &[line, level] : table.numbered(gpio_lines - 1, 1)) {
        builder.board.gpio[line] = static_cast<uint8_t>(level);
    }
}

void read_epld(Builder &builder, Table &table) {
    builder.board.epld_in_reset = table.flag("in_reset").value_or(false) ? 1 : 0;
    if (auto registers = table.table("registers")) {
        for (const auto &[number, value] : registers->numbered(epld_registers - 1, 0xFFFF)) {
            builder.board.epld[number] = static_cast<uint16_t>(value);
        }
    }
}

void read_memory(Builder &builder, Table &table) {
    for (const auto &[address, value] : table.numbered(0xFFFFFFFF, 0xFFFFFFFF)) {
        builder.set_memory(table, address, value);
    }
}

void read_storage(Builder &builder, Table &table) {
    if (const auto id = table.number("back_panel_id", 0, 0xFFFFFFFF)) {
        builder.board.has_back_panel_id = 1;
        builder.board.back_panel_id = *id;
    }
}

void read_bus(Builder &builder, Table &table) {
    if (const auto clock = table.number("clock", 1'000, 5'000'000)) {
        builder.board.bus_clock_hz = *clock;
    }
}

void read_time(Builder &builder, Table &table) {
    builder.board.real_time = table.flag("real").value_or(false) ? 1 : 0;
}

}  // namespace boardsim
