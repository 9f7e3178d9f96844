// The liquid-cooling kit, its leak sensor and the flange card, register by register.
#include "support/cooling_machine.h"

using namespace cooling;
using Calls = std::vector<std::string>;

namespace {

constexpr uint8_t untouched = 0xA5;
constexpr int failures[] = {-5, -1, INT32_MIN};

const std::string flange_read = "i2cRead 13:0x77.3:0x20 width 1 offset 0x0 length 1";
const std::string kit_read = "i2cRead 10:0x20 width 1 offset 0x0 length 2";
const std::string leak_read = "i2cRead 10:0x21 width 1 offset 0x0 length 2";

// Ports that the chips answer with, and the result of reading them.
struct Chips {
    uint8_t port_0 = 0;
    uint8_t port_1 = 0;
    int result = 0;
};

class Liquid : public CoolingTest {
protected:
    Liquid() {
        g_IsLiquidCoolingBoard = 0;
        g_IsExistFlangeCard = 0;
        platform().on_i2c_read = [this](const I2cChipRoute &route, uint32_t length, uint8_t *buffer,
                                        uint32_t) {
            EXPECT_EQ(route.flags, 0);
            EXPECT_EQ(std::string(route.name, 16), std::string(16, '\0'));
            const uint8_t ports[] = {chips.port_0, chips.port_1};
            std::copy_n(ports, length, buffer);
            return chips.result;
        };
        platform().on_i2c_write = [this](const I2cChipRoute &route, uint32_t, const uint8_t *,
                                         uint32_t) {
            EXPECT_EQ(route.flags, 0);
            EXPECT_EQ(std::string(route.name, 16), std::string(16, '\0'));
            return chips.result;
        };
    }
    ~Liquid() override { EXPECT_TRUE(platform().messages.empty()); }

    Chips chips;
};

struct Reader {
    const char *name;
    int32_t (*read)(uint8_t *);
    const std::string &access;
    bool (*flag)(unsigned port_0, unsigned port_1);
};

const std::vector<Reader> &readers() {
    static const std::vector<Reader> all = {
        {"flange", I2C_GetLiquidFlangecardFlag, flange_read,
         [](unsigned port_0, unsigned) { return port_0 == 9; }},
        {"kit", I2C_GetLiquidCoolingFlag, kit_read,
         [](unsigned port_0, unsigned port_1) { return port_0 == 0x28 && port_1 == 0x8F; }},
        // the input is low while it leaks
        {"leakage", I2C_GetLiquidLeakageFlag, leak_read,
         [](unsigned port_0, unsigned port_1) { return port_1 == 1 && port_0 / 2 % 2 == 0; }},
        {"line", I2C_GetLiquidLeakageLineFlag, leak_read,
         [](unsigned port_0, unsigned port_1) { return port_1 == 0 && port_0 / 2 % 2 == 1; }},
        {"line absent", I2C_GetLiquidLeakageLineAbsentFlag, leak_read,
         [](unsigned port_0, unsigned) { return port_0 % 2 == 1; }},
    };
    return all;
}

std::string printed_by(int32_t (*call)(), int32_t *result) {
    testing::internal::CaptureStdout();
    *result = call();
    return testing::internal::GetCapturedStdout();
}

}  // namespace

TEST_F(Liquid, FlagsOfEveryPortValue) {
    for (const Reader &reader : readers()) {
        for (unsigned port_0 = 0; port_0 < 256; ++port_0) {
            for (unsigned port_1 = 0; port_1 < 256; ++port_1) {
                chips.port_0 = static_cast<uint8_t>(port_0);
                chips.port_1 = static_cast<uint8_t>(port_1);
                uint8_t flag = untouched;
                const bool good = reader.read(&flag) == 0 &&
                                  flag == (reader.flag(port_0, port_1) ? 1 : 0) &&
                                  platform().calls == Calls{reader.access};
                ASSERT_TRUE(good) << reader.name << " " << port_0 << " " << port_1;
                platform().clear_record();
            }
        }
    }
}

// A result that is not negative is handed on, a negative one is -1 and no flag.
TEST_F(Liquid, ResultsOfTheReaders) {
    for (const Reader &reader : readers()) {
        SCOPED_TRACE(reader.name);
        for (unsigned word = 0; word < 4; ++word) {
            chips.port_0 = static_cast<uint8_t>(word);
            chips.port_1 = 1;
            for (const int result : {0, 1, 2, 7, INT32_MAX}) {
                chips.result = result;
                uint8_t flag = untouched;
                EXPECT_EQ(reader.read(&flag), result);
                EXPECT_EQ(flag, reader.flag(word, 1) ? 1 : 0);
            }
            for (const int result : failures) {
                chips.result = result;
                uint8_t flag = untouched;
                platform().clear_record();
                EXPECT_EQ(reader.read(&flag), -1);
                EXPECT_EQ(flag, 0);
                EXPECT_EQ(platform().calls, Calls{reader.access});
            }
            chips.result = 0;
        }
        platform().clear_record();
        EXPECT_EQ(reader.read(nullptr), -1);
        EXPECT_TRUE(platform().calls.empty());
    }
}

TEST_F(Liquid, TheLineIsMadeAnOutputAndReadBack) {
    const Calls calls = {"i2cWrite 10:0x21 width 1 offset 0x7 length 1: FE",
                         "i2cRead 10:0x21 width 1 offset 0x7 length 1"};
    for (const int result : {0, 1, 7}) {
        platform().clear_record();
        chips.result = result;
        EXPECT_EQ(I2C_LiquidLeakageWriteEnable(), result);
        EXPECT_EQ(platform().calls, calls);
    }
    for (const int failure : failures) {
        platform().failure = failure;
        platform().fail_call = 1;  // nothing to read back
        platform().clear_record();
        EXPECT_EQ(I2C_LiquidLeakageWriteEnable(), -1);
        EXPECT_EQ(platform().calls, Calls{calls[0]});
        platform().fail_call = 2;
        platform().clear_record();
        EXPECT_EQ(I2C_LiquidLeakageWriteEnable(), -1);
        EXPECT_EQ(platform().calls, calls);
    }
}

// The result is that of the read back.
TEST_F(Liquid, TheReadBackDecidesTheResult) {
    platform().on_i2c_write = [](const I2cChipRoute &, uint32_t, const uint8_t *, uint32_t) {
        return 5;
    };
    chips.result = 3;
    EXPECT_EQ(I2C_LiquidLeakageWriteEnable(), 3);
}

TEST_F(Liquid, TheLineIsDrivenHighForOneOnly) {
    for (const uint32_t value : {0u, 1u, 2u, 255u, 256u, 257u, 0x10001u, UINT32_MAX}) {
        const std::string written = value == 1 ? "01" : "00";
        for (const int result : {0, 1, 7, -5, -1, INT32_MIN}) {
            platform().clear_record();
            chips.result = result;
            EXPECT_EQ(I2C_SetLiquidLeakageOrLineFlag(value), result < 0 ? -1 : result);
            EXPECT_EQ(platform().calls,
                      Calls{"i2cWrite 10:0x21 width 1 offset 0x3 length 1: " + written});
        }
    }
}

TEST_F(Liquid, TheKitIsCheckedAfreshAndKept) {
    EXPECT_EQ(g_IsLiquidCoolingBoard, 0);
    chips = {0x28, 0x8F, 2};
    EXPECT_EQ(IsLiquidCoolingBoard(), 1);
    EXPECT_EQ(g_IsLiquidCoolingBoard, 1);
    chips = {0x8F, 0x28, 2};
    EXPECT_EQ(IsLiquidCoolingBoard(), 0);
    EXPECT_EQ(g_IsLiquidCoolingBoard, 0);
    for (const int failure : failures) {
        chips = {0x28, 0x8F, 0};
        EXPECT_EQ(IsLiquidCoolingBoard(), 1);
        chips.result = failure;
        EXPECT_EQ(IsLiquidCoolingBoard(), 0);
        EXPECT_EQ(g_IsLiquidCoolingBoard, 0);
    }
    EXPECT_EQ(platform().calls, Calls(8, kit_read));
}

TEST_F(Liquid, TheFlangeCardIsCheckedAfreshAndKept) {
    EXPECT_EQ(g_IsExistFlangeCard, 0);
    int32_t found = -1;
    chips = {9, 0, 1};
    EXPECT_EQ(printed_by(CheckExistFlangeCard, &found), "");
    EXPECT_EQ(found, 1);
    EXPECT_EQ(g_IsExistFlangeCard, 1);
    chips = {8, 9, 1};
    EXPECT_EQ(printed_by(CheckExistFlangeCard, &found), "");
    EXPECT_EQ(found, 0);
    EXPECT_EQ(g_IsExistFlangeCard, 0);
    for (const int failure : failures) {
        chips = {9, 0, 0};
        CheckExistFlangeCard();
        EXPECT_EQ(g_IsExistFlangeCard, 1);
        chips.result = failure;
        EXPECT_EQ(printed_by(CheckExistFlangeCard, &found), "Read Flange Card IIC failed:-1\n");
        EXPECT_EQ(found, 0);
        EXPECT_EQ(g_IsExistFlangeCard, 0);
    }
    EXPECT_EQ(platform().calls, Calls(8, flange_read));
}

TEST_F(Liquid, Facts) {
    EXPECT_EQ(GetLiquidBUS(), 10);
    EXPECT_EQ(GetFlangeBUS(), 13);
    EXPECT_EQ(FAN_IsSupportSetFcLevel(), 0);
    EXPECT_EQ(IsSupportSetFcLevel(), 0);
    EXPECT_TRUE(platform().calls.empty());
}
