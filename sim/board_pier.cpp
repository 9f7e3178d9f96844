// [[pier]]: the mailbox of a PIER network card in a PCIe slot, and what the card answers.
#include <algorithm>
#include <array>

#include "board_reader.h"
#include "chip_pier.h"

namespace boardsim {

namespace {

// By PCIe slot, from 1.
constexpr std::array mailboxes = {
    "3:0x70.2:0x50", "3:0x70.1:0x50", "4:0x70.3:0x50", "4:0x70.2:0x50", "4:0x70.1:0x50",
    "5:0x70.1:0x50", "5:0x70.2:0x50", "5:0x70.3:0x50", "6:0x70.2:0x50", "6:0x70.1:0x50"};

constexpr uint8_t done = 1;
constexpr int64_t longest_delay_ms = 60'000;

// How a command is answered: the keys that a card and a single reply share.
PierReply read_reply(Table &table) {
    PierReply reply = {};
    const auto bytes = table.bytes("bytes", pier_data_size);
    const auto text = table.text("text", pier_data_size);
    const auto error = table.number("error", 2, 0xFF);
    const bool never = table.flag("never").value_or(false);
    if (bytes && text) {
        table.fail("text", "cannot stand beside bytes");
    }
    if (never && (bytes || text || error)) {
        table.fail("never", "leaves nothing to answer");
    }
    reply.kind = never ? pier_never : bytes || text || error ? pier_canned : pier_echo;
    reply.acknowledge = static_cast<uint8_t>(error.value_or(done));
    if (bytes) {
        std::copy(bytes->begin(), bytes->end(), reply.data);
        reply.size = static_cast<uint8_t>(bytes->size());
    } else if (text) {
        std::copy(text->begin(), text->end(), reply.data);
        reply.size = static_cast<uint8_t>(text->size());
    }
    if (const auto length = table.number("length", 0, 0xFF)) {
        reply.claims = 1;
        reply.length = static_cast<uint8_t>(*length);
    }
    reply.delay_ms = table.number("delay_ms", 0, longest_delay_ms).value_or(0);
    return reply;
}

}  // namespace

void read_pier(Builder &builder, Table &table) {
    const uint32_t slot = table.required_number("slot", 1, mailboxes.size());
    ChipRecord &chip = builder.fit(table, parse_route(mailboxes[slot - 1]).value(), pier_model.name,
                                   "pier" + std::to_string(slot));
    chip.answers = table.flag("answers").value_or(true) ? 1 : 0;
    PierMailbox mailbox = pier_mailbox(builder.cells(chip));
    mailbox.otherwise = read_reply(table);
    for (Table &entry : table.tables("replies")) {
        if (mailbox.reply_count == most_pier_replies) {
            entry.fail("a card has " + std::to_string(most_pier_replies) + " replies at most");
        }
        PierReply reply = read_reply(entry);
        const auto command = entry.bytes("command", sizeof(reply.command));
        if (!command || command->size() != sizeof(reply.command)) {
            entry.fail("command", "is not a list of three bytes");
        }
        std::copy(command->begin(), command->end(), reply.command);
        const std::span known(mailbox.replies, mailbox.reply_count);
        if (std::any_of(known.begin(), known.end(), [&](const PierReply &other) {
                return std::equal(command->begin(), command->end(), other.command);
            })) {
            entry.fail("command", "has a reply already");
        }
        mailbox.replies[mailbox.reply_count++] = reply;
        entry.finish();
    }
    set_pier_mailbox(builder.cells(chip), mailbox);
}

}  // namespace boardsim
