// The settings that are kept in files, one row each.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "format.h"
#include "ini_text.h"

namespace boardctl {

// The values of a record in the order of its fields: numbers or texts.
using Values = std::vector<Json>;

// One setting: its name on the command line and its entry in the file.
struct Field {
    std::string name;  // "{}" stands for what the user or the file names: a sensor, a fan tray
    std::string section;
    std::string key;
    Json fallback;  // of a missing entry; null: whoever asks brings one
    int64_t smallest = 0;
    int64_t largest = 0;  // of a number; the most characters of a text
    std::string unit = {};
    bool writable = true;
    std::vector<std::pair<std::string, uint32_t>> words = {};  // names of numbers

    bool is_text() const { return fallback.is_string(); }
};

// The settings that one pair of the library's functions loads and saves. `instance` is what stands
// for "{}"; `values` holds the fallbacks before a load.
struct Record {
    std::string file;
    bool must_exist;  // otherwise the first save creates it
    bool (*load)(const std::string &instance, Values &values);
    bool (*save)(const std::string &instance, const Values &values);  // null: not the library's
    bool (*erase)(const std::string &instance);                       // null: cannot be deleted
    std::vector<Field> fields;
};

const std::vector<Record> &all_settings();

// A row as a document shows it: name, file, section, key, value, default, source, unit, stored,
// file_exists, writable. `problem` tells when the library cannot load it although there is a file.
std::vector<Json> setting_rows(const Record &record, const std::string &instance,
                               std::optional<std::string> &problem);

// What stands for "{}" in a record's settings in its file; one empty name without "{}".
std::vector<std::string> instances(const Record &record);

// A setting by the name that a user gives.
struct Chosen {
    const Record *record;
    std::size_t place;  // of the field
    std::string instance;

    const Field &field() const { return record->fields[place]; }
};
std::optional<Chosen> find_setting(const std::string &name);

// The value that a user's text means; nothing when it means none that the setting can have.
std::optional<Json> value_of(const Field &field, const std::string &text);
// What the setting takes, for people.
std::string range_text(const Field &field);

}  // namespace boardctl
