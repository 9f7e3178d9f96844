// The control parameters of add-in components as the board's thermal design lists them.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "boardfeatures/cooling.h"

namespace cooling {

struct GpuRow {
    const char *name;
    int32_t (*get)(FanGpuPidParas *);
    std::array<double, 9> triples;
    uint32_t a, b, target, cycle;
};

inline const std::vector<GpuRow> &gpu_rows() {
    static const std::vector<GpuRow> rows = {
        {"34x raid", FAN_Get34XRaidPIDParas, {2, 3, 0, 2, 12, 0, 6, 8, 0}, 3, 5, 85, 1},
        {"l40s", FAN_GetGpuL40sPIDParas, {5, 8, 0, 2, 3, 0, 4, 3, 0}, 5, 3, 80, 1},
        {"l20", FAN_GetGpuL20PIDParas, {5, 8, 0, 2, 2, 0, 4, 2, 0}, 10, 3, 78, 1},
        {"4080", FAN_GetGpu4080PIDParas, {2, 2, 0, 4, 4, 0, 6, 1, 0}, 3, 0, 4, 1},
        {"4090", FAN_GetGpu4090PIDParas, {2, 2, 0, 4, 4, 0, 6, 1, 0}, 3, 0, 4, 1},
        {"4090d", FAN_GetGpu4090DPIDParas, {4, 4, 0, 2, 2, 0, 4, 2, 0}, 4, 0, 6, 1},
        {"x8", FAN_GetGpuX8PIDParas, {6, 4, 0, 2, 3, 0, 4, 3, 0}, 5, 3, 80, 1},
        {"t20", FAN_GetGpuT20PIDParas, {6, 4, 0, 2, 3, 0, 4, 3, 0}, 5, 3, 80, 1},
        {"i20", FAN_GetGpuI20PIDParas, {6, 4, 0, 2, 3, 0, 4, 3, 0}, 5, 3, 80, 1},
        {"s3000", FAN_GetGpuS3000PIDParas, {6, 4, 0, 2, 3, 0, 4, 3, 0}, 5, 3, 72, 1},
        {"vg1000", FAN_GetGpuVG1000PIDParas, {6, 6, 0, 2, 3, 0, 4, 3, 0}, 5, 3, 75, 1},
        {"l2", FAN_GetGpuL2PIDParas, {3, 2, 1, 3, 2, 1, 3, 2, 1}, 10, 3, 75, 1},
    };
    return rows;
}

using CardIds = std::array<uint16_t, 4>;  // vendor, device, subsystem vendor, subsystem device

inline std::vector<CardIds> sensorless_cards(bool fell) {
    if (!fell) {
        return {{0x8086, 0x10FB, 0xFFFF, 0x0B1F},
                {0x8086, 0x1572, 0x1CF2, 0x0B49},
                {0x15B3, 0x1015, 0x15B3, 0x0004},
                {0x8086, 0x1572, 0x8086, 0x0004},
                {0x8086, 0x1572, 0x8086, 0x00A1}};
    }
    return {{0x8086, 0x10FB, 0xFFFF, 0x0B1F}, {0x8086, 0x1572, 0x1CF2, 0x0B49},
            {0x15B3, 0x1015, 0x15B3, 0x0004}, {0x8086, 0x1572, 0x8086, 0x0008},
            {0x8086, 0x1572, 0x8086, 0x0004}, {0x8086, 0x15FF, 0x8086, 0x000C},
            {0x8086, 0x1572, 0x8086, 0x00A1}};
}

// The measured points of a fan's power; below 10 percent it stands still.
struct PowerPoints {
    double at_10, at_50, at_100;
};

inline PowerPoints power_points(bool fell, uint32_t fan_type) {
    if (fell) {
        return fan_type == 7 ? PowerPoints{1.26, 7.5, 43.74} : PowerPoints{0.9, 10.8, 70.02};
    }
    return fan_type == 7 ? PowerPoints{1.0, 7.7, 45.9} : PowerPoints{1.03, 11.98, 73.69};
}

// The monotone cubic through the three points: in the middle the slope is the harmonic mean of the
// two sides', at an end that of the parabola, but never one that would fall.
class PowerCurve {
public:
    explicit PowerCurve(const PowerPoints &points)
        : value_{points.at_10, points.at_50, points.at_100} {
        const double left = (value_[1] - value_[0]) / 40;
        const double right = (value_[2] - value_[1]) / 50;
        slope_[0] = std::max(0.0, ((2 * 40 + 50) * left - 40 * right) / 90);
        slope_[1] = (130.0 + 140.0) / (140.0 / left + 130.0 / right);
        slope_[2] = std::max(0.0, ((2 * 50 + 40) * right - 50 * left) / 90);
    }

    // To a hundredth of a watt.
    double watts(uint32_t percent) const {
        if (percent < 10) {
            return 0;
        }
        const int piece = percent < 50 ? 0 : 1;
        const double from = piece == 0 ? 10 : 50;
        const double width = piece == 0 ? 40 : 50;
        const double t = (percent - from) / width;
        const double value = (1 + 2 * t) * (1 - t) * (1 - t) * value_[piece] +
                             t * (1 - t) * (1 - t) * width * slope_[piece] +
                             t * t * (3 - 2 * t) * value_[piece + 1] +
                             t * t * (t - 1) * width * slope_[piece + 1];
        return std::round(value * 100) / 100;
    }

private:
    double value_[3];
    double slope_[3];
};

}  // namespace cooling
