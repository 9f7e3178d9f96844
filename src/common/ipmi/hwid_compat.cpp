// Reading the hardware identifier of a card position.
#include "base/bits.h"
#include "base/log.h"
#include "base/lookup.h"
#include "boardfeatures/identity.h"
#include "main/hardid_table.h"

static constexpr char log_source[] = "hwid_compat";

namespace {

// The 24-bit layout that both kinds of identifier are reported in.
constexpr uint32_t hard_id_mask = 0x7FFFFF;
constexpr uint32_t parity_bit = 0x800000;
constexpr uint32_t board_id_mask = 0x7FFF00;

// A one-chip board straps only the low 10 bits of its board id; the rest is common to all.
constexpr uint32_t one_chip_board_prefix = 0x5400;

void decode_two_chips(uint32_t value, HardIdInfo *out) {
    out->board_id = static_cast<uint16_t>((value & board_id_mask) >> 8);
    out->pcb_id = static_cast<uint8_t>((value & 0xF0) >> 4);
    out->bom_id = static_cast<uint8_t>(value & 0xF);
    out->hard_id = value & hard_id_mask;
    out->raw_value = value;
}

void decode_one_chip(uint32_t word, HardIdInfo *out) {
    const uint32_t board_id = one_chip_board_prefix | ((word & 0x7FE0) >> 5);
    const uint32_t pcb_id = (word & 0x18) >> 3;
    const uint32_t bom_id = word & 0x7;
    out->board_id = static_cast<uint16_t>(board_id);
    out->pcb_id = static_cast<uint8_t>(pcb_id);
    out->bom_id = static_cast<uint8_t>(bom_id);
    out->hard_id = bom_id | (pcb_id << 4) | (board_id << 8);
    // As a two-chip identifier would stand on its chips: with odd parity.
    out->raw_value = bf::odd_parity(out->hard_id, 23) ? out->hard_id : out->hard_id | parity_bit;
}

bool read_source(const HardIdSource &source, HardIdInfo *out) {
    uint32_t low = 0;
    if (ei2c_pca9535_get_word_value(&source.route[0], 0xFFFF, &low) != 0) {
        return false;
    }
    if (source.route[1].address == 0) {
        if (!bf::odd_parity(low, 16)) {
            return false;
        }
        decode_one_chip(low, out);
        return true;
    }
    uint32_t high = 0;
    if (ei2c_pca9535_get_word_value(&source.route[1], 0xFF, &high) != 0) {
        return false;
    }
    const uint32_t value = low | (high << 16);
    if (!bf::odd_parity(value, 24)) {
        return false;
    }
    decode_two_chips(value, out);
    return true;
}

}  // namespace

extern "C" {

int32_t get_hwid_compat(uint32_t key, HardIdInfo *out) {
    if (out == nullptr) {
        return -1;
    }
    for (const HardIdSource &source : bf::board::hardid_table) {
        if (source.key != key) {
            continue;
        }
        *out = {};
        if (read_source(source, out)) {
            return 0;
        }
    }
    return -1;
}

int32_t get_hwid_Smbus(uint32_t key, uint32_t *bus) {
    if (bus == nullptr) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]get_hwid_Smbus  failed! client == NULL!\n",
                             log_source, __LINE__);
        return -1;
    }
    const HardIdSource *source = bf::find_row(bf::board::hardid_table, &HardIdSource::key, key);
    if (source == nullptr) {
        IDBG_LINUXAPP_Runtime_DbgOut(bf::level_runtime, "[%s:%d]get_hwid_Smbus  failed!\n",
                                     log_source, __LINE__);
        return -1;
    }
    *bus = source->route[0].bus;
    return 0;
}

}  // extern "C"
