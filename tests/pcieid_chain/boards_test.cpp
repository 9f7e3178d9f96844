// The whole chain on fitted boards, against lists that were worked out by hand.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "boardfeatures/pcieid_enum.h"
#include "fitted_board.h"

using testing::ElementsAreArray;

namespace {

class Boards : public testing::TestWithParam<const char *> {
protected:
    Boards() { std::memset(static_cast<void *>(work.get()), 0xA5, sizeof(*work)); }

    std::string joined(const pcieid_origin &origin, bool sockets) const {
        std::string text;
        for (uint32_t k = 0; k < origin.uplink_count; ++k) {
            text += k == 0 ? "" : " + ";
            if (!sockets) {
                text += work->devices.items[origin.device].uplinks[origin.uplinks[k]].io.name;
            } else if (origin.sockets[k] == PCIEID_NONE) {
                text += "none";
            } else {
                text += work->slimlines.items[origin.sockets[k]].name;
            }
        }
        return text;
    }

    // "NAME | CPU LANE xWIDTH | VPP | where it comes from"
    std::string item_line(uint32_t i) const {
        const pciecfg_item &item = cfg->items[i];
        const pcieid_origin &origin = work->origins[i];
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
            line += work->mbslots.items[origin.connector].name;
            if (origin.riser != PCIEID_NONE) {
                std::snprintf(text, sizeof(text), ", riser %04X",
                              work->risers.items[origin.riser].hwid);
                line += text;
            }
            return line;
        }
        const bpdev_item &device = work->devices.items[origin.device];
        const uint32_t ifc = work->device_interfaces[origin.device];
        return line + work->interfaces.items[ifc].name + ", " + device.hwid_device.name + ", " +
               joined(origin, false) + " | " + joined(origin, true);
    }

    std::vector<std::string> item_lines() const {
        std::vector<std::string> lines;
        for (uint32_t i = 0; i < cfg->count; ++i) {
            lines.push_back(squeezed(item_line(i)));
        }
        return lines;
    }

    std::vector<std::string> uplink_lines() const {
        std::vector<std::string> lines;
        for (uint32_t d = 0; d < work->devices.count; ++d) {
            for (uint32_t u = 0; u < work->devices.items[d].uplink_count; ++u) {
                const pcieid_cable &cable = work->cables[d][u];
                std::string line = work->interfaces.items[work->device_interfaces[d]].name;
                line += "." + std::to_string(u) + " | ";
                switch (cable.state) {
                    case PCIEID_CABLE_BOUND:
                        line += work->slimlines.items[cable.word_index].name;
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

    std::unique_ptr<pcieid_workspace> work = std::make_unique<pcieid_workspace>();
    std::unique_ptr<pciecfg_list> cfg = std::make_unique<pciecfg_list>();
};

TEST_P(Boards, YieldTheirList) {
    const FittedBoard board = fit_board(GetParam());
    EXPECT_EQ(pcieid_identify(work.get(), cfg.get()), 0);
    EXPECT_THAT(item_lines(), ElementsAreArray(board.items));
    EXPECT_THAT(uplink_lines(), ElementsAreArray(board.uplinks));
    EXPECT_EQ(scripted::platform().calls.size(), board.calls);
    // each stated message, in this order among others
    auto expected = board.log.begin();
    for (const std::string &line : said()) {
        if (expected != board.log.end() && squeezed(line) == *expected) {
            ++expected;
        }
    }
    EXPECT_TRUE(expected == board.log.end()) << *expected;
}

// A list as it is stored: names rebuilt from type and number, nothing reserved, a clean tail.
TEST_P(Boards, AreAsAStoredListReadsBack) {
    fit_board(GetParam());
    std::memset(static_cast<void *>(cfg.get()), 0x5A, sizeof(*cfg));
    EXPECT_EQ(pcieid_identify(work.get(), cfg.get()), 0);
    ASSERT_LE(cfg->count, PCIECFG_MAX_ITEMS);
    const auto decoded = std::make_unique<pciecfg_list>();
    decoded->count = cfg->count;
    for (uint32_t i = 0; i < cfg->count; ++i) {
        uint8_t bytes[PCIECFG_ITEM_SIZE];
        EXPECT_EQ(pciecfg_item_encode(&cfg->items[i], bytes), 0);
        EXPECT_EQ(pciecfg_item_decode(bytes, &decoded->items[i]), 0);
    }
    EXPECT_EQ(std::memcmp(cfg.get(), decoded.get(), sizeof(*cfg)), 0);
    EXPECT_EQ(std::memcmp(cfg.get(), &work->identified, sizeof(*cfg)), 0);
}

// What is already announced reads back the same.
TEST_P(Boards, AgainGiveTheSame) {
    fit_board(GetParam());
    EXPECT_EQ(pcieid_identify(work.get(), cfg.get()), 0);
    const auto first = item_lines();
    const auto calls = scripted::platform().calls;
    scripted::platform().clear_record();
    EXPECT_EQ(pcieid_identify(work.get(), &work->identified), 0);
    *cfg = work->identified;
    EXPECT_THAT(item_lines(), ElementsAreArray(first));
    EXPECT_THAT(scripted::platform().calls, ElementsAreArray(calls));
}

INSTANTIATE_TEST_SUITE_P(Fitted, Boards, testing::ValuesIn(board_names), [](const auto &board) {
    std::string name = board.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

}  // namespace
