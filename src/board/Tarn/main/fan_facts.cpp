// Facts about fans that hold for every board of this model.
#include <cstring>

#include "main/cooling_tables.h"

extern "C" {

int32_t GetFanMaxCount_Board() { return static_cast<int32_t>(bf::board::fan_count); }
int32_t GetFanMaxCount() { return GetFanMaxCount_Board(); }
int32_t GetFanRealCount_Board() { return 4; }
int32_t GetFanRealCount() { return GetFanRealCount_Board(); }
int32_t GetFanCountSharedBoard(uint32_t fan_type) {
    return fan_type == FAN_TYPE_SINGLE_ROTOR ? GetFanRealCount_Board() : GetFanMaxCount_Board();
}
int32_t GetInletSensorMaxCount() { return 1; }
int32_t GetFanSupportFlag() { return 1; }

int32_t GetMultiFanType(uint8_t list[2], uint8_t *count) {
    if (list == nullptr || count == nullptr) {
        return -1;
    }
    std::memcpy(list, bf::board::fan_types, sizeof(bf::board::fan_types));
    *count = sizeof(bf::board::fan_types);
    return 0;
}

int32_t FAN_DeleteFanSpeedSensor(uint32_t fan_type, uint8_t list[4], uint8_t *count) {
    if (list == nullptr || count == nullptr) {
        return -1;
    }
    if (fan_type != FAN_TYPE_SINGLE_ROTOR) {
        return 0;
    }
    std::memcpy(list, bf::board::rear_rotor_sensors, sizeof(bf::board::rear_rotor_sensors));
    *count = sizeof(bf::board::rear_rotor_sensors);
    return 1;
}

void AddAdditionalPrintInfo(uint8_t *info) {
    if (info != nullptr) {
        *info = 0;
    }
}
void GetFanIndexMapDiffBoard() {}

int32_t IsSupportMultiFanType() { return 1; }
int32_t GetIsSupportMultiFanType() { return 1; }
int32_t FAN_GetFanTypeByBoard() { return FAN_TYPE_DUAL_ROTOR; }
int32_t GetSupportDevice() { return 0xFEBF; }
int32_t GetLiquidSupportDevice() { return 0xFEBE; }
int32_t IsSupportCoolingMode() { return 1; }
int32_t IsSupportFantype8038Or8056() { return 1; }
int32_t GetFanControlByHostFlag() { return 1; }
int32_t IsFanLowestPWMCtlLinear() { return 1; }
int32_t IsSupportFanIndexMapCfg() { return 0; }
int32_t IsSupportHDConfMode() { return 0; }
int32_t IsSupportInputTempOfMpema() { return 0; }
int32_t IsFantrayReduce() { return 0; }
int32_t GetFanOfflineLowerstCountOfFullSpeed() { return 255; }
int32_t SetFantrayAlarmCfg() { return 213; }
int32_t GetFantrayAlarmCfg() { return 213; }

int32_t SetFanLedStatus(uint32_t, ...) { return -1; }
int32_t FanEpldWrOperation(uint32_t, ...) { return 0; }
int32_t GetCurrentPWMFromEpld(uint32_t, ...) { return 0; }
int32_t GetCurrentPWMPercentageFromEpld(uint32_t, ...) { return 0; }
int32_t SetCurrentPWMToEpld(uint32_t, ...) { return 0; }

}  // extern "C"
