// Runs boardctl in a child process, as a person or a script would.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace boardctl_test {

using Json = nlohmann::ordered_json;

enum class End { pipe, terminal };

struct Setting {
    End out = End::pipe;
    End err = End::pipe;
    // What is typed; a terminal as standard input when `in` says so.
    End in = End::pipe;
    std::string typed = "";
    std::string out_path = "";  // a file instead of a pipe
    std::vector<std::pair<std::string, std::string>> environment = {};
};

struct Outcome {
    int status = -1;  // the exit status; 128 and the signal's number when it was killed
    std::string out;
    std::string err;
    Json json() const { return Json::parse(out); }
};

// Runs a function in a child process with its own standard streams.
Outcome in_child(const std::function<int()> &body, const Setting &setting = {});
// boardctl in a copy of this process: it sees the platform that the test has scripted.
Outcome ask(std::vector<std::string> arguments, const Setting &setting = {});

// The text of a file; empty when there is none.
std::string contents(const std::string &path);

}  // namespace boardctl_test
