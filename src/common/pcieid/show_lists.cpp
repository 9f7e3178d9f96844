// Prints the lists of PCIe identification to the information log.
#include <cstdarg>
#include <cstdio>

#include "base/lookup.h"
#include "boardfeatures/pcieid_settings.h"
#include "common/pcieid/lists.h"
#include "common/pcieid/pcieid_log.h"

#define SHOW(...) LOG_INFO(bf::module_pcieid, __VA_ARGS__)

namespace {

constexpr char log_source[] = "os_env";

constexpr char wide_rule[] = "----------------------------------------------";
constexpr char narrow_rule[] = "-----------------------------------";
static_assert(sizeof(wide_rule) - 1 == 46 && sizeof(narrow_rule) - 1 == 35);

// The types that have a label; the others show none.
struct SlotLabel {
    uint32_t type;
    char text[12];
};
constexpr SlotLabel slot_labels[] = {
    {PCIECFG_HDD_SLOT, "NVMeSLOT"},
    {PCIECFG_PCIE_SLOT, "PCIeSLOT"},
    {PCIECFG_MEZZ_SLOT, "MEZZSLOT"},
    {PCIECFG_OCP_SLOT, "OCPSLOT"},
};

// A column of a line; longer texts are cut.
template <std::size_t Size>
struct Column {
    char text[Size] = {};

    BP_PRINTF(2, 3) void print(const char *format, ...) {
        va_list values;
        va_start(values, format);
        vsnprintf(text, Size, format, values);
        va_end(values);
    }
};

// Wide enough for every route.
struct RouteText {
    char text[128];
    explicit RouteText(const I2cChipRoute &route) { i2c_to_string(&route, text, sizeof(text)); }
};

}  // namespace

extern "C" {

void show_pcieitem(const pciecfg_item *item) {
    if (item == nullptr) {
        return;
    }
    Column<32> slot;
    if (const SlotLabel *label = bf::find_row(slot_labels, &SlotLabel::type, item->type)) {
        slot.print("%s#%u", label->text, item->number);
    }
    Column<32> lanes;
    lanes.print("CPU#%u, X1START#%03u, WIDTH#X%u", item->cpu, item->x1_start, item->width);
    Column<32> vpp;
    if (item->type == PCIECFG_HDD_SLOT) {
        vpp.print("%02X, IO#%d", item->vpp_address, item->vpp_port);
    }
    SHOW("%s\t%s\t%s\t\n", slot.text, lanes.text, vpp.text);
}

void show_pcie(const char *title, const pciecfg_list *list) {
    if (title == nullptr || list == nullptr) {
        return;
    }
    SHOW("%s", wide_rule);
    SHOW("    [%24s] PCIe Slot Config (%u items)    \n", title, list->count);
    SHOW("%s", wide_rule);
    for (const pciecfg_item &item : bf::entries(*list)) {
        show_pcieitem(&item);
    }
}

void show_slimlineitem(const slimline_item *item) {
    if (item == nullptr) {
        return;
    }
    Column<64> lanes;
    lanes.print("CPU#%u, X1S#%03u, WIDTH#X%u", item->cpu, item->x1_start, item->width);
    Column<32> vpp;
    vpp.print("VPPADDR#%04X", item->vpp_address);
    SHOW("%s\t%s\t%s\t%s\n", bf::Terminated(item->name).text, lanes.text, RouteText(item->io).text,
         vpp.text);
}

void show_slimlines(const slimline_list *list) {
    if (list == nullptr) {
        return;
    }
    SHOW("%s", narrow_rule);
    SHOW("    Slimline  Socket (%u items)    \n", list->count);
    SHOW("%s", narrow_rule);
    for (const slimline_item &item : bf::entries(*list)) {
        show_slimlineitem(&item);
    }
}

void show_bindslm(uint32_t index, const bpdev_uplink *uplink) {
    if (uplink == nullptr) {
        return;
    }
    SHOW("Index#%u | X%u, %s\n", index, uplink->width, RouteText(uplink->io).text);
    SHOW("  SlotCount: %u\n", uplink->slot_count);
    for (const uint32_t offset : bf::entries(uplink->slots, uplink->slot_count)) {
        SHOW("    %u\n", offset);
    }
    show_slimlineitem(&uplink->source);
}

void show_endslot(uint32_t index, const bpdev_downslot *slot) {
    if (slot == nullptr) {
        return;
    }
    SHOW("Index#%u | SLOTOFFSET #%u, X%u\n", index, slot->offset, slot->width);
    SHOW("  UplinkCount: %u\n", slot->uplink_count);
    for (const uint32_t uplink : bf::entries(slot->uplinks, slot->uplink_count)) {
        SHOW("    %u\n", uplink);
    }
}

void show_bpdevitem(const bpdev_item *device) {
    if (device == nullptr) {
        return;
    }
    Column<32> hwid;
    hwid.print("HWID#%04X", device->hwid);
    Column<64> base;
    base.print("GID=%s SLOTBASE=%d", device->gid != 0 ? "true" : "false",
               static_cast<int>(device->slot_base));
    SHOW("%s %s %s %s %s\n", device->kind == BPDEV_DISK ? "NVMe" : "PCIe", hwid.text,
         RouteText(device->hwid_device).text, RouteText(device->second_device).text, base.text);
    uint32_t index = 0;
    SHOW("Uplink Count %u\n", device->uplink_count);
    for (const bpdev_uplink &uplink : bf::entries(device->uplinks, device->uplink_count)) {
        show_bindslm(index++, &uplink);
    }
    index = 0;
    SHOW("Downslot Count %u\n", device->downslot_count);
    for (const bpdev_downslot &slot : bf::entries(device->downslots, device->downslot_count)) {
        show_endslot(index++, &slot);
    }
}

void show_bpdevs(const bpdev_list *list) {
    if (list == nullptr) {
        return;
    }
    SHOW("%s", narrow_rule);
    SHOW("    Backplane Device (%u items)    \n", list->count);
    SHOW("%s", narrow_rule);
    for (const bpdev_item &device : bf::entries(*list)) {
        show_bpdevitem(&device);
    }
}

}  // extern "C"
