#include "ini_text.h"

#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string_view>

namespace boardctl {

namespace {

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == text.npos ? std::string_view()
                              : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string_view unquoted(std::string_view text) {
    const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

}  // namespace

std::optional<IniText> IniText::load(const std::string &path) {
    std::ifstream file(path);
    if (!file) {
        return std::nullopt;
    }
    IniText text;
    Section *section = &text.sections_[""];
    for (std::string line; std::getline(file, line);) {
        const std::string_view content = trimmed(line);
        if (content.empty() || content.front() == ';' || content.front() == '#') {
            continue;
        }
        const std::size_t equal = content.find('=');
        if (content.front() == '[' && content.back() == ']') {
            section = &text.sections_[std::string(content.substr(1, content.size() - 2))];
        } else if (equal != content.npos) {
            section->insert_or_assign(std::string(trimmed(content.substr(0, equal))),
                                      std::string(unquoted(trimmed(content.substr(equal + 1)))));
        }
    }
    return text;
}

bool IniText::missing(const std::string &path) {
    return access(path.c_str(), F_OK) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

const IniText::Section &IniText::section(const std::string &name) const {
    static const Section none;
    const auto found = sections_.find(name);
    return found == sections_.end() ? none : found->second;
}

std::optional<std::string> IniText::value(const std::string &section_name,
                                          const std::string &key) const {
    const Section &entries = section(section_name);
    const auto found = entries.find(key);
    return found == entries.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace boardctl
