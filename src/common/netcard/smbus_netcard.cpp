// The network cards that are managed over SMBus.
#include "base/lookup.h"
#include "boardfeatures/mailbox.h"
#include "main/smbus_netcard_table.h"

namespace {

using bf::board::SmbusNetCard;

template <typename Field>
int32_t copy_field(int32_t index, Field SmbusNetCard::*field, Field *out) {
    // A negative index lies beyond the table like any other that is too large.
    const SmbusNetCard *card =
        bf::row_at(bf::board::smbus_netcard_table, static_cast<uint32_t>(index));
    return bf::copy_row(card != nullptr ? &(card->*field) : nullptr, out);
}

}  // namespace

extern "C" {

int32_t GetSmbusNetCardMaxCount() {
    return static_cast<int32_t>(std::size(bf::board::smbus_netcard_table));
}
int32_t GetSmbusNetCardSlotId(int32_t index, uint8_t *slot_id) {
    return copy_field(index, &SmbusNetCard::slot_id, slot_id);
}
int32_t GetSmbusNetCardPcieSlot(int32_t index, uint8_t *pcie_slot) {
    return copy_field(index, &SmbusNetCard::pcie_slot, pcie_slot);
}
int32_t GetSmbusNetCardI2cInfo(int32_t index, I2cChipRoute *route) {
    return copy_field(index, &SmbusNetCard::route, route);
}

}  // extern "C"
