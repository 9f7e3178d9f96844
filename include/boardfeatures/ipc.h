/* Shared memory and semaphores: what several processes share, and how they take turns.
 *
 * Segments and semaphore sets are named by a System V key that the caller chooses. Every set holds
 * one semaphore that starts at 1, so it is a lock between processes. Nothing is cached: each call
 * looks the key up again. Segments and semaphores live until a release function removes them.
 *
 * Functions that answer an id answer a result code in its place when they fail; ids are never
 * negative as int32_t, all codes are. No hardware access anywhere.
 */
#ifndef BOARDFEATURES_IPC_H
#define BOARDFEATURES_IPC_H

#include <semaphore.h>

#include "boardfeatures/abi.h"

BF_EXTERN_C_BEGIN

/* Result codes. */
#define OAL_OK 0u
#define OAL_ERR_ARGUMENT 0x80108004u   /* null, or a range that does not fit the segment */
#define OAL_MEM_EXISTED 0x80108201u    /* the memory resource was there: its address is valid */
#define OAL_ERR_NO_SHM 0x80108202u     /* no segment under this key */
#define OAL_ERR_SHM_CREATE 0x80108203u /* the segment could not be created */
#define OAL_ERR_SHM_STATUS 0x80108204u /* the segment could not be queried */
#define OAL_ERR_SHM_DETACH 0x80108206u /* the segment could not be detached */
#define OAL_ERR_NO_SEM 0x80108302u     /* no semaphore under this key */
#define OAL_ERR_SEM_CREATE 0x80108303u /* the semaphore or memory resource could not be created */
#define OAL_ERR_SEM_LOCK 0x80108304u   /* not locked: it failed or the time is over */
#define OAL_ERR_SEM_UNLOCK 0x80108305u /* not unlocked */

/* Time-outs of the System V locks are milliseconds but for two values. */
#define OAL_NO_WAIT 0u
#define OAL_WAIT_FOREVER 65535u

/* ---- semaphores ---- */

/* 1 when a set exists under the key, else 0. */
BF_API int32_t OAL_SemIsExist(int32_t key);
/* The id of the key's set, which is created with its semaphore at 1 when there is none (permissions
 * 0666). OAL_ERR_SEM_CREATE when it cannot be created, also when another process is just faster;
 * all bits set when an existing set cannot be looked up. */
BF_API uint32_t OAL_SemCreate(int32_t key);
/* Removes the key's set. 0, also when there is none; -1 when it cannot be looked up or removed. */
BF_API int32_t OAL_SemRelease(int32_t key);

/* Lock and unlock. The kernel gives a lock back when the process that holds it dies. Locks are not
 * recursive. timeout_ms: OAL_NO_WAIT, OAL_WAIT_FOREVER or milliseconds. A wait that a signal
 * interrupts starts again, and a timed one then waits longer by its whole time-out each time.
 * OAL_OK; OAL_ERR_NO_SEM (by key only); OAL_ERR_SEM_LOCK or OAL_ERR_SEM_UNLOCK. */
BF_API uint32_t OAL_SemLockByKey(int32_t key, uint32_t timeout_ms);
BF_API uint32_t OAL_SemUnLockByKey(int32_t key, uint32_t timeout_ms);
BF_API uint32_t OAL_SemLockBySemId(uint32_t sem_id, uint32_t timeout_ms);
BF_API uint32_t OAL_SemUnLockBySemId(uint32_t sem_id, uint32_t timeout_ms);

/* ---- segments and memory resources: a segment and a set under one key ---- */

/* 1 when a segment exists under the key, else 0. */
BF_API int32_t OAL_ShmIsExist(int32_t key);
/* The id of the key's segment, whatever its size. When there is none, it is created with `size`
 * bytes (permissions 0666), and the semaphore with it. OAL_ERR_SHM_CREATE; OAL_ERR_SEM_CREATE when
 * the semaphore fails (the segment is removed again); all bits set when an existing segment cannot
 * be looked up. The two functions are the same. */
BF_API uint32_t OAL_ShmCreate(int32_t key, uint32_t size);
BF_API uint32_t OAL_CreatMemResource(int32_t key, uint32_t size);
/* Creates segment and semaphore, attaches the segment, zeroes its `size` bytes and hands out its
 * address, which the caller gives back with OAL_PutMemResourceAddr. OAL_OK; OAL_MEM_EXISTED when
 * the segment was there (it is attached, its content and semaphore are left alone);
 * OAL_ERR_SEM_CREATE with a null address when anything fails; OAL_ERR_ARGUMENT for a null. When the
 * new segment cannot be attached it is removed, its semaphore normally stays. */
BF_API uint32_t OAL_CreatMemResource1(int32_t key, uint32_t size, void **address);
/* Removes the key's segment, then its semaphore. 0, also when there is no segment (the semaphore is
 * left alone then); -1 when one cannot be looked up (the segment's look-up prints why on standard
 * output) or removed. The two functions are the same but for the name they print. */
BF_API int32_t OAL_ShmRelease(int32_t key);
BF_API int32_t OAL_DestoryMemResource(int32_t key);

/* Copies `length` bytes out of or into the segment at `offset`, under the key's semaphore, which is
 * waited for without limit. A process that dies inside leaves the semaphore locked until someone
 * unlocks it. A segment that cannot be attached is not noticed: OAL_OK, and nothing is copied.
 * OAL_OK; OAL_ERR_ARGUMENT (null, or offset + length beyond the segment); OAL_ERR_NO_SHM;
 * OAL_ERR_NO_SEM; OAL_ERR_SHM_STATUS; OAL_ERR_SEM_LOCK, also when a signal interrupts the wait;
 * OAL_ERR_SEM_UNLOCK after the copy. */
BF_API uint32_t OAL_ShmRead(int32_t key, void *buffer, uint32_t length, uint32_t offset);
BF_API uint32_t OAL_ShmWrite(int32_t key, void *buffer, uint32_t length, uint32_t offset);

/* Lock and unlock without waiting and without being given back when the process dies.
 * OAL_OK; OAL_ERR_NO_SEM; OAL_ERR_SEM_LOCK (it is held, or failed); OAL_ERR_SEM_UNLOCK. */
BF_API uint32_t OAL_LockMemResource(int32_t key);
BF_API uint32_t OAL_UnLockMemResource(int32_t key);

/* A new attachment of the key's segment, read-write; null when there is none or it fails. Each one
 * is given back with OAL_PutMemResourceAddr. */
BF_API void *OAL_GetMemResourceAddr(int32_t key);
/* OAL_OK; OAL_ERR_NO_SHM; then OAL_ERR_ARGUMENT for a null; OAL_ERR_SHM_DETACH. */
BF_API uint32_t OAL_PutMemResourceAddr(int32_t key, void *address);

/* ---- POSIX named semaphores ---- */

/* The semaphore `name`, created with permissions 0666 and `value` when there is none; an existing
 * one keeps its value. Null for a null name or a negative value (no system call), and when it
 * cannot be opened: then the reason is printed on standard output and is in errno. */
BF_API sem_t *OAL_PosixSemOpen(const char *name, int32_t value);
/* 0; -1 for a null, or when it fails: the reason is printed and is in errno. */
BF_API int32_t OAL_PosixSemClose(sem_t *handle);
BF_API int32_t OAL_PosixSemDelete(const char *name);
/* Takes one. seconds: 0 does not wait, -1 waits without limit, others wait that long; a wait that a
 * signal interrupts starts again from the full time. 0, or -1: null, time over, failure (errno). */
BF_API int32_t OAL_PosixSemWait(sem_t *handle, int32_t seconds);
/* Gives one. 0, or -1 (errno but for a null). */
BF_API int32_t OAL_PosixSemPost(sem_t *handle);

/* What the five above call. */
BF_API sem_t *posix_sem_open(const char *name, int32_t value);
BF_API int32_t posix_sem_close(sem_t *handle);
BF_API int32_t posix_sem_unlink(const char *name);
BF_API int32_t posix_sem_wait(sem_t *handle, int32_t seconds);
BF_API int32_t posix_sem_post(sem_t *handle);

BF_EXTERN_C_END

#endif
