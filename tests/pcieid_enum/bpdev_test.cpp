// Which backplane devices are fitted, and the slots behind their uplinks.
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

mb2bpifc_item interface_of(uint32_t index, uint32_t bus, uint32_t disk_base, uint32_t riser_base) {
    mb2bpifc_item ifc = {"IFC", index, {bus, 0xFF, 0, 0, 0, "IFC"}, disk_base, riser_base};
    return ifc;
}

// A riser-type device of two uplinks and a x16 slot, each field with a value of its own.
bpdev_record record_of(uint32_t kind, uint32_t hwid) {
    bpdev_record record = {};
    record.kind = kind;
    record.hwid = hwid;
    record.hwid_device = {0xFF, 0x20, 1, 0, 0, "MODEL"};
    record.second_device = {0xFF, 0x21, 2, 0x73, 4, "SECOND"};
    record.gid = 6;
    record.uplink_count = 2;
    record.uplinks[0] = {8, {0xFF, 0x27, 0, 0x70, 0, "UP A"}, 2, {3, 2}};
    record.uplinks[1] = {16, {0xFF, 0x26, 0, 0x71, 1, "UP B"}, 1, {1}};
    record.downslot_count = 4;
    for (uint32_t d = 0; d < 4; ++d) {
        record.downslots[d] = {10 + d, 4, mirrored, 1, {d % 2}};
    }
    return record;
}

Bytes device_bytes(uint32_t kind, uint32_t hwid, uint32_t bus, uint32_t base) {
    Bytes device;
    device.u32(kind).u32(hwid);
    device.u32(bus).u16(0x20).u16(1).u32(0).u32(0).text("MODEL", 16);
    device.u32(bus).u16(0x21).u16(2).u32(0x73).u32(4).text("SECOND", 16);
    device.u32(6).u32(base).u32(2);
    device.u32(8).chip(bus, 0x27, 0x70, 0, "UP A").u32(2).u32(3).u32(2).until(84 + 172);
    device.u32(16).chip(bus, 0x26, 0x71, 1, "UP B").u32(1).u32(1).until(84 + 16 * 172);
    device.u32(4);
    for (uint32_t d = 0; d < 4; ++d) {
        device.u32(10 + d).u32(4).u32(mirrored).u32(1).u32(d % 2).zeros(12);
    }
    return device.until(3864);
}

// ---- merging ----

TEST(MergeDevice, ARiserTypeDeviceTakesTheRiserBase) {
    const mb2bpifc_item ifc = interface_of(5, 3, 50, 1);
    const bpdev_record record = record_of(6, 0x5460);
    bpdev_item device = {};
    EXPECT_EQ(merge_bpdev_with_mb2bpifc(&ifc, &record, &device), 0);
    expect_bytes(&device, sizeof(device), device_bytes(6, 0x5460, 3, 1));
    EXPECT_THAT(platform().messages, IsEmpty());
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST(MergeDevice, ADiskBackplaneTakesTheDiskBase) {
    const mb2bpifc_item ifc = interface_of(5, 3, 50, 1);
    const bpdev_record record = record_of(5, 0x5464);
    bpdev_item device = {};
    EXPECT_EQ(merge_bpdev_with_mb2bpifc(&ifc, &record, &device), 0);
    expect_bytes(&device, sizeof(device), device_bytes(5, 0x5464, 3, 50));
}

TEST(MergeDevice, WhatWasBoundIsForgotten) {
    const mb2bpifc_item ifc = interface_of(5, 3, 50, 1);
    const bpdev_record record = record_of(5, 0x5464);
    bpdev_item device = {};
    fill_with_garbage(device.uplinks[1].source);
    EXPECT_EQ(merge_bpdev_with_mb2bpifc(&ifc, &record, &device), 0);
    expect_bytes(&device, sizeof(device), device_bytes(5, 0x5464, 3, 50));
}

// Any of the routes that does not fit is the result.
TEST(MergeDevice, EveryRouteIsMerged) {
    mb2bpifc_item ifc = interface_of(5, 3, 50, 1);
    ifc.route.switch_address = 0x77;
    for (int which = 0; which < 4; ++which) {
        SCOPED_TRACE(which);
        platform().clear_record();
        bpdev_record record = record_of(6, 0x5460);
        I2cChipRoute *routes[] = {&record.hwid_device, &record.second_device, &record.uplinks[0].io,
                                  &record.uplinks[1].io};
        routes[which]->switch_address = 0x00710070;
        bpdev_item device = {};
        EXPECT_EQ(merge_bpdev_with_mb2bpifc(&ifc, &record, &device), -1);
        EXPECT_THAT(said(),
                    ElementsAre("warn enum_mbslot i2c_topo_merge @, i2cmux_count_of_parent = 1, "
                                "i2cmux_count_of_child = 2, total level > 2, invalid\n",
                                "warn enum_bpdev merge_bpdev_with_mb2bpifc @, "
                                "i2c_topo_merge()=-1\n"));
    }
}

TEST(MergeDevice, ACountBeyondTheRecordIsKeptButNotFollowed) {
    const mb2bpifc_item ifc = interface_of(5, 3, 50, 1);
    bpdev_record record = record_of(5, 0x5464);
    record.uplink_count = 17;
    record.downslot_count = 33;
    bpdev_item device = {};
    EXPECT_EQ(merge_bpdev_with_mb2bpifc(&ifc, &record, &device), 0);
    EXPECT_EQ(device.uplink_count, 17u);
    EXPECT_EQ(device.downslot_count, 33u);
}

TEST(MergeDevice, NullIsRefused) {
    const mb2bpifc_item ifc = {};
    const bpdev_record record = {};
    bpdev_item device;
    EXPECT_EQ(merge_bpdev_with_mb2bpifc(nullptr, &record, &device), -1);
    EXPECT_EQ(merge_bpdev_with_mb2bpifc(&ifc, nullptr, &device), -1);
    EXPECT_EQ(merge_bpdev_with_mb2bpifc(&ifc, &record, nullptr), -1);
}

// ---- enumeration ----

class BpDevices : public testing::Test {
protected:
    BpDevices() {
        fill_with_garbage(*out);
        ifcs.count = 2;
        ifcs.items[0] = interface_of(9, 7, 0, 0);
        ifcs.items[1] = interface_of(5, 3, 50, 1);
        records->count = 2;
        records->items[0] = record_of(5, 0x5464);
        records->items[1] = record_of(6, 0x5460);
    }
    static void fit(uint32_t bus, uint32_t hwid) {
        platform().identifier(bus, 0x20, 0, 0, identifier_word(hwid));
    }

    mb2bpifc_list ifcs = {};
    std::unique_ptr<bpdev_record_list> records = std::make_unique<bpdev_record_list>();
    std::unique_ptr<bpdev_list> out = std::make_unique<bpdev_list>();
};

TEST_F(BpDevices, InTheOrderOfTheInterfaces) {
    fit(7, 0x5460);
    fit(3, 0x5464);
    EXPECT_EQ(bpdev_enum(&ifcs, records.get(), out.get()), 0);
    ASSERT_EQ(out->count, 2u);
    expect_bytes(&out->items[0], 3864, device_bytes(6, 0x5460, 7, 0));
    expect_bytes(&out->items[1], 3864, device_bytes(5, 0x5464, 3, 50));
    EXPECT_THAT(platform().calls, ElementsAre("ei2c_pca9535_get_word_value 7:0x20 0xFFFF",
                                              "ei2c_pca9535_get_word_value 3:0x20 0xFFFF"));
    EXPECT_THAT(said(), ElementsAre("info enum_bpdev bpdev_enum @, HWID(slot9) is 5460(H)\n",
                                    "warn enum_bpdev bpdev_enum @, Found Backplane Device @ "
                                    "vSlot9, HWID is 5460(H)\n",
                                    "info enum_bpdev bpdev_enum @, HWID(slot5) is 5464(H)\n",
                                    "warn enum_bpdev bpdev_enum @, Found Backplane Device @ "
                                    "vSlot5, HWID is 5464(H)\n"));
}

TEST_F(BpDevices, AnUnknownOrMissingDeviceIsNoError) {
    fit(3, 0x5470);
    EXPECT_EQ(bpdev_enum(&ifcs, records.get(), out.get()), 0);
    EXPECT_EQ(out->count, 0u);
    EXPECT_THAT(said(), ElementsAre("info enum_bpdev bpdev_enum @, HWID(slot9) is 7fff(H)\n",
                                    "info enum_bpdev bpdev_enum @, HWID(slot5) is 5470(H)\n"));
}

TEST_F(BpDevices, ARecordThatDoesNotMergeGivesWayToTheNextOfItsId) {
    fit(3, 0x5464);
    ifcs.items[1].route.switch_address = 0x77;
    records->items[0].uplinks[1].io.switch_address = 0x00710070;
    records->items[1] = record_of(6, 0x5464);
    records->items[1].second_device.switch_address = 0;
    EXPECT_EQ(bpdev_enum(&ifcs, records.get(), out.get()), 0);
    ASSERT_EQ(out->count, 1u);
    EXPECT_EQ(out->items[0].kind, 6u);
    EXPECT_EQ(out->items[0].slot_base, 1u);
    const auto all = said();
    ASSERT_EQ(all.size(), 5u);
    EXPECT_EQ(all[3], "warn enum_bpdev merge_bpdev_with_mb2bpifc @, i2c_topo_merge()=-1\n");
    EXPECT_EQ(all[4],
              "warn enum_bpdev bpdev_enum @, Found Backplane Device @ vSlot5, HWID is "
              "5464(H)\n");
}

TEST_F(BpDevices, OnlyTheFirstRecordThatMergesIsListed) {
    fit(3, 0x5464);
    records->items[1] = record_of(6, 0x5464);
    EXPECT_EQ(bpdev_enum(&ifcs, records.get(), out.get()), 0);
    ASSERT_EQ(out->count, 1u);
    EXPECT_EQ(out->items[0].kind, 5u);
}

TEST_F(BpDevices, NoRecordThatMergesYieldsNothing) {
    fit(3, 0x5464);
    fit(7, 0x5460);
    ifcs.items[0].route.switch_address = 0x00710070;
    EXPECT_EQ(bpdev_enum(&ifcs, records.get(), out.get()), 0);
    ASSERT_EQ(out->count, 1u);
    expect_bytes(&out->items[0], 3864, device_bytes(5, 0x5464, 3, 50));
}

TEST_F(BpDevices, SixteenInterfacesOfOneDeviceEach) {
    fit(3, 0x5464);
    ifcs.count = 16;
    for (mb2bpifc_item &ifc : ifcs.items) {
        ifc = ifcs.items[1];
    }
    EXPECT_EQ(bpdev_enum(&ifcs, records.get(), out.get()), 0);
    EXPECT_EQ(out->count, 16u);
    EXPECT_EQ(platform().calls.size(), 16u);
}

TEST_F(BpDevices, SeventeenInterfacesAreRefused) {
    ifcs.count = 17;
    const uint32_t before = out->count;
    EXPECT_EQ(bpdev_enum(&ifcs, records.get(), out.get()), -1);
    EXPECT_EQ(out->count, before);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(said(), ElementsAre("warn enum_bpdev bpdev_enum @, mb2bpifclist->item_count=17, "
                                    "overflow.\n"));
}

TEST_F(BpDevices, NoInterfacesGiveAnEmptyList) {
    ifcs.count = 0;
    EXPECT_EQ(bpdev_enum(&ifcs, records.get(), out.get()), 0);
    EXPECT_EQ(out->count, 0u);
}

TEST_F(BpDevices, ACountBeyondTheRecordsIsNotFollowed) {
    fit(3, 0x5464);
    records->items[0].hwid = 1;
    records->count = 0xFFFFFFFF;
    EXPECT_EQ(bpdev_enum(&ifcs, records.get(), out.get()), 0);
    EXPECT_EQ(out->count, 0u);
}

TEST_F(BpDevices, NullIsRefusedBeforeAnyAccess) {
    EXPECT_EQ(bpdev_enum(nullptr, records.get(), out.get()), -1);
    EXPECT_EQ(bpdev_enum(&ifcs, nullptr, out.get()), -1);
    EXPECT_EQ(bpdev_enum(&ifcs, records.get(), nullptr), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
}

// ---- slot identity ----

class Identity : public testing::Test {
protected:
    Identity() { fill_with_garbage(*cfg); }
    // An uplink on a socket of 8 lanes.
    void source(uint32_t uplink, uint32_t cpu, uint32_t lane, uint32_t vpp, uint32_t tag = upward) {
        slimline_item &item = device.uplinks[uplink].source;
        item = {"SOCKET", cpu, lane, 8, tag, {}, vpp};
    }
    void disks(uint32_t uplinks) {
        device.kind = 5;
        device.hwid = 0x5459;
        device.slot_base = 4;
        device.uplink_count = uplinks;
        device.downslot_count = 2 * uplinks;
        for (uint32_t d = 0; d < 2 * uplinks; ++d) {
            device.downslots[d] = {d, 4, upward, 1, {d / 2}};
        }
        for (uint32_t u = 0; u < uplinks; ++u) {
            device.uplinks[u].slot_count = 2;
            device.uplinks[u].slots[0] = 2 * u;
            device.uplinks[u].slots[1] = 2 * u + 1;
        }
    }
    void riser_slot() {
        device.kind = 6;
        device.hwid = 0x5460;
        device.slot_base = 6;
        device.uplink_count = 2;
        device.downslot_count = 1;
        device.downslots[0] = {0, 16, upward, 2, {0, 1}};
        for (uint32_t u = 0; u < 2; ++u) {
            device.uplinks[u].slot_count = 1;
            device.uplinks[u].slots[0] = 0;
        }
    }
    int32_t run() { return bpdev_slot_identity(&device, cfg.get()); }
    void expect_refused() {
        const uint32_t before = cfg->count;
        platform().clear_record();
        EXPECT_EQ(run(), -1);
        EXPECT_EQ(cfg->count, before);
        EXPECT_THAT(said(), ElementsAre("warn identity_bpdev bpdev_slot_identity @, backplane "
                                        "device para check failed.\n"));
    }

    bpdev_item device = {};
    std::unique_ptr<pciecfg_list> cfg = std::make_unique<pciecfg_list>();
};

Bytes item_bytes(uint32_t type, uint32_t number, const std::string &name, uint32_t cpu,
                 uint32_t lane, uint32_t width, uint32_t tag, uint32_t vpp, uint32_t port) {
    Bytes item;
    item.u32(type).u8(number).text(name, 56).zeros(3).u32(cpu).u32(lane).u32(width).u32(tag);
    return item.u16(vpp).u8(port).zeros(1);
}

TEST_F(Identity, DisksOfTwoUplinks) {
    disks(2);
    source(0, 0, 48, 0x26);
    source(1, 1, 56, 0x27, mirrored);
    EXPECT_EQ(run(), 0);
    ASSERT_EQ(cfg->count, 4u);
    expect_bytes(&cfg->items[0], 84, item_bytes(3, 4, "HDD SLOT 4", 0, 48, 4, upward, 0x26, 0));
    expect_bytes(&cfg->items[1], 84, item_bytes(3, 5, "HDD SLOT 5", 0, 52, 4, upward, 0x26, 1));
    expect_bytes(&cfg->items[2], 84, item_bytes(3, 6, "HDD SLOT 6", 1, 60, 4, mirrored, 0x27, 0));
    expect_bytes(&cfg->items[3], 84, item_bytes(3, 7, "HDD SLOT 7", 1, 56, 4, mirrored, 0x27, 1));
    EXPECT_THAT(said(), ElementsAre("warn identity_bpdev hddbp_nvmeslot_identity @, HDD SLOT 4 | "
                                    "CPU-0,LANE-48,WIDTH-4,SEQ-O | VPP-26,IO-0\n",
                                    "warn identity_bpdev hddbp_nvmeslot_identity @, HDD SLOT 5 | "
                                    "CPU-0,LANE-52,WIDTH-4,SEQ-O | VPP-26,IO-1\n",
                                    "warn identity_bpdev hddbp_nvmeslot_identity @, HDD SLOT 6 | "
                                    "CPU-1,LANE-60,WIDTH-4,SEQ-R | VPP-27,IO-0\n",
                                    "warn identity_bpdev hddbp_nvmeslot_identity @, HDD SLOT 7 | "
                                    "CPU-1,LANE-56,WIDTH-4,SEQ-R | VPP-27,IO-1\n"));
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST_F(Identity, WithTheGidFlagOffsetsAreNumbers) {
    disks(1);
    source(0, 0, 48, 0x26);
    device.gid = 2;
    device.downslots[0].offset = 17;
    EXPECT_EQ(run(), 0);
    ASSERT_EQ(cfg->count, 2u);
    EXPECT_EQ(cfg->items[0].number, 17);
    EXPECT_STREQ(cfg->items[0].name, "HDD SLOT 17");
    EXPECT_EQ(cfg->items[1].number, 1);
}

TEST_F(Identity, AnUnboundUplinkLosesOnlyItsDisks) {
    disks(2);
    source(0, 8, 240, 0);
    source(1, 1, 48, 0x26);
    EXPECT_EQ(run(), 0);
    ASSERT_EQ(cfg->count, 2u);
    EXPECT_STREQ(cfg->items[0].name, "HDD SLOT 6");
    const auto all = said();
    ASSERT_EQ(all.size(), 5u);
    EXPECT_EQ(all[0],
              "warn toolbox link_buildup [@],slimline lane check failed! X8 not exist or in "
              "wrong slot.\n");
    EXPECT_EQ(all[1], "warn toolbox pciecap_convert @, link_buildup=-1\n");
    EXPECT_EQ(all[2],
              "warn identity_bpdev hddbp_nvmeslot_identity @, pciecap_convert(hwid=5459, "
              "up=1, down=2)=-1\n");
}

TEST_F(Identity, AnUplinkThatFeedsNothingIsLogged) {
    disks(1);
    source(0, 0, 48, 0x26);
    device.uplink_count = 2;
    source(1, 0, 56, 0x27);
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(cfg->count, 2u);
    EXPECT_EQ(said().back(),
              "warn identity_bpdev hddbp_nvmeslot_identity @, "
              "pciecap_convert(hwid=5459, up=1, down=0)=-1\n");
}

TEST_F(Identity, ARiserSlotTakesTheLanesOfItsUplinks) {
    riser_slot();
    source(0, 1, 48, 0x26);
    source(1, 1, 56, 0x27);
    EXPECT_EQ(run(), 0);
    ASSERT_EQ(cfg->count, 1u);
    expect_bytes(&cfg->items[0], 84, item_bytes(0, 6, "PCIe SLOT 6", 1, 48, 16, upward, 0, 0));
    EXPECT_THAT(said(), ElementsAre("warn identity_bpdev pciebp_pcieslot_identity @, PCIe SLOT 6 | "
                                    "CPU-1,LANE-48,WIDTH-16,SEQ-O | VPP-00,IO-0\n"));
}

TEST_F(Identity, TheUplinksCountInTheSlotsOrder) {
    riser_slot();
    device.downslots[0].uplinks[0] = 1;
    device.downslots[0].uplinks[1] = 0;
    source(0, 1, 40, 0x26);
    source(1, 1, 32, 0x27);
    EXPECT_EQ(run(), 0);
    ASSERT_EQ(cfg->count, 1u);
    EXPECT_EQ(cfg->items[0].x1_start, 32u);
}

TEST_F(Identity, WithoutItsSecondHalfARiserSlotNarrows) {
    riser_slot();
    source(0, 1, 48, 0x26);
    source(1, 8, 240, 0);
    EXPECT_EQ(run(), 0);
    ASSERT_EQ(cfg->count, 1u);
    expect_bytes(&cfg->items[0], 84, item_bytes(0, 6, "PCIe SLOT 6", 1, 48, 8, upward, 0, 0));
    EXPECT_EQ(said().front(), "info toolbox link_buildup [@], X16 has changed to X8\n ");
}

TEST_F(Identity, ARiserSlotOfTwoCpusIsLeftOut) {
    riser_slot();
    source(0, 0, 48, 0x26);
    source(1, 1, 56, 0x27);
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(cfg->count, 0u);
    EXPECT_EQ(said().back(),
              "warn identity_bpdev pciebp_pcieslot_identity @, "
              "pciecap_convert(hwid=5460, up=2, down=1)=-2\n");
}

TEST_F(Identity, AnInvalidSequenceReadsAsMirrored) {
    riser_slot();
    device.downslots[0].sequence = 5;
    source(0, 1, 48, 0x26);
    source(1, 1, 56, 0x27);
    EXPECT_EQ(run(), 0);
    ASSERT_EQ(cfg->count, 1u);
    EXPECT_EQ(cfg->items[0].reserved, 0xFFFFFFFFu);
    EXPECT_EQ(said().back(),
              "warn identity_bpdev pciebp_pcieslot_identity @, PCIe SLOT 6 | "
              "CPU-1,LANE-48,WIDTH-16,SEQ-R | VPP-00,IO-0\n");
}

TEST_F(Identity, NoDownSlotsGiveAnEmptyList) {
    device.kind = 6;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(cfg->count, 0u);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST_F(Identity, AnUnknownKindIsRefused) {
    device.kind = 7;
    const uint32_t before = cfg->count;
    EXPECT_EQ(run(), -1);
    EXPECT_EQ(cfg->count, before);
    EXPECT_THAT(said(), ElementsAre("warn identity_bpdev bpdev_slot_identity @, unknown bpdev "
                                    "type(7)\n"));
}

TEST_F(Identity, CountsAreChecked) {
    disks(2);
    device.downslot_count = 33;
    expect_refused();
    disks(2);
    device.uplink_count = 17;
    expect_refused();
    disks(2);
    device.uplinks[1].slot_count = 5;
    expect_refused();
    disks(2);
    device.downslots[3].uplink_count = 5;
    expect_refused();
}

TEST_F(Identity, EveryIndexIsChecked) {
    disks(2);
    device.downslots[3].uplinks[0] = 2;
    expect_refused();
    disks(2);
    device.uplinks[1].slots[1] = 4;
    expect_refused();
}

TEST_F(Identity, TheCheckComesBeforeTheKind) {
    disks(2);
    device.kind = 9;
    device.downslot_count = 33;
    expect_refused();
}

TEST_F(Identity, AllLimitsAreLegal) {
    disks(16);
    for (uint32_t u = 0; u < 16; ++u) {
        source(u, u / 8, (u % 8) * 8, 0x20);
    }
    EXPECT_EQ(run(), 0);
    ASSERT_EQ(cfg->count, 32u);
    EXPECT_STREQ(cfg->items[31].name, "HDD SLOT 35");
    EXPECT_EQ(cfg->items[31].cpu, 1u);
    EXPECT_EQ(cfg->items[31].x1_start, 60u);
}

TEST_F(Identity, NullIsRefused) {
    EXPECT_EQ(bpdev_slot_identity(nullptr, cfg.get()), -1);
    EXPECT_EQ(bpdev_slot_identity(&device, nullptr), -1);
    EXPECT_THAT(platform().messages, IsEmpty());
}

}  // namespace
