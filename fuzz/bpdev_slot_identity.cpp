// Works out the slots of an arbitrary device record: nothing outside the record is read, and what
// comes out is a sound list.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "boardfeatures/pcieid_enum.h"

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

bool is_consistent(const bpdev_item &device) {
    if (device.downslot_count > BPDEV_MAX_DOWNSLOTS || device.uplink_count > BPDEV_MAX_UPLINKS) {
        return false;
    }
    for (uint32_t d = 0; d < device.downslot_count; ++d) {
        const bpdev_downslot &slot = device.downslots[d];
        for (uint32_t k = 0; k < slot.uplink_count; ++k) {
            if (k >= BPDEV_MAX_OFFSETS || slot.uplinks[k] >= device.uplink_count) {
                return false;
            }
        }
    }
    for (uint32_t u = 0; u < device.uplink_count; ++u) {
        const bpdev_uplink &uplink = device.uplinks[u];
        for (uint32_t k = 0; k < uplink.slot_count; ++k) {
            if (k >= BPDEV_MAX_OFFSETS || uplink.slots[k] >= device.downslot_count) {
                return false;
            }
        }
    }
    return true;
}

// Brings wild numbers into the range where the record means something.
void tame(bpdev_item &device) {
    device.kind = BPDEV_DISK + device.kind % 2;
    device.uplink_count %= BPDEV_MAX_UPLINKS + 1;
    device.downslot_count %= BPDEV_MAX_DOWNSLOTS + 1;
    const auto tame_indices = [](uint32_t &count, uint32_t *indices, uint32_t limit) {
        count = limit == 0 ? 0 : count % (BPDEV_MAX_OFFSETS + 1);
        for (uint32_t k = 0; k < count; ++k) {
            indices[k] %= limit;
        }
    };
    for (bpdev_uplink &uplink : device.uplinks) {
        tame_indices(uplink.slot_count, uplink.slots, device.downslot_count);
        uplink.source.cpu %= 2;
        uplink.source.x1_start %= 256;
        uplink.source.width = 1u << uplink.source.width % 5;
    }
    for (bpdev_downslot &slot : device.downslots) {
        tame_indices(slot.uplink_count, slot.uplinks, device.uplink_count);
        slot.width = 1u << slot.width % 5;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) {
        return 0;
    }
    static bpdev_item device;
    static bpdev_item before;
    static pciecfg_list cfg;
    std::memset(&device, 0, sizeof(device));
    std::memcpy(&device, data + 1, std::min(size - 1, sizeof(device)));
    if ((data[0] & 1) != 0) {
        tame(device);
    }
    before = device;
    std::memset(&cfg, 0xA5, sizeof(cfg));
    const uint32_t untouched = cfg.count;
    const int32_t result = bpdev_slot_identity(&device, &cfg);
    require(std::memcmp(&device, &before, sizeof(device)) == 0);
    const bool known_kind = device.kind == BPDEV_DISK || device.kind == BPDEV_RISER;
    require(result == (is_consistent(device) && known_kind ? 0 : -1));
    if (result != 0) {
        require(cfg.count == untouched);
        return 0;
    }
    require(cfg.count <= PCIECFG_MAX_ITEMS);
    for (uint32_t i = 0; i < cfg.count; ++i) {
        const pciecfg_item &item = cfg.items[i];
        require(std::memchr(item.name, 0, sizeof(item.name)) != nullptr);
        require(item.type == static_cast<uint32_t>(device.kind == BPDEV_DISK ? PCIECFG_HDD_SLOT
                                                                             : PCIECFG_PCIE_SLOT));
        // Lanes of no CPU never get into the list, and links start at a multiple of their width.
        require(item.width == 0 || item.x1_start % item.width == 0);
        require(item.vpp_port < BPDEV_MAX_OFFSETS);
    }
    return 0;
}
