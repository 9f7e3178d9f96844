/* PIER network cards: the SMBus-managed cards' table, and the exchange of messages through a card's
 * register mailbox.
 *
 * One exchange runs at a time across the system: the semaphore with key 12339 is held for the whole
 * of it and released on every path.
 */
#ifndef BOARDFEATURES_MAILBOX_H
#define BOARDFEATURES_MAILBOX_H

#include "boardfeatures/abi.h"

BF_EXTERN_C_BEGIN

#define MOORING_DATA_MAX 120 /* bytes of a request or a response */

/* ---- SMBus-managed network cards, one a PCIe slot; index 0..9. 0, or -1: null, another index. No
 * hardware access. ---- */

BF_API int32_t GetSmbusNetCardMaxCount(void);                          /* 10 */
BF_API int32_t GetSmbusNetCardSlotId(int32_t index, uint8_t *slot_id); /* card key */
BF_API int32_t GetSmbusNetCardPcieSlot(int32_t index, uint8_t *pcie_slot);
BF_API int32_t GetSmbusNetCardI2cInfo(int32_t index, I2cChipRoute *route);

/* ---- the exchange ---- */

/* Sends a request to the card in a PCIe slot (1..10) and waits for its answer, 100 ms at most.
 * The three command bytes belong to the card's command set; of them and of the request's length the
 * low 8 bits count. A request may be null; one of no bytes is still written, of more than
 * MOORING_DATA_MAX bytes the first that many are. The response
 * buffer holds MOORING_DATA_MAX bytes; an answer of no or of more bytes leaves it and
 * *response_length as they were.
 * 0, or -1 with messages: null response, no such slot, the semaphore not taken within 3 s, a failed
 * transfer, an error code or no answer from the card.
 * Up to 4 I2C writes, 11 reads and 10 waits of 10 ms. */
BF_API int32_t VEL_Mooring_SendGetMsgFromPier(uint32_t pcie_slot, uint32_t command0,
                                              uint32_t command1, uint32_t command2,
                                              const uint8_t *request, uint32_t request_length,
                                              uint8_t *response, uint8_t *response_length);
/* The same for a card by the route of its mailbox. */
BF_API int32_t VEL_Mooring_SmbusSendGetMsgFromPier(I2cChipRoute route, uint32_t command0,
                                                   uint32_t command1, uint32_t command2,
                                                   const uint8_t *request, uint32_t request_length,
                                                   uint8_t *response, uint8_t *response_length);

/* Takes and gives back the exchange's semaphore, with a message. 0 or -1. */
BF_API int32_t VEL_Mooring_MRPIER_SemLock(void);
BF_API int32_t VEL_Mooring_MRPIER_SemUnlock(void);

/* ---- the mailbox's registers: 0, or -1 for a null or a failed transfer. One I2C transfer each.
 * Offsets and lengths are 8-bit; 4-byte registers have byte 0 lowest. ---- */

BF_API int32_t VEL_Mooring_WriteDataToPier(I2cChipRoute route, uint32_t offset,
                                           const uint8_t *buffer, uint32_t length);
BF_API int32_t VEL_Mooring_ReadDataFromPier(I2cChipRoute route, uint32_t offset, uint8_t *buffer,
                                            uint32_t length);
BF_API int32_t VEL_Mooring_SetStatusReg(I2cChipRoute route, uint32_t status);
BF_API int32_t VEL_Mooring_GetStatusReg(I2cChipRoute route, uint8_t status[4]);
BF_API int32_t VEL_Mooring_SetCmdReg(I2cChipRoute route, uint32_t command);
BF_API int32_t VEL_Mooring_SetDataReg(I2cChipRoute route, const uint8_t *buffer, uint32_t length);
BF_API int32_t VEL_Mooring_GetDataReg(I2cChipRoute route, uint8_t *buffer, uint32_t length);

BF_EXTERN_C_END

#endif
