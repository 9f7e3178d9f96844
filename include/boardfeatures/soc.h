/* The management SoC: why it came out of reset, how the video memory is strapped, and whether the
 * front power button is shielded.
 */
#ifndef BOARDFEATURES_SOC_H
#define BOARDFEATURES_SOC_H

#include "boardfeatures/abi.h"

BF_EXTERN_C_BEGIN

/* ---- reset status ----
 * The reset-status register is read and cleared once a boot. What it held stays in a 4-byte segment
 * under key 4129, where it outlives the process; 0 means not captured yet. Each access waits up to
 * 500 ms for the semaphore of the same key and goes on without it after that. */

#define BF_SOC_RESET_STATUS_KEY 4129

/* Makes the segment, holding 0, when there is none. 0, or -1: it cannot be created or attached (in
 * the second case the semaphore stays locked until this process ends). No hardware access. */
BF_API int32_t SCU3CInfoShmCreate(void);
/* The stored value. The segment is attached on first use and stays so.
 * 0, or -1: null, the segment cannot be attached. No hardware access. */
BF_API int32_t ReadSCU3CInfoFromShm(uint32_t *value);
BF_API int32_t WriteSCU3CInfoInShm(uint32_t value);
/* The reset-status register as this boot left it, 0 when it cannot be obtained. The first call of a
 * boot, in whichever process, reads the register, clears it under the protection register's
 * key and reads it again (two reads, three writes; one read when that fails); once it was not 0,
 * later calls make no hardware access. A failure is logged and printed on standard output. */
BF_API uint32_t VEL_readSCU3C(void);
/* 1 when this boot began with AC power coming on, else 0. As VEL_readSCU3C. */
BF_API int32_t VEL_PDKIsACPowerOn(void);

/* ---- video memory ---- */

/* The strap that selects the video memory's size: 1 = 16 MB, 3 = 64 MB, 0 and 2 are not supported
 * by the board. 0, or -1: null, /dev/mem cannot be opened or mapped. The first call that succeeds
 * reads /dev/mem, later ones answer from memory. */
BF_API int32_t GetVGAMemSizeSelection(uint32_t *selection);
/* The physical base address of region 0..4 for the strapped size. 0, or -1: null, no such region,
 * an unsupported or unreadable strap. */
BF_API int32_t GetBmcMemBasePhyAddr(int32_t index, uint32_t *address);
/* 1 with 16 MB, 2 with 64 MB of video memory, -1 otherwise. */
BF_API int32_t GetBmcMemType(void);

/* The board switches no VGA output. */
BF_API int32_t GetVGASwitchValue(void);            /* 128 */
BF_API int32_t SetVGASwitchValue(void);            /* 128 */
BF_API int32_t InitVGASwitchValue(uint32_t value); /* the value */

/* ---- front power button ----
 * Kept in /conf/shieldpowerbuttonstate.conf, which must exist. */

/* 1 when the power button is shielded, else 0; 1 also when the file cannot be loaded, lacks the
 * entry or holds another number. One file read. */
BF_API int32_t GetShieldPowerButtonStatus(void);
/* Stores 0 or 1. 0, or -1: the file cannot be loaded or saved, or the flag is above 1 (the file is
 * left alone). One file read and one rewrite. */
BF_API int32_t SetShieldPowerButtonStatus(uint32_t flag);

BF_EXTERN_C_END

#endif
