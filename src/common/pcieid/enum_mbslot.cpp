// The slots of the mainboard and of the risers in it, and which of them hold a retimer card.
#include <cstdio>

#include "boardfeatures/pcieid_enum.h"
#include "common/pcieid/lists.h"
#include "common/pcieid/pcieid_log.h"
#include "common/pcieid/steps.h"

static constexpr char log_source[] = "enum_mbslot";

namespace bf::pcieid {
namespace {

constexpr uint32_t lane_unassigned = 0xFFFFFFFF;
constexpr uint32_t max_mux_levels = 2;

uint32_t i2cmux_count_of(const I2cChipRoute &route) {
    if ((route.switch_address & 0xFFFF) == 0) {
        return 0;
    }
    return route.switch_address < 0x10000 ? 1 : 2;
}

// The parent's switch becomes the outer level.
uint32_t outer_and_inner(uint32_t parent, uint32_t child) {
    return (child & 0xFFFF) | (parent << 16);
}

// A riser's or retimer's lanes before they are worked out.
pciecap_link unassigned(uint32_t width, uint32_t sequence) {
    return {lane_unassigned, lane_unassigned, width, sequence};
}

// Every slot of the riser in a connector, or none at all.
int32_t pcieriser_to_pcieslot(const mbslot_item &connector, const pcieriser_item &riser,
                              pcieslot_item (&slots)[PCIERISER_MAX_SLOTS]) {
    const auto &wiring = connector.wiring.riser;
    if (wiring.port_count > MBSLOT_MAX_PORTS || riser.slot_count > PCIERISER_MAX_SLOTS) {
        PCIEID_WARN("%s(@%d), port_count(%u) or slot_count(%u) overflow.\n", wiring.port_count,
                    riser.slot_count);
        return -1;
    }
    pciecap_list up = {};
    for (const pciecap_link &port : bf::entries(wiring.ports, wiring.port_count)) {
        up.links[up.count++] = port;
    }
    pciecap_list down = {};
    for (const pcieriser_slot &slot : bf::entries(riser.slots, riser.slot_count)) {
        down.links[down.count++] = unassigned(slot.width, slot.reserved);
    }
    int32_t result = pciecap_convert(&up, &down);
    if (result < 0) {
        PCIEID_WARN("%s(@%d), pciecap_convert()=%d\n", result);
        PCIEID_WARN("%s(@%d), <<needs add data dump later...>>\n");
        return result;
    }
    for (uint32_t k = 0; k < riser.slot_count; ++k) {
        const pcieriser_slot &from = riser.slots[k];
        const pciecap_link &lanes = down.links[k];
        const uint32_t offset = from.slot - connector.slot;
        pcieslot_item &slot = slots[k];
        slot = {};
        slot.type = MBSLOT_PCIE;
        std::snprintf(slot.name, sizeof(slot.name), "PCIe RISER(Slot#%u)'s SubSlotOffset#%u",
                      connector.hwid_index, offset);
        slot.virtual_slot = wiring.virtual_slot_base + offset;
        slot.cpu = lanes.cpu;
        slot.x1_start = lanes.x1_start;
        slot.width = lanes.width;
        slot.reserved = lanes.sequence;
        slot.slot = riser.board_numbers == 1 ? from.slot : from.slot + connector.slot;
        result = i2c_topo_merge(&connector.hwid_device, &from.route, &slot.hwid_device);
        if (result < 0) {
            PCIEID_WARN("%s(@%d), i2c_topo_merge()=%d\n", result);
            PCIEID_WARN("%s(@%d), <<needs add data dump later...>>\n");
            return result;
        }
    }
    return 0;
}

// The slots of a riser connector; the riser's place in its list, or PCIEID_NONE without slots.
uint32_t mbslot_to_pcieslot_via_pcieriser(const mbslot_item &connector,
                                          const pcieriser_list &risers,
                                          pcieslot_item (&slots)[PCIERISER_MAX_SLOTS]) {
    const uint32_t hwid = hwid_of(connector.hwid_index);
    const auto known = bf::entries(risers);
    uint32_t ridx = 0;
    while (ridx < known.size() && known[ridx].hwid != hwid) {
        ++ridx;
    }
    if (ridx >= known.size()) {
        PCIEID_WARN("%s(@%d), hwid=%04x, ridx(%u)>=riserlist->item_count(%u)\n", hwid, ridx,
                    risers.count);
        return PCIEID_NONE;
    }
    return pcieriser_to_pcieslot(connector, known[ridx], slots) < 0 ? PCIEID_NONE : ridx;
}

pcieslot_item slot_of(const mbslot_item &connector) {
    const auto &lanes = connector.wiring.lanes;
    pcieslot_item slot = {
        connector.type, {},          connector.hwid_index, connector.hwid_device, lanes.cpu,
        lanes.x1_start, lanes.width, lanes.reserved,       connector.slot};
    bf::copy_name(slot.name, connector.name);
    return slot;
}

// The last port with the socket's lanes counts.
uint32_t vpp_address_of(const noslimline_vpp_list &vpps, const slimline_item &socket) {
    uint32_t address = 0;
    for (const noslimline_vpp_item &port : bf::entries(vpps)) {
        if (port.cpu == socket.cpu && port.x1_start == socket.x1_start) {
            address = port.vpp_address;
        }
    }
    return address;
}

// Appends the sockets of the retimer card in a slot: all of them or, when one does not work out,
// none.
void retimer_to_slimline(const pcieslot_item &slot, const retimer_item &retimer,
                         const noslimline_vpp_list &vpps, slimline_list &slimlines) {
    if (retimer.port_count > RETIMER_MAX_PORTS) {
        PCIEID_WARN("%s(@%d), port_count(%u) overflow.\n", retimer.port_count);
        return;
    }
    pciecap_list up = {};
    up.links[up.count++] = {slot.cpu, slot.x1_start, slot.width, slot.reserved};
    pciecap_list down = {};
    for (const retimer_port &port : bf::entries(retimer.ports, retimer.port_count)) {
        down.links[down.count++] = unassigned(port.width, port.sequence);
    }
    int32_t result = pciecap_convert(&up, &down);
    if (result < 0) {
        PCIEID_WARN("%s(@%d), pciecap_convert()=%d\n", result);
        PCIEID_WARN("%s(@%d), <<needs add data dump later...>>\n");
        return;
    }
    slimline_item sockets[RETIMER_MAX_PORTS] = {};
    for (uint32_t k = 0; k < retimer.port_count; ++k) {
        const pciecap_link &lanes = down.links[k];
        slimline_item &socket = sockets[k];
        std::snprintf(socket.name, sizeof(socket.name) - 1, "Retimer's SLIMLINE %u @ PCIeSlot %u",
                      k, slot.slot);
        socket.cpu = lanes.cpu;
        socket.x1_start = lanes.x1_start;
        socket.width = lanes.width;
        socket.reserved = lanes.sequence;
        result = i2c_topo_merge(&slot.hwid_device, &retimer.ports[k].io, &socket.io);
        if (result < 0) {
            PCIEID_WARN("%s(@%d), i2c_topo_merge()=%d\n", result);
            PCIEID_WARN("%s(@%d), <<needs add data dump later...>>\n");
            return;
        }
        socket.vpp_address = vpp_address_of(vpps, socket);
    }
    for (const slimline_item &socket : bf::entries(sockets, retimer.port_count)) {
        if (!bf::append(slimlines, socket)) {
            PCIEID_WARN("%s(@%d), slimlinelist->item_count(%u) overflow.\n", slimlines.count);
            return;
        }
        PCIEID_INFO("%s(@%d), Found Retimer's SLIMLINE @ %s(vSlot %d).\n",
                    bf::Terminated(slot.name).text, static_cast<int>(slot.virtual_slot));
    }
}

struct ItemKind {
    uint32_t slot_type;
    uint32_t item_type;
    char name[8];
};

constexpr ItemKind item_kinds[] = {
    {MBSLOT_MEZZANINE, PCIECFG_MEZZ_SLOT, "MEZZ"},
    {MBSLOT_OCP, PCIECFG_OCP_SLOT, "OCP"},
    {MBSLOT_PCIE, PCIECFG_PCIE_SLOT, "PCIe"},
};

pciecfg_item item_of(const pcieslot_item &slot) {
    pciecfg_item item = {};
    item.number = static_cast<uint8_t>(slot.slot);
    item.cpu = slot.cpu;
    item.x1_start = slot.x1_start;
    item.width = slot.width;
    for (const ItemKind &kind : item_kinds) {
        if (kind.slot_type == slot.type) {
            item.type = kind.item_type;
            std::snprintf(item.name, sizeof(item.name) - 1, "%s SLOT %u", kind.name, slot.slot);
        }
    }
    return item;
}

}  // namespace

int32_t mbslot_enum(const mbslot_list *mbslots, const pcieriser_list *risers, pcieslot_list *out,
                    const SlotSources *sources) {
    if (mbslots == nullptr || risers == nullptr || out == nullptr) {
        return -1;
    }
    if (mbslots->count > MBSLOT_MAX_ITEMS) {
        PCIEID_WARN("%s(@%d), mbslotlist->item_count(%u) overflow.\n", mbslots->count);
        return -1;
    }
    out->count = 0;
    for (uint32_t k = 0; k < mbslots->count; ++k) {
        const mbslot_item &connector = mbslots->items[k];
        pcieslot_item slots[PCIERISER_MAX_SLOTS];
        uint32_t slot_count = 0;
        uint32_t riser = PCIEID_NONE;
        switch (connector.type) {
            case MBSLOT_MEZZANINE:
            case MBSLOT_OCP:
            case MBSLOT_PCIE:
                slots[0] = slot_of(connector);
                slot_count = 1;
                break;
            case MBSLOT_RISER:
                riser = mbslot_to_pcieslot_via_pcieriser(connector, *risers, slots);
                slot_count = riser == PCIEID_NONE ? 0 : risers->items[riser].slot_count;
                break;
            default:
                break;
        }
        for (const pcieslot_item &slot : bf::entries(slots, slot_count)) {
            // 16 connectors of 8 slots fill the list exactly.
            if (bf::append(*out, slot) && sources != nullptr) {
                sources->connectors[out->count - 1] = k;
                sources->risers[out->count - 1] = riser;
            }
        }
    }
    return 0;
}

int32_t pcieslot_enum(const pcieslot_list *pcieslots, const retimer_list *retimers,
                      const noslimline_vpp_list *vpps, slimline_list *slimlines, pciecfg_list *cfg,
                      const ItemSources *sources) {
    if (pcieslots == nullptr || retimers == nullptr || vpps == nullptr || slimlines == nullptr ||
        cfg == nullptr) {
        return -1;
    }
    slimlines->count = 0;
    cfg->count = 0;
    if (pcieslots->count > PCIESLOT_MAX_ITEMS) {
        PCIEID_WARN("%s(@%d), pcieslotlist->item_count(%u) overflow.\n", pcieslots->count);
    }
    for (uint32_t k = 0; k < std::min(pcieslots->count, PCIESLOT_MAX_ITEMS); ++k) {
        const pcieslot_item &slot = pcieslots->items[k];
        const bf::Terminated name(slot.name);
        if (slot.type == MBSLOT_PCIE) {
            const uint32_t hwid = hwid_of(slot.virtual_slot);
            const auto known = bf::entries(*retimers);
            const auto retimer = std::find_if(
                known.begin(), known.end(),
                [hwid](const retimer_item &candidate) { return candidate.hwid == hwid; });
            if (retimer != known.end()) {
                PCIEID_INFO("%s(@%d), Found Retimer @ %s(vSlot %d), HWID is %04x(H).\n", name.text,
                            static_cast<int>(slot.virtual_slot), hwid);
                const uint32_t first = slimlines->count;
                retimer_to_slimline(slot, *retimer, *vpps, *slimlines);
                if (sources != nullptr) {
                    std::fill(sources->slimlines + first, sources->slimlines + slimlines->count, k);
                }
                continue;
            }
        }
        if (!bf::append(*cfg, item_of(slot))) {
            PCIEID_WARN("%s(@%d), pciecfglist->item_count(%u) overflow.\n", cfg->count);
            continue;
        }
        if (sources != nullptr) {
            sources->items[cfg->count - 1].pcieslot = k;
        }
        PCIEID_INFO("%s(@%d), Found PCIe SLOT @ %s(vSlot %u).\n", name.text, slot.virtual_slot);
    }
    return 0;
}

}  // namespace bf::pcieid

extern "C" {

int32_t i2c_topo_merge(const I2cChipRoute *parent, const I2cChipRoute *child, I2cChipRoute *out) {
    if (parent == nullptr || child == nullptr || out == nullptr) {
        return -1;
    }
    const uint32_t parent_levels = bf::pcieid::i2cmux_count_of(*parent);
    const uint32_t child_levels = bf::pcieid::i2cmux_count_of(*child);
    if (child_levels != 0 && parent_levels + child_levels > bf::pcieid::max_mux_levels) {
        PCIEID_WARN(
            "%s(@%d), i2cmux_count_of_parent = %u, i2cmux_count_of_child = %u, total level > 2, "
            "invalid\n",
            parent_levels, child_levels);
        return -1;
    }
    I2cChipRoute merged = {};
    if (parent_levels == 0) {
        merged.switch_address = child->switch_address;
        merged.switch_channel = child->switch_channel;
    } else if (child_levels == 1) {
        merged.switch_address =
            bf::pcieid::outer_and_inner(parent->switch_address, child->switch_address);
        merged.switch_channel =
            bf::pcieid::outer_and_inner(parent->switch_channel, child->switch_channel);
    } else {
        merged.switch_address = parent->switch_address;
        merged.switch_channel = parent->switch_channel;
    }
    merged.bus = parent->bus;
    merged.address = child->address;
    merged.flags = child->flags;
    bf::copy_name(merged.name, child->name);
    *out = merged;
    return 0;
}

int32_t mbslot_enum(const mbslot_list *mbslots, const pcieriser_list *risers, pcieslot_list *out) {
    return bf::pcieid::mbslot_enum(mbslots, risers, out, nullptr);
}

int32_t pcieslot_enum(const pcieslot_list *pcieslots, const retimer_list *retimers,
                      const noslimline_vpp_list *vpps, slimline_list *slimlines,
                      pciecfg_list *cfg) {
    return bf::pcieid::pcieslot_enum(pcieslots, retimers, vpps, slimlines, cfg, nullptr);
}

}  // extern "C"
