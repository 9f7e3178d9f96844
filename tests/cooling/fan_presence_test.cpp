// Whether a fan is there: by the EPLD on this board, by the other methods with rows of the test.
#include <fcntl.h>
#include <unistd.h>

#include "cooling/fan_presence.h"
#include "support/cooling_machine.h"

using namespace cooling;
using bf::cooling::fan_present;
using bf::cooling::FanPresence;
using bf::cooling::present_by_speed_only;
using Calls = std::vector<std::string>;

namespace {

constexpr char epld_reset_flag[] = "/var/epldresetflag";
const Calls epld_read = {"epldio_read 0x208"};

// Bits of the modules' fans.
constexpr unsigned bit_of_fan[] = {6, 7, 8, 9, 6, 7, 8, 9};

class Presence : public CoolingTest {
protected:
    Presence() {
        unlink(epld_reset_flag);
        GetFanOnlineStatus(0);  // forgets an earlier test's answer
        platform().clear_record();
    }
    ~Presence() override { EXPECT_TRUE(platform().messages.empty()); }

    static void reset_epld(bool under_way) {
        unlink(epld_reset_flag);
        if (under_way) {
            const int file = open(epld_reset_flag, O_CREAT | O_WRONLY, 0600);
            ASSERT_GE(file, 0);
            close(file);
        }
    }
};

FanPresence row(uint8_t fan, uint8_t method, uint8_t bit = 0, uint8_t pin = 0) {
    return {fan, method, bit, pin, {3, 0x24, 0, 0x70, 2, "fan"}};
}

}  // namespace

// Both rotors of a module report its bit and no other.
TEST_F(Presence, IsTheModulesBit) {
    for (unsigned bit = 0; bit < 16; ++bit) {
        for (const bool inverted : {false, true}) {
            const auto word = static_cast<uint16_t>(1u << bit);
            platform().epld[0x208] = inverted ? static_cast<uint16_t>(~word) : word;
            for (uint32_t fan = 0; fan < 8; ++fan) {
                platform().clear_record();
                EXPECT_EQ(GetFanOnlineStatus(fan), (bit == bit_of_fan[fan]) != inverted);
                EXPECT_EQ(platform().calls, epld_read);
            }
        }
    }
}

TEST_F(Presence, IsRefusedForNoFan) {
    platform().epld[0x208] = 0xFFFF;
    for (const uint32_t fan : {8u, 9u, 255u, 256u, 0x80000000u, UINT32_MAX}) {
        EXPECT_EQ(GetFanOnlineStatus(fan), -1);
        EXPECT_EQ(IsSupportMockPresent(fan), 0);
    }
    for (uint32_t fan = 0; fan < 8; ++fan) {
        EXPECT_EQ(IsSupportMockPresent(fan), 0);
    }
    EXPECT_TRUE(platform().calls.empty());
}

// While the EPLD is reset, every fan reports what the last one reported, without a read.
TEST_F(Presence, IsRememberedWhileTheEpldIsReset) {
    for (const unsigned bit : {6u, 9u}) {
        for (const uint32_t last : {0u, 3u, 4u, 7u}) {
            reset_epld(false);
            platform().epld[0x208] = static_cast<uint16_t>(1u << bit);
            const int32_t answer = GetFanOnlineStatus(last);
            EXPECT_EQ(answer, bit == bit_of_fan[last]);
            reset_epld(true);
            platform().epld[0x208] = 0;
            platform().clear_record();
            for (uint32_t fan = 0; fan < 8; ++fan) {
                EXPECT_EQ(GetFanOnlineStatus(fan), answer);
            }
            EXPECT_TRUE(platform().calls.empty());
            EXPECT_EQ(GetFanOnlineStatus(8), -1);
        }
    }
    reset_epld(false);
    EXPECT_EQ(GetFanOnlineStatus(0), 0);
    EXPECT_EQ(platform().calls, epld_read);
}

TEST_F(Presence, IsAbsentBeforeTheFirstReadInAReset) {
    reset_epld(true);
    platform().epld[0x208] = 0xFFFF;
    for (uint32_t fan = 0; fan < 8; ++fan) {
        EXPECT_EQ(GetFanOnlineStatus(fan), 0);
    }
    EXPECT_TRUE(platform().calls.empty());
}

// A failed read is absence, and what was known stays known.
TEST_F(Presence, IsAbsentWhenTheReadFails) {
    for (const int failure : {-5, -1, 1, INT32_MIN, INT32_MAX}) {
        for (uint32_t fan = 0; fan < 8; ++fan) {
            platform() = {};
            reset_epld(false);
            platform().epld[0x208] = 0xFFFF;
            EXPECT_EQ(GetFanOnlineStatus(fan), 1);
            platform().failure = failure;
            platform().fail_call = 2;
            EXPECT_EQ(GetFanOnlineStatus(fan), 0);
            EXPECT_EQ(platform().calls.size(), 2u);
            reset_epld(true);
            EXPECT_EQ(GetFanOnlineStatus(fan), 1);
        }
    }
    reset_epld(false);
}

// What a failed access leaves in its output is no answer.
TEST_F(Presence, OfAFailedAccessNothingIsBelieved) {
    platform().on_epld_read = [](uint32_t, uint16_t *value) {
        *value = 0xFFFF;
        return -5;
    };
    platform().on_pin_read = [](const I2cChipRoute &, uint32_t, uint32_t *level) {
        *level = 0;
        return -5;
    };
    platform().on_fan_speed = [](uint32_t, uint32_t *rpm) {
        *rpm = 9000;
        return -5;
    };
    const FanPresence rows[] = {row(0, 0, 3), row(1, 1, 0, 11), row(2, 0xFF)};
    for (uint32_t fan = 0; fan < 3; ++fan) {
        EXPECT_EQ(GetFanOnlineStatus(fan), 0);
        EXPECT_EQ(fan_present(rows, fan), 0);
    }
}

// ---- the other methods ----

TEST_F(Presence, IsAnExpandersLowInput) {
    const FanPresence rows[] = {row(0, 0xFF), row(1, 1, 0, 11)};
    const Calls read = {"ei2c_pca9535_get_value 3:0x70.2:0x24 pin 11"};
    for (const uint16_t input : {0x0000, 0x0800, 0xF7FF, 0xFFFF}) {
        platform().identifier(3, 0x24, 0x70, 2, input);
        platform().clear_record();
        EXPECT_EQ(fan_present(rows, 1), (input & 0x0800) == 0);
        EXPECT_EQ(platform().calls, read);
    }
    platform().identifier(3, 0x24, 0x70, 2, 0);
    for (const int failure : {-5, -1, INT32_MIN}) {
        platform().clear_record();
        platform().failure = failure;
        platform().fail_call = 1;
        EXPECT_EQ(fan_present(rows, 1), 0);
        EXPECT_EQ(platform().calls, read);
    }
    platform().fail_call.reset();
    platform().expanders.clear();
    EXPECT_EQ(fan_present(rows, 1), 0);
}

// By the number of the row, not of the fan.
TEST_F(Presence, IsASpeed) {
    const FanPresence rows[] = {row(5, 0xFF), row(6, 1), row(7, 0xFF)};
    const Calls read = {"get_fan_speed 0 2"};
    for (const uint32_t rpm : {0u, 1u, 17000u, UINT32_MAX}) {
        platform().fan_rpm = {{0, 0}, {2, rpm}, {7, 0}};
        platform().clear_record();
        EXPECT_EQ(fan_present(rows, 7), rpm != 0);
        EXPECT_EQ(platform().calls, read);
    }
    for (const int failure : {-5, -1, INT32_MIN}) {
        platform().clear_record();
        platform().failure = failure;
        platform().fail_call = 1;
        EXPECT_EQ(fan_present(rows, 7), 0);
        EXPECT_EQ(platform().calls, read);
    }
    platform().fail_call.reset();
    platform().fan_rpm.clear();
    EXPECT_EQ(fan_present(rows, 7), 0);
    EXPECT_EQ(present_by_speed_only(rows, 5), 1);
    EXPECT_EQ(present_by_speed_only(rows, 6), 0);
    EXPECT_EQ(present_by_speed_only(rows, 7), 1);
    EXPECT_EQ(present_by_speed_only(rows, 0), 0);
    EXPECT_EQ(present_by_speed_only(rows, 256 + 5), 0);
}

// Rows of unknown methods are passed over, the first known one answers.
TEST_F(Presence, IsAskedOfTheFirstRowThatKnows) {
    const FanPresence rows[] = {row(1, 0, 3), row(0, 2), row(0, 0xFE), row(0, 0, 15), row(0, 0xFF)};
    for (const uint16_t word : {0x7FFF, 0x8000}) {
        platform().epld[0x208] = word;
        platform().clear_record();
        EXPECT_EQ(fan_present(rows, 0), word == 0x8000);
        EXPECT_EQ(platform().calls, epld_read);
    }
    platform().clear_record();
    EXPECT_EQ(fan_present(rows, 2), 0);
    EXPECT_EQ(fan_present(rows, 256), 0);
    EXPECT_EQ(fan_present(std::span(rows, 3).subspan(1), 0), 0);
    EXPECT_TRUE(platform().calls.empty());
    EXPECT_EQ(present_by_speed_only(rows, 0), 1);
}
