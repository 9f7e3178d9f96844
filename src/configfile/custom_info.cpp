// Who the customer is, and texts of the customer's own.
#include <iterator>
#include <span>

#include "base/log.h"
#include "boardfeatures/config.h"
#include "configfile/setting_store.h"

using namespace bf::config;

namespace {

constexpr char customers[][16] = {
    "VEL", "dioflu", "Kuaishou", "Tencent", "JingDong", "DiDi", "DianXin",  "", "",         "", "",
    "",    "",       "",         "",        "",         "",     "bilibili", "", "QI-ANXIN",
};
static_assert(std::size(customers) == 20);

// The rows of a kind of information; none for a kind that does not exist.
std::span<const Setting> rows_of_kind(uint32_t kind) {
    switch (kind) {
        case 0:
        case 5:
            return custom_info;
        case 3:
            return product_extra;
        default:
            return {};
    }
}

Place info_place(const char *function, uint32_t kind, uint32_t index) {
    Place place = {function};
    place.section_number = static_cast<int32_t>(kind);
    place.key_numbers[0] = static_cast<int32_t>(index);
    return place;
}

void report_no_identity(const SettingsFile &file) {
    if (file.locked()) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]get custom id info failed", log_source,
                             __LINE__);
    } else {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]get custom id info lock failed", log_source,
                             __LINE__);
    }
}

bool store_identity(const SettingsFile &file, uint32_t index, const char *text) {
    return file.store(custom_id[0], {__func__}, index) &&
           file.store(custom_id[1], {__func__}, text);
}

}  // namespace

extern "C" {

int32_t IPMI_SaveCustomInfo(uint32_t kind, uint32_t index, const char *text, uint32_t length) {
    if (text == nullptr) {
        return -1;
    }
    const SettingsFile file(file_of(custom_info_file));
    if (!file) {
        report_unloaded(file, __func__);
        return -1;
    }
    const Place place = info_place(__func__, kind, index);
    const Value values[] = {text, length};
    const Value *value = values;
    for (const Setting &row : rows_of_kind(kind)) {
        if (!file.store(row, place, *value++)) {
            return -1;
        }
    }
    return file.save();
}

int32_t IPMI_LoadCustomInfo(uint32_t kind, uint32_t index, char text[256], uint32_t *length) {
    const std::span<const Setting> rows = rows_of_kind(kind);
    if (rows.empty()) {
        return -1;
    }
    return load_settings(rows, info_place(__func__, kind, index), {text, length});
}

int32_t IPMI_SaveCustomID(uint32_t index) {
    if (index >= std::size(customers)) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]set custom id too big", log_source, __LINE__);
        return -1;
    }
    const SettingsFile file(file_of(custom_info_file));
    if (!file) {
        report_no_identity(file);
        return -1;
    }
    return store_identity(file, index, customers[index]) ? file.save() : -1;
}

int32_t IPMI_LoadCustomID(uint32_t *index, char text[64]) {
    if (index == nullptr || text == nullptr) {
        return -1;
    }
    const SettingsFile file(file_of(custom_info_file));
    if (!file) {
        report_no_identity(file);
        return -1;
    }
    uint32_t stored = 0;
    file.load(custom_id[0], {__func__}, &stored);
    if (file.load(custom_id[1], {__func__}, text) == Loaded::failed) {
        return -1;
    }
    *index = stored;
    // So that a missing section appears with its defaults; the answer does not depend on it.
    if (store_identity(file, stored, text)) {
        file.save();
    }
    return 0;
}

}  // extern "C"
