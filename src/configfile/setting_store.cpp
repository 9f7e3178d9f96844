#include "configfile/setting_store.h"

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "base/log.h"

namespace bf::config {

namespace {

constexpr uint32_t lock_wait_ms = 2000;
constexpr std::size_t longest_text = 1024;

// A row's own name is the format: it comes from a constant table, and a name without conversions
// ignores the numbers.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
template <std::size_t N, std::size_t M>
void format_name(char (&out)[N], const char (&format)[M], const int32_t (&n)[6]) {
    std::snprintf(out, N, format, n[0], n[1], n[2], n[3], n[4], n[5]);
}
#pragma GCC diagnostic pop

uint32_t stored_number(IniHandle ini, const Setting &row, const Names &names, uint32_t fallback) {
    switch (row.kind) {
        case Kind::signed_number:
            return static_cast<uint32_t>(
                IniGetSInt(ini, names.section(), names.key(), static_cast<int32_t>(fallback)));
        case Kind::small_number:
            return IniGetChar(ini, names.section(), names.key(), static_cast<uint8_t>(fallback));
        default:
            return IniGetUInt(ini, names.section(), names.key(), fallback);
    }
}

int store_number(IniHandle ini, const Setting &row, const Names &names, uint32_t value) {
    switch (row.kind) {
        case Kind::signed_number:
            return IniSetSInt(ini, names.section(), names.key(), static_cast<int32_t>(value));
        case Kind::small_number:
            return IniSetChar(ini, names.section(), names.key(), static_cast<uint8_t>(value));
        default:
            return IniSetUInt(ini, names.section(), names.key(), value);
    }
}

bool is_kept_out(Rule rule, uint32_t value) {
    switch (rule) {
        case Rule::byte_below_255:
            return value >= 255;
        case Rule::byte_below_256:
            return value >= 256;
        case Rule::low_byte_below_255:
            return (value & 0xFFu) == 255;
        default:
            return false;
    }
}

void write_number(void *out, const Setting &row, uint32_t value) {
    if (row.size == 1) {
        *static_cast<uint8_t *>(out) = static_cast<uint8_t>(value);
    } else {
        std::memcpy(out, &value, sizeof(value));
    }
}

Loaded load_text(IniHandle ini, const Setting &row, const Names &names, char *out) {
    char text[longest_text] = "";
    if (IniGetStr(ini, names.section(), names.key(), row.text, text, row.size) < 0) {
        return Loaded::failed;
    }
    const std::size_t length = strnlen(text, row.size - 1u);
    std::memcpy(out, text, length);
    out[length] = '\0';
    return Loaded::taken;
}

bool store_text(IniHandle ini, const Setting &row, const Names &names, const char *value) {
    char text[longest_text];
    const std::size_t length = strnlen(value, row.size - 1u);
    std::memcpy(text, value, length);
    text[length] = '\0';
    return IniSetStr(ini, names.section(), names.key(), text) >= 0;
}

}  // namespace

Names::Names(const Setting &row, const Place &place) {
    const int32_t section_numbers[6] = {place.section_number};
    format_name(formatted_section_, row.section, section_numbers);
    format_name(key_, row.key, place.key_numbers);
    section_ = place.section != nullptr ? place.section : formatted_section_;
}

void report_lock_failure(int line) {
    IDBG_LINUXAPP_DbgOut(level_debug, "[%s:%d]sem lock failed, line=%d\n", log_source, line, line);
}

FileLock::FileLock(uint16_t key) {
    if (key == 0) {
        return;
    }
    lock_.emplace(key, lock_wait_ms, KeyLock::Semaphore::create);
    held_ = static_cast<bool>(*lock_);
    if (lock_->failed_step() == KeyLock::Step::create) {
        const int line = __LINE__;
        IDBG_LINUXAPP_DbgOut(level_debug, "[%s:%d]sem create failed, line=%d\n", log_source, line,
                             line);
    } else if (!held_) {
        report_lock_failure(__LINE__);
    }
}

FileLock::~FileLock() {
    if (lock_ && lock_->release() != OAL_OK) {
        report_lock_failure(__LINE__);
    }
}

SettingsFile::SettingsFile(const File &file, const char *path, Locking locking)
    : path_(path != nullptr ? path : file.path),
      lock_(locking == Locking::none ? uint16_t{0} : file.lock_key),
      ini_(!lock_.held()     ? nullptr
           : file.must_exist ? IniLoadFile(path_)
                             : VEL_IniLoadFile(path_)) {}

Loaded SettingsFile::load(const Setting &row, const Place &place, void *out,
                          uint32_t fallback) const {
    const Names names(row, place);
    if (row.kind == Kind::text) {
        return load_text(ini_.get(), row, names, static_cast<char *>(out));
    }
    const uint32_t value = stored_number(ini_.get(), row, names, fallback);
    if (is_kept_out(row.rule, value)) {
        return Loaded::kept;
    }
    write_number(out, row, value);
    return Loaded::taken;
}

bool SettingsFile::store(const Setting &row, const Place &place, const Value &value) const {
    const Names names(row, place);
    if (row.kind == Kind::text) {
        return store_text(ini_.get(), row, names, value.text);
    }
    return store_number(ini_.get(), row, names, value.number) >= 0;
}

void SettingsFile::erase(const Setting &row, const Place &place) const {
    const Names names(row, place);
    IniDelEntry(ini_.get(), names.section(), names.key());
}

void SettingsFile::erase_section(const Setting &row, const Place &place) const {
    IniDelSection(ini_.get(), Names(row, place).section());
}

void report_unloaded(const SettingsFile &file, const char *function) {
    if (file.locked()) {
        IDBG_LINUXAPP_DbgOut(level_debug, "[%s:%d]%s failed! %s is NULL!\n", log_source, __LINE__,
                             function, file.path());
    }
}

int32_t load_settings(std::span<const Setting> rows, const Place &place,
                      std::span<void *const> outs, Locking locking) {
    for (const void *out : outs) {
        if (out == nullptr) {
            return -1;
        }
    }
    const SettingsFile file(file_of(rows.front().file), place.path, locking);
    if (!file) {
        report_unloaded(file, place.function);
        return -1;
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (file.load(rows[i], place, outs[i]) == Loaded::failed) {
            return -1;
        }
    }
    return 0;
}

int32_t save_settings(std::span<const Setting> rows, const Place &place,
                      std::span<const Value> values) {
    for (const Value &value : values) {
        if (value.is_text && value.text == nullptr) {
            return -1;
        }
    }
    const SettingsFile file(file_of(rows.front().file), place.path);
    if (!file) {
        report_unloaded(file, place.function);
        return -1;
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (!file.store(rows[i], place, values[i])) {
            return -1;
        }
    }
    return file.save();
}

}  // namespace bf::config
