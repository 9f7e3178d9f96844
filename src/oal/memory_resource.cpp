// Memory resources: a segment and a semaphore under one key.
#include <cerrno>
#include <cstring>

#include "boardfeatures/ipc.h"
#include "oal/sysv.h"

namespace {

using namespace bf::oal;

uint32_t attach_existing(int32_t key, void **address) {
    const int id = find_segment(key);
    if (id == -1) {
        return OAL_ERR_SEM_CREATE;
    }
    *address = attach(id, 0);
    return *address != nullptr ? OAL_MEM_EXISTED : OAL_ERR_SEM_CREATE;
}

// No undo and no wait: the lock is handed on between processes.
uint32_t step_once(int32_t key, short step, int flags, uint32_t failure) {
    const int id = find_semaphore(key);
    if (id == -1) {
        return OAL_ERR_NO_SEM;
    }
    return take_step(id, step, flags) ? OAL_OK : failure;
}

}  // namespace

extern "C" {

uint32_t OAL_CreatMemResource1(int32_t key, uint32_t size, void **address) {
    if (address == nullptr) {
        return OAL_ERR_ARGUMENT;
    }
    *address = nullptr;
    const int segment = create_segment(key, size);
    if (segment == -1) {
        return errno == EEXIST ? attach_existing(key, address) : OAL_ERR_SEM_CREATE;
    }
    const uint32_t semaphore = OAL_SemCreate(key);
    if (static_cast<int32_t>(semaphore) < 0) {
        remove_segment(segment);
        return OAL_ERR_SEM_CREATE;
    }
    void *attached = attach(segment, 0);
    if (attached == nullptr) {
        remove_segment(segment);
        // The id stands where the key belongs, so the key's semaphore normally stays: the other
        // programs that share it rely on finding it.
        OAL_SemRelease(static_cast<int32_t>(semaphore));
        return OAL_ERR_SEM_CREATE;
    }
    std::memset(attached, 0, size);
    *address = attached;
    return OAL_OK;
}

uint32_t OAL_LockMemResource(int32_t key) {
    return step_once(key, lock_step, IPC_NOWAIT, OAL_ERR_SEM_LOCK);
}

uint32_t OAL_UnLockMemResource(int32_t key) {
    return step_once(key, unlock_step, 0, OAL_ERR_SEM_UNLOCK);
}

void *OAL_GetMemResourceAddr(int32_t key) {
    const int id = find_segment(key);
    return id == -1 ? nullptr : attach(id, 0);
}

uint32_t OAL_PutMemResourceAddr(int32_t key, void *address) {
    if (find_segment(key) == -1) {
        return OAL_ERR_NO_SHM;
    }
    if (address == nullptr) {
        return OAL_ERR_ARGUMENT;
    }
    return shmdt(address) == 0 ? OAL_OK : OAL_ERR_SHM_DETACH;
}

}  // extern "C"
