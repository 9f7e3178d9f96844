// Runs one operation a given number of times and nothing else, so that the difference of two runs
// under callgrind is what the operation costs in instructions: scripts/instructions.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "boardfeatures/bios.h"
#include "boardfeatures/cooling.h"
#include "boardfeatures/dimm.h"
#include "boardfeatures/mailbox.h"
#include "boardfeatures/pcieid_enum.h"
#include "boardfeatures/storage.h"
#include "support/instant_board.h"
#include "support/pciecfg_model.h"

namespace {

struct Work {
    pciecfg_list list;
    pciecfg_list sorted;
    pciecfg_image image;
    pciecap_list up;
    pciecap_list wanted;
    pcieid_workspace workspace;
    FanPidParas pid;
    CoolingModeRecord modes[FAN_COOLING_MODES_MAX];
    FanPower power[FAN_POWER_ROWS];
    U2NvmeList nvme;
    HddList disks;
};

Work work;
volatile uint32_t sink;

struct Operation {
    const char *name;
    const char *what;
    void (*run)();
};

const Operation operations[] = {
    {"crc", "my_crc16 of 2 KiB", [] { sink = my_crc16(work.image.items[0], 2048); }},
    {"encode", "encoding of 128 items",
     [] { sink = static_cast<uint32_t>(pciecfg_encode(&work.list, &work.image)); }},
    {"sort", "sorting of 128 items in random order",
     [] { sink = static_cast<uint32_t>(pciecfg_sort(&work.list, &work.sorted)); }},
    {"lanes", "conversion of a x16 link into four x4 links",
     [] {
         pciecap_list down = work.wanted;
         sink = static_cast<uint32_t>(pciecap_convert(&work.up, &down));
     }},
    {"dimm", "the label of the last socket from a memory event",
     [] {
         char label[10];
         sink = static_cast<uint32_t>(GetDimmSilkScreenBySelInfo(0x11, 0x02, label));
     }},
    {"bios", "the text of the last BIOS option's value",
     [] {
         constexpr uint8_t request[3] = {128, 5, 1};
         const char *name = nullptr;
         char text[32];
         uint8_t completion = 0;
         sink = static_cast<uint32_t>(
             BIOSInfoHandle(BIOS_VALUE_TO_TEXT, request, &name, nullptr, text, &completion));
     }},
    {"mailbox", "an exchange with a card that answers at once, platform and semaphore included",
     [] {
         constexpr uint8_t request[16] = {};
         uint8_t response[MOORING_DATA_MAX];
         uint8_t length = 0;
         sink = static_cast<uint32_t>(VEL_Mooring_SendGetMsgFromPier(
             6, 1, 2, 3, request, sizeof(request), response, &length));
     }},
    {"identify", "identification of boards/tarn-maximal, its 71 accesses included",
     [] {
         sink = static_cast<uint32_t>(pcieid_identify(&work.workspace, &work.workspace.identified));
     }},
    {"constant", "a cooling constant, the configuration known",
     [] { sink = static_cast<uint32_t>(FAN_GetPulse()); }},
    {"pid", "the PID parameters of a component",
     [] { sink = static_cast<uint32_t>(FAN_GetCPULargePIDParas(&work.pid)); }},
    {"modes", "all cooling modes",
     [] { sink = static_cast<uint32_t>(FAN_GetCoolingMode(work.modes)); }},
    {"power", "the fan power table",
     [] { sink = static_cast<uint32_t>(FAN_GetTotalPower(work.power, FAN_TYPE_DUAL_ROTOR)); }},
    {"disk-status", "presence of the last of 24 bays",
     [] { sink = static_cast<uint32_t>(GetDiskOnlineStatus(24)); }},
    {"every-disk-status", "presence of the disks 1 to 200",
     [] {
         for (uint32_t slot = 1; slot <= GetDiskMaxCount(); ++slot) {
             sink = static_cast<uint32_t>(GetDiskOnlineStatus(slot));
         }
     }},
    {"nvme-list", "list of the U.2 NVMe disks in 24 bays",
     [] {
         work.nvme.count = 0;
         sink = static_cast<uint32_t>(hdd_get_u2_nvme_list(&work.nvme));
     }},
    {"disk-list", "list of the SAS and SATA disks in 24 bays",
     [] {
         work.disks.count = 0;
         sink = static_cast<uint32_t>(HDD_GetOnlinePdList(&work.disks));
     }},
};

}  // namespace

int main(int count, char **arguments) {
    if (count != 3) {
        for (const Operation &operation : operations) {
            std::printf("%s %s\n", operation.name, operation.what);
        }
        return count == 1 ? 0 : 2;
    }
    model::Random random(1);
    work.list = model::random_list(random, 128);
    pciecfg_encode(&work.list, &work.image);
    work.up = {1, {{0, 16, 16, PCIECAP_OBVERSE}}};
    work.wanted.count = 4;
    for (uint32_t i = 0; i < work.wanted.count; ++i) {
        work.wanted.links[i] = {0, 0, 4, PCIECAP_OBVERSE};
    }
    for (const Operation &operation : operations) {
        if (std::strcmp(operation.name, arguments[1]) == 0) {
            for (long i = std::strtol(arguments[2], nullptr, 10); i > 0; --i) {
                operation.run();
            }
            return 0;
        }
    }
    return 2;
}
