/* Threads, sleeping, log files and small utilities of the process. */
#ifndef BOARDFEATURES_PROCESS_H
#define BOARDFEATURES_PROCESS_H

#include "boardfeatures/abi.h"

BF_EXTERN_C_BEGIN

/* ---- threads ---- */

typedef uint32_t (*OalThreadEntry)(uint32_t argument);

#define OAL_THREAD_NAME_SIZE 32
#define OAL_MIN_THREAD_STACK 16384u /* bytes */

/* What a new thread is told; made by the creator, freed by the thread. 60 bytes everywhere. */
typedef struct BF_PACKED_4 OalThreadStart {
    OalThreadEntry entry; /* may be null */
    uint32_t argument;
    char name[OAL_THREAD_NAME_SIZE];
    uint32_t thread_id; /* filled in by the thread in its own copy */
    uint8_t reserved[60 - sizeof(OalThreadEntry) - 4 - OAL_THREAD_NAME_SIZE - 4];
} OalThreadStart;
BF_ASSERT_SIZE(OalThreadStart, 60);

/* Starts a detached real-time (SCHED_FIFO) thread. The stack is OAL_MIN_THREAD_STACK at least; the
 * kernel keeps the first 15 characters of the name. *id, which may be null, is the low 32 bits of
 * the thread's handle. 0; pthread_create's error (the process needs the right to real-time
 * priorities); -1 for a null name and when memory runs out. */
BF_API int32_t oal_create_thread(const char *name, int32_t priority, uint32_t stack,
                                 OalThreadEntry entry, uint32_t argument, uint32_t *id);
BF_API int32_t OAL_CreateTask(const char *name, int32_t priority, uint32_t stack,
                              OalThreadEntry entry, uint32_t argument, uint32_t *id);
/* The start routine of every thread made here; the record is an OalThreadStart from malloc. */
BF_API void *oal_thread_entry(void *record);

/* ---- sleeping: not cut short by signals ---- */

/* At most one second a call. 0, or the errno of a failed sleep. */
BF_API int32_t OAL_MSleep(uint32_t milliseconds);
/* 0, or -1. */
BF_API int32_t OAL_USleep(uint32_t microseconds);
/* 0; the seconds left when sleeping fails. libc tells whole seconds, so that each signal can take
 * away up to one. */
BF_API int32_t OAL_Sleep(uint32_t seconds);
/* The same once, with the clock before and after on standard output. */
BF_API int32_t OAL_MSleepTest(uint32_t milliseconds);
BF_API int32_t OAL_USleepTest(uint32_t microseconds);

/* ---- log files ---- */

/* Prefixes of a line, in this order. */
#define OAL_LOG_TIME 1u  /* local time, "YYYY-MM-DD hh:mm:ss " */
#define OAL_LOG_PID 2u   /* "[pid] " */
#define OAL_LOG_COLON 4u /* ": " */

/* Appends a line to a file: prefixes, message, newline. 0, or -1 for a null and when the file
 * cannot be opened (with a line on standard error). One file opened and closed. */
BF_API int32_t OAL_Log2File(const char *path, uint32_t flags, const char *format, ...)
    BP_PRINTF(3, 4);
/* Write benchmark: count + 1 lines to the path and twice to /var/demo2, with the clock on standard
 * output. A negative count only prints the headers. 0, or -1 for a null. */
BF_API int32_t OAL_Log2FileTest(const char *path, int32_t count);

/* Appends a line to the operation log, /extlog/unified_log/operation_log.log: local time, "| ",
 * message, and a newline unless the message ends with one; 1,023 bytes at most, then trims the log.
 * 0, or -1 for a null and when folder or file cannot be had (with a debug line). */
BF_API int32_t Unified_Operation_Log2File(const char *format, ...) BP_PRINTF(1, 2);
/* Drops the first 3,000 lines of an operation log of 2 MiB or more. Not locked: what another
 * process appends in the meantime can be lost, and when two processes trim at once, the log
 * (docs/operation-log.md). */
BF_API void Unified_Check_OperationLog(void);

/* ---- utilities ---- */

/* Prints the CPU usage every second; returns only when /proc/stat cannot be opened. */
BF_API void vel_CpuUsage(void);
/* Upper-cases a text in place, by the C locale. A debug line for a null. */
BF_API void to_upper_case(char *text);
/* Writes a text to a file; the option goes to vel_fopen_s. 0, or -1 with a debug line: null, file
 * not opened, failed write. */
BF_API int32_t write_json_file(uint32_t option, const char *path, const char *text);

BF_EXTERN_C_END

#endif
