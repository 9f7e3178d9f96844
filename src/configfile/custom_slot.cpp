// What customers call their disks: zone and silk-screen number of each disk of the board.
#include "base/log.h"
#include "boardfeatures/config.h"
#include "boardfeatures/storage.h"
#include "configfile/setting_store.h"

using namespace bf::config;

namespace {

constexpr uint32_t zones = 4;
constexpr uint32_t disks_of_zone = 255;
constexpr uint8_t no_label = 255;
constexpr uint8_t set_labels = 1;
constexpr unsigned set_option = 5;

constexpr const Setting &zone_row = custom_location[0];
constexpr const Setting &silk_row = custom_location[1];

Place disk_place(const char *function, uint32_t zone, uint32_t disk) {
    Place place = {function};
    place.key_numbers[0] = static_cast<int32_t>(zone);
    place.key_numbers[1] = static_cast<int32_t>(disk);
    return place;
}

// A label as the file has it, no_label included.
uint8_t label(const SettingsFile &file, const Setting &row, const Place &place) {
    uint8_t value = no_label;
    file.load(row, place, &value);
    return value;
}

// Whether another disk goes by the entry's labels.
bool labels_are_taken(const SettingsFile &file, const SlotEntry &entry) {
    if (entry.custom_zone == no_label || entry.custom_silk == no_label) {
        return false;
    }
    for (uint32_t zone = 0; zone < zones; ++zone) {
        for (uint32_t disk = 0; disk < disks_of_zone; ++disk) {
            const Place place = disk_place(__func__, zone, disk);
            const bool same_zone = label(file, zone_row, place) == entry.custom_zone;
            const bool same_silk = label(file, silk_row, place) == entry.custom_silk;
            const bool same_disk = zone == entry.origin_zone && disk == entry.origin_disk;
            if (same_zone && same_silk && !same_disk) {
                return true;
            }
        }
    }
    return false;
}

bool set_entry(const SettingsFile &file, const SlotEntry &entry) {
    const Place place = disk_place(__func__, entry.origin_zone, entry.origin_disk);
    if (!file.store(zone_row, place, uint32_t{entry.custom_zone}) ||
        !file.store(silk_row, place, uint32_t{entry.custom_silk})) {
        return false;
    }
    IDBG_LINUXAPP_DbgOut(bf::level_debug,
                         "[%s:%d]set custom slot config origine_zone%d_disk%d_customzone=%d,"
                         "origine_zone%d_disk%d_customslik=%d successfully",
                         log_source, __LINE__, int{entry.origin_zone}, int{entry.origin_disk},
                         int{entry.custom_zone}, int{entry.origin_zone}, int{entry.origin_disk},
                         int{entry.custom_silk});
    return true;
}

void delete_entry(const SettingsFile &file, const SlotEntry &entry) {
    const Place place = disk_place(__func__, entry.origin_zone, entry.origin_disk);
    file.erase(zone_row, place);
    file.erase(silk_row, place);
    IDBG_LINUXAPP_DbgOut(bf::level_debug,
                         "[%s:%d]del custom slot config origine_zone%d_disk%d_customzone "
                         "origine_zone%d_disk%d_customslik",
                         log_source, __LINE__, int{entry.origin_zone}, int{entry.origin_disk},
                         int{entry.origin_zone}, int{entry.origin_disk});
}

}  // namespace

extern "C" {

int32_t IPMI_LoadCustomSlotConfig(uint32_t zone, uint32_t disk, uint8_t *custom_zone,
                                  uint8_t *custom_silk) {
    if (load_settings(custom_location, disk_place(__func__, zone, disk),
                      {custom_zone, custom_silk}) != 0) {
        return -1;
    }
    IDBG_LINUXAPP_Runtime_DbgOut(bf::level_runtime,
                                 "[%s:%d]get custom config:pucdeszone:%d,pucdesslot:%d", log_source,
                                 __LINE__, int{*custom_zone}, int{*custom_silk});
    return 0;
}

int32_t IPMI_SaveCustomSlotConfig(uint32_t count, const SlotEntry *entries,
                                  const uint8_t *options) {
    if (entries == nullptr || options == nullptr) {
        return -1;
    }
    const SettingsFile file(file_of(custom_location_file));
    if (!file) {
        report_unloaded(file, __func__);
        return -1;
    }
    const bool set = options[set_option] == set_labels;
    if (set && count > 0 && labels_are_taken(file, entries[0])) {
        IDBG_LINUXAPP_DbgOut(
            bf::level_debug, "[%s:%d]custom zone=%d, slot=%d exist, set config failed!\n",
            log_source, __LINE__, int{entries[0].custom_zone}, int{entries[0].custom_silk});
        return -1;
    }
    for (uint32_t i = 0; i < count; ++i) {
        if (!set) {
            delete_entry(file, entries[i]);
        } else if (!set_entry(file, entries[i])) {
            return -1;
        }
    }
    return file.save();
}

void vel_CustomSlotConversion(uint8_t *slot) {
    if (slot == nullptr) {
        return;
    }
    const uint32_t zone = ConvertSensorDeviceIDtoDiskZone(*slot);
    const uint32_t disk = ConvertSensorDeviceIDtoDiskSlot(*slot);
    uint8_t custom_zone = no_label;
    uint8_t custom_silk = *slot;
    if (IPMI_LoadCustomSlotConfig(zone, disk, &custom_zone, &custom_silk) != 0) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]IPMI_LoadCustomSlotConfig FAIL", log_source,
                             __LINE__);
        return;
    }
    *slot = custom_silk;
}

}  // extern "C"
