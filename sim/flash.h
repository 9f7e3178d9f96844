// The EPLD's user flash: 2046 pages of 16 bytes behind registers of the EPLD. It works in the
// board's own time, which select_sleep moves on.
#pragma once

#include <cstdint>
#include <span>

#include "state.h"

namespace boardsim {

// An erased flash with its usual times.
void flash_power_on(Board &board);

bool is_flash_register(uint32_t reg);
uint16_t flash_read(const State &state, uint32_t reg);
void flash_write(State &state, uint32_t reg, uint16_t value);

std::span<uint8_t> flash_page(Board &board, uint32_t page);

}  // namespace boardsim
