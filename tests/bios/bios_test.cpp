// BIOS setup options: every byte of the table, every item and value both ways.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "boardfeatures/bios.h"
#include "support/bytes.h"
#include "support/scripted_platform.h"

using scripted::platform;
using testing::IsEmpty;

namespace {

// group/item name: code=text ... ; "range" lowest highest for a numeric item; "none" for a
// placeholder among values.
constexpr char manual[] = R"(0/0 HyperThreading 0=Disabled 1=Enabled
0/1 VT-x 0=Disabled 1=Enabled
0/2 P-state 0=Disabled 1=Enabled
0/3 TurboMode 0=Disabled 1=Enabled
0/4 PackageCState 0=C01State 1=C2State 2=C6(nonRetention)State 255=Auto
0/5 EnhancedHaltState(C1E) 0=Disabled 1=Enabled
0/6 CPUC6Report 0=Disabled 1=Enabled 255=Auto
0/7 SW_Control_T-States 0=Disabled 1=Enabled
1/0 NUMA 0=Disabled 1=Enabled
1/1 SNC 0=Disabled 1=Enabled
1/2 N/A none
1/3 MirrorMode 0=Disabled 1=FullMirrorMode 2=PartialMirrorMode
1/4 N/A none
1/5 MemoryCEAccumulationThreshold 0=Disabled 1=1200 none none 4=960 5=2400 6=4800 7=9600
1/6 MemoryCEStormThreshold 0=Disabled 1=120 2=60 3=240 4=1200
2/0 ENERGY_PERF_BIAS_CFG_Mode 0=Performance 1=BalancedPerformance 2=BalancedPower 3=Power
2/1 N/A none
3/0 VT-d 0=Disabled 1=Enabled
3/1 SATAController 0=Disabled 1=Enabled
3/2 ConfigureSATAas 0=AHCI 1=RAID
3/3 sSATAController 0=Disabled 1=Enabled
3/4 ConfiguresSATAas 0=AHCI 1=RAID
3/5 SR-IOV 0=Disabled 1=Enabled
3/254 IntelVMDSupport 0=Disabled 1=Enabled
4/0 N/A none
5/0 N/A none
5/1 ConsoleRedirect 0=Disabled 1=Enabled
5/2 TerminalType 0=VT100 1=VT100+ 2=VT-UTF8 3=ANSI
5/3 BaudRate 0=9600 1=19200 2=38400 3=57600 4=115200
5/4 FlowControl 0=None 1=RTS-CTS 2=XON-XOFF
5/5 DataBits 0=7 1=8
5/6 Parity 0=None 1=Even 2=Odd
5/7 StopBits 0=1 1=2
6/0 BootMode 1=Legacy 2=UEFI
128/0 IPv4PXEBootTimout1 range 0 60
128/1 IPv4PXEBootTimout2 range 0 60
128/2 IPv4PXEBootTimout3 range 0 60
128/3 IPv4PXEBootTimout4 range 0 60
128/4 PxeRetryCount range 1 99
128/5 Onboardlan 0=Disabled 1=Enabled
)";

struct Value {
    std::optional<uint32_t> code;  // none: a placeholder
    std::string text;
};
struct Item {
    uint32_t group = 0, item = 0;
    std::string name;
    std::vector<Value> values;                                // in order
    std::optional<std::pair<uint32_t, uint32_t>> range = {};  // of a numeric item

    bool placeholder_first() const { return !range && !values.front().code; }
};

const std::vector<Item> &items() {
    static const std::vector<Item> all = [] {
        std::vector<Item> list;
        std::istringstream lines(manual);
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            Item item;
            char slash = 0;
            words >> item.group >> slash >> item.item >> item.name;
            for (std::string word; words >> word;) {
                const size_t equals = word.find('=');
                if (word == "range") {
                    item.range.emplace();
                    words >> item.range->first >> item.range->second;
                } else if (word == "none") {
                    item.values.push_back({std::nullopt, "nil"});
                } else {
                    item.values.push_back(
                        {static_cast<uint32_t>(std::stoul(word)), word.substr(equals + 1)});
                }
            }
            list.push_back(item);
        }
        return list;
    }();
    return all;
}

Bytes table_bytes() {
    Bytes bytes;
    for (const Item &item : items()) {
        bool head = true;
        const auto row = [&](uint32_t code, uint32_t validity, const std::string &text,
                             uint32_t lowest, uint32_t highest) {
            bytes.u8(head ? item.group : 0xAA).u8(head ? item.item : 0xAA);
            bytes.u8(item.group).u8(item.item).u8(code).u8(validity);
            bytes.text(item.name, 32).text(text, 32).u8(lowest).u8(highest);
            head = false;
        };
        if (item.range) {
            row(255, 1, "nil", item.range->first, item.range->second);
        }
        for (const Value &value : item.values) {
            row(value.code.value_or(255), value.code ? 1 : 255, value.text, 0, 0);
        }
    }
    return bytes;
}

const Item *item_at(uint32_t group, uint32_t number) {
    for (const Item &item : items()) {
        if (item.group == group && item.item == number) {
            return &item;
        }
    }
    return nullptr;
}

constexpr size_t row_size = 72;
constexpr size_t name_offset = 6;

// The table's first byte: names that are handed out lie inside its rows.
const char *table() {
    const uint8_t request[3] = {0, 0, 0};
    const char *name = nullptr;
    uint8_t completion = 0;
    EXPECT_EQ(BIOSInfoHandleFlagDefault(request, &name, nullptr, nullptr, &completion), 1);
    return name - name_offset;
}

// The row that an item begins at.
size_t row_of(const Item &wanted) {
    size_t row = 0;
    for (const Item &item : items()) {
        if (item.group == wanted.group && item.item == wanted.item) {
            return row;
        }
        row += item.range ? 1 : item.values.size();
    }
    ADD_FAILURE();
    return 0;
}

struct Answer {
    int32_t result = 0;
    const char *name = nullptr;
    std::string text;
    uint8_t completion = 0xA5;
};

Answer text_of(uint32_t group, uint32_t item, uint32_t value) {
    const uint8_t request[3] = {static_cast<uint8_t>(group), static_cast<uint8_t>(item),
                                static_cast<uint8_t>(value)};
    Answer answer;
    char text[34];
    std::memset(text, 0x5A, sizeof(text));
    answer.result = BIOSInfoHandleFlag1(request, &answer.name, nullptr, text, &answer.completion);
    EXPECT_EQ(text[32], 0x5A);
    EXPECT_LT(strnlen(text, 32), 32u);
    answer.text = text;
    return answer;
}

Answer code_of(const std::string &name, const std::string &text) {
    const uint8_t request[3] = {};
    Answer answer;
    char a[128] = {}, b[128] = {};
    std::strncpy(a, name.c_str(), sizeof(a) - 1);
    std::strncpy(b, text.c_str(), sizeof(b) - 1);
    answer.result = BIOSInfoHandleFlag2(request, &answer.name, a, b, &answer.completion);
    EXPECT_EQ(answer.name, nullptr);
    EXPECT_STREQ(a, name.c_str());
    EXPECT_STREQ(b, text.c_str());
    return answer;
}

void expect_silence() {
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
}

}  // namespace

TEST(BiosTable, EveryByte) {
    ASSERT_EQ(items().size(), 40u);
    expect_bytes(table(), 92 * row_size, table_bytes());
    expect_silence();
}

// ---- items of a group ----

TEST(BiosGroup, EveryGroup) {
    for (uint32_t group = 0; group < 256; ++group) {
        SCOPED_TRACE(group);
        std::vector<const char *> expected;
        for (const Item &item : items()) {
            const char *name = table() + row_of(item) * row_size + name_offset;
            if (item.group == group) {
                expected.push_back(name);
            }
            // The mark of further rows, asked for as a group, lists those.
            for (size_t i = 1; group == 0xAA && i < item.values.size(); ++i) {
                expected.push_back(name + i * row_size);
            }
        }
        for (const uint32_t item : {0u, 1u, 255u}) {
            const uint8_t request[3] = {static_cast<uint8_t>(group), static_cast<uint8_t>(item),
                                        77};
            const char *names[93] = {};
            uint8_t completion = 0xA5;
            const int32_t count =
                BIOSInfoHandleFlag0(request, names, nullptr, nullptr, &completion);
            EXPECT_EQ(count, expected.empty() ? -1 : static_cast<int32_t>(expected.size()));
            EXPECT_EQ(completion, expected.empty() ? 0xC7 : 0xA5);
            EXPECT_EQ(std::vector(names, names + expected.size()), expected);
            EXPECT_EQ(names[expected.size()], nullptr);
        }
    }
    expect_silence();
}

TEST(BiosGroup, HeadsOnly) {
    const uint8_t request[3] = {0, 255, 0};
    const char *names[93] = {};
    uint8_t completion = 0xA5;
    EXPECT_EQ(BIOSInfoHandleFlag0(request, names, nullptr, nullptr, &completion), 8);
    EXPECT_STREQ(names[0], "HyperThreading");
    EXPECT_STREQ(names[4], "PackageCState");
    EXPECT_STREQ(names[7], "SW_Control_T-States");
}

// ---- an item ----

TEST(BiosItem, EveryGroupAndItem) {
    for (uint32_t group = 0; group < 256; ++group) {
        for (uint32_t number = 0; number < 256; ++number) {
            const uint8_t request[3] = {static_cast<uint8_t>(group), static_cast<uint8_t>(number),
                                        99};
            const char *name = nullptr;
            uint8_t completion = 0xA5;
            const int32_t result =
                BIOSInfoHandleFlagDefault(request, &name, nullptr, nullptr, &completion);
            SCOPED_TRACE(testing::Message() << group << "/" << number);
            if (group == 0xAA && number == 0xAA) {  // the mark of further rows: the first of them
                ASSERT_EQ(result, 1);
                ASSERT_EQ(name, table() + row_size + name_offset);
                continue;
            }
            const Item *item = item_at(group, number);
            if (item == nullptr || item->placeholder_first()) {
                ASSERT_EQ(result, -1);
                ASSERT_EQ(completion, item == nullptr ? 0xC7 : 0x80);
                ASSERT_EQ(name, nullptr);
            } else {
                ASSERT_EQ(result, 1);
                ASSERT_EQ(completion, 0xA5);
                ASSERT_EQ(name, table() + row_of(*item) * row_size + name_offset);
                ASSERT_EQ(name, item->name);
            }
        }
    }
    expect_silence();
}

// ---- value to text ----

TEST(BiosText, EveryItemAndValue) {
    for (uint32_t group = 0; group < 256; ++group) {
        for (uint32_t number = 0; number < 256; ++number) {
            const Item *item = item_at(group, number);
            if (item == nullptr && number > 8 && number % 51 != 0) {
                continue;
            }
            SCOPED_TRACE(testing::Message() << group << "/" << number);
            for (uint32_t value = 0; value < 256; ++value) {
                const Answer answer = text_of(group, number, value);
                std::string text;
                bool found = false;
                uint8_t completion = 0xC7;
                size_t row = 0;
                if (item != nullptr && item->range) {
                    found = value >= item->range->first && value <= item->range->second;
                    text = std::to_string(value);
                } else if (item != nullptr) {
                    for (size_t i = 0; i < item->values.size(); ++i) {
                        const Value &candidate = item->values[i];
                        if (!candidate.code) {
                            completion = 0x80;
                            break;
                        }
                        if (*candidate.code == value) {
                            found = true;
                            text = candidate.text;
                            row = i;
                            break;
                        }
                    }
                }
                ASSERT_EQ(answer.result, found ? 0 : -1) << value;
                ASSERT_EQ(answer.text, found ? text : "") << value;
                ASSERT_EQ(answer.completion, found ? 0xA5 : completion) << value;
                ASSERT_EQ(
                    answer.name,
                    found ? table() + (row_of(*item) + row) * row_size + name_offset : nullptr)
                    << value;
            }
        }
    }
    expect_silence();
}

TEST(BiosText, KnownOnes) {
    EXPECT_EQ(text_of(6, 0, 0).completion, 0xC7);
    EXPECT_EQ(text_of(6, 0, 2).text, "UEFI");
    EXPECT_EQ(text_of(128, 4, 0).completion, 0xC7);
    EXPECT_EQ(text_of(128, 4, 99).text, "99");
    EXPECT_EQ(text_of(128, 4, 100).completion, 0xC7);
    EXPECT_EQ(text_of(0, 4, 255).text, "Auto");
    EXPECT_EQ(text_of(1, 5, 1).text, "1200");
    EXPECT_EQ(text_of(1, 5, 4).completion, 0x80) << "the placeholders stand before it";
}

// The text is cleared also when there is no such item.
TEST(BiosText, IsClearedFirst) {
    const uint8_t request[3] = {99, 99, 99};
    const char *name = nullptr;
    char text[33];
    std::memset(text, 0x5A, sizeof(text));
    uint8_t completion = 0;
    EXPECT_EQ(BIOSInfoHandleFlag1(request, &name, nullptr, text, &completion), -1);
    EXPECT_EQ(std::string(text, 33), std::string(32, '\0') + "\x5A");
}

// ---- text to value ----

TEST(BiosCode, EveryItemAndText) {
    std::set<std::string> texts = {"", "x", "disabled", "Disabled ", "Enable", "nil2"};
    for (const Item &item : items()) {
        for (const Value &value : item.values) {
            texts.insert(value.text);
        }
    }
    for (const Item &item : items()) {
        for (const std::string &text : texts) {
            SCOPED_TRACE(item.name + " = " + text);
            const Answer answer = code_of(item.name, text);
            if (text == "nil") {
                ASSERT_EQ(answer.result, 255);
                ASSERT_EQ(answer.completion, 0xA5);
                continue;
            }
            if (item.range) {
                const bool number = !text.empty() && text[0] >= '0' && text[0] <= '9';
                ASSERT_EQ(answer.result, number ? 0 : -1);
                ASSERT_EQ(answer.completion, 0xA5);
                continue;
            }
            std::optional<uint32_t> code;
            for (const Value &value : item.values) {
                if (value.code && value.text == text) {
                    code = value.code;
                }
            }
            ASSERT_EQ(answer.result, code ? static_cast<int32_t>(*code) : -1);
            ASSERT_EQ(answer.completion, code ? 0xA5 : 0xC7);
        }
    }
    expect_silence();
}

TEST(BiosCode, NilIs255WhateverTheName) {
    for (const char *name : {"", "NoSuchItem", "NUMA", "PxeRetryCount"}) {
        const Answer answer = code_of(name, "nil");
        EXPECT_EQ(answer.result, 255);
        EXPECT_EQ(answer.completion, 0xA5);
    }
}

TEST(BiosCode, NumericItemsCheckThatThereIsANumber) {
    const std::pair<const char *, int32_t> texts[] = {
        {"0", 0},  {"60", 0},        {"61", 0},   {"-7", 0}, {"+7", 0}, {" 7", 0},
        {"7x", 0}, {"7 8", 0},       {"", -1},    {" ", -1}, {"x", -1}, {"x7", -1},
        {"-", -1}, {"Disabled", -1}, {"0x10", 0}, {"1e9", 0}};
    for (const char *name : {"IPv4PXEBootTimout1", "IPv4PXEBootTimout2", "IPv4PXEBootTimout3",
                             "IPv4PXEBootTimout4", "PxeRetryCount", "PxeRetryCount of host"}) {
        for (const auto &[text, result] : texts) {
            const Answer answer = code_of(name, text);
            EXPECT_EQ(answer.result, result) << name << " = " << text;
            EXPECT_EQ(answer.completion, 0xA5);
        }
    }
}

// The name given may go on behind the item's.
TEST(BiosCode, NamesBeginWithTheItems) {
    EXPECT_EQ(code_of("NUMA", "Enabled").result, 1);
    EXPECT_EQ(code_of("NUMA of host", "Enabled").result, 1);
    EXPECT_EQ(code_of("NUM", "Enabled").result, -1);
    EXPECT_EQ(code_of("numa", "Enabled").result, -1);
    EXPECT_EQ(code_of("xNUMA", "Enabled").result, -1);
    EXPECT_EQ(code_of("", "Enabled").result, -1);
    EXPECT_EQ(code_of("", "Enabled").completion, 0xC7);
    EXPECT_EQ(code_of("SATAController", "Enabled").result, 1);
    EXPECT_EQ(code_of("N/A", "Enabled").completion, 0xC7);
    EXPECT_EQ(code_of("BootMode", "UEFI").result, 2);
    EXPECT_EQ(code_of("MemoryCEAccumulationThreshold", "9600").result, 7)
        << "placeholders are no obstacle here";
    EXPECT_EQ(code_of("PackageCState", "Auto").result, 255);
    EXPECT_EQ(code_of(std::string(100, 'x'), "Enabled").completion, 0xC7);
}

// Name and text are fields of 32 bytes, which they may fill to the end.
TEST(BiosCode, FieldsNeedNoEnd) {
    const struct {
        std::string name, text;
        int32_t result;
    } rows[] = {
        {"NUMA" + std::string(28, 'x'), "Enabled", 1},
        {"NUMA", "Enabled" + std::string(25, 'x'), -1},
        {"PxeRetryCount", "7" + std::string(31, 'x'), 0},
        {"PxeRetryCount" + std::string(19, 'x'), std::string(32, ' '), -1},
        {std::string(32, 'x'), std::string(32, 'x'), -1},
    };
    for (const auto &row : rows) {
        std::vector<char> name(row.name.begin(), row.name.end());
        std::vector<char> text(row.text.begin(), row.text.end());
        name.resize(32);
        text.resize(32);
        name.shrink_to_fit();
        text.shrink_to_fit();
        const uint8_t request[3] = {};
        const char *unused = nullptr;
        uint8_t completion = 0xA5;
        EXPECT_EQ(BIOSInfoHandleFlag2(request, &unused, name.data(), text.data(), &completion),
                  row.result)
            << row.name << " = " << row.text;
    }
}

// ---- the dispatcher ----

TEST(BiosInfoHandle, AsksTheRightQuestion) {
    const auto ask = [](uint32_t mode, uint8_t group, uint8_t item, uint8_t value) {
        const uint8_t request[3] = {group, item, value};
        const char *names[93] = {};
        char a[128] = "BootMode", b[128] = "UEFI";
        uint8_t completion = 0xA5;
        const int32_t result = BIOSInfoHandle(mode, request, names, a, b, &completion);
        return std::to_string(result) + " " + (names[0] != nullptr ? names[0] : "-") + " " + b +
               " " + std::to_string(completion);
    };
    EXPECT_EQ(ask(0, 0, 255, 0), "8 HyperThreading UEFI 165");
    EXPECT_EQ(ask(0, 9, 255, 0), "-1 - UEFI 199");
    EXPECT_EQ(ask(0, 0, 1, 0), "1 VT-x UEFI 165");
    EXPECT_EQ(ask(0, 1, 2, 0), "-1 - UEFI 128");
    EXPECT_EQ(ask(1, 0, 4, 2), "0 PackageCState C6(nonRetention)State 165");
    EXPECT_EQ(ask(1, 0, 255, 0), "-1 -  199");
    EXPECT_EQ(ask(2, 0, 255, 0), "2 - UEFI 165");
    for (const uint32_t mode : {3u, 4u, 255u, 256u, 257u, 258u, 0x10001u, UINT32_MAX}) {
        EXPECT_EQ(ask(mode, 0, 1, 0), "1 VT-x UEFI 165") << mode;
        EXPECT_EQ(ask(mode, 0, 255, 0), "-1 - UEFI 199") << mode;
    }
    expect_silence();
}

TEST(BiosInfoHandle, NullIsRefused) {
    const uint8_t request[3] = {0, 0, 0};
    const uint8_t group[3] = {0, 255, 0};
    const char *names[93] = {};
    char a[64] = "NUMA", b[64] = "Enabled";
    uint8_t done = 0xA5;
    for (const uint32_t mode : {0u, 1u, 3u}) {
        EXPECT_EQ(BIOSInfoHandle(mode, nullptr, names, a, b, &done), -1) << mode;
        EXPECT_EQ(BIOSInfoHandle(mode, request, nullptr, a, b, &done), -1) << mode;
        EXPECT_EQ(BIOSInfoHandle(mode, request, names, a, b, nullptr), -1) << mode;
    }
    EXPECT_EQ(BIOSInfoHandle(0, group, nullptr, a, b, &done), -1);
    EXPECT_EQ(BIOSInfoHandle(0, group, names, a, b, nullptr), -1);
    EXPECT_EQ(BIOSInfoHandle(1, request, names, a, nullptr, &done), -1);
    EXPECT_EQ(BIOSInfoHandle(2, request, names, nullptr, b, &done), -1);
    EXPECT_EQ(BIOSInfoHandle(2, request, names, a, nullptr, &done), -1);
    EXPECT_EQ(BIOSInfoHandle(2, request, names, a, b, nullptr), -1);
    EXPECT_EQ(done, 0xA5);
    EXPECT_EQ(names[0], nullptr);
    EXPECT_STREQ(b, "Enabled");
    expect_silence();
}

// ---- comparing ----

TEST(CompareConfigItems, BothPairs) {
    EXPECT_EQ(compareConfigItems("a", "a", "1", "1"), 1);
    EXPECT_EQ(compareConfigItems("", "", "", ""), 1);
    EXPECT_EQ(compareConfigItems("a", "b", "1", "1"), 0);
    EXPECT_EQ(compareConfigItems("a", "a", "1", "2"), 0);
    EXPECT_EQ(compareConfigItems("a", "b", "1", "2"), 0);
    EXPECT_EQ(compareConfigItems("a", "A", "1", "1"), 0);
    EXPECT_EQ(compareConfigItems("a", "ab", "1", "1"), 0);
    EXPECT_EQ(compareConfigItems("ab", "a", "1", "1"), 0);
    EXPECT_EQ(compareConfigItems("a", "a", "", "1"), 0);
    const std::string longer(300, 'x');
    EXPECT_EQ(compareConfigItems(longer.c_str(), (longer + "y").c_str(), "1", "1"), 0);
    EXPECT_EQ(compareConfigItems(longer.c_str(), std::string(longer).c_str(), "1", "1"), 1);
    const char *const arguments[] = {"a", "a", "1", "1"};
    for (int null = 0; null < 4; ++null) {
        const char *given[4];
        std::copy(arguments, arguments + 4, given);
        given[null] = nullptr;
        EXPECT_EQ(compareConfigItems(given[0], given[1], given[2], given[3]), 0);
    }
    EXPECT_EQ(compareConfigItems(nullptr, nullptr, nullptr, nullptr), 0);
}
