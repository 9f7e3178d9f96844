// config: the settings that are kept in files.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "command.h"
#include "settings.h"

namespace boardctl {

namespace {

void append_rows(Session &session, const Record &record, const std::string &instance, Json &rows) {
    std::optional<std::string> problem;
    for (Json &row : setting_rows(record, instance, problem)) {
        rows.push_back(std::move(row));
    }
    if (problem) {
        session.fail(*problem);
    }
}

Json config(Session &session) {
    Json rows = Json::array();
    for (const Record &record : all_settings()) {
        for (const std::string &instance : instances(record)) {
            append_rows(session, record, instance, rows);
        }
    }
    return {{"settings", std::move(rows)}};
}

std::string value_and_unit(const Json &row) {
    const bool unit = !row["value"].is_null() && !row["unit"].is_null();
    return value_text(row["value"]) + (unit ? " " + value_text(row["unit"]) : "");
}

// A row without a file says so where the source would stand.
Json source_of(const Json &row) {
    return row["source"].is_null() && row["file_exists"] == false ? Json("no file") : row["source"];
}

void show_config(Page &page, const Json &document) {
    page.heading("Settings");
    page.table(document["settings"], {{"Name", "/name"},
                                      {"Value", "", value_and_unit},
                                      {"Default", "/default"},
                                      {"From", "", source_of},
                                      {"Can be set", "/writable"},
                                      {"File", "/file"}});
}

Chosen chosen(const std::string &name) {
    const auto found = find_setting(name);
    if (!found) {
        throw Stopped(status_usage, fmt::format("there is no setting \"{}\": see boardctl config",
                                                printable(name)));
    }
    return *found;
}

// ---- get ----

Json get(Session &session, const std::string &name) {
    const Chosen choice = chosen(name);
    std::optional<std::string> problem;
    Json row = setting_rows(*choice.record, choice.instance, problem)[choice.place];
    if (problem) {
        session.fail(*problem);
    } else if (row["value"].is_null()) {
        session.fail(
            row["file_exists"] == true
                ? fmt::format("{} has no value in {}", name, choice.record->file)
                : fmt::format("{} has no value: there is no {}", name, choice.record->file));
    }
    return row;
}

void show_setting(Page &page, const Json &row) {
    page.fields(row, {{"Value", "", value_and_unit},
                      {"Default", "/default"},
                      {"From", "", source_of},
                      {"File", "/file"},
                      {"Section", "/section"},
                      {"Key", "/key"},
                      {"Stored text", "/stored"},
                      {"Can be set", "/writable"}});
}

void add_get(Cli &cli, CLI::App &parent) {
    const auto name = std::make_shared<std::string>();
    CLI::App &command = cli.add({.name = "get",
                                 .title = "",
                                 .summary = "One setting",
                                 .run = [name](Session &session) { return get(session, *name); },
                                 .show = show_setting,
                                 .in_report = false},
                                &parent);
    command.add_option("name", *name, "the setting")->required()->type_name("NAME");
}

// ---- set ----

// The new values of one record.
struct Change {
    Chosen first;
    std::vector<std::optional<Json>> values;
};

std::vector<Change> changes_of(const std::vector<std::string> &assignments) {
    std::vector<Change> changes;
    for (const std::string &assignment : assignments) {
        const std::size_t equal = assignment.find('=');
        if (equal == assignment.npos) {
            throw Stopped(status_usage,
                          fmt::format("\"{}\" is not NAME=VALUE", printable(assignment)));
        }
        const std::string name = assignment.substr(0, equal);
        const Chosen choice = chosen(name);
        if (!choice.field().writable) {
            throw Stopped(status_usage, fmt::format("{} cannot be set", name));
        }
        auto value = value_of(choice.field(), assignment.substr(equal + 1));
        if (!value) {
            throw Stopped(status_usage,
                          fmt::format("{} takes {}", name, range_text(choice.field())));
        }
        auto change = std::find_if(changes.begin(), changes.end(), [&](const Change &each) {
            return each.first.record == choice.record && each.first.instance == choice.instance;
        });
        if (change == changes.end()) {
            changes.push_back(
                {choice, std::vector<std::optional<Json>>(choice.record->fields.size())});
            change = std::prev(changes.end());
        }
        change->values[choice.place] = std::move(value);
    }
    return changes;
}

// The values that the library saves together with those that are changed.
Values whole_record(const Change &change) {
    const Record &record = *change.first.record;
    Values values;
    std::optional<std::string> problem;
    const auto given = [](const auto &value) { return value.has_value(); };
    if (std::all_of(change.values.begin(), change.values.end(), given)) {
        for (const auto &value : change.values) {
            values.push_back(*value);
        }
        return values;
    }
    const std::vector<Json> rows = setting_rows(record, change.first.instance, problem);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Field &field = record.fields[i];
        if (change.values[i]) {
            values.push_back(*change.values[i]);
        } else if (!field.writable) {
            values.push_back(field.fallback);  // follows from the others
        } else if (rows[i]["value"].is_null() && field.fallback.is_null()) {
            throw Stopped(status_usage,
                          fmt::format("{} has no value yet: set it as well, all of a sensor's are "
                                      "saved together",
                                      rows[i]["name"].get<std::string>()));
        } else {
            values.push_back(rows[i]["value"].is_null() ? field.fallback : rows[i]["value"]);
        }
    }
    return values;
}

Json set(Session &session, const std::vector<std::string> &assignments) {
    const std::vector<Change> changes = changes_of(assignments);
    std::vector<Values> records;
    std::transform(changes.begin(), changes.end(), std::back_inserter(records), whole_record);
    Json rows = Json::array();
    for (std::size_t i = 0; i < changes.size(); ++i) {
        const Record &record = *changes[i].first.record;
        const std::string &instance = changes[i].first.instance;
        if (!record.save(instance, records[i])) {
            const bool needs_file = record.must_exist && IniText::missing(record.file);
            session.fail(fmt::format("{} cannot be saved{}", record.file,
                                     needs_file ? ": it does not exist, and a save does not "
                                                  "create it"
                                                : ""));
        }
        std::optional<std::string> problem;
        const std::vector<Json> now = setting_rows(record, instance, problem);
        for (std::size_t field = 0; field < now.size(); ++field) {
            if (changes[i].values[field]) {
                rows.push_back(now[field]);
            }
        }
    }
    return {{"settings", std::move(rows)}};
}

void add_set(Cli &cli, CLI::App &parent) {
    const auto assignments = std::make_shared<std::vector<std::string>>();
    CLI::App &command =
        cli.add({.name = "set",
                 .title = "",
                 .summary = "Store settings",
                 .run = [assignments](Session &session) { return set(session, *assignments); },
                 .show =
                     [](Page &page, const Json &document) {
                         page.table(document["settings"], {{"Name", "/name"},
                                                           {"Value", "", value_and_unit},
                                                           {"From", "", source_of},
                                                           {"File", "/file"}});
                     },
                 .in_report = false},
                &parent);
    command.add_option("settings", *assignments, "names and their new values")
        ->required()
        ->type_name("NAME=VALUE");
}

// ---- delete ----

Json erase(Session &session, const std::string &name) {
    const Chosen choice = chosen(name);
    if (choice.record->erase == nullptr) {
        throw Stopped(status_usage, fmt::format("{} cannot be deleted", name));
    }
    Json names = Json::array();
    std::optional<std::string> problem;
    for (const Json &row : setting_rows(*choice.record, choice.instance, problem)) {
        names.push_back(row["name"]);
    }
    session.confirm(fmt::format("Delete {} in {}?", value_text(names), choice.record->file));
    if (!choice.record->erase(choice.instance)) {
        session.fail(fmt::format("{} cannot be saved", choice.record->file));
        names = Json::array();
    }
    return {{"deleted", std::move(names)}};
}

void add_delete(Cli &cli, CLI::App &parent) {
    const auto name = std::make_shared<std::string>();
    CLI::App &command = cli.add({.name = "delete",
                                 .title = "",
                                 .summary = "Delete a fan tray's settings",
                                 .run = [name](Session &session) { return erase(session, *name); },
                                 .show =
                                     [](Page &page, const Json &document) {
                                         page.fields(document, {{"Deleted", "/deleted"}});
                                     },
                                 .in_report = false,
                                 .changes = true},
                                &parent);
    command.add_option("name", *name, "one of the tray's settings")->required()->type_name("NAME");
}

}  // namespace

void add_config(Cli &cli) {
    CLI::App &command = cli.add({.name = "config",
                                 .title = "Settings",
                                 .summary = "The settings that are kept in files",
                                 .run = config,
                                 .show = show_config});
    add_get(cli, command);
    add_set(cli, command);
    add_delete(cli, command);
}

}  // namespace boardctl
