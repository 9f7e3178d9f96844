/* Host components: card presence, LEDs, network cards, RAID cards and CPU facts.
 *
 * Lookups return 0, or -1 for a null pointer or a row that does not exist; nothing is written then.
 * No hardware access unless a declaration says so.
 */
#ifndef BOARDFEATURES_HOST_H
#define BOARDFEATURES_HOST_H

#include "boardfeatures/abi.h"

BF_EXTERN_C_BEGIN

/* ---- card presence ---- */

/* How a card's presence is known. */
enum {
    CARD_BY_EPLD_BIT = 0,     /* the bit of the EPLD register is set */
    CARD_BY_EXPANDER_PIN = 1, /* the expander's input pin is low */
    CARD_BY_IDENTIFIER = 2    /* the card's board identifier can be read */
};
/* The EPLD register of the rows that name none. */
enum { CARD_DEFAULT_REGISTER = 0x208 };

/* A row of the card-presence table. 40 bytes. */
typedef struct CardPresence {
    uint8_t key;            /* card key */
    uint8_t method;         /* CARD_BY_... */
    uint8_t epld_bit;       /* CARD_BY_EPLD_BIT: 0..15 */
    uint8_t pin;            /* CARD_BY_EXPANDER_PIN: 0..15 */
    uint16_t epld_register; /* 0: CARD_DEFAULT_REGISTER */
    uint8_t reserved[2];
    I2cChipRoute route; /* the expander or the identifier's chip; its name names the card */
} CardPresence;
BF_ASSERT_SIZE(CardPresence, 40);

/* 1 fitted, 0 not fitted (also for a key that no card has and when the read fails), -1 for key 0
 * and above GetCardMaxNum(). One EPLD read, one expander pin read or one identifier read. */
BF_API int32_t GetCardOnlineStatus(uint32_t key);
/* How a card's presence is known. */
BF_API int32_t GetCardOnlineInfoBySlotID(uint32_t key, CardPresence *out);
/* Cards that software detects: 0 (none) for kind 4, -1 for any other; further arguments are not
 * looked at. */
BF_API int32_t GetPresentBySoft(uint32_t kind, ...);

/* ---- front-panel LEDs ---- */

/* 7 bytes. */
typedef struct LedInfo {
    uint8_t led_id;
    uint8_t kind;
    uint8_t attribute;
    uint8_t reserved[4];
} LedInfo;
BF_ASSERT_SIZE(LedInfo, 7);

/* An LED that an EPLD register drives. 8 bytes. */
typedef struct LedEpldInfo {
    uint8_t led_id;
    uint8_t register_low; /* the register's address, low and high byte */
    uint8_t register_high;
    uint8_t mask;
    uint8_t on_value;
    uint8_t off_value;
    uint8_t reserved[2];
} LedEpldInfo;
BF_ASSERT_SIZE(LedEpldInfo, 8);

BF_API int32_t GetAllLedCount(void);                                  /* 8 */
BF_API int32_t GetEpldLedCount(void);                                 /* 7 */
BF_API int32_t GetI2cLedCount(void);                                  /* 0 */
BF_API int32_t GetGpioLedCount(void);                                 /* 0 */
BF_API int32_t GetLedCommonInfoByIndex(uint32_t index, LedInfo *out); /* index 0..7 */
BF_API int32_t GetLedCommonInfoByLedId(uint32_t led_id, LedInfo *out);
BF_API int32_t GetLedindexByLedId(uint32_t led_id, uint32_t *index);
BF_API int32_t GetLedEpldInfoByLedId(uint32_t led_id, LedEpldInfo *out);
BF_API int32_t GetLedGpioInfoByLedId(uint32_t led_id, void *out); /* -1: no such LEDs */
BF_API int32_t GetLedI2cInfoByLedId(uint32_t led_id, void *out);  /* -1: no such LEDs */

/* ---- on-board network controllers (NC-SI) ---- */

/* index is 0 or 1. Texts are copied with their padding. */
BF_API int32_t GetNcsiNetCardMaxCount(void); /* 2 */
BF_API int32_t GetNcsiNetCardBoardId(int32_t index, uint16_t *board_id);
BF_API int32_t GetNcsiNetCardPackageID(int32_t index, uint8_t *package_id);
BF_API int32_t GetNcsiNetCardSlotId(int32_t index, uint8_t *slot_id);
BF_API int32_t GetNcsiNetCardPortNum(int32_t index, uint8_t *ports);
BF_API int32_t GetNcsiNetCardInterfaceType(int32_t index, uint8_t *type);
BF_API int32_t GetNcsiNetCardDeviceName(int32_t index, char name[16]);
BF_API int32_t GetNcsiNetCardName(int32_t index, char name[32]);
BF_API int32_t GetNcsiNetCardChipManufactrue(int32_t index, char maker[32]);
BF_API int32_t GetNcsiNetCardManufactrue(int32_t index, char maker[16]);
BF_API int32_t GetNcsiNetCardModule(int32_t index, char module[32]);
/* The byte of a port, 0..7; 255 for a controller or port that does not exist. */
BF_API int32_t GetNcsiNetPortSpeed(int32_t index, int32_t port);
BF_API int32_t GetNcsiNetPortSubinterface(int32_t index, int32_t port);
BF_API int32_t GetNcsiNetPortSubindex(int32_t index, int32_t port);

/* What the board supports: 1 or 0. */
BF_API int32_t NetcardNcsiSupport(void);            /* 1 */
BF_API int32_t NetcardSmbusSupport(void);           /* 1 */
BF_API int32_t NetworkBondCfgSupport(void);         /* 1 */
BF_API int32_t NetworkAutoCfgSupport(void);         /* 1 */
BF_API int32_t NetcardTEPSupport(void);             /* 0 */
BF_API int32_t NetcardSyncMacSupport(void);         /* 0 */
BF_API int32_t NetcardX722Only2CopperSupport(void); /* 0 */
BF_API int32_t GetPhyCheckDisableFlag(void);        /* 0 */
BF_API int32_t NetworkCorrectDevTbl(void);          /* 0 */
BF_API int32_t IsCloseMCTP(void);                   /* 0 */
BF_API int32_t GetBusOwnerProxyEid(void);           /* 8: the MCTP endpoint id */

/* ---- RAID cards and storage controllers ---- */

typedef struct ControllerEntry {
    uint16_t id1;
    uint16_t device_id;
    uint8_t pcie_slot;
} ControllerEntry;
BF_ASSERT_SIZE(ControllerEntry, 6);

/* The storage controllers that were found; filled by the storage daemon. */
typedef struct ControllerList {
    uint32_t count; /* entries in use; counts above 16 are read as 16 */
    ControllerEntry entries[16];
} ControllerList;
BF_ASSERT_SIZE(ControllerList, 100);
BF_API extern ControllerList g_ControllerList;

BF_API int32_t RaidCardSupport(void);     /* 1 */
BF_API int32_t GetRaidCardMaxCount(void); /* 11 */
/* 0 when the controller list has an entry with both ids, else 1. */
BF_API int32_t StorageSearchController(uint32_t id1, uint32_t device_id);
/* The I2C address of the RAID card in a PCIe slot: 5 when the controller list has a card there that
 * answers out of band. 0, or -1: null, no such card. */
BF_API int32_t GetRaidCardSlaveAddr(uint32_t pcie_slot, uint16_t *address);
/* The out-of-band route of RAID card 1..11. Its address is that of GetRaidCardSlaveAddr, or the
 * placeholder 0x01 while no such controller is listed. */
BF_API int32_t GetRaidCardI2cInfo(uint32_t raid_index, I2cChipRoute *route);
/* The card key of RAID card 1..11. */
BF_API int32_t GetRaidCardSlotId(uint32_t raid_index, uint8_t *slot_id);
/* The PCIe slot of RAID card 1..11 (0 for the on-board one); 13 for any other index. */
BF_API int32_t GetRaidCardPCIeSlot(uint32_t raid_index);
/* The out-of-band switch in /conf/vel/outband_storage_switch.ini. A set that loads the file and a
 * get that cannot write an audit line. 0, or -1 when the file cannot be loaded or saved; a failed
 * get writes nothing to *value, a file without the entry answers 1. One file read; a set rewrites
 * the file. */
BF_API int32_t SetRaidCardOOBSwitch(uint32_t value);
BF_API int32_t GetRaidCardOOBSwitch(uint32_t *value);
BF_API int32_t GetRaidCardBoardOOBSwitchDefVal(void);    /* 1 */
BF_API int32_t GetRaidCardBoardOOBSwitchIfSupport(void); /* 0 */
/* Zeroes *id, then asks the platform for the back panel's id where it can tell: 0 or its result;
 * -1 for a null. One platform call. */
BF_API int32_t GetDiskBackPanelInfo(uint32_t *id);
/* No back panel has a card id: writes 0x7FFF. 0, or -1 for a null. */
BF_API int32_t getBackPaneCardId(uint16_t *card_id);
BF_API int32_t Hdd_GetConvertLocationByModel(void); /* -1 */

/* ---- CPUs and host facts ---- */

BF_API int32_t GetCpuType(void);                    /* 1 */
BF_API int32_t GetCpuPlatform(void);                /* 1 */
BF_API int32_t GetCpuSilkScreenIndexFixValue(void); /* 1: silk-screen numbers start there */
BF_API int32_t GetCpuEntityInsStartIndex(void);     /* 1 */
BF_API int32_t GetCpuMaxCount(void);                /* 2 */
BF_API int32_t GetEpldCpuTempSupportFlag(void);     /* 0 */
BF_API int32_t GETBoardCpuSupportISSFlag(void);     /* 0 */
BF_API int32_t GetCpuReduceFlag(void);              /* 0 */
BF_API int32_t GetSyncTimeSavePath(void);           /* 0 */
BF_API int32_t GetEpldCpuTempOffset(void);          /* 0xFFFF: none */
BF_API int32_t GetOsTimeEPLDRegAddr(void);          /* 0xFFFF: none */
BF_API int32_t OsSyncTimeEnable(void);              /* -1 */
BF_API int32_t TempNonCritlDisable(void);           /* -1 */
BF_API int32_t GetFrb2WdtTimeout(void);             /* 64 */
/* The board states no CPU temperature limits: each writes 0 and returns -1. */
BF_API int32_t GETBoardCpuTempTjmax(uint8_t *value);
BF_API int32_t GETBoardCpuTempTcritical(uint8_t *value);
BF_API int32_t GETBoardCpuTempTnonrecoverable(uint8_t *value);
/* Writes 255. */
BF_API int32_t GETCpuBiosPostEndFlag(uint8_t *flag);
/* 1 fitted, 0 not fitted or unreadable, -1 for a CPU above 1. One EPLD read. */
BF_API int32_t GetCpuOnlineStatus(uint32_t cpu);
/* The CPU location register, 0 when it cannot be read. One EPLD read. */
BF_API int32_t getScreeCpuLocationData(void);

BF_EXTERN_C_END

#endif
