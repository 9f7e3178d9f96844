// DIMM sockets: the table, the look-ups, the choice of labels and the decoding of memory events.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "boardfeatures/dimm.h"
#include "support/bytes.h"
#include "support/config_files.h"
#include "support/scripted_platform.h"

using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char custominfo[] = "/conf/vel/custominfo";
const char identifier_read[] = "ei2c_pca9535_get_word_value 13:0x26 0xFFFF";

// A socket as the silk screen and the manual name it.
struct Socket {
    uint32_t cpu, controller, channel, slot;
    std::string label, customer_label;

    std::tuple<uint32_t, uint32_t, uint32_t, uint32_t> place() const {
        return {cpu, controller, channel, slot};
    }
};

// Sockets in the table's order: index and DIMM number are the position, from 1.
const std::vector<Socket> &sockets() {
    static const std::vector<Socket> all = [] {
        struct Pair {
            const char *upper;
            const char *lower;
            uint32_t controller, channel;
        };
        constexpr Pair channels[] = {
            {"A", "a", 3, 0}, {"B", "b", 3, 1}, {"C", "c", 2, 0}, {"D", "d", 2, 1},
            {"E", "e", 1, 0}, {"F", "f", 1, 1}, {"G", "g", 0, 0}, {"H", "h", 0, 1},
        };
        std::vector<Socket> list;
        for (const char *cpu : {"1", "2"}) {
            for (const Pair &channel : channels) {
                for (const char *slot : {"1", "2"}) {
                    list.push_back({static_cast<uint32_t>(cpu[0] - '1'), channel.controller,
                                    channel.channel, static_cast<uint32_t>(slot[0] - '1'),
                                    std::string("DIMM") + cpu + channel.upper + slot,
                                    std::string("P") + cpu + "_C" + channel.lower + "_D" + slot});
                }
            }
        }
        return list;
    }();
    return all;
}

Bytes record(size_t position, bool customer, uint32_t cpu_offset = 0) {
    const Socket &socket = sockets().at(position);
    return Bytes()
        .u8(socket.cpu + cpu_offset)
        .u8(socket.controller)
        .u8(socket.channel)
        .u8(socket.slot)
        .u8(255)
        .u8(static_cast<uint32_t>(position) + 1)
        .u8(static_cast<uint32_t>(position) + 1)
        .text(customer ? socket.customer_label : socket.label, 45);
}

// The position of the socket at a place, or nothing.
std::optional<size_t> position_of(uint32_t cpu, uint32_t controller, uint32_t channel,
                                  uint32_t slot) {
    static const auto positions = [] {
        std::map<std::tuple<uint32_t, uint32_t, uint32_t, uint32_t>, size_t> all;
        for (size_t i = 0; i < sockets().size(); ++i) {
            all[sockets()[i].place()] = i;
        }
        return all;
    }();
    const auto found = positions.find({cpu, controller, channel, slot});
    return found == positions.end() ? std::nullopt : std::optional(found->second);
}

void fit_main_board(uint32_t board_id, uint32_t bom_id = 0) {
    uint32_t word = (board_id - 0x5400) * 32 + bom_id;
    word += __builtin_parity(word) != 0 ? 0 : 0x8000;
    platform().identifier(13, 0x26, 0, 0, static_cast<uint16_t>(word));
}
void set_customer(const std::string &id) {
    config_files::write(custominfo, config_files::ini_text("custom_info_id", "ID_Value", id));
}

// Calls that a look-up makes besides those of the customer identity's file.
std::vector<std::string> identifier_reads() { return platform().calls_of("ei2c_"); }
size_t identity_loads() {
    return platform().calls_of("VEL_IniLoadFile /conf/vel/custominfo").size() +
           platform().calls_of("IniLoadFile /conf/vel/custominfo").size();
}

// Has the labels chosen, so that what follows makes no calls.
void choose_labels() {
    DimmDevInfo info;
    ASSERT_EQ(GetDimmDevInfoByIndex(1, &info), 0);
    platform().clear_record();
}

void expect_all_records(bool customer) {
    for (uint32_t i = 0; i < 32; ++i) {
        SCOPED_TRACE(i);
        DimmDevInfo info;
        fill_with_garbage(info);
        EXPECT_EQ(GetDimmDevInfoByIndex(i + 1, &info), 0);
        expect_bytes(&info, sizeof(info), record(i, customer));
    }
}

void expect_silence() {
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
    EXPECT_THAT(platform().failed_stats, IsEmpty());
}

std::string no_such_place(uint32_t slot) {
    return " Unable to get dimmdevinfo by physiclinfo.dimm = " + std::to_string(slot);
}
void expect_one_error(const std::string &text) {
    ASSERT_EQ(platform().messages.size(), 1u);
    const scripted::Message &message = platform().messages[0];
    EXPECT_EQ(message.channel, "error");
    EXPECT_EQ(message.number, 52u);
    EXPECT_EQ(message.source, "dimm_common_info");
    EXPECT_EQ(message.function, "GetDimmDevInfoByPhysiclInfo");
    EXPECT_EQ(message.text, text);
    EXPECT_THAT(platform().failed_stats,
                ElementsAre(std::pair(std::string("dimm_common_info"), message.line)));
}

constexpr uint32_t strange[] = {0,   33,    34,      254,     255,        256,
                                257, 0x101, 0x10001, 0x10020, 0x80000001, UINT32_MAX};

// A label's ten bytes and what lies behind them.
struct Label {
    char bytes[12];
    Label() { std::memset(bytes, 0x5A, sizeof(bytes)); }
    bool untouched() const { return std::string(bytes, sizeof(bytes)) == std::string(12, 0x5A); }
    bool holds(const std::string &text) const {
        return text == bytes && bytes[9] == 0 && bytes[10] == 0x5A && bytes[11] == 0x5A;
    }
};

}  // namespace

TEST(BoardDimms, Constants) {
    EXPECT_EQ(GetMaxDimmCount(), 32);
    EXPECT_EQ(GetControllerCountPerCPU(), 4);
    EXPECT_EQ(GetChannelCountPerController(), 2);
    EXPECT_EQ(GetDimmCountPerChannel(), 2);
    EXPECT_EQ(GetDimmCountPerCPU(), 16);
    EXPECT_EQ(GetI2CDimmOutBandSupportFlag(), 0);
    EXPECT_EQ(GetEpldDimmTempSupportFlag(), 0);
    EXPECT_EQ(GetEpldDimmTempOffset(), 0xFFFF);
    expect_silence();
}

// ---- look-ups ----

TEST(DimmLookup, ByIndex) {
    expect_all_records(false);
    for (const uint32_t index : strange) {
        DimmDevInfo info;
        fill_with_garbage(info);
        const DimmDevInfo before = info;
        EXPECT_EQ(GetDimmDevInfoByIndex(index, &info), -1) << index;
        EXPECT_EQ(Redfish_GetDimmDevInfoByIndex(index, &info), -1) << index;
        EXPECT_EQ(std::memcmp(&info, &before, sizeof(info)), 0);
    }
}

TEST(DimmLookup, ByIndexForRedfishCountsCpusFromOne) {
    for (uint32_t i = 0; i < 32; ++i) {
        DimmDevInfo info;
        fill_with_garbage(info);
        EXPECT_EQ(Redfish_GetDimmDevInfoByIndex(i + 1, &info), 0);
        expect_bytes(&info, sizeof(info), record(i, false, 1));
    }
    expect_all_records(false);  // only the copy was changed
}

TEST(DimmLookup, ByNumber) {
    for (uint32_t i = 0; i < 32; ++i) {
        DimmDevInfo info;
        fill_with_garbage(info);
        EXPECT_EQ(GetDimmDevInfoByDimmNum(i + 1, &info), 0);
        expect_bytes(&info, sizeof(info), record(i, false));
    }
    for (const uint32_t number : strange) {
        DimmDevInfo info;
        EXPECT_EQ(GetDimmDevInfoByDimmNum(number, &info), -1) << number;
    }
}

TEST(DimmLookup, ByPlace) {
    ASSERT_NO_FATAL_FAILURE(choose_labels());
    for (uint32_t cpu = 0; cpu < 5; ++cpu) {
        for (uint32_t controller = 0; controller < 18; ++controller) {
            for (uint32_t channel = 0; channel < 18; ++channel) {
                for (uint32_t slot = 0; slot < 5; ++slot) {
                    platform().clear_record();
                    DimmDevInfo info;
                    fill_with_garbage(info);
                    const auto position = position_of(cpu, controller, channel, slot);
                    ASSERT_EQ(GetDimmDevInfoByPhysiclInfo(cpu, controller, channel, slot, &info),
                              position ? 0 : -1);
                    if (position) {
                        expect_bytes(&info, sizeof(info), record(*position, false));
                        expect_silence();
                    } else {
                        expect_one_error(no_such_place(slot));
                    }
                }
            }
        }
    }
    for (const auto &[cpu, controller, channel, slot, shown] :
         std::vector<std::tuple<uint32_t, uint32_t, uint32_t, uint32_t, std::string>>{
             {256, 3, 0, 0, "0"},
             {0, 259, 0, 0, "0"},
             {0, 3, 256, 0, "0"},
             {0, 3, 0, 256, "256"},
             {UINT32_MAX, 3, 0, 1, "1"},
             {0, 3, 0, UINT32_MAX, "-1"}}) {
        platform().clear_record();
        DimmDevInfo info;
        EXPECT_EQ(GetDimmDevInfoByPhysiclInfo(cpu, controller, channel, slot, &info), -1);
        expect_one_error(" Unable to get dimmdevinfo by physiclinfo.dimm = " + shown);
    }
}

TEST(DimmLookup, BiosChannels) {
    for (uint32_t bios = 0; bios < 300; ++bios) {
        uint8_t controller[2] = {0xA5, 0xA5};
        uint8_t channel[2] = {0xA5, 0xA5};
        EXPECT_EQ(GetDimmCtrlandChalNumByBiosChal(bios, controller, channel), bios < 8 ? 0 : -1);
        EXPECT_THAT(controller, ElementsAre(bios < 8 ? bios / 2 : 0xA5, 0xA5));
        EXPECT_THAT(channel, ElementsAre(bios < 8 ? bios % 2 : 0xA5, 0xA5));
    }
    uint8_t byte = 0;
    EXPECT_EQ(GetDimmCtrlandChalNumByBiosChal(UINT32_MAX, &byte, &byte), -1);
}

TEST(DimmLookup, TheWholeTable) {
    EXPECT_EQ(GetRealMaxDimmCount(), 32);
    const DimmDevInfo *table = nullptr;
    ASSERT_EQ(getAllDimmSilkScreen(&table), 32);
    for (size_t i = 0; i < 32; ++i) {
        expect_bytes(&table[i], sizeof(table[i]), record(i, false));
    }
}

TEST(DimmLookup, NullIsRefusedBeforeAnyAccess) {
    uint8_t byte = 0xA5;
    EXPECT_EQ(GetDimmDevInfoByIndex(1, nullptr), -1);
    EXPECT_EQ(Redfish_GetDimmDevInfoByIndex(1, nullptr), -1);
    EXPECT_EQ(GetDimmDevInfoByDimmNum(1, nullptr), -1);
    EXPECT_EQ(GetDimmDevInfoByPhysiclInfo(0, 3, 0, 0, nullptr), -1);
    EXPECT_EQ(GetDimmCtrlandChalNumByBiosChal(0, nullptr, &byte), -1);
    EXPECT_EQ(GetDimmCtrlandChalNumByBiosChal(0, &byte, nullptr), -1);
    EXPECT_EQ(byte, 0xA5);
    EXPECT_EQ(getAllDimmSilkScreen(nullptr), 0);
    EXPECT_EQ(GetDimmSilkScreenBySelInfo(0, 0, nullptr), -1);
    EXPECT_EQ(GetDimmSilkScreenBySelInfo(0, 1, nullptr), -1);
    EXPECT_EQ(diofluADDCGetMemMaskInfoBySel(0, nullptr), -1);
    EXPECT_EQ(DiofluADDDCGetDimmSilkScreenBySelInfo(0, nullptr), -1);
    expect_silence();
}

// ---- the choice of labels; each test is a process of its own ----

TEST(DimmLabels, CustomerLabelsNeedTheCustomerAndTheBoard) {
    fit_main_board(0x5440);
    set_customer("6");
    expect_all_records(true);
}
TEST(DimmLabels, CustomerLabelsOnTheOtherBoard) {
    fit_main_board(0x547D, 5);
    set_customer("6");
    expect_all_records(true);
    EXPECT_EQ(GetRealMaxDimmCount(), 32);
    const DimmDevInfo *table = nullptr;
    ASSERT_EQ(getAllDimmSilkScreen(&table), 32);
    for (size_t i = 0; i < 32; ++i) {
        expect_bytes(&table[i], sizeof(table[i]), record(i, true));
    }
    Label label;
    EXPECT_EQ(GetDimmSilkScreenBySelInfo(0x10, 0x02, label.bytes), 0);
    EXPECT_TRUE(label.holds("P2_Cg_D2"));
}
TEST(DimmLabels, OtherBoardsHaveTheDefaultOnes) {
    fit_main_board(0x5441);
    set_customer("6");
    expect_all_records(false);
}
TEST(DimmLabels, AnUnreadableBoardHasTheDefaultOnes) {
    set_customer("6");
    expect_all_records(false);
    EXPECT_THAT(identifier_reads(), ElementsAre(identifier_read));
}
TEST(DimmLabels, OtherCustomersHaveTheDefaultOnes) {
    fit_main_board(0x5440);
    set_customer("5");
    expect_all_records(false);
}
TEST(DimmLabels, ALargeCustomerTypeIsAnother) {
    fit_main_board(0x5440);
    set_customer("262");
    expect_all_records(false);
}
TEST(DimmLabels, WithoutAnIdentityTheDefaultOnes) {
    fit_main_board(0x5440);
    std::filesystem::create_directories("/conf/vel");
    expect_all_records(false);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(DimmLabels, AreChosenOnce) {
    fit_main_board(0x5440);
    set_customer("6");
    expect_all_records(true);
    EXPECT_THAT(identifier_reads(), ElementsAre(identifier_read));
    EXPECT_EQ(platform().calls.front(), identifier_read) << "the board before the customer";
    EXPECT_EQ(identity_loads(), 1u);
    platform().clear_record();
    set_customer("0");
    fit_main_board(0x5400);
    expect_all_records(true);
    expect_silence();
}

TEST(DimmLabels, AFailedIdentityKeepsTheDefaultOnesForGood) {
    fit_main_board(0x5440);
    set_customer("6");
    platform().fail_if = [](const std::string &call) {
        return call.find("IniLoadFile") != std::string::npos;
    };
    DimmDevInfo info;
    EXPECT_EQ(GetDimmDevInfoByIndex(1, &info), 0);
    bool said = false;
    for (const scripted::Message &message : platform().messages) {
        if (message.text == "IPMI_LoadCustomID failed\n") {
            said = true;
            EXPECT_EQ(message.channel, "dbgout");
            EXPECT_EQ(message.number, 130u);
            EXPECT_EQ(message.source, "dimm_common_info");
            EXPECT_GT(message.line, 0);
        }
    }
    EXPECT_TRUE(said);
    platform().fail_if = nullptr;
    platform().clear_record();
    expect_all_records(false);
    expect_silence();
}

// Every question about sockets makes the choice when it is the first.
struct Question {
    const char *name;
    void (*ask)();
};
void PrintTo(const Question &question, std::ostream *out) { *out << question.name; }
class FirstQuestion : public testing::TestWithParam<Question> {};
DimmDevInfo asked;
uint8_t asked_byte;
char asked_label[10];
const DimmDevInfo *asked_table;

TEST_P(FirstQuestion, MakesTheChoice) {
    fit_main_board(0x547D);
    set_customer("6");
    GetParam().ask();
    EXPECT_THAT(identifier_reads(), ElementsAre(identifier_read));
    EXPECT_EQ(identity_loads(), 1u);
    EXPECT_EQ(GetDimmDevInfoByIndex(1, &asked), 0);
    EXPECT_STREQ(asked.silk_screen, "P1_Ca_D1");
    EXPECT_EQ(identity_loads(), 1u);
}
INSTANTIATE_TEST_SUITE_P(
    Dimm, FirstQuestion,
    testing::Values(Question{"ByIndex", [] { GetDimmDevInfoByIndex(40, &asked); }},
                    Question{"Redfish", [] { Redfish_GetDimmDevInfoByIndex(1, &asked); }},
                    Question{"ByNumber", [] { GetDimmDevInfoByDimmNum(1, &asked); }},
                    Question{"ByPlace", [] { GetDimmDevInfoByPhysiclInfo(0, 0, 0, 0, &asked); }},
                    Question{"BiosChannel",
                             [] { GetDimmCtrlandChalNumByBiosChal(0, &asked_byte, &asked_byte); }},
                    Question{"SelIndex", [] { GetDimmIndexBySelInfo(0, 0); }},
                    Question{"SelNumber", [] { GetDimmNumberBySelInfo(0, 0); }},
                    Question{"SelCard", [] { GetDimmCardIndexBySelInfo(0, 0); }},
                    Question{"SelLabel", [] { GetDimmSilkScreenBySelInfo(0, 0, asked_label); }},
                    Question{"Packed", [] { diofluADDCGetMemMaskInfoBySel(0, &asked); }},
                    Question{"PackedLabel",
                             [] { DiofluADDDCGetDimmSilkScreenBySelInfo(0, asked_label); }},
                    Question{"TypeNumber", [] { GetDimmNumByBiosSelInfo(5, 0, 0); }},
                    Question{"TypeCard", [] { GetDimmCardIndexByBiosSelInfo(5, 0, 0); }},
                    Question{"Count", [] { GetRealMaxDimmCount(); }},
                    Question{"Table", [] { getAllDimmSilkScreen(&asked_table); }}),
    [](const auto &question) { return question.param.name; });

// ---- memory events ----

namespace {

// What an event's second and third byte name: digits of a form, not the arithmetic of the manual.
struct Event {
    bool direct;
    uint32_t number;                          // direct
    uint32_t cpu, controller, channel, slot;  // otherwise
};

Event event_of(uint32_t data2, uint32_t data3) {
    const auto bit = [&](int n) { return data3 >> n & 1u; };
    Event event = {};
    event.direct = bit(0) == 1;
    // bit 3 is ignored
    event.number = bit(1) + bit(2) * 2 + bit(4) * 8 + bit(5) * 16 + bit(6) * 32 + bit(7) * 64;
    event.cpu = data2 / 16;
    event.channel = data2 % 16;
    event.slot = bit(1) + bit(2) * 2;
    event.controller = bit(6) + bit(7) * 2 + bit(4) * 4 + bit(5) * 8;
    return event;
}

}  // namespace

TEST(MemoryEvents, AllPairs) {
    ASSERT_NO_FATAL_FAILURE(choose_labels());
    for (uint32_t data2 = 0; data2 < 256; ++data2) {
        SCOPED_TRACE(data2);
        for (uint32_t data3 = 0; data3 < 256; ++data3) {
            platform().clear_record();
            const Event event = event_of(data2, data3);
            const auto position =
                event.direct ? std::nullopt
                             : position_of(event.cpu, event.controller, event.channel, event.slot);
            const int32_t number = event.direct ? static_cast<int32_t>(event.number)
                                   : position   ? static_cast<int32_t>(*position) + 1
                                                : 0;
            const int32_t card = event.direct || position ? 255 : 0;
            ASSERT_EQ(GetDimmIndexBySelInfo(data2, data3), number) << data3;
            ASSERT_EQ(GetDimmNumberBySelInfo(data2, data3), number) << data3;
            ASSERT_EQ(GetDimmCardIndexBySelInfo(data2, data3), card) << data3;
            Label label;
            ASSERT_EQ(GetDimmSilkScreenBySelInfo(data2, data3, label.bytes), 0) << data3;
            if (event.direct) {
                ASSERT_TRUE(label.untouched()) << data3;
            } else {
                ASSERT_TRUE(label.holds(position ? sockets()[*position].label : ""))
                    << label.bytes << " " << data3;
            }
            // Types whose low nibble is not 5 are the same question.
            const uint32_t type = data3 * 16 + (data2 % 16 == 5 ? 4 : data2 % 16);
            ASSERT_EQ(GetDimmNumByBiosSelInfo(type, data2, data3), number) << data3;
            ASSERT_EQ(GetDimmCardIndexByBiosSelInfo(type, data2, data3), card) << data3;

            ASSERT_THAT(platform().calls, IsEmpty());
            ASSERT_EQ(platform().messages.size(), event.direct || position ? 0u : 6u) << data3;
            for (const scripted::Message &message : platform().messages) {
                ASSERT_EQ(message.text, no_such_place(event.slot)) << data3;
            }
        }
    }
}

TEST(MemoryEvents, KnownOnes) {
    EXPECT_EQ(GetDimmIndexBySelInfo(0x10, 0x02), 30);
    Label label;
    EXPECT_EQ(GetDimmSilkScreenBySelInfo(0x10, 0x02, label.bytes), 0);
    EXPECT_STREQ(label.bytes, "DIMM2G2");
    for (uint32_t data2 = 0; data2 < 256; ++data2) {
        EXPECT_EQ(GetDimmIndexBySelInfo(data2, 0x0B), 1);
    }
    EXPECT_EQ(GetDimmIndexBySelInfo(0x00, 0x10), 0) << "controller 4";
}

// An event that names the DIMM itself needs no table.
TEST(MemoryEvents, ADirectNumberNeedsNoLookup) {
    EXPECT_EQ(GetDimmIndexBySelInfo(0, 0x05), 2);
    EXPECT_EQ(GetDimmNumberBySelInfo(0, 0x05), 2);
    EXPECT_EQ(GetDimmCardIndexBySelInfo(0, 0x05), 255);
    EXPECT_EQ(GetDimmCardIndexByBiosSelInfo(4, 0, 0x05), 255);
    Label label;
    EXPECT_EQ(GetDimmSilkScreenBySelInfo(0, 0x05, label.bytes), 0);
    expect_silence();
}

// ---- a customer's packed location ----

TEST(PackedLocation, AllBytes) {
    ASSERT_NO_FATAL_FAILURE(choose_labels());
    for (uint32_t location = 0; location < 256; ++location) {
        SCOPED_TRACE(location);
        const uint32_t cpu = location / 64;
        const uint32_t bios_channel = location / 4 % 16;
        const uint32_t slot = location % 4;
        const auto position = bios_channel < 8
                                  ? position_of(cpu, bios_channel / 2, bios_channel % 2, slot)
                                  : std::nullopt;
        DimmDevInfo info;
        fill_with_garbage(info);
        EXPECT_EQ(diofluADDCGetMemMaskInfoBySel(location, &info), 0);
        expect_bytes(&info, sizeof(info), position ? record(*position, false) : Bytes().zeros(52));
        Label label;
        EXPECT_EQ(DiofluADDDCGetDimmSilkScreenBySelInfo(location, label.bytes), 0);
        EXPECT_TRUE(position ? label.holds(sockets()[*position].label) : label.untouched());
        for (const uint32_t type : {0x05u, 0x15u, 0xF5u}) {
            EXPECT_EQ(GetDimmNumByBiosSelInfo(type, 0xFF, location),
                      position ? static_cast<int32_t>(*position) + 1 : 0);
            EXPECT_EQ(GetDimmCardIndexByBiosSelInfo(type, 0xFF, location), position ? 255 : 0);
        }
        // Each of the eight questions looks for the place, if the channel is one at all.
        EXPECT_EQ(
            platform().texts(),
            std::vector<std::string>(position || bios_channel >= 8 ? 0 : 8, no_such_place(slot)));
        platform().clear_record();
    }
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST(PackedLocation, OnlyTypesWithLowNibbleFive) {
    // CPU 1, controller 3, channel 1, slot 1 as a packed location; a direct number 47 otherwise.
    constexpr uint32_t location = 0x5D;
    for (uint32_t type = 0; type < 256; ++type) {
        EXPECT_EQ(GetDimmNumByBiosSelInfo(type, 0, location), type % 16 == 5 ? 20 : 42) << type;
        // Slot 3, which there is not, as a packed location; a direct number otherwise.
        EXPECT_EQ(GetDimmCardIndexByBiosSelInfo(type, 0, 0x03), type % 16 == 5 ? 0 : 255) << type;
    }
}
