// identity: which main board this is, and what holds for every board of its model.
#include "boardfeatures/host.h"
#include "command.h"
#include "identifier.h"

namespace boardctl {

namespace {

constexpr uint32_t main_board_key = 0;

Json main_board(Session &session) {
    HardIdInfo info = {};
    const bool known = GetHardId(main_board_key, &info) == 0;
    if (!known) {
        session.fail("the main board's identifier cannot be read");
    }
    Json board = identifier_json(known ? &info : nullptr);
    uint32_t bus = 0;
    board["bus"] = GetSmbus(main_board_key, &bus) == 0 ? Json(bus) : Json();
    // "Not the T variant" is an answer only when the identifier was read.
    board["t_variant"] = known ? Json(isTarnT() == 1) : Json();
    return board;
}

Json backplanes() {
    constexpr int32_t no_combination = 255;
    const uint32_t special = GetSpecialHDbkBoardId();
    return {{"combination", unless(no_combination, GetHDbkBoardId())},
            {"board_id", special == BF_NO_BOARD_ID ? Json() : Json(hex_id(special))}};
}

Json state() {
    uint8_t intrusion = 0;
    getIntrusionState(&intrusion);
    return {{"intrusion", intrusion},
            {"ocp_card_fitted", GetOcpCardIsPresent() == 1},
            {"ocp_card_location", GetOcpCardLocation()}};
}

Json constants() {
    uint16_t power_registers[2] = {};
    const int32_t power_register_count = GetPowerStatusAddr(power_registers);
    Json registers = Json::array();
    for (int32_t i = 0; i < power_register_count; ++i) {
        registers.push_back(hex_register(power_registers[i]));
    }
    uint16_t blade = 0;
    GetBladeServer(&blade);
    uint16_t product_card = 0;
    const bool product_card_known = GetSubcardBoardIdForModifyProductName(&product_card) == 0;
    uint8_t slot = 0;
    const bool slot_known = GetSlotId(&slot) == 0;
    return {{"rack_server", IsRackServer() == 1},
            {"blade_server", blade != 0},
            {"slot_id", slot_known ? Json(slot) : Json()},
            {"hardware_address", unless(255, GetHwAddr())},
            {"single_bios_flash", IsSingleBiosFlashBoard() == 1},
            {"low_config_processor", supportLowConfigProcessor() == 1},
            {"cups_board_type", GetCupsSupportBoardType()},
            {"mac_default_board_type", GetMacDefaultSetBoardType()},
            {"power_off_delay", GetPowerOffDelay()},
            {"power_status_registers", std::move(registers)},
            {"epld_update_channel", GetEpldUpdateChannel()},
            {"fru_firmware_location", GetFruFwLocation()},
            {"card_key_max", GetCardMaxNum()},
            {"sel_transfer_flag", GetSelTransFlag()},
            {"host1_uart_sol_source", GetHost1UartAndSOLSrc()},
            {"host1_soc_uart_epld_value", GetEpldValueWhenHost1SrcIsSocUart()},
            {"product_name_card", unless(-1, GetSubcardSpecialProductName())},
            {"product_name_card_board_id",
             product_card_known && product_card != 0 ? Json(hex_id(product_card)) : Json()},
            {"maintenance_test_registers", getMaintainTestEpldAddrCnt()}};
}

Json identity(Session &session) {
    return {{"main_board", main_board(session)},
            {"backplanes", backplanes()},
            {"state", state()},
            {"constants", constants()}};
}

void show_identity(Page &page, const Json &document) {
    page.heading("Main board");
    page.fields(document, {{"Board id", "/main_board/board_id"},
                           {"PCB id", "/main_board/pcb_id"},
                           {"BOM id", "/main_board/bom_id"},
                           {"Hard id", "/main_board/hard_id"},
                           {"Raw value", "/main_board/raw_value"},
                           {"Identifier bus", "/main_board/bus"},
                           {"T variant", "/main_board/t_variant"},
                           {"Backplane combination", "/backplanes/combination"},
                           {"Backplane board id", "/backplanes/board_id"},
                           {"Intrusion switch", "/state/intrusion"},
                           {"OCP card fitted", "/state/ocp_card_fitted"},
                           {"OCP card location", "/state/ocp_card_location"}});
    page.heading("Board constants");
    page.fields(document["constants"],
                {{"Rack server", "/rack_server"},
                 {"Blade server", "/blade_server"},
                 {"Slot id", "/slot_id"},
                 {"Hardware address", "/hardware_address"},
                 {"Single BIOS flash", "/single_bios_flash"},
                 {"Low-configuration CPUs", "/low_config_processor"},
                 {"CUPS board type", "/cups_board_type"},
                 {"Default MAC board type", "/mac_default_board_type"},
                 {"Power-off delay", "/power_off_delay"},
                 {"Power status registers", "/power_status_registers"},
                 {"EPLD update channel", "/epld_update_channel"},
                 {"FRU firmware location", "/fru_firmware_location"},
                 {"Highest card key", "/card_key_max"},
                 {"SEL transfer flag", "/sel_transfer_flag"},
                 {"Host 1 UART and SOL source", "/host1_uart_sol_source"},
                 {"Host 1 SoC UART EPLD value", "/host1_soc_uart_epld_value"},
                 {"Product name card", "/product_name_card"},
                 {"Product name card board id", "/product_name_card_board_id"},
                 {"Maintenance test registers", "/maintenance_test_registers"}});
}

Json maintenance(Session &) {
    Json registers = Json::array();
    const int32_t count = getMaintainTestEpldAddrCnt();
    for (int32_t i = 0; i < count; ++i) {
        const int32_t address = getMaintainTestEpldAddrByIndex(static_cast<uint32_t>(i));
        registers.push_back(hex_register(static_cast<uint32_t>(address)));
    }
    return {{"registers", std::move(registers)}};
}

void show_maintenance(Page &page, const Json &document) {
    constexpr std::size_t per_line = 12;
    const Json &registers = document["registers"];
    page.heading(
        fmt::format("{} EPLD registers in the order of the maintenance test", registers.size()));
    std::string line;
    for (std::size_t i = 0; i < registers.size(); ++i) {
        line += "  " + value_text(registers[i]);
        if ((i + 1) % per_line == 0 || i + 1 == registers.size()) {
            page.line(line);
            line.clear();
        }
    }
}

}  // namespace

void add_identity(Cli &cli) {
    cli.add({.name = "identity",
             .title = "Board identity",
             .summary = "Which main board this is, and the constants of its model",
             .run = identity,
             .show = show_identity});
    cli.add({.name = "maintenance",
             .title = "Maintenance test",
             .summary = "The EPLD registers of the maintenance test",
             .run = maintenance,
             .show = show_maintenance,
             .in_report = false});
}

}  // namespace boardctl
