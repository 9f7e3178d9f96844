// Lines in log files, and the benchmark that writes them.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <filesystem>

#include "log_files/log_files.h"
#include "support/child_process.h"

using namespace log_files;
using libc_layer::layer;
using libc_layer::Watch;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

namespace fs = std::filesystem;

const char path[] = "/var/test.log";
const std::string test_line =
    "abcdefghijklmnopqrstuvwxyz1234567890ABCDEFGHIJKLMNOPQRSTUVWXYZ~!@#$^&*()_+|{}[]<>?/";

}  // namespace

// ---- lines ----

TEST_F(Logs, PrefixesOfEveryMask) {
    for (uint32_t flags = 0; flags < 16; ++flags) {
        fs::remove(path);
        EXPECT_EQ(OAL_Log2File(path, flags, "fan %d at %s", 3, "full speed"), 0);
        const std::string expected =
            std::string((flags & 1) != 0 ? time_pattern + " " : "") +
            ((flags & 2) != 0 ? "\\[" + std::to_string(getpid()) + "\\] " : "") +
            ((flags & 4) != 0 ? ": " : "") + "fan 3 at full speed\n";
        EXPECT_THAT(text_of(path), MatchesRegex(expected)) << flags;
    }
}

TEST_F(Logs, LinesAreAppended) {
    write(path, "kept");
    EXPECT_EQ(OAL_Log2File(path, 0, "one"), 0);
    EXPECT_EQ(OAL_Log2File(path, 0, "%s", ""), 0);
    EXPECT_EQ(OAL_Log2File(path, 4, "two\n"), 0);  // a newline of its own stays
    EXPECT_EQ(text_of(path), "keptone\n\n: two\n\n");
}

TEST_F(Logs, LinesOfAnyLength) {
    const std::string message(100000, 'm');
    EXPECT_EQ(OAL_Log2File(path, 0, "%s", message.c_str()), 0);
    EXPECT_EQ(text_of(path), message + "\n");
}

TEST_F(Logs, TimeIsOfTheZoneThatIsSetNow) {
    for (const char *zone : {"UTC0", "AAA-14", "BBB+11"}) {
        setenv("TZ", zone, 1);
        const time_t before = time(nullptr);
        fs::remove(path);
        EXPECT_EQ(OAL_Log2File(path, 1, "x"), 0);
        const time_t after = time(nullptr);
        tzset();
        tm local = {};
        const std::string text = text_of(path);
        ASSERT_NE(strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &local), nullptr) << text;
        local.tm_isdst = -1;
        const time_t written = mktime(&local);
        EXPECT_GE(written, before) << zone;
        EXPECT_LE(written, after) << zone;
    }
}

TEST_F(Logs, EachLineOpensAndClosesTheFile) {
    const size_t descriptors = libc_layer::open_descriptors();
    const Watch watch;
    EXPECT_EQ(OAL_Log2File(path, 7, "x"), 0);
    EXPECT_THAT(layer().calls, ElementsAre("fopen /var/test.log a+", "fclose"));
    EXPECT_EQ(libc_layer::open_descriptors(), descriptors);
}

TEST_F(Logs, FileThatCannotBeOpened) {
    const size_t descriptors = libc_layer::open_descriptors();
    EXPECT_EQ(complained_by([] { EXPECT_EQ(OAL_Log2File("/var/no/such", 7, "x"), -1); }),
              "errno=2, No such file or directory\n");
    EXPECT_EQ(complained_by([] { EXPECT_EQ(OAL_Log2File("/var", 7, "x"), -1); }),
              "errno=21, Is a directory\n");
    EXPECT_EQ(libc_layer::open_descriptors(), descriptors);
}

TEST_F(Logs, LineThatCannotBeWritten) {
    write(path, "before\n");
    layer().transfers = true;
    layer().fail_with = [](const std::string &call) { return call == "write" ? EIO : 0; };
    const size_t descriptors = libc_layer::open_descriptors();
    {
        const Watch watch;
        EXPECT_EQ(OAL_Log2File(path, 7, "x"), 0);
        EXPECT_FALSE(layer().calls_of("write").empty());
    }
    EXPECT_EQ(text_of(path), "before\n");
    EXPECT_EQ(libc_layer::open_descriptors(), descriptors);
}

TEST_F(Logs, FullDisk) {
    const size_t descriptors = libc_layer::open_descriptors();
    EXPECT_EQ(OAL_Log2File("/dev/full", 7, "x"), 0);  // the line is lost, nothing else
    EXPECT_EQ(libc_layer::open_descriptors(), descriptors);
}

TEST_F(Logs, Nulls) {
    int32_t (*const log)(const char *, uint32_t, const char *, ...) = OAL_Log2File;
    const Watch watch;
    EXPECT_EQ(complained_by([&] {
                  EXPECT_EQ(log(nullptr, 7, "x"), -1);
                  EXPECT_EQ(log(path, 7, nullptr), -1);
                  EXPECT_EQ(OAL_Log2FileTest(nullptr, 1), -1);
              }),
              "");
    EXPECT_THAT(layer().calls_of("fopen /var"), IsEmpty());
}

TEST_F(Logs, LinesOfSeveralProcessesStayWhole) {
    constexpr int processes = 4;
    constexpr int lines = 1000;
    std::vector<std::unique_ptr<child_process::Child>> children;
    for (int number = 0; number < processes; ++number) {
        children.push_back(std::make_unique<child_process::Child>([number] {
            for (int line = 0; line < lines; ++line) {
                if (OAL_Log2File(path, 6, "%d.%d %s", number, line, test_line.c_str()) != 0) {
                    return 1;
                }
            }
            return 0;
        }));
    }
    std::vector<pid_t> ids;
    for (const auto &child : children) {
        ids.push_back(child->id());
        EXPECT_EQ(child->wait(), 0);
    }
    std::vector<int> next(processes, 0);
    for (const std::string &line : lines_of(path)) {
        int number = -1;
        ASSERT_EQ(std::sscanf(line.c_str(), "[%*d] : %d.", &number), 1) << line;
        ASSERT_EQ(line, "[" + std::to_string(ids.at(number)) + "] : " + std::to_string(number) +
                            "." + std::to_string(next[number]++) + " " + test_line);
    }
    EXPECT_THAT(next, testing::Each(lines));
}

// ---- the benchmark ----

namespace {

const std::string rule = std::string(66, '-') + "\n";
const std::string clock_pattern = rule +
                                  "  tv1.tv_sec = [0-9]{8,}, tv1.tv_nsec = [0-9]{10}\n"
                                  "  tv2.tv_sec = [0-9]{8,}, tv2.tv_nsec = [0-9]{10}\n" +
                                  rule;

// The headings, each with the clock behind it; the rest of the text is compared exactly.
void expect_headings(std::string said) {
    for (const std::string &heading : {"OAL_Log2File(/var/test.log, 7, \"" + test_line + "\n\")\n",
                                       "OAL_Log2FileEx(/var/demo2, 7, \"" + test_line + "\n\")\n",
                                       "OAL_Log2FileExx(2, 7, \"" + test_line + "\n\")\n"}) {
        ASSERT_TRUE(said.starts_with(heading)) << said;
        said.erase(0, heading.size());
        const size_t end = said.find(rule, rule.size());
        ASSERT_NE(end, said.npos);
        EXPECT_THAT(said.substr(0, end + rule.size()), MatchesRegex(clock_pattern));
        said.erase(0, end + rule.size());
    }
    EXPECT_EQ(said, "");
}

void expect_lines(const std::string &file, size_t count, bool empty_between) {
    const std::string prefix = time_pattern + " \\[" + std::to_string(getpid()) + "\\] : ";
    const std::vector<std::string> lines = lines_of(file);
    ASSERT_EQ(lines.size(), count * (empty_between ? 2 : 1));
    for (size_t i = 0; i < lines.size(); ++i) {
        if (empty_between && i % 2 == 1) {
            EXPECT_EQ(lines[i], "");
            continue;
        }
        const size_t text = lines[i].find(test_line);
        ASSERT_NE(text, std::string::npos) << lines[i];
        EXPECT_THAT(lines[i].substr(0, text), MatchesRegex(prefix));
        EXPECT_EQ(lines[i].substr(text), test_line);
    }
}

}  // namespace

TEST_F(Logs, BenchmarkWritesOneLineMoreThanItsCount) {
    for (const int count : {0, 4}) {
        fs::remove(path);
        if (fs::exists("/var/demo2")) {
            fs::resize_file("/var/demo2", 0);  // the stream stays open
        }
        expect_headings(said_by([&] { EXPECT_EQ(OAL_Log2FileTest(path, count), 0); }));
        expect_lines(path, count + 1, true);
        expect_lines("/var/demo2", 2 * (count + 1), false);
    }
    EXPECT_FALSE(fs::exists("/var/demo0"));
    EXPECT_FALSE(fs::exists("/var/demo1"));
}

TEST_F(Logs, BenchmarkOfANegativeCountWritesNothing) {
    for (const int count : {-1, -2, INT32_MIN}) {
        expect_headings(said_by([&] { EXPECT_EQ(OAL_Log2FileTest(path, count), 0); }));
    }
    EXPECT_FALSE(fs::exists(path));
    EXPECT_FALSE(fs::exists("/var/demo2"));
}

TEST_F(Logs, RegisteredFileStaysOpen) {
    const size_t descriptors = libc_layer::open_descriptors();
    said_by([] {
        const Watch watch;
        OAL_Log2FileTest(path, 0);
        expect_lines("/var/demo2", 2, false);  // at once, though it is not closed
        OAL_Log2FileTest(path, 0);
    });
    EXPECT_EQ(libc_layer::open_descriptors(), descriptors + 1);
    EXPECT_THAT(layer().calls_of("fopen /var/demo"), ElementsAre("fopen /var/demo2 a+"));
}

TEST_F(Logs, RegisteredFileThatCannotBeOpened) {
    fs::create_directory("/var/demo2");
    const std::string complaint = "errno=21, Is a directory\n";
    std::string said;
    EXPECT_EQ(
        complained_by([&] { said = said_by([] { EXPECT_EQ(OAL_Log2FileTest(path, 1), 0); }); }),
        complaint + complaint + complaint + complaint);
    expect_headings(said);
    fs::remove("/var/demo2");
    said_by([] { OAL_Log2FileTest(path, 0); });  // tried again each time
    expect_lines("/var/demo2", 2, false);
}
