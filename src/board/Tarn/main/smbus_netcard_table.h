// The network cards that are managed over SMBus, one a PCIe slot.
#pragma once

#include <cstdint>
#include <iterator>

#include "boardplatform/platform.h"

namespace bf::board {

struct SmbusNetCard {
    uint8_t slot_id;  // card key
    uint8_t pcie_slot;
    uint8_t pad[2];
    I2cChipRoute route;
};

inline constexpr SmbusNetCard smbus_netcard_table[] = {
    {23, 1, {}, {3, 0x61, 0, 0x70, 2, "pcie1"}}, {24, 2, {}, {3, 0x61, 0, 0x70, 1, "pcie2"}},
    {25, 3, {}, {4, 0x61, 0, 0x70, 3, "pcie3"}}, {26, 4, {}, {4, 0x61, 0, 0x70, 2, "pcie4"}},
    {27, 5, {}, {4, 0x61, 0, 0x70, 1, "pcie5"}}, {28, 6, {}, {5, 0x61, 0, 0x70, 1, "pcie6"}},
    {29, 7, {}, {5, 0x61, 0, 0x70, 2, "pcie7"}}, {30, 8, {}, {5, 0x61, 0, 0x70, 3, "pcie8"}},
    {31, 9, {}, {6, 0x61, 0, 0x70, 2, "pcie9"}}, {32, 10, {}, {6, 0x61, 0, 0x70, 1, "pcie10"}},
};
static_assert(std::size(smbus_netcard_table) == 10);

// The cards' mailbox answers here, behind the row's bus, switch and channel.
inline constexpr uint16_t mailbox_address = 0x50;

}  // namespace bf::board
