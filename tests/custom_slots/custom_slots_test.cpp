// What customers call their disks, and who the customers are.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "boardfeatures/config.h"
#include "support/config_files.h"
#include "support/libc_layer.h"

namespace files = config_files;
using files::debug;
using files::Line;
using libc_layer::layer;
using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char location_path[] = "/conf/vel/custom_location_config.ini";
constexpr char location_section[] = "disk custom config";
constexpr char pch_path[] = "/conf/vel/custom_pchdisk_config.ini";
constexpr char pch_section[] = "Pchdisk custom config";
constexpr char info_path[] = "/conf/vel/custominfo";
constexpr int location_lock = 12306;
constexpr int pch_lock = 12325;

constexpr uint8_t set_option[6] = {0, 0, 0, 0, 0, 1};
constexpr uint8_t delete_option[6] = {1, 1, 1, 1, 1, 0};

using Labels = std::pair<int, int>;
const Labels untouched = {201, 202};

Labels labels_of(uint32_t zone, uint32_t disk) {
    uint8_t custom_zone = 201;
    uint8_t silk = 202;
    EXPECT_EQ(IPMI_LoadCustomSlotConfig(zone, disk, &custom_zone, &silk), 0);
    return {custom_zone, silk};
}

int set(std::vector<SlotEntry> entries) {
    return IPMI_SaveCustomSlotConfig(static_cast<uint32_t>(entries.size()), entries.data(),
                                     set_option);
}
int erase(std::vector<SlotEntry> entries) {
    return IPMI_SaveCustomSlotConfig(static_cast<uint32_t>(entries.size()), entries.data(),
                                     delete_option);
}

PchDiskRecord disk() {
    PchDiskRecord record = {1, 0xAB, 0x1C, 0x1F, 0x2, 3, 200, "Front 1", {}};
    return record;
}
constexpr char place[] = "CPU1_BDF 00ab:1c:1f.2_port3";

std::optional<std::string> stored_pch(const std::string &key) {
    return files::stored(pch_path, pch_section, std::string(place) + "_" + key);
}

class CustomFiles : public testing::Test {
protected:
    CustomFiles() { std::filesystem::create_directories("/conf/vel"); }
};
using CustomSlots = CustomFiles;
using PchDisks = CustomFiles;
using CustomInfo = CustomFiles;
using CustomId = CustomFiles;

}  // namespace

// ---- disk labels ----

TEST_F(CustomSlots, AreKeptByZoneAndDisk) {
    EXPECT_EQ(set({{0, 3, 1, 5}, {3, 254, 254, 0}}), 0);
    EXPECT_EQ(files::read(location_path),
              "[disk custom config]\n"
              "origine_zone0_disk3_customzone=1\norigine_zone0_disk3_customslik=5\n"
              "origine_zone3_disk254_customzone=254\norigine_zone3_disk254_customslik=0\n");
    EXPECT_THAT(files::lines(),
                ElementsAre(debug("set custom slot config origine_zone0_disk3_customzone=1,"
                                  "origine_zone0_disk3_customslik=5 successfully"),
                            debug("set custom slot config origine_zone3_disk254_customzone=254,"
                                  "origine_zone3_disk254_customslik=0 successfully")));
    EXPECT_EQ(labels_of(0, 3), Labels(1, 5));
    EXPECT_EQ(labels_of(3, 254), Labels(254, 0));
    EXPECT_EQ(labels_of(0, 4), untouched);
}

TEST_F(CustomSlots, EachLoadIsTraced) {
    files::write(location_path,
                 files::ini_text(location_section, "origine_zone0_disk3_customslik", "5"));
    EXPECT_EQ(labels_of(0, 3), Labels(201, 5));
    EXPECT_THAT(files::lines(),
                ElementsAre(Line{"runtime", 135, "get custom config:pucdeszone:201,pucdesslot:5"}));
    EXPECT_THAT(platform().calls,
                ElementsAre(std::string("VEL_IniLoadFile ") + location_path,
                            "IniGetUInt disk custom config/origine_zone0_disk3_customzone",
                            "IniGetUInt disk custom config/origine_zone0_disk3_customslik",
                            "IniCloseFile"));
    EXPECT_EQ(files::semaphore_value(location_lock), 1);
}

TEST_F(CustomSlots, A255LeavesTheCallersLabel) {
    files::write(location_path,
                 "[disk custom config]\norigine_zone1_disk2_customzone=7\n"
                 "origine_zone1_disk2_customslik=255\n");
    EXPECT_EQ(labels_of(1, 2), Labels(7, 202));
    files::write(location_path,
                 "[disk custom config]\norigine_zone1_disk2_customzone=255\n"
                 "origine_zone1_disk2_customslik=254\n");
    EXPECT_EQ(labels_of(1, 2), Labels(201, 254));
    files::write(location_path,
                 "[disk custom config]\norigine_zone1_disk2_customzone=511\n"
                 "origine_zone1_disk2_customslik=258\n");
    EXPECT_EQ(labels_of(1, 2), Labels(201, 2)) << "bytes";
}

TEST_F(CustomSlots, AMissingFileHasNoLabels) {
    EXPECT_EQ(labels_of(0, 0), untouched);
    EXPECT_FALSE(std::filesystem::exists(location_path));
}

TEST_F(CustomSlots, LabelsThatAnotherDiskHasAreRefused) {
    EXPECT_EQ(set({{0, 4, 1, 5}}), 0);
    const auto before = files::read(location_path);
    platform().clear_record();
    EXPECT_EQ(set({{0, 3, 1, 5}}), -1);
    EXPECT_THAT(files::lines(),
                ElementsAre(debug("custom zone=1, slot=5 exist, set config failed!\n")));
    EXPECT_THAT(platform().calls_of("IniS"), IsEmpty());
    EXPECT_EQ(files::read(location_path), before);
    EXPECT_EQ(files::semaphore_value(location_lock), 1);
    EXPECT_EQ(files::open_handles(), 0);
}

TEST_F(CustomSlots, TheDisksOwnLabelsAreNoConflict) {
    EXPECT_EQ(set({{2, 9, 1, 5}}), 0);
    EXPECT_EQ(set({{2, 9, 1, 5}}), 0);
    EXPECT_EQ(set({{2, 9, 1, 6}}), 0);
    EXPECT_EQ(labels_of(2, 9), Labels(1, 6));
}

TEST_F(CustomSlots, OnlyBothLabelsConflict) {
    EXPECT_EQ(set({{0, 4, 1, 5}}), 0);
    EXPECT_EQ(set({{0, 3, 1, 6}}), 0);
    EXPECT_EQ(set({{0, 5, 2, 5}}), 0);
}

TEST_F(CustomSlots, OnlyTheFirstEntryIsChecked) {
    EXPECT_EQ(set({{0, 4, 1, 5}}), 0);
    EXPECT_EQ(set({{0, 3, 9, 9}, {0, 2, 1, 5}}), 0);
    EXPECT_EQ(labels_of(0, 2), Labels(1, 5));
}

TEST_F(CustomSlots, ZonesZeroToThreeAndDisksTo254AreSearched) {
    for (const auto &[zone, number, conflict] :
         {std::tuple(0, 0, true), {3, 254, true}, {0, 255, false}, {4, 0, false}}) {
        files::write(location_path, "[disk custom config]\norigine_zone" + std::to_string(zone) +
                                        "_disk" + std::to_string(number) +
                                        "_customzone=1\norigine_zone" + std::to_string(zone) +
                                        "_disk" + std::to_string(number) + "_customslik=5\n");
        EXPECT_EQ(set({{1, 1, 1, 5}}), conflict ? -1 : 0) << zone << ' ' << number;
    }
    platform().clear_record();
    std::filesystem::remove(location_path);
    EXPECT_EQ(set({{1, 1, 1, 5}}), 0);
    EXPECT_EQ(platform().calls_of("IniGetUInt").size(), 2u * 4 * 255);
}

TEST_F(CustomSlots, NoLabelsConflictWithNothing) {
    EXPECT_EQ(set({{0, 3, 255, 255}}), 0) << "disks without labels are no mapping";
    EXPECT_EQ(set({{0, 4, 255, 255}}), 0);
    EXPECT_EQ(labels_of(0, 3), untouched);
}

TEST_F(CustomSlots, AreDeleted) {
    EXPECT_EQ(set({{0, 3, 1, 5}, {1, 4, 2, 6}}), 0);
    platform().clear_record();
    EXPECT_EQ(erase({{0, 3, 77, 77}, {2, 2, 0, 0}}), 0) << "what is not there is as good";
    EXPECT_THAT(files::lines(),
                ElementsAre(debug("del custom slot config origine_zone0_disk3_customzone "
                                  "origine_zone0_disk3_customslik"),
                            debug("del custom slot config origine_zone2_disk2_customzone "
                                  "origine_zone2_disk2_customslik")));
    EXPECT_THAT(platform().calls,
                ElementsAre(std::string("VEL_IniLoadFile ") + location_path,
                            "IniDelEntry disk custom config/origine_zone0_disk3_customzone",
                            "IniDelEntry disk custom config/origine_zone0_disk3_customslik",
                            "IniDelEntry disk custom config/origine_zone2_disk2_customzone",
                            "IniDelEntry disk custom config/origine_zone2_disk2_customslik",
                            std::string("IniSaveFile ") + location_path, "IniCloseFile"));
    EXPECT_EQ(labels_of(0, 3), untouched);
    EXPECT_EQ(labels_of(1, 4), Labels(2, 6));
}

TEST_F(CustomSlots, AnyOtherOptionThanOneDeletes) {
    EXPECT_EQ(set({{0, 3, 1, 5}}), 0);
    const SlotEntry entry = {0, 3, 1, 5};
    const uint8_t two[6] = {1, 1, 1, 1, 1, 2};
    EXPECT_EQ(IPMI_SaveCustomSlotConfig(1, &entry, two), 0);
    EXPECT_EQ(labels_of(0, 3), untouched);
}

TEST_F(CustomSlots, NoEntriesSaveTheFileAsItIs) {
    const SlotEntry entry = {0, 3, 1, 5};
    EXPECT_EQ(IPMI_SaveCustomSlotConfig(0, &entry, set_option), 0);
    EXPECT_THAT(platform().calls,
                ElementsAre(std::string("VEL_IniLoadFile ") + location_path,
                            std::string("IniSaveFile ") + location_path, "IniCloseFile"));
}

TEST_F(CustomSlots, NullsAreRefusedFirst) {
    uint8_t label = 0;
    const SlotEntry entry = {0, 3, 1, 5};
    EXPECT_EQ(IPMI_LoadCustomSlotConfig(0, 0, nullptr, &label), -1);
    EXPECT_EQ(IPMI_LoadCustomSlotConfig(0, 0, &label, nullptr), -1);
    EXPECT_EQ(IPMI_SaveCustomSlotConfig(1, nullptr, set_option), -1);
    EXPECT_EQ(IPMI_SaveCustomSlotConfig(1, &entry, nullptr), -1);
    vel_CustomSlotConversion(nullptr);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
    EXPECT_EQ(files::semaphore_value(location_lock), -1);
}

TEST_F(CustomSlots, ASlotIsConverted) {
    EXPECT_EQ(set({{0, 7, 1, 42}, {0, 8, 1, 255}}), 0);
    uint8_t slot = 7;
    vel_CustomSlotConversion(&slot);
    EXPECT_EQ(slot, 42);
    vel_CustomSlotConversion(&slot);
    EXPECT_EQ(slot, 42) << "without a label";
    slot = 8;
    vel_CustomSlotConversion(&slot);
    EXPECT_EQ(slot, 8) << "without a number of its own";
}

TEST_F(CustomSlots, AFailedConversionIsToldAndKeepsTheSlot) {
    std::filesystem::remove("/conf/vel");
    uint8_t slot = 7;
    vel_CustomSlotConversion(&slot);
    EXPECT_EQ(slot, 7);
    EXPECT_EQ(files::lines().back(), debug("IPMI_LoadCustomSlotConfig FAIL"));
}

// ---- PCH disks ----

TEST_F(PchDisks, ASlotIsKeptByThePlace) {
    const PchDiskRecord record = disk();
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SLOT, 1), 0);
    EXPECT_EQ(files::read(pch_path),
              "[Pchdisk custom config]\nCPU1_BDF 00ab:1c:1f.2_port3_diskslot=200\n");
    PchDiskRecord loaded = disk();
    loaded.slot = 1;
    EXPECT_EQ(IPMI_LoadCustomPchDiskConfig(&loaded, PCH_DISK_SLOT), 0);
    EXPECT_EQ(loaded.slot, 200u);
    EXPECT_STREQ(loaded.silk, "Front 1");
    EXPECT_THAT(files::lines(),
                ElementsAre(debug("set CPU1_BDF 00ab:1c:1f.2_port3_diskslot=200 successfully\n"),
                            debug("get custom config:custom pchdisk slot:200\n")));
    EXPECT_EQ(files::semaphore_value(pch_lock), 1);
    EXPECT_EQ(files::semaphore_value(location_lock), -1);
}

TEST_F(PchDisks, ASilkTextIsKeptByThePlace) {
    const PchDiskRecord record = disk();
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SILK, 1), 0);
    EXPECT_EQ(files::read(pch_path),
              "[Pchdisk custom config]\nCPU1_BDF 00ab:1c:1f.2_port3_customsilk=Front 1\n");
    PchDiskRecord loaded = disk();
    std::memset(loaded.silk, 'x', sizeof(loaded.silk));
    loaded.slot = 7;
    EXPECT_EQ(IPMI_LoadCustomPchDiskConfig(&loaded, PCH_DISK_SILK), 0);
    EXPECT_STREQ(loaded.silk, "Front 1");
    EXPECT_EQ(loaded.slot, 7u);
    EXPECT_THAT(
        files::lines(),
        ElementsAre(debug("set CPU1_BDF 00ab:1c:1f.2_port3_customsilk=Front 1 successfully\n"),
                    debug("get custom config:custom pchdisk Silk:Front 1\n")));
}

TEST_F(PchDisks, PlacesAreWrittenInTheirOwnWidths) {
    PchDiskRecord record = {0, 0x12345, 0x1, 0xFF, 0xA, 12, 9, "S", {}};
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SLOT, 1), 0);
    EXPECT_EQ(files::read(pch_path),
              "[Pchdisk custom config]\nCPU0_BDF 12345:01:ff.a_port12_diskslot=9\n");
}

TEST_F(PchDisks, TheWidestPlaceIsWrittenWhole) {
    constexpr uint32_t most = 0xFFFFFFFF;
    PchDiskRecord record = {0x80000000, most, most, most, most, 0x80000000, 9, "S", {}};
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SILK, 1), 0);
    EXPECT_EQ(files::read(pch_path),
              "[Pchdisk custom config]\nCPU-2147483648_BDF ffffffff:ffffffff:ffffffff.ffffffff"
              "_port-2147483648_customsilk=S\n");
}

TEST_F(PchDisks, WithoutLabelsTheDefaultsAreRead) {
    PchDiskRecord record = disk();
    EXPECT_EQ(IPMI_LoadCustomPchDiskConfig(&record, PCH_DISK_SLOT), 0);
    EXPECT_EQ(record.slot, 255u);
    EXPECT_EQ(IPMI_LoadCustomPchDiskConfig(&record, PCH_DISK_SILK), 0);
    EXPECT_STREQ(record.silk, "");
    EXPECT_FALSE(std::filesystem::exists(pch_path));
    EXPECT_THAT(files::lines(), ElementsAre(debug("get custom config:custom pchdisk slot:255\n"),
                                            debug("get custom config:custom pchdisk Silk:\n")));
}

TEST_F(PchDisks, ASilkTextHasAtMost32Characters) {
    PchDiskRecord record = disk();
    const std::string longest(32, '~');
    std::memcpy(record.silk, longest.c_str(), 33);
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SILK, 1), 0);
    EXPECT_EQ(stored_pch("customsilk"), longest);
    files::write(pch_path, files::ini_text(pch_section, std::string(place) + "_customsilk",
                                           std::string(40, 'y')));
    EXPECT_EQ(IPMI_LoadCustomPchDiskConfig(&record, PCH_DISK_SILK), 0);
    EXPECT_EQ(record.silk, std::string(32, 'y'));
    EXPECT_EQ(record.padding[0], 0);
}

TEST_F(PchDisks, InvalidSilkTextsAreRefusedBeforeAnyAccess) {
    const std::pair<std::string, std::string> invalid[] = {
        {"", ""},
        {std::string(33, 'z'), std::string(33, 'z')},
        {"tab\t", "tab\t"},
        {"\x7F", "\x7F"},
        {"caf\xC3\xA9", "caf\xC3\xA9"},
        {"new\nline", "new\nline"}};
    for (const auto &[silk, told] : invalid) {
        PchDiskRecord record = disk();
        std::memset(record.silk, 0, sizeof(record.silk));
        std::memcpy(record.silk, silk.data(), silk.size());
        std::memset(record.padding, 'p', sizeof(record.padding));
        platform().clear_record();
        EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SILK, 1), -1);
        EXPECT_THAT(files::lines(), ElementsAre(debug("invalid pch slik:" + told)));
        EXPECT_THAT(platform().calls, IsEmpty());
    }
    EXPECT_EQ(files::semaphore_value(pch_lock), -1);
    PchDiskRecord record = disk();
    record.silk[0] = '\0';
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SLOT, 1), 0) << "not looked at";
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SILK, 0), 0) << "not looked at";
}

TEST_F(PchDisks, LabelsAreDeleted) {
    const PchDiskRecord record = disk();
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SLOT, 1), 0);
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SILK, 1), 0);
    platform().clear_record();
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SLOT, 0), 0);
    EXPECT_EQ(stored_pch("diskslot"), std::nullopt);
    EXPECT_EQ(stored_pch("customsilk"), "Front 1");
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SILK, 0), 0);
    EXPECT_EQ(stored_pch("customsilk"), std::nullopt);
    EXPECT_THAT(files::lines(),
                ElementsAre(debug("del custom slot config CPU1_BDF 00ab:1c:1f.2_port3_diskslot  "
                                  "successfully\n"),
                            debug("del custom slot config CPU1_BDF 00ab:1c:1f.2_port3_customsilk  "
                                  "successfully\n")));
}

TEST_F(PchDisks, DeletingWhatIsNotThereSavesNothing) {
    const PchDiskRecord record = disk();
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SLOT, 0), 0);
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SILK, 0), 0);
    EXPECT_THAT(files::lines(), ElementsAre(debug("pch DISK have no custom slot config!\n"),
                                            debug("pch DISK have no custom silk config!\n")));
    EXPECT_THAT(platform().calls_of("IniSaveFile"), IsEmpty());
    EXPECT_THAT(platform().calls_of("IniDel"), IsEmpty());
    EXPECT_EQ(files::open_handles(), 0);
}

TEST_F(PchDisks, AFailedSaveIsNotToldAsASuccess) {
    const PchDiskRecord record = disk();
    platform().fail_if = [](const std::string &call) { return call.starts_with("IniSaveFile"); };
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SLOT, 1), -1);
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SILK, 1), -1);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST_F(PchDisks, AFileThatCannotBeLoadedIsTold) {
    std::filesystem::remove("/conf/vel");
    PchDiskRecord record = disk();
    EXPECT_EQ(IPMI_LoadCustomPchDiskConfig(&record, PCH_DISK_SLOT), -1);
    EXPECT_EQ(IPMI_LoadCustomPchDiskConfig(&record, PCH_DISK_SILK), -1);
    EXPECT_EQ(record.slot, 200u);
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SLOT, 1), -1);
    const Line load = debug("/conf/vel/custom_pchdisk_config.ini create failed, line=L\n");
    const Line save = debug("/conf/ext/custom_pchdisk_config.ini create failed, line=L\n");
    EXPECT_THAT(files::lines(), ElementsAre(load, load, save));
}

TEST_F(PchDisks, WrongUseIsRefusedFirst) {
    PchDiskRecord record = disk();
    EXPECT_EQ(IPMI_LoadCustomPchDiskConfig(nullptr, 0), -1);
    EXPECT_EQ(IPMI_LoadCustomPchDiskConfig(&record, 2), -1);
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(nullptr, 0, 1), -1);
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, 2, 1), -1);
    EXPECT_EQ(IPMI_SaveCustomPchDiskConfig(&record, 0, 2), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
}

// ---- custom information ----

TEST_F(CustomInfo, KindsZeroAndFiveHoldOneTextEach) {
    EXPECT_EQ(IPMI_SaveCustomInfo(0, 99, "zero", 4), 0);
    EXPECT_EQ(IPMI_SaveCustomInfo(5, 98, "five", 70000), 0);
    EXPECT_EQ(files::read(info_path),
              "[custom_info_0]\ninfoString=zero\ninfoLen=4\n\n\n"
              "[custom_info_5]\ninfoString=five\ninfoLen=70000\n");
    char text[256];
    uint32_t length = 0;
    EXPECT_EQ(IPMI_LoadCustomInfo(5, 0, text, &length), 0);
    EXPECT_STREQ(text, "five");
    EXPECT_EQ(length, 70000u);
    EXPECT_THAT(platform().messages, IsEmpty());
    EXPECT_EQ(files::semaphore_value(location_lock), 1);
}

TEST_F(CustomInfo, KindThreeHoldsOneTextAnIndex) {
    EXPECT_EQ(IPMI_SaveCustomInfo(3, 1, "one", 3), 0);
    EXPECT_EQ(IPMI_SaveCustomInfo(3, 12, "twelve", 6), 0);
    EXPECT_EQ(files::read(info_path),
              "[3_Product_Extra]\ninfo_String_1=one\ninfo_Len_1=3\n"
              "info_String_12=twelve\ninfo_Len_12=6\n");
    char text[256];
    uint32_t length = 0;
    EXPECT_EQ(IPMI_LoadCustomInfo(3, 1, text, &length), 0);
    EXPECT_STREQ(text, "one");
    EXPECT_EQ(length, 3u);
    EXPECT_EQ(IPMI_LoadCustomInfo(3, 2, text, &length), 0);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(length, 0u);
}

TEST_F(CustomInfo, OtherKindsSaveTheFileAsItIs) {
    for (const uint32_t kind : {1u, 2u, 4u, 6u, 0x100u}) {
        platform().clear_record();
        EXPECT_EQ(IPMI_SaveCustomInfo(kind, 1, "text", 4), 0);
        EXPECT_THAT(platform().calls,
                    ElementsAre(std::string("VEL_IniLoadFile ") + info_path,
                                std::string("IniSaveFile ") + info_path, "IniCloseFile"));
    }
    EXPECT_EQ(files::read(info_path), "");
    char text[256] = "x";
    uint32_t length = 77;
    EXPECT_EQ(IPMI_LoadCustomInfo(1, 1, text, &length), -1);
    EXPECT_EQ(length, 77u);
    EXPECT_STREQ(text, "x");
}

TEST_F(CustomInfo, ATextHasAtMost255Characters) {
    const std::string text(300, 'i');
    EXPECT_EQ(IPMI_SaveCustomInfo(0, 0, text.c_str(), 300), 0);
    EXPECT_EQ(files::stored(info_path, "custom_info_0", "infoString"), std::string(255, 'i'));
    files::write(info_path, files::ini_text("custom_info_0", "infoString", text));
    char loaded[257];
    loaded[256] = 'E';
    uint32_t length = 0;
    EXPECT_EQ(IPMI_LoadCustomInfo(0, 0, loaded, &length), 0);
    EXPECT_EQ(loaded, std::string(255, 'i'));
    EXPECT_EQ(loaded[256], 'E');
}

TEST_F(CustomInfo, NullsAreRefusedFirst) {
    char text[256];
    uint32_t length = 0;
    EXPECT_EQ(IPMI_SaveCustomInfo(0, 0, nullptr, 1), -1);
    EXPECT_EQ(IPMI_LoadCustomInfo(0, 0, nullptr, &length), -1);
    EXPECT_EQ(IPMI_LoadCustomInfo(0, 0, text, nullptr), -1);
    EXPECT_EQ(IPMI_LoadCustomID(nullptr, text), -1);
    EXPECT_EQ(IPMI_LoadCustomID(&length, nullptr), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
}

// ---- customer identity ----

TEST_F(CustomId, EveryCustomerHasItsText) {
    const std::map<uint32_t, std::string> names = {
        {0, "VEL"},  {1, "dioflu"},  {2, "Kuaishou"},  {3, "Tencent"},  {4, "JingDong"},
        {5, "DiDi"}, {6, "DianXin"}, {17, "bilibili"}, {19, "QI-ANXIN"}};
    for (uint32_t index = 0; index < 20; ++index) {
        const std::string name = names.contains(index) ? names.at(index) : "";
        EXPECT_EQ(IPMI_SaveCustomID(index), 0);
        EXPECT_EQ(files::stored(info_path, "custom_info_id", "ID_Value"), std::to_string(index));
        EXPECT_EQ(files::stored(info_path, "custom_info_id", "ID_String"), name);
        uint32_t loaded = 99;
        char text[64] = "x";
        EXPECT_EQ(IPMI_LoadCustomID(&loaded, text), 0);
        EXPECT_EQ(loaded, index);
        EXPECT_EQ(text, name);
    }
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST_F(CustomId, A20IsRefusedBeforeAnyAccess) {
    for (const uint32_t index : {20u, 256u, 0xFFFFFFFFu}) {
        platform().clear_record();
        EXPECT_EQ(IPMI_SaveCustomID(index), -1);
        EXPECT_THAT(files::lines(), ElementsAre(debug("set custom id too big")));
        EXPECT_THAT(platform().calls, IsEmpty());
    }
    EXPECT_EQ(files::semaphore_value(location_lock), -1);
    EXPECT_FALSE(std::filesystem::exists(info_path));
}

TEST_F(CustomId, ALoadWritesTheDefaultsOfAMissingSection) {
    uint32_t index = 99;
    char text[64];
    EXPECT_EQ(IPMI_LoadCustomID(&index, text), 0);
    EXPECT_EQ(index, 0u);
    EXPECT_STREQ(text, "VEL");
    EXPECT_EQ(files::read(info_path), "[custom_info_id]\nID_Value=0\nID_String=VEL\n");
    EXPECT_THAT(
        platform().calls,
        ElementsAre(std::string("VEL_IniLoadFile ") + info_path,
                    "IniGetUInt custom_info_id/ID_Value", "IniGetStr custom_info_id/ID_String",
                    "IniSetUInt custom_info_id/ID_Value", "IniSetStr custom_info_id/ID_String",
                    std::string("IniSaveFile ") + info_path, "IniCloseFile"));
}

TEST_F(CustomId, ALoadThatCannotWriteBackStillAnswers) {
    files::write(info_path, "[custom_info_id]\nID_Value=3\nID_String=Tencent\n");
    platform().fail_if = [](const std::string &call) { return call.starts_with("IniSaveFile"); };
    uint32_t index = 99;
    char text[64];
    EXPECT_EQ(IPMI_LoadCustomID(&index, text), 0);
    EXPECT_EQ(index, 3u);
    EXPECT_STREQ(text, "Tencent");
}

TEST_F(CustomId, ALongTextIsCut) {
    files::write(info_path, files::ini_text("custom_info_id", "ID_String", std::string(80, 'c')));
    uint32_t index = 99;
    char text[65];
    text[64] = 'E';
    EXPECT_EQ(IPMI_LoadCustomID(&index, text), 0);
    EXPECT_EQ(text, std::string(63, 'c'));
    EXPECT_EQ(text[64], 'E');
}

TEST_F(CustomId, AFileThatCannotBeLoadedIsTold) {
    std::filesystem::remove("/conf/vel");
    uint32_t index = 99;
    char text[64] = "x";
    EXPECT_EQ(IPMI_SaveCustomID(1), -1);
    EXPECT_EQ(IPMI_LoadCustomID(&index, text), -1);
    EXPECT_EQ(index, 99u);
    EXPECT_STREQ(text, "x");
    EXPECT_THAT(files::lines(), ElementsAre(debug("get custom id info failed"),
                                            debug("get custom id info failed")));
}

// ---- all functions: locks and failing calls ----

namespace {

struct Function {
    std::string name;
    int lock;
    std::function<int()> run;
    std::vector<Line> no_lock;  // what it adds to a failing lock
};

std::vector<Function> all_functions() {
    static uint8_t byte_a, byte_b;
    static PchDiskRecord record;
    static char text[256];
    static uint32_t number;
    const Line id = debug("get custom id info lock failed");
    return {
        {"IPMI_LoadCustomSlotConfig",
         12306,
         [] { return IPMI_LoadCustomSlotConfig(0, 3, &byte_a, &byte_b); },
         {}},
        {"SetCustomSlotConfig",
         12306,
         [] {
             return set({{0, 3, 8, 8}, {0, 4, 9, 9}});
         },
         {}},
        {"DeleteCustomSlotConfig",
         12306,
         [] {
             return erase({{0, 3, 8, 8}});
         },
         {}},
        {"LoadPchSlot",
         12325,
         [] {
             record = disk();
             return IPMI_LoadCustomPchDiskConfig(&record, PCH_DISK_SLOT);
         },
         {}},
        {"LoadPchSilk",
         12325,
         [] {
             record = disk();
             return IPMI_LoadCustomPchDiskConfig(&record, PCH_DISK_SILK);
         },
         {}},
        {"SetPchSlot",
         12325,
         [] {
             record = disk();
             return IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SLOT, 1);
         },
         {}},
        {"SetPchSilk",
         12325,
         [] {
             record = disk();
             return IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SILK, 1);
         },
         {}},
        {"DeletePchSlot",
         12325,
         [] {
             record = disk();
             return IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SLOT, 0);
         },
         {}},
        {"DeletePchSilk",
         12325,
         [] {
             record = disk();
             return IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SILK, 0);
         },
         {}},
        {"SaveInfo", 12306, [] { return IPMI_SaveCustomInfo(5, 0, "x", 1); }, {}},
        {"SaveProductExtra", 12306, [] { return IPMI_SaveCustomInfo(3, 0, "x", 1); }, {}},
        {"SaveNoInfo", 12306, [] { return IPMI_SaveCustomInfo(1, 0, "x", 1); }, {}},
        {"LoadInfo", 12306, [] { return IPMI_LoadCustomInfo(5, 0, text, &number); }, {}},
        {"IPMI_SaveCustomID", 12306, [] { return IPMI_SaveCustomID(1); }, {id}},
        {"IPMI_LoadCustomID", 12306, [] { return IPMI_LoadCustomID(&number, text); }, {id}},
    };
}
void PrintTo(const Function &function, std::ostream *out) { *out << function.name; }

void fill_files() {
    files::write(location_path,
                 "[disk custom config]\norigine_zone0_disk3_customzone=1\n"
                 "origine_zone0_disk3_customslik=5\n");
    files::write(pch_path, std::string("[Pchdisk custom config]\n") + place + "_diskslot=9\n" +
                               place + "_customsilk=Rear 1\n");
    files::write(info_path, "[custom_info_5]\ninfoString=five\ninfoLen=4\n");
}

class EachFunction : public testing::TestWithParam<Function> {
protected:
    EachFunction() { fill_files(); }
};

}  // namespace

TEST_P(EachFunction, HoldsItsLockFromTheLoadToTheClose) {
    const Function &f = GetParam();
    platform().fail_if = [&](const std::string &call) {
        EXPECT_EQ(files::semaphore_value(f.lock), 0) << call;
        return false;
    };
    EXPECT_EQ(f.run(), 0);
    EXPECT_GE(platform().calls.size(), 3u);
    EXPECT_EQ(files::open_handles(), 0);
    EXPECT_EQ(files::semaphore_value(f.lock), 1);
    EXPECT_EQ(files::semaphore_value(f.lock == 12306 ? 12325 : 12306), -1);
}

TEST_P(EachFunction, LeavesNothingBehindWhenAnyCallFails) {
    const Function &f = GetParam();
    EXPECT_EQ(f.run(), 0);
    // The search for conflicts makes one call look like the next: its ends stand for it.
    const size_t calls = platform().calls.size();
    const size_t descriptors = files::open_descriptors();
    for (size_t n = 1; n <= calls; n += calls > 100 && n > 5 && n < calls - 10 ? 97 : 1) {
        fill_files();
        platform().clear_record();
        platform().fail_call = n;
        const int result = f.run();
        platform().fail_call = std::nullopt;
        const std::string failed = platform().calls.at(n - 1);
        SCOPED_TRACE(failed);
        EXPECT_EQ(files::open_handles(n), 0);
        EXPECT_EQ(files::open_descriptors(), descriptors);
        EXPECT_EQ(files::semaphore_value(f.lock), 1);
        if (n == 1 || failed.starts_with("IniGetStr")) {
            EXPECT_EQ(result, -1);
        } else if (failed.starts_with("IniS")) {
            EXPECT_EQ(result, f.name == "IPMI_LoadCustomID" ? 0 : -1);
        } else {
            EXPECT_EQ(result, 0);
        }
    }
}

TEST_P(EachFunction, FailsWhenItsLockCannotBeCreated) {
    const Function &f = GetParam();
    layer().fail_with = [](const std::string &call) {
        return call.starts_with("semget") && call.ends_with("1 0x7B6") ? ENOSPC : 0;
    };
    const libc_layer::Watch watch;
    EXPECT_EQ(f.run(), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    std::vector<Line> expected = {debug("sem create failed, line=L\n")};
    expected.insert(expected.end(), f.no_lock.begin(), f.no_lock.end());
    EXPECT_EQ(files::lines(), expected);
}

TEST_P(EachFunction, FailsWhenItsLockCannotBeTaken) {
    const Function &f = GetParam();
    OAL_SemCreate(f.lock);
    layer().fail_with = [](const std::string &call) {
        return call.find(" 0:-1:") != call.npos ? EAGAIN : 0;
    };
    {
        const libc_layer::Watch watch;
        EXPECT_EQ(f.run(), -1);
    }
    EXPECT_THAT(layer().calls_of("semtimedop"),
                ElementsAre("semtimedop " + std::to_string(f.lock) + " 0:-1:0x1000 2.000000000"))
        << "and not given back";
    EXPECT_THAT(platform().calls, IsEmpty());
    std::vector<Line> expected = {debug("sem lock failed, line=L\n")};
    expected.insert(expected.end(), f.no_lock.begin(), f.no_lock.end());
    EXPECT_EQ(files::lines(), expected);
    EXPECT_EQ(files::semaphore_value(f.lock), 1);
}

TEST_P(EachFunction, AFailedReleaseIsToldAndOtherwiseIgnored) {
    const Function &f = GetParam();
    OAL_SemCreate(f.lock);
    layer().fail_with = [](const std::string &call) {
        return call.find(" 0:1:") != call.npos ? EINVAL : 0;
    };
    const libc_layer::Watch watch;
    EXPECT_EQ(f.run(), 0);
    const std::vector<Line> told = files::lines();
    EXPECT_EQ(std::count(told.begin(), told.end(), debug("sem lock failed, line=L\n")), 1);
}

INSTANTIATE_TEST_SUITE_P(Custom, EachFunction, testing::ValuesIn(all_functions()),
                         [](const auto &row) { return row.param.name; });

TEST(HeldLock, FailsAConversionAfterTwoSeconds) {
    fill_files();
    const files::HeldElsewhere held({location_lock});
    uint8_t slot = 3;
    vel_CustomSlotConversion(&slot);
    EXPECT_EQ(slot, 3);
    EXPECT_THAT(files::lines(), ElementsAre(debug("sem lock failed, line=L\n"),
                                            debug("IPMI_LoadCustomSlotConfig FAIL")));
}

TEST(HandWritten, LabelsAreTakenUpByTheNextProcess) {
    fill_files();
    EXPECT_EQ(labels_of(0, 3), Labels(1, 5));
    files::write(location_path,
                 "; edited\n[disk custom config]\norigine_zone0_disk3_customzone = 6\n"
                 "origine_zone0_disk3_customslik=7\n");
    files::in_other_process([] { EXPECT_EQ(labels_of(0, 3), Labels(6, 7)); });
}
