// topology: the board's I2C devices as the diagnostics know them, drawn as a tree.
#include <algorithm>

#include "boardfeatures/power.h"
#include "command.h"

namespace boardctl {

namespace {

// The table holds addresses in their 8-bit form.
std::string chip_address(uint32_t eight_bit) { return hex_byte(eight_bit >> 1); }

// The element with this key; added behind the others when it is not there yet.
Json &keyed_element(Json &list, const char *key, const Json &value, Json fresh) {
    const auto found = std::find_if(list.begin(), list.end(),
                                    [&](const Json &each) { return each[key] == value; });
    if (found != list.end()) {
        return *found;
    }
    list.push_back(std::move(fresh));
    return list.back();
}

Json topology(Session &) {
    Json buses = Json::array();
    const auto count = static_cast<uint32_t>(GetI2CTopologyCount());
    for (uint32_t index = 0; index < count; ++index) {
        I2cTopologyRow row = {};
        if (GetI2CTopologyByIndex(index, &row) != 0) {
            continue;
        }
        Json &bus = keyed_element(
            buses, "bus", row.bus,
            {{"bus", row.bus}, {"devices", Json::array()}, {"switches", Json::array()}});
        Json *devices = &bus["devices"];
        if (row.switch_address != 0) {
            const std::string address = chip_address(row.switch_address);
            Json &mux = keyed_element(bus["switches"], "address", address,
                                      {{"address", address}, {"channels", Json::array()}});
            devices =
                &keyed_element(mux["channels"], "channel", row.channel,
                               {{"channel", row.channel}, {"devices", Json::array()}})["devices"];
        }
        devices->push_back({{"address", chip_address(row.address)},
                            {"address_8bit", hex_byte(row.address)},
                            {"name", field_text(row.name)}});
    }
    return {{"buses", std::move(buses)}};
}

// One node of the tree and what hangs below it.
struct TreeNode {
    std::string text;
    std::vector<TreeNode> children;
};

void draw_tree(Page &page, const std::vector<TreeNode> &nodes, const std::string &indent) {
    for (const TreeNode &node : nodes) {
        const bool last = &node == &nodes.back();
        page.pieces({{indent + (last ? "└─ " : "├─ "), Page::Style::weak},
                     {node.text, Page::Style::plain}});
        draw_tree(page, node.children, indent + (last ? "   " : "│  "));
    }
}

std::vector<TreeNode> topology_nodes(const Json &devices) {
    std::vector<TreeNode> nodes;
    for (const Json &device : devices) {
        nodes.push_back(
            {fmt::format("{} {}", value_text(device["address"]), value_text(device["name"])), {}});
    }
    return nodes;
}

void show_topology(Page &page, const Json &document) {
    page.heading("I2C devices");
    for (const Json &bus : document["buses"]) {
        std::vector<TreeNode> nodes = topology_nodes(bus["devices"]);
        for (const Json &mux : bus["switches"]) {
            TreeNode node = {fmt::format("{} switch", value_text(mux["address"])), {}};
            for (const Json &channel : mux["channels"]) {
                node.children.push_back({fmt::format("channel {}", channel["channel"].dump()),
                                         topology_nodes(channel["devices"])});
            }
            nodes.push_back(std::move(node));
        }
        page.pieces({{fmt::format("bus {}", bus["bus"].dump()), Page::Style::strong}});
        draw_tree(page, nodes, "");
    }
}

}  // namespace

void add_topology(Cli &cli) {
    cli.add({.name = "topology",
             .title = "I2C topology",
             .summary = "The board's I2C devices as a tree of buses and switches",
             .run = topology,
             .show = show_topology});
}

}  // namespace boardctl
