// The slots and disk bays of a backplane device whose uplinks are bound, with their CPU lanes.
#include <cstdio>

#include "boardfeatures/pcieid_enum.h"
#include "common/pcieid/lists.h"
#include "common/pcieid/pcieid_log.h"
#include "common/pcieid/steps.h"

static constexpr char log_source[] = "identity_bpdev";

namespace bf::pcieid {
namespace {

constexpr uint32_t lane_unassigned = 0xFFFF;

bool indices_below(std::span<const uint32_t> indices, uint32_t limit) {
    return std::all_of(indices.begin(), indices.end(),
                       [limit](uint32_t index) { return index < limit; });
}

bool is_consistent(const bpdev_item &device) {
    if (device.downslot_count > BPDEV_MAX_DOWNSLOTS || device.uplink_count > BPDEV_MAX_UPLINKS) {
        return false;
    }
    for (const bpdev_downslot &slot : bf::entries(device.downslots, device.downslot_count)) {
        if (slot.uplink_count > BPDEV_MAX_OFFSETS ||
            !indices_below(bf::entries(slot.uplinks, slot.uplink_count), device.uplink_count)) {
            return false;
        }
    }
    for (const bpdev_uplink &uplink : bf::entries(device.uplinks, device.uplink_count)) {
        if (uplink.slot_count > BPDEV_MAX_OFFSETS ||
            !indices_below(bf::entries(uplink.slots, uplink.slot_count), device.downslot_count)) {
            return false;
        }
    }
    return true;
}

void add_source(pciecap_list &up, const slimline_item &source) {
    up.links[up.count++] = {source.cpu, source.x1_start, source.width, source.reserved};
}

void add_slot(pciecap_list &down, const bpdev_downslot &slot) {
    down.links[down.count++] = {lane_unassigned, lane_unassigned, slot.width, slot.sequence};
}

pciecfg_item item_of(const bpdev_item &device, const bpdev_downslot &slot, uint32_t type,
                     const char *kind, const pciecap_link &lanes) {
    const uint32_t number = slot.offset + (device.gid == 0 ? device.slot_base : 0);
    pciecfg_item item = {};
    item.type = type;
    item.number = static_cast<uint8_t>(number);
    std::snprintf(item.name, sizeof(item.name), "%s SLOT %u", kind, number);
    item.cpu = lanes.cpu;
    item.x1_start = lanes.x1_start;
    item.width = lanes.width;
    item.reserved = lanes.sequence;
    return item;
}

char sequence_letter(const pciecfg_item &item) {
    return item.reserved == PCIECAP_OBVERSE ? 'O' : 'R';
}

// The list and, when asked for, where each of its items comes from.
struct Result {
    pciecfg_list &cfg;
    pcieid_origin *origins;

    bool add(const pciecfg_item &item, uint32_t downslot, std::span<const uint32_t> uplinks) {
        if (!bf::append(cfg, item)) {
            return false;
        }
        if (origins != nullptr) {
            pcieid_origin &origin = origins[cfg.count - 1];
            origin.downslot = downslot;
            origin.uplink_count = static_cast<uint32_t>(uplinks.size());
            std::copy(uplinks.begin(), uplinks.end(), origin.uplinks);
        }
        return true;
    }
};

// Slots of a riser-type backplane: each takes the lanes of all uplinks that feed it.
void pciebp_pcieslot_identity(const bpdev_item &device, Result &result) {
    for (uint32_t d = 0; d < device.downslot_count; ++d) {
        const bpdev_downslot &slot = device.downslots[d];
        const auto uplinks = bf::entries(slot.uplinks, slot.uplink_count);
        pciecap_list up = {};
        for (const uint32_t uplink : uplinks) {
            add_source(up, device.uplinks[uplink].source);
        }
        pciecap_list down = {};
        add_slot(down, slot);
        const int32_t converted = pciecap_convert(&up, &down);
        if (converted < 0) {
            PCIEID_WARN("%s(@%d), pciecap_convert(hwid=%04x, up=%u, down=%u)=%d\n", device.hwid,
                        up.count, down.count, converted);
            continue;
        }
        const pciecfg_item item = item_of(device, slot, PCIECFG_PCIE_SLOT, "PCIe", down.links[0]);
        if (!result.add(item, d, uplinks)) {
            PCIEID_WARN("%s(@%d), pciecfglist->item_count(%u) overflow.\n", result.cfg.count);
            return;
        }
        PCIEID_WARN("%s(@%d), %s | CPU-%u,LANE-%u,WIDTH-%u,SEQ-%c | VPP-%02x,IO-%u\n", item.name,
                    item.cpu, item.x1_start, item.width, sequence_letter(item), item.vpp_address,
                    item.vpp_port);
    }
}

// Bays of a disk backplane: each uplink's lanes are cut into its bays, which stand in the order of
// the ports of the VPP expander that belongs to the uplink's socket.
void hddbp_nvmeslot_identity(const bpdev_item &device, Result &result) {
    for (uint32_t u = 0; u < device.uplink_count; ++u) {
        const bpdev_uplink &uplink = device.uplinks[u];
        const auto slots = bf::entries(uplink.slots, uplink.slot_count);
        pciecap_list up = {};
        add_source(up, uplink.source);
        pciecap_list down = {};
        for (const uint32_t slot : slots) {
            add_slot(down, device.downslots[slot]);
        }
        const int32_t converted = pciecap_convert(&up, &down);
        if (converted < 0) {
            PCIEID_WARN("%s(@%d), pciecap_convert(hwid=%04x, up=%u, down=%u)=%d\n", device.hwid,
                        up.count, down.count, converted);
            continue;
        }
        for (uint32_t j = 0; j < slots.size(); ++j) {
            pciecfg_item item =
                item_of(device, device.downslots[slots[j]], PCIECFG_HDD_SLOT, "HDD", down.links[j]);
            item.vpp_address = static_cast<uint16_t>(uplink.source.vpp_address);
            item.vpp_port = static_cast<uint8_t>(j);
            if (!result.add(item, slots[j], {&u, 1})) {
                PCIEID_WARN("%s(@%d), pciecfglist->item_count(%u) overflow.\n", result.cfg.count);
                return;
            }
            PCIEID_WARN("%s(@%d), %s | CPU-%u,LANE-%u,WIDTH-%u,SEQ-%c | VPP-%02x,IO-%u\n",
                        item.name, item.cpu, item.x1_start, item.width, sequence_letter(item),
                        item.vpp_address, item.vpp_port);
        }
    }
}

}  // namespace

int32_t bpdev_slot_identity(const bpdev_item *device, pciecfg_list *cfg, pcieid_origin *origins) {
    if (!is_consistent(*device)) {
        PCIEID_WARN("%s(@%d), backplane device para check failed.\n");
        return -1;
    }
    Result result = {*cfg, origins};
    switch (device->kind) {
        case BPDEV_DISK:
            hddbp_nvmeslot_identity(*device, result);
            return 0;
        case BPDEV_RISER:
            pciebp_pcieslot_identity(*device, result);
            return 0;
        default:
            PCIEID_WARN("%s(@%d), unknown bpdev type(%u)\n", device->kind);
            return -1;
    }
}

}  // namespace bf::pcieid

extern "C" {

int32_t bpdev_slot_identity(const bpdev_item *device, pciecfg_list *cfg) {
    if (device == nullptr || cfg == nullptr) {
        return -1;
    }
    // The list is replaced only when the device can be worked out.
    const uint32_t count = cfg->count;
    cfg->count = 0;
    const int32_t result = bf::pcieid::bpdev_slot_identity(device, cfg, nullptr);
    if (result < 0) {
        cfg->count = count;
    }
    return result;
}

}  // extern "C"
