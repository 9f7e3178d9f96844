// fru: the FRU data of the main board and of the cards, as fields and as bytes.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>

#include "boardfeatures/fru.h"
#include "boardfeatures/host.h"
#include "command.h"
#include "fru_image.h"
#include "numbers.h"

namespace boardctl {

namespace {

constexpr uint32_t last_fru_key = 255;
constexpr uint32_t main_board_fru = 0;
constexpr uint32_t usual_fru_size = 256;
// A transfer: an EEPROM's page or two, so that progress shows and a failure tells where.
constexpr std::size_t fru_chunk = 32;
constexpr std::size_t largest_fru = 0x10000;

// ---- cards by key or name ----

std::string fru_name(std::string_view name) {
    std::string text(name);
    for (char &c : text) {
        c = c == '-' ? '_' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

FruRow fru_card(const std::string &text) {
    FruRow row = {};
    if (const auto key = number_of(text)) {
        if (*key >= 0 && *key <= last_fru_key &&
            GetFruI2cinfoBySlotID(static_cast<uint32_t>(*key), &row) == 0) {
            return row;
        }
        throw Stopped(status_usage, fmt::format("no FRU data are known for the card key {}", text));
    }
    std::string names;
    for (uint32_t key = 0; key <= last_fru_key; ++key) {
        if (GetFruI2cinfoBySlotID(key, &row) == 0) {
            if (fru_name(field_text(row.route.name)) == fru_name(text)) {
                return row;
            }
            names += (names.empty() ? "" : ", ") + fru_name(field_text(row.route.name));
        }
    }
    throw Stopped(status_usage,
                  fmt::format("no FRU data are known for \"{}\"; there are {}", text, names));
}

Json fru_card_json(const FruRow &row) {
    return {{"key", row.key},
            {"name", fru_name(field_text(row.route.name))},
            {"route", row.key == main_board_fru ? Json() : route_json(row.route)}};
}

// ---- bytes ----

bool read_fru_exactly(uint32_t key, std::size_t offset, std::span<uint8_t> bytes) {
    return FruRead(key, static_cast<uint32_t>(offset), bytes.data(),
                   static_cast<uint32_t>(bytes.size())) == static_cast<int32_t>(bytes.size());
}

std::string fru_progress(std::size_t done, std::size_t total) {
    return fmt::format("{} of {} bytes", done, total);
}

// As many bytes as can be read, up to `length`.
std::vector<uint8_t> read_fru_bytes(uint32_t key, std::size_t offset, std::size_t length) {
    std::vector<uint8_t> bytes(length);
    std::atomic<std::size_t> done = 0;
    const Progress progress("Reading FRU data",
                            [&done, length] { return fru_progress(done, length); });
    while (done < length) {
        const std::size_t part = std::min(fru_chunk, length - done);
        const int32_t got = FruRead(key, static_cast<uint32_t>(offset + done), bytes.data() + done,
                                    static_cast<uint32_t>(part));
        done += got > 0 ? std::min(part, static_cast<std::size_t>(got)) : 0;
        if (got != static_cast<int32_t>(part)) {
            break;
        }
    }
    bytes.resize(done);
    return bytes;
}

std::optional<std::size_t> fru_extent_of(uint32_t key) {
    return fru_extent([key](std::size_t offset, std::span<uint8_t> bytes) {
        return read_fru_exactly(key, offset, bytes);
    });
}

// ---- show ----

Json fru_area_json(const FruArea &area) {
    Json document = {
        {"offset", area.offset}, {"length", area.length}, {"checksum_valid", area.checksum_valid}};
    if (area.chassis_type) {
        document["type"] = hex_byte(*area.chassis_type);
    }
    if (area.language) {
        document["language"] = *area.language;
    }
    if (area.manufactured) {
        document["manufactured"] =
            *area.manufactured != 0 ? Json(fru_time(*area.manufactured)) : Json();
    }
    Json custom = Json::array();
    for (const FruField &field : area.fields) {
        if (field.name == "custom") {
            custom.push_back(field.text);
        } else {
            document[field.name] = field.text;
        }
    }
    document["custom"] = std::move(custom);
    return document;
}

Json fru_json(const FruImage &image) {
    Json document = {
        {"header", image.has_header
                       ? Json({{"version", image.version},
                               {"checksum_valid", image.checksum_valid},
                               {"internal_use", unless<std::size_t>(0, image.internal_use)},
                               {"multi_record", unless<std::size_t>(0, image.multi_record)}})
                       : Json()},
        {"chassis", nullptr},
        {"board", nullptr},
        {"product", nullptr},
        {"problems", image.problems}};
    for (const FruArea &area : image.areas) {
        document[area.name] = fru_area_json(area);
    }
    return document;
}

Json fru_show(Session &session, const std::string &name) {
    const FruRow row = fru_card(name);
    Json document = {{"card", fru_card_json(row)}};
    std::vector<uint8_t> bytes;
    if (const auto extent = fru_extent_of(row.key)) {
        bytes = read_fru_bytes(row.key, 0, *extent);
        if (bytes.size() != *extent) {
            session.fail("the FRU data end before what the header names");
        }
    } else {
        std::array<uint8_t, fru_header_size> header = {};
        session.fail(read_fru_exactly(row.key, 0, header) ? "there are no FRU data"
                                                          : "the FRU data cannot be read");
    }
    const FruImage image = decode_fru(bytes);
    document.update(fru_json(image));
    document["bytes"] = bytes.size();
    if (image.has_header) {
        for (const std::string &problem : image.problems) {
            session.fail(problem);
        }
    }
    return document;
}

std::vector<Column> fru_area_columns(
    std::initializer_list<std::pair<const char *, const char *>> own) {
    std::vector<Column> columns;
    for (const auto &[heading, key] : own) {
        columns.push_back({heading, std::string("/") + key});
    }
    columns.push_back({"Custom", "/custom"});
    columns.push_back({"Checksum valid", "/checksum_valid"});
    return columns;
}

void show_fru(Page &page, const Json &document) {
    page.heading(fmt::format("FRU data of {}", value_text(document["card"]["name"])));
    page.fields(document, {{"Header version", "/header/version"},
                           {"Header checksum valid", "/header/checksum_valid"},
                           {"Bytes", "/bytes"}});
    const std::tuple<const char *, const char *, std::vector<Column>> areas[] = {
        {"chassis", "Chassis",
         fru_area_columns(
             {{"Type", "type"}, {"Part number", "part"}, {"Serial number", "serial"}})},
        {"board", "Board",
         fru_area_columns({{"Manufacturer", "manufacturer"},
                           {"Product", "product"},
                           {"Serial number", "serial"},
                           {"Part number", "part"},
                           {"FRU file", "file_id"},
                           {"Manufactured", "manufactured"}})},
        {"product", "Product",
         fru_area_columns({{"Manufacturer", "manufacturer"},
                           {"Product", "product"},
                           {"Part number", "part"},
                           {"Version", "version"},
                           {"Serial number", "serial"},
                           {"Asset tag", "asset_tag"},
                           {"FRU file", "file_id"}})}};
    for (const auto &[key, heading, columns] : areas) {
        if (!document[key].is_null()) {
            page.heading(heading);
            page.fields(document[key], columns);
        }
    }
}

// ---- all of them ----

// A card that is not fitted is not asked for its data.
Json fru(Session &) {
    Json cards = Json::array();
    for (uint32_t key = 0; key <= last_fru_key; ++key) {
        FruRow row = {};
        if (GetFruI2cinfoBySlotID(key, &row) != 0) {
            continue;
        }
        const int32_t status = key == main_board_fru ? 1 : GetCardOnlineStatus(key);
        Json card = fru_card_json(row);
        card["fitted"] = status >= 0 ? Json(status == 1) : Json();
        FruImage image;
        if (status != 0) {
            if (const auto extent = fru_extent_of(key)) {
                image = decode_fru(read_fru_bytes(key, 0, *extent));
            }
        }
        const Json content = fru_json(image);
        card["readable"] = image.has_header;
        for (const char *area : {"board", "product"}) {
            for (const char *field : {"product", "serial"}) {
                const auto place = Json::json_pointer(std::string("/") + area + "/" + field);
                card[std::string(area) + "_" + field] =
                    content.contains(place) ? content[place] : Json();
            }
        }
        card["problems"] = image.has_header ? content["problems"] : Json::array();
        cards.push_back(std::move(card));
    }
    return {{"cards", std::move(cards)}};
}

void show_frus(Page &page, const Json &document) {
    page.heading("FRU data");
    page.table(document["cards"], {{"Key", "/key"},
                                   {"Name", "/name"},
                                   {"Fitted", "",
                                    [](const Json &card) {
                                        return card["fitted"].is_null() ? Json("unknown")
                                                                        : card["fitted"];
                                    }},
                                   {"Board", "/board_product"},
                                   {"Board serial", "/board_serial"},
                                   {"Product", "/product_product"},
                                   {"Product serial", "/product_serial"},
                                   {"Problems", "", [](const Json &card) {
                                        return card["problems"].empty() ? Json() : card["problems"];
                                    }}});
}

// ---- read and write ----

struct FruTransfer {
    std::string card;
    std::string path;
    uint32_t offset = 0;
    uint32_t length = 0;  // 0: as far as the header says
};

Json fru_read(Session &session, const FruTransfer &transfer) {
    const FruRow row = fru_card(transfer.card);
    std::size_t length = transfer.length;
    if (length == 0) {
        const std::size_t end = fru_extent_of(row.key).value_or(usual_fru_size);
        length = end > transfer.offset ? end - transfer.offset : usual_fru_size;
    }
    const std::vector<uint8_t> bytes = read_fru_bytes(row.key, transfer.offset, length);
    if (bytes.size() != length) {
        session.fail(fmt::format("{} of {} bytes can be read", bytes.size(), length));
    }
    Json document = {{"card", fru_card_json(row)},
                     {"offset", transfer.offset},
                     {"length", bytes.size()},
                     {"bytes", hex_digits(bytes)},
                     {"path", transfer.path.empty() ? Json() : Json(transfer.path)}};
    if (!transfer.path.empty() && !bytes.empty()) {
        std::ofstream file(transfer.path, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char *>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        if (!file.flush()) {
            session.fail(
                fmt::format("{} cannot be written: {}", transfer.path, std::strerror(errno)));
        }
    }
    return document;
}

void show_fru_read(Page &page, const Json &document) {
    if (!document["path"].is_null()) {
        page.fields(document, {{"File", "/path"}, {"Bytes", "/length"}});
        return;
    }
    constexpr std::size_t line_size = 16;
    const auto &digits = document["bytes"].get_ref<const std::string &>();
    for (std::size_t at = 0; at < digits.size(); at += 2 * line_size) {
        std::string line = fmt::format("{:08x} ", document["offset"].get<std::size_t>() + at / 2);
        std::string shown;
        for (std::size_t i = at; i < at + 2 * line_size; i += 2) {
            line += i == at + line_size ? " " : "";
            if (i < digits.size()) {
                const std::string pair = digits.substr(i, 2);
                const auto byte = static_cast<char>(std::stoi(pair, nullptr, 16));
                line += " " + pair;
                shown += byte >= ' ' && byte <= '~' ? byte : '.';
            } else {
                line += "   ";
            }
        }
        page.line(line + "  |" + shown + "|");
    }
}

std::vector<uint8_t> fru_file_bytes(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(file)),
                               std::istreambuf_iterator<char>());
    if (!file.is_open() || file.bad()) {
        throw Stopped(status_failed, fmt::format("{} cannot be read", path));
    }
    if (bytes.empty() || bytes.size() > largest_fru) {
        throw Stopped(status_failed, fmt::format("{} holds {} bytes; FRU data have 1 to {}", path,
                                                 bytes.size(), largest_fru));
    }
    return bytes;
}

std::size_t write_fru_bytes(uint32_t key, std::size_t offset, const std::vector<uint8_t> &bytes) {
    std::atomic<std::size_t> done = 0;
    const Progress progress("Writing FRU data",
                            [&done, &bytes] { return fru_progress(done, bytes.size()); });
    while (done < bytes.size()) {
        const std::size_t part = std::min(fru_chunk, bytes.size() - done);
        const int32_t put = FruWrite(key, static_cast<uint32_t>(offset + done), bytes.data() + done,
                                     static_cast<uint32_t>(part));
        if (put != static_cast<int32_t>(part)) {
            return done + (put > 0 ? std::min(part, static_cast<std::size_t>(put)) : 0);
        }
        done += part;
    }
    return done;
}

Json fru_write(Session &session, const FruTransfer &transfer) {
    const FruRow row = fru_card(transfer.card);
    const std::string name = fru_name(field_text(row.route.name));
    const std::vector<uint8_t> bytes = fru_file_bytes(transfer.path);
    session.confirm(fmt::format("Write {} bytes at offset {} of the FRU data of {}?", bytes.size(),
                                transfer.offset, name));
    const std::size_t written = write_fru_bytes(row.key, transfer.offset, bytes);
    bool verified = false;
    if (written != bytes.size()) {
        session.fail(fmt::format("{} of {} bytes were written", written, bytes.size()));
    } else {
        verified = read_fru_bytes(row.key, transfer.offset, bytes.size()) == bytes;
        if (!verified) {
            session.fail("the FRU data do not hold what was written");
        }
    }
    return {{"card", fru_card_json(row)}, {"path", transfer.path}, {"offset", transfer.offset},
            {"length", bytes.size()},     {"written", written},    {"verified", verified}};
}

void show_fru_write(Page &page, const Json &document) {
    page.fields(document, {{"Card", "/card/name"},
                           {"Offset", "/offset"},
                           {"Bytes written", "/written"},
                           {"Verified", "/verified"}});
}

void add_fru_card(CLI::App &command, std::string &card) {
    command.add_option("card", card, "A card's key or its name, as mainboard, sas, pcie5")
        ->type_name("CARD")
        ->required();
}
void add_fru_offset(CLI::App &command, uint32_t &offset) {
    command.add_option("--offset", offset, "Where to begin")
        ->type_name("BYTES")
        ->check(CLI::Range(0u, 0xFFFFu));
}

}  // namespace

void add_fru(Cli &cli) {
    CLI::App &command = cli.add({.name = "fru",
                                 .title = "FRU data",
                                 .summary = "The FRU data of the main board and of the cards",
                                 .run = fru,
                                 .show = show_frus});
    const auto transfer = std::make_shared<FruTransfer>();
    add_fru_card(
        cli.add({.name = "show",
                 .title = "",
                 .summary = "What the FRU data of a card say",
                 .run = [transfer](Session &session) { return fru_show(session, transfer->card); },
                 .show = show_fru,
                 .in_report = false},
                &command),
        transfer->card);
    CLI::App &read_command =
        cli.add({.name = "read",
                 .title = "",
                 .summary = "The bytes of a card's FRU data, as far as its header says",
                 .run = [transfer](Session &session) { return fru_read(session, *transfer); },
                 .show = show_fru_read,
                 .in_report = false},
                &command);
    add_fru_card(read_command, transfer->card);
    read_command.add_option("path", transfer->path, "A file to write them to")->type_name("FILE");
    add_fru_offset(read_command, transfer->offset);
    read_command.add_option("--length", transfer->length, "How many bytes")
        ->type_name("BYTES")
        ->check(CLI::Range(1u, 0x10000u));
    CLI::App &write_command =
        cli.add({.name = "write",
                 .title = "",
                 .summary = "Write a file to a card's FRU data, and read it back",
                 .run = [transfer](Session &session) { return fru_write(session, *transfer); },
                 .show = show_fru_write,
                 .in_report = false,
                 .changes = true},
                &command);
    add_fru_card(write_command, transfer->card);
    write_command.add_option("path", transfer->path, "The file")->type_name("FILE")->required();
    add_fru_offset(write_command, transfer->offset);
}

}  // namespace boardctl
