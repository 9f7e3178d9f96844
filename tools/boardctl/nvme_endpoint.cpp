// What an NVMe disk answers to the basic management command: two SMBus block reads, each closed by
// a packet error code.
#include <algorithm>
#include <array>
#include <span>

#include "disks.h"

namespace boardctl {

namespace {

struct NvmeBlock {
    uint8_t command;  // and the offset of its first byte
    uint8_t length;
};
constexpr NvmeBlock status_block = {0, 6};
constexpr NvmeBlock identity_block = {8, 22};

uint8_t crc8(uint8_t crc, uint8_t byte) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) {
        crc = static_cast<uint8_t>((crc & 0x80) != 0 ? crc << 1 ^ 0x07 : crc << 1);
    }
    return crc;
}

// The code covers the addresses on the wire as well.
uint8_t packet_error_code(const I2cChipRoute &route, const NvmeBlock &block,
                          std::span<const uint8_t> bytes) {
    const auto write_address = static_cast<uint8_t>(route.address << 1);
    uint8_t crc = 0;
    for (const uint8_t byte :
         {write_address, block.command, static_cast<uint8_t>(write_address | 1)}) {
        crc = crc8(crc, byte);
    }
    for (const uint8_t byte : bytes) {
        crc = crc8(crc, byte);
    }
    return crc;
}

// Length, data and code of a block.
struct NvmeAnswer {
    std::array<uint8_t, 24> bytes = {};
    bool read = false;
    bool intact = false;
};

NvmeAnswer read_nvme_block(const I2cChipRoute &route, const NvmeBlock &block) {
    NvmeAnswer answer;
    const uint32_t size = block.length + 2u;
    answer.read = i2cRead(&route, size, answer.bytes.data(), 1, block.command) >= 0;
    const std::span covered = std::span(answer.bytes).first(size - 1);
    answer.intact = answer.read && covered[0] == block.length &&
                    answer.bytes[size - 1] == packet_error_code(route, block, covered);
    return answer;
}

// Bits of a critical warning; they stand inverted in the answer.
constexpr const char *smart_warning_names[] = {"spare_low", "temperature", "reliability_degraded",
                                               "read_only", "backup_failed"};

Json warnings_of(uint8_t inverted) {
    Json active = Json::array();
    for (std::size_t bit = 0; bit < std::size(smart_warning_names); ++bit) {
        if ((inverted >> bit & 1) == 0) {
            active.push_back(smart_warning_names[bit]);
        }
    }
    return active;
}

// In degrees C; 0x80 to 0xC3 are no temperature: not measured, a failed sensor, reserved.
Json temperature_of(uint8_t code) {
    return code >= 0x80 && code <= 0xC3 ? Json() : Json(static_cast<int8_t>(code));
}

Json serial_of(std::span<const uint8_t> field) {
    std::string serial(field.begin(), field.end());
    serial.erase(serial.find_last_not_of(std::string_view(" \0", 2)) + 1);
    return serial;
}

}  // namespace

Json nvme_endpoint_json(Session &session, const std::string &disk, const I2cChipRoute &route) {
    const NvmeAnswer status = read_nvme_block(route, status_block);
    const NvmeAnswer identity = read_nvme_block(route, identity_block);
    if (!status.read || !identity.read) {
        session.fail(fmt::format("{}: nothing answers at {}", disk, route_text(route_json(route))));
        return nullptr;
    }
    const bool intact = status.intact && identity.intact;
    if (!intact) {
        session.fail(
            fmt::format("{}: what answers at {} is garbled", disk, route_text(route_json(route))));
    }
    const uint8_t flags = status.bytes[1];
    return {{"intact", intact},
            {"status_flags", hex_byte(flags)},
            {"ready", (flags & 0x40) == 0},
            {"functional", (flags & 0x20) != 0},
            {"reset_required", (flags & 0x10) == 0},
            {"pcie_links", {(flags & 0x08) != 0, (flags & 0x04) != 0}},
            {"smart_warnings", warnings_of(status.bytes[2])},
            {"temperature", temperature_of(status.bytes[3])},
            {"wear_percent", status.bytes[4]},
            {"vendor_id", hex_id(uint32_t{identity.bytes[1]} << 8 | identity.bytes[2])},
            {"serial", serial_of(std::span(identity.bytes).subspan(3, 20))}};
}

}  // namespace boardctl
