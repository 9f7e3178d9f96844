/* DIMM sockets: from the numbering of the host firmware and of memory events to sockets and the
 * labels that people see.
 *
 * The labels depend on the customer identity: the first look-up of the process reads the main
 * board's identifier and the customer identity file (IPMI_LoadCustomID, which saves it again) once
 * and keeps the choice; a change needs a restart of the process. Apart from that there is no
 * hardware access.
 */
#ifndef BOARDFEATURES_DIMM_H
#define BOARDFEATURES_DIMM_H

#include "boardfeatures/abi.h"

BF_EXTERN_C_BEGIN

#define DIMM_ON_MAIN_BOARD 255 /* card index of a socket that is on no riser card */

/* One socket. 52 bytes. */
typedef struct DimmDevInfo {
    uint8_t cpu;        /* from 0 */
    uint8_t controller; /* 0..3 */
    uint8_t channel;    /* 0..1 within the controller */
    uint8_t slot;       /* 0..1 within the channel */
    uint8_t card_index; /* the memory riser card, DIMM_ON_MAIN_BOARD for none */
    uint8_t index;      /* 1..32 */
    uint8_t dimm_num;   /* 1..32, 255 not fitted */
    char silk_screen[45];
} DimmDevInfo;
BF_ASSERT_SIZE(DimmDevInfo, 52);

/* ---- board constants ---- */

BF_API int32_t GetMaxDimmCount(void);              /* 32 */
BF_API int32_t GetControllerCountPerCPU(void);     /* 4 */
BF_API int32_t GetChannelCountPerController(void); /* 2 */
BF_API int32_t GetDimmCountPerChannel(void);       /* 2 */
BF_API int32_t GetDimmCountPerCPU(void);           /* 16 */
BF_API int32_t GetI2CDimmOutBandSupportFlag(void); /* 0 */
BF_API int32_t GetEpldDimmTempSupportFlag(void);   /* 0 */
BF_API int32_t GetEpldDimmTempOffset(void);        /* 0xFFFF: none */

/* ---- look-ups: 0, or -1 for a null or no such socket ---- */

BF_API int32_t GetDimmDevInfoByIndex(uint32_t index, DimmDevInfo *out);
/* The same with the CPU counted as on the silk screen, from 1. */
BF_API int32_t Redfish_GetDimmDevInfoByIndex(uint32_t index, DimmDevInfo *out);
BF_API int32_t GetDimmDevInfoByDimmNum(uint32_t dimm_num, DimmDevInfo *out);
/* An error message when there is no such socket. */
BF_API int32_t GetDimmDevInfoByPhysiclInfo(uint32_t cpu, uint32_t controller, uint32_t channel,
                                           uint32_t slot, DimmDevInfo *out);
/* The controller and channel of a BIOS channel 0..7. */
BF_API int32_t GetDimmCtrlandChalNumByBiosChal(uint32_t bios_channel, uint8_t *controller,
                                               uint8_t *channel);
/* Sockets whose DIMM number is below 255: 32. */
BF_API int32_t GetRealMaxDimmCount(void);
/* *table is the whole table of sockets, valid for the life of the process; 32, 0 for a null. */
BF_API int32_t getAllDimmSilkScreen(const struct DimmDevInfo **table);

/* ---- memory events, by their second and third data byte. Bit 0 of the third says that the event
 * names the DIMM directly. An event that names no socket answers 0 or an empty label. ---- */

BF_API int32_t GetDimmIndexBySelInfo(uint32_t data2, uint32_t data3);
BF_API int32_t GetDimmNumberBySelInfo(uint32_t data2, uint32_t data3);
/* 255 on the main board and for an event that names the DIMM directly. */
BF_API int32_t GetDimmCardIndexBySelInfo(uint32_t data2, uint32_t data3);
/* At most 9 characters and a NUL; nothing for an event that names the DIMM directly. 0, or -1 for a
 * null. */
BF_API int32_t GetDimmSilkScreenBySelInfo(uint32_t data2, uint32_t data3, char label[10]);

/* ---- a customer's packed location byte: CPU in bits 7-6, BIOS channel in 5-2, slot in 1-0 ---- */

/* The socket, zeroed when there is none. 0, or -1 for a null. */
BF_API int32_t diofluADDCGetMemMaskInfoBySel(uint32_t location, DimmDevInfo *out);
/* At most 9 characters and a NUL; nothing when there is no such socket. 0, or -1 for a null. */
BF_API int32_t DiofluADDDCGetDimmSilkScreenBySelInfo(uint32_t location, char label[10]);
/* By the event's type: with a low nibble of 5 the third byte is a packed location. */
BF_API int32_t GetDimmNumByBiosSelInfo(uint32_t event_type, uint32_t data2, uint32_t data3);
BF_API int32_t GetDimmCardIndexByBiosSelInfo(uint32_t event_type, uint32_t data2, uint32_t data3);

BF_EXTERN_C_END

#endif
