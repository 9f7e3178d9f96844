// An independent reading of the stored image: the CRC as a division of the message's bits, the
// image built byte by byte.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <span>
#include <vector>

#include "boardfeatures/pcieid.h"

namespace model {

using Bytes = std::vector<uint8_t>;

// The remainder of the message's bits, one register shift a bit.
inline unsigned crc(unsigned start, std::span<const uint8_t> message) {
    bool reg[16];
    for (int i = 0; i < 16; ++i) {
        reg[i] = (start >> i & 1) != 0;
    }
    for (const uint8_t byte : message) {
        for (int bit = 7; bit >= 0; --bit) {
            const bool carry = reg[15] != ((byte >> bit & 1) != 0);
            for (int i = 15; i > 0; --i) {
                reg[i] = reg[i - 1];
            }
            reg[0] = carry;  // x^16 = x^12 + x^5 + 1
            reg[5] = reg[5] != carry;
            reg[12] = reg[12] != carry;
        }
    }
    unsigned value = 0;
    for (int i = 0; i < 16; ++i) {
        value |= static_cast<unsigned>(reg[i]) << i;
    }
    return value;
}

// Seeded numbers of 32 bits.
class Random {
public:
    explicit Random(uint32_t seed) : engine_(seed) {}
    uint32_t operator()() { return static_cast<uint32_t>(engine_()); }

private:
    std::mt19937 engine_;
};

constexpr unsigned image_start = 0x0141;

inline void put16(Bytes &bytes, size_t at, unsigned value) {
    bytes[at] = static_cast<uint8_t>(value / 256);
    bytes[at + 1] = static_cast<uint8_t>(value % 256);
}

// Makes both CRCs of an image right again after a change; `length` item bytes are covered.
inline void seal(Bytes &image, size_t length) {
    put16(image, 4, crc(image_start, {&image[16], length}));
    put16(image, 14, crc(image_start, {&image[0], 14}));
}

inline Bytes image_of(const pciecfg_list &list) {
    Bytes image(2064, 0);
    image[0] = 1;
    image[1] = 16;
    put16(image, 2, list.count);
    std::memcpy(&image[8], "PCIE", 4);
    for (size_t k = 0; k < list.count; ++k) {
        const pciecfg_item &item = list.items[k];
        uint8_t *bytes = &image[16 + 16 * k];
        bytes[0] = item.cpu % 256;
        bytes[1] = item.x1_start % 256;
        bytes[2] = item.width % 256;
        bytes[4] = item.type % 256;
        bytes[5] = item.number;
        bytes[6] = static_cast<uint8_t>(item.vpp_address % 128 + item.vpp_port % 2 * 128);
    }
    seal(image, 16 * list.count);
    return image;
}

inline pciecfg_image as_image(const Bytes &bytes) {
    pciecfg_image image;
    std::memcpy(&image, bytes.data(), sizeof(image));
    return image;
}
inline Bytes bytes_of(const pciecfg_image &image) {
    Bytes bytes(sizeof(image));
    std::memcpy(bytes.data(), &image, sizeof(image));
    return bytes;
}

inline void set_name(pciecfg_item &item) {
    static const char *const names[] = {"PCIe SLOT",      "EMBEDDED",       "OCP SLOT",
                                        "HDD SLOT",       "HDD ZONE1 SLOT", "HDD ZONE2 SLOT",
                                        "HDD ZONE3 SLOT", "MEZZ SLOT"};
    std::snprintf(item.name, sizeof(item.name), "%s %u",
                  item.type < 8 ? names[item.type] : "UNKNOWN TYPE SLOT", item.number);
}

// A list that survives storing: every field fits its stored width.
inline pciecfg_list random_list(Random &random, uint32_t count) {
    pciecfg_list list;
    std::memset(&list, 0, sizeof(list));
    list.count = count;
    for (uint32_t k = 0; k < count; ++k) {
        pciecfg_item &item = list.items[k];
        item.type = random() % 10;
        item.number = static_cast<uint8_t>(random());
        item.cpu = random() % 256;
        item.x1_start = random() % 256;
        item.width = random() % 256;
        item.vpp_address = random() % 128;
        item.vpp_port = random() % 2;
        set_name(item);
    }
    return list;
}

}  // namespace model
