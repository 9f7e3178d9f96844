/* PCIe identification: the slot configuration list, the image of it that the host firmware reads
 * from the EPLD's user flash, and the conversion of upstream lanes into downstream links.
 *
 * All functions may be called from any thread; those that use the flash serialise themselves with
 * ufm_dev_mutex and block for as long as the flash takes. Nothing is kept between calls.
 */
#ifndef BOARDFEATURES_PCIEID_H
#define BOARDFEATURES_PCIEID_H

#include <pthread.h>

#include "boardfeatures/abi.h"

BF_EXTERN_C_BEGIN

/* ---- the slot configuration list ---- */

#define PCIECFG_MAX_ITEMS 128u
#define PCIECFG_NAME_SIZE 56u

/* Slot types; any other code is named "UNKNOWN TYPE SLOT". */
enum pciecfg_slot_type {
    PCIECFG_PCIE_SLOT = 0,
    PCIECFG_EMBEDDED = 1,
    PCIECFG_OCP_SLOT = 2,
    PCIECFG_HDD_SLOT = 3,
    PCIECFG_HDD_ZONE1_SLOT = 4,
    PCIECFG_HDD_ZONE2_SLOT = 5,
    PCIECFG_HDD_ZONE3_SLOT = 6,
    PCIECFG_MEZZ_SLOT = 7
};

/* One fitted slot and the CPU lanes behind it. 84 bytes. Lists are compared as raw bytes, so an
 * item begins as zeroes, padding and the name's tail included. */
typedef struct pciecfg_item {
    uint32_t type;                /* enum pciecfg_slot_type */
    uint8_t number;               /* within its type, as printed on the board */
    char name[PCIECFG_NAME_SIZE]; /* "<type's name> <number>", always terminated */
    uint32_t cpu;                 /* socket number */
    uint32_t x1_start;            /* first lane within the CPU's numbering */
    uint32_t width;               /* lanes: 1, 2, 4, 8, 16 */
    uint32_t reserved;            /* not stored; 0 in a list that is stored or decoded */
    uint16_t vpp_address;         /* 7-bit address of a disk slot's VPP expander, else 0 */
    uint8_t vpp_port;             /* 0 or 1: the expander's 8-bit port */
} pciecfg_item;
BF_ASSERT_SIZE(pciecfg_item, 84);

/* A plain value, copied whole. Entries beyond the count are zero. 10,756 bytes. */
typedef struct pciecfg_list {
    uint32_t count; /* at most PCIECFG_MAX_ITEMS */
    struct pciecfg_item items[PCIECFG_MAX_ITEMS];
} pciecfg_list;
BF_ASSERT_SIZE(pciecfg_list, 10756);

/* ---- the stored image ----
 * Multi-byte numbers are big-endian. Header: 0 version, 1; 1 item size, 16; 2-3 item count; 4-5
 * data CRC, my_crc16 of the item bytes; 8-11 "PCIE"; 14-15 header CRC, my_crc16 of bytes 0-13; the
 * rest 0. Item: 0 cpu, 1 x1 start, 2 width, 4 slot type, 5 slot number, 6 VPP address (bits 0-6)
 * and port (bit 7); the rest 0. */

#define PCIECFG_HEADER_SIZE 16u
#define PCIECFG_ITEM_SIZE 16u
#define PCIECFG_IMAGE_SIZE 2064u

typedef struct pciecfg_image {
    uint8_t header[PCIECFG_HEADER_SIZE];
    uint8_t items[PCIECFG_MAX_ITEMS][PCIECFG_ITEM_SIZE];
} pciecfg_image;
BF_ASSERT_SIZE(pciecfg_image, PCIECFG_IMAGE_SIZE);

/* ---- codec: no hardware access unless said otherwise ---- */

/* Sorts into *out (which may be *in) by cpu, then x1 start, ascending; equal keys keep their order.
 * An empty list is copied. 0; -1: null, more than 128 items (logged), *out untouched. */
BF_API int32_t pciecfg_sort(const pciecfg_list *in, pciecfg_list *out);
/* 0 when both lists hold the same items, byte for byte and in the same order; -1 when they differ,
 * for a null, and for more than 128 items. */
BF_API int32_t pciecfg_compare(const pciecfg_list *a, const pciecfg_list *b);
/* Fills the 16-byte header for `length` item bytes: a multiple of 16 from 16 to 8192.
 * 0; -1: null, another length (logged), the header untouched. */
BF_API int32_t pciecfg_header_encode(const uint8_t *data, uint32_t length, uint8_t *header);
/* Fills the 16 stored bytes of one item; numbers are cut to their stored width. 0; -1: null. */
BF_API int32_t pciecfg_item_encode(const pciecfg_item *item, uint8_t *bytes);
/* Fills one item from its 16 stored bytes; the name is made from type and number. 0; -1: null. */
BF_API int32_t pciecfg_item_decode(const uint8_t *bytes, pciecfg_item *item);
/* Encodes 1 to 128 items; the image's unused items are zero.
 * 0; -1: null, another count, the image untouched. */
BF_API int32_t pciecfg_encode(const pciecfg_list *list, pciecfg_image *image);
/* Encodes the list and stores it with pciecfg_dev_write, whose result and hardware accesses are
 * this function's. -1 when it cannot be encoded: no hardware access. */
BF_API int32_t pciecfg_data_update(const pciecfg_list *list);
/* Reads the stored image with pciecfg_dev_read and decodes it; at most 128 items, whatever count
 * is stored. 0 with the list zeroed and filled; otherwise the list is untouched: -1 for a null (no
 * hardware access) and an invalid image, or the negative result of the read. */
BF_API int32_t pciecfg_data_parser(pciecfg_list *list);

/* CRC-16 of polynomial 0x1021, most significant bit first, nothing reflected, no final XOR. The
 * value has 16 bits. A null counts as no bytes. No hardware access. */
BF_API uint32_t my_crc16(const uint8_t *data, uint32_t length);  /* starts at 0x0141 */
BF_API uint32_t crc16Calc(const uint8_t *data, uint32_t length); /* starts at 0 (XMODEM) */
/* Continues `crc` over more bytes, so that a buffer can be fed in pieces. */
BF_API uint32_t crc16Accumulate(uint32_t crc, const uint8_t *data, uint32_t length);

/* ---- the EPLD's user flash ----
 * 2046 pages of 16 bytes behind EPLD registers; the image lies in pages 0 to 128. Each operation
 * locks ufm_dev_mutex, takes the flash's ownership (4 register accesses), works, and gives both
 * back on every path (3 register accesses).
 *
 * Results: -1 for a null (nothing is touched) and for an ownership that cannot be taken; the
 * mutex's own error; otherwise the result of the platform call that failed, where it says so.
 * A flash that does not report completion is logged and taken as done: the CRCs tell. */

#define UFM_PAGE_COUNT 2046u
#define UFM_PAGE_SIZE 16u

extern BF_API pthread_mutex_t ufm_dev_mutex;

/* Saves the image in /var/mc2pld.pecd, checks it, erases the flash and writes the header's page
 * and those of the items in use. Takes at least 5 s and about 30 ms a page.
 * -1: null; invalid image (the flash is not touched). Failures of the erase or of a page are logged
 * and end the write; the result is then, as on success, that of releasing the flash.
 * Register accesses: 7 to take and release, 2 for the page, 2 for the erase and 12 a page, plus 3
 * for each look at the status. */
BF_API int32_t pciecfg_dev_write(const pciecfg_image *image);
/* Reads pages 0 to 128 into *image, saves them in /var/pld2mc.pecd and checks them. The buffer is
 * filled with what was read even when the check fails; pages behind a failed one are zero.
 * 0; -1: null, invalid image; a failure to take or release the flash.
 * Register accesses: 7 to take and release and 12 a page, plus 3 for each look at the status. */
BF_API int32_t pciecfg_dev_read(pciecfg_image *image);
/* Erases the whole flash: at least 5 s. The result of releasing it, whether or not the erase
 * failed; a failure to take it. */
BF_API int32_t pciecfg_dev_erase(void);
/* Prints the first `pages` pages, at most all, on standard output as words. A page that cannot be
 * read stays an empty line. 0; a failure to take or release the flash. */
BF_API int32_t pciecfg_dev_dump(uint32_t pages);
/* Writes all pages to a file; a page that cannot be read appears as "DEADBEAFDEADBEAF". The result
 * of releasing the flash, whether or not the file could be written; a failure to take it (no file
 * is opened); -1 for a null. */
BF_API int32_t pciecfg_dev_dumpfile(const char *path);

/* ---- lanes ---- */

/* The order in which a link's lanes are wired. */
#define PCIECAP_OBVERSE 0x12345678u /* upward from the x1 start */
#define PCIECAP_REVERSE 0x87654321u /* downward to it: mirrored */
#define PCIECAP_NO_SEQUENCE 0xFFFFFFFFu

#define PCIECAP_MAX_LANES 128u
#define PCIECAP_MAX_LINKS 32u

/* One link. 16 bytes. */
typedef struct pciecap_link {
    uint32_t cpu;
    uint32_t x1_start; /* first (lowest) lane */
    uint32_t width;    /* lanes; a link of none is passed over */
    uint32_t sequence; /* PCIECAP_OBVERSE or PCIECAP_REVERSE */
} pciecap_link;
BF_ASSERT_SIZE(pciecap_link, 16);

/* A caller's list may be shorter or longer than this type: `count` links must be there. */
typedef struct pciecap_list {
    uint32_t count;
    struct pciecap_link links[PCIECAP_MAX_LINKS];
} pciecap_list;
BF_ASSERT_SIZE(pciecap_list, 4 + 16 * PCIECAP_MAX_LINKS);

/* Lays the upstream links out lane by lane and cuts the sequence into the downstream links, which
 * bring width and sequence and receive CPU, x1 start and a sequence that tells whether their lanes
 * arrive mirrored (PCIECAP_NO_SEQUENCE when their own was invalid). When exactly 16 lanes come and
 * the second half hangs on no socket (lane 240 and above), the first link narrows to 8 lanes.
 * A null list has no lanes. No hardware access.
 * 0; -1: the totals differ, more than 128 lanes, the first half hangs on no socket; a link whose
 * lanes are of two CPUs -2, are not contiguous -3, do not start at a multiple of its width -4: the
 * links before it are filled in. Every failure is logged. */
BF_API int32_t pciecap_convert(const pciecap_list *up, pciecap_list *down);

BF_EXTERN_C_END

#endif
