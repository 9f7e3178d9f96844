// What PCIe identification knows about this board.
#include <cstring>

#include "boardfeatures/identity.h"
#include "common/pcieid/pcieid_log.h"
#include "main/bpdev_table.h"
#include "main/mainboard_slot_table.h"
#include "main/riser_table.h"

static constexpr char log_source[] = "pcieid_metadata";

namespace {

template <typename List>
int32_t copy_list(const List &table, List *out) {
    if (out == nullptr) {
        return -1;
    }
    *out = table;
    return 0;
}

struct FrontCards {
    uint32_t second;
    uint32_t third;

    bool complete() const { return second != BF_NO_BOARD_ID && third != BF_NO_BOARD_ID; }
    bool has(uint32_t index, uint32_t hwid) const {
        return (index == bf::board::second_front_base.index && second == hwid) ||
               (index == bf::board::third_front_base.index && third == hwid);
    }
};

// A backplane that has just got power may not answer at once.
FrontCards read_front_cards() {
    constexpr int attempts = 4;
    FrontCards cards = {};
    for (int i = 0; i < attempts; ++i) {
        cards.second = GetCardBoardId(bf::board::second_front_base.index);
        cards.third = GetCardBoardId(bf::board::third_front_base.index);
        if (cards.complete()) {
            break;
        }
    }
    return cards;
}

}  // namespace

extern "C" {

int32_t board_get_max_cpu_count() { return bf::board::max_cpu_count; }
int32_t board_get_max_cpux1lane_count() { return bf::board::max_cpux1lane_count; }

int32_t board_get_cpu_port_lanes_list(pciecap_list *list) {
    if (list == nullptr) {
        return -1;
    }
    list->count = 0;
    return 0;
}

int32_t board_get_mainboard_slot_list(mbslot_list *list) {
    return copy_list(bf::board::mainboard_slots, list);
}

int32_t board_get_mainboard_slimline_list(slimline_list *list) {
    return copy_list(bf::board::mainboard_slimlines, list);
}

int32_t board_get_mainboard_noslimline_vpp_list(noslimline_vpp_list *list) {
    if (list == nullptr) {
        return -1;
    }
    return memcpy_s(list, sizeof(*list), &bf::board::mainboard_noslimline_vpps,
                    sizeof(bf::board::mainboard_noslimline_vpps));
}

int32_t board_get_backplane_mbifc_list(mb2bpifc_list *list) {
    if (list == nullptr) {
        return -1;
    }
    const FrontCards cards = read_front_cards();
    if (cards.second == bf::board::second_front_base.hwid) {
        PCIEID_INFO("[Func:%s,Line:%d], slot10 board id is 0x%x\n", cards.second);
    }
    if (cards.third == bf::board::third_front_base.hwid) {
        PCIEID_INFO("[Func:%s,Line:%d], slot11 board id is 0x%x\n", cards.third);
    }
    *list = {};
    for (const bf::board::InterfaceRow &row : bf::board::interface_table) {
        mb2bpifc_item &item = list->items[list->count++];
        static_assert(sizeof(row.name) == sizeof(item.route.name));
        std::memcpy(item.name, row.name, sizeof(row.name));
        std::memcpy(item.route.name, row.name, sizeof(row.name));
        item.hwid_index = row.hwid_index;
        item.route.bus = row.bus;
        item.route.address = 0xFF;
        item.disk_slot_base = cards.has(row.disk_slots.index, row.disk_slots.hwid)
                                  ? row.disk_slots.base_with_it
                                  : row.disk_slots.base;
        item.riser_slot_base = row.riser_slot_base;
    }
    return 0;
}

int32_t board_get_support_pcieriser_list(pcieriser_list *list) {
    return get_riserlist_metadata_by_hwids(&bf::board::supported_risers, list);
}

int32_t board_get_support_bpdev_list(bpdev_record_list *list) {
    return get_bpdevlist_metadata_by_hwids(&bf::board::supported_bpdevs, list);
}

int32_t board_get_support_retimer_list(retimer_list *list) {
    return get_retimerlist_metadata_by_hwids(&bf::board::supported_retimers, list);
}

}  // extern "C"
