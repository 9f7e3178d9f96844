// The whole identification: from what is fitted and cabled to the list in the flash.
#include <initializer_list>
#include <utility>

#include "boardfeatures/pcieid_enum.h"
#include "common/pcieid/lists.h"
#include "common/pcieid/pcieid_log.h"
#include "common/pcieid/steps.h"

static constexpr char log_source[] = "identify";

namespace bf::pcieid {
namespace {

constexpr pcieid_origin unknown_origin = {PCIEID_NONE, PCIEID_NONE, PCIEID_NONE, PCIEID_NONE,
                                          PCIEID_NONE, 0,           {},          {}};

// What needs no hardware access.
int32_t load_metadata(pcieid_workspace &work) {
    for (const int32_t result : {board_get_mainboard_slot_list(&work.mbslots),
                                 board_get_mainboard_slimline_list(&work.slimlines),
                                 board_get_mainboard_noslimline_vpp_list(&work.vpps),
                                 board_get_support_pcieriser_list(&work.risers),
                                 board_get_support_retimer_list(&work.retimers),
                                 board_get_support_bpdev_list(&work.records)}) {
        if (result != 0) {
            PCIEID_WARN("%s(@%d), board metadata copy=%d\n", result);
            return result;
        }
    }
    return 0;
}

// The slots of mainboard and risers; retimers' sockets join those of the mainboard.
int32_t find_slots(pcieid_workspace &work) {
    const SlotSources slot_sources = {work.slot_connectors, work.slot_risers};
    int32_t result = mbslot_enum(&work.mbslots, &work.risers, &work.pcieslots, &slot_sources);
    if (result != 0) {
        PCIEID_WARN("%s(@%d), mbslot_enum()=%d\n", result);
        return result;
    }
    uint32_t retimer_slots[SLIMLINE_MAX_ITEMS];
    const ItemSources item_sources = {work.origins, retimer_slots};
    result = pcieslot_enum(&work.pcieslots, &work.retimers, &work.vpps, &work.retimer_slimlines,
                           &work.identified, &item_sources);
    if (result != 0) {
        PCIEID_WARN("%s(@%d), pcieslot_enum()=%d\n", result);
        return result;
    }
    for (pcieid_origin &origin : bf::entries(work.origins, work.identified.count)) {
        origin.connector = work.slot_connectors[origin.pcieslot];
        origin.riser = work.slot_risers[origin.pcieslot];
    }
    std::fill_n(work.slimline_slots, work.slimlines.count, PCIEID_NONE);
    for (uint32_t k = 0; k < work.retimer_slimlines.count; ++k) {
        if (!bf::append(work.slimlines, work.retimer_slimlines.items[k])) {
            PCIEID_WARN("%s(@%d), slimlinelist->item_count(%u) overflow.\n", work.slimlines.count);
            break;
        }
        work.slimline_slots[work.slimlines.count - 1] = retimer_slots[k];
    }
    return 0;
}

int32_t find_devices(pcieid_workspace &work) {
    int32_t result = board_get_backplane_mbifc_list(&work.interfaces);
    if (result != 0) {
        PCIEID_WARN("%s(@%d), board_get_backplane_mbifc_list()=%d\n", result);
        return result;
    }
    result = bpdev_enum(&work.interfaces, &work.records, &work.devices, work.device_interfaces);
    if (result != 0) {
        PCIEID_WARN("%s(@%d), bpdev_enum()=%d\n", result);
    }
    return result;
}

// Appends the slots of a device, unless it is refused, and says what feeds each.
void identify_device(pcieid_workspace &work, uint32_t device) {
    const uint32_t first = work.identified.count;
    const int32_t result =
        bpdev_slot_identity(&work.devices.items[device], &work.identified, work.origins);
    if (result != 0) {
        PCIEID_WARN("%s(@%d), bpdev_slot_identity()=%d\n", result);
    }
    for (uint32_t i = first; i < work.identified.count; ++i) {
        pcieid_origin &origin = work.origins[i];
        origin.device = device;
        for (uint32_t k = 0; k < origin.uplink_count; ++k) {
            const pcieid_cable &cable = work.cables[device][origin.uplinks[k]];
            origin.sockets[k] = cable.state == PCIEID_CABLE_BOUND ? cable.word_index : PCIEID_NONE;
        }
    }
}

// Sorts the items and, by the index that each carries meanwhile, their origins.
int32_t sort_items(pcieid_workspace &work) {
    pciecfg_list &list = work.identified;
    for (uint32_t i = 0; i < list.count; ++i) {
        list.items[i].reserved = i;
    }
    const int32_t result = pciecfg_sort(&list, &list);
    if (result != 0) {
        PCIEID_WARN("%s(@%d), pciecfg_sort()=%d\n", result);
        return result;
    }
    for (uint32_t i = 0; i < list.count; ++i) {
        // An origin from an earlier place has moved on to where that place's own came from.
        uint32_t from = list.items[i].reserved;
        while (from < i) {
            from = list.items[from].reserved;
        }
        std::swap(work.origins[i], work.origins[from]);
    }
    for (uint32_t i = 0; i < list.count; ++i) {
        list.items[i].reserved = 0;
    }
    return 0;
}

int32_t identify(pcieid_workspace &work) {
    work.identified = {};
    std::fill(std::begin(work.origins), std::end(work.origins), unknown_origin);
    int32_t result = load_metadata(work);
    if (result != 0) {
        return result;
    }
    result = find_slots(work);
    if (result != 0) {
        return result;
    }
    src_slimline_output_all(&work.slimlines);
    result = find_devices(work);
    if (result != 0) {
        return result;
    }
    for (uint32_t device = 0; device < work.devices.count; ++device) {
        // Unbound uplinks only lose the slots behind them.
        bpdev_slimline_bind(&work.devices.items[device], &work.slimlines, work.cables[device]);
    }
    for (uint32_t device = 0; device < work.devices.count; ++device) {
        identify_device(work, device);
    }
    return sort_items(work);
}

// True when the flash holds the identified list.
bool is_stored(pcieid_workspace &work) {
    work.held.count = 0;
    return pciecfg_data_parser(&work.held) == 0 && pciecfg_sort(&work.held, &work.held) == 0 &&
           pciecfg_compare(&work.held, &work.identified) == 0;
}

}  // namespace
}  // namespace bf::pcieid

extern "C" {

int32_t pcieid_identify(pcieid_workspace *work, pciecfg_list *cfg) {
    if (work == nullptr || cfg == nullptr) {
        return -1;
    }
    const int32_t result = bf::pcieid::identify(*work);
    if (result == 0 && cfg != &work->identified) {
        *cfg = work->identified;
    }
    return result;
}

int32_t pcieid_identify_and_store(pcieid_workspace *work) {
    if (work == nullptr) {
        return -1;
    }
    work->stored = 0;
    int32_t result = bf::pcieid::identify(*work);
    if (result != 0) {
        return result;
    }
    if (bf::pcieid::is_stored(*work)) {
        PCIEID_INFO("%s(@%d), %u items, as stored.\n", work->identified.count);
        return 0;
    }
    result = pciecfg_data_update(&work->identified);
    if (result < 0) {
        PCIEID_WARN("%s(@%d), pciecfg_data_update()=%d\n", result);
        return result;
    }
    work->stored = 1;
    PCIEID_INFO("%s(@%d), %u items, stored.\n", work->identified.count);
    return 0;
}

}  // extern "C"
