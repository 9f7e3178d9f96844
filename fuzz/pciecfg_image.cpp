// Parses the image in a flash that holds the input. The input's first byte chooses whether the CRCs
// are made right, since no fuzzer guesses them (1), whether the image is also written (2) and
// whether the parsed list is stored and read again (4).
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "boardfeatures/pcieid.h"

namespace {

// As much of the flash as reading and writing pages needs.
struct Flash {
    uint8_t pages[2046][16];
    uint16_t control;
    uint16_t page;
    uint16_t write_bank[8];
    uint16_t read_bank[8];
};
Flash flash;

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

void seal(uint8_t *image) {
    const uint32_t count = std::min<uint32_t>(image[2] * 256u + image[3], 128);
    const uint32_t length = std::min<uint32_t>(image[1], 16) * count;
    std::memcpy(image + 8, "PCIE", 4);
    const uint32_t data_crc = crc16Accumulate(0x0141, image + 16, length);
    image[4] = static_cast<uint8_t>(data_crc >> 8);
    image[5] = static_cast<uint8_t>(data_crc);
    const uint32_t header_crc = crc16Accumulate(0x0141, image, 14);
    image[14] = static_cast<uint8_t>(header_crc >> 8);
    image[15] = static_cast<uint8_t>(header_crc);
}

}  // namespace

extern "C" {

int epldio_read(uint32_t reg, uint16_t *value) {
    if (reg == 0x344) {
        *value = flash.control;
    } else if (reg == 0x346) {
        *value = flash.page;
    } else if (reg >= 0x35E && reg <= 0x36C) {
        *value = flash.read_bank[(reg - 0x35E) / 2];
    } else {
        *value = 0x0700;  // all commands are done at once
    }
    return 0;
}

int epldio_write(uint32_t reg, uint16_t value) {
    if (reg == 0x346) {
        flash.page = value;
    } else if (reg >= 0x34E && reg <= 0x35C) {
        flash.write_bank[(reg - 0x34E) / 2] = value;
    } else if (reg == 0x344) {
        flash.control = value;
        if ((value & 0x10) == 0) {
            return 0;
        }
        require((value & 0x20) != 0 && flash.page < 2046);
        for (unsigned i = 0; i < 8; ++i) {
            uint8_t *bytes = flash.pages[flash.page] + 2 * i;
            if ((value & 0xF) == 0x2) {
                flash.read_bank[i] = static_cast<uint16_t>(bytes[0] << 8 | bytes[1]);
            } else if ((value & 0xF) == 0x1) {
                bytes[0] = static_cast<uint8_t>(flash.write_bank[i] >> 8);
                bytes[1] = static_cast<uint8_t>(flash.write_bank[i]);
            }
        }
        if ((value & 0xF) == 0xF) {
            std::memset(flash.pages, 0xFF, sizeof(flash.pages));
        }
    } else {
        std::abort();  // no other register is the flash's to write
    }
    return 0;
}

int select_sleep(uint32_t, uint32_t) { return 0; }

int LLVMFuzzerInitialize(int *, char ***) {
    // The image check prints what is wrong.
    require(std::freopen("/dev/null", "w", stdout) != nullptr);
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) {
        return 0;
    }
    pciecfg_image image;
    std::memset(&image, 0xFF, sizeof(image));
    std::memcpy(&image, data + 1, std::min(size - 1, sizeof(image)));
    uint8_t *bytes = image.header;
    if ((data[0] & 1) != 0) {
        seal(bytes);
    }
    flash = {};
    std::memset(flash.pages, 0xFF, sizeof(flash.pages));
    std::memcpy(flash.pages, &image, sizeof(image));

    pciecfg_list list;
    std::memset(&list, 0xEE, sizeof(list));
    const int32_t parsed = pciecfg_data_parser(&list);
    require(flash.control == 0);
    require(parsed == 0 || parsed == -1);
    require(parsed == 0 || (data[0] & 1) == 0);
    if (parsed == 0) {
        require(list.count <= PCIECFG_MAX_ITEMS);
        for (uint32_t k = 0; k < list.count; ++k) {
            const pciecfg_item &item = list.items[k];
            require(std::memchr(item.name, 0, sizeof(item.name)) != nullptr);
            require(item.cpu == image.items[k][0] && item.number == image.items[k][5]);
            require(item.vpp_address < 0x80 && item.vpp_port <= 1 && item.reserved == 0);
        }
        pciecfg_list sorted;
        require(pciecfg_sort(&list, &sorted) == 0);
        if ((data[0] & 4) != 0 &&
            list.count != 0) {  // what was decoded stores and comes back as it is
            pciecfg_list back;
            require(pciecfg_data_update(&list) == 0);
            require(pciecfg_data_parser(&back) == 0);
            require(pciecfg_compare(&list, &back) == 0);
        }
    }
    if ((data[0] & 2) != 0) {
        require(pciecfg_dev_write(&image) == parsed);
        require(flash.control == 0);
    }
    return 0;
}

}  // extern "C"
