// System V semaphore sets of one semaphore, used as locks between processes.
#include <cerrno>
#include <ctime>
#include <limits>

#include "boardfeatures/ipc.h"
#include "oal/sysv.h"

namespace {

using namespace bf::oal;

// semctl's fourth argument, which the caller has to declare.
union SemaphoreArgument {
    int value;
    semid_ds *status;
    unsigned short *values;
};

// The time-out of an attempt. It grows by the whole time-out with each attempt: those who are
// interrupted often have always waited longer.
class GrowingTimeout {
public:
    explicit GrowingTimeout(uint32_t timeout_ms) : timeout_ms_(timeout_ms) {}

    const timespec *next() {
        constexpr long billion = 1'000'000'000;
        long nanoseconds =
            total_.tv_nsec + static_cast<long>(timeout_ms_ % 1000) * 1'000'000;  // below 2 seconds
        auto seconds = static_cast<time_t>(timeout_ms_ / 1000);
        if (nanoseconds >= billion) {
            nanoseconds -= billion;
            ++seconds;
        }
        total_.tv_nsec = nanoseconds;
        constexpr time_t longest = std::numeric_limits<time_t>::max();
        total_.tv_sec = total_.tv_sec > longest - seconds ? longest : total_.tv_sec + seconds;
        return &total_;
    }

private:
    uint32_t timeout_ms_;
    timespec total_ = {};
};

// One attempt; its errno tells whether another makes sense.
bool attempt(int id, short step, uint32_t timeout_ms, GrowingTimeout &timeout) {
    if (timeout_ms == OAL_NO_WAIT) {
        return take_step(id, step, SEM_UNDO | IPC_NOWAIT);
    }
    if (timeout_ms == OAL_WAIT_FOREVER) {
        return take_step(id, step, SEM_UNDO);
    }
    sembuf operation = step_of(step, SEM_UNDO);
    return semtimedop(id, &operation, 1, timeout.next()) == 0;
}

uint32_t attempt_until_done(int id, short step, uint32_t timeout_ms, uint32_t failure) {
    GrowingTimeout timeout(timeout_ms);
    while (!attempt(id, step, timeout_ms, timeout)) {
        if (errno != EINTR) {
            return failure;
        }
    }
    return OAL_OK;
}

}  // namespace

extern "C" {

int32_t OAL_SemIsExist(int32_t key) { return find_semaphore(key) != -1 ? 1 : 0; }

uint32_t OAL_SemCreate(int32_t key) {
    if (OAL_SemIsExist(key) != 0) {
        return static_cast<uint32_t>(find_semaphore(key));
    }
    const int id = semget(key, 1, create_flags);
    if (id == -1) {
        return OAL_ERR_SEM_CREATE;
    }
    SemaphoreArgument one = {};
    one.value = 1;
    semctl(id, 0, SETVAL, one);
    return static_cast<uint32_t>(id);
}

int32_t OAL_SemRelease(int32_t key) {
    if (OAL_SemIsExist(key) == 0) {
        return 0;
    }
    const int id = find_semaphore(key);
    return id == -1 ? -1 : semctl(id, 0, IPC_RMID);
}

uint32_t OAL_SemLockByKey(int32_t key, uint32_t timeout_ms) {
    GrowingTimeout timeout(timeout_ms);
    for (;;) {
        // Looked up again for each attempt: the set may have been replaced during the wait.
        const int id = find_semaphore(key);
        if (id == -1) {
            return OAL_ERR_NO_SEM;
        }
        if (attempt(id, lock_step, timeout_ms, timeout)) {
            return OAL_OK;
        }
        if (errno != EINTR) {
            return OAL_ERR_SEM_LOCK;
        }
    }
}

uint32_t OAL_SemUnLockByKey(int32_t key, uint32_t timeout_ms) {
    const int id = find_semaphore(key);
    if (id == -1) {
        return OAL_ERR_NO_SEM;
    }
    return attempt_until_done(id, unlock_step, timeout_ms, OAL_ERR_SEM_UNLOCK);
}

uint32_t OAL_SemLockBySemId(uint32_t sem_id, uint32_t timeout_ms) {
    return attempt_until_done(static_cast<int>(sem_id), lock_step, timeout_ms, OAL_ERR_SEM_LOCK);
}

uint32_t OAL_SemUnLockBySemId(uint32_t sem_id, uint32_t timeout_ms) {
    return attempt_until_done(static_cast<int>(sem_id), unlock_step, timeout_ms,
                              OAL_ERR_SEM_UNLOCK);
}

}  // extern "C"
