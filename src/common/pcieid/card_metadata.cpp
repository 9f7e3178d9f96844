// Which cards are known, and which card is fitted.
#include "boardfeatures/identity.h"
#include "boardfeatures/pcieid_enum.h"
#include "common/pcieid/lists.h"
#include "main/bpdev_table.h"
#include "main/riser_table.h"

namespace {

template <typename Table, typename List>
int32_t records_of(const Table &table, const hwid_list *hwids, List *out) {
    if (hwids == nullptr || out == nullptr || hwids->count > HWID_MAX_REQUESTS) {
        return -1;
    }
    out->count = 0;
    for (const uint32_t hwid : bf::entries(hwids->hwids, hwids->count)) {
        for (const auto &record : table) {
            if (record.hwid == hwid) {
                bf::append(*out, record);
            }
        }
    }
    return 0;
}

}  // namespace

extern "C" {

int32_t get_riserlist_metadata_by_hwids(const hwid_list *hwids, pcieriser_list *out) {
    return records_of(bf::board::riser_table, hwids, out);
}

int32_t get_bpdevlist_metadata_by_hwids(const hwid_list *hwids, bpdev_record_list *out) {
    return records_of(bf::board::bpdev_table, hwids, out);
}

int32_t get_retimerlist_metadata_by_hwids(const hwid_list *hwids, retimer_list *out) {
    return records_of(bf::board::retimer_table, hwids, out);
}

uint32_t hwid_of(uint32_t index) { return GetCardBoardId(index & 0xFF); }

}  // extern "C"
