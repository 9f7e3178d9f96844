// oplog: the operation log.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <memory>

#include "boardfeatures/process.h"
#include "command.h"

namespace boardctl {

namespace {

constexpr char operation_log[] = "/extlog/unified_log/operation_log.log";
constexpr char time_end[] = "| ";
constexpr std::size_t log_time_size = sizeof("YYYY-MM-DD hh:mm:ss") - 1;
constexpr uint32_t log_trim_size = 2 * 1024 * 1024;
constexpr uint32_t usual_log_lines = 20;

// A message with newlines of its own goes on in lines without a time.
Json log_line_json(const std::string &line) {
    const bool has_time =
        line.size() >= log_time_size && line.compare(log_time_size, 2, time_end) == 0;
    return {{"time", has_time ? Json(line.substr(0, log_time_size)) : Json()},
            {"message", has_time ? line.substr(log_time_size + 2) : line}};
}

Json oplog_json(Session &session, std::size_t wanted) {
    std::error_code error;
    const bool exists = std::filesystem::exists(operation_log, error);
    std::ifstream file(operation_log, std::ios::binary);
    if (exists && !file) {
        session.fail(fmt::format("{} cannot be read: {}", operation_log, std::strerror(errno)));
    }
    std::deque<std::string> last;
    std::size_t count = 0;
    std::size_t size = 0;
    for (std::string line; std::getline(file, line); ++count) {
        size += line.size() + (file.eof() ? 0 : 1);
        last.push_back(std::move(line));
        if (last.size() > wanted) {
            last.pop_front();
        }
    }
    Json lines = Json::array();
    for (const std::string &line : last) {
        lines.push_back(log_line_json(line));
    }
    return {{"file", operation_log},      {"file_exists", exists}, {"size", size},
            {"trim_size", log_trim_size}, {"line_count", count},   {"lines", std::move(lines)}};
}

void show_oplog(Page &page, const Json &document) {
    page.heading("Operation log");
    page.fields(document, {{"File", "/file"},
                           {"File exists", "/file_exists"},
                           {"Size in bytes", "/size"},
                           {"Trimmed from", "/trim_size"},
                           {"Lines", "/line_count"}});
    if (!document["lines"].empty()) {
        page.heading(fmt::format("Last {} lines", document["lines"].size()));
        page.table(document["lines"], {{"Time", "/time"}, {"Message", "/message"}});
    }
}

Json add_log_line(Session &session, const std::string &message) {
    if (Unified_Operation_Log2File("%s", message.c_str()) != 0) {
        session.fail(fmt::format("{} cannot be written", operation_log));
    }
    return oplog_json(session, 1);
}

Json trim_log(Session &session) {
    session.confirm(
        fmt::format("Drop the first 3000 lines of {}, if it has come to 2 MiB?", operation_log));
    Unified_Check_OperationLog();
    return oplog_json(session, 0);
}

}  // namespace

void add_oplog(Cli &cli) {
    CLI::App &group = cli.add_group("oplog", "The operation log");
    const auto message = std::make_shared<std::string>();
    cli.add({.name = "add",
             .title = "",
             .summary = "Append a line",
             .run = [message](Session &session) { return add_log_line(session, *message); },
             .show = show_oplog,
             .in_report = false},
            &group)
        .add_option("message", *message, "what happened")
        ->required()
        ->type_name("MESSAGE");
    const auto lines = std::make_shared<uint32_t>(usual_log_lines);
    cli.add({.name = "show",
             .title = "",
             .summary = "The last lines",
             .run = [lines](Session &session) { return oplog_json(session, *lines); },
             .show = show_oplog,
             .in_report = false},
            &group)
        .add_option("-n,--lines", *lines, "how many")
        ->type_name("COUNT")
        ->capture_default_str();
    cli.add({.name = "trim",
             .title = "",
             .summary = "Drop the oldest lines of a log of 2 MiB and more",
             .run = trim_log,
             .show = show_oplog,
             .in_report = false,
             .changes = true},
            &group);
}

}  // namespace boardctl
