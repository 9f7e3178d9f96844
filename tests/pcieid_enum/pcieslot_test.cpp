// Which slots are configuration items and which hold a retimer card.
#include <gmock/gmock.h>

#include <memory>

#include "boardfeatures/pcieid_enum.h"
#include "support/bytes.h"
#include "support/pcieid_said.h"
#include "support/scripted_platform.h"

using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr uint32_t upward = 0x12345678;
constexpr uint32_t mirrored = 0x87654321;

class PcieSlots : public testing::Test {
protected:
    PcieSlots() {
        EXPECT_EQ(board_get_support_retimer_list(&retimers), 0);
        EXPECT_EQ(board_get_mainboard_noslimline_vpp_list(&vpps), 0);
        fill_with_garbage(*cfg);
        fill_with_garbage(slimlines);
    }
    pcieslot_item &add(uint32_t type, const char *name, uint32_t virtual_slot, uint32_t slot,
                       uint32_t lane, uint32_t width, uint32_t tag) {
        pcieslot_item &item = slots->items[slots->count++];
        item = {type, {}, virtual_slot, {4, 0xFF, 0, 0x70, 1, "SLOT5"}, 0, lane, width, tag, slot};
        std::strncpy(item.name, name, sizeof(item.name) - 1);
        return item;
    }
    // The retimer's slot: SLOT5 of a riser in RISER2, whose identifier is at index 27.
    pcieslot_item &add_retimer() {
        platform().identifier(4, 0x22, 0x70, 1, identifier_word(0x546C));
        return add(3, "PCIe RISER(Slot#6)'s SubSlotOffset#2", 27, 5, 0, 16, mirrored);
    }
    int32_t run() { return pcieslot_enum(slots.get(), &retimers, &vpps, &slimlines, cfg.get()); }

    std::unique_ptr<pcieslot_list> slots = std::make_unique<pcieslot_list>();
    std::unique_ptr<pciecfg_list> cfg = std::make_unique<pciecfg_list>();
    slimline_list slimlines;
    retimer_list retimers;
    noslimline_vpp_list vpps;
};

Bytes item_bytes(uint32_t type, uint32_t number, const std::string &name, uint32_t cpu,
                 uint32_t lane, uint32_t width) {
    Bytes item;
    item.u32(type).u8(number).text(name, 56).zeros(3).u32(cpu).u32(lane).u32(width);
    return item.zeros(8);  // reserved, VPP address and port, padding
}

TEST_F(PcieSlots, EachTypeHasItsItem) {
    add(1, "RAID CARD", 1, 1, 40, 8, upward);
    add(2, "OCP3.0", 200, 1, 32, 8, upward);
    add(3, "PCIe RISER(Slot#6)'s SubSlotOffset#0", 25, 3, 16, 8, upward).cpu = 1;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(slimlines.count, 0u);
    ASSERT_EQ(cfg->count, 3u);
    expect_bytes(&cfg->items[0], 84, item_bytes(7, 1, "MEZZ SLOT 1", 0, 40, 8));
    expect_bytes(&cfg->items[1], 84, item_bytes(2, 1, "OCP SLOT 1", 0, 32, 8));
    expect_bytes(&cfg->items[2], 84, item_bytes(0, 3, "PCIe SLOT 3", 1, 16, 8));
    // only a PCIe slot's card is asked
    EXPECT_THAT(platform().calls, ElementsAre("ei2c_pca9535_get_word_value 4:0x70.3:0x22 0xFFFF"));
    EXPECT_THAT(said(),
                ElementsAre("info enum_mbslot pcieslot_enum @, Found PCIe SLOT @ RAID CARD(vSlot "
                            "1).\n",
                            "info enum_mbslot pcieslot_enum @, Found PCIe SLOT @ OCP3.0(vSlot "
                            "200).\n",
                            "info enum_mbslot pcieslot_enum @, Found PCIe SLOT @ PCIe "
                            "RISER(Slot#6)'s SubSlotOffset#0(vSlot 25).\n"));
}

TEST_F(PcieSlots, ARetimerBecomesTwoSockets) {
    add_retimer();
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(cfg->count, 0u);
    ASSERT_EQ(slimlines.count, 2u);
    // The slot's lanes arrive mirrored, so the first port has the upper half: 15 down to 8.
    Bytes first;
    first.text("Retimer's SLIMLINE 0 @ PCIeSlot 5", 64).u32(0).u32(8).u32(8).u32(mirrored);
    first.chip(4, 0x27, 0x00700071, 0x00010000, "RETIMER IO").u32(0x21);
    expect_bytes(&slimlines.items[0], 116, first);
    Bytes second;
    second.text("Retimer's SLIMLINE 1 @ PCIeSlot 5", 64).u32(0).u32(0).u32(8).u32(mirrored);
    second.chip(4, 0x27, 0x00700071, 0x00010001, "RETIMER IO").u32(0x20);
    expect_bytes(&slimlines.items[1], 116, second);
    EXPECT_THAT(platform().calls, SizeIs(1));
    const std::string socket =
        "info enum_mbslot retimer_to_slimline @, Found Retimer's SLIMLINE @ PCIe RISER(Slot#6)'s "
        "SubSlotOffset#2(vSlot 27).\n";
    EXPECT_THAT(said(), ElementsAre("info enum_mbslot pcieslot_enum @, Found Retimer @ PCIe "
                                    "RISER(Slot#6)'s SubSlotOffset#2(vSlot 27), HWID is 546c(H).\n",
                                    socket, socket));
}

TEST_F(PcieSlots, OnlyAPcieSlotCanHoldARetimer) {
    add_retimer().type = 2;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(cfg->count, 1u);
    EXPECT_EQ(slimlines.count, 0u);
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST_F(PcieSlots, TheLastVppPortWithTheLanesCounts) {
    add_retimer();
    vpps.items[vpps.count] = vpps.items[0];
    vpps.items[vpps.count++].vpp_address = 0x3E;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(slimlines.items[1].vpp_address, 0x3Eu);
    EXPECT_EQ(slimlines.items[0].vpp_address, 0x21u);
}

TEST_F(PcieSlots, WithoutAVppPortTheAddressIsZero) {
    add_retimer().cpu = 3;
    EXPECT_EQ(run(), 0);
    ASSERT_EQ(slimlines.count, 2u);
    EXPECT_EQ(slimlines.items[0].vpp_address, 0u);
    EXPECT_EQ(slimlines.items[1].vpp_address, 0u);
}

TEST_F(PcieSlots, ARetimerInANarrowSlotDisappearsFromBothLists) {
    add_retimer().width = 8;
    add(1, "RAID CARD", 1, 1, 40, 8, upward);
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(slimlines.count, 0u);
    EXPECT_EQ(cfg->count, 1u);
    EXPECT_THAT(said(),
                ElementsAre("info enum_mbslot pcieslot_enum @, Found Retimer @ PCIe "
                            "RISER(Slot#6)'s SubSlotOffset#2(vSlot 27), HWID is 546c(H).\n",
                            "warn toolbox pciecap_convert @, totallanes_of(up) 8 "
                            "!=totallanes_of(down) 16\n",
                            "warn enum_mbslot retimer_to_slimline @, pciecap_convert()=-1\n",
                            "warn enum_mbslot retimer_to_slimline @, "
                            "<<needs add data dump later...>>\n",
                            "info enum_mbslot pcieslot_enum @, Found PCIe SLOT @ RAID CARD(vSlot "
                            "1).\n"));
}

TEST_F(PcieSlots, ARouteThatDoesNotFitAbandonsTheSlot) {
    add_retimer().hwid_device.switch_address = 0x00710070;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(slimlines.count, 0u);
    EXPECT_EQ(cfg->count, 0u);
    EXPECT_THAT(said(),
                ElementsAre("info enum_mbslot pcieslot_enum @, Found Retimer @ PCIe "
                            "RISER(Slot#6)'s SubSlotOffset#2(vSlot 27), HWID is 546c(H).\n",
                            "warn enum_mbslot i2c_topo_merge @, i2cmux_count_of_parent = 2, "
                            "i2cmux_count_of_child = 1, total level > 2, invalid\n",
                            "warn enum_mbslot retimer_to_slimline @, i2c_topo_merge()=-1\n",
                            "warn enum_mbslot retimer_to_slimline @, "
                            "<<needs add data dump later...>>\n"));
}

// The second port's route fails after the first has worked out: neither is listed.
TEST_F(PcieSlots, OnePortsFailureAbandonsAllPorts) {
    add_retimer();
    retimers.items[0].ports[1].io.switch_address = 0x00710070;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(slimlines.count, 0u);
}

TEST_F(PcieSlots, SocketsBeyondTheListAreLoggedAndDropped) {
    for (int i = 0; i < 9; ++i) {
        add_retimer();
    }
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(slimlines.count, 16u);
    EXPECT_EQ(said().back(),
              "warn enum_mbslot retimer_to_slimline @, slimlinelist->item_count(16) overflow.\n");
}

TEST_F(PcieSlots, AHundredAndTwentyEightSlotsFillTheList) {
    for (int i = 0; i < 128; ++i) {
        add(1, "M", 1, static_cast<uint32_t>(i), 0, 8, upward);
    }
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(cfg->count, 128u);
    EXPECT_STREQ(cfg->items[127].name, "MEZZ SLOT 127");
}

TEST_F(PcieSlots, SlotsBeyondTheListAreLoggedAndDropped) {
    add(1, "M", 1, 1, 0, 8, upward);
    slots->count = 129;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(cfg->count, 128u);
    EXPECT_EQ(said().front(),
              "warn enum_mbslot pcieslot_enum @, pcieslotlist->item_count(129) overflow.\n");
}

TEST_F(PcieSlots, NumbersAreStoredInAByteAndNamedInFull) {
    add(3, "S", 200, 259, 0, 8, upward);
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(cfg->items[0].number, 3);
    EXPECT_STREQ(cfg->items[0].name, "PCIe SLOT 259");
}

TEST_F(PcieSlots, NoSlotsEmptyBothLists) {
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(cfg->count, 0u);
    EXPECT_EQ(slimlines.count, 0u);
}

TEST_F(PcieSlots, CountsBeyondARecordAreNotFollowed) {
    add_retimer();
    retimers.items[0].port_count = 5;
    vpps.count = 0xFFFFFFFF;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(slimlines.count, 0u);
    retimers.items[0].port_count = 2;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(slimlines.count, 2u);
    retimers.items[0].hwid = 1;
    retimers.count = 0xFFFFFFFF;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(cfg->count, 1u);
}

TEST_F(PcieSlots, NullIsRefusedBeforeAnyAccess) {
    add_retimer();
    EXPECT_EQ(pcieslot_enum(nullptr, &retimers, &vpps, &slimlines, cfg.get()), -1);
    EXPECT_EQ(pcieslot_enum(slots.get(), nullptr, &vpps, &slimlines, cfg.get()), -1);
    EXPECT_EQ(pcieslot_enum(slots.get(), &retimers, nullptr, &slimlines, cfg.get()), -1);
    EXPECT_EQ(pcieslot_enum(slots.get(), &retimers, &vpps, nullptr, cfg.get()), -1);
    EXPECT_EQ(pcieslot_enum(slots.get(), &retimers, &vpps, &slimlines, nullptr), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
}

}  // namespace
