// Messages of PCIe identification: the format begins with the function and the line, which are
// filled in here ("%s(@%d) ..." or "[Func:%s,Line:%d]...").
#pragma once

#include "base/log.h"

namespace bf {
inline constexpr uint32_t module_pcieid = 56;
}

#define PCIEID_WARN(format, ...) \
    LOG_WARN(bf::module_pcieid, format, __func__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)
#define PCIEID_INFO(format, ...) \
    LOG_INFO(bf::module_pcieid, format, __func__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)
