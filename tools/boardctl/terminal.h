// What depends on whether a person sits in front of the program.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace boardctl {

// Whether standard output is a terminal that shows colours and the user has not asked for none.
bool wants_colour();

// A line on standard error that tells what takes so long. It appears when standard error is a
// terminal and the operation has lasted for a second, and goes when the object does.
class Progress {
public:
    // `how_far` is asked for more words every time that the line is shown, "3 of 7 pages"; without
    // it the line shows the seconds only.
    explicit Progress(std::string what, std::function<std::string()> how_far = nullptr);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

private:
    void tick();

    std::string what_;
    std::function<std::string()> how_far_;
    std::mutex mutex_;
    std::condition_variable ended_;
    bool over_ = false;
    std::thread ticker_;
};

// While it lives, what the library prints on standard output goes to standard error: the document
// is all that stands there.
class StandardOutputAside {
public:
    StandardOutputAside();
    ~StandardOutputAside();
    StandardOutputAside(const StandardOutputAside &) = delete;
    StandardOutputAside &operator=(const StandardOutputAside &) = delete;

private:
    int kept_;
};

enum class Consent { given, refused, nobody_there };
// Asks the person at the terminal; the answer is read from standard input.
Consent ask_consent(const std::string &question);

}  // namespace boardctl
