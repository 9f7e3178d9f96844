// Settings that are stored and answered as they are.
#include <unistd.h>

#include "boardfeatures/config.h"
#include "configfile/setting_store.h"

using namespace bf::config;

extern "C" {

int32_t IPMI_SaveNICDisplayCfg(uint32_t flag) {
    return save_settings(nic_display, {__func__}, {flag});
}

int32_t IPMI_LoadNICDisplayCfg(uint32_t *flag) {
    if (flag == nullptr) {
        return -1;
    }
    if (access(file_of(nic_display_file).path, F_OK) != 0) {
        *flag = nic_display[0].fallback;
        return 0;
    }
    return load_settings(nic_display, {__func__}, {flag}, Locking::none);
}

int32_t IPMI_SaveAlarmReportPolicy(uint32_t policy) {
    return save_settings(alarm_policy, {__func__}, {policy});
}
int32_t IPMI_LoadAlarmReportPolicy(uint8_t *policy) {
    return load_settings(alarm_policy, {__func__}, {policy});
}

int32_t IPMI_SaveLiquidLeakageCfg(uint32_t time, uint32_t mode, uint32_t log) {
    return save_settings(liquid_leakage, {__func__}, {time & 0xFFu, mode & 0xFFu, log & 0xFFu});
}
int32_t IPMI_LoadLiquidLeakageCfg(uint8_t *time, uint8_t *mode, uint8_t *log) {
    return load_settings(liquid_leakage, {__func__}, {time, mode, log});
}

int32_t IPMI_LoadPowerFaultSwitch(uint32_t *value) {
    return load_settings(power_fault_switch, {__func__}, {value});
}
int32_t IPMI_LoadMemPrefaultSwitch(uint32_t *value) {
    return load_settings(mem_prefault_switch, {__func__}, {value});
}

int32_t IPMI_SaveBMCTimeStamp(uint32_t stamp) {
    return save_settings(bmc_time_stamp, {__func__}, {stamp});
}
int32_t IPMI_LoadBMCTimeStamp(uint32_t *stamp) {
    return load_settings(bmc_time_stamp, {__func__}, {stamp});
}

}  // extern "C"
