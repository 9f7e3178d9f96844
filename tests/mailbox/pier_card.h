// A network card at the other end of the mailbox, as its documentation describes it: three
// registers and a command that runs when the host clears the status register.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "boardfeatures/mailbox.h"
#include "support/libc_layer.h"
#include "support/scripted_platform.h"

namespace mailbox {

using libc_layer::layer;
using libc_layer::Watch;
using scripted::platform;

constexpr int32_t semaphore_key = 12339;

struct PierCard {
    // ---- what it answers ----
    int busy_polls = 0;                     // reads of the status that still find it busy
    uint8_t acknowledge = 1;                // the one after them
    std::vector<uint8_t> answer;            // data of the answer
    std::optional<uint8_t> claimed_length;  // when it is not the answer's

    // ---- what it was told ----
    std::vector<uint8_t> status = std::vector<uint8_t>(4, 0x5A);
    std::vector<uint8_t> command;
    std::vector<uint8_t> data = std::vector<uint8_t>(248, 0xEE);
    std::function<bool()> finished;  // in place of busy_polls

    int write(uint32_t length, const uint8_t *bytes, uint32_t offset) {
        std::vector<uint8_t> written(bytes, bytes + length);
        if (offset == 0) {
            status = written;
            polls_ = 0;
        } else if (offset == 4) {
            command = written;
        } else {
            std::copy(written.begin(), written.end(), data.begin());
        }
        return static_cast<int>(length);
    }
    int read(uint32_t length, uint8_t *bytes, uint32_t offset) {
        if (offset == 0 && status == std::vector<uint8_t>(4, 0)) {
            if (finished ? finished() : polls_++ >= busy_polls) {
                status = {claimed_length.value_or(static_cast<uint8_t>(answer.size())), acknowledge,
                          0xC2, 0xC3};
                std::copy(answer.begin(), answer.end(), data.begin());
            }
        }
        const std::vector<uint8_t> &source = offset == 0 ? status : data;
        std::copy_n(source.begin(), length, bytes);
        return static_cast<int>(length);
    }
    void attach() {
        platform().on_i2c_write = [this](const I2cChipRoute &, uint32_t length,
                                         const uint8_t *bytes,
                                         uint32_t offset) { return write(length, bytes, offset); };
        platform().on_i2c_read = [this](const I2cChipRoute &, uint32_t length, uint8_t *bytes,
                                        uint32_t offset) { return read(length, bytes, offset); };
    }

private:
    int polls_ = 0;
};

// A route that is no row's.
inline I2cChipRoute some_route() {
    I2cChipRoute route = {};
    route.bus = 4;
    route.address = 0x50;
    route.flags = 7;
    route.switch_address = 0x70;
    route.switch_channel = 3;
    return route;
}

}  // namespace mailbox
