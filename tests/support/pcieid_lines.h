// What an identification yields as lines that a person can work out and compare.
#pragma once

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "boardfeatures/pcieid_enum.h"

// Blanks count as one, so that files can be aligned.
inline std::string squeezed(const std::string &text) {
    std::istringstream words(text);
    std::string result;
    for (std::string word; words >> word;) {
        result += (result.empty() ? "" : " ") + word;
    }
    return result;
}

// Uplinks by name, or the sockets that feed them.
inline std::string joined_uplinks(const pcieid_workspace &work, const pcieid_origin &origin,
                                  bool sockets) {
    std::string text;
    for (uint32_t k = 0; k < origin.uplink_count; ++k) {
        text += k == 0 ? "" : " + ";
        if (!sockets) {
            text += work.devices.items[origin.device].uplinks[origin.uplinks[k]].io.name;
        } else if (origin.sockets[k] == PCIEID_NONE) {
            text += "none";
        } else {
            text += work.slimlines.items[origin.sockets[k]].name;
        }
    }
    return text;
}

// "NAME | CPU LANE xWIDTH | VPP | where it comes from"
inline std::string item_line(const pcieid_workspace &work, const pciecfg_item &item,
                             const pcieid_origin &origin) {
    char text[256];
    std::snprintf(text, sizeof(text), "%s | %u %u x%u | ", item.name, item.cpu, item.x1_start,
                  item.width);
    std::string line = text;
    if (item.vpp_address != 0) {
        std::snprintf(text, sizeof(text), "%02X.%u", item.vpp_address, item.vpp_port);
        line += text;
    } else {
        line += "-";
    }
    line += " | ";
    if (origin.device == PCIEID_NONE) {
        line += work.mbslots.items[origin.connector].name;
        if (origin.riser != PCIEID_NONE) {
            std::snprintf(text, sizeof(text), ", riser %04X", work.risers.items[origin.riser].hwid);
            line += text;
        }
        return line;
    }
    const bpdev_item &device = work.devices.items[origin.device];
    const uint32_t ifc = work.device_interfaces[origin.device];
    return line + work.interfaces.items[ifc].name + ", " + device.hwid_device.name + ", " +
           joined_uplinks(work, origin, false) + " | " + joined_uplinks(work, origin, true);
}

inline std::vector<std::string> item_lines(const pcieid_workspace &work, const pciecfg_list &cfg) {
    std::vector<std::string> lines;
    for (uint32_t i = 0; i < cfg.count; ++i) {
        lines.push_back(squeezed(item_line(work, cfg.items[i], work.origins[i])));
    }
    return lines;
}

// "INTERFACE.UPLINK | SOCKET", or why it is unbound.
inline std::vector<std::string> uplink_lines(const pcieid_workspace &work) {
    std::vector<std::string> lines;
    for (uint32_t d = 0; d < work.devices.count; ++d) {
        for (uint32_t u = 0; u < work.devices.items[d].uplink_count; ++u) {
            const pcieid_cable &cable = work.cables[d][u];
            std::string line = work.interfaces.items[work.device_interfaces[d]].name;
            line += "." + std::to_string(u) + " | ";
            switch (cable.state) {
                case PCIEID_CABLE_BOUND:
                    line += work.slimlines.items[cable.word_index].name;
                    break;
                case PCIEID_CABLE_NO_INDEX:
                    line += "unbound: own index";
                    break;
                case PCIEID_CABLE_NO_WORD:
                    line += "unbound: word";
                    break;
                default:
                    line += "unbound: no socket " + std::to_string(cable.word_index);
            }
            lines.push_back(line);
        }
    }
    return lines;
}
