// What the printers write to the information log, line by line.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "boardfeatures/pcieid_settings.h"
#include "support/scripted_platform.h"

using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string wide_rule(46, '-');
const std::string narrow_rule(35, '-');

pciecfg_item item(uint32_t type, uint8_t number, uint32_t cpu, uint32_t x1, uint32_t width) {
    pciecfg_item made = {};
    made.type = type;
    made.number = number;
    made.cpu = cpu;
    made.x1_start = x1;
    made.width = width;
    made.vpp_address = 0x4A;
    made.vpp_port = 1;
    return made;
}

I2cChipRoute route(const char *name) {
    I2cChipRoute made = {5, 0x27, 1, 0x70, 0x3, ""};
    std::strncpy(made.name, name, sizeof(made.name) - 1);
    return made;
}
const std::string route_line = "   5      27       1          70           3  ";

slimline_item slimline(const char *name) {
    slimline_item made = {};
    std::strncpy(made.name, name, sizeof(made.name) - 1);
    made.cpu = 1;
    made.x1_start = 8;
    made.width = 16;
    made.io = route("SLIM IO");
    made.vpp_address = 0x41;
    return made;
}
const std::string slimline_line =
    "CPU#1, X1S#008, WIDTH#X16\t" + route_line + "SLIM IO\tVPPADDR#0041\n";

// All messages are information of the same module and source.
std::vector<std::string> shown() {
    for (const scripted::Message &message : platform().messages) {
        EXPECT_EQ(message.channel, "info");
        EXPECT_EQ(message.number, 56u);
        EXPECT_EQ(message.source, "os_env");
    }
    return platform().texts();
}

}  // namespace

TEST(ShowPcie, LabelsEachType) {
    const struct {
        uint32_t type;
        std::string line;
    } rows[] = {
        {0, "PCIeSLOT#12\tCPU#1, X1START#032, WIDTH#X16\t\t\n"},
        {1, "\tCPU#1, X1START#032, WIDTH#X16\t\t\n"},
        {2, "OCPSLOT#12\tCPU#1, X1START#032, WIDTH#X16\t\t\n"},
        {3, "NVMeSLOT#12\tCPU#1, X1START#032, WIDTH#X16\t4A, IO#1\t\n"},
        {4, "\tCPU#1, X1START#032, WIDTH#X16\t\t\n"},
        {5, "\tCPU#1, X1START#032, WIDTH#X16\t\t\n"},
        {6, "\tCPU#1, X1START#032, WIDTH#X16\t\t\n"},
        {7, "MEZZSLOT#12\tCPU#1, X1START#032, WIDTH#X16\t\t\n"},
        {8, "\tCPU#1, X1START#032, WIDTH#X16\t\t\n"},
        {0x100, "\tCPU#1, X1START#032, WIDTH#X16\t\t\n"},
    };
    for (const auto &row : rows) {
        platform().clear_record();
        const pciecfg_item shown_item = item(row.type, 12, 1, 32, 16);
        show_pcieitem(&shown_item);
        EXPECT_THAT(shown(), ElementsAre(row.line));
        EXPECT_EQ(platform().messages[0].function, "show_pcieitem");
    }
}

TEST(ShowPcie, CutsColumnsTo31Characters) {
    const pciecfg_item wide = item(0, 255, 4000000000u, 4000000000u, 4000000000u);
    show_pcieitem(&wide);
    EXPECT_THAT(shown(),
                ElementsAre("PCIeSLOT#255\t" +
                            std::string("CPU#4000000000, X1START#4000000000, WIDTH").substr(0, 31) +
                            "\t\t\n"));
}

TEST(ShowPcie, HeadsTheList) {
    const auto list = std::make_unique<pciecfg_list>();
    list->count = 2;
    list->items[0] = item(2, 1, 0, 0, 8);
    list->items[1] = item(3, 255, 0, 108, 4);
    show_pcie("probed", list.get());
    EXPECT_THAT(
        shown(),
        ElementsAre(wide_rule, "    [                  probed] PCIe Slot Config (2 items)    \n",
                    wide_rule, "OCPSLOT#1\tCPU#0, X1START#000, WIDTH#X8\t\t\n",
                    "NVMeSLOT#255\tCPU#0, X1START#108, WIDTH#X4\t4A, IO#1\t\n"));
}

TEST(ShowPcie, StopsWhereTheListEnds) {
    const auto list = std::make_unique<pciecfg_list>();
    list->count = 129;
    show_pcie("a title of more than 24 characters", list.get());
    EXPECT_EQ(shown().size(), 3u + 128u);
    EXPECT_EQ(shown()[1],
              "    [a title of more than 24 characters] PCIe Slot Config (129 items)    \n");
}

TEST(ShowSlimlines, ListsEachSocket) {
    const auto list = std::make_unique<slimline_list>();
    list->count = 2;
    list->items[0] = slimline("SLIMLINE A");
    list->items[1] = slimline("SLIMLINE B");
    show_slimlines(list.get());
    EXPECT_THAT(shown(),
                ElementsAre(narrow_rule, "    Slimline  Socket (2 items)    \n", narrow_rule,
                            "SLIMLINE A\t" + slimline_line, "SLIMLINE B\t" + slimline_line));
}

TEST(ShowSlimlines, EndsTextsThatDoNotEnd) {
    slimline_item full = slimline("");
    std::memset(full.name, 'N', sizeof(full.name));
    std::memset(full.io.name, 'R', sizeof(full.io.name));
    full.vpp_address = 0x12345;
    show_slimlineitem(&full);
    EXPECT_THAT(shown(), ElementsAre(std::string(64, 'N') + "\tCPU#1, X1S#008, WIDTH#X16\t" +
                                     route_line + std::string(16, 'R') + "\tVPPADDR#12345\n"));
}

TEST(ShowBpdevs, ListsDevicesUplinksAndSlots) {
    const auto list = std::make_unique<bpdev_list>();
    list->count = 1;
    bpdev_item &device = list->items[0];
    device.kind = 5;
    device.hwid = 0x5459;
    device.hwid_device = route("HWID");
    device.second_device = route("SECOND");
    device.slot_base = 8;
    device.uplink_count = 2;
    for (uint32_t i = 0; i < 2; ++i) {
        device.uplinks[i].width = 8;
        device.uplinks[i].io = route("IO");
        device.uplinks[i].slot_count = i + 1;
        device.uplinks[i].slots[0] = 2 * i;
        device.uplinks[i].slots[1] = 2 * i + 1;
        device.uplinks[i].source = slimline(i == 0 ? "FIRST" : "NOSLIMLINE");
    }
    device.downslot_count = 1;
    device.downslots[0].offset = 21;
    device.downslots[0].width = 4;
    device.downslots[0].uplink_count = 2;
    device.downslots[0].uplinks[0] = 0;
    device.downslots[0].uplinks[1] = 1;
    show_bpdevs(list.get());
    EXPECT_THAT(shown(),
                ElementsAre(narrow_rule, "    Backplane Device (1 items)    \n", narrow_rule,
                            "NVMe HWID#5459 " + route_line + "HWID " + route_line +
                                "SECOND GID=false SLOTBASE=8\n",
                            "Uplink Count 2\n",                        //
                            "Index#0 | X8, " + route_line + "IO\n",    //
                            "  SlotCount: 1\n", "    0\n",             //
                            "FIRST\t" + slimline_line,                 //
                            "Index#1 | X8, " + route_line + "IO\n",    //
                            "  SlotCount: 2\n", "    2\n", "    3\n",  //
                            "NOSLIMLINE\t" + slimline_line,            //
                            "Downslot Count 1\n",                      //
                            "Index#0 | SLOTOFFSET #21, X4\n",          //
                            "  UplinkCount: 2\n", "    0\n", "    1\n"));
}

TEST(ShowBpdevs, NamesKindsAndFlags) {
    bpdev_item device = {};
    device.hwid_device = route("A");
    device.second_device = route("B");
    for (const uint32_t kind : {0u, 4u, 6u, 0x105u}) {
        platform().clear_record();
        device.kind = kind;
        device.hwid = 0xAB;
        device.gid = kind;
        device.slot_base = 0xFFFFFFFF;
        show_bpdevitem(&device);
        EXPECT_EQ(shown().front(), "PCIe HWID#00AB " + route_line + "A " + route_line + "B GID=" +
                                       (kind != 0 ? "true" : "false") + " SLOTBASE=-1\n");
    }
}

TEST(ShowBpdevs, StopsWhereTheRecordEnds) {
    const auto device = std::make_unique<bpdev_item>();
    device->uplink_count = 1000;
    device->downslot_count = 1000;
    device->uplinks[0].slot_count = 1000;
    device->downslots[0].uplink_count = 1000;
    show_bpdevitem(device.get());
    // heads, 16 uplinks of three lines, 32 slots of two, and the four entries of the first of each
    EXPECT_EQ(shown().size(), 3u + 16u * 3u + 32u * 2u + 4u + 4u);
}

TEST(ShowLists, PrintNothingForNull) {
    const auto list = std::make_unique<pciecfg_list>();
    show_pcie(nullptr, list.get());
    show_pcie("title", nullptr);
    show_pcieitem(nullptr);
    show_slimlines(nullptr);
    show_slimlineitem(nullptr);
    show_bpdevs(nullptr);
    show_bpdevitem(nullptr);
    show_bindslm(0, nullptr);
    show_endslot(0, nullptr);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(I2cToString, FillsTheBufferAndEndsIt) {
    const I2cChipRoute chip = route("NAME");
    char buffer[128];
    i2c_to_string(&chip, buffer, sizeof(buffer));
    EXPECT_EQ(buffer, route_line + "NAME");
    for (uint32_t size = 1; size < 64; ++size) {
        std::memset(buffer, '#', sizeof(buffer));
        i2c_to_string(&chip, buffer, size);
        EXPECT_EQ(std::string(buffer), (route_line + "NAME").substr(0, size - 1));
        EXPECT_EQ(buffer[size], '#');
    }
    buffer[0] = '#';
    i2c_to_string(&chip, buffer, 0);
    i2c_to_string(nullptr, buffer, 8);
    i2c_to_string(&chip, nullptr, 8);
    EXPECT_EQ(buffer[0], '#');
}
