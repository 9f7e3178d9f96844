// The contract's diagnostics: lines on standard error, from a chosen level up.
//
// BOARDSIM_LOG chooses the level: error (the default), warn, info, debug or none. The
// identification of PCIe slots warns of its successes as well.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

#include "access.h"
#include "boardplatform/platform.h"

using boardsim::Call;
using boardsim::software_call;

namespace {

enum Level { level_none, level_error, level_warn, level_info, level_debug };

constexpr const char *level_names[] = {"none", "error", "warn", "info", "debug"};

Level chosen_level() {
    static const Level level = [] {
        const char *text = std::getenv("BOARDSIM_LOG");
        for (size_t i = 0; text != nullptr && i < std::size(level_names); ++i) {
            if (std::strcmp(text, level_names[i]) == 0) {
                return static_cast<Level>(i);
            }
        }
        return level_error;
    }();
    return level;
}

// One write a line, so that lines of several processes do not mix.
void print_line(Level level, const std::string &place, const char *format, va_list values) {
    if (level > chosen_level()) {
        return;
    }
    char text[2048];
    std::vsnprintf(text, sizeof(text), format, values);
    std::string line = std::string(level_names[level]) + ' ' + place + ": " + text;
    while (line.ends_with('\n')) {
        line.pop_back();
    }
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

std::string module_place(uint32_t module, const char *file, const char *function, int line) {
    return "module " + std::to_string(module) + ' ' + file + ':' + std::to_string(line) + ' ' +
           function;
}

std::string channel_place(const char *channel, uint32_t level) {
    return std::string(channel) + ' ' + std::to_string(level);
}

}  // namespace

extern "C" {

#define SSP_CHANNEL(name, level)                                                       \
    void name(uint32_t module, const char *file, const char *function, int line,       \
              const char *format, ...) {                                               \
        software_call(Call::name);                                                     \
        va_list values;                                                                \
        va_start(values, format);                                                      \
        print_line(level, module_place(module, file, function, line), format, values); \
        va_end(values);                                                                \
    }
SSP_CHANNEL(_ssp_error, level_error)
SSP_CHANNEL(_ssp_warn, level_warn)
SSP_CHANNEL(_ssp_info, level_info)
SSP_CHANNEL(_ssp_debug, level_debug)

#define IDBG_CHANNEL(name, channel, level)                                 \
    void name(uint32_t number, const char *format, ...) {                  \
        software_call(Call::name);                                         \
        va_list values;                                                    \
        va_start(values, format);                                          \
        print_line(level, channel_place(channel, number), format, values); \
        va_end(values);                                                    \
    }
IDBG_CHANNEL(IDBG_LINUXAPP_DbgOut, "debug", level_debug)
IDBG_CHANNEL(IDBG_LINUXAPP_AuditOut, "audit", level_info)
IDBG_CHANNEL(IDBG_LINUXAPP_Runtime_DbgOut, "runtime", level_debug)

// The count of failures by place has no reader here; the error itself follows at once.
void sspFailedStat(const char *, int) { software_call(Call::sspFailedStat); }

}  // extern "C"
