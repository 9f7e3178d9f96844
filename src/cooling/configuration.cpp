#include "cooling/configuration.h"

#include <algorithm>
#include <atomic>

#include "boardfeatures/identity.h"

// Several threads may look the configuration up at once. They store the same values, and a lost
// count allows one more look-up; so relaxed accesses are enough, and the data keep their layout.
namespace {

constexpr uint32_t audit_level = 178;
constexpr uint32_t max_fruitless_lookups = 20;

template <typename Value>
Value load(Value &state) {
    return std::atomic_ref(state).load(std::memory_order_relaxed);
}

template <typename Value>
void store(Value &state, Value value) {
    std::atomic_ref(state).store(value, std::memory_order_relaxed);
}

void look_up(const char *member, int line) {
    const uint32_t first = GetCardBoardId(bf::board::fell_first_key);
    const uint32_t second = GetCardBoardId(bf::board::fell_second_key);
    if (first != BF_NO_BOARD_ID) {
        store(g_wSubCardID_SLOT10, static_cast<uint16_t>(first));
        IDBG_LINUXAPP_AuditOut(audit_level, "%d, %s(), ***********get slot10 BoardID ID is %x.\n",
                               line, member, first);
    }
    if (second != BF_NO_BOARD_ID) {
        store(g_wSubCardID_SLOT11, static_cast<uint16_t>(second));
        IDBG_LINUXAPP_AuditOut(audit_level, "%d, %s(), ***********get slot11 BoardID ID is %x.\n",
                               line, member, second);
    } else if (first == BF_NO_BOARD_ID) {
        const uint32_t times = load(g_dwGetNoBoardIDTimes) + 1;
        store(g_dwGetNoBoardIDTimes, times);
        IDBG_LINUXAPP_AuditOut(audit_level, "%d, %s(), ***********get no BoardID and times is %u\n",
                               line, member, times);
    }
}

}  // namespace

extern "C" {

uint16_t g_wSubCardID_SLOT10 = 0;
uint16_t g_wSubCardID_SLOT11 = 0;
uint32_t g_dwGetNoBoardIDTimes = 0;
uint8_t g_bIsFell = 0;

}  // extern "C"

namespace bf::cooling {

bool fell_known() { return load(g_bIsFell) != 0; }

bool is_fell(const char *member, int line) {
    if (load(g_wSubCardID_SLOT10) == 0 && load(g_wSubCardID_SLOT11) == 0 &&
        load(g_dwGetNoBoardIDTimes) < max_fruitless_lookups) {
        look_up(member, line);
    }
    const uint16_t first = load(g_wSubCardID_SLOT10);
    if (std::ranges::find(board::fell_first_ids, first) != std::end(board::fell_first_ids) ||
        load(g_wSubCardID_SLOT11) == board::fell_second_id) {
        store<uint8_t>(g_bIsFell, 1);
    }
    return fell_known();
}

}  // namespace bf::cooling
