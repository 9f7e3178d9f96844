// The liquid-cooling kit, its leak sensor, and the flange card, each behind a 16-bit expander.
#include <atomic>
#include <cstdio>

#include "main/cooling_tables.h"

using namespace bf::board;

namespace {

// Registers of an expander: the inputs, and output and direction of port 1.
constexpr uint32_t input_ports = 0;
constexpr uint32_t output_port_1 = 3;
constexpr uint32_t direction_port_1 = 7;
constexpr uint32_t register_width = 1;

constexpr uint8_t line_is_output = 0xFE;
constexpr uint8_t line_absent_bit = 0x01;
constexpr uint8_t line_bit = 0x02;  // low while it leaks

// Port 1 of the leak expander tells the kind of sensor.
constexpr uint8_t leak_sensor = 1;
constexpr uint8_t line_sensor = 0;

struct Ports {
    uint8_t port0;
    uint8_t port1;
};

// Reads the input ports and lets `decide` set the flag; the result of the read, -1 on failure.
template <typename Decide>
int32_t read_flag(const I2cChipRoute &route, uint32_t ports, uint8_t *flag, Decide decide) {
    if (flag == nullptr) {
        return -1;
    }
    *flag = 0;
    uint8_t bytes[2] = {};
    const int result = i2cRead(&route, ports, bytes, register_width, input_ports);
    if (result < 0) {
        return -1;
    }
    *flag = decide(Ports{bytes[0], bytes[1]}) ? 1 : 0;
    return result;
}

int32_t write_port(uint32_t reg, uint8_t value) {
    const int result = i2cWrite(&leak_expander, sizeof(value), &value, register_width, reg);
    return result < 0 ? -1 : result;
}

int32_t keep(uint8_t &state, uint8_t flag) {
    std::atomic_ref(state).store(flag, std::memory_order_relaxed);
    return flag;
}

}  // namespace

extern "C" {

uint8_t g_IsLiquidCoolingBoard = 0;
uint8_t g_IsExistFlangeCard = 0;

int32_t GetLiquidBUS() { return static_cast<int32_t>(liquid_kit_expander.bus); }
int32_t GetFlangeBUS() { return static_cast<int32_t>(flange_card_expander.bus); }

int32_t I2C_GetLiquidFlangecardFlag(uint8_t *flag) {
    return read_flag(flange_card_expander, 1, flag,
                     [](Ports ports) { return ports.port0 == flange_card_id; });
}

int32_t I2C_GetLiquidCoolingFlag(uint8_t *flag) {
    return read_flag(liquid_kit_expander, 2, flag, [](Ports ports) {
        return ports.port0 == liquid_kit_id[0] && ports.port1 == liquid_kit_id[1];
    });
}

int32_t I2C_GetLiquidLeakageFlag(uint8_t *flag) {
    return read_flag(leak_expander, 2, flag, [](Ports ports) {
        return ports.port1 == leak_sensor && (ports.port0 & line_bit) == 0;
    });
}

int32_t I2C_GetLiquidLeakageLineFlag(uint8_t *flag) {
    return read_flag(leak_expander, 2, flag, [](Ports ports) {
        return ports.port1 == line_sensor && (ports.port0 & line_bit) != 0;
    });
}

int32_t I2C_GetLiquidLeakageLineAbsentFlag(uint8_t *flag) {
    return read_flag(leak_expander, 2, flag,
                     [](Ports ports) { return (ports.port0 & line_absent_bit) != 0; });
}

int32_t I2C_LiquidLeakageWriteEnable() {
    if (write_port(direction_port_1, line_is_output) < 0) {
        return -1;
    }
    uint8_t direction = 0;
    const int result =
        i2cRead(&leak_expander, sizeof(direction), &direction, register_width, direction_port_1);
    return result < 0 ? -1 : result;
}

int32_t I2C_SetLiquidLeakageOrLineFlag(uint32_t value) {
    return write_port(output_port_1, value == 1 ? 0x01 : 0x00);
}

int32_t IsLiquidCoolingBoard() {
    uint8_t flag = 0;
    I2C_GetLiquidCoolingFlag(&flag);
    return keep(g_IsLiquidCoolingBoard, flag);
}

int32_t CheckExistFlangeCard() {
    uint8_t flag = 0;
    const int32_t result = I2C_GetLiquidFlangecardFlag(&flag);
    if (result < 0) {
        std::printf("Read Flange Card IIC failed:%d\n", result);
    }
    return keep(g_IsExistFlangeCard, flag);
}

int32_t IsSupportSetFcLevel() { return 0; }
int32_t FAN_IsSupportSetFcLevel() { return IsSupportSetFcLevel(); }

}  // extern "C"
