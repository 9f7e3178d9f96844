// Running a program inside the sandbox, and finding out beforehand why it would not run.
#pragma once

#include <string>
#include <vector>

namespace boardsim {

// The script that makes the sandbox: beside this program.
std::string sandbox_script();

// Whether a program of this name would be found: by its path, or along PATH.
bool program_exists(const std::string &name);

// Empty when an empty sandbox can be made here, else what bubblewrap says against it.
std::string sandbox_refusal(const std::string &script);

// Runs and waits, handing on the signals that ask it to end. The exit status as a shell gives it.
int run(const std::vector<std::string> &arguments);

}  // namespace boardsim
