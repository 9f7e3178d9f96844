// How many PCIe slots this board has and how fast they are.
#include "boardfeatures/pcieid_enum.h"
#include "main/pcie_slot_table.h"

extern "C" {

int32_t get_specialBoardPcieSoltNum() { return PCIE_SLOT_COUNT; }

int32_t get_specialBoardPcieSoltAndRate(const PcieSlotInfo *table, PcieSlotRateList *out) {
    if (table == nullptr || out == nullptr) {
        return -1;
    }
    for (uint32_t i = 0; i < PCIE_SLOT_COUNT; ++i) {
        out->entries[i] = {table[i].slot, bf::board::pcie_slot_rate};
    }
    return 0;
}

}  // extern "C"
