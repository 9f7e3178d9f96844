#include <array>

#include "board_test.h"

using testing::ElementsAre;

namespace {

using Chips = BoardTest;

constexpr const char *one_expander = R"(
[[chip]]
at = "4:0x70.1:0x22"
kind = "pca9535"
input = 0x1234
)";

TEST_F(Chips, ExpanderReadsItsInputPins) {
    board(one_expander);
    const I2cChipRoute chip = at(4, 0x22, 0x70, 1);
    EXPECT_EQ(word_at(chip), 0x1234);
    EXPECT_EQ(word_at(chip, 0x0FF0), 0x0230);
    uint32_t value = 9;
    EXPECT_EQ(ei2c_pca9535_get_value(&chip, 2, &value), 0);
    EXPECT_EQ(value, 1u);
    EXPECT_EQ(ei2c_pca9535_get_value(&chip, 12, &value), 0);
    EXPECT_EQ(value, 1u);
    EXPECT_EQ(ei2c_pca9535_get_value(&chip, 15, &value), 0);
    EXPECT_EQ(value, 0u);
    EXPECT_EQ(pca9535_gpio_word_get_value(&chip, 0xFF00, &value), 0);
    EXPECT_EQ(value, 0x1200u);
}

TEST_F(Chips, ExpanderOutputRegisterIsNotItsPins) {
    board(one_expander);
    const I2cChipRoute chip = at(4, 0x22, 0x70, 1);
    uint32_t value = 0;
    EXPECT_EQ(pca9535_gpio_word_get_output_value(&chip, 0xFFFF, &value), 0);
    EXPECT_EQ(value, 0xFFFFu);  // as after power on
    EXPECT_EQ(pca9535_gpio_word_set_value(&chip, 0x00FF, 0x00A5), 0);
    EXPECT_EQ(pca9535_gpio_word_get_output_value(&chip, 0xFFFF, &value), 0);
    EXPECT_EQ(value, 0xFFA5u);
    EXPECT_EQ(word_at(chip), 0x1234);
}

TEST_F(Chips, PinConfiguredAsOutputReadsItsOutput) {
    board(one_expander);
    const I2cChipRoute chip = at(4, 0x22, 0x70, 1);
    EXPECT_EQ(pca9535_gpio_word_direction_output(&chip, 0xE000, 0xA000), 0);
    EXPECT_EQ(word_at(chip), 0xB234);  // 101 from the output, the rest from the pins
    EXPECT_EQ(sim().expander("4:0x70.1:0x22").config, 0x1FFF);
    EXPECT_EQ(sim().expander("4:0x70.1:0x22").output, 0xBFFF);
    EXPECT_EQ(pca9535_gpio_word_set_value(&chip, 0xE000, 0x4000), 0);
    EXPECT_EQ(word_at(chip), 0x5234);
    sim().set_expander_input("4:0x70.1:0x22", 0xFFFF);
    EXPECT_EQ(word_at(chip), 0x5FFF);
}

TEST_F(Chips, ExpanderIsEightByteRegistersOnTheBus) {
    board(one_expander);
    const I2cChipRoute chip = at(4, 0x22, 0x70, 1);
    std::array<uint8_t, 2> bytes = {};
    EXPECT_GE(i2cRead(&chip, 2, bytes.data(), 1, 0), 0);
    EXPECT_THAT(bytes, ElementsAre(0x34, 0x12));
    EXPECT_GE(i2cRead(&chip, 2, bytes.data(), 1, 1), 0);  // the pair's other register comes second
    EXPECT_THAT(bytes, ElementsAre(0x12, 0x34));
    const uint8_t config = 0xFE;
    EXPECT_GE(i2cWrite(&chip, 1, &config, 1, 7), 0);
    uint8_t read = 0;
    EXPECT_GE(ei2c_smbus_read_byte_data(&chip, 7, &read), 0);
    EXPECT_EQ(read, 0xFE);
    EXPECT_EQ(word_at(chip), 0x1334);  // pin 8 drives the output register's 1
    const uint8_t inverted = 0x0F;
    EXPECT_GE(i2cWrite(&chip, 1, &inverted, 1, 4), 0);
    EXPECT_EQ(word_at(chip), 0x133B);
    const uint8_t pins = 0x77;
    EXPECT_GE(i2cWrite(&chip, 1, &pins, 1, 0), 0);  // input ports ignore writes
    EXPECT_EQ(word_at(chip), 0x133B);
    EXPECT_LT(i2cRead(&chip, 1, bytes.data(), 1, 8), 0);
    EXPECT_LT(i2cWrite(&chip, 1, bytes.data(), 1, 8), 0);
}

TEST_F(Chips, EepromKeepsWhatIsWritten) {
    board(R"(
[[chip]]
at = "3:0x51"
kind = "eeprom"
text = "FRU"
)");
    const I2cChipRoute chip = at(3, 0x51);
    std::array<uint8_t, 5> bytes = {};
    EXPECT_EQ(ei2c_eeprom_read(&chip, 0, bytes.data(), 5), 5);
    EXPECT_THAT(bytes, ElementsAre('F', 'R', 'U', 0xFF, 0xFF));
    const std::array<uint8_t, 2> written = {7, 8};
    EXPECT_EQ(ei2c_eeprom_write(&chip, 254, written.data(), 2), 2);
    EXPECT_EQ(ei2c_eeprom_read(&chip, 254, bytes.data(), 2), 2);
    EXPECT_EQ(bytes[0], 7);
    EXPECT_EQ(bytes[1], 8);
}

TEST_F(Chips, EepromRefusesWhatIsBeyondItsEnd) {
    board("[[chip]]\nat = \"3:0x51\"\nkind = \"eeprom\"\n");
    const I2cChipRoute chip = at(3, 0x51);
    std::array<uint8_t, 2> bytes = {};
    EXPECT_EQ(ei2c_eeprom_read(&chip, 255, bytes.data(), 2), -1);
    EXPECT_EQ(ei2c_eeprom_read(&chip, 256, bytes.data(), 1), -1);
    EXPECT_EQ(ei2c_eeprom_read(&chip, 0xFFFFFFFF, bytes.data(), 2), -1);
    EXPECT_EQ(ei2c_eeprom_write(&chip, 255, bytes.data(), 2), -1);
    EXPECT_EQ(sim().cells("3:0x51")[255], 0xFF);
}

TEST_F(Chips, LargeEepromTakesTwoBytesOfOffset) {
    board(R"(
[[chip]]
at = "3:0x51"
kind = "eeprom"
size = 4096
[[chip]]
at = "3:0x52"
kind = "eeprom"
)");
    const I2cChipRoute large = at(3, 0x51);
    const I2cChipRoute small = at(3, 0x52);
    uint8_t byte = 0;
    EXPECT_EQ(ei2c_eeprom_read(&small, 0, &byte, 1), 1);
    const uint64_t clocks = bus(3).clocks;
    EXPECT_EQ(ei2c_eeprom_read(&large, 4095, &byte, 1), 1);
    EXPECT_EQ(bus(3).clocks - clocks, clocks + 9);
}

TEST_F(Chips, ByteRegistersRunOnAndWrap) {
    board(R"(
[[chip]]
at = "1:0x58"
kind = "registers"
[chip.registers]
0x19 = 0xB0
255 = 1
0 = 2
)");
    const I2cChipRoute chip = at(1, 0x58);
    uint8_t value = 0;
    EXPECT_GE(ei2c_smbus_read_byte_data(&chip, 0x19, &value), 0);
    EXPECT_EQ(value, 0xB0);
    std::array<uint8_t, 2> bytes = {};
    EXPECT_GE(i2cRead(&chip, 2, bytes.data(), 1, 255), 0);
    EXPECT_THAT(bytes, ElementsAre(1, 2));
    const std::array<uint8_t, 3> written = {5, 6, 7};
    EXPECT_GE(i2cWrite(&chip, 3, written.data(), 1, 254), 0);
    EXPECT_EQ(sim().cells("1:0x58")[254], 5);
    EXPECT_EQ(sim().cells("1:0x58")[255], 6);
    EXPECT_EQ(sim().cells("1:0x58")[0], 7);
    EXPECT_EQ(i2cRead(&chip, 1, bytes.data(), 2, 256), -1);
}

// ---- routes ----

TEST_F(Chips, AnswersOnItsOwnRouteOnly) {
    board(R"(
[[chip]]
at = "4:0x70.1:0x71.2:0x22"
kind = "pca9535"
input = 0x1111
[[chip]]
at = "4:0x70.1:0x22"
kind = "pca9535"
input = 0x2222
[[chip]]
at = "4:0x22"
kind = "pca9535"
input = 0x3333
)");
    EXPECT_EQ(word_at(at(4, 0x22, 0x700071, 0x10002)), 0x1111);  // the inner switch below
    EXPECT_EQ(word_at(at(4, 0x22, 0x70, 1)), 0x2222);
    EXPECT_EQ(word_at(at(4, 0x22)), 0x3333);
    EXPECT_EQ(word_at(at(5, 0x22)), -1);
    EXPECT_EQ(word_at(at(4, 0x23)), -1);
    EXPECT_EQ(word_at(at(4, 0x22, 0x70, 2)), -1);
    EXPECT_EQ(word_at(at(4, 0x22, 0x72, 1)), -1);
    EXPECT_EQ(word_at(at(4, 0x22, 0x700071, 0x10001)), -1);
    EXPECT_EQ(word_at(at(4, 0x22, 0x700072, 0x10002)), -1);
    EXPECT_EQ(word_at(at(4, 0x22, 0x700071, 0x20002)), -1);
    EXPECT_EQ(word_at(at(4, 0x22, 0x710070, 0x20001)), -1);
}

TEST_F(Chips, ChannelWithoutSwitchNameAndFlagsSayNothing) {
    board("[[chip]]\nat = \"4:0x22\"\nkind = \"pca9535\"\ninput = 5\n");
    I2cChipRoute route = at(4, 0x22, 0, 0x30007);
    route.flags = 4;
    route.name[0] = 'x';
    EXPECT_EQ(word_at(route), 5);
}

TEST_F(Chips, ChipThatDoesNotAnswerFailsLikeAnAbsentOne) {
    board("[[chip]]\nat = \"4:0x22\"\nkind = \"pca9535\"\nanswers = false\n");
    EXPECT_EQ(word_at(at(4, 0x22)), -1);
    EXPECT_EQ(bus(4).clocks, 11u);
    sim().set_answers("4:0x22", true);
    EXPECT_EQ(word_at(at(4, 0x22)), 0xFFFF);
}

TEST_F(Chips, AbsentChipFailsEveryFunction) {
    board("");
    const I2cChipRoute chip = at(4, 0x22);
    uint8_t byte = 0x77;
    uint32_t word = 0x77;
    EXPECT_EQ(i2cRead(&chip, 1, &byte, 1, 0), -1);
    EXPECT_EQ(i2cWrite(&chip, 1, &byte, 1, 0), -1);
    EXPECT_EQ(ei2c_eeprom_read(&chip, 0, &byte, 1), -1);
    EXPECT_EQ(ei2c_eeprom_write(&chip, 0, &byte, 1), -1);
    EXPECT_EQ(ei2c_smbus_read_byte_data(&chip, 0, &byte), -1);
    EXPECT_EQ(ei2c_pca9535_get_value(&chip, 0, &word), -1);
    EXPECT_EQ(ei2c_pca9535_get_word_value(&chip, 1, &word), -1);
    EXPECT_EQ(pca9535_gpio_word_direction_output(&chip, 1, 1), -1);
    EXPECT_EQ(pca9535_gpio_word_set_value(&chip, 1, 1), -1);
    EXPECT_EQ(pca9535_gpio_word_get_output_value(&chip, 1, &word), -1);
    EXPECT_EQ(pca9535_gpio_word_get_value(&chip, 1, &word), -1);
    EXPECT_EQ(byte, 0x77);
    EXPECT_EQ(word, 0x77u);
}

TEST_F(Chips, NullPointersAndImpossibleLengthsAreRefusedBeforeAnyAccess) {
    board("[[chip]]\nat = \"4:0x22\"\nkind = \"pca9535\"\n");
    const I2cChipRoute chip = at(4, 0x22);
    uint8_t byte = 0;
    uint32_t word = 0;
    EXPECT_EQ(epldio_read(0, nullptr), -1);
    EXPECT_EQ(i2cRead(nullptr, 1, &byte, 1, 0), -1);
    EXPECT_EQ(i2cRead(&chip, 1, nullptr, 1, 0), -1);
    EXPECT_EQ(i2cRead(&chip, 0, &byte, 1, 0), -1);
    EXPECT_EQ(i2cRead(&chip, 65537, &byte, 1, 0), -1);
    EXPECT_EQ(i2cRead(&chip, 1, &byte, 5, 0), -1);
    EXPECT_EQ(i2cWrite(nullptr, 1, &byte, 1, 0), -1);
    EXPECT_EQ(i2cWrite(&chip, 1, nullptr, 1, 0), -1);
    EXPECT_EQ(ei2c_eeprom_read(nullptr, 0, &byte, 1), -1);
    EXPECT_EQ(ei2c_eeprom_write(&chip, 0, nullptr, 1), -1);
    EXPECT_EQ(ei2c_smbus_read_byte_data(&chip, 0, nullptr), -1);
    EXPECT_EQ(ei2c_pca9535_get_value(&chip, 16, &word), -1);
    EXPECT_EQ(ei2c_pca9535_get_value(nullptr, 0, &word), -1);
    EXPECT_EQ(ei2c_pca9535_get_word_value(&chip, 1, nullptr), -1);
    EXPECT_EQ(pca9535_gpio_word_direction_output(nullptr, 1, 1), -1);
    EXPECT_EQ(pca9535_gpio_word_set_value(nullptr, 1, 1), -1);
    EXPECT_EQ(get_fan_speed(0, 0, nullptr), -1);
    EXPECT_EQ(mmap_read32(0, nullptr), -1);
    EXPECT_EQ(hdd_get_back_panel_id(nullptr), -1);
    EXPECT_EQ(bus(4).transfers, 0u);
}

// ---- what is not I2C ----

TEST_F(Chips, EpldRegistersAreSixteenBitsEach) {
    board("[epld.registers]\n0x208 = 0xBEEF\n");
    EXPECT_EQ(epld_at(0x208), 0xBEEF);
    EXPECT_EQ(epld_at(0x20A), 0);
    EXPECT_EQ(epldio_write(0x20A, 0x1234), 0);
    EXPECT_EQ(epld_at(0x20A), 0x1234);
    EXPECT_EQ(sim().epld(0x20A), 0x1234);
    EXPECT_EQ(epldio_write(0xFFF, 1), 0);
    EXPECT_EQ(epld_at(0x1000), -1);
    EXPECT_EQ(epldio_write(0x1000, 1), -1);
}

TEST_F(Chips, GpioFansMemoryAndBackPanel) {
    board(R"(
[gpio]
201 = 1
[memory]
0x1E6E2070 = 0xDEADBEEF
[storage]
back_panel_id = 7
[[fan]]
module = 2
front_rpm = 8400
)");
    EXPECT_EQ(get_gpio_data(201), 1);
    EXPECT_EQ(get_gpio_data(200), 0);
    EXPECT_EQ(get_gpio_data(256), -1);
    uint32_t value = 0;
    EXPECT_EQ(mmap_read32(0x1E6E2070, &value), 0);
    EXPECT_EQ(value, 0xDEADBEEFu);
    EXPECT_EQ(mmap_write32(0x1E6E2070, 5), 0);
    EXPECT_EQ(sim().memory(0x1E6E2070), 5u);
    EXPECT_EQ(mmap_read32(0x1E6E2074, &value), -1);
    EXPECT_EQ(mmap_write32(0x1E6E2074, 5), -1);
    EXPECT_EQ(hdd_get_back_panel_id(&value), 0);
    EXPECT_EQ(value, 7u);
    EXPECT_EQ(get_fan_speed(0, 1, &value), 0);
    EXPECT_EQ(value, 8400u);
    EXPECT_EQ(get_fan_speed(0, 5, &value), 0);
    EXPECT_EQ(value, 0u);  // stands still
    EXPECT_EQ(get_fan_speed(0, 0, &value), -1);
    EXPECT_EQ(get_fan_speed(1, 1, &value), -1);
    EXPECT_EQ(get_fan_speed(0, 16, &value), -1);
    sim().set_fan(0, 1200);
    EXPECT_EQ(get_fan_speed(0, 0, &value), 0);
    EXPECT_EQ(value, 1200u);
}

TEST_F(Chips, BackPanelIdIsMissingWhereTheFileHasNone) {
    board("");
    uint32_t id = 0;
    EXPECT_EQ(hdd_get_back_panel_id(&id), -1);
}

TEST(Routes, TextFormIsReadBack) {
    for (const char *text : {"13:0x26", "4:0x70.1:0x22", "4:0x70.1:0x71.2:0x22", "0:0x00"}) {
        const auto route = boardsim::parse_route(text);
        ASSERT_TRUE(route) << text;
        EXPECT_EQ(boardsim::route_text(*route), text);
    }
    EXPECT_EQ(boardsim::parse_route("4:112.1:34"), boardsim::parse_route("4:0x70.1:0x22"));
    for (const char *text :
         {"", "13", "13:", ":0x26", "13:0x80", "255:0x20", "4:0x70:0x22", "4:0x70.16:0x22",
          "4:0.1:0x22", "4:0x70.1:0x71.1:0x72.1:0x22", "4:0x70.1.2:0x22", "x:0x20", "4:0x2g"}) {
        EXPECT_FALSE(boardsim::parse_route(text)) << text;
    }
}

}  // namespace
