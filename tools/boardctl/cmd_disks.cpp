// disks: every bay of the fitted backplanes and what is in it.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "disks.h"

namespace boardctl {

namespace {

constexpr uint32_t disk_front_zone = 0;

// ---- one bay ----

// The number shown for a slot; null for one that no fitted backplane owns.
Json silk_screen(const std::vector<Connector> &connectors, uint32_t slot) {
    for (const Connector &connector : connectors) {
        if (connector.panel && slot >= connector.panel->startslot &&
            slot < connector.panel->startslot + uint32_t{connector.panel->maxslot}) {
            return connector.panel->slot_map[slot];
        }
    }
    return nullptr;
}

Json disk_kind(uint32_t slot) {
    constexpr uint8_t not_stated = 0xFF;
    uint8_t type = not_stated;
    if (GetDiskType(slot, &type) != 0 || type == not_stated) {
        return "unknown";
    }
    return type == DISK_U2_NVME ? "nvme" : "sas_sata";
}

// The record names the switch and the disk behind it; the platform takes them as address and
// switch.
I2cChipRoute nvme_chip_route(const NvmeRoute &nvme) {
    I2cChipRoute route = {};
    route.bus = nvme.bus;
    route.address = static_cast<uint16_t>(nvme.disk_address);
    route.switch_address = nvme.mux_address;
    route.switch_channel = nvme.mux_channel;
    std::copy(std::begin(nvme.name), std::end(nvme.name), route.name);
    return route;
}

Json nvme_json(Session &session, uint32_t slot) {
    NvmeRoute nvme = {};
    if (GetBackPanelNvmeI2CInfo(slot, &nvme) != 0) {
        return {{"name", nullptr}, {"route", nullptr}, {"endpoint", nullptr}};
    }
    const I2cChipRoute route = nvme_chip_route(nvme);
    return {{"name", field_text(nvme.name)},
            {"route", route_json(route)},
            {"endpoint", nvme_endpoint_json(session, fmt::format("slot {}", slot), route)}};
}

// ---- all of them ----

// Whether the questions about single disks look behind a connector.
bool is_looked_at(const Connector &connector) {
    uint32_t first = 0;
    uint32_t count = 0;
    GetHDDSlot(&first, &count);
    return connector.card_key - first < count;
}

Json disk_rows(Session &session, const std::vector<Connector> &connectors) {
    Json rows = Json::array();
    for (const Connector &connector : connectors) {
        if (!connector.panel) {
            continue;
        }
        const bool unreadable = listed_bays(connector).unreadable;
        if (unreadable) {
            session.fail(fmt::format("the bays at {} cannot be read", connector.name));
        }
        const bool known = is_looked_at(connector) && !unreadable;
        // The questions take the start slot as a bay before the first.
        for (uint32_t bay = 1; bay <= connector.panel->maxslot; ++bay) {
            const uint32_t slot = connector.panel->startslot + bay;
            const bool present = known && GetDiskOnlineStatus(slot) == 0;
            const Json kind = present ? disk_kind(slot) : Json();
            Json row = {{"slot", slot}, {"silk_screen", silk_screen(connectors, slot)}};
            row.update(backplane_json(connector));
            row.update({{"bay", bay},
                        {"present", known ? Json(present) : Json()},
                        {"kind", kind},
                        {"zone", GetDiskZone(disk_front_zone, slot)},
                        {"nvme", kind == "nvme" ? nvme_json(session, slot) : Json()}});
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

Json disks(Session &session) {
    const std::vector<Connector> connectors = connectors_of_backplanes(session);
    Json places = Json::array();
    for (const Connector &connector : connectors) {
        places.push_back(backplane_json(connector));
        places.back()["bays"] = connector.panel ? connector.panel->maxslot : 0;
    }
    return {{"connectors", std::move(places)}, {"disks", disk_rows(session, connectors)}};
}

// ---- tables ----

Json kind_text(const Json &row) {
    return row["kind"] == "nvme"       ? Json("NVMe")
           : row["kind"] == "sas_sata" ? Json("SAS/SATA")
                                       : row["kind"];
}

Json health_text(const Json &row) {
    const Json &endpoint = row["nvme"]["endpoint"];
    if (endpoint.is_null()) {
        return nullptr;
    }
    Json words = Json::array();
    const auto say = [&](bool so, const char *word) {
        if (so) {
            words.push_back(word);
        }
    };
    say(endpoint["intact"] == false, "garbled");
    say(endpoint["ready"] == false, "not ready");
    say(endpoint["functional"] == false, "not functional");
    say(endpoint["reset_required"] == true, "reset required");
    for (const Json &warning : endpoint["smart_warnings"]) {
        std::string text = warning;
        std::replace(text.begin(), text.end(), '_', ' ');
        words.push_back(text);
    }
    return words.empty() ? Json("good") : words;
}

void show_disks(Page &page, const Json &document) {
    page.heading("Disk bays");
    page.table(document["disks"], {{"Slot", "/slot"},
                                   {"Silk screen", "/silk_screen"},
                                   {"Connector", "/connector"},
                                   {"Model", "/model"},
                                   {"Board", "/board_id"},
                                   {"Bay", "/bay"},
                                   {"Present", "/present"},
                                   {"Kind", "", kind_text},
                                   {"Zone", "/zone"}});
    Json nvme = Json::array();
    for (const Json &row : document["disks"]) {
        if (!row["nvme"].is_null()) {
            nvme.push_back(row);
        }
    }
    page.heading("NVMe disks");
    page.table(nvme, {{"Slot", "/slot"},
                      {"Name", "/nvme/name"},
                      {"Route", "",
                       [](const Json &row) {
                           const Json &route = row["nvme"]["route"];
                           return route.is_null() ? Json() : Json(route_text(route));
                       }},
                      {"Health", "", health_text},
                      {"Degrees C", "/nvme/endpoint/temperature"},
                      {"Wear %", "/nvme/endpoint/wear_percent"},
                      {"Vendor", "/nvme/endpoint/vendor_id"},
                      {"Serial number", "/nvme/endpoint/serial"}});
}

}  // namespace

void add_disks(Cli &cli) {
    const auto map = std::make_shared<bool>(false);
    CLI::App &command = cli.add({.name = "disks",
                                 .title = "Disks",
                                 .summary = "Every disk bay and what is in it",
                                 .run = disks,
                                 .show = [map](Page &page, const Json &document) {
                                     (*map ? show_disk_map : show_disks)(page, document);
                                 }});
    command.add_flag("--map", *map, "Draw where the disks are in the machine");
    add_disks_custom(cli, command);
}

}  // namespace boardctl
