#include "program.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <deque>

#include "families.h"

namespace boardctl {

void Session::confirm(const std::string &question) const {
    switch (yes_ ? Consent::given : ask_consent(question)) {
        case Consent::given:
            return;
        case Consent::refused:
            throw Stopped(status_failed, "nothing was changed");
        case Consent::nobody_there:
            throw Stopped(status_usage, "this changes the board: confirm it with --yes");
    }
}

namespace {

class Program : public Cli {
public:
    Program() : app_("Asks a server board's library what the board is and what is fitted.") {
        app_.name("boardctl");
        app_.set_version_flag("--version", "boardctl " BOARDCTL_VERSION);
        app_.add_flag("--json", json_, "Print a JSON document instead of tables");
        app_.add_option("--color", colour_, "When to use colours")
            ->check(CLI::IsMember({"auto", "always", "never"}).description(""))
            ->type_name("auto|always|never")
            ->capture_default_str();
        app_.require_subcommand(1);
        app_.footer(
            "Exit status: 0 all answered, 1 a question failed, 2 wrong use.\n"
            "Options of boardctl itself may stand before or behind the command.");
#define BOARDCTL_ADD(family) add_##family(*this);
        BOARDCTL_FAMILIES(BOARDCTL_ADD)
#undef BOARDCTL_ADD
        add_report();
    }

    CLI::App &add(Command command, CLI::App *parent) override {
        CLI::App &sub = new_command(parent, command.name, command.summary);
        const Command &kept = commands_.emplace_back(std::move(command));
        if (kept.changes) {
            sub.add_flag("-y,--yes", yes_, "Do not ask before anything is changed");
        }
        // The innermost command that was named comes first.
        sub.callback([this, &kept] { chosen_ = chosen_ != nullptr ? chosen_ : &kept; });
        return sub;
    }

    CLI::App &add_group(const std::string &name, const std::string &summary) override {
        CLI::App &sub = new_command(nullptr, name, summary);
        sub.require_subcommand(1);
        return sub;
    }

    int run(int argc, char **argv) {
        try {
            app_.parse(argc, argv);
        } catch (const CLI::ParseError &error) {
            // Help and version are "errors" of status 0.
            return app_.exit(error) == 0 ? status_answered : status_usage;
        }
        try {
            return answer(*chosen_);
        } catch (const Stopped &stop) {
            fmt::print(stderr, "boardctl: {}\n", stop.what());
            return stop.status();
        }
    }

private:
    CLI::App &new_command(CLI::App *parent, const std::string &name, const std::string &summary) {
        CLI::App &sub = *(parent != nullptr ? parent : &app_)->add_subcommand(name, summary);
        sub.fallthrough();
        sub.footer("Options of boardctl itself: boardctl --help");
        return sub;
    }

    void add_report() {
        add({.name = "report",
             .title = "",
             .summary = "Everything that the other commands tell",
             .run =
                 [this](Session &session) {
                     Json sections = Json::object();
                     for (const Command &command : commands_) {
                         if (command.in_report) {
                             session.enter(command.name);
                             sections[command.name] = command.run(session);
                         }
                     }
                     return sections;
                 },
             .show =
                 [this](Page &page, const Json &sections) {
                     for (const Command &command : commands_) {
                         if (command.in_report) {
                             page.title(command.title);
                             command.show(page, sections[command.name]);
                         }
                     }
                 },
             .in_report = false},
            nullptr);
    }

    Status answer(const Command &command) {
        Session session(yes_);
        Json document;
        {
            const StandardOutputAside aside;
            document = command.run(session);
        }
        std::string text;
        if (json_) {
            document["failures"] = session.failures();
            // Texts of the hardware may hold bytes that are no UTF-8.
            text = document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
        } else {
            Page page(colour_ == "always" || (colour_ == "auto" && wants_colour()));
            command.show(page, document);
            text = page.text();
        }
        const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() &&
                             std::fflush(stdout) == 0;
        for (const std::string &failure : session.failures()) {
            fmt::print(stderr, "boardctl: {}\n", printable(failure));
        }
        if (!written) {
            throw Stopped(status_failed, "cannot write to standard output");
        }
        return session.failures().empty() ? status_answered : status_failed;
    }

    CLI::App app_;
    bool json_ = false;
    bool yes_ = false;
    std::string colour_ = "auto";
    std::deque<Command> commands_;  // stays where it is: callbacks point to it
    const Command *chosen_ = nullptr;
};

}  // namespace

int run(int argc, char **argv) {
    try {
        return Program().run(argc, argv);
    } catch (const std::exception &error) {
        fmt::print(stderr, "boardctl: {}\n", error.what());
        return status_failed;
    }
}

}  // namespace boardctl
