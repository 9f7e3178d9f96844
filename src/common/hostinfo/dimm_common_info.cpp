// DIMM sockets by the numbers of the host firmware and of memory events.
#include <algorithm>
#include <atomic>
#include <cstring>

#include "base/log.h"
#include "base/lookup.h"
#include "boardfeatures/config.h"
#include "boardfeatures/host.h"
#include "boardfeatures/identity.h"
#include "main/dimm_table.h"

using namespace bf::board;

static constexpr char log_source[] = "dimm_common_info";

namespace {

constexpr uint32_t log_module = 52;
constexpr uint8_t not_fitted = 255;
constexpr std::size_t label_size = 10;

// Made on the first look-up and kept. Threads that come at once make the same choice.
std::atomic<const DimmTable *> chosen_table{nullptr};

const DimmTable *choose_table() {
    const uint32_t board_id = GetBoardId();
    uint32_t customer = 0;
    char identity[64] = {};
    if (IPMI_LoadCustomID(&customer, identity) != 0) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]IPMI_LoadCustomID failed\n", log_source,
                             __LINE__);
        return &default_dimm_table;
    }
    const bool customer_board =
        std::ranges::find(customer_label_boards, board_id) != std::end(customer_label_boards);
    return customer == customer_label_type && customer_board ? &customer_dimm_table
                                                             : &default_dimm_table;
}

const DimmTable &sockets() {
    const DimmTable *table = chosen_table.load(std::memory_order_acquire);
    if (table == nullptr) {
        table = choose_table();
        chosen_table.store(table, std::memory_order_release);
    }
    return *table;
}

constexpr uint32_t bios_channel_of(const DimmDevInfo &socket) {
    return socket.controller * dimm_channels + socket.channel;
}

// A memory event that does not name its DIMM directly.
struct EventLocation {
    uint32_t cpu;
    uint32_t controller;
    uint32_t channel;
    uint32_t slot;
};

// Bit 3 of an event's third byte says nothing about the place.
constexpr uint32_t place_bits(uint32_t data3) { return data3 & 0xF7; }
constexpr bool is_direct(uint32_t data3) { return (data3 & 1) != 0; }
constexpr uint32_t direct_number(uint32_t data3) { return place_bits(data3) >> 1; }

constexpr EventLocation location_of(uint32_t data2, uint32_t data3) {
    const uint32_t place = place_bits(data3);
    return {(data2 & 0xFF) >> 4, ((place >> 2) & 0x0C) | (place >> 6), data2 & 0x0F,
            (place >> 1) & 3};
}

// The socket of an event, zeroed when there is none.
DimmDevInfo socket_of_event(uint32_t data2, uint32_t data3) {
    const EventLocation at = location_of(data2, data3);
    DimmDevInfo socket = {};
    GetDimmDevInfoByPhysiclInfo(at.cpu, at.controller, at.channel, at.slot, &socket);
    return socket;
}

DimmDevInfo socket_of_packed(uint32_t location) {
    DimmDevInfo socket = {};
    diofluADDCGetMemMaskInfoBySel(location, &socket);
    return socket;
}

int32_t number_of(const DimmDevInfo &socket) {
    return socket.dimm_num < not_fitted ? socket.dimm_num : 0;
}

void give_label(const DimmDevInfo &socket, char *label) {
    std::memcpy(label, socket.silk_screen, label_size - 1);
    label[label_size - 1] = '\0';
}

// Events of this type carry a packed location in their third byte.
bool is_packed(uint32_t event_type) { return (event_type & 0x0F) == 5; }

}  // namespace

extern "C" {

// ---- look-ups ----

int32_t GetDimmDevInfoByIndex(uint32_t index, DimmDevInfo *out) {
    return out == nullptr ? -1
                          : bf::copy_row(bf::find_row(sockets(), &DimmDevInfo::index, index), out);
}

int32_t Redfish_GetDimmDevInfoByIndex(uint32_t index, DimmDevInfo *out) {
    const int32_t result = GetDimmDevInfoByIndex(index, out);
    if (result == 0) {
        out->cpu = static_cast<uint8_t>(out->cpu + GetCpuSilkScreenIndexFixValue());
    }
    return result;
}

int32_t GetDimmDevInfoByDimmNum(uint32_t dimm_num, DimmDevInfo *out) {
    return out == nullptr
               ? -1
               : bf::copy_row(bf::find_row(sockets(), &DimmDevInfo::dimm_num, dimm_num), out);
}

int32_t GetDimmDevInfoByPhysiclInfo(uint32_t cpu, uint32_t controller, uint32_t channel,
                                    uint32_t slot, DimmDevInfo *out) {
    if (out == nullptr) {
        return -1;
    }
    for (const DimmDevInfo &socket : sockets()) {
        if (socket.cpu == cpu && socket.controller == controller && socket.channel == channel &&
            socket.slot == slot) {
            *out = socket;
            return 0;
        }
    }
    LOG_ERROR(log_module, " Unable to get dimmdevinfo by physiclinfo.dimm = %d",
              static_cast<int>(slot));
    return -1;
}

int32_t GetDimmCtrlandChalNumByBiosChal(uint32_t bios_channel, uint8_t *controller,
                                        uint8_t *channel) {
    if (controller == nullptr || channel == nullptr) {
        return -1;
    }
    for (const DimmDevInfo &socket : sockets()) {
        if (bios_channel_of(socket) == bios_channel) {
            *controller = socket.controller;
            *channel = socket.channel;
            return 0;
        }
    }
    return -1;
}

int32_t GetRealMaxDimmCount() {
    int32_t count = 0;
    for (const DimmDevInfo &socket : sockets()) {
        count += socket.dimm_num < not_fitted ? 1 : 0;
    }
    return count;
}

int32_t getAllDimmSilkScreen(const DimmDevInfo **table) {
    if (table == nullptr) {
        return 0;
    }
    *table = sockets().data();
    return static_cast<int32_t>(dimm_sockets);
}

// ---- memory events ----

int32_t GetDimmIndexBySelInfo(uint32_t data2, uint32_t data3) {
    return is_direct(data3) ? static_cast<int32_t>(direct_number(data3))
                            : socket_of_event(data2, data3).index;
}

int32_t GetDimmNumberBySelInfo(uint32_t data2, uint32_t data3) {
    return is_direct(data3) ? static_cast<int32_t>(direct_number(data3))
                            : number_of(socket_of_event(data2, data3));
}

int32_t GetDimmCardIndexBySelInfo(uint32_t data2, uint32_t data3) {
    return is_direct(data3) ? DIMM_ON_MAIN_BOARD : socket_of_event(data2, data3).card_index;
}

int32_t GetDimmSilkScreenBySelInfo(uint32_t data2, uint32_t data3, char *label) {
    if (label == nullptr) {
        return -1;
    }
    if (!is_direct(data3)) {
        give_label(socket_of_event(data2, data3), label);
    }
    return 0;
}

// ---- packed locations ----

int32_t diofluADDCGetMemMaskInfoBySel(uint32_t location, DimmDevInfo *out) {
    if (out == nullptr) {
        return -1;
    }
    *out = {};
    uint8_t controller = 0;
    uint8_t channel = 0;
    if (GetDimmCtrlandChalNumByBiosChal((location >> 2) & 0x0F, &controller, &channel) == 0) {
        GetDimmDevInfoByPhysiclInfo((location & 0xFF) >> 6, controller, channel, location & 3, out);
    }
    return 0;
}

int32_t DiofluADDDCGetDimmSilkScreenBySelInfo(uint32_t location, char *label) {
    if (label == nullptr) {
        return -1;
    }
    const DimmDevInfo socket = socket_of_packed(location);
    if (socket.silk_screen[0] != '\0') {
        give_label(socket, label);
    }
    return 0;
}

int32_t GetDimmNumByBiosSelInfo(uint32_t event_type, uint32_t data2, uint32_t data3) {
    return is_packed(event_type) ? number_of(socket_of_packed(data3))
                                 : GetDimmNumberBySelInfo(data2, data3);
}

int32_t GetDimmCardIndexByBiosSelInfo(uint32_t event_type, uint32_t data2, uint32_t data3) {
    return is_packed(event_type) ? socket_of_packed(data3).card_index
                                 : GetDimmCardIndexBySelInfo(data2, data3);
}

// ---- counts ----

int32_t GetMaxDimmCount() { return static_cast<int32_t>(dimm_sockets); }
int32_t GetControllerCountPerCPU() { return static_cast<int32_t>(dimm_controllers); }
int32_t GetChannelCountPerController() { return static_cast<int32_t>(dimm_channels); }
int32_t GetDimmCountPerChannel() { return static_cast<int32_t>(dimm_slots); }
int32_t GetDimmCountPerCPU() { return static_cast<int32_t>(dimms_per_cpu); }

}  // extern "C"
