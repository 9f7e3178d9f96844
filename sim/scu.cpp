#include "scu.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <span>
#include <system_error>

namespace boardsim {

namespace {

constexpr uint32_t unlock_key = 0x1688A8A8;
constexpr uint32_t unlocked = 1;
constexpr uint32_t locked = 0;

// A unit whose protection register is not on the board protects nothing.
bool is_unlocked(const Board &board) {
    for (uint32_t i = 0; i < board.memory_count; ++i) {
        if (board.memory[i].address == scu_protection) {
            return board.memory[i].value == unlocked;
        }
    }
    return true;
}

}  // namespace

bool is_scu_register(uint32_t address) {
    return address >= scu_page && address - scu_page < scu_page_size;
}

void scu_write(Board &board, MemoryWord &word, uint32_t value) {
    if (word.address == scu_protection) {
        // reads back whether the unit is unlocked, never the key
        word.value = value == unlock_key ? unlocked : locked;
    } else if (!is_unlocked(board)) {
        return;
    } else if (word.address == scu_reset_status) {
        // the hardware sets these flags; software clears those that it writes as 0
        word.value &= value;
    } else {
        word.value = value;
    }
}

bool scu_write_file(const Board &board, const std::string &path) {
    std::array<uint8_t, scu_page_size> page = {};
    bool any = false;
    for (const MemoryWord &word : std::span(board.memory, board.memory_count)) {
        if (is_scu_register(word.address)) {
            const uint32_t offset = (word.address - scu_page) & ~uint32_t{3};
            for (uint32_t byte = 0; byte < 4; ++byte) {
                page[offset + byte] = static_cast<uint8_t>(word.value >> (8 * byte));
            }
            any = true;
        }
    }
    if (!any) {
        return false;
    }
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const bool written = file >= 0 && fchmod(file, 0666) == 0 &&
                         pwrite(file, page.data(), page.size(), off_t{scu_page}) ==
                             static_cast<ssize_t>(page.size());
    const int code = errno;
    if (file >= 0) {
        close(file);
    }
    if (!written) {
        throw Error(path + ": cannot be written: " + std::generic_category().message(code));
    }
    return true;
}

}  // namespace boardsim
