// Lines appended to log files.
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "base/stream.h"
#include "boardfeatures/process.h"
#include "oal/clock.h"

namespace {

// Files whose streams stay open for the life of the process.
struct RegisteredFile {
    FILE *stream;
    const char *path;
};
RegisteredFile registered_files[] = {
    {nullptr, "/var/demo0"}, {nullptr, "/var/demo1"}, {nullptr, "/var/demo2"}};

constexpr uint32_t all_prefixes = OAL_LOG_TIME | OAL_LOG_PID | OAL_LOG_COLON;
constexpr char test_line[] =
    "abcdefghijklmnopqrstuvwxyz1234567890ABCDEFGHIJKLMNOPQRSTUVWXYZ~!@#$^&*()_+|{}[]<>?/\n";
constexpr uint32_t test_index = 2;

int32_t say_not_opened() {
    const int error = errno;
    std::fprintf(stderr, "errno=%d, %s\n", error, std::strerror(error));
    return -1;
}

void write_prefixes(FILE *stream, uint32_t flags) {
    if ((flags & OAL_LOG_TIME) != 0) {
        std::fprintf(stream, "%s ", bf::oal::local_time().text);
    }
    if ((flags & OAL_LOG_PID) != 0) {
        std::fprintf(stream, "[%d] ", getpid());
    }
    if ((flags & OAL_LOG_COLON) != 0) {
        std::fputs(": ", stream);
    }
}

BP_PRINTF(3, 0)
int32_t write_registered(RegisteredFile &file, uint32_t flags, const char *format, va_list values) {
    if (file.stream == nullptr) {
        file.stream = std::fopen(file.path, "a+");
        if (file.stream == nullptr) {
            return say_not_opened();
        }
    }
    write_prefixes(file.stream, flags);
    std::vfprintf(file.stream, format, values);
    std::fflush(file.stream);
    return 0;
}

// To a registered file by its path …
BP_PRINTF(3, 4) int32_t log_to_path(const char *path, uint32_t flags, const char *format, ...) {
    for (RegisteredFile &file : registered_files) {
        if (std::strcmp(file.path, path) == 0) {
            va_list values;
            va_start(values, format);
            const int32_t result = write_registered(file, flags, format, values);
            va_end(values);
            return result;
        }
    }
    std::printf("file: %s, has not been registered to OAL management.\n", path);
    return -1;
}

// … and by its index.
BP_PRINTF(3, 4) int32_t log_to_index(uint32_t index, uint32_t flags, const char *format, ...) {
    if (index >= std::size(registered_files)) {
        return -1;
    }
    va_list values;
    va_start(values, format);
    const int32_t result = write_registered(registered_files[index], flags, format, values);
    va_end(values);
    return result;
}

// Writes count + 1 lines, none for a negative count, between two readings of the clock; `say`
// prints the batch's heading.
template <typename Write, typename Say>
void time_batch(int32_t count, Write write, Say say) {
    const timespec before = bf::oal::clock_now();
    for (int64_t i = 0; i <= count; ++i) {
        write();
    }
    const timespec after = bf::oal::clock_now();
    say();
    bf::oal::print_clock(before, after);
}

}  // namespace

extern "C" {

int32_t OAL_Log2File(const char *path, uint32_t flags, const char *format, ...) {
    if (path == nullptr || format == nullptr) {
        return -1;
    }
    const bf::Stream file(path, "a+");
    if (!file) {
        return say_not_opened();
    }
    write_prefixes(file.get(), flags);
    va_list values;
    va_start(values, format);
    std::vfprintf(file.get(), format, values);
    va_end(values);
    std::fputc('\n', file.get());
    std::fflush(file.get());
    return 0;
}

int32_t OAL_Log2FileTest(const char *path, int32_t count) {
    if (path == nullptr) {
        return -1;
    }
    const char *registered = registered_files[test_index].path;
    time_batch(
        count, [&] { OAL_Log2File(path, all_prefixes, "%s", test_line); },
        [&] { std::printf("OAL_Log2File(%s, %x, \"%s\")\n", path, all_prefixes, test_line); });
    time_batch(
        count, [&] { log_to_path(registered, all_prefixes, "%s", test_line); },
        [&] {
            std::printf("OAL_Log2FileEx(%s, %x, \"%s\")\n", registered, all_prefixes, test_line);
        });
    time_batch(
        count, [&] { log_to_index(test_index, all_prefixes, "%s", test_line); },
        [&] {
            std::printf("OAL_Log2FileExx(%d, %x, \"%s\")\n", static_cast<int>(test_index),
                        all_prefixes, test_line);
        });
    return 0;
}

}  // extern "C"
