// What tests of settings share: files under the sandbox's /conf, locks that another process holds,
// and the counts that tell whether something was left behind.
#pragma once

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "boardfeatures/ipc.h"
#include "support/scripted_platform.h"

namespace config_files {

inline void write(const std::string &path, const std::string &text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

inline std::optional<std::string> read(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// The file of one value, as a person would write it.
inline std::string ini_text(const std::string &section, const std::string &key,
                            const std::string &value) {
    return "[" + section + "]\n" + key + "=" + value + "\n";
}

// The value that a file holds, read by the platform; not part of the record.
inline std::optional<std::string> stored(const std::string &path, const std::string &section,
                                         const std::string &key) {
    scripted::Platform &board = scripted::platform();
    const auto calls = board.calls;
    const auto fail_call = std::exchange(board.fail_call, std::nullopt);
    const auto fail_if = std::exchange(board.fail_if, nullptr);
    std::optional<std::string> found;
    if (IniHandle ini = IniLoadFile(path.c_str()); ini != nullptr) {
        char text[2048];
        if (IniGetStr(ini, section.c_str(), key.c_str(), "\x01", text, sizeof(text)) == 0 &&
            text[0] != '\x01') {
            found = text;
        }
        IniCloseFile(ini);
    }
    board.calls = calls;
    board.fail_call = fail_call;
    board.fail_if = fail_if;
    return found;
}

// -1 when there is no semaphore under the key.
inline int semaphore_value(int key) {
    const int set = semget(key, 0, 0);
    return set < 0 ? -1 : semctl(set, 0, GETVAL);
}

// -1 when there is no segment under the key.
inline int attachments(int key) {
    const int segment = shmget(key, 0, 0);
    shmid_ds status = {};
    if (segment < 0 || shmctl(segment, IPC_STAT, &status) != 0) {
        return -1;
    }
    return static_cast<int>(status.shm_nattch);
}

inline size_t open_descriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

// The handles that the recorded calls left open; a load that the script failed gave none.
inline long open_handles(const std::optional<size_t> &failed_call = std::nullopt) {
    long open = 0;
    const auto &calls = scripted::platform().calls;
    for (size_t i = 0; i < calls.size(); ++i) {
        const bool loads =
            calls[i].starts_with("IniLoadFile ") || calls[i].starts_with("VEL_IniLoadFile ");
        if (loads && !(failed_call && *failed_call == i + 1)) {
            ++open;
        } else if (calls[i] == "IniCloseFile") {
            --open;
        }
    }
    return open;
}

// Runs in another process; the exit status tells whether all expectations held there.
inline pid_t start_process(const std::function<void()> &body) {
    const pid_t child = fork();
    if (child == 0) {
        body();
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    return child;
}

inline void expect_success(pid_t child) {
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
}

inline void in_other_process(const std::function<void()> &body) {
    expect_success(start_process(body));
}

// Another process holds the locks of these keys while this lives.
class HeldElsewhere {
public:
    explicit HeldElsewhere(const std::vector<int> &keys) {
        int ready[2];
        int end[2];
        if (pipe(ready) != 0 || pipe(end) != 0) {
            ADD_FAILURE() << "no pipe";
            return;
        }
        child_ = fork();
        if (child_ == 0) {
            close(end[1]);
            close(ready[0]);
            char answer = 'y';
            for (const int key : keys) {
                OAL_SemCreate(key);
                answer = OAL_SemLockByKey(key, 0) == OAL_OK ? answer : 'n';
            }
            char none;
            if (::write(ready[1], &answer, 1) == 1 && ::read(end[0], &none, 1) == 1) {
                _exit(0);  // the kernel gives the locks back
            }
            _exit(1);
        }
        close(end[0]);
        close(ready[1]);
        end_ = end[1];
        char answer = 'n';
        EXPECT_EQ(::read(ready[0], &answer, 1), 1);
        EXPECT_EQ(answer, 'y');
        close(ready[0]);
    }
    ~HeldElsewhere() {
        EXPECT_EQ(::write(end_, "e", 1), 1);  // processes forked meanwhile hold the pipe open
        close(end_);
        waitpid(child_, nullptr, 0);
    }
    HeldElsewhere(const HeldElsewhere &) = delete;
    HeldElsewhere &operator=(const HeldElsewhere &) = delete;

private:
    pid_t child_ = -1;
    int end_ = -1;
};

// What every message of the settings carries.
struct Line {
    std::string channel;
    uint32_t level;
    std::string text;
    bool operator==(const Line &) const = default;
    friend std::ostream &operator<<(std::ostream &out, const Line &line) {
        return out << line.channel << ' ' << line.level << ' ' << testing::PrintToString(line.text);
    }
};

// "line=%d" repeats the line of the place: it reads "line=L" here, so that texts can be compared.
inline std::string without_line(const scripted::Message &message) {
    const std::string number = "line=" + std::to_string(message.line);
    std::string text = message.text;
    if (const size_t found = text.find(number); found != text.npos && message.line != 0) {
        text.replace(found, number.size(), "line=L");
    }
    return text;
}

// The recorded messages; those with a place must carry the settings' source name.
inline std::vector<Line> lines() {
    std::vector<Line> found;
    for (const scripted::Message &message : scripted::platform().messages) {
        if (message.line != 0 || !message.source.empty()) {
            EXPECT_EQ(message.source, "vel_ipmi_configfile") << message.text;
            EXPECT_GT(message.line, 0) << message.text;
        }
        found.push_back({message.channel, message.number, without_line(message)});
    }
    return found;
}

inline Line debug(const std::string &text) { return {"dbgout", 130, text}; }

}  // namespace config_files
