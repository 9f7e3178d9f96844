// BIOS setup options in every mode with arbitrary requests and texts. What a code is translated to
// is translated back to that code, a number to 0.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "boardfeatures/bios.h"

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

constexpr size_t text_size = 32;
constexpr uint8_t untouched = 0xA5;

bool is_completion(uint8_t completion) {
    return completion == BIOS_COMPLETION_PLACEHOLDER || completion == BIOS_COMPLETION_UNKNOWN;
}

void ask_by_number(uint32_t mode, const uint8_t request[3]) {
    const char *names[BIOS_ROWS + 1] = {};
    char text[text_size + 1];
    std::memset(text, untouched, sizeof(text));
    uint8_t completion = untouched;
    const int32_t result = BIOSInfoHandle(mode, request, names, nullptr, text, &completion);
    require(names[BIOS_ROWS] == nullptr);
    require(static_cast<uint8_t>(text[text_size]) == untouched);
    if (result < 0) {
        require(result == -1 && is_completion(completion) && names[0] == nullptr);
        require(mode != BIOS_VALUE_TO_TEXT || text[0] == '\0');
        return;
    }
    require(completion == untouched && names[0] != nullptr);
    if (mode != BIOS_VALUE_TO_TEXT) {
        require(result >= 1 && result <= BIOS_ROWS && names[result] == nullptr);
        return;
    }
    require(result == 0 && std::memchr(text, '\0', text_size) != nullptr);
    char name[text_size] = {};
    std::strncpy(name, names[0], sizeof(name) - 1);
    const int32_t code =
        BIOSInfoHandle(BIOS_TEXT_TO_VALUE, request, names, name, text, &completion);
    const bool is_number = text == std::to_string(request[2]) && code == 0;
    require(code == request[2] || is_number);
}

}  // namespace

// The mode, the request, and two texts that may fill their fields.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 4) {
        return 0;
    }
    const uint32_t mode = data[0] % 4;
    if (mode != BIOS_TEXT_TO_VALUE) {
        ask_by_number(mode, data + 1);
        return 0;
    }
    // Exactly as large as a caller's, so that reading on would show.
    auto *name = static_cast<char *>(std::calloc(1, text_size));
    auto *text = static_cast<char *>(std::calloc(1, text_size));
    const size_t rest = size - 4;
    const size_t half = std::min(rest / 2, text_size);
    std::memcpy(name, data + 4, half);
    std::memcpy(text, data + 4 + rest / 2, std::min(rest - rest / 2, text_size));
    uint8_t completion = untouched;
    const char *unused = nullptr;
    const int32_t result = BIOSInfoHandle(mode, data + 1, &unused, name, text, &completion);
    require(result >= -1 && result <= 255 && unused == nullptr);
    require(completion == untouched || (result == -1 && completion == BIOS_COMPLETION_UNKNOWN));
    std::free(name);
    std::free(text);
    return 0;
}
