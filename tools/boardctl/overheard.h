// What the library tells by the way: the rule that a text breaks stands in no result, but in a line
// on standard output or on the debug channel.
#pragma once

#include <cstdio>
#include <string>

namespace boardctl {

// Listens while it lives; one at a time. Standard output is kept from everybody else.
class Overheard {
public:
    Overheard();
    ~Overheard();
    Overheard(const Overheard &) = delete;
    Overheard &operator=(const Overheard &) = delete;

    // The last line of the debug channel, else what was printed; without its place and the blanks
    // around it. Empty when nothing was told.
    std::string said() const;

private:
    std::FILE *printed_;
    int kept_ = -1;
};

// A debug line that passes by on its way to the platform: main.cpp hands them here.
void overhear(const std::string &line);

}  // namespace boardctl
