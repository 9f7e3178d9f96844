// Power supplies, voltage regulators, power faults and the I2C devices of the board.
#include <atomic>

#include "base/bits.h"
#include "base/log.h"
#include "base/lookup.h"
#include "boardfeatures/identity.h"
#include "main/power_table.h"

using namespace bf::board;

static constexpr char log_source[] = "pem_common_info";

namespace {

constexpr uint32_t log_module = 40;
constexpr uint32_t audit_level = 190;

constexpr uint32_t power_ok_settle_us = 20000;
constexpr uint32_t pmbus_retry_us = 100000;
constexpr uint8_t pmbus_capability = 0x19;
constexpr uint32_t pmbus_page_register = 0;
constexpr uint32_t page_register_width = 1;

// Where this main board's rows begin: the table's end for a board without, null before the choice.
std::atomic<const VrRow *> vr_first{nullptr};

bool answers_pmbus(const Pem &pem) {
    uint8_t value = 0;
    return ei2c_smbus_read_byte_data(&pem.pmbus, pmbus_capability, &value) >= 0;
}

template <std::size_t N>
int32_t give_table(const PowerFaultRow (&rows)[N], const PowerFaultRow **table, uint8_t *count) {
    if (table == nullptr || count == nullptr) {
        return -1;
    }
    *table = rows;
    *count = N;
    return 0;
}

}  // namespace

extern "C" {

int32_t GetPemMaxCount() { return static_cast<int32_t>(std::size(pem_table)); }
int32_t GetI2CTopologyCount() { return static_cast<int32_t>(std::size(i2c_topology)); }
int32_t GetVrChipMaxNum() { return static_cast<int32_t>(std::size(vr_firmware_table)); }

// ---- power entry modules ----

int32_t ScanPsuPowerokStatus(uint16_t *status) {
    if (status == nullptr) {
        return -1;
    }
    uint16_t first = 0;
    for (uint16_t *word : {&first, status}) {
        if (word == status) {
            select_sleep(0, power_ok_settle_us);
        }
        const int result = epldio_read(power_ok_register, word);
        if (result != 0) {
            LOG_ERROR(log_module, "epldio_read failed, offset: %x, PsuPowerOkSstatus: %u, ret:%d",
                      power_ok_register, *word, result);
        }
    }
    // A failed read counts only by the word that it leaves.
    if (*status != first) {
        LOG_ERROR(log_module, "epldio_read failed, offset: %x, first read:%u, second read:%u",
                  power_ok_register, first, *status);
        return -1;
    }
    return 0;
}

int32_t _GetPsuPowerOkStatus(uint32_t *status, uint32_t, uint32_t) {
    if (status == nullptr) {
        return -1;
    }
    uint16_t bits = 0;
    const int result = epldio_read(power_ok_register, &bits);
    if (result == 0) {
        *status = bits != 0 ? 1 : 0;
    }
    return result;
}
int32_t GetPsuPowerOkStatus(uint32_t *status) { return _GetPsuPowerOkStatus(status, 0, 0); }

int32_t _GetPemOnlineStatusByEpld(uint32_t pem) {
    const Pem *row = bf::row_at(pem_table, pem);
    if (row == nullptr) {
        return 0;
    }
    if (get_gpio_data(pem_presence_gpio) != 0) {
        uint16_t bits = 0;
        const int result = epldio_read(pem_presence_register, &bits);
        if (result != 0) {
            LOG_ERROR(log_module, "epldio_read failed, offset: %x, dwdata: %u, dwRet:%d",
                      pem_presence_register, bits, result);
        } else if (bf::bit_of(bits, pem) != 0) {
            return 1;
        }
    }
    if (answers_pmbus(*row)) {
        return 1;
    }
    select_sleep(0, pmbus_retry_us);
    return answers_pmbus(*row) ? 1 : 0;
}
int32_t GetPemOnlineStatus(uint32_t pem) {
    return pem < static_cast<uint32_t>(GetPemMaxCount()) ? _GetPemOnlineStatusByEpld(pem) : -1;
}

int32_t GetPemPmbusInfoBySlotID(uint32_t slot_id, I2cChipRoute *route) {
    const Pem *pem = bf::find_row(pem_table, &Pem::slot_id, slot_id);
    return bf::copy_row(pem != nullptr ? &pem->pmbus : nullptr, route);
}

int32_t GetPemIndexbyI2CAddr(uint32_t bus, uint32_t address_field, uint32_t *index) {
    if (index == nullptr) {
        return -1;
    }
    for (const Pem &pem : pem_table) {
        const uint32_t field = pem.pmbus.address | static_cast<uint32_t>(pem.pmbus.flags) << 16;
        if (pem.pmbus.bus == bus && field == address_field) {
            *index = static_cast<uint32_t>(&pem - pem_table) + 1;
            return 0;
        }
    }
    return -1;
}

// ---- voltage regulators ----

int32_t reinit_different_bomid_vr_info() {
    const VrRow *first = bf::find_row(vr_table, &VrRow::bom_id, GetBoardBomId());
    vr_first.store(first != nullptr ? first : std::end(vr_table), std::memory_order_relaxed);
    return 0;
}

int32_t GetPemVRInfoBy9548(const VrRow **first) {
    if (first == nullptr) {
        return 0;
    }
    const VrRow *begin = vr_first.load(std::memory_order_relaxed);
    if (begin == nullptr) {
        reinit_different_bomid_vr_info();
        begin = vr_first.load(std::memory_order_relaxed);
    }
    const VrRow *end = begin;
    while (end != std::end(vr_table) && end->bom_id == begin->bom_id) {
        ++end;
    }
    *first = begin != end ? begin : nullptr;
    return static_cast<int32_t>(end - begin);
}

int32_t GetPemVRInfoByEpld(uint32_t offset, uint16_t *value) {
    return value == nullptr ? -1 : epldio_read(offset, value);
}

int32_t isSupportedVrFw() { return isTarnT() == 0 ? 1 : 0; }

const VrFirmwareRow *GetVrFwI2cRegInfoByIndex(uint32_t index) {
    return bf::row_at(vr_firmware_table, index);
}

uint32_t GetVrVersionByIndex(uint32_t index) {
    const VrFirmwareRow *row = GetVrFwI2cRegInfoByIndex(index);
    if (row == nullptr) {
        return 0;
    }
    printI2cTopo(&row->route, row->page, row->offset, row->length);
    if (i2cWrite(&row->route, sizeof(row->page), &row->page, page_register_width,
                 pmbus_page_register) < 0) {
        IDBG_LINUXAPP_AuditOut(audit_level, "[%s:%d] [ERROR] i2c write failed \n", __func__,
                               __LINE__);
        return 0;
    }
    uint8_t data[2] = {};
    static_assert(vr_firmware_table[0].length == sizeof(data));
    if (i2cRead(&row->route, row->length, data, row->offset_width, row->offset) < 0) {
        IDBG_LINUXAPP_AuditOut(audit_level, "[%s:%d] [ERROR] i2c read failed \n", __func__,
                               __LINE__);
        return 0;
    }
    const uint32_t value = static_cast<uint32_t>(data[0]) << 8 | data[1];
    return row->shift < 32 ? (value >> row->shift) & 0xFF : 0;
}

// ---- power faults ----

int32_t GetCPUPowerFaultTable(const PowerFaultRow **table, uint8_t *count) {
    return give_table(cpu_power_faults, table, count);
}
int32_t GetDIMMPowerFaultTable(const PowerFaultRow **table, uint8_t *count) {
    return give_table(dimm_power_faults, table, count);
}
int32_t GetAbnormalPowerFaultTable(const PowerFaultRow **table, uint8_t *count) {
    return give_table(abnormal_power_faults, table, count);
}

// ---- I2C devices ----

int32_t GetI2CTopologyByIndex(uint32_t index, I2cTopologyRow *row) {
    return bf::copy_row(bf::row_at(i2c_topology, index), row);
}

void printI2cTopo(const I2cChipRoute *route, uint32_t page, uint32_t offset, uint32_t length) {
    if (route == nullptr) {
        return;
    }
    char name[sizeof(route->name) + 1] = {};  // the field may be full
    bf::copy_text(name, route->name);
    IDBG_LINUXAPP_AuditOut(audit_level,
                           "[%s:%d] [INFO] >>>>> bus:%d addr:%#X bridge:%#X channel:%#X page:%#X "
                           "offset:%#X datalen:%d chipname:%s\n",
                           __func__, __LINE__, static_cast<int>(route->bus), route->address,
                           route->switch_address, route->switch_channel, page, offset,
                           static_cast<int>(length), name);
}

}  // extern "C"
