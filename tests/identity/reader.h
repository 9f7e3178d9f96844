// What the identifier tests share: the chips that were read, words with odd parity, key spaces.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <map>
#include <optional>
#include <vector>

#include "identity/tables.h"
#include "support/scripted_platform.h"

namespace identity {

using scripted::platform;

inline bool odd_ones(uint32_t value) {
    bool odd = false;
    for (; value != 0; value >>= 1) {
        odd ^= (value & 1) != 0;
    }
    return odd;
}

// The word that a one-chip board with these identifiers straps.
inline uint16_t word_of(uint32_t board_id, uint32_t pcb_id = 0, uint32_t bom_id = 0) {
    const uint32_t word = (board_id - 0x5400) * 32 + pcb_id * 8 + bom_id;
    return static_cast<uint16_t>(odd_ones(word) ? word : word + 0x8000);
}

struct WordRead {
    I2cChipRoute route;
    uint32_t mask;
};

inline bool same_route(const I2cChipRoute &a, const I2cChipRoute &b) {
    return std::memcmp(&a, &b, sizeof(a)) == 0;
}

// Answers each word read with the next of a list (the last one from then on), and keeps the reads
// with every byte of their routes.
class WordScript {
public:
    struct Answer {
        uint32_t word = 0;
        int result = 0;
    };

    explicit WordScript(std::vector<Answer> answers) : answers_(std::move(answers)) {
        platform().on_word_read = [this](const I2cChipRoute &route, uint32_t mask,
                                         uint32_t *value) {
            const Answer &answer =
                answers_[reads.size() < answers_.size() ? reads.size() : answers_.size() - 1];
            reads.push_back({route, mask});
            if (answer.result == 0) {
                *value = answer.word;
            }
            return answer.result;
        };
    }
    ~WordScript() { platform().on_word_read = nullptr; }
    WordScript(const WordScript &) = delete;
    WordScript &operator=(const WordScript &) = delete;

    std::vector<WordRead> reads;

private:
    std::vector<Answer> answers_;
};

// Straps a card's identifier at its position.
inline void fit(uint32_t key, uint16_t word) {
    for (const OneChip &row : one_chip_table()) {
        if (row.key == key) {
            platform().expanders[scripted::chip_of(row.chip)].input = word;
        }
    }
}

// Every key that a byte can hold and some beyond, and values whose low byte is a card's key.
inline std::vector<uint32_t> key_space() {
    std::vector<uint32_t> keys;
    for (uint32_t key = 0; key <= 300; ++key) {
        keys.push_back(key);
    }
    for (const uint32_t key : {0x10000u, 0x10005u, 0x7FFFFFFFu, 0x80000000u, 0x80000005u,
                               0xFFFFFF00u, 0xFFFFFF05u, UINT32_MAX}) {
        keys.push_back(key);
    }
    return keys;
}

// What platform calls may answer besides 0.
inline constexpr int failures[] = {-5, -1, 1, 7, INT_MIN, INT_MAX};

// A record that no good answer looks like, and whether it is still that.
inline HardIdInfo untouched() {
    HardIdInfo info;
    std::memset(&info, 0xA5, sizeof(info));
    return info;
}
inline std::vector<uint8_t> bytes_of(const HardIdInfo &info) {
    std::vector<uint8_t> bytes(sizeof(info));
    std::memcpy(bytes.data(), &info, sizeof(info));
    return bytes;
}
inline HardIdInfo info_of(uint32_t board, uint32_t pcb, uint32_t bom, uint32_t hard, uint32_t raw) {
    HardIdInfo info = {};
    info.board_id = static_cast<uint16_t>(board);
    info.pcb_id = static_cast<uint8_t>(pcb);
    info.bom_id = static_cast<uint8_t>(bom);
    info.hard_id = hard;
    info.raw_value = raw;
    return info;
}

inline void expect_message(const char *channel, uint32_t level, const char *source,
                           const char *text) {
    ASSERT_EQ(platform().messages.size(), 1u);
    const scripted::Message &message = platform().messages[0];
    EXPECT_EQ(message.channel, channel);
    EXPECT_EQ(message.number, level);
    EXPECT_EQ(message.source, source);
    EXPECT_GT(message.line, 0);
    EXPECT_EQ(message.text, text);
}

inline void expect_silence() {
    EXPECT_TRUE(platform().calls.empty());
    EXPECT_TRUE(platform().messages.empty());
    EXPECT_TRUE(platform().failed_stats.empty());
}

}  // namespace identity
