// Where each card's FRU EEPROM is.
#include <map>
#include <sstream>

#include "fru/fru_support.h"

using namespace fru;

namespace {

// key, bus, address, switch, channel, name
constexpr char manual[] = R"(0 13 0x50 0 0 mainboard
1 11 0x51 0 0 sas
5 3 0x51 0 0 BPRA_1
6 4 0x51 0 0 BPRB-1
7 5 0x51 0 0 BPRB-2
8 6 0x51 0 0 BPRA_2
9 7 0x51 0 0 BPFA-1
10 8 0x51 0 0 BPFA-2
11 9 0x51 0 0 BPFA-3
14 10 0x51 0 0 M-I2C-6
23 3 0x53 0x70 2 pcie1
24 3 0x53 0x70 1 pcie2
25 4 0x53 0x70 3 pcie3
26 4 0x53 0x70 2 pcie4
27 4 0x53 0x70 1 pcie5
28 5 0x53 0x70 1 pcie6
29 5 0x53 0x70 2 pcie7
30 5 0x53 0x70 3 pcie8
31 6 0x53 0x70 2 pcie9
32 6 0x53 0x70 1 pcie10
)";

}  // namespace

TEST(FruTable, EveryKey) {
    std::map<uint32_t, Bytes> rows;
    std::istringstream lines(manual);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        uint32_t key = 0, bus = 0, address = 0, mux = 0, channel = 0;
        std::string name;
        words >> std::setbase(0) >> key >> bus >> address >> mux >> channel >> name;
        rows[key] = Bytes().u8(key).zeros(3).chip(bus, address, mux, channel, name);
    }
    ASSERT_EQ(rows.size(), 20u);
    for (const uint32_t key : key_space()) {
        SCOPED_TRACE(key);
        FruRow row;
        fill_with_garbage(row);
        const auto expected = rows.find(key);
        EXPECT_EQ(GetFruI2cinfoBySlotID(key, &row), expected == rows.end() ? -1 : 0);
        expect_bytes(&row, sizeof(row),
                     expected == rows.end() ? garbage(sizeof(row)) : expected->second);
        EXPECT_EQ(GetFruI2cinfoBySlotID(key, nullptr), -1);
    }
    expect_silence();
}
