#include "flash.h"

#include <algorithm>

namespace boardsim {

namespace {

constexpr uint32_t control_register = 0x344;
constexpr uint32_t page_register = 0x346;
constexpr uint32_t done_register = 0x34C;
constexpr uint32_t write_bank = 0x34E;
constexpr uint32_t read_bank = 0x35E;
constexpr uint32_t last_register = 0x36C;

constexpr uint16_t start_bit = 0x0010;
constexpr uint16_t bmc_owns_bit = 0x0020;
constexpr uint32_t page_mask = 0x0FFF;

constexpr uint8_t erased = 0xFF;
constexpr uint16_t missing_page_word = 0xFFFF;
constexpr uint8_t misread_bit = 0x01;

// What the flash needs for it: an erase is seconds, a page is done by the second look.
constexpr uint32_t usual_erase_us = 3'000'000;
constexpr uint32_t usual_write_us = 15'000;

bool is_owner(const FlashRecord &flash, Ownership ownership) {
    return flash.ownership == static_cast<uint32_t>(ownership);
}

bool is_page(uint32_t chosen, uint32_t page) { return chosen == page + 1; }

// Bits go from 1 to 0 only; an erase is what sets them.
void program_page(Board &board, uint32_t page) {
    if (page >= flash_pages || is_page(board.flash.write_fails, page)) {
        return;
    }
    const auto cells = flash_page(board, page);
    for (uint32_t i = 0; i < cells.size(); ++i) {
        const uint16_t word = board.epld[write_bank + i / 2 * 2];
        cells[i] &= static_cast<uint8_t>(i % 2 == 0 ? word >> 8 : word);
    }
}

void fetch_page(Board &board, uint32_t page) {
    for (uint32_t i = 0; i < flash_page_size; i += 2) {
        uint16_t word = missing_page_word;
        if (page < flash_pages) {
            const auto cells = flash_page(board, page);
            word = static_cast<uint16_t>(cells[i] << 8 | cells[i + 1]);
        }
        if (i == 0 && is_page(board.flash.misreads, page)) {
            word ^= misread_bit;
        }
        board.epld[read_bank + i] = word;
    }
}

void erase_all(Board &board) {
    if (board.flash.erase_fails == 0) {
        std::fill(std::begin(board.flash.cells), std::end(board.flash.cells), erased);
    }
}

void start(State &state, uint32_t code) {
    FlashRecord &flash = state.board.flash;
    const uint32_t page = state.board.epld[page_register] & page_mask;
    uint32_t needed_us = 0;
    switch (code) {
        case 0x1:
            program_page(state.board, page);
            flash.done_bits = 0x0200;
            needed_us = flash.write_us;
            break;
        case 0x2:
            fetch_page(state.board, page);
            flash.done_bits = 0x0400;
            needed_us = flash.read_us;
            break;
        case 0xF:
            erase_all(state.board);
            flash.done_bits = 0x0100;
            needed_us = flash.erase_us;
            break;
        default:
            flash.done_bits = 0;
            break;
    }
    flash.done_at_us = state.accounts.slept_us + needed_us;
}

}  // namespace

void flash_power_on(Board &board) {
    board.flash.erase_us = usual_erase_us;
    board.flash.write_us = usual_write_us;
    std::fill(std::begin(board.flash.cells), std::end(board.flash.cells), erased);
}

bool is_flash_register(uint32_t reg) {
    return reg >= control_register && reg <= last_register && reg % 2 == 0;
}

uint16_t flash_read(const State &state, uint32_t reg) {
    const FlashRecord &flash = state.board.flash;
    const uint16_t word = state.board.epld[reg];
    if (reg == control_register && is_owner(flash, Ownership::stuck)) {
        return word | bmc_owns_bit;
    }
    if (reg == done_register) {
        const bool done = flash.never_completes == 0 && state.accounts.slept_us >= flash.done_at_us;
        return done ? static_cast<uint16_t>(flash.done_bits) : uint16_t{0};
    }
    return word;
}

void flash_write(State &state, uint32_t reg, uint16_t value) {
    const bool writable =
        reg == control_register || reg == page_register || (reg >= write_bank && reg < read_bank);
    if (!writable) {
        return;
    }
    if (reg == control_register && is_owner(state.board.flash, Ownership::refused)) {
        value &= static_cast<uint16_t>(~bmc_owns_bit);
    }
    state.board.epld[reg] = value;
    const bool owned = (flash_read(state, control_register) & bmc_owns_bit) != 0;
    if (reg == control_register && (value & start_bit) != 0 && owned) {
        start(state, value & 0xF);
    }
}

std::span<uint8_t> flash_page(Board &board, uint32_t page) {
    return std::span(board.flash.cells).subspan(size_t{page} * flash_page_size, flash_page_size);
}

}  // namespace boardsim
