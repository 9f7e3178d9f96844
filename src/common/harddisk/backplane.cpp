// The driver of every backplane model.
#include "common/harddisk/backplane.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <iterator>
#include <optional>

#include "base/lookup.h"
#include "boardfeatures/host.h"
#include "main/harddisk_special_info.h"

namespace bf::harddisk {

namespace {

constexpr uint32_t all_pins = 0xFFFF;

// The name of a model's function stands around the model's code.
struct Question {
    const char *before;
    const char *after;
};
constexpr Question ask_present = {"_", "_hdd_present"};
constexpr Question ask_type = {"_", "_hdd_type"};
constexpr Question ask_u2_list = {"_", "_get_u2_nvme_list"};
constexpr Question ask_disk_list = {"", "_get_hdd_list"};

bool marker(const char *path) { return access(path, F_OK) == 0; }

// ---- slots and bays ----

const SlotRun *run_of(const Backplane &model, uint32_t slot) {
    for (const SlotRun &run : model.runs) {
        if (run.bus != 0 && slot >= run.first && slot <= run.last) {
            return &run;
        }
    }
    return nullptr;
}

// The status field of a bay, counted from 1. Shifting by the negative count of bay 0 leaves
// nothing, which is the field of a SAS/SATA disk.
BayField field_of(uint64_t bits, uint32_t bay) {
    return static_cast<BayField>(bay == 0 ? 0 : (bits >> (2 * (bay - 1))) & 3);
}

// ---- expanders ----

uint32_t expander_count(const Backplane &model) {
    uint32_t count = 0;
    while (count < max_expanders && model.expanders[count] != 0) {
        ++count;
    }
    return count;
}

I2cChipRoute expander(const Backplane &model, uint32_t index, uint32_t bus,
                      const char (&label)[16]) {
    I2cChipRoute route = {};
    route.bus = bus;
    route.address = model.expanders[index];
    bf::copy_text(route.name, label);
    route.name[strnlen(label, sizeof(label) - 2)] = static_cast<char>('0' + index);
    return route;
}

// The status bits of all bays, nothing when an expander cannot be read.
std::optional<uint64_t> read_bits(const Backplane &model, uint32_t bus) {
    uint64_t bits = 0;
    for (uint32_t i = 0; i < expander_count(model); ++i) {
        const I2cChipRoute route = expander(model, i, bus, model.label);
        uint32_t word = 0;
        if (ei2c_pca9535_get_word_value(&route, all_pins, &word) < 0) {
            return std::nullopt;
        }
        bits |= static_cast<uint64_t>(word & all_pins) << (16 * i);
    }
    return bits;
}

void print_failure(const Backplane &model, const Question &question) {
    std::printf("[%s%s%s %d] get 9535 failed.\n", question.before, model.code, question.after,
                __LINE__);
}

void print_failure(const Backplane &model, const Question &question, uint32_t bus) {
    std::printf("[%s%s%s %d] bus %u get 9535 failed.\n", question.before, model.code,
                question.after, __LINE__, bus);
}

// ---- lists: a count, then entries ----

template <typename Entry>
void append(void *list, const Entry &entry) {
    auto *bytes = static_cast<uint8_t *>(list);
    uint32_t count = 0;
    std::memcpy(&count, bytes, sizeof(count));
    std::memcpy(bytes + sizeof(count) + count * sizeof(entry), &entry, sizeof(entry));
    ++count;
    std::memcpy(bytes, &count, sizeof(count));
}

uint32_t count_of(const void *list) {
    uint32_t count = 0;
    std::memcpy(&count, list, sizeof(count));
    return count;
}

// A model with one connector is read there, others on the bus of their position.
std::optional<uint32_t> list_bus(const Backplane &model, uint32_t position) {
    if (model.runs[1].bus == 0) {
        return model.runs[0].bus;
    }
    if (position >= std::size(g_array_bus_num)) {
        return std::nullopt;
    }
    return g_array_bus_num[position];
}

void trace_type(const Backplane &model, uint32_t bus, uint64_t bits) {
    switch (model.type_trace) {
        case TypeTrace::none:
            return;
        case TypeTrace::kfotest_bits:
            if (marker("/var/kfotest")) {
                std::printf("ioval = %llx\n", static_cast<unsigned long long>(bits));
            }
            return;
        case TypeTrace::nvmetest_bus:
            if (marker("/var/nvmetest")) {
                std::printf("[%s%s%s %d] bus = %u, ioval = %d\n", ask_type.before, model.code,
                            ask_type.after, __LINE__, bus, static_cast<int>(bits));
            }
            return;
    }
}

void trace_disk_list(const Backplane &model, uint32_t bus, uint64_t bits) {
    if (!marker("/var/oobdbg")) {
        return;
    }
    switch (model.list_trace) {
        case ListTrace::none:
            return;
        case ListTrace::bits:
            std::printf("[%s%s%s %d] ioval=%#llx\n", ask_disk_list.before, model.code,
                        ask_disk_list.after, __LINE__, static_cast<unsigned long long>(bits));
            return;
        case ListTrace::bus_and_bits:
            std::printf("[%s%s%s %d] bus = %u, iovalue =  %x\n", ask_disk_list.before, model.code,
                        ask_disk_list.after, __LINE__, bus, static_cast<unsigned>(bits));
            return;
    }
}

void trace_disk_count(const Backplane &model, const void *list) {
    if (marker("/var/oobdbg")) {
        std::printf("[%s%s%s %d] slotCounts = %u\n", ask_disk_list.before, model.code,
                    ask_disk_list.after, __LINE__, count_of(list));
    }
}

}  // namespace

const Backplane *backplane_of(uint32_t board_id) {
    return bf::find_row(bf::board::backplanes, &Backplane::board_id, board_id);
}

int32_t present(const Backplane &model, uint32_t slot) {
    const SlotRun *run = run_of(model, slot);
    if (run == nullptr) {
        return -1;
    }
    const auto bits = read_bits(model, run->bus);
    if (!bits) {
        if (model.present_failure_names_bus) {
            print_failure(model, ask_present, run->bus);
        } else {
            print_failure(model, ask_present);
        }
        return -1;
    }
    return field_of(*bits, slot - run->base) == bay_empty ? -1 : 0;
}

int32_t type(const Backplane &model, uint32_t slot, uint8_t *type) {
    const SlotRun *run = run_of(model, slot);
    if (run == nullptr || type == nullptr) {
        return -1;
    }
    if (model.only_sas_sata) {
        if (present(model, slot) != 0) {
            return -1;
        }
        *type = DISK_SAS_SATA;
        return 0;
    }
    const auto bits = read_bits(model, run->bus);
    if (!bits) {
        print_failure(model, ask_type);
        return -1;
    }
    trace_type(model, run->bus, *bits);
    const TypeAnswer &answer = model.type_rule.by_field[field_of(*bits, slot - run->base)];
    if (answer.type != TypeAnswer::left_alone) {
        *type = static_cast<uint8_t>(answer.type);
    }
    return answer.result;
}

int32_t route(const Backplane &model, uint32_t slot, void *route) {
    const SlotRun *run = run_of(model, slot);
    if (run == nullptr || route == nullptr) {
        return -1;
    }
    const NvmeRoute *found = nullptr;
    for (const RearNvmeRoute &row : rear_routes_of(model)) {
        if (row.slot == slot) {
            found = &row.route;
        }
    }
    for (uint32_t i = 0; i < model.routed_bay_count; ++i) {
        if (model.routed_bays[i] + 1u == slot - run->base) {
            found = &routes_of(model)[run->route_base + i];
        }
    }
    if (found == nullptr) {
        return -1;
    }
    NvmeRoute row = *found;
    row.bus = run->bus;
    std::memcpy(route, &row, sizeof(row));
    return 0;
}

int32_t list_u2_nvme(const Backplane &model, uint32_t board_id, uint32_t position, void *list) {
    const auto bus = list_bus(model, position);
    if (!bus || list == nullptr) {
        return -1;
    }
    const auto bits = read_bits(model, *bus);
    if (!bits) {
        print_failure(model, ask_u2_list, *bus);
        return -1;
    }
    const uint32_t bays = get_supported_disk_num_by_cardid(board_id);
    for (uint32_t bay = 0; bay < bays; ++bay) {
        if (field_of(*bits, bay + 1) == bay_u2_nvme) {
            append(list, U2NvmeEntry{bay, {}});
        }
    }
    return 0;
}

int32_t list_disks(const Backplane &model, uint32_t board_id, uint32_t position, void *list) {
    const auto bus = list_bus(model, position);
    if (!bus || list == nullptr) {
        return -1;
    }
    const auto bits = read_bits(model, *bus);
    if (!bits) {
        print_failure(model, ask_disk_list, *bus);
        return -1;
    }
    trace_disk_list(model, *bus, *bits);
    const uint32_t bays = get_supported_disk_num_by_cardid(board_id);
    for (uint32_t bay = 0; bay < bays; ++bay) {
        if (field_of(*bits, bay + 1) == bay_sas_sata) {
            append(list, HddEntry{bay_sas_sata, static_cast<uint8_t>(bay)});
        }
    }
    trace_disk_count(model, list);
    return 0;
}

int32_t online_count(const Backplane &model, uint32_t slot_id) {
    uint32_t bus = model.runs[0].bus;
    if (model.count_bus == CountBus::of_connector) {
        CardPresence connector = {};
        const int32_t failure = GetCardOnlineInfoBySlotID(slot_id, &connector);
        if (failure != 0) {
            return failure;
        }
        bus = connector.route.bus;
        const SlotRun *run = bf::find_row(model.runs, &SlotRun::bus, bus);
        if (run == nullptr || run->bus == 0) {
            return -1;
        }
    }
    I2cChipRoute expanders[max_expanders] = {};
    const uint32_t count = expander_count(model);
    for (uint32_t i = 0; i < count; ++i) {
        expanders[i] = expander(model, i, bus, model.count_label);
    }
    return GetOnlineHDDCountInner(expanders, count, model.counted_bays);
}

}  // namespace bf::harddisk

extern "C" {

uint32_t get_supported_disk_num_by_cardid(uint32_t board_id) {
    const bf::harddisk::Backplane *model = bf::harddisk::backplane_of(board_id);
    return model != nullptr ? model->listed_bays : 0;
}

}  // extern "C"
