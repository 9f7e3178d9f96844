// The exported functions of each backplane model: the one driver asked with the model's row.
#include "boardfeatures/storage.h"
#include "common/harddisk/backplane.h"
#include "main/harddisk_special_info.h"

namespace driver = bf::harddisk;
using bf::board::model;

extern "C" {

int32_t _bpra_hdd_present(uint32_t slot) { return driver::present(model("bpra"), slot); }
int32_t _bprb_hdd_present(uint32_t slot) { return driver::present(model("bprb"), slot); }
int32_t _bpfa_hdd_present(uint32_t slot) { return driver::present(model("bpfa"), slot); }
int32_t _bpfb_hdd_present(uint32_t slot) { return driver::present(model("bpfb"), slot); }
int32_t _bpfc_hdd_present(uint32_t slot) { return driver::present(model("bpfc"), slot); }
int32_t _bpfd_hdd_present(uint32_t slot) { return driver::present(model("bpfd"), slot); }
int32_t _bpfe_hdd_present(uint32_t slot) { return driver::present(model("bpfe"), slot); }
int32_t _bpff_hdd_present(uint32_t slot) { return driver::present(model("bpff"), slot); }
int32_t _bpfg_hdd_present(uint32_t slot) { return driver::present(model("bpfg"), slot); }
int32_t _bpma_hdd_present(uint32_t slot) { return driver::present(model("bpma"), slot); }

int32_t _bpra_hdd_type(uint32_t slot, uint8_t *type) {
    return driver::type(model("bpra"), slot, type);
}
int32_t _bprb_hdd_type(uint32_t slot, uint8_t *type) {
    return driver::type(model("bprb"), slot, type);
}
int32_t _bpfa_hdd_type(uint32_t slot, uint8_t *type) {
    return driver::type(model("bpfa"), slot, type);
}
int32_t _bpfb_hdd_type(uint32_t slot, uint8_t *type) {
    return driver::type(model("bpfb"), slot, type);
}
int32_t _bpfc_hdd_type(uint32_t slot, uint8_t *type) {
    return driver::type(model("bpfc"), slot, type);
}
int32_t _bpfd_hdd_type(uint32_t slot, uint8_t *type) {
    return driver::type(model("bpfd"), slot, type);
}
int32_t _bpfe_hdd_type(uint32_t slot, uint8_t *type) {
    return driver::type(model("bpfe"), slot, type);
}
int32_t _bpff_hdd_type(uint32_t slot, uint8_t *type) {
    return driver::type(model("bpff"), slot, type);
}
int32_t _bpfg_hdd_type(uint32_t slot, uint8_t *type) {
    return driver::type(model("bpfg"), slot, type);
}
int32_t _bpma_hdd_type(uint32_t slot, uint8_t *type) {
    return driver::type(model("bpma"), slot, type);
}

int32_t _bpra_hdd_nvme_i2c_info(uint32_t slot, void *route) {
    return driver::route(model("bpra"), slot, route);
}
int32_t _bprb_hdd_nvme_i2c_info(uint32_t slot, void *route) {
    return driver::route(model("bprb"), slot, route);
}
int32_t _bpfa_hdd_nvme_i2c_info(uint32_t slot, void *route) {
    return driver::route(model("bpfa"), slot, route);
}
int32_t _bpfb_hdd_nvme_i2c_info(uint32_t slot, void *route) {
    return driver::route(model("bpfb"), slot, route);
}
int32_t _bpfc_hdd_nvme_i2c_info(uint32_t slot, void *route) {
    return driver::route(model("bpfc"), slot, route);
}
int32_t _bpfd_hdd_nvme_i2c_info(uint32_t slot, void *route) {
    return driver::route(model("bpfd"), slot, route);
}
int32_t _bpfe_hdd_nvme_i2c_info(uint32_t slot, void *route) {
    return driver::route(model("bpfe"), slot, route);
}
int32_t _bpff_hdd_nvme_i2c_info(uint32_t slot, void *route) {
    return driver::route(model("bpff"), slot, route);
}
int32_t _bpfg_hdd_nvme_i2c_info(uint32_t slot, void *route) {
    return driver::route(model("bpfg"), slot, route);
}
int32_t _bpma_hdd_nvme_i2c_info(uint32_t slot, void *route) {
    return driver::route(model("bpma"), slot, route);
}

int32_t _bpra_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list) {
    return driver::list_u2_nvme(model("bpra"), board_id, position, list);
}
int32_t _bprb_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list) {
    return driver::list_u2_nvme(model("bprb"), board_id, position, list);
}
int32_t _bpfa_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list) {
    return driver::list_u2_nvme(model("bpfa"), board_id, position, list);
}
int32_t _bpfb_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list) {
    return driver::list_u2_nvme(model("bpfb"), board_id, position, list);
}
int32_t _bpfc_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list) {
    return driver::list_u2_nvme(model("bpfc"), board_id, position, list);
}
int32_t _bpfd_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list) {
    return driver::list_u2_nvme(model("bpfd"), board_id, position, list);
}
int32_t _bpfe_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list) {
    return driver::list_u2_nvme(model("bpfe"), board_id, position, list);
}
int32_t _bpff_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list) {
    return driver::list_u2_nvme(model("bpff"), board_id, position, list);
}
int32_t _bpfg_get_u2_nvme_list(uint32_t board_id, uint32_t position, void *list) {
    return driver::list_u2_nvme(model("bpfg"), board_id, position, list);
}

int32_t bpra_get_hdd_list(uint32_t board_id, uint32_t position, void *list) {
    return driver::list_disks(model("bpra"), board_id, position, list);
}
int32_t bprb_get_hdd_list(uint32_t board_id, uint32_t position, void *list) {
    return driver::list_disks(model("bprb"), board_id, position, list);
}
int32_t bpfa_get_hdd_list(uint32_t board_id, uint32_t position, void *list) {
    return driver::list_disks(model("bpfa"), board_id, position, list);
}
int32_t bpfc_get_hdd_list(uint32_t board_id, uint32_t position, void *list) {
    return driver::list_disks(model("bpfc"), board_id, position, list);
}
int32_t bpfg_get_hdd_list(uint32_t board_id, uint32_t position, void *list) {
    return driver::list_disks(model("bpfg"), board_id, position, list);
}
// Models with one connector: its position does not matter.
int32_t bpfb_get_hdd_list(uint32_t board_id, void *list) {
    return driver::list_disks(model("bpfb"), board_id, 0, list);
}
int32_t bpfd_get_hdd_list(uint32_t board_id, void *list) {
    return driver::list_disks(model("bpfd"), board_id, 0, list);
}
int32_t bpfe_get_hdd_list(uint32_t board_id, void *list) {
    return driver::list_disks(model("bpfe"), board_id, 0, list);
}
int32_t bpff_get_hdd_list(uint32_t board_id, void *list) {
    return driver::list_disks(model("bpff"), board_id, 0, list);
}

int32_t get_bpra_online_hdd_count(uint32_t slot_id) {
    return driver::online_count(model("bpra"), slot_id);
}
int32_t get_bprb_online_hdd_count(uint32_t slot_id) {
    return driver::online_count(model("bprb"), slot_id);
}
int32_t get_bpfa_online_hdd_count(uint32_t slot_id) {
    return driver::online_count(model("bpfa"), slot_id);
}
int32_t get_bpfb_online_hdd_count() { return driver::online_count(model("bpfb"), 0); }
int32_t get_bpfc_online_hdd_count() { return driver::online_count(model("bpfc"), 0); }
int32_t get_bpfd_online_hdd_count() { return driver::online_count(model("bpfd"), 0); }
int32_t get_bpff_online_hdd_count() { return driver::online_count(model("bpff"), 0); }
int32_t get_bpfg_online_hdd_count() { return driver::online_count(model("bpfg"), 0); }

}  // extern "C"
