#include "support/instant_board.h"

#include <cstdint>
#include <cstring>

#include "boardplatform/platform.h"

namespace {

struct Identifier {
    uint32_t bus, mux, channel, board_id;
};
constexpr Identifier identifiers[] = {
    {4, 0, 0, 0x546A},    {5, 0, 0, 0x5468},    {7, 0, 0, 0x5459},    {8, 0, 0, 0x5459},
    {9, 0, 0, 0x5459},    {3, 0, 0, 0x5460},    {6, 0, 0, 0x546B},    {4, 0x70, 3, 0x546C},
    {4, 0x70, 1, 0x546C}, {5, 0x70, 1, 0x546C}, {5, 0x70, 2, 0x546C},
};

// Each front backplane holds NVMe and SAS disks in turn, in all of its bays.
constexpr uint32_t bays_address = 0x21;
constexpr uint32_t first_front_bus = 7;
constexpr uint32_t last_front_bus = 9;
constexpr uint32_t nvme_and_sas = 0x1111;

struct Place {
    uint32_t bus, mux, channel;
    bool is(const I2cChipRoute &route) const {
        return route.bus == bus && route.switch_address == mux && route.switch_channel == channel;
    }
};
struct Cable {
    Place socket, uplink;
};
constexpr Cable cables[] = {
    {{12, 0x70, 0}, {7, 0x70, 0}},          {{12, 0x70, 1}, {7, 0x70, 1}},
    {{12, 0x70, 2}, {7, 0x70, 2}},          {{12, 0x70, 3}, {7, 0x70, 3}},
    {{12, 0x70, 4}, {3, 0x70, 0}},          {{12, 0x70, 5}, {3, 0x70, 1}},
    {{4, 0x700071, 0x30000}, {8, 0x70, 0}}, {{4, 0x700071, 0x30001}, {8, 0x70, 1}},
    {{4, 0x700071, 0x10000}, {8, 0x70, 2}}, {{4, 0x700071, 0x10001}, {8, 0x70, 3}},
    {{5, 0x700071, 0x10000}, {9, 0x70, 0}}, {{5, 0x700071, 0x10001}, {9, 0x70, 1}},
    {{5, 0x700071, 0x20000}, {9, 0x70, 2}}, {{5, 0x700071, 0x20001}, {9, 0x70, 3}},
};
constexpr size_t cable_count = sizeof(cables) / sizeof(cables[0]);

uint16_t words[cable_count];
size_t accesses;

// The EPLD's registers of the flash, by their offset from 0x344.
uint16_t registers[32];
uint8_t pages[2046][16];

int cable_of(const I2cChipRoute *route) {
    ++accesses;
    for (size_t k = 0; k < cable_count; ++k) {
        if (cables[k].socket.is(*route) || cables[k].uplink.is(*route)) {
            return static_cast<int>(k);
        }
    }
    return -1;
}

constexpr uint16_t odd(uint32_t value, uint32_t parity_bit) {
    return static_cast<uint16_t>(__builtin_popcount(value) % 2 != 0 ? value : value | parity_bit);
}

void command(unsigned code) {
    const unsigned page = registers[1] % 2046u;
    for (unsigned i = 0; i < 16 && code == 0x1; ++i) {
        pages[page][i] = static_cast<uint8_t>(registers[5 + i / 2] >> (i % 2 == 0 ? 8 : 0));
    }
    for (unsigned i = 0; i < 8 && code == 0x2; ++i) {
        registers[13 + i] = static_cast<uint16_t>(pages[page][2 * i] << 8 | pages[page][2 * i + 1]);
    }
    if (code == 0xF) {
        std::memset(pages, 0xFF, sizeof(pages));
    }
    registers[4] = 0x0700;  // whatever it was, it is complete
}

}  // namespace

void instant_board_reset() {
    std::memset(words, 0xFF, sizeof(words));
    std::memset(registers, 0, sizeof(registers));
    std::memset(pages, 0xFF, sizeof(pages));
    accesses = 0;
}

size_t instant_board_accesses() { return accesses; }

extern "C" {

int ei2c_pca9535_get_word_value(const I2cChipRoute *route, uint32_t mask, uint32_t *value) {
    ++accesses;
    if (route->address == bays_address && route->bus >= first_front_bus &&
        route->bus <= last_front_bus) {
        *value = nvme_and_sas & mask;
        return 0;
    }
    for (const Identifier &chip : identifiers) {
        if (Place{chip.bus, chip.mux, chip.channel}.is(*route)) {
            *value = odd((chip.board_id & 0x3FF) << 5, 0x8000) & mask;
            return 0;
        }
    }
    return -1;
}

int pca9535_gpio_word_set_value(const I2cChipRoute *route, uint32_t, uint32_t value) {
    const int cable = cable_of(route);
    if (cable >= 0) {
        words[cable] = static_cast<uint16_t>(value);
    }
    return cable < 0 ? -1 : 0;
}

int pca9535_gpio_word_direction_output(const I2cChipRoute *route, uint32_t, uint32_t) {
    return cable_of(route) < 0 ? -1 : 0;
}

int pca9535_gpio_word_get_output_value(const I2cChipRoute *route, uint32_t mask, uint32_t *value) {
    const int cable = cable_of(route);
    if (cable < 0) {
        return -1;
    }
    *value = words[cable] & mask;
    return 0;
}

int pca9535_gpio_word_get_value(const I2cChipRoute *route, uint32_t mask, uint32_t *value) {
    const int cable = cable_of(route);
    if (cable < 0) {
        return -1;
    }
    *value = odd(cables[cable].uplink.channel, 0x1000) & mask;
    return 0;
}

int epldio_read(uint32_t reg, uint16_t *value) {
    ++accesses;
    const uint32_t index = (reg - 0x344) / 2;
    *value = index < 32 ? registers[index] : 0;
    return 0;
}

int epldio_write(uint32_t reg, uint16_t value) {
    ++accesses;
    const uint32_t index = (reg - 0x344) / 2;
    if (index < 32) {
        registers[index] = value;
    }
    if (index == 0 && (value & 0x10) != 0) {
        command(value & 0xF);
    }
    return 0;
}

int select_sleep(uint32_t, uint32_t) { return 0; }

int i2cWrite(const I2cChipRoute *, uint32_t length, const uint8_t *, uint32_t, uint32_t) {
    ++accesses;
    return static_cast<int>(length);
}

// A mailbox's status: done, with three bytes of data.
int i2cRead(const I2cChipRoute *, uint32_t length, uint8_t *buffer, uint32_t, uint32_t offset) {
    ++accesses;
    constexpr uint8_t status[4] = {3, 1, 0, 0};
    for (uint32_t i = 0; i < length; ++i) {
        buffer[i] = offset + i < sizeof(status) ? status[offset + i] : 0x42;
    }
    return static_cast<int>(length);
}

}  // extern "C"
