// BIOS setup options, as items with their values; expanded below to the rows that are searched.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace bf::board {

// One selectable value, or a row that only holds a place or a range.
struct BiosValue {
    uint8_t code;
    std::string_view text;
    uint8_t validity = 1;
    uint8_t minimum = 0;
    uint8_t maximum = 0;
};

inline constexpr uint8_t bios_no_code = 255;
inline constexpr uint8_t bios_placeholder = 255;
inline constexpr std::string_view bios_no_text = "nil";
inline constexpr BiosValue bios_gap = {bios_no_code, bios_no_text, bios_placeholder};

struct BiosItem {
    uint8_t group;
    uint8_t item;
    std::string_view name;
    std::array<BiosValue, 8> values;  // in use up to the first without a text
};

constexpr BiosItem switch_item(uint8_t group, uint8_t item, std::string_view name) {
    return {group, item, name, {{{0, "Disabled"}, {1, "Enabled"}}}};
}
constexpr BiosItem numeric_item(uint8_t group, uint8_t item, std::string_view name, uint8_t minimum,
                                uint8_t maximum) {
    return {group, item, name, {{{bios_no_code, bios_no_text, 1, minimum, maximum}}}};
}
constexpr BiosItem placeholder_item(uint8_t group, uint8_t item) {
    return {group, item, "N/A", {{bios_gap}}};
}

// clang-format off
inline constexpr BiosItem bios_items[] = {
    switch_item(0, 0, "HyperThreading"),
    switch_item(0, 1, "VT-x"),
    switch_item(0, 2, "P-state"),
    switch_item(0, 3, "TurboMode"),
    {0, 4, "PackageCState", {{{0, "C01State"}, {1, "C2State"}, {2, "C6(nonRetention)State"}, {255, "Auto"}}}},
    switch_item(0, 5, "EnhancedHaltState(C1E)"),
    {0, 6, "CPUC6Report", {{{0, "Disabled"}, {1, "Enabled"}, {255, "Auto"}}}},
    switch_item(0, 7, "SW_Control_T-States"),

    switch_item(1, 0, "NUMA"),
    switch_item(1, 1, "SNC"),
    placeholder_item(1, 2),
    {1, 3, "MirrorMode", {{{0, "Disabled"}, {1, "FullMirrorMode"}, {2, "PartialMirrorMode"}}}},
    placeholder_item(1, 4),
    {1, 5, "MemoryCEAccumulationThreshold",
     {{{0, "Disabled"}, {1, "1200"}, bios_gap, bios_gap, {4, "960"}, {5, "2400"}, {6, "4800"}, {7, "9600"}}}},
    {1, 6, "MemoryCEStormThreshold", {{{0, "Disabled"}, {1, "120"}, {2, "60"}, {3, "240"}, {4, "1200"}}}},

    {2, 0, "ENERGY_PERF_BIAS_CFG_Mode",
     {{{0, "Performance"}, {1, "BalancedPerformance"}, {2, "BalancedPower"}, {3, "Power"}}}},
    placeholder_item(2, 1),

    switch_item(3, 0, "VT-d"),
    switch_item(3, 1, "SATAController"),
    {3, 2, "ConfigureSATAas", {{{0, "AHCI"}, {1, "RAID"}}}},
    switch_item(3, 3, "sSATAController"),
    {3, 4, "ConfiguresSATAas", {{{0, "AHCI"}, {1, "RAID"}}}},
    switch_item(3, 5, "SR-IOV"),
    switch_item(3, 254, "IntelVMDSupport"),

    placeholder_item(4, 0),

    placeholder_item(5, 0),
    switch_item(5, 1, "ConsoleRedirect"),
    {5, 2, "TerminalType", {{{0, "VT100"}, {1, "VT100+"}, {2, "VT-UTF8"}, {3, "ANSI"}}}},
    {5, 3, "BaudRate", {{{0, "9600"}, {1, "19200"}, {2, "38400"}, {3, "57600"}, {4, "115200"}}}},
    {5, 4, "FlowControl", {{{0, "None"}, {1, "RTS-CTS"}, {2, "XON-XOFF"}}}},
    {5, 5, "DataBits", {{{0, "7"}, {1, "8"}}}},
    {5, 6, "Parity", {{{0, "None"}, {1, "Even"}, {2, "Odd"}}}},
    {5, 7, "StopBits", {{{0, "1"}, {1, "2"}}}},

    {6, 0, "BootMode", {{{1, "Legacy"}, {2, "UEFI"}}}},  // codes start at 1

    numeric_item(128, 0, "IPv4PXEBootTimout1", 0, 60),
    numeric_item(128, 1, "IPv4PXEBootTimout2", 0, 60),
    numeric_item(128, 2, "IPv4PXEBootTimout3", 0, 60),
    numeric_item(128, 3, "IPv4PXEBootTimout4", 0, 60),
    numeric_item(128, 4, "PxeRetryCount", 1, 99),
    switch_item(128, 5, "Onboardlan"),
};
// clang-format on

// Items whose value is a number that is only checked.
inline constexpr uint8_t bios_number_group = 128;
inline constexpr uint8_t bios_number_items_end = 5;

// ---- the rows ----

inline constexpr uint8_t bios_continued = 0xAA;  // in place of the head on an item's further rows

struct BiosRow {
    uint8_t head_group;
    uint8_t head_item;
    uint8_t group;
    uint8_t item;
    uint8_t code;
    uint8_t validity;
    char name[32];
    char text[32];
    uint8_t minimum;
    uint8_t maximum;
};
static_assert(sizeof(BiosRow) == 72);

constexpr std::size_t count_bios_rows() {
    std::size_t rows = 0;
    for (const BiosItem &item : bios_items) {
        for (const BiosValue &value : item.values) {
            rows += value.text.empty() ? 0U : 1U;
        }
    }
    return rows;
}

constexpr std::array<BiosRow, count_bios_rows()> make_bios_table() {
    std::array<BiosRow, count_bios_rows()> table = {};
    std::size_t next = 0;
    for (const BiosItem &item : bios_items) {
        bool head = true;
        for (const BiosValue &value : item.values) {
            if (value.text.empty()) {
                break;
            }
            BiosRow &row = table[next++];
            row.head_group = head ? item.group : bios_continued;
            row.head_item = head ? item.item : bios_continued;
            row.group = item.group;
            row.item = item.item;
            row.code = value.code;
            row.validity = value.validity;
            row.minimum = value.minimum;
            row.maximum = value.maximum;
            item.name.copy(row.name, sizeof(row.name) - 1);
            value.text.copy(row.text, sizeof(row.text) - 1);
            head = false;
        }
    }
    return table;
}

inline constexpr auto bios_table = make_bios_table();
static_assert(bios_table.size() == 92);

}  // namespace bf::board
