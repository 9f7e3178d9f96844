// boardctl itself, as a person starts it, alone and on a simulated board.
#pragma once

#include <unistd.h>

#include <sstream>

#include "boardctl/child.h"

namespace boardctl_test {

inline Outcome run_program(std::vector<std::string> line, const Setting &setting = {}) {
    std::vector<char *> argv;
    for (std::string &word : line) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    return in_child(
        [&] {
            execvp(argv[0], argv.data());
            return 126;
        },
        setting);
}

// How a program that was built with the tests is started.
inline std::vector<std::string> command_of(const std::string &program) {
    std::vector<std::string> line;
    std::istringstream words(EMULATOR);  // empty when programs are this machine's own
    for (std::string word; words >> word;) {
        line.push_back(word);
    }
    line.push_back(program);
    return line;
}

// boardctl as it is installed: it hears the library's debug lines.
inline Outcome run_boardctl(const std::vector<std::string> &arguments) {
    std::vector<std::string> line = command_of(BOARDCTL_PATH);
    line.insert(line.end(), arguments.begin(), arguments.end());
    return run_program(line);
}

inline std::string board_file(const std::string &board) { return BOARDS_DIR "/" + board + ".toml"; }

// `options` are boardsim's.
inline Outcome in_boardsim(const std::string &file, const std::vector<std::string> &program,
                           const Setting &setting = {},
                           const std::vector<std::string> &options = {}) {
    std::vector<std::string> line = command_of(BOARDSIM_PATH);
    if (*EMULATOR != '\0' && program.front() == BOARDCTL_PATH) {
        line.insert(line.end(), {"--emulator", EMULATOR});
    }
    line.insert(line.end(), options.begin(), options.end());
    line.insert(line.end(), {file, "--"});
    line.insert(line.end(), program.begin(), program.end());
    return run_program(line, setting);
}

inline Outcome on_board(const std::string &file, std::vector<std::string> arguments,
                        const Setting &setting = {}, const std::vector<std::string> &options = {}) {
    arguments.insert(arguments.begin(), BOARDCTL_PATH);
    return in_boardsim(file, arguments, setting, options);
}

}  // namespace boardctl_test
