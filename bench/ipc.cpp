// Locks, copies and attachments beside the bare System V calls that they need: the library's share
// is the difference. Run inside the sandbox, which has keys of its own:
//
//     tools/boardsim/bmc-sandbox -- build/release/bin/bench_ipc --benchmark_repetitions=15
#include <benchmark/benchmark.h>
#include <semaphore.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <cstdint>
#include <cstring>

#include "boardfeatures/ipc.h"

namespace {

constexpr int key = 12305;
constexpr uint32_t wait_ms = 2000;
constexpr uint32_t size = 256;
uint8_t buffer[size];

void prepare() { OAL_CreatMemResource(key, size); }

void change(int id, short by, short flags) {
    sembuf operation = {0, by, flags};
    benchmark::DoNotOptimize(semop(id, &operation, 1));
}
void change_in_time(int id, short by) {
    sembuf operation = {0, by, SEM_UNDO};
    const timespec timeout = {wait_ms / 1000, wait_ms % 1000 * 1000000};
    benchmark::DoNotOptimize(semtimedop(id, &operation, 1, &timeout));
}

void lock_by_key(benchmark::State &state) {
    prepare();
    for (auto _ : state) {
        benchmark::DoNotOptimize(OAL_SemLockByKey(key, wait_ms));
        benchmark::DoNotOptimize(OAL_SemUnLockByKey(key, wait_ms));
    }
}
void bare_lock_by_key(benchmark::State &state) {
    prepare();
    for (auto _ : state) {
        change_in_time(semget(key, 0, 0), -1);
        change_in_time(semget(key, 0, 0), 1);
    }
}

void lock_by_key_without_wait(benchmark::State &state) {
    prepare();
    for (auto _ : state) {
        benchmark::DoNotOptimize(OAL_SemLockByKey(key, OAL_NO_WAIT));
        benchmark::DoNotOptimize(OAL_SemUnLockByKey(key, OAL_NO_WAIT));
    }
}
void bare_lock_by_key_without_wait(benchmark::State &state) {
    prepare();
    for (auto _ : state) {
        change(semget(key, 0, 0), -1, SEM_UNDO | IPC_NOWAIT);
        change(semget(key, 0, 0), 1, SEM_UNDO | IPC_NOWAIT);
    }
}

void lock_by_id(benchmark::State &state) {
    prepare();
    const uint32_t id = OAL_SemCreate(key);
    for (auto _ : state) {
        benchmark::DoNotOptimize(OAL_SemLockBySemId(id, OAL_WAIT_FOREVER));
        benchmark::DoNotOptimize(OAL_SemUnLockBySemId(id, OAL_WAIT_FOREVER));
    }
}
void bare_lock_by_id(benchmark::State &state) {
    prepare();
    const int id = semget(key, 0, 0);
    for (auto _ : state) {
        change(id, -1, SEM_UNDO);
        change(id, 1, SEM_UNDO);
    }
}

void read_segment(benchmark::State &state) {
    prepare();
    for (auto _ : state) {
        benchmark::DoNotOptimize(OAL_ShmRead(key, buffer, size, 0));
    }
}
void bare_read_segment(benchmark::State &state) {
    prepare();
    for (auto _ : state) {
        const int segment = shmget(key, 0, 0);
        const int semaphore = semget(key, 0, 0);
        shmid_ds status = {};
        benchmark::DoNotOptimize(shmctl(segment, IPC_STAT, &status));
        change(semaphore, -1, 0);
        void *address = shmat(segment, nullptr, SHM_RDONLY);
        std::memcpy(buffer, address, size);
        shmdt(address);
        change(semaphore, 1, 0);
    }
}

void attach(benchmark::State &state) {
    prepare();
    for (auto _ : state) {
        void *address = OAL_GetMemResourceAddr(key);
        benchmark::DoNotOptimize(OAL_PutMemResourceAddr(key, address));
    }
}
void bare_attach(benchmark::State &state) {
    prepare();
    for (auto _ : state) {
        void *address = shmat(shmget(key, 0, 0), nullptr, 0);
        benchmark::DoNotOptimize(shmget(key, 0, 0));
        benchmark::DoNotOptimize(shmdt(address));
    }
}

void posix_wait(benchmark::State &state) {
    sem_t *handle = OAL_PosixSemOpen("/bench", 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(OAL_PosixSemWait(handle, 0));
        benchmark::DoNotOptimize(OAL_PosixSemPost(handle));
    }
    OAL_PosixSemClose(handle);
}

BENCHMARK(lock_by_key);
BENCHMARK(bare_lock_by_key);
BENCHMARK(lock_by_key_without_wait);
BENCHMARK(bare_lock_by_key_without_wait);
BENCHMARK(lock_by_id);
BENCHMARK(bare_lock_by_id);
BENCHMARK(read_segment);
BENCHMARK(bare_read_segment);
BENCHMARK(attach);
BENCHMARK(bare_attach);
BENCHMARK(posix_wait);

}  // namespace
