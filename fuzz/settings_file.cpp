// An arbitrary configuration file, read by every loader. The platform's own parser reads it; what
// the loaders answer must lie in their buffers and in their ranges.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "boardfeatures/config.h"

namespace {

constexpr char path[] = "/conf/vel/fuzzed.ini";

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

// Parsed once an input; the loaders share it.
IniHandle fuzzed;
int users;

IniHandle use_fuzzed() {
    users += fuzzed != nullptr ? 1 : 0;
    return fuzzed;
}

template <typename Function>
Function platform(const char *name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// A text buffer with a guard behind it.
template <size_t N>
struct Text {
    char text[N];
    char guard[8] = {'g', 'u', 'a', 'r', 'd', 'e', 'd', '!'};
    void check(bool written) const {
        require(std::memcmp(guard, "guarded!", sizeof(guard)) == 0);
        require(!written || std::memchr(text, 0, N) != nullptr);
    }
};

}  // namespace

extern "C" {

// Every path is the one file; saves are not wanted.
IniHandle IniLoadFile(const char *) { return use_fuzzed(); }
IniHandle VEL_IniLoadFile(const char *) { return use_fuzzed(); }
void IniCloseFile(IniHandle) { --users; }
int IniSaveFile(IniHandle, const char *) { return 0; }

int LLVMFuzzerInitialize(int *, char ***) {
    std::filesystem::create_directories("/conf/vel");
    std::fclose(std::fopen("/conf/vel/nicinfoflag.ini", "w"));
    require(VEL_CreateAlarmDisableCodeInfoShmAddr() == 0);
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::FILE *file = std::fopen(path, "w");
    require(file != nullptr && std::fwrite(data, 1, size, file) == size && std::fclose(file) == 0);
    static const auto load = platform<decltype(&IniLoadFile)>("IniLoadFile");
    static const auto close = platform<decltype(&IniCloseFile)>("IniCloseFile");
    fuzzed = load(path);

    uint32_t word = 0;
    uint8_t byte = 0;
    IPMI_LoadNICDisplayCfg(&word);
    IPMI_RTCConfig_LoadFile(&byte);
    if (IPMI_UtcTimeConfig_LoadFile(&word, &byte) == 0) {
        require(word != 0);
        uint32_t same = 0;
        require(GetTimeStampFromRtc(&same, path) == 0 && same == word);
    }
    require(isRtcConfFileHaveValue(path) == (size != 0 ? 1 : 0));
    for (const uint32_t tray : {0u, 1u, 0xFFFFFFFFu}) {
        Text<64> serial;
        serial.check(IPMI_LoadFantraySN(tray, serial.text, &byte) == 0);
    }
    IPMI_LoadAlarmReportPolicy(&byte);
    uint8_t bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    if (IPMI_LoadTempThreshold(bytes) == 0) {
        for (const uint8_t value : bytes) {
            require(value != 255);
        }
    }
    const uint8_t defaults[6] = {9, 9, 9, 9, 9, 9};
    IPMI_LoadSensorThreshold("Sensor", defaults, bytes);
    IPMI_LoadSensorThreshold("", defaults, bytes);
    IPMI_LoadLiquidLeakageCfg(&bytes[0], &bytes[1], &bytes[2]);
    IPMI_LoadPowerFaultSwitch(&word);
    IPMI_LoadMemPrefaultSwitch(&word);
    IPMI_LoadBMCTimeStamp(&word);
    const int32_t status = IPMI_GetAvailableMemStatus(50);
    require(status >= -1 && status <= 2);
    uint8_t zone = 201;
    uint8_t silk = 202;
    if (IPMI_LoadCustomSlotConfig(0, 1, &zone, &silk) == 0) {
        require(zone != 255 && silk != 255);
    }
    const SlotEntry entry = {0, 0, 1, 1};
    const uint8_t set[6] = {0, 0, 0, 0, 0, 1};
    IPMI_SaveCustomSlotConfig(size != 0 && data[0] == 'S' ? 1 : 0, &entry, set);
    struct {
        PchDiskRecord record = {};
        char guard = 'g';
    } pch;
    IPMI_LoadCustomPchDiskConfig(&pch.record, PCH_DISK_SLOT);
    if (IPMI_LoadCustomPchDiskConfig(&pch.record, PCH_DISK_SILK) == 0) {
        require(std::memchr(pch.record.silk, 0, sizeof(pch.record.silk)) != nullptr);
        require(pch.record.padding[0] == 0 && pch.guard == 'g');
        IPMI_SaveCustomPchDiskConfig(&pch.record, PCH_DISK_SILK, 0);
    }
    for (const uint32_t kind : {0u, 3u, 5u}) {
        Text<256> info;
        info.check(IPMI_LoadCustomInfo(kind, 1, info.text, &word) == 0);
    }
    Text<64> identity;
    identity.check(IPMI_LoadCustomID(&word, identity.text) == 0);
    Get_DisabledFlag("NvmeLinkDown");
    IPMI_LoadAlarmReportDisable();
    const int32_t again = IsNeedAlarmReReport();
    require(again == 0 || again == 1);
    loadAlarmReportDisable();
    require(users == 0);
    if (fuzzed != nullptr) {
        close(fuzzed);
    }
    return 0;
}

}  // extern "C"
