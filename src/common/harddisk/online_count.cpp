// How many disks a backplane holds.
#include <iterator>

#include "base/log.h"
#include "boardfeatures/storage.h"
#include "common/harddisk/backplane.h"

static constexpr char log_source[] = "common/harddisk/harddisk_common_info";

namespace {

using bf::harddisk::bays_per_expander;
using bf::harddisk::max_expanders;

constexpr uint32_t all_pins = 0xFFFF;
constexpr uint32_t max_bays = max_expanders * bays_per_expander;

// The boards of another model that share this question.
constexpr uint32_t crag_boards[] = {2608, 2624};

uint32_t empty_bays(uint32_t word, uint32_t bays) {
    uint32_t empty = 0;
    for (uint32_t bay = 0; bay < bays; ++bay) {
        empty += ((word >> (2 * bay)) & 3) == bf::harddisk::bay_empty;
    }
    return empty;
}

}  // namespace

extern "C" {

int32_t GetOnlineHDDCountInner(const I2cChipRoute *expanders, uint32_t expander_count,
                               uint32_t bay_count) {
    if (expanders == nullptr || expander_count == 0 || expander_count > max_expanders ||
        bay_count > max_bays) {
        return -1;
    }
    uint32_t words[max_expanders] = {};
    for (uint32_t i = 0; i < expander_count; ++i) {
        if (ei2c_pca9535_get_word_value(&expanders[i], all_pins, &words[i]) < 0) {
            return -1;
        }
    }
    uint32_t empty = 0;
    for (uint32_t i = 0; i < bay_count / bays_per_expander; ++i) {
        empty += empty_bays(words[i], bays_per_expander);
    }
    // Callers give as many expanders as the bays need, so the last one has the odd bays.
    empty += empty_bays(words[expander_count - 1], bay_count % bays_per_expander);
    return empty > bay_count ? 0 : static_cast<int32_t>(bay_count - empty);
}

int32_t GetOnlineHDDCount(uint32_t board_id, uint32_t slot_id) {
    const bf::harddisk::Backplane *model = bf::harddisk::backplane_of(board_id);
    return model != nullptr && model->counted_bays != 0
               ? bf::harddisk::online_count(*model, slot_id)
               : -1;
}

int32_t GetCragOnlineHDDCount(uint32_t board_type) {
    for (const uint32_t known : crag_boards) {
        if (board_type == known) {
            return get_crag_online_hdd_count();
        }
    }
    IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d][%s] Unkown board.\n", log_source, __LINE__,
                         __func__);
    return -1;
}

}  // extern "C"
