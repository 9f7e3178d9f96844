// POSIX named semaphores.
#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <limits>

#include "boardfeatures/ipc.h"

namespace {

// The places that those who read the output know; errno is the caller's to read afterwards.
constexpr int open_place = 1949;
constexpr int close_place = 1967;
constexpr int unlink_place = 1984;

void print_failure(int place, const char *function) {
    const int reason = errno;
    printf("line:%d, func:%s(), errno=%d, %s\n", place, function, reason, strerror(reason));
    errno = reason;
}

int wait_until(sem_t *handle, int32_t seconds) {
    timespec deadline = {};
    if (clock_gettime(CLOCK_REALTIME, &deadline) != 0) {
        return -1;
    }
    constexpr time_t latest = std::numeric_limits<time_t>::max();
    if (seconds > 0 && deadline.tv_sec > latest - seconds) {
        deadline.tv_sec = latest;
    } else {
        deadline.tv_sec += seconds;
    }
    return sem_timedwait(handle, &deadline);
}

int wait_once(sem_t *handle, int32_t seconds) {
    switch (seconds) {
        case 0:
            return sem_trywait(handle);
        case -1:
            return sem_wait(handle);
        default:
            return wait_until(handle, seconds);
    }
}

}  // namespace

extern "C" {

sem_t *posix_sem_open(const char *name, int32_t value) {
    if (name == nullptr || value < 0) {
        return nullptr;
    }
    sem_t *handle = sem_open(name, O_CREAT | O_RDWR, 0666, static_cast<unsigned>(value));
    if (handle == SEM_FAILED) {
        print_failure(open_place, __func__);
        return nullptr;
    }
    return handle;
}

int32_t posix_sem_close(sem_t *handle) {
    if (handle == nullptr) {
        return -1;
    }
    const int result = sem_close(handle);
    if (result != 0) {
        print_failure(close_place, __func__);
    }
    return result;
}

int32_t posix_sem_unlink(const char *name) {
    if (name == nullptr) {
        return -1;
    }
    const int result = sem_unlink(name);
    if (result != 0) {
        print_failure(unlink_place, __func__);
    }
    return result;
}

int32_t posix_sem_wait(sem_t *handle, int32_t seconds) {
    if (handle == nullptr) {
        return -1;
    }
    while (wait_once(handle, seconds) != 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return 0;
}

int32_t posix_sem_post(sem_t *handle) { return handle == nullptr ? -1 : sem_post(handle); }

sem_t *OAL_PosixSemOpen(const char *name, int32_t value) { return posix_sem_open(name, value); }
int32_t OAL_PosixSemClose(sem_t *handle) { return posix_sem_close(handle); }
int32_t OAL_PosixSemDelete(const char *name) { return posix_sem_unlink(name); }
int32_t OAL_PosixSemWait(sem_t *handle, int32_t seconds) { return posix_sem_wait(handle, seconds); }
int32_t OAL_PosixSemPost(sem_t *handle) { return posix_sem_post(handle); }

}  // extern "C"
