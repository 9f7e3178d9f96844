// How much memory the BMC has left, and whether that is little.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/log.h"
#include "boardfeatures/config.h"
#include "configfile/setting_store.h"

using namespace bf::config;

namespace {

constexpr char memory_path[] = "/proc/meminfo";
constexpr char memory_label[] = "MemAvailable:";
constexpr uint32_t level_memory = 176;

// Kibibytes in the text after the label. More than the target's long holds is its greatest value.
int32_t parse_kibibytes(const char *text) {
    errno = 0;
    char *end = nullptr;
    long long value = std::strtoll(text, &end, 10);
    if (value > INT32_MAX || value < INT32_MIN) {
        value = value > 0 ? INT32_MAX : INT32_MIN;
        errno = ERANGE;
    }
    if (end == text || errno != 0) {
        IDBG_LINUXAPP_AuditOut(level_memory, "strtol failed! [%d]", errno);
    }
    return static_cast<int32_t>(value);
}

}  // namespace

extern "C" {

int32_t IPMI_GetAvailableMem() {
    std::FILE *file = std::fopen(memory_path, "r");
    if (file == nullptr) {
        IDBG_LINUXAPP_AuditOut(level_memory, "fopen %s failed! [%d]\n", memory_path, errno);
        return -1;
    }
    char line[1024];
    const char *found = nullptr;
    while (found == nullptr && std::fgets(line, sizeof(line), file) != nullptr) {
        found = std::strstr(line, memory_label);
    }
    int32_t available = -1;
    if (found != nullptr) {
        available = parse_kibibytes(found + sizeof(memory_label) - 1) / 1024;
    }
    return std::fclose(file) == 0 ? available : -1;
}

int32_t IPMI_GetAvailableMemStatus(int32_t available_mib) {
    const SettingsFile file(file_of(monitor_file));
    if (!file) {
        IDBG_LINUXAPP_AuditOut(level_memory, "IniLoadFile failed!");
        return -1;
    }
    int32_t low = 0;
    int32_t very_low = 0;
    file.load(memory_thresholds[0], {__func__}, &low);
    file.load(memory_thresholds[1], {__func__}, &very_low);
    if (very_low > available_mib) {
        return 2;
    }
    return low > available_mib ? 1 : 0;
}

}  // extern "C"
