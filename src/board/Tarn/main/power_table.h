// Power supplies, voltage regulators, power-fault bits and the I2C devices of the board.
#pragma once

#include <iterator>

#include "boardfeatures/power.h"

namespace bf::board {

// ---- power entry modules ----

struct Pem {
    uint32_t slot_id;
    char model[16];
    I2cChipRoute pmbus;
};
static_assert(sizeof(Pem) == 52);

// The flag value 4 goes to the platform as it stands.
inline constexpr Pem pem_table[] = {
    {0, "SDPCB_1", {1, 0x58, 4, 0, 0, "psu0"}},
    {1, "SDPCB_2", {1, 0x59, 4, 0, 0, "psu1"}},
};

// The presence bit of PEM n is bit n.
inline constexpr uint32_t pem_presence_register = 0x190;
inline constexpr uint32_t power_ok_register = 0x192;
// High while the presence register is usable.
inline constexpr uint32_t pem_presence_gpio = 201;

// ---- voltage regulators, a group a main-board BOM id ----

// clang-format off
inline constexpr VrRow vr_table[] = {
    // BOM, CPU, instance, model, status register, first bit, second bit, rail code, route
    {0, 0, 0, "XDPE12284", 0x310, 15, 6, 3, {13, 0x64, 0, 0x77, 0, "PVCCIN"}},
    {0, 0, 1, "XDPE12284", 0x310, 14, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x64, 0, 0x77, 0, "VCCSA"}},
    {0, 0, 0, "PXM1310", 0x310, 13, 4, VR_NO_RAIL_CODE, {13, 0x0A, 0, 0x77, 0, "VCCIO"}},
    {0, 0, 0, "PXM1410", 0x310, 12, 8, 1, {13, 0x08, 0, 0x77, 0, "VDDQ_ABCD"}},
    {0, 0, 0, "PXM1410", 0x310, 11, 7, 0, {13, 0x06, 0, 0x77, 0, "VDDQ_EFGH"}},
    {0, 0, 0, "PXM1310", 0x310, VR_NO_BIT, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x04, 0, 0x77, 0, "VCCANA"}},
    {0, 0, 1, "PXM1310", 0x310, VR_NO_BIT, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x04, 0, 0x77, 0, "1P8"}},
    {0, 1, 0, "XDPE12284", 0x312, 15, 6, 3, {13, 0x64, 0, 0x77, 1, "PVCCIN"}},
    {0, 1, 1, "XDPE12284", 0x312, 14, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x64, 0, 0x77, 1, "VCCSA"}},
    {0, 1, 0, "PXM1310", 0x312, 13, 4, VR_NO_RAIL_CODE, {13, 0x0A, 0, 0x77, 1, "VCCIO"}},
    {0, 1, 0, "PXM1410", 0x312, 12, 8, 1, {13, 0x08, 0, 0x77, 1, "VDDQ_ABCD"}},
    {0, 1, 0, "PXM1410", 0x312, 11, 7, 0, {13, 0x06, 0, 0x77, 1, "VDDQ_EFGH"}},
    {0, 1, 0, "PXM1310", 0x312, VR_NO_BIT, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x04, 0, 0x77, 1, "VCCANA"}},
    {0, 1, 1, "PXM1310", 0x312, VR_NO_BIT, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x04, 0, 0x77, 1, "1P8"}},
    {1, 0, 0, "TPS53688", 0x310, 15, 6, 3, {13, 0x6D, 0, 0x77, 0, "PVCCIN"}},
    {1, 0, 1, "TPS53688", 0x310, 14, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x6D, 0, 0x77, 0, "VCCSA"}},
    {1, 0, 0, "SN1701022", 0x310, 13, 4, VR_NO_RAIL_CODE, {13, 0x61, 0, 0x77, 0, "VCCIO"}},
    {1, 0, 0, "SN1701022", 0x310, 12, 8, 1, {13, 0x60, 0, 0x77, 0, "VDDQ_ABCD"}},
    {1, 0, 0, "SN1701022", 0x310, 11, 7, 0, {13, 0x62, 0, 0x77, 0, "VDDQ_EFGH"}},
    {1, 0, 0, "PXM1310", 0x310, VR_NO_BIT, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x04, 0, 0x77, 0, "VCCANA"}},
    {1, 0, 1, "PXM1310", 0x310, VR_NO_BIT, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x04, 0, 0x77, 0, "1P8"}},
    {1, 1, 0, "XDPE12284", 0x312, 15, 6, 3, {13, 0x6D, 0, 0x77, 1, "PVCCIN"}},
    {1, 1, 1, "XDPE12284", 0x312, 14, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x6D, 0, 0x77, 1, "VCCSA"}},
    {1, 1, 0, "SN1701022", 0x312, 13, 4, VR_NO_RAIL_CODE, {13, 0x61, 0, 0x77, 1, "VCCIO"}},
    {1, 1, 0, "SN1701022", 0x312, 12, 8, 1, {13, 0x60, 0, 0x77, 1, "VDDQ_ABCD"}},
    {1, 1, 0, "SN1701022", 0x312, 11, 7, 0, {13, 0x62, 0, 0x77, 1, "VDDQ_EFGH"}},
    {1, 1, 0, "PXM1310", 0x312, VR_NO_BIT, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x04, 0, 0x77, 1, "VCCANA"}},
    {1, 1, 1, "PXM1310", 0x312, VR_NO_BIT, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x04, 0, 0x77, 1, "1P8"}},
    {2, 0, 0, "XDPE12284", 0x310, 15, 6, 3, {13, 0x64, 0, 0x77, 0, "PVCCIN"}},
    {2, 0, 1, "XDPE12284", 0x310, 14, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x64, 0, 0x77, 0, "VCCSA"}},
    {2, 0, 0, "PXM1310", 0x310, 13, 4, VR_NO_RAIL_CODE, {13, 0x0A, 0, 0x77, 0, "VCCIO"}},
    {2, 0, 0, "PXM1410", 0x310, 12, 8, 1, {13, 0x08, 0, 0x77, 0, "VDDQ_ABCD"}},
    {2, 0, 0, "PXM1410", 0x310, 11, 7, 0, {13, 0x06, 0, 0x77, 0, "VDDQ_EFGH"}},
    {2, 0, 0, "PXM1310", 0x310, VR_NO_BIT, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x04, 0, 0x77, 0, "VCCANA"}},
    {2, 0, 1, "PXM1310", 0x310, VR_NO_BIT, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x04, 0, 0x77, 0, "1P8"}},
    {2, 1, 0, "XDPE12284", 0x312, 15, 6, 3, {13, 0x64, 0, 0x77, 1, "PVCCIN"}},
    {2, 1, 1, "XDPE12284", 0x312, 14, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x64, 0, 0x77, 1, "VCCSA"}},
    {2, 1, 0, "PXM1310", 0x312, 13, 4, VR_NO_RAIL_CODE, {13, 0x0A, 0, 0x77, 1, "VCCIO"}},
    {2, 1, 0, "PXM1410", 0x312, 12, 8, 1, {13, 0x08, 0, 0x77, 1, "VDDQ_ABCD"}},
    {2, 1, 0, "PXM1410", 0x312, 11, 7, 0, {13, 0x06, 0, 0x77, 1, "VDDQ_EFGH"}},
    {2, 1, 0, "PXM1310", 0x312, VR_NO_BIT, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x04, 0, 0x77, 1, "VCCANA"}},
    {2, 1, 1, "PXM1310", 0x312, VR_NO_BIT, VR_NO_BIT, VR_NO_RAIL_CODE, {13, 0x04, 0, 0x77, 1, "1P8"}},
};
static_assert(std::size(vr_table) == 42);

inline constexpr VrFirmwareRow vr_firmware_table[] = {
    // index, page, offset, offset width, length, shift, reserved, route
    {0, 0, 0x9B, 1, 2, 0, {}, {13, 0x04, 0, 0x77, 0, "M1310C"}},
    {1, 0, 0x9B, 1, 2, 0, {}, {13, 0x06, 0, 0x77, 0, "E1410C"}},
    {2, 0, 0x9B, 1, 2, 0, {}, {13, 0x08, 0, 0x77, 0, "E1410C"}},
    {3, 0, 0x9B, 1, 2, 0, {}, {13, 0x0A, 0, 0x77, 0, "M1310C"}},
    {4, 0, 0x9B, 1, 2, 0, {}, {13, 0x64, 0, 0x77, 0, "XDPE12284C"}},
    {5, 0, 0x9B, 1, 2, 0, {}, {13, 0x04, 0, 0x77, 1, "M1310C"}},
    {6, 0, 0x9B, 1, 2, 0, {}, {13, 0x06, 0, 0x77, 1, "E1410C"}},
    {7, 0, 0x9B, 1, 2, 0, {}, {13, 0x08, 0, 0x77, 1, "E1410C"}},
    {8, 0, 0x9B, 1, 2, 0, {}, {13, 0x0A, 0, 0x77, 1, "M1310C"}},
    {9, 0, 0x9B, 1, 2, 0, {}, {13, 0x64, 0, 0x77, 1, "XDPE12284C"}},
};

// ---- power faults: group, reserved, mask, EPLD register ----

inline constexpr PowerFaultRow cpu_power_faults[] = {
    {0, {}, 0xE0, 0x310},
    {1, {}, 0xE0, 0x312},
};
inline constexpr PowerFaultRow dimm_power_faults[] = {
    {0, {}, 0x18, 0x310},
    {1, {}, 0x18, 0x312},
};
inline constexpr PowerFaultRow abnormal_power_faults[] = {
    {0, {0x00, 0x00}, 0x00, 0x840},
    {3, {0x00, 0x72}, 0x52, 0x844},
    {1, {0x00, 0x00}, 0x00, 0x802},
    {1, {0x00, 0x00}, 0x00, 0x804},
    {1, {0x00, 0x00}, 0x00, 0x806},
    {1, {0x00, 0x00}, 0x00, 0x810},
    {1, {0x00, 0x00}, 0x00, 0x812},
    {1, {0x00, 0x00}, 0x00, 0x814},
    {1, {0x00, 0x00}, 0x00, 0x820},
    {1, {0x00, 0x00}, 0x00, 0x822},
    {1, {0x00, 0x00}, 0x00, 0x824},
    {1, {0x00, 0x00}, 0x00, 0x82E},
    {1, {0x00, 0x00}, 0x00, 0x830},
    {1, {0x00, 0x00}, 0x00, 0x832},
    {2, {0x00, 0x00}, 0x00, 0x808},
    {2, {0x00, 0x00}, 0x00, 0x80A},
    {2, {0x00, 0x00}, 0x00, 0x80C},
    {2, {0x00, 0x00}, 0x00, 0x80E},
    {2, {0x00, 0x00}, 0x00, 0x816},
    {2, {0x00, 0x00}, 0x00, 0x818},
    {2, {0x00, 0x00}, 0x00, 0x826},
    {2, {0x00, 0x00}, 0x00, 0x828},
    {2, {0x00, 0x00}, 0x00, 0x82A},
    {2, {0x00, 0x00}, 0x00, 0x82C},
    {2, {0x00, 0x00}, 0x00, 0x834},
    {2, {0x00, 0x00}, 0x00, 0x836},
    {4, {0x00, 0x00}, 0x00, 0x800},
};
static_assert(std::size(abnormal_power_faults) == 27);

// ---- I2C devices: bus, address, switch, channel, name ----

inline constexpr I2cTopologyRow i2c_topology[] = {
    {0, 0x2C, 0x00, 0, "SMLink0"},
    {1, 0xB0, 0x00, 0, "PSU1"},
    {1, 0xB2, 0x00, 0, "PSU2"},
    {2, 0x88, 0x00, 0, "CMOS_Date"},
    {3, 0x40, 0x00, 0, "board id"},
    {3, 0xA2, 0x00, 0, "FRU"},
    {4, 0x40, 0x00, 0, "board id"},
    {4, 0xA2, 0x00, 0, "FRU"},
    {4, 0x42, 0xE0, 0, "Subcard_Online"},
    {4, 0x92, 0xE0, 4, "Temp-sensor"},
    {5, 0x40, 0x00, 0, "board id"},
    {5, 0xA2, 0x00, 0, "FRU"},
    {5, 0x42, 0xE0, 0, "Subcard_Online"},
    {5, 0x92, 0xE0, 4, "Temp-sensor"},
    {6, 0x40, 0x00, 0, "board id"},
    {6, 0xA2, 0x00, 0, "FRU"},
    {7, 0x40, 0x00, 0, "board id"},
    {7, 0xA2, 0x00, 0, "FRU"},
    {8, 0x40, 0x00, 0, "board id"},
    {8, 0xA2, 0x00, 0, "FRU"},
    {9, 0x40, 0x00, 0, "board id"},
    {9, 0xA2, 0x00, 0, "FRU"},
    {10, 0x40, 0x00, 0, "board id"},
    {10, 0xA2, 0x00, 0, "FRU"},
    {10, 0x96, 0x00, 0, "Temp-sensor"},
    {10, 0xDE, 0x00, 0, "CLK-Chip3"},
    {11, 0x40, 0x00, 0, "board id"},
    {11, 0xA2, 0x00, 0, "FRU"},
    {12, 0x4E, 0xE0, 0, "slimline-1"},
    {12, 0x4E, 0xE0, 1, "slimline-2"},
    {12, 0x4E, 0xE0, 2, "slimline-3"},
    {12, 0x4E, 0xE0, 3, "slimline-4"},
    {12, 0x4E, 0xE0, 4, "slimline-5"},
    {12, 0x4E, 0xE0, 5, "slimline-6"},
    {13, 0xA0, 0x00, 0, "FRU"},
    {13, 0x4C, 0x00, 0, "HardId"},
    {13, 0xC8, 0xEE, 0, "CPU1-VR1"},
    {13, 0xB0, 0xEE, 0, "CPU1-VR2"},
    {13, 0x14, 0xEE, 0, "CPU1-VR3"},
    {13, 0x10, 0xEE, 0, "CPU1-VR4"},
    {13, 0x0C, 0xEE, 0, "CPU1-VR5"},
    {13, 0xC8, 0xEE, 1, "CPU2-VR1"},
    {13, 0xB0, 0xEE, 1, "CPU2-VR2"},
    {13, 0x14, 0xEE, 1, "CPU2-VR3"},
    {13, 0x10, 0xEE, 1, "CPU2-VR4"},
    {13, 0x0C, 0xEE, 1, "CPU2-VR5"},
    {13, 0x90, 0xEE, 2, "Input_Temp1"},
    {13, 0x92, 0xEE, 2, "Output_Temp"},
    {13, 0x94, 0xEE, 3, "Input_Temp2"},
    {13, 0xD8, 0xEE, 4, "DB2000-1"},
    {13, 0xCE, 0xEE, 4, "DB2000-2"},
    {13, 0xA8, 0xEE, 5, "OCP_netcard"},
    {13, 0xA0, 0xEE, 6, "CPU_PIROM1"},
    {13, 0xA2, 0xEE, 6, "CPU_PIROM2"},
    {13, 0x80, 0xEE, 7, "EPLD_upgrade"},
};
static_assert(std::size(i2c_topology) == 55);
// clang-format on

}  // namespace bf::board
