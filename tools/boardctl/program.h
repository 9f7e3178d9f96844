// The whole of boardctl but for main().
#pragma once

namespace boardctl {

// Runs one command; the exit status of the program.
int run(int argc, char **argv);

}  // namespace boardctl
