// How the presence of each card is known.
#pragma once

#include <iterator>

#include "boardfeatures/host.h"

namespace bf::board {

constexpr CardPresence by_epld(uint8_t key, uint8_t bit, I2cChipRoute named) {
    return {key, CARD_BY_EPLD_BIT, bit, 0, 0, {}, named};
}
constexpr CardPresence by_pin(uint8_t key, uint8_t pin, I2cChipRoute expander) {
    return {key, CARD_BY_EXPANDER_PIN, 0, pin, 0, {}, expander};
}
constexpr CardPresence by_identifier(uint8_t key, I2cChipRoute chip) {
    return {key, CARD_BY_IDENTIFIER, 0, 0, 0, {}, chip};
}

// In the order of the search.
inline constexpr CardPresence card_table[] = {
    by_epld(1, 3, {0, 0, 0, 0, 0, "sas"}),
    by_identifier(5, {3, 0x20, 0, 0, 0, "bpra_1"}),
    by_identifier(6, {4, 0x20, 0, 0, 0, "bprb_1"}),
    by_identifier(7, {5, 0x20, 0, 0, 0, "bprb_2"}),
    by_identifier(8, {6, 0x20, 0, 0, 0, "bpra_2"}),
    by_identifier(9, {7, 0x20, 0, 0, 0, "bpfa_1"}),
    by_identifier(10, {8, 0x20, 0, 0, 0, "bpfa_2"}),
    by_identifier(11, {9, 0x20, 0, 0, 0, "bpfa_3"}),
    by_identifier(14, {10, 0x20, 0, 0, 0, "M-I2C-6"}),
    by_epld(16, 5, {0, 0, 0, 0, 0, "TPM"}),
    by_epld(17, 6, {0, 0, 0, 0, 0, "FAN1"}),
    by_epld(18, 7, {0, 0, 0, 0, 0, "FAN2"}),
    by_epld(19, 8, {0, 0, 0, 0, 0, "FAN3"}),
    by_epld(20, 9, {0, 0, 0, 0, 0, "FAN4"}),
    by_epld(21, 11, {0, 0, 0, 0, 0, "RAIDKEY"}),
    by_epld(22, 12, {0, 0, 0, 0, 0, "OCP"}),
    by_pin(23, 0, {3, 0x21, 0, 0, 0, "pcie1"}),
    by_pin(24, 1, {3, 0x21, 0, 0, 0, "pcie2"}),
    by_pin(25, 2, {4, 0x21, 0, 0x70, 0, "pcie3"}),
    by_pin(26, 1, {4, 0x21, 0, 0x70, 0, "pcie4"}),
    by_pin(27, 0, {4, 0x21, 0, 0x70, 0, "pcie5"}),
    by_pin(28, 0, {5, 0x21, 0, 0x70, 0, "pcie6"}),
    by_pin(29, 1, {5, 0x21, 0, 0x70, 0, "pcie7"}),
    by_pin(30, 2, {5, 0x21, 0, 0x70, 0, "pcie8"}),
    by_pin(31, 0, {6, 0x21, 0, 0, 0, "pcie9"}),
    by_pin(32, 1, {6, 0x21, 0, 0, 0, "pcie10"}),
};
static_assert(std::size(card_table) == 26);

}  // namespace bf::board
