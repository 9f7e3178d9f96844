// Disk backplanes: what describes a model, and the questions that the one driver answers for all of
// them.
//
// A backplane drives a 2-bit status of each bay onto the inputs of its expanders, eight bays an
// expander, the first bay in the lowest bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "boardfeatures/storage.h"

namespace bf::harddisk {

inline constexpr uint32_t max_expanders = 4;
inline constexpr uint32_t bays_per_expander = 8;

// The status field of a bay.
enum BayField : uint32_t { bay_sas_sata = 0, bay_u2_nvme = 1, bay_untyped = 2, bay_empty = 3 };

// The slot numbers that a model accepts on one of its connectors.
struct SlotRun {
    uint8_t first;
    uint8_t last;
    uint8_t bus;         // of the connector; 0 = no such run
    uint8_t base;        // bay = slot - base; bays count from 1
    uint8_t route_base;  // the row of the first routed bay
};

// What a model answers to the type question for a field.
struct TypeAnswer {
    enum : int8_t { left_alone = -1 };
    int8_t type;  // DISK_..., or left_alone
    int8_t result;
};
struct TypeRule {
    TypeAnswer by_field[4];
};

// Field-service traces, each switched on by a marker file.
enum class TypeTrace : uint8_t { none, kfotest_bits, nvmetest_bus };
enum class ListTrace : uint8_t { none, bus_and_bits, bits };

// Where the online count looks.
enum class CountBus : uint8_t { fixed, of_connector };

// What a row does not state, the model does not have.
struct Backplane {
    char code[8];  // as in the names of the model's functions
    uint32_t board_id;
    SlotRun runs[3];
    uint8_t expanders[max_expanders];  // addresses; 0 = no such expander
    char label[16];                    // the expanders' name; their number follows
    char count_label[16] = {};         // the same where disks are counted
    uint8_t listed_bays = 0;           // 0 = no lists
    uint8_t counted_bays = 0;          // 0 = no online count
    CountBus count_bus = CountBus::fixed;
    bool present_failure_names_bus = false;
    bool only_sas_sata = false;  // the type of a disk that is present; there is no rule then
    TypeRule type_rule = {};
    TypeTrace type_trace = TypeTrace::none;
    ListTrace list_trace = ListTrace::none;
    uint8_t routed_bay_count = 0;
    uint8_t routed_bays[12] = {};  // indexes from 0
};

// The board's exported route tables of a model; empty where it has none. They are found by code: a
// pointer in the rows above would have to be relocated in each process.
std::span<const RearNvmeRoute> rear_routes_of(const Backplane &model);  // found by slot
// A row for each routed bay, in that order.
std::span<const NvmeRoute> routes_of(const Backplane &model);

// The model behind a board id, null when it has no driver.
const Backplane *backplane_of(uint32_t board_id);

int32_t present(const Backplane &model, uint32_t slot);
int32_t type(const Backplane &model, uint32_t slot, uint8_t *type);
int32_t route(const Backplane &model, uint32_t slot, void *route);
int32_t online_count(const Backplane &model, uint32_t slot_id);
// Position is looked at only for models with several connectors.
int32_t list_u2_nvme(const Backplane &model, uint32_t board_id, uint32_t position, void *list);
int32_t list_disks(const Backplane &model, uint32_t board_id, uint32_t position, void *list);

}  // namespace bf::harddisk
