// Upper case, text files, the CPU-usage monitor.
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "log_files/log_files.h"
#include "support/child_process.h"
#include "support/latin1_locale.h"

using namespace log_files;
using libc_layer::layer;
using libc_layer::Watch;
using testing::ElementsAre;
using testing::IsEmpty;

// The platform's file functions, with what they were given.
namespace {
std::vector<std::string> file_calls;
int open_result = 0;
int close_failure = 0;  // an errno
}  // namespace

extern "C" {
int vel_fopen_s(FILE **stream, const char *path, const char *mode, uint32_t option, uint32_t flag) {
    file_calls.push_back(std::string("open ") + path + " " + mode + " " + std::to_string(option) +
                         " " + std::to_string(flag));
    *stream = open_result == 0 ? std::fopen(path, mode) : nullptr;
    return *stream == nullptr ? -1 : 0;
}
int vel_fclose_s(FILE *stream) {
    file_calls.emplace_back("close");
    const int result = std::fclose(stream);
    if (close_failure != 0) {
        errno = close_failure;
        return -1;
    }
    return result;
}
}

namespace {
const char path[] = "/var/text.json";
}

// ---- upper case ----

TEST_F(Logs, UpperCaseOfEveryByte) {
    for (const bool other_locale : {false, true}) {
        if (other_locale && !latin1_locale::set()) {
            GTEST_SKIP() << "no locale with letters beyond ASCII can be made (localedef)";
        }
        char text[256];
        std::string expected;
        for (int byte = 1; byte < 256; ++byte) {
            text[byte - 1] = static_cast<char>(byte);
            expected += static_cast<char>(byte >= 0x61 && byte <= 0x7A ? byte - 0x20 : byte);
        }
        text[255] = '\0';
        to_upper_case(text);
        EXPECT_EQ(text, expected);
    }
}

TEST_F(Logs, UpperCaseEndsAtTheEnd) {
    char text[] = "abc\0def";
    to_upper_case(text);
    EXPECT_EQ(std::memcmp(text, "ABC\0def", sizeof(text)), 0);
    char empty[] = "\0a";
    to_upper_case(empty);
    EXPECT_EQ(std::memcmp(empty, "\0a", sizeof(empty)), 0);
    EXPECT_THAT(messages(), IsEmpty());
    to_upper_case(nullptr);
    EXPECT_THAT(messages(), ElementsAre("str is null!"));
}

// ---- text files ----

TEST_F(Logs, TextFileIsWritten) {
    write(path, "much longer than what comes");
    EXPECT_EQ(write_json_file(17, path, "{\"percent\": \"100%s\"}"), 0);
    EXPECT_EQ(text_of(path), "{\"percent\": \"100%s\"}");
    EXPECT_EQ(write_json_file(0, path, ""), 0);
    EXPECT_EQ(text_of(path), "");
    EXPECT_THAT(file_calls, ElementsAre("open /var/text.json w 17 1", "close",
                                        "open /var/text.json w 0 1", "close"));
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Logs, TextFileNulls) {
    EXPECT_EQ(write_json_file(0, nullptr, "x"), -1);
    EXPECT_EQ(write_json_file(0, path, nullptr), -1);
    EXPECT_THAT(messages(), ElementsAre("pointer is null!", "pointer is null!"));
    EXPECT_THAT(file_calls, IsEmpty());
}

TEST_F(Logs, TextFileThatCannotBeOpened) {
    open_result = -1;
    EXPECT_EQ(write_json_file(0, path, "x"), -1);
    EXPECT_THAT(messages(), ElementsAre("open file(/var/text.json) failed!"));
    EXPECT_THAT(file_calls, ElementsAre("open /var/text.json w 0 1"));
}

TEST_F(Logs, TextFileThatCannotBeWritten) {
    const std::string large(100000, 'x');  // more than is kept back until the close
    const size_t descriptors = libc_layer::open_descriptors();
    EXPECT_EQ(write_json_file(0, "/dev/full", large.c_str()), -1);
    EXPECT_THAT(file_calls, ElementsAre("open /dev/full w 0 1", "close"));
    EXPECT_EQ(messages().back(), "fprintf return -1!");
    EXPECT_EQ(libc_layer::open_descriptors(), descriptors);

    scripted::platform().clear_record();
    close_failure = EIO;
    EXPECT_EQ(write_json_file(0, "/dev/full", large.c_str()), -1);
    EXPECT_THAT(messages(),
                ElementsAre("vel_fclose_s error(Input/output error)!", "fprintf return -1!"));
}

TEST_F(Logs, TextFileThatCannotBeClosedIsAnswered0) {
    close_failure = EIO;
    EXPECT_EQ(write_json_file(0, path, "x"), 0);
    EXPECT_THAT(messages(), ElementsAre("vel_fclose_s error(Input/output error)!"));
    // A full disk shows at the close of a small file.
    scripted::platform().clear_record();
    close_failure = 0;
    EXPECT_EQ(write_json_file(0, "/dev/full", "x"), 0);
    EXPECT_THAT(messages(), ElementsAre("vel_fclose_s error(No space left on device)!"));
}

// ---- CPU usage ----

TEST_F(Logs, CpuUsageOfEachRound) {
    const std::string rest = "\ncpu0 1 2 3 4 5 6 7\nintr 1\n";
    const std::string most = std::to_string(LONG_MAX) + " ";
    const struct {
        std::string before, after;
    } rounds[] = {
        // user nice system idle iowait irq softirq
        {"cpu  100 10 90 700 50 20 30 9 9 9", "cpu  140 10 90 760 50 20 30 99 99 99"},
        {"cpu  1 1 1 1 1 1 1", "cpu  2 2 2 2 2 2 2"},
        {"cpu  0 0 0 0 0 0 0", "cpu  1 0 0 2 0 0 0"},
        {"cpu  5 5 5 5 5 5 5", "cpu  5 5 5 5 5 5 5"},
        {"cpu  1 2 3 x 5 6 7", "cpu  2 3 4 5 6 7 8"},
        {"cpu  1 2 3 4 5 6", "cpu  2 3 4 5 6 7 8"},
        {"", "cpu  2 3 4 5 6 7 8"},
        {"cpu " + most + most + most + most + most + most + most, "cpu  1 1 1 1 1 1 1"},
        {"cpu  0 0 0 0 0 0 0", "cpu  0 0 0 3 0 0 0"},
        // 127 characters are read: the last counter ends in their midst
        {"cpu  0 0 0 0 0 0 0", "cpu  0 0 0 8 0 0" + std::string(127 - 16 - 1, ' ') + "24"},
    };
    constexpr size_t failing_select = 1;
    const char stat[] = "/var/stat";
    size_t round = 0;
    layer().redirected["/proc/stat"] = stat;
    layer().before = [&](const std::string &call) {
        if (call == "fopen /proc/stat r" && round < std::size(rounds)) {
            write(stat, rounds[round].before + rest);
        } else if (call.starts_with("select")) {
            write(stat, rounds[round].after + rest);
        } else if (call == "fclose") {
            ++round;
        }
    };
    layer().fail_with = [&](const std::string &call) {
        if (call.starts_with("select")) {
            return round == failing_select ? EINTR : 0;
        }
        return call.starts_with("fopen") && round == std::size(rounds) ? EMFILE : 0;
    };
    const size_t descriptors = libc_layer::open_descriptors();
    const std::string said = said_by([] {
        const Watch watch;
        vel_CpuUsage();
    });
    // A line of another form says nothing; neither do counters that stand still.
    EXPECT_THAT(said, testing::MatchesRegex("cpu use0 = 40\\.00\n"
                                            "cpu use2 = 33\\.33\n"
                                            "cpu use3 = 0\\.00\n"
                                            "cpu use7 = .*\n"
                                            "cpu use8 = 0\\.00\n"
                                            "cpu use9 = 20\\.00\n"
                                            "open /proc/stat error!!!"));
    EXPECT_THAT(messages(), ElementsAre("cpu usage select failed!"));
    EXPECT_EQ(libc_layer::open_descriptors(), descriptors);
    EXPECT_THAT(layer().calls_of("select"), testing::Each("select 0 1.000000"));
}

TEST_F(Logs, CpuUsageOfWhatCannotBeRead) {
    size_t round = 0;
    layer().transfers = true;
    layer().fail_with = [&](const std::string &call) {
        if (call == "fclose") {
            ++round;
        }
        return call == "read" || (call.starts_with("fopen") && round == 1) ? EIO : 0;
    };
    const size_t descriptors = libc_layer::open_descriptors();
    EXPECT_EQ(said_by([] {
                  const Watch watch;
                  vel_CpuUsage();
              }),
              "open /proc/stat error!!!");
    EXPECT_EQ(layer().calls_of("read").size(), 2u);  // before and after the second
    EXPECT_EQ(libc_layer::open_descriptors(), descriptors);
}

TEST_F(Logs, CpuUsageOfThisMachine) {
    int rounds = 0;
    layer().fail_with = [&](const std::string &call) {
        return call.starts_with("fopen") && ++rounds == 2 ? EMFILE : 0;
    };
    child_process::Child busy([] {
        for (;;) {
            getppid();
        }
        return 0;
    });
    const std::string said = said_by([] {
        const Watch watch;
        vel_CpuUsage();
    });
    float usage = -1;
    ASSERT_EQ(std::sscanf(said.c_str(), "cpu use0 = %f\n", &usage), 1) << said;
    EXPECT_GT(usage, 0) << "one processor was busy all the time";
    EXPECT_LE(usage, 100);
}
