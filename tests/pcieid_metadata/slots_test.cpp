// The PCIe slots as older callers ask for them, and routes as text.
#include <gmock/gmock.h>

#include "boardfeatures/pcieid_enum.h"
#include "support/bytes.h"
#include "support/scripted_platform.h"

using scripted::platform;
using testing::IsEmpty;

namespace {

struct Row {
    uint32_t slot, card, bus, channel;
};
const Row rows[] = {{1, 0x17, 3, 2}, {2, 0x18, 3, 1},  {3, 0x19, 4, 3},  {4, 0x1A, 4, 2},
                    {5, 0x1B, 4, 1}, {6, 0x1C, 5, 1},  {7, 0x1D, 5, 2},  {8, 0x1E, 5, 3},
                    {9, 0x1F, 6, 2}, {10, 0x20, 6, 1}, {80, 0x21, 7, 1}, {81, 0x22, 9, 1}};

Bytes bytes_of(const Row &row) {
    Bytes record;
    record.u32(row.slot).u32(row.card).u32(row.bus).u16(0).u16(0).u32(0).u32(0x70).u32(row.channel);
    return record.text("pcie" + std::to_string(row.slot), 16).until(76);
}

TEST(PcieSlots, EveryRowByIndexAndBySlot) {
    EXPECT_EQ(GetPcieSlotCounts(), 12);
    for (uint32_t i = 0; i < 12; ++i) {
        SCOPED_TRACE(i);
        PcieSlotInfo info;
        fill_with_garbage(info);
        EXPECT_EQ(GetPcieInfoByIndex(i, &info), 0);
        expect_bytes(&info, sizeof(info), bytes_of(rows[i]));
        fill_with_garbage(info);
        EXPECT_EQ(GetPcieI2cinfoByPcieSlot(rows[i].slot, &info), 0);
        expect_bytes(&info, sizeof(info), bytes_of(rows[i]));
        uint8_t card = 0;
        EXPECT_EQ(GetCardIdByPcieSlot(rows[i].slot, &card), 0);
        EXPECT_EQ(card, rows[i].card);
    }
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST(PcieSlots, UnknownSlotsLeaveTheOutputAlone) {
    for (const uint32_t slot : {0u, 11u, 79u, 82u, 257u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(slot);
        PcieSlotInfo info;
        fill_with_garbage(info);
        uint8_t card = 0xA5;
        EXPECT_EQ(GetPcieI2cinfoByPcieSlot(slot, &info), -1);
        EXPECT_EQ(info.slot, 0xA5A5A5A5u);
        EXPECT_EQ(GetCardIdByPcieSlot(slot, &card), -1);
        EXPECT_EQ(card, 0xA5);
    }
    PcieSlotInfo info;
    fill_with_garbage(info);
    EXPECT_EQ(GetPcieInfoByIndex(12, &info), -1);
    EXPECT_EQ(GetPcieInfoByIndex(0xFFFFFFFF, &info), -1);
    EXPECT_EQ(info.slot, 0xA5A5A5A5u);
}

TEST(PcieSlots, NullIsRefused) {
    EXPECT_EQ(GetPcieInfoByIndex(0, nullptr), -1);
    EXPECT_EQ(GetPcieI2cinfoByPcieSlot(1, nullptr), -1);
    EXPECT_EQ(GetCardIdByPcieSlot(1, nullptr), -1);
    EXPECT_EQ(GetPcieSoltAndRate(nullptr), -1);
    PcieSlotRateList rates;
    EXPECT_EQ(get_specialBoardPcieSoltAndRate(nullptr, &rates), -1);
    PcieSlotInfo table[12] = {};
    EXPECT_EQ(get_specialBoardPcieSoltAndRate(table, nullptr), -1);
}

TEST(PcieSlots, TotalAndRates) {
    EXPECT_EQ(GetPcieSoltTotalNum(), 12);
    EXPECT_EQ(get_specialBoardPcieSoltNum(), 12);
    PcieSlotRateList rates;
    fill_with_garbage(rates);
    EXPECT_EQ(GetPcieSoltAndRate(&rates), 0);
    Bytes expected;
    expected.u32(12);
    for (const Row &row : rows) {
        expected.u32(row.slot).u32(4);
    }
    expect_bytes(&rates, sizeof(rates), expected);
}

TEST(PcieSlots, RatesFollowTheGivenTable) {
    PcieSlotInfo table[12] = {};
    for (uint32_t i = 0; i < 12; ++i) {
        table[i].slot = 100 + i;
    }
    PcieSlotRateList rates = {};
    EXPECT_EQ(get_specialBoardPcieSoltAndRate(table, &rates), 0);
    EXPECT_EQ(rates.entries[11].slot, 111u);
    EXPECT_EQ(rates.entries[11].rate, 4u);
}

TEST(PcieSlots, NotSupportedByThisBoard) {
    EXPECT_EQ(PCIE_GetOnlineDeviceSlot(), -1);
    EXPECT_EQ(PCIE_GetInvalidSlotInLowCpuConfigMode(), -1);
}

TEST(RouteText, AllFields) {
    const I2cChipRoute route = {12, 0x27, 0xAB, 0x00700071, 0x00020005, "SLIMLINE IO"};
    char text[128];
    std::memset(text, 'x', sizeof(text));
    i2c_to_string(&route, text, sizeof(text));
    EXPECT_STREQ(text, "  12      27      ab      700071       20005  SLIMLINE IO");
    EXPECT_EQ(text[126], 'x');
    EXPECT_EQ(text[127], '\0') << "the last byte ends the buffer, however short the text";
}

TEST(RouteText, WidestValues) {
    const I2cChipRoute route = {0xFFFFFFFF, 0xFFFF, 0xFFFF, 0xFFFFFFFF, 0xFFFFFFFF, "NAME"};
    char text[128];
    i2c_to_string(&route, text, sizeof(text));
    EXPECT_STREQ(text, "4294967295    ffff    ffff    ffffffff    ffffffff  NAME");
}

TEST(RouteText, IsCutToTheBuffer) {
    const I2cChipRoute route = {12, 0x27, 0, 0x70, 5, "SLIMLINE IO"};
    char text[16];
    std::memset(text, 'x', sizeof(text));
    i2c_to_string(&route, text, 8);
    EXPECT_STREQ(text, "  12   ");
    EXPECT_EQ(text[8], 'x');
    i2c_to_string(&route, text, 1);
    EXPECT_STREQ(text, "");
    text[0] = 'x';
    i2c_to_string(&route, text, 0);
    EXPECT_EQ(text[0], 'x');
}

TEST(RouteText, ANameWithoutEndIsReadToItsEnd) {
    I2cChipRoute route = {};
    std::memset(route.name, 'N', sizeof(route.name));
    char text[128];
    i2c_to_string(&route, text, sizeof(text));
    EXPECT_STREQ(text, "   0       0       0           0           0  NNNNNNNNNNNNNNNN");
}

TEST(RouteText, NullIsIgnored) {
    const I2cChipRoute route = {};
    char text[4] = "xyz";
    i2c_to_string(nullptr, text, sizeof(text));
    EXPECT_STREQ(text, "xyz");
    i2c_to_string(&route, nullptr, 10);
}

}  // namespace
