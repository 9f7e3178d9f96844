// A process whose locale knows more letters than ASCII's.
#pragma once

#include <cctype>
#include <clocale>
#include <cstdlib>

namespace latin1_locale {

// True when bytes above 0x7F are letters from now on.
inline bool set() {
    if (std::system("localedef --quiet -i de_DE -f ISO-8859-1 /var/latin1 >/dev/null 2>&1") == -1) {
        return false;
    }
    setenv("LOCPATH", "/var", 1);
    return std::setlocale(LC_ALL, "latin1") != nullptr && std::isalpha(0xE9) != 0 &&
           std::toupper(0xE9) == 0xC9;
}

}  // namespace latin1_locale
