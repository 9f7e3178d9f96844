// Which CPU lanes each link behind a riser, retimer or cable gets.
#include <cstddef>
#include <span>
#include <type_traits>

#include "boardfeatures/pcieid.h"
#include "common/pcieid/pcieid_log.h"

static constexpr char log_source[] = "toolbox";

namespace {

// What a socket without a cable carries as its first lane; no CPU has it.
constexpr uint32_t first_unbound_lane = 240;

struct Lane {
    uint32_t cpu;
    uint32_t number;
};

struct LaneSequence {
    uint32_t count = 0;
    Lane lanes[PCIECAP_MAX_LANES] = {};

    // Behind the last lane lies lane 0 of CPU 0.
    Lane at(uint32_t index) const { return index < count ? lanes[index] : Lane{}; }
};

// Callers' lists are cut to what they hold, so the links are not bounded by the list's type.
template <typename Link, typename List>
std::span<Link> links_behind(List *list) {
    if (list == nullptr) {
        return {};
    }
    using Byte = std::conditional_t<std::is_const_v<List>, const std::byte, std::byte>;
    Byte *first = reinterpret_cast<Byte *>(list) + offsetof(pciecap_list, links);
    return {reinterpret_cast<Link *>(first), list->count};
}
std::span<const pciecap_link> links_of(const pciecap_list *list) {
    return links_behind<const pciecap_link>(list);
}
std::span<pciecap_link> links_of(pciecap_list *list) { return links_behind<pciecap_link>(list); }

// Widths that add up to more than 32 bits hold stay at the top instead of wrapping to a valid
// total.
uint32_t totallanes_of(std::span<const pciecap_link> links) {
    uint32_t total = 0;
    for (const pciecap_link &link : links) {
        total = link.width > UINT32_MAX - total ? UINT32_MAX : total + link.width;
    }
    return total;
}

int32_t link_breakdown(std::span<const pciecap_link> links, LaneSequence &sequence) {
    const uint32_t total = totallanes_of(links);
    if (total > PCIECAP_MAX_LANES) {
        PCIEID_WARN("%s(@%d), totallanes_of(srclinks) = %u, overflow\n", total);
        return -1;
    }
    for (const pciecap_link &link : links) {
        for (uint32_t i = 0; i < link.width; ++i) {
            const uint32_t step = link.sequence == PCIECAP_REVERSE ? link.width - 1 - i : i;
            sequence.lanes[sequence.count++] = {link.cpu, link.x1_start + step};
        }
    }
    return 0;
}

bool is_sequence(uint32_t tag) { return tag == PCIECAP_OBVERSE || tag == PCIECAP_REVERSE; }

// Two mirrorings cancel each other.
uint32_t mulitsequence(uint32_t up, uint32_t down) {
    if (!is_sequence(up) || !is_sequence(down)) {
        PCIEID_WARN("%s(@%d), SEQ[UP]=%08X, SEQ[DOWN]=%08X, invalid.\n", up, down);
        return PCIECAP_NO_SEQUENCE;
    }
    return up == down ? PCIECAP_OBVERSE : PCIECAP_REVERSE;
}

// Fills in a link of at least one lane that begins at `position` of the sequence.
int32_t link_buildup_one(const LaneSequence &sequence, uint32_t position, pciecap_link &link) {
    const Lane first = sequence.at(position);
    for (uint32_t i = 1; i < link.width; ++i) {
        const Lane lane = sequence.at(position + i);
        if (lane.cpu != first.cpu) {
            PCIEID_WARN("%s(@%d), xllink[%u]'s CPU %u, expect(%u).\n", i, lane.cpu, first.cpu);
            return -2;
        }
        if (lane.number != first.number + i && lane.number != first.number - i) {
            PCIEID_WARN("%s(@%d), xllink[%u]'s lane %u, expect(x1link's lane %u + idx %u)\n", i,
                        lane.number, first.number, i);
            return -3;
        }
    }
    // The lane behind tells the direction, even of a link of one lane.
    const bool upward = first.number < sequence.at(position + 1).number;
    const uint32_t start = upward ? first.number : sequence.at(position + link.width - 1).number;
    if (start % link.width != 0) {
        PCIEID_WARN("%s(@%d), lane_start(%u) %% link_width(%u) != 0\n", start, link.width);
        return -4;
    }
    link.cpu = first.cpu;
    link.x1_start = start;
    link.sequence = mulitsequence(upward ? PCIECAP_OBVERSE : PCIECAP_REVERSE, link.sequence);
    return 0;
}

int32_t link_buildup(const LaneSequence &sequence, std::span<pciecap_link> links) {
    if (sequence.at(0).number >= first_unbound_lane) {
        PCIEID_WARN(
            "[Func:%s,Line:%d],slimline lane check failed! X8 not exist or in wrong slot.\n");
        return -1;
    }
    // A x16 link on two sockets of which only the first has a cable still has its first half.
    if (sequence.count == 16 && sequence.at(8).number >= first_unbound_lane) {
        links.front().width = 8;
        PCIEID_INFO("[Func:%s,Line:%d], X16 has changed to X8\n ");
    }
    uint32_t position = 0;
    for (pciecap_link &link : links) {
        if (link.width == 0) {
            continue;
        }
        const int32_t result = link_buildup_one(sequence, position, link);
        if (result < 0) {
            PCIEID_WARN("%s(@%d), link_buildup_one() = %d\n", result);
            PCIEID_WARN("%s(@%d), <<needs add data dump later...>>\n");
            return result;
        }
        position += link.width;
    }
    return 0;
}

}  // namespace

extern "C" {

int32_t pciecap_convert(const pciecap_list *up, pciecap_list *down) {
    const std::span<const pciecap_link> up_links = links_of(up);
    const std::span<pciecap_link> down_links = links_of(down);
    const uint32_t up_total = totallanes_of(up_links);
    const uint32_t down_total = totallanes_of(down_links);
    if (up_total != down_total) {
        PCIEID_WARN("%s(@%d), totallanes_of(up) %u !=totallanes_of(down) %u\n", up_total,
                    down_total);
        return -1;
    }
    LaneSequence sequence;
    int32_t result = link_breakdown(up_links, sequence);
    if (result < 0) {
        PCIEID_WARN("%s(@%d), link_breakdown=%d\n", result);
        return result;
    }
    result = link_buildup(sequence, down_links);
    if (result < 0) {
        PCIEID_WARN("%s(@%d), link_buildup=%d\n", result);
    }
    return result;
}

}  // extern "C"
