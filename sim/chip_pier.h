// The cells of a simulated PIER network card's mailbox: its registers and what it answers.
#pragma once

#include <cstdint>
#include <span>

namespace boardsim {

constexpr uint32_t pier_data_size = 120;
constexpr uint32_t pier_register_count = 8 + pier_data_size;
constexpr uint32_t most_pier_replies = 16;

enum PierKind : uint8_t { pier_canned, pier_echo, pier_never };

// What the card answers to a command.
struct PierReply {
    uint8_t command[3];
    uint8_t kind;         // PierKind
    uint8_t acknowledge;  // 1 = done, another = an error code
    uint8_t length;       // that it claims
    uint8_t claims;       // whether it claims another length than the answer's
    uint8_t size;         // of the data
    uint32_t delay_ms;
    uint8_t data[pier_data_size];
};
static_assert(sizeof(PierReply) == 132);

// Where the host is in its exchange.
enum class PierStep : uint32_t { idle, composing, commanded, posted, answered };

struct PierMailbox {
    uint8_t registers[pier_register_count];
    PierStep step;
    uint32_t request_size;
    uint64_t posted_at_us;  // on the machine's monotonic clock
    uint32_t reply;         // in force for the posted command
    uint32_t reply_count;
    uint32_t exchanges;    // that were answered
    uint32_t out_of_turn;  // writes that the protocol has no place for
    uint32_t reserved;
    PierReply otherwise;  // to commands without a reply of their own
    PierReply replies[most_pier_replies];
};
static_assert(sizeof(PierMailbox) == 128 + 36 + 17 * 132);

// Cells have no alignment of their own.
PierMailbox pier_mailbox(std::span<const uint8_t> cells);
void set_pier_mailbox(std::span<uint8_t> cells, const PierMailbox &mailbox);

}  // namespace boardsim
