// Mainboard connectors, the risers in them, and routes behind routes.
#include <gmock/gmock.h>

#include <memory>

#include "boardfeatures/pcieid_enum.h"
#include "support/bytes.h"
#include "support/pcieid_said.h"
#include "support/scripted_platform.h"

using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr uint32_t upward = 0x12345678;
constexpr uint32_t mirrored = 0x87654321;

// ---- routes ----

TEST(TopoMerge, ParentWithoutMuxTakesTheChilds) {
    const I2cChipRoute parent = {4, 0xFF, 0x11, 0, 9, "RISER2 HWID"};
    const I2cChipRoute child = {0xFF, 0x27, 0x22, 0x00700071, 0x00010003, "SLOT3"};
    I2cChipRoute out;
    fill_with_garbage(out);
    EXPECT_EQ(i2c_topo_merge(&parent, &child, &out), 0);
    Bytes expected;
    expected.u32(4).u16(0x27).u16(0x22).u32(0x00700071).u32(0x00010003).text("SLOT3", 16);
    expect_bytes(&out, sizeof(out), expected);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(TopoMerge, OneLevelEachMakesTheParentTheOuterOne) {
    const I2cChipRoute parent = {4, 0xFF, 0, 0x70, 2, "SLOT4"};
    const I2cChipRoute child = {0xFF, 0x27, 0, 0x71, 5, "RETIMER IO"};
    I2cChipRoute out = {};
    EXPECT_EQ(i2c_topo_merge(&parent, &child, &out), 0);
    Bytes expected;
    expected.u32(4).u16(0x27).u16(0).u32(0x00700071).u32(0x00020005).text("RETIMER IO", 16);
    expect_bytes(&out, sizeof(out), expected);
}

TEST(TopoMerge, ChildWithoutMuxKeepsTheParents) {
    const I2cChipRoute parent = {13, 0xFF, 0, 0x00710077, 0x00030005, "P"};
    const I2cChipRoute child = {1, 0x20, 0, 0, 7, "C"};
    I2cChipRoute out = {};
    EXPECT_EQ(i2c_topo_merge(&parent, &child, &out), 0);
    EXPECT_EQ(out.bus, 13u);
    EXPECT_EQ(out.address, 0x20);
    EXPECT_EQ(out.switch_address, 0x00710077u);
    EXPECT_EQ(out.switch_channel, 0x00030005u);
    EXPECT_STREQ(out.name, "C");
}

TEST(TopoMerge, OneAndTwoLevelsAreTooMany) {
    const I2cChipRoute parent = {4, 0xFF, 0, 0x70, 2, "P"};
    const I2cChipRoute child = {0xFF, 0x27, 0, 0x00720071, 0x00010005, "C"};
    I2cChipRoute out;
    fill_with_garbage(out);
    const I2cChipRoute before = out;
    EXPECT_EQ(i2c_topo_merge(&parent, &child, &out), -1);
    EXPECT_EQ(std::memcmp(&out, &before, sizeof(out)), 0);
    EXPECT_THAT(said(),
                ElementsAre("warn enum_mbslot i2c_topo_merge @, i2cmux_count_of_parent = 1, "
                            "i2cmux_count_of_child = 2, total level > 2, invalid\n"));
}

TEST(TopoMerge, TwoAndOneLevelsAreTooMany) {
    const I2cChipRoute parent = {4, 0xFF, 0, 0x00720070, 2, "P"};
    const I2cChipRoute child = {0xFF, 0x27, 0, 0x71, 5, "C"};
    I2cChipRoute out = {};
    EXPECT_EQ(i2c_topo_merge(&parent, &child, &out), -1);
    EXPECT_THAT(said(),
                ElementsAre("warn enum_mbslot i2c_topo_merge @, i2cmux_count_of_parent = 2, "
                            "i2cmux_count_of_child = 1, total level > 2, invalid\n"));
}

// A mux field whose low half is zero has no level, whatever its high half says.
TEST(TopoMerge, OnlyALowHalfMakesALevel) {
    const I2cChipRoute parent = {4, 0xFF, 0, 0x00720000, 6, "P"};
    const I2cChipRoute child = {0xFF, 0x27, 0, 0x00720071, 0x00010005, "C"};
    I2cChipRoute out = {};
    EXPECT_EQ(i2c_topo_merge(&parent, &child, &out), 0);
    EXPECT_EQ(out.switch_address, 0x00720071u);
    EXPECT_EQ(out.switch_channel, 0x00010005u);
    const I2cChipRoute levelless = {0xFF, 0x27, 0, 0x00720000, 3, "C"};
    EXPECT_EQ(i2c_topo_merge(&child, &levelless, &out), 0);
    EXPECT_EQ(out.switch_address, 0x00720071u);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(TopoMerge, NameIsCutAndTerminated) {
    const I2cChipRoute parent = {4, 0xFF, 0, 0, 0, "P"};
    I2cChipRoute child = {};
    std::memcpy(child.name, "0123456789ABCDEF", 16);
    I2cChipRoute out;
    fill_with_garbage(out);
    EXPECT_EQ(i2c_topo_merge(&parent, &child, &out), 0);
    EXPECT_EQ(std::string(out.name, 16), std::string("0123456789ABCDE\0", 16));
}

TEST(TopoMerge, ResultMayBeOneOfTheTwo) {
    I2cChipRoute parent = {4, 0xFF, 0, 0x70, 2, "P"};
    const I2cChipRoute child = {0xFF, 0x27, 0, 0x71, 5, "C"};
    EXPECT_EQ(i2c_topo_merge(&parent, &child, &parent), 0);
    EXPECT_EQ(parent.switch_address, 0x00700071u);
    EXPECT_EQ(parent.bus, 4u);
    EXPECT_STREQ(parent.name, "C");
}

TEST(TopoMerge, NullIsRefused) {
    I2cChipRoute route = {};
    EXPECT_EQ(i2c_topo_merge(nullptr, &route, &route), -1);
    EXPECT_EQ(i2c_topo_merge(&route, nullptr, &route), -1);
    EXPECT_EQ(i2c_topo_merge(&route, &route, nullptr), -1);
    EXPECT_THAT(platform().messages, IsEmpty());
}

// ---- connectors ----

class MbSlots : public testing::Test {
protected:
    MbSlots() {
        EXPECT_EQ(board_get_mainboard_slot_list(&mbslots), 0);
        EXPECT_EQ(board_get_support_pcieriser_list(&risers), 0);
        fill_with_garbage(*out);
    }
    // RISER2's and RISER3's identifier chips.
    void fit_riser2(uint32_t hwid) { platform().identifier(4, 0x20, 0, 0, identifier_word(hwid)); }
    void fit_riser3(uint32_t hwid) { platform().identifier(5, 0x20, 0, 0, identifier_word(hwid)); }

    mbslot_list mbslots;
    pcieriser_list risers;
    std::unique_ptr<pcieslot_list> owner = std::make_unique<pcieslot_list>();
    pcieslot_list *out = owner.get();
};

Bytes slot_bytes(uint32_t type, const std::string &name, uint32_t virtual_slot, const Bytes &chip,
                 uint32_t cpu, uint32_t lane, uint32_t width, uint32_t tag, uint32_t number) {
    Bytes slot;
    slot.u32(type).text(name, 60).u32(virtual_slot).append(chip);
    return slot.u32(cpu).u32(lane).u32(width).u32(tag).u32(number);
}

Bytes chip(uint32_t bus, uint32_t address, uint32_t mux, uint32_t channel, const char *name) {
    return Bytes().chip(bus, address, mux, channel, name);
}

const Bytes raid_card =
    slot_bytes(1, "RAID CARD", 1, chip(11, 0xFF, 0, 0, "MEZZ HWID"), 0, 40, 8, upward, 1);
const Bytes ocp_card =
    slot_bytes(2, "OCP3.0", 200, chip(13, 0xFF, 0x77, 5, "OCP3.0 HWID"), 0, 32, 8, upward, 1);

TEST_F(MbSlots, WithoutRisersTheTwoCardSlotsRemain) {
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), 0);
    ASSERT_EQ(out->count, 2u);
    expect_bytes(&out->items[0], 120, raid_card);
    expect_bytes(&out->items[1], 120, ocp_card);
    EXPECT_THAT(platform().calls, ElementsAre("ei2c_pca9535_get_word_value 4:0x20 0xFFFF",
                                              "ei2c_pca9535_get_word_value 5:0x20 0xFFFF"));
    EXPECT_THAT(said(), ElementsAre("warn enum_mbslot mbslot_to_pcieslot_via_pcieriser @, "
                                    "hwid=7fff, ridx(6)>=riserlist->item_count(6)\n",
                                    "warn enum_mbslot mbslot_to_pcieslot_via_pcieriser @, "
                                    "hwid=7fff, ridx(6)>=riserlist->item_count(6)\n"));
}

TEST_F(MbSlots, ThreeSlotRiserInRiser2) {
    fit_riser2(0x5469);
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), 0);
    ASSERT_EQ(out->count, 5u);
    expect_bytes(&out->items[2], 120,
                 slot_bytes(3, "PCIe RISER(Slot#6)'s SubSlotOffset#0", 25,
                            chip(4, 0xFF, 0x70, 3, "SLOT3"), 0, 16, 8, upward, 3));
    expect_bytes(&out->items[3], 120,
                 slot_bytes(3, "PCIe RISER(Slot#6)'s SubSlotOffset#1", 26,
                            chip(4, 0xFF, 0x70, 2, "SLOT4"), 0, 24, 8, upward, 4));
    expect_bytes(&out->items[4], 120,
                 slot_bytes(3, "PCIe RISER(Slot#6)'s SubSlotOffset#2", 27,
                            chip(4, 0xFF, 0x70, 1, "SLOT5"), 0, 0, 16, mirrored, 5));
}

TEST_F(MbSlots, ThreeSlotRiserInRiser3KeepsTheRisersOrder) {
    fit_riser3(0x5467);
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), 0);
    ASSERT_EQ(out->count, 5u);
    expect_bytes(&out->items[2], 120,
                 slot_bytes(3, "PCIe RISER(Slot#7)'s SubSlotOffset#0", 28,
                            chip(5, 0xFF, 0x70, 1, "SLOT6"), 1, 0, 8, upward, 6));
    expect_bytes(&out->items[3], 120,
                 slot_bytes(3, "PCIe RISER(Slot#7)'s SubSlotOffset#2", 30,
                            chip(5, 0xFF, 0x70, 3, "SLOT8"), 1, 8, 8, upward, 8));
    expect_bytes(&out->items[4], 120,
                 slot_bytes(3, "PCIe RISER(Slot#7)'s SubSlotOffset#1", 29,
                            chip(5, 0xFF, 0x70, 2, "SLOT7"), 1, 16, 16, mirrored, 7));
}

TEST_F(MbSlots, AnUnknownRiserLeavesTheOtherConnectors) {
    fit_riser2(0x5470);
    fit_riser3(0x5468);
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), 0);
    ASSERT_EQ(out->count, 4u);
    EXPECT_EQ(out->items[2].slot, 6u);
    EXPECT_EQ(out->items[3].slot, 7u);
    EXPECT_THAT(said(), ElementsAre("warn enum_mbslot mbslot_to_pcieslot_via_pcieriser @, "
                                    "hwid=5470, ridx(6)>=riserlist->item_count(6)\n"));
}

TEST_F(MbSlots, TheFirstRecordOfAHardwareIdCounts) {
    fit_riser2(0x5469);
    risers.items[5] = risers.items[0];
    risers.items[5].slots[0].slot = 99;
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), 0);
    EXPECT_EQ(out->items[2].slot, 3u);
}

TEST_F(MbSlots, NumbersFollowTheBaseWithoutTheFlag) {
    fit_riser2(0x5469);
    risers.items[0].board_numbers = 0;
    for (uint32_t k = 0; k < 3; ++k) {
        risers.items[0].slots[k].slot = k + 3;
    }
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), 0);
    ASSERT_EQ(out->count, 5u);
    EXPECT_EQ(out->items[2].slot, 6u);  // base 3 and the riser's 3
    EXPECT_EQ(out->items[2].virtual_slot, 25u);
    EXPECT_EQ(out->items[4].slot, 8u);
    EXPECT_EQ(out->items[4].virtual_slot, 27u);
}

TEST_F(MbSlots, AFlagOtherThanOneIsNoFlag) {
    fit_riser2(0x5469);
    risers.items[0].board_numbers = 2;
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), 0);
    EXPECT_EQ(out->items[2].slot, 6u);
}

TEST_F(MbSlots, LanesThatDoNotFitDropTheConnector) {
    fit_riser2(0x5469);
    fit_riser3(0x5468);
    risers.items[0].slots[2].width = 8;
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), 0);
    ASSERT_EQ(out->count, 4u);
    EXPECT_EQ(out->items[2].slot, 6u);
    EXPECT_THAT(said(),
                ElementsAre("warn toolbox pciecap_convert @, totallanes_of(up) 32 "
                            "!=totallanes_of(down) 24\n",
                            "warn enum_mbslot pcieriser_to_pcieslot @, pciecap_convert()=-1\n",
                            "warn enum_mbslot pcieriser_to_pcieslot @, "
                            "<<needs add data dump later...>>\n"));
}

TEST_F(MbSlots, ARouteThatDoesNotFitDropsTheWholeConnector) {
    fit_riser2(0x5469);
    fit_riser3(0x5468);
    risers.items[0].slots[1].route.switch_address = 0x00710070;
    mbslots.items[2].hwid_device.switch_address = 0x72;
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), 0);
    ASSERT_EQ(out->count, 4u);
    EXPECT_EQ(out->items[2].slot, 6u);
    EXPECT_THAT(said(),
                ElementsAre("warn enum_mbslot i2c_topo_merge @, i2cmux_count_of_parent = 1, "
                            "i2cmux_count_of_child = 2, total level > 2, invalid\n",
                            "warn enum_mbslot pcieriser_to_pcieslot @, i2c_topo_merge()=-1\n",
                            "warn enum_mbslot pcieriser_to_pcieslot @, "
                            "<<needs add data dump later...>>\n"));
}

TEST_F(MbSlots, EmptyAndUnknownConnectorTypesAreSkipped) {
    mbslots.items[0].type = 0;
    mbslots.items[1].type = 5;
    mbslots.items[2].type = 0xFFFFFFFF;
    mbslots.items[3].type = 3;
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), 0);
    ASSERT_EQ(out->count, 1u);
    // what a riser connector calls base and port count are a slot's CPU and first lane
    expect_bytes(&out->items[0], 120,
                 slot_bytes(3, "RISER3", 7, chip(5, 0xFF, 0, 0, "RISER3 HWID"), 28, 2, 1, 0, 6));
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST_F(MbSlots, ANameWithoutEndIsCut) {
    mbslots.count = 1;
    std::memset(mbslots.items[0].name, 'N', sizeof(mbslots.items[0].name));
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), 0);
    EXPECT_EQ(std::string(out->items[0].name, 60), std::string(59, 'N') + '\0');
}

TEST_F(MbSlots, SeventeenConnectorsAreRefused) {
    mbslots.count = 17;
    const uint32_t before = out->count;
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), -1);
    EXPECT_EQ(out->count, before);
    EXPECT_THAT(said(), ElementsAre("warn enum_mbslot mbslot_enum @, "
                                    "mbslotlist->item_count(17) overflow.\n"));
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST_F(MbSlots, SixteenConnectorsOfEightSlotsFillTheListExactly) {
    pcieriser_item &riser = risers.items[0];
    riser.slot_count = 8;
    for (uint32_t k = 0; k < 8; ++k) {
        riser.slots[k] = riser.slots[0];
        riser.slots[k].width = 4;
        riser.slots[k].slot = 3 + k;
    }
    fit_riser2(0x5469);
    for (mbslot_item &item : mbslots.items) {
        item = mbslots.items[2];
    }
    mbslots.count = 16;
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), 0);
    ASSERT_EQ(out->count, 128u);
    EXPECT_EQ(out->items[127].slot, 10u);
    EXPECT_EQ(platform().calls.size(), 16u);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST_F(MbSlots, NoConnectorsGiveAnEmptyList) {
    mbslots.count = 0;
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), 0);
    EXPECT_EQ(out->count, 0u);
}

TEST_F(MbSlots, CountsBeyondARecordAreNotFollowed) {
    fit_riser2(0x5469);
    risers.items[0].slot_count = 9;
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), 0);
    EXPECT_EQ(out->count, 2u);
    risers.items[0].slot_count = 3;
    mbslots.items[2].wiring.riser.port_count = 9;
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), 0);
    EXPECT_EQ(out->count, 2u);
    risers.count = 0xFFFFFFFF;
    fit_riser2(0x5470);
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, out), 0);
    EXPECT_EQ(out->count, 2u);
}

TEST_F(MbSlots, NullIsRefusedBeforeAnyAccess) {
    EXPECT_EQ(mbslot_enum(nullptr, &risers, out), -1);
    EXPECT_EQ(mbslot_enum(&mbslots, nullptr, out), -1);
    EXPECT_EQ(mbslot_enum(&mbslots, &risers, nullptr), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
}

}  // namespace
