// The words that the two ends of a slimline cable exchange through their expanders.
#include "base/bits.h"
#include "boardfeatures/pcieid_enum.h"
#include "common/pcieid/pcieid_log.h"

static constexpr char log_source[] = "slimline_io";

namespace {

constexpr uint32_t word_mask = 0xFFFF;
constexpr int word_bits = 16;
constexpr uint32_t index_mask = 0x7F;
constexpr uint32_t parity_bit = 0x80;
constexpr uint32_t vpp_mask = 0x7;
constexpr uint32_t vpp_shift = 13;

constexpr uint32_t input_mask = 0x1FFF;
constexpr int input_bits = 13;
constexpr uint32_t input_index_mask = 0xF;

}  // namespace

extern "C" {

int32_t iobits_direction_output(const I2cChipRoute *io, uint32_t mask, uint32_t value) {
    return io == nullptr ? -1 : pca9535_gpio_word_direction_output(io, mask, value);
}
int32_t iobits_write_output(const I2cChipRoute *io, uint32_t mask, uint32_t value) {
    return io == nullptr ? -1 : pca9535_gpio_word_set_value(io, mask, value);
}
int32_t iobits_read_output(const I2cChipRoute *io, uint32_t mask, uint32_t *value) {
    return io == nullptr || value == nullptr ? -1
                                             : pca9535_gpio_word_get_output_value(io, mask, value);
}
int32_t iobits_read_input(const I2cChipRoute *io, uint32_t mask, uint32_t *value) {
    return io == nullptr || value == nullptr ? -1 : pca9535_gpio_word_get_value(io, mask, value);
}

int32_t src_slimline_set_odata(const I2cChipRoute *io, uint32_t vpp_address, uint32_t index) {
    if (io == nullptr) {
        return -1;
    }
    const uint32_t vpp_bits = (vpp_address & vpp_mask) << vpp_shift;
    uint32_t word = vpp_bits | (index & index_mask);
    if (!bf::odd_parity(word, word_bits)) {
        word |= parity_bit;
    }
    int32_t result = iobits_write_output(io, word_mask, word);
    if (result < 0) {
        PCIEID_WARN("%s(@%d), iobits_write_output(bitsfield=%04x, outreg_val=%04x)=%d\n", word_mask,
                    word, result);
        return result;
    }
    constexpr uint32_t driven = vpp_mask << vpp_shift;
    result = iobits_direction_output(io, driven, vpp_bits);
    if (result < 0) {
        PCIEID_WARN("%s(@%d), iobits_direction_output(bitsfield=%04x, outreg_val=%04x)=%d\n",
                    driven, vpp_bits, result);
        return result;
    }
    PCIEID_WARN(
        "%s(@%d), upstream slimline side set GPO (to downstream) vppaddr=%02x, "
        "src_slimline_index=%u\n",
        vpp_address, index);
    return 0;
}

int32_t dest_slimline_get_odata(const I2cChipRoute *io, uint32_t *vpp, uint32_t *index) {
    if (io == nullptr || vpp == nullptr || index == nullptr) {
        return -1;
    }
    uint32_t word = 0;
    const int32_t result = iobits_read_output(io, word_mask, &word);
    if (result < 0) {
        PCIEID_WARN("%s(@%d), iobits_read_output(bitsfield=%04x, outreg_val=%04x)=%d\n", word_mask,
                    word, result);
        return -1;
    }
    if (!bf::odd_parity(word, word_bits)) {
        PCIEID_WARN("%s(@%d), is_odd_parity_pass(bitscount=%d, outreg_val=%04x) failed\n",
                    word_bits, word);
        return -1;
    }
    *vpp = (word >> vpp_shift) & vpp_mask;
    *index = word & index_mask;
    PCIEID_WARN(
        "%s(@%d), downstream slimline side get GPO (from upstream) vppaddr=%02x, "
        "src_slimline_index=%u\n",
        *vpp, *index);
    return 0;
}

int32_t dest_slimline_get_idata(const I2cChipRoute *io, uint32_t *index) {
    if (io == nullptr || index == nullptr) {
        return -1;
    }
    uint32_t word = 0;
    const int32_t result = iobits_read_input(io, input_mask, &word);
    if (result < 0) {
        PCIEID_WARN("%s(@%d), iobits_read_input(bitsfield=%04x, inreg_val=%04x)=%d\n", input_mask,
                    word, result);
        return -1;
    }
    LOG_WARN(bf::module_pcieid, "inreg_val = %04x\n", word);
    if (!bf::odd_parity(word, input_bits)) {
        PCIEID_WARN("%s(@%d), is_odd_parity_pass(bitscount=%d, inreg_val=%04x) failed\n",
                    input_bits, word);
        return -1;
    }
    *index = word & input_index_mask;
    PCIEID_WARN("%s(@%d), downstream slimline side get GPI (from HW) backplane_slimline_index=%u\n",
                *index);
    return 0;
}

}  // extern "C"
