// slots-custom: what the customer calls the disks.
#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <set>

#include "boardfeatures/config.h"
#include "command.h"
#include "ini_text.h"

namespace boardctl {

namespace {

constexpr char disk_file[] = "/conf/vel/custom_location_config.ini";
constexpr char pch_file[] = "/conf/vel/custom_pchdisk_config.ini";
constexpr uint8_t no_label = 255;
constexpr uint32_t largest_label = 254;
constexpr uint32_t most_silk_characters = 32;

// ---- what the files hold ----

using Disk = std::pair<uint32_t, uint32_t>;  // zone and disk

std::set<Disk> labelled_disks() {
    std::set<Disk> disks;
    if (const std::optional<IniText> file = IniText::load(disk_file)) {
        for (const auto &[key, value] : file->section("disk custom config")) {
            uint8_t zone = 0;
            uint8_t disk = 0;
            int end = 0;
            if (std::sscanf(key.c_str(), "origine_zone%hhu_disk%hhu_custom%n", &zone, &disk,
                            &end) == 2 &&
                end != 0) {
                disks.insert({zone, disk});
            }
        }
    }
    return disks;
}

// Where a disk at the platform controller hub is, as "0/0000:00:17.0/3".
using Place = std::array<uint32_t, 6>;

PchDiskRecord record_of(const Place &place) {
    PchDiskRecord record = {};
    record.cpu = place[0];
    record.segment = place[1];
    record.bus = place[2];
    record.device = place[3];
    record.function = place[4];
    record.port = place[5];
    record.slot = no_label;
    return record;
}
std::optional<Place> scan_place(const char *format, const std::string &text) {
    Place place = {};
    int end = 0;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int found = std::sscanf(text.c_str(), format, &place[0], &place[1], &place[2], &place[3],
                                  &place[4], &place[5], &end);
#pragma GCC diagnostic pop
    return found == 6 && end != 0 ? std::optional(place) : std::nullopt;
}
std::string place_text(const Place &place) {
    return fmt::format("{}/{:04x}:{:02x}:{:02x}.{:x}/{}", place[0], place[1], place[2], place[3],
                       place[4], place[5]);
}

std::set<Place> labelled_pch_disks() {
    std::set<Place> places;
    if (const std::optional<IniText> file = IniText::load(pch_file)) {
        for (const auto &[key, value] : file->section("Pchdisk custom config")) {
            if (const auto place = scan_place("CPU%u_BDF %x:%x:%x.%x_port%u_%n", key)) {
                places.insert(*place);
            }
        }
    }
    return places;
}

// ---- documents ----

Json disk_row(Session &session, const Disk &disk) {
    uint8_t zone = no_label;
    uint8_t silk = no_label;
    if (IPMI_LoadCustomSlotConfig(disk.first, disk.second, &zone, &silk) != 0) {
        session.fail(fmt::format("{} cannot be loaded", disk_file));
    }
    return {{"zone", disk.first},
            {"disk", disk.second},
            {"custom_zone", unless(no_label, zone)},
            {"custom_silk", unless(no_label, silk)}};
}

Json pch_row(Session &session, const Place &place) {
    PchDiskRecord record = record_of(place);
    if (IPMI_LoadCustomPchDiskConfig(&record, PCH_DISK_SLOT) != 0 ||
        IPMI_LoadCustomPchDiskConfig(&record, PCH_DISK_SILK) != 0) {
        session.fail(fmt::format("{} cannot be loaded", pch_file));
    }
    const std::string silk = field_text(record.silk);
    return {{"place", place_text(place)},
            {"cpu", record.cpu},
            {"segment", record.segment},
            {"bus", record.bus},
            {"device", record.device},
            {"function", record.function},
            {"port", record.port},
            {"custom_slot", unless(uint32_t{no_label}, record.slot)},
            {"custom_silk", silk.empty() ? Json() : Json(silk)}};
}

Json labels(Session &session) {
    Json disks = Json::array();
    for (const Disk &disk : labelled_disks()) {
        disks.push_back(disk_row(session, disk));
    }
    Json pch_disks = Json::array();
    for (const Place &place : labelled_pch_disks()) {
        pch_disks.push_back(pch_row(session, place));
    }
    return {{"disks", std::move(disks)}, {"pch_disks", std::move(pch_disks)}};
}

void show_labels(Page &page, const Json &document) {
    page.heading("Disks");
    page.table(document["disks"], {{"Zone", "/zone"},
                                   {"Disk", "/disk"},
                                   {"Customer's zone", "/custom_zone"},
                                   {"Customer's number", "/custom_silk"}});
    page.heading("Disks at the platform controller hub");
    page.table(document["pch_disks"], {{"Place", "/place"},
                                       {"Customer's slot", "/custom_slot"},
                                       {"Customer's text", "/custom_silk"}});
}

// ---- changes ----

Json change_disk(Session &session, const SlotEntry &entry, bool set) {
    const uint8_t options[6] = {0, 0, 0, 0, 0, set ? uint8_t{1} : uint8_t{0}};
    if (!set) {
        session.confirm(fmt::format("Delete the labels of zone {}, disk {}?", entry.origin_zone,
                                    entry.origin_disk));
    }
    if (IPMI_SaveCustomSlotConfig(1, &entry, options) != 0) {
        std::string why;
        for (const Disk &disk : set ? labelled_disks() : std::set<Disk>()) {
            const Json row = disk_row(session, disk);
            const bool same = disk == Disk(entry.origin_zone, entry.origin_disk);
            if (!same && row["custom_zone"] == entry.custom_zone &&
                row["custom_silk"] == entry.custom_silk) {
                why = fmt::format(": zone {}, disk {} has them", disk.first, disk.second);
            }
        }
        session.fail(fmt::format("the labels cannot be saved in {}{}", disk_file, why));
    }
    return labels(session);
}

void add_disk_change(Cli &cli, CLI::App &parent, bool set) {
    struct Wanted {
        uint32_t zone = 0, disk = 0, custom_zone = no_label, custom_silk = no_label;
    };
    const auto wanted = std::make_shared<Wanted>();
    CLI::App &command =
        cli.add({.name = set ? "set" : "delete",
                 .title = "",
                 .summary = set ? "Label a disk" : "Delete a disk's labels",
                 .run =
                     [wanted, set](Session &session) {
                         return change_disk(session,
                                            {static_cast<uint8_t>(wanted->zone),
                                             static_cast<uint8_t>(wanted->disk),
                                             static_cast<uint8_t>(wanted->custom_zone),
                                             static_cast<uint8_t>(wanted->custom_silk)},
                                            set);
                     },
                 .show = show_labels,
                 .in_report = false,
                 .changes = !set},
                &parent);
    const auto number = [&](const char *name, uint32_t &value, const char *help, uint32_t largest) {
        command.add_option(name, value, help)
            ->required()
            ->type_name(fmt::format("0..{}", largest))
            ->check(CLI::Range(uint32_t{0}, largest).description(""));
    };
    constexpr uint32_t last_zone = 3;
    number("zone", wanted->zone, "the board's zone", last_zone);
    number("disk", wanted->disk, "the board's disk", largest_label);
    if (set) {
        number("custom-zone", wanted->custom_zone, "the customer's zone", largest_label);
        number("custom-silk", wanted->custom_silk, "the customer's number", largest_label);
    }
}

struct PchChange {
    std::string place;
    std::optional<uint32_t> slot;
    std::optional<std::string> silk;
    bool slot_only = false;  // of a deletion
    bool silk_only = false;
};

PchDiskRecord named_pch_disk(const PchChange &change) {
    const auto place = scan_place("%u/%x:%x:%x.%x/%u%n", change.place);
    if (!place || place_text(*place) != change.place) {
        throw Stopped(status_usage,
                      fmt::format("\"{}\" is no CPU/SEGMENT:BUS:DEVICE.FUNCTION/PORT such as "
                                  "0/0000:00:17.0/3",
                                  printable(change.place)));
    }
    return record_of(*place);
}

void save_pch(Session &session, const PchDiskRecord &record, uint32_t which, bool set) {
    if (IPMI_SaveCustomPchDiskConfig(&record, which, set ? 1 : 0) != 0) {
        session.fail(fmt::format("the label cannot be saved in {}", pch_file));
    }
}

Json set_pch(Session &session, const PchChange &change) {
    PchDiskRecord record = named_pch_disk(change);
    if (!change.slot && !change.silk) {
        throw Stopped(status_usage, "nothing to set: give --slot or --silk");
    }
    if (change.silk) {
        const bool printable_only =
            change.silk->find_first_not_of(
                " !\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`"
                "abcdefghijklmnopqrstuvwxyz{|}~") == std::string::npos;
        if (change.silk->empty() || change.silk->size() > most_silk_characters || !printable_only) {
            throw Stopped(status_usage, fmt::format("a text is 1 to {} printable ASCII characters",
                                                    most_silk_characters));
        }
        std::memcpy(record.silk, change.silk->data(), change.silk->size());
    }
    if (change.slot) {
        record.slot = *change.slot;
        save_pch(session, record, PCH_DISK_SLOT, true);
    }
    if (change.silk) {
        save_pch(session, record, PCH_DISK_SILK, true);
    }
    return labels(session);
}

Json delete_pch(Session &session, const PchChange &change) {
    const PchDiskRecord record = named_pch_disk(change);
    const bool all = change.slot_only == change.silk_only;
    session.confirm(fmt::format("Delete the customer's {} of {}?",
                                all                ? "slot and text"
                                : change.slot_only ? "slot"
                                                   : "text",
                                change.place));
    if (all || change.slot_only) {
        save_pch(session, record, PCH_DISK_SLOT, false);
    }
    if (all || change.silk_only) {
        save_pch(session, record, PCH_DISK_SILK, false);
    }
    return labels(session);
}

void add_pch_changes(Cli &cli, CLI::App &parent) {
    const auto add = [&](const char *name, const char *summary, bool asks, auto run) {
        const auto change = std::make_shared<PchChange>();
        CLI::App &command =
            cli.add({.name = name,
                     .title = "",
                     .summary = summary,
                     .run = [change, run](Session &session) { return run(session, *change); },
                     .show = show_labels,
                     .in_report = false,
                     .changes = asks},
                    &parent);
        command.add_option("place", change->place, "CPU/SEGMENT:BUS:DEVICE.FUNCTION/PORT")
            ->required()
            ->type_name("PLACE");
        return std::pair<CLI::App &, std::shared_ptr<PchChange>>(command, change);
    };
    const auto [setter, set] =
        add("set-pch", "Label a disk at the platform controller hub", false, set_pch);
    setter.add_option("--slot", set->slot, "the customer's slot")
        ->type_name("0..254")
        ->check(CLI::Range(uint32_t{0}, largest_label).description(""));
    setter.add_option("--silk", set->silk, "the customer's text")->type_name("TEXT");
    const auto [deleter, erased] =
        add("delete-pch", "Delete the labels of a disk at the platform controller hub", true,
            delete_pch);
    deleter.add_flag("--slot", erased->slot_only, "the slot only");
    deleter.add_flag("--silk", erased->silk_only, "the text only");
}

}  // namespace

void add_slots_custom(Cli &cli) {
    CLI::App &command = cli.add({.name = "slots-custom",
                                 .title = "Customer's disk labels",
                                 .summary = "What the customer calls the disks",
                                 .run = labels,
                                 .show = show_labels});
    add_disk_change(cli, command, true);
    add_disk_change(cli, command, false);
    add_pch_changes(cli, command);
}

}  // namespace boardctl
