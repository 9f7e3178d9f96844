// pier: the network cards that are managed over SMBus, and messages to a PIER card.
#include <CLI/CLI.hpp>
#include <memory>

#include "boardfeatures/host.h"
#include "boardfeatures/mailbox.h"
#include "command.h"

namespace boardctl {

namespace {

Json pier(Session &) {
    Json cards = Json::array();
    const int32_t count = GetSmbusNetCardMaxCount();
    for (int32_t index = 0; index < count; ++index) {
        uint8_t key = 0;
        uint8_t slot = 0;
        I2cChipRoute route = {};
        if (GetSmbusNetCardSlotId(index, &key) != 0 || GetSmbusNetCardPcieSlot(index, &slot) != 0 ||
            GetSmbusNetCardI2cInfo(index, &route) != 0) {
            continue;
        }
        const int32_t status = GetCardOnlineStatus(key);
        cards.push_back({{"index", index},
                         {"key", key},
                         {"pcie_slot", slot},
                         {"name", field_text(route.name)},
                         {"fitted", status >= 0 ? Json(status == 1) : Json()},
                         {"route", route_json(route)}});
    }
    return {{"cards", std::move(cards)}};
}

void show_pier(Page &page, const Json &document) {
    page.heading("Network cards on SMBus");
    page.table(document["cards"],
               {{"Slot", "/pcie_slot"},
                {"Card key", "/key"},
                {"Name", "/name"},
                {"Fitted", "",
                 [](const Json &card) {
                     return card["fitted"].is_null() ? Json("unknown") : card["fitted"];
                 }},
                {"Route", "", [](const Json &card) { return route_text(card["route"]); }}});
}

// ---- messages ----

struct PierMessage {
    uint32_t slot = 0;
    uint32_t command[3] = {};
    std::vector<std::string> words;
};

// "0a1b 2c": pairs of digits, however they are grouped.
std::vector<uint8_t> pier_request(const std::vector<std::string> &words) {
    std::vector<uint8_t> bytes;
    for (const std::string &word : words) {
        const std::string_view digits =
            std::string_view(word).substr(word.starts_with("0x") || word.starts_with("0X") ? 2 : 0);
        if (digits.empty() || digits.size() % 2 != 0 ||
            digits.find_first_not_of("0123456789abcdefABCDEF") != digits.npos) {
            throw Stopped(
                status_usage,
                fmt::format("\"{}\" is no data: write pairs of hexadecimal digits", word));
        }
        for (std::size_t i = 0; i < digits.size(); i += 2) {
            bytes.push_back(
                static_cast<uint8_t>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16)));
        }
    }
    if (bytes.size() > MOORING_DATA_MAX) {
        throw Stopped(status_usage, fmt::format("a request has {} bytes at most, not {}",
                                                MOORING_DATA_MAX, bytes.size()));
    }
    return bytes;
}

Json pier_send(Session &session, const PierMessage &message) {
    const std::vector<uint8_t> request = pier_request(message.words);
    uint8_t response[MOORING_DATA_MAX] = {};
    uint8_t length = 0;
    int32_t result;
    {
        const Progress progress("Waiting for the card");
        result = VEL_Mooring_SendGetMsgFromPier(
            message.slot, message.command[0], message.command[1], message.command[2],
            request.empty() ? nullptr : request.data(), static_cast<uint32_t>(request.size()),
            response, &length);
    }
    if (result != 0) {
        session.fail(fmt::format("the exchange with the card in slot {} failed", message.slot));
    }
    Json command = Json::array();
    for (const uint32_t byte : message.command) {
        command.push_back(hex_byte(byte));
    }
    return {{"pcie_slot", message.slot},
            {"command", std::move(command)},
            {"request", hex_digits(request)},
            {"answered", result == 0},
            {"length", result == 0 && length != 0 ? Json(length) : Json()},
            {"response", result == 0 ? Json(hex_digits(std::span(response, length))) : Json()}};
}

// The bytes as text when all of them are.
Json pier_response_text(const Json &document) {
    if (document["response"].is_null()) {
        return nullptr;
    }
    const auto &digits = document["response"].get_ref<const std::string &>();
    std::string text;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const int byte = std::stoi(digits.substr(i, 2), nullptr, 16);
        if (byte < ' ' || byte > '~') {
            return nullptr;
        }
        text += static_cast<char>(byte);
    }
    return text.empty() ? Json() : Json(text);
}

void show_pier_send(Page &page, const Json &document) {
    page.fields(
        document,
        {{"Answered", "/answered"},
         {"Length", "/length"},
         {"Response", "",
          [](const Json &all) { return all["length"].is_null() ? Json() : all["response"]; }},
         {"As text", "", pier_response_text}});
}

}  // namespace

void add_pier(Cli &cli) {
    CLI::App &command = cli.add({.name = "pier",
                                 .title = "PIER network cards",
                                 .summary = "Network cards on SMBus, and messages to a PIER card",
                                 .run = pier,
                                 .show = show_pier});
    const auto message = std::make_shared<PierMessage>();
    CLI::App &sending =
        cli.add({.name = "send",
                 .title = "",
                 .summary = "Send a command to the card in a slot and wait for its answer",
                 .run = [message](Session &session) { return pier_send(session, *message); },
                 .show = show_pier_send,
                 .in_report = false},
                &command);
    const auto slots = static_cast<uint32_t>(GetSmbusNetCardMaxCount());
    sending.add_option("slot", message->slot, "The PCIe slot")
        ->type_name("SLOT")
        ->required()
        ->check(CLI::Range(1u, slots));
    for (const auto &[name, value, meaning] :
         {std::tuple{"b0", &message->command[0], "The command's first byte"},
          {"b1", &message->command[1], "its second"},
          {"b2", &message->command[2], "its third"}}) {
        sending.add_option(name, *value, meaning)
            ->type_name("BYTE")
            ->required()
            ->check(CLI::Range(0u, 255u));
    }
    sending.add_option("data", message->words, "The request's data in hexadecimal")
        ->type_name("HEX");
}

}  // namespace boardctl
