#include "overheard.h"

#include <fcntl.h>
#include <unistd.h>

namespace boardctl {

namespace {

bool is_overhearing = false;
std::string overheard_line;

std::string without_blanks(const std::string &text) {
    constexpr char blanks[] = " \n";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

}  // namespace

void overhear(const std::string &line) {
    if (is_overhearing) {
        // "[source:line]text"
        const std::size_t place = line.starts_with('[') ? line.find(']') : line.npos;
        overheard_line = without_blanks(place == line.npos ? line : line.substr(place + 1));
    }
}

Overheard::Overheard() : printed_(std::tmpfile()) {
    is_overhearing = true;
    overheard_line.clear();
    std::fflush(stdout);
    if (printed_ != nullptr) {
        kept_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
        dup2(fileno(printed_), STDOUT_FILENO);
    }
}

Overheard::~Overheard() {
    is_overhearing = false;
    std::fflush(stdout);
    if (kept_ >= 0) {
        dup2(kept_, STDOUT_FILENO);
        close(kept_);
    }
    if (printed_ != nullptr) {
        std::fclose(printed_);
    }
}

std::string Overheard::said() const {
    std::fflush(stdout);
    char text[256];
    const ssize_t size =
        printed_ != nullptr ? pread(fileno(printed_), text, sizeof(text), 0) : ssize_t{0};
    return !overheard_line.empty() || size <= 0
               ? overheard_line
               : without_blanks({text, static_cast<std::size_t>(size)});
}

}  // namespace boardctl
