// The contract's hardware functions. Each is one access; what it means on the I2C bus are the
// transfers that a driver of the chip makes.
#include "boardplatform/platform.h"

#include <array>
#include <functional>

#include "access.h"
#include "bus.h"
#include "chips.h"
#include "flash.h"
#include "scu.h"

using namespace boardsim;

namespace {

constexpr int refused = -1;
constexpr uint32_t widest_offset = 4;
constexpr uint32_t width_of_part = 0xFF;  // as many offset bytes as the EEPROM's size asks for
constexpr uint32_t longest_transfer = 65536;
constexpr uint32_t pin_count = 16;
constexpr uint32_t largest_one_byte_eeprom = 256;

Access chip_access(Call call, const I2cChipRoute &route) {
    return {call, Target::chip, 0, route_of(route)};
}
Access offset_access(Call call, const I2cChipRoute &route, uint32_t offset) {
    return {call, Target::chip_offset, offset, route_of(route)};
}

// Small EEPROMs take one byte of offset, larger ones two.
uint32_t width_for(Board &board, const Route &route, uint32_t width) {
    if (width != width_of_part) {
        return width;
    }
    const ChipRecord *chip = find_chip(board, route);
    return chip != nullptr && chip->size > largest_one_byte_eeprom ? 2 : 1;
}

bool is_transfer(const I2cChipRoute *route, uint32_t offset_width, const void *buffer,
                 uint32_t length) {
    return route != nullptr && buffer != nullptr && length != 0 && length <= longest_transfer &&
           (offset_width <= widest_offset || offset_width == width_of_part);
}

// What a fault does to a word, done to the bytes of a read, low byte first.
void disturb(const Outcome &outcome, uint8_t *buffer, uint32_t length) {
    for (uint32_t i = 0; i < length; ++i) {
        const uint32_t shift = 8 * (i % 2);
        buffer[i] = static_cast<uint8_t>(outcome.seen(uint32_t{buffer[i]} << shift) >> shift);
    }
}

int read_bytes(Call call, const I2cChipRoute *route, uint32_t offset_width, uint32_t offset,
               uint8_t *buffer, uint32_t length) {
    if (!is_transfer(route, offset_width, buffer, length)) {
        return refused;
    }
    const Access access = offset_access(call, *route, offset);
    const Outcome outcome = perform(access, [&](State &state) {
        const uint32_t width = width_for(state.board, access.route, offset_width);
        return bus_read(state, access.route, width, offset, {buffer, length});
    });
    if (outcome.result >= 0) {
        disturb(outcome, buffer, length);
    }
    return outcome.result;
}

int write_bytes(Call call, const I2cChipRoute *route, uint32_t offset_width, uint32_t offset,
                const uint8_t *buffer, uint32_t length) {
    if (!is_transfer(route, offset_width, buffer, length)) {
        return refused;
    }
    const Access access = offset_access(call, *route, offset);
    return perform(access,
                   [&](State &state) {
                       const uint32_t width = width_for(state.board, access.route, offset_width);
                       return bus_write(state, access.route, width, offset, {buffer, length});
                   })
        .result;
}

int read_pair(State &state, const Route &route, uint32_t first, uint32_t &word) {
    std::array<uint8_t, 2> bytes = {};
    const int result = bus_read(state, route, 1, first, bytes);
    word = static_cast<uint32_t>(bytes[0] | bytes[1] << 8);
    return result;
}

// Read, change, write: the other pins stay as they are.
int change_pair(State &state, const Route &route, uint32_t first, uint32_t mask, uint32_t value) {
    uint32_t word = 0;
    const int result = read_pair(state, route, first, word);
    if (result < 0) {
        return result;
    }
    word = (word & ~mask) | (value & mask);
    const std::array bytes = {static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8)};
    return bus_write(state, route, 1, first, bytes);
}

int read_word(Call call, const I2cChipRoute *route, uint32_t first, uint32_t mask,
              uint32_t *value) {
    if (route == nullptr || value == nullptr) {
        return refused;
    }
    const Access access = chip_access(call, *route);
    uint32_t word = 0;
    const Outcome outcome =
        perform(access, [&](State &state) { return read_pair(state, access.route, first, word); });
    if (outcome.result >= 0) {
        *value = outcome.seen(word) & mask;
    }
    return outcome.result;
}

int change_word(Call call, const I2cChipRoute *route,
                const std::function<int(State &, const Route &)> &change) {
    if (route == nullptr) {
        return refused;
    }
    const Access access = chip_access(call, *route);
    return perform(access, [&](State &state) { return change(state, access.route); }).result;
}

MemoryWord *find_memory(Board &board, uint32_t address) {
    for (uint32_t i = 0; i < board.memory_count; ++i) {
        if (board.memory[i].address == address) {
            return &board.memory[i];
        }
    }
    return nullptr;
}

}  // namespace

extern "C" {

// ---- logic device ----

int epldio_read(uint32_t reg, uint16_t *value) {
    if (value == nullptr || reg >= epld_registers) {
        return refused;
    }
    uint16_t word = 0;
    const Outcome outcome = perform({Call::epldio_read, Target::epld, reg}, [&](State &state) {
        word = is_flash_register(reg) ? flash_read(state, reg) : state.board.epld[reg];
        return 0;
    });
    if (outcome.result >= 0) {
        *value = static_cast<uint16_t>(outcome.seen(word));
    }
    return outcome.result;
}

int epldio_write(uint32_t reg, uint16_t value) {
    if (reg >= epld_registers) {
        return refused;
    }
    return perform({Call::epldio_write, Target::epld, reg},
                   [&](State &state) {
                       if (is_flash_register(reg)) {
                           flash_write(state, reg, value);
                       } else {
                           state.board.epld[reg] = value;
                       }
                       return 0;
                   })
        .result;
}

// ---- I2C ----

int i2cRead(const I2cChipRoute *route, uint32_t length, uint8_t *buffer, uint32_t offset_width,
            uint32_t offset) {
    return read_bytes(Call::i2cRead, route, offset_width, offset, buffer, length);
}

int i2cWrite(const I2cChipRoute *route, uint32_t length, const uint8_t *buffer,
             uint32_t offset_width, uint32_t offset) {
    return write_bytes(Call::i2cWrite, route, offset_width, offset, buffer, length);
}

int ei2c_eeprom_read(const I2cChipRoute *route, uint32_t offset, uint8_t *buffer, uint32_t length) {
    const int result =
        read_bytes(Call::ei2c_eeprom_read, route, width_of_part, offset, buffer, length);
    return result < 0 ? result : static_cast<int>(length);
}

int ei2c_eeprom_write(const I2cChipRoute *route, uint32_t offset, const uint8_t *buffer,
                      uint32_t length) {
    const int result =
        write_bytes(Call::ei2c_eeprom_write, route, width_of_part, offset, buffer, length);
    return result < 0 ? result : static_cast<int>(length);
}

int ei2c_smbus_read_byte_data(const I2cChipRoute *route, uint8_t command, uint8_t *value) {
    return read_bytes(Call::ei2c_smbus_read_byte_data, route, 1, command, value, 1);
}

// ---- expanders ----

int ei2c_pca9535_get_value(const I2cChipRoute *route, uint32_t pin, uint32_t *value) {
    if (route == nullptr || value == nullptr || pin >= pin_count) {
        return refused;
    }
    const Access access = chip_access(Call::ei2c_pca9535_get_value, *route);
    uint8_t port = 0;
    const Outcome outcome = perform(access, [&](State &state) {
        return bus_read(state, access.route, 1, input_port + pin / 8, {&port, 1});
    });
    if (outcome.result >= 0) {
        *value = outcome.seen(uint32_t{port} >> (pin % 8)) & 1;
    }
    return outcome.result;
}

int ei2c_pca9535_get_word_value(const I2cChipRoute *route, uint32_t mask, uint32_t *value) {
    return read_word(Call::ei2c_pca9535_get_word_value, route, input_port, mask, value);
}

int pca9535_gpio_word_get_value(const I2cChipRoute *route, uint32_t mask, uint32_t *value) {
    return read_word(Call::pca9535_gpio_word_get_value, route, input_port, mask, value);
}

int pca9535_gpio_word_get_output_value(const I2cChipRoute *route, uint32_t mask, uint32_t *value) {
    return read_word(Call::pca9535_gpio_word_get_output_value, route, output_port, mask, value);
}

int pca9535_gpio_word_set_value(const I2cChipRoute *route, uint32_t mask, uint32_t value) {
    return change_word(Call::pca9535_gpio_word_set_value, route,
                       [&](State &state, const Route &chip) {
                           return change_pair(state, chip, output_port, mask, value);
                       });
}

// The levels first, so that a pin does not drive an old one.
int pca9535_gpio_word_direction_output(const I2cChipRoute *route, uint32_t mask, uint32_t value) {
    return change_word(
        Call::pca9535_gpio_word_direction_output, route, [&](State &state, const Route &chip) {
            const int result = change_pair(state, chip, output_port, mask, value);
            return result < 0 ? result : change_pair(state, chip, config_port, mask, 0);
        });
}

// ---- other hardware ----

int get_gpio_data(uint32_t line) {
    if (line >= gpio_lines) {
        return refused;
    }
    const Outcome outcome = perform({Call::get_gpio_data, Target::gpio, line}, [&](State &state) {
        return static_cast<int>(state.board.gpio[line]);
    });
    return outcome.result < 0
               ? outcome.result
               : static_cast<int>(outcome.seen(static_cast<uint32_t>(outcome.result)));
}

int get_fan_speed(uint32_t unit, uint32_t fan, uint32_t *rpm) {
    if (unit != 0 || fan >= fan_tachometers || rpm == nullptr) {
        return refused;
    }
    uint32_t speed = 0;
    const Outcome outcome = perform({Call::get_fan_speed, Target::fan, fan}, [&](State &state) {
        speed = state.board.fans[fan].rpm;
        return state.board.fans[fan].answers != 0 ? 0 : refused;
    });
    if (outcome.result >= 0) {
        *rpm = outcome.seen(speed);
    }
    return outcome.result;
}

int mmap_read32(uint32_t physical, uint32_t *value) {
    if (value == nullptr) {
        return refused;
    }
    uint32_t word = 0;
    const Outcome outcome =
        perform({Call::mmap_read32, Target::memory, physical}, [&](State &state) {
            const MemoryWord *found = find_memory(state.board, physical);
            word = found == nullptr ? 0 : found->value;
            return found == nullptr ? refused : 0;
        });
    if (outcome.result >= 0) {
        *value = outcome.seen(word);
    }
    return outcome.result;
}

int mmap_write32(uint32_t physical, uint32_t value) {
    return perform({Call::mmap_write32, Target::memory, physical},
                   [&](State &state) {
                       MemoryWord *found = find_memory(state.board, physical);
                       if (found == nullptr) {
                           return refused;
                       }
                       if (is_scu_register(physical)) {
                           scu_write(state.board, *found, value);
                       } else {
                           found->value = value;
                       }
                       return 0;
                   })
        .result;
}

int select_sleep(uint32_t seconds, uint32_t microseconds) {
    return perform_sleep(uint64_t{seconds} * 1'000'000 + microseconds);
}

int hdd_get_back_panel_id(uint32_t *id) {
    if (id == nullptr) {
        return refused;
    }
    uint32_t number = 0;
    const Outcome outcome = perform({.call = Call::hdd_get_back_panel_id}, [&](State &state) {
        number = state.board.back_panel_id;
        return state.board.has_back_panel_id != 0 ? 0 : refused;
    });
    if (outcome.result >= 0) {
        *id = outcome.seen(number);
    }
    return outcome.result;
}

}  // extern "C"
