// The EPLD's user flash on the scripted platform: registers 0x344 to 0x36C, 2046 pages of 16 bytes.
// Time is virtual: every select_sleep moves the clock.
#pragma once

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "support/scripted_platform.h"
#include "support/virtual_clock.h"

namespace scripted {

struct Flash {
    using Page = std::array<uint8_t, 16>;

    std::vector<Page> pages = std::vector<Page>(2046, erased_page());
    uint16_t control = 0;
    uint16_t page_address = 0;
    uint16_t status1 = 0;
    uint16_t status2 = 0;
    std::array<uint16_t, 8> write_bank = {};
    std::array<uint16_t, 8> read_bank = {};

    // ---- faults ----
    unsigned busy_looks = 0;        // looks at STATUS3 before a command reports completion
    bool never_completes = false;   // commands work but do not say so
    bool ownership_stuck = false;   // the ownership bit reads set
    bool ownership_denied = false;  // the ownership bit reads clear

    // ---- what happened ----
    std::vector<std::string> commands;    // "E", "W 0", "R 128"
    std::vector<std::string> violations;  // accesses that the device does not understand

    static Page erased_page() {
        Page page;
        page.fill(0xFF);
        return page;
    }

    // Answers the platform's registers and sleeps from now on; this object must outlive their use.
    void install() {
        start_virtual_clock();
        platform().on_epld_read = [this](uint32_t reg, uint16_t *value) {
            *value = read(reg);
            return 0;
        };
        platform().on_epld_write = [this](uint32_t reg, uint16_t value) {
            write(reg, value);
            return 0;
        };
        platform().on_sleep = [](uint32_t seconds, uint32_t microseconds) {
            advance_virtual_clock(seconds * int64_t{1'000'000} + microseconds);
            return 0;
        };
    }

    bool owned() const { return (control & 0x20) != 0; }

    // The first bytes of the flash in one piece.
    void load(const void *bytes, size_t size) {
        for (size_t i = 0; i < size; ++i) {
            pages[i / 16][i % 16] = static_cast<const uint8_t *>(bytes)[i];
        }
    }
    std::vector<uint8_t> content(size_t size) const {
        std::vector<uint8_t> bytes;
        for (size_t i = 0; i < size; ++i) {
            bytes.push_back(pages[i / 16][i % 16]);
        }
        return bytes;
    }

private:
    unsigned looks_ = 0;
    uint16_t done_ = 0;

    uint16_t read(uint32_t reg) {
        switch (reg) {
            case 0x344:
                if (ownership_denied) {
                    return control & static_cast<uint16_t>(~0x20);
                }
                return ownership_stuck ? control | 0x20 : control;
            case 0x346:
                return page_address;
            case 0x348:
                return status1;
            case 0x34A:
                return status2;
            case 0x34C:
                if (never_completes || looks_ < busy_looks) {
                    ++looks_;
                    return 0;
                }
                return done_;
            default:
                if (reg >= 0x35E && reg <= 0x36C && reg % 2 == 0) {
                    return read_bank[(reg - 0x35E) / 2];
                }
                violations.push_back("read of " + std::to_string(reg));
                return 0;
        }
    }

    void write(uint32_t reg, uint16_t value) {
        if (reg == 0x344) {
            control = value;
            if ((value & 0x10) != 0) {
                execute(value & 0xF);
            }
        } else if (reg == 0x346) {
            page_address = value;
        } else if (reg >= 0x34E && reg <= 0x35C && reg % 2 == 0) {
            write_bank[(reg - 0x34E) / 2] = value;
        } else {
            violations.push_back("write of " + std::to_string(reg));
        }
    }

    void execute(unsigned code) {
        const unsigned page = page_address & 0xFFFu;
        looks_ = 0;
        done_ = 0;
        if (!owned()) {
            violations.push_back("command without ownership");
            return;
        }
        if (code == 0xF) {
            commands.push_back("E");
            pages.assign(pages.size(), erased_page());
            done_ = 0x0100;
            return;
        }
        if ((code != 0x1 && code != 0x2) || page >= pages.size()) {
            violations.push_back("command " + std::to_string(code) + " page " +
                                 std::to_string(page));
            return;
        }
        commands.push_back((code == 0x1 ? "W " : "R ") + std::to_string(page));
        for (unsigned i = 0; i < 8; ++i) {
            uint8_t *bytes = &pages[page][2 * i];
            if (code == 0x1) {
                bytes[0] = static_cast<uint8_t>(write_bank[i] >> 8);
                bytes[1] = static_cast<uint8_t>(write_bank[i] & 0xFF);
            } else {
                read_bank[i] = static_cast<uint16_t>(bytes[0] * 256 + bytes[1]);
            }
        }
        done_ = code == 0x1 ? 0x0200 : 0x0400;
    }
};

}  // namespace scripted
