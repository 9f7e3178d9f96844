// Facts about the host's CPUs, memory, network and storage that hold for every board of this model.
#include "base/bits.h"
#include "boardfeatures/dimm.h"
#include "boardfeatures/host.h"

namespace {

constexpr uint32_t cpu_presence_register = 0x8C;
constexpr uint32_t cpu_location_register = 0x316;

// The answer to a limit that the board does not state.
int32_t not_stated(uint8_t *value) {
    if (value != nullptr) {
        *value = 0;
    }
    return -1;
}

}  // namespace

extern "C" {

int32_t GetCpuType() { return 1; }
int32_t GetCpuPlatform() { return 1; }
int32_t GetCpuSilkScreenIndexFixValue() { return 1; }
int32_t GetCpuEntityInsStartIndex() { return 1; }
int32_t GetCpuMaxCount() { return 2; }
int32_t GetEpldCpuTempSupportFlag() { return 0; }
int32_t GETBoardCpuSupportISSFlag() { return 0; }
int32_t GetCpuReduceFlag() { return 0; }
int32_t GetI2CDimmOutBandSupportFlag() { return 0; }
int32_t GetEpldDimmTempSupportFlag() { return 0; }
int32_t GetEpldDimmTempOffset() { return 0xFFFF; }
int32_t GetSyncTimeSavePath() { return 0; }
int32_t GetEpldCpuTempOffset() { return 0xFFFF; }
int32_t GetOsTimeEPLDRegAddr() { return 0xFFFF; }
int32_t OsSyncTimeEnable() { return -1; }
int32_t TempNonCritlDisable() { return -1; }
int32_t GetFrb2WdtTimeout() { return 64; }

int32_t GETBoardCpuTempTjmax(uint8_t *value) { return not_stated(value); }
int32_t GETBoardCpuTempTcritical(uint8_t *value) { return not_stated(value); }
int32_t GETBoardCpuTempTnonrecoverable(uint8_t *value) { return not_stated(value); }

int32_t GETCpuBiosPostEndFlag(uint8_t *flag) {
    if (flag == nullptr) {
        return -1;
    }
    *flag = 255;
    return 0;
}

int32_t GetCpuOnlineStatus(uint32_t cpu) {
    if (cpu >= static_cast<uint32_t>(GetCpuMaxCount())) {
        return -1;
    }
    uint16_t value = 0;
    return epldio_read(cpu_presence_register, &value) == 0
               ? static_cast<int32_t>(bf::bit_of(value, cpu))
               : 0;
}

int32_t getScreeCpuLocationData() {
    uint16_t value = 0;
    return epldio_read(cpu_location_register, &value) == 0 ? value : 0;
}

int32_t NetcardNcsiSupport() { return 1; }
int32_t NetcardSmbusSupport() { return 1; }
int32_t NetworkBondCfgSupport() { return 1; }
int32_t NetworkAutoCfgSupport() { return 1; }
int32_t NetcardTEPSupport() { return 0; }
int32_t NetcardSyncMacSupport() { return 0; }
int32_t NetcardX722Only2CopperSupport() { return 0; }
int32_t GetPhyCheckDisableFlag() { return 0; }
int32_t NetworkCorrectDevTbl() { return 0; }
int32_t IsCloseMCTP() { return 0; }
int32_t GetBusOwnerProxyEid() { return 8; }

int32_t RaidCardSupport() { return 1; }
int32_t GetRaidCardBoardOOBSwitchDefVal() { return 1; }
int32_t GetRaidCardBoardOOBSwitchIfSupport() { return 0; }
int32_t Hdd_GetConvertLocationByModel() { return -1; }

int32_t getBackPaneCardId(uint16_t *card_id) {
    if (card_id == nullptr) {
        return -1;
    }
    *card_id = 0x7FFF;
    return 0;
}

}  // extern "C"
