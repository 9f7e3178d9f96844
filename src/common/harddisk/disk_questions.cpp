// Questions about one disk: routed to the backplanes that are fitted.
#include "base/log.h"
#include "boardfeatures/host.h"
#include "boardfeatures/identity.h"
#include "boardfeatures/storage.h"
#include "common/harddisk/backplane.h"
#include "main/harddisk_special_info.h"

static constexpr char log_source[] = "common/harddisk/harddisk_common_info";

namespace {

using bf::harddisk::Backplane;

constexpr uint32_t front_zone = 0;
// Not a type: a disk whose backplane states none is not taken for NVMe.
constexpr uint8_t type_not_stated = 0xFF;

// The first answer of 0, else the answer of the last fitted backplane; -1 from one without a
// driver.
template <typename Ask>
int32_t ask_fitted(Ask ask) {
    int32_t answer = -1;
    for (const uint32_t card : bf::board::connector_cards) {
        if (GetCardOnlineStatus(card) == 0) {
            continue;
        }
        const Backplane *model = bf::harddisk::backplane_of(GetCardBoardId(card));
        answer = model != nullptr ? ask(*model) : -1;
        if (answer == 0) {
            break;
        }
    }
    return answer;
}

}  // namespace

extern "C" {

int32_t hdd_onboard(uint32_t slot) {
    return ask_fitted([=](const Backplane &model) { return bf::harddisk::present(model, slot); });
}

int32_t hdd_gettype(uint32_t slot, uint8_t *type) {
    if (type == nullptr) {
        return -1;
    }
    return ask_fitted(
        [=](const Backplane &model) { return bf::harddisk::type(model, slot, type); });
}

int32_t hdd_get_nvme_i2c_info(uint32_t slot, void *route) {
    if (route == nullptr) {
        return -1;
    }
    return ask_fitted(
        [=](const Backplane &model) { return bf::harddisk::route(model, slot, route); });
}

int32_t GetDiskOnlineStatus(uint32_t slot) {
    return slot > GetDiskMaxCount() ? -1 : hdd_onboard(slot);
}

int32_t GetDiskOnlineStatusExt(uint32_t zone, uint32_t slot) {
    return zone != front_zone || slot > GetDiskMaxCountExt(zone) ? -1 : hdd_onboard(slot);
}

int32_t GetDiskType(uint32_t slot, uint8_t *type) {
    return type == nullptr || GetDiskOnlineStatus(slot) < 0 ? -1 : hdd_gettype(slot, type);
}

int32_t GetDiskTypeExt(uint32_t zone, uint32_t slot, uint8_t *type) {
    return type == nullptr || GetDiskOnlineStatusExt(zone, slot) < 0 ? -1 : hdd_gettype(slot, type);
}

uint32_t IsBackPanelU2NvmePresent(uint32_t slot) {
    uint8_t type = type_not_stated;
    return GetDiskType(slot, &type) == 0 && type == DISK_U2_NVME;
}

uint32_t IsBackPanelU2NvmePresentExt(uint32_t zone, uint32_t slot) {
    uint8_t type = type_not_stated;
    return GetDiskTypeExt(zone, slot, &type) == 0 && type == DISK_U2_NVME;
}

int32_t GetBackPanelNvmeI2CInfo(uint32_t slot, void *route) {
    return route == nullptr || IsBackPanelU2NvmePresent(slot) == 0
               ? -1
               : hdd_get_nvme_i2c_info(slot, route);
}

int32_t GetBackPanelNvmeI2CInfoExt(uint32_t zone, uint32_t slot, void *route) {
    return route == nullptr || IsBackPanelU2NvmePresentExt(zone, slot) == 0
               ? -1
               : hdd_get_nvme_i2c_info(slot, route);
}

int32_t GetHDDSlot(uint32_t *back_panel_slot, uint32_t *disk_back_panel_count) {
    if (back_panel_slot == nullptr || disk_back_panel_count == nullptr) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug,
                             "[%s:%d]back_panel_slot == NULL || diskbackpanelcount == NULL !\n",
                             log_source, __LINE__);
        return -1;
    }
    *back_panel_slot = bf::board::first_backplane_card;
    *disk_back_panel_count = bf::board::backplane_count;
    return 0;
}

}  // extern "C"
