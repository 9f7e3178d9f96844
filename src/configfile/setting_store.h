// How the settings of setting_table.h are loaded and saved: lock, load the file, get or set the
// described keys, save, close, unlock.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>

#include "base/ini.h"
#include "base/lock.h"
#include "configfile/setting_table.h"

namespace bf::config {

// The source name that all messages of the settings carry.
inline constexpr char log_source[] = "vel_ipmi_configfile";

// Whose settings are meant: what the caller knows and a row does not.
struct Place {
    const char *function;           // the exported function, for messages
    const char *path = nullptr;     // a file in place of the row's
    const char *section = nullptr;  // for rows whose section the caller names
    int32_t section_number = 0;     // for the conversions in a row's section and key
    int32_t key_numbers[6] = {};
};

// A value to store: a number or a text, as the row wants it.
struct Value {
    constexpr Value() = default;
    constexpr Value(uint32_t value) : number(value) {}
    constexpr Value(const char *value) : text(value), is_text(true) {}
    uint32_t number = 0;
    const char *text = nullptr;
    bool is_text = false;
};

// A row's section and key with the caller's numbers in them.
class Names {
public:
    Names(const Setting &row, const Place &place);
    const char *section() const { return section_; }
    const char *key() const { return key_; }

private:
    char formatted_section_[40];
    char key_[96];
    const char *section_;
};

// The message of a lock that cannot be taken, and of one that cannot be given back.
void report_lock_failure(int line);

// The lock between processes, given back when this ends. Key 0 stands for no lock at all.
class FileLock {
public:
    explicit FileLock(uint16_t key);
    ~FileLock();
    FileLock(const FileLock &) = delete;
    FileLock &operator=(const FileLock &) = delete;
    bool held() const { return held_; }

private:
    bool held_ = true;
    std::optional<KeyLock> lock_;
};

enum class Locking : uint8_t { as_described, none };

enum class Loaded : uint8_t {
    taken,   // the caller's value was written
    kept,    // the row's rule leaves the caller's value as it is
    failed,  // the platform could not read it
};

// A file that is locked as its row says and loaded; closed and unlocked when this ends.
class SettingsFile {
public:
    explicit SettingsFile(const File &file, const char *path = nullptr,
                          Locking locking = Locking::as_described);

    const char *path() const { return path_; }
    bool locked() const { return lock_.held(); }
    explicit operator bool() const { return static_cast<bool>(ini_); }

    Loaded load(const Setting &row, const Place &place, void *out) const {
        return load(row, place, out, row.fallback);
    }
    Loaded load(const Setting &row, const Place &place, void *out, uint32_t fallback) const;
    bool store(const Setting &row, const Place &place, const Value &value) const;
    // What is not there is as good as deleted.
    void erase(const Setting &row, const Place &place) const;
    void erase_section(const Setting &row, const Place &place) const;
    int32_t save() const { return IniSaveFile(ini_.get(), path_) == 0 ? 0 : -1; }

private:
    const char *path_;
    FileLock lock_;  // before the handle, so that the file is closed while the lock is held
    IniFile ini_;
};

// The message for a file that gives no handle, unless a function has one of its own.
// A lock that was not to be had has been reported already.
void report_unloaded(const SettingsFile &file, const char *function);

// Whole functions: rows of one file, and as many outputs or values in the order of the rows.
// 0, or -1: a null, no lock, not loaded, not stored or not saved.
int32_t load_settings(std::span<const Setting> rows, const Place &place,
                      std::span<void *const> outs, Locking locking = Locking::as_described);
int32_t save_settings(std::span<const Setting> rows, const Place &place,
                      std::span<const Value> values);

inline int32_t load_settings(std::span<const Setting> rows, const Place &place,
                             std::initializer_list<void *> outs,
                             Locking locking = Locking::as_described) {
    return load_settings(rows, place, std::span(outs.begin(), outs.size()), locking);
}
inline int32_t save_settings(std::span<const Setting> rows, const Place &place,
                             std::initializer_list<Value> values) {
    return save_settings(rows, place, std::span(values.begin(), values.size()));
}

}  // namespace bf::config
