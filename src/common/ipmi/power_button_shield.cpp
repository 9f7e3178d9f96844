// Whether the front power button is shielded: a setting that outlives the BMC.
#include "base/ini.h"
#include "base/log.h"
#include "boardfeatures/soc.h"

namespace {

// Those who read the logs know the shield as part of the SoC's own source.
constexpr char log_source[] = "soc";

constexpr char shield_path[] = "/conf/shieldpowerbuttonstate.conf";
constexpr char shield_section[] = "ShieldPowerButton";
constexpr char shield_key[] = "enable";
constexpr uint32_t shielded = 1;

void report_load_failure() {
    IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]Error in load shield power button config file",
                         log_source, __LINE__);
}

}  // namespace

extern "C" {

// A button that works by accident is worse than one that does not: whatever is wrong with the
// setting, the answer is that it is shielded.
int32_t GetShieldPowerButtonStatus() {
    const bf::IniFile file(IniLoadFile(shield_path));
    if (!file) {
        report_load_failure();
        return shielded;
    }
    const uint32_t flag = IniGetUInt(file.get(), shield_section, shield_key, shielded);
    if (flag > shielded) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]Error enable flag %d", log_source, __LINE__,
                             static_cast<int>(flag));
        return shielded;
    }
    return static_cast<int32_t>(flag);
}

int32_t SetShieldPowerButtonStatus(uint32_t flag) {
    const bf::IniFile file(IniLoadFile(shield_path));
    if (!file) {
        report_load_failure();
        return -1;
    }
    if (flag > shielded) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]Error set enable flag %d", log_source,
                             __LINE__, static_cast<int>(flag));
        return -1;
    }
    IniSetUInt(file.get(), shield_section, shield_key, flag);
    const bool saved = IniSaveFile(file.get(), shield_path) == 0;
    const bool kept = IniGetUInt(file.get(), shield_section, shield_key, 0) == flag;
    return saved && kept ? 0 : -1;
}

}  // extern "C"
