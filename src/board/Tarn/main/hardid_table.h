// Where each card position straps its hardware identifier.
#pragma once

#include <iterator>

#include "boardfeatures/identity.h"

namespace bf::board {

// In the order of the search.
inline constexpr HardIdSource hardid_table[] = {
    // key, chips, pad, {bus, address, flags, switch, channel, name}
    {0, 1, {}, {{13, 0x26, 0, 0, 0, "board id"}, {}}},
    {1, 1, {}, {{11, 0x20, 0, 0, 0, "SAS id"}, {}}},
    {5, 1, {}, {{3, 0x20, 0, 0, 0, "BPRA_1"}, {}}},
    {6, 1, {}, {{4, 0x20, 0, 0, 0, "BPRB_1"}, {}}},
    {7, 1, {}, {{5, 0x20, 0, 0, 0, "BPRB_2"}, {}}},
    {8, 1, {}, {{6, 0x20, 0, 0, 0, "BPRA_2"}, {}}},
    {9, 1, {}, {{7, 0x20, 0, 0, 0, "BPFA_1"}, {}}},
    {10, 1, {}, {{8, 0x20, 0, 0, 0, "BPFA_2"}, {}}},
    {11, 1, {}, {{9, 0x20, 0, 0, 0, "BPFA_3"}, {}}},
    {14, 1, {}, {{10, 0x20, 0, 0, 0, "M-I2C-6"}, {}}},
    {27, 1, {}, {{4, 0x22, 0, 0x70, 1, "PCIeSLOT5"}, {}}},
    {26, 1, {}, {{4, 0x22, 0, 0x70, 2, "PCIeSLOT4"}, {}}},
    {25, 1, {}, {{4, 0x22, 0, 0x70, 3, "PCIeSLOT3"}, {}}},
    {30, 1, {}, {{5, 0x22, 0, 0x70, 3, "PCIeSLOT8"}, {}}},
    {29, 1, {}, {{5, 0x22, 0, 0x70, 2, "PCIeSLOT7"}, {}}},
    {28, 1, {}, {{5, 0x22, 0, 0x70, 1, "PCIeSLOT6"}, {}}},
    {23, 1, {}, {{3, 0x22, 0, 0x70, 1, "PCIeSLOT1"}, {}}},
    {24, 1, {}, {{3, 0x22, 0, 0x70, 2, "PCIeSLOT2"}, {}}},
    {31, 1, {}, {{6, 0x22, 0, 0x70, 1, "PCIeSLOT9"}, {}}},
    {32, 1, {}, {{6, 0x22, 0, 0x70, 2, "PCIeSLOT10"}, {}}},
};
static_assert(std::size(hardid_table) == 20);

// Identifiers of two chips, the low 16 bits and the high 8 bits, on one bus behind one switch
// channel. Several rows strap both chips at one address.
constexpr HardIdSource two_chips(uint8_t key, I2cChipRoute low, I2cChipRoute high) {
    return {key, 2, {}, {low, high}};
}

inline constexpr HardIdSource base_info_table[] = {
    two_chips(0, {13, 0x26, 0, 0, 0, "board id0"}, {13, 0x27, 0, 0, 0, "board id1"}),
    two_chips(3, {13, 0x20, 0, 0x77, 5, "sascard id0"}, {13, 0x21, 0, 0x77, 5, "sascard id1"}),
    two_chips(4, {13, 0x20, 0, 0x77, 2, "expander id0"}, {13, 0x21, 0, 0x77, 2, "expander id1"}),
    two_chips(5, {13, 0x20, 0, 0x77, 0, "network id0"}, {13, 0x21, 0, 0x77, 0, "network id1"}),
    two_chips(9, {3, 0x20, 0, 0, 0, "sdsca id0"}, {3, 0x21, 0, 0, 0, "sdsca id1"}),
    two_chips(14, {11, 0x22, 0, 0x70, 1, "mnicx id0"}, {11, 0x23, 0, 0x70, 1, "mnicx id1"}),
    two_chips(16, {12, 0x22, 0, 0x70, 1, "mnicx id0"}, {12, 0x23, 0, 0x70, 1, "mnicx id1"}),
    two_chips(1, {11, 0x20, 0, 0, 0, "pcieriser1 id0"}, {11, 0x20, 0, 0, 0, "pcieriser1 id1"}),
    two_chips(2, {12, 0x20, 0, 0, 0, "pcieriser2 id0"}, {12, 0x20, 0, 0, 0, "pcieriser2 id1"}),
    two_chips(7, {9, 0x22, 0, 0, 0, "spris id0"}, {9, 0x22, 0, 0, 0, "spris id0"}),
    two_chips(10, {13, 0x20, 0, 0x77, 3, "hddbk id0"}, {13, 0x20, 0, 0x77, 3, "hddbk id1"}),
    two_chips(13, {11, 0x22, 0, 0x70, 0, "spirs id0"}, {11, 0x22, 0, 0x70, 0, "spirs id1"}),
    two_chips(14, {11, 0x22, 0, 0x70, 1, "spirs id0"}, {11, 0x22, 0, 0x70, 1, "spirs id1"}),
    two_chips(15, {12, 0x22, 0, 0x70, 0, "spirs id0"}, {12, 0x22, 0, 0x70, 0, "spirs id1"}),
    two_chips(16, {12, 0x22, 0, 0x70, 1, "spirs id0"}, {12, 0x22, 0, 0x70, 1, "spirs id1"}),
};
static_assert(std::size(base_info_table) == 15);

// The identifiers that the board's own decisions compare.
inline constexpr uint16_t tarn_t_board_id = 0x5440;
inline constexpr uint8_t tarn_t_bom_id = 1;
inline constexpr uint32_t first_backplane_key = 5;
inline constexpr uint32_t last_backplane_key = 11;
inline constexpr uint16_t counted_backplane_id = 0x5459;
inline constexpr uint16_t special_backplane_id = 0x5473;

// A backplane that decides the combination code by itself.
struct DecidingBackplane {
    uint16_t board_id;
    uint8_t code;
};
inline constexpr DecidingBackplane deciding_backplanes[] = {{0x545B, 1}, {0x545E, 4}, {0x546F, 3}};

// The combination code by the number of counted backplanes; 255 beyond.
inline constexpr uint8_t backplane_count_codes[] = {255, 0, 2, 3};
inline constexpr uint8_t no_backplane_code = 255;

}  // namespace bf::board
