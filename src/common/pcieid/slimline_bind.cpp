// Which slimline socket feeds each uplink of a backplane device.
#include "boardfeatures/pcieid_enum.h"
#include "common/pcieid/lists.h"
#include "common/pcieid/pcieid_log.h"
#include "common/pcieid/steps.h"

static constexpr char log_source[] = "slimline_bind";

namespace bf::pcieid {
namespace {

// What an uplink without a socket carries: lanes that no CPU has.
constexpr slimline_item no_slimline = {"NOSLIMLINE", 8, 240, 8, PCIECAP_OBVERSE, {}, 0};

uint32_t _dest_slimline_io_parse(const I2cChipRoute &io, pcieid_cable &cable) {
    int32_t result = dest_slimline_get_idata(&io, &cable.uplink_index);
    if (result < 0) {
        PCIEID_WARN("%s(@%d), dest_slimline_get_idata()=%d\n", result);
        return PCIEID_CABLE_NO_INDEX;
    }
    uint32_t vpp = 0;
    result = dest_slimline_get_odata(&io, &vpp, &cable.word_index);
    if (result < 0) {
        PCIEID_WARN("%s(@%d), dest_slimline_get_odata()=%d\n", result);
        return PCIEID_CABLE_NO_WORD;
    }
    return PCIEID_CABLE_BOUND;
}

pcieid_cable _slimline_io_parse(const I2cChipRoute &io, const slimline_list &slimlines) {
    pcieid_cable cable = {};
    cable.state = _dest_slimline_io_parse(io, cable);
    if (cable.state == PCIEID_CABLE_BOUND && cable.word_index >= bf::entries(slimlines).size()) {
        PCIEID_WARN("%s(@%d), _src_index(%u) >= pres_slimline_list->item_count(%u).\n",
                    cable.word_index, slimlines.count);
        cable.state = PCIEID_CABLE_NO_SOCKET;
    }
    return cable;
}

}  // namespace

int32_t bpdev_slimline_bind(bpdev_item *device, const slimline_list *slimlines,
                            pcieid_cable *cables) {
    if (device == nullptr || slimlines == nullptr) {
        return -1;
    }
    int32_t bound = 0;
    uint32_t k = 0;
    for (bpdev_uplink &uplink : bf::entries(device->uplinks, device->uplink_count)) {
        const pcieid_cable cable = _slimline_io_parse(uplink.io, *slimlines);
        if (cable.state == PCIEID_CABLE_BOUND) {
            uplink.source = slimlines->items[cable.word_index];
            PCIEID_INFO(
                "[Func:%s,Line:%d], downstream slimline#%u parse Ok, dest_idx_of_hw=%u, "
                "src_name=%s\n",
                k, cable.uplink_index, bf::Terminated(uplink.source.name).text);
            ++bound;
        } else {
            uplink.source = no_slimline;
            PCIEID_WARN(
                "[Func:%s,Line:%d], downstream slimline#%u parse failed, dest_idx_of_hw=%u, "
                "src_name=%s\n",
                k, 0u, no_slimline.name);
        }
        if (cables != nullptr) {
            cables[k] = cable;
        }
        ++k;
    }
    return bound > 0 ? bound : -1;
}

}  // namespace bf::pcieid

extern "C" {

int32_t src_slimline_output_single(uint32_t index, const slimline_item *slimline) {
    if (slimline == nullptr) {
        return -1;
    }
    const int32_t result = src_slimline_set_odata(&slimline->io, slimline->vpp_address, index);
    if (result < 0) {
        PCIEID_WARN("%s(@%d), src_slimline_set_odata(vpp=%02x, srcindex=%u)=%d.\n",
                    slimline->vpp_address, index, result);
    }
    return result;
}

void src_slimline_output_all(const slimline_list *slimlines) {
    if (slimlines == nullptr) {
        return;
    }
    uint32_t k = 0;
    for (const slimline_item &slimline : bf::entries(*slimlines)) {
        const int32_t result = src_slimline_output_single(k, &slimline);
        if (result < 0) {
            PCIEID_WARN("%s(@%d), src_slimline_output_single(%u, SLIMLINE:%s)=%d.\n", k,
                        bf::Terminated(slimline.name).text, result);
        }
        ++k;
    }
}

int32_t bpdev_slimline_bind(bpdev_item *device, const slimline_list *slimlines) {
    return bf::pcieid::bpdev_slimline_bind(device, slimlines, nullptr);
}

}  // extern "C"
