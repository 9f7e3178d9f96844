// [[fru]]: the FRU EEPROM of a card position and what it says.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

#include "board_file.h"
#include "board_reader.h"
#include "fru_image.h"

namespace boardsim {

namespace {

constexpr char fru_main_board[] = "mainboard";

struct Place {
    const char *position;
    const char *route;
};
constexpr std::array places = {
    Place{fru_main_board, fru_main_board_route},
    Place{"sas", "11:0x51"},
    Place{"bpra_1", "3:0x51"},
    Place{"bprb_1", "4:0x51"},
    Place{"bprb_2", "5:0x51"},
    Place{"bpra_2", "6:0x51"},
    Place{"bpfa_1", "7:0x51"},
    Place{"bpfa_2", "8:0x51"},
    Place{"bpfa_3", "9:0x51"},
    Place{"m_i2c_6", "10:0x51"},
    Place{"pcie1", "3:0x70.2:0x53"},
    Place{"pcie2", "3:0x70.1:0x53"},
    Place{"pcie3", "4:0x70.3:0x53"},
    Place{"pcie4", "4:0x70.2:0x53"},
    Place{"pcie5", "4:0x70.1:0x53"},
    Place{"pcie6", "5:0x70.1:0x53"},
    Place{"pcie7", "5:0x70.2:0x53"},
    Place{"pcie8", "5:0x70.3:0x53"},
    Place{"pcie9", "6:0x70.2:0x53"},
    Place{"pcie10", "6:0x70.1:0x53"},
};

constexpr uint32_t card_size = 256;
constexpr uint32_t main_board_size = 4096;
constexpr uint8_t english = 0;
constexpr uint8_t rack_mount_chassis = 0x17;

const Place &place_of(Table &table) {
    const std::string name = table.required_text("position", 16);
    const auto found = std::find_if(places.begin(), places.end(),
                                    [&](const Place &each) { return name == each.position; });
    if (found == places.end()) {
        std::string known;
        for (const Place &each : places) {
            known += known.empty() ? each.position : std::string(", ") + each.position;
        }
        table.fail("position", "there is no FRU data of \"" + name + "\"; there are " + known);
    }
    return *found;
}

// "2024-05-17 08:30", in universal time, as minutes since the beginning of 1996.
std::array<uint8_t, 3> manufacturing_date(Table &table) {
    using namespace std::chrono;
    const auto text = table.text("manufactured", 16);
    if (!text) {
        return {};
    }
    int year_number = 0;
    unsigned month_number = 0, day_number = 0, hour = 0, minute = 0;
    int end = 0;
    const int count = std::sscanf(text->c_str(), "%4d-%2u-%2u %2u:%2u%n", &year_number,
                                  &month_number, &day_number, &hour, &minute, &end);
    const year_month_day date(year{year_number}, month{month_number}, day{day_number});
    if (count != 5 || static_cast<size_t>(end) != text->size() || !date.ok() || hour > 23 ||
        minute > 59) {
        table.fail("manufactured", "is no time as \"2024-05-17 08:30\"");
    }
    constexpr sys_days start = year{1996} / January / 1;
    const auto since =
        duration_cast<minutes>(sys_days(date) - start) + hours(hour) + minutes(minute);
    if (since.count() <= 0 || since.count() > 0xFFFFFF) {
        table.fail("manufactured", "is out of range, 1996-01-01 00:01 to 2027-11-24 20:15");
    }
    const auto value = static_cast<uint32_t>(since.count());
    return {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8),
            static_cast<uint8_t>(value >> 16)};
}

// The texts of an area's own fields in their order, and the custom ones behind them.
void read_texts(Table &table, FruArea &area, std::initializer_list<const char *> keys) {
    for (const char *key : keys) {
        area.fields.push_back(table.text(key, longest_fru_text).value_or(""));
    }
    for (const std::string &text : table.texts("custom", longest_fru_text)) {
        area.fields.push_back(text);
    }
    area.right_checksum = table.flag("checksum").value_or(true);
}

FruContent read_content(Table &table) {
    FruContent content;
    if (auto chassis = table.table("chassis")) {
        FruArea &area = content.chassis.emplace();
        area.fixed = {
            static_cast<uint8_t>(chassis->number("type", 0, 0xFF).value_or(rack_mount_chassis))};
        read_texts(*chassis, area, {"part", "serial"});
        chassis->finish();
    }
    if (auto board = table.table("board")) {
        FruArea &area = content.board.emplace();
        const auto date = manufacturing_date(*board);
        area.fixed = {english, date[0], date[1], date[2]};
        read_texts(*board, area, {"manufacturer", "product", "serial", "part", "file_id"});
        board->finish();
    }
    if (auto product = table.table("product")) {
        FruArea &area = content.product.emplace();
        area.fixed = {english};
        read_texts(
            *product, area,
            {"manufacturer", "product", "part", "version", "serial", "asset_tag", "file_id"});
        product->finish();
    }
    content.right_checksum = table.flag("checksum").value_or(true);
    return content;
}

}  // namespace

void read_fru(Builder &builder, Table &table) {
    const Place &place = place_of(table);
    const bool is_main_board = place.position == std::string_view(fru_main_board);
    const uint32_t size =
        table.number("size", 8, largest_size(find_model(eeprom_model.name).value()))
            .value_or(is_main_board ? main_board_size : card_size);
    ChipRecord &chip = builder.fit(table, parse_route(place.route).value(), eeprom_model.name,
                                   std::string(place.position) + " FRU", size);
    chip.answers = table.flag("answers").value_or(true) ? 1 : 0;
    auto image = table.bytes("bytes", size);
    if (image) {
        for (const char *key : {"chassis", "board", "product", "checksum"}) {
            if (table.has(key)) {
                table.fail(key, "cannot stand beside bytes, which are the whole of it");
            }
        }
    } else {
        image = fru_image(read_content(table));
    }
    if (image->size() > size) {
        table.fail("holds " + std::to_string(image->size()) + " bytes, more than the " +
                   std::to_string(size) + " of the EEPROM");
    }
    std::copy(image->begin(), image->end(), builder.cells(chip).begin());
}

}  // namespace boardsim
