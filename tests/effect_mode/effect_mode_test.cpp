// The effect mode: file, shared cache and lock, every message and every failure.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "boardfeatures/ipc.h"
#include "boardfeatures/pcieid_settings.h"
#include "support/child_process.h"
#include "support/libc_layer.h"
#include "support/scripted_platform.h"

using child_process::Child;
using child_process::Signpost;
using libc_layer::layer;
using libc_layer::Watch;
using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

constexpr int32_t cache_key = 4123;
constexpr int32_t lock_key = 12309;
constexpr char path[] = "/conf/vel/pcieidcfg.ini";

const char done[] = "warn __sync_cache: sync ini file and cache, done.\n";
const char updated[] = "warn pcieidcfg_set_effect_mode: retval=0, errno=*, *.\n";
const char to_automatic[] =
    "info pcieidcfg_set_effect_mode: set 'new PCIe config take effect' mode to Automatic(41).\n";
const char to_intelligent[] =
    "info pcieidcfg_set_effect_mode: set 'new PCIe config take effect' mode to Intelligent(49).\n";

void write_file(const std::string &text) {
    mkdir("/conf/vel", 0755);
    std::ofstream(path) << text;
}
void write_mode(const std::string &mode) {
    write_file("[probe_new_config]\ntake_effect_mode=" + mode + "\n");
}
std::string file_text() {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}
bool file_has(const std::string &mode) {
    return file_text().find("take_effect_mode=" + mode + "\n") != std::string::npos;
}
bool has_cache() { return shmget(cache_key, 0, 0) != -1; }
uint32_t cached() {
    uint32_t value = 0xDEAD;
    EXPECT_EQ(OAL_ShmRead(cache_key, &value, sizeof(value), 0), 0u);
    return value;
}
void cache(uint32_t value) {
    OAL_CreatMemResource(cache_key, 4);
    ASSERT_EQ(OAL_ShmWrite(cache_key, &value, sizeof(value), 0), 0u);
}
int lock_value() { return semctl(semget(lock_key, 0, 0), 0, GETVAL); }
void remove_all() {
    shmctl(shmget(cache_key, 0, 0), IPC_RMID, nullptr);
    semctl(semget(cache_key, 0, 0), 0, IPC_RMID);
    semctl(semget(lock_key, 0, 0), 0, IPC_RMID);
}

template <typename Call>
auto watched(Call call) {
    const Watch watch;
    return call();
}
void fail_calls(const std::string &prefix, int error, int from = 1) {
    layer().fail_with = [=, seen = 0](const std::string &call) mutable {
        return call.starts_with(prefix) && ++seen >= from ? error : 0;
    };
}

// "warn step: text" of each message; the step and the line stand in its text as well. What errno
// happened to be is left out.
std::vector<std::string> log_lines() {
    std::vector<std::string> lines;
    for (const scripted::Message &message : platform().messages) {
        EXPECT_EQ(message.number, 56u);
        EXPECT_EQ(message.source, "pcieidcfg_ini");
        const std::string place = message.function + "(@" + std::to_string(message.line) + ") ";
        EXPECT_THAT(message.text, StartsWith(place));
        std::string text = message.text.substr(place.size());
        const size_t error = text.find("errno=");
        if (error != text.npos) {
            text = text.substr(0, error) + "errno=*, *.\n";
        }
        lines.push_back(message.channel + " " + message.function + ": " + text);
    }
    return lines;
}
std::string last_text() { return platform().messages.back().text; }

}  // namespace

// ---- synchronising ----

TEST(EffectMode, InitCopiesTheFileIntoTheCache) {
    write_mode("65");
    EXPECT_EQ(pcieidcfg_ini_init(), 0);
    EXPECT_EQ(cached(), 65u);
    EXPECT_TRUE(file_has("65"));
    EXPECT_THAT(log_lines(), ElementsAre(done));
    EXPECT_THAT(platform().calls,
                ElementsAre("IniLoadFile /conf/vel/pcieidcfg.ini",
                            "IniGetUInt probe_new_config/take_effect_mode", "IniCloseFile",
                            "IniLoadFile /conf/vel/pcieidcfg.ini",
                            "IniSetUInt probe_new_config/take_effect_mode",
                            "IniSaveFile /conf/vel/pcieidcfg.ini", "IniCloseFile"));
    EXPECT_EQ(lock_value(), 1);
}

TEST(EffectMode, InitHappensOnceInAProcess) {
    write_mode("65");
    pcieidcfg_ini_init();
    write_mode("73");
    platform().clear_record();
    EXPECT_EQ(pcieidcfg_ini_init(), 0);
    EXPECT_EQ(cached(), 65u);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(EffectMode, InitWithoutAFileStillAnswersZero) {
    EXPECT_EQ(pcieidcfg_ini_init(), 0);
    EXPECT_THAT(log_lines(), ElementsAre("warn __cfg_file_read: errno=*, *.\n",
                                         "warn __sync_cache: retval=-1, errno=*, *.\n"));
    EXPECT_FALSE(has_cache());
    write_mode("65");
    EXPECT_EQ(pcieidcfg_ini_init(), 0);
    EXPECT_EQ(cached(), 65u);
}

TEST(EffectMode, AMissingEntryAppearsWithItsDefault) {
    for (const char *text : {"", "[other]\nkey=1\n"}) {
        write_file(text);
        Child process([] {
            uint32_t mode = 0;
            return pcieidcfg_get_effect_mode(&mode) == 0 && mode == 73 ? 0 : 1;
        });
        EXPECT_EQ(process.wait(), 0);
        EXPECT_TRUE(file_has("73")) << file_text();
    }
    EXPECT_NE(file_text().find("key=1"), std::string::npos);
}

TEST(EffectMode, TheSystemCallsOfTheFirstUse) {
    write_mode("73");
    uint32_t mode = 0;
    EXPECT_EQ(watched([&] { return pcieidcfg_get_effect_mode(&mode); }), 0);
    EXPECT_THAT(layer().calls,
                ElementsAre("semget 12309 0 0x0", "semget 12309 1 0x7B6", "semctl 12309 0 SETVAL 1",
                            "semget 12309 0 0x0", "semtimedop 12309 0:-1:0x1000 10.000000000",
                            "shmget 4123 0 0x0", "shmget 4123 4 0x7B6", "semget 4123 0 0x0",
                            "semget 4123 1 0x7B6", "semctl 4123 0 SETVAL 1", "shmget 4123 0 0x0",
                            "shmat 4123 0x0", "semget 12309 0 0x0",
                            "semtimedop 12309 0:1:0x1000 10.000000000"));
    layer().calls.clear();
    EXPECT_EQ(watched([&] { return pcieidcfg_get_effect_mode(&mode); }), 0);
    EXPECT_THAT(layer().calls,
                ElementsAre("semget 12309 0 0x0", "semget 12309 0 0x0", "semget 12309 0 0x0",
                            "semtimedop 12309 0:-1:0x1000 10.000000000", "semget 12309 0 0x0",
                            "semtimedop 12309 0:1:0x1000 10.000000000"));
}

// ---- getting ----

TEST(EffectMode, GetAnswersTheFileOfTheStart) {
    for (const uint32_t wanted : {65u, 73u}) {
        write_mode(std::to_string(wanted));
        Child process([=] {
            uint32_t mode = 0;
            const int32_t result = pcieidcfg_get_effect_mode(&mode);
            return result == 0 && mode == wanted && log_lines().size() == 1 ? 0 : 1;
        });
        EXPECT_EQ(process.wait(), 0);
        EXPECT_EQ(cached(), wanted);
    }
}

TEST(EffectMode, GetWithoutAFileAnswersTheCache) {
    cache(65);
    uint32_t mode = 0;
    EXPECT_EQ(pcieidcfg_get_effect_mode(&mode), 0);
    EXPECT_EQ(mode, 65u);
    EXPECT_THAT(log_lines(), ElementsAre("warn __cfg_file_read: errno=*, *.\n",
                                         "warn __sync_cache: retval=-1, errno=*, *.\n"));
}

TEST(EffectMode, GetWithoutAFileRepairsAFreshCache) {
    uint32_t mode = 99;
    EXPECT_EQ(pcieidcfg_get_effect_mode(&mode), 0);
    EXPECT_EQ(mode, 0u);
    EXPECT_EQ(cached(), 73u);
    EXPECT_EQ(file_text(), "");
    EXPECT_THAT(log_lines(),
                ElementsAre("warn __cfg_file_read: errno=*, *.\n",
                            "warn __sync_cache: retval=-1, errno=*, *.\n", updated,
                            "warn __cfg_file_write: errno=*, *.\n",
                            "warn pcieidcfg_set_effect_mode: retval=-1, errno=*, *.\n"));
    EXPECT_EQ(lock_value(), 1);
    // it is not synchronised: a file that appears counts
    write_mode("65");
    EXPECT_EQ(pcieidcfg_get_effect_mode(&mode), 0);
    EXPECT_EQ(mode, 65u);
}

TEST(EffectMode, AnInvalidModeIsAnsweredOnceAndRepaired) {
    write_mode("66");
    uint32_t mode = 0;
    EXPECT_EQ(pcieidcfg_get_effect_mode(&mode), 0);
    EXPECT_EQ(mode, 66u);
    EXPECT_EQ(cached(), 73u);
    EXPECT_TRUE(file_has("73"));
    EXPECT_THAT(log_lines(), ElementsAre(done, updated, to_intelligent));
    EXPECT_EQ(pcieidcfg_get_effect_mode(&mode), 0);
    EXPECT_EQ(mode, 73u);
}

TEST(EffectMode, GetRefusesNull) {
    write_mode("65");
    EXPECT_EQ(watched([] { return pcieidcfg_get_effect_mode(nullptr); }), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(layer().calls, IsEmpty());
}

TEST(EffectMode, GetFailsWithoutACache) {
    write_mode("65");
    for (const char *call : {"shmat", "shmget 4123 4", "semget 4123 1"}) {
        remove_all();
        platform().clear_record();
        fail_calls(call, ENOMEM);
        uint32_t mode = 73;
        EXPECT_EQ(watched([&] { return pcieidcfg_get_effect_mode(&mode); }), -1) << call;
        EXPECT_EQ(mode, 73u);
        EXPECT_THAT(log_lines(),
                    ElementsAre("warn __sync_cache: retval=-1, errno=*, *.\n",
                                "warn pcieidcfg_get_effect_mode: retval=-1, errno=*, *.\n"));
        EXPECT_TRUE(file_has("65"));
        EXPECT_EQ(lock_value(), 1);
    }
}

TEST(EffectMode, GetWithoutACacheJudgesWhatTheCallerBrought) {
    write_mode("65");
    fail_calls("shmat", ENOMEM);
    uint32_t mode = 99;
    EXPECT_EQ(watched([&] { return pcieidcfg_get_effect_mode(&mode); }), -1);
    EXPECT_EQ(mode, 99u);
    EXPECT_TRUE(file_has("73"));
    EXPECT_THAT(log_lines(), ElementsAre("warn __sync_cache: retval=-1, errno=*, *.\n",
                                         "warn pcieidcfg_get_effect_mode: retval=-1, errno=*, *.\n",
                                         to_intelligent));
}

// ---- setting ----

TEST(EffectMode, SetStoresInFileAndCache) {
    write_mode("73");
    EXPECT_EQ(watched([] { return pcieidcfg_set_effect_mode('A'); }), 0);
    EXPECT_TRUE(file_has("65"));
    EXPECT_EQ(cached(), 65u);
    EXPECT_THAT(log_lines(), ElementsAre(updated, to_automatic));
    // flushed before the lock is given back
    const std::vector<std::string> &calls = layer().calls;
    ASSERT_GE(calls.size(), 3u);
    EXPECT_EQ(calls[calls.size() - 3], "sync");
    EXPECT_EQ(calls.back(), "semtimedop 12309 0:1:0x1000 10.000000000");

    platform().clear_record();
    EXPECT_EQ(pcieidcfg_set_effect_mode('I'), 0);
    EXPECT_TRUE(file_has("73"));
    EXPECT_EQ(cached(), 73u);
    EXPECT_THAT(log_lines(), ElementsAre(updated, to_intelligent));
    EXPECT_THAT(platform().calls,
                ElementsAre("IniLoadFile /conf/vel/pcieidcfg.ini",
                            "IniSetUInt probe_new_config/take_effect_mode",
                            "IniSaveFile /conf/vel/pcieidcfg.ini", "IniCloseFile"));
}

TEST(EffectMode, SetRefusesOtherLetters) {
    write_mode("73");
    for (const uint32_t mode : {0x42u, 0u, 0x61u, 0x141u, 0xFFFFFFFFu}) {
        platform().clear_record();
        EXPECT_EQ(watched([=] { return pcieidcfg_set_effect_mode(mode); }), -1);
        EXPECT_THAT(log_lines(), ElementsAre("warn pcieidcfg_set_effect_mode: take_effect_mode=" +
                                             std::to_string(mode) + ".\n"));
        EXPECT_THAT(platform().calls, IsEmpty());
        EXPECT_THAT(layer().calls, IsEmpty());
    }
    EXPECT_TRUE(file_has("73"));
}

TEST(EffectMode, SetWithoutAFileChangesTheCacheOnly) {
    EXPECT_EQ(watched([] { return pcieidcfg_set_effect_mode('A'); }), -1);
    EXPECT_EQ(cached(), 65u);
    EXPECT_THAT(log_lines(),
                ElementsAre(updated, "warn __cfg_file_write: errno=*, *.\n",
                            "warn pcieidcfg_set_effect_mode: retval=-1, errno=*, *.\n"));
    EXPECT_EQ(layer().calls_of("sync").size(), 1u);
    EXPECT_EQ(lock_value(), 1);
}

TEST(EffectMode, SetWithoutACacheChangesTheFileOnly) {
    write_mode("73");
    fail_calls("shmat", ENOMEM);
    EXPECT_EQ(watched([] { return pcieidcfg_set_effect_mode('A'); }), 0);
    EXPECT_TRUE(file_has("65"));
    EXPECT_THAT(log_lines(), ElementsAre(to_automatic));
}

TEST(EffectMode, AFailedSaveIsLoggedOnly) {
    write_mode("73");
    platform().fail_if = [](const std::string &call) { return call.starts_with("IniSaveFile"); };
    EXPECT_EQ(pcieidcfg_set_effect_mode('A'), 0);
    EXPECT_TRUE(file_has("73"));
    EXPECT_THAT(log_lines(),
                ElementsAre(updated, "warn __cfg_file_write: errno=*, *.\n", to_automatic));
    EXPECT_EQ(platform().calls.back(), "IniCloseFile");
}

TEST(EffectMode, AFailedSaveDoesNotKeepAProcessFromBeingSynchronised) {
    write_mode("65");
    platform().fail_if = [](const std::string &call) { return call.starts_with("IniSaveFile"); };
    pcieidcfg_ini_init();
    EXPECT_THAT(log_lines(), ElementsAre("warn __cfg_file_write: errno=*, *.\n", done));
}

TEST(EffectMode, AFailedWriteBackLeavesTheProcessUnsynchronised) {
    write_mode("65");
    platform().fail_call = 4;  // the second load
    uint32_t mode = 0;
    EXPECT_EQ(pcieidcfg_get_effect_mode(&mode), 0);
    EXPECT_EQ(mode, 65u);
    EXPECT_THAT(log_lines(), ElementsAre("warn __cfg_file_write: errno=*, *.\n",
                                         "warn __sync_cache: retval=-1, errno=*, *.\n"));
    platform().clear_record();
    platform().fail_call.reset();
    pcieidcfg_ini_init();
    EXPECT_THAT(log_lines(), ElementsAre(done));
}

// ---- the lock ----

TEST(EffectModeLock, ASemaphoreThatCannotBeMadeIsLogged) {
    write_mode("65");
    fail_calls("semget 12309 1", ENOSPC);
    uint32_t mode = 0;
    EXPECT_EQ(watched([&] { return pcieidcfg_get_effect_mode(&mode); }), 0);
    EXPECT_EQ(mode, 65u);
    EXPECT_EQ(platform().messages.front().text,
              "__ini_lock(@" + std::to_string(platform().messages.front().line) +
                  ") sem create failed, retval=-2146401533, errno=28, No space left on device.\n");
    EXPECT_THAT(
        log_lines(),
        ElementsAre("warn __ini_lock: sem create failed, retval=-2146401533, errno=*, *.\n", done));
}

TEST(EffectModeLock, ALockThatCannotBeTakenIsLogged) {
    write_mode("65");
    fail_calls("semtimedop 12309 0:-1", EIDRM);
    uint32_t mode = 0;
    EXPECT_EQ(watched([&] { return pcieidcfg_get_effect_mode(&mode); }), 0);
    EXPECT_EQ(mode, 65u);
    EXPECT_EQ(platform().messages.front().text,
              "__ini_lock(@" + std::to_string(platform().messages.front().line) +
                  ") sem lock failed, retval=-2146401532, errno=43, Identifier removed.\n");
    // what was not taken is not given back
    EXPECT_EQ(lock_value(), 1);
}

TEST(EffectModeLock, AFailedUnlockHasTheLocksText) {
    write_mode("65");
    fail_calls("semtimedop 12309 0:1", EIDRM);
    uint32_t mode = 0;
    EXPECT_EQ(watched([&] { return pcieidcfg_get_effect_mode(&mode); }), 0);
    EXPECT_EQ(last_text(), "__ini_unlock(@" + std::to_string(platform().messages.back().line) +
                               ") sem lock failed, retval=-2146401531, errno=43, Identifier "
                               "removed.\n");
    EXPECT_THAT(log_lines(), ElementsAre(done,
                                         "warn __ini_unlock: sem lock failed, retval=-2146401531, "
                                         "errno=*, *.\n"));
}

TEST(EffectModeLock, AHeldLockIsWaitedForAndThenPassed) {
    write_mode("65");
    OAL_SemCreate(lock_key);
    ASSERT_EQ(OAL_LockMemResource(lock_key), 0u);
    const auto start = std::chrono::steady_clock::now();
    uint32_t mode = 0;
    EXPECT_EQ(pcieidcfg_get_effect_mode(&mode), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_EQ(mode, 65u);
    EXPECT_EQ(lock_value(), 0);
}

// ---- several processes ----

TEST(EffectModeProcesses, ASecondOneSeesAChangeAtOnce) {
    write_mode("73");
    const Signpost ready;
    const Signpost changed;
    Child second([&] {
        uint32_t mode = 0;
        if (pcieidcfg_get_effect_mode(&mode) != 0 || mode != 73) {
            return 1;
        }
        ready.reach();
        changed.wait();
        return pcieidcfg_get_effect_mode(&mode) == 0 && mode == 65 ? 0 : 2;
    });
    ready.wait();
    EXPECT_EQ(pcieidcfg_set_effect_mode('A'), 0);
    changed.reach();
    EXPECT_EQ(second.wait(), 0);
}

TEST(EffectModeProcesses, AFileEditedByHandCountsFromTheNextStart) {
    write_mode("73");
    const Signpost edited;
    Child next([&] {
        edited.wait();
        uint32_t mode = 0;
        return pcieidcfg_get_effect_mode(&mode) == 0 && mode == 65 ? 0 : 1;
    });
    uint32_t mode = 0;
    pcieidcfg_get_effect_mode(&mode);
    write_mode("65");
    EXPECT_EQ(pcieidcfg_get_effect_mode(&mode), 0);
    EXPECT_EQ(mode, 73u);
    edited.reach();
    EXPECT_EQ(next.wait(), 0);
    // and it has brought the new mode to all
    EXPECT_EQ(pcieidcfg_get_effect_mode(&mode), 0);
    EXPECT_EQ(mode, 65u);
}

TEST(EffectModeProcesses, ManyKeepFileAndCacheTogether) {
    write_mode("73");
    std::vector<std::unique_ptr<Child>> children;
    for (int process = 0; process < 8; ++process) {
        children.push_back(std::make_unique<Child>([process] {
            for (int round = 0; round < 500; ++round) {
                uint32_t mode = 0;
                if (pcieidcfg_get_effect_mode(&mode) != 0 || (mode != 'A' && mode != 'I')) {
                    return 1;
                }
                if (round % 10 == 0 &&
                    pcieidcfg_set_effect_mode((round / 10 + process) % 2 == 0 ? 'A' : 'I') != 0) {
                    return 2;
                }
                platform().clear_record();
            }
            return 0;
        }));
    }
    for (const auto &child : children) {
        EXPECT_EQ(child->wait(), 0);
    }
    EXPECT_TRUE(file_has(std::to_string(cached()))) << file_text() << cached();
    EXPECT_EQ(lock_value(), 1);
}

TEST(EffectModeProcesses, OnesKilledAnywhereLeaveTheLockFreeAndTheFileWhole) {
    write_mode("73");
    pcieidcfg_ini_init();
    std::mt19937 random(815);
    for (int round = 0; round < 100; ++round) {
        Child worker([] {
            for (uint32_t i = 0;; ++i) {
                pcieidcfg_set_effect_mode(i % 2 == 0 ? 'A' : 'I');
                platform().clear_record();
            }
            return 0;
        });
        usleep(static_cast<useconds_t>(random() % 3000));
        worker.kill_now();
        ASSERT_EQ(OAL_SemLockByKey(lock_key, 2000), 0u);
        ASSERT_EQ(OAL_SemUnLockByKey(lock_key, 2000), 0u);
        ASSERT_TRUE(file_has("65") || file_has("73")) << file_text();
    }
    EXPECT_EQ(lock_value(), 1);
}

TEST(EffectModeThreads, AttachTheCacheOnce) {
    write_mode("65");
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 20; ++round) {
                uint32_t mode = 0;
                EXPECT_EQ(pcieidcfg_get_effect_mode(&mode), 0);
                EXPECT_EQ(mode, 65u);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(libc_layer::attachments(cache_key), 1u);
    EXPECT_EQ(lock_value(), 1);
}

// ---- every call failing once ----

class EffectModeFaults : public testing::Test {
protected:
    // The number of calls made; 0 when something is wrong.
    static size_t run(size_t failing_platform, size_t failing_system) {
        remove_all();
        write_mode("66");
        size_t counts[2] = {};
        int ends[2] = {};
        EXPECT_EQ(pipe(ends), 0);
        Child process([&] {
            if (failing_platform != 0) {
                platform().fail_call = failing_platform;
            }
            if (failing_system != 0) {
                layer().fail_call = failing_system;
            }
            const size_t descriptors = libc_layer::open_descriptors();
            uint32_t mode = 'A';
            const int32_t result = watched([&] { return pcieidcfg_get_effect_mode(&mode); });
            counts[0] = platform().calls.size();
            counts[1] = layer().calls.size();
            const bool loads_closed =
                platform().calls_of("IniLoadFile").size() -
                    (failing_platform != 0 && failing_platform <= platform().calls.size() &&
                     platform().calls[failing_platform - 1].starts_with("IniLoadFile")) ==
                platform().calls_of("IniCloseFile").size();
            if (write(ends[1], counts, sizeof(counts)) != sizeof(counts)) {
                return 1;
            }
            return (result == 0 || result == -1) && loads_closed &&
                           libc_layer::open_descriptors() == descriptors &&
                           libc_layer::attachments(cache_key).value_or(0) <= 1
                       ? 0
                       : 2;
        });
        EXPECT_EQ(process.wait(), 0) << failing_platform << " " << failing_system;
        EXPECT_EQ(read(ends[0], counts, sizeof(counts)), static_cast<ssize_t>(sizeof(counts)));
        close(ends[0]);
        close(ends[1]);
        return failing_platform != 0 || failing_system == 0 ? counts[0] : counts[1];
    }
};

TEST_F(EffectModeFaults, OfThePlatformLeaveNothingBehind) {
    const size_t calls = run(0, 0);
    ASSERT_GT(calls, 5u);
    for (size_t failing = 1; failing <= calls; ++failing) {
        run(failing, 0);
        EXPECT_EQ(lock_value(), 1) << failing;
    }
}

TEST_F(EffectModeFaults, OfTheSystemLeaveNothingBehind) {
    const size_t calls = run(0, 100000);  // beyond the last
    ASSERT_GT(calls, 15u);
    for (size_t failing = 1; failing <= calls; ++failing) {
        run(0, failing);
        if (semget(lock_key, 0, 0) != -1 && failing != 3) {  // 3: the semaphore was never set
            EXPECT_EQ(lock_value(), 1) << failing;
        }
    }
}
