// What the power tests share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "boardfeatures/power.h"
#include "support/bytes.h"
#include "support/scripted_platform.h"

namespace power {

using scripted::platform;

// What platform calls may answer besides 0.
inline constexpr int failures[] = {-5, -1, 1, 7, INT_MIN, INT_MAX};

// Indexes beyond every table, and some whose low byte or word is a row's.
inline constexpr uint32_t strange_indexes[] = {
    2, 3, 10, 11, 54, 55, 56, 255, 256, 257, 0x10000, 0x10001, 0x80000000, UINT32_MAX};

// Straps the main board's identifier: board, PCB and BOM identifier with odd parity.
inline void fit_main_board(uint32_t board_id, uint32_t bom_id, uint32_t pcb_id = 0) {
    uint32_t word = (board_id - 0x5400) * 32 + pcb_id * 8 + bom_id;
    word += __builtin_parity(word) != 0 ? 0 : 0x8000;
    platform().identifier(13, 0x26, 0, 0, static_cast<uint16_t>(word));
}

inline const char identifier_read[] = "ei2c_pca9535_get_word_value 13:0x26 0xFFFF";

inline void expect_silence() {
    EXPECT_TRUE(platform().calls.empty());
    EXPECT_TRUE(platform().messages.empty());
    EXPECT_TRUE(platform().failed_stats.empty());
}

// The only messages are these errors, each of them counted at its place.
inline void expect_errors(const char *function, const std::vector<std::string> &texts) {
    EXPECT_EQ(platform().texts(), texts);
    ASSERT_EQ(platform().failed_stats.size(), texts.size());
    for (size_t i = 0; i < platform().messages.size() && i < texts.size(); ++i) {
        const scripted::Message &message = platform().messages[i];
        EXPECT_EQ(message.channel, "error");
        EXPECT_EQ(message.number, 40u);
        EXPECT_EQ(message.source, "pem_common_info");
        EXPECT_EQ(message.function, function);
        EXPECT_EQ(platform().failed_stats[i],
                  std::make_pair(std::string("pem_common_info"), message.line));
    }
}

}  // namespace power
