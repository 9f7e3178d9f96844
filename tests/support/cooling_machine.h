// A machine with or without the cards that decide its cooling configuration.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "boardfeatures/cooling.h"
#include "support/scripted_platform.h"

namespace cooling {

using scripted::platform;

inline constexpr uint16_t no_card = 0x7FFF;

// What an identifier chip holds for a board id: its low ten bits, and odd parity in the top bit.
inline uint16_t identifier_word(uint16_t board_id) {
    const auto word = static_cast<uint16_t>((board_id & 0x3FF) << 5);
    return std::popcount(word) % 2 == 1 ? word : word | 0x8000;
}

inline void fit_position(uint32_t bus, uint16_t board_id) {
    platform().expanders.erase({bus, 0x20, 0, 0});
    if (board_id != no_card) {
        platform().identifier(bus, 0x20, 0, 0, identifier_word(board_id));
    }
}

inline void fit_cards(uint16_t position_10, uint16_t position_11) {
    fit_position(8, position_10);
    fit_position(9, position_11);
}

// The two identifier reads of one look-up, in order.
inline const std::vector<std::string> &look_up_reads() {
    static const std::vector<std::string> reads = {"ei2c_pca9535_get_word_value 8:0x20 0xFFFF",
                                                   "ei2c_pca9535_get_word_value 9:0x20 0xFFFF"};
    return reads;
}

// Starts as a process does: nothing is known of the machine.
inline void forget_configuration() {
    g_wSubCardID_SLOT10 = 0;
    g_wSubCardID_SLOT11 = 0;
    g_dwGetNoBoardIDTimes = 0;
    g_bIsFell = 0;
}

class CoolingTest : public testing::Test {
protected:
    CoolingTest() {
        platform() = {};
        forget_configuration();
    }
};

}  // namespace cooling
