#include "sandbox.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "state.h"

namespace boardsim {

namespace fs = std::filesystem;

namespace {

constexpr int exec_failed = 127;
constexpr int signal_base = 128;

volatile sig_atomic_t running = 0;  // the program's process while it runs

void hand_on(int number) {
    if (running > 0) {
        kill(static_cast<pid_t>(running), number);
    }
}

class SignalsHandedOn {
public:
    SignalsHandedOn() {
        set(ending, hand_on);
        // The terminal sends these to the program as well; this one only waits.
        set(from_terminal, SIG_IGN);
    }
    ~SignalsHandedOn() {
        set(ending, SIG_DFL);
        set(from_terminal, SIG_DFL);
    }

private:
    template <size_t N>
    static void set(const std::array<int, N> &signals, void (*handler)(int)) {
        struct sigaction action = {};
        action.sa_handler = handler;
        for (const int number : signals) {
            sigaction(number, &action, nullptr);
        }
    }

    static constexpr std::array ending = {SIGTERM, SIGHUP};
    static constexpr std::array from_terminal = {SIGINT, SIGQUIT};
};

[[noreturn]] void execute(const std::vector<std::string> &arguments) {
    std::vector<char *> pointers;
    pointers.reserve(arguments.size() + 1);
    for (const std::string &each : arguments) {
        pointers.push_back(const_cast<char *>(each.c_str()));
    }
    pointers.push_back(nullptr);
    execvp(pointers.front(), pointers.data());
    _exit(exec_failed);
}

int wait_for(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return exec_failed;
        }
    }
    return WIFSIGNALED(status) ? signal_base + WTERMSIG(status) : WEXITSTATUS(status);
}

bool is_program(const fs::path &path) {
    std::error_code error;
    return fs::is_regular_file(path, error) && access(path.c_str(), X_OK) == 0;
}

}  // namespace

std::string sandbox_script() {
    return (fs::read_symlink("/proc/self/exe").parent_path() / "bmc-sandbox").string();
}

bool program_exists(const std::string &name) {
    if (name.find('/') != name.npos) {
        return is_program(name);
    }
    const char *path = getenv("PATH");
    std::string folders = path == nullptr ? "/usr/bin:/bin" : path;
    folders += ':';
    size_t start = 0;
    for (size_t end = folders.find(':'); end != folders.npos; end = folders.find(':', start)) {
        const std::string folder = folders.substr(start, end - start);
        if (is_program(fs::path(folder.empty() ? "." : folder) / name)) {
            return true;
        }
        start = end + 1;
    }
    return false;
}

std::string sandbox_refusal(const std::string &script) {
    std::array<int, 2> ends = {};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return std::generic_category().message(errno);
    }
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        execute({script, "--", "true"});
    }
    close(ends[1]);
    std::string said;
    std::array<char, 512> part = {};
    for (ssize_t length = 0; (length = read(ends[0], part.data(), part.size())) > 0;) {
        said.append(part.data(), static_cast<size_t>(length));
    }
    close(ends[0]);
    if (child < 0) {
        return "no process can be started";
    }
    if (wait_for(child) == 0) {
        return {};
    }
    while (said.ends_with('\n')) {
        said.pop_back();
    }
    return said.empty() ? "it gives no reason" : said;
}

int run(const std::vector<std::string> &arguments) {
    const SignalsHandedOn signals;
    const pid_t child = fork();
    if (child == 0) {
        for (const int number : {SIGTERM, SIGHUP, SIGINT, SIGQUIT}) {
            signal(number, SIG_DFL);
        }
        execute(arguments);
    }
    if (child < 0) {
        throw Error("no process can be started: " + std::generic_category().message(errno));
    }
    running = child;
    const int status = wait_for(child);
    running = 0;
    return status;
}

}  // namespace boardsim
