// The board's PCIe tables against a second transcription, whole records, every byte.
#include <gmock/gmock.h>

#include <memory>

#include "boardfeatures/pcieid_enum.h"
#include "support/bytes.h"
#include "support/scripted_platform.h"

using scripted::platform;
using testing::IsEmpty;

namespace {

constexpr uint32_t upward = 0x12345678;
constexpr uint32_t mirrored = 0x87654321;

TEST(MainboardSlots, EveryByte) {
    Bytes expected;
    expected.u32(4);
    // RAID card
    expected.u32(1).text("RAID CARD", 60).u32(1).chip(11, 0xFF, 0, 0, "MEZZ HWID").u32(1);
    expected.u32(0).u32(40).u32(8).u32(upward).until(4 + 240);
    // OCP card
    expected.u32(2).text("OCP3.0", 60).u32(200).chip(13, 0xFF, 0x77, 5, "OCP3.0 HWID").u32(1);
    expected.u32(0).u32(32).u32(8).u32(upward).until(4 + 2 * 240);
    // riser 2 on CPU 0
    expected.u32(4).text("RISER2", 60).u32(6).chip(4, 0xFF, 0, 0, "RISER2 HWID").u32(3);
    expected.u32(25).u32(2);
    expected.u32(0).u32(16).u32(16).u32(upward);
    expected.u32(0).u32(0).u32(16).u32(mirrored).until(4 + 3 * 240);
    // riser 3 on CPU 1
    expected.u32(4).text("RISER3", 60).u32(7).chip(5, 0xFF, 0, 0, "RISER3 HWID").u32(6);
    expected.u32(28).u32(2);
    expected.u32(1).u32(0).u32(16).u32(upward);
    expected.u32(1).u32(16).u32(16).u32(mirrored).until(3844);

    mbslot_list list;
    fill_with_garbage(list);
    EXPECT_EQ(board_get_mainboard_slot_list(&list), 0);
    expect_bytes(&list, sizeof(list), expected);
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST(MainboardSlimlines, EveryByte) {
    struct Row {
        const char *name;
        uint32_t cpu, lane, channel, vpp;
    };
    const Row rows[] = {
        {"CPU1 SLIMLINE A", 0, 48, 0, 0x26}, {"CPU1 SLIMLINE B", 0, 56, 1, 0x27},
        {"CPU2 SLIMLINE C", 1, 48, 2, 0x26}, {"CPU2 SLIMLINE D", 1, 56, 3, 0x27},
        {"CPU2 SLIMLINE E", 1, 32, 4, 0x22}, {"CPU2 SLIMLINE F", 1, 40, 5, 0x23},
    };
    Bytes expected;
    expected.u32(6);
    for (const Row &row : rows) {
        expected.text(row.name, 64).u32(row.cpu).u32(row.lane).u32(8).u32(upward);
        expected.chip(12, 0x27, 0x70, row.channel, "SLIMLINE IO").u32(row.vpp);
    }
    expected.until(1860);

    slimline_list list;
    fill_with_garbage(list);
    EXPECT_EQ(board_get_mainboard_slimline_list(&list), 0);
    expect_bytes(&list, sizeof(list), expected);
}

TEST(MainboardVppWithoutSlimline, EveryByte) {
    struct Row {
        const char *name;
        uint32_t cpu, lane, vpp;
    };
    const Row rows[] = {
        {"CPU1 PE0AB", 0, 0, 0x20},  {"CPU1 PE0CD", 0, 8, 0x21},  {"CPU1 PE1AB", 0, 16, 0x22},
        {"CPU1 PE1CD", 0, 24, 0x23}, {"CPU2 PE0AB", 1, 0, 0x24},  {"CPU2 PE0CD", 1, 8, 0x25},
        {"CPU2 PE1AB", 1, 16, 0x20}, {"CPU2 PE1CD", 1, 24, 0x21},
    };
    Bytes expected;
    expected.u32(8);
    for (const Row &row : rows) {
        expected.text(row.name, 64).u32(row.cpu).u32(row.lane).u32(8).u32(upward).u32(row.vpp);
    }
    expected.until(1348);

    noslimline_vpp_list list;
    fill_with_garbage(list);
    EXPECT_EQ(board_get_mainboard_noslimline_vpp_list(&list), 0);
    expect_bytes(&list, sizeof(list), expected);
}

// ---- risers ----

struct RiserSlotText {
    uint32_t number, port, width;
};

Bytes riser_bytes(uint32_t hwid, const std::vector<RiserSlotText> &slots) {
    Bytes record;
    record.u32(hwid).chip(0xFF, 0x20, 0, 0, "RISER HWID").zeros(36).u32(1);
    record.u32(static_cast<uint32_t>(slots.size()));
    for (const RiserSlotText &slot : slots) {
        record.u32(0xFF).u32(0xFF).u32(0x70).u32(slot.port);
        record.text("SLOT" + std::to_string(slot.number), 16);
        record.u32(slot.number).u32(slot.width).u32(upward);
    }
    return record.until(432);
}

Bytes riser_of(uint32_t hwid) {
    switch (hwid) {
        case 0x5467:
            return riser_bytes(hwid, {{6, 1, 8}, {8, 3, 8}, {7, 2, 16}});
        case 0x5468:
            return riser_bytes(hwid, {{6, 1, 16}, {7, 2, 16}});
        case 0x5469:
            return riser_bytes(hwid, {{3, 3, 8}, {4, 2, 8}, {5, 1, 16}});
        case 0x546A:
            return riser_bytes(hwid, {{3, 3, 16}, {5, 1, 16}});
        case 0x5476:
            return riser_bytes(hwid, {{7, 2, 16}, {8, 3, 16}});
        case 0x5477:
            return riser_bytes(hwid, {{4, 2, 16}, {5, 1, 16}});
        default:
            ADD_FAILURE() << hwid;
            return {};
    }
}

TEST(SupportedRisers, EveryByteInTheOrderOfTheRequest) {
    pcieriser_list list;
    fill_with_garbage(list);
    EXPECT_EQ(board_get_support_pcieriser_list(&list), 0);
    const uint32_t order[] = {0x5469, 0x5467, 0x546A, 0x5468, 0x5476, 0x5477};
    ASSERT_EQ(list.count, 6u);
    for (size_t i = 0; i < 6; ++i) {
        SCOPED_TRACE(i);
        expect_bytes(&list.items[i], sizeof(list.items[i]), riser_of(order[i]));
    }
    EXPECT_THAT(platform().calls, IsEmpty());
}

// ---- retimer ----

Bytes retimer_bytes() {
    Bytes record;
    record.u32(0x546C).chip(0xFF, 0x20, 0, 0, "RETIMER HWID").zeros(36).u32(2);
    record.chip(0xFF, 0x27, 0x71, 0, "RETIMER IO").u32(8).u32(upward);
    record.chip(0xFF, 0x27, 0x71, 1, "RETIMER IO").u32(8).u32(upward);
    return record.until(236);
}

TEST(SupportedRetimers, EveryByte) {
    retimer_list list;
    fill_with_garbage(list);
    EXPECT_EQ(board_get_support_retimer_list(&list), 0);
    ASSERT_EQ(list.count, 1u);
    expect_bytes(&list.items[0], sizeof(list.items[0]), retimer_bytes());
}

// ---- backplane devices ----

struct Uplink {
    std::string name;
    std::vector<uint32_t> slots;
};
struct DownSlot {
    uint32_t offset, width;
    std::vector<uint32_t> uplinks;
};

Bytes bpdev_bytes(uint32_t kind, uint32_t hwid, const std::string &model,
                  const std::vector<Uplink> &uplinks, const std::vector<DownSlot> &slots) {
    Bytes record;
    record.u32(kind).u32(hwid);
    record.chip(0xFF, 0x20, 0, 0, model).chip(0xFF, 0x20, 0, 0, model);
    record.u32(0);
    record.u32(static_cast<uint32_t>(uplinks.size()));
    for (size_t k = 0; k < uplinks.size(); ++k) {
        record.until(80 + 56 * k);
        record.u32(8).chip(0xFF, 0x27, 0x70, static_cast<uint32_t>(k), uplinks[k].name);
        record.u32(static_cast<uint32_t>(uplinks[k].slots.size()));
        for (const uint32_t slot : uplinks[k].slots) {
            record.u32(slot);
        }
    }
    record.until(976).u32(static_cast<uint32_t>(slots.size()));
    for (size_t d = 0; d < slots.size(); ++d) {
        record.until(980 + 32 * d);
        record.u32(slots[d].offset).u32(slots[d].width).u32(upward);
        record.u32(static_cast<uint32_t>(slots[d].uplinks.size()));
        for (const uint32_t uplink : slots[d].uplinks) {
            record.u32(uplink);
        }
    }
    return record.until(2004);
}

const std::vector<Uplink> four_lettered = {
    {"SLIMLINE A", {0, 1}}, {"SLIMLINE B", {2, 3}}, {"SLIMLINE C", {4, 5}}, {"SLIMLINE D", {6, 7}}};
const std::vector<Uplink> six_lettered = {{"SLIMLINE A", {0, 1}}, {"SLIMLINE B", {2, 3}},
                                          {"SLIMLINE C", {4, 5}}, {"SLIMLINE D", {6, 7}},
                                          {"SLIMLINE E", {8, 9}}, {"SLIMLINE F", {10, 11}}};
const std::vector<Uplink> six_numbered = {{"SLIMLINE 1", {0, 1}}, {"SLIMLINE 2", {2, 3}},
                                          {"SLIMLINE 3", {4, 5}}, {"SLIMLINE 4", {6, 7}},
                                          {"SLIMLINE 5", {}},     {"SLIMLINE 6", {}}};

const std::vector<DownSlot> two = {{0, 4, {0}}, {1, 4, {0}}};
const std::vector<DownSlot> eight = {{0, 4, {0}}, {1, 4, {0}}, {2, 4, {1}}, {3, 4, {1}},
                                     {4, 4, {2}}, {5, 4, {2}}, {6, 4, {3}}, {7, 4, {3}}};
const std::vector<DownSlot> twelve = {{0, 4, {0}}, {1, 4, {0}}, {2, 4, {1}},  {3, 4, {1}},
                                      {4, 4, {2}}, {5, 4, {2}}, {6, 4, {3}},  {7, 4, {3}},
                                      {8, 4, {4}}, {9, 4, {4}}, {10, 4, {5}}, {11, 4, {5}}};
const std::vector<DownSlot> odd = {{1, 4, {0}},  {3, 4, {0}},  {5, 4, {1}},  {7, 4, {1}},
                                   {17, 4, {2}}, {19, 4, {2}}, {21, 4, {3}}, {23, 4, {3}}};
const std::vector<DownSlot> pairs = {{0, 4, {0}}, {1, 4, {0}}, {3, 4, {1}}, {4, 4, {1}},
                                     {6, 4, {2}}, {7, 4, {2}}, {9, 4, {3}}, {10, 4, {3}}};

Bytes bpdev_of(uint32_t hwid) {
    switch (hwid) {
        case 0x5459:
            return bpdev_bytes(5, hwid, "BPFA", four_lettered, eight);
        case 0x545B:
            return bpdev_bytes(5, hwid, "BPFC", six_lettered, twelve);
        case 0x545E:
            return bpdev_bytes(5, hwid, "BPFD", six_numbered, odd);
        case 0x5460:
            return bpdev_bytes(6, hwid, "BPRE", {{"SLIMLINE A", {0}}, {"SLIMLINE B", {0}}},
                               {{0, 16, {0, 1}}});
        case 0x5464:
            return bpdev_bytes(5, hwid, "BPRA", {{"SLIMLINE", {0, 1}}}, two);
        case 0x5465:
            return bpdev_bytes(5, hwid, "BPRB", {{"SLIMLINE", {0, 1}}}, two);
        case 0x546B:
            return bpdev_bytes(6, hwid, "BPRD", {}, {});
        case 0x546F:
            return bpdev_bytes(5, hwid, "BPFE", six_numbered, odd);
        case 0x5472:
            return bpdev_bytes(5, hwid, "BPFG", six_numbered, pairs);
        case 0x5473:
            return bpdev_bytes(5, hwid, "BPFF", six_numbered, odd);
        case 0x54EF:
            return bpdev_bytes(5, hwid, "BPFB", four_lettered, eight);
        default:
            ADD_FAILURE() << hwid;
            return {};
    }
}

TEST(SupportedBackplaneDevices, EveryByteInTheOrderOfTheRequest) {
    const auto list = std::make_unique<bpdev_record_list>();
    fill_with_garbage(*list);
    EXPECT_EQ(board_get_support_bpdev_list(list.get()), 0);
    const uint32_t order[] = {0x5459, 0x545B, 0x5464, 0x546B, 0x5460, 0x545E,
                              0x5465, 0x546F, 0x5473, 0x5472, 0x54EF};
    ASSERT_EQ(list->count, 11u);
    for (size_t i = 0; i < 11; ++i) {
        SCOPED_TRACE(i);
        expect_bytes(&list->items[i], sizeof(list->items[i]), bpdev_of(order[i]));
    }
    EXPECT_THAT(platform().calls, IsEmpty());
}

// ---- requests ----

TEST(RecordsByHardwareId, SixteenRequestsAreRefusedAndNothingIsWritten) {
    hwid_list hwids = {16, {}};
    pcieriser_list risers;
    risers.count = 77;
    EXPECT_EQ(get_riserlist_metadata_by_hwids(&hwids, &risers), -1);
    EXPECT_EQ(risers.count, 77u);
    const auto devices = std::make_unique<bpdev_record_list>();
    devices->count = 77;
    EXPECT_EQ(get_bpdevlist_metadata_by_hwids(&hwids, devices.get()), -1);
    EXPECT_EQ(devices->count, 77u);
    retimer_list retimers;
    retimers.count = 77;
    EXPECT_EQ(get_retimerlist_metadata_by_hwids(&hwids, &retimers), -1);
    EXPECT_EQ(retimers.count, 77u);
}

TEST(RecordsByHardwareId, FifteenRequestsAreServedRepeatedOnesEachTime) {
    hwid_list hwids = {15, {}};
    std::fill(std::begin(hwids.hwids), std::end(hwids.hwids), 0x5460u);
    const auto devices = std::make_unique<bpdev_record_list>();
    EXPECT_EQ(get_bpdevlist_metadata_by_hwids(&hwids, devices.get()), 0);
    ASSERT_EQ(devices->count, 15u);
    for (size_t i = 0; i < 15; ++i) {
        SCOPED_TRACE(i);
        expect_bytes(&devices->items[i], sizeof(devices->items[i]), bpdev_of(0x5460));
    }
}

TEST(RecordsByHardwareId, FifteenRequestsOfRisersAndRetimers) {
    hwid_list hwids = {15, {}};
    std::fill(std::begin(hwids.hwids), std::end(hwids.hwids), 0x546Cu);
    retimer_list retimers;
    EXPECT_EQ(get_retimerlist_metadata_by_hwids(&hwids, &retimers), 0);
    EXPECT_EQ(retimers.count, 15u);
    std::fill(std::begin(hwids.hwids), std::end(hwids.hwids), 0x5477u);
    pcieriser_list risers;
    EXPECT_EQ(get_riserlist_metadata_by_hwids(&hwids, &risers), 0);
    EXPECT_EQ(risers.count, 15u);
}

TEST(RecordsByHardwareId, UnknownAddsNothing) {
    const hwid_list hwids = {2, {0x5469, 0x0001}};
    pcieriser_list risers;
    EXPECT_EQ(get_riserlist_metadata_by_hwids(&hwids, &risers), 0);
    ASSERT_EQ(risers.count, 1u);
    expect_bytes(&risers.items[0], sizeof(risers.items[0]), riser_of(0x5469));
}

TEST(RecordsByHardwareId, AKindFindsOnlyItsOwn) {
    const hwid_list hwids = {3, {0x5469, 0x546C, 0x5459}};
    pcieriser_list risers;
    EXPECT_EQ(get_riserlist_metadata_by_hwids(&hwids, &risers), 0);
    EXPECT_EQ(risers.count, 1u);
    retimer_list retimers;
    EXPECT_EQ(get_retimerlist_metadata_by_hwids(&hwids, &retimers), 0);
    ASSERT_EQ(retimers.count, 1u);
    expect_bytes(&retimers.items[0], sizeof(retimers.items[0]), retimer_bytes());
    const auto devices = std::make_unique<bpdev_record_list>();
    EXPECT_EQ(get_bpdevlist_metadata_by_hwids(&hwids, devices.get()), 0);
    EXPECT_EQ(devices->count, 1u);
}

TEST(RecordsByHardwareId, NoRequestGivesACountOfZero) {
    const hwid_list hwids = {};
    pcieriser_list risers;
    risers.count = 77;
    EXPECT_EQ(get_riserlist_metadata_by_hwids(&hwids, &risers), 0);
    EXPECT_EQ(risers.count, 0u);
}

TEST(RecordsByHardwareId, RequestOrderNotTableOrder) {
    const hwid_list hwids = {3, {0x5476, 0x5469, 0x5476}};
    pcieriser_list risers;
    EXPECT_EQ(get_riserlist_metadata_by_hwids(&hwids, &risers), 0);
    ASSERT_EQ(risers.count, 3u);
    expect_bytes(&risers.items[0], 432, riser_of(0x5476));
    expect_bytes(&risers.items[1], 432, riser_of(0x5469));
    expect_bytes(&risers.items[2], 432, riser_of(0x5476));
}

// ---- what is not a table ----

TEST(BoardConstants, CpuLimits) {
    EXPECT_EQ(board_get_max_cpu_count(), 2);
    EXPECT_EQ(board_get_max_cpux1lane_count(), 64);
    pciecap_list lanes;
    lanes.count = 9;
    EXPECT_EQ(board_get_cpu_port_lanes_list(&lanes), 0);
    EXPECT_EQ(lanes.count, 0u);
}

TEST(BoardMetadata, NullIsRefusedBeforeAnyAccess) {
    const hwid_list hwids = {};
    pcieriser_list risers;
    EXPECT_EQ(board_get_mainboard_slot_list(nullptr), -1);
    EXPECT_EQ(board_get_mainboard_slimline_list(nullptr), -1);
    EXPECT_EQ(board_get_mainboard_noslimline_vpp_list(nullptr), -1);
    EXPECT_EQ(board_get_backplane_mbifc_list(nullptr), -1);
    EXPECT_EQ(board_get_cpu_port_lanes_list(nullptr), -1);
    EXPECT_EQ(board_get_support_pcieriser_list(nullptr), -1);
    EXPECT_EQ(board_get_support_bpdev_list(nullptr), -1);
    EXPECT_EQ(board_get_support_retimer_list(nullptr), -1);
    EXPECT_EQ(get_riserlist_metadata_by_hwids(&hwids, nullptr), -1);
    EXPECT_EQ(get_riserlist_metadata_by_hwids(nullptr, &risers), -1);
    EXPECT_EQ(get_bpdevlist_metadata_by_hwids(&hwids, nullptr), -1);
    EXPECT_EQ(get_bpdevlist_metadata_by_hwids(nullptr, nullptr), -1);
    EXPECT_EQ(get_retimerlist_metadata_by_hwids(&hwids, nullptr), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
}

}  // namespace
