// The RAID cards that can be fitted and their out-of-band routes.
#pragma once

#include <cstdint>
#include <iterator>

#include "boardplatform/platform.h"

namespace bf::board {

struct RaidCard {
    uint8_t index;
    uint8_t pcie_slot;  // 0: the on-board controller
    uint8_t slot_id;    // card key
    uint8_t reserved[5];
    I2cChipRoute route;  // address 0x01 is a placeholder until the card's own is known
};
static_assert(sizeof(RaidCard) == 40);

inline constexpr RaidCard raid_table[] = {
    {1, 1, 23, {}, {3, 0x01, 0, 0x70, 2, "pcie1"}},
    {2, 2, 24, {}, {3, 0x01, 0, 0x70, 1, "pcie2"}},
    {3, 3, 25, {}, {4, 0x01, 0, 0x70, 3, "pcie3"}},
    {4, 4, 26, {}, {4, 0x01, 0, 0x70, 2, "pcie4"}},
    {5, 5, 27, {}, {4, 0x01, 0, 0x70, 1, "pcie5"}},
    {6, 6, 28, {}, {5, 0x01, 0, 0x70, 1, "pcie6"}},
    {7, 7, 29, {}, {5, 0x01, 0, 0x70, 2, "pcie7"}},
    {8, 8, 30, {}, {5, 0x01, 0, 0x70, 3, "pcie8"}},
    {9, 9, 31, {}, {6, 0x01, 0, 0x70, 2, "pcie9"}},
    {10, 10, 32, {}, {6, 0x01, 0, 0x70, 1, "pcie10"}},
    {11, 0, 3, {}, {13, 0x01, 0, 0x77, 5, "pmc"}},
};
static_assert(std::size(raid_table) == 11);

inline constexpr uint32_t unknown_raid_pcie_slot = 13;

// Controllers that answer out of band, by device id, and the address they answer at.
inline constexpr uint16_t oob_raid_device_ids[] = {0x00AC, 0x00C4, 0x00E6, 0x00AF};
inline constexpr uint16_t oob_raid_address = 5;

}  // namespace bf::board
