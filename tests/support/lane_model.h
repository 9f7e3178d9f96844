// A brute-force model of the lane conversion: every lane is written down.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "boardfeatures/pcieid.h"

namespace model {

using Links = std::vector<pciecap_link>;

struct Outcome {
    int result;
    Links down;
};

inline bool same(const pciecap_link &a, const pciecap_link &b) {
    return a.cpu == b.cpu && a.x1_start == b.x1_start && a.width == b.width &&
           a.sequence == b.sequence;
}

// Writes every lane down, then asks of every link whether some run of lanes explains it.
inline Outcome expected_of(const Links &up, Links down) {
    constexpr uint32_t obverse = 0x12345678;
    constexpr uint32_t reverse = 0x87654321;
    uint64_t up_total = 0;
    uint64_t down_total = 0;
    for (const auto &link : up) {
        up_total += link.width;
    }
    for (const auto &link : down) {
        down_total += link.width;
    }
    if (up_total != down_total || up_total > 128) {
        return {-1, down};
    }
    std::vector<std::pair<uint32_t, uint32_t>> lanes;  // CPU, number
    for (const auto &link : up) {
        std::vector<std::pair<uint32_t, uint32_t>> run;
        for (uint32_t lane = 0; lane < link.width; ++lane) {
            run.emplace_back(link.cpu, link.x1_start + lane);
        }
        if (link.sequence == reverse) {
            std::reverse(run.begin(), run.end());
        }
        lanes.insert(lanes.end(), run.begin(), run.end());
    }
    if (!lanes.empty() && lanes[0].second >= 240) {
        return {-1, down};
    }
    if (lanes.size() == 16 && lanes[8].second >= 240) {
        down[0].width = 8;
    }
    lanes.resize(lanes.size() + 256, {0, 0});  // what lies behind the sequence
    size_t first = 0;
    for (auto &link : down) {
        if (link.width == 0) {
            continue;
        }
        const std::vector<std::pair<uint32_t, uint32_t>> run(&lanes[first],
                                                             &lanes[first] + link.width);
        for (size_t i = 0; i < run.size(); ++i) {
            if (run[i].first != run[0].first) {
                return {-2, down};
            }
            const uint32_t above = run[i].second - run[0].second;
            const uint32_t below = run[0].second - run[i].second;
            if (above != i && below != i) {
                return {-3, down};
            }
        }
        const bool rising = lanes[first + 1].second > lanes[first].second;
        const uint32_t start = rising ? run.front().second : run.back().second;
        if (start / link.width * link.width != start) {
            return {-4, down};
        }
        link.cpu = run[0].first;
        link.x1_start = start;
        const uint32_t arrives = rising ? obverse : reverse;
        if (link.sequence != obverse && link.sequence != reverse) {
            link.sequence = 0xFFFFFFFF;
        } else {
            link.sequence = arrives == link.sequence ? obverse : reverse;
        }
        first += link.width;
    }
    return {0, down};
}

}  // namespace model
