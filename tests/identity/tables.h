// The identifier tables as the board's documentation lists them, kept as text.
#pragma once

#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "boardfeatures/identity.h"

namespace identity {

// key, bus, address, switch, channel, chip name
inline constexpr char one_chip_rows[] = R"(0 13 0x26 none 0 board id
1 11 0x20 none 0 SAS id
5 3 0x20 none 0 BPRA_1
6 4 0x20 none 0 BPRB_1
7 5 0x20 none 0 BPRB_2
8 6 0x20 none 0 BPRA_2
9 7 0x20 none 0 BPFA_1
10 8 0x20 none 0 BPFA_2
11 9 0x20 none 0 BPFA_3
14 10 0x20 none 0 M-I2C-6
27 4 0x22 0x70 1 PCIeSLOT5
26 4 0x22 0x70 2 PCIeSLOT4
25 4 0x22 0x70 3 PCIeSLOT3
30 5 0x22 0x70 3 PCIeSLOT8
29 5 0x22 0x70 2 PCIeSLOT7
28 5 0x22 0x70 1 PCIeSLOT6
23 3 0x22 0x70 1 PCIeSLOT1
24 3 0x22 0x70 2 PCIeSLOT2
31 6 0x22 0x70 1 PCIeSLOT9
32 6 0x22 0x70 2 PCIeSLOT10
)";

// key, bus, address of either chip, switch, channel, chip names
inline constexpr char two_chip_rows[] = R"(0 13 0x26 0x27 none 0 board id0/board id1
3 13 0x20 0x21 0x77 5 sascard id0/sascard id1
4 13 0x20 0x21 0x77 2 expander id0/expander id1
5 13 0x20 0x21 0x77 0 network id0/network id1
9 3 0x20 0x21 none 0 sdsca id0/sdsca id1
14 11 0x22 0x23 0x70 1 mnicx id0/mnicx id1
16 12 0x22 0x23 0x70 1 mnicx id0/mnicx id1
1 11 0x20 0x20 none 0 pcieriser1 id0/pcieriser1 id1
2 12 0x20 0x20 none 0 pcieriser2 id0/pcieriser2 id1
7 9 0x22 0x22 none 0 spris id0/spris id0
10 13 0x20 0x20 0x77 3 hddbk id0/hddbk id1
13 11 0x22 0x22 0x70 0 spirs id0/spirs id1
14 11 0x22 0x22 0x70 1 spirs id0/spirs id1
15 12 0x22 0x22 0x70 0 spirs id0/spirs id1
16 12 0x22 0x22 0x70 1 spirs id0/spirs id1
)";

inline constexpr char maintenance_registers[] =
    R"(80 82 84 86 88 8A 8C 90 92 96 98 9A A0 A2 A8 AA C0 C2 188 190 192 194 196 1E0 1F0 308 30C
30E 310 312 314 32C 32E 330 400 402 410 412 414 416 420 422 424 426 428 430 432 434 440
442 444 446 448 44A 44C 44E 450 452 454 460 462 464 466 468 46A 46C 46E 470 472 474 480
380 800 802 804 806 808 80A 80C 80E 810 812 814 816 818 81A 820 822 824 826 828 82A 82C
82E 830 832 834 836 838 840 844 846 850 852 854 856 858 860 862 864 866)";

inline I2cChipRoute route_of(uint32_t bus, uint32_t address, const std::string &mux,
                             uint32_t channel, const std::string &name) {
    I2cChipRoute route;
    std::memset(&route, 0, sizeof(route));
    route.bus = bus;
    route.address = static_cast<uint16_t>(address);
    route.switch_address = mux == "none" ? 0u : static_cast<uint32_t>(std::stoul(mux, nullptr, 16));
    route.switch_channel = channel;
    std::memcpy(route.name, name.data(), name.size());
    return route;
}

inline std::string rest_of(std::istream &line) {
    std::string rest;
    std::getline(line >> std::ws, rest);
    return rest;
}

struct OneChip {
    uint32_t key;
    I2cChipRoute chip;
};

inline std::vector<OneChip> one_chip_table() {
    std::vector<OneChip> table;
    std::istringstream text(one_chip_rows);
    for (std::string line; std::getline(text, line);) {
        std::istringstream fields(line);
        uint32_t key = 0, bus = 0, channel = 0;
        std::string address, mux;
        fields >> key >> bus >> address >> mux >> channel;
        table.push_back({key, route_of(bus, static_cast<uint32_t>(std::stoul(address, nullptr, 16)),
                                       mux, channel, rest_of(fields))});
    }
    return table;
}

struct TwoChips {
    uint32_t key;
    I2cChipRoute low;
    I2cChipRoute high;
};

inline std::vector<TwoChips> two_chip_table() {
    std::vector<TwoChips> table;
    std::istringstream text(two_chip_rows);
    for (std::string line; std::getline(text, line);) {
        std::istringstream fields(line);
        uint32_t key = 0, bus = 0, channel = 0;
        std::string low, high, mux;
        fields >> key >> bus >> low >> high >> mux >> channel;
        const std::string names = rest_of(fields);
        const size_t slash = names.find('/');
        const auto hex = [](const std::string &number) {
            return static_cast<uint32_t>(std::stoul(number, nullptr, 16));
        };
        table.push_back({key, route_of(bus, hex(low), mux, channel, names.substr(0, slash)),
                         route_of(bus, hex(high), mux, channel, names.substr(slash + 1))});
    }
    return table;
}

}  // namespace identity
