// The slot configuration list and its stored image.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "base/lookup.h"
#include "boardfeatures/pcieid.h"
#include "common/pcieid/pciecfg_image.h"
#include "common/pcieid/pcieid_log.h"

static constexpr char log_source[] = "pciecfg_io";

namespace {

constexpr uint32_t header_crc_covers = 14;
constexpr uint32_t max_header_length = 8208;
constexpr uint8_t signature[4] = {'P', 'C', 'I', 'E'};

struct SlotType {
    uint32_t code;
    char name[20];
};

constexpr SlotType slot_types[] = {
    {PCIECFG_PCIE_SLOT, "PCIe SLOT"},
    {PCIECFG_EMBEDDED, "EMBEDDED"},
    {PCIECFG_OCP_SLOT, "OCP SLOT"},
    {PCIECFG_HDD_SLOT, "HDD SLOT"},
    {PCIECFG_HDD_ZONE1_SLOT, "HDD ZONE1 SLOT"},
    {PCIECFG_HDD_ZONE2_SLOT, "HDD ZONE2 SLOT"},
    {PCIECFG_HDD_ZONE3_SLOT, "HDD ZONE3 SLOT"},
    {PCIECFG_MEZZ_SLOT, "MEZZ SLOT"},
};

uint32_t get_be16(const uint8_t *bytes) { return bytes[0] * 256u + bytes[1]; }

void put_be16(uint8_t *bytes, uint32_t value) {
    bytes[0] = static_cast<uint8_t>(value >> 8);
    bytes[1] = static_cast<uint8_t>(value);
}

uint32_t stored_count(const pciecfg_image &image) {
    return std::min(get_be16(image.header + 2), PCIECFG_MAX_ITEMS);
}

int32_t pciecfg_v1_header_encode(const uint8_t *data, uint32_t length, uint8_t *header) {
    if (data == nullptr || length < PCIECFG_ITEM_SIZE || length % PCIECFG_ITEM_SIZE != 0 ||
        length >= max_header_length) {
        PCIEID_WARN("%s(@%d) databuf=%p, datalen=%u, invalid.\n", static_cast<const void *>(data),
                    length);
        return -1;
    }
    std::memset(header, 0, PCIECFG_HEADER_SIZE);
    header[0] = 1;
    header[1] = PCIECFG_ITEM_SIZE;
    put_be16(header + 2, length / PCIECFG_ITEM_SIZE);
    const uint32_t data_crc = my_crc16(data, length);
    put_be16(header + 4, data_crc);
    PCIEID_INFO("%s(@%d) DATACRC=%04x. MSB=%02x, LSB=%02x.\n", data_crc, header[4], header[5]);
    std::memcpy(header + 8, signature, sizeof(signature));
    const uint32_t header_crc = my_crc16(header, header_crc_covers);
    put_be16(header + 14, header_crc);
    PCIEID_WARN("%s(@%d) HDRCRC=%04x. MSB=%02x, LSB=%02x.\n", header_crc, header[14], header[15]);
    return 0;
}

// CPU first, then lane: one number to compare.
uint64_t sort_key(const pciecfg_item &item) {
    return (static_cast<uint64_t>(item.cpu) << 32) | item.x1_start;
}

}  // namespace

namespace bf {

uint32_t image_data_length(const pciecfg_image &image) {
    const uint32_t item_size = std::min<uint32_t>(image.header[1], PCIECFG_ITEM_SIZE);
    return item_size * stored_count(image);
}

bool image_valid(const pciecfg_image &image) {
    const uint8_t *header = image.header;
    const uint32_t header_crc = my_crc16(header, header_crc_covers);
    const uint32_t expected_header_crc = get_be16(header + 14);
    if (header_crc != expected_header_crc) {
        std::printf("actual_hdrcrc=%04x, expect_hdrcrc=%04x\n", header_crc, expected_header_crc);
        return false;
    }
    if (std::memcmp(header + 8, signature, sizeof(signature)) != 0) {
        std::printf("Signature: %02X %02X %02X %02X, invalid\n", header[8], header[9], header[10],
                    header[11]);
        return false;
    }
    const uint32_t data_crc = my_crc16(image.items[0], image_data_length(image));
    const uint32_t expected_data_crc = get_be16(header + 4);
    if (data_crc != expected_data_crc) {
        std::printf("actual_datacrc=%04x, expect_datacrc=%04x\n", data_crc, expected_data_crc);
        return false;
    }
    return true;
}

}  // namespace bf

extern "C" {

int32_t pciecfg_sort(const pciecfg_list *in, pciecfg_list *out) {
    if (in == nullptr || out == nullptr) {
        return -1;
    }
    const uint32_t count = in->count;
    if (count > PCIECFG_MAX_ITEMS) {
        PCIEID_WARN("%s(@%d) inlist count is %u, max count is %u, overflow.\n", count,
                    PCIECFG_MAX_ITEMS);
        return -1;
    }
    pciecfg_list work;
    std::memcpy(&work, in, sizeof(work));
    // The order is found on keys alone, so that each 84-byte item moves once.
    struct Place {
        uint64_t key;
        uint32_t index;
    };
    Place places[PCIECFG_MAX_ITEMS];
    for (uint32_t i = 0; i < count; ++i) {
        places[i] = {sort_key(work.items[i]), i};
    }
    std::sort(places, places + count, [](const Place &a, const Place &b) {
        return a.key != b.key ? a.key < b.key : a.index < b.index;
    });
    std::memcpy(out, &work, sizeof(work));
    for (uint32_t i = 0; i < count; ++i) {
        std::memcpy(&out->items[i], &work.items[places[i].index], sizeof(pciecfg_item));
    }
    return 0;
}

int32_t pciecfg_compare(const pciecfg_list *a, const pciecfg_list *b) {
    if (a == nullptr || b == nullptr || a->count > PCIECFG_MAX_ITEMS || a->count != b->count) {
        return -1;
    }
    return std::memcmp(a->items, b->items, a->count * sizeof(pciecfg_item)) == 0 ? 0 : -1;
}

int32_t pciecfg_header_encode(const uint8_t *data, uint32_t length, uint8_t *header) {
    return header == nullptr ? -1 : pciecfg_v1_header_encode(data, length, header);
}

int32_t pciecfg_item_encode(const pciecfg_item *item, uint8_t *bytes) {
    if (item == nullptr || bytes == nullptr) {
        return -1;
    }
    std::memset(bytes, 0, PCIECFG_ITEM_SIZE);
    bytes[0] = static_cast<uint8_t>(item->cpu);
    bytes[1] = static_cast<uint8_t>(item->x1_start);
    bytes[2] = static_cast<uint8_t>(item->width);
    bytes[4] = static_cast<uint8_t>(item->type);
    bytes[5] = item->number;
    bytes[6] = static_cast<uint8_t>((item->vpp_address & 0x7F) | (item->vpp_port << 7));
    return 0;
}

int32_t pciecfg_item_decode(const uint8_t *bytes, pciecfg_item *item) {
    if (bytes == nullptr || item == nullptr) {
        return -1;
    }
    std::memset(item, 0, sizeof(*item));
    item->type = bytes[4];
    item->number = bytes[5];
    const SlotType *type = bf::find_row(slot_types, &SlotType::code, item->type);
    std::snprintf(item->name, sizeof(item->name), "%s %d",
                  type != nullptr ? type->name : "UNKNOWN TYPE SLOT", item->number);
    item->cpu = bytes[0];
    item->x1_start = bytes[1];
    item->width = bytes[2];
    item->vpp_address = bytes[6] & 0x7F;
    item->vpp_port = static_cast<uint8_t>(bytes[6] >> 7);
    return 0;
}

int32_t pciecfg_encode(const pciecfg_list *list, pciecfg_image *image) {
    if (list == nullptr || image == nullptr || list->count > PCIECFG_MAX_ITEMS) {
        return -1;
    }
    pciecfg_image work = {};
    for (uint32_t i = 0; i < list->count; ++i) {
        const int32_t result = pciecfg_item_encode(&list->items[i], work.items[i]);
        if (result < 0) {
            PCIEID_WARN("%s(@%d) pciecfg_item_encode(item_index=%u) failed retval = %d.\n", i,
                        result);
            return -1;
        }
    }
    const int32_t result =
        pciecfg_header_encode(work.items[0], list->count * PCIECFG_ITEM_SIZE, work.header);
    if (result < 0) {
        PCIEID_WARN(
            "%s(@%d) pciecfg_header_encode(item_count=%u, item_size=%u) failed retval = %d.\n",
            list->count, PCIECFG_ITEM_SIZE, result);
        return -1;
    }
    *image = work;
    return 0;
}

int32_t pciecfg_data_update(const pciecfg_list *list) {
    if (list == nullptr) {
        return -1;
    }
    pciecfg_image image;
    int32_t result = pciecfg_encode(list, &image);
    if (result < 0) {
        PCIEID_WARN("%s(@%d) pciecfg_encode(pidata=%p, &fmtdata=%p) failed retval = %d.\n",
                    static_cast<const void *>(list), static_cast<const void *>(&image), result);
        return result;
    }
    result = pciecfg_dev_write(&image);
    if (result < 0) {
        PCIEID_WARN("%s(@%d) pciecfg_dev_write(&fmtdata=%p) failed retval = %d.\n",
                    static_cast<const void *>(&image), result);
    }
    return result;
}

int32_t pciecfg_data_parser(pciecfg_list *list) {
    if (list == nullptr) {
        return -1;
    }
    pciecfg_image image;
    const int32_t read = pciecfg_dev_read(&image);
    if (read < 0) {
        return read;
    }
    // A read that could not take the flash may answer a positive error over an empty buffer.
    if (!bf::image_valid(image)) {
        PCIEID_WARN("%s(@%d) IS_PCIEDATA_VALID is false.\n");
        return -1;
    }
    std::memset(list, 0, sizeof(*list));
    list->count = stored_count(image);
    for (uint32_t i = 0; i < list->count; ++i) {
        const int32_t result = pciecfg_item_decode(image.items[i], &list->items[i]);
        if (result < 0) {
            PCIEID_WARN("%s(@%d) pciecfg_item_decode(item_index=%u) failed retval = %d.\n", i,
                        result);
            return -1;
        }
    }
    return 0;
}

}  // extern "C"
