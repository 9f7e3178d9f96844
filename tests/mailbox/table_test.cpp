// The table of SMBus-managed network cards.
#include <climits>

#include "boardfeatures/mailbox.h"
#include "support/bytes.h"
#include "support/scripted_platform.h"

namespace {

struct Card {
    uint32_t slot_id, pcie_slot, bus, channel;
    const char *name;
};
constexpr Card cards[] = {
    {23, 1, 3, 2, "pcie1"},   {24, 2, 3, 1, "pcie2"}, {25, 3, 4, 3, "pcie3"},
    {26, 4, 4, 2, "pcie4"},   {27, 5, 4, 1, "pcie5"}, {28, 6, 5, 1, "pcie6"},
    {29, 7, 5, 2, "pcie7"},   {30, 8, 5, 3, "pcie8"}, {31, 9, 6, 2, "pcie9"},
    {32, 10, 6, 1, "pcie10"},
};

}  // namespace

TEST(SmbusNetCards, EveryIndex) {
    EXPECT_EQ(GetSmbusNetCardMaxCount(), 10);
    for (int32_t index = 0; index < 10; ++index) {
        SCOPED_TRACE(index);
        const Card &card = cards[index];
        uint8_t slot_id[2] = {0xA5, 0xA5};
        EXPECT_EQ(GetSmbusNetCardSlotId(index, slot_id), 0);
        EXPECT_EQ(slot_id[0], card.slot_id);
        EXPECT_EQ(slot_id[1], 0xA5);
        uint8_t pcie_slot[2] = {0xA5, 0xA5};
        EXPECT_EQ(GetSmbusNetCardPcieSlot(index, pcie_slot), 0);
        EXPECT_EQ(pcie_slot[0], card.pcie_slot);
        EXPECT_EQ(pcie_slot[1], 0xA5);
        I2cChipRoute route;
        fill_with_garbage(route);
        EXPECT_EQ(GetSmbusNetCardI2cInfo(index, &route), 0);
        expect_bytes(&route, sizeof(route),
                     Bytes().chip(card.bus, 0x61, 0x70, card.channel, card.name));
    }
    EXPECT_TRUE(scripted::platform().calls.empty());
}

TEST(SmbusNetCards, NothingBesideTheTable) {
    for (const int32_t index :
         {10, 11, 255, 256, 265, 65536, INT_MAX, -1, -9, -10, -256, INT_MIN}) {
        SCOPED_TRACE(index);
        uint8_t byte = 0xA5;
        EXPECT_EQ(GetSmbusNetCardSlotId(index, &byte), -1);
        EXPECT_EQ(GetSmbusNetCardPcieSlot(index, &byte), -1);
        EXPECT_EQ(byte, 0xA5);
        I2cChipRoute route;
        fill_with_garbage(route);
        const I2cChipRoute before = route;
        EXPECT_EQ(GetSmbusNetCardI2cInfo(index, &route), -1);
        EXPECT_EQ(std::memcmp(&route, &before, sizeof(route)), 0);
    }
    EXPECT_TRUE(scripted::platform().messages.empty());
}

TEST(SmbusNetCards, NullIsRefused) {
    for (const int32_t index : {0, 9, 10, -1}) {
        EXPECT_EQ(GetSmbusNetCardSlotId(index, nullptr), -1);
        EXPECT_EQ(GetSmbusNetCardPcieSlot(index, nullptr), -1);
        EXPECT_EQ(GetSmbusNetCardI2cInfo(index, nullptr), -1);
    }
    EXPECT_TRUE(scripted::platform().messages.empty());
}
