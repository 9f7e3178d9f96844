// Settings under real use: many processes at once, and processes that are killed at any point.
#include <gtest/gtest.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "boardfeatures/config.h"
#include "boardfeatures/ipc.h"

namespace {

constexpr uint32_t processes = 8;
constexpr uint32_t rounds = 500;
constexpr char time_path[] = "/conf/vel/time.ini";

// A locked file under test. `save` stores a value in the place of one process, `load` answers it;
// with one place for all, any process's value may be the answer.
struct Locked {
    std::string name;
    int key;
    bool shared_place;
    std::function<bool(uint32_t place, uint32_t value)> save;
    std::function<bool(uint32_t place, uint32_t &value)> load;
};

void require(bool holds, const char *what) {
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        _exit(1);
    }
}

PchDiskRecord pch_disk(uint32_t port) {
    PchDiskRecord record = {};
    record.cpu = 1;
    record.bus = 0x17;
    record.port = port;
    return record;
}

std::vector<Locked> all_locked() {
    return {
        {"nic_display", 12338, true,
         [](uint32_t, uint32_t value) { return IPMI_SaveNICDisplayCfg(value) == 0; },
         [](uint32_t, uint32_t &value) { return IPMI_LoadNICDisplayCfg(&value) == 0; }},
        {"time", 12303, true,
         [](uint32_t, uint32_t value) {
             return IPMI_UtcTimeAllConfig_SaveFile(value, time_path) == 0;
         },
         [](uint32_t, uint32_t &value) { return GetTimeStampFromRtc(&value, time_path) == 0; }},
        {"fantray", 12305, false,
         [](uint32_t place, uint32_t value) {
             const std::string text = std::to_string(value);
             return IPMI_SaveFantraySN(place, text.c_str(), value % 200) == 0;
         },
         [](uint32_t place, uint32_t &value) {
             char serial[64];
             uint8_t length = 0;
             const bool loaded = IPMI_LoadFantraySN(place, serial, &length) == 0;
             value = static_cast<uint32_t>(std::strtoul(serial, nullptr, 10));
             return loaded && length == value % 200;  // both keys are of one save
         }},
        {"custom_info", 12306, false,
         [](uint32_t place, uint32_t value) {
             const std::string text = std::to_string(value);
             return IPMI_SaveCustomInfo(3, place, text.c_str(), value) == 0;
         },
         [](uint32_t place, uint32_t &value) {
             char text[256];
             const bool loaded = IPMI_LoadCustomInfo(3, place, text, &value) == 0;
             return loaded && std::to_string(value) == text;
         }},
        {"custom_location", 12306, false,
         [](uint32_t place, uint32_t value) {
             // Without a zone of its own an entry conflicts with nothing: no search.
             const SlotEntry entry = {0, static_cast<uint8_t>(place), 255,
                                      static_cast<uint8_t>(value % 255)};
             const uint8_t set[6] = {0, 0, 0, 0, 0, 1};
             return IPMI_SaveCustomSlotConfig(1, &entry, set) == 0;
         },
         [](uint32_t place, uint32_t &value) {
             uint8_t zone = 255;
             uint8_t silk = 255;
             const bool loaded = IPMI_LoadCustomSlotConfig(0, place, &zone, &silk) == 0;
             value = silk;
             return loaded && silk != 255;
         }},
        {"custom_pchdisk", 12325, false,
         [](uint32_t place, uint32_t value) {
             PchDiskRecord record = pch_disk(place);
             record.slot = value;
             return IPMI_SaveCustomPchDiskConfig(&record, PCH_DISK_SLOT, 1) == 0;
         },
         [](uint32_t place, uint32_t &value) {
             PchDiskRecord record = pch_disk(place);
             const bool loaded = IPMI_LoadCustomPchDiskConfig(&record, PCH_DISK_SLOT) == 0;
             value = record.slot;
             return loaded;
         }},
        {"time_stamp", 12340, true,
         [](uint32_t, uint32_t value) { return IPMI_SaveBMCTimeStamp(value) == 0; },
         [](uint32_t, uint32_t &value) { return IPMI_LoadBMCTimeStamp(&value) == 0; }},
    };
}
void PrintTo(const Locked &file, std::ostream *out) { *out << file.name; }

// What a place holds after a save of `value`.
uint32_t kept(const Locked &file, uint32_t value) {
    return file.name == "custom_location" ? value % 255 : value;
}

pid_t start(const std::function<void()> &body) {
    const pid_t child = fork();
    if (child == 0) {
        body();
        _exit(0);
    }
    return child;
}

bool succeeded(pid_t child) {
    int status = -1;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

int semaphore_value(int key) { return semctl(semget(key, 0, 0), 0, GETVAL); }

void make_files() {
    std::filesystem::create_directories("/conf/vel");
    std::ofstream(time_path) << "[rtcConfig]\nutctime=1\n";
    // Made beforehand: who comes second when two make one at once fails.
    for (const int key : {12303, 12305, 12306, 12325, 12338, 12340}) {
        OAL_SemCreate(key);
    }
}

class EachLockedFile : public testing::TestWithParam<Locked> {
protected:
    EachLockedFile() { make_files(); }
};

}  // namespace

TEST_P(EachLockedFile, LosesNoUpdateOfEightProcesses) {
    const Locked &file = GetParam();
    ASSERT_TRUE(file.save(0, 1000));
    std::vector<pid_t> children;
    for (uint32_t place = 0; place < processes; ++place) {
        children.push_back(start([&] {
            for (uint32_t round = 1; round <= rounds; ++round) {
                const uint32_t value = (place + 1) * 1000 + round;
                uint32_t seen = 0;
                require(file.save(place, value), "save failed");
                require(file.load(place, seen), "load failed or saw a half-written file");
                if (file.shared_place) {
                    require(seen >= 1000 && seen <= (processes + 1) * 1000,
                            "a value that nobody saved");
                } else {
                    require(seen == kept(file, value), "an update was lost");
                }
            }
        }));
    }
    for (const pid_t child : children) {
        EXPECT_TRUE(succeeded(child));
    }
    for (uint32_t place = 0; place < processes && !file.shared_place; ++place) {
        uint32_t seen = 0;
        EXPECT_TRUE(file.load(place, seen));
        EXPECT_EQ(seen, kept(file, (place + 1) * 1000 + rounds));
    }
    EXPECT_EQ(semaphore_value(file.key), 1);
}

TEST_P(EachLockedFile, KilledProcessesLeaveTheLockFreeAndTheFileWhole) {
    const Locked &file = GetParam();
    constexpr uint32_t first = 1001;
    constexpr uint32_t second = 1002;
    constexpr int kills = 143;  // of seven files: 1,001 in all
    std::mt19937 random(static_cast<unsigned>(file.key) + static_cast<unsigned>(file.name[7]));
    ASSERT_TRUE(file.save(0, first));
    std::set<uint32_t> seen_values;
    for (int kill_number = 0; kill_number < kills; ++kill_number) {
        const pid_t child = start([&] {
            for (uint32_t round = 0;; ++round) {
                file.save(0, round % 2 == 0 ? second : first);
            }
        });
        usleep(static_cast<useconds_t>(random() % 2000));
        ASSERT_EQ(kill(child, SIGKILL), 0);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status));
        const auto started = std::chrono::steady_clock::now();
        uint32_t seen = 0;
        ASSERT_TRUE(file.load(0, seen)) << "kill " << kill_number;
        ASSERT_LT(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(2000));
        ASSERT_TRUE(seen == kept(file, first) || seen == kept(file, second)) << seen;
        ASSERT_EQ(semaphore_value(file.key), 1);
        seen_values.insert(seen);
    }
    EXPECT_EQ(seen_values.size(), 2u) << "the kills came in the midst of the saves";
    EXPECT_TRUE(file.save(0, second));
}

INSTANTIATE_TEST_SUITE_P(Config, EachLockedFile, testing::ValuesIn(all_locked()),
                         [](const auto &row) { return row.param.name; });

TEST(Time, IsAdvancedOnceForEachOfFourThousandCalls) {
    make_files();
    std::vector<pid_t> children;
    for (uint32_t process = 0; process < processes; ++process) {
        children.push_back(start([] {
            for (uint32_t round = 0; round < rounds; ++round) {
                uint32_t time = 0;
                require(IPMI_UtcTimeAddConfig_SaveFile(3, &time, time_path) == 0, "not advanced");
                require(time % 3 == 1, "a time that nobody made");
            }
        }));
    }
    for (const pid_t child : children) {
        EXPECT_TRUE(succeeded(child));
    }
    uint32_t time = 0;
    EXPECT_EQ(GetTimeStampFromRtc(&time, time_path), 0);
    EXPECT_EQ(time, 1 + 3 * processes * rounds);
}

TEST(AlarmCodes, ProcessesThatAreKilledLeaveTheListsLockFree) {
    make_files();
    ASSERT_EQ(VEL_CreateAlarmDisableCodeInfoShmAddr(), 0);
    std::mt19937 random(4138);
    for (int kill_number = 0; kill_number < 100; ++kill_number) {
        const pid_t child = start([] {
            for (;;) {
                SetAlarmDisableCodeInfo();
                AlarmDisableCodeInfo list;
                GetAlarmDisableCodeInfo(&list);
            }
        });
        usleep(static_cast<useconds_t>(random() % 1000));
        ASSERT_EQ(kill(child, SIGKILL), 0);
        ASSERT_EQ(waitpid(child, nullptr, 0), child);
        AlarmDisableCodeInfo list;
        ASSERT_EQ(GetAlarmDisableCodeInfo(&list), 0) << "kill " << kill_number;
        ASSERT_EQ(semaphore_value(4138), 1);
    }
}

TEST(AlarmCodes, EightProcessesSeeWholeLists) {
    make_files();
    ASSERT_EQ(VEL_CreateAlarmDisableCodeInfoShmAddr(), 0);
    std::vector<pid_t> children;
    for (uint32_t process = 0; process < processes; ++process) {
        children.push_back(start([process] {
            for (uint32_t round = 0; round < rounds; ++round) {
                for (uint16_t &code : g_AlarmDisbleCode) {
                    code = static_cast<uint16_t>(process * 1000 + round);
                }
                require(SetAlarmDisableCodeInfo() == 0, "not set");
                AlarmDisableCodeInfo list;
                require(GetAlarmDisableCodeInfo(&list) == 0, "not read");
                for (const uint16_t code : list.AlarmDisbleCode) {
                    require(code == list.AlarmDisbleCode[0], "a mixed list");
                }
            }
        }));
    }
    for (const pid_t child : children) {
        EXPECT_TRUE(succeeded(child));
    }
}
