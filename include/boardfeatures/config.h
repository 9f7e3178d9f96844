/* Settings that survive a restart, in configuration files under /conf, and the alarm codes that are
 * not reported, which all processes share.
 *
 * Results are 0, or -1: null pointer, lock not to be had, file not loaded or not saved. Outputs are
 * written only when the result is 0, unless a declaration says otherwise. A save rewrites the whole
 * file; a setting that the file lacks reads as its default. Functions that name a lock create and
 * take that System V semaphore with a wait of 2000 ms and give it back before they return; the
 * others rely on their callers. A save creates a missing file unless "must exist" is said. No
 * function accesses hardware.
 */
#ifndef BOARDFEATURES_CONFIG_H
#define BOARDFEATURES_CONFIG_H

#include "boardfeatures/abi.h"

BF_EXTERN_C_BEGIN

/* ---- network card display: /conf/vel/nicinfoflag.ini ---- */

/* Lock 12338. */
BF_API int32_t IPMI_SaveNICDisplayCfg(uint32_t flag);
/* Default 1, also when the file does not exist. No lock. */
BF_API int32_t IPMI_LoadNICDisplayCfg(uint32_t *flag);

/* ---- time: /conf/vel/rtc_config.ini (must exist) or a file that the caller names (must exist);
 * lock 12303 for all ---- */

/* Whether the clock chip holds UTC: 0 or 1, -1 for any other value. A successful save then also
 * releases semaphore 12294: the signal to the time-keeping process. */
BF_API int32_t IPMI_RTCConfig_SaveFile(uint32_t is_utc);
/* Default 1. */
BF_API int32_t IPMI_RTCConfig_LoadFile(uint8_t *is_utc);
/* The stored time in seconds and the flag; -1 when the time was never set (0). */
BF_API int32_t IPMI_UtcTimeConfig_LoadFile(uint32_t *utc, uint8_t *is_utc);
/* Stores a time in seconds in the named file. */
BF_API int32_t IPMI_UtcTimeAllConfig_SaveFile(uint32_t utc, const char *path);
/* Advances the time stored in the named file by delta seconds and gives the sum; -1 and no save
 * when the time was never set (0). */
BF_API int32_t IPMI_UtcTimeAddConfig_SaveFile(uint32_t delta, uint32_t *new_utc, const char *path);
/* The time stored in the named file; -1 when the file is empty or the time was never set (0). */
BF_API int32_t GetTimeStampFromRtc(uint32_t *utc, const char *path);
/* 1 when a first line can be read, 0 when the file is empty, -1 for a null and a file that cannot
 * be opened. No lock. */
BF_API int32_t isRtcConfFileHaveValue(const char *path);

/* ---- fan-tray serial numbers: /conf/vel/fanvarinfo; lock 12305 ---- */

/* The serial number is cut to 63 characters; length is stored as it is given. */
BF_API int32_t IPMI_SaveFantraySN(uint32_t tray, const char *serial, uint32_t length);
/* At most 63 characters and a NUL; default "20150305" and length 0. */
BF_API int32_t IPMI_LoadFantraySN(uint32_t tray, char serial[64], uint8_t *length);
/* Deletes what is stored of a tray; 0 also when there was nothing. */
BF_API int32_t IPMI_DelFantraySN(uint32_t tray);

/* ---- thresholds; no lock, the files must exist ---- */

/* /conf/vel/pch_temp_threshold.ini. values: setmask, upper non-recoverable, upper critical and
 * upper non-critical of the PCH, then the same of the memory. Defaults 24, 0, 110, 105 and 24, 0,
 * 90, 85; a stored value of 255 or more leaves the caller's byte as it is. */
BF_API int32_t IPMI_SaveTempThreshold(const uint8_t values[8]);
BF_API int32_t IPMI_LoadTempThreshold(uint8_t values[8]);
/* /conf/vel/sensor_threshold.ini, a section a sensor. values: upper non-recoverable, upper
 * critical, upper non-critical, lower non-recoverable, lower critical, lower non-critical. The
 * defaults are the caller's; a stored value of 256 or more leaves the caller's byte as it is. */
BF_API int32_t IPMI_SaveSensorThreshold(const char *section, const uint8_t values[6]);
BF_API int32_t IPMI_LoadSensorThreshold(const char *section, const uint8_t defaults[6],
                                        uint8_t values[6]);
/* /conf/BMC1/ThermalProtectCfg.ini: liquid leakage. Bytes, defaults 0. */
BF_API int32_t IPMI_SaveLiquidLeakageCfg(uint32_t time, uint32_t mode, uint32_t log);
BF_API int32_t IPMI_LoadLiquidLeakageCfg(uint8_t *time, uint8_t *mode, uint8_t *log);

/* ---- switches: /conf/vel/featureCfgSw.ini; no lock ---- */

BF_API int32_t IPMI_LoadPowerFaultSwitch(uint32_t *value);  /* default 1 */
BF_API int32_t IPMI_LoadMemPrefaultSwitch(uint32_t *value); /* default 0 */

/* ---- BMC time stamp: /conf/vel/bmctimestamp; lock 12340 ---- */

BF_API int32_t IPMI_SaveBMCTimeStamp(uint32_t stamp);
BF_API int32_t IPMI_LoadBMCTimeStamp(uint32_t *stamp); /* default 0 */

/* ---- available memory ---- */

/* The kernel's estimate of available memory in MiB; -1 when /proc/meminfo cannot be read or does
 * not say. */
BF_API int32_t IPMI_GetAvailableMem(void);
/* How low that is: 2 below the second threshold, 1 below the first, 0 otherwise. The thresholds are
 * in /conf/vel/monitor_cfg.ini (must exist), defaults 78 and 40 MiB. -1 when it cannot be loaded.
 */
BF_API int32_t IPMI_GetAvailableMemStatus(int32_t available_mib);

/* ---- alarms: /conf/vel/alarmpolicy; the file has no lock ---- */

BF_API int32_t IPMI_SaveAlarmReportPolicy(uint32_t policy);
BF_API int32_t IPMI_LoadAlarmReportPolicy(uint8_t *policy); /* default 0 */

#define BF_ALARM_DISABLE_CODES 128

/* The alarm codes that are not reported, in list order; empty places are 0. The segment of key 4138
 * holds one; the semaphore of the same key guards it (wait 500 ms). 256 bytes. */
typedef struct AlarmDisableCodeInfo {
    uint16_t AlarmDisbleCode[BF_ALARM_DISABLE_CODES];
} AlarmDisableCodeInfo;
BF_ASSERT_SIZE(AlarmDisableCodeInfo, 256);

/* An alarm that is disabled at the first start. 34 bytes. */
typedef struct DefaultDisabledAlarm {
    uint16_t code;
    char name[32];
} DefaultDisabledAlarm;
BF_ASSERT_SIZE(DefaultDisabledAlarm, 34);

/* Where this process sees the segment; mapped on first use. */
BF_API extern AlarmDisableCodeInfo *g_AlarmDisbleCodeInfoAddr;
/* This process's copy of the list, from which the segment is written. */
BF_API extern uint16_t g_AlarmDisbleCode[BF_ALARM_DISABLE_CODES];
BF_API extern const DefaultDisabledAlarm g_disabled_alarm[5];
BF_API extern const uint32_t g_disabled_alarm_cnt;

/* Creates or attaches the segment and empties the list in it. */
BF_API int32_t VEL_CreateAlarmDisableCodeInfoShmAddr(void);
/* Copies g_AlarmDisbleCode into the segment; -1 also when there is no segment. */
BF_API int32_t SetAlarmDisableCodeInfo(void);
/* Copies the segment's list out; -1 also when there is no segment. */
BF_API int32_t GetAlarmDisableCodeInfo(AlarmDisableCodeInfo *list);
/* Adds (disable 1) or removes (disable 0) a code in file, process copy and segment. A full list
 * drops a further code silently. A failing segment does not change the result. The code of a
 * default-disabled alarm is marked as the user's own choice. -1 for a code above 65535. */
BF_API int32_t IPMI_SaveAlarmReportDisable(uint32_t code, uint32_t disable);
/* Reloads g_AlarmDisbleCode from the file and copies it into the segment, which keeps its list when
 * the file has none. A failing segment does not change the result. */
BF_API int32_t IPMI_LoadAlarmReportDisable(void);
/* Whether a default-disabled alarm was disabled once: its flag, default 0. */
BF_API int32_t Get_DisabledFlag(const char *name);
/* Reloads the list; 1 when the alarm report policy is not 0, else 0. */
BF_API int32_t IsNeedAlarmReReport(void);
/* At start: makes the segment, disables the default-disabled alarms that never were, loads the
 * list. */
BF_API int32_t loadAlarmReportDisable(void);

/* ---- customer's disk labels: /conf/vel/custom_location_config.ini; lock 12306 ---- */

/* What the customer calls the disk that the board calls zone and disk. 4 bytes. */
typedef struct SlotEntry {
    uint8_t origin_zone;
    uint8_t origin_disk;
    uint8_t custom_zone; /* 255: none */
    uint8_t custom_silk; /* 255: none */
} SlotEntry;
BF_ASSERT_SIZE(SlotEntry, 4);

/* Each label of the disk that is set; an output without a label stays as it is. */
BF_API int32_t IPMI_LoadCustomSlotConfig(uint32_t zone, uint32_t disk, uint8_t *custom_zone,
                                         uint8_t *custom_silk);
/* options are six bytes; the last says 1 set, otherwise delete. Setting is refused when another
 * disk of zones 0..3 has the first entry's labels. */
BF_API int32_t IPMI_SaveCustomSlotConfig(uint32_t count, const SlotEntry *entries,
                                         const uint8_t *options);
/* Replaces a slot number by the customer's, where there is one. */
BF_API void vel_CustomSlotConversion(uint8_t *slot);

/* ---- customer's PCH disk labels: /conf/vel/custom_pchdisk_config.ini; lock 12325 ---- */

/* A disk at the platform controller hub: its place, then its labels. 64 bytes. */
typedef struct PchDiskRecord {
    uint32_t cpu;
    uint32_t segment;
    uint32_t bus;
    uint32_t device;
    uint32_t function;
    uint32_t port;
    uint32_t slot; /* default 255: none */
    char silk[33]; /* 1 to 32 printable ASCII characters; default empty: none */
    uint8_t padding[3];
} PchDiskRecord;
BF_ASSERT_SIZE(PchDiskRecord, 64);

/* Which label of a PCH disk. */
enum { PCH_DISK_SLOT = 0, PCH_DISK_SILK = 1 };

/* Reads one label into the record; -1 for any other `which`. */
BF_API int32_t IPMI_LoadCustomPchDiskConfig(PchDiskRecord *record, uint32_t which);
/* Stores (set 1) or deletes (set 0) one label; -1 for any other `which` or `set` and for an invalid
 * silk text. Deleting a label that is not there saves nothing and returns 0. */
BF_API int32_t IPMI_SaveCustomPchDiskConfig(const PchDiskRecord *record, uint32_t which,
                                            uint32_t set);

/* ---- customer information and identity: /conf/vel/custominfo; lock 12306 ---- */

/* Kinds 0 and 5 hold one text each, kind 3 one an index. The text is cut to 255 characters; length
 * is stored as it is given. Any other kind stores nothing and rewrites the file. */
BF_API int32_t IPMI_SaveCustomInfo(uint32_t kind, uint32_t index, const char *text,
                                   uint32_t length);
/* Defaults: empty, 0. -1 for any other kind. */
BF_API int32_t IPMI_LoadCustomInfo(uint32_t kind, uint32_t index, char text[256], uint32_t *length);
/* Chooses customer 0..19; -1 above. */
BF_API int32_t IPMI_SaveCustomID(uint32_t index);
/* The customer's index and text (at most 63 characters and a NUL); defaults 0 and "VEL". What was
 * read is written back, so that a missing section appears; a failing write does not change the
 * result. */
BF_API int32_t IPMI_LoadCustomID(uint32_t *index, char text[64]);

BF_EXTERN_C_END

#endif
