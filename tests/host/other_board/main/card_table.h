// Cards of a board that there is not: rows that no card of this board needs.
#pragma once

#include "boardfeatures/host.h"

namespace bf::board {

inline constexpr CardPresence card_table[] = {
    {3, CARD_BY_EPLD_BIT, 15, 0, 0x30A, {}, {0, 0, 0, 0, 0, "own"}},
    {4, CARD_BY_EPLD_BIT, 0, 0, 0, {}, {0, 0, 0, 0, 0, "usual"}},
    {3, CARD_BY_EXPANDER_PIN, 0, 7, 0, {}, {2, 0x21, 0, 0, 0, "second"}},
};

}  // namespace bf::board
