// Log files and flag files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "boardfeatures/pcieid_settings.h"
#include "support/child_process.h"
#include "support/libc_layer.h"
#include "support/scripted_platform.h"

using child_process::Child;
using libc_layer::layer;
using libc_layer::Watch;
using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char path[] = "/var/test.log";
constexpr char flag[] = "/var/flag";

template <typename Call>
auto watched(Call call) {
    const Watch watch;
    return call();
}
std::string text_of(const char *file_path) {
    std::ifstream file(file_path);
    return {std::istreambuf_iterator<char>(file), {}};
}
std::string log_with(uint32_t flags) {
    unlink(path);
    EXPECT_EQ(xlog(path, flags, "%s %d\n", "message", 42), 0);
    return text_of(path);
}
std::string printed(const std::function<void()> &call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}
bool exists(const char *file_path) { return access(file_path, F_OK) == 0; }

// "channel text" of each message, its place checked and taken out.
std::vector<std::string> log_lines() {
    std::vector<std::string> lines;
    for (const scripted::Message &message : platform().messages) {
        EXPECT_EQ(message.number, 56u);
        EXPECT_EQ(message.source, "os_env");
        EXPECT_EQ(message.function, "set_flag");
        std::string text = message.text;
        const std::string place = "set_flag(@" + std::to_string(message.line) + ")";
        if (text.starts_with(place)) {
            text = text.substr(place.size());
        }
        lines.push_back(message.channel + " " + text);
    }
    return lines;
}

}  // namespace

TEST(Xlog, WritesOnlyTheMessageWithoutFlags) {
    EXPECT_EQ(log_with(0), "message 42\n");
    EXPECT_EQ(log_with(0xFFFFFFF8), "message 42\n");
}

TEST(Xlog, WritesWhatTheFlagsAskForInOrder) {
    const std::string time = R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6} )";
    const std::string thread =
        "\\[" + std::to_string(getpid()) + "\\." + std::to_string(gettid()) + "\\] ";
    for (uint32_t flags = 0; flags < 8; ++flags) {
        const std::string pattern = ((flags & 1) != 0 ? time : "") +
                                    ((flags & 2) != 0 ? thread : "") +
                                    ((flags & 4) != 0 ? ": " : "") + "message 42\n";
        const std::string text = log_with(flags);
        EXPECT_TRUE(std::regex_match(text, std::regex(pattern))) << flags << ": " << text;
    }
}

TEST(Xlog, WritesTheLocalTime) {
    setenv("TZ", "XYZ-5:30", 1);
    tzset();
    const time_t before = time(nullptr);
    const std::string text = log_with(1);
    const time_t after = time(nullptr);
    std::set<std::string> possible;
    for (time_t now = before; now <= after; ++now) {
        char date[32];
        const time_t there = now + 5 * 3600 + 30 * 60;
        tm utc = {};
        gmtime_r(&there, &utc);
        strftime(date, sizeof(date), "%Y-%m-%d %H:%M:%S", &utc);
        possible.insert(date);
    }
    EXPECT_EQ(possible.count(text.substr(0, 19)), 1u) << text;
}

TEST(Xlog, NamesTheThread) {
    std::thread([] {
        const std::string text = log_with(2);
        EXPECT_NE(gettid(), getpid());
        EXPECT_EQ(text, "[" + std::to_string(getpid()) + "." + std::to_string(gettid()) +
                            "] message 42\n");
    }).join();
}

TEST(Xlog, AppendsAndOpensEachTime) {
    const size_t descriptors = libc_layer::open_descriptors();
    EXPECT_EQ(watched([] { return xlog(path, 0, "a"); }), 0);
    EXPECT_EQ(watched([] { return xlog(path, 0, "b%s", ""); }), 0);
    EXPECT_EQ(text_of(path), "ab");
    EXPECT_THAT(layer().calls, ElementsAre("fopen /var/test.log a+", "fclose",
                                           "fopen /var/test.log a+", "fclose"));
    EXPECT_EQ(libc_layer::open_descriptors(), descriptors);
}

TEST(Xlog, WritesLongMessagesWhole) {
    const std::string text(20000, 'x');
    EXPECT_EQ(xlog(path, 4, "%s\n", text.c_str()), 0);
    EXPECT_EQ(text_of(path), ": " + text + "\n");
}

TEST(Xlog, PrintsWhyItCannotOpen) {
    int32_t result = 0;
    EXPECT_EQ(printed([&] { result = xlog("/var/none/log", 7, "x"); }),
              "filepath=/var/none/log, errno=2, No such file or directory\n");
    EXPECT_EQ(result, -1);
    layer().fail_call = 1;
    layer().failure = EMFILE;
    EXPECT_EQ(printed([&] { result = watched([] { return xlog(path, 7, "x"); }); }),
              "filepath=/var/test.log, errno=24, Too many open files\n");
    EXPECT_EQ(result, -1);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(Xlog, RefusesNull) {
    // without the compiler's look at the format
    int32_t (*const log)(const char *, uint32_t, const char *, ...) = &xlog;
    EXPECT_EQ(printed([&] { EXPECT_EQ(watched([=] { return log(nullptr, 0, "x"); }), -1); }), "");
    EXPECT_EQ(watched([=] { return log(path, 0, nullptr); }), -1);
    EXPECT_THAT(layer().calls, IsEmpty());
}

TEST(Xlog, LinesOfManyProcessesStayWhole) {
    std::vector<std::unique_ptr<Child>> children;
    for (int process = 0; process < 8; ++process) {
        children.push_back(std::make_unique<Child>([process] {
            for (int round = 0; round < 100; ++round) {
                xlog(path, 6, "process %d round %d\n", process, round);
            }
            return 0;
        }));
    }
    for (const auto &child : children) {
        EXPECT_EQ(child->wait(), 0);
    }
    std::ifstream file(path);
    std::string line;
    std::set<std::string> seen;
    const std::regex pattern(R"(\[\d+\.\d+\] : (process \d round \d+))");
    while (std::getline(file, line)) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(line, match, pattern)) << line;
        seen.insert(match[1]);
    }
    EXPECT_EQ(seen.size(), 800u);
}

// ---- flags ----

TEST(Flag, IsSetWhenTheFileExists) {
    EXPECT_EQ(is_flag_set(flag), 0);
    std::ofstream{flag};
    EXPECT_EQ(is_flag_set(flag), 1);
    EXPECT_EQ(is_flag_set(flag), 1);
    chmod(flag, 0);
    EXPECT_EQ(is_flag_set(flag), 1);
    EXPECT_EQ(is_flag_set("/var"), 1);
    EXPECT_EQ(is_flag_set(""), 0);
    EXPECT_EQ(is_flag_set(nullptr), 0);
}

TEST(Flag, SingleTriggerFiresOnce) {
    EXPECT_EQ(is_flag_set_single_trigger(flag), 0);
    std::ofstream{flag};
    EXPECT_EQ(is_flag_set_single_trigger(flag), 1);
    EXPECT_FALSE(exists(flag));
    EXPECT_EQ(is_flag_set_single_trigger(flag), 0);
}

TEST(Flag, SingleTriggerFiresWhenTheFileCannotBeRemoved) {
    std::ofstream{flag};
    layer().fail_with = [](const std::string &call) {
        return call.starts_with("unlink") ? EROFS : 0;
    };
    EXPECT_EQ(watched([] { return is_flag_set_single_trigger(flag); }), 1);
    EXPECT_TRUE(exists(flag));
}

TEST(Flag, SingleTriggerRefusesNull) {
    EXPECT_EQ(watched([] { return is_flag_set_single_trigger(nullptr); }), 0);
    EXPECT_THAT(layer().calls, IsEmpty());
}

TEST(Flag, SetCreatesTheFile) {
    umask(0);
    EXPECT_EQ(watched([] { return set_flag(flag); }), 0);
    struct stat status = {};
    ASSERT_EQ(stat(flag, &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0777u);
    EXPECT_EQ(status.st_size, 0);
    EXPECT_THAT(log_lines(), ElementsAre("info set_flag('/var/flag').\n"));
    EXPECT_EQ(layer().calls_of("open").size(), 1u);
    EXPECT_TRUE(layer().calls[0].ends_with(" 0777"));
    EXPECT_EQ(layer().calls[1], "close");
}

TEST(Flag, SetLeavesAnExistingFileAlone) {
    std::ofstream(flag) << "content";
    EXPECT_EQ(set_flag(flag), 0);
    EXPECT_EQ(text_of(flag), "content");
    EXPECT_THAT(log_lines(), ElementsAre("info set_flag('/var/flag').\n"));
}

TEST(Flag, SetLogsWhyItCannotCreate) {
    EXPECT_EQ(set_flag("/var/none/flag"), -1);
    EXPECT_THAT(log_lines(), ElementsAre("warn , open()=-1, errno=2, No such file or directory.\n",
                                         "info set_flag('/var/none/flag').\n"));
}

TEST(Flag, SetLogsAFailedClose) {
    const size_t descriptors = libc_layer::open_descriptors();
    layer().fail_call = 2;
    EXPECT_EQ(watched([] { return set_flag(flag); }), 0);
    EXPECT_THAT(log_lines(), ElementsAre("warn , close()=-1, errno=5, Input/output error.\n",
                                         "info set_flag('/var/flag').\n"));
    EXPECT_EQ(libc_layer::open_descriptors(), descriptors);
}

TEST(Flag, SetRefusesNull) {
    EXPECT_EQ(watched([] { return set_flag(nullptr); }), -1);
    EXPECT_THAT(layer().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
}
