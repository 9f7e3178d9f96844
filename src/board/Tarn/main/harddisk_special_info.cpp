// The backplanes' wiring that is exported as it stands, and facts about this board's disks.
#include "main/harddisk_special_info.h"

#include "boardfeatures/identity.h"
#include "boardfeatures/storage.h"

namespace {

// On every backplane.
constexpr uint32_t mux = 0x6A;
constexpr uint32_t disk = 0x72;

constexpr HddPowerRow power(uint32_t board_id, uint32_t epld_register) {
    return {board_id, {}, epld_register, {}, "HDD_POWER"};
}
constexpr HddPowerRow power_table[] = {
    power(87129, 68), power(87131, 68), power(21618, 68),
    power(87134, 68), power(87134, 69), power(87279, 68),
};

constexpr uint32_t sgpio_registers[] = {74, 76, 80, 82};

constexpr uint32_t max_disks = 200;
constexpr int32_t rear_zone = 2;

}  // namespace

extern "C" {

const uint32_t g_array_bus_num[7] = {3, 4, 5, 6, 7, 8, 9};
const uint8_t g_array_nvme_slot_start[7] = {50, 52, 56, 60, 0, 8, 16};

const RearNvmeRoute _bpra_hdd_nvme_i2c_table[4] = {
    // slot, {bus, multiplexer, disk, channel, name}
    {50, {3, mux, disk, 0, "NVME50"}},
    {51, {3, mux, disk, 1, "NVME51"}},
    {60, {6, mux, disk, 0, "NVME60"}},
    {61, {6, mux, disk, 1, "NVME61"}},
};

const RearNvmeRoute _bprb_hdd_nvme_i2c_table[4] = {
    // slot, {bus, multiplexer, disk, channel, name}
    {52, {4, mux, disk, 0, "NVME52"}},
    {53, {4, mux, disk, 1, "NVME53"}},
    {56, {5, mux, disk, 0, "NVME56"}},
    {57, {5, mux, disk, 1, "NVME57"}},
};

const NvmeRoute _bpfa_hdd_nvme_i2c_table[24] = {
    // bus, multiplexer, disk, channel, name
    {8, mux, disk, 0, "NVME0"},  {8, mux, disk, 1, "NVME1"},  {8, mux, disk, 2, "NVME2"},
    {8, mux, disk, 3, "NVME3"},  {8, mux, disk, 4, "NVME4"},  {8, mux, disk, 5, "NVME5"},
    {8, mux, disk, 6, "NVME6"},  {8, mux, disk, 7, "NVME7"},  {8, mux, disk, 0, "NVME8"},
    {8, mux, disk, 1, "NVME9"},  {8, mux, disk, 2, "NVME10"}, {8, mux, disk, 3, "NVME11"},
    {8, mux, disk, 4, "NVME12"}, {8, mux, disk, 5, "NVME13"}, {8, mux, disk, 6, "NVME14"},
    {8, mux, disk, 7, "NVME15"}, {8, mux, disk, 0, "NVME16"}, {8, mux, disk, 1, "NVME17"},
    {8, mux, disk, 2, "NVME18"}, {8, mux, disk, 3, "NVME19"}, {8, mux, disk, 4, "NVME20"},
    {8, mux, disk, 5, "NVME21"}, {8, mux, disk, 6, "NVME22"}, {8, mux, disk, 7, "NVME23"},
};

const NvmeRoute _bpfb_hdd_nvme_i2c_table[8] = {
    // bus, multiplexer, disk, channel, name
    {8, mux, disk, 0, "NVME0"}, {8, mux, disk, 1, "NVME1"}, {8, mux, disk, 2, "NVME2"},
    {8, mux, disk, 3, "NVME3"}, {8, mux, disk, 4, "NVME4"}, {8, mux, disk, 5, "NVME5"},
    {8, mux, disk, 6, "NVME6"}, {8, mux, disk, 7, "NVME7"},
};

const NvmeRoute _bpfc_hdd_nvme_i2c_table[12] = {
    // bus, multiplexer, disk, channel, name
    {8, mux, disk, 0, "NVME0"}, {8, mux, disk, 1, "NVME1"},   {8, mux, disk, 2, "NVME2"},
    {8, mux, disk, 3, "NVME3"}, {8, mux, disk, 4, "NVME4"},   {8, mux, disk, 5, "NVME5"},
    {8, mux, disk, 6, "NVME6"}, {8, mux, disk, 7, "NVME7"},   {8, mux, disk, 8, "NVME8"},
    {8, mux, disk, 9, "NVME9"}, {8, mux, disk, 10, "NVME10"}, {8, mux, disk, 11, "NVME11"},
};

const NvmeRoute _bpfd_hdd_nvme_i2c_table[8] = {
    // bus, multiplexer, disk, channel, name
    {8, mux, disk, 0, "NVME1"},  {8, mux, disk, 1, "NVME3"},  {8, mux, disk, 2, "NVME5"},
    {8, mux, disk, 3, "NVME7"},  {8, mux, disk, 4, "NVME17"}, {8, mux, disk, 5, "NVME19"},
    {8, mux, disk, 6, "NVME21"}, {8, mux, disk, 7, "NVME23"},
};

const NvmeRoute _bpfe_hdd_nvme_i2c_table[8] = {
    // bus, multiplexer, disk, channel, name
    {8, mux, disk, 0, "NVME1"},  {8, mux, disk, 1, "NVME3"},  {8, mux, disk, 2, "NVME5"},
    {8, mux, disk, 3, "NVME7"},  {8, mux, disk, 4, "NVME17"}, {8, mux, disk, 5, "NVME19"},
    {8, mux, disk, 6, "NVME21"}, {8, mux, disk, 7, "NVME23"},
};

const NvmeRoute _bpff_hdd_nvme_i2c_table[8] = {
    // bus, multiplexer, disk, channel, name
    {8, mux, disk, 0, "NVME1"},  {8, mux, disk, 1, "NVME3"},  {8, mux, disk, 2, "NVME5"},
    {8, mux, disk, 3, "NVME7"},  {8, mux, disk, 4, "NVME17"}, {8, mux, disk, 5, "NVME19"},
    {8, mux, disk, 6, "NVME21"}, {8, mux, disk, 7, "NVME23"},
};

// The channels of the first two routed bays are crossed on the board, and of the next two.
const NvmeRoute _bpfg_hdd_nvme_i2c_table[8] = {
    // bus, multiplexer, disk, channel, name
    {8, mux, disk, 1, "NVME0"}, {8, mux, disk, 0, "NVME1"},  {8, mux, disk, 3, "NVME3"},
    {8, mux, disk, 2, "NVME4"}, {8, mux, disk, 4, "NVME6"},  {8, mux, disk, 5, "NVME7"},
    {8, mux, disk, 6, "NVME9"}, {8, mux, disk, 7, "NVME10"},
};

uint32_t get_supported_disk_num() { return max_disks; }
uint32_t GetDiskMaxCount() { return max_disks; }
uint32_t GetDiskMaxCountExt(uint32_t zone) { return zone == 0 ? max_disks : 0; }

int32_t GetDiskZone(uint32_t, uint32_t slot) { return slot == 30 || slot == 31 ? rear_zone : 0; }

int32_t HDD_VerifyDiskPosition(uint32_t slot, uint8_t *zone, uint8_t *out_slot) {
    if (zone == nullptr || out_slot == nullptr) {
        return -1;
    }
    *zone = 0;
    *out_slot = static_cast<uint8_t>(slot);
    return 0;
}

// A sensor's device id is its disk's slot number.
uint32_t ConvertSensorDeviceIDtoDiskZone(uint32_t) { return 0; }
uint32_t ConvertSensorDeviceIDtoDiskSlot(uint32_t id) { return id; }
uint32_t ConvertSensorDeviceIDtfromDiskinfo(uint32_t, uint32_t slot) { return slot; }
uint32_t FixDiskSilk(uint32_t slot) { return slot; }

int32_t GetHDDPowerTable(const void **table, uint32_t *count) {
    if (table == nullptr || count == nullptr) {
        return -1;
    }
    *table = power_table;
    *count = std::size(power_table);
    return 0;
}

int32_t GetHddSgpioEpldInfo(uint32_t out[5]) {
    if (out == nullptr) {
        return -1;
    }
    *out++ = std::size(sgpio_registers);
    for (const uint32_t epld_register : sgpio_registers) {
        *out++ = epld_register;
    }
    return 0;
}

int32_t IsFellBoard() {
    static bool is_fell = false;
    if (!is_fell) {
        const uint32_t second_front = GetCardBoardId(10);
        const uint32_t third_front = GetCardBoardId(11);
        if (second_front == BF_NO_BOARD_ID && third_front == BF_NO_BOARD_ID) {
            return 0;
        }
        is_fell = second_front == bf::board::fell_backplane;
    }
    return is_fell;
}

int32_t get_crag_online_hdd_count() { return 0; }

int32_t IsDirectHdLocLecSupported() { return 1; }
int32_t supportAllU2NVMeListInfoIfc() { return 1; }
int32_t IfSupportItFun() { return 1; }
int32_t IfSupportPmcFun() { return 1; }
int32_t isDiskPresentAlarmBySensor() { return 1; }
int32_t HDD_AutoProbeSupport() { return 1; }
int32_t GetDiskBackPanelSlotId() { return 0; }
int32_t IsHDDWithoutHardPresent() { return 0; }
int32_t HDD_ModelMatchSupport() { return 0; }
int32_t HDD_PdMissingDefaultStatus() { return 0; }
int32_t SupportServiceMoveOutInform() { return 0; }
int32_t isHandleRearHddSensor() { return 0; }
int32_t supportAMDProcess() { return 0; }
int32_t HDD_SensorStatusSupport() { return 0; }
int32_t getBPRCPresentInfo() { return -1; }

}  // extern "C"

namespace bf::harddisk {

using board::model;

std::span<const RearNvmeRoute> rear_routes_of(const Backplane &backplane) {
    switch (backplane.board_id) {
        case model("bpra").board_id:
            return _bpra_hdd_nvme_i2c_table;
        case model("bprb").board_id:
            return _bprb_hdd_nvme_i2c_table;
        default:
            return {};
    }
}

std::span<const NvmeRoute> routes_of(const Backplane &backplane) {
    switch (backplane.board_id) {
        case model("bpfa").board_id:
            return _bpfa_hdd_nvme_i2c_table;
        case model("bpfb").board_id:
            return _bpfb_hdd_nvme_i2c_table;
        case model("bpfc").board_id:
            return _bpfc_hdd_nvme_i2c_table;
        case model("bpfd").board_id:
            return _bpfd_hdd_nvme_i2c_table;
        case model("bpfe").board_id:
            return _bpfe_hdd_nvme_i2c_table;
        case model("bpff").board_id:
            return _bpff_hdd_nvme_i2c_table;
        case model("bpfg").board_id:
            return _bpfg_hdd_nvme_i2c_table;
        default:
            return {};
    }
}

}  // namespace bf::harddisk
