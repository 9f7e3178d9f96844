// The PCIe slots as older callers ask for them.
#include "base/lookup.h"
#include "boardfeatures/pcieid_enum.h"
#include "main/pcie_slot_table.h"

namespace {

constexpr uint32_t no_card_id = 255;

const PcieSlotInfo *row_of(uint32_t slot) {
    return bf::find_row(bf::board::pcie_slot_table, &PcieSlotInfo::slot, slot);
}

}  // namespace

extern "C" {

int32_t GetPcieSlotCounts() { return PCIE_SLOT_COUNT; }
int32_t GetPcieSoltTotalNum() { return get_specialBoardPcieSoltNum(); }

int32_t GetPcieI2cinfoByPcieSlot(uint32_t slot, PcieSlotInfo *out) {
    return bf::copy_row(row_of(slot), out);
}

int32_t GetPcieInfoByIndex(uint32_t index, PcieSlotInfo *out) {
    return bf::copy_row(bf::row_at(bf::board::pcie_slot_table, index), out);
}

int32_t GetCardIdByPcieSlot(uint32_t slot, uint8_t *card_id) {
    const PcieSlotInfo *row = row_of(slot);
    if (row == nullptr || card_id == nullptr || row->card_id == no_card_id) {
        return -1;
    }
    *card_id = static_cast<uint8_t>(row->card_id);
    return 0;
}

int32_t GetPcieSoltAndRate(PcieSlotRateList *out) {
    if (out == nullptr) {
        return -1;
    }
    out->count = PCIE_SLOT_COUNT;
    get_specialBoardPcieSoltAndRate(bf::board::pcie_slot_table, out);
    return 0;
}

int32_t PCIE_GetOnlineDeviceSlot() { return -1; }
int32_t PCIE_GetInvalidSlotInLowCpuConfigMode() { return -1; }

}  // extern "C"
