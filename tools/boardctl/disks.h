// disks and backplanes: what both know of the connectors.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "boardfeatures/storage.h"
#include "command.h"

namespace boardctl {

// The connectors that the board names, and others that hold a backplane.
struct Connector {
    uint32_t card_key;
    std::string name;                   // "F I2C 1"
    std::optional<BackPanelDev> panel;  // the backplane in it
};
std::vector<Connector> connectors_of_backplanes(Session &session);

// {"connector", "card_key", "board_id", "model"}
Json backplane_json(const Connector &connector);

// The bays of each kind, from 1, as the backplane's own lists have them; null for a model without
// lists or when it cannot be read.
struct ListedBays {
    Json u2_nvme;
    Json sas_sata;
    bool unreadable;
};
ListedBays listed_bays(const Connector &connector);

// What answers at an NVMe disk's route: {"status_flags", ...}, null when nothing does. Failures are
// noted under the disk's name.
Json nvme_endpoint_json(Session &session, const std::string &disk, const I2cChipRoute &route);

// Where the disks are in the machine, as a drawing in text.
void show_disk_map(Page &page, const Json &document);

void add_disks_custom(Cli &cli, CLI::App &disks_command);

}  // namespace boardctl
