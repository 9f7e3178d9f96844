// [mainboard], [[card]], [present], [chassis] and [dimms]: identifier chips and what tells that
// something is there.
#include <array>
#include <bit>

#include "board_reader.h"

namespace boardsim {

namespace {

// How a position shows that a card is in it.
enum class Shown { by_identifier, by_epld_bit, by_expander_pin };

struct Position {
    uint8_t key;
    const char *name;
    const char *identifier;  // route of its identifier chip; null = the card carries none
    Shown shown;
    uint8_t bit;           // EPLD bit, or pin of the expander that shows it
    const char *expander;  // route of that expander, which reads 0 for a card that is there
};

constexpr uint32_t presence_register = 0x208;
constexpr uint16_t nothing_fitted = 0xFFFF;

constexpr Position positions[] = {
    {1, "sas", "11:0x20", Shown::by_epld_bit, 3, nullptr},
    {5, "bpra_1", "3:0x20", Shown::by_identifier, 0, nullptr},
    {6, "bprb_1", "4:0x20", Shown::by_identifier, 0, nullptr},
    {7, "bprb_2", "5:0x20", Shown::by_identifier, 0, nullptr},
    {8, "bpra_2", "6:0x20", Shown::by_identifier, 0, nullptr},
    {9, "bpfa_1", "7:0x20", Shown::by_identifier, 0, nullptr},
    {10, "bpfa_2", "8:0x20", Shown::by_identifier, 0, nullptr},
    {11, "bpfa_3", "9:0x20", Shown::by_identifier, 0, nullptr},
    {14, "m_i2c_6", "10:0x20", Shown::by_identifier, 0, nullptr},
    {16, "tpm", nullptr, Shown::by_epld_bit, 5, nullptr},
    {17, "fan1", nullptr, Shown::by_epld_bit, 6, nullptr},
    {18, "fan2", nullptr, Shown::by_epld_bit, 7, nullptr},
    {19, "fan3", nullptr, Shown::by_epld_bit, 8, nullptr},
    {20, "fan4", nullptr, Shown::by_epld_bit, 9, nullptr},
    {21, "raid_key", nullptr, Shown::by_epld_bit, 11, nullptr},
    {22, "ocp", nullptr, Shown::by_epld_bit, 12, nullptr},
    {23, "pcie1", "3:0x70.1:0x22", Shown::by_expander_pin, 0, "3:0x21"},
    {24, "pcie2", "3:0x70.2:0x22", Shown::by_expander_pin, 1, "3:0x21"},
    {25, "pcie3", "4:0x70.3:0x22", Shown::by_expander_pin, 2, "4:0x70.0:0x21"},
    {26, "pcie4", "4:0x70.2:0x22", Shown::by_expander_pin, 1, "4:0x70.0:0x21"},
    {27, "pcie5", "4:0x70.1:0x22", Shown::by_expander_pin, 0, "4:0x70.0:0x21"},
    {28, "pcie6", "5:0x70.1:0x22", Shown::by_expander_pin, 0, "5:0x70.0:0x21"},
    {29, "pcie7", "5:0x70.2:0x22", Shown::by_expander_pin, 1, "5:0x70.0:0x21"},
    {30, "pcie8", "5:0x70.3:0x22", Shown::by_expander_pin, 2, "5:0x70.0:0x21"},
    {31, "pcie9", "6:0x70.1:0x22", Shown::by_expander_pin, 0, "6:0x21"},
    {32, "pcie10", "6:0x70.2:0x22", Shown::by_expander_pin, 1, "6:0x21"},
};

constexpr const char *mainboard_identifier = "13:0x26";

constexpr uint32_t lowest_board = 0x5400;
constexpr uint32_t highest_board = 0x57FF;

// The word on the identifier's pins: odd parity in bit 15 over board, PCB and BOM.
uint16_t identifier_word(uint32_t board, uint32_t pcb, uint32_t bom, bool right_parity) {
    const uint32_t word = (board & 0x3FF) << 5 | pcb << 3 | bom;
    const bool parity = (std::popcount(word) % 2 == 0) == right_parity;
    return static_cast<uint16_t>(word | (parity ? 0x8000u : 0u));
}

bool says_identifier(const Table &table) {
    for (const char *key : {"board", "pcb", "bom", "word", "parity", "answers"}) {
        if (table.has(key)) {
            return true;
        }
    }
    return false;
}

void fit_identifier(Builder &builder, Table &table, const Route &route, const char *name,
                    std::optional<uint32_t> known_board) {
    uint16_t word = 0;
    if (const auto raw = table.number("word", 0, 0xFFFF)) {
        for (const char *key : {"board", "pcb", "bom", "parity"}) {
            if (table.has(key)) {
                table.fail(key, "cannot stand beside word, which holds all of them");
            }
        }
        word = static_cast<uint16_t>(*raw);
    } else {
        const uint32_t board = known_board
                                   ? *known_board
                                   : table.required_number("board", lowest_board, highest_board);
        const uint32_t pcb = table.number("pcb", 0, 3).value_or(0);
        const uint32_t bom = table.number("bom", 0, 7).value_or(0);
        word = identifier_word(board, pcb, bom, table.flag("parity").value_or(true));
    }
    ChipRecord &chip = builder.fit_expander(table, route, name, word);
    chip.answers = table.flag("answers").value_or(true) ? 1 : 0;
}

const Position *find_position(std::string_view name) {
    for (const Position &each : positions) {
        if (name == each.name) {
            return &each;
        }
    }
    return nullptr;
}

const Position &position_of(Table &table) {
    const auto key = table.number("key", 0, 255);
    const auto name = table.text("position", 16);
    if (key.has_value() == name.has_value()) {
        table.fail("needs either a key or a position");
    }
    if (name) {
        const Position *found = find_position(*name);
        if (found == nullptr) {
            std::string known;
            for (const Position &each : positions) {
                known += known.empty() ? each.name : std::string(", ") + each.name;
            }
            table.fail("position", "there is no position \"" + *name + "\"; there are " + known);
        }
        return *found;
    }
    for (const Position &each : positions) {
        if (each.key == *key) {
            return each;
        }
    }
    table.fail("key", "no position has the card key " + std::to_string(*key));
}

// The expander that shows the cards of a riser; its pins read 1 where no card is.
void clear_pin(Builder &builder, const Table &table, const Position &position) {
    const Route route = parse_route(position.expander).value();
    ChipRecord *chip = find_chip(builder.board, route);
    if (chip == nullptr) {
        chip = &builder.fit_expander(table, route, "slot presence", nothing_fitted);
    }
    if (model_of(*chip).name != pca9535_model.name) {
        table.fail("the chip at " + std::string(position.expander) + " is no expander");
    }
    uint8_t &pins = builder.cells(*chip)[input_port + position.bit / 8];
    const auto mask = static_cast<uint8_t>(1u << (position.bit % 8));
    if ((pins & mask) == 0) {
        table.fail("a card is already fitted in " + std::string(position.name));
    }
    pins = static_cast<uint8_t>(pins & ~mask);
}

void fit(Builder &builder, Table &table, const Position &position,
         std::optional<uint32_t> known_board) {
    if (position.identifier == nullptr) {
        if (says_identifier(table)) {
            table.fail("a card in " + std::string(position.name) + " carries no identifier");
        }
    } else if (position.shown == Shown::by_identifier || known_board || says_identifier(table)) {
        fit_identifier(builder, table, parse_route(position.identifier).value(), position.name,
                       known_board);
    }
    switch (position.shown) {
        case Shown::by_identifier:
            break;
        case Shown::by_epld_bit:
            builder.set_epld_bit(presence_register, position.bit, true);
            break;
        case Shown::by_expander_pin:
            clear_pin(builder, table, position);
            break;
    }
}

}  // namespace

std::optional<Route> identifier_route(std::string_view position) {
    if (position == "mainboard") {
        return parse_route(mainboard_identifier);
    }
    const Position *found = find_position(position);
    return found == nullptr || found->identifier == nullptr ? std::nullopt
                                                            : parse_route(found->identifier);
}

void fit_card(Builder &builder, Table &table, std::string_view position,
              std::optional<uint32_t> known_board) {
    fit(builder, table, *find_position(position), known_board);
}

void read_mainboard(Builder &builder, Table &table) {
    fit_identifier(builder, table, parse_route(mainboard_identifier).value(), "mainboard",
                   std::nullopt);
}

void read_card(Builder &builder, Table &table) { fit(builder, table, position_of(table), {}); }

void read_present(Builder &builder, Table &table) {
    for (const Position &each : positions) {
        if (each.shown != Shown::by_epld_bit) {
            continue;
        }
        if (const auto level = table.flag(each.name)) {
            builder.set_epld_bit(presence_register, each.bit, *level);
        }
    }
    constexpr uint32_t cpu_register = 0x8C;
    constexpr std::array cpus = {"cpu1", "cpu2"};
    for (uint32_t cpu = 0; cpu < cpus.size(); ++cpu) {
        if (const auto level = table.flag(cpus[cpu])) {
            builder.set_epld_bit(cpu_register, cpu, *level);
        }
    }
}

void read_chassis(Builder &builder, Table &table) {
    constexpr uint32_t intrusion_register = 0x188;
    if (const auto level = table.flag("intrusion")) {
        builder.set_epld_bit(intrusion_register, 0, *level);
    }
}

void read_dimms(Builder &builder, Table &table) {
    constexpr size_t label_length = 7;  // "DIMM2H2": CPU, channel, slot
    for (const std::string &label : table.texts("fitted", label_length)) {
        const bool known = label.size() == label_length && label.starts_with("DIMM") &&
                           (label[4] == '1' || label[4] == '2') && label[5] >= 'A' &&
                           label[5] <= 'H' && (label[6] == '1' || label[6] == '2');
        if (!known) {
            table.fail("fitted",
                       "there is no socket \"" + label + "\"; there are DIMM1A1 to DIMM2H2");
        }
        const int socket = (label[4] - '1') * 16 + (label[5] - 'A') * 2 + (label[6] - '1');
        builder.board.dimms |= 1u << socket;
    }
}

}  // namespace boardsim
