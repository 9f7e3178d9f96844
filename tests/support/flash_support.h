// What the tests of the flash share: the expected register accesses and the log without its lines.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "boardfeatures/pcieid.h"
#include "support/pciecfg_model.h"
#include "support/scripted_flash.h"
#include "support/scripted_platform.h"

using Calls = std::vector<std::string>;

inline std::string hex4(unsigned value) {
    char text[8];
    std::snprintf(text, sizeof(text), "%04X", value);
    return text;
}

// The register accesses of a device whose control and page registers hold 0 when it is idle.
inline Calls take_calls() {
    return {"epldio_read 0x344", "epldio_read 0x344", "epldio_write 0x344 0x0020",
            "epldio_read 0x344"};
}
inline Calls release_calls() {
    return {"epldio_read 0x344", "epldio_write 0x344 0x0000", "epldio_read 0x344"};
}
inline Calls look_calls() {
    return {"epldio_read 0x348", "epldio_read 0x34A", "epldio_read 0x34C"};
}

inline Calls operator+(Calls a, const Calls &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline Calls page_calls(unsigned page) {
    return {"epldio_read 0x346", "epldio_write 0x346 0x" + hex4(page)};
}
inline Calls command_calls(unsigned control) {
    return {"epldio_read 0x344", "epldio_write 0x344 0x" + hex4(control)};
}
inline Calls erase_calls() {
    return page_calls(0) + command_calls(0x3F) + look_calls() + Calls{"select_sleep 5 0"};
}
inline Calls page_write_calls(unsigned page, const uint8_t *bytes) {
    Calls calls;
    for (unsigned j = 0; j < 8; ++j) {
        const unsigned word = bytes[2 * j] * 256u + bytes[2 * j + 1];
        char text[64];
        std::snprintf(text, sizeof(text), "epldio_write 0x%X 0x%04X", 0x34E + 2 * j, word);
        calls.push_back(text);
    }
    return calls + page_calls(page) + command_calls(0x31) + look_calls() +
           Calls{"select_sleep 0 10000"};
}
inline Calls page_read_calls(unsigned page) {
    Calls calls =
        page_calls(page) + command_calls(0x32) + look_calls() + Calls{"select_sleep 0 10000"};
    for (const char *reg : {"35E", "360", "362", "364", "366", "368", "36A", "36C"}) {
        calls.push_back(std::string("epldio_read 0x") + reg);
    }
    return calls;
}

// "channel function text": lines and addresses taken out, places checked.
inline std::vector<std::string> log_lines() {
    std::vector<std::string> lines;
    for (const auto &message : scripted::platform().messages) {
        std::string text = message.text;
        const std::string place = message.function + "(@" + std::to_string(message.line) + ")";
        EXPECT_EQ(text.rfind(place, 0), 0u) << text;
        EXPECT_EQ(message.number, 56u);
        EXPECT_THAT(message.source, testing::AnyOf("pciecfg_io", "pciecfg_io_dev"));
        text.erase(0, place.size());
        for (size_t at = text.find("0x"); at != std::string::npos; at = text.find("0x")) {
            size_t end = at + 2;
            while (end < text.size() && std::isxdigit(static_cast<unsigned char>(text[end]))) {
                ++end;
            }
            text.replace(at, end - at, "PTR");
        }
        lines.push_back(message.channel + " " + message.function + ":" + text);
    }
    return lines;
}

inline model::Bytes file_bytes(const char *path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline bool file_exists(const char *path) { return std::ifstream(path).good(); }

// True when nobody holds the device's mutex.
inline bool mutex_free() {
    if (pthread_mutex_trylock(&ufm_dev_mutex) != 0) {
        return false;
    }
    pthread_mutex_unlock(&ufm_dev_mutex);
    return true;
}

inline pciecfg_list make_list(uint32_t count, unsigned seed = 11) {
    model::Random random(seed);
    return model::random_list(random, count);
}

class FlashTest : public testing::Test {
protected:
    void SetUp() override { flash.install(); }
    void TearDown() override {
        EXPECT_THAT(flash.violations, testing::IsEmpty());
        EXPECT_TRUE(mutex_free());
    }
    void store(const model::Bytes &image) { flash.load(image.data(), image.size()); }

    scripted::Flash flash;
};
