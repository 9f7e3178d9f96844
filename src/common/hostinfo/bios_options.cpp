// BIOS setup options by numeric code.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "boardfeatures/bios.h"
#include "main/bios_options.h"

namespace {

using bf::board::bios_table;
using bf::board::BiosRow;

constexpr std::size_t text_size = sizeof(BiosRow::text);
constexpr int32_t most_items = 0x7FFFFFFF;

int32_t fail(uint8_t *completion, uint8_t code) {
    *completion = code;
    return -1;
}

bool is_placeholder(const BiosRow &row) {
    return row.code == bf::board::bios_no_code && row.validity == bf::board::bios_placeholder;
}

bool is_numeric(const BiosRow &row) {
    return row.code == bf::board::bios_no_code && row.text[0] == 'n' && row.text[1] == 'i';
}

bool is_number(const char *text) {
    char *end = nullptr;
    std::strtol(text, &end, 10);
    return end != text;
}

}  // namespace

extern "C" {

int32_t BIOSInfoHandleFlag0(const uint8_t *request, const char **names, void *, void *,
                            uint8_t *completion) {
    if (request == nullptr || names == nullptr || completion == nullptr) {
        return -1;
    }
    int32_t count = 0;
    for (const BiosRow &row : bios_table) {
        if (row.head_group == request[0] && count < most_items) {
            names[count++] = row.name;
        }
    }
    return count > 0 ? count : fail(completion, BIOS_COMPLETION_UNKNOWN);
}

int32_t BIOSInfoHandleFlagDefault(const uint8_t *request, const char **name, void *, void *,
                                  uint8_t *completion) {
    if (request == nullptr || name == nullptr || completion == nullptr) {
        return -1;
    }
    for (const BiosRow &row : bios_table) {
        if (row.head_group != request[0] || row.head_item != request[1]) {
            continue;
        }
        if (is_placeholder(row)) {
            return fail(completion, BIOS_COMPLETION_PLACEHOLDER);
        }
        *name = row.name;
        return 1;
    }
    return fail(completion, BIOS_COMPLETION_UNKNOWN);
}

int32_t BIOSInfoHandleFlag1(const uint8_t *request, const char **name, void *, void *b,
                            uint8_t *completion) {
    if (request == nullptr || name == nullptr || b == nullptr || completion == nullptr) {
        return -1;
    }
    auto *text = static_cast<char *>(b);
    std::memset(text, 0, text_size);
    const uint8_t value = request[2];
    for (const BiosRow &row : bios_table) {
        if (row.group != request[0] || row.item != request[1]) {
            continue;
        }
        // A placeholder ends the search, also in the middle of an item's values.
        if (is_placeholder(row)) {
            return fail(completion, BIOS_COMPLETION_PLACEHOLDER);
        }
        if (is_numeric(row)) {
            if (value < row.minimum || value > row.maximum) {
                return fail(completion, BIOS_COMPLETION_UNKNOWN);
            }
            *name = row.name;
            std::snprintf(text, text_size, "%d", value);
            return 0;
        }
        if (row.code == value) {
            *name = row.name;
            std::memcpy(text, row.text, text_size);
            return 0;
        }
    }
    return fail(completion, BIOS_COMPLETION_UNKNOWN);
}

int32_t BIOSInfoHandleFlag2(const uint8_t *, const char **, void *a, void *b, uint8_t *completion) {
    if (a == nullptr || b == nullptr || completion == nullptr) {
        return -1;
    }
    const auto *wanted = static_cast<const char *>(a);
    // The caller's text may fill its 32 bytes.
    char text[text_size + 1] = {};
    std::memcpy(text, b, strnlen(static_cast<const char *>(b), text_size));
    if (bf::board::bios_no_text == text) {
        return bf::board::bios_no_code;
    }
    for (const BiosRow &row : bios_table) {
        if (std::strncmp(wanted, row.name, strnlen(row.name, sizeof(row.name))) != 0) {
            continue;
        }
        if (row.head_group == bf::board::bios_number_group &&
            row.head_item < bf::board::bios_number_items_end) {
            return is_number(text) ? 0 : -1;
        }
        if (std::strcmp(text, row.text) == 0) {
            return row.code;
        }
    }
    return fail(completion, BIOS_COMPLETION_UNKNOWN);
}

int32_t BIOSInfoHandle(uint32_t mode, const uint8_t *request, const char **name, void *a, void *b,
                       uint8_t *completion) {
    if (mode == BIOS_TEXT_TO_VALUE) {
        return BIOSInfoHandleFlag2(request, name, a, b, completion);
    }
    if (mode == BIOS_VALUE_TO_TEXT) {
        return BIOSInfoHandleFlag1(request, name, a, b, completion);
    }
    if (mode == BIOS_FIND && request != nullptr && request[1] == BIOS_WHOLE_GROUP) {
        return BIOSInfoHandleFlag0(request, name, a, b, completion);
    }
    return BIOSInfoHandleFlagDefault(request, name, a, b, completion);
}

int32_t compareConfigItems(const char *name_a, const char *name_b, const char *value_a,
                           const char *value_b) {
    if (name_a == nullptr || name_b == nullptr || value_a == nullptr || value_b == nullptr) {
        return 0;
    }
    return std::strcmp(name_a, name_b) == 0 && std::strcmp(value_a, value_b) == 0;
}

}  // extern "C"
