/* PCIe identification: how a newly probed configuration takes effect, and what helps to look into
 * it: log files, flag files and printers of its lists. No hardware access anywhere.
 */
#ifndef BOARDFEATURES_PCIEID_SETTINGS_H
#define BOARDFEATURES_PCIEID_SETTINGS_H

#include "boardfeatures/abi.h"
#include "boardfeatures/pcieid.h"
#include "boardfeatures/pcieid_enum.h"

BF_EXTERN_C_BEGIN

/* ---- the effect mode ----
 * One of two letters, kept in /conf/vel/pcieidcfg.ini, which must exist, and mirrored for all
 * processes in a 4-byte segment under key 4123. The first use in each process copies the file into
 * the segment, so a file edited by hand counts from the next process's start on. Each use waits up
 * to 10 s for the semaphore 12309 and goes on without it after that. */

#define PCIEID_EFFECT_AUTOMATIC 0x41u   /* 'A' */
#define PCIEID_EFFECT_INTELLIGENT 0x49u /* 'I', the default */

/* Copies the file into the segment when this process has not done so yet. Always 0. */
BF_API int32_t pcieidcfg_ini_init(void);
/* The mode in the segment. When *mode is neither letter afterwards, it is answered as it is, and
 * file and segment are set to the default.
 * 0, or -1: null, the segment cannot be had (*mode is untouched then). */
BF_API int32_t pcieidcfg_get_effect_mode(uint32_t *mode);
/* Stores the mode in segment and file and flushes the file systems.
 * 0; -1: neither letter, the file cannot be loaded (the segment has the mode then). A file that is
 * loaded but cannot be saved is logged only. */
BF_API int32_t pcieidcfg_set_effect_mode(uint32_t mode);

/* ---- log files ---- */

#define XLOG_TIME 1u   /* local time, "2024-05-06 07:08:09.012345 " */
#define XLOG_THREAD 2u /* "[process.thread] " */
#define XLOG_COLON 4u  /* ": " */

/* Appends a message to a file, behind what `flags` ask for in this order. The file is opened and
 * closed each time and no lock is taken. 0; -1: null, the file cannot be opened (the reason is
 * printed on standard output). */
BF_API int32_t xlog(const char *path, uint32_t flags, const char *format, ...) BP_PRINTF(3, 4);

/* ---- flag files: they exist or not ---- */

/* 1 when the file exists, else 0, also for a null. */
BF_API int32_t is_flag_set(const char *path);
/* The same, and removes the file: a flag fires once. */
BF_API int32_t is_flag_set_single_trigger(const char *path);
/* Creates the file when there is none. 0 when it exists afterwards; -1: null, it cannot be created
 * (logged). */
BF_API int32_t set_flag(const char *path);

/* ---- printers ----
 * All lines go to the platform's information log. Nothing is printed for a null. Counts are printed
 * as they stand, entries up to what the list holds. */

BF_API void show_pcie(const char *title, const pciecfg_list *list);
BF_API void show_pcieitem(const pciecfg_item *item);
BF_API void show_slimlines(const slimline_list *list);
BF_API void show_slimlineitem(const slimline_item *item);
BF_API void show_bpdevs(const bpdev_list *list);
BF_API void show_bpdevitem(const bpdev_item *device);
/* `index` is the uplink's or the down slot's place in its device. */
BF_API void show_bindslm(uint32_t index, const bpdev_uplink *uplink);
BF_API void show_endslot(uint32_t index, const bpdev_downslot *slot);

BF_EXTERN_C_END

#endif
