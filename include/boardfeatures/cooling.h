/* Cooling policy: fan limits, curves, PID parameters, fan maps and presence, liquid cooling.
 *
 * The machine has two configurations. `Fell` is recognised by the cards in positions 10 and 11, the
 * other is plain `Tarn`. A getter that says "looks the configuration up" reads the two board
 * identifiers (two identifier reads) until either position has answered or 20 look-ups of the
 * process, over all getters, found neither; from then on it reads nothing. Once recognised, `Fell`
 * holds for the life of the process.
 *
 * Getters that fill a buffer return 0 unless said otherwise, and -1 without any access for a null.
 */
#ifndef BOARDFEATURES_COOLING_H
#define BOARDFEATURES_COOLING_H

#include "boardfeatures/abi.h"

BF_EXTERN_C_BEGIN

/* ---- the configuration as it is known to this process ---- */

BF_API extern uint16_t g_wSubCardID_SLOT10;   /* board id of the card in position 10; 0 unknown */
BF_API extern uint16_t g_wSubCardID_SLOT11;   /* board id of the card in position 11; 0 unknown */
BF_API extern uint32_t g_dwGetNoBoardIDTimes; /* look-ups in which neither position answered */
BF_API extern uint8_t g_bIsFell;              /* 1 once `Fell` was recognised; never cleared */

/* ---- records ---- */

/* Fan types: 7 has a single rotor a module, 8 has two. */
enum { FAN_TYPE_SINGLE_ROTOR = 7, FAN_TYPE_DUAL_ROTOR = 8 };

#define FAN_LIST_SIZE 10         /* bytes of a curve: eight levels and two zeros */
#define FAN_COOLING_MODES 3      /* records that FAN_GetCoolingModeParaByHDbk may fill */
#define FAN_COOLING_MODES_MAX 30 /* records that FAN_GetCoolingMode may fill */
#define FAN_NO_TEMP_COMPONENTS_MAX 7
#define FAN_POWER_ROWS 101 /* PWM percent 0..100 */

/* PID coefficients and the cycle they are applied in. 32 bytes. */
typedef struct FanPidParas {
    double Kp;
    double Ki;
    double Kd;
    uint32_t dwPidCycle;
    uint32_t reserved; /* 0 */
} FanPidParas;
BF_ASSERT_SIZE(FanPidParas, 32);

typedef struct FanPidTriple {
    double Kp;
    double Ki;
    double Kd;
} FanPidTriple;
BF_ASSERT_SIZE(FanPidTriple, 24);

/* PID coefficients of three bands. 88 bytes. */
typedef struct FanGpuPidParas {
    FanPidTriple triple[3];
    uint32_t dwParamA;
    uint32_t dwParamB;
    uint32_t dwTargetTemp; /* degrees Celsius where dwParamA is 5 or 10 */
    uint32_t dwPidCycle;
} FanGpuPidParas;
BF_ASSERT_SIZE(FanGpuPidParas, 88);

/* The PWM curve of one cooling mode. 14 bytes. */
typedef struct CoolingModeRecord {
    uint8_t mode;        /* 0..2, also the record's place in a caller's array */
    uint8_t fan_type;    /* 7 or 8 */
    uint16_t hdbk_id;    /* backplane combination code of GetHDbkBoardId */
    uint8_t pwm[8];      /* PWM, 0..255, per level of FAN_GetIntemp */
    uint8_t reserved[2]; /* 0 */
} CoolingModeRecord;
BF_ASSERT_SIZE(CoolingModeRecord, 14);

/* A card without a temperature sensor. 8 bytes. */
typedef struct NoTempComponent {
    uint16_t vendor_id;
    uint16_t device_id;
    uint16_t subsystem_vendor_id;
    uint16_t subsystem_device_id;
} NoTempComponent;
BF_ASSERT_SIZE(NoTempComponent, 8);

/* Fan power at one PWM. 8 bytes. */
typedef struct FanPower {
    uint32_t pwm_percent;
    float watts;
} FanPower;
BF_ASSERT_SIZE(FanPower, 8);

/* Where a fan is and how it is controlled. 56 bytes. */
typedef struct FanRow {
    uint8_t fan_index;
    uint8_t pwm_index;
    uint8_t tach_number;
    uint8_t control_mode;
    uint8_t control_enabled; /* 1: the daemon controls this fan */
    char mark[15];           /* label, NUL-padded */
    uint8_t reserved[16];    /* 0 */
    char module[16];         /* NUL-padded */
    uint32_t slot_number;    /* fan tray, from 1 */
} FanRow;
BF_ASSERT_SIZE(FanRow, 56);

typedef struct FanIndexMap {
    FanRow rows[8];
} FanIndexMap;
BF_ASSERT_SIZE(FanIndexMap, 448);

typedef struct FanAllocationInfo {
    uint8_t bytes[136];
} FanAllocationInfo;
BF_ASSERT_SIZE(FanAllocationInfo, 136);

/* ---- limits and curves. Each looks the configuration up, unless said otherwise. The
 * FAN_GetShareMainbaord... functions are the family behind the getters: the same answers, without
 * clearing a record first. ---- */

/* Speed limits in RPM. fan_index 0..7; 0 for another, unless the fan type is 7. */
BF_API int32_t FAN_GetMinRPM(uint32_t fan_index, uint32_t fan_type);
BF_API int32_t FAN_GetShareMainbaordMinRpm(uint32_t fan_index, uint32_t fan_type);
BF_API int32_t FAN_GetMaxRPM(uint32_t fan_index, uint32_t fan_type);
BF_API int32_t FAN_GetShareMainbaordMaxRpm(uint32_t fan_index, uint32_t fan_type);
BF_API int32_t FAN_GetPulse(void); /* 1000 */
BF_API int32_t FAN_GetShareMainbaordPulseRpm(void);
BF_API int32_t FAN_GetMaxDownPwm(void); /* 0 */
BF_API int32_t FAN_GetShareMainbaordMaxDownPwm(void);
BF_API int32_t FAN_GetCallBackPwmByPower(void); /* 0 */
BF_API int32_t FAN_GetShareMainbaordCallBackPwmByPower(void);
/* PWM per power level: none on this board, all zero. */
BF_API int32_t FAN_GetPowerLstPwm(uint8_t pwm[FAN_LIST_SIZE]);
BF_API int32_t FAN_GetShareMainbaordPowerLstPwm(uint8_t pwm[FAN_LIST_SIZE]);
/* Power levels in watts, ascending. */
BF_API int32_t FAN_GetPowerLevel(uint16_t watts[5]);
BF_API int32_t FAN_GetShareMainbaordPowerLevel(uint16_t watts[5]);
/* Margin offsets in degrees Celsius. */
BF_API int32_t FAN_GetCPUTMarginOffset(uint8_t offset[3]);
BF_API int32_t FAN_GetShareMainbaordCPUTMarginOffset(uint8_t offset[3]);
BF_API int32_t FAN_GetOtherTMarginOffset(void); /* 3 */
BF_API int32_t FAN_GetShareMainbaordOtherTMarginOffset(void);
BF_API int32_t FAN_GetGPUTMarginBnry(void); /* 10 */
BF_API int32_t FAN_GetShareMainbaordGPUTMarginBnry(void);
BF_API int32_t FAN_GetCPUTime(void); /* 2 */
BF_API int32_t FAN_GetShareMainbaordCPUTime(void);
BF_API int32_t FAN_GetRAIDParas(void); /* 5 */
BF_API int32_t FAN_GetShareMainbaordRAIDParas(void);
BF_API int32_t FAN_GetGPUParas(void); /* 1 */
BF_API int32_t FAN_GetShareMainbaordGPUParas(void);
BF_API int32_t FAN_GetSmartNicParas(void); /* 1 */
BF_API int32_t FAN_GetShareMainbaordSmartNicParas(void);
BF_API int32_t FAN_GetAIAdapterParas(void); /* 0, no look-up */
BF_API int32_t FAN_GetMaxIntempLevel(void); /* 45 degrees Celsius */
BF_API int32_t FAN_GetShareMainbaordMaxIntempLevel(void);
BF_API int32_t FAN_GetIntempRevises(void); /* 0 */
BF_API int32_t FAN_GetShareMainbaordIntempRevises(void);

/* Cooling modes: how many records FAN_GetCoolingMode copies (30, on `Fell` 6), and the records.
 * FAN_GetCoolingMode clears one record first and needs room for FAN_COOLING_MODES_MAX. */
BF_API int32_t FAN_GetCoolingModeCnt(void);
BF_API int32_t FAN_GetShareMainbaordCoolingModeCnt(void);
BF_API int32_t FAN_GetCoolingMode(CoolingModeRecord *records);
BF_API int32_t FAN_GetShareMainbaordCoolingMode(CoolingModeRecord *records);
/* The records of one backplane combination (any, on `Fell`) and fan type, each at the place of its
 * mode. Clears the first record; places of modes without a record stay as they are otherwise.
 * 0, or -1 when there is no such record. */
BF_API int32_t FAN_GetCoolingModeParaByHDbk(uint32_t hdbk_id, uint32_t fan_type,
                                            CoolingModeRecord records[FAN_COOLING_MODES]);
BF_API int32_t FAN_GetShareMainbaordCoolingModeParaByHDbk(
    uint32_t hdbk_id, uint32_t fan_type, CoolingModeRecord records[FAN_COOLING_MODES]);

/* The fan type in a tray: 8 for a rear rotor (fan_index 4..7) when the flag's low byte is not 0,
 * else 7; 255 for another fan. FAN_GetFantype_Tarn makes no look-up. */
BF_API int32_t FAN_GetFantrayType(uint32_t flag, uint32_t fan_index);
BF_API int32_t FAN_GetShareMainbaordFantrayType(uint32_t flag, uint32_t fan_index);
BF_API int32_t FAN_GetFantype_Tarn(uint32_t flag, uint32_t fan_index);
/* The highest PWM of a fan type: 255, for type 8 220 until `Fell` was recognised. No look-up. */
BF_API int32_t FAN_GetMaxPwmFanType(uint32_t fan_type);
BF_API int32_t _FAN_GetShareMainbaordMaxPwmByFanType(uint32_t fan_type);

/* Inlet temperatures of the levels in degrees Celsius, the last (127) without limit. Returns 127.
 */
BF_API int32_t FAN_GetIntemp(uint8_t degrees[FAN_LIST_SIZE]);
/* PWM per inlet-temperature level. No look-up. */
BF_API int32_t FAN_GetIntempLstPwm(uint8_t pwm[FAN_LIST_SIZE]);
/* Curves of disk layouts that this board does not have: all zero. No look-up. */
BF_API int32_t FAN_GetIntempLstPwmOf36LargeTop(uint8_t pwm[FAN_LIST_SIZE]);
BF_API int32_t FAN_GetIntempLstPwmOf36LargeBottom(uint8_t pwm[FAN_LIST_SIZE]);
BF_API int32_t FAN_GetIntempLstPwmOf24LargeTop(uint8_t pwm[FAN_LIST_SIZE]);
BF_API int32_t FAN_GetIntempLstPwmOf24LargeBottom(uint8_t pwm[FAN_LIST_SIZE]);
BF_API int32_t FAN_GetIntempLstPwmOf9000RpmTop(uint8_t pwm[FAN_LIST_SIZE]);
BF_API int32_t FAN_GetIntempLstPwmOf9000RpmBottom(uint8_t pwm[FAN_LIST_SIZE]);

/* Thermal limits in degrees Celsius, the lower one first. No look-up. */
BF_API int32_t FAN_GetPCHThermalParams(uint8_t *low, uint8_t *high); /* 78, 90 */
BF_API int32_t FAN_GetMemThermalParams(uint8_t *low, uint8_t *high); /* 70, 80 */
/* The PWM to use when a disk's or an NVMe device's temperature cannot be read. No look-up. */
BF_API double FAN_GetHarddiskTempFailed(void); /* 178.0 */
BF_API double FAN_HarddiskTempAbGetMaxPwm(void);
BF_API double FAN_GetMaxPwmNvmeGetFailed(void); /* 178.0 */
BF_API double _FAN_GetMaxPwmByNvme(void);

/* ---- PID parameters ---- */

/* Each looks the configuration up and clears the record first. */
BF_API int32_t FAN_GetNvmePIDParas(FanPidParas *paras);
BF_API int32_t FAN_GetShareMainbaordNvmePIDParas(FanPidParas *paras);
BF_API int32_t FAN_GetCPULargePIDParas(FanPidParas *paras);
BF_API int32_t FAN_GetShareMainbaordCPULargePIDParas(FanPidParas *paras);
BF_API int32_t FAN_GetCPUSmallPIDParas(FanPidParas *paras);
BF_API int32_t FAN_GetShareMainbaordCPUSmallPIDParas(FanPidParas *paras);
BF_API int32_t FAN_GetOtherPIDParas(FanPidParas *paras);
BF_API int32_t FAN_GetShareMainbaordOtherPIDParas(FanPidParas *paras);
BF_API int32_t FAN_GetGpuPIDParas(FanPidParas *paras);
BF_API int32_t FAN_GetShareMainbaordGpuPIDParas(FanPidParas *paras);
BF_API int32_t FAN_GetGpuPIDForT4Paras(FanPidParas *paras);
BF_API int32_t FAN_GetShareMainbaordGpuPIDForT4Paras(FanPidParas *paras);

/* No look-up. */
BF_API int32_t FAN_GetNicPIDParas(FanPidParas *paras);
BF_API int32_t FAN_GetRaidPIDParas(FanPidParas *paras);
BF_API int32_t FAN_GetOptModPIDParas(FanPidParas *paras);
BF_API int32_t FAN_GetFcModPIDParas(FanPidParas *paras);
BF_API int32_t FAN_GetGpuPIDForR420Paras(FanPidParas *paras);
BF_API int32_t FAN_Get34XRaidPIDParas(FanGpuPidParas *paras);
BF_API int32_t FAN_GetGpuL40sPIDParas(FanGpuPidParas *paras);
BF_API int32_t FAN_GetGpuL20PIDParas(FanGpuPidParas *paras);
BF_API int32_t FAN_GetGpu4080PIDParas(FanGpuPidParas *paras);
BF_API int32_t FAN_GetGpu4090PIDParas(FanGpuPidParas *paras);
BF_API int32_t FAN_GetGpu4090DPIDParas(FanGpuPidParas *paras);
BF_API int32_t FAN_GetGpuX8PIDParas(FanGpuPidParas *paras);
BF_API int32_t FAN_GetGpuT20PIDParas(FanGpuPidParas *paras);
BF_API int32_t FAN_GetGpuI20PIDParas(FanGpuPidParas *paras);
BF_API int32_t FAN_GetGpuS3000PIDParas(FanGpuPidParas *paras);
BF_API int32_t FAN_GetGpuVG1000PIDParas(FanGpuPidParas *paras);
BF_API int32_t FAN_GetGpuL2PIDParas(FanGpuPidParas *paras);

/* ---- components. Each looks the configuration up, unless said otherwise. ---- */

/* Cards without a temperature sensor: how many (5, on `Fell` 7), which, and the PWM per level to
 * give them. The array needs room for FAN_NO_TEMP_COMPONENTS_MAX. */
BF_API int32_t FAN_GetNoTempComponentsCountsInBoard(void);
BF_API int32_t FAN_GetNoTempComponentsCounts(void);
BF_API int32_t FAN_GetNoTempComponentsInBoard(NoTempComponent *components);
BF_API int32_t FAN_GetNoTempComponents(NoTempComponent *components);
BF_API int32_t FAN_GetNoTempComponentsPWM(uint8_t pwm[FAN_LIST_SIZE]);
BF_API int32_t FAN_GetNoTempComponentsPWMLevel(uint8_t pwm[FAN_LIST_SIZE]);
/* The same for the devices at the bottom of the chassis. */
BF_API int32_t FAN_GetBottomDevPwm(uint8_t pwm[FAN_LIST_SIZE]);
BF_API int32_t FAN_GetBottomDevPwmLevel(uint8_t pwm[FAN_LIST_SIZE]);
/* No curve for Fibre Channel cards: all zero. No look-up. */
BF_API int32_t FAN_GetNoTempFcPWM(uint8_t pwm[FAN_LIST_SIZE]);
/* The power of one fan at each PWM percent 0..100. */
BF_API int32_t FAN_GetTotalPower(FanPower power[FAN_POWER_ROWS], uint32_t fan_type);
BF_API int32_t FAN_GetFanPower(FanPower power[FAN_POWER_ROWS], uint32_t fan_type);
/* 1, on `Fell` 0. */
BF_API int32_t IsSupportA4000Gpu(void);
BF_API int32_t FAN_IsSupportA4000GPU(void);
BF_API int32_t IsSupport3080Gpu(void);
BF_API int32_t FAN_IsSupport3080GPU(void);
BF_API int32_t IsSupportDualRotorsSpeedLimit(void);
BF_API int32_t FAN_IsSupportDualRotorsSpeedLimit(void);
BF_API int32_t IsCrag_3080Gpu(void); /* 0, no look-up */
/* 4, 5 once `Fell` was recognised. No look-up. */
BF_API int32_t FAN_GetServerTypeForGearCooling(void);
BF_API int32_t GetServerTypeForGearCooling(void);
BF_API int32_t FanGetNvmeStartTemp(void); /* 60 degrees Celsius, no look-up */

/* ---- fans: four modules, the front rotors are fans 0..3, the rear rotors 4..7. No look-up and no
 * hardware access unless said otherwise. ---- */

BF_API int32_t GetFanMaxCount(void);       /* 8 */
BF_API int32_t GetFanMaxCount_Board(void); /* 8 */
BF_API int32_t GetFanRealCount(void);      /* 4 modules */
BF_API int32_t GetFanRealCount_Board(void);
BF_API int32_t GetFanCountSharedBoard(uint32_t fan_type); /* type 7: 4, others: 8 */
BF_API int32_t GetInletSensorMaxCount(void);              /* 1 */
BF_API int32_t GetFanSupportFlag(void);                   /* 1 */

/* 0, or -1: null, no such fan, PWM output or tachometer. */
BF_API int32_t GetFanPwmIndexByFanIndex(uint32_t fan_index, uint8_t *pwm_index);
BF_API int32_t _GetFanPwmIndexByFanIndex(uint32_t fan_index, uint8_t *pwm_index);
BF_API int32_t GetTachNumByFanIndex(uint32_t fan_index, uint8_t *tach_number);
BF_API int32_t GetFanControlModeByFanIndex(uint32_t fan_index, uint8_t *control_mode);
/* The first fan of a PWM output, the fan of a tachometer. */
BF_API int32_t GetFanFanIndexByPwmIndex(uint32_t pwm_index, uint8_t *fan_index);
BF_API int32_t GetFanIndexByTachNum(uint32_t tach_number, uint8_t *fan_index);
/* The fan's label. Type 8: all 15 bytes of the mark, -1 for no such fan. Other types: the number of
 * the fan from 1 in decimal; index 8 writes nothing and returns 0. -1 for a null and above 8. */
BF_API int32_t GetFanMarkByFanIndex(uint32_t fan_index, char mark[15], uint32_t fan_type);
/* The number from 1 in decimal, taken from one configuration's rows. 0 (nothing is written for no
 * such fan), -1 for a null. */
BF_API int32_t getFanMarkbyFanIndex_Tarn(uint32_t fan_index, char *mark);
BF_API int32_t getFanMarkbyFanIndex_Fell(uint32_t fan_index, char *mark);
/* The fan tray of a fan, from 1; 0 for no such fan. */
BF_API uint32_t FAN_GetFanSlotNum(uint32_t fan_index);
/* Whether the fan's tray keeps a serial number of its own: *need is the fan's PWM index. Returns 1;
 * -1 with nothing written for a null or no such fan. */
BF_API int32_t FanNeedSetFantraySerialNumber(uint32_t fan_index, uint8_t *need);
/* Whether the daemon controls a fan: 1 or 0, -1 for no such fan; and switching it for the life of
 * the process (no such fan: nothing happens). */
BF_API int32_t IsFanNeedControl(uint32_t fan_index);
BF_API void DisableFanCtrl(uint32_t fan_index);
BF_API void EnableFanCtrl(uint32_t fan_index);
/* 1 present, 0 absent or unreadable, -1 for no such fan. One EPLD read; none while
 * /var/epldresetflag exists: then the last answer of any fan. */
BF_API int32_t GetFanOnlineStatus(uint32_t fan_index);
/* 1 when a fan's presence is known from its speed only: no fan of this board. */
BF_API int32_t IsSupportMockPresent(uint32_t fan_index);
/* Keeps a map and two allocation blocks (block 0 or 1) for the daemons of this process. 0; -1 for a
 * null or another block. */
BF_API int32_t SetFanIndexMap(const FanIndexMap *map);
BF_API int32_t GetFanIndexMap(FanIndexMap *map);
BF_API int32_t SetFanAllocationINfo(const FanAllocationInfo *info, uint32_t block);
BF_API int32_t GetAllocationINfo(FanAllocationInfo *info, uint32_t block);
/* The fan types that may be fitted: 7 and 8. */
BF_API int32_t GetMultiFanType(uint8_t list[2], uint8_t *count);
/* The speed sensors that a fan type does not have: type 7 fills list with 4, 5, 6, 7 and returns 1;
 * others return 0 with nothing written. -1 for a null. */
BF_API int32_t FAN_DeleteFanSpeedSensor(uint32_t fan_type, uint8_t list[4], uint8_t *count);
/* Writes 0: nothing further to print. */
BF_API void AddAdditionalPrintInfo(uint8_t *info);
BF_API void GetFanIndexMapDiffBoard(void);

BF_API int32_t IsSupportMultiFanType(void);                /* 1 */
BF_API int32_t GetIsSupportMultiFanType(void);             /* 1 */
BF_API int32_t FAN_GetFanTypeByBoard(void);                /* 8 */
BF_API int32_t GetSupportDevice(void);                     /* 0xFEBF, a device mask */
BF_API int32_t GetLiquidSupportDevice(void);               /* 0xFEBE */
BF_API int32_t IsSupportCoolingMode(void);                 /* 1 */
BF_API int32_t IsSupportFantype8038Or8056(void);           /* 1 */
BF_API int32_t GetFanControlByHostFlag(void);              /* 1 */
BF_API int32_t IsFanLowestPWMCtlLinear(void);              /* 1 */
BF_API int32_t IsSupportFanIndexMapCfg(void);              /* 0 */
BF_API int32_t IsSupportHDConfMode(void);                  /* 0 */
BF_API int32_t IsSupportInputTempOfMpema(void);            /* 0 */
BF_API int32_t IsFantrayReduce(void);                      /* 0 */
BF_API int32_t IsSupportPartitionCtrolFan(void);           /* 1, 0 once `Fell` was recognised */
BF_API int32_t GetFanOfflineLowerstCountOfFullSpeed(void); /* 255 */
BF_API int32_t SetFantrayAlarmCfg(void);                   /* 213 */
BF_API int32_t GetFantrayAlarmCfg(void);                   /* 213 */
/* The board's fans have no LEDs: -1. The EPLD drives no PWM: 0. Arguments are not looked at. */
BF_API int32_t SetFanLedStatus(uint32_t fan_index, ...);
BF_API int32_t FanEpldWrOperation(uint32_t operation, ...);
BF_API int32_t GetCurrentPWMFromEpld(uint32_t fan_index, ...);
BF_API int32_t GetCurrentPWMPercentageFromEpld(uint32_t fan_index, ...);
BF_API int32_t SetCurrentPWMToEpld(uint32_t fan_index, ...);

/* ---- liquid cooling and the flange card ---- */

BF_API extern uint8_t g_IsLiquidCoolingBoard; /* the last answer of IsLiquidCoolingBoard */
BF_API extern uint8_t g_IsExistFlangeCard;    /* the last answer of CheckExistFlangeCard */

BF_API int32_t GetLiquidBUS(void); /* 10 */
BF_API int32_t GetFlangeBUS(void); /* 13 */
/* Whether the flange card and the liquid-cooling kit are fitted: *flag is 0 or 1. The result of the
 * read (0 or positive); -1 for a null or a failed read, *flag is 0 then. One I2C read. */
BF_API int32_t I2C_GetLiquidFlangecardFlag(uint8_t *flag);
BF_API int32_t I2C_GetLiquidCoolingFlag(uint8_t *flag);
/* The leak sensor, in the same form: leakage, a break of the sensing line, and no sensing line. A
 * sensor is of one of two kinds: of the first two flags that of the other kind is always 0. One I2C
 * read. */
BF_API int32_t I2C_GetLiquidLeakageFlag(uint8_t *flag);
BF_API int32_t I2C_GetLiquidLeakageLineFlag(uint8_t *flag);
BF_API int32_t I2C_GetLiquidLeakageLineAbsentFlag(uint8_t *flag);
/* Makes the sensor's line an output. The result of the read back; -1 when either transfer fails.
 * One I2C write, one read. */
BF_API int32_t I2C_LiquidLeakageWriteEnable(void);
/* Drives the line high for 1, low for any other value. The result of the write, -1 when it fails.
 * One I2C write. */
BF_API int32_t I2C_SetLiquidLeakageOrLineFlag(uint32_t value);
/* 1 or 0, 0 also when the read fails. One I2C read. */
BF_API int32_t IsLiquidCoolingBoard(void);
BF_API int32_t CheckExistFlangeCard(void);    /* prints a line when the read fails */
BF_API int32_t FAN_IsSupportSetFcLevel(void); /* 0 */
BF_API int32_t IsSupportSetFcLevel(void);     /* 0 */

BF_EXTERN_C_END

#endif
