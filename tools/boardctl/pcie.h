// pcie in two files: cmd_pcie.cpp identifies, cmd_pcie_flash.cpp deals with the stored list.
#pragma once

#include <memory>

#include "boardfeatures/pcieid_enum.h"
#include "command.h"

namespace boardctl {

// What is fitted and cabled now; a workspace without anything when that cannot be told.
std::unique_ptr<pcieid_workspace> identify_pcie(Session &session);

// {"name", "type", "number", "cpu", "x1_start", "width", "vpp"}
Json pcie_item_json(const pciecfg_item &item);
Json pcie_items_json(const pciecfg_list &list);
// The columns of these.
const std::vector<Column> &pcie_item_columns();

void add_pcie_flash(Cli &cli, CLI::App &pcie_command);

}  // namespace boardctl
