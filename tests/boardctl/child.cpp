#include "child.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "program.h"

namespace boardctl_test {

namespace {

struct Stream {
    int ours = -1;
    int theirs = -1;
};

Stream open_stream(End end, bool input) {
    int ends[2];
    if (end == End::terminal) {
        termios plain = {};
        plain.c_cflag = CS8;
        plain.c_lflag = ICANON;  // a line at a time, no echo, nothing translated
        plain.c_cc[VEOF] = 4;
        if (openpty(&ends[0], &ends[1], nullptr, &plain, nullptr) != 0) {
            throw std::runtime_error("openpty");
        }
        return {ends[0], ends[1]};
    }
    if (pipe(ends) != 0) {
        throw std::runtime_error("pipe");
    }
    return input ? Stream{ends[1], ends[0]} : Stream{ends[0], ends[1]};
}

}  // namespace

Outcome in_child(const std::function<int()> &body, const Setting &setting) {
    const Stream in = open_stream(setting.in, true);
    const Stream out = open_stream(setting.out, false);
    const Stream err = open_stream(setting.err, false);
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(in.theirs, STDIN_FILENO);
        dup2(setting.out_path.empty() ? out.theirs : open(setting.out_path.c_str(), O_WRONLY),
             STDOUT_FILENO);
        dup2(err.theirs, STDERR_FILENO);
        for (const Stream &stream : {in, out, err}) {
            close(stream.ours);
            close(stream.theirs);
        }
        unsetenv("NO_COLOR");
        setenv("TERM", "xterm", 1);
        for (const auto &[name, value] : setting.environment) {
            setenv(name.c_str(), value.c_str(), 1);
        }
        const int status = body();
        std::fflush(nullptr);
        _exit(status);
    }
    for (const Stream &stream : {in, out, err}) {
        close(stream.theirs);
    }
    if (write(in.ours, setting.typed.data(), setting.typed.size()) < 0) {
        throw std::runtime_error("write");
    }
    if (setting.in == End::pipe) {
        close(in.ours);
    }
    Outcome outcome;
    std::array<pollfd, 2> streams = {{{out.ours, POLLIN, 0}, {err.ours, POLLIN, 0}}};
    std::array<std::string *, 2> texts = {&outcome.out, &outcome.err};
    while (streams[0].fd >= 0 || streams[1].fd >= 0) {
        poll(streams.data(), streams.size(), -1);
        for (std::size_t i = 0; i < streams.size(); ++i) {
            if (streams[i].fd >= 0 && streams[i].revents != 0) {
                char buffer[4096];
                const ssize_t got = read(streams[i].fd, buffer, sizeof(buffer));
                if (got > 0) {
                    texts[i]->append(buffer, static_cast<std::size_t>(got));
                } else {  // a terminal whose other end is closed fails instead
                    close(streams[i].fd);
                    streams[i].fd = -1;
                }
            }
        }
    }
    if (setting.in == End::terminal) {
        close(in.ours);
    }
    int status = 0;
    waitpid(child, &status, 0);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome;
}

Outcome ask(std::vector<std::string> arguments, const Setting &setting) {
    return in_child(
        [&] {
            arguments.insert(arguments.begin(), "boardctl");
            std::vector<char *> argv;
            for (std::string &argument : arguments) {
                argv.push_back(argument.data());
            }
            argv.push_back(nullptr);
            return boardctl::run(static_cast<int>(arguments.size()), argv.data());
        },
        setting);
}

std::string contents(const std::string &path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

}  // namespace boardctl_test
