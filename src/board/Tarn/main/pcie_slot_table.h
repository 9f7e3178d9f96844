// The PCIe slots as older callers ask for them: where the card in each is reached.
#pragma once

#include <iterator>

#include "boardfeatures/pcieid_enum.h"

namespace bf::board {

inline constexpr PcieSlotInfo pcie_slot_table[] = {
    // slot, card key, bus, address, flags, reserved, mux, channel, name
    {1, 0x17, 3, 0, 0, 0, 0x70, 2, "pcie1", {}},   {2, 0x18, 3, 0, 0, 0, 0x70, 1, "pcie2", {}},
    {3, 0x19, 4, 0, 0, 0, 0x70, 3, "pcie3", {}},   {4, 0x1A, 4, 0, 0, 0, 0x70, 2, "pcie4", {}},
    {5, 0x1B, 4, 0, 0, 0, 0x70, 1, "pcie5", {}},   {6, 0x1C, 5, 0, 0, 0, 0x70, 1, "pcie6", {}},
    {7, 0x1D, 5, 0, 0, 0, 0x70, 2, "pcie7", {}},   {8, 0x1E, 5, 0, 0, 0, 0x70, 3, "pcie8", {}},
    {9, 0x1F, 6, 0, 0, 0, 0x70, 2, "pcie9", {}},   {10, 0x20, 6, 0, 0, 0, 0x70, 1, "pcie10", {}},
    {80, 0x21, 7, 0, 0, 0, 0x70, 1, "pcie80", {}}, {81, 0x22, 9, 0, 0, 0, 0x70, 1, "pcie81", {}},
};
static_assert(std::size(pcie_slot_table) == PCIE_SLOT_COUNT);

inline constexpr uint32_t pcie_slot_rate = 4;  // PCIe generation of every slot

}  // namespace bf::board
