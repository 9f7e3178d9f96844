// cards: every position that a card can be fitted at.
#include "boardfeatures/host.h"
#include "command.h"
#include "identifier.h"

namespace boardctl {

namespace {

constexpr uint32_t first_card_key = 1;
constexpr uint32_t last_card_key = 255;

Json presence_json(const CardPresence &row) {
    switch (row.method) {
        case CARD_BY_EPLD_BIT: {
            const uint32_t reg =
                row.epld_register != 0 ? row.epld_register : uint32_t{CARD_DEFAULT_REGISTER};
            return {{"method", "epld_bit"}, {"register", hex_register(reg)}, {"bit", row.epld_bit}};
        }
        case CARD_BY_EXPANDER_PIN:
            return {{"method", "expander_pin"}, {"route", route_json(row.route)}, {"pin", row.pin}};
        default:
            return {{"method", "identifier"}, {"route", route_json(row.route)}};
    }
}

std::string presence_text(const Json &presence) {
    if (presence.is_null()) {
        return "-";
    }
    const auto method = presence["method"].get<std::string>();
    if (method == "epld_bit") {
        return fmt::format("EPLD {} bit {}", value_text(presence["register"]),
                           value_text(presence["bit"]));
    }
    if (method == "expander_pin") {
        return fmt::format("expander {} pin {} low", route_text(presence["route"]),
                           value_text(presence["pin"]));
    }
    return fmt::format("identifier {}", route_text(presence["route"]));
}

// The bus that a card position's identifier is read on, and the identifier if there is one.
Json identifier_of(uint32_t bus, bool known, const HardIdInfo &info) {
    Json identifier = {{"bus", bus}};
    identifier.update(identifier_json(known ? &info : nullptr));
    return identifier;
}

// Null for a key that has no identifier. A position is asked for its identifier before its bus,
// because an unknown key shows there without a message: the record stays as it was.
Json identifier_at(uint32_t key) {
    constexpr uint32_t untouched = 0xFFFFFFFF;
    HardIdInfo info = {
        .board_id = 0, .pcb_id = 0, .bom_id = 0, .hard_id = 0, .raw_value = untouched};
    const bool known = GetHardIdInfo(key, &info) == 0;
    uint32_t bus = 0;
    if (info.raw_value == untouched || GetSmbus(key, &bus) != 0) {
        return nullptr;
    }
    return identifier_of(bus, known, info);
}

Json base_info_at(uint32_t key) {
    uint32_t bus = 0;
    if (GetSmbusFromBaseInfoTable(key, &bus) != 0) {
        return nullptr;
    }
    HardIdInfo info = {};
    return identifier_of(bus, GetHardIdFromBaseInfoTable(key, &info) == 0, info);
}

Json cards(Session &) {
    Json rows = Json::array();
    uint32_t highest_key = 0;
    for (uint32_t key = first_card_key; key <= last_card_key; ++key) {
        CardPresence row = {};
        const bool has_row = GetCardOnlineInfoBySlotID(key, &row) == 0;
        Json identifier = identifier_at(key);
        if (!has_row && identifier.is_null()) {
            continue;
        }
        highest_key = key;
        const int32_t status = GetCardOnlineStatus(key);
        rows.push_back({{"key", key},
                        {"name", has_row ? Json(field_text(row.route.name)) : Json()},
                        {"fitted", has_row && status >= 0 ? Json(status == 1) : Json()},
                        {"online_status", status},
                        {"presence", has_row ? presence_json(row) : Json()},
                        {"identifier", std::move(identifier)}});
    }
    Json base_info = Json::array();
    for (uint32_t key = 0; key <= highest_key; ++key) {
        Json identifier = base_info_at(key);
        if (!identifier.is_null()) {
            base_info.push_back({{"key", key}, {"identifier", std::move(identifier)}});
        }
    }
    return {{"card_key_max", GetCardMaxNum()},
            {"cards", std::move(rows)},
            {"base_info", std::move(base_info)}};
}

void show_cards(Page &page, const Json &document) {
    page.heading("Cards");
    page.table(document["cards"],
               {{"Key", "/key"},
                {"Name", "/name"},
                {"Fitted", "",
                 [](const Json &row) {
                     return row["online_status"] == Json(-1) ? Json("unknown") : row["fitted"];
                 }},
                {"Board", "/identifier/board_id"},
                {"PCB", "/identifier/pcb_id"},
                {"BOM", "/identifier/bom_id"},
                {"Hard id", "/identifier/hard_id"},
                {"Id bus", "/identifier/bus"},
                {"Presence", "", [](const Json &row) { return presence_text(row["presence"]); }}});
    page.line(fmt::format("  unknown: the library answers for the keys 1 to {} only",
                          value_text(document["card_key_max"])));
    page.heading("Two-chip identifiers");
    page.table(document["base_info"], {{"Key", "/key"},
                                       {"Board", "/identifier/board_id"},
                                       {"PCB", "/identifier/pcb_id"},
                                       {"BOM", "/identifier/bom_id"},
                                       {"Hard id", "/identifier/hard_id"},
                                       {"Id bus", "/identifier/bus"}});
}

}  // namespace

void add_cards(Cli &cli) {
    cli.add({.name = "cards",
             .title = "Cards",
             .summary = "Every card position: fitted or not, its identifier, how that is known",
             .run = cards,
             .show = show_cards});
}

}  // namespace boardctl
