/* FRU data: the EEPROM of each card, and the main board's file. */
#ifndef BOARDFEATURES_FRU_H
#define BOARDFEATURES_FRU_H

#include "boardfeatures/abi.h"

BF_EXTERN_C_BEGIN

/* Where a card's FRU EEPROM is. 36 bytes. */
typedef struct FruRow {
    uint8_t key; /* card key */
    uint8_t pad[3];
    I2cChipRoute route;
} FruRow;
BF_ASSERT_SIZE(FruRow, 36);

/* 0, or -1: null, unknown key. No hardware access. */
BF_API int32_t GetFruI2cinfoBySlotID(uint32_t key, FruRow *out);

/* Reads or writes FRU bytes: the main board's (key 0) in /resvz/firmware/FRU/FRU.BIN, a card's in
 * its EEPROM. Offsets of the main board above 0x8000 mean the file position 0x6000 lower.
 * The number of bytes read or written (fewer at the end of the file; 0 when the position cannot be
 * reached), or the platform EEPROM call's result; -1: null, card not present, no EEPROM known, file
 * not opened or not closed. One presence question (GetCardOnlineStatus), then one EEPROM access, or
 * for key 0 one file access. */
BF_API int32_t FruRead(uint32_t key, uint32_t offset, uint8_t *buffer, uint32_t length);
BF_API int32_t FruWrite(uint32_t key, uint32_t offset, const uint8_t *buffer, uint32_t length);

BF_EXTERN_C_END

#endif
