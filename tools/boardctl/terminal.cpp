#include "terminal.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string_view>

namespace boardctl {

namespace {

std::string_view environment(const char *name) {
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

}  // namespace

bool wants_colour() {
    return isatty(STDOUT_FILENO) != 0 && environment("NO_COLOR").empty() &&
           environment("TERM") != "dumb";
}

Progress::Progress(std::string what, std::function<std::string()> how_far)
    : what_(std::move(what)), how_far_(std::move(how_far)) {
    if (isatty(STDERR_FILENO) != 0) {
        ticker_ = std::thread([this] { tick(); });
    }
}

Progress::~Progress() {
    if (ticker_.joinable()) {
        {
            const std::lock_guard lock(mutex_);
            over_ = true;
        }
        ended_.notify_all();
        ticker_.join();
    }
}

void Progress::tick() {
    using std::chrono::steady_clock;
    constexpr auto patience = std::chrono::seconds(1);
    constexpr auto interval = std::chrono::milliseconds(250);
    constexpr std::string_view erase_line = "\r\x1b[K";

    const auto start = steady_clock::now();
    std::unique_lock lock(mutex_);
    bool shown = false;
    while (!ended_.wait_for(lock, shown ? interval : patience, [this] { return over_; })) {
        const auto seconds =
            std::chrono::duration_cast<std::chrono::seconds>(steady_clock::now() - start).count();
        const std::string how_far = how_far_ ? how_far_() + ", " : "";
        fmt::print(stderr, "{}{} ({}{} s)", erase_line, what_, how_far, seconds);
        std::fflush(stderr);
        shown = true;
    }
    if (shown) {
        fmt::print(stderr, "{}", erase_line);
        std::fflush(stderr);
    }
}

StandardOutputAside::StandardOutputAside() {
    std::fflush(stdout);
    kept_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    if (kept_ >= 0) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
    }
}

StandardOutputAside::~StandardOutputAside() {
    std::fflush(stdout);
    if (kept_ >= 0) {
        dup2(kept_, STDOUT_FILENO);
        close(kept_);
    }
}

Consent ask_consent(const std::string &question) {
    if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) {
        return Consent::nobody_there;
    }
    fmt::print(stderr, "{} [y/N] ", question);
    std::fflush(stderr);
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "yes" ? Consent::given : Consent::refused;
}

}  // namespace boardctl
