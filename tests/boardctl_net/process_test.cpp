// oplog and cpu.
#include <sched.h>
#include <sys/mount.h>

#include <filesystem>

#include "boardctl/programs.h"
#include "boardctl/texts.h"
#include "program.h"

using boardctl_test::ask;
using boardctl_test::End;
using boardctl_test::expect_golden;
using boardctl_test::in_child;
using boardctl_test::Json;
using boardctl_test::Outcome;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

const fs::path file = "/extlog/unified_log/operation_log.log";

void write_log(const std::string &text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
}
std::string contents() {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

}  // namespace

// ---- oplog ----

TEST(Oplog, BeforeTheFirstLine) {
    const Outcome outcome = ask({"oplog", "show", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json(), Json::parse(R"({
        "file": "/extlog/unified_log/operation_log.log", "file_exists": false, "size": 0,
        "trim_size": 2097152, "line_count": 0, "lines": [], "failures": []})"));
    EXPECT_FALSE(fs::exists(file.parent_path()));
}

TEST(Oplog, AddsALine) {
    write_log("2026-03-14 09:26:53| the first\n");
    const Outcome outcome = ask({"oplog", "add", "100%s done", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const Json document = outcome.json();
    EXPECT_EQ(document["line_count"], 2);
    EXPECT_EQ(document["lines"].size(), 1u);
    EXPECT_EQ(document["lines"][0]["message"], "100%s done");
    EXPECT_THAT(contents(), HasSubstr("| 100%s done\n"));
}

TEST(Oplog, ThatCannotBeWritten) {
    fs::create_directories(file);
    const Outcome outcome = ask({"oplog", "add", "x"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err,
                HasSubstr("boardctl: /extlog/unified_log/operation_log.log cannot be written\n"));
}

TEST(Oplog, ShowsTheLastLines) {
    write_log(
        "2026-03-14 09:26:53| one\n2026-03-14 09:26:54| two\nof two lines\n"
        "2026-03-14 09:26:55| three \x1b[31m");
    const Json document = ask({"oplog", "show", "-n", "3", "--json"}).json();
    EXPECT_EQ(document["line_count"], 4);
    EXPECT_EQ(document["size"], fs::file_size(file));
    EXPECT_EQ(document["lines"], Json::parse(R"([{"time": "2026-03-14 09:26:54", "message": "two"},
                              {"time": null, "message": "of two lines"},
                              {"time": "2026-03-14 09:26:55", "message": "three \u001b[31m"}])"));
    EXPECT_EQ(ask({"oplog", "show", "--lines", "0", "--json"}).json()["lines"], Json::array());
    const Outcome outcome = ask({"oplog", "show"});
    EXPECT_EQ(outcome.status, 0);
    expect_golden("oplog-show.txt", outcome.out);
}

TEST(Oplog, TrimsWhenAsked) {
    std::string text;
    for (int i = 0; i < 3500; ++i) {
        text += "2026-03-14 09:26:53| " + std::string(600, 'x') + "\n";
    }
    write_log(text);
    EXPECT_EQ(ask({"oplog", "trim"}).status, 2);
    EXPECT_EQ(
        ask({"oplog", "trim"}, {.err = End::terminal, .in = End::terminal, .typed = "n\n"}).status,
        1);
    EXPECT_EQ(contents(), text);
    const Outcome outcome = ask({"oplog", "trim", "--yes", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json()["line_count"], 500);
    EXPECT_EQ(contents().size(), text.size() / 7);
    // A smaller one stays as it is.
    EXPECT_EQ(ask({"oplog", "trim", "--yes", "--json"}).json()["line_count"], 500);
}

// ---- cpu ----

TEST(Cpu, Usage) {
    const Outcome outcome = ask({"cpu", "--seconds", "2", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const Json usage = outcome.json()["usage_percent"];
    ASSERT_EQ(usage.size(), 2u);
    for (const Json &percent : usage) {
        EXPECT_GE(percent.get<double>(), 0);
        EXPECT_LE(percent.get<double>(), 100);
    }
}

TEST(Cpu, Table) {
    const Outcome outcome = ask({"cpu"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, testing::MatchesRegex("\n?CPU usage in percent\n.*Second +Usage\n"
                                                   "[- ]*\n? *1 +[0-9]+\\.[0-9]{2}\n"));
}

TEST(Cpu, WithoutProcStat) {
    const Outcome outcome = in_child([] {
        if (unshare(CLONE_NEWNS) != 0 ||
            mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("none", "/proc", "tmpfs", 0, nullptr) != 0) {
            return 77;
        }
        char program[] = "boardctl";
        char command[] = "cpu";
        char *argv[] = {program, command, nullptr};
        return boardctl::run(2, argv);
    });
    if (outcome.status == 77) {
        GTEST_SKIP() << "no right to mount (CAP_SYS_ADMIN)";
    }
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("boardctl: /proc/stat cannot be read\n"));
}

TEST(Cpu, WrongUse) {
    EXPECT_EQ(ask({"cpu", "--seconds", "0"}).status, 2);
    EXPECT_EQ(ask({"cpu", "--seconds", "-1"}).status, 2);
    EXPECT_EQ(ask({"oplog"}).status, 2);
    EXPECT_EQ(ask({"oplog", "add"}).status, 2);
    EXPECT_EQ(ask({"oplog", "show", "--lines", "many"}).status, 2);
}
