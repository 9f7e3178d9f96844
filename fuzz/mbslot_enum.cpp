// Expands arbitrary connectors with arbitrary risers, and the slots that come out with arbitrary
// retimer cards. Which card answers comes from the input as well.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "boardfeatures/pcieid_enum.h"

namespace {

const uint8_t *input;
size_t left;

uint8_t next_byte() {
    if (left == 0) {
        return 0;
    }
    --left;
    return *input++;
}

// Fills an object with the next bytes and zeroes.
template <typename Object>
void take(Object &object, size_t limit) {
    const size_t count = std::min({sizeof(object), left, limit});
    std::memset(&object, 0, sizeof(object));
    std::memcpy(&object, input, count);
    input += count;
    left -= count;
}

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

mbslot_list mbslots;
pcieriser_list risers;
retimer_list retimers;
noslimline_vpp_list vpps;
pcieslot_list slots;
slimline_list slimlines;
pciecfg_list cfg;

}  // namespace

extern "C" {

// The identifier of whatever is asked: one of the known cards' or any.
int ei2c_pca9535_get_word_value(const I2cChipRoute *, uint32_t, uint32_t *value) {
    static constexpr uint32_t known[] = {0x5469, 0x5467, 0x546A, 0x5468, 0x5477, 0x5476, 0x546C};
    const uint8_t choice = next_byte();
    const uint32_t hwid = choice < 7 ? known[choice] : 0x5400u | next_byte();
    const uint32_t word = (hwid & 0x3FF) << 5;
    *value = __builtin_popcount(word) % 2 != 0 ? word : word | 0x8000;
    return choice == 255 ? -1 : 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    input = data;
    left = size;
    const uint8_t flags = next_byte();
    // The board's own lists, or what the input says.
    if ((flags & 1) != 0) {
        require(board_get_mainboard_slot_list(&mbslots) == 0);
    } else {
        take(mbslots, 1000);
        if ((flags & 16) != 0) {
            mbslots.count %= MBSLOT_MAX_ITEMS + 1;
        }
    }
    if ((flags & 2) != 0) {
        require(board_get_support_pcieriser_list(&risers) == 0);
    } else {
        take(risers, 1000);
    }
    if ((flags & 4) != 0) {
        require(board_get_support_retimer_list(&retimers) == 0);
    } else {
        take(retimers, 500);
    }
    require(board_get_mainboard_noslimline_vpp_list(&vpps) == 0);
    if ((flags & 8) != 0) {
        take(vpps, 200);
    }

    std::memset(&slots, 0xA5, sizeof(slots));
    const uint32_t untouched = slots.count;
    const int32_t result = mbslot_enum(&mbslots, &risers, &slots);
    require(result == (mbslots.count > MBSLOT_MAX_ITEMS ? -1 : 0));
    if (result != 0) {
        require(slots.count == untouched);
        take(slots, sizeof(slots));
    } else {
        require(slots.count <= PCIESLOT_MAX_ITEMS);
        for (uint32_t i = 0; i < slots.count; ++i) {
            const pcieslot_item &slot = slots.items[i];
            require(slot.type >= MBSLOT_MEZZANINE && slot.type <= MBSLOT_PCIE);
            require(std::memchr(slot.name, 0, sizeof(slot.name)) != nullptr);
        }
    }

    const uint32_t listed = std::min(slots.count, PCIESLOT_MAX_ITEMS);
    require(pcieslot_enum(&slots, &retimers, &vpps, &slimlines, &cfg) == 0);
    require(cfg.count <= listed && slimlines.count <= SLIMLINE_MAX_ITEMS);
    for (uint32_t i = 0; i < cfg.count; ++i) {
        require(std::memchr(cfg.items[i].name, 0, sizeof(cfg.items[i].name)) != nullptr);
        require(cfg.items[i].reserved == 0 && cfg.items[i].vpp_address == 0);
    }
    for (uint32_t i = 0; i < slimlines.count; ++i) {
        const slimline_item &socket = slimlines.items[i];
        require(std::memchr(socket.name, 0, sizeof(socket.name)) != nullptr);
        require(socket.width == 0 || socket.x1_start % socket.width == 0);
    }
    return 0;
}

}  // extern "C"
