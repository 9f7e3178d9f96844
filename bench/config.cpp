// Settings beside the bare calls that they need: the library's share is the difference. Run inside
// the sandbox, which has a /conf of its own:
//
//     tools/boardsim/bmc-sandbox -- build/release/bin/bench_config
#include <benchmark/benchmark.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <system_error>

#include "boardfeatures/config.h"
#include "boardfeatures/ipc.h"

namespace {

constexpr char path[] = "/conf/vel/bmctimestamp";
constexpr char section[] = "bmc_time_stamp";
constexpr char key_name[] = "bmc time stamp";
constexpr int file_key = 12340;
constexpr int segment_key = 4138;

bool prepare(benchmark::State &state) {
    std::error_code error;
    std::filesystem::create_directories("/conf/vel", error);
    if (error || IPMI_SaveBMCTimeStamp(1) != 0 || VEL_CreateAlarmDisableCodeInfoShmAddr() != 0) {
        state.SkipWithError("needs a writable /conf: run it inside tools/boardsim/bmc-sandbox");
        return false;
    }
    return true;
}

void change(int key, short by, long milliseconds) {
    sembuf operation = {0, by, SEM_UNDO};
    const timespec timeout = {milliseconds / 1000, milliseconds % 1000 * 1000000};
    benchmark::DoNotOptimize(semtimedop(semget(key, 0, 0), &operation, 1, &timeout));
}

// Attach to the semaphore, take it.
void bare_lock() {
    benchmark::DoNotOptimize(semget(file_key, 0, 0));
    benchmark::DoNotOptimize(semget(file_key, 0, 0));
    change(file_key, -1, 2000);
}
void bare_unlock() { change(file_key, 1, 2000); }

void locked_load(benchmark::State &state) {
    if (!prepare(state)) {
        return;
    }
    uint32_t stamp = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(IPMI_LoadBMCTimeStamp(&stamp));
    }
}
void bare_locked_load(benchmark::State &state) {
    if (!prepare(state)) {
        return;
    }
    for (auto _ : state) {
        bare_lock();
        IniHandle ini = VEL_IniLoadFile(path);
        benchmark::DoNotOptimize(IniGetUInt(ini, section, key_name, 0));
        IniCloseFile(ini);
        bare_unlock();
    }
}
BENCHMARK(locked_load)->Repetitions(9);
BENCHMARK(bare_locked_load)->Repetitions(9);

void locked_save(benchmark::State &state) {
    if (!prepare(state)) {
        return;
    }
    uint32_t stamp = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(IPMI_SaveBMCTimeStamp(++stamp));
    }
}
void bare_locked_save(benchmark::State &state) {
    if (!prepare(state)) {
        return;
    }
    uint32_t stamp = 0;
    for (auto _ : state) {
        bare_lock();
        IniHandle ini = VEL_IniLoadFile(path);
        benchmark::DoNotOptimize(IniSetUInt(ini, section, key_name, ++stamp));
        benchmark::DoNotOptimize(IniSaveFile(ini, path));
        IniCloseFile(ini);
        bare_unlock();
    }
}
BENCHMARK(locked_save)->Repetitions(9);
BENCHMARK(bare_locked_save)->Repetitions(9);

void get_alarm_disable_codes(benchmark::State &state) {
    if (!prepare(state)) {
        return;
    }
    AlarmDisableCodeInfo list;
    for (auto _ : state) {
        benchmark::DoNotOptimize(GetAlarmDisableCodeInfo(&list));
        benchmark::ClobberMemory();
    }
}
void bare_get_alarm_disable_codes(benchmark::State &state) {
    if (!prepare(state)) {
        return;
    }
    const void *segment = shmat(shmget(segment_key, 0, 0), nullptr, 0);
    AlarmDisableCodeInfo list;
    for (auto _ : state) {
        change(segment_key, -1, 500);
        std::memcpy(&list, segment, sizeof(list));
        change(segment_key, 1, 500);
        benchmark::ClobberMemory();
    }
    shmdt(segment);
}
BENCHMARK(get_alarm_disable_codes)->Repetitions(9);
BENCHMARK(bare_get_alarm_disable_codes)->Repetitions(9);

}  // namespace
