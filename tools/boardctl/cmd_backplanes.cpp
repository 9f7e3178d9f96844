// backplanes: which are fitted where, the slots that they own, and what the board says of disks.
#include <algorithm>
#include <iterator>

#include "boardfeatures/host.h"
#include "boardfeatures/pcieid_enum.h"
#include "disks.h"

namespace boardctl {

namespace {

// ---- connectors ----

std::vector<Connector> named_connectors() {
    mb2bpifc_list interfaces = {};
    board_get_backplane_mbifc_list(&interfaces);
    std::vector<Connector> named;
    for (uint32_t i = 0; i < interfaces.count; ++i) {
        named.push_back({interfaces.items[i].hwid_index, field_text(interfaces.items[i].name), {}});
    }
    return named;
}

// A connector that the board does not name goes by its card position.
std::string card_position_name(uint32_t card_key) {
    CardPresence row = {};
    return GetCardOnlineInfoBySlotID(card_key, &row) == 0 ? field_text(row.route.name)
                                                          : fmt::format("card {}", card_key);
}

Json backplane_model(uint32_t board_id) {
    bpdev_record_list records = {};
    board_get_support_bpdev_list(&records);
    const auto end = std::begin(records.items) + records.count;
    const auto found =
        std::find_if(std::begin(records.items), end,
                     [=](const bpdev_record &record) { return record.hwid == board_id; });
    return found == end ? Json() : Json(field_text(found->hwid_device.name));
}

// ---- the models' own lists ----

// Each model lists its bays by a function of its own; those with one connector take no position.
struct ModelLists {
    uint32_t board_id;
    int32_t (*u2_nvme)(uint32_t board_id, uint32_t position, void *list);
    int32_t (*sas_sata)(uint32_t board_id, uint32_t position, void *list);
};
template <int32_t (*list_disks)(uint32_t board_id, void *list)>
int32_t anywhere(uint32_t board_id, uint32_t, void *list) {
    return list_disks(board_id, list);
}
constexpr ModelLists model_lists[] = {
    {0x5464, _bpra_get_u2_nvme_list, bpra_get_hdd_list},
    {0x5465, _bprb_get_u2_nvme_list, bprb_get_hdd_list},
    {0x5459, _bpfa_get_u2_nvme_list, bpfa_get_hdd_list},
    {0x54EF, _bpfb_get_u2_nvme_list, anywhere<bpfb_get_hdd_list>},
    {0x545B, _bpfc_get_u2_nvme_list, bpfc_get_hdd_list},
    {0x5472, _bpfg_get_u2_nvme_list, bpfg_get_hdd_list},
    {0x545E, _bpfd_get_u2_nvme_list, anywhere<bpfd_get_hdd_list>},
    {0x546F, _bpfe_get_u2_nvme_list, anywhere<bpfe_get_hdd_list>},
    {0x5473, _bpff_get_u2_nvme_list, anywhere<bpff_get_hdd_list>},
};

template <typename List>
Json bays_listed(const List &list) {
    Json bays = Json::array();
    for (uint32_t i = 0; i < list.count; ++i) {
        bays.push_back(list.entries[i].bay + 1u);
    }
    return bays;
}

// ---- the document ----

Json backplane_row(const Connector &connector) {
    const BackPanelDev &panel = *connector.panel;
    Json row = backplane_json(connector);
    Json shown = Json::array();
    for (uint32_t slot = panel.startslot; slot < panel.startslot + uint32_t{panel.maxslot};
         ++slot) {
        shown.push_back(panel.slot_map[slot]);
    }
    const ListedBays bays = listed_bays(connector);
    row.update({{"position", panel.position},
                {"location", panel.location},
                {"start_slot", panel.startslot},
                {"slots", panel.maxslot},
                {"shown_numbers", std::move(shown)},
                {"online_disks", unless(-1, GetOnlineHDDCount(panel.board_id, panel.card_index))},
                {"u2_nvme_bays", bays.u2_nvme},
                {"sas_sata_bays", bays.sas_sata}});
    return row;
}

Json power_rows() {
    const void *table = nullptr;
    uint32_t count = 0;
    GetHDDPowerTable(&table, &count);
    Json rows = Json::array();
    for (const auto *row = static_cast<const HddPowerRow *>(table); count-- > 0; ++row) {
        rows.push_back({{"board_id", hex_id(row->board_id)},
                        {"register", hex_register(row->epld_register)},
                        {"signal", field_text(row->signal)}});
    }
    return rows;
}

Json sgpio_registers() {
    uint32_t words[5] = {};
    GetHddSgpioEpldInfo(words);
    Json registers = Json::array();
    for (uint32_t i = 1; i <= words[0]; ++i) {
        registers.push_back(hex_register(words[i]));
    }
    return registers;
}

Json storage_constants() {
    uint32_t first = 0;
    uint32_t count = 0;
    GetHDDSlot(&first, &count);
    return {{"slots_max", GetDiskMaxCount()},
            {"first_card_key", first},
            {"connectors", count},
            {"sgpio_registers", sgpio_registers()},
            {"power", power_rows()},
            {"back_panel_slot_id", GetDiskBackPanelSlotId()},
            {"direct_location_led", IsDirectHdLocLecSupported() == 1},
            {"u2_nvme_list", supportAllU2NVMeListInfoIfc() == 1},
            {"it_cards", IfSupportItFun() == 1},
            {"pmc_cards", IfSupportPmcFun() == 1},
            {"amd_process", supportAMDProcess() == 1},
            {"auto_probe", HDD_AutoProbeSupport() == 1},
            {"alarm_by_presence_sensor", isDiskPresentAlarmBySensor() == 1},
            {"without_hard_presence", IsHDDWithoutHardPresent() == 1},
            {"rear_disk_sensor", isHandleRearHddSensor() == 1},
            {"status_sensor", HDD_SensorStatusSupport() == 1},
            {"model_match", HDD_ModelMatchSupport() == 1},
            {"missing_disk_status", HDD_PdMissingDefaultStatus()},
            {"move_out_inform", SupportServiceMoveOutInform() == 1},
            {"bprc_present_info", unless(-1, getBPRCPresentInfo())}};
}

// The platform's own question; it need not have an answer.
Json back_panel_id() {
    uint32_t id = 0;
    return GetDiskBackPanelInfo(&id) == 0 ? Json(id) : Json();
}

Json backplanes(Session &session) {
    Json rows = Json::array();
    for (const Connector &connector : connectors_of_backplanes(session)) {
        if (connector.panel) {
            rows.push_back(backplane_row(connector));
        }
    }
    return {{"backplanes", std::move(rows)},
            {"slots", GetDiskMaxNum()},
            {"fell", IsFellBoard() == 1},
            {"back_panel_id", back_panel_id()},
            {"constants", storage_constants()}};
}

// ---- tables ----

// Numbers in a row as "1-4, 9".
Json runs_text(const Json &numbers) {
    if (numbers.is_null()) {
        return nullptr;
    }
    std::string text;
    for (std::size_t i = 0; i < numbers.size();) {
        std::size_t last = i;
        while (last + 1 < numbers.size() &&
               numbers[last + 1].get<uint32_t>() == numbers[last].get<uint32_t>() + 1) {
            ++last;
        }
        text += (text.empty() ? "" : ", ") + numbers[i].dump();
        text += last > i ? "-" + numbers[last].dump() : "";
        i = last + 1;
    }
    return text.empty() ? "none" : text;
}

Column runs_column(const char *heading, const char *key) {
    return {heading, "", [key](const Json &row) { return runs_text(row[key]); }};
}

void show_backplanes(Page &page, const Json &document) {
    page.heading("Backplanes");
    page.table(document["backplanes"], {{"Connector", "/connector"},
                                        {"Card key", "/card_key"},
                                        {"Model", "/model"},
                                        {"Board", "/board_id"},
                                        {"Start slot", "/start_slot"},
                                        {"Slots", "/slots"},
                                        runs_column("Shown as", "shown_numbers"),
                                        {"Online disks", "/online_disks"},
                                        runs_column("NVMe bays", "u2_nvme_bays"),
                                        runs_column("SAS/SATA bays", "sas_sata_bays")});
    page.heading("Disks of the board");
    page.fields(document, {{"Slots", "/slots"},
                           {"Slots at most", "/constants/slots_max"},
                           {"Fell", "/fell"},
                           {"Back panel id", "/back_panel_id"},
                           {"First card key", "/constants/first_card_key"},
                           {"Connectors", "/constants/connectors"},
                           {"SGPIO registers", "/constants/sgpio_registers"},
                           {"Back panel slot id", "/constants/back_panel_slot_id"},
                           {"Missing disk's status", "/constants/missing_disk_status"},
                           {"BPRC presence", "/constants/bprc_present_info"}});
    page.heading("Supported");
    page.fields(document["constants"], {{"Direct location LED", "/direct_location_led"},
                                        {"U.2 NVMe list", "/u2_nvme_list"},
                                        {"IT cards", "/it_cards"},
                                        {"PMC cards", "/pmc_cards"},
                                        {"AMD process", "/amd_process"},
                                        {"Automatic probe", "/auto_probe"},
                                        {"Alarm by presence sensor", "/alarm_by_presence_sensor"},
                                        {"Without hard presence", "/without_hard_presence"},
                                        {"Rear disk sensor", "/rear_disk_sensor"},
                                        {"Status sensor", "/status_sensor"},
                                        {"Model match", "/model_match"},
                                        {"Move-out inform", "/move_out_inform"}});
    page.heading("Disk power");
    page.table(document["constants"]["power"],
               {{"Board", "/board_id"}, {"Register", "/register"}, {"Signal", "/signal"}});
}

}  // namespace

std::vector<Connector> connectors_of_backplanes(Session &session) {
    std::vector<Connector> connectors = named_connectors();
    BackPanelList list = {};
    if (GetAllHddBackPanelDevInfo(&list) != 0) {
        session.fail("the identifier of a fitted backplane cannot be read");
    }
    for (const BackPanelDev &panel :
         std::span(list.singlepaneldev).first(static_cast<std::size_t>(list.totalnum))) {
        const auto found = std::find_if(
            connectors.begin(), connectors.end(),
            [&](const Connector &connector) { return connector.card_key == panel.card_index; });
        if (found != connectors.end()) {
            found->panel = panel;
        } else {
            connectors.push_back({panel.card_index, card_position_name(panel.card_index), panel});
        }
    }
    return connectors;
}

Json backplane_json(const Connector &connector) {
    const bool fitted = connector.panel.has_value();
    return {{"connector", connector.name},
            {"card_key", connector.card_key},
            {"board_id", fitted ? Json(hex_id(connector.panel->board_id)) : Json()},
            {"model", fitted ? backplane_model(connector.panel->board_id) : Json()}};
}

ListedBays listed_bays(const Connector &connector) {
    uint32_t first = 0;
    uint32_t count = 0;
    GetHDDSlot(&first, &count);
    for (const ModelLists &lists : model_lists) {
        if (lists.board_id != connector.panel->board_id) {
            continue;
        }
        const uint32_t position = connector.card_key - first;
        U2NvmeList nvme = {};
        HddList disks = {};
        if (lists.u2_nvme(lists.board_id, position, &nvme) != 0 ||
            lists.sas_sata(lists.board_id, position, &disks) != 0) {
            return {nullptr, nullptr, true};
        }
        return {bays_listed(nvme), bays_listed(disks), false};
    }
    return {nullptr, nullptr, false};
}

void add_backplanes(Cli &cli) {
    cli.add({.name = "backplanes",
             .title = "Disk backplanes",
             .summary = "Which backplanes are fitted and which slots they own",
             .run = backplanes,
             .show = show_backplanes});
}

}  // namespace boardctl
