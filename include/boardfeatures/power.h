/* Power: power entry modules (PEMs, the power supplies), voltage regulators, power-fault bits, and
 * the board's I2C devices for diagnostics.
 */
#ifndef BOARDFEATURES_POWER_H
#define BOARDFEATURES_POWER_H

#include "boardfeatures/abi.h"

BF_EXTERN_C_BEGIN

/* ---- board constants: no hardware access ---- */

BF_API int32_t GetPemSupportFlag(void);               /* 1 */
BF_API int32_t GetPemMaxCount(void);                  /* 2 */
BF_API int32_t GetI2CTopologyCount(void);             /* 55 */
BF_API int32_t GetVrChipMaxNum(void);                 /* 10 */
BF_API int32_t GetGPUSupportFlag(void);               /* 0 */
BF_API int32_t GetPcieSelfTestAlarmSupportFlag(void); /* 0 */
BF_API int32_t GetAIAdapterSupportFlag(void);         /* 0 */

/* ---- power entry modules ---- */

/* Reads the power-ok register twice, 20 ms apart, the second time into *status; a failed read is
 * logged and leaves its word as it was (the first word starts at 0). 0 when the two words agree;
 * -1 with a message when they differ, and for a null. Two EPLD reads and a wait. */
BF_API int32_t ScanPsuPowerokStatus(uint16_t *status);
/* 1 when any supply gives power-ok, else 0. 0, -1 for a null, or the failed read's result with
 * *status as it was. One EPLD read. The further arguments are not looked at. */
BF_API int32_t GetPsuPowerOkStatus(uint32_t *status);
BF_API int32_t _GetPsuPowerOkStatus(uint32_t *status, uint32_t unused_a, uint32_t unused_b);
/* 1 present, 0 absent, -1 for a PEM above 1 (0 from the second form). One GPIO read; when that line
 * is not low one EPLD read; unless its bit says present one or, 100 ms later, two PMBus reads. */
BF_API int32_t GetPemOnlineStatus(uint32_t pem);
BF_API int32_t _GetPemOnlineStatusByEpld(uint32_t pem);
/* The PMBus route of the PEM with a slot id, 0 or 1. 0, or -1: null, no such PEM. */
BF_API int32_t GetPemPmbusInfoBySlotID(uint32_t slot_id, I2cChipRoute *route);
/* The PEM on a bus and address field (the route's address in bits 0-15, its flags above), counted
 * from 1. 0, or -1: null, no such PEM. */
BF_API int32_t GetPemIndexbyI2CAddr(uint32_t bus, uint32_t address_field, uint32_t *index);

/* ---- voltage regulators ---- */

#define VR_NO_BIT 255
#define VR_NO_RAIL_CODE 255u

/* One rail of a regulator. 76 bytes. */
typedef struct VrRow {
    uint8_t bom_id;           /* of the main boards that have it */
    uint8_t cpu;              /* 0 or 1 */
    uint8_t instance;         /* 1 for the second rail of the same controller */
    char model[33];           /* NUL-padded */
    uint16_t status_register; /* EPLD */
    uint8_t first_bit;        /* of the status register, VR_NO_BIT for none */
    uint8_t second_bit;       /* VR_NO_BIT for none */
    uint32_t rail_code;       /* VR_NO_RAIL_CODE for none */
    I2cChipRoute route;       /* its name is the rail's */
} VrRow;
BF_ASSERT_SIZE(VrRow, 76);

/* The rails of this main board: *first is the first row, null when there is none. Returns how many
 * rows follow each other from there: 14, 0 for an unknown BOM id, 0 for a null. One identifier read
 * in the first call of a process that has not chosen its rows yet, none later. */
BF_API int32_t GetPemVRInfoBy9548(const struct VrRow **first);
/* Selects the rows anew. Returns 0. One identifier read. */
BF_API int32_t reinit_different_bomid_vr_info(void);
/* Reads an EPLD register: the read's result, -1 for a null. One EPLD read. */
BF_API int32_t GetPemVRInfoByEpld(uint32_t offset, uint16_t *value);

/* Where a regulator's firmware revision is read. 40 bytes. */
typedef struct VrFirmwareRow {
    uint8_t index;
    uint8_t page;         /* written to the PMBus PAGE register first */
    uint8_t offset;       /* register */
    uint8_t offset_width; /* bytes */
    uint8_t length;       /* bytes of data */
    uint8_t shift;
    uint8_t reserved[2];
    I2cChipRoute route;
} VrFirmwareRow;
BF_ASSERT_SIZE(VrFirmwareRow, 40);

/* 1 when the regulators' firmware can be read: not on the T variant. One identifier read. */
BF_API int32_t isSupportedVrFw(void);
/* Row 0..9, null for another index. */
BF_API const struct VrFirmwareRow *GetVrFwI2cRegInfoByIndex(uint32_t index);
/* The firmware revision of regulator 0..9; 0 for another index and on any failure. Writes an audit
 * line. One I2C write, one I2C read. */
BF_API uint32_t GetVrVersionByIndex(uint32_t index);

/* ---- power faults ---- */

/* Bits of an EPLD register that report a fault. 6 bytes. */
typedef struct PowerFaultRow {
    uint8_t group;
    uint8_t reserved[2];
    uint8_t mask;
    uint16_t epld_register;
} PowerFaultRow;
BF_ASSERT_SIZE(PowerFaultRow, 6);

/* A table and its number of rows. 0, or -1 for a null. */
BF_API int32_t GetCPUPowerFaultTable(const struct PowerFaultRow **table, uint8_t *count);  /* 2 */
BF_API int32_t GetDIMMPowerFaultTable(const struct PowerFaultRow **table, uint8_t *count); /* 2 */
BF_API int32_t GetAbnormalPowerFaultTable(const struct PowerFaultRow **table,
                                          uint8_t *count); /* 27 */

/* ---- I2C devices for diagnostics ---- */

/* 32 bytes. Addresses are 8-bit forms. */
typedef struct I2cTopologyRow {
    uint32_t bus;
    uint32_t address;
    uint32_t switch_address; /* 0 = none */
    uint32_t channel;
    char name[16];
} I2cTopologyRow;
BF_ASSERT_SIZE(I2cTopologyRow, 32);

/* Row 0..54. 0, or -1: null, another index. */
BF_API int32_t GetI2CTopologyByIndex(uint32_t index, I2cTopologyRow *row);
/* Writes one audit line on an access that is about to be made; nothing for a null. */
BF_API void printI2cTopo(const I2cChipRoute *route, uint32_t page, uint32_t offset,
                         uint32_t length);

BF_EXTERN_C_END

#endif
