// Board identity: the getters over one identifier, the base-info table, and what is derived from
// several identifiers.
#include "boardfeatures/identity.h"

#include "base/bits.h"
#include "base/log.h"
#include "base/lookup.h"
#include "main/hardid_table.h"

static constexpr char log_source[] = "boardid_common_info";

namespace {

constexpr uint32_t main_board_key = 0;

// One field of an identifier, or its error value.
template <typename Field>
uint32_t field_of(uint32_t key, Field HardIdInfo::*field, uint32_t error) {
    HardIdInfo info = {};
    return GetHardId(key, &info) == 0 ? info.*field : error;
}

// A card's field: key 0 is the main board, which is no card.
template <typename Field>
uint32_t card_field_of(uint32_t key, Field HardIdInfo::*field, uint32_t error) {
    return key == main_board_key ? 0 : field_of(key, field, error);
}

}  // namespace

extern "C" {

int32_t GetHardId(uint32_t key, HardIdInfo *out) {
    return out == nullptr ? -1 : get_hwid_compat(key, out);
}

int32_t GetHardIdInfo(uint32_t key, HardIdInfo *out) {
    return key == main_board_key ? -1 : GetHardId(key, out);
}

uint32_t GetBoardId() { return field_of(main_board_key, &HardIdInfo::board_id, BF_NO_BOARD_ID); }
uint32_t GetBoardPcbId() { return field_of(main_board_key, &HardIdInfo::pcb_id, BF_NO_PCB_ID); }
uint32_t GetBoardBomId() { return field_of(main_board_key, &HardIdInfo::bom_id, BF_NO_BOM_ID); }
uint32_t GetBoardHardId() { return field_of(main_board_key, &HardIdInfo::hard_id, BF_NO_HARD_ID); }
uint32_t GetBoardRawValue() {
    return field_of(main_board_key, &HardIdInfo::raw_value, BF_NO_HARD_ID);
}

uint32_t GetCardBoardId(uint32_t key) {
    return card_field_of(key, &HardIdInfo::board_id, BF_NO_BOARD_ID);
}
uint32_t GetCardPcbId(uint32_t key) {
    return card_field_of(key, &HardIdInfo::pcb_id, BF_NO_PCB_ID);
}
uint32_t GetCardBomId(uint32_t key) {
    return card_field_of(key, &HardIdInfo::bom_id, BF_NO_BOM_ID);
}
uint32_t GetCardHardId(uint32_t key) {
    return card_field_of(key, &HardIdInfo::hard_id, BF_NO_HARD_ID);
}

int32_t GetSmbus(uint32_t key, uint32_t *bus) {
    if (bus == nullptr) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]GetSmbus  failed! client == NULL!\n",
                             log_source, __LINE__);
        return -1;
    }
    return get_hwid_Smbus(key, bus);
}

int32_t _HardIdCheck(uint32_t count, const uint32_t *words, uint32_t *value) {
    if (words == nullptr || value == nullptr || count < 1 || count > 2) {
        return -1;
    }
    *value = count == 1 ? words[0] : words[0] | (words[1] << 16);
    return bf::odd_parity(*value, count == 1 ? 16 : 24) ? 0 : -1;
}

int32_t GetHardIdByI2CInfo(HardIdSource source, HardIdInfo *out) {
    if (out == nullptr || source.chips > std::size(source.route)) {
        return -1;
    }
    uint32_t words[std::size(source.route)] = {};
    for (uint32_t chip = 0; chip < source.chips; ++chip) {
        const uint32_t mask = chip == 0 ? 0xFFFF : 0xFF;
        const int result = ei2c_pca9535_get_word_value(&source.route[chip], mask, &words[chip]);
        if (result != 0) {
            return result;
        }
    }
    uint32_t value = 0;
    if (_HardIdCheck(source.chips, words, &value) != 0) {
        return -1;
    }
    if (source.chips == 1) {
        value &= 0xFF7F;  // bit 7 of a lone chip is not part of its identifier
    }
    *out = {};
    out->board_id = static_cast<uint16_t>((value & 0x7FFF00) >> 8);
    out->pcb_id = static_cast<uint8_t>((value & 0xF0) >> 4);
    out->bom_id = static_cast<uint8_t>(value & 0xF);
    out->hard_id = value & 0x7FFFFF;
    out->raw_value = value & 0xFFFFFF;
    return 0;
}

int32_t GetHardIdFromBaseInfoTable(uint32_t key, HardIdInfo *out) {
    if (out == nullptr) {
        return -1;
    }
    for (const HardIdSource &source : bf::board::base_info_table) {
        if (source.key == key && GetHardIdByI2CInfo(source, out) == 0) {
            return 0;
        }
    }
    return -1;
}

int32_t GetSmbusFromBaseInfoTable(uint32_t key, uint32_t *bus) {
    if (bus == nullptr) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug,
                             "[%s:%d]GetSmbusFromBaseInfoTable  failed! client == NULL!\n",
                             log_source, __LINE__);
        return -1;
    }
    const HardIdSource *source = bf::find_row(bf::board::base_info_table, &HardIdSource::key, key);
    if (source == nullptr) {
        IDBG_LINUXAPP_Runtime_DbgOut(
            bf::level_runtime, "[%s:%d]GetSmbusFromBaseInfoTable  failed!\n", log_source, __LINE__);
        return -1;
    }
    *bus = source->route[0].bus;
    return 0;
}

int32_t isTarnT() {
    HardIdInfo info = {};
    return GetHardId(main_board_key, &info) == 0 && info.board_id == bf::board::tarn_t_board_id &&
           info.bom_id == bf::board::tarn_t_bom_id;
}

int32_t GetHDbkBoardId() {
    uint32_t counted = 0;
    for (uint32_t key = bf::board::first_backplane_key; key <= bf::board::last_backplane_key;
         ++key) {
        const uint32_t board_id = GetCardBoardId(key);
        const auto *deciding = bf::find_row(bf::board::deciding_backplanes,
                                            &bf::board::DecidingBackplane::board_id, board_id);
        if (deciding != nullptr) {
            return deciding->code;
        }
        if (board_id == bf::board::counted_backplane_id) {
            ++counted;
        }
    }
    const uint8_t *code = bf::row_at(bf::board::backplane_count_codes, counted);
    return code != nullptr ? *code : bf::board::no_backplane_code;
}

uint32_t GetSpecialHDbkBoardId() {
    uint32_t answer = BF_NO_BOARD_ID;
    for (uint32_t key = bf::board::first_backplane_key; key <= bf::board::last_backplane_key;
         ++key) {
        const uint32_t board_id = GetCardBoardId(key);
        if (board_id == bf::board::special_backplane_id) {
            return board_id;
        }
        if (board_id != BF_NO_BOARD_ID) {
            answer = board_id;
        }
    }
    return answer;
}

}  // extern "C"
