// customer: who the customer is, and texts of the customer's own.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "boardfeatures/config.h"
#include "command.h"
#include "ini_text.h"
#include "numbers.h"

namespace boardctl {

namespace {

constexpr char info_file[] = "/conf/vel/custominfo";
constexpr uint32_t most_characters = 255;

// A kind of text: 0 and 5 hold one, 3 holds one an index.
struct Kind {
    uint32_t number;
    bool indexed;
};
constexpr Kind kinds[] = {{0, false}, {3, true}, {5, false}};

std::vector<uint32_t> indexes_of(const Kind &kind, const IniText &file) {
    if (!kind.indexed) {
        const bool stored = !file.section(fmt::format("custom_info_{}", kind.number)).empty();
        return stored ? std::vector<uint32_t>{0} : std::vector<uint32_t>{};
    }
    constexpr std::string_view prefix = "info_String_";
    std::vector<uint32_t> indexes;
    for (const auto &[key, text] : file.section(fmt::format("{}_Product_Extra", kind.number))) {
        if (key.starts_with(prefix)) {
            if (const auto index = number_of(std::string_view(key).substr(prefix.size()))) {
                indexes.push_back(static_cast<uint32_t>(*index));
            }
        }
    }
    std::sort(indexes.begin(), indexes.end());
    return indexes;
}

Json text_row(Session &session, const Kind &kind, uint32_t index) {
    char text[most_characters + 1] = "";
    uint32_t length = 0;
    const bool loaded = IPMI_LoadCustomInfo(kind.number, index, text, &length) == 0;
    if (!loaded) {
        session.fail(fmt::format("{} cannot be loaded", info_file));
    }
    return {{"kind", kind.number},
            {"index", kind.indexed ? Json(index) : Json()},
            {"text", loaded ? Json(field_text(text)) : Json()},
            {"length", loaded ? Json(length) : Json()}};
}

Json customer(Session &session) {
    const bool exists = !IniText::missing(info_file);
    Json rows = Json::array();
    if (const std::optional<IniText> file = IniText::load(info_file)) {
        for (const Kind &kind : kinds) {
            for (const uint32_t index : indexes_of(kind, *file)) {
                rows.push_back(text_row(session, kind, index));
            }
        }
    }
    uint32_t id = 0;
    char name[64] = "";
    const bool known = IPMI_LoadCustomID(&id, name) == 0;
    if (!known && exists) {
        session.fail(fmt::format("{} cannot be loaded", info_file));
    }
    return {{"id", known ? Json(id) : Json()},
            {"name", known ? Json(field_text(name)) : Json()},
            {"file", info_file},
            {"texts", std::move(rows)}};
}

void show_customer(Page &page, const Json &document) {
    page.heading("Customer");
    page.fields(document, {{"Identity", "/id"}, {"Name", "/name"}, {"File", "/file"}});
    page.heading("Texts");
    page.table(document["texts"],
               {{"Kind", "/kind"}, {"Index", "/index"}, {"Text", "/text"}, {"Length", "/length"}});
}

void add_set_id(Cli &cli, CLI::App &parent) {
    const auto id = std::make_shared<uint32_t>(0);
    constexpr uint32_t last_customer = 19;
    CLI::App &command = cli.add({.name = "set-id",
                                 .title = "",
                                 .summary = "Choose the customer",
                                 .run = [id](Session &session) -> Json {
                                     if (IPMI_SaveCustomID(*id) != 0) {
                                         session.fail(fmt::format("{} cannot be saved", info_file));
                                     }
                                     return customer(session);
                                 },
                                 .show = show_customer,
                                 .in_report = false},
                                &parent);
    command.add_option("id", *id, "the customer's number")
        ->required()
        ->type_name("0..19")
        ->check(CLI::Range(uint32_t{0}, last_customer).description(""));
}

struct NewText {
    uint32_t kind = 0;
    std::string text;
    std::optional<uint32_t> index;
};

Json set_text(Session &session, const NewText &wanted) {
    const Kind &kind = *std::find_if(std::begin(kinds), std::end(kinds),
                                     [&](const Kind &each) { return each.number == wanted.kind; });
    if (kind.indexed != wanted.index.has_value()) {
        throw Stopped(status_usage, fmt::format("kind {} {} an --index", kind.number,
                                                kind.indexed ? "needs" : "has not"));
    }
    if (wanted.text.size() > most_characters ||
        wanted.text.find_first_of("\r\n") != wanted.text.npos) {
        throw Stopped(status_usage,
                      fmt::format("a text is one line of at most {} characters", most_characters));
    }
    if (IPMI_SaveCustomInfo(kind.number, wanted.index.value_or(0), wanted.text.c_str(),
                            static_cast<uint32_t>(wanted.text.size())) != 0) {
        session.fail(fmt::format("{} cannot be saved", info_file));
    }
    return customer(session);
}

void add_set_text(Cli &cli, CLI::App &parent) {
    const auto wanted = std::make_shared<NewText>();
    CLI::App &command =
        cli.add({.name = "set-text",
                 .title = "",
                 .summary = "Store a text of the customer's",
                 .run = [wanted](Session &session) { return set_text(session, *wanted); },
                 .show = show_customer,
                 .in_report = false},
                &parent);
    command.add_option("kind", wanted->kind, "0 and 5: one text, 3: a text for each index")
        ->required()
        ->type_name("0|3|5")
        ->check(CLI::IsMember({"0", "3", "5"}).description(""));
    command.add_option("text", wanted->text, "the text")->required()->type_name("TEXT");
    command.add_option("--index", wanted->index, "which text of kind 3")->type_name("N");
}

}  // namespace

void add_customer(Cli &cli) {
    CLI::App &command = cli.add({.name = "customer",
                                 .title = "Customer",
                                 .summary = "Who the customer is, and the customer's texts",
                                 .run = customer,
                                 .show = show_customer});
    add_set_id(cli, command);
    add_set_text(cli, command);
}

}  // namespace boardctl
