// Named, detached real-time threads.
#include <pthread.h>
#include <sched.h>
#include <sys/prctl.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "boardfeatures/process.h"

namespace {

// The low 32 bits of a thread's handle, whatever type the handle is of.
uint32_t id_of(pthread_t thread) {
    uint32_t id = 0;
    std::memcpy(&id, &thread, sizeof(id));
    return id;
}

}  // namespace

extern "C" {

void *oal_thread_entry(void *record) {
    if (record == nullptr) {
        return nullptr;
    }
    OalThreadStart start;
    std::memcpy(&start, record, sizeof(start));
    std::free(record);
    start.thread_id = id_of(pthread_self());
    prctl(PR_SET_NAME, start.name);
    if (start.entry != nullptr) {
        start.entry(start.argument);
    }
    return nullptr;
}

int32_t oal_create_thread(const char *name, int32_t priority, uint32_t stack, OalThreadEntry entry,
                          uint32_t argument, uint32_t *id) {
    if (name == nullptr) {
        return -1;
    }
    auto *record = static_cast<OalThreadStart *>(std::malloc(sizeof(OalThreadStart)));
    if (record == nullptr) {
        std::printf("line:%d, func:%s(), malloc failed\n", __LINE__, __func__);
        return -1;
    }
    *record = {};
    record->entry = entry;
    record->argument = argument;
    std::memcpy(record->name, name, strnlen(name, sizeof(record->name) - 1));

    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    sched_param parameters = {};
    parameters.sched_priority = priority;
    pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED);
    pthread_attr_setschedpolicy(&attributes, SCHED_FIFO);
    int result = pthread_attr_setschedparam(&attributes, &parameters);
    pthread_attr_setstacksize(&attributes, std::max(stack, OAL_MIN_THREAD_STACK));
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);

    pthread_t thread;
    if (result == 0) {  // or the thread would have its creator's priority
        result = pthread_create(&thread, &attributes, oal_thread_entry, record);
    }
    // On a failure the record stays: whether a thread has seen it is not known to this layer.
    const int error = errno;  // NOLINT(clang-analyzer-unix.Malloc)
    pthread_attr_destroy(&attributes);
    if (result != 0) {
        std::printf("line:%d, func:%s(), retval=%d, errno=%d, %s\n", __LINE__, __func__, result,
                    error, std::strerror(error));
        return result;
    }
    if (id != nullptr) {
        *id = id_of(thread);
    }
    return 0;
}

int32_t OAL_CreateTask(const char *name, int32_t priority, uint32_t stack, OalThreadEntry entry,
                       uint32_t argument, uint32_t *id) {
    return oal_create_thread(name, priority, stack, entry, argument, id);
}

}  // extern "C"
