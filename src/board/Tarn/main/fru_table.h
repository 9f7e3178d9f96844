// Where each card keeps its FRU data.
#pragma once

#include <iterator>

#include "boardfeatures/fru.h"

namespace bf::board {

// In the order of the search.
inline constexpr FruRow fru_table[] = {
    {0, {}, {13, 0x50, 0, 0, 0, "mainboard"}}, {1, {}, {11, 0x51, 0, 0, 0, "sas"}},
    {5, {}, {3, 0x51, 0, 0, 0, "BPRA_1"}},     {6, {}, {4, 0x51, 0, 0, 0, "BPRB-1"}},
    {7, {}, {5, 0x51, 0, 0, 0, "BPRB-2"}},     {8, {}, {6, 0x51, 0, 0, 0, "BPRA_2"}},
    {9, {}, {7, 0x51, 0, 0, 0, "BPFA-1"}},     {10, {}, {8, 0x51, 0, 0, 0, "BPFA-2"}},
    {11, {}, {9, 0x51, 0, 0, 0, "BPFA-3"}},    {14, {}, {10, 0x51, 0, 0, 0, "M-I2C-6"}},
    {23, {}, {3, 0x53, 0, 0x70, 2, "pcie1"}},  {24, {}, {3, 0x53, 0, 0x70, 1, "pcie2"}},
    {25, {}, {4, 0x53, 0, 0x70, 3, "pcie3"}},  {26, {}, {4, 0x53, 0, 0x70, 2, "pcie4"}},
    {27, {}, {4, 0x53, 0, 0x70, 1, "pcie5"}},  {28, {}, {5, 0x53, 0, 0x70, 1, "pcie6"}},
    {29, {}, {5, 0x53, 0, 0x70, 2, "pcie7"}},  {30, {}, {5, 0x53, 0, 0x70, 3, "pcie8"}},
    {31, {}, {6, 0x53, 0, 0x70, 2, "pcie9"}},  {32, {}, {6, 0x53, 0, 0x70, 1, "pcie10"}},
};
static_assert(std::size(fru_table) == 20);

// The main board's FRU data lie in the BMC's firmware area. Offsets beyond the first area fold
// back.
inline constexpr char fru_file[] = "/resvz/firmware/FRU/FRU.BIN";
inline constexpr uint32_t fru_first_area_end = 0x8000;
inline constexpr uint32_t fru_fold = 0x6000;

}  // namespace bf::board
