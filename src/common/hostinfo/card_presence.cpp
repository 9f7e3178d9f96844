// Which cards are fitted.
#include "base/bits.h"
#include "base/lookup.h"
#include "boardfeatures/host.h"
#include "boardfeatures/identity.h"
#include "main/card_table.h"

namespace {

constexpr uint32_t soft_detected_kind = 4;

int32_t epld_bit(const CardPresence &card) {
    const uint32_t reg =
        card.epld_register != 0 ? card.epld_register : uint32_t{CARD_DEFAULT_REGISTER};
    uint16_t value = 0;
    if (epldio_read(reg, &value) != 0) {
        return 0;
    }
    return static_cast<int32_t>(bf::bit_of(value, card.epld_bit));
}

int32_t expander_pin_low(const CardPresence &card) {
    uint32_t level = 0;
    return ei2c_pca9535_get_value(&card.route, card.pin, &level) >= 0 && level == 0;
}

}  // namespace

extern "C" {

int32_t GetCardOnlineStatus(uint32_t key) {
    if (key == 0 || key > static_cast<uint32_t>(GetCardMaxNum())) {
        return -1;
    }
    const CardPresence *card = bf::find_row(bf::board::card_table, &CardPresence::key, key);
    if (card == nullptr) {
        return 0;
    }
    switch (card->method) {
        case CARD_BY_EPLD_BIT:
            return epld_bit(*card);
        case CARD_BY_EXPANDER_PIN:
            return expander_pin_low(*card);
        default:
            return GetCardBoardId(key) != BF_NO_BOARD_ID;
    }
}

int32_t GetCardOnlineInfoBySlotID(uint32_t key, CardPresence *out) {
    return bf::copy_row(bf::find_row(bf::board::card_table, &CardPresence::key, key), out);
}

int32_t GetPresentBySoft(uint32_t kind, ...) { return kind == soft_detected_kind ? 0 : -1; }

}  // extern "C"
