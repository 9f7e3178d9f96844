// What customers call the disks at the platform controller hub.
#include <cstddef>
#include <cstring>

#include "base/log.h"
#include "boardfeatures/config.h"
#include "configfile/setting_store.h"

using namespace bf::config;

namespace {

enum Change : uint32_t { delete_label = 0, set_label = 1 };

// Where the disk is, as the messages and keys write it.
#define DISK_PLACE "CPU%d_BDF %04x:%02x:%02x.%01x_port%d"
#define DISK_PLACE_VALUES(record)                                                    \
    static_cast<int>((record).cpu), (record).segment, (record).bus, (record).device, \
        (record).function, static_cast<int>((record).port)

Place disk_place(const char *function, const PchDiskRecord &record) {
    return {function,
            nullptr,
            nullptr,
            0,
            {static_cast<int32_t>(record.cpu), static_cast<int32_t>(record.segment),
             static_cast<int32_t>(record.bus), static_cast<int32_t>(record.device),
             static_cast<int32_t>(record.function), static_cast<int32_t>(record.port)}};
}

bool silk_is_valid(const char (&silk)[33]) {
    const std::size_t length = strnlen(silk, sizeof(silk));
    if (length == 0 || length == sizeof(silk)) {
        return false;
    }
    for (std::size_t i = 0; i < length; ++i) {
        if (silk[i] < ' ' || silk[i] > '~') {
            return false;
        }
    }
    return true;
}

int32_t set_slot(const SettingsFile &file, const PchDiskRecord &record) {
    if (!file.store(custom_pchdisk[PCH_DISK_SLOT], disk_place(__func__, record), record.slot) ||
        file.save() != 0) {
        return -1;
    }
    IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]set " DISK_PLACE "_diskslot=%d successfully\n",
                         log_source, __LINE__, DISK_PLACE_VALUES(record),
                         static_cast<int>(record.slot));
    return 0;
}

int32_t set_silk(const SettingsFile &file, const PchDiskRecord &record) {
    if (!file.store(custom_pchdisk[PCH_DISK_SILK], disk_place(__func__, record), record.silk) ||
        file.save() != 0) {
        return -1;
    }
    IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]set " DISK_PLACE "_customsilk=%s successfully\n",
                         log_source, __LINE__, DISK_PLACE_VALUES(record), record.silk);
    return 0;
}

int32_t delete_slot(const SettingsFile &file, const PchDiskRecord &record) {
    const Setting &row = custom_pchdisk[PCH_DISK_SLOT];
    const Place place = disk_place(__func__, record);
    uint32_t stored = row.fallback;
    file.load(row, place, &stored);
    if (stored == row.fallback) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]pch DISK have no custom slot config!\n",
                             log_source, __LINE__);
        return 0;
    }
    file.erase(row, place);
    if (file.save() != 0) {
        return -1;
    }
    IDBG_LINUXAPP_DbgOut(bf::level_debug,
                         "[%s:%d]del custom slot config " DISK_PLACE "_diskslot  successfully\n",
                         log_source, __LINE__, DISK_PLACE_VALUES(record));
    return 0;
}

int32_t delete_silk(const SettingsFile &file, const PchDiskRecord &record) {
    const Setting &row = custom_pchdisk[PCH_DISK_SILK];
    const Place place = disk_place(__func__, record);
    char stored[sizeof(record.silk)];
    if (file.load(row, place, stored) == Loaded::failed) {
        return -1;
    }
    if (stored[0] == '\0') {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]pch DISK have no custom silk config!\n",
                             log_source, __LINE__);
        return 0;
    }
    file.erase(row, place);
    if (file.save() != 0) {
        return -1;
    }
    IDBG_LINUXAPP_DbgOut(bf::level_debug,
                         "[%s:%d]del custom slot config " DISK_PLACE "_customsilk  successfully\n",
                         log_source, __LINE__, DISK_PLACE_VALUES(record));
    return 0;
}

}  // namespace

extern "C" {

int32_t IPMI_LoadCustomPchDiskConfig(PchDiskRecord *record, uint32_t which) {
    if (record == nullptr || which > PCH_DISK_SILK) {
        return -1;
    }
    const SettingsFile file(file_of(custom_pchdisk_file));
    if (!file) {
        if (file.locked()) {
            const int line = __LINE__;
            IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]%s create failed, line=%d\n", log_source,
                                 line, file.path(), line);
        }
        return -1;
    }
    const Setting &row = custom_pchdisk[which];
    const Place place = disk_place(__func__, *record);
    if (which == PCH_DISK_SLOT) {
        file.load(row, place, &record->slot);
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]get custom config:custom pchdisk slot:%d\n",
                             log_source, __LINE__, static_cast<int>(record->slot));
        return 0;
    }
    if (file.load(row, place, record->silk) == Loaded::failed) {
        return -1;
    }
    IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]get custom config:custom pchdisk Silk:%s\n",
                         log_source, __LINE__, record->silk);
    return 0;
}

int32_t IPMI_SaveCustomPchDiskConfig(const PchDiskRecord *record, uint32_t which, uint32_t set) {
    if (record == nullptr || which > PCH_DISK_SILK || set > set_label) {
        return -1;
    }
    if (which == PCH_DISK_SILK && set == set_label && !silk_is_valid(record->silk)) {
        char silk[sizeof(record->silk) + 1] = "";  // the field may lack its end
        std::memcpy(silk, record->silk, sizeof(record->silk));
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]invalid pch slik:%s", log_source, __LINE__,
                             silk);
        return -1;
    }
    const SettingsFile file(file_of(custom_pchdisk_file));
    if (!file) {
        if (file.locked()) {
            const int line = __LINE__;
            IDBG_LINUXAPP_DbgOut(
                bf::level_debug,
                "[%s:%d]/conf/ext/custom_pchdisk_config.ini create failed, line=%d\n", log_source,
                line, line);
        }
        return -1;
    }
    if (which == PCH_DISK_SLOT) {
        return set == set_label ? set_slot(file, *record) : delete_slot(file, *record);
    }
    return set == set_label ? set_silk(file, *record) : delete_silk(file, *record);
}

}  // extern "C"
