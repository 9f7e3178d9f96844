// What the FRU tests share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "boardfeatures/fru.h"
#include "support/bytes.h"
#include "support/scripted_platform.h"

namespace fru {

using scripted::platform;

// Every key that a byte can hold and some beyond, and values whose low byte is a card's key.
inline std::vector<uint32_t> key_space() {
    std::vector<uint32_t> keys;
    for (uint32_t key = 0; key <= 300; ++key) {
        keys.push_back(key);
    }
    keys.insert(keys.end(), {0x10000, 0x10001, 0x80000000, 0x80000017, 0xFFFFFF00, UINT32_MAX});
    return keys;
}

// Bytes as fill_with_garbage leaves them.
inline Bytes garbage(size_t size) {
    Bytes bytes;
    for (size_t i = 0; i < size; ++i) {
        bytes.u8(0xA5);
    }
    return bytes;
}

inline void expect_silence() {
    EXPECT_TRUE(platform().calls.empty());
    EXPECT_TRUE(platform().messages.empty());
    EXPECT_TRUE(platform().failed_stats.empty());
}

}  // namespace fru
