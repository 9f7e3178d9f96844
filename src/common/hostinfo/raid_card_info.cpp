// RAID cards: where they sit, how they are reached out of band, and the switch for that.
#include <span>

#include "base/ini.h"
#include "base/log.h"
#include "base/lookup.h"
#include "boardfeatures/host.h"
#include "main/raid_table.h"

// A platform may lack it.
extern "C" __attribute__((weak)) int hdd_get_back_panel_id(uint32_t *id);

namespace {

using bf::board::RaidCard;

constexpr char switch_path[] = "/conf/vel/outband_storage_switch.ini";
constexpr char switch_section[] = "pmc";
constexpr char switch_key[] = "enable";

const RaidCard *card_by_index(uint32_t raid_index) {
    return bf::find_row(bf::board::raid_table, &RaidCard::index, raid_index);
}

// The list is another process's to fill: its count is not trusted.
std::span<const ControllerEntry> listed_controllers() {
    const std::size_t capacity = std::size(g_ControllerList.entries);
    const std::size_t count = g_ControllerList.count;
    return {g_ControllerList.entries, count < capacity ? count : capacity};
}

bool answers_out_of_band(const ControllerEntry &controller) {
    for (const uint16_t device_id : bf::board::oob_raid_device_ids) {
        if (controller.device_id == device_id) {
            return true;
        }
    }
    return false;
}

}  // namespace

extern "C" {

ControllerList g_ControllerList = {};

int32_t GetRaidCardMaxCount() { return static_cast<int32_t>(std::size(bf::board::raid_table)); }

int32_t StorageSearchController(uint32_t id1, uint32_t device_id) {
    for (const ControllerEntry &controller : listed_controllers()) {
        if (controller.id1 == id1 && controller.device_id == device_id) {
            return 0;
        }
    }
    return 1;
}

int32_t GetRaidCardSlaveAddr(uint32_t pcie_slot, uint16_t *address) {
    if (address == nullptr) {
        return -1;
    }
    for (const ControllerEntry &controller : listed_controllers()) {
        if (controller.pcie_slot == pcie_slot && answers_out_of_band(controller)) {
            *address = bf::board::oob_raid_address;
            return 0;
        }
    }
    return -1;
}

int32_t GetRaidCardI2cInfo(uint32_t raid_index, I2cChipRoute *route) {
    const RaidCard *card = card_by_index(raid_index);
    if (card == nullptr || route == nullptr) {
        return -1;
    }
    *route = card->route;
    GetRaidCardSlaveAddr(card->pcie_slot, &route->address);
    return 0;
}

int32_t GetRaidCardSlotId(uint32_t raid_index, uint8_t *slot_id) {
    const RaidCard *card = card_by_index(raid_index);
    return bf::copy_row(card != nullptr ? &card->slot_id : nullptr, slot_id);
}

int32_t GetRaidCardPCIeSlot(uint32_t raid_index) {
    const RaidCard *card = card_by_index(raid_index);
    return card != nullptr ? card->pcie_slot : bf::board::unknown_raid_pcie_slot;
}

int32_t SetRaidCardOOBSwitch(uint32_t value) {
    const bf::IniFile file(IniLoadFile(switch_path));
    if (!file) {
        return -1;
    }
    IDBG_LINUXAPP_AuditOut(bf::level_audit_board, "%s:pmc outband switch:%d", __func__,
                           static_cast<int>(value));
    IniSetUInt(file.get(), switch_section, switch_key, value);
    return IniSaveFile(file.get(), switch_path) == 0 ? 0 : -1;
}

int32_t GetRaidCardOOBSwitch(uint32_t *value) {
    if (value == nullptr) {
        return -1;
    }
    const bf::IniFile file(IniLoadFile(switch_path));
    if (!file) {
        IDBG_LINUXAPP_AuditOut(bf::level_audit_board, "%s:get outband swith failed", __func__);
        return -1;
    }
    *value = IniGetUInt(file.get(), switch_section, switch_key,
                        static_cast<uint32_t>(GetRaidCardBoardOOBSwitchDefVal()));
    return 0;
}

int32_t GetDiskBackPanelInfo(uint32_t *id) {
    if (id == nullptr) {
        return -1;
    }
    *id = 0;
    return hdd_get_back_panel_id != nullptr ? hdd_get_back_panel_id(id) : 0;
}

}  // extern "C"
