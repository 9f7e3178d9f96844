#include "support/scripted_platform.h"

#include <dlfcn.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace scripted {

namespace {

std::recursive_mutex &guard() {
    static std::recursive_mutex mutex;
    return mutex;
}

BP_PRINTF(1, 2) std::string text_of(const char *format, ...) {
    char text[512];
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof(text), format, values);
    va_end(values);
    return text;
}

// The place of an error that is counted and not said yet.
std::pair<std::string, int> counted;

// Records a call; true when the script wants it to fail.
bool record(std::string call) {
    Platform &board = platform();
    counted = {};
    board.calls.push_back(call);
    return (board.fail_call && *board.fail_call == board.calls.size()) ||
           (board.fail_if && board.fail_if(call));
}

bool record(const char *function, const I2cChipRoute *route, const std::string &arguments) {
    platform().routes.push_back(*route);
    return record(function + (' ' + route_text(*route)) + arguments);
}

Expander *expander_at(const I2cChipRoute *route) {
    auto &expanders = platform().expanders;
    const auto &cables = platform().same_expander;
    const auto cable = cables.find(chip_of(*route));
    const auto found = expanders.find(cable == cables.end() ? chip_of(*route) : cable->second);
    return found == expanders.end() ? nullptr : &found->second;
}

std::vector<uint8_t> *bytes_at(const I2cChipRoute *route) {
    auto &devices = platform().bytes;
    const auto found = devices.find(chip_of(*route));
    return found == devices.end() ? nullptr : &found->second;
}

int read_bytes(const I2cChipRoute *route, uint32_t offset, uint8_t *buffer, uint32_t length) {
    const std::vector<uint8_t> *bytes = bytes_at(route);
    if (bytes == nullptr) {
        return -1;
    }
    for (uint32_t i = 0; i < length; ++i) {
        buffer[i] = offset + i < bytes->size() ? (*bytes)[offset + i] : 0xFF;
    }
    return static_cast<int>(length);
}

int write_bytes(const I2cChipRoute *route, uint32_t offset, const uint8_t *buffer,
                uint32_t length) {
    std::vector<uint8_t> *bytes = bytes_at(route);
    if (bytes == nullptr) {
        return -1;
    }
    if (bytes->size() < offset + length) {
        bytes->resize(offset + length, 0xFF);
    }
    std::memcpy(bytes->data() + offset, buffer, length);
    return static_cast<int>(length);
}

// A pin that is an output reads what it drives.
uint32_t pins_of(const Expander &chip) {
    return (chip.input & chip.direction) | (chip.output & static_cast<uint16_t>(~chip.direction));
}

BP_PRINTF(1, 0) std::string formatted(const char *format, va_list values) {
    char text[4096];
    std::vsnprintf(text, sizeof(text), format, values);
    return text;
}

BP_PRINTF(3, 0)
void message(const char *channel, uint32_t number, const char *format, va_list values) {
    counted = {};
    Message line;
    line.channel = channel;
    line.calls_before = platform().calls.size();
    line.number = number;
    constexpr char place[] = "[%s:%d]";
    line.text = formatted(format, values);
    if (std::strncmp(format, place, sizeof(place) - 1) == 0) {
        const size_t colon = line.text.find(':');
        const size_t bracket = line.text.find(']');
        line.source = line.text.substr(1, colon - 1);
        line.line = std::atoi(line.text.c_str() + colon + 1);
        line.text = line.text.substr(bracket + 1);
    }
    platform().messages.push_back(line);
}

BP_PRINTF(6, 0)
void ssp_message(const char *channel, uint32_t module, const char *file, const char *function,
                 int line, const char *format, va_list values) {
    if (std::strcmp(channel, "error") == 0 && counted != std::pair(std::string(file), line)) {
        std::fprintf(stderr, "%s:%d: an error that is not counted before it\n", file, line);
        std::abort();
    }
    counted = {};
    platform().messages.push_back({channel, module, file, function, line, formatted(format, values),
                                   platform().calls.size()});
}

template <typename Function>
Function next(const char *name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

Chip chip_of(const I2cChipRoute &route) {
    return {route.bus, route.address, route.switch_address, route.switch_channel};
}

std::string route_text(const I2cChipRoute &route) {
    if (route.switch_address == 0) {
        return text_of("%u:0x%02X", route.bus, route.address);
    }
    return text_of("%u:0x%02X.%X:0x%02X", route.bus, route.switch_address, route.switch_channel,
                   route.address);
}

bool same_route(const I2cChipRoute &one, const I2cChipRoute &other) {
    return std::memcmp(&one, &other, sizeof(one)) == 0;
}

Platform &platform() {
    static Platform board;
    return board;
}

std::vector<std::string> Platform::calls_of(const std::string &prefix) const {
    std::vector<std::string> found;
    for (const std::string &call : calls) {
        if (call.starts_with(prefix)) {
            found.push_back(call);
        }
    }
    return found;
}

std::vector<std::string> Platform::texts() const {
    std::vector<std::string> found;
    for (const Message &line : messages) {
        found.push_back(line.text);
    }
    return found;
}

}  // namespace scripted

using namespace scripted;

#define LOCKED const std::lock_guard lock(guard())

extern "C" {

int epldio_read(uint32_t reg, uint16_t *value) {
    LOCKED;
    if (record(text_of("epldio_read 0x%X", reg))) {
        return platform().failure;
    }
    if (platform().on_epld_read) {
        return platform().on_epld_read(reg, value);
    }
    const auto found = platform().epld.find(reg);
    *value = found == platform().epld.end() ? 0 : found->second;
    return 0;
}

int epldio_write(uint32_t reg, uint16_t value) {
    LOCKED;
    if (record(text_of("epldio_write 0x%X 0x%04X", reg, value))) {
        return platform().failure;
    }
    if (platform().on_epld_write) {
        return platform().on_epld_write(reg, value);
    }
    platform().epld[reg] = value;
    return 0;
}

int i2cRead(const I2cChipRoute *route, uint32_t length, uint8_t *buffer, uint32_t width,
            uint32_t offset) {
    LOCKED;
    if (record("i2cRead", route,
               text_of(" width %u offset 0x%X length %u", width, offset, length))) {
        return platform().failure;
    }
    if (platform().on_i2c_read) {
        return platform().on_i2c_read(*route, length, buffer, offset);
    }
    return read_bytes(route, offset, buffer, length);
}

int i2cWrite(const I2cChipRoute *route, uint32_t length, const uint8_t *buffer, uint32_t width,
             uint32_t offset) {
    LOCKED;
    std::string arguments = text_of(" width %u offset 0x%X length %u:", width, offset, length);
    for (uint32_t i = 0; i < length; ++i) {
        arguments += text_of(" %02X", buffer[i]);
    }
    if (record("i2cWrite", route, arguments)) {
        return platform().failure;
    }
    if (platform().on_i2c_write) {
        return platform().on_i2c_write(*route, length, buffer, offset);
    }
    return write_bytes(route, offset, buffer, length);
}

int ei2c_eeprom_read(const I2cChipRoute *route, uint32_t offset, uint8_t *buffer, uint32_t length) {
    LOCKED;
    if (record("ei2c_eeprom_read", route, text_of(" offset 0x%X length %u", offset, length))) {
        return platform().failure;
    }
    return read_bytes(route, offset, buffer, length);
}

int ei2c_eeprom_write(const I2cChipRoute *route, uint32_t offset, const uint8_t *buffer,
                      uint32_t length) {
    LOCKED;
    if (record("ei2c_eeprom_write", route, text_of(" offset 0x%X length %u", offset, length))) {
        return platform().failure;
    }
    return write_bytes(route, offset, buffer, length);
}

int ei2c_smbus_read_byte_data(const I2cChipRoute *route, uint8_t command, uint8_t *value) {
    LOCKED;
    if (record("ei2c_smbus_read_byte_data", route, text_of(" 0x%02X", command))) {
        return platform().failure;
    }
    return read_bytes(route, command, value, 1) < 0 ? -1 : 0;
}

int ei2c_pca9535_get_value(const I2cChipRoute *route, uint32_t pin, uint32_t *value) {
    LOCKED;
    if (record("ei2c_pca9535_get_value", route, text_of(" pin %u", pin))) {
        return platform().failure;
    }
    if (platform().on_pin_read) {
        return platform().on_pin_read(*route, pin, value);
    }
    const Expander *chip = expander_at(route);
    if (chip == nullptr) {
        return -1;
    }
    *value = (pins_of(*chip) >> pin) & 1u;
    return 0;
}

int ei2c_pca9535_get_word_value(const I2cChipRoute *route, uint32_t mask, uint32_t *value) {
    LOCKED;
    if (record("ei2c_pca9535_get_word_value", route, text_of(" 0x%X", mask))) {
        return platform().failure;
    }
    if (platform().on_word_read) {
        return platform().on_word_read(*route, mask, value);
    }
    const Expander *chip = expander_at(route);
    if (chip == nullptr) {
        return -1;
    }
    *value = pins_of(*chip) & mask;
    return 0;
}

int pca9535_gpio_word_direction_output(const I2cChipRoute *route, uint32_t mask, uint32_t value) {
    LOCKED;
    if (record("pca9535_gpio_word_direction_output", route, text_of(" 0x%X 0x%X", mask, value))) {
        return platform().failure;
    }
    Expander *chip = expander_at(route);
    if (chip == nullptr) {
        return -1;
    }
    chip->direction = static_cast<uint16_t>(chip->direction & ~mask);
    chip->output = static_cast<uint16_t>((chip->output & ~mask) | (value & mask));
    return 0;
}

int pca9535_gpio_word_set_value(const I2cChipRoute *route, uint32_t mask, uint32_t value) {
    LOCKED;
    if (record("pca9535_gpio_word_set_value", route, text_of(" 0x%X 0x%X", mask, value))) {
        return platform().failure;
    }
    Expander *chip = expander_at(route);
    if (chip == nullptr) {
        return -1;
    }
    chip->output = static_cast<uint16_t>((chip->output & ~mask) | (value & mask));
    return 0;
}

int pca9535_gpio_word_get_output_value(const I2cChipRoute *route, uint32_t mask, uint32_t *value) {
    LOCKED;
    if (record("pca9535_gpio_word_get_output_value", route, text_of(" 0x%X", mask))) {
        return platform().failure;
    }
    const Expander *chip = expander_at(route);
    if (chip == nullptr) {
        return -1;
    }
    *value = chip->output & mask;
    return 0;
}

int pca9535_gpio_word_get_value(const I2cChipRoute *route, uint32_t mask, uint32_t *value) {
    LOCKED;
    if (record("pca9535_gpio_word_get_value", route, text_of(" 0x%X", mask))) {
        return platform().failure;
    }
    const Expander *chip = expander_at(route);
    if (chip == nullptr) {
        return -1;
    }
    *value = pins_of(*chip) & mask;
    return 0;
}

int get_gpio_data(uint32_t line) {
    LOCKED;
    if (record(text_of("get_gpio_data %u", line))) {
        return platform().failure;
    }
    const auto found = platform().gpio.find(line);
    return found == platform().gpio.end() ? -1 : found->second;
}

int get_fan_speed(uint32_t unit, uint32_t fan, uint32_t *rpm) {
    LOCKED;
    if (record(text_of("get_fan_speed %u %u", unit, fan))) {
        return platform().failure;
    }
    if (platform().on_fan_speed) {
        return platform().on_fan_speed(fan, rpm);
    }
    const auto found = platform().fan_rpm.find(fan);
    if (found == platform().fan_rpm.end()) {
        return -1;
    }
    *rpm = found->second;
    return 0;
}

int mmap_read32(uint32_t physical, uint32_t *value) {
    LOCKED;
    if (record(text_of("mmap_read32 0x%08X", physical))) {
        return platform().failure;
    }
    *value = platform().memory[physical];
    return 0;
}

int mmap_write32(uint32_t physical, uint32_t value) {
    LOCKED;
    if (record(text_of("mmap_write32 0x%08X 0x%08X", physical, value))) {
        return platform().failure;
    }
    platform().memory[physical] = value;
    return 0;
}

int select_sleep(uint32_t seconds, uint32_t microseconds) {
    LOCKED;
    if (record(text_of("select_sleep %u %u", seconds, microseconds))) {
        return platform().failure;
    }
    return platform().on_sleep ? platform().on_sleep(seconds, microseconds) : 0;
}

int hdd_get_back_panel_id(uint32_t *id) {
    LOCKED;
    if (record("hdd_get_back_panel_id") || !platform().back_panel_id) {
        return platform().failure;
    }
    *id = *platform().back_panel_id;
    return 0;
}

#define SSP_CHANNEL(name, channel)                                               \
    void name(uint32_t module, const char *file, const char *function, int line, \
              const char *format, ...) {                                         \
        LOCKED;                                                                  \
        va_list values;                                                          \
        va_start(values, format);                                                \
        ssp_message(channel, module, file, function, line, format, values);      \
        va_end(values);                                                          \
    }
SSP_CHANNEL(_ssp_error, "error")
SSP_CHANNEL(_ssp_warn, "warn")
SSP_CHANNEL(_ssp_info, "info")
SSP_CHANNEL(_ssp_debug, "debug")

#define IDBG_CHANNEL(name, channel)                       \
    void name(uint32_t number, const char *format, ...) { \
        LOCKED;                                           \
        va_list values;                                   \
        va_start(values, format);                         \
        message(channel, number, format, values);         \
        va_end(values);                                   \
    }
IDBG_CHANNEL(IDBG_LINUXAPP_DbgOut, "dbgout")
IDBG_CHANNEL(IDBG_LINUXAPP_AuditOut, "audit")
IDBG_CHANNEL(IDBG_LINUXAPP_Runtime_DbgOut, "runtime")

void sspFailedStat(const char *file, int line) {
    LOCKED;
    platform().failed_stats.emplace_back(file, line);
    counted = {file, line};
}

// Configuration files: recorded, then answered by the simulated platform.

IniHandle IniLoadFile(const char *path) {
    LOCKED;
    return record(std::string("IniLoadFile ") + path)
               ? nullptr
               : next<decltype(&IniLoadFile)>("IniLoadFile")(path);
}
IniHandle VEL_IniLoadFile(const char *path) {
    LOCKED;
    return record(std::string("VEL_IniLoadFile ") + path)
               ? nullptr
               : next<decltype(&VEL_IniLoadFile)>("VEL_IniLoadFile")(path);
}
int IniSaveFile(IniHandle handle, const char *path) {
    LOCKED;
    return record(std::string("IniSaveFile ") + path)
               ? platform().failure
               : next<decltype(&IniSaveFile)>("IniSaveFile")(handle, path);
}
// A close cannot fail; it is recorded.
void IniCloseFile(IniHandle handle) {
    LOCKED;
    record("IniCloseFile");
    next<decltype(&IniCloseFile)>("IniCloseFile")(handle);
}
int IniGetStr(IniHandle handle, const char *section, const char *key, const char *fallback,
              char *out, uint32_t size) {
    LOCKED;
    return record(std::string("IniGetStr ") + section + "/" + key)
               ? platform().failure
               : next<decltype(&IniGetStr)>("IniGetStr")(handle, section, key, fallback, out, size);
}
#define INI_SET(name, type)                                                        \
    int name(IniHandle handle, const char *section, const char *key, type value) { \
        LOCKED;                                                                    \
        return record(std::string(#name " ") + section + "/" + key)                \
                   ? platform().failure                                            \
                   : next<decltype(&name)>(#name)(handle, section, key, value);    \
    }
#define INI_GET(name, type)                                                            \
    type name(IniHandle handle, const char *section, const char *key, type fallback) { \
        LOCKED;                                                                        \
        return record(std::string(#name " ") + section + "/" + key)                    \
                   ? fallback                                                          \
                   : next<decltype(&name)>(#name)(handle, section, key, fallback);     \
    }
INI_SET(IniSetStr, const char *)
INI_SET(IniSetUInt, uint32_t)
INI_SET(IniSetSInt, int32_t)
INI_SET(IniSetChar, uint8_t)
INI_GET(IniGetUInt, uint32_t)
INI_GET(IniGetSInt, int32_t)
INI_GET(IniGetChar, uint8_t)
int IniDelEntry(IniHandle handle, const char *section, const char *key) {
    LOCKED;
    return record(std::string("IniDelEntry ") + section + "/" + key)
               ? platform().failure
               : next<decltype(&IniDelEntry)>("IniDelEntry")(handle, section, key);
}
int IniDelSection(IniHandle handle, const char *section) {
    LOCKED;
    return record(std::string("IniDelSection ") + section)
               ? platform().failure
               : next<decltype(&IniDelSection)>("IniDelSection")(handle, section);
}

}  // extern "C"
