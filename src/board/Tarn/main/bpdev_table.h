// The backplane devices that can be cabled to the mainboard, by hardware ID: their uplinks, what
// each uplink feeds, and how their bays and slots are numbered.
#pragma once

#include <initializer_list>
#include <iterator>

#include "boardfeatures/pcieid_enum.h"

namespace bf::board {

constexpr uint32_t uplink_width = 8;
constexpr uint32_t bay_width = 4;
constexpr uint32_t bays_of_uplink = 2;

// Uplinks are named "SLIMLINE A", "SLIMLINE B", ... or "SLIMLINE 1", "SLIMLINE 2", ...; a lone one
// has no letter. The cable-detect expander of each sits behind its own channel of the mux.
constexpr void add_uplinks(bpdev_record &record, uint32_t count, char first) {
    constexpr char text[] = "SLIMLINE ";
    for (uint32_t k = 0; k < count; ++k) {
        bpdev_record_uplink &uplink = record.uplinks[record.uplink_count++];
        uplink.width = uplink_width;
        uplink.io = {0xFF, 0x27, 0, 0x70, k, {}};
        const unsigned length = first == '\0' ? sizeof(text) - 2 : sizeof(text) - 1;
        for (unsigned i = 0; i < length; ++i) {
            uplink.io.name[i] = text[i];
        }
        if (first != '\0') {
            uplink.io.name[length] = static_cast<char>(first + static_cast<char>(k));
        }
    }
}

constexpr void feed(bpdev_record &record, uint32_t uplink_index, uint32_t slot_index) {
    bpdev_record_uplink &uplink = record.uplinks[uplink_index];
    uplink.slots[uplink.slot_count++] = slot_index;
    bpdev_downslot &slot = record.downslots[slot_index];
    slot.uplinks[slot.uplink_count++] = uplink_index;
}

constexpr bpdev_record device(uint32_t kind, uint32_t hwid, const char (&model)[5]) {
    bpdev_record record = {};
    record.kind = kind;
    record.hwid = hwid;
    record.hwid_device = {0xFF, 0x20, 0, 0, 0, {model[0], model[1], model[2], model[3]}};
    record.second_device = record.hwid_device;
    return record;
}

// Bays of four lanes, two to an uplink in order; uplinks beyond the last bay feed none.
template <uint32_t Bays>
constexpr bpdev_record disk_backplane(uint32_t hwid, const char (&model)[5], uint32_t uplinks,
                                      char first_uplink, const uint32_t (&offsets)[Bays]) {
    bpdev_record record = device(BPDEV_DISK, hwid, model);
    add_uplinks(record, uplinks, first_uplink);
    for (uint32_t bay = 0; bay < Bays; ++bay) {
        record.downslots[record.downslot_count++] = {
            offsets[bay], bay_width, PCIECAP_OBVERSE, 0, {}};
        feed(record, bay / bays_of_uplink, bay);
    }
    return record;
}

// A x16 slot when there are uplinks, which then all feed it.
constexpr bpdev_record riser_backplane(uint32_t hwid, const char (&model)[5], uint32_t uplinks) {
    bpdev_record record = device(BPDEV_RISER, hwid, model);
    add_uplinks(record, uplinks, 'A');
    if (uplinks != 0) {
        record.downslots[record.downslot_count++] = {
            0, uplinks * uplink_width, PCIECAP_OBVERSE, 0, {}};
    }
    for (uint32_t uplink = 0; uplink < uplinks; ++uplink) {
        feed(record, uplink, 0);
    }
    return record;
}

inline constexpr uint32_t two_bays[] = {0, 1};
inline constexpr uint32_t eight_bays[] = {0, 1, 2, 3, 4, 5, 6, 7};
inline constexpr uint32_t twelve_bays[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
// NVMe bays that stand among SAS bays.
inline constexpr uint32_t odd_bays[] = {1, 3, 5, 7, 17, 19, 21, 23};
inline constexpr uint32_t bay_pairs[] = {0, 1, 3, 4, 6, 7, 9, 10};

inline constexpr bpdev_record bpdev_table[] = {
    disk_backplane(0x5459, "BPFA", 4, 'A', eight_bays),
    disk_backplane(0x545B, "BPFC", 6, 'A', twelve_bays),
    disk_backplane(0x5464, "BPRA", 1, '\0', two_bays),
    riser_backplane(0x546B, "BPRD", 0),
    riser_backplane(0x5460, "BPRE", 2),
    disk_backplane(0x545E, "BPFD", 6, '1', odd_bays),
    disk_backplane(0x5465, "BPRB", 1, '\0', two_bays),
    disk_backplane(0x546F, "BPFE", 6, '1', odd_bays),
    disk_backplane(0x5472, "BPFG", 6, '1', bay_pairs),
    disk_backplane(0x5473, "BPFF", 6, '1', odd_bays),
    disk_backplane(0x54EF, "BPFB", 4, 'A', eight_bays),
};
static_assert(std::size(bpdev_table) == 11);

inline constexpr hwid_list supported_bpdevs = {
    11, {0x5459, 0x545B, 0x5464, 0x546B, 0x5460, 0x545E, 0x5465, 0x546F, 0x5473, 0x5472, 0x54EF}};

// ---- the interfaces that they hang on ----

// A disk slot base that depends on the card at a hardware-ID index.
struct SlotBase {
    uint32_t base;
    uint32_t index;  // 0: nothing decides
    uint32_t hwid;   // the card that decides
    uint32_t base_with_it;
};

struct InterfaceRow {
    char name[16];
    uint32_t hwid_index;
    uint32_t bus;
    SlotBase disk_slots;
    uint32_t riser_slot_base;
};

// The middle and the right front backplane number their bays behind those of a full 8-bay or
// 24-bay set.
inline constexpr SlotBase second_front_base = {0, 10, 0x5459, 8};
inline constexpr SlotBase third_front_base = {16, 11, 0x545B, 24};

inline constexpr InterfaceRow interface_table[] = {
    {"F I2C 1", 9, 7, {0, 0, 0, 0}, 0},      {"F I2C 2", 10, 8, second_front_base, 0},
    {"F I2C 3", 11, 9, third_front_base, 0}, {"R I2C 4", 5, 3, {50, 0, 0, 0}, 1},
    {"R I2C 5", 6, 4, {52, 0, 0, 0}, 3},     {"R I2C 7", 7, 5, {56, 0, 0, 0}, 6},
    {"R I2C 8", 8, 6, {60, 0, 0, 0}, 9},
};
static_assert(std::size(interface_table) == 7);

}  // namespace bf::board
