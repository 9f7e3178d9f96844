// Why the management SoC came out of reset: a register that is cleared once a boot and kept in
// shared memory for every later reader.
#include <atomic>
#include <cstdio>

#include "base/lock.h"
#include "base/log.h"
#include "boardfeatures/ipc.h"
#include "boardfeatures/soc.h"

namespace {

constexpr char log_source[] = "soc";

constexpr uint32_t protection_register = 0x1E6E2000;
constexpr uint32_t reset_status_register = 0x1E6E203C;
constexpr uint32_t unlock_key = 0x1688A8A8;
constexpr uint32_t lock_key = 0;
constexpr uint32_t power_on_reset = 1u << 0;

constexpr int32_t status_key = BF_SOC_RESET_STATUS_KEY;
constexpr uint32_t status_wait_ms = 500;
constexpr uint32_t level_reset_status = 134;

std::atomic<uint32_t> known_status = 0;
std::atomic<void *> kept_segment = nullptr;

std::atomic_ref<uint32_t> word_of(void *segment) {
    return std::atomic_ref<uint32_t>(*static_cast<uint32_t *>(segment));
}

// Gives `use` the segment's word under the semaphore. A semaphore that cannot be taken in time does
// not keep a daemon from its answer.
template <typename Use>
int32_t with_status_word(Use use) {
    const bf::KeyLock lock(status_key, status_wait_ms, bf::KeyLock::Semaphore::existing);
    void *segment = bf::kept_attachment(kept_segment, status_key);
    if (segment == nullptr) {
        return -1;
    }
    use(word_of(segment));
    return 0;
}

// To both logs and to whoever started the daemon by hand.
void report_failure(const char *step) {
    IDBG_LINUXAPP_AuditOut(level_reset_status, "SCU3C %s Shm failed\n", step);
    IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]SCU3C %s Shm failed\n", log_source, __LINE__,
                         step);
    printf("SCU3C %s Shm failed", step);
}

// Reads the register and clears it. 0 when it cannot be read: it is not cleared then.
uint32_t capture_status() {
    uint32_t original = 0;
    if (mmap_read32(reset_status_register, &original) != 0) {
        return 0;
    }
    mmap_write32(protection_register, unlock_key);
    mmap_write32(reset_status_register, 0);
    mmap_write32(protection_register, lock_key);
    uint32_t cleared = 0;
    mmap_read32(reset_status_register, &cleared);

    const unsigned long values[] = {original, cleared};
    IDBG_LINUXAPP_AuditOut(level_reset_status,
                           "SCU3C original value: %08lX, cleared value: %08lX\n", values[0],
                           values[1]);
    IDBG_LINUXAPP_DbgOut(bf::level_debug,
                         "[%s:%d]SCU3C original value: %08lX, cleared value: %08lX\n", log_source,
                         __LINE__, values[0], values[1]);
    printf("SCU3C original value: %08lX, cleared value: %08lX\n", values[0], values[1]);
    return original;
}

}  // namespace

extern "C" {

int32_t SCU3CInfoShmCreate() {
    if (OAL_ShmIsExist(status_key) != 0) {
        return 0;
    }
    if (static_cast<int32_t>(OAL_CreatMemResource(status_key, sizeof(uint32_t))) < 0) {
        return -1;
    }
    bf::KeyLock lock(status_key, status_wait_ms, bf::KeyLock::Semaphore::existing);
    const bf::AttachedSegment segment(status_key);
    if (!segment) {
        // Nobody reads a segment that was never cleared while this process lives.
        lock.abandon();
        return -1;
    }
    word_of(segment.get()).store(0);
    return 0;
}

int32_t ReadSCU3CInfoFromShm(uint32_t *value) {
    if (value == nullptr) {
        return -1;
    }
    return with_status_word([=](std::atomic_ref<uint32_t> word) { *value = word.load(); });
}

int32_t WriteSCU3CInfoInShm(uint32_t value) {
    return with_status_word([=](std::atomic_ref<uint32_t> word) { word.store(value); });
}

uint32_t VEL_readSCU3C() {
    if (SCU3CInfoShmCreate() != 0) {
        report_failure("create");
        return 0;
    }
    if (const uint32_t known = known_status.load(); known != 0) {
        return known;
    }
    uint32_t status = 0;
    if (ReadSCU3CInfoFromShm(&status) != 0) {
        report_failure("read");
    }
    if (status == 0) {
        status = capture_status();
        if (WriteSCU3CInfoInShm(status) != 0) {
            report_failure("write");
        }
    }
    known_status.store(status);
    return status;
}

int32_t VEL_PDKIsACPowerOn() { return static_cast<int32_t>(VEL_readSCU3C() & power_on_reset); }

}  // extern "C"
