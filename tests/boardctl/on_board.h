// boardctl itself on a simulated board, as a person starts it. The including program states where
// the programs and the boards are: BOARDCTL_PATH, BOARDSIM_PATH, EMULATOR.
#pragma once

#include <unistd.h>

#include <sstream>

#include "boardctl/child.h"

namespace boardctl_test {

// `options` are boardsim's.
inline Outcome on_board(const std::string &file, const std::vector<std::string> &arguments,
                        const Setting &setting = {}, const std::vector<std::string> &options = {}) {
    const std::string emulator = EMULATOR;  // empty when programs are this machine's own
    std::vector<std::string> line;
    std::istringstream words(emulator);
    for (std::string word; words >> word;) {
        line.push_back(word);
    }
    line.push_back(BOARDSIM_PATH);
    if (!emulator.empty()) {
        line.insert(line.end(), {"--emulator", emulator});
    }
    line.insert(line.end(), options.begin(), options.end());
    line.insert(line.end(), {file, "--", BOARDCTL_PATH});
    line.insert(line.end(), arguments.begin(), arguments.end());
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

}  // namespace boardctl_test
