// Bit questions that several areas ask.
#pragma once

#include <cstdint>

namespace bf {

// True when the lowest `width` bits hold an odd number of ones. Width is 1..32.
constexpr bool odd_parity(uint32_t value, unsigned width) {
    const uint32_t mask = width >= 32 ? ~0u : (1u << width) - 1u;
    return (static_cast<unsigned>(__builtin_popcount(value & mask)) & 1u) != 0;
}

// Bit `index` of a 16-bit register; 0 for an index that the register does not have.
constexpr uint32_t bit_of(uint16_t word, uint32_t index) {
    return index < 16 ? (static_cast<uint32_t>(word) >> index) & 1u : 0u;
}

}  // namespace bf
