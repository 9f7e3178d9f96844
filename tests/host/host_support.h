// What the host tests share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "boardfeatures/host.h"
#include "support/scripted_platform.h"

namespace host {

using scripted::platform;

// What platform calls may answer besides 0.
inline constexpr int failures[] = {-5, -1, 1, 7, INT_MIN, INT_MAX};

// Every key that a byte can hold and some beyond, and values whose low byte is a row's key.
inline std::vector<uint32_t> key_space() {
    std::vector<uint32_t> keys;
    for (uint32_t key = 0; key <= 300; ++key) {
        keys.push_back(key);
    }
    for (const uint32_t key : {0x10000u, 0x10001u, 0x10016u, 0x7FFFFFFFu, 0x80000000u, 0x80000001u,
                               0xFFFFFF01u, 0xFFFFFF16u, UINT32_MAX}) {
        keys.push_back(key);
    }
    return keys;
}

inline constexpr int32_t strange_indexes[] = {
    -1,  -2,  -8,  -255,  -256,  2,       3,           8,           11,     12,
    255, 256, 257, 65536, 65537, INT_MIN, INT_MIN + 1, INT_MAX - 1, INT_MAX};

inline I2cChipRoute route_of(uint32_t bus, uint32_t address, uint32_t mux, uint32_t channel,
                             const std::string &name) {
    I2cChipRoute route;
    std::memset(&route, 0, sizeof(route));
    route.bus = bus;
    route.address = static_cast<uint16_t>(address);
    route.switch_address = mux;
    route.switch_channel = channel;
    std::memcpy(route.name, name.data(), name.size());
    return route;
}

template <typename Record>
std::vector<uint8_t> bytes_of(const Record &record) {
    std::vector<uint8_t> bytes(sizeof(record));
    std::memcpy(bytes.data(), &record, sizeof(record));
    return bytes;
}

// A record that no good answer looks like.
template <typename Record>
Record untouched() {
    Record record;
    std::memset(&record, 0xA5, sizeof(record));
    return record;
}

inline void expect_silence() {
    EXPECT_TRUE(platform().calls.empty());
    EXPECT_TRUE(platform().messages.empty());
    EXPECT_TRUE(platform().failed_stats.empty());
}

inline void expect_message(const char *channel, uint32_t level, const std::string &text) {
    ASSERT_EQ(platform().messages.size(), 1u);
    EXPECT_EQ(platform().messages[0].channel, channel);
    EXPECT_EQ(platform().messages[0].number, level);
    EXPECT_EQ(platform().messages[0].text, text);
}

}  // namespace host
