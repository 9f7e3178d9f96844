// The mainboard's PCIe connectors, its slimline sockets and the VPP expanders of its CPU ports.
#pragma once

#include "boardfeatures/pcieid_enum.h"

namespace bf::board {

inline constexpr uint32_t max_cpu_count = 2;
inline constexpr uint32_t max_cpux1lane_count = 64;

// The second port of either riser connector is wired backwards.
inline constexpr mbslot_list mainboard_slots = {
    4,
    {
        {MBSLOT_MEZZANINE,
         "RAID CARD",
         1,
         {11, 0xFF, 0, 0, 0, "MEZZ HWID"},
         1,
         {.lanes = {0, 40, 8, PCIECAP_OBVERSE, {}}}},
        {MBSLOT_OCP,
         "OCP3.0",
         200,
         {13, 0xFF, 0, 0x77, 5, "OCP3.0 HWID"},
         1,
         {.lanes = {0, 32, 8, PCIECAP_OBVERSE, {}}}},
        {MBSLOT_RISER,
         "RISER2",
         6,
         {4, 0xFF, 0, 0, 0, "RISER2 HWID"},
         3,
         {.riser = {25, 2, {{0, 16, 16, PCIECAP_OBVERSE}, {0, 0, 16, PCIECAP_REVERSE}}}}},
        {MBSLOT_RISER,
         "RISER3",
         7,
         {5, 0xFF, 0, 0, 0, "RISER3 HWID"},
         6,
         {.riser = {28, 2, {{1, 0, 16, PCIECAP_OBVERSE}, {1, 16, 16, PCIECAP_REVERSE}}}}},
    }};

// All sockets share one expander address, each behind its own channel of the mux.
constexpr slimline_item socket(const slimline_item &named, uint32_t channel) {
    slimline_item item = named;
    item.width = 8;
    item.reserved = PCIECAP_OBVERSE;
    item.io = {12, 0x27, 0, 0x70, channel, "SLIMLINE IO"};
    return item;
}

inline constexpr slimline_list mainboard_slimlines = {
    6,
    {
        socket({"CPU1 SLIMLINE A", 0, 48, 0, 0, {}, 0x26}, 0),
        socket({"CPU1 SLIMLINE B", 0, 56, 0, 0, {}, 0x27}, 1),
        socket({"CPU2 SLIMLINE C", 1, 48, 0, 0, {}, 0x26}, 2),
        socket({"CPU2 SLIMLINE D", 1, 56, 0, 0, {}, 0x27}, 3),
        socket({"CPU2 SLIMLINE E", 1, 32, 0, 0, {}, 0x22}, 4),
        socket({"CPU2 SLIMLINE F", 1, 40, 0, 0, {}, 0x23}, 5),
    }};

// Ports that a retimer card can be fed from: its sockets get their VPP expanders from here.
inline constexpr noslimline_vpp_list mainboard_noslimline_vpps = {
    8,
    {
        {"CPU1 PE0AB", 0, 0, 8, PCIECAP_OBVERSE, 0x20},
        {"CPU1 PE0CD", 0, 8, 8, PCIECAP_OBVERSE, 0x21},
        {"CPU1 PE1AB", 0, 16, 8, PCIECAP_OBVERSE, 0x22},
        {"CPU1 PE1CD", 0, 24, 8, PCIECAP_OBVERSE, 0x23},
        {"CPU2 PE0AB", 1, 0, 8, PCIECAP_OBVERSE, 0x24},
        {"CPU2 PE0CD", 1, 8, 8, PCIECAP_OBVERSE, 0x25},
        {"CPU2 PE1AB", 1, 16, 8, PCIECAP_OBVERSE, 0x20},
        {"CPU2 PE1CD", 1, 24, 8, PCIECAP_OBVERSE, 0x21},
    }};

}  // namespace bf::board
