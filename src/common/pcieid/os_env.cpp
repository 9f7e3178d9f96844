// Log files and flag files.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "base/stream.h"
#include "boardfeatures/pcieid_settings.h"
#include "common/pcieid/pcieid_log.h"

namespace {

constexpr char log_source[] = "os_env";

void write_time(FILE *file) {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local = {};
    localtime_r(&now.tv_sec, &local);
    char date[32] = "";
    strftime(date, sizeof(date), "%F %T", &local);
    fprintf(file, "%s.%06d ", date, static_cast<int>(now.tv_nsec / 1000));
}

}  // namespace

extern "C" {

int32_t xlog(const char *path, uint32_t flags, const char *format, ...) {
    if (path == nullptr || format == nullptr) {
        return -1;
    }
    const bf::Stream file(path, "a+");
    if (!file) {
        printf("filepath=%s, errno=%d, %s\n", path, errno, strerror(errno));
        return -1;
    }
    if ((flags & XLOG_TIME) != 0) {
        write_time(file.get());
    }
    if ((flags & XLOG_THREAD) != 0) {
        fprintf(file.get(), "[%d.%d] ", static_cast<int>(getpid()), static_cast<int>(gettid()));
    }
    if ((flags & XLOG_COLON) != 0) {
        fputs(": ", file.get());
    }
    va_list values;
    va_start(values, format);
    vfprintf(file.get(), format, values);
    va_end(values);
    fflush(file.get());
    return 0;
}

int32_t is_flag_set(const char *path) { return path != nullptr && access(path, F_OK) == 0 ? 1 : 0; }

int32_t is_flag_set_single_trigger(const char *path) {
    if (is_flag_set(path) == 0) {
        return 0;
    }
    unlink(path);
    return 1;
}

int32_t set_flag(const char *path) {
    if (path == nullptr) {
        return -1;
    }
    const int file = open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0777);
    const bool exists = file >= 0 || errno == EEXIST;
    if (!exists) {
        PCIEID_WARN("%s(@%d), open()=-1, errno=%d, %s.\n", errno, strerror(errno));
    } else if (file >= 0 && close(file) != 0) {
        PCIEID_WARN("%s(@%d), close()=-1, errno=%d, %s.\n", errno, strerror(errno));
    }
    LOG_INFO(bf::module_pcieid, "%s('%s').\n", __func__, path);
    return exists ? 0 : -1;
}

}  // extern "C"
