// The identifier table of a board that does not exist: positions with two chips, and a position
// that can be strapped in several places.
#pragma once

#include "boardfeatures/identity.h"

namespace bf::board {

inline constexpr HardIdSource hardid_table[] = {
    {0, 2, {}, {{1, 0x20, 0, 0, 0, "low"}, {1, 0x21, 0, 0, 0, "high"}}},
    {7, 1, {}, {{2, 0x20, 0, 0, 0, "first"}, {}}},
    {9, 1, {}, {{9, 0x20, 0, 0, 0, "other"}, {}}},
    {7, 2, {}, {{3, 0x20, 0, 0, 0, "second"}, {3, 0x21, 0, 0, 0, "second"}}},
    {7, 1, {}, {{4, 0x20, 0, 0, 0, "third"}, {}}},
};

}  // namespace bf::board
