// How a newly probed PCIe configuration takes effect: a setting in a file, mirrored for all
// processes in shared memory.
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include "base/ini.h"
#include "base/lock.h"
#include "boardfeatures/ipc.h"
#include "boardfeatures/pcieid_settings.h"
#include "common/pcieid/pcieid_log.h"

// Messages name the step that they belong to, whichever function takes it.
#define WARN_IN(step, format, ...)                                         \
    _ssp_warn(bf::module_pcieid, log_source, step, __LINE__, format, step, \
              __LINE__ __VA_OPT__(, ) __VA_ARGS__)
#define WARN_RESULT_IN(step, result)                                                     \
    WARN_IN(step, "%s(@%d) retval=%d, errno=%d, %s.\n", static_cast<int>(result), errno, \
            strerror(errno))

namespace {

constexpr char log_source[] = "pcieidcfg_ini";

constexpr char settings_path[] = "/conf/vel/pcieidcfg.ini";
constexpr char settings_section[] = "probe_new_config";
constexpr char settings_key[] = "take_effect_mode";
constexpr uint32_t default_mode = PCIEID_EFFECT_INTELLIGENT;

constexpr int32_t cache_key = 4123;
constexpr int32_t lock_key = 12309;
constexpr uint32_t lock_wait_ms = 10000;

std::atomic<void *> kept_cache = nullptr;
std::atomic<bool> synchronised = false;

// The lock of all processes that use the setting. Whoever cannot have it is logged and goes on.
class SettingsLock {
public:
    SettingsLock() : lock_(lock_key, lock_wait_ms, bf::KeyLock::Semaphore::create) {
        const int result = static_cast<int>(lock_.result());
        switch (lock_.failed_step()) {
            case bf::KeyLock::Step::create:
                WARN_IN("__ini_lock", "%s(@%d) sem create failed, retval=%d, errno=%d, %s.\n",
                        result, errno, strerror(errno));
                break;
            case bf::KeyLock::Step::lock:
                WARN_IN("__ini_lock", "%s(@%d) sem lock failed, retval=%d, errno=%d, %s.\n", result,
                        errno, strerror(errno));
                break;
            case bf::KeyLock::Step::none:
                break;
        }
    }
    ~SettingsLock() {
        const uint32_t result = lock_.release();
        if (result != OAL_OK) {
            // the lock's text is what those who read the log look for here, too
            WARN_IN("__ini_unlock", "%s(@%d) sem lock failed, retval=%d, errno=%d, %s.\n",
                    static_cast<int>(result), errno, strerror(errno));
        }
    }
    SettingsLock(const SettingsLock &) = delete;
    SettingsLock &operator=(const SettingsLock &) = delete;

private:
    bf::KeyLock lock_;
};

// The mode that all processes see; it has no address while the segment cannot be had.
class Cache {
public:
    Cache() : address_(kept_cache.load()) {
        if (address_ == nullptr &&
            static_cast<int32_t>(OAL_CreatMemResource(cache_key, sizeof(uint32_t))) >= 0) {
            address_ = bf::kept_attachment(kept_cache, cache_key);
        }
    }
    explicit operator bool() const { return address_ != nullptr; }
    uint32_t load() const { return word().load(); }
    void store(uint32_t mode) const { word().store(mode); }

private:
    std::atomic_ref<uint32_t> word() const {
        return std::atomic_ref<uint32_t>(*static_cast<uint32_t *>(address_));
    }
    void *address_;
};

bool read_file(uint32_t *mode) {
    const bf::IniFile file(IniLoadFile(settings_path));
    if (!file) {
        WARN_IN("__cfg_file_read", "%s(@%d) errno=%d, %s.\n", errno, strerror(errno));
        return false;
    }
    *mode = IniGetUInt(file.get(), settings_section, settings_key, default_mode);
    return true;
}

// A save that fails is logged; the setting then lives as long as the shared memory does.
int32_t write_file(uint32_t mode) {
    const bf::IniFile file(IniLoadFile(settings_path));
    if (!file) {
        WARN_IN("__cfg_file_write", "%s(@%d) errno=%d, %s.\n", errno, strerror(errno));
        return -1;
    }
    IniSetUInt(file.get(), settings_section, settings_key, mode);
    if (IniSaveFile(file.get(), settings_path) != 0) {
        WARN_IN("__cfg_file_write", "%s(@%d) errno=%d, %s.\n", errno, strerror(errno));
    }
    return 0;
}

// Once a process, under the lock.
void synchronise() {
    if (synchronised.load()) {
        return;
    }
    uint32_t mode = 0;
    if (!read_file(&mode)) {
        WARN_RESULT_IN("__sync_cache", -1);
        return;
    }
    const Cache cache;
    if (!cache) {
        WARN_RESULT_IN("__sync_cache", -1);
        return;
    }
    cache.store(mode);
    // back to the file, so that a missing entry appears with its default
    const int32_t written = write_file(mode);
    if (written != 0) {
        WARN_RESULT_IN("__sync_cache", written);
        return;
    }
    WARN_IN("__sync_cache", "%s(@%d) sync ini file and cache, done.\n");
    synchronised.store(true);
}

bool is_mode(uint32_t mode) {
    return mode == PCIEID_EFFECT_AUTOMATIC || mode == PCIEID_EFFECT_INTELLIGENT;
}

}  // namespace

extern "C" {

int32_t pcieidcfg_ini_init() {
    if (!synchronised.load()) {
        const SettingsLock lock;
        synchronise();
    }
    return 0;
}

int32_t pcieidcfg_get_effect_mode(uint32_t *mode) {
    if (mode == nullptr) {
        return -1;
    }
    int32_t result = -1;
    {
        const SettingsLock lock;
        synchronise();
        const Cache cache;
        if (cache) {
            *mode = cache.load();
            result = 0;
        } else {
            WARN_RESULT_IN(__func__, result);
        }
    }
    // Without a cache this judges what the caller brought.
    if (!is_mode(*mode)) {
        pcieidcfg_set_effect_mode(default_mode);
    }
    return result;
}

int32_t pcieidcfg_set_effect_mode(uint32_t mode) {
    if (!is_mode(mode)) {
        PCIEID_WARN("%s(@%d) take_effect_mode=%lu.\n", static_cast<unsigned long>(mode));
        return -1;
    }
    int32_t written = 0;
    {
        const SettingsLock lock;
        const Cache cache;
        if (cache) {
            cache.store(mode);
            // a warning on success: every change of the setting is to be found in the log
            WARN_RESULT_IN(__func__, 0);
        }
        written = write_file(mode);
        if (written != 0) {
            WARN_RESULT_IN(__func__, written);
        }
        sync();
    }
    if (written == 0) {
        PCIEID_INFO("%s(@%d) set 'new PCIe config take effect' mode to %s(%02x).\n",
                    mode == PCIEID_EFFECT_AUTOMATIC ? "Automatic" : "Intelligent", mode);
    }
    return written;
}

}  // extern "C"
