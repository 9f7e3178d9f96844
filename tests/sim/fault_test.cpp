#include <unistd.h>

#include <array>
#include <functional>

#include "board_test.h"

using boardsim::Call;
using boardsim::Error;
using testing::HasSubstr;

namespace {

using Faults = BoardTest;

constexpr const char *chips = R"(
[mainboard]
board = 0x5440
[[card]]
position = "bpra_1"
board = 0x5464
[[chip]]
at = "3:0x51"
kind = "eeprom"
text = "0123456789"
)";
const I2cChipRoute eeprom = at(3, 0x51);
constexpr int64_t mainboard_word = 0x0800;  // one bit: odd already

TEST_F(Faults, NthAccessOfAKind) {
    board("").add_fault("access=epldio_read,nth=3,result=-5");
    EXPECT_EQ(epld_at(0), 0);
    EXPECT_EQ(epldio_write(0, 1), 0);
    EXPECT_EQ(epld_at(2), 0);
    EXPECT_EQ(epld_at(0), -5);
    EXPECT_EQ(epld_at(0), 1);
    EXPECT_EQ(sim().faults_fired(), 1u);
    EXPECT_EQ(sim().calls(Call::epldio_read).failed, 1u);
}

TEST_F(Faults, FailedWriteChangesNothing) {
    board("").add_fault("access=epldio_write");
    EXPECT_EQ(epldio_write(0x10, 7), -1);
    EXPECT_EQ(epld_at(0x10), 0);
}

TEST_F(Faults, EveryAccessToAChip) {
    board(chips).add_fault("chip=13:0x26,result=-7");
    EXPECT_EQ(word_at(at(13, 0x26)), -7);
    uint8_t byte = 0;
    const I2cChipRoute chip = at(13, 0x26);
    EXPECT_EQ(i2cRead(&chip, 1, &byte, 1, 0), -7);
    EXPECT_EQ(pca9535_gpio_word_set_value(&chip, 1, 1), -7);
    EXPECT_NE(word_at(at(3, 0x20)), -7);
    EXPECT_EQ(bus(13).clocks, 3 * 11u);  // what an unanswered address takes
}

TEST_F(Faults, CardNamesItsIdentifierChip) {
    board(chips).add_fault("card=bpra_1");
    EXPECT_EQ(word_at(at(3, 0x20)), -1);
    EXPECT_EQ(word_at(at(13, 0x26)), mainboard_word);
    sim().add_fault("card=mainboard");
    EXPECT_EQ(word_at(at(13, 0x26)), -1);
}

TEST_F(Faults, FlippedBitsOfWhatIsRead) {
    board(std::string(chips) +
          "[epld.registers]\n0x208 = 0x0F0F\n[[fan]]\nmodule = 1\nfront_rpm = 5\n");
    sim().add_fault("chip=13:0x26,flips=0x8001");
    sim().add_fault("chip=3:0x51,flips=0x0201");
    sim().add_fault("register=0x208,flips=0xFFFF");
    sim().add_fault("fan=0,flips=2");
    sim().add_fault("line=3,flips=1");
    EXPECT_EQ(word_at(at(13, 0x26)), mainboard_word ^ 0x8001);
    EXPECT_EQ(word_at(at(13, 0x26), 0x00FF), 0x0001);
    uint32_t pin = 0;
    const I2cChipRoute identifier = at(13, 0x26);
    EXPECT_EQ(ei2c_pca9535_get_value(&identifier, 1, &pin), 0);
    EXPECT_EQ(pin, 1u);  // bit 0 of the answer, whichever the pin
    std::array<uint8_t, 3> bytes = {};
    EXPECT_EQ(ei2c_eeprom_read(&eeprom, 0, bytes.data(), 3), 3);
    EXPECT_THAT(bytes, testing::ElementsAre('0' ^ 1, '1' ^ 2, '2' ^ 1));  // low byte first
    EXPECT_EQ(epld_at(0x208), 0xF0F0);
    uint32_t rpm = 0;
    EXPECT_EQ(get_fan_speed(0, 0, &rpm), 0);
    EXPECT_EQ(rpm, 7u);
    EXPECT_EQ(get_gpio_data(3), 1);
    // what is there is not changed: a second flip undoes the first
    sim().add_fault("register=0x208,flips=0x000F");
    EXPECT_EQ(epld_at(0x208), 0xF0FF);
    sim().remove_faults(boardsim::Origin::program);
    EXPECT_EQ(epld_at(0x208), 0x0F0F);
}

TEST_F(Faults, OneOffsetOfAChip) {
    board(chips).add_fault("chip=3:0x51,offset=4");
    std::array<uint8_t, 2> bytes = {};
    EXPECT_EQ(ei2c_eeprom_read(&eeprom, 3, bytes.data(), 1), 1);
    EXPECT_EQ(ei2c_eeprom_read(&eeprom, 4, bytes.data(), 1), -1);
    EXPECT_EQ(i2cRead(&eeprom, 1, bytes.data(), 1, 4), -1);
}

TEST_F(Faults, RegistersLinesFansAndMemory) {
    board("[memory]\n0x1E6E2000 = 1\n0x1E6E203C = 1\n[[fan]]\nmodule = 1\n");
    sim().add_fault("register=0x208");
    sim().add_fault("line=201,result=-9");
    sim().add_fault("fan=0");
    sim().add_fault("physical=0x1E6E2000");
    EXPECT_EQ(epld_at(0x208), -1);
    EXPECT_EQ(epldio_write(0x208, 1), -1);
    EXPECT_EQ(epld_at(0x20A), 0);
    EXPECT_EQ(get_gpio_data(201), -9);
    EXPECT_EQ(get_gpio_data(200), 0);
    uint32_t value = 0;
    EXPECT_EQ(get_fan_speed(0, 0, &value), -1);
    EXPECT_EQ(get_fan_speed(0, 4, &value), 0);
    EXPECT_EQ(mmap_read32(0x1E6E2000, &value), -1);
    EXPECT_EQ(mmap_write32(0x1E6E2000, 2), -1);
    EXPECT_EQ(mmap_read32(0x1E6E203C, &value), 0);
}

TEST_F(Faults, WrongWordOfEveryRead) {
    board(std::string(chips) +
          "[memory]\n0x10 = 1\n[storage]\nback_panel_id = 1\n"
          "[[fan]]\nmodule = 1\n");
    for (const char *access :
         {"epldio_read", "i2cRead", "ei2c_eeprom_read", "ei2c_smbus_read_byte_data",
          "ei2c_pca9535_get_value", "ei2c_pca9535_get_word_value",
          "pca9535_gpio_word_get_output_value", "pca9535_gpio_word_get_value", "get_gpio_data",
          "get_fan_speed", "mmap_read32", "hdd_get_back_panel_id"}) {
        sim().add_fault(std::string("access=") + access + ",value=0xABCD");
    }
    const I2cChipRoute chip = at(13, 0x26);
    std::array<uint8_t, 3> bytes = {};
    uint8_t byte = 0;
    uint32_t value = 0;
    EXPECT_EQ(epld_at(0), 0xABCD);
    EXPECT_GE(i2cRead(&eeprom, 3, bytes.data(), 1, 0), 0);
    EXPECT_THAT(bytes, testing::ElementsAre(0xCD, 0xAB, 0xCD));
    EXPECT_EQ(ei2c_eeprom_read(&eeprom, 0, bytes.data(), 1), 1);
    EXPECT_EQ(bytes[0], 0xCD);
    EXPECT_GE(ei2c_smbus_read_byte_data(&eeprom, 0, &byte), 0);
    EXPECT_EQ(byte, 0xCD);
    EXPECT_EQ(ei2c_pca9535_get_value(&chip, 0, &value), 0);
    EXPECT_EQ(value, 1u);
    EXPECT_EQ(word_at(chip, 0x0FF0), 0x0BC0);
    EXPECT_EQ(pca9535_gpio_word_get_output_value(&chip, 0xFFFF, &value), 0);
    EXPECT_EQ(value, 0xABCDu);
    EXPECT_EQ(pca9535_gpio_word_get_value(&chip, 0xFF, &value), 0);
    EXPECT_EQ(value, 0xCDu);
    EXPECT_EQ(get_gpio_data(0), 0xABCD);
    EXPECT_EQ(get_fan_speed(0, 0, &value), 0);
    EXPECT_EQ(value, 0xABCDu);
    EXPECT_EQ(mmap_read32(0x10, &value), 0);
    EXPECT_EQ(value, 0xABCDu);
    value = 0;
    EXPECT_EQ(hdd_get_back_panel_id(&value), 0);
    EXPECT_EQ(value, 0xABCDu);
    EXPECT_EQ(sim().faults_fired(), 12u);
}

TEST_F(Faults, WrongWordDoesNotMakeAnAbsentChipAnswer) {
    board("").add_fault("chip=3:0x20,value=1");
    EXPECT_EQ(word_at(at(3, 0x20)), -1);
}

TEST_F(Faults, DelaysAddUpInTheAccount) {
    board("").add_fault("register=0x10,delay_us=1500");
    sim().add_fault("access=epldio_read,delay_us=500");
    EXPECT_EQ(epld_at(0x10), 0);
    EXPECT_EQ(epld_at(0x12), 0);
    EXPECT_EQ(sim().accounts().delayed_us, 2500u);
}

TEST_F(Faults, EveryHardwareCallCanFail) {
    board(std::string(chips) +
          "[memory]\n0x10 = 1\n[storage]\nback_panel_id = 1\n"
          "[[fan]]\nmodule = 1\n");
    const I2cChipRoute chip = at(13, 0x26);
    std::array<uint8_t, 2> bytes = {};
    uint16_t half = 0;
    uint32_t word = 0;
    const std::pair<const char *, std::function<int()>> calls[] = {
        {"epldio_read", [&] { return epldio_read(0, &half); }},
        {"epldio_write", [&] { return epldio_write(0, 0); }},
        {"i2cRead", [&] { return i2cRead(&eeprom, 1, bytes.data(), 1, 0); }},
        {"i2cWrite", [&] { return i2cWrite(&eeprom, 1, bytes.data(), 1, 0); }},
        {"ei2c_eeprom_read", [&] { return ei2c_eeprom_read(&eeprom, 0, bytes.data(), 1); }},
        {"ei2c_eeprom_write", [&] { return ei2c_eeprom_write(&eeprom, 0, bytes.data(), 1); }},
        {"ei2c_smbus_read_byte_data",
         [&] { return ei2c_smbus_read_byte_data(&eeprom, 0, bytes.data()); }},
        {"ei2c_pca9535_get_value", [&] { return ei2c_pca9535_get_value(&chip, 0, &word); }},
        {"ei2c_pca9535_get_word_value",
         [&] { return ei2c_pca9535_get_word_value(&chip, 1, &word); }},
        {"pca9535_gpio_word_direction_output",
         [&] { return pca9535_gpio_word_direction_output(&chip, 1, 1); }},
        {"pca9535_gpio_word_set_value", [&] { return pca9535_gpio_word_set_value(&chip, 1, 1); }},
        {"pca9535_gpio_word_get_output_value",
         [&] { return pca9535_gpio_word_get_output_value(&chip, 1, &word); }},
        {"pca9535_gpio_word_get_value",
         [&] { return pca9535_gpio_word_get_value(&chip, 1, &word); }},
        {"get_gpio_data", [&] { return get_gpio_data(0); }},
        {"get_fan_speed", [&] { return get_fan_speed(0, 0, &word); }},
        {"mmap_read32", [&] { return mmap_read32(0x10, &word); }},
        {"mmap_write32", [&] { return mmap_write32(0x10, 0); }},
        {"select_sleep", [&] { return select_sleep(1, 0); }},
        {"hdd_get_back_panel_id", [&] { return hdd_get_back_panel_id(&word); }},
    };
    for (const auto &[name, call] : calls) {
        EXPECT_GE(call(), 0) << name;
        sim().add_fault(std::string("result=-33,access=") + name);
        EXPECT_EQ(call(), -33) << name;
        sim().remove_faults(boardsim::Origin::program);
        EXPECT_GE(call(), 0) << name;
    }
    EXPECT_EQ(sim().accounts().slept_us, 2'000'000u);  // a failed sleep does not sleep
}

TEST_F(Faults, SoftwareCallsCanFail) {
    board("");
    sim().add_fault("access=IniLoadFile");
    sim().add_fault("access=VEL_IniLoadFile,nth=1");
    sim().add_fault("access=IniSaveFile,nth=2,result=-3");
    sim().add_fault("access=vel_memcpy_s,result=-4");
    sim().add_fault("access=vel_fgets_s");
    sim().add_fault("access=IniGetUInt");
    EXPECT_EQ(IniLoadFile("/var/a.ini"), nullptr);
    EXPECT_EQ(VEL_IniLoadFile("/var/a.ini"), nullptr);
    const IniHandle ini = VEL_IniLoadFile("/var/a.ini");
    ASSERT_NE(ini, nullptr);
    EXPECT_EQ(IniSetUInt(ini, "a", "b", 5), 0);
    EXPECT_EQ(IniGetUInt(ini, "a", "b", 7), 7u);
    EXPECT_EQ(IniSaveFile(ini, "/var/a.ini"), 0);
    EXPECT_EQ(IniSaveFile(ini, "/var/b.ini"), -3);
    EXPECT_NE(access("/var/b.ini", F_OK), 0);
    IniCloseFile(ini);
    char text[4] = "abc";
    EXPECT_EQ(vel_memcpy_s(text, 4, "x", 1), -4);
    EXPECT_EQ(text[0], 'a');
    EXPECT_EQ(sim().calls(Call::vel_memcpy_s).failed, 1u);
    FILE *file = nullptr;
    ASSERT_EQ(vel_fopen_s(&file, "/var/a.ini", "r", 0, 0), 0);
    EXPECT_EQ(vel_fgets_s(text, 4, file), nullptr);
    EXPECT_EQ(vel_fclose_s(file), 0);
}

TEST_F(Faults, OfTheBoardFile) {
    board(
        "[[fault]]\naccess = \"epldio_read\"\nnth = 2\nresult = -6\n"
        "[[fault]]\nregister = 0x40\nvalue = 0x1111\n");
    EXPECT_EQ(epld_at(0x40), 0x1111);
    EXPECT_EQ(epld_at(0x40), -6);
    EXPECT_EQ(epld_at(0x40), 0x1111);
}

TEST_F(Faults, AreRemovedByOrigin) {
    board("[[fault]]\nregister = 0x10\n").add_fault("register=0x12");
    sim().add_fault("register=0x14", boardsim::Origin::command_line);
    sim().remove_faults(boardsim::Origin::command_line);
    EXPECT_EQ(epld_at(0x10), -1);
    EXPECT_EQ(epld_at(0x12), -1);
    EXPECT_EQ(epld_at(0x14), 0);
}

TEST_F(Faults, ThereIsRoomForSixtyFour) {
    board("");
    for (uint32_t i = 0; i < boardsim::most_faults; ++i) {
        sim().add_fault("register=" + std::to_string(i));
    }
    EXPECT_THROW(sim().add_fault("register=0x208"), Error);
    EXPECT_EQ(epld_at(63), -1);
    EXPECT_EQ(epld_at(64), 0);
}

TEST_F(Faults, TextsThatAreWrong) {
    board("");
    const std::pair<const char *, const char *> texts[] = {
        {"", "is not key=value"},
        {"fail", "is not key=value"},
        {"register=0x208,", "is not key=value"},
        {"nth=2", "needs an access or a target"},
        {"access=epldio_reed", "there is no platform function \"epldio_reed\""},
        {"register=0x1000", "register: 0x1000 is out of range"},
        {"chip=3:0x20,register=1", "register: a fault has one target only"},
        {"chip=3-0x20", "chip: \"3-0x20\" is no route"},
        {"card=tpm", "card: \"tpm\" is no position with an identifier"},
        {"card=bpra_1,chip=3:0x20", "card: cannot stand beside chip"},
        {"register=1,result=0", "result: 0x0 is out of range"},
        {"register=1,result=-1,value=1", "result: an access that fails reads no value"},
        {"register=1,nth=0", "nth: 0x0 is out of range"},
        {"register=1,offset=1", "offset: unknown key"},
        {"register=1,colour=red", "colour: unknown key"},
    };
    for (const auto &[text, message] : texts) {
        try {
            sim().add_fault(text);
            ADD_FAILURE() << text << " was taken";
        } catch (const Error &error) {
            EXPECT_THAT(error.what(), HasSubstr(message)) << text;
            EXPECT_THAT(error.what(), HasSubstr("fault \"")) << text;
        }
    }
}

}  // namespace
