// raidcards: where RAID cards can sit, how they are reached out of band, and the switch for that.
#include <CLI/CLI.hpp>
#include <map>
#include <memory>

#include "boardfeatures/host.h"
#include "command.h"

namespace boardctl {

namespace {

// Without its file the switch is simply not set.
Json oob_switch() {
    uint32_t value = 0;
    return GetRaidCardOOBSwitch(&value) == 0 ? Json(value) : Json();
}

Json raidcards(Session &) {
    Json rows = Json::array();
    const int32_t count = GetRaidCardMaxCount();
    for (uint32_t index = 1; index <= static_cast<uint32_t>(count); ++index) {
        I2cChipRoute route = {};
        uint8_t slot_id = 0;
        if (GetRaidCardI2cInfo(index, &route) != 0 || GetRaidCardSlotId(index, &slot_id) != 0) {
            continue;
        }
        const int32_t pcie_slot = GetRaidCardPCIeSlot(index);
        uint16_t address = 0;
        const bool listed = GetRaidCardSlaveAddr(static_cast<uint32_t>(pcie_slot), &address) == 0;
        rows.push_back({{"index", index},
                        {"name", field_text(route.name)},
                        {"pcie_slot", unless(0, pcie_slot)},
                        {"card_key", slot_id},
                        {"route", route_json(route)},
                        {"controller_listed", listed}});
    }
    return {{"supported", RaidCardSupport() == 1},
            {"max_count", count},
            {"out_of_band",
             {{"switch", oob_switch()},
              {"default", GetRaidCardBoardOOBSwitchDefVal()},
              {"board_switch", GetRaidCardBoardOOBSwitchIfSupport() == 1}}},
            {"raid_cards", std::move(rows)}};
}

void show_raidcards(Page &page, const Json &document) {
    page.heading("RAID cards");
    page.table(document["raid_cards"],
               {{"Index", "/index"},
                {"Name", "/name"},
                {"PCIe slot", "/pcie_slot"},
                {"Card key", "/card_key"},
                {"Route", "", [](const Json &row) { return route_text(row["route"]); }},
                {"Controller listed", "/controller_listed"}});
    page.heading("RAID support");
    page.fields(document, {{"Supported", "/supported"},
                           {"RAID cards at most", "/max_count"},
                           {"Out-of-band switch", "/out_of_band/switch"},
                           {"Out-of-band default", "/out_of_band/default"},
                           {"Out-of-band board switch", "/out_of_band/board_switch"}});
}

void add_set_oob(Cli &cli, CLI::App &raidcards_command) {
    const auto value = std::make_shared<uint32_t>(0);
    CLI::App &command =
        cli.add({.name = "set-oob",
                 .title = "",
                 .summary = "Set the out-of-band switch",
                 .run = [value](Session &session) -> Json {
                     session.confirm(fmt::format("Set the out-of-band switch to {}?", *value));
                     if (SetRaidCardOOBSwitch(*value) != 0) {
                         session.fail("the out-of-band switch cannot be saved");
                     }
                     return {{"out_of_band", {{"switch", oob_switch()}}}};
                 },
                 .show =
                     [](Page &page, const Json &document) {
                         page.fields(document, {{"Out-of-band switch", "/out_of_band/switch"}});
                     },
                 .in_report = false,
                 .changes = true},
                &raidcards_command);
    command.add_option("value", *value, "on or off")
        ->required()
        ->type_name("on|off")
        ->transform(CLI::CheckedTransformer(std::map<std::string, uint32_t>{{"on", 1}, {"off", 0}})
                        .description(""));
}

}  // namespace

void add_raidcards(Cli &cli) {
    CLI::App &command = cli.add({.name = "raidcards",
                                 .title = "RAID cards",
                                 .summary = "Where RAID cards can sit and how they are reached",
                                 .run = raidcards,
                                 .show = show_raidcards});
    add_set_oob(cli, command);
}

}  // namespace boardctl
