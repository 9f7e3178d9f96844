// What a configuration file says as it stands. The library answers a setting's value; this tells
// whether there is an entry that the value comes from, and which entries there are.
#pragma once

#include <map>
#include <optional>
#include <string>

namespace boardctl {

class IniText {
public:
    using Section = std::map<std::string, std::string>;

    // Nothing when the file cannot be read; `missing` tells whether there is none.
    static std::optional<IniText> load(const std::string &path);
    static bool missing(const std::string &path);

    // Blanks and one pair of quotes around a value are no part of it.
    std::optional<std::string> value(const std::string &section, const std::string &key) const;
    const Section &section(const std::string &name) const;
    const std::map<std::string, Section> &sections() const { return sections_; }

private:
    std::map<std::string, Section> sections_;
};

}  // namespace boardctl
