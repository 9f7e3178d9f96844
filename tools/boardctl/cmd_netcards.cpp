// netcards: the on-board network controllers and what the board supports of networking.
#include "boardfeatures/host.h"
#include "command.h"

namespace boardctl {

namespace {

template <typename Value>
Json value_at(int32_t (*get)(int32_t, Value *), int32_t index) {
    Value value = 0;
    return get(index, &value) == 0 ? Json(value) : Json();
}

template <std::size_t N>
Json text_at(int32_t (*get)(int32_t, char *), int32_t index) {
    char text[N] = {};
    return get(index, text) == 0 ? Json(field_text(text)) : Json();
}

Json ports_of(int32_t controller) {
    uint8_t count = 0;
    GetNcsiNetCardPortNum(controller, &count);
    Json ports = Json::array();
    for (int32_t port = 0; port < count; ++port) {
        ports.push_back({{"port", port},
                         {"speed", GetNcsiNetPortSpeed(controller, port)},
                         {"sub_interface", GetNcsiNetPortSubinterface(controller, port)},
                         {"sub_index", GetNcsiNetPortSubindex(controller, port)}});
    }
    return ports;
}

Json netcards(Session &) {
    Json controllers = Json::array();
    const int32_t count = GetNcsiNetCardMaxCount();
    for (int32_t index = 0; index < count; ++index) {
        uint16_t board_id = 0;
        const bool known = GetNcsiNetCardBoardId(index, &board_id) == 0;
        controllers.push_back({{"index", index},
                               {"board_id", known ? Json(hex_id(board_id)) : Json()},
                               {"package_id", value_at(GetNcsiNetCardPackageID, index)},
                               {"slot_id", value_at(GetNcsiNetCardSlotId, index)},
                               {"interface_type", value_at(GetNcsiNetCardInterfaceType, index)},
                               {"device_name", text_at<16>(GetNcsiNetCardDeviceName, index)},
                               {"name", text_at<32>(GetNcsiNetCardName, index)},
                               {"chip_maker", text_at<32>(GetNcsiNetCardChipManufactrue, index)},
                               {"card_maker", text_at<16>(GetNcsiNetCardManufactrue, index)},
                               {"module", text_at<32>(GetNcsiNetCardModule, index)},
                               {"ports", ports_of(index)}});
    }
    return {{"controllers", std::move(controllers)},
            {"support",
             {{"ncsi", NetcardNcsiSupport() == 1},
              {"smbus", NetcardSmbusSupport() == 1},
              {"bond_configuration", NetworkBondCfgSupport() == 1},
              {"auto_configuration", NetworkAutoCfgSupport() == 1},
              {"tep", NetcardTEPSupport() == 1},
              {"sync_mac", NetcardSyncMacSupport() == 1},
              {"x722_only_2_copper", NetcardX722Only2CopperSupport() == 1},
              {"phy_check_disabled", GetPhyCheckDisableFlag() == 1},
              {"correct_device_table", NetworkCorrectDevTbl() == 1},
              {"mctp_closed", IsCloseMCTP() == 1},
              {"bus_owner_proxy_eid", GetBusOwnerProxyEid()}}}};
}

void show_netcards(Page &page, const Json &document) {
    page.heading("On-board network controllers");
    page.table(document["controllers"], {{"Index", "/index"},
                                         {"Name", "/name"},
                                         {"Device", "/device_name"},
                                         {"Chip maker", "/chip_maker"},
                                         {"Card maker", "/card_maker"},
                                         {"Module", "/module"},
                                         {"Board", "/board_id"},
                                         {"Package", "/package_id"},
                                         {"Slot", "/slot_id"},
                                         {"Interface", "/interface_type"}});
    page.heading("Ports");
    Json ports = Json::array();
    for (const Json &controller : document["controllers"]) {
        for (const Json &port : controller["ports"]) {
            ports.push_back(port);
            ports.back()["controller"] = controller["index"];
        }
    }
    page.table(ports, {{"Controller", "/controller"},
                       {"Port", "/port"},
                       {"Speed", "/speed"},
                       {"Sub-interface", "/sub_interface"},
                       {"Sub-index", "/sub_index"}});
    page.heading("Network support");
    page.fields(document["support"], {{"NC-SI", "/ncsi"},
                                      {"SMBus", "/smbus"},
                                      {"Bond configuration", "/bond_configuration"},
                                      {"Automatic configuration", "/auto_configuration"},
                                      {"TEP", "/tep"},
                                      {"MAC synchronisation", "/sync_mac"},
                                      {"X722 with two copper ports only", "/x722_only_2_copper"},
                                      {"PHY check disabled", "/phy_check_disabled"},
                                      {"Device table corrected", "/correct_device_table"},
                                      {"MCTP closed", "/mctp_closed"},
                                      {"Bus owner proxy EID", "/bus_owner_proxy_eid"}});
}

}  // namespace

void add_netcards(Cli &cli) {
    cli.add({.name = "netcards",
             .title = "Network cards",
             .summary = "The on-board network controllers and the network support of the board",
             .run = netcards,
             .show = show_netcards});
}

}  // namespace boardctl
