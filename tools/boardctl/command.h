// What a family of commands is made of. Each family is one file, cmd_<family>.cpp, with a function
// add_<family>(Cli &) that stands in the list of families.h.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "page.h"
#include "terminal.h"

namespace CLI {
class App;
}

namespace boardctl {

// Exit status of the program.
enum Status : int {
    status_answered = 0,
    status_failed = 1,  // a question failed; what could be answered was printed
    status_usage = 2,
};

// Ends a command at once.
class Stopped : public std::runtime_error {
public:
    Stopped(Status status, const std::string &why) : std::runtime_error(why), status_(status) {}
    Status status() const { return status_; }

private:
    Status status_;
};

// One run of one command.
class Session {
public:
    explicit Session(bool yes) : yes_(yes) {}

    // Notes a question that got no answer. The command goes on: what else is known is shown.
    void fail(const std::string &what) { failures_.push_back(section_ + what); }
    // To be called before anything is changed: asks the person at the terminal, unless --yes was
    // given, and ends the command without consent.
    void confirm(const std::string &question) const;

    // What failures are marked with from now on.
    void enter(const std::string &section) { section_ = section + ": "; }
    const std::vector<std::string> &failures() const { return failures_; }

private:
    bool yes_;
    std::string section_;
    std::vector<std::string> failures_;
};

// One command: `run` asks the library and gives a document, `show` makes from that same document
// what a person reads, so that both forms of the output agree.
struct Command {
    std::string name;     // of the subcommand, and of the document in the report
    std::string title;    // of the section in the report
    std::string summary;  // in --help
    std::function<Json(Session &)> run;
    std::function<void(Page &, const Json &)> show;
    bool in_report = true;
    bool changes = false;  // gets --yes; `run` calls confirm(). Never in the report.
};

class Cli {
public:
    virtual ~Cli() = default;
    // Adds a command below `parent` (null: at the top). Options are added to what is returned; what
    // they are bound to must live as long as `run` does: a shared_ptr that it captures.
    virtual CLI::App &add(Command command, CLI::App *parent = nullptr) = 0;
    // Adds a command that only holds others.
    virtual CLI::App &add_group(const std::string &name, const std::string &summary) = 0;
};

}  // namespace boardctl
