// Every function of the platform contract by its own name: what accesses are counted, faulted and
// accounted by.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace boardsim {

// The functions that reach hardware.
#define BOARDSIM_HARDWARE_CALLS(X)        \
    X(epldio_read)                        \
    X(epldio_write)                       \
    X(i2cRead)                            \
    X(i2cWrite)                           \
    X(ei2c_eeprom_read)                   \
    X(ei2c_eeprom_write)                  \
    X(ei2c_smbus_read_byte_data)          \
    X(ei2c_pca9535_get_value)             \
    X(ei2c_pca9535_get_word_value)        \
    X(pca9535_gpio_word_direction_output) \
    X(pca9535_gpio_word_set_value)        \
    X(pca9535_gpio_word_get_output_value) \
    X(pca9535_gpio_word_get_value)        \
    X(get_gpio_data)                      \
    X(get_fan_speed)                      \
    X(mmap_read32)                        \
    X(mmap_write32)                       \
    X(select_sleep)                       \
    X(hdd_get_back_panel_id)

// Diagnostics, configuration files and bounded functions.
#define BOARDSIM_SOFTWARE_CALLS(X)  \
    X(_ssp_error)                   \
    X(_ssp_warn)                    \
    X(_ssp_info)                    \
    X(_ssp_debug)                   \
    X(sspFailedStat)                \
    X(IDBG_LINUXAPP_DbgOut)         \
    X(IDBG_LINUXAPP_AuditOut)       \
    X(IDBG_LINUXAPP_Runtime_DbgOut) \
    X(IniLoadFile)                  \
    X(VEL_IniLoadFile)              \
    X(IniSaveFile)                  \
    X(IniCloseFile)                 \
    X(IniGetStr)                    \
    X(IniSetStr)                    \
    X(IniGetUInt)                   \
    X(IniSetUInt)                   \
    X(IniGetSInt)                   \
    X(IniSetSInt)                   \
    X(IniGetChar)                   \
    X(IniSetChar)                   \
    X(IniDelEntry)                  \
    X(IniDelSection)                \
    X(memcpy_s)                     \
    X(memset_s)                     \
    X(strncpy_s)                    \
    X(snprintf_s)                   \
    X(strnlen_s)                    \
    X(vel_memcpy_s)                 \
    X(vel_memset_s)                 \
    X(vel_strncpy_s)                \
    X(vel_strncat_s)                \
    X(vel_snprintf_s)               \
    X(vel_sscanf_s)                 \
    X(vel_strnlen_s)                \
    X(vel_atoi_s)                   \
    X(vel_fopen_s)                  \
    X(vel_fgets_s)                  \
    X(vel_fclose_s)

enum class Call : uint32_t {
#define BOARDSIM_NAME(name) name,
    BOARDSIM_HARDWARE_CALLS(BOARDSIM_NAME) BOARDSIM_SOFTWARE_CALLS(BOARDSIM_NAME)
#undef BOARDSIM_NAME
        count
};

constexpr uint32_t call_count = static_cast<uint32_t>(Call::count);

constexpr std::array<std::string_view, call_count> call_names = {
#define BOARDSIM_NAME(name) #name,
    BOARDSIM_HARDWARE_CALLS(BOARDSIM_NAME) BOARDSIM_SOFTWARE_CALLS(BOARDSIM_NAME)
#undef BOARDSIM_NAME
};

constexpr uint32_t index_of(Call call) { return static_cast<uint32_t>(call); }

constexpr std::optional<Call> find_call(std::string_view name) {
    for (uint32_t i = 0; i < call_count; ++i) {
        if (call_names[i] == name) {
            return static_cast<Call>(i);
        }
    }
    return std::nullopt;
}

}  // namespace boardsim
