// [[backplane]]: a disk backplane or a riser-type one, by the connector that it hangs on.
#include <algorithm>
#include <array>
#include <bit>

#include "board_reader.h"

namespace boardsim {

namespace {

struct Connector {
    const char *name;
    const char *position;
};
constexpr std::array connectors = {
    Connector{"F I2C 1", "bpfa_1"}, Connector{"F I2C 2", "bpfa_2"},  Connector{"F I2C 3", "bpfa_3"},
    Connector{"R I2C 4", "bpra_1"}, Connector{"R I2C 5", "bprb_1"},  Connector{"R I2C 7", "bprb_2"},
    Connector{"R I2C 8", "bpra_2"}, Connector{"M I2C 6", "m_i2c_6"},
};

// Uplinks are printed with letters or numbers; a single one has neither.
struct Model {
    const char *name;
    uint32_t board;
    uint32_t uplinks;
    char first_uplink;
};
constexpr std::array models = {
    Model{"BPFA", 0x5459, 4, 'A'}, Model{"BPFB", 0x54EF, 4, 'A'}, Model{"BPFC", 0x545B, 6, 'A'},
    Model{"BPFD", 0x545E, 6, '1'}, Model{"BPFE", 0x546F, 6, '1'}, Model{"BPFF", 0x5473, 6, '1'},
    Model{"BPFG", 0x5472, 6, '1'}, Model{"BPMA", 0x5474, 0, 0},   Model{"BPRA", 0x5464, 1, 0},
    Model{"BPRB", 0x5465, 1, 0},   Model{"BPRD", 0x546B, 0, 0},   Model{"BPRE", 0x5460, 2, 'A'},
};

// Behind the backplane's switch, a channel an uplink.
constexpr uint32_t uplink_switch = 0x70;

// What the backplane straps on the pins of an uplink's expander: the uplink's index in bits 0-3,
// and odd parity over bits 0-12. The pins above are outputs.
uint16_t index_word(uint32_t index) {
    return static_cast<uint16_t>(std::popcount(index) % 2 == 0 ? index | 0x1000 : index);
}

std::string uplink_name(const Model &model, uint32_t uplink) {
    std::string name = "SLIMLINE";
    if (model.first_uplink == 0) {
        return name;
    }
    return name + ' ' + static_cast<char>(static_cast<uint32_t>(model.first_uplink) + uplink);
}

// The row that a key names.
template <typename Row, size_t count>
const Row &row_of(Table &table, const char *key, const std::array<Row, count> &rows) {
    const std::string name = table.required_text(key, 16);
    const auto found =
        std::find_if(rows.begin(), rows.end(), [&](const Row &row) { return name == row.name; });
    if (found == rows.end()) {
        table.fail(key, "there is no " + std::string(key) + " \"" + name + "\"; there are " +
                            listed(rows, [](const Row &row) { return row.name; }));
    }
    return *found;
}

}  // namespace

void read_backplane(Builder &builder, Table &table) {
    const Connector &connector = row_of(table, "connector", connectors);
    const Model &model = row_of(table, "model", models);
    fit_card(builder, table, connector.position, model.board);
    const uint32_t bus = identifier_route(connector.position)->bus;
    read_disks(builder, table, model.name, connector.name, bus);
    for (uint32_t uplink = 0; uplink < model.uplinks; ++uplink) {
        const std::string name = std::string(connector.name) + ' ' + uplink_name(model, uplink);
        const Route route = {bus, cable_expander, uplink_switch, uplink};
        builder.fit_expander(table, route, name, index_word(uplink));
        builder.uplinks[name] = {route};
    }
}

}  // namespace boardsim
