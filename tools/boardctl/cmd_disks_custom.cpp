// disks custom: where the customer's labels say that a disk is, as daemons use them at run time.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <span>

#include "disks.h"

namespace boardctl {

namespace {

constexpr char runtime_location_file[] = "/var/custom_location_config.ini";
constexpr uint32_t largest_location = 254;

struct CustomLabel {
    std::optional<uint32_t> zone;
    std::optional<uint32_t> silk;
};

Json location_json(const SlotEntry &entry) {
    return {{"zone", entry.origin_zone},
            {"disk", entry.origin_disk},
            {"custom_zone", entry.custom_zone},
            {"custom_silk", entry.custom_silk}};
}

// The disk of a label; the label itself when no disk carries it.
Json disk_of_label(Session &session, const CustomLabel &label) {
    if (!label.zone || !label.silk) {
        return nullptr;
    }
    uint8_t zone = 0;
    uint8_t disk = 0;
    if (HDD_COM_CustomSliktoVelSlik(&zone, &disk, *label.zone, *label.silk) != 0) {
        session.fail(fmt::format("{} cannot be read", runtime_location_file));
        return nullptr;
    }
    return {
        {"custom_zone", *label.zone}, {"custom_silk", *label.silk}, {"zone", zone}, {"disk", disk}};
}

Json custom_locations(Session &session, const CustomLabel &label) {
    CustomDiskConfig config = {};
    if (HDD_COM_GetCustomConfig(&config) != 0) {
        session.fail(fmt::format("{} cannot be read", runtime_location_file));
        config = {};
    }
    Json entries = Json::array();
    const uint32_t count = config.valid == 1 ? config.count : 0;
    for (const SlotEntry &entry :
         std::span(config.entries).first(std::min<std::size_t>(count, std::size(config.entries)))) {
        entries.push_back(location_json(entry));
    }
    return {{"file", runtime_location_file},
            {"file_valid", HDD_COM_IsfileInvalid(runtime_location_file) == 0},
            {"disks", std::move(entries)},
            {"converted", disk_of_label(session, label)}};
}

void show_custom(Page &page, const Json &document) {
    page.heading("Disks with customer's labels");
    page.table(document["disks"], {{"Zone", "/zone"},
                                   {"Disk", "/disk"},
                                   {"Customer's zone", "/custom_zone"},
                                   {"Customer's number", "/custom_silk"}});
    if (document["file_valid"] == false) {
        page.line("  " + std::string(document["file"]) + " is missing or too small");
    }
    const Json &found = document["converted"];
    if (!found.is_null()) {
        page.heading("The disk of the label");
        page.fields(found, {{"Customer's zone", "/custom_zone"},
                            {"Customer's number", "/custom_silk"},
                            {"Zone", "/zone"},
                            {"Disk", "/disk"}});
    }
}

}  // namespace

void add_disks_custom(Cli &cli, CLI::App &disks_command) {
    const auto label = std::make_shared<CustomLabel>();
    CLI::App &command =
        cli.add({.name = "custom",
                 .title = "",
                 .summary = "Where the customer's labels say that a disk is",
                 .run = [label](Session &session) { return custom_locations(session, *label); },
                 .show = show_custom,
                 .in_report = false},
                &disks_command);
    auto *zone = command.add_option("zone", label->zone, "Look up this customer's zone ...")
                     ->check(CLI::Range(0u, largest_location));
    auto *silk = command.add_option("number", label->silk, "... and number")
                     ->check(CLI::Range(0u, largest_location));
    zone->needs(silk);
}

}  // namespace boardctl
