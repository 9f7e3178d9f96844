#include <time.h>

#include <array>

#include "board_test.h"

using boardsim::Call;

namespace {

using Accounts = BoardTest;

constexpr const char *two_chips = R"(
[[chip]]
at = "3:0x22"
kind = "pca9535"
[[chip]]
at = "4:0x70.1:0x22"
kind = "pca9535"
[[chip]]
at = "5:0x70.1:0x71.2:0x22"
kind = "registers"
)";

// start 1, address 9, register 9, start 1, address 9, two bytes 18, stop 1
constexpr uint64_t word_read = 48;
// start 1, address 9, register 9, two bytes 18, stop 1
constexpr uint64_t word_write = 38;
// start 1, address 9, channel 9, stop 1
constexpr uint64_t selection = 20;
// start 1, address 9, stop 1
constexpr uint64_t unanswered = 11;

TEST_F(Accounts, BusTimeOfAWordAtTheStandardClock) {
    board(two_chips);
    EXPECT_EQ(word_at(at(3, 0x22)), 0xFFFF);
    EXPECT_EQ(bus(3).clocks, word_read);
    EXPECT_EQ(bus(3).nanoseconds, word_read * 10'000);
    EXPECT_EQ(bus(3).transfers, 1u);
    EXPECT_EQ(bus(3).bytes, 2u);
}

TEST_F(Accounts, ClockOfTheFile) {
    board(std::string("[bus]\nclock = 400000\n") + two_chips);
    EXPECT_EQ(word_at(at(3, 0x22)), 0xFFFF);
    EXPECT_EQ(bus(3).nanoseconds, word_read * 2'500);
}

TEST_F(Accounts, EverySwitchOnTheWayIsSelectedEachTime) {
    board(two_chips);
    EXPECT_EQ(word_at(at(4, 0x22, 0x70, 1)), 0xFFFF);
    EXPECT_EQ(bus(4).clocks, word_read + selection);
    EXPECT_EQ(word_at(at(4, 0x22, 0x70, 1)), 0xFFFF);
    EXPECT_EQ(bus(4).clocks, 2 * (word_read + selection));
    uint8_t byte = 0;
    const I2cChipRoute far = at(5, 0x22, 0x700071, 0x10002);
    EXPECT_EQ(ei2c_smbus_read_byte_data(&far, 0, &byte), 0);
    EXPECT_EQ(bus(5).clocks, word_read - 9 + 2 * selection);
}

TEST_F(Accounts, MissingChipsAndSwitchesCostAnAddress) {
    board(two_chips);
    word_at(at(6, 0x22));
    EXPECT_EQ(bus(6).clocks, unanswered);
    word_at(at(4, 0x23, 0x70, 1));
    EXPECT_EQ(bus(4).clocks, selection + unanswered);
    word_at(at(3, 0x22, 0x70, 1));  // no such switch on this bus
    EXPECT_EQ(bus(3).clocks, unanswered);
    word_at(at(5, 0x22, 0x700072, 0x10002));
    EXPECT_EQ(bus(5).clocks, selection + unanswered);
}

TEST_F(Accounts, EachFunctionIsTheTransfersOfItsDriver) {
    board(two_chips);
    const I2cChipRoute chip = at(3, 0x22);
    std::array<uint8_t, 4> bytes = {};
    uint32_t word = 0;
    uint64_t last = 0;
    const auto spent = [&] {
        const uint64_t clocks = bus(3).clocks - last;
        last += clocks;
        return clocks;
    };
    ei2c_pca9535_get_value(&chip, 9, &word);
    EXPECT_EQ(spent(), word_read - 9);
    pca9535_gpio_word_get_value(&chip, 1, &word);
    EXPECT_EQ(spent(), word_read);
    pca9535_gpio_word_get_output_value(&chip, 1, &word);
    EXPECT_EQ(spent(), word_read);
    pca9535_gpio_word_set_value(&chip, 1, 1);
    EXPECT_EQ(spent(), word_read + word_write);
    pca9535_gpio_word_direction_output(&chip, 1, 1);
    EXPECT_EQ(spent(), 2 * (word_read + word_write));
    i2cRead(&chip, 4, bytes.data(), 1, 0);
    EXPECT_EQ(spent(), word_read + 18);
    i2cRead(&chip, 2, bytes.data(), 0, 0);
    EXPECT_EQ(spent(), 1u + 9 + 18 + 1);
    i2cWrite(&chip, 1, bytes.data(), 1, 6);
    EXPECT_EQ(spent(), word_write - 9);
}

TEST_F(Accounts, EveryCallIsCountedByKindAndBus) {
    board(two_chips);
    const I2cChipRoute chip = at(3, 0x22);
    word_at(chip);
    word_at(chip);
    word_at(at(9, 0x22));
    epld_at(0x208);
    EXPECT_EQ(sim().calls(Call::ei2c_pca9535_get_word_value).made, 3u);
    EXPECT_EQ(sim().calls(Call::ei2c_pca9535_get_word_value).failed, 1u);
    EXPECT_EQ(bus(3).calls[boardsim::index_of(Call::ei2c_pca9535_get_word_value)], 2u);
    EXPECT_EQ(bus(9).calls[boardsim::index_of(Call::ei2c_pca9535_get_word_value)], 1u);
    EXPECT_EQ(sim().calls(Call::epldio_read).made, 1u);
    EXPECT_EQ(sim().calls(Call::epldio_read).failed, 0u);
}

TEST_F(Accounts, CallsWithoutHardwareAreCountedToo) {
    board("");
    char text[8] = {};
    snprintf_s(text, sizeof(text), "%d", 1);
    vel_memset_s(text, sizeof(text), 0, 1);
    vel_memset_s(text, sizeof(text), 0, 1);
    IniCloseFile(IniLoadFile("/var/none.ini"));
    sspFailedStat("file", 1);
    IDBG_LINUXAPP_DbgOut(130, "[%s:%d]x\n", "file", 1);
    EXPECT_EQ(sim().calls(Call::snprintf_s).made, 1u);
    EXPECT_EQ(sim().calls(Call::vel_memset_s).made, 2u);
    EXPECT_EQ(sim().calls(Call::IniLoadFile).made, 1u);
    EXPECT_EQ(sim().calls(Call::IniCloseFile).made, 1u);
    EXPECT_EQ(sim().calls(Call::sspFailedStat).made, 1u);
    EXPECT_EQ(sim().calls(Call::IDBG_LINUXAPP_DbgOut).made, 1u);
}

TEST_F(Accounts, BusesWithoutARowOfTheirOwnShareTheLast) {
    board("");
    word_at(at(0xFF, 0x22));
    word_at(at(63, 0x22));
    EXPECT_EQ(bus(63).transfers, 2u);
}

double seconds_now() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

TEST_F(Accounts, SleepsAreVirtual) {
    board("");
    const double start = seconds_now();
    EXPECT_EQ(select_sleep(3600, 20'000), 0);
    EXPECT_EQ(select_sleep(0, 100'000), 0);
    EXPECT_LT(seconds_now() - start, 60);
    EXPECT_EQ(sim().accounts().slept_us, 3'600'120'000u);
    EXPECT_EQ(sim().calls(Call::select_sleep).made, 2u);
}

TEST_F(Accounts, SleepsAreRealWhenTheFileSaysSo) {
    board("[time]\nreal = true\n");
    const double start = seconds_now();
    EXPECT_EQ(select_sleep(0, 200'000), 0);
    EXPECT_GE(seconds_now() - start, 0.2);
}

TEST_F(Accounts, RealTimeCanBeSwitchedOn) {
    board("[[fault]]\nregister = 0x10\ndelay_us = 150000\n");
    double start = seconds_now();
    epld_at(0x10);
    EXPECT_LT(seconds_now() - start, 0.15);
    sim().set_real_time(true);
    start = seconds_now();
    epld_at(0x10);
    EXPECT_GE(seconds_now() - start, 0.15);
}

}  // namespace
