// The disks of a [[backplane]]: what its expanders show of each bay, and the management endpoints
// of the NVMe disks.
#include <algorithm>
#include <array>
#include <cstdio>

#include "board_reader.h"

namespace boardsim {

namespace {

// ---- backplanes ----

constexpr uint32_t most_expanders = 4;
constexpr uint32_t most_bays = 25;
constexpr uint32_t bays_per_expander = 8;
constexpr int8_t none = -1;

// A model's bays, counted from 1, eight to an expander in order, and the channel of the backplane's
// NVMe switch that each is on.
struct Bays {
    const char *model;
    uint32_t count;
    std::array<uint8_t, most_expanders> expanders;
    std::array<int8_t, most_bays> channels;
};
constexpr std::array<int8_t, most_bays> every_bay = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
constexpr std::array<int8_t, most_bays> some_even_bays = {
    none, 0,    none, 1,    none, 2,    none, 3,    none, none, none, none, none,
    none, none, none, none, 4,    none, 5,    none, 6,    none, 7,    none};
// The third bay of each column has no lanes; the first two columns are crossed.
constexpr std::array<int8_t, most_bays> two_of_a_column = {1, 0, none, 3, 2, none,
                                                           4, 5, none, 6, 7, none};

constexpr std::array bays_of_models = {
    Bays{"BPFA", 8, {0x21}, every_bay},
    Bays{"BPFB", 8, {0x21}, every_bay},
    Bays{"BPFC", 12, {0x21, 0x22}, every_bay},
    Bays{"BPFD", 25, {0x21, 0x22, 0x23, 0x24}, some_even_bays},
    Bays{"BPFE", 24, {0x21, 0x22, 0x23}, some_even_bays},
    Bays{"BPFF", 24, {0x29, 0x22, 0x23}, some_even_bays},
    Bays{"BPFG", 12, {0x21, 0x22}, two_of_a_column},
    Bays{"BPMA", 2, {0x21}, {none, none}},
    Bays{"BPRA", 2, {0x21}, every_bay},
    Bays{"BPRB", 2, {0x21}, every_bay},
};

// ---- what a bay shows ----

constexpr uint16_t all_empty = 0xFFFF;

struct Kind {
    const char *name;
    uint16_t field;  // of the bay, two bits; 3 is an empty one
};
constexpr std::array kinds = {Kind{"nvme", 1}, Kind{"sas", 0}, Kind{"sata", 0}, Kind{"unknown", 2}};
constexpr const char *nvme = "nvme";

const Kind &kind_of(Table &disk) {
    const std::string name = disk.required_text("kind", 16);
    const auto found = std::find_if(kinds.begin(), kinds.end(),
                                    [&](const Kind &each) { return name == each.name; });
    if (found == kinds.end()) {
        disk.fail("kind", "there is no kind \"" + name + "\"; there are nvme, sas, sata, unknown");
    }
    return *found;
}

// ---- NVMe management ----

// The switch of the backplane, and the disk on each of its channels.
constexpr uint32_t nvme_switch = 0x6A;
constexpr uint32_t nvme_endpoint = 0x72;

// NVMe basic management: two blocks, each its length, its data and a PEC over the SMBus block read
// that begins with it.
constexpr uint32_t status_block = 0;
constexpr uint32_t identity_block = 8;
constexpr uint32_t endpoint_size = 32;
constexpr uint8_t status_length = 6;
constexpr uint8_t identity_length = 22;
constexpr size_t serial_length = 20;

// No contention, ready, functional, no reset needed, first port's link up.
constexpr uint8_t healthy = 0xBB;
constexpr uint8_t no_smart_warning = 0xFF;  // the bits are inverted
constexpr int32_t usual_celsius = 30;
constexpr uint32_t usual_vendor = 0x1D0F;

uint8_t crc8(uint8_t crc, uint8_t byte) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) {
        crc = static_cast<uint8_t>((crc & 0x80) != 0 ? crc << 1 ^ 0x07 : crc << 1);
    }
    return crc;
}

void seal(std::span<uint8_t> cells, uint32_t block, bool wrong) {
    constexpr uint8_t write_address = nvme_endpoint << 1;
    constexpr uint8_t read_address = write_address | 1;
    uint8_t crc = 0;
    for (const uint8_t byte : {write_address, static_cast<uint8_t>(block), read_address}) {
        crc = crc8(crc, byte);
    }
    const uint32_t end = block + 1u + cells[block];
    for (uint32_t i = block; i < end; ++i) {
        crc = crc8(crc, cells[i]);
    }
    cells[end] = static_cast<uint8_t>(wrong ? ~crc : crc);
}

constexpr std::array endpoint_keys = {"status", "smart",  "temperature", "wear",
                                      "vendor", "serial", "answers",     "wrong_pec"};

void fit_endpoint(Builder &builder, Table &disk, const Route &route, const std::string &place) {
    ChipRecord &chip = builder.fit(disk, route, registers_model.name, place, endpoint_size);
    chip.answers = disk.flag("answers").value_or(true) ? 1 : 0;
    const auto cells = builder.cells(chip);
    cells[0] = status_length;
    cells[1] = static_cast<uint8_t>(disk.number("status", 0, 0xFF).value_or(healthy));
    cells[2] = static_cast<uint8_t>(disk.number("smart", 0, 0xFF).value_or(no_smart_warning));
    cells[3] =
        static_cast<uint8_t>(disk.signed_number("temperature", -60, 127).value_or(usual_celsius));
    cells[4] = static_cast<uint8_t>(disk.number("wear", 0, 0xFF).value_or(0));
    const uint32_t vendor = disk.number("vendor", 0, 0xFFFF).value_or(usual_vendor);
    cells[8] = identity_length;
    cells[9] = static_cast<uint8_t>(vendor >> 8);
    cells[10] = static_cast<uint8_t>(vendor);
    const std::string serial = disk.text("serial", serial_length).value_or(place);
    std::fill_n(&cells[11], serial_length, uint8_t{' '});
    std::copy_n(serial.begin(), std::min(serial.size(), serial_length), &cells[11]);
    const bool wrong = disk.flag("wrong_pec").value_or(false);
    seal(cells, status_block, wrong);
    seal(cells, identity_block, wrong);
}

// ---- a backplane's expanders ----

// The expanders that a list of addresses names, as bits.
uint32_t named_expanders(Table &backplane, const char *key, const Bays &bays) {
    uint32_t named = 0;
    for (const uint8_t address :
         backplane.bytes(key, most_expanders).value_or(std::vector<uint8_t>())) {
        const auto found = std::find(bays.expanders.begin(), bays.expanders.end(), address);
        if (address == 0 || found == bays.expanders.end()) {
            char text[8];
            std::snprintf(text, sizeof(text), "0x%02X", address);
            backplane.fail(key, std::string("the backplane has no expander ") + text);
        }
        named |= 1u << (found - bays.expanders.begin());
    }
    return named;
}

}  // namespace

void read_disks(Builder &builder, Table &backplane, std::string_view model,
                std::string_view connector, uint32_t bus) {
    const auto found = std::find_if(bays_of_models.begin(), bays_of_models.end(),
                                    [&](const Bays &each) { return model == each.model; });
    if (found == bays_of_models.end()) {
        return;
    }
    const Bays &bays = *found;
    std::array<uint16_t, most_expanders> words;
    words.fill(all_empty);
    uint32_t taken = 0;
    for (Table &disk : backplane.tables("disks")) {
        const uint32_t bay = disk.required_number("bay", 1, bays.count) - 1;
        const Kind &kind = kind_of(disk);
        const std::string place = std::string(connector) + " bay " + std::to_string(bay + 1);
        if ((taken >> bay & 1) != 0) {
            disk.fail("bay", place + " already holds a disk");
        }
        taken |= 1u << bay;
        const uint32_t shift = bay % bays_per_expander * 2;
        uint16_t &word = words[bay / bays_per_expander];
        word = static_cast<uint16_t>((word & ~(3u << shift)) | uint32_t{kind.field} << shift);
        if (kind.name == std::string_view(nvme) && bays.channels[bay] != none) {
            const auto channel = static_cast<uint8_t>(bays.channels[bay]);
            fit_endpoint(builder, disk, {bus, nvme_endpoint, nvme_switch, channel}, place);
        }
        for (const char *key : endpoint_keys) {
            if (disk.has(key) && kind.name != std::string_view(nvme)) {
                disk.fail(key, "only an nvme disk has a management endpoint");
            }
            if (disk.has(key) && bays.channels[bay] == none) {
                disk.fail(key, place + " has no NVMe management");
            }
        }
        disk.finish();
    }
    const uint32_t silent = named_expanders(backplane, "silent_expanders", bays);
    const uint32_t floating = named_expanders(backplane, "floating_expanders", bays);
    for (uint32_t i = 0; i < most_expanders && bays.expanders[i] != 0; ++i) {
        const uint16_t pins = (floating >> i & 1) != 0 ? all_empty : words[i];
        ChipRecord &chip = builder.fit_expander(backplane, {bus, bays.expanders[i], 0, 0},
                                                std::string(connector) + " disks", pins);
        chip.answers = (silent >> i & 1) == 0 ? 1 : 0;
    }
}

}  // namespace boardsim
