// The curves of the cooling modes as the board's thermal design lists them.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace cooling {

using Levels = std::array<uint8_t, 8>;

struct ModeRow {
    uint8_t mode;
    uint8_t fan_type;
    uint16_t hdbk;
    Levels pwm;
};

// The modes of one fan type with one kind of backplane, in the order in which they are stored.
struct ModeCurves {
    uint8_t fan_type;
    std::vector<uint16_t> hdbks;
    Levels mode_2, mode_0, mode_1;
};

inline const std::vector<ModeCurves> &tarn_curves() {
    static const std::vector<ModeCurves> curves = {
        {7,
         {0, 2},
         {50, 60, 70, 90, 120, 160, 210, 255},
         {60, 70, 80, 100, 150, 190, 230, 255},
         {70, 85, 110, 150, 200, 240, 255, 255}},
        {7,
         {1, 3, 4},
         {55, 65, 75, 95, 120, 160, 210, 255},
         {65, 75, 85, 110, 150, 190, 230, 255},
         {75, 90, 120, 150, 200, 240, 255, 255}},
        {8,
         {0, 2},
         {40, 55, 70, 100, 140, 180, 220, 220},
         {40, 55, 70, 100, 140, 180, 220, 220},
         {50, 65, 90, 120, 170, 210, 220, 220}},
        {8,
         {1, 3, 4},
         {40, 55, 75, 110, 150, 190, 220, 220},
         {40, 55, 75, 110, 150, 190, 220, 220},
         {50, 65, 90, 120, 170, 210, 220, 220}},
    };
    return curves;
}

// The thirty rows in storage order: by fan type, then backplane, then modes 2, 0 and 1.
inline std::vector<ModeRow> tarn_rows() {
    std::vector<ModeRow> rows;
    for (const uint8_t fan_type : {7, 8}) {
        for (uint16_t hdbk = 0; hdbk <= 4; ++hdbk) {
            for (const ModeCurves &curves : tarn_curves()) {
                bool here = false;
                for (const uint16_t one : curves.hdbks) {
                    here |= one == hdbk;
                }
                if (curves.fan_type == fan_type && here) {
                    rows.push_back({2, fan_type, hdbk, curves.mode_2});
                    rows.push_back({0, fan_type, hdbk, curves.mode_0});
                    rows.push_back({1, fan_type, hdbk, curves.mode_1});
                }
            }
        }
    }
    return rows;
}

inline std::vector<ModeRow> fell_rows() {
    return {
        {2, 7, 3, {55, 65, 95, 135, 200, 230, 255, 255}},
        {0, 7, 3, {65, 75, 95, 140, 210, 240, 255, 255}},
        {1, 7, 3, {75, 90, 120, 150, 225, 255, 255, 255}},
        {2, 8, 3, {35, 45, 65, 110, 190, 230, 255, 255}},
        {0, 8, 3, {40, 55, 70, 120, 200, 240, 255, 255}},
        {1, 8, 3, {55, 70, 100, 145, 220, 255, 255, 255}},
    };
}

// A row as it is handed out: 14 bytes, the last two of them zero.
inline std::vector<uint8_t> bytes_of(const ModeRow &row) {
    std::vector<uint8_t> bytes = {row.mode, row.fan_type, static_cast<uint8_t>(row.hdbk & 0xFF),
                                  static_cast<uint8_t>(row.hdbk >> 8)};
    bytes.insert(bytes.end(), row.pwm.begin(), row.pwm.end());
    bytes.insert(bytes.end(), {0, 0});
    return bytes;
}

}  // namespace cooling
