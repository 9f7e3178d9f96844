#include "board_file.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include "board_reader.h"
#include "flash.h"

namespace boardsim {

namespace {

// Read in this order, whatever the file's: raw registers stand last so that they have the last
// word.
constexpr Section sections[] = {
    {"bus", Shape::table, read_bus},
    {"time", Shape::table, read_time},
    {"mainboard", Shape::table, read_mainboard},
    {"card", Shape::tables, read_card},
    {"riser", Shape::tables, read_riser},
    {"retimer", Shape::tables, read_retimer},
    {"backplane", Shape::tables, read_backplane},
    {"cable", Shape::tables, read_cable},
    {"fan", Shape::tables, read_fan},
    {"psu", Shape::tables, read_psu},
    {"regulator", Shape::tables, read_regulator},
    {"fru", Shape::tables, read_fru},
    {"pier", Shape::tables, read_pier},
    {"liquid_cooling", Shape::table, read_liquid_cooling},
    {"present", Shape::table, read_present},
    {"chassis", Shape::table, read_chassis},
    {"dimms", Shape::table, read_dimms},
    {"storage", Shape::table, read_storage},
    {"flash", Shape::table, read_flash},
    {"chip", Shape::tables, read_chip},
    {"gpio", Shape::table, read_gpio},
    {"epld", Shape::table, read_epld},
    {"soc", Shape::table, read_soc},
    {"memory", Shape::table, read_memory},
    {"fault", Shape::tables, read_fault},
};

constexpr uint32_t standard_clock_hz = 100'000;

toml::table parse(std::string_view text, const std::string &file_name) {
    try {
        return toml::parse(text, file_name);
    } catch (const toml::parse_error &error) {
        throw Error(file_name + ':' + std::to_string(error.source().begin.line) + ": " +
                    std::string(error.description()));
    }
}

bool is_number(std::string_view text) {
    if (text.starts_with('-')) {
        text.remove_prefix(1);
    }
    return !text.empty() && text.find_first_not_of("0123456789abcdefABCDEFxX") == text.npos &&
           std::isdigit(static_cast<unsigned char>(text.front())) != 0;
}

}  // namespace

void read_board(std::string_view text, const std::string &file_name, Board &board) {
    const toml::table document = parse(text, file_name);
    board = {};
    board.bus_clock_hz = standard_clock_hz;
    flash_power_on(board);
    Builder builder(board);
    Table file(document, file_name, "");
    file.text("name", sizeof(board.name) - 1).value_or("").copy(board.name, sizeof(board.name) - 1);
    for (const Section &section : sections) {
        if (!file.has(section.name)) {
            continue;
        }
        if (section.shape == Shape::tables) {
            for (Table &table : file.tables(section.name)) {
                section.read(builder, table);
                table.finish();
            }
        } else {
            Table table = file.table(section.name).value();
            section.read(builder, table);
            table.finish();
        }
    }
    file.finish();
}

// One line a key, so that an error's line is the part that is wrong.
FaultRecord parse_fault_text(const std::string &text, Origin origin) {
    std::string lines;
    size_t start = 0;
    while (start <= text.size()) {
        const size_t end = std::min(text.find(',', start), text.size());
        const std::string part = text.substr(start, end - start);
        const size_t equal = part.find('=');
        if (equal == part.npos || equal == 0 || part.find_first_of("\"\\\n[]{}#") != part.npos) {
            throw Error("fault \"" + text + "\": \"" + part + "\" is not key=value");
        }
        const std::string value = part.substr(equal + 1);
        const char *quote = is_number(value) ? "" : "\"";
        lines.append(part, 0, equal).append(" = ");
        lines.append(quote).append(value).append(quote).append("\n");
        start = end + 1;
    }
    const std::string name = "fault \"" + text + '"';
    const toml::table document = parse(lines, name);
    Table table(document, name, "");
    const FaultRecord fault = parse_fault(table, origin);
    table.finish();
    return fault;
}

}  // namespace boardsim
