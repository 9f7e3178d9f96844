// dimm: the DIMM sockets, and which of them an event means.
#include <CLI/CLI.hpp>
#include <fstream>
#include <memory>
#include <set>

#include "boardfeatures/dimm.h"
#include "command.h"
#include "numbers.h"

namespace boardctl {

namespace {

// What the host firmware has told of its memory: the number of a fitted socket a line.
constexpr const char *host_dimms = "/var/host_dimms";

// Nothing when the host firmware has not told.
std::optional<std::set<int>> fitted_dimms() {
    std::ifstream file(host_dimms);
    if (!file) {
        return std::nullopt;
    }
    std::set<int> numbers;
    for (int number; file >> number;) {
        numbers.insert(number);
    }
    return numbers;
}

Json dimm_json(const DimmDevInfo &socket) {
    return {{"index", socket.index},
            {"dimm_number", socket.dimm_num},
            {"label", field_text(socket.silk_screen)},
            {"cpu", socket.cpu},
            {"controller", socket.controller},
            {"channel", socket.channel},
            {"slot", socket.slot},
            {"bios_channel", socket.controller * GetChannelCountPerController() + socket.channel},
            {"card_index", unless<int>(DIMM_ON_MAIN_BOARD, socket.card_index)}};
}

Json dimm(Session &) {
    const DimmDevInfo *table = nullptr;
    const int32_t count = getAllDimmSilkScreen(&table);
    const auto fitted = fitted_dimms();
    Json sockets = Json::array();
    for (int32_t i = 0; i < count; ++i) {
        Json row = dimm_json(table[i]);
        row["fitted"] = fitted ? Json(fitted->contains(table[i].dimm_num)) : Json();
        sockets.push_back(std::move(row));
    }
    return {{"counts",
             {{"sockets", GetMaxDimmCount()},
              {"usable", GetRealMaxDimmCount()},
              {"per_cpu", GetDimmCountPerCPU()},
              {"controllers_per_cpu", GetControllerCountPerCPU()},
              {"channels_per_controller", GetChannelCountPerController()},
              {"dimms_per_channel", GetDimmCountPerChannel()}}},
            {"support",
             {{"out_of_band_i2c", GetI2CDimmOutBandSupportFlag() == 1},
              {"epld_temperature", GetEpldDimmTempSupportFlag() == 1},
              {"epld_temperature_offset", unless(0xFFFF, GetEpldDimmTempOffset())}}},
            {"sockets", std::move(sockets)}};
}

void show_dimm(Page &page, const Json &document) {
    page.heading(fmt::format("DIMM sockets: {}, {} to a CPU",
                             value_text(document["counts"]["sockets"]),
                             value_text(document["counts"]["per_cpu"])));
    page.table(document["sockets"], {{"DIMM", "/dimm_number"},
                                     {"Label", "/label"},
                                     {"Fitted", "/fitted"},
                                     {"CPU", "/cpu"},
                                     {"Controller", "/controller"},
                                     {"Channel", "/channel"},
                                     {"Slot", "/slot"},
                                     {"BIOS channel", "/bios_channel"}});
}

// ---- events ----

struct DimmEvent {
    uint32_t type = 0, data2 = 0, data3 = 0;
};

// What an answer of the library means: an index and a label that are there.
Json decoded_dimm(Session &session, int32_t number, int32_t card, const std::string &label) {
    if (number == 0) {
        session.fail("the event names no socket");
    }
    DimmDevInfo socket = {};
    const bool known =
        number > 0 && GetDimmDevInfoByDimmNum(static_cast<uint32_t>(number), &socket) == 0;
    return {{"dimm_number", number != 0 ? Json(number) : Json()},
            {"label", !label.empty() ? Json(label)
                      : known        ? Json(field_text(socket.silk_screen))
                                     : Json()},
            {"card_index", card},
            {"socket", known ? dimm_json(socket) : Json()}};
}

Json decode_sel_event(Session &session, const DimmEvent &event) {
    char label[10] = {};
    GetDimmSilkScreenBySelInfo(event.data2, event.data3, label);
    Json document = {{"data2", hex_byte(event.data2)},
                     {"data3", hex_byte(event.data3)},
                     {"direct", (event.data3 & 1) != 0}};
    document.update(decoded_dimm(session, GetDimmNumberBySelInfo(event.data2, event.data3),
                                 GetDimmCardIndexBySelInfo(event.data2, event.data3), label));
    return document;
}

Json decode_bios_event(Session &session, const DimmEvent &event) {
    constexpr uint32_t packed_type = 5;
    const bool packed = (event.type & 0x0F) == packed_type;
    char label[10] = {};
    if (packed) {
        DiofluADDDCGetDimmSilkScreenBySelInfo(event.data3, label);
    } else {
        GetDimmSilkScreenBySelInfo(event.data2, event.data3, label);
    }
    Json document = {{"type", hex_byte(event.type)},
                     {"data2", hex_byte(event.data2)},
                     {"data3", hex_byte(event.data3)},
                     {"packed", packed},
                     {"direct", !packed && (event.data3 & 1) != 0}};
    document.update(
        decoded_dimm(session, GetDimmNumByBiosSelInfo(event.type, event.data2, event.data3),
                     GetDimmCardIndexByBiosSelInfo(event.type, event.data2, event.data3), label));
    return document;
}

void show_decoded_dimm(Page &page, const Json &document) {
    page.fields(document, {{"DIMM", "/dimm_number"},
                           {"Label", "/label"},
                           {"Named directly", "/direct"},
                           {"CPU", "/socket/cpu"},
                           {"Controller", "/socket/controller"},
                           {"Channel", "/socket/channel"},
                           {"Slot", "/socket/slot"},
                           {"Card index", "/card_index"}});
}

void add_event_byte(CLI::App &command, const char *name, uint32_t &value, const char *meaning) {
    command.add_option(name, value, meaning)
        ->type_name("BYTE")
        ->required()
        ->check(CLI::Range(0u, 255u));
}

}  // namespace

void add_dimm(Cli &cli) {
    CLI::App &command = cli.add({.name = "dimm",
                                 .title = "DIMM sockets",
                                 .summary = "The DIMM sockets, and which of them an event means",
                                 .run = dimm,
                                 .show = show_dimm});
    const auto event = std::make_shared<DimmEvent>();
    CLI::App &sel =
        cli.add({.name = "decode-sel",
                 .title = "",
                 .summary = "The socket that a memory event in the system event log names",
                 .run = [event](Session &session) { return decode_sel_event(session, *event); },
                 .show = show_decoded_dimm,
                 .in_report = false},
                &command);
    CLI::App &bios =
        cli.add({.name = "decode-bios",
                 .title = "",
                 .summary = "The same for an event of the host firmware, by its type",
                 .run = [event](Session &session) { return decode_bios_event(session, *event); },
                 .show = show_decoded_dimm,
                 .in_report = false},
                &command);
    add_event_byte(bios, "type", event->type, "The event's type");
    for (CLI::App *each : {&sel, &bios}) {
        add_event_byte(*each, "data2", event->data2, "The event's second data byte");
        add_event_byte(*each, "data3", event->data3, "The event's third data byte");
    }
}

}  // namespace boardctl
