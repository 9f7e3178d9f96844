// System V segments: creation, removal, and copies under the key's semaphore.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "boardfeatures/ipc.h"
#include "oal/sysv.h"

namespace {

using namespace bf::oal;

uint32_t find_or_create(int32_t key, uint32_t size) {
    if (OAL_ShmIsExist(key) != 0) {
        return static_cast<uint32_t>(find_segment(key));
    }
    const int id = create_segment(key, size);
    if (id == -1) {
        return OAL_ERR_SHM_CREATE;
    }
    if (static_cast<int32_t>(OAL_SemCreate(key)) < 0) {
        remove_segment(id);
        return OAL_ERR_SEM_CREATE;
    }
    return static_cast<uint32_t>(id);
}

int32_t release(int32_t key, const char *function) {
    if (OAL_ShmIsExist(key) == 0) {
        return 0;
    }
    const int id = find_segment(key);
    if (id == -1) {
        const int reason = errno;
        printf("%s(), sdwShmId=-1, errno=%d, %s\n", function, reason, strerror(reason));
        return -1;
    }
    return remove_segment(id) == -1 ? -1 : OAL_SemRelease(key);
}

// Lets `copy` at the segment's bytes from `offset` on, under the lock. The lock carries no undo, so
// only the copy itself is inside it.
template <typename Copy>
uint32_t access_segment(int32_t key, const void *buffer, uint32_t length, uint32_t offset,
                        int attach_flags, Copy copy) {
    if (buffer == nullptr) {
        return OAL_ERR_ARGUMENT;
    }
    const int segment = find_segment(key);
    if (segment == -1) {
        return OAL_ERR_NO_SHM;
    }
    const int semaphore = find_semaphore(key);
    if (semaphore == -1) {
        return OAL_ERR_NO_SEM;
    }
    shmid_ds status = {};
    if (shmctl(segment, IPC_STAT, &status) == -1) {
        return OAL_ERR_SHM_STATUS;
    }
    if (status.shm_segsz < uint64_t{offset} + length) {
        return OAL_ERR_ARGUMENT;
    }
    if (!take_step(semaphore, lock_step, 0)) {
        return OAL_ERR_SEM_LOCK;
    }
    // A failed attach is not reported: the caller's buffer or the segment stays as it is.
    if (void *address = attach(segment, attach_flags); address != nullptr) {
        copy(static_cast<uint8_t *>(address) + offset);
        shmdt(address);
    }
    return take_step(semaphore, unlock_step, 0) ? OAL_OK : OAL_ERR_SEM_UNLOCK;
}

}  // namespace

extern "C" {

int32_t OAL_ShmIsExist(int32_t key) { return find_segment(key) != -1 ? 1 : 0; }

uint32_t OAL_ShmCreate(int32_t key, uint32_t size) { return find_or_create(key, size); }
uint32_t OAL_CreatMemResource(int32_t key, uint32_t size) { return find_or_create(key, size); }

int32_t OAL_ShmRelease(int32_t key) { return release(key, __func__); }
int32_t OAL_DestoryMemResource(int32_t key) { return release(key, __func__); }

uint32_t OAL_ShmRead(int32_t key, void *buffer, uint32_t length, uint32_t offset) {
    return access_segment(key, buffer, length, offset, SHM_RDONLY,
                          [=](const uint8_t *bytes) { std::memcpy(buffer, bytes, length); });
}

uint32_t OAL_ShmWrite(int32_t key, void *buffer, uint32_t length, uint32_t offset) {
    return access_segment(key, buffer, length, offset, 0,
                          [=](uint8_t *bytes) { std::memcpy(bytes, buffer, length); });
}

}  // extern "C"
