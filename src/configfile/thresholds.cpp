// Temperature and sensor thresholds.
#include <cstddef>
#include <iterator>

#include "base/log.h"
#include "boardfeatures/config.h"
#include "configfile/setting_store.h"

using namespace bf::config;

namespace {

template <std::size_t N>
int32_t save_bytes(const Setting (&rows)[N], const Place &place, const uint8_t *bytes) {
    Value values[N] = {};
    for (std::size_t i = 0; i < N; ++i) {
        values[i] = bytes[i];
    }
    return save_settings(rows, place, values);
}

}  // namespace

extern "C" {

int32_t IPMI_SaveTempThreshold(const uint8_t values[8]) {
    if (values == nullptr) {
        return -1;
    }
    return save_bytes(temp_threshold, {__func__}, values);
}

int32_t IPMI_LoadTempThreshold(uint8_t values[8]) {
    if (values == nullptr) {
        return -1;
    }
    void *outs[std::size(temp_threshold)];
    for (std::size_t i = 0; i < std::size(outs); ++i) {
        outs[i] = &values[i];
    }
    return load_settings(temp_threshold, {__func__}, outs);
}

int32_t IPMI_SaveSensorThreshold(const char *section, const uint8_t values[6]) {
    if (section == nullptr || values == nullptr) {
        return -1;
    }
    return save_bytes(sensor_threshold, {__func__, nullptr, section}, values);
}

int32_t IPMI_LoadSensorThreshold(const char *section, const uint8_t defaults[6],
                                 uint8_t values[6]) {
    if (section == nullptr || defaults == nullptr || values == nullptr) {
        return -1;
    }
    const SettingsFile file(file_of(sensor_threshold_file));
    if (!file) {
        report_unloaded(file, __func__);
        return -1;
    }
    for (std::size_t i = 0; i < std::size(sensor_threshold); ++i) {
        const Setting &row = sensor_threshold[i];
        if (file.load(row, {__func__, nullptr, section}, &values[i], defaults[i]) ==
            Loaded::taken) {
            IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]cSection:%s, key:%s, value:%u\n",
                                 log_source, __LINE__, section, row.key, uint32_t{values[i]});
        }
    }
    return 0;
}

}  // extern "C"
