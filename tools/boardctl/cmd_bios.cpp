// bios: the host firmware's setup options, by name and by number.
#include <CLI/CLI.hpp>
#include <memory>

#include "boardfeatures/bios.h"
#include "command.h"

namespace boardctl {

namespace {

struct BiosRequest {
    uint32_t group = 0, item = 0, value = 0;
};

struct BiosAnswer {
    int32_t result;
    std::string name;
    std::string text;
    uint8_t completion = 0;
};

constexpr std::size_t bios_text_size = 32;

BiosAnswer ask_bios(uint32_t mode, const BiosRequest &request) {
    const uint8_t bytes[3] = {static_cast<uint8_t>(request.group),
                              static_cast<uint8_t>(request.item),
                              static_cast<uint8_t>(request.value)};
    const char *name = nullptr;
    char text[bios_text_size] = {};
    BiosAnswer answer = {};
    answer.result = BIOSInfoHandle(mode, bytes, &name, nullptr, text, &answer.completion);
    answer.name = name != nullptr ? name : "";
    answer.text = field_text(text);
    return answer;
}

// The values that a code can be given for. A number's text is the code itself.
Json bios_values(uint32_t group, uint32_t item) {
    Json values = Json::array();
    bool numeric = true;
    for (uint32_t code = 0; code <= 255; ++code) {
        const BiosAnswer answer = ask_bios(BIOS_VALUE_TO_TEXT, {group, item, code});
        if (answer.result == 0) {
            values.push_back({{"code", code}, {"text", answer.text}});
            numeric = numeric && answer.text == std::to_string(code);
        }
    }
    if (!numeric || values.empty()) {
        return {{"values", std::move(values)}, {"range", nullptr}};
    }
    return {{"values", Json::array()},
            {"range", {{"lowest", values.front()["code"]}, {"highest", values.back()["code"]}}}};
}

Json bios(Session &) {
    Json items = Json::array();
    // Group 0xAA marks further rows of an item and is none.
    constexpr uint32_t no_group = 0xAA;
    for (uint32_t group = 0; group <= 255; ++group) {
        const char *names[BIOS_ROWS] = {};
        const uint8_t request[3] = {static_cast<uint8_t>(group), BIOS_WHOLE_GROUP, 0};
        uint8_t completion = 0;
        if (group == no_group ||
            BIOSInfoHandle(BIOS_FIND, request, names, nullptr, nullptr, &completion) < 0) {
            continue;
        }
        for (uint32_t item = 0; item < 255; ++item) {
            const BiosAnswer answer = ask_bios(BIOS_FIND, {group, item, 0});
            const bool placeholder = answer.completion == BIOS_COMPLETION_PLACEHOLDER;
            if (answer.result != 1 && !placeholder) {
                continue;
            }
            Json row = {{"group", group},
                        {"item", item},
                        {"name", placeholder ? Json() : Json(answer.name)},
                        {"placeholder", placeholder}};
            row.update(bios_values(group, item));
            items.push_back(std::move(row));
        }
    }
    return {{"items", std::move(items)}};
}

std::string bios_values_text(const Json &item) {
    if (!item["range"].is_null()) {
        return fmt::format("{} to {}", item["range"]["lowest"].dump(),
                           item["range"]["highest"].dump());
    }
    std::string text;
    for (const Json &value : item["values"]) {
        text += fmt::format("{}{}={}", text.empty() ? "" : ", ", value["code"].dump(),
                            value_text(value["text"]));
    }
    return text.empty() ? "-" : text;
}

void show_bios(Page &page, const Json &document) {
    page.heading("BIOS setup options");
    page.table(document["items"], {{"Group", "/group"},
                                   {"Item", "/item"},
                                   {"Name", "",
                                    [](const Json &item) {
                                        return item["placeholder"] == true ? Json("(reserved)")
                                                                           : item["name"];
                                    }},
                                   {"Values", "", bios_values_text}});
}

Json bios_completion_json(const BiosAnswer &answer) {
    return answer.completion != 0 ? Json(hex_byte(answer.completion)) : Json();
}

Json bios_decode(Session &session, const BiosRequest &request) {
    const BiosAnswer answer = ask_bios(BIOS_VALUE_TO_TEXT, request);
    if (answer.result != 0) {
        session.fail(answer.completion == BIOS_COMPLETION_PLACEHOLDER
                         ? "the item is reserved"
                         : "there is no such item or value");
    }
    return {{"group", request.group},
            {"item", request.item},
            {"code", request.value},
            {"name", answer.result == 0 ? Json(answer.name) : Json()},
            {"text", answer.result == 0 ? Json(answer.text) : Json()},
            {"completion", bios_completion_json(answer)}};
}

Json bios_encode(Session &session, const std::string &name, const std::string &text) {
    const uint8_t request[3] = {};
    const char *unused = nullptr;
    char name_field[bios_text_size + 1] = {};
    char text_field[bios_text_size + 1] = {};
    name.copy(name_field, bios_text_size);
    text.copy(text_field, bios_text_size);
    BiosAnswer answer = {};
    answer.result = BIOSInfoHandle(BIOS_TEXT_TO_VALUE, request, &unused, name_field, text_field,
                                   &answer.completion);
    const bool too_long = name.size() > bios_text_size || text.size() > bios_text_size;
    const bool known = answer.result >= 0 && !too_long;
    if (!known) {
        session.fail("there is no such item or value");
    }
    return {{"name", name},
            {"text", text},
            {"code", known ? Json(answer.result) : Json()},
            {"completion", bios_completion_json(answer)}};
}

}  // namespace

void add_bios(Cli &cli) {
    CLI::App &command = cli.add({.name = "bios",
                                 .title = "BIOS options",
                                 .summary = "The BIOS setup options with their values",
                                 .run = bios,
                                 .show = show_bios});
    const auto request = std::make_shared<BiosRequest>();
    CLI::App &by_code =
        cli.add({.name = "decode",
                 .title = "",
                 .summary = "The text of an option's value, by numbers",
                 .run = [request](Session &session) { return bios_decode(session, *request); },
                 .show =
                     [](Page &page, const Json &document) {
                         page.fields(document, {{"Name", "/name"}, {"Value", "/text"}});
                     },
                 .in_report = false},
                &command);
    for (const auto &[name, value, meaning] :
         {std::tuple{"group", &request->group, "The option's group"},
          {"item", &request->item, "The option's item"},
          {"code", &request->value, "The value's code"}}) {
        by_code.add_option(name, *value, meaning)
            ->type_name("BYTE")
            ->required()
            ->check(CLI::Range(0u, 255u));
    }
    const auto texts = std::make_shared<std::pair<std::string, std::string>>();
    CLI::App &by_text = cli.add(
        {.name = "encode",
         .title = "",
         .summary = "The code of an option's value, by texts",
         .run = [texts](
                    Session &session) { return bios_encode(session, texts->first, texts->second); },
         .show =
             [](Page &page, const Json &document) {
                 page.fields(document, {{"Code", "/code"}});
             },
         .in_report = false},
        &command);
    by_text.add_option("name", texts->first, "The option's name")->type_name("NAME")->required();
    by_text.add_option("text", texts->second, "The value's text")->type_name("TEXT")->required();
}

}  // namespace boardctl
