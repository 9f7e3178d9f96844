// The alarm codes that are not reported: a list in the policy file, mirrored into a segment that
// every process reads without touching the file.
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "base/lock.h"
#include "base/log.h"
#include "boardfeatures/config.h"
#include "configfile/setting_store.h"

using namespace bf::config;

namespace {

constexpr int32_t segment_key = 4138;
constexpr uint32_t segment_wait_ms = 500;
constexpr uint32_t level_disabled_flag = 175;
constexpr uint32_t level_set_alarm = 138;
constexpr int32_t disabled_once = 1;
// Codes are read from at most so many characters of a token.
constexpr std::size_t code_digits = 5;
constexpr std::size_t text_size = 1024;

// The segment's semaphore; given back when this ends.
class SegmentLock {
public:
    SegmentLock() : lock_(segment_key, segment_wait_ms, bf::KeyLock::Semaphore::existing) {}
    ~SegmentLock() {
        if (lock_.release() != OAL_OK) {
            report_lock_failure(__LINE__);
        }
    }
    SegmentLock(const SegmentLock &) = delete;
    SegmentLock &operator=(const SegmentLock &) = delete;

    // Without the lock the segment is not touched.
    bool held() const {
        if (!lock_) {
            report_lock_failure(__LINE__);
        }
        return static_cast<bool>(lock_);
    }

private:
    bf::KeyLock lock_;
};

AlarmDisableCodeInfo *mapped_segment() {
    std::atomic_ref kept(g_AlarmDisbleCodeInfoAddr);
    return bf::kept_attachment(kept, segment_key);
}

// The segment under its lock, or null. A segment that does not exist has no lock either: the
// mapping is tried all the same, because its failure is what the message tells.
AlarmDisableCodeInfo *locked_segment(const SegmentLock &lock) {
    AlarmDisableCodeInfo *segment = mapped_segment();
    if (segment == nullptr) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]get g_AlarmDisbleCodeInfoAddr failed!\n",
                             log_source, __LINE__);
        return nullptr;
    }
    return lock.held() ? segment : nullptr;
}

// The process's list while it is filled from the front.
class CodeList {
public:
    explicit CodeList(std::size_t cleared) {
        std::memset(g_AlarmDisbleCode, 0, cleared * sizeof(g_AlarmDisbleCode[0]));
    }
    bool full() const { return used_ == std::size(g_AlarmDisbleCode); }
    void append(uint16_t code) { g_AlarmDisbleCode[used_++] = code; }

private:
    std::size_t used_ = 0;
};

uint16_t code_of(const char *token, std::size_t length) {
    char digits[code_digits + 1] = "";
    std::memcpy(digits, token, length < code_digits ? length : code_digits);
    return static_cast<uint16_t>(std::strtol(digits, nullptr, 10));
}

// Calls take(code) for each code of the text until it returns false.
template <typename Take>
void each_code(const char *text, Take take) {
    for (;;) {
        text += std::strspn(text, " ");
        const std::size_t length = std::strcspn(text, " ");
        if (length == 0 || !take(code_of(text, length))) {
            return;
        }
        text += length;
    }
}

// What cannot be loaded is told by those who asked for it.
bool load_codes(char (&text)[text_size]) {
    const SettingsFile file(file_of(alarm_policy_file));
    return file && file.load(alarm_codes[0], {}, text) != Loaded::failed;
}

void write_codes(char (&text)[text_size]) {
    std::size_t length = 0;
    text[0] = '\0';
    for (const uint16_t code : g_AlarmDisbleCode) {
        if (code != 0) {
            length += static_cast<std::size_t>(
                std::snprintf(text + length, text_size - length, "%d ", static_cast<int>(code)));
        }
    }
}

// What one change does to the list. True when the list is another one afterwards.
bool change_list(const char *text, uint16_t code, uint32_t disable) {
    CodeList list(std::size(g_AlarmDisbleCode));
    if (disable == 1 && text[0] == ' ') {
        list.append(code);
        return true;
    }
    bool found = false;
    bool dropped = false;
    each_code(text, [&](uint16_t listed) {
        if (list.full()) {
            return false;
        }
        if (listed == code && disable == 0) {
            dropped = true;
            return true;
        }
        found = found || listed == code;
        list.append(listed);
        return true;
    });
    if (disable == 1 && !found && !list.full()) {
        list.append(code);
        return true;
    }
    return dropped;
}

const DefaultDisabledAlarm *default_disabled(uint16_t code) {
    for (const DefaultDisabledAlarm &alarm : g_disabled_alarm) {
        if (alarm.code == code) {
            return &alarm;
        }
    }
    return nullptr;
}

enum class Mark { not_needed, set, failed };

// Remembers that the alarm's default was applied once.
Mark mark_disabled_once(const SettingsFile &file, uint16_t code) {
    const DefaultDisabledAlarm *alarm = default_disabled(code);
    if (alarm == nullptr) {
        return Mark::not_needed;
    }
    const Setting &row = alarm_disabled_once[0];
    const Place place = {__func__, nullptr, alarm->name};
    int32_t flag = 0;
    file.load(row, place, &flag);
    if (flag == disabled_once) {
        return Mark::not_needed;
    }
    return file.store(row, place, uint32_t{disabled_once}) ? Mark::set : Mark::failed;
}

// The file's part of a change: 0 or -1.
int32_t change_policy_file(uint16_t code, uint32_t disable) {
    const SettingsFile file(file_of(alarm_policy_file));
    if (!file) {
        return -1;
    }
    char text[text_size];
    if (file.load(alarm_codes[0], {__func__}, text) == Loaded::failed) {
        return -1;
    }
    const bool changed = change_list(text, code, disable);
    const Mark mark = mark_disabled_once(file, code);
    if (mark == Mark::failed) {
        return -1;
    }
    if (changed) {
        write_codes(text);
        if (!file.store(alarm_codes[0], {__func__}, text)) {
            return -1;
        }
    }
    return changed || mark == Mark::set ? file.save() : 0;
}

}  // namespace

extern "C" {

AlarmDisableCodeInfo *g_AlarmDisbleCodeInfoAddr = nullptr;
uint16_t g_AlarmDisbleCode[BF_ALARM_DISABLE_CODES] = {};

const DefaultDisabledAlarm g_disabled_alarm[5] = {
    {30880, "PowerokChangeFlag"}, {30870, "SfpHealthOkFlag"}, {30911, "NvmeLinkDown"},
    {30912, "NvmeSmartAbnormal"}, {30918, "PDForeignState"},
};
const uint32_t g_disabled_alarm_cnt = std::size(g_disabled_alarm);

int32_t VEL_CreateAlarmDisableCodeInfoShmAddr() {
    if (static_cast<int32_t>(OAL_CreatMemResource(segment_key, sizeof(AlarmDisableCodeInfo))) < 0) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]Create alarm disable code shm failed.\n",
                             log_source, __LINE__);
        return -1;
    }
    AlarmDisableCodeInfo *segment = mapped_segment();
    if (segment == nullptr) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]alarm disable code shm is null.\n",
                             log_source, __LINE__);
        return -1;
    }
    const SegmentLock lock;
    if (!lock.held()) {
        return -1;
    }
    std::memset(segment, 0, sizeof(*segment));
    return 0;
}

int32_t SetAlarmDisableCodeInfo() {
    const SegmentLock lock;
    AlarmDisableCodeInfo *segment = locked_segment(lock);
    if (segment == nullptr) {
        return -1;
    }
    std::memcpy(segment, g_AlarmDisbleCode, sizeof(g_AlarmDisbleCode));
    IDBG_LINUXAPP_DbgOut(bf::level_debug,
                         "[%s:%d]g_AlarmDisbleCodeInfoAddr->AlarmDisbleCode[0] = %d\n", log_source,
                         __LINE__, int{segment->AlarmDisbleCode[0]});
    return 0;
}

int32_t GetAlarmDisableCodeInfo(AlarmDisableCodeInfo *list) {
    if (list == nullptr) {
        return -1;
    }
    const SegmentLock lock;
    const AlarmDisableCodeInfo *segment = locked_segment(lock);
    if (segment == nullptr) {
        return -1;
    }
    std::memcpy(list, segment, sizeof(*list));
    return 0;
}

int32_t IPMI_SaveAlarmReportDisable(uint32_t code, uint32_t disable) {
    if (code > UINT16_MAX || change_policy_file(static_cast<uint16_t>(code), disable) != 0) {
        return -1;
    }
    SetAlarmDisableCodeInfo();
    return 0;
}

int32_t IPMI_LoadAlarmReportDisable() {
    // Half of the list only: codes from the 65th on stay until others take their places.
    CodeList list(std::size(g_AlarmDisbleCode) / 2);
    char text[text_size];
    if (!load_codes(text)) {
        return -1;
    }
    if (std::strcmp(text, alarm_codes[0].text) == 0) {
        return 0;
    }
    each_code(text, [&](uint16_t code) {
        if (list.full()) {
            return false;
        }
        list.append(code);
        return true;
    });
    SetAlarmDisableCodeInfo();
    return 0;
}

int32_t Get_DisabledFlag(const char *name) {
    if (name == nullptr) {
        return -1;
    }
    const SettingsFile file(file_of(alarm_policy_file));
    if (!file) {
        IDBG_LINUXAPP_AuditOut(level_disabled_flag, "open /conf/vel/alarmpolicy failed!\n");
        return -1;
    }
    int32_t flag = 0;
    file.load(alarm_disabled_once[0], {__func__, nullptr, name}, &flag);
    IDBG_LINUXAPP_AuditOut(level_disabled_flag, "%s disabledFlag = %d\n", name, flag);
    return flag;
}

int32_t IsNeedAlarmReReport() {
    if (IPMI_LoadAlarmReportDisable() != 0) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]IniLoadFile failed!", log_source, __LINE__);
    }
    uint8_t policy = 0;
    return IPMI_LoadAlarmReportPolicy(&policy) == 0 && policy != 0 ? 1 : 0;
}

int32_t loadAlarmReportDisable() {
    if (VEL_CreateAlarmDisableCodeInfoShmAddr() != 0) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug,
                             "[%s:%d]VEL_CreateAlarmDisableCodeInfoShmAddr failed!\n", log_source,
                             __LINE__);
        return -1;
    }
    for (const DefaultDisabledAlarm &alarm : g_disabled_alarm) {
        if (Get_DisabledFlag(alarm.name) == 0 && IPMI_SaveAlarmReportDisable(alarm.code, 1) < 0) {
            IDBG_LINUXAPP_AuditOut(level_set_alarm, "[%s:%d] set alarm %d failed!\n", log_source,
                                   __LINE__, int{alarm.code});
            return -1;
        }
    }
    if (IPMI_LoadAlarmReportDisable() != 0) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d] IniLoadFile failed!", log_source, __LINE__);
        return -1;
    }
    return 0;
}

}  // extern "C"
