/* Storage backplanes: which disks sit where.
 *
 * Eight connectors of the main board take a disk backplane; a connector is named by its card key (5
 * to 11 and 14). Disks have global slot numbers, 0..200, of which each fitted backplane owns a run.
 * Nothing about presence is cached unless a declaration says so: every question reads the hardware
 * again.
 *
 * Results are 0, or -1 for a failure, unless a declaration says otherwise. A null pointer is
 * refused before any hardware or file access.
 *
 * In the counts of hardware accesses, "the walk" is: for the connectors 5 to 11 in order an
 * identifier read to see whether the connector is fitted, for a fitted one a second to see with
 * what, and then the accesses of that backplane's own answer; the first answer of 0 ends it.
 * "Bay words" are one word read of each expander of a backplane: one to four.
 */
#ifndef BOARDFEATURES_STORAGE_H
#define BOARDFEATURES_STORAGE_H

#include "boardfeatures/abi.h"
#include "boardfeatures/config.h"

BF_EXTERN_C_BEGIN

/* ---- fitted backplanes ---- */

/* One fitted backplane. 300 bytes. */
typedef struct BackPanelDev {
    uint8_t location;  /* location code of the connector: 0 */
    uint8_t startslot; /* first slot number that the backplane owns */
    uint8_t maxslot;   /* how many it owns */
    uint8_t reserved;
    uint32_t card_index; /* card key of the connector */
    uint32_t board_id;
    uint32_t position; /* the connector's number */
    uint32_t position_reserved[7];
    uint8_t reserved2;
    uint8_t slot_map[255]; /* by slot number: the number shown for it; 0 for slots not owned */
} BackPanelDev;
BF_ASSERT_SIZE(BackPanelDev, 300);

/* The fitted backplanes in the order of the connectors. 4804 bytes. */
typedef struct BackPanelList {
    int32_t totalnum; /* 0..16 */
    BackPanelDev singlepaneldev[16];
} BackPanelList;
BF_ASSERT_SIZE(BackPanelList, 4804);

/* What the slot-validity check found on its first successful use in this process, and whether it
 * has (1) or not (0). Never refreshed. */
BF_API extern BackPanelList tBackPanelList;
BF_API extern int32_t isdone;

/* Fills a list: one identifier read for each of the eight connectors, a second one for each that is
 * fitted, and one look-up of the custom number (a configuration file under a semaphore) for every
 * slot of a known backplane. -1: null, or the identifier of a fitted backplane cannot be read; the
 * entries made until then stay. */
BF_API int32_t hdd_get_disk_backpanel_list(void *list);
BF_API int32_t GetAllHddBackPanelDevInfo(void *list);
BF_API int32_t GetAllHddInfo(void *list);
/* Appends the entry of one connector to a list; a board id that is no backplane's appends nothing.
 * The row is: card key, location code, default start slot, connector number, seven reserved. A full
 * list stays as it is, and that is logged. No hardware access; the custom numbers are looked up. */
BF_API void hdd_fillSupportBackPanelInfo(const uint32_t position_row[11], uint32_t board_id,
                                         void *list);
/* Writes the shown numbers of `max` slots from `start` into a 255-byte map: the slot number itself
 * unless a custom number is set for it. Counts in 8 bits: a run beyond 255 is empty. */
BF_API void hddpanel_InitSlotWithCustomConfig(uint8_t *map, uint32_t location, uint32_t start,
                                              uint32_t max);
/* The sum of the owned slots over a freshly filled list; 0 when it cannot be filled. */
BF_API uint32_t get_max_disk_count(void);
BF_API uint32_t GetDiskMaxNum(void);
/* The start slot of the backplane in a connector, from a freshly filled list; 0 when there is none
 * or the list cannot be filled. */
BF_API uint32_t GetHddStartBySlotId(uint32_t card_index);
/* How many bays a backplane is asked for in the lists below; 0 for a board id without lists. */
BF_API uint32_t get_supported_disk_num_by_cardid(uint32_t board_id);
BF_API uint32_t get_supported_disk_num(void);      /* 200 */
BF_API uint32_t GetDiskMaxCount(void);             /* 200 */
BF_API uint32_t GetDiskMaxCountExt(uint32_t zone); /* 200 in zone 0, else 0 */

/* ---- one disk ---- */

/* What a disk is. */
enum { DISK_U2_NVME = 0, DISK_SAS_SATA = 1 };

/* 0 when a fitted backplane reports the disk present, else the last fitted backplane's answer, -1.
 * The walk, with bay words from each backplane that accepts the slot. */
BF_API int32_t hdd_onboard(uint32_t slot);
/* 0 and the type (DISK_...) as soon as a fitted backplane answers; the type is left alone for a
 * disk present without one. Otherwise the last fitted backplane's answer: -1, or 2 for a bay of a
 * backplane that counts "type not stated" as no answer. The walk, with bay words. */
BF_API int32_t hdd_gettype(uint32_t slot, uint8_t *type);
/* hdd_onboard(); -1 without hardware access for a slot above 200. */
BF_API int32_t GetDiskOnlineStatus(uint32_t slot);
/* The same; -1 without hardware access for a zone other than 0. */
BF_API int32_t GetDiskOnlineStatusExt(uint32_t zone, uint32_t slot);
/* The status, then hdd_gettype() of a present disk. Two walks. */
BF_API int32_t GetDiskType(uint32_t slot, uint8_t *type);
BF_API int32_t GetDiskTypeExt(uint32_t zone, uint32_t slot, uint8_t *type);
/* 1 for a present U.2 NVMe disk, else 0; a disk without a stated type is none. Two walks. */
BF_API uint32_t IsBackPanelU2NvmePresent(uint32_t slot);
BF_API uint32_t IsBackPanelU2NvmePresentExt(uint32_t zone, uint32_t slot);

/* The way to an NVMe disk's management endpoint. 32 bytes. */
typedef struct NvmeRoute {
    uint32_t bus;
    uint32_t mux_address;
    uint32_t disk_address; /* behind the multiplexer */
    uint32_t mux_channel;
    char name[16]; /* NUL-padded */
} NvmeRoute;
BF_ASSERT_SIZE(NvmeRoute, 32);

/* A rear backplane's route is found by its slot. 36 bytes. */
typedef struct RearNvmeRoute {
    uint32_t slot;
    NvmeRoute route;
} RearNvmeRoute;
BF_ASSERT_SIZE(RearNvmeRoute, 36);

/* The routes of each backplane model's bays. The bus of a front row is replaced by that of the
 * bay's connector. */
BF_API extern const RearNvmeRoute _bpra_hdd_nvme_i2c_table[4];
BF_API extern const RearNvmeRoute _bprb_hdd_nvme_i2c_table[4];
BF_API extern const NvmeRoute _bpfa_hdd_nvme_i2c_table[24];
BF_API extern const NvmeRoute _bpfb_hdd_nvme_i2c_table[8];
BF_API extern const NvmeRoute _bpfc_hdd_nvme_i2c_table[12];
BF_API extern const NvmeRoute _bpfd_hdd_nvme_i2c_table[8];
BF_API extern const NvmeRoute _bpfe_hdd_nvme_i2c_table[8];
BF_API extern const NvmeRoute _bpff_hdd_nvme_i2c_table[8];
BF_API extern const NvmeRoute _bpfg_hdd_nvme_i2c_table[8];
/* By connector 0..6 (card keys 5..11): its bus, and the first slot of an NVMe backplane there. */
BF_API extern const uint32_t g_array_bus_num[7];
BF_API extern const uint8_t g_array_nvme_slot_start[7];

/* Fills the 32-byte route (NvmeRoute) of a slot. -1: null, or no fitted backplane has a route for
 * it. The walk, without bay words. */
BF_API int32_t hdd_get_nvme_i2c_info(uint32_t slot, void *route);
/* The same for a slot that holds a U.2 NVMe disk now, -1 for any other. Three walks. */
BF_API int32_t GetBackPanelNvmeI2CInfo(uint32_t slot, void *route);
BF_API int32_t GetBackPanelNvmeI2CInfoExt(uint32_t zone, uint32_t slot, void *route);

/* ---- lists of disks ---- */

/* U.2 NVMe disks. The functions append and never clear: zero the count first. Bays count from 0 on
 * their own backplane. A walk over all connectors appends at most 175 entries. */
typedef struct U2NvmeEntry {
    uint32_t bay;
    uint32_t reserved[2]; /* 0 */
} U2NvmeEntry;
BF_ASSERT_SIZE(U2NvmeEntry, 12);
typedef struct U2NvmeList {
    uint32_t count;
    U2NvmeEntry entries[200];
} U2NvmeList;
BF_ASSERT_SIZE(U2NvmeList, 2404);

/* SAS and SATA disks; appended in the same way. */
typedef struct HddEntry {
    uint8_t field; /* the bay's status field: 0 */
    uint8_t bay;
} HddEntry;
BF_ASSERT_SIZE(HddEntry, 2);
typedef struct HddList {
    uint32_t count;
    HddEntry entries[200];
} HddList;
BF_ASSERT_SIZE(HddList, 404);

/* Appends the U.2 NVMe bays of every fitted backplane to a U2NvmeList. A backplane that cannot be
 * read adds nothing. Two caches for the life of the process spare reads: a connector once seen
 * fitted is not asked again, one not seen fitted is asked only while fewer than 21 such questions
 * were asked altogether, and a board id that could be read is kept. One identifier read a question,
 * one for each board id that is not known yet, and bay words. -1: null. */
BF_API int32_t hdd_get_u2_nvme_list(void *list);
BF_API int32_t GetAllU2NVMeSlotInfo(void *list);
/* Appends the SAS/SATA bays of every fitted backplane to an HddList; the same with caches of its
 * own. */
BF_API int32_t HDD_GetOnlinePdList(void *list);
BF_API int32_t HDD_CollectAllPdListFromHardSignal(void *list);

/* ---- counts ---- */

/* Occupied bays behind up to four expanders, eight bays each; an expander is a route of bus,
 * address and name. -1: null, no or more than 4 expanders, more than 32 bays, a failed read (the
 * rest is not read then). One word read an expander. */
BF_API int32_t GetOnlineHDDCountInner(const I2cChipRoute *expanders, uint32_t expander_count,
                                      uint32_t bay_count);
/* Occupied bays of a backplane by its board id; slot_id is the card key of its connector, looked at
 * only for models with several connectors. -1: no such model, connector or answer. Bay words. */
BF_API int32_t GetOnlineHDDCount(uint32_t board_id, uint32_t slot_id);
/* 0 for the two boards of another model that ask here, -1 and a message for any other type. */
BF_API int32_t GetCragOnlineHDDCount(uint32_t board_type);
BF_API int32_t get_crag_online_hdd_count(void); /* 0 */

/* ---- the backplane models ----
 *
 * present: 0 when the bay is occupied; -1 when it is empty, the slot is none of the model's
 * (without hardware access) or an expander cannot be read. Bay words. type: 0 and the type. -1 as
 * for presence; the other answers are the model's own. Bay words. route: 0 and the NvmeRoute; -1
 * for a slot without one. No hardware access. U.2 list, disk list: append to a U2NvmeList or
 * HddList; board_id gives the number of bays, position (0..6, card keys 5..11) the bus of models
 * with several connectors; a model with one does not look at it. -1: null, no such position, a
 * failed read. Bay words. online count: as GetOnlineHDDCount().
 */

BF_API int32_t _bpra_hdd_present(uint32_t slot);
BF_API int32_t _bprb_hdd_present(uint32_t slot);
BF_API int32_t _bpfa_hdd_present(uint32_t slot);
BF_API int32_t _bpfb_hdd_present(uint32_t slot);
BF_API int32_t _bpfc_hdd_present(uint32_t slot);
BF_API int32_t _bpfd_hdd_present(uint32_t slot);
BF_API int32_t _bpfe_hdd_present(uint32_t slot);
BF_API int32_t _bpff_hdd_present(uint32_t slot);
BF_API int32_t _bpfg_hdd_present(uint32_t slot);
BF_API int32_t _bpma_hdd_present(uint32_t slot);

BF_API int32_t _bpra_hdd_type(uint32_t slot, uint8_t *type);
BF_API int32_t _bprb_hdd_type(uint32_t slot, uint8_t *type);
BF_API int32_t _bpfa_hdd_type(uint32_t slot, uint8_t *type);
BF_API int32_t _bpfb_hdd_type(uint32_t slot, uint8_t *type);
BF_API int32_t _bpfc_hdd_type(uint32_t slot, uint8_t *type);
BF_API int32_t _bpfd_hdd_type(uint32_t slot, uint8_t *type);
BF_API int32_t _bpfe_hdd_type(uint32_t slot, uint8_t *type);
BF_API int32_t _bpff_hdd_type(uint32_t slot, uint8_t *type);
BF_API int32_t _bpfg_hdd_type(uint32_t slot, uint8_t *type);
BF_API int32_t _bpma_hdd_type(uint32_t slot, uint8_t *type);

BF_API int32_t _bpra_hdd_nvme_i2c_info(uint32_t slot, void *route);
BF_API int32_t _bprb_hdd_nvme_i2c_info(uint32_t slot, void *route);
BF_API int32_t _bpfa_hdd_nvme_i2c_info(uint32_t slot, void *route);
BF_API int32_t _bpfb_hdd_nvme_i2c_info(uint32_t slot, void *route);
BF_API int32_t _bpfc_hdd_nvme_i2c_info(uint32_t slot, void *route);
BF_API int32_t _bpfd_hdd_nvme_i2c_info(uint32_t slot, void *route);
BF_API int32_t _bpfe_hdd_nvme_i2c_info(uint32_t slot, void *route);
BF_API int32_t _bpff_hdd_nvme_i2c_info(uint32_t slot, void *route);
BF_API int32_t _bpfg_hdd_nvme_i2c_info(uint32_t slot, void *route);
BF_API int32_t _bpma_hdd_nvme_i2c_info(uint32_t slot, void *route); /* -1: no routes */

BF_API int32_t _bpra_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list);
BF_API int32_t _bprb_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list);
BF_API int32_t _bpfa_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list);
BF_API int32_t _bpfb_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list);
BF_API int32_t _bpfc_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list);
BF_API int32_t _bpfd_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list);
BF_API int32_t _bpfe_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list);
BF_API int32_t _bpff_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list);
BF_API int32_t _bpfg_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list);

BF_API int32_t bpra_get_hdd_list(uint32_t board_id, uint32_t position, void *list);
BF_API int32_t bprb_get_hdd_list(uint32_t board_id, uint32_t position, void *list);
BF_API int32_t bpfa_get_hdd_list(uint32_t board_id, uint32_t position, void *list);
BF_API int32_t bpfc_get_hdd_list(uint32_t board_id, uint32_t position, void *list);
BF_API int32_t bpfg_get_hdd_list(uint32_t board_id, uint32_t position, void *list);
BF_API int32_t bpfb_get_hdd_list(uint32_t board_id, void *list);
BF_API int32_t bpfd_get_hdd_list(uint32_t board_id, void *list);
BF_API int32_t bpfe_get_hdd_list(uint32_t board_id, void *list);
BF_API int32_t bpff_get_hdd_list(uint32_t board_id, void *list);

BF_API int32_t get_bpra_online_hdd_count(uint32_t slot_id);
BF_API int32_t get_bprb_online_hdd_count(uint32_t slot_id);
BF_API int32_t get_bpfa_online_hdd_count(uint32_t slot_id);
BF_API int32_t get_bpfb_online_hdd_count(void);
BF_API int32_t get_bpfc_online_hdd_count(void);
BF_API int32_t get_bpfd_online_hdd_count(void);
BF_API int32_t get_bpff_online_hdd_count(void);
BF_API int32_t get_bpfg_online_hdd_count(void);

/* ---- slot numbers and zones ---- */

/* 1 when a fitted backplane shows the number, else 0 (also for a zone other than 0). The list of
 * backplanes is filled on the first successful use in the process (see tBackPanelList). */
BF_API uint32_t IsDiskSlotValid(uint32_t zone, uint32_t slot);
BF_API uint32_t hdd_Isdiskslotvalid(uint32_t zone, uint32_t slot);
BF_API uint32_t _is_front_zone_slot_valid(uint32_t slot);
/* 2 for slots 30 and 31, else 0; the first argument is not looked at. */
BF_API int32_t GetDiskZone(uint32_t ignored, uint32_t slot);
/* Writes zone 0 and the slot's low byte. */
BF_API int32_t HDD_VerifyDiskPosition(uint32_t slot, uint8_t *zone, uint8_t *out_slot);
BF_API uint32_t ConvertSensorDeviceIDtoDiskZone(uint32_t id);                     /* 0 */
BF_API uint32_t ConvertSensorDeviceIDtoDiskSlot(uint32_t id);                     /* id */
BF_API uint32_t ConvertSensorDeviceIDtfromDiskinfo(uint32_t zone, uint32_t slot); /* slot */
BF_API uint32_t FixDiskSilk(uint32_t slot);                                       /* slot */

/* ---- custom disk locations ----
 *
 * Labels of the run-time file /var/custom_location_config.ini. It is read once in the life of a
 * process, under semaphore 12306; a missing file is looked for again. No hardware access.
 */

/* The relabelled disks, in the order of their own zones and disks. 264 bytes. */
typedef struct CustomDiskConfig {
    uint32_t valid; /* 1 when there is at least one */
    uint32_t count; /* 0..64 */
    SlotEntry entries[64];
} CustomDiskConfig;
BF_ASSERT_SIZE(CustomDiskConfig, 264);

/* Fills *config; without a file only its valid word, with 0. Disks beyond 64 are left out. -1:
 * null, the lock cannot be taken or given back, or the file cannot be loaded. */
BF_API int32_t HDD_COM_GetCustomConfig(CustomDiskConfig *config);
/* Writes the board's own zone and disk of a custom label: those of the first disk that carries it,
 * the label itself when none does. -1: null, or the labels cannot be read; the outputs then are the
 * label (nothing is written for a null). */
BF_API int32_t HDD_COM_CustomSliktoVelSlik(uint8_t *zone, uint8_t *slot, uint32_t custom_zone,
                                           uint32_t custom_slot);
/* 1 when a file cannot be examined (a null path included) or is too small to hold a label, 9 bytes;
 * else 0. */
BF_API int32_t HDD_COM_IsfileInvalid(const char *path);

/* ---- comparing disk topologies ---- */

/* Two lists of backplane ids, each a count and that many ids. 0 alike, 4 the counts differ, 5 the
 * ids differ, -1 null. Alike is judged by the number of equal pairs, so repeated ids can hide a
 * difference. */
BF_API int32_t HarddiskBackIdMatch(const uint32_t *first, const uint32_t *second);
/* Two RAID-card summaries: seven words, of which the last four are the counts of expanders, of
 * IR-mode, MR-mode and PMC cards. 0 alike, 6..9 for the first of these that differs, -1 null. */
BF_API int32_t HarddiskRaidCardMatch(const uint32_t *first, const uint32_t *second);
/* 3: models are not compared on this board. -1 null. */
BF_API int32_t HarddiskModelMatch(const void *first, const void *second);

/* ---- facts of the board ---- */

/* A row of the disk-power table. 40 bytes. */
typedef struct HddPowerRow {
    uint32_t board_id;
    uint32_t reserved[2];
    uint32_t epld_register;
    uint32_t reserved2[2];
    char signal[16]; /* NUL-padded */
} HddPowerRow;
BF_ASSERT_SIZE(HddPowerRow, 40);

/* Hands out the table (HddPowerRow) and its length, 6. */
BF_API int32_t GetHDDPowerTable(const void **table, uint32_t *count);
/* Writes five words: 4, and the EPLD registers of the disk SGPIO signals. */
BF_API int32_t GetHddSgpioEpldInfo(uint32_t out[5]);
/* Writes the first backplane connector's card key, 5, and the number of them, 7. -1 and a message
 * when either is null. */
BF_API int32_t GetHDDSlot(uint32_t *back_panel_slot, uint32_t *disk_back_panel_count);
/* 1 when connector 10 holds the `Fell` backplane, else 0. Two identifier reads until the answer was
 * 1 once, none afterwards. */
BF_API int32_t IsFellBoard(void);

BF_API int32_t IsDirectHdLocLecSupported(void);   /* 1 */
BF_API int32_t supportAllU2NVMeListInfoIfc(void); /* 1 */
BF_API int32_t IfSupportItFun(void);              /* 1 */
BF_API int32_t IfSupportPmcFun(void);             /* 1 */
BF_API int32_t isDiskPresentAlarmBySensor(void);  /* 1 */
BF_API int32_t HDD_AutoProbeSupport(void);        /* 1 */
BF_API int32_t GetDiskBackPanelSlotId(void);      /* 0 */
BF_API int32_t IsHDDWithoutHardPresent(void);     /* 0 */
BF_API int32_t HDD_ModelMatchSupport(void);       /* 0 */
BF_API int32_t HDD_PdMissingDefaultStatus(void);  /* 0 */
BF_API int32_t SupportServiceMoveOutInform(void); /* 0 */
BF_API int32_t isHandleRearHddSensor(void);       /* 0 */
BF_API int32_t supportAMDProcess(void);           /* 0 */
BF_API int32_t HDD_SensorStatusSupport(void);     /* 0 */
BF_API int32_t getBPRCPresentInfo(void);          /* -1 */

BF_EXTERN_C_END

#endif
