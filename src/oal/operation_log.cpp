// The operation log, kept bounded by dropping its oldest lines.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "base/log.h"
#include "base/stream.h"
#include "boardfeatures/process.h"
#include "oal/clock.h"

static constexpr char log_source[] = "vel_oal";

namespace {

constexpr char folder[] = "/extlog/unified_log";
constexpr char log_path[] = "/extlog/unified_log/operation_log.log";
constexpr char copy_path[] = "/extlog/unified_log/operation_log.log.back";

constexpr std::size_t line_size = 1024;
constexpr long trim_size = 0x200000;
constexpr uint32_t dropped_lines = 3000;

// "[source:line]function, <what>" with the error that just happened.
#define SAY_FAILED(text, ...)                                                                   \
    do {                                                                                        \
        const int say_error = errno;                                                            \
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]%s" text, log_source, __LINE__, __func__, \
                             __VA_ARGS__ say_error);                                            \
    } while (0)
#define SAY_FAILED_WITH_TEXT(text, ...)                                                         \
    do {                                                                                        \
        const int say_error = errno;                                                            \
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]%s" text, log_source, __LINE__, __func__, \
                             __VA_ARGS__ say_error, std::strerror(say_error));                  \
    } while (0)

// Builds a line in `line`; its length, newline included.
BP_PRINTF(2, 0)
std::size_t build_line(char (&line)[line_size], const char *format, va_list values) {
    std::snprintf(line, sizeof(line), "%s| ", bf::oal::local_time().text);
    std::size_t length = std::strlen(line);
    std::vsnprintf(line + length, sizeof(line) - length, format, values);
    length += std::strlen(line + length);
    if (line[length - 1] == '\n') {
        return length;
    }
    if (length == sizeof(line) - 1) {
        --length;  // a full line gives its last character up
    }
    line[length++] = '\n';
    line[length] = '\0';
    return length;
}

// Copies what follows the dropped lines.
void copy_kept_lines(FILE *log, FILE *copy) {
    char line[line_size];
    for (uint32_t number = 0; std::fgets(line, sizeof(line), log) != nullptr; ++number) {
        if (number >= dropped_lines) {
            std::fputs(line, copy);
        }
    }
}

}  // namespace

extern "C" {

void Unified_Check_OperationLog() {
    bf::Stream log(log_path, "r+");
    if (!log) {
        SAY_FAILED_WITH_TEXT(", reopen failed, errno=%d, %s\n", );
        return;
    }
    if (std::fseek(log.get(), 0, SEEK_END) != 0) {
        SAY_FAILED(", fseek SEEK_END failed  errno=%d\n", );
    }
    if (std::ftell(log.get()) < trim_size) {
        return;
    }
    bf::Stream copy(copy_path, "w+");
    if (!copy) {
        SAY_FAILED_WITH_TEXT(", open back file failed, errno=%d, %s\n", );
        return;
    }
    if (std::fseek(log.get(), 0, SEEK_SET) != 0) {
        SAY_FAILED(", fseek SEEK_SET failed  errno=%d\n", );
    }
    copy_kept_lines(log.get(), copy.get());
    copy.close();
    log.close();
    if (unlink(log_path) != 0) {
        SAY_FAILED_WITH_TEXT(": unlink failed, errno=%d, %s.\n", );
        return;
    }
    if (rename(copy_path, log_path) != 0) {
        SAY_FAILED_WITH_TEXT(": rename  failed, errno=%d, %s.\n", );
    }
}

int32_t Unified_Operation_Log2File(const char *format, ...) {
    if (format == nullptr) {
        return -1;
    }
    if (access(folder, F_OK) != 0) {
        SAY_FAILED_WITH_TEXT(", %s not existed, errno=%d, %s\n", folder, );
        if (mkdir(folder, 0777) != 0) {
            SAY_FAILED_WITH_TEXT(", mkdir %s, errno=%d, %s\n", folder, );
            return -1;
        }
    }
    {
        const bf::Stream log(log_path, "a+");
        if (!log) {
            SAY_FAILED_WITH_TEXT(", errno=%d, %s\n", );
            return -1;
        }
        char line[line_size];
        va_list values;
        va_start(values, format);
        const std::size_t length = build_line(line, format, values);
        va_end(values);
        std::fwrite(line, 1, length, log.get());
    }
    Unified_Check_OperationLog();
    return 0;
}

}  // extern "C"
