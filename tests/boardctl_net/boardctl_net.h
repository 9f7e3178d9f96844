// The program itself, and what it should print.
#pragma once

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "boardctl/child.h"

namespace boardctl_net {

using boardctl_test::Json;
using boardctl_test::Outcome;

// boardctl as it is installed: it hears the library's debug lines.
inline Outcome run_program(const std::vector<std::string> &arguments) {
    std::vector<std::string> line;
    std::istringstream words(EMULATOR);  // empty when programs are this machine's own
    for (std::string word; words >> word;) {
        line.push_back(word);
    }
    line.emplace_back(BOARDCTL_PATH);
    line.insert(line.end(), arguments.begin(), arguments.end());
    std::vector<char *> argv;
    for (std::string &word : line) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    return boardctl_test::in_child([&] {
        execvp(argv[0], argv.data());
        return 126;
    });
}

// What a person reads, whole. With BOARDCTL_UPDATE_GOLDEN set the file is written anew.
inline void expect_golden(const std::string &name, const std::string &text) {
    const std::string path = std::string(GOLDEN_DIR "/") + name + ".txt";
    if (std::getenv("BOARDCTL_UPDATE_GOLDEN") != nullptr) {
        std::ofstream(path) << text;
    }
    std::ostringstream golden;
    golden << std::ifstream(path).rdbuf();
    ASSERT_NE(golden.str(), "") << path;
    EXPECT_EQ(text, golden.str());
}

}  // namespace boardctl_net
