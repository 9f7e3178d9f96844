// The families of commands, in the order of the help and of the report.
#pragma once

#include "command.h"

#define BOARDCTL_FAMILIES(FAMILY) \
    FAMILY(identity)              \
    FAMILY(cards)                 \
    FAMILY(cpus)                  \
    FAMILY(leds)                  \
    FAMILY(netcards)              \
    FAMILY(raidcards)             \
    FAMILY(pier)                  \
    FAMILY(power)                 \
    FAMILY(topology)              \
    FAMILY(dimm)                  \
    FAMILY(bios)                  \
    FAMILY(fru)                   \
    FAMILY(pcie)                  \
    FAMILY(fans)                  \
    FAMILY(cooling)               \
    FAMILY(liquid)                \
    FAMILY(backplanes)            \
    FAMILY(disks)                 \
    FAMILY(config)                \
    FAMILY(alarms)                \
    FAMILY(customer)              \
    FAMILY(slots_custom)          \
    FAMILY(effect_mode)           \
    FAMILY(soc)                   \
    FAMILY(ipc)                   \
    FAMILY(net)                   \
    FAMILY(check)                 \
    FAMILY(oplog)                 \
    FAMILY(cpu)

namespace boardctl {

#define BOARDCTL_DECLARE(family) void add_##family(Cli &cli);
BOARDCTL_FAMILIES(BOARDCTL_DECLARE)
#undef BOARDCTL_DECLARE

}  // namespace boardctl
