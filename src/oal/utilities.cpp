// Small utilities: a CPU-usage monitor, upper case, writing a text file.
#include <sys/select.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include "base/log.h"
#include "base/stream.h"
#include "boardfeatures/process.h"

static constexpr char log_source[] = "vel_oal";

namespace {

constexpr char stat_path[] = "/proc/stat";
constexpr uint32_t json_open_flag = 1;

// Ticks since boot; they wrap as the kernel's do.
struct CpuTimes {
    uint64_t total;
    uint64_t idle;
};

// The times in the first line of the file; none when it is of another form.
std::optional<CpuTimes> read_times(FILE *stat) {
    char line[128];
    // user, nice, system, idle, iowait, irq, softirq
    long ticks[7];
    if (std::fgets(line, sizeof(line), stat) == nullptr ||
        std::sscanf(line, "%*s %ld %ld %ld %ld %ld %ld %ld", &ticks[0], &ticks[1], &ticks[2],
                    &ticks[3], &ticks[4], &ticks[5], &ticks[6]) != 7) {
        return std::nullopt;
    }
    CpuTimes times = {0, static_cast<uint64_t>(ticks[3])};
    for (const long tick : ticks) {
        times.total += static_cast<uint64_t>(tick);
    }
    return times;
}

// Counters that did not move say nothing: 0.
float usage_percent(const CpuTimes &before, const CpuTimes &after) {
    const auto total = static_cast<float>(static_cast<int64_t>(after.total - before.total));
    const auto idle = static_cast<float>(static_cast<int64_t>(after.idle - before.idle));
    return total != 0 ? (total - idle) / total * 100 : 0;
}

}  // namespace

extern "C" {

void vel_CpuUsage() {
    for (int round = 0;; ++round) {
        const bf::Stream stat(stat_path, "r");
        if (!stat) {
            std::printf("open /proc/stat error!!!");
            return;
        }
        const auto before = read_times(stat.get());
        std::rewind(stat.get());
        timeval second = {1, 0};
        if (select(0, nullptr, nullptr, nullptr, &second) != 0) {
            IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]cpu usage select failed!", log_source,
                                 __LINE__);
            continue;
        }
        const auto after = read_times(stat.get());
        if (before && after) {
            std::printf("cpu use%d = %.2f\n", round,
                        static_cast<double>(usage_percent(*before, *after)));
        }
    }
}

void to_upper_case(char *text) {
    if (text == nullptr) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]str is null!", log_source, __LINE__);
        return;
    }
    for (; *text != '\0'; ++text) {
        if (*text >= 'a' && *text <= 'z') {
            *text = static_cast<char>(*text - 'a' + 'A');
        }
    }
}

int32_t write_json_file(uint32_t option, const char *path, const char *text) {
    if (path == nullptr || text == nullptr) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]pointer is null!", log_source, __LINE__);
        return -1;
    }
    FILE *file = nullptr;
    if (vel_fopen_s(&file, path, "w", option, json_open_flag) != 0 || file == nullptr) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]open file(%s) failed!", log_source, __LINE__,
                             path);
        return -1;
    }
    const int written = std::fprintf(file, "%s", text);
    if (vel_fclose_s(file) != 0) {
        const int error = errno;
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]vel_fclose_s error(%s)!", log_source,
                             __LINE__, std::strerror(error));
    }
    if (written < 0) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]fprintf return %d!", log_source, __LINE__,
                             written);
        return -1;
    }
    return 0;
}

}  // extern "C"
