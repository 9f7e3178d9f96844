// [[riser]] and [[retimer]]: the cards that bring the mainboard's lanes to slots and to sockets.
#include <algorithm>
#include <array>

#include "board_reader.h"

namespace boardsim {

namespace {

struct RiserConnector {
    const char *name;
    const char *position;
};
constexpr std::array riser_connectors = {RiserConnector{"RISER2", "bprb_1"},
                                         RiserConnector{"RISER3", "bprb_2"}};

struct Riser {
    uint32_t board;
    std::array<uint32_t, 3> slots;  // 0 = none
};
constexpr Riser risers[] = {{0x5467, {6, 7, 8}}, {0x5468, {6, 7}}, {0x5469, {3, 4, 5}},
                            {0x546A, {3, 5}},    {0x5476, {7, 8}}, {0x5477, {4, 5}}};

constexpr uint32_t retimer_board = 0x546C;
constexpr uint32_t retimer_ports = 2;
constexpr uint32_t retimer_switch = 0x71;

}  // namespace

void read_riser(Builder &builder, Table &table) {
    const std::string name = table.required_text("connector", 16);
    const auto connector =
        std::find_if(riser_connectors.begin(), riser_connectors.end(),
                     [&](const RiserConnector &each) { return name == each.name; });
    if (connector == riser_connectors.end()) {
        table.fail("connector",
                   "there is no riser connector \"" + name + "\"; there are RISER2, RISER3");
    }
    fit_card(builder, table, connector->position, std::nullopt);
    const uint32_t board = table.number("board", 0, 0xFFFF).value_or(0);
    for (const Riser &riser : risers) {
        if (riser.board == board) {
            builder.riser_slots.insert(riser.slots.begin(), riser.slots.end());
        }
    }
}

void read_retimer(Builder &builder, Table &table) {
    const uint32_t slot = table.required_number("slot", 1, 10);
    if (!builder.riser_slots.contains(slot)) {
        table.fail("slot", "no riser with a slot " + std::to_string(slot) + " is fitted");
    }
    const std::string position = "pcie" + std::to_string(slot);
    fit_card(builder, table, position, retimer_board);
    // The ports' channels lie behind a switch of the card, which is behind the riser's.
    Route route = identifier_route(position).value();
    route.address = cable_expander;
    route.switch_address = route.switch_address << 16 | retimer_switch;
    for (uint32_t port = 0; port < retimer_ports; ++port) {
        Route of_port = route;
        of_port.switch_channel = route.switch_channel << 16 | port;
        builder.sockets["retimer " + std::to_string(slot) + " port " + std::to_string(port)] = {
            of_port};
    }
}

}  // namespace boardsim
