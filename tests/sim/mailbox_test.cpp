// The mailbox of a PIER card and the regulators, asked through the library as a daemon asks.
#include <unistd.h>

#include <memory>

#include "board_test.h"
#include "boardfeatures/ipc.h"
#include "boardfeatures/mailbox.h"
#include "boardfeatures/power.h"
#include "chip_pier.h"
#include "support/child_process.h"

using child_process::Child;
using testing::ElementsAre;

namespace {

using Mailbox = BoardTest;

constexpr const char *slot_6 = "5:0x70.1:0x50";

boardsim::PierMailbox mailbox_at(boardsim::Simulator &sim, const char *route) {
    return boardsim::pier_mailbox(sim.cells(route));
}

struct Answer {
    int32_t result;
    int length;  // -1: untouched
    std::string text;
};

Answer send(uint32_t slot, std::array<uint8_t, 3> command, const std::string &request = "") {
    uint8_t response[MOORING_DATA_MAX] = {};
    uint8_t length = 0xA5;
    const int32_t result = VEL_Mooring_SendGetMsgFromPier(
        slot, command[0], command[1], command[2],
        request.empty() ? nullptr : reinterpret_cast<const uint8_t *>(request.data()),
        static_cast<uint32_t>(request.size()), response, &length);
    const bool answered = length != 0xA5;
    return {result, answered ? length : -1,
            answered ? std::string(response, response + length) : std::string()};
}

TEST_F(Mailbox, EchoesWhatItIsSent) {
    board("[[pier]]\nslot = 6\n");
    for (const std::string &request : {std::string("x"), std::string(120, 'y')}) {
        const Answer answer = send(6, {1, 2, 3}, request);
        EXPECT_EQ(answer.result, 0);
        EXPECT_EQ(answer.text, request);
    }
    const boardsim::PierMailbox mailbox = mailbox_at(sim(), slot_6);
    EXPECT_EQ(mailbox.exchanges, 2u);
    EXPECT_EQ(mailbox.out_of_turn, 0u);
    EXPECT_EQ(send(5, {1, 2, 3}).result, -1) << "no card";
}

TEST_F(Mailbox, AnswersByCommand) {
    board(R"(
[[pier]]
slot = 6
text = "what?"
replies = [
  { command = [1, 0, 0], text = "PIER 2.0" },
  { command = [2, 0, 0], error = 0x80 },
  { command = [3, 0, 0], never = true },
  { command = [4, 0, 0], length = 0 },
  { command = [5, 0, 0], text = "long", length = 121 },
  { command = [6, 0, 0], bytes = [0x10, 0x20], delay_ms = 35 },
  { command = [7, 0, 0], text = "late", delay_ms = 2000 },
]
)");
    EXPECT_EQ(send(6, {9, 9, 9}).text, "what?");
    EXPECT_EQ(send(6, {1, 0, 0}).text, "PIER 2.0");
    EXPECT_EQ(send(6, {2, 0, 0}).result, -1);
    EXPECT_EQ(mailbox_at(sim(), slot_6).registers[1], 0x80);
    EXPECT_EQ(send(6, {3, 0, 0}).result, -1);
    EXPECT_EQ(mailbox_at(sim(), slot_6).registers[1], 0);
    for (const uint8_t odd : {uint8_t{4}, uint8_t{5}}) {
        const Answer answer = send(6, {odd, 0, 0});
        EXPECT_EQ(answer.result, 0);
        EXPECT_EQ(answer.length, -1);
    }
    EXPECT_EQ(send(6, {6, 0, 0}).text, "\x10\x20");
    EXPECT_EQ(send(6, {7, 0, 0}).result, -1);
    EXPECT_EQ(send(6, {1, 0, 0}).text, "PIER 2.0") << "the late one does not disturb the next";
    EXPECT_EQ(mailbox_at(sim(), slot_6).out_of_turn, 0u);
}

// A card that answers at once: six transfers, 4.58 ms of the bus at 100 kHz, no sleep.
TEST_F(Mailbox, CostsOneExchangeOfBusTime) {
    board("[[pier]]\nslot = 6\n");
    EXPECT_EQ(send(6, {1, 2, 3}, "abc").text, "abc");
    EXPECT_EQ(bus(5).transfers, 6u);
    EXPECT_EQ(bus(5).bytes, 4u + 3u + 4u + 4u + 4u + 3u);
    EXPECT_EQ(bus(5).clocks, 458u);
    EXPECT_EQ(bus(5).nanoseconds, 4'580'000u);
    EXPECT_EQ(sim().accounts().slept_us, 0u);
}

TEST_F(Mailbox, TakesItsTime) {
    board("[[pier]]\nslot = 6\ntext = \"x\"\ndelay_ms = 30\n");
    EXPECT_EQ(send(6, {1, 2, 3}).text, "x");
    const uint64_t reads = sim().calls(boardsim::Call::i2cRead).made;
    EXPECT_GE(reads, 4u);  // at 0, 10, 20 ms it is busy
    EXPECT_LE(reads, 6u);
}

TEST_F(Mailbox, SeesWhoMixesExchanges) {
    board("[[pier]]\nslot = 6\n");
    I2cChipRoute route = at(5, 0x50, 0x70, 1);
    const uint8_t byte = 1;
    EXPECT_EQ(VEL_Mooring_SetCmdReg(route, 1), 0);              // before composing
    EXPECT_EQ(VEL_Mooring_SetDataReg(route, &byte, 1), 0);      // as good as before it
    EXPECT_EQ(VEL_Mooring_SetStatusReg(route, 0xFFFFFFFF), 0);  // in turn
    EXPECT_EQ(VEL_Mooring_SetStatusReg(route, 0), 0);           // without a command
    EXPECT_EQ(VEL_Mooring_SetStatusReg(route, 7), 0);           // means nothing
    EXPECT_EQ(mailbox_at(sim(), slot_6).out_of_turn, 3u);
    EXPECT_EQ(VEL_Mooring_ReadDataFromPier(route, 120, std::array<uint8_t, 9>{}.data(), 9), -1);
}

// Eight processes, two cards, one mailbox for all of them.
TEST_F(Mailbox, EightProcessesOnTwoCards) {
    board("[[pier]]\nslot = 6\n[[pier]]\nslot = 7\ndelay_ms = 3\n");
    OAL_SemCreate(12339);
    constexpr int processes = 8;
    constexpr int rounds = 8;
    std::vector<std::unique_ptr<Child>> children;
    for (int process = 0; process < processes; ++process) {
        children.push_back(std::make_unique<Child>([process] {
            int lost = 0;
            for (int round = 0; round < rounds; ++round) {
                const std::string request =
                    std::to_string(process) + " sends " + std::to_string(round);
                lost +=
                    send(6 + static_cast<uint32_t>(process % 2), {1, 2, 3}, request).text == request
                        ? 0
                        : 1;
            }
            return lost;
        }));
    }
    for (const auto &child : children) {
        EXPECT_EQ(child->wait(), 0);
    }
    for (const char *route : {slot_6, "5:0x70.2:0x50"}) {
        EXPECT_EQ(mailbox_at(sim(), route).exchanges, processes / 2u * rounds);
        EXPECT_EQ(mailbox_at(sim(), route).out_of_turn, 0u);
    }
}

// ---- regulators ----

using Regulator = BoardTest;

TEST_F(Regulator, AnswersItsRevisionOnEachPage) {
    board(R"(
[mainboard]
board = 0x5440
[[regulator]]
cpu = 1
address = 0x64
revisions = [0x12, 0x34]
[[regulator]]
cpu = 2
address = 0x0A
revisions = [0x56]
[[regulator]]
cpu = 2
address = 0x04
revisions = [0x78]
answers = false
)");
    EXPECT_EQ(GetVrVersionByIndex(4), 0x12u);
    EXPECT_EQ(GetVrVersionByIndex(8), 0x56u);
    EXPECT_EQ(GetVrVersionByIndex(5), 0u);
    EXPECT_EQ(GetVrVersionByIndex(0), 0u);

    const I2cChipRoute two_pages = at(13, 0x64, 0x77, 0);
    uint8_t page = 1;
    uint8_t block[3] = {};
    EXPECT_GE(i2cWrite(&two_pages, 1, &page, 1, 0), 0);
    EXPECT_GE(i2cRead(&two_pages, 3, block, 1, 0x9B), 0);
    EXPECT_THAT(block, ElementsAre(1, 0x34, 0xFF));
    EXPECT_GE(i2cRead(&two_pages, 1, block, 1, 0), 0);
    EXPECT_EQ(block[0], 1);
    EXPECT_EQ(GetVrVersionByIndex(4), 0x12u) << "the page is selected each time";
    page = 2;
    EXPECT_LT(i2cWrite(&two_pages, 1, &page, 1, 0), 0) << "no such page";
    page = 0xFF;
    EXPECT_GE(i2cWrite(&two_pages, 1, &page, 1, 0), 0);
    EXPECT_GE(i2cRead(&two_pages, 1, block, 1, 0x98), 0);
    EXPECT_EQ(block[0], 0x33);
    EXPECT_LT(i2cRead(&two_pages, 1, block, 1, 0x9C), 0) << "no such register";
    EXPECT_LT(i2cWrite(&two_pages, 1, &page, 1, 0x98), 0);
}

}  // namespace
