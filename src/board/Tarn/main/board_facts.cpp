// What holds for every board of this model, whatever is fitted.
#include "base/bits.h"
#include "base/log.h"
#include "boardfeatures/host.h"
#include "boardfeatures/identity.h"

namespace {

constexpr uint32_t ocp_card_key = 22;
constexpr uint32_t intrusion_register = 0x188;
constexpr uint16_t power_status_registers[] = {0x310, 0x312};

}  // namespace

extern "C" {

int32_t IsRackServer() { return 1; }
int32_t IsSingleBiosFlashBoard() { return 1; }
int32_t GetCupsSupportBoardType() { return 1; }
int32_t GetMacDefaultSetBoardType() { return 0; }
int32_t supportLowConfigProcessor() { return 0; }
int32_t GetPowerOffDelay() { return 4; }
int32_t GetEpldUpdateChannel() { return 0; }
int32_t GetFruFwLocation() { return 1; }
int32_t GetCardMaxNum() { return 30; }
int32_t GetSelTransFlag() { return 0; }
int32_t GetHost1UartAndSOLSrc() { return 0; }
int32_t GetEpldValueWhenHost1SrcIsSocUart() { return 255; }
int32_t GetSubcardSpecialProductName() { return -1; }

int32_t GetPowerStatusAddr(uint16_t address[2]) {
    if (address == nullptr) {
        return -1;
    }
    address[0] = power_status_registers[0];
    address[1] = power_status_registers[1];
    return 2;
}

int32_t GetBladeServer(uint16_t *blade) {
    if (blade == nullptr) {
        return -1;
    }
    *blade = 0;
    return 1;
}

int32_t get_hw_addr(uint8_t *address) {
    if (address == nullptr) {
        return -1;
    }
    *address = 0;
    return 0;
}

int32_t GetHwAddr() {
    uint8_t address = 0;
    return get_hw_addr(&address) == 0 ? address : 255;
}

int32_t get_slotid(uint8_t *) { return -1; }
int32_t GetSlotId(uint8_t *slot) { return slot == nullptr ? -1 : get_slotid(slot); }

int32_t get_slotlaninfo(uint32_t, uint32_t, void *) { return -1; }
int32_t GetSlotSpecialLanInfo(uint32_t a, uint32_t b, void *out) {
    return out == nullptr ? -1 : get_slotlaninfo(a, b, out);
}

int32_t send_addselintry(const void *) { return -1; }
int32_t SendAddSelIntry(const void *entry) {
    return entry == nullptr ? -1 : send_addselintry(entry);
}

int32_t get_nic_device_port_new_index(uint32_t, uint32_t, uint32_t port, uint8_t *out) {
    if (out == nullptr) {
        return -1;
    }
    *out = static_cast<uint8_t>(port + 1);
    return 1;
}
int32_t GetNicDevicePortNewIndex(uint32_t a, uint32_t b, uint32_t port, uint8_t *out) {
    return get_nic_device_port_new_index(a, b, port, out);
}

int32_t get_ocp_card_present() { return GetCardOnlineStatus(ocp_card_key) == 1 ? 1 : 0; }
int32_t GetOcpCardIsPresent() { return get_ocp_card_present(); }
int32_t get_ocp_card_location() { return 2; }
int32_t GetOcpCardLocation() { return get_ocp_card_location(); }

void SetSpecialIP() {
    IDBG_LINUXAPP_AuditOut(bf::level_audit_board, "[%s:%d] don't need Set special ip\n", __func__,
                           __LINE__);
}

int32_t GetSubcardBoardIdForModifyProductName(uint16_t *board_id) {
    if (board_id == nullptr) {
        return -1;
    }
    *board_id = 0;
    return 0;
}

void OpenI2CControlReg() {}
void CloseI2CControlReg() {}

int32_t getIntrusionState(uint8_t *state) {
    if (state == nullptr) {
        return -1;
    }
    uint16_t value = 0;
    *state = epldio_read(intrusion_register, &value) == 0
                 ? static_cast<uint8_t>(bf::bit_of(value, 0))
                 : 0;
    return 0;
}

}  // extern "C"
