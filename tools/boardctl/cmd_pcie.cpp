// pcie: which slot and which bay has which CPU lanes, how that came about, and what of it the host
// firmware is told.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <span>

#include "pcie.h"

namespace boardctl {

namespace {

struct SlotType {
    const char *name;       // in the documents
    const char *label;      // on the map of lanes
    const char *short_one;  // where that has no room
};
constexpr std::array<SlotType, 8> slot_types = {{{"pcie", "slot ", "s"},
                                                 {"embedded", "emb ", "e"},
                                                 {"ocp", "ocp ", "o"},
                                                 {"disk", "bay ", ""},
                                                 {"disk_zone1", "bay ", ""},
                                                 {"disk_zone2", "bay ", ""},
                                                 {"disk_zone3", "bay ", ""},
                                                 {"mezzanine", "mezz ", "m"}}};
constexpr SlotType unknown_type = {"unknown", "", ""};

const SlotType &type_of(const Json &slot) {
    const auto type =
        std::find_if(slot_types.begin(), slot_types.end(), [&slot](const SlotType &candidate) {
            return slot["type"].get_ref<const std::string &>() == candidate.name;
        });
    return type != slot_types.end() ? *type : unknown_type;
}

template <typename List>
auto entries(const List &list) {
    return std::span(list.items).first(std::min<std::size_t>(list.count, std::size(list.items)));
}
std::span<const bpdev_uplink> uplinks_of(const bpdev_item &device) {
    return std::span(device.uplinks)
        .first(std::min<std::size_t>(device.uplink_count, std::size(device.uplinks)));
}

const mb2bpifc_item &interface_of(const pcieid_workspace &work, uint32_t device) {
    return work.interfaces.items[work.device_interfaces[device]];
}

Json socket_name(const pcieid_workspace &work, uint32_t socket) {
    return socket == PCIEID_NONE ? Json() : Json(field_text(work.slimlines.items[socket].name));
}

// ---- slots ----

Json origin_json(const pcieid_workspace &work, const pcieid_origin &origin) {
    Json json = {{"connector", nullptr}, {"riser_board_id", nullptr},  {"interface", nullptr},
                 {"device", nullptr},    {"device_board_id", nullptr}, {"uplinks", Json::array()}};
    if (origin.connector != PCIEID_NONE) {
        json["connector"] = field_text(work.mbslots.items[origin.connector].name);
    }
    if (origin.riser != PCIEID_NONE) {
        json["riser_board_id"] = hex_id(work.risers.items[origin.riser].hwid);
    }
    if (origin.device != PCIEID_NONE) {
        const bpdev_item &device = work.devices.items[origin.device];
        json["interface"] = field_text(interface_of(work, origin.device).name);
        json["device"] = field_text(device.hwid_device.name);
        json["device_board_id"] = hex_id(device.hwid);
        for (uint32_t k = 0; k < origin.uplink_count; ++k) {
            const uint32_t uplink = origin.uplinks[k];
            json["uplinks"].push_back({{"uplink", uplink},
                                       {"name", field_text(device.uplinks[uplink].io.name)},
                                       {"socket", socket_name(work, origin.sockets[k])}});
        }
    }
    return json;
}

Json slots_json(const pcieid_workspace &work) {
    Json rows = Json::array();
    uint32_t index = 0;
    for (const pciecfg_item &item : entries(work.identified)) {
        Json row = pcie_item_json(item);
        row["origin"] = origin_json(work, work.origins[index++]);
        rows.push_back(std::move(row));
    }
    return rows;
}

// Either of two, whichever there is.
Json first_of(const Json &json, const char *key, const char *other) {
    return json[key].is_null() ? json[other] : json[key];
}

Column uplink_column(const char *heading, const char *key) {
    return {heading, "", [key](const Json &row) {
                Json all = Json::array();
                for (const Json &uplink : row["origin"]["uplinks"]) {
                    all.push_back(uplink[key]);
                }
                return all.empty() ? Json() : all;
            }};
}

void show_slots(Page &page, const Json &document) {
    page.heading("PCIe slots and disk bays");
    std::vector<Column> columns = pcie_item_columns();
    columns.insert(
        columns.end(),
        {{"Connector", "",
          [](const Json &row) { return first_of(row["origin"], "connector", "interface"); }},
         {"Riser or backplane", "",
          [](const Json &row) {
              const Json &origin = row["origin"];
              if (origin["device"].is_null()) {
                  return origin["riser_board_id"];
              }
              return Json(fmt::format("{} {}", origin["device"].get<std::string>(),
                                      origin["device_board_id"].get<std::string>()));
          }},
         uplink_column("Uplink", "name"),
         uplink_column("Socket", "socket")});
    page.table(document["slots"], columns);
}

// ---- lanes ----

Json span_json(uint32_t start, const std::vector<const pciecfg_item *> &holders) {
    Json slots = Json::array();
    for (const pciecfg_item *item : holders) {
        const Json whole = pcie_item_json(*item);
        slots.push_back(
            {{"name", whole["name"]}, {"type", whole["type"]}, {"number", whole["number"]}});
    }
    return {{"x1_start", start}, {"width", 0}, {"slots", std::move(slots)}};
}

Json lanes_json(const pcieid_workspace &work) {
    const auto cpus = static_cast<uint32_t>(board_get_max_cpu_count());
    const auto lanes = static_cast<uint32_t>(board_get_max_cpux1lane_count());
    std::vector<std::vector<const pciecfg_item *>> holders(std::size_t{cpus} * lanes);
    Json outside = Json::array();
    for (const pciecfg_item &item : entries(work.identified)) {
        if (item.cpu >= cpus || item.x1_start >= lanes || item.width > lanes - item.x1_start) {
            outside.push_back(field_text(item.name));
            continue;
        }
        for (uint32_t lane = 0; lane < item.width; ++lane) {
            holders[item.cpu * lanes + item.x1_start + lane].push_back(&item);
        }
    }
    Json rows = Json::array();
    for (uint32_t cpu = 0; cpu < cpus; ++cpu) {
        Json spans = Json::array();
        uint32_t free = 0, shared = 0;
        for (uint32_t lane = 0; lane < lanes; ++lane) {
            const auto &here = holders[cpu * lanes + lane];
            if (lane == 0 || here != holders[cpu * lanes + lane - 1]) {
                spans.push_back(span_json(lane, here));
            }
            spans.back()["width"] = spans.back()["width"].get<uint32_t>() + 1;
            free += here.empty() ? 1u : 0u;
            shared += here.size() > 1 ? 1u : 0u;
        }
        rows.push_back({{"cpu", cpu},
                        {"lanes", lanes},
                        {"free", free},
                        {"shared", shared},
                        {"spans", std::move(spans)}});
    }
    return {{"cpus", std::move(rows)}, {"outside", std::move(outside)}};
}

// One character a lane: "[==slot 3==]", "[12]", free lanes ".", lanes of several slots "!".
Page::Piece span_piece(const Json &span) {
    const auto width = span["width"].get<std::size_t>();
    if (span["slots"].empty()) {
        return {std::string(width, '.'), Page::Style::weak};
    }
    if (span["slots"].size() > 1) {
        return {std::string(width, '!'), Page::Style::strong};
    }
    const Json &slot = span["slots"][0];
    const SlotType &type = type_of(slot);
    const std::string number = slot["number"].dump();
    std::string text(width, '=');
    if (width >= 2) {
        text.front() = '[';
        text.back() = ']';
    }
    for (const std::string &label : {type.label + number, type.short_one + number}) {
        if (label.size() + 2 <= width) {
            text.replace((width - label.size()) / 2, label.size(), label);
            break;
        }
    }
    return {text, std::string_view(type.label) == "bay " ? Page::Style::good : Page::Style::accent};
}

std::string lanes_text(const Json &span) {
    const auto start = span["x1_start"].get<uint32_t>();
    return fmt::format("{}-{}", start, start + span["width"].get<uint32_t>() - 1);
}

void show_lanes(Page &page, const Json &document) {
    for (const Json &cpu : document["lanes"]["cpus"]) {
        page.heading(fmt::format("CPU {}, {} of {} lanes free", cpu["cpu"].dump(),
                                 cpu["free"].dump(), cpu["lanes"].dump()));
        std::string numbers, marks;
        for (unsigned lane = 0; lane < cpu["lanes"].get<unsigned>(); lane += 8) {
            numbers += fmt::format("{:<8}", lane);
            marks += "|       ";
        }
        page.line("  " + numbers);
        page.line("  " + marks);
        std::vector<Page::Piece> pieces;
        for (const Json &span : cpu["spans"]) {
            pieces.push_back(span_piece(span));
        }
        page.pieces(pieces);
        for (const Json &span : cpu["spans"]) {
            if (span["slots"].size() > 1) {
                Json names = Json::array();
                for (const Json &slot : span["slots"]) {
                    names.push_back(slot["name"]);
                }
                page.line(fmt::format("  ! lanes {} are claimed by {}", lanes_text(span),
                                      value_text(names)));
            }
        }
    }
    const Json &outside = document["lanes"]["outside"];
    if (!outside.empty()) {
        page.line("  ! lanes that no CPU has: " + value_text(outside));
    }
    page.line("");
    page.line("  [12] bay 12, [s3] PCIe slot 3, [o1] OCP, [m1] mezzanine, . free");
}

// ---- cables ----

// By pcieid_cable_state.
constexpr std::array<const char *, 4> cable_states = {"bound", "no_index", "no_word", "no_socket"};

Json unbound_reason(const pcieid_cable &cable) {
    switch (cable.state) {
        case PCIEID_CABLE_BOUND:
            return nullptr;
        case PCIEID_CABLE_NO_INDEX:
            return "no valid index of its own: no expander answers, or its pins are wrong";
        case PCIEID_CABLE_NO_WORD:
            return "no valid word of a socket: no cable, or it disturbs the word";
        case PCIEID_CABLE_NO_SOCKET:
            return fmt::format("the cable names socket {}, which the board does not have",
                               cable.word_index);
        default:
            return "unknown";
    }
}

// The names of the items that an uplink feeds.
Json fed_by(const pcieid_workspace &work, uint32_t device, uint32_t uplink) {
    Json names = Json::array();
    uint32_t index = 0;
    for (const pciecfg_item &item : entries(work.identified)) {
        const pcieid_origin &origin = work.origins[index++];
        const auto uplinks = std::span(origin.uplinks).first(origin.uplink_count);
        if (origin.device == device &&
            std::find(uplinks.begin(), uplinks.end(), uplink) != uplinks.end()) {
            names.push_back(field_text(item.name));
        }
    }
    return names;
}

Json cables_json(const pcieid_workspace &work) {
    Json rows = Json::array();
    for (uint32_t d = 0; d < entries(work.devices).size(); ++d) {
        const bpdev_item &device = work.devices.items[d];
        uint32_t index = 0;
        for (const bpdev_uplink &uplink : uplinks_of(device)) {
            const pcieid_cable &cable = work.cables[d][index];
            const bool bound = cable.state == PCIEID_CABLE_BOUND;
            rows.push_back(
                {{"interface", field_text(interface_of(work, d).name)},
                 {"device", field_text(device.hwid_device.name)},
                 {"device_board_id", hex_id(device.hwid)},
                 {"uplink", index},
                 {"name", field_text(uplink.io.name)},
                 {"route", route_json(uplink.io)},
                 {"own_index",
                  cable.state == PCIEID_CABLE_NO_INDEX ? Json() : Json(cable.uplink_index)},
                 {"state", cable.state < cable_states.size() ? Json(cable_states[cable.state])
                                                             : Json("unknown")},
                 {"reason", unbound_reason(cable)},
                 {"socket", bound ? socket_name(work, cable.word_index) : Json()},
                 {"socket_index",
                  bound || cable.state == PCIEID_CABLE_NO_SOCKET ? Json(cable.word_index) : Json()},
                 {"cpu", bound ? Json(uplink.source.cpu) : Json()},
                 {"x1_start", bound ? Json(uplink.source.x1_start) : Json()},
                 {"width", bound ? Json(uplink.source.width) : Json()},
                 {"feeds", fed_by(work, d, index)}});
            ++index;
        }
    }
    return rows;
}

// Every socket and how many uplinks name it: one at most, when all is cabled as it should be.
Json sockets_json(const pcieid_workspace &work, const Json &cables) {
    Json rows = Json::array();
    uint32_t index = 0;
    for (const slimline_item &socket : entries(work.slimlines)) {
        Json uplinks = Json::array();
        for (const Json &cable : cables) {
            if (cable["state"] == "bound" && cable["socket_index"] == index) {
                uplinks.push_back(fmt::format("{} {}", cable["interface"].get<std::string>(),
                                              cable["name"].get<std::string>()));
            }
        }
        const uint32_t slot = work.slimline_slots[index];
        rows.push_back(
            {{"index", index},
             {"name", field_text(socket.name)},
             {"retimer_slot",
              slot == PCIEID_NONE ? Json() : Json(field_text(work.pcieslots.items[slot].name))},
             {"cpu", socket.cpu},
             {"x1_start", socket.x1_start},
             {"width", socket.width},
             {"vpp_address", hex_byte(socket.vpp_address)},
             {"uplinks", std::move(uplinks)}});
        ++index;
    }
    return rows;
}

Column width_column() {
    return {"Width", "", [](const Json &row) {
                return row["width"].is_null() ? Json() : Json("x" + row["width"].dump());
            }};
}

void show_cables(Page &page, const Json &document) {
    page.heading("Uplinks and what feeds them");
    page.table(document["cables"],
               {{"Interface", "/interface"},
                {"Backplane", "/device"},
                {"Uplink", "/name"},
                {"Socket", "", [](const Json &row) { return first_of(row, "socket", "reason"); }},
                {"CPU", "/cpu"},
                {"X1 start", "/x1_start"},
                width_column(),
                {"Feeds", "/feeds"}});
    page.heading("Slimline sockets");
    page.table(document["sockets"], {{"Index", "/index"},
                                     {"Name", "/name"},
                                     {"Retimer in", "/retimer_slot"},
                                     {"CPU", "/cpu"},
                                     {"X1 start", "/x1_start"},
                                     width_column(),
                                     {"VPP", "/vpp_address"},
                                     {"Uplinks", "/uplinks"}});
}

// ---- the commands ----

using Work = std::unique_ptr<pcieid_workspace>;

Json slots(Session &session) { return {{"slots", slots_json(*identify_pcie(session))}}; }
Json lanes(Session &session) { return {{"lanes", lanes_json(*identify_pcie(session))}}; }

Json cables_document(const pcieid_workspace &work) {
    Json cables = cables_json(work);
    Json sockets = sockets_json(work, cables);
    return {{"cables", std::move(cables)}, {"sockets", std::move(sockets)}};
}
Json cables(Session &session) { return cables_document(*identify_pcie(session)); }

// All three of one identification.
Json pcie(Session &session) {
    const Work work = identify_pcie(session);
    Json document = {{"slots", slots_json(*work)}, {"lanes", lanes_json(*work)}};
    document.update(cables_document(*work));
    return document;
}

void show_pcie_document(Page &page, const Json &document) {
    show_slots(page, document);
    show_lanes(page, document);
    show_cables(page, document);
}

}  // namespace

std::unique_ptr<pcieid_workspace> identify_pcie(Session &session) {
    auto work = std::make_unique<pcieid_workspace>();
    if (pcieid_identify(work.get(), &work->identified) != 0) {
        session.fail("the PCIe slots cannot be identified");
        work = std::make_unique<pcieid_workspace>();
    }
    return work;
}

Json pcie_item_json(const pciecfg_item &item) {
    const SlotType &type = item.type < slot_types.size() ? slot_types[item.type] : unknown_type;
    return {{"name", field_text(item.name)},
            {"type", type.name},
            {"number", item.number},
            {"cpu", item.cpu},
            {"x1_start", item.x1_start},
            {"width", item.width},
            {"vpp", item.vpp_address == 0
                        ? Json()
                        : Json{{"address", hex_byte(item.vpp_address)}, {"port", item.vpp_port}}}};
}

Json pcie_items_json(const pciecfg_list &list) {
    Json rows = Json::array();
    for (const pciecfg_item &item : entries(list)) {
        rows.push_back(pcie_item_json(item));
    }
    return rows;
}

const std::vector<Column> &pcie_item_columns() {
    static const std::vector<Column> columns = {
        {"Slot", "/name"}, {"CPU", "/cpu"},         {"X1 start", "/x1_start"},
        width_column(),    {"VPP", "/vpp/address"}, {"VPP port", "/vpp/port"}};
    return columns;
}

void add_pcie(Cli &cli) {
    CLI::App &command = cli.add({.name = "pcie",
                                 .title = "PCIe slots, lanes and cables",
                                 .summary = "Which slots and disk bays have which CPU lanes",
                                 .run = pcie,
                                 .show = show_pcie_document});
    cli.add({.name = "slots",
             .title = "",
             .summary = "The identified slots and bays, and where each comes from",
             .run = slots,
             .show = show_slots,
             .in_report = false},
            &command);
    cli.add({.name = "lanes",
             .title = "",
             .summary = "A map of the lanes of each CPU",
             .run = lanes,
             .show = show_lanes,
             .in_report = false},
            &command);
    cli.add({.name = "cables",
             .title = "",
             .summary = "Which socket feeds each uplink, or why none does",
             .run = cables,
             .show = show_cables,
             .in_report = false},
            &command);
    add_pcie_flash(cli, command);
}

}  // namespace boardctl
