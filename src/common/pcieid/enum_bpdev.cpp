// Which backplane devices are fitted, and where.
#include "boardfeatures/pcieid_enum.h"
#include "common/pcieid/lists.h"
#include "common/pcieid/pcieid_log.h"
#include "common/pcieid/steps.h"

static constexpr char log_source[] = "enum_bpdev";

namespace bf::pcieid {

int32_t bpdev_enum(const mb2bpifc_list *ifcs, const bpdev_record_list *metadata, bpdev_list *out,
                   uint32_t *interfaces) {
    if (ifcs == nullptr || metadata == nullptr || out == nullptr) {
        return -1;
    }
    if (ifcs->count > MB2BPIFC_MAX_ITEMS) {
        PCIEID_WARN("%s(@%d), mb2bpifclist->item_count=%u, overflow.\n", ifcs->count);
        return -1;
    }
    out->count = 0;
    for (uint32_t k = 0; k < ifcs->count; ++k) {
        const mb2bpifc_item &ifc = ifcs->items[k];
        const uint32_t hwid = hwid_of(ifc.hwid_index);
        PCIEID_INFO("%s(@%d), HWID(slot%u) is %04x(H)\n", ifc.hwid_index, hwid);
        for (const bpdev_record &record : bf::entries(*metadata)) {
            // One device an interface: there is always room.
            bpdev_item &device = out->items[out->count];
            if (record.hwid != hwid) {
                continue;
            }
            device = {};
            if (merge_bpdev_with_mb2bpifc(&ifc, &record, &device) < 0) {
                continue;
            }
            if (interfaces != nullptr) {
                interfaces[out->count] = k;
            }
            ++out->count;
            PCIEID_WARN("%s(@%d), Found Backplane Device @ vSlot%u, HWID is %04x(H)\n",
                        ifc.hwid_index, hwid);
            break;
        }
    }
    return 0;
}

}  // namespace bf::pcieid

extern "C" {

int32_t merge_bpdev_with_mb2bpifc(const mb2bpifc_item *ifc, const bpdev_record *record,
                                  bpdev_item *out) {
    if (ifc == nullptr || record == nullptr || out == nullptr) {
        return -1;
    }
    out->kind = record->kind;
    out->hwid = record->hwid;
    out->gid = record->gid;
    out->slot_base = record->kind == BPDEV_DISK ? ifc->disk_slot_base : ifc->riser_slot_base;
    int32_t result = i2c_topo_merge(&ifc->route, &record->hwid_device, &out->hwid_device);
    if (result < 0) {
        PCIEID_WARN("%s(@%d), i2c_topo_merge()=%d\n", result);
        return result;
    }
    result = i2c_topo_merge(&ifc->route, &record->second_device, &out->second_device);
    if (result < 0) {
        PCIEID_WARN("%s(@%d), i2c_topo_merge()=%d\n", result);
        return result;
    }
    out->uplink_count = record->uplink_count;
    uint32_t k = 0;
    for (const bpdev_record_uplink &from : bf::entries(record->uplinks, record->uplink_count)) {
        bpdev_uplink &uplink = out->uplinks[k++];
        uplink.width = from.width;
        result = i2c_topo_merge(&ifc->route, &from.io, &uplink.io);
        if (result < 0) {
            PCIEID_WARN("%s(@%d), i2c_topo_merge()=%d\n", result);
            return result;
        }
        uplink.slot_count = from.slot_count;
        std::copy(std::begin(from.slots), std::end(from.slots), uplink.slots);
        uplink.source = {};
    }
    out->downslot_count = record->downslot_count;
    std::copy(std::begin(record->downslots), std::end(record->downslots), out->downslots);
    return 0;
}

int32_t bpdev_enum(const mb2bpifc_list *ifcs, const bpdev_record_list *metadata, bpdev_list *out) {
    return bf::pcieid::bpdev_enum(ifcs, metadata, out, nullptr);
}

}  // extern "C"
