// The operation log: its lines, its trimming, and every call of both failing.
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>

#include "log_files/log_files.h"
#include "support/child_process.h"

using namespace log_files;
using libc_layer::layer;
using libc_layer::Watch;
using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

namespace fs = std::filesystem;

const std::string folder = "/extlog/unified_log";
const std::string path = folder + "/operation_log.log";
const std::string copy = path + ".back";
constexpr size_t limit = 0x200000;

// Lines of `size` bytes, newline included, numbered from 1.
std::string numbered_lines(size_t count, size_t size) {
    std::string text;
    for (size_t number = 1; number <= count; ++number) {
        std::string line = "line " + std::to_string(number) + " ";
        line.resize(size - 1, '.');
        text += line + "\n";
    }
    return text;
}
std::string first_word(const std::string &line) { return line.substr(0, line.find(" .")); }

class OperationLog : public Logs {
protected:
    void SetUp() override { fs::create_directories(folder); }
    static void start_over() {
        fs::remove_all(folder);
        fs::create_directories(folder);
        layer().clear();
        platform().clear_record();
    }
};

}  // namespace

// ---- lines ----

TEST_F(OperationLog, Line) {
    EXPECT_EQ(Unified_Operation_Log2File("%s set to %d", "fan mode", 2), 0);
    EXPECT_THAT(text_of(path), MatchesRegex(time_pattern + "\\| fan mode set to 2\n"));
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(OperationLog, OneNewline) {
    EXPECT_EQ(Unified_Operation_Log2File("with\n"), 0);
    EXPECT_EQ(Unified_Operation_Log2File("without"), 0);
    EXPECT_EQ(Unified_Operation_Log2File("%s", ""), 0);
    EXPECT_EQ(Unified_Operation_Log2File("two\n\n"), 0);
    EXPECT_EQ(Unified_Operation_Log2File("\n"), 0);
    EXPECT_THAT(
        text_of(path),
        MatchesRegex(time_pattern + "\\| with\n" + time_pattern + "\\| without\n" + time_pattern +
                     "\\| \n" + time_pattern + "\\| two\n\n" + time_pattern + "\\| \n"));
}

TEST_F(OperationLog, LineEndsWithinItsBuffer) {
    // 21 bytes of time and bar; 1,023 in all, newline included.
    for (const size_t size : {1000u, 1001u, 1002u, 1003u, 1004u, 5000u}) {
        for (const bool newline : {false, true}) {
            start_over();
            const std::string message = std::string(size, 'm') + (newline ? "\n" : "");
            EXPECT_EQ(Unified_Operation_Log2File("%s", message.c_str()), 0);
            const std::string text = text_of(path);
            EXPECT_EQ(text.substr(21),
                      std::string(std::min<size_t>(size, 1023 - 21 - 1), 'm') + "\n");
        }
    }
}

TEST_F(OperationLog, TimeIsLocal) {
    setenv("TZ", "AAA-14", 1);
    const time_t before = time(nullptr);
    EXPECT_EQ(Unified_Operation_Log2File("x"), 0);
    tm local = {};
    ASSERT_NE(strptime(text_of(path).c_str(), "%Y-%m-%d %H:%M:%S", &local), nullptr);
    const time_t written = timegm(&local) - 14 * 3600;
    EXPECT_GE(written, before);
    EXPECT_LE(written, time(nullptr));
}

TEST_F(OperationLog, FolderIsMade) {
    fs::remove(folder);
    umask(0);
    EXPECT_EQ(Unified_Operation_Log2File("first"), 0);
    EXPECT_THAT(text_of(path), MatchesRegex(time_pattern + "\\| first\n"));
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms::all);
    EXPECT_THAT(messages(),
                ElementsAre("Unified_Operation_Log2File, /extlog/unified_log not existed, errno=2, "
                            "No such file or directory\n"));
}

TEST_F(OperationLog, Null) {
    int32_t (*const log)(const char *, ...) = Unified_Operation_Log2File;
    const Watch watch;
    EXPECT_EQ(log(nullptr), -1);
    EXPECT_THAT(layer().calls, IsEmpty());
}

TEST_F(OperationLog, LineThatCannotBeWrittenIsLostAlone) {
    ASSERT_EQ(symlink("/dev/full", path.c_str()), 0);
    EXPECT_EQ(Unified_Operation_Log2File("x"), 0);
    EXPECT_THAT(messages(), IsEmpty());
}

// ---- trimming ----

TEST_F(OperationLog, KeepsWhatFollowsThreeThousandLines) {
    write(path, numbered_lines(3500, 600));  // more than 2 MiB
    ASSERT_GE(fs::file_size(path), limit);
    EXPECT_EQ(Unified_Operation_Log2File("the new one"), 0);
    const std::vector<std::string> lines = lines_of(path);
    ASSERT_EQ(lines.size(), 501u);
    for (size_t i = 0; i < 500; ++i) {
        ASSERT_EQ(first_word(lines[i]), "line " + std::to_string(3001 + i));
        ASSERT_EQ(lines[i].size(), 599u);
    }
    EXPECT_THAT(lines[500], MatchesRegex(time_pattern + "\\| the new one"));
    EXPECT_FALSE(fs::exists(copy));
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(OperationLog, FromTwoMebibytesOn) {
    const std::pair<size_t, bool> sizes[] = {
        {0, false}, {limit - 1, false}, {limit, true}, {limit + 1, true}};
    for (const auto &[size, trimmed] : sizes) {
        write(path, std::string(3000, '\n') + std::string(size < 3000 ? 0 : size - 3000, 'x'));
        fs::resize_file(path, size);
        Unified_Check_OperationLog();
        EXPECT_EQ(fs::file_size(path), trimmed ? size - 3000 : size);
    }
}

TEST_F(OperationLog, OfLongLinesNothingIsLeft) {
    write(path, numbered_lines(2100, 1000));
    ASSERT_GE(fs::file_size(path), limit);
    EXPECT_EQ(Unified_Operation_Log2File("the new one is line 2101"), 0);
    EXPECT_EQ(text_of(path), "");
}

TEST_F(OperationLog, ALineBeyondTheBufferCountsAsSeveral) {
    // 1,023 bytes at a time: the first line is 2,100 pieces.
    write(path, std::string(1023 * 2100 - 1, 'x') + "\n" + numbered_lines(1000, 20));
    Unified_Check_OperationLog();
    const std::vector<std::string> lines = lines_of(path);
    ASSERT_EQ(lines.size(), 100u);
    EXPECT_EQ(first_word(lines[0]), "line 901");
}

TEST_F(OperationLog, WithoutALastNewline) {
    write(path, std::string(3000, '\n') + "whole\n" + std::string(limit, 'x'));
    Unified_Check_OperationLog();
    EXPECT_EQ(text_of(path), "whole\n" + std::string(limit, 'x'));
}

TEST_F(OperationLog, ALeftoverCopyIsOverwritten) {
    write(copy, std::string(5 * limit, 'y'));
    write(path, numbered_lines(3500, 600));
    Unified_Check_OperationLog();
    EXPECT_EQ(lines_of(path).size(), 500u);
    EXPECT_FALSE(fs::exists(copy));
}

// ---- order of the calls, and their failures ----

namespace {

const char open_log[] = "fopen /extlog/unified_log/operation_log.log r+";
const char open_copy[] = "fopen /extlog/unified_log/operation_log.log.back w+";
const char delete_log[] = "unlink /extlog/unified_log/operation_log.log";
const char rename_copy[] =
    "rename /extlog/unified_log/operation_log.log.back /extlog/unified_log/operation_log.log";
const std::vector<std::string> trimming = {open_log,  "fseek 0 2", "ftell",
                                           open_copy, "fseek 0 0", "fclose",
                                           "fclose",  delete_log,  rename_copy};

}  // namespace

TEST_F(OperationLog, CallsOfAnAppend) {
    fs::remove(folder);
    const size_t descriptors = libc_layer::open_descriptors();
    const Watch watch;
    EXPECT_EQ(Unified_Operation_Log2File("x"), 0);
    EXPECT_THAT(layer().calls,
                ElementsAre("access /extlog/unified_log 0", "mkdir /extlog/unified_log 0777",
                            "fopen /extlog/unified_log/operation_log.log a+", "fclose", open_log,
                            "fseek 0 2", "ftell", "fclose"));
    EXPECT_EQ(libc_layer::open_descriptors(), descriptors);
}

TEST_F(OperationLog, CallsOfATrim) {
    write(path, numbered_lines(3500, 600));
    const size_t descriptors = libc_layer::open_descriptors();
    const Watch watch;
    Unified_Check_OperationLog();
    EXPECT_EQ(layer().calls, trimming);
    EXPECT_EQ(libc_layer::open_descriptors(), descriptors);
}

TEST_F(OperationLog, EveryCallOfAnAppendFailing) {
    const struct {
        const char *call;
        int32_t result;
        std::vector<std::string> said;
        bool written;
    } rows[] = {
        // a folder that is not seen cannot be made either
        {"access",
         -1,
         {"Unified_Operation_Log2File, /extlog/unified_log not existed, errno=13, Permission "
          "denied\n",
          "Unified_Operation_Log2File, mkdir /extlog/unified_log, errno=17, File exists\n"},
         false},
        {"fopen /extlog/unified_log/operation_log.log a+",
         -1,
         {"Unified_Operation_Log2File, errno=13, Permission denied\n"},
         false},
        {"fclose", 0, {}, true},
        {open_log,
         0,
         {"Unified_Check_OperationLog, reopen failed, errno=13, Permission denied\n"},
         true},
        {"fseek 0 2", 0, {"Unified_Check_OperationLog, fseek SEEK_END failed  errno=13\n"}, true},
        {"ftell", 0, {}, true},
    };
    const size_t descriptors = libc_layer::open_descriptors();
    for (const auto &row : rows) {
        start_over();
        layer().fail_with = [&](const std::string &call) {
            return call.starts_with(row.call) ? EACCES : 0;
        };
        {
            const Watch watch;
            EXPECT_EQ(Unified_Operation_Log2File("x"), row.result) << row.call;
        }
        EXPECT_EQ(messages(), row.said) << row.call;
        EXPECT_EQ(lines_of(path).size(), row.written ? 1u : 0u) << row.call;
        EXPECT_EQ(libc_layer::open_descriptors(), descriptors) << row.call;
    }
}

TEST_F(OperationLog, FolderThatCannotBeMade) {
    fs::remove(folder);
    layer().fail_with = [](const std::string &call) {
        return call.starts_with("mkdir") ? EROFS : 0;
    };
    const Watch watch;
    EXPECT_EQ(Unified_Operation_Log2File("x"), -1);
    EXPECT_THAT(layer().calls,
                ElementsAre("access /extlog/unified_log 0", "mkdir /extlog/unified_log 0777"));
    EXPECT_THAT(messages(),
                ElementsAre("Unified_Operation_Log2File, /extlog/unified_log not existed, errno=2, "
                            "No such file or directory\n",
                            "Unified_Operation_Log2File, mkdir /extlog/unified_log, errno=30, "
                            "Read-only file system\n"));
}

TEST_F(OperationLog, EveryCallOfATrimFailing) {
    constexpr size_t all = 3500;
    struct Row {
        std::vector<std::string> said;
        size_t lines;        // of the log afterwards
        bool copy_is_there;  // …
        size_t calls;        // made in all
    };
    const Row rows[] = {
        {{"Unified_Check_OperationLog, reopen failed, errno=13, Permission denied\n"},
         all,
         false,
         1},
        // the size is read where the stream stands: at the beginning
        {{"Unified_Check_OperationLog, fseek SEEK_END failed  errno=13\n"}, all, false, 4},
        {{}, all, false, 4},
        {{"Unified_Check_OperationLog, open back file failed, errno=13, Permission denied\n"},
         all,
         false,
         5},
        // read from where the stream stands: at the end
        {{"Unified_Check_OperationLog, fseek SEEK_SET failed  errno=13\n"}, 0, false, 9},
        {{}, 500, false, 9},
        {{}, 500, false, 9},
        {{"Unified_Check_OperationLog: unlink failed, errno=13, Permission denied.\n"},
         all,
         true,
         8},
        {{"Unified_Check_OperationLog: rename  failed, errno=13, Permission denied.\n"},
         0,
         true,
         9},
    };
    ASSERT_EQ(std::size(rows), trimming.size());
    const std::string text = numbered_lines(all, 600);
    const size_t descriptors = libc_layer::open_descriptors();
    for (size_t i = 0; i < std::size(rows); ++i) {
        start_over();
        write(path, text);
        layer().fail_call = i + 1;
        layer().failure = EACCES;
        {
            const Watch watch;
            Unified_Check_OperationLog();
        }
        EXPECT_EQ(messages(), rows[i].said) << trimming[i];
        EXPECT_EQ(lines_of(path).size(), rows[i].lines) << trimming[i];
        EXPECT_EQ(fs::exists(copy), rows[i].copy_is_there) << trimming[i];
        EXPECT_EQ(layer().calls.size(), rows[i].calls) << trimming[i];
        EXPECT_EQ(libc_layer::open_descriptors(), descriptors) << trimming[i];
    }
}

// What cannot be read ends the copy, what cannot be written is missing in it; neither is said.
TEST_F(OperationLog, EveryTransferFailing) {
    const std::string text = numbered_lines(3500, 600);
    const size_t descriptors = libc_layer::open_descriptors();
    const auto trim = [&](const char *failing, size_t number) {
        start_over();
        write(path, text);
        layer().transfers = true;
        size_t transfers = 0;
        layer().fail_with = [&](const std::string &call) {
            return call == failing && ++transfers == number ? EIO : 0;
        };
        {
            const Watch watch;
            Unified_Check_OperationLog();
        }
        EXPECT_THAT(messages(), IsEmpty());
        EXPECT_FALSE(fs::exists(copy));
        EXPECT_EQ(libc_layer::open_descriptors(), descriptors);
        return transfers;
    };
    for (const char *failing : {"read", "write"}) {
        const size_t transfers = trim(failing, 0);
        EXPECT_EQ(lines_of(path).size(), 500u);
        ASSERT_GT(transfers, 10u);
        size_t shortest = text.size();
        for (const size_t number : {size_t{1}, transfers / 2, transfers - 1}) {
            trim(failing, number);
            const std::string left = text_of(path);
            EXPECT_LT(left.size(), 500u * 600u) << failing << " " << number;
            shortest = std::min(shortest, left.size());
        }
        EXPECT_EQ(shortest == 0, failing == std::string("read"));
    }
}

TEST_F(OperationLog, AnAppendThatFailsIsLostAlone) {
    write(path, "before\n");
    layer().transfers = true;
    layer().fail_with = [](const std::string &call) { return call == "write" ? EIO : 0; };
    const size_t descriptors = libc_layer::open_descriptors();
    {
        const Watch watch;
        EXPECT_EQ(Unified_Operation_Log2File("x"), 0);
        EXPECT_EQ(layer().calls_of("write").size(), 1u);
    }
    EXPECT_EQ(text_of(path), "before\n");
    EXPECT_THAT(messages(), IsEmpty());
    EXPECT_EQ(libc_layer::open_descriptors(), descriptors);
}

// ---- several processes ----

namespace {

// Each appends its lines; the log's lines that are theirs, "process.number".
std::multiset<std::string> append_from_four(int lines) {
    std::vector<std::unique_ptr<child_process::Child>> children;
    for (int number = 0; number < 4; ++number) {
        children.push_back(std::make_unique<child_process::Child>([=] {
            for (int line = 0; line < lines; ++line) {
                if (Unified_Operation_Log2File("<%d.%d>", number, line) != 0) {
                    return 1;
                }
            }
            return 0;
        }));
    }
    for (const auto &child : children) {
        EXPECT_EQ(child->wait(), 0);
    }
    std::multiset<std::string> found;
    for (const std::string &line : lines_of(path)) {
        if (line.find("line ") == 0) {
            continue;
        }
        EXPECT_THAT(line, MatchesRegex(time_pattern + "\\| <[0-3]\\.[0-9]+>"));
        found.insert(line.substr(line.find('<')));
    }
    return found;
}

}  // namespace

TEST_F(OperationLog, AppendsOfFourProcessesAreAllKept) {
    constexpr int lines = 500;
    const std::multiset<std::string> found = append_from_four(lines);
    EXPECT_EQ(found.size(), 4u * lines);
    EXPECT_EQ(std::set<std::string>(found.begin(), found.end()).size(), 4u * lines);
}

// Trimming is not locked: what is appended between the copy's last line and its renaming goes with
// the deleted log, and a second process that trims at the same time deletes what the first one
// kept. How much that is, is measured here and told in docs/operation-log.md.
TEST_F(OperationLog, TrimmedWhileFourProcessesAppend) {
    constexpr int lines = 600;
    constexpr size_t kept_lines = 494;
    std::vector<size_t> lost;
    std::vector<size_t> kept;
    for (int round = 0; round < 4; ++round) {
        start_over();
        write(path, numbered_lines(3000 + kept_lines, 600));  // a few lines short of 2 MiB
        ASSERT_LT(fs::file_size(path), limit);
        const std::multiset<std::string> found = append_from_four(lines);
        lost.push_back(4u * lines - found.size());
        // What is there is there once and whole, and so it goes on.
        EXPECT_EQ(std::set<std::string>(found.begin(), found.end()).size(), found.size());
        EXPECT_LT(fs::file_size(path), limit);
        size_t old = 0;
        for (const std::string &line : lines_of(path)) {
            old += line.starts_with("line ") ? 1 : 0;
        }
        EXPECT_THAT(old, testing::AnyOf(0u, kept_lines));
        kept.push_back(old);
        EXPECT_EQ(Unified_Operation_Log2File("the last"), 0);
        EXPECT_THAT(lines_of(path).back(), MatchesRegex(time_pattern + "\\| the last"));
    }
    std::cout << "lost of " << 4 * lines << " appended: " << testing::PrintToString(lost)
              << ", kept of " << kept_lines << ": " << testing::PrintToString(kept) << "\n";
}
