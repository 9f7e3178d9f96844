// The steps of the identification as the chain calls them: as exported, but they also tell where
// each entry of their results came from. The arrays have an element for each entry the result's
// type can hold; null when nobody asks.
#pragma once

#include "boardfeatures/pcieid_enum.h"

namespace bf::pcieid {

// What a pcieslot is made of.
struct SlotSources {
    uint32_t *connectors;
    uint32_t *risers;
};
int32_t mbslot_enum(const mbslot_list *mbslots, const pcieriser_list *risers, pcieslot_list *out,
                    const SlotSources *sources);

// The pcieslots that configuration items and slimline sockets are made of.
struct ItemSources {
    pcieid_origin *items;
    uint32_t *slimlines;
};
int32_t pcieslot_enum(const pcieslot_list *pcieslots, const retimer_list *retimers,
                      const noslimline_vpp_list *vpps, slimline_list *slimlines, pciecfg_list *cfg,
                      const ItemSources *sources);

int32_t bpdev_enum(const mb2bpifc_list *ifcs, const bpdev_record_list *metadata, bpdev_list *out,
                   uint32_t *interfaces);

int32_t bpdev_slimline_bind(bpdev_item *device, const slimline_list *slimlines,
                            pcieid_cable *cables);

// Appends to the list instead of replacing it.
int32_t bpdev_slot_identity(const bpdev_item *device, pciecfg_list *cfg, pcieid_origin *origins);

}  // namespace bf::pcieid
