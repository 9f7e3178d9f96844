// This board's backplane connectors and the backplanes that fit them.
#pragma once

#include <iterator>
#include <string_view>

#include "common/harddisk/backplane.h"

namespace bf::board {

// The name that messages about the fitted backplanes carry.
inline constexpr char harddisk_source[] = "board/Tarn/main/harddisk_special_info";

// ---- connectors ----

// Columns of a row that hdd_fillSupportBackPanelInfo() takes; the rest is reserved.
enum PositionColumn { position_card, position_location, position_start, position_number };
inline constexpr uint32_t position_columns = 11;

// In the order in which fitted backplanes are listed.
inline constexpr uint32_t backplane_positions[][position_columns] = {
    // card, location, start slot, number
    {5, 0, 50, 3}, {6, 0, 52, 4}, {7, 0, 56, 5},  {8, 0, 60, 6},
    {9, 0, 0, 7},  {10, 0, 0, 8}, {11, 0, 16, 9}, {14, 0, 98, 10},
};

// The connectors that disks are looked for behind, in that order: rear, then front. Card 14 takes a
// backplane too, but only the list above knows of it.
inline constexpr uint8_t connector_cards[] = {5, 6, 7, 8, 9, 10, 11};

// Start slots that differ from the connector's own.
struct StartSlotException {
    uint8_t card;
    uint32_t board_id;
    uint8_t start;
};
inline constexpr StartSlotException start_slot_exceptions[] = {
    {10, 21592, 8},  {10, 21593, 8},                    // the second of several 8-bay backplanes
    {11, 21595, 24}, {11, 21618, 24},                   // the second of two 12-bay backplanes
    {5, 21620, 100}, {8, 21620, 90},  {14, 21620, 98},  // mid-bay backplanes
};

// Every backplane that is recognised, with the slots it owns. Those without a driver below are
// listed only.
struct BackplaneKind {
    uint32_t board_id;
    uint32_t slots;
    uint32_t reserved[3];
};
inline constexpr BackplaneKind backplane_kinds[] = {
    {21592, 8, {}},  {21593, 8, {}},  {21743, 8, {}},  {21594, 12, {}}, {21595, 12, {}},
    {21596, 25, {}}, {21597, 25, {}}, {21598, 25, {}}, {21599, 32, {}}, {21602, 4, {}},
    {21603, 8, {}},  {21604, 2, {}},  {21605, 2, {}},  {21606, 4, {}},  {21615, 24, {}},
    {21619, 24, {}}, {21618, 12, {}}, {21620, 2, {}},
};
static_assert(std::size(backplane_kinds) == 18);

// What GetHDDSlot() hands out: the first connector and the number of them.
inline constexpr uint32_t first_backplane_card = 5;
inline constexpr uint32_t backplane_count = 7;

// ---- models ----

// What the fields 0, 1, 2 and 3 answer to the type question: the type written, and the result.
inline constexpr harddisk::TypeAnswer empty_bay = {harddisk::TypeAnswer::left_alone, -1};
// An untyped disk counts as SAS/SATA, but its 2 is no answer: the next backplane is asked.
inline constexpr harddisk::TypeRule untyped_walks_on = {
    {{DISK_SAS_SATA, 0}, {DISK_U2_NVME, 0}, {DISK_SAS_SATA, 2}, empty_bay}};
inline constexpr harddisk::TypeRule untyped_is_sas_sata = {
    {{DISK_SAS_SATA, 0}, {DISK_U2_NVME, 0}, {DISK_SAS_SATA, 0}, empty_bay}};
inline constexpr harddisk::TypeRule untyped_keeps_type = {
    {{DISK_SAS_SATA, 0}, {DISK_U2_NVME, 0}, {harddisk::TypeAnswer::left_alone, 0}, empty_bay}};

// Slot 0 of the front models and the first number of the rear runs are accepted though they are
// bay 0, which no backplane has.
inline constexpr harddisk::Backplane backplanes[] = {
    {.code = "bpra",
     .board_id = 21604,
     .runs = {{50, 52, 3, 50, 0}, {60, 62, 6, 60, 0}},
     .expanders = {0x21},
     .label = "bprahddpres",
     .count_label = "bprahddpres",
     .listed_bays = 2,
     .counted_bays = 2,
     .count_bus = harddisk::CountBus::of_connector,
     .type_rule = untyped_walks_on,
     .list_trace = harddisk::ListTrace::bus_and_bits},
    {.code = "bprb",
     .board_id = 21605,
     .runs = {{52, 54, 4, 52, 0}, {56, 58, 5, 56, 0}},
     .expanders = {0x21},
     .label = "bprbhddpres",
     .count_label = "bprbhddpres",
     .listed_bays = 2,
     .counted_bays = 2,
     .count_bus = harddisk::CountBus::of_connector,
     .type_rule = untyped_walks_on,
     .type_trace = harddisk::TypeTrace::nvmetest_bus,
     .list_trace = harddisk::ListTrace::bus_and_bits},
    {.code = "bpfa",
     .board_id = 21593,
     // each connector has route rows of its own
     .runs = {{0, 8, 7, 0, 0}, {9, 16, 8, 8, 8}, {17, 24, 9, 16, 16}},
     .expanders = {0x21},
     .label = "bpfahddpres",
     .count_label = "bpfahddpres",
     .listed_bays = 8,
     .counted_bays = 8,
     .count_bus = harddisk::CountBus::of_connector,
     .present_failure_names_bus = true,
     .type_rule = untyped_walks_on,
     .list_trace = harddisk::ListTrace::bus_and_bits,
     .routed_bay_count = 8,
     .routed_bays = {0, 1, 2, 3, 4, 5, 6, 7}},
    {.code = "bpfb",
     .board_id = 21743,
     .runs = {{0, 8, 8, 0, 0}},
     .expanders = {0x21},
     .label = "bpfahddpres",  // bpfa's
     .count_label = "bpfahddpres",
     .listed_bays = 8,
     .counted_bays = 8,
     .type_rule = untyped_walks_on,
     .list_trace = harddisk::ListTrace::bus_and_bits,
     .routed_bay_count = 8,
     .routed_bays = {0, 1, 2, 3, 4, 5, 6, 7}},
    {.code = "bpfc",
     .board_id = 21595,
     .runs = {{0, 12, 8, 0, 0}, {25, 36, 9, 24, 0}},
     .expanders = {0x21, 0x22},
     .label = "bpfchddpres",
     .count_label = "bpfchddpres",
     .listed_bays = 12,
     .counted_bays = 12,
     .type_rule = untyped_is_sas_sata,
     .list_trace = harddisk::ListTrace::bus_and_bits,
     .routed_bay_count = 12,
     .routed_bays = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}},
    {.code = "bpfg",
     .board_id = 21618,
     .runs = {{0, 12, 8, 0, 0}, {25, 36, 9, 24, 0}},
     .expanders = {0x21, 0x22},
     .label = "bpfghddpres",
     .count_label = "bpfghddpres",
     .listed_bays = 12,
     .counted_bays = 12,
     .type_rule = untyped_is_sas_sata,
     .list_trace = harddisk::ListTrace::bus_and_bits,
     .routed_bay_count = 8,  // every third bay has no PCIe lanes
     .routed_bays = {0, 1, 3, 4, 6, 7, 9, 10}},
    {.code = "bpfd",
     .board_id = 21598,
     .runs = {{0, 25, 8, 0, 0}},
     .expanders = {0x21, 0x22, 0x23, 0x24},
     .label = "bpfchddpres",  // bpfc's
     .count_label = "bpfdhddpres",
     .listed_bays = 25,
     .counted_bays = 25,
     .type_rule = untyped_keeps_type,
     .type_trace = harddisk::TypeTrace::kfotest_bits,
     .list_trace = harddisk::ListTrace::bits,
     .routed_bay_count = 8,
     .routed_bays = {1, 3, 5, 7, 17, 19, 21, 23}},
    {.code = "bpfe",
     .board_id = 21615,
     .runs = {{0, 25, 8, 0, 0}},  // there is no expander behind bay 25: it reads occupied
     .expanders = {0x21, 0x22, 0x23},
     .label = "bpfchddpres",  // bpfc's
     .listed_bays = 24,
     .type_rule = untyped_is_sas_sata,
     .type_trace = harddisk::TypeTrace::kfotest_bits,
     .list_trace = harddisk::ListTrace::bits,
     .routed_bay_count = 8,
     .routed_bays = {1, 3, 5, 7, 17, 19, 21, 23}},
    {.code = "bpff",
     .board_id = 21619,
     .runs = {{0, 24, 8, 0, 0}},
     .expanders = {0x29, 0x22, 0x23},  // 0x29, not 0x21
     .label = "bpfchddpres",           // bpfc's
     .count_label = "bpffhddpres",
     .listed_bays = 24,
     .counted_bays = 24,
     .type_rule = untyped_is_sas_sata,
     .type_trace = harddisk::TypeTrace::kfotest_bits,
     .list_trace = harddisk::ListTrace::bits,
     .routed_bay_count = 8,
     .routed_bays = {1, 3, 5, 7, 17, 19, 21, 23}},
    {.code = "bpma",
     .board_id = 21620,
     .runs = {{99, 100, 10, 98, 0}, {101, 102, 3, 100, 0}},
     .expanders = {0x21},
     .label = "bpmaphddpres",
     .only_sas_sata = true},
};
static_assert(std::size(backplanes) == 10);

// The model of a code; a code that none has does not compile.
consteval const harddisk::Backplane &model(std::string_view code) {
    for (const harddisk::Backplane &backplane : backplanes) {
        if (code == backplane.code) {
            return backplane;
        }
    }
    return backplanes[std::size(backplanes)];
}

// The backplane that makes the machine a `Fell`.
inline constexpr uint32_t fell_backplane = model("bpff").board_id;

}  // namespace bf::board
