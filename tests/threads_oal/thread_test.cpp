// Threads as the kernel sees them.
#include <malloc.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "boardfeatures/process.h"
#include "support/child_process.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#define WITHOUT_LEAK_CHECK const __lsan::ScopedDisabler disabled
#else
#define WITHOUT_LEAK_CHECK
#endif

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define COUNTS_MALLOC 1
std::atomic<bool> refuse_records = false;
std::atomic<long> records = 0;
std::atomic<void *> last_record = nullptr;
std::atomic<bool> last_record_freed = false;
extern "C" {
void *__libc_malloc(size_t size);
void __libc_free(void *block);
// Start records are told by their size; everything else is libc's business.
void *malloc(size_t size) {
    if (size == sizeof(OalThreadStart)) {
        if (refuse_records) {
            errno = ENOMEM;
            return nullptr;
        }
        ++records;
        last_record_freed = false;
        return last_record = __libc_malloc(size);
    }
    return __libc_malloc(size);
}
void free(void *block) {
    if (block != nullptr && block == last_record) {
        last_record_freed = true;
    }
    __libc_free(block);
}
}
#endif

namespace {

// What a thread finds out about itself.
struct Seen {
    std::atomic<int> times = 0;
    uint32_t argument = 0;
    uint32_t id = 0;
    int policy = -1;
    int priority = -1;
    size_t stack = 0;
    int detached = -1;
    std::string name;
} seen;

uint32_t low_bits(pthread_t thread) {
    uint32_t id = 0;
    std::memcpy(&id, &thread, sizeof(id));
    return id;
}

uint32_t look_around(uint32_t argument) {
    seen.argument = argument;
    seen.id = low_bits(pthread_self());
    sched_param parameters = {};
    pthread_getschedparam(pthread_self(), &seen.policy, &parameters);
    // libc's own record of it and the kernel's agree
    EXPECT_EQ(sched_getscheduler(0), seen.policy);
    seen.priority = parameters.sched_priority;
    pthread_attr_t attributes;
    EXPECT_EQ(pthread_getattr_np(pthread_self(), &attributes), 0);
    pthread_attr_getstacksize(&attributes, &seen.stack);
    pthread_attr_getdetachstate(&attributes, &seen.detached);
    pthread_attr_destroy(&attributes);
    std::ifstream file("/proc/self/task/" + std::to_string(gettid()) + "/comm");
    std::getline(file, seen.name);
    ++seen.times;
    return 7;
}

bool comes_true(const std::function<bool()> &condition) {
    for (int i = 0; i < 20000; ++i) {
        if (condition()) {
            return true;
        }
        usleep(500);
    }
    return false;
}

long status_line(const std::string &label) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(label)) {
            return std::stol(line.substr(label.size()));
        }
    }
    return -1;
}
// Emulators and sanitizers have threads of their own.
const long threads_before = status_line("Threads:");
// All that the library has started are gone.
bool alone() {
    return comes_true([] { return status_line("Threads:") == threads_before; });
}

// Without the right to real-time priorities there is nothing to see here.
class Threads : public testing::Test {
protected:
    void SetUp() override {
        sched_param parameters = {};
        parameters.sched_priority = 1;
        if (sched_setscheduler(0, SCHED_FIFO, &parameters) != 0) {
            GTEST_SKIP() << "no right to real-time priorities (CAP_SYS_NICE)";
        }
        parameters.sched_priority = 0;
        ASSERT_EQ(sched_setscheduler(0, SCHED_OTHER, &parameters), 0);
    }
    static void expect_seen(int times) {
        ASSERT_TRUE(comes_true([&] { return seen.times == times; }));
    }
};

std::string said_by(const std::function<void()> &call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

}  // namespace

// ---- what a thread is ----

TEST_F(Threads, RunsAsAsked) {
    uint32_t id = 0;
    int times = 0;
    for (const auto create : {oal_create_thread, OAL_CreateTask}) {
        EXPECT_EQ(create("fan-control", 42, 65536, look_around, 0xDEADBEEF, &id), 0);
        expect_seen(++times);
        EXPECT_EQ(seen.argument, 0xDEADBEEFu);
        EXPECT_EQ(seen.id, id);
        EXPECT_EQ(seen.policy, SCHED_FIFO);
        EXPECT_EQ(seen.priority, 42);
        EXPECT_EQ(seen.detached, PTHREAD_CREATE_DETACHED);
        EXPECT_EQ(seen.name, "fan-control");
        EXPECT_EQ(seen.stack, 65536u);
        EXPECT_EQ(sched_getscheduler(0), SCHED_OTHER) << "the creator's own policy stays";
    }
    EXPECT_TRUE(alone());
}

TEST_F(Threads, EveryPriority) {
    int times = 0;
    for (int priority = 1; priority <= 99; ++priority) {
        ASSERT_EQ(oal_create_thread("p", priority, 65536, look_around, 0, nullptr), 0);
        expect_seen(++times);
        EXPECT_EQ(seen.priority, priority);
    }
}

TEST_F(Threads, StackIsSixteenKilobytesAtLeast) {
    int times = 0;
    for (const auto &[asked, given] : {std::pair(0u, 16384u),
                                       {4096, 16384},
                                       {16383, 16384},
                                       {16384, 16384},
                                       {20480, 20480},
                                       {1048576, 1048576}}) {
        const int32_t result = oal_create_thread("s", 1, asked, look_around, 0, nullptr);
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        if (result == EINVAL) {
            GTEST_SKIP() << "a sanitizer's thread-local data does not fit into this stack";
        }
#endif
        ASSERT_EQ(result, 0) << asked;
        expect_seen(++times);
        EXPECT_EQ(seen.stack, given) << asked;
    }
}

TEST_F(Threads, NamesAreCutToWhatTheKernelKeeps) {
    int times = 0;
    const std::string forty = "a-name-of-exactly-forty-characters-long!";
    ASSERT_EQ(forty.size(), 40u);
    for (const std::string &name : {std::string(), std::string("x"), std::string("fifteen-letters"),
                                    std::string("sixteen--letters"), forty.substr(0, 31),
                                    forty.substr(0, 32), forty, std::string(5000, 'n')}) {
        ASSERT_EQ(oal_create_thread(name.c_str(), 1, 65536, look_around, 0, nullptr), 0);
        expect_seen(++times);
        EXPECT_EQ(seen.name, name.substr(0, 15));
    }
}

TEST_F(Threads, WithoutAnEntry) {
    uint32_t id = 0;
    EXPECT_EQ(oal_create_thread("nothing", 1, 65536, nullptr, 5, &id), 0);
    EXPECT_NE(id, 0u);
    EXPECT_TRUE(alone());
}

// ---- the start routine ----

TEST_F(Threads, StartRoutineFreesItsRecord) {
    EXPECT_EQ(oal_thread_entry(nullptr), nullptr);
    auto *record = static_cast<OalThreadStart *>(std::malloc(sizeof(OalThreadStart)));
    *record = {};
    record->entry = look_around;
    record->argument = 77;
    std::strcpy(record->name, "by-hand");
    EXPECT_EQ(oal_thread_entry(record), nullptr);  // leaks under the sanitizers if it is not freed
    EXPECT_EQ(seen.times, 1);
    EXPECT_EQ(seen.argument, 77u);
    EXPECT_EQ(seen.name, "by-hand");
}

// ---- nothing stays ----

namespace {
std::atomic<int> ended = 0;
uint32_t count_end(uint32_t) {
    ++ended;
    return 0;
}
}  // namespace

TEST_F(Threads, TenThousandLeaveNothing) {
    constexpr int all = 10000;
    constexpr int at_once = 50;
    const auto run = [](int count) {
        const int before = ended;
        for (int i = 0; i < count; ++i) {
            ASSERT_EQ(oal_create_thread("short", 1, 16384 * 4, count_end, 0, nullptr), 0);
            if (i % at_once == at_once - 1) {
                ASSERT_TRUE(comes_true([&] { return ended == before + i + 1; }));
                ASSERT_TRUE(alone());
            }
        }
    };
    mallopt(M_ARENA_MAX, 1);  // an arena is 64 MiB of addresses, made when two threads meet
    run(at_once);             // what libc keeps of stacks for the next threads is there now
    const long address_space = status_line("VmSize:");
    const size_t allocated = mallinfo2().uordblks;
    run(all);
    EXPECT_EQ(ended, all + at_once);
    // a stack that stayed would be 64 kB, a record 60 bytes
#ifdef __arm__
    static_cast<void>(address_space);  // under emulation this is the emulator's own size
#else
    EXPECT_LT(status_line("VmSize:") - address_space, all * 64 / 4);
#endif
    EXPECT_LT(mallinfo2().uordblks, allocated + all * 60 / 4);
}

// ---- what can go wrong ----

TEST_F(Threads, NullName) {
    uint32_t id = 0xA5A5A5A5;
    EXPECT_EQ(
        said_by([&] { EXPECT_EQ(oal_create_thread(nullptr, 1, 65536, look_around, 0, &id), -1); }),
        "");
    EXPECT_EQ(id, 0xA5A5A5A5u);
    EXPECT_EQ(seen.times, 0);
}

TEST_F(Threads, ThatCannotBeCreated) {
    WITHOUT_LEAK_CHECK;  // the record of a thread that was not created stays
    const struct {
        const char *what;
        int priority;
        uint32_t stack;
        int result;
    } rows[] = {
        {"priority too low", 0, 65536, EINVAL},
        {"priority too high", 100, 65536, EINVAL},
        {"negative priority", -1, 65536, EINVAL},
    };
    for (const auto &row : rows) {
        uint32_t id = 0xA5A5A5A5;
        const std::string said = said_by([&] {
            errno = ENOTTY;  // libc answers the error and leaves errno alone
            EXPECT_EQ(oal_create_thread("t", row.priority, row.stack, look_around, 0, &id),
                      row.result)
                << row.what;
        });
        EXPECT_THAT(said, testing::MatchesRegex("line:[0-9]+, func:oal_create_thread\\(\\), "
                                                "retval=22, errno=25, Inappropriate ioctl for "
                                                "device\n"));
        EXPECT_EQ(id, 0xA5A5A5A5u);
#ifdef COUNTS_MALLOC
        EXPECT_FALSE(last_record_freed) << "it stays";
#endif
    }
    EXPECT_EQ(seen.times, 0);
    EXPECT_TRUE(alone());
}

namespace {
std::atomic<int> refused = 0;
uint32_t create_from_here(uint32_t) {
    WITHOUT_LEAK_CHECK;  // it counts for one thread
    for (const int priority : {0, -1, 100}) {
        refused +=
            oal_create_thread("t", priority, 65536, look_around, 0, nullptr) == EINVAL ? 1 : 0;
    }
    return 0;
}
}  // namespace

// A priority that there is not does not become the creator's.
TEST_F(Threads, ThatCannotBeCreatedByARealTimeThread) {
    said_by([] {
        EXPECT_EQ(oal_create_thread("creator", 50, 1048576, create_from_here, 0, nullptr), 0);
        EXPECT_TRUE(comes_true([] { return refused == 3; }));
        EXPECT_TRUE(alone());
    });
    EXPECT_EQ(seen.times, 0);
}

TEST_F(Threads, WithoutTheRightToRealTime) {
    child_process::Child user([] {
        WITHOUT_LEAK_CHECK;
        const rlimit none = {0, 0};
        if (setrlimit(RLIMIT_RTPRIO, &none) != 0 || setuid(65534) != 0) {
            return 100;
        }
        return oal_create_thread("t", 1, 65536, look_around, 0, nullptr) == EPERM && seen.times == 0
                   ? 0
                   : 1;
    });
    testing::internal::CaptureStdout();
    EXPECT_EQ(user.wait(), 0);
    testing::internal::GetCapturedStdout();
}

#ifdef COUNTS_MALLOC
TEST_F(Threads, WithoutMemoryForTheRecord) {
    uint32_t id = 0xA5A5A5A5;
    int32_t result = 0;
    refuse_records = true;
    const std::string said =
        said_by([&] { result = oal_create_thread("t", 1, 65536, look_around, 0, &id); });
    refuse_records = false;
    EXPECT_EQ(result, -1);
    EXPECT_THAT(
        said, testing::MatchesRegex("line:[0-9]+, func:oal_create_thread\\(\\), malloc failed\n"));
    EXPECT_EQ(id, 0xA5A5A5A5u);
    EXPECT_EQ(seen.times, 0);
}

TEST_F(Threads, RecordIsOneBlock) {
    const long before = records;
    EXPECT_EQ(oal_create_thread("t", 1, 65536, nullptr, 0, nullptr), 0);
    EXPECT_EQ(records, before + 1);
    EXPECT_TRUE(alone());
    EXPECT_TRUE(last_record_freed);
}
#endif
