// The mailbox of a PIER network card: a status, a command and a data register. The host composes
// while the status reads all ones and posts by clearing it; the card then writes its answer there.
#include "chip_pier.h"

#include <time.h>

#include <algorithm>
#include <cstring>

#include "chips.h"

namespace boardsim {

namespace {

constexpr uint32_t status_register = 0;
constexpr uint32_t command_register = 4;
constexpr uint32_t data_register = 8;
constexpr uint32_t word_size = 4;
constexpr uint32_t length_byte = 0;
constexpr uint32_t acknowledge_byte = 1;
constexpr uint32_t no_own_reply = 0xFFFFFFFF;

// The host waits in its own time, so the card answers in the same.
uint64_t now_us() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1'000'000 +
           static_cast<uint64_t>(now.tv_nsec) / 1000;
}

bool is_word_of(std::span<const uint8_t> data, uint8_t byte) {
    return data.size() == word_size &&
           std::all_of(data.begin(), data.end(), [=](uint8_t each) { return each == byte; });
}

const PierReply &reply_in_force(const PierMailbox &mailbox) {
    return mailbox.reply < mailbox.reply_count ? mailbox.replies[mailbox.reply] : mailbox.otherwise;
}

void post(PierMailbox &mailbox) {
    mailbox.reply = no_own_reply;
    for (uint32_t i = 0; i < mailbox.reply_count; ++i) {
        if (std::memcmp(mailbox.replies[i].command, mailbox.registers + command_register,
                        sizeof(PierReply::command)) == 0) {
            mailbox.reply = i;
            break;
        }
    }
    mailbox.posted_at_us = now_us();
    mailbox.step = PierStep::posted;
}

void answer(PierMailbox &mailbox) {
    const PierReply &reply = reply_in_force(mailbox);
    uint32_t size = reply.size;
    if (reply.kind == pier_echo) {
        size = mailbox.request_size;  // the request's bytes are still there
    } else {
        std::copy_n(reply.data, size, mailbox.registers + data_register);
    }
    mailbox.registers[length_byte] = reply.claims != 0 ? reply.length : static_cast<uint8_t>(size);
    mailbox.registers[acknowledge_byte] = reply.acknowledge;
    mailbox.step = PierStep::answered;
    ++mailbox.exchanges;
}

void advance(PierMailbox &mailbox) {
    const PierReply &reply = reply_in_force(mailbox);
    if (mailbox.step == PierStep::posted && reply.kind != pier_never &&
        now_us() - mailbox.posted_at_us >= uint64_t{reply.delay_ms} * 1000) {
        answer(mailbox);
    }
}

// What a write means; false when the exchange has no place for it now. A new exchange may begin at
// any time: the last host may have died.
bool take(PierMailbox &mailbox, uint32_t offset, std::span<const uint8_t> data) {
    const bool composes =
        mailbox.step == PierStep::composing || mailbox.step == PierStep::commanded;
    if (offset == status_register && is_word_of(data, 0xFF)) {
        mailbox.step = PierStep::composing;
        mailbox.request_size = 0;
        return true;
    }
    if (offset == status_register && is_word_of(data, 0x00)) {
        const bool in_turn = mailbox.step == PierStep::commanded;
        post(mailbox);
        return in_turn;
    }
    if (offset == command_register && data.size() == word_size) {
        const bool in_turn = mailbox.step == PierStep::composing;
        mailbox.step = PierStep::commanded;
        return in_turn;
    }
    if (offset == data_register) {
        mailbox.request_size = static_cast<uint32_t>(data.size());
        return composes;
    }
    return false;
}

void power_on(std::span<uint8_t> cells) {
    PierMailbox mailbox = {};
    mailbox.otherwise.kind = pier_echo;
    mailbox.otherwise.acknowledge = 1;
    set_pier_mailbox(cells, mailbox);
}

bool fits(uint32_t offset, size_t size) {
    return offset <= pier_register_count && size <= pier_register_count - offset;
}

bool read(std::span<uint8_t> cells, uint32_t offset, std::span<uint8_t> data) {
    if (!fits(offset, data.size())) {
        return false;
    }
    PierMailbox mailbox = pier_mailbox(cells);
    if (offset < command_register) {
        advance(mailbox);
        set_pier_mailbox(cells, mailbox);
    }
    std::copy_n(mailbox.registers + offset, data.size(), data.begin());
    return true;
}

bool write(std::span<uint8_t> cells, uint32_t offset, std::span<const uint8_t> data) {
    if (!fits(offset, data.size())) {
        return false;
    }
    PierMailbox mailbox = pier_mailbox(cells);
    std::copy(data.begin(), data.end(), mailbox.registers + offset);
    mailbox.out_of_turn += take(mailbox, offset, data) ? 0u : 1u;
    set_pier_mailbox(cells, mailbox);
    return true;
}

}  // namespace

PierMailbox pier_mailbox(std::span<const uint8_t> cells) {
    PierMailbox mailbox;
    std::memcpy(&mailbox, cells.data(), sizeof(mailbox));
    return mailbox;
}

void set_pier_mailbox(std::span<uint8_t> cells, const PierMailbox &mailbox) {
    std::memcpy(cells.data(), &mailbox, sizeof(mailbox));
}

const ChipModel pier_model = {"pier", sizeof(PierMailbox), sizeof(PierMailbox), power_on, read,
                              write};

}  // namespace boardsim
