// The on-board network controllers.
#include "base/lookup.h"
#include "boardfeatures/host.h"
#include "main/ncsi_table.h"

namespace {

using bf::board::NcsiController;

constexpr int32_t no_port = 255;

// A negative index lies beyond the table like any other that is too large.
const NcsiController *controller_at(int32_t index) {
    return bf::row_at(bf::board::ncsi_table, static_cast<uint32_t>(index));
}

template <typename Field>
int32_t copy_field(int32_t index, Field NcsiController::*field, Field *out) {
    const NcsiController *controller = controller_at(index);
    return bf::copy_row(controller != nullptr ? &(controller->*field) : nullptr, out);
}

template <std::size_t N>
int32_t copy_text_field(int32_t index, char (NcsiController::*field)[N], char *out) {
    const NcsiController *controller = controller_at(index);
    if (controller == nullptr || out == nullptr) {
        return -1;
    }
    bf::copy_text(out, controller->*field);
    return 0;
}

using PortBytes = uint8_t[bf::board::ncsi_max_ports];

int32_t port_byte(int32_t index, int32_t port, PortBytes NcsiController::*bytes) {
    const NcsiController *controller = controller_at(index);
    if (controller == nullptr) {
        return no_port;
    }
    const uint8_t *byte = bf::row_at(controller->*bytes, static_cast<uint32_t>(port));
    return byte != nullptr ? *byte : no_port;
}

}  // namespace

extern "C" {

int32_t GetNcsiNetCardMaxCount() { return static_cast<int32_t>(std::size(bf::board::ncsi_table)); }

int32_t GetNcsiNetCardBoardId(int32_t index, uint16_t *board_id) {
    return copy_field(index, &NcsiController::board_id, board_id);
}
int32_t GetNcsiNetCardPackageID(int32_t index, uint8_t *package_id) {
    return copy_field(index, &NcsiController::package_id, package_id);
}
int32_t GetNcsiNetCardSlotId(int32_t index, uint8_t *slot_id) {
    return copy_field(index, &NcsiController::slot_id, slot_id);
}
int32_t GetNcsiNetCardPortNum(int32_t index, uint8_t *ports) {
    return copy_field(index, &NcsiController::port_count, ports);
}
int32_t GetNcsiNetCardInterfaceType(int32_t index, uint8_t *type) {
    return copy_field(index, &NcsiController::interface_type, type);
}

int32_t GetNcsiNetCardDeviceName(int32_t index, char name[16]) {
    return copy_text_field(index, &NcsiController::device_name, name);
}
int32_t GetNcsiNetCardName(int32_t index, char name[32]) {
    return copy_text_field(index, &NcsiController::card_name, name);
}
int32_t GetNcsiNetCardChipManufactrue(int32_t index, char maker[32]) {
    return copy_text_field(index, &NcsiController::chip_maker, maker);
}
int32_t GetNcsiNetCardManufactrue(int32_t index, char maker[16]) {
    return copy_text_field(index, &NcsiController::card_maker, maker);
}
int32_t GetNcsiNetCardModule(int32_t index, char module[32]) {
    return copy_text_field(index, &NcsiController::module, module);
}

int32_t GetNcsiNetPortSpeed(int32_t index, int32_t port) {
    return port_byte(index, port, &NcsiController::port_speed);
}
int32_t GetNcsiNetPortSubinterface(int32_t index, int32_t port) {
    return port_byte(index, port, &NcsiController::sub_interface);
}
int32_t GetNcsiNetPortSubindex(int32_t index, int32_t port) {
    return port_byte(index, port, &NcsiController::sub_index);
}

}  // extern "C"
