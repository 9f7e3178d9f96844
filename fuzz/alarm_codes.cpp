// The text of the disabled alarm codes, added to, removed from and reloaded. The input's first byte
// chooses what is done, the next two are the code; the rest is the text as the file holds it.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "boardfeatures/config.h"

namespace {

std::string text;                  // what the file holds
std::optional<std::string> saved;  // what is set
int flag;
int dummy;

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

using Codes = std::vector<uint16_t>;

uint16_t number(std::string token) {
    token.resize(std::min<size_t>(token.size(), 5));
    return static_cast<uint16_t>(std::atoi(token.c_str()));
}

// A second reading of the text.
Codes codes_of(const std::string &codes) {
    Codes list;
    size_t at = 0;
    while ((at = codes.find_first_not_of(' ', at)) != codes.npos) {
        const size_t end = std::min(codes.find(' ', at), codes.size());
        list.push_back(number(codes.substr(at, end - at)));
        at = end;
    }
    return list;
}

Codes process_copy(size_t length) { return {g_AlarmDisbleCode, g_AlarmDisbleCode + length}; }

}  // namespace

extern "C" {

IniHandle VEL_IniLoadFile(const char *) { return &dummy; }
IniHandle IniLoadFile(const char *) { return nullptr; }
void IniCloseFile(IniHandle) {}
int IniSaveFile(IniHandle, const char *) { return 0; }
int IniGetStr(IniHandle, const char *, const char *, const char *, char *out, uint32_t size) {
    return strncpy_s(out, size, text.c_str(), text.size());
}
int IniSetStr(IniHandle, const char *, const char *, const char *value) {
    saved = value;
    return 0;
}
int32_t IniGetSInt(IniHandle, const char *, const char *, int32_t) { return flag; }
int IniSetSInt(IniHandle, const char *, const char *, int32_t value) {
    flag = value;
    return 0;
}

int LLVMFuzzerInitialize(int *, char ***) {
    require(VEL_CreateAlarmDisableCodeInfoShmAddr() == 0);
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 3) {
        return 0;
    }
    const uint16_t code = static_cast<uint16_t>(data[1] | data[2] << 8);
    text.assign(reinterpret_cast<const char *>(data) + 3, size - 3);
    text = text.substr(0, std::min<size_t>(text.find('\0'), 1023));
    saved.reset();
    flag = 0;
    std::memset(g_AlarmDisbleCode, 0, sizeof(g_AlarmDisbleCode));
    Codes expected = codes_of(text);

    switch (data[0] % 3) {
        case 0: {  // add
            require(IPMI_SaveAlarmReportDisable(code, 1) == 0);
            if (text.starts_with(' ')) {
                expected = {code};
            } else {
                expected.resize(std::min<size_t>(expected.size(), 128));
                if (std::find(expected.begin(), expected.end(), code) == expected.end() &&
                    expected.size() < 128) {
                    expected.push_back(code);
                }
            }
            break;
        }
        case 1: {  // remove
            require(IPMI_SaveAlarmReportDisable(code, 0) == 0);
            std::erase(expected, code);
            expected.resize(std::min<size_t>(expected.size(), 128));
            break;
        }
        default: {  // reload
            require(IPMI_LoadAlarmReportDisable() == 0);
            require(!saved);
            if (text == " ") {
                expected.clear();
            }
            expected.resize(std::min<size_t>(expected.size(), 128));
            break;
        }
    }
    const size_t used = expected.size();
    require(process_copy(used) == expected);
    for (size_t i = used; i < 128; ++i) {
        require(g_AlarmDisbleCode[i] == 0);
    }
    if (saved) {
        std::erase(expected, 0);
        require(codes_of(*saved) == expected);
    }
    if (data[0] % 3 != 2 || text != " ") {
        AlarmDisableCodeInfo list;
        require(GetAlarmDisableCodeInfo(&list) == 0);
        require(std::memcmp(list.AlarmDisbleCode, g_AlarmDisbleCode, sizeof(list)) == 0);
    }
    return 0;
}

}  // extern "C"
