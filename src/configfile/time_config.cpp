// Whether the clock chip holds UTC, and the time that survives a restart.
#include <cstdio>

#include "boardfeatures/config.h"
#include "boardfeatures/ipc.h"
#include "configfile/setting_store.h"

using namespace bf::config;

namespace {

constexpr int32_t time_keeper_key = 12294;
constexpr uint32_t time_keeper_wait_ms = 2000;
constexpr uint32_t time_never_set = 0;

}  // namespace

extern "C" {

int32_t IPMI_RTCConfig_SaveFile(uint32_t is_utc) {
    if (is_utc > 1) {
        return -1;
    }
    const int32_t result = save_settings(rtc_is_utc, {__func__}, {is_utc});
    if (result == 0) {
        // Wakes the time-keeping process; without one there is nobody to wake.
        OAL_SemUnLockByKey(time_keeper_key, time_keeper_wait_ms);
    }
    return result;
}

int32_t IPMI_RTCConfig_LoadFile(uint8_t *is_utc) {
    return load_settings(rtc_is_utc, {__func__}, {is_utc});
}

int32_t IPMI_UtcTimeConfig_LoadFile(uint32_t *utc, uint8_t *is_utc) {
    if (utc == nullptr || is_utc == nullptr) {
        return -1;
    }
    uint32_t time = time_never_set;
    uint8_t flag = 0;
    const SettingsFile file(file_of(rtc_file));
    if (!file) {
        report_unloaded(file, __func__);
        return -1;
    }
    file.load(utc_time[0], {__func__}, &time);
    file.load(rtc_is_utc[0], {__func__}, &flag);
    if (time == time_never_set) {
        return -1;
    }
    *utc = time;
    *is_utc = flag;
    return 0;
}

int32_t IPMI_UtcTimeAllConfig_SaveFile(uint32_t utc, const char *path) {
    if (path == nullptr) {
        return -1;
    }
    return save_settings(utc_time, {__func__, path}, {utc});
}

int32_t IPMI_UtcTimeAddConfig_SaveFile(uint32_t delta, uint32_t *new_utc, const char *path) {
    if (new_utc == nullptr || path == nullptr) {
        return -1;
    }
    const SettingsFile file(file_of(rtc_file), path);
    if (!file) {
        report_unloaded(file, __func__);
        return -1;
    }
    uint32_t time = time_never_set;
    file.load(utc_time[0], {__func__}, &time);
    if (time == time_never_set) {
        return -1;
    }
    time += delta;
    if (!file.store(utc_time[0], {__func__}, time) || file.save() != 0) {
        return -1;
    }
    *new_utc = time;
    return 0;
}

int32_t isRtcConfFileHaveValue(const char *path) {
    if (path == nullptr) {
        return -1;
    }
    std::FILE *file = std::fopen(path, "r");
    if (file == nullptr) {
        return -1;
    }
    char line[1024];
    const bool has_line = std::fgets(line, sizeof(line), file) != nullptr;
    std::fclose(file);
    return has_line ? 1 : 0;
}

int32_t GetTimeStampFromRtc(uint32_t *utc, const char *path) {
    if (utc == nullptr || path == nullptr || isRtcConfFileHaveValue(path) == 0) {
        return -1;
    }
    uint32_t time = time_never_set;
    if (load_settings(utc_time, {__func__, path}, {&time}) != 0 || time == time_never_set) {
        return -1;
    }
    *utc = time;
    return 0;
}

}  // extern "C"
