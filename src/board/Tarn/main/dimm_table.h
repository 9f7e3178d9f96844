// The board's DIMM sockets under both sets of labels.
#pragma once

#include <array>

#include "boardfeatures/dimm.h"

namespace bf::board {

inline constexpr uint32_t dimm_cpus = 2;
inline constexpr uint32_t dimm_controllers = 4;
inline constexpr uint32_t dimm_channels = 2;
inline constexpr uint32_t dimm_slots = 2;
inline constexpr uint32_t dimms_per_cpu = dimm_controllers * dimm_channels * dimm_slots;
inline constexpr uint32_t dimm_sockets = dimm_cpus * dimms_per_cpu;

using DimmTable = std::array<DimmDevInfo, dimm_sockets>;

struct DimmLabel {
    char text[sizeof(DimmDevInfo::silk_screen)];
};

// "DIMM1A1": CPU and slot from 1, channels lettered through the CPU.
constexpr DimmLabel default_label(char cpu, char letter, char slot) {
    return {{'D', 'I', 'M', 'M', cpu, static_cast<char>('A' + letter), slot}};
}
// "P1_Ca_D1"
constexpr DimmLabel customer_label(char cpu, char letter, char slot) {
    return {{'P', cpu, '_', 'C', static_cast<char>('a' + letter), '_', 'D', slot}};
}

// Sockets stand by CPU, then controllers from the highest, then channels, then slots.
constexpr DimmTable make_dimm_table(DimmLabel (*label)(char, char, char)) {
    DimmTable table = {};
    for (uint32_t n = 0; n < dimm_sockets; ++n) {
        const uint32_t cpu = n / dimms_per_cpu;
        const uint32_t from_highest = n % dimms_per_cpu / (dimm_channels * dimm_slots);
        const uint32_t channel = n / dimm_slots % dimm_channels;
        const uint32_t slot = n % dimm_slots;
        const DimmLabel text = label(static_cast<char>('1' + cpu),
                                     static_cast<char>(dimm_channels * from_highest + channel),
                                     static_cast<char>('1' + slot));
        DimmDevInfo &socket = table[n];
        socket.cpu = static_cast<uint8_t>(cpu);
        socket.controller = static_cast<uint8_t>(dimm_controllers - 1 - from_highest);
        socket.channel = static_cast<uint8_t>(channel);
        socket.slot = static_cast<uint8_t>(slot);
        socket.card_index = DIMM_ON_MAIN_BOARD;
        socket.index = static_cast<uint8_t>(n + 1);
        socket.dimm_num = static_cast<uint8_t>(n + 1);
        for (std::size_t i = 0; i < sizeof(text.text); ++i) {
            socket.silk_screen[i] = text.text[i];
        }
    }
    return table;
}

inline constexpr DimmTable default_dimm_table = make_dimm_table(default_label);
inline constexpr DimmTable customer_dimm_table = make_dimm_table(customer_label);

// The customer and the main boards that have the customer's labels.
inline constexpr uint32_t customer_label_type = 6;
inline constexpr uint16_t customer_label_boards[] = {0x5440, 0x547D};

}  // namespace bf::board
