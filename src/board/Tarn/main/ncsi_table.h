// The on-board network controllers that the BMC reaches over NC-SI.
#pragma once

#include <cstdint>
#include <iterator>

namespace bf::board {

inline constexpr int32_t ncsi_max_ports = 8;

struct NcsiController {
    uint16_t board_id;
    uint8_t package_id;
    uint8_t slot_id;
    uint8_t port_count;
    uint8_t interface_type;
    char device_name[16];
    char card_name[32];
    char chip_maker[32];
    char card_maker[16];
    char module[32];
    uint8_t port_speed[ncsi_max_ports];
    uint8_t sub_interface[ncsi_max_ports];
    uint8_t sub_index[ncsi_max_ports];
    uint8_t pad[2];
};
static_assert(sizeof(NcsiController) == 160);

inline constexpr NcsiController ncsi_table[] = {
    {0xFF, 0, 0xFF, 1, 0, "I210", "OnBoard", "Intel", "VEL", "1*GE", {}, {}, {1}, {}},
    {0xFF, 1, 0xFF, 1, 0, "I210", "OnBoard", "Intel", "VEL", "1*GE", {}, {}, {2}, {}},
};

}  // namespace bf::board
