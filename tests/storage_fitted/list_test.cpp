// The list of fitted backplanes, slot validity, and facts about the board's disks.
#include <sys/stat.h>

#include <map>

#include "storage_fitted/support.h"

using scripted::platform;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

// The board's documentation: what is recognised, and where connectors start.
const std::map<uint32_t, uint32_t> &slots_of_kind() {
    static const std::map<uint32_t, uint32_t> all = {
        {21592, 8},  {21593, 8},  {21743, 8},  {21594, 12}, {21595, 12}, {21596, 25},
        {21597, 25}, {21598, 25}, {21599, 32}, {21602, 4},  {21603, 8},  {21604, 2},
        {21605, 2},  {21606, 4},  {21615, 24}, {21619, 24}, {21618, 12}, {21620, 2}};
    return all;
}
const std::vector<uint32_t> all_cards = {5, 6, 7, 8, 9, 10, 11, 14};

uint32_t start_of(uint32_t card, uint32_t board_id) {
    static const std::map<std::pair<uint32_t, uint32_t>, uint32_t> exceptions = {
        {{10, 21592}, 8},  {{10, 21593}, 8}, {{11, 21595}, 24}, {{11, 21618}, 24},
        {{5, 21620}, 100}, {{8, 21620}, 90}, {{14, 21620}, 98}};
    static const std::map<uint32_t, uint32_t> defaults = {{5, 50}, {6, 52}, {7, 56},  {8, 60},
                                                          {9, 0},  {10, 0}, {11, 16}, {14, 98}};
    const auto exception = exceptions.find({card, board_id});
    return exception != exceptions.end() ? exception->second : defaults.at(card);
}

void put32(uint8_t *entry, size_t offset, uint32_t value) {
    for (int i = 0; i < 4; ++i) {
        entry[offset + i] = static_cast<uint8_t>(value >> (8 * i));
    }
}

// The 300 bytes of one entry, by offset.
std::vector<uint8_t> entry_of(uint32_t card, uint32_t board_id) {
    std::vector<uint8_t> entry(300, 0);
    const uint32_t start = start_of(card, board_id);
    const uint32_t count = slots_of_kind().at(board_id);
    entry[1] = static_cast<uint8_t>(start);
    entry[2] = static_cast<uint8_t>(count);
    put32(entry.data(), 4, card);
    put32(entry.data(), 8, board_id);
    put32(entry.data(), 12, card == 14 ? 10 : card - 2);
    for (uint32_t slot = start; slot < start + count; ++slot) {
        entry[45 + slot] = static_cast<uint8_t>(slot);
    }
    return entry;
}

std::vector<uint8_t> bytes_of(const BackPanelDev &panel) {
    const auto *bytes = reinterpret_cast<const uint8_t *>(&panel);
    return {bytes, bytes + sizeof(panel)};
}

BackPanelList marked_list() {
    BackPanelList list;
    std::memset(&list, untouched, sizeof(list));
    return list;
}

void custom_labels(const std::string &lines) {
    mkdir("/conf/vel", 0755);
    write_file("/conf/vel/custom_location_config.ini", "[disk custom config]\n" + lines);
}
std::string custom(uint32_t disk, uint32_t silk) {
    const std::string key = "origine_zone0_disk" + std::to_string(disk);
    return key + "_customzone=0\n" + key + "_customslik=" + std::to_string(silk) + "\n";
}

// Messages without the traces of the look-ups of custom numbers.
std::vector<scripted::Message> own_messages() {
    std::vector<scripted::Message> own;
    for (const scripted::Message &message : platform().messages) {
        if (message.channel != "runtime") {
            own.push_back(message);
        }
    }
    return own;
}

constexpr char special_info[] = "board/Tarn/main/harddisk_special_info";

}  // namespace

// ---- the list ----

TEST(List, EachBackplaneInEachConnector) {
    for (const uint32_t card : all_cards) {
        for (const auto &[board_id, count] : slots_of_kind()) {
            SCOPED_TRACE("card " + std::to_string(card) + " board " + std::to_string(board_id));
            rules::fit(card, board_id);
            platform().clear_record();
            BackPanelList list = marked_list();
            EXPECT_EQ(hdd_get_disk_backpanel_list(&list), 0);
            EXPECT_EQ(list.totalnum, 1);
            EXPECT_EQ(bytes_of(list.singlepaneldev[0]), entry_of(card, board_id));
            EXPECT_EQ(bytes_of(list.singlepaneldev[1]), std::vector<uint8_t>(300, untouched));
            EXPECT_THAT(reads(), SizeIs(9));
            EXPECT_EQ(get_max_disk_count(), count);
            EXPECT_EQ(GetDiskMaxNum(), count);
            EXPECT_EQ(GetHddStartBySlotId(card), start_of(card, board_id));
            EXPECT_EQ(GetHddStartBySlotId(card + 1), 0u);
            rules::unfit(card);
        }
        ASSERT_FALSE(HasFailure());
    }
}

TEST(List, UnknownBackplanesAreNotListed) {
    for (const uint32_t board_id : {21504u, 21600u, 21601u, 21744u, 21999u}) {
        rules::fit(9, board_id);
        BackPanelList list = marked_list();
        EXPECT_EQ(hdd_get_disk_backpanel_list(&list), 0);
        EXPECT_EQ(list.totalnum, 0);
    }
    EXPECT_THAT(own_messages(), IsEmpty());
}

TEST(ListEdge, NoBackplane) {
    BackPanelList list = marked_list();
    EXPECT_EQ(hdd_get_disk_backpanel_list(&list), 0);
    EXPECT_EQ(list.totalnum, 0);
    EXPECT_THAT(reads(), ElementsAre("ei2c_pca9535_get_word_value 3:0x20 0xFFFF",
                                     "ei2c_pca9535_get_word_value 4:0x20 0xFFFF",
                                     "ei2c_pca9535_get_word_value 5:0x20 0xFFFF",
                                     "ei2c_pca9535_get_word_value 6:0x20 0xFFFF",
                                     "ei2c_pca9535_get_word_value 7:0x20 0xFFFF",
                                     "ei2c_pca9535_get_word_value 8:0x20 0xFFFF",
                                     "ei2c_pca9535_get_word_value 9:0x20 0xFFFF",
                                     "ei2c_pca9535_get_word_value 10:0x20 0xFFFF"));
    EXPECT_EQ(get_max_disk_count(), 0u);
    EXPECT_EQ(GetDiskMaxNum(), 0u);
    for (uint32_t slot = 0; slot < 256; ++slot) {
        EXPECT_EQ(IsDiskSlotValid(0, slot), 0u);
    }
    EXPECT_EQ(hdd_onboard(1), -1);
}

TEST(ListEdge, StartSlotsOfMidAndSecondBackplanes) {
    rules::fit(5, 21620);
    rules::fit(6, 21620);
    rules::fit(8, 21620);
    rules::fit(11, 21595);
    rules::fit(14, 21620);
    EXPECT_EQ(GetHddStartBySlotId(5), 100u);
    EXPECT_EQ(GetHddStartBySlotId(6), 52u);
    EXPECT_EQ(GetHddStartBySlotId(8), 90u);
    EXPECT_EQ(GetHddStartBySlotId(11), 24u);
    EXPECT_EQ(GetHddStartBySlotId(14), 98u);
    rules::fit(11, 21618);
    EXPECT_EQ(GetHddStartBySlotId(11), 24u);
    rules::fit(11, 21593);
    EXPECT_EQ(GetHddStartBySlotId(11), 16u);
    rules::fit(10, 21595);
    EXPECT_EQ(GetHddStartBySlotId(10), 0u);
}

TEST(List, PairsOfBackplanesStandInTheOrderOfTheConnectors) {
    const std::vector<uint32_t> some = {21592, 21593, 21595, 21598, 21599, 21620, 21600};
    for (size_t i = 0; i < all_cards.size(); ++i) {
        for (size_t j = i + 1; j < all_cards.size(); ++j) {
            for (const uint32_t a : some) {
                for (const uint32_t b : some) {
                    rules::fit(all_cards[i], a);
                    rules::fit(all_cards[j], b);
                    std::vector<std::vector<uint8_t>> expected;
                    uint32_t sum = 0;
                    for (const auto &[card, board] :
                         {std::pair{all_cards[i], a}, std::pair{all_cards[j], b}}) {
                        if (slots_of_kind().contains(board)) {
                            expected.push_back(entry_of(card, board));
                            sum += slots_of_kind().at(board);
                        }
                    }
                    BackPanelList list = marked_list();
                    ASSERT_EQ(GetAllHddBackPanelDevInfo(&list), 0);
                    ASSERT_EQ(list.totalnum, static_cast<int32_t>(expected.size()));
                    for (size_t k = 0; k < expected.size(); ++k) {
                        ASSERT_EQ(bytes_of(list.singlepaneldev[k]), expected[k]);
                    }
                    if (a == some[0]) {
                        ASSERT_EQ(get_max_disk_count(), sum);
                    }
                }
            }
            rules::unfit(all_cards[i]);
            rules::unfit(all_cards[j]);
        }
    }
}

TEST(List, EveryFailedIdentifierRead) {
    for (const uint32_t card : all_cards) {
        rules::fit(card, 21604);
    }
    // Of each connector the first read asks whether it is fitted and the second with what.
    for (size_t failing = 1; failing <= 16; ++failing) {
        size_t identifier_reads = 0;
        platform().on_word_read = [&](const I2cChipRoute &route, uint32_t, uint32_t *value) {
            if (++identifier_reads == failing) {
                return failing % 2 == 0 ? 1 : -5;  // any answer but 0 is a failure
            }
            *value = platform().expanders.at(scripted::chip_of(route)).input;
            return 0;
        };
        SCOPED_TRACE(failing);
        const size_t position = (failing - 1) / 2;
        BackPanelList list = marked_list();
        const int32_t result = GetAllHddInfo(&list);
        if (failing % 2 == 1) {  // taken for an empty connector: one read less
            EXPECT_EQ(result, 0);
            EXPECT_EQ(list.totalnum, 7);
            EXPECT_EQ(identifier_reads, 15u);
        } else {
            EXPECT_EQ(result, -1);
            EXPECT_EQ(list.totalnum, static_cast<int32_t>(position));
            EXPECT_EQ(identifier_reads, failing);
        }
        for (size_t i = 0; i < position; ++i) {
            EXPECT_EQ(bytes_of(list.singlepaneldev[i]), entry_of(all_cards[i], 21604));
        }
        identifier_reads = 0;
        EXPECT_EQ(get_max_disk_count(), failing % 2 == 1 ? 14u : 0u);
        identifier_reads = 0;
        EXPECT_EQ(GetHddStartBySlotId(14), failing % 2 == 1 && failing != 15 ? 98u : 0u);
    }
}

TEST(List, NullsAreRefusedWithoutAccess) {
    rules::fit(5, 21604);
    EXPECT_EQ(hdd_get_disk_backpanel_list(nullptr), -1);
    EXPECT_EQ(GetAllHddBackPanelDevInfo(nullptr), -1);
    EXPECT_EQ(GetAllHddInfo(nullptr), -1);
    const uint32_t row[11] = {5, 0, 50, 3};
    BackPanelList list = {};
    hdd_fillSupportBackPanelInfo(nullptr, 21604, &list);
    hdd_fillSupportBackPanelInfo(row, 21604, nullptr);
    hddpanel_InitSlotWithCustomConfig(nullptr, 0, 0, 8);
    EXPECT_EQ(list.totalnum, 0);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(Append, TakesTheRowAsItIs) {
    const uint32_t row[11] = {77, 3, 40, 9, 1, 2, 3, 4, 5, 6, 0xFFFFFFFF};
    BackPanelList list = {};
    list.totalnum = 4;
    hdd_fillSupportBackPanelInfo(row, 21605, &list);
    EXPECT_EQ(list.totalnum, 5);
    const BackPanelDev &panel = list.singlepaneldev[4];
    EXPECT_EQ(panel.location, 3);
    EXPECT_EQ(panel.startslot, 40);
    EXPECT_EQ(panel.maxslot, 2);
    EXPECT_EQ(panel.reserved, 0);
    EXPECT_EQ(panel.card_index, 77u);
    EXPECT_EQ(panel.board_id, 21605u);
    EXPECT_EQ(panel.position, 9u);
    EXPECT_THAT(panel.position_reserved, ElementsAre(1, 2, 3, 4, 5, 6, 0xFFFFFFFF));
    EXPECT_EQ(panel.reserved2, 0);
    EXPECT_EQ(panel.slot_map[40], 40);
    EXPECT_EQ(panel.slot_map[41], 41);
    EXPECT_EQ(panel.slot_map[42], 0);
}

TEST(Append, AFullListStaysAsItIs) {
    const uint32_t row[11] = {5, 0, 50, 3};
    for (const int32_t total : {16, 17, 0x7FFFFFFF, -1, INT32_MIN}) {
        platform().clear_record();
        BackPanelList list = marked_list();
        list.totalnum = total;
        BackPanelList before = list;
        hdd_fillSupportBackPanelInfo(row, 21604, &list);
        EXPECT_EQ(std::memcmp(&list, &before, sizeof(list)), 0);
        EXPECT_THAT(platform().messages, SizeIs(1));
    }
    BackPanelList list = {};
    list.totalnum = 15;
    hdd_fillSupportBackPanelInfo(row, 21604, &list);
    EXPECT_EQ(list.totalnum, 16);
    EXPECT_EQ(bytes_of(list.singlepaneldev[15]), entry_of(5, 21604));
}

TEST(SlotMap, CountsIn8Bits) {
    const struct {
        uint32_t start, max;
        uint32_t first, end;  // of the slots written
    } cases[] = {{0, 255, 0, 255},       {0, 256, 0, 0},        {250, 5, 250, 255}, {250, 6, 0, 0},
                 {250, 10, 0, 0},        {256, 3, 0, 3},        {255, 1, 0, 0},     {10, 0, 0, 0},
                 {10, 0xFFFFFFFF, 0, 0}, {0xFFFFFFFF, 5, 0, 0}, {5, 260, 5, 9}};
    for (const auto &one : cases) {
        std::vector<uint8_t> map(255, untouched), expected = map;
        for (uint32_t slot = one.first; slot < one.end; ++slot) {
            expected[slot] = static_cast<uint8_t>(slot);
        }
        hddpanel_InitSlotWithCustomConfig(map.data(), 0, one.start, one.max);
        EXPECT_EQ(map, expected) << one.start << " " << one.max;
    }
}

TEST(SlotMap, CustomNumbersReplaceTheSlotsOwn) {
    custom_labels(custom(3, 7) + custom(5, 254) + custom(6, 255) +
                  "origine_zone1_disk2_customslik=99\n" + "origine_zone0_disk4_customslik=300\n");
    std::vector<uint8_t> map(255, 0);
    hddpanel_InitSlotWithCustomConfig(map.data(), 0, 1, 6);
    EXPECT_THAT(std::vector<uint8_t>(map.begin(), map.begin() + 8),
                ElementsAre(0, 1, 2, 7, 44, 254, 6, 0));
    EXPECT_EQ(platform().calls_of("VEL_IniLoadFile /conf/vel/custom_location_config.ini").size(),
              6u);
    map.assign(255, 0);
    hddpanel_InitSlotWithCustomConfig(map.data(), 1, 2, 1);  // another location
    EXPECT_EQ(map[2], 99);
}

TEST(SlotMap, AFailedLookUpKeepsTheSlotsOwnNumber) {
    custom_labels(custom(3, 7) + custom(4, 8));
    size_t loads = 0;
    platform().fail_if = [&](const std::string &call) {
        return call.starts_with("VEL_IniLoadFile") && ++loads == 1;
    };
    std::vector<uint8_t> map(255, 0);
    hddpanel_InitSlotWithCustomConfig(map.data(), 0, 3, 2);
    EXPECT_EQ(map[3], 3);
    EXPECT_EQ(map[4], 8);
    std::vector<scripted::Message> own;
    for (const scripted::Message &message : own_messages()) {
        if (message.source == special_info) {
            own.push_back(message);
        }
    }
    ASSERT_THAT(own, SizeIs(1));
    EXPECT_EQ(own[0].channel, "dbgout");
    EXPECT_EQ(own[0].number, 130u);
    EXPECT_EQ(own[0].text, "IPMI_LoadCustomSlotConfig FAIL");
}

// ---- slot validity ----

TEST(Validity, EverySlotOfEachBackplane) {
    rules::fit(5, 21604);   // 50, 51
    rules::fit(9, 21593);   // 0..7
    rules::fit(11, 21618);  // 24..35
    rules::fit(14, 21620);  // 98, 99
    for (uint32_t slot = 0; slot < 600; ++slot) {
        const bool owned = slot == 50 || slot == 51 || slot < 8 || (slot >= 24 && slot < 36) ||
                           slot == 98 || slot == 99;
        EXPECT_EQ(_is_front_zone_slot_valid(slot), owned) << slot;
        EXPECT_EQ(hdd_Isdiskslotvalid(0, slot), owned) << slot;
        EXPECT_EQ(IsDiskSlotValid(0, slot), owned) << slot;
        EXPECT_EQ(IsDiskSlotValid(1, slot), 0u) << slot;
        EXPECT_EQ(IsDiskSlotValid(256, slot), 0u) << slot;
    }
}

TEST(Validity, IsFilledOnceAndNeverRefreshed) {
    rules::fit(5, 21604);
    EXPECT_EQ(isdone, 0);
    EXPECT_EQ(IsDiskSlotValid(2, 50), 0u);  // another zone asks nothing
    EXPECT_EQ(isdone, 0);
    EXPECT_THAT(platform().calls, IsEmpty());

    EXPECT_EQ(IsDiskSlotValid(0, 50), 1u);
    EXPECT_EQ(isdone, 1);
    EXPECT_EQ(tBackPanelList.totalnum, 1);
    EXPECT_EQ(bytes_of(tBackPanelList.singlepaneldev[0]), entry_of(5, 21604));
    EXPECT_THAT(reads(), SizeIs(9));

    rules::fit(6, 21605);
    rules::unfit(5);
    platform().clear_record();
    EXPECT_EQ(IsDiskSlotValid(0, 52), 0u);
    EXPECT_EQ(IsDiskSlotValid(0, 50), 1u);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_EQ(get_max_disk_count(), 2u);  // this one looks again
}

TEST(Validity, AFailedFillIsTriedAgain) {
    rules::fit(5, 21604);
    rules::fit(6, 21605);
    platform().fail_call = 2 + 2 * 0;  // the second read of card 5
    EXPECT_EQ(_is_front_zone_slot_valid(50), 0u);
    EXPECT_EQ(isdone, 0);
    ASSERT_THAT(own_messages(), SizeIs(1));
    EXPECT_EQ(own_messages()[0].channel, "dbgout");
    EXPECT_EQ(own_messages()[0].number, 130u);
    EXPECT_EQ(own_messages()[0].source, special_info);
    EXPECT_EQ(own_messages()[0].text, "get backpanel faild!");
    platform().fail_call.reset();
    platform().clear_record();
    EXPECT_EQ(_is_front_zone_slot_valid(50), 1u);
    EXPECT_EQ(isdone, 1);
}

TEST(Validity, Messages) {
    mkdir("/conf/vel", 0755);  // or no slot's custom number could be looked up
    rules::fit(5, 21604);
    rules::fit(11, 21595);
    _is_front_zone_slot_valid(50);
    const auto check = [](const std::vector<scripted::Message> &messages, bool first) {
        std::vector<std::string> texts;
        for (const scripted::Message &message : messages) {
            const bool info = first && texts.empty();
            EXPECT_EQ(message.channel, info ? "info" : "debug");
            EXPECT_EQ(message.number, info ? 45u : 255u);
            EXPECT_EQ(message.source, special_info);
            EXPECT_EQ(message.function, "_is_front_zone_slot_valid");
            texts.push_back(message.text);
        }
        std::vector<std::string> expected = {"tBackPanelList.totalnum:2",
                                             "tBackPanelList.singlepaneldev[0].startslot:50 "
                                             "tBackPanelList.singlepaneldev[0].maxslot:2",
                                             "tBackPanelList.singlepaneldev[1].startslot:24 "
                                             "tBackPanelList.singlepaneldev[1].maxslot:12"};
        if (first) {
            expected.insert(expected.begin(), "isdone now is:1, ");
        }
        EXPECT_THAT(texts, ElementsAreArray(expected));
    };
    check(own_messages(), true);
    platform().clear_record();
    _is_front_zone_slot_valid(1);
    check(own_messages(), false);
}

TEST(ValidityEdge, MatchesTheNumberShown) {
    custom_labels(custom(3, 7));
    rules::fit(9, 21605);   // slots 0 and 1
    rules::fit(10, 21602);  // 0..3: slot 3 is shown as 7
    EXPECT_EQ(IsDiskSlotValid(0, 7), 1u);
    EXPECT_EQ(IsDiskSlotValid(0, 3), 0u);
    EXPECT_EQ(IsDiskSlotValid(0, 2), 1u);
}

TEST(ValidityEdge, ANumberThatAnotherSlotShowsStaysValid) {
    custom_labels(custom(3, 7) + custom(4, 3));
    rules::fit(9, 21593);
    EXPECT_EQ(IsDiskSlotValid(0, 3), 1u);
    EXPECT_EQ(IsDiskSlotValid(0, 4), 0u);
}

TEST(Validity, TheExportedListIsWhatIsAsked) {
    isdone = 1;
    tBackPanelList.totalnum = 1;
    tBackPanelList.singlepaneldev[0].startslot = 250;
    tBackPanelList.singlepaneldev[0].maxslot = 10;  // ends before it begins
    tBackPanelList.singlepaneldev[0].slot_map[250] = 9;
    EXPECT_EQ(_is_front_zone_slot_valid(9), 0u);
    tBackPanelList.singlepaneldev[0].maxslot = 5;
    EXPECT_EQ(_is_front_zone_slot_valid(9), 1u);
    EXPECT_THAT(platform().calls, IsEmpty());
}

// ---- facts ----

TEST(Facts, CountsAndZones) {
    EXPECT_EQ(get_supported_disk_num(), 200u);
    EXPECT_EQ(GetDiskMaxCount(), 200u);
    EXPECT_EQ(GetDiskMaxCountExt(0), 200u);
    EXPECT_EQ(GetDiskMaxCountExt(1), 0u);
    EXPECT_EQ(GetDiskMaxCountExt(256), 0u);
    for (uint32_t slot = 0; slot < 300; ++slot) {
        EXPECT_EQ(GetDiskZone(slot, slot), slot == 30 || slot == 31 ? 2 : 0);
        EXPECT_EQ(ConvertSensorDeviceIDtoDiskZone(slot), 0u);
        EXPECT_EQ(ConvertSensorDeviceIDtoDiskSlot(slot), slot);
        EXPECT_EQ(ConvertSensorDeviceIDtfromDiskinfo(3, slot), slot);
        EXPECT_EQ(FixDiskSilk(slot), slot);
        uint8_t zone = untouched, out = untouched;
        EXPECT_EQ(HDD_VerifyDiskPosition(slot, &zone, &out), 0);
        EXPECT_EQ(zone, 0);
        EXPECT_EQ(out, static_cast<uint8_t>(slot));
    }
    uint8_t byte = untouched;
    EXPECT_EQ(HDD_VerifyDiskPosition(1, nullptr, &byte), -1);
    EXPECT_EQ(HDD_VerifyDiskPosition(1, &byte, nullptr), -1);
    EXPECT_EQ(byte, untouched);
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST(Facts, PowerTable) {
    const void *table = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(GetHDDPowerTable(&table, &count), 0);
    ASSERT_EQ(count, 6u);
    const uint32_t ids[] = {87129, 87131, 21618, 87134, 87134, 87279};
    const uint32_t registers[] = {68, 68, 68, 68, 69, 68};
    const auto *bytes = static_cast<const uint8_t *>(table);
    for (uint32_t i = 0; i < count; ++i) {
        uint8_t row[40] = {};
        put32(row, 0, ids[i]);
        put32(row, 12, registers[i]);
        std::memcpy(row + 24, "HDD_POWER", 9);
        EXPECT_EQ(std::memcmp(bytes + 40 * i, row, 40), 0) << i;
    }
    EXPECT_EQ(GetHDDPowerTable(nullptr, &count), -1);
    EXPECT_EQ(GetHDDPowerTable(&table, nullptr), -1);
}

TEST(Facts, SgpioAndConnectors) {
    uint32_t out[6] = {0, 0, 0, 0, 0, 0xABCD};
    EXPECT_EQ(GetHddSgpioEpldInfo(out), 0);
    EXPECT_THAT(out, ElementsAre(4, 74, 76, 80, 82, 0xABCD));
    EXPECT_EQ(GetHddSgpioEpldInfo(nullptr), -1);
    uint32_t card = 0, count = 0;
    EXPECT_EQ(GetHDDSlot(&card, &count), 0);
    EXPECT_EQ(card, 5u);
    EXPECT_EQ(count, 7u);
    EXPECT_THAT(platform().messages, IsEmpty());
    card = count = 9;
    EXPECT_EQ(GetHDDSlot(nullptr, &count), -1);
    EXPECT_EQ(GetHDDSlot(&card, nullptr), -1);
    EXPECT_EQ(card, 9u);
    EXPECT_EQ(count, 9u);
    ASSERT_THAT(platform().messages, SizeIs(2));
    EXPECT_EQ(platform().messages[0].channel, "dbgout");
    EXPECT_EQ(platform().messages[0].number, 130u);
    EXPECT_EQ(platform().messages[0].source, "common/harddisk/harddisk_common_info");
    EXPECT_EQ(platform().messages[0].text,
              "back_panel_slot == NULL || diskbackpanelcount == NULL !\n");
}

TEST(Facts, WhatTheBoardSupports) {
    EXPECT_EQ(IsDirectHdLocLecSupported(), 1);
    EXPECT_EQ(supportAllU2NVMeListInfoIfc(), 1);
    EXPECT_EQ(IfSupportItFun(), 1);
    EXPECT_EQ(IfSupportPmcFun(), 1);
    EXPECT_EQ(isDiskPresentAlarmBySensor(), 1);
    EXPECT_EQ(HDD_AutoProbeSupport(), 1);
    EXPECT_EQ(GetDiskBackPanelSlotId(), 0);
    EXPECT_EQ(IsHDDWithoutHardPresent(), 0);
    EXPECT_EQ(HDD_ModelMatchSupport(), 0);
    EXPECT_EQ(HDD_PdMissingDefaultStatus(), 0);
    EXPECT_EQ(SupportServiceMoveOutInform(), 0);
    EXPECT_EQ(isHandleRearHddSensor(), 0);
    EXPECT_EQ(supportAMDProcess(), 0);
    EXPECT_EQ(HDD_SensorStatusSupport(), 0);
    EXPECT_EQ(getBPRCPresentInfo(), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST(Fell, APositiveAnswerIsKept) {
    EXPECT_EQ(IsFellBoard(), 0);
    rules::fit(11, 21619);  // the wrong connector
    EXPECT_EQ(IsFellBoard(), 0);
    rules::fit(10, 21615);
    EXPECT_EQ(IsFellBoard(), 0);
    rules::fit(10, 21619);
    platform().clear_record();
    EXPECT_EQ(IsFellBoard(), 1);
    EXPECT_THAT(reads(), ElementsAre("ei2c_pca9535_get_word_value 8:0x20 0xFFFF",
                                     "ei2c_pca9535_get_word_value 9:0x20 0xFFFF"));
    rules::unfit(10);
    rules::unfit(11);
    platform().clear_record();
    EXPECT_EQ(IsFellBoard(), 1);
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST(Fell, NeedsOnlyConnector10) {
    rules::fit(10, 21619);
    EXPECT_EQ(IsFellBoard(), 1);
}

TEST(Fell, AFailedReadIsNoFell) {
    rules::fit(10, 21619);
    platform().fail_call = 1;
    EXPECT_EQ(IsFellBoard(), 0);
    platform().clear_record();
    platform().fail_call = 2;
    EXPECT_EQ(IsFellBoard(), 1);
}
