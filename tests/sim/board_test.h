// A test against the simulated platform: one board, made from a text, that this process works on.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <optional>
#include <string>
#include <string_view>

#include "boardplatform/platform.h"
#include "simulator.h"

inline I2cChipRoute at(uint32_t bus, uint16_t address, uint32_t switches = 0,
                       uint32_t channels = 0) {
    I2cChipRoute route = {};
    route.bus = bus;
    route.address = address;
    route.switch_address = switches;
    route.switch_channel = channels;
    return route;
}

class BoardTest : public testing::Test {
protected:
    static constexpr const char *state_file = "/var/board.state";

    // Once a test, before the first access.
    boardsim::Simulator &board(std::string_view text) {
        boardsim::make_state_from_text(text, state_file);
        return open_state();
    }
    boardsim::Simulator &open_state() {
        setenv("BOARDSIM_STATE", state_file, 1);
        return simulator_.emplace(state_file);
    }
    boardsim::Simulator &sim() { return *simulator_; }

    boardsim::BusAccount bus(uint32_t number) { return sim().accounts().buses[number]; }

private:
    std::optional<boardsim::Simulator> simulator_;
};

// The output parameter of a read that succeeded, or the failure.
inline int64_t word_at(const I2cChipRoute &route, uint32_t mask = 0xFFFF) {
    uint32_t value = 0;
    const int result = ei2c_pca9535_get_word_value(&route, mask, &value);
    return result < 0 ? result : static_cast<int64_t>(value);
}
inline int64_t epld_at(uint32_t reg) {
    uint16_t value = 0;
    const int result = epldio_read(reg, &value);
    return result < 0 ? result : static_cast<int64_t>(value);
}
