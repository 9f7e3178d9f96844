// The register mailbox of PIER network cards.
//
// The host composes a request while the status register reads all ones and posts it by clearing
// the register; the card answers there with an acknowledge byte and the length of its data.
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "base/log.h"
#include "boardfeatures/ipc.h"
#include "boardfeatures/mailbox.h"
#include "main/smbus_netcard_table.h"

static constexpr char log_source[] = "vel_mooring_pier_msg";

namespace {

constexpr uint32_t log_module = 39;

constexpr int32_t exchange_key = 12339;
constexpr uint32_t exchange_timeout_ms = 3000;

// Registers by their offset on the device.
constexpr uint32_t status_register = 0;
constexpr uint32_t command_register = 4;
constexpr uint32_t data_register = 8;
constexpr uint32_t offset_width = 1;

constexpr uint32_t status_composing = 0xFFFFFFFF;
constexpr uint32_t status_posted = 0;

struct Status {
    uint8_t length;
    uint8_t acknowledge;  // 0 not finished, 1 done, else the card's error code
    uint8_t reserved[2];
};
static_assert(sizeof(Status) == 4);
constexpr uint8_t not_finished = 0;
constexpr uint8_t done = 1;

constexpr int polls = 10;
constexpr useconds_t poll_interval_us = 10000;

struct Register {
    uint8_t bytes[4];
};
constexpr Register register_of(uint32_t value) {
    return {{static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8),
             static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 24)}};
}

int32_t write_register(const I2cChipRoute &route, uint32_t offset, uint32_t value) {
    const Register reg = register_of(value);
    return VEL_Mooring_WriteDataToPier(route, offset, reg.bytes, sizeof(reg.bytes));
}

// Holds the system's exchange.
class Exchange {
public:
    Exchange() : held_(VEL_Mooring_MRPIER_SemLock() == 0) {}
    ~Exchange() {
        if (held_) {
            VEL_Mooring_MRPIER_SemUnlock();
        }
    }
    Exchange(const Exchange &) = delete;
    Exchange &operator=(const Exchange &) = delete;

    bool held() const { return held_; }

private:
    bool held_;
};

}  // namespace

extern "C" {

int32_t VEL_Mooring_MRPIER_SemLock() {
    const auto created = static_cast<int32_t>(OAL_SemCreate(exchange_key));
    if (created < 0) {
        LOG_WARN(log_module, "PID: %d, TID:%d. sem create failed(%d)\n", getpid(), gettid(),
                 created);
        return -1;
    }
    LOG_DEBUG(log_module, "PID: %d, TID:%d sem create successded(%d)\n", getpid(), gettid(),
              created);
    const auto locked = static_cast<int32_t>(OAL_SemLockByKey(exchange_key, exchange_timeout_ms));
    if (locked < 0) {
        LOG_WARN(log_module, "PID: %d, TID:%d sem *LOCK* failed(%d)\n", getpid(), gettid(), locked);
        return -1;
    }
    LOG_DEBUG(log_module, "PID: %d, TID:%d sem *LOCK* successded(%d)\n", getpid(), gettid(),
              locked);
    return 0;
}

int32_t VEL_Mooring_MRPIER_SemUnlock() {
    const auto unlocked =
        static_cast<int32_t>(OAL_SemUnLockByKey(exchange_key, exchange_timeout_ms));
    if (unlocked != 0) {
        LOG_ERROR(log_module, "PID: %d, TID:%d sem UNLOCK failed(%d)\n", getpid(), gettid(),
                  unlocked);
        return -1;
    }
    LOG_DEBUG(log_module, "PID: %d, TID:%d sem UNLOCK successed(%d)\n", getpid(), gettid(),
              unlocked);
    return 0;
}

// ---- registers ----

int32_t VEL_Mooring_WriteDataToPier(I2cChipRoute route, uint32_t offset, const uint8_t *buffer,
                                    uint32_t length) {
    if (buffer == nullptr) {
        return -1;
    }
    if (i2cWrite(&route, static_cast<uint8_t>(length), buffer, offset_width,
                 static_cast<uint8_t>(offset)) < 0) {
        LOG_ERROR(log_module, "i2cWrite tPierEclient fail!\n");
        return -1;
    }
    return 0;
}

int32_t VEL_Mooring_ReadDataFromPier(I2cChipRoute route, uint32_t offset, uint8_t *buffer,
                                     uint32_t length) {
    if (buffer == nullptr) {
        return -1;
    }
    if (i2cRead(&route, static_cast<uint8_t>(length), buffer, offset_width,
                static_cast<uint8_t>(offset)) < 0) {
        LOG_ERROR(log_module, "i2cRead tPierEclient fail!\n");
        return -1;
    }
    return 0;
}

int32_t VEL_Mooring_SetStatusReg(I2cChipRoute route, uint32_t status) {
    return write_register(route, status_register, status);
}

int32_t VEL_Mooring_GetStatusReg(I2cChipRoute route, uint8_t status[4]) {
    return VEL_Mooring_ReadDataFromPier(route, status_register, status, sizeof(Status));
}

int32_t VEL_Mooring_SetCmdReg(I2cChipRoute route, uint32_t command) {
    return write_register(route, command_register, command);
}

int32_t VEL_Mooring_SetDataReg(I2cChipRoute route, const uint8_t *buffer, uint32_t length) {
    return VEL_Mooring_WriteDataToPier(route, data_register, buffer, length);
}

int32_t VEL_Mooring_GetDataReg(I2cChipRoute route, uint8_t *buffer, uint32_t length) {
    return VEL_Mooring_ReadDataFromPier(route, data_register, buffer, length);
}

// ---- the exchange ----

int32_t VEL_Mooring_SmbusSendGetMsgFromPier(I2cChipRoute route, uint32_t command0,
                                            uint32_t command1, uint32_t command2,
                                            const uint8_t *request, uint32_t request_length,
                                            uint8_t *response, uint8_t *response_length) {
    if (response == nullptr || response_length == nullptr) {
        return -1;
    }
    const Exchange exchange;
    if (!exchange.held()) {
        LOG_ERROR(log_module, "Get MRPIER SemLock failed\n");
        return -1;
    }
    if (VEL_Mooring_SetStatusReg(route, status_composing) != 0) {
        LOG_ERROR(log_module, "Set PIER eeprom status reg 0xFF error!\n");
        return -1;
    }
    uint8_t data[MOORING_DATA_MAX] = {};
    if (request != nullptr) {
        const uint32_t sent =
            std::min<uint32_t>(static_cast<uint8_t>(request_length), sizeof(data));
        std::memcpy(data, request, sent);
        if (VEL_Mooring_SetDataReg(route, data, sent) != 0) {
            LOG_ERROR(log_module, "Set PIER eeprom data reg error!\n");
            return -1;
        }
    }
    const uint32_t command = (command0 & 0xFF) | (command1 & 0xFF) << 8 | (command2 & 0xFF) << 16;
    if (VEL_Mooring_SetCmdReg(route, command) != 0) {
        LOG_ERROR(log_module, "Set PIER eeprom cmd reg error!\n");
        return -1;
    }
    if (VEL_Mooring_SetStatusReg(route, status_posted) != 0) {
        LOG_ERROR(log_module, "Set PIER eeprom status reg 0x00 error!\n");
        return -1;
    }
    Status status = {};
    for (int poll = 0; poll < polls && status.acknowledge == not_finished; ++poll) {
        Register reg = {};
        if (VEL_Mooring_GetStatusReg(route, reg.bytes) != 0) {
            LOG_ERROR(log_module, "Get PIER eeprom status reg error!\n");
            return -1;
        }
        std::memcpy(&status, reg.bytes, sizeof(status));
        if (status.acknowledge == not_finished) {
            usleep(poll_interval_us);
        }
    }
    if (status.acknowledge != done) {
        LOG_ERROR(log_module, "cmd error, tStatusReg.ucAckStatus = %02x!\n", status.acknowledge);
        return -1;
    }
    // A card without an answer, or with one that does not fit, has still done its command.
    if (status.length == 0 || status.length > MOORING_DATA_MAX) {
        return 0;
    }
    *response_length = status.length;
    if (VEL_Mooring_GetDataReg(route, data, status.length) != 0) {
        LOG_ERROR(log_module, "Get PIER eeprom data reg error!\n");
        return -1;
    }
    std::memcpy(response, data, status.length);
    return 0;
}

int32_t VEL_Mooring_SendGetMsgFromPier(uint32_t pcie_slot, uint32_t command0, uint32_t command1,
                                       uint32_t command2, const uint8_t *request,
                                       uint32_t request_length, uint8_t *response,
                                       uint8_t *response_length) {
    const int32_t count = GetSmbusNetCardMaxCount();
    int32_t index = 0;
    for (; index < count; ++index) {
        uint8_t slot = 0;
        if (GetSmbusNetCardPcieSlot(index, &slot) == 0 && slot == pcie_slot) {
            break;
        }
    }
    if (index >= count) {
        LOG_ERROR(log_module, "cannot Find Mooring DPU index\n");
        return -1;
    }
    LOG_DEBUG(log_module, "Find Mooring DPU index:%d\n", index);
    I2cChipRoute route;
    if (GetSmbusNetCardI2cInfo(index, &route) != 0) {
        LOG_ERROR(log_module, "[%s,%d]Get I2C info is Invaild.\n", __func__, log_line);
        return -1;
    }
    route.address = bf::board::mailbox_address;
    LOG_DEBUG(log_module, "i2cTopo:bus:%x, addr:%x, swi_addr:%x, swi_chn:%x", route.bus,
              route.address, route.switch_address, route.switch_channel);
    if (VEL_Mooring_SmbusSendGetMsgFromPier(route, command0, command1, command2, request,
                                            request_length, response, response_length) != 0) {
        LOG_ERROR(log_module, "Read/Write PIER2.0 Card info failed (PcieSlot: %d).\n",
                  static_cast<int>(pcie_slot));
        return -1;
    }
    return 0;
}

}  // extern "C"
