// What a person reads, whole, and whether the manual names what a program reads. The areas' golden
// files are in their folders golden/.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <set>

#include "boardctl/child.h"

namespace boardctl_test {

// The text is the golden file's. With BOARDCTL_UPDATE_GOLDEN set the file is written anew.
inline void expect_golden(const std::string &file, const std::string &text) {
    const std::string path = GOLDEN_DIR "/" + file;
    if (std::getenv("BOARDCTL_UPDATE_GOLDEN") != nullptr) {
        std::ofstream(path) << text;
    }
    ASSERT_NE(contents(path), "") << path;
    EXPECT_EQ(text, contents(path));
}

inline void collect_keys(const Json &value, std::set<std::string> &keys) {
    if (value.is_object()) {
        for (const auto &[key, inner] : value.items()) {
            keys.insert(key);
            collect_keys(inner, keys);
        }
    } else if (value.is_array()) {
        for (const Json &inner : value) {
            collect_keys(inner, keys);
        }
    }
}
inline std::set<std::string> keys_of(const Json &document) {
    std::set<std::string> keys;
    collect_keys(document, keys);
    return keys;
}

inline std::string manual() { return contents(MANUAL); }
inline std::string manual_section(const std::string &command) {
    const std::string text = manual();
    const size_t start = text.find("\n## " + command + "\n");
    EXPECT_NE(start, text.npos) << command;
    return start == text.npos ? "" : text.substr(start, text.find("\n## ", start + 1) - start);
}

// A key stands alone or within a path: `key`, `key.inner`, `outer[].key`.
inline void expect_named(const std::set<std::string> &keys, const std::string &text) {
    for (const std::string &key : keys) {
        EXPECT_THAT(text, testing::ContainsRegex("[`.\\[]" + key + "[`.\\[]"));
    }
}

}  // namespace boardctl_test
