// The board's tables, byte by byte: power modules, regulators, fault bits, I2C devices.
#include <sstream>

#include "power/power_support.h"

using namespace power;

namespace {

// ---- regulators: bom, cpu, instance, model, register, first, second, code, address, rail ----

struct Rail {
    const char *name;
    int instance;
    const char *model;  // main boards 0 and 2
    uint32_t address;
    const char *model_1;    // main board 1
    const char *model_1_b;  // its second CPU
    uint32_t address_1;
    uint32_t first_bit, second_bit, code;
};

constexpr Rail rails[] = {
    {"PVCCIN", 0, "XDPE12284", 0x64, "TPS53688", "XDPE12284", 0x6D, 15, 6, 3},
    {"VCCSA", 1, "XDPE12284", 0x64, "TPS53688", "XDPE12284", 0x6D, 14, 255, 255},
    {"VCCIO", 0, "PXM1310", 0x0A, "SN1701022", "SN1701022", 0x61, 13, 4, 255},
    {"VDDQ_ABCD", 0, "PXM1410", 0x08, "SN1701022", "SN1701022", 0x60, 12, 8, 1},
    {"VDDQ_EFGH", 0, "PXM1410", 0x06, "SN1701022", "SN1701022", 0x62, 11, 7, 0},
    {"VCCANA", 0, "PXM1310", 0x04, "PXM1310", "PXM1310", 0x04, 255, 255, 255},
    {"1P8", 1, "PXM1310", 0x04, "PXM1310", "PXM1310", 0x04, 255, 255, 255},
};

Bytes regulators_of(uint32_t bom) {
    Bytes rows;
    for (uint32_t cpu = 0; cpu < 2; ++cpu) {
        for (const Rail &rail : rails) {
            const char *model = bom != 1 ? rail.model : cpu == 0 ? rail.model_1 : rail.model_1_b;
            rows.u8(bom).u8(cpu).u8(static_cast<uint32_t>(rail.instance)).text(model, 33);
            rows.u16(cpu == 0 ? 0x310 : 0x312).u8(rail.first_bit).u8(rail.second_bit);
            rows.u32(rail.code);
            rows.chip(13, bom == 1 ? rail.address_1 : rail.address, 0x77, cpu, rail.name);
        }
    }
    return rows;
}

// ---- I2C devices: bus, address, switch, channel, name ----

constexpr char devices[] = R"(0 2C 0 0 SMLink0
1 B0 0 0 PSU1
1 B2 0 0 PSU2
2 88 0 0 CMOS_Date
3 40 0 0 board id
3 A2 0 0 FRU
4 40 0 0 board id
4 A2 0 0 FRU
4 42 E0 0 Subcard_Online
4 92 E0 4 Temp-sensor
5 40 0 0 board id
5 A2 0 0 FRU
5 42 E0 0 Subcard_Online
5 92 E0 4 Temp-sensor
6 40 0 0 board id
6 A2 0 0 FRU
7 40 0 0 board id
7 A2 0 0 FRU
8 40 0 0 board id
8 A2 0 0 FRU
9 40 0 0 board id
9 A2 0 0 FRU
10 40 0 0 board id
10 A2 0 0 FRU
10 96 0 0 Temp-sensor
10 DE 0 0 CLK-Chip3
11 40 0 0 board id
11 A2 0 0 FRU
12 4E E0 0 slimline-1
12 4E E0 1 slimline-2
12 4E E0 2 slimline-3
12 4E E0 3 slimline-4
12 4E E0 4 slimline-5
12 4E E0 5 slimline-6
13 A0 0 0 FRU
13 4C 0 0 HardId
13 C8 EE 0 CPU1-VR1
13 B0 EE 0 CPU1-VR2
13 14 EE 0 CPU1-VR3
13 10 EE 0 CPU1-VR4
13 0C EE 0 CPU1-VR5
13 C8 EE 1 CPU2-VR1
13 B0 EE 1 CPU2-VR2
13 14 EE 1 CPU2-VR3
13 10 EE 1 CPU2-VR4
13 0C EE 1 CPU2-VR5
13 90 EE 2 Input_Temp1
13 92 EE 2 Output_Temp
13 94 EE 3 Input_Temp2
13 D8 EE 4 DB2000-1
13 CE EE 4 DB2000-2
13 A8 EE 5 OCP_netcard
13 A0 EE 6 CPU_PIROM1
13 A2 EE 6 CPU_PIROM2
13 80 EE 7 EPLD_upgrade
)";

std::vector<Bytes> device_rows() {
    std::vector<Bytes> rows;
    std::istringstream lines(devices);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        uint32_t bus = 0, address = 0, mux = 0, channel = 0;
        std::string name;
        fields >> bus >> std::hex >> address >> mux >> std::dec >> channel >> std::ws;
        std::getline(fields, name);
        rows.push_back(Bytes().u32(bus).u32(address).u32(mux).u32(channel).text(name, 16));
    }
    return rows;
}

Bytes fault(uint32_t group, uint32_t reserved_a, uint32_t reserved_b, uint32_t mask, uint32_t reg) {
    return Bytes().u8(group).u8(reserved_a).u8(reserved_b).u8(mask).u16(reg);
}

}  // namespace

TEST(BoardPower, Constants) {
    EXPECT_EQ(GetPemSupportFlag(), 1);
    EXPECT_EQ(GetPemMaxCount(), 2);
    EXPECT_EQ(GetI2CTopologyCount(), 55);
    EXPECT_EQ(GetVrChipMaxNum(), 10);
    EXPECT_EQ(GetGPUSupportFlag(), 0);
    EXPECT_EQ(GetPcieSelfTestAlarmSupportFlag(), 0);
    EXPECT_EQ(GetAIAdapterSupportFlag(), 0);
    expect_silence();
}

TEST(PemTable, RoutesBySlotId) {
    const char *const names[] = {"psu0", "psu1"};
    for (uint32_t slot = 0; slot < 2; ++slot) {
        I2cChipRoute route;
        fill_with_garbage(route);
        EXPECT_EQ(GetPemPmbusInfoBySlotID(slot, &route), 0);
        expect_bytes(&route, sizeof(route),
                     Bytes().u32(1).u32(0x00040058 + slot).u32(0).u32(0).text(names[slot], 16));
    }
    for (const uint32_t slot : strange_indexes) {
        I2cChipRoute route;
        fill_with_garbage(route);
        const I2cChipRoute before = route;
        EXPECT_EQ(GetPemPmbusInfoBySlotID(slot, &route), -1) << slot;
        EXPECT_EQ(std::memcmp(&route, &before, sizeof(route)), 0);
    }
    EXPECT_EQ(GetPemPmbusInfoBySlotID(0, nullptr), -1);
    EXPECT_EQ(GetPemPmbusInfoBySlotID(2, nullptr), -1);
    expect_silence();
}

TEST(PemTable, IndexByTheWholeAddressField) {
    for (uint32_t bus = 0; bus < 16; ++bus) {
        for (const uint32_t field :
             {0x00040058u, 0x00040059u, 0x58u, 0x59u, 0x00040057u, 0x0004005Au, 0x00050058u,
              0x01040058u, 0x00040158u, 0u, UINT32_MAX}) {
            uint32_t index = 0xA5A5A5A5;
            const bool known = bus == 1 && (field == 0x00040058 || field == 0x00040059);
            EXPECT_EQ(GetPemIndexbyI2CAddr(bus, field, &index), known ? 0 : -1);
            EXPECT_EQ(index, !known ? 0xA5A5A5A5 : field == 0x00040058 ? 1u : 2u);
        }
    }
    EXPECT_EQ(GetPemIndexbyI2CAddr(1, 0x00040058, nullptr), -1);
    EXPECT_EQ(GetPemIndexbyI2CAddr(0x101, 0x00040058, nullptr), -1);
    expect_silence();
}

class RegulatorTable : public testing::TestWithParam<uint32_t> {};

TEST_P(RegulatorTable, EveryRowOfTheMainBoard) {
    fit_main_board(0x5440, GetParam());
    const VrRow *rows = nullptr;
    ASSERT_EQ(GetPemVRInfoBy9548(&rows), 14);
    ASSERT_NE(rows, nullptr);
    expect_bytes(rows, 14 * sizeof(VrRow), regulators_of(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Bom, RegulatorTable, testing::Values(0u, 1u, 2u),
                         testing::PrintToStringParamName());

TEST(RegulatorFirmwareTable, EveryRow) {
    const uint32_t addresses[] = {0x04, 0x06, 0x08, 0x0A, 0x64};
    const char *const names[] = {"M1310C", "E1410C", "E1410C", "M1310C", "XDPE12284C"};
    for (uint32_t i = 0; i < 10; ++i) {
        SCOPED_TRACE(i);
        const VrFirmwareRow *row = GetVrFwI2cRegInfoByIndex(i);
        ASSERT_NE(row, nullptr);
        expect_bytes(row, sizeof(*row),
                     Bytes().u8(i).u8(0).u8(0x9B).u8(1).u8(2).u8(0).zeros(2).chip(
                         13, addresses[i % 5], 0x77, i < 5 ? 0 : 1, names[i % 5]));
    }
    for (const uint32_t index : strange_indexes) {
        EXPECT_EQ(GetVrFwI2cRegInfoByIndex(index) != nullptr, index < 10) << index;
    }
    expect_silence();
}

TEST(PowerFaultTables, EveryRow) {
    const PowerFaultRow *table = nullptr;
    uint8_t count[2] = {0, 0xA5};
    EXPECT_EQ(GetCPUPowerFaultTable(&table, count), 0);
    EXPECT_EQ(count[0], 2);
    expect_bytes(table, 2 * sizeof(*table),
                 fault(0, 0, 0, 0xE0, 0x310).append(fault(1, 0, 0, 0xE0, 0x312)));

    EXPECT_EQ(GetDIMMPowerFaultTable(&table, count), 0);
    EXPECT_EQ(count[0], 2);
    expect_bytes(table, 2 * sizeof(*table),
                 fault(0, 0, 0, 0x18, 0x310).append(fault(1, 0, 0, 0x18, 0x312)));

    Bytes abnormal = fault(0, 0, 0, 0, 0x840).append(fault(3, 0x00, 0x72, 0x52, 0x844));
    for (const uint32_t reg :
         {0x802, 0x804, 0x806, 0x810, 0x812, 0x814, 0x820, 0x822, 0x824, 0x82E, 0x830, 0x832}) {
        abnormal.append(fault(1, 0, 0, 0, reg));
    }
    for (const uint32_t reg :
         {0x808, 0x80A, 0x80C, 0x80E, 0x816, 0x818, 0x826, 0x828, 0x82A, 0x82C, 0x834, 0x836}) {
        abnormal.append(fault(2, 0, 0, 0, reg));
    }
    abnormal.append(fault(4, 0, 0, 0, 0x800));
    EXPECT_EQ(GetAbnormalPowerFaultTable(&table, count), 0);
    EXPECT_EQ(count[0], 27);
    EXPECT_EQ(count[1], 0xA5);
    expect_bytes(table, 27 * sizeof(*table), abnormal);
    expect_silence();
}

TEST(PowerFaultTables, NullIsRefused) {
    for (auto *get : {GetCPUPowerFaultTable, GetDIMMPowerFaultTable, GetAbnormalPowerFaultTable}) {
        const PowerFaultRow *table = nullptr;
        uint8_t count = 0xA5;
        EXPECT_EQ(get(nullptr, &count), -1);
        EXPECT_EQ(count, 0xA5);
        EXPECT_EQ(get(&table, nullptr), -1);
        EXPECT_EQ(table, nullptr);
        EXPECT_EQ(get(nullptr, nullptr), -1);
    }
    expect_silence();
}

TEST(I2cTopology, EveryRow) {
    const std::vector<Bytes> rows = device_rows();
    ASSERT_EQ(rows.size(), 55u);
    for (uint32_t i = 0; i < 55; ++i) {
        SCOPED_TRACE(i);
        I2cTopologyRow row;
        fill_with_garbage(row);
        EXPECT_EQ(GetI2CTopologyByIndex(i, &row), 0);
        expect_bytes(&row, sizeof(row), rows[i]);
    }
    EXPECT_EQ(GetI2CTopologyByIndex(0, nullptr), -1);
    expect_silence();
}

TEST(I2cTopology, NothingBeyondTheTable) {
    for (const uint32_t index : strange_indexes) {
        if (index >= 55) {
            I2cTopologyRow row;
            fill_with_garbage(row);
            const I2cTopologyRow before = row;
            EXPECT_EQ(GetI2CTopologyByIndex(index, &row), -1) << index;
            EXPECT_EQ(std::memcmp(&row, &before, sizeof(row)), 0);
        }
    }
    EXPECT_EQ(GetI2CTopologyByIndex(55, nullptr), -1);
    expect_silence();
}
