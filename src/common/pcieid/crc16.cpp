// CRC-16 with polynomial 0x1021, most significant bit first.
#include <array>

#include "boardfeatures/pcieid.h"

namespace {

constexpr uint32_t polynomial = 0x1021;
// The stored image's own start value: an image checked from zero fails.
constexpr uint32_t image_start = 0x0141;

constexpr uint32_t add_byte(uint32_t crc, uint32_t byte) {
    crc ^= byte << 8;
    for (int bit = 0; bit < 8; ++bit) {
        crc = (crc & 0x8000) != 0 ? ((crc << 1) ^ polynomial) & 0xFFFF : (crc << 1) & 0xFFFF;
    }
    return crc;
}

// tables[n][b]: what byte b adds to the CRC n bytes further on. Four tables fold four bytes a step
// in 2 KiB of read-only data.
constexpr uint32_t stride = 4;
using Table = std::array<uint16_t, 256>;

constexpr std::array<Table, stride> make_tables() {
    std::array<Table, stride> tables = {};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t crc = add_byte(0, byte);
        for (Table &table : tables) {
            table[byte] = static_cast<uint16_t>(crc);
            crc = add_byte(crc, 0);
        }
    }
    return tables;
}

constexpr std::array<Table, stride> tables = make_tables();
static_assert(tables[0][1] == 0x1021 && tables[0][2] == 0x2042);

}  // namespace

extern "C" {

uint32_t my_crc16(const uint8_t *data, uint32_t length) {
    uint32_t crc = image_start;
    if (data == nullptr) {
        return crc;
    }
    for (; length >= stride; length -= stride, data += stride) {
        crc = static_cast<uint32_t>(tables[3][(crc >> 8) ^ data[0]]) ^
              tables[2][(crc & 0xFF) ^ data[1]] ^ tables[1][data[2]] ^ tables[0][data[3]];
    }
    for (; length > 0; --length, ++data) {
        crc = tables[0][(crc >> 8) ^ *data] ^ ((crc << 8) & 0xFFFF);
    }
    return crc;
}

uint32_t crc16Calc(const uint8_t *data, uint32_t length) {
    return crc16Accumulate(0, data, length);
}

uint32_t crc16Accumulate(uint32_t crc, const uint8_t *data, uint32_t length) {
    if (data == nullptr) {
        return crc;
    }
    for (; length > 0; --length, ++data) {
        crc = add_byte(crc, *data);
    }
    return crc;
}

}  // extern "C"
