// Whether two disk topologies are alike.
#include "base/log.h"
#include "boardfeatures/storage.h"

namespace {

constexpr uint32_t level_audit_topology = 174;

enum Difference : int32_t {
    alike = 0,
    model_unsupported = 3,
    back_id_count_differs = 4,
    back_ids_differ = 5,
    first_card_count_differs = 6,  // and so on in the order of the counts
};

constexpr uint32_t first_card_count = 3;
constexpr uint32_t card_counts = 4;

}  // namespace

extern "C" {

int32_t HarddiskBackIdMatch(const uint32_t *first, const uint32_t *second) {
    if (first == nullptr || second == nullptr) {
        return -1;
    }
    const uint32_t count = first[0];
    if (count != second[0]) {
        return back_id_count_differs;
    }
    uint32_t equal_pairs = 0;
    for (uint32_t i = 1; i <= count; ++i) {
        for (uint32_t j = 1; j <= count; ++j) {
            equal_pairs += second[i] == first[j];
        }
    }
    return equal_pairs == count ? alike : back_ids_differ;
}

int32_t HarddiskRaidCardMatch(const uint32_t *first, const uint32_t *second) {
    if (first == nullptr || second == nullptr) {
        return -1;
    }
    const uint32_t *a = first + first_card_count;
    const uint32_t *b = second + first_card_count;
    IDBG_LINUXAPP_AuditOut(level_audit_topology,
                           "(ExpCount=%d,%d),(IRCardCount=%d,%d),(MRCardCount=%d,%d),"
                           "(PMCCardCount=%d,%d)",
                           static_cast<int>(a[0]), static_cast<int>(b[0]), static_cast<int>(a[1]),
                           static_cast<int>(b[1]), static_cast<int>(a[2]), static_cast<int>(b[2]),
                           static_cast<int>(a[3]), static_cast<int>(b[3]));
    for (uint32_t i = 0; i < card_counts; ++i) {
        if (a[i] != b[i]) {
            return first_card_count_differs + static_cast<int32_t>(i);
        }
    }
    return alike;
}

int32_t HarddiskModelMatch(const void *first, const void *second) {
    if (first == nullptr || second == nullptr) {
        return -1;
    }
    IDBG_LINUXAPP_AuditOut(level_audit_topology, "Not support model match!");
    return model_unsupported;
}

}  // extern "C"
