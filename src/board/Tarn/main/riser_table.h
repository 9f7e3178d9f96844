// The riser and retimer cards that the mainboard takes, by hardware ID.
#pragma once

#include <initializer_list>

#include "boardfeatures/pcieid_enum.h"

namespace bf::board {

struct RiserSlotRow {
    const char (&name)[6];
    uint32_t port;  // channel of the riser's mux
    uint32_t slot;
    uint32_t width;
};

// Every riser's slots carry the numbers that are printed on the board.
constexpr pcieriser_item riser(uint32_t hwid, std::initializer_list<RiserSlotRow> slots) {
    pcieriser_item item = {hwid, {0xFF, 0x20, 0, 0, 0, "RISER HWID"}, {}, 1, 0, {}};
    for (const RiserSlotRow &row : slots) {
        pcieriser_slot &slot = item.slots[item.slot_count++];
        slot = {{0xFF, 0xFF, 0, 0x70, row.port, {}}, row.slot, row.width, PCIECAP_OBVERSE};
        for (unsigned i = 0; i < sizeof(row.name); ++i) {
            slot.route.name[i] = row.name[i];
        }
    }
    return item;
}

// Slots stand in the order in which the connector's lanes reach them.
inline constexpr pcieriser_item riser_table[] = {
    riser(0x5469, {{"SLOT3", 3, 3, 8}, {"SLOT4", 2, 4, 8}, {"SLOT5", 1, 5, 16}}),
    riser(0x5467, {{"SLOT6", 1, 6, 8}, {"SLOT8", 3, 8, 8}, {"SLOT7", 2, 7, 16}}),
    riser(0x546A, {{"SLOT3", 3, 3, 16}, {"SLOT5", 1, 5, 16}}),
    riser(0x5468, {{"SLOT6", 1, 6, 16}, {"SLOT7", 2, 7, 16}}),
    riser(0x5477, {{"SLOT4", 2, 4, 16}, {"SLOT5", 1, 5, 16}}),
    riser(0x5476, {{"SLOT7", 2, 7, 16}, {"SLOT8", 3, 8, 16}}),
};

inline constexpr hwid_list supported_risers = {6, {0x5469, 0x5467, 0x546A, 0x5468, 0x5476, 0x5477}};

// A x16 card with two slimline sockets.
inline constexpr retimer_item retimer_table[] = {
    {0x546C,
     {0xFF, 0x20, 0, 0, 0, "RETIMER HWID"},
     {},
     2,
     {
         {{0xFF, 0x27, 0, 0x71, 0, "RETIMER IO"}, 8, PCIECAP_OBVERSE},
         {{0xFF, 0x27, 0, 0x71, 1, "RETIMER IO"}, 8, PCIECAP_OBVERSE},
     }},
};

inline constexpr hwid_list supported_retimers = {1, {0x546C}};

}  // namespace bf::board
