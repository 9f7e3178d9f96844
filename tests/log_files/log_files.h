// Files as lines, and what a call says on its outputs.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "boardfeatures/process.h"
#include "support/libc_layer.h"
#include "support/scripted_platform.h"

namespace log_files {

inline std::string text_of(const std::string &path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}
inline std::vector<std::string> lines_of(const std::string &path) {
    std::vector<std::string> lines;
    std::ifstream file(path, std::ios::binary);
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}
inline void write(const std::string &path, const std::string &text) {
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string said_by(const std::function<void()> &call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}
inline std::string complained_by(const std::function<void()> &call) {
    testing::internal::CaptureStderr();
    call();
    return testing::internal::GetCapturedStderr();
}

inline const std::string time_pattern =
    "[0-9]{4}-[01][0-9]-[0-3][0-9] [0-2][0-9]:[0-5][0-9]:[0-6][0-9]";

// The messages' texts; channel, level and source are looked at here.
inline std::vector<std::string> messages() {
    std::vector<std::string> texts;
    for (const scripted::Message &message : scripted::platform().messages) {
        EXPECT_EQ(message.channel, "dbgout");
        EXPECT_EQ(message.number, 130u);
        EXPECT_EQ(message.source, "vel_oal");
        EXPECT_GT(message.line, 0);
        texts.push_back(message.text);
    }
    return texts;
}

class Logs : public testing::Test {
protected:
    void TearDown() override { libc_layer::layer().clear(); }
};

}  // namespace log_files
