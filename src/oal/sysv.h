// The System V calls that segments and semaphores share.
#pragma once

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <cstddef>
#include <cstdint>

namespace bf::oal {

// A creator that finds the key taken fails: only one process initialises.
inline constexpr int create_flags = IPC_CREAT | IPC_EXCL | 0666;

inline int find_segment(int32_t key) { return shmget(key, 0, 0); }
inline int find_semaphore(int32_t key) { return semget(key, 0, 0); }
inline int create_segment(int32_t key, uint32_t size) { return shmget(key, size, create_flags); }
inline int remove_segment(int id) { return shmctl(id, IPC_RMID, nullptr); }

// Null in place of the all-ones address of a failed attach.
inline void *attach(int id, int flags) {
    void *address = shmat(id, nullptr, flags);
    // The system's own way to say that it failed, spelled without a cast to a pointer.
    return reinterpret_cast<intptr_t>(address) == -1 ? nullptr : address;
}

inline constexpr short lock_step = -1;
inline constexpr short unlock_step = 1;

// The one operation on the one semaphore of a set.
inline sembuf step_of(short step, int flags) {
    sembuf operation = {};
    operation.sem_num = 0;
    operation.sem_op = step;
    operation.sem_flg = static_cast<short>(flags);
    return operation;
}

// The plain step: no time-out, no second try.
inline bool take_step(int id, short step, int flags) {
    sembuf operation = step_of(step, flags);
    return semop(id, &operation, 1) == 0;
}

}  // namespace bf::oal
