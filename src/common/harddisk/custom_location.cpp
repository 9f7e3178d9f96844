// The customer's labels of disks, and the way back from a label to the disk.
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "base/ini.h"
#include "base/lock.h"
#include "base/log.h"
#include "boardfeatures/storage.h"

static constexpr char log_source[] = "common/harddisk/harddisk_common_info";

// The texts name their line once more: log_line.
#define LOG_LOCATION(text, ...)                                                                   \
    do {                                                                                          \
        const int log_line = __LINE__;                                                            \
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]" text, log_source, log_line, __VA_ARGS__); \
    } while (0)
#define TRACE_LOCATION(text, ...)                                                             \
    do {                                                                                      \
        const int log_line = __LINE__;                                                        \
        IDBG_LINUXAPP_Runtime_DbgOut(bf::level_runtime, "[%s:%d]" text, log_source, log_line, \
                                     __VA_ARGS__);                                            \
    } while (0)

namespace {

constexpr char location_file[] = "/var/custom_location_config.ini";
constexpr char section[] = "disk custom config";
constexpr off_t largest_invalid_file = 9;
constexpr int32_t location_semaphore = 12306;
constexpr uint32_t lock_wait_ms = 2000;

constexpr uint32_t zones = 4;
constexpr uint32_t disks_per_zone = 255;
constexpr uint8_t not_relabelled = 255;

CustomDiskConfig cached;
bool is_cached;

uint8_t label_of(const bf::IniFile &file, uint32_t zone, uint32_t disk, const char *what) {
    char key[64];
    std::snprintf(key, sizeof(key), "origine_zone%u_disk%u_%s", zone, disk, what);
    return static_cast<uint8_t>(IniGetUInt(file.get(), section, key, not_relabelled));
}

void fill_cache(const bf::IniFile &file, const char *caller) {
    CustomDiskConfig found = {};
    for (uint32_t zone = 0; zone < zones; ++zone) {
        for (uint32_t disk = 0; disk < disks_per_zone; ++disk) {
            if (found.count >= std::size(found.entries)) {
                LOG_LOCATION("[%s %d] HDD custom config is up to max(hddcustomcount=%d)", caller,
                             log_line, static_cast<int>(found.count));
                break;
            }
            const uint8_t custom_zone = label_of(file, zone, disk, "customzone");
            const uint8_t custom_silk = label_of(file, zone, disk, "customslik");
            if (custom_zone != not_relabelled && custom_silk != not_relabelled) {
                found.entries[found.count++] = {static_cast<uint8_t>(zone),
                                                static_cast<uint8_t>(disk), custom_zone,
                                                custom_silk};
            }
        }
    }
    found.valid = found.count != 0;
    cached = found;
    is_cached = true;
}

int32_t release(bf::KeyLock &lock, const char *caller) {
    if (lock.release() == OAL_OK) {
        return 0;
    }
    LOG_LOCATION("[%s %s %d]: unlock failed.", log_source, caller, log_line);
    return -1;
}

}  // namespace

extern "C" {

int32_t HDD_COM_IsfileInvalid(const char *path) {
    struct stat status = {};
    return path == nullptr || stat(path, &status) != 0 || status.st_size <= largest_invalid_file;
}

int32_t HDD_COM_GetCustomConfig(CustomDiskConfig *config) {
    if (config == nullptr) {
        return -1;
    }
    if (is_cached) {
        *config = cached;
        return 0;
    }
    if (HDD_COM_IsfileInvalid(location_file) != 0) {
        cached.valid = 0;
        config->valid = 0;
        return 0;
    }
    bf::KeyLock lock(location_semaphore, lock_wait_ms, bf::KeyLock::Semaphore::create);
    if (!lock) {
        if (lock.failed_step() == bf::KeyLock::Step::create) {
            LOG_LOCATION("sem create failed, line=%d\n", log_line);
        } else {
            LOG_LOCATION("sem lock failed, line=%d\n", log_line);
        }
        LOG_LOCATION("[%s %s %d]: lock failed.", log_source, __func__, log_line);
        return -1;
    }
    {
        const bf::IniFile file(VEL_IniLoadFile(location_file));
        if (!file) {
            LOG_LOCATION("%s %d: load %s failed.", __func__, log_line, location_file);
            release(lock, __func__);
            return -1;
        }
        fill_cache(file, __func__);
        *config = cached;
        LOG_LOCATION("[%s %d] HDD custom config init successful.", __func__, log_line);
    }
    return release(lock, __func__);
}

int32_t HDD_COM_CustomSliktoVelSlik(uint8_t *zone, uint8_t *slot, uint32_t custom_zone,
                                    uint32_t custom_slot) {
    if (zone == nullptr || slot == nullptr) {
        return -1;
    }
    *zone = static_cast<uint8_t>(custom_zone);
    *slot = static_cast<uint8_t>(custom_slot);
    CustomDiskConfig config = {};
    if (HDD_COM_GetCustomConfig(&config) != 0) {
        TRACE_LOCATION("[%s %d] fail to get custom hdd config.", __func__, log_line);
        return -1;
    }
    if (config.valid != 1) {
        TRACE_LOCATION("[%s %d] there is no hdd custom config, just return.", __func__, log_line);
        return 0;
    }
    const uint32_t count =
        std::min<uint32_t>(config.count, static_cast<uint32_t>(std::size(config.entries)));
    TRACE_LOCATION("[%s %d] start find custom zone%d-slot%d in custom config.", __func__, log_line,
                   static_cast<int>(custom_zone), static_cast<int>(custom_slot));
    for (uint32_t i = 0; i < count; ++i) {
        const SlotEntry &entry = config.entries[i];
        TRACE_LOCATION("[%s %d] custom config %d : zone%d slik%d[custom_zone%d - custom_slik%d].",
                       __func__, log_line, static_cast<int>(i), entry.origin_zone,
                       entry.origin_disk, entry.custom_zone, entry.custom_silk);
        if (entry.custom_zone == custom_zone && entry.custom_silk == custom_slot) {
            *zone = entry.origin_zone;
            *slot = entry.origin_disk;
            TRACE_LOCATION("[%s %d] find zone%d-slot%d in custom config[zone%d-slik%d].", __func__,
                           log_line, static_cast<int>(custom_zone), static_cast<int>(custom_slot),
                           entry.origin_zone, entry.origin_disk);
            return 0;
        }
    }
    TRACE_LOCATION("[%s %d] do not find custom zone%d-slot%d in custom config.", __func__, log_line,
                   static_cast<int>(custom_zone), static_cast<int>(custom_slot));
    return 0;
}

}  // extern "C"
