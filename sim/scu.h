// The SoC's system control unit, the part that is about starting: a protection register, the reset
// status and the straps. Its registers are words of physical memory.
#pragma once

#include <cstdint>
#include <string>

#include "state.h"

namespace boardsim {

constexpr uint32_t scu_page = 0x1E6E2000;
constexpr uint32_t scu_page_size = 0x1000;
constexpr uint32_t scu_protection = scu_page;
constexpr uint32_t scu_reset_status = scu_page + 0x3C;
constexpr uint32_t scu_strap = scu_page + 0x70;

bool is_scu_register(uint32_t address);
// Writes to a register of the unit that the board has.
void scu_write(Board &board, MemoryWord &word, uint32_t value);

// The unit's registers in a file, each at its physical address and the last page whole; nothing is
// stored before them. False, and no file, when the board has none of them.
bool scu_write_file(const Board &board, const std::string &path);

}  // namespace boardsim
