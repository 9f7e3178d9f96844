// The list of fitted backplanes, and what is answered from it.
#include <iterator>

#include "base/log.h"
#include "boardfeatures/config.h"
#include "boardfeatures/host.h"
#include "boardfeatures/identity.h"
#include "boardfeatures/storage.h"
#include "main/harddisk_special_info.h"

static constexpr const auto &log_source = bf::board::harddisk_source;

namespace {

constexpr uint32_t module_registry = 45;
constexpr uint32_t module_trace = 255;
constexpr uint32_t front_zone = 0;

uint8_t start_slot(const BackPanelDev &panel) {
    for (const bf::board::StartSlotException &exception : bf::board::start_slot_exceptions) {
        if (exception.card == panel.card_index && exception.board_id == panel.board_id) {
            return exception.start;
        }
    }
    return panel.startslot;
}

// Slot numbers are counted in 8 bits: a run that passes 255 ends before it begins.
uint8_t end_slot(uint32_t start, uint32_t count) { return static_cast<uint8_t>(start + count); }

BackPanelDev panel_at(const uint32_t position_row[], const bf::board::BackplaneKind &kind) {
    BackPanelDev panel = {};
    panel.location = static_cast<uint8_t>(position_row[bf::board::position_location]);
    panel.startslot = static_cast<uint8_t>(position_row[bf::board::position_start]);
    panel.maxslot = static_cast<uint8_t>(kind.slots);
    panel.card_index = position_row[bf::board::position_card];
    panel.board_id = kind.board_id;
    panel.position = position_row[bf::board::position_number];
    for (uint32_t i = 0; i < std::size(panel.position_reserved); ++i) {
        panel.position_reserved[i] = position_row[bf::board::position_number + 1 + i];
    }
    panel.startslot = start_slot(panel);
    hddpanel_InitSlotWithCustomConfig(panel.slot_map, panel.location, panel.startslot,
                                      panel.maxslot);
    return panel;
}

bool shows(const BackPanelDev &panel, uint32_t slot) {
    bool found = false;
    const uint8_t end = end_slot(panel.startslot, panel.maxslot);
    for (uint8_t own = panel.startslot; own < end; ++own) {
        found = found || panel.slot_map[own] == slot;
    }
    return found;
}

}  // namespace

extern "C" {

BackPanelList tBackPanelList;
int32_t isdone;

void hddpanel_InitSlotWithCustomConfig(uint8_t *map, uint32_t location, uint32_t start,
                                       uint32_t max) {
    if (map == nullptr) {
        return;
    }
    const uint8_t end = end_slot(start, max);
    for (auto slot = static_cast<uint8_t>(start); slot < end; ++slot) {
        map[slot] = slot;
        uint8_t custom_zone = 0;
        if (IPMI_LoadCustomSlotConfig(location, slot, &custom_zone, &map[slot]) != 0) {
            IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]IPMI_LoadCustomSlotConfig FAIL",
                                 log_source, __LINE__);
        }
    }
}

void hdd_fillSupportBackPanelInfo(const uint32_t position_row[11], uint32_t board_id, void *list) {
    if (position_row == nullptr || list == nullptr) {
        return;
    }
    auto *panels = static_cast<BackPanelList *>(list);
    for (const bf::board::BackplaneKind &kind : bf::board::backplane_kinds) {
        if (kind.board_id != board_id) {
            continue;
        }
        const auto next = static_cast<uint32_t>(panels->totalnum);
        if (next >= std::size(panels->singlepaneldev)) {
            IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]backpanel list is full, drop card %u",
                                 log_source, __LINE__, position_row[bf::board::position_card]);
            return;
        }
        panels->singlepaneldev[next] = panel_at(position_row, kind);
        ++panels->totalnum;
    }
}

int32_t hdd_get_disk_backpanel_list(void *list) {
    if (list == nullptr) {
        return -1;
    }
    static_cast<BackPanelList *>(list)->totalnum = 0;
    for (const auto &position : bf::board::backplane_positions) {
        const uint32_t card = position[bf::board::position_card];
        if (GetCardOnlineStatus(card) == 0) {
            continue;
        }
        const uint32_t board_id = GetCardBoardId(card);
        if (board_id == BF_NO_BOARD_ID) {
            return -1;
        }
        hdd_fillSupportBackPanelInfo(position, board_id, list);
    }
    return 0;
}

int32_t GetAllHddBackPanelDevInfo(void *list) { return hdd_get_disk_backpanel_list(list); }
int32_t GetAllHddInfo(void *list) { return hdd_get_disk_backpanel_list(list); }

uint32_t get_max_disk_count() {
    BackPanelList list = {};
    if (hdd_get_disk_backpanel_list(&list) != 0) {
        return 0;
    }
    uint32_t slots = 0;
    for (int32_t i = 0; i < list.totalnum; ++i) {
        slots += list.singlepaneldev[i].maxslot;
    }
    return slots;
}
uint32_t GetDiskMaxNum() { return get_max_disk_count(); }

uint32_t GetHddStartBySlotId(uint32_t card_index) {
    BackPanelList list = {};
    if (hdd_get_disk_backpanel_list(&list) != 0) {
        return 0;
    }
    for (int32_t i = 0; i < list.totalnum; ++i) {
        if (list.singlepaneldev[i].card_index == card_index) {
            return list.singlepaneldev[i].startslot;
        }
    }
    return 0;
}

uint32_t _is_front_zone_slot_valid(uint32_t slot) {
    if (isdone == 0) {
        tBackPanelList = {};
        if (hdd_get_disk_backpanel_list(&tBackPanelList) != 0) {
            IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]get backpanel faild!", log_source,
                                 __LINE__);
            return 0;
        }
        isdone = 1;
        LOG_INFO(module_registry, "isdone now is:%d, ", isdone);
    }
    LOG_DEBUG(module_trace, "tBackPanelList.totalnum:%d", tBackPanelList.totalnum);
    uint32_t valid = 0;
    for (int32_t i = 0; i < tBackPanelList.totalnum; ++i) {
        const BackPanelDev &panel = tBackPanelList.singlepaneldev[i];
        LOG_DEBUG(module_trace,
                  "tBackPanelList.singlepaneldev[%d].startslot:%d "
                  "tBackPanelList.singlepaneldev[%d].maxslot:%d",
                  i, panel.startslot, i, panel.maxslot);
        valid |= static_cast<uint32_t>(shows(panel, slot));
    }
    return valid;
}

uint32_t hdd_Isdiskslotvalid(uint32_t zone, uint32_t slot) {
    return zone == front_zone ? _is_front_zone_slot_valid(slot) : 0;
}
uint32_t IsDiskSlotValid(uint32_t zone, uint32_t slot) { return hdd_Isdiskslotvalid(zone, slot); }

}  // extern "C"
