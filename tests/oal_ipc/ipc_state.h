// What the kernel knows of a key, asked without the library.
#pragma once

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <string>

namespace ipc_state {

inline constexpr int32_t key = 12305;

union SemaphoreArgument {
    int value;
    semid_ds *status;
};

inline int semaphore_id(int32_t which = key) { return semget(which, 0, 0); }
inline int segment_id(int32_t which = key) { return shmget(which, 0, 0); }
inline bool has_semaphore(int32_t which = key) { return semaphore_id(which) != -1; }
inline bool has_segment(int32_t which = key) { return segment_id(which) != -1; }

// -1 when there is none.
inline int semaphore_value(int32_t which = key) { return semctl(semaphore_id(which), 0, GETVAL); }
inline void set_semaphore_value(int value, int32_t which = key) {
    SemaphoreArgument argument = {};
    argument.value = value;
    semctl(semaphore_id(which), 0, SETVAL, argument);
}
inline semid_ds semaphore_status(int32_t which = key) {
    semid_ds status = {};
    SemaphoreArgument argument = {};
    argument.status = &status;
    semctl(semaphore_id(which), 0, IPC_STAT, argument);
    return status;
}
inline shmid_ds segment_status(int32_t which = key) {
    shmid_ds status = {};
    shmctl(segment_id(which), IPC_STAT, &status);
    return status;
}
inline void remove_all(int32_t which = key) {
    if (has_segment(which)) {
        shmctl(segment_id(which), IPC_RMID, nullptr);
    }
    if (has_semaphore(which)) {
        semctl(semaphore_id(which), 0, IPC_RMID);
    }
}
inline void make_segment(size_t size, int32_t which = key) {
    shmget(which, size, IPC_CREAT | 0666);
}
inline void make_semaphore(int value = 1, int32_t which = key) {
    semget(which, 1, IPC_CREAT | 0666);
    set_semaphore_value(value, which);
}
// The segment's bytes.
inline std::string segment_bytes(int32_t which = key) {
    const size_t size = segment_status(which).shm_segsz;
    void *address = shmat(segment_id(which), nullptr, SHM_RDONLY);
    std::string bytes(static_cast<const char *>(address), size);
    shmdt(address);
    return bytes;
}
inline void fill_segment(char byte, int32_t which = key) {
    const size_t size = segment_status(which).shm_segsz;
    void *address = shmat(segment_id(which), nullptr, 0);
    std::memset(address, byte, size);
    shmdt(address);
}

class Stopwatch {
public:
    double seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace ipc_state
