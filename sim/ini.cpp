// The contract's configuration files: SimpleIni for the format, a temporary file, fsync and rename
// for a save that is whole or not there, and quotes around the texts that the format would change.
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#define SI_NO_CONVERSION
#include <SimpleIni.h>

#include "access.h"
#include "boardplatform/platform.h"

using boardsim::Call;
using boardsim::software_call;

namespace {

constexpr int failed = -1;

using Ini = CSimpleIniCaseA;

Ini *ini_of(IniHandle handle) { return static_cast<Ini *>(handle); }

std::unique_ptr<Ini> new_ini() {
    auto ini = std::make_unique<Ini>(/*utf8*/ true, /*multi key*/ false, /*multi line*/ true);
    ini->SetSpaces(false);
    return ini;
}

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

bool is_quoted(std::string_view text) {
    return text.size() >= 2 && text.front() == '"' && text.back() == '"';
}

// The format trims blanks around a value and takes "<<<" for the start of a longer text; outer
// quotes keep both, and keep quotes that are part of the text.
bool needs_quotes(std::string_view text) {
    if (text.empty() || text.find('\n') != text.npos) {
        return false;
    }
    return is_blank(text.front()) || is_blank(text.back()) || is_quoted(text) ||
           text.starts_with("<<<");
}

// Calls `change` for each value of the file; what it returns takes the value's place.
template <typename Change>
void change_values(Ini &ini, Change change) {
    Ini::TNamesDepend sections;
    ini.GetAllSections(sections);
    for (const auto &section : sections) {
        Ini::TNamesDepend keys;
        ini.GetAllKeys(section.pItem, keys);
        for (const auto &key : keys) {
            const std::string_view text = ini.GetValue(section.pItem, key.pItem, "");
            const std::string changed = change(text);
            if (changed != text) {
                ini.SetValue(section.pItem, key.pItem, changed.c_str());
            }
        }
    }
}

void unquote(Ini &ini) {
    change_values(ini, [](std::string_view text) {
        return std::string(is_quoted(text) ? text.substr(1, text.size() - 2) : text);
    });
}

std::string file_text(const Ini &ini) {
    const auto copy = new_ini();
    std::string text;
    if (ini.Save(text) < 0 || copy->LoadData(text) < 0) {
        return {};
    }
    // The copy is for its structure; the values come from the original, which knows their blanks.
    Ini::TNamesDepend sections;
    ini.GetAllSections(sections);
    for (const auto &section : sections) {
        Ini::TNamesDepend keys;
        ini.GetAllKeys(section.pItem, keys);
        for (const auto &key : keys) {
            std::string value = ini.GetValue(section.pItem, key.pItem, "");
            if (needs_quotes(value)) {
                value.insert(value.begin(), '"');
                value += '"';
            }
            copy->SetValue(section.pItem, key.pItem, value.c_str());
        }
    }
    text.clear();
    copy->Save(text);
    return text;
}

// As the process's effective user, which is who opens files.
bool may(const char *path, int mode) { return faccessat(AT_FDCWD, path, mode, AT_EACCESS) == 0; }

IniHandle load(const char *path) {
    auto ini = new_ini();
    if (ini->LoadFile(path) < 0) {
        return nullptr;
    }
    unquote(*ini);
    return ini.release();
}

std::string folder_of(const std::string &path) {
    const size_t slash = path.rfind('/');
    return slash == path.npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

bool write_whole(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        text.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

// The old file stays until the new one is on the disk.
bool replace_file(const std::string &path, std::string_view text) {
    std::string temporary = path + ".XXXXXX";
    const int file = mkstemp(temporary.data());
    if (file < 0) {
        return false;
    }
    const bool written = write_whole(file, text) && fchmod(file, 0644) == 0 && fsync(file) == 0;
    if (close(file) != 0 || !written || rename(temporary.c_str(), path.c_str()) != 0) {
        unlink(temporary.c_str());
        return false;
    }
    const int folder = open(folder_of(path).c_str(), O_RDONLY | O_DIRECTORY);
    if (folder >= 0) {
        fsync(folder);
        close(folder);
    }
    return true;
}

// A call that stores a text, as it is counted and as it may fail by a fault.
int set_text(Call call, IniHandle handle, const char *section, const char *key, const char *value) {
    if (const int failure = software_call(call); failure != 0) {
        return failure;
    }
    if (handle == nullptr || section == nullptr || key == nullptr || value == nullptr) {
        return failed;
    }
    // The format takes a carriage return for a line's end: refused rather than kept as another
    // text.
    if (std::strchr(value, '\r') != nullptr) {
        return failed;
    }
    return ini_of(handle)->SetValue(section, key, value) < 0 ? failed : 0;
}

const char *find_text(IniHandle handle, const char *section, const char *key) {
    if (handle == nullptr || section == nullptr || key == nullptr) {
        return nullptr;
    }
    return ini_of(handle)->GetValue(section, key, nullptr);
}

// A call that answers a stored number, decimal or 0x…; the fallback when it is none or does not
// fit.
template <typename Number>
Number get_number(Call call, IniHandle handle, const char *section, const char *key,
                  Number fallback) {
    if (software_call(call) != 0) {
        return fallback;
    }
    const char *stored = find_text(handle, section, key);
    if (stored == nullptr) {
        return fallback;
    }
    std::string_view text = stored;
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
        base = 16;
    }
    Number number = fallback;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return error == std::errc() && end == text.data() + text.size() ? number : fallback;
}

int copy_text(char *out, uint32_t size, const char *text) {
    const size_t length = strnlen(text, size - 1);
    std::memcpy(out, text, length);
    out[length] = '\0';
    return 0;
}

}  // namespace

extern "C" {

IniHandle IniLoadFile(const char *path) {
    if (software_call(Call::IniLoadFile) != 0) {
        return nullptr;
    }
    if (path == nullptr || !may(path, R_OK)) {
        return nullptr;
    }
    return load(path);
}

IniHandle VEL_IniLoadFile(const char *path) {
    if (software_call(Call::VEL_IniLoadFile) != 0) {
        return nullptr;
    }
    if (path == nullptr) {
        return nullptr;
    }
    if (may(path, F_OK)) {
        return load(path);
    }
    if (!may(folder_of(path).c_str(), W_OK | X_OK)) {
        return nullptr;
    }
    return new_ini().release();
}

int IniSaveFile(IniHandle handle, const char *path) {
    if (const int failure = software_call(Call::IniSaveFile); failure != 0) {
        return failure;
    }
    if (handle == nullptr || path == nullptr) {
        return failed;
    }
    return replace_file(path, file_text(*ini_of(handle))) ? 0 : failed;
}

void IniCloseFile(IniHandle handle) {
    software_call(Call::IniCloseFile);
    delete ini_of(handle);
}

int IniGetStr(IniHandle handle, const char *section, const char *key, const char *fallback,
              char *out, uint32_t size) {
    if (const int failure = software_call(Call::IniGetStr); failure != 0) {
        return failure;
    }
    if (handle == nullptr || out == nullptr || size == 0) {
        return failed;
    }
    const char *text = find_text(handle, section, key);
    if (text == nullptr) {
        text = fallback;
    }
    return copy_text(out, size, text == nullptr ? "" : text);
}

int IniSetStr(IniHandle handle, const char *section, const char *key, const char *value) {
    return set_text(Call::IniSetStr, handle, section, key, value);
}

uint32_t IniGetUInt(IniHandle handle, const char *section, const char *key, uint32_t fallback) {
    return get_number(Call::IniGetUInt, handle, section, key, fallback);
}
int IniSetUInt(IniHandle handle, const char *section, const char *key, uint32_t value) {
    return set_text(Call::IniSetUInt, handle, section, key, std::to_string(value).c_str());
}

int32_t IniGetSInt(IniHandle handle, const char *section, const char *key, int32_t fallback) {
    return get_number(Call::IniGetSInt, handle, section, key, fallback);
}
int IniSetSInt(IniHandle handle, const char *section, const char *key, int32_t value) {
    return set_text(Call::IniSetSInt, handle, section, key, std::to_string(value).c_str());
}

uint8_t IniGetChar(IniHandle handle, const char *section, const char *key, uint8_t fallback) {
    return get_number(Call::IniGetChar, handle, section, key, fallback);
}
int IniSetChar(IniHandle handle, const char *section, const char *key, uint8_t value) {
    return set_text(Call::IniSetChar, handle, section, key, std::to_string(value).c_str());
}

int IniDelEntry(IniHandle handle, const char *section, const char *key) {
    if (const int failure = software_call(Call::IniDelEntry); failure != 0) {
        return failure;
    }
    if (handle == nullptr || section == nullptr || key == nullptr) {
        return failed;
    }
    return ini_of(handle)->Delete(section, key, true) ? 0 : failed;
}

int IniDelSection(IniHandle handle, const char *section) {
    if (const int failure = software_call(Call::IniDelSection); failure != 0) {
        return failure;
    }
    if (handle == nullptr || section == nullptr) {
        return failed;
    }
    return ini_of(handle)->Delete(section, nullptr) ? 0 : failed;
}

}  // extern "C"
