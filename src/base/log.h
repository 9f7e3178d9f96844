// The platform's diagnostics with the place filled in. A source file states the name that its
// messages carry once, before its first message:
//
//     static constexpr char log_source[] = "hwid_compat";
//
// Texts are compared exactly by those who read the logs, so they are passed through unchanged.
#pragma once

#include "boardplatform/platform.h"

// Every error is counted by place before it is reported. A text that repeats its line takes it from
// log_line: over several lines of source __LINE__ says another.
#define LOG_ERROR(module, ...)                                           \
    do {                                                                 \
        const int log_line = __LINE__;                                   \
        sspFailedStat(log_source, log_line);                             \
        _ssp_error(module, log_source, __func__, log_line, __VA_ARGS__); \
    } while (0)
#define LOG_WARN(module, ...) _ssp_warn(module, log_source, __func__, __LINE__, __VA_ARGS__)
#define LOG_INFO(module, ...) _ssp_info(module, log_source, __func__, __LINE__, __VA_ARGS__)
#define LOG_DEBUG(module, ...) _ssp_debug(module, log_source, __func__, __LINE__, __VA_ARGS__)

namespace bf {

// Levels of the IDBG_LINUXAPP channels.
inline constexpr uint32_t level_debug = 130;
inline constexpr uint32_t level_runtime = 135;
inline constexpr uint32_t level_audit_board = 149;

}  // namespace bf
