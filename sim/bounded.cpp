// The contract's bounded memory and string functions.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "access.h"
#include "boardplatform/platform.h"

using boardsim::Call;
using boardsim::software_call;

namespace {

constexpr int refused = -1;

// Each counts itself as the call that it does the work of, which may fail by a fault.
int copy_memory(Call call, void *dest, size_t dest_size, const void *src, size_t count) {
    if (const int failure = software_call(call); failure != 0) {
        return failure;
    }
    if (dest == nullptr || src == nullptr || count > dest_size) {
        return refused;
    }
    std::memmove(dest, src, count);
    return 0;
}

int set_memory(Call call, void *dest, size_t dest_size, int value, size_t count) {
    if (const int failure = software_call(call); failure != 0) {
        return failure;
    }
    if (dest == nullptr || count > dest_size) {
        return refused;
    }
    std::memset(dest, value, count);
    return 0;
}

// Appends at `dest + used`, which lies within the buffer.
int append_text(char *dest, size_t dest_size, size_t used, const char *src, size_t count) {
    const size_t length = std::min(strnlen(src, count), dest_size - used - 1);
    std::memcpy(dest + used, src, length);
    dest[used + length] = '\0';
    return 0;
}

int copy_text(Call call, char *dest, size_t dest_size, const char *src, size_t count) {
    if (const int failure = software_call(call); failure != 0) {
        return failure;
    }
    if (dest == nullptr || src == nullptr || dest_size == 0) {
        return refused;
    }
    return append_text(dest, dest_size, 0, src, count);
}

int print_text(Call call, char *dest, size_t dest_size, const char *format, va_list values) {
    if (const int failure = software_call(call); failure != 0) {
        return failure;
    }
    if (dest == nullptr || dest_size == 0 || format == nullptr) {
        return refused;
    }
    return std::vsnprintf(dest, dest_size, format, values) < 0 ? refused : 0;
}

size_t text_length(Call call, const char *text, size_t max) {
    software_call(call);
    return text == nullptr ? 0 : strnlen(text, max);
}

}  // namespace

extern "C" {

int memcpy_s(void *dest, size_t dest_size, const void *src, size_t count) {
    return copy_memory(Call::memcpy_s, dest, dest_size, src, count);
}
int vel_memcpy_s(void *dest, size_t dest_size, const void *src, size_t count) {
    return copy_memory(Call::vel_memcpy_s, dest, dest_size, src, count);
}

int memset_s(void *dest, size_t dest_size, int value, size_t count) {
    return set_memory(Call::memset_s, dest, dest_size, value, count);
}
int vel_memset_s(void *dest, size_t dest_size, int value, size_t count) {
    return set_memory(Call::vel_memset_s, dest, dest_size, value, count);
}

int strncpy_s(char *dest, size_t dest_size, const char *src, size_t count) {
    return copy_text(Call::strncpy_s, dest, dest_size, src, count);
}
int vel_strncpy_s(char *dest, size_t dest_size, const char *src, size_t count) {
    return copy_text(Call::vel_strncpy_s, dest, dest_size, src, count);
}

int vel_strncat_s(char *dest, size_t dest_size, const char *src, size_t count) {
    if (const int failure = software_call(Call::vel_strncat_s); failure != 0) {
        return failure;
    }
    if (dest == nullptr || src == nullptr) {
        return refused;
    }
    const size_t used = strnlen(dest, dest_size);
    if (used == dest_size) {
        return refused;
    }
    return append_text(dest, dest_size, used, src, count);
}

int snprintf_s(char *dest, size_t dest_size, const char *format, ...) {
    va_list values;
    va_start(values, format);
    const int result = print_text(Call::snprintf_s, dest, dest_size, format, values);
    va_end(values);
    return result;
}
int vel_snprintf_s(char *dest, size_t dest_size, const char *format, ...) {
    va_list values;
    va_start(values, format);
    const int result = print_text(Call::vel_snprintf_s, dest, dest_size, format, values);
    va_end(values);
    return result;
}

// The number of values read, as sscanf.
int vel_sscanf_s(const char *text, const char *format, ...) {
    if (const int failure = software_call(Call::vel_sscanf_s); failure != 0) {
        return failure;
    }
    if (text == nullptr || format == nullptr) {
        return refused;
    }
    va_list values;
    va_start(values, format);
    const int result = std::vsscanf(text, format, values);
    va_end(values);
    return result;
}

size_t strnlen_s(const char *text, size_t max) { return text_length(Call::strnlen_s, text, max); }
size_t vel_strnlen_s(const char *text, size_t max) {
    return text_length(Call::vel_strnlen_s, text, max);
}

int vel_atoi_s(const char *text) {
    software_call(Call::vel_atoi_s);
    return text == nullptr ? 0 : static_cast<int>(std::strtol(text, nullptr, 10));
}

int vel_fopen_s(FILE **stream, const char *path, const char *mode, uint32_t, uint32_t) {
    if (const int failure = software_call(Call::vel_fopen_s); failure != 0) {
        return failure;
    }
    if (stream == nullptr) {
        return refused;
    }
    *stream = path == nullptr || mode == nullptr ? nullptr : std::fopen(path, mode);
    return *stream == nullptr ? refused : 0;
}

char *vel_fgets_s(char *dest, size_t dest_size, FILE *stream) {
    if (software_call(Call::vel_fgets_s) != 0) {
        return nullptr;
    }
    if (dest == nullptr || stream == nullptr || dest_size == 0 || dest_size > INT32_MAX) {
        return nullptr;
    }
    return std::fgets(dest, static_cast<int>(dest_size), stream);
}

int vel_fclose_s(FILE *stream) {
    if (const int failure = software_call(Call::vel_fclose_s); failure != 0) {
        return failure;
    }
    return stream == nullptr ? refused : std::fclose(stream);
}

}  // extern "C"
