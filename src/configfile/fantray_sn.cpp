// Serial numbers of the fan trays, a section a tray.
#include "boardfeatures/config.h"
#include "configfile/setting_store.h"

using namespace bf::config;

namespace {

Place tray_place(const char *function, uint32_t tray) {
    Place place = {function};
    place.section_number = static_cast<int32_t>(tray);
    return place;
}

}  // namespace

extern "C" {

int32_t IPMI_SaveFantraySN(uint32_t tray, const char *serial, uint32_t length) {
    return save_settings(fantray_sn, tray_place(__func__, tray), {serial, length});
}

int32_t IPMI_LoadFantraySN(uint32_t tray, char serial[64], uint8_t *length) {
    return load_settings(fantray_sn, tray_place(__func__, tray), {serial, length});
}

int32_t IPMI_DelFantraySN(uint32_t tray) {
    const Place place = tray_place(__func__, tray);
    const SettingsFile file(file_of(fantray_file));
    if (!file) {
        report_unloaded(file, __func__);
        return -1;
    }
    for (const Setting &row : fantray_sn) {
        file.erase(row, place);
    }
    file.erase_section(fantray_sn[0], place);
    return file.save();
}

}  // extern "C"
