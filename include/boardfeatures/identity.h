/* Board identity and board facts: which main board this is, which card sits at which position.
 *
 * Every board and card straps a 16-bit identifier onto the inputs of a GPIO expander; it carries a
 * board, a PCB and a BOM identifier under odd parity. Nothing here is cached: each call reads the
 * hardware again. "One identifier read" below is one ei2c_pca9535_get_word_value.
 */
#ifndef BOARDFEATURES_IDENTITY_H
#define BOARDFEATURES_IDENTITY_H

#include "boardfeatures/abi.h"

BF_EXTERN_C_BEGIN

/* In-band error values of the identifier getters. */
#define BF_NO_BOARD_ID 0x7FFFu
#define BF_NO_PCB_ID 15u
#define BF_NO_BOM_ID 15u
#define BF_NO_HARD_ID 0xFFFFFFu

/* One identifier, decoded. 12 bytes. */
typedef struct HardIdInfo {
    uint16_t board_id;  /* 15 bits */
    uint8_t pcb_id;     /* 4 bits */
    uint8_t bom_id;     /* 4 bits */
    uint32_t hard_id;   /* 23 bits: board id << 8 | PCB id << 4 | BOM id */
    uint32_t raw_value; /* 24 bits: the hard id with its parity bit 23 */
} HardIdInfo;
BF_ASSERT_SIZE(HardIdInfo, 12);

/* Where a card position's identifier is read. 68 bytes. */
typedef struct HardIdSource {
    uint8_t key;           /* card key, the only byte that a look-up compares */
    uint8_t chips;         /* 1: one 16-bit chip, 2: a 16-bit chip and an 8-bit extension */
    uint8_t pad[2];        /* 0 */
    I2cChipRoute route[2]; /* the second is all zero with one chip */
} HardIdSource;
BF_ASSERT_SIZE(HardIdSource, 68);

/* Card keys name the position of an identifier: 0 main board, 1 SAS card, 5..11 and 14 disk
 * backplane positions, 23..32 PCIe slots 1..10. They are compared as 32-bit values: a key above
 * 255, like any other that no card position has, is unknown. */

/* ---- reading identifiers ---- */

/* Reads and decodes the identifier of a card position. Fills *out; zeroes it when the position is
 * known but gives no valid identifier, leaves it alone for an unknown key.
 * 0, or -1: null, unknown key, failed read, even parity. One identifier read (two for a position
 * with two chips), none for an unknown key. */
BF_API int32_t get_hwid_compat(uint32_t key, HardIdInfo *out);
/* The same. */
BF_API int32_t GetHardId(uint32_t key, HardIdInfo *out);
/* The same for cards only: -1 without a read for key 0. */
BF_API int32_t GetHardIdInfo(uint32_t key, HardIdInfo *out);

/* One field of the main board's identifier; the error value when it cannot be read.
 * One identifier read. */
BF_API uint32_t GetBoardId(void);       /* BF_NO_BOARD_ID on failure */
BF_API uint32_t GetBoardPcbId(void);    /* BF_NO_PCB_ID on failure */
BF_API uint32_t GetBoardBomId(void);    /* BF_NO_BOM_ID on failure */
BF_API uint32_t GetBoardHardId(void);   /* BF_NO_HARD_ID on failure */
BF_API uint32_t GetBoardRawValue(void); /* BF_NO_HARD_ID on failure */

/* One field of a card's identifier; the error value when it cannot be read. Key 0 answers 0
 * without a read. One identifier read. */
BF_API uint32_t GetCardBoardId(uint32_t key); /* BF_NO_BOARD_ID on failure: no card */
BF_API uint32_t GetCardPcbId(uint32_t key);   /* BF_NO_PCB_ID on failure */
BF_API uint32_t GetCardBomId(uint32_t key);   /* BF_NO_BOM_ID on failure */
BF_API uint32_t GetCardHardId(uint32_t key);  /* BF_NO_HARD_ID on failure */

/* The I2C bus of a card position's identifier. 0, or -1 with a debug message: null, unknown key.
 * No hardware access. */
BF_API int32_t get_hwid_Smbus(uint32_t key, uint32_t *bus);
BF_API int32_t GetSmbus(uint32_t key, uint32_t *bus);

/* ---- two-chip identifiers of the base-info table ---- */

/* Reads and decodes the identifier behind one source, passed by value.
 * 0; the error code of the first read that fails; -1 for a null, for more than two chips, and for
 * even parity (no chips at all included). Nothing is written unless 0 is returned.
 * One identifier read a chip. */
BF_API int32_t GetHardIdByI2CInfo(HardIdSource source, HardIdInfo *out);
/* Joins `count` words (1: the word; 2: word 0 and, from bit 16 on, word 1) unmasked into *value
 * and checks the parity of the lowest 16 or 24 bits. 0 when odd; -1 when even, for a null, and
 * for another count. *value is written for 1 or 2 words, whatever the parity. No hardware access.
 */
BF_API int32_t _HardIdCheck(uint32_t count, const uint32_t *words, uint32_t *value);
/* Reads an identifier through the base-info table. Keys 14 and 16 have two rows, the second of
 * which is tried when the first fails. 0, or -1: null, unknown key, failed read, even parity.
 * Up to two identifier reads a row. */
BF_API int32_t GetHardIdFromBaseInfoTable(uint32_t key, HardIdInfo *out);
/* The bus of the key's (first) base-info row. 0, or -1 with a debug message. No hardware access. */
BF_API int32_t GetSmbusFromBaseInfoTable(uint32_t key, uint32_t *bus);

/* ---- what is derived from them ---- */

/* 1 when the main board is the T variant; 0 when not, or when it cannot be read.
 * One identifier read. */
BF_API int32_t isTarnT(void);
/* The code of the fitted backplane combination: 0 one, 2 two, 3 three backplanes 0x5459; 1, 4 or 3
 * as soon as a 0x545B, 0x545E or 0x546F is met; 255 none of these.
 * Up to seven identifier reads, keys 5..11 in order. */
BF_API int32_t GetHDbkBoardId(void);
/* The first 0x5473 among keys 5..11, else the board id of the highest key that answers, else
 * BF_NO_BOARD_ID. Up to seven identifier reads, keys 5..11 in order. */
BF_API uint32_t GetSpecialHDbkBoardId(void);

/* ---- board facts: no hardware access unless said otherwise ---- */

BF_API int32_t IsRackServer(void);              /* 1 */
BF_API int32_t IsSingleBiosFlashBoard(void);    /* 1 */
BF_API int32_t GetCupsSupportBoardType(void);   /* 1 */
BF_API int32_t GetMacDefaultSetBoardType(void); /* 0 */
BF_API int32_t supportLowConfigProcessor(void); /* 0 */
BF_API int32_t GetPowerOffDelay(void);          /* 4 */
BF_API int32_t GetEpldUpdateChannel(void);      /* 0 */
BF_API int32_t GetFruFwLocation(void);          /* 1 */
BF_API int32_t GetCardMaxNum(void);             /* 30: the highest key of GetCardOnlineStatus */
BF_API int32_t GetSelTransFlag(void);           /* 0 */
BF_API int32_t GetHost1UartAndSOLSrc(void);     /* 0 */
BF_API int32_t GetEpldValueWhenHost1SrcIsSocUart(void); /* 255 */
BF_API int32_t GetSubcardSpecialProductName(void);      /* -1: none */

/* The EPLD registers of the power status: fills both addresses and returns how many, 2.
 * -1 for a null. */
BF_API int32_t GetPowerStatusAddr(uint16_t address[2]);
/* Writes 0 (this is no blade) and returns 1; -1 for a null. */
BF_API int32_t GetBladeServer(uint16_t *blade);
/* The board's hardware address, 0; 255 when get_hw_addr fails. */
BF_API int32_t GetHwAddr(void);
/* Writes 0; 0, or -1 for a null. */
BF_API int32_t get_hw_addr(uint8_t *address);
/* The board has no slot id: -1, nothing is written. */
BF_API int32_t GetSlotId(uint8_t *slot);
BF_API int32_t get_slotid(uint8_t *slot);
/* The board has no special LAN slots: -1, nothing is written. */
BF_API int32_t GetSlotSpecialLanInfo(uint32_t a, uint32_t b, void *out);
BF_API int32_t get_slotlaninfo(uint32_t a, uint32_t b, void *out);
/* The board adds no event-log entries of its own: -1. */
BF_API int32_t SendAddSelIntry(const void *entry);
BF_API int32_t send_addselintry(const void *entry);
/* Ports are counted from 1: writes the low byte of port + 1 and returns 1; -1 for a null. */
BF_API int32_t GetNicDevicePortNewIndex(uint32_t a, uint32_t b, uint32_t port, uint8_t *out);
BF_API int32_t get_nic_device_port_new_index(uint32_t a, uint32_t b, uint32_t port, uint8_t *out);
/* 1 when the OCP card is fitted, else 0. One EPLD read. */
BF_API int32_t GetOcpCardIsPresent(void);
BF_API int32_t get_ocp_card_present(void);
/* Where the OCP card sits: 2. */
BF_API int32_t GetOcpCardLocation(void);
BF_API int32_t get_ocp_card_location(void);
/* The board needs no special IP address: writes an audit line and changes nothing. */
BF_API void SetSpecialIP(void);
/* Writes 0: no sub-card changes the product name. 0, or -1 for a null. */
BF_API int32_t GetSubcardBoardIdForModifyProductName(uint16_t *board_id);
/* The I2C control register needs no switching on this board. */
BF_API void OpenI2CControlReg(void);
BF_API void CloseI2CControlReg(void);
/* The chassis intrusion switch: 0 or 1, 0 when it cannot be read. Returns 0; -1 for a null.
 * One EPLD read. */
BF_API int32_t getIntrusionState(uint8_t *state);

/* ---- the maintenance test's EPLD registers, in the order of the test ---- */

BF_API int32_t getMaintainTestEpldAddrCnt(void); /* 111 */
/* The register address at an index from 0; -1 with a debug message beyond the list. */
BF_API int32_t getMaintainTestEpldAddrByIndex(uint32_t index);

BF_EXTERN_C_END

#endif
