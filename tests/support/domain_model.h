// The rules of domain names as their administrator would put them, apart from the library's own:
// whole strings and lists of labels in place of one walk.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

namespace domain_model {

struct Verdict {
    int result;
    std::string logged;   // the debug line behind its place; empty when there is none
    std::string printed;  // on standard output
    bool operator==(const Verdict &) const = default;
};

inline const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
inline const std::string digits = "0123456789";

inline bool only(const std::string &text, const std::string &allowed) {
    return text.find_first_not_of(allowed) == text.npos;
}
inline bool begins(const std::string &text, const std::string &allowed) {
    return !text.empty() && allowed.find(text[0]) != allowed.npos;
}
inline std::vector<std::string> labels_of(const std::string &text) {
    std::vector<std::string> labels;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find('.', begin), text.size());
        if (end > begin) {
            labels.push_back(text.substr(begin, end - begin));
        }
        begin = end + 1;
    }
    return labels;
}

inline Verdict host_domain(const std::string &text) {
    const auto dots = static_cast<size_t>(std::count(text.begin(), text.end(), '.'));
    if (text.size() > 265) {
        return {-1, "Invalid Domain Len!!!", ""};
    }
    if (text.empty() || dots == 0 || dots > 5) {
        return {-1, "invalid domain!!!", ""};
    }
    // what a buffer of 264 bytes holds
    const std::vector<std::string> labels = labels_of(text.substr(0, 263));
    if (labels.empty()) {
        return {-1, " Strtok str is NULL!!!", ""};
    }
    if (!begins(labels[0], letters + digits)) {
        return {-1, " First byte is not alpha||digit!!!", ""};
    }
    for (size_t i = 0; i < labels.size(); ++i) {
        const bool last_level = i + 1 > dots;
        if (!only(labels[i], i > 0 && last_level ? letters : letters + digits + "-")) {
            return {-1, "Byte is invalid!!!", ""};
        }
        if (labels[i].size() >= 64) {
            return i == 0 ? Verdict{-1, "Len is large 64!!!", ""}
                          : Verdict{-1, "", "Len is large 64!!! "};
        }
    }
    return {0, "", ""};
}

inline Verdict directory_domain(const std::string &text) {
    const std::string seen = text.substr(0, 256);
    const auto dots = static_cast<size_t>(std::count(seen.begin(), seen.end(), '.'));
    if (seen.empty()) {
        return {-1, "Domain is NULL!!!", ""};
    }
    if (!begins(seen, letters)) {
        return {-1, "First byte is not alpha!!!", ""};
    }
    if (!begins(seen.substr(seen.size() - 1), letters)) {
        return {-1, "Last byte is not alpha!!!", ""};
    }
    if (dots > 3) {
        return {-1, "error, domain level is larger than 4 !!", ""};
    }
    if (text.size() > 255) {
        return {-1, "Invalid Domain Len!!!", ""};
    }
    if (dots == 0) {
        return {-1, "invalid domain level!!!", ""};
    }
    const std::vector<std::string> labels = labels_of(text);
    for (size_t i = 0; i < labels.size(); ++i) {
        if (labels[i].size() > 63) {
            return {-1, i == 0 ? "Len is larger than 63!!!" : "Len is larger than 63!!! \n", ""};
        }
        const bool top = i > 0 && i + 1 > dots;
        if (!only(labels[i], top ? letters : letters + digits + "-")) {
            return {-1, "Byte is invalid!!!", ""};
        }
        if (top && labels[i].size() > 6) {
            return {-1, "Last node is larger than 6!!!", ""};
        }
    }
    return {0, "valid domain\n", ""};
}

}  // namespace domain_model
