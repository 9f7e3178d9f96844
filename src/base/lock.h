// Guards over what processes share: the lock of a key, and an attached segment.
#pragma once

#include <atomic>

#include "boardfeatures/ipc.h"

namespace bf {

// The semaphore of a key, taken on construction and given back on every path. A lock that could not
// be taken is not given back either: another process may hold it.
//
//     bf::KeyLock lock(12305, 2000, bf::KeyLock::Semaphore::create);
//     if (!lock) { ... lock.failed_step() ... lock.result() ... }
//     ...
//     if (lock.release() != OAL_OK) { ... }   // where a failed unlock is reported
class KeyLock {
public:
    enum class Semaphore { existing, create };  // whether it is made on first use
    enum class Step { none, create, lock };

    KeyLock(int32_t key, uint32_t wait_ms, Semaphore semaphore) : key_(key), wait_ms_(wait_ms) {
        if (semaphore == Semaphore::create) {
            const uint32_t id = OAL_SemCreate(key);
            if (static_cast<int32_t>(id) < 0) {
                failed_step_ = Step::create;
                result_ = id;
                return;
            }
        }
        result_ = OAL_SemLockByKey(key, wait_ms);
        held_ = result_ == OAL_OK;
        failed_step_ = held_ ? Step::none : Step::lock;
    }
    ~KeyLock() { release(); }
    KeyLock(const KeyLock &) = delete;
    KeyLock &operator=(const KeyLock &) = delete;

    explicit operator bool() const { return held_; }
    Step failed_step() const { return failed_step_; }
    uint32_t result() const { return result_; }  // of the step that failed; OAL_OK when taken

    // Gives the lock back now: the unlock's result, OAL_OK when there is nothing to give back. A
    // failed unlock is not tried again.
    uint32_t release() {
        if (!held_) {
            return OAL_OK;
        }
        held_ = false;
        return OAL_SemUnLockByKey(key_, wait_ms_);
    }
    // Leaves the semaphore as it is.
    void abandon() { held_ = false; }

private:
    int32_t key_;
    uint32_t wait_ms_;
    bool held_ = false;
    Step failed_step_ = Step::none;
    uint32_t result_ = OAL_OK;
};

// One attachment of a key's segment, detached on every path.
class AttachedSegment {
public:
    explicit AttachedSegment(int32_t key) : key_(key), address_(OAL_GetMemResourceAddr(key)) {}
    ~AttachedSegment() {
        if (address_ != nullptr) {
            OAL_PutMemResourceAddr(key_, address_);
        }
    }
    AttachedSegment(const AttachedSegment &) = delete;
    AttachedSegment &operator=(const AttachedSegment &) = delete;

    explicit operator bool() const { return address_ != nullptr; }
    void *get() const { return address_; }

private:
    int32_t key_;
    void *address_;
};

// The attachment that a process keeps from its first use on, null while it cannot be had. Threads
// that come at once end with the same one.
template <typename Kept>  // std::atomic or std::atomic_ref of a pointer
typename Kept::value_type kept_attachment(Kept &kept, int32_t key) {
    using Address = typename Kept::value_type;
    Address address = kept.load(std::memory_order_acquire);
    if (address != nullptr) {
        return address;
    }
    const auto fresh = static_cast<Address>(OAL_GetMemResourceAddr(key));
    if (fresh == nullptr) {
        return nullptr;
    }
    if (!kept.compare_exchange_strong(address, fresh, std::memory_order_acq_rel)) {
        OAL_PutMemResourceAddr(key, fresh);
        return address;
    }
    return fresh;
}

}  // namespace bf
