// A platform that a test scripts: registers and chips as maps, functions where a map is not enough,
// and a record of every access and every message in order.
//
// Linked into a test program, its definitions win over the simulated platform's. Configuration
// files and bounded strings are the simulated platform's own; their calls are recorded and can be
// made to fail like all others.
#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "boardplatform/platform.h"

namespace scripted {

// Where a chip answers.
struct Chip {
    uint32_t bus = 0;
    uint16_t address = 0;
    uint32_t switch_address = 0;
    uint32_t channel = 0;
    auto operator<=>(const Chip &) const = default;
};
Chip chip_of(const I2cChipRoute &route);

struct Expander {
    uint16_t input = 0xFFFF;
    uint16_t output = 0xFFFF;
    uint16_t direction = 0xFFFF;  // 1 = input
};

// One message. For formats that begin "[%s:%d]", source and line are the two values and text is
// what follows; text keeps the format's own line end.
struct Message {
    std::string channel;  // error, warn, info, debug (module); dbgout, audit, runtime (level)
    uint32_t number = 0;  // the module or the level
    std::string source;
    std::string function;
    int line = 0;
    std::string text;
    size_t calls_before = 0;  // recorded ones
};

struct Platform {
    // ---- what the board answers ----
    std::map<uint32_t, uint16_t> epld;           // registers that are not here read 0
    std::map<Chip, Expander> expanders;          // chips that are not here fail with -1
    std::map<Chip, Chip> same_expander;          // another route to an expander: a cable
    std::map<Chip, std::vector<uint8_t>> bytes;  // byte-register devices and EEPROMs, by offset
    std::map<uint32_t, uint32_t> memory;         // physical registers
    std::map<uint32_t, int> gpio;                // lines that are not here fail with -1
    std::map<uint32_t, uint32_t> fan_rpm;        // fans that are not here fail with -1
    std::optional<uint32_t> back_panel_id;

    // Asked before the maps; the map answers when they are empty.
    std::function<int(uint32_t reg, uint16_t *value)> on_epld_read;
    std::function<int(uint32_t reg, uint16_t value)> on_epld_write;
    std::function<int(const I2cChipRoute &, uint32_t mask, uint32_t *value)> on_word_read;
    std::function<int(const I2cChipRoute &, uint32_t pin, uint32_t *value)> on_pin_read;
    std::function<int(const I2cChipRoute &, uint32_t length, uint8_t *, uint32_t offset)>
        on_i2c_read;
    std::function<int(const I2cChipRoute &, uint32_t length, const uint8_t *, uint32_t offset)>
        on_i2c_write;
    std::function<int(uint32_t seconds, uint32_t microseconds)> on_sleep;
    std::function<int(uint32_t fan, uint32_t *rpm)> on_fan_speed;

    // ---- faults: the n-th recorded call (from 1) fails with `failure` and has no effect ----
    std::optional<size_t> fail_call;
    std::function<bool(const std::string &call)> fail_if;
    int failure = -5;

    // ---- what happened ----
    std::vector<std::string>
        calls;  // e.g. "epldio_read 0x208", "ei2c_pca9535_get_word_value 13:0x26 0xFFFF"
    std::vector<I2cChipRoute> routes;  // of the I2C calls among them, whole
    std::vector<Message> messages;
    // sspFailedStat; an error that none directly precedes with its place ends the test.
    std::vector<std::pair<std::string, int>> failed_stats;

    void identifier(uint32_t bus, uint16_t address, uint32_t mux, uint32_t channel, uint16_t word) {
        expanders[{bus, address, mux, channel}].input = word;
    }
    void clear_record() {
        calls.clear();
        routes.clear();
        messages.clear();
        failed_stats.clear();
    }
    // The recorded calls whose text begins with `prefix`.
    std::vector<std::string> calls_of(const std::string &prefix) const;
    std::vector<std::string> texts() const;  // of the messages
};

Platform &platform();

// "13:0x26", behind a switch "4:0x70.1:0x22", behind two levels "4:0x710070.20001:0x22" (raw hex).
std::string route_text(const I2cChipRoute &route);
// Flags and name included.
bool same_route(const I2cChipRoute &one, const I2cChipRoute &other);

}  // namespace scripted
