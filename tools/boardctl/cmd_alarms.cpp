// alarms: the alarm codes that are not reported.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <memory>

#include "boardfeatures/config.h"
#include "boardfeatures/ipc.h"
#include "command.h"
#include "ini_text.h"
#include "numbers.h"

namespace boardctl {

namespace {

constexpr char policy_file[] = "/conf/vel/alarmpolicy";
constexpr int32_t shared_list_key = 4138;

struct Alarm {
    bool shared = false;
    bool stored = false;
    const DefaultDisabledAlarm *by_default = nullptr;
};

// A question of the library would write the list that all processes share: the file itself is read.
std::vector<uint16_t> stored_codes() {
    std::vector<uint16_t> codes;
    const std::optional<IniText> file = IniText::load(policy_file);
    std::string text = file ? file->value("AlarmReportDisable", "Alarmcode").value_or("") : "";
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < '0' || c > '9'; }, ' ');
    std::size_t start = 0;
    while ((start = text.find_first_not_of(' ', start)) != text.npos) {
        const std::size_t end = std::min(text.find(' ', start), text.size());
        codes.push_back(
            static_cast<uint16_t>(number_of(text.substr(start, end - start)).value_or(0)));
        start = end;
    }
    return codes;
}

Json alarms(Session &session) {
    // in the order of the list, those that are only disabled by default behind
    std::vector<uint16_t> order;
    std::map<uint16_t, Alarm> found;
    const auto alarm = [&](uint16_t code) -> Alarm & {
        const auto [place, is_new] = found.try_emplace(code);
        if (is_new) {
            order.push_back(code);
        }
        return place->second;
    };
    AlarmDisableCodeInfo list = {};
    const bool is_shared = OAL_ShmIsExist(shared_list_key) == 1;
    if (is_shared && GetAlarmDisableCodeInfo(&list) != 0) {
        session.fail("the shared list of disabled alarms cannot be read");
    }
    for (const uint16_t code : list.AlarmDisbleCode) {
        if (code != 0) {
            alarm(code).shared = true;
        }
    }
    for (const uint16_t code : stored_codes()) {
        alarm(code).stored = true;
    }
    for (uint32_t i = 0; i < g_disabled_alarm_cnt; ++i) {
        alarm(g_disabled_alarm[i].code).by_default = &g_disabled_alarm[i];
    }
    Json rows = Json::array();
    for (const uint16_t code : order) {
        const Alarm &row = found[code];
        Json once;
        if (row.by_default != nullptr) {
            const int32_t flag = Get_DisabledFlag(row.by_default->name);
            once = flag < 0 ? Json() : Json(flag != 0);
        }
        rows.push_back(
            {{"code", code},
             {"name", row.by_default != nullptr ? Json(field_text(row.by_default->name)) : Json()},
             {"disabled", is_shared ? Json(row.shared) : Json()},
             {"stored", row.stored},
             {"disabled_by_default", row.by_default != nullptr},
             {"default_applied", std::move(once)}});
    }
    uint8_t policy = 0;
    const bool known = IPMI_LoadAlarmReportPolicy(&policy) == 0;
    return {{"shared_list", is_shared},
            {"report_policy", known ? Json(policy) : Json()},
            {"file", policy_file},
            {"file_exists", !IniText::missing(policy_file)},
            {"alarms", std::move(rows)}};
}

void show_alarms(Page &page, const Json &document) {
    page.heading("Alarms that are not reported");
    page.table(document["alarms"], {{"Code", "/code"},
                                    {"Name", "/name"},
                                    {"Disabled", "/disabled"},
                                    {"In the file", "/stored"},
                                    {"By default", "/disabled_by_default"},
                                    {"Default applied", "/default_applied"}});
    page.heading("Alarm reporting");
    page.fields(document, {{"List shared by all processes", "/shared_list"},
                           {"Report policy", "/report_policy"},
                           {"File", "/file"},
                           {"File exists", "/file_exists"}});
}

// Disabling asks: nobody is told of such an alarm any more.
Json change(Session &session, const std::vector<uint32_t> &codes, bool disable) {
    if (disable) {
        session.confirm(fmt::format("Report {} no more?", value_text(Json(codes))));
    }
    for (const uint32_t code : codes) {
        if (IPMI_SaveAlarmReportDisable(code, disable ? 1 : 0) != 0) {
            session.fail(
                fmt::format("alarm {} cannot be changed: {} cannot be loaded", code, policy_file));
        }
    }
    // the library does not say when the file is not written or the list is full
    const std::vector<uint16_t> stored = stored_codes();
    for (const uint32_t code : codes) {
        const bool listed = std::find(stored.begin(), stored.end(), code) != stored.end();
        if (session.failures().empty() && listed != disable) {
            session.fail(fmt::format("alarm {} cannot be stored in {}", code, policy_file));
        }
    }
    return alarms(session);
}

void add_change(Cli &cli, CLI::App &parent, const char *name, const char *summary, bool disable) {
    const auto codes = std::make_shared<std::vector<uint32_t>>();
    CLI::App &command = cli.add(
        {.name = name,
         .title = "",
         .summary = summary,
         .run = [codes, disable](Session &session) { return change(session, *codes, disable); },
         .show = show_alarms,
         .in_report = false,
         .changes = disable},
        &parent);
    command.add_option("codes", *codes, "alarm codes")
        ->required()
        ->type_name("CODE")
        ->check(CLI::Range(uint32_t{1}, uint32_t{UINT16_MAX}).description(""));
}

Json reload(Session &session) {
    if (IPMI_LoadAlarmReportDisable() != 0) {
        session.fail(fmt::format("{} cannot be loaded", policy_file));
    } else if (OAL_ShmIsExist(shared_list_key) == 0) {
        session.fail("no process has made the shared list yet");
    }
    return alarms(session);
}

}  // namespace

void add_alarms(Cli &cli) {
    CLI::App &command = cli.add({.name = "alarms",
                                 .title = "Alarms that are not reported",
                                 .summary = "The alarm codes that are not reported",
                                 .run = alarms,
                                 .show = show_alarms});
    add_change(cli, command, "disable", "Report alarms no more", true);
    add_change(cli, command, "enable", "Report alarms again", false);
    cli.add({.name = "reload",
             .title = "",
             .summary = "Take the file's list into the one that all processes share",
             .run = reload,
             .show = show_alarms,
             .in_report = false},
            &command);
}

}  // namespace boardctl
