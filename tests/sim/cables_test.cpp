// Slimline cables: the expander of an uplink on the backplane's route and on the socket's.
#include <algorithm>
#include <map>

#include "board_test.h"

using boardsim::ExpanderPins;

namespace {

constexpr const char *front = R"(
[[backplane]]
connector = "F I2C 1"
model = "BPFA"
)";

std::string cable(const std::string &from, const std::string &to, const std::string &more = "") {
    return "[[cable]]\nfrom = \"" + from + "\"\nto = \"" + to + "\"\n" + more + "\n";
}

// What the library does at a socket and at an uplink.
int write_word(const I2cChipRoute &socket, uint32_t word) {
    const int result = pca9535_gpio_word_set_value(&socket, 0xFFFF, word);
    return result < 0 ? result : pca9535_gpio_word_direction_output(&socket, 0xE000, word & 0xE000);
}
int64_t read_word(const I2cChipRoute &uplink) {
    uint32_t word = 0;
    const int result = pca9535_gpio_word_get_output_value(&uplink, 0xFFFF, &word);
    return result < 0 ? result : static_cast<int64_t>(word);
}
int64_t read_index(const I2cChipRoute &uplink) {
    uint32_t word = 0;
    const int result = pca9535_gpio_word_get_value(&uplink, 0x1FFF, &word);
    return result < 0 ? result : static_cast<int64_t>(word);
}

I2cChipRoute socket(uint32_t index) { return at(12, 0x27, 0x70, index); }
I2cChipRoute front_uplink(uint32_t index) { return at(7, 0x27, 0x70, index); }

class Cables : public BoardTest {
protected:
    void cabled(const std::string &more) { board(front + more); }

    // One chip on both routes: what is put into it by one is there by the other. For boards that
    // are made in turn; a process stays with the first that it accesses.
    void expect_one_chip(const std::string &socket, const std::string &uplink) {
        sim().set_cells(socket, 2, {0x81, 0xE0});
        EXPECT_EQ(sim().expander(uplink).output, 0xE081);
        sim().set_cells(uplink, 0, {0x34, 0x12});
        EXPECT_EQ(sim().expander(socket).input, 0x1234);
    }
    bool is_there(const std::string &route) {
        try {
            sim().expander(route);
            return true;
        } catch (const boardsim::Error &) {
            return false;
        }
    }
};

// The index of each uplink in bits 0-3, with odd parity over bits 0-12.
TEST_F(Cables, EveryUplinkOfEveryModelHasItsIndexOnItsPins) {
    const std::map<std::string, uint32_t> uplinks = {
        {"BPFA", 4}, {"BPFB", 4}, {"BPFC", 6}, {"BPFD", 6}, {"BPFE", 6}, {"BPFF", 6},
        {"BPFG", 6}, {"BPMA", 0}, {"BPRA", 1}, {"BPRB", 1}, {"BPRD", 0}, {"BPRE", 2}};
    const std::map<std::string, uint32_t> buses = {{"F I2C 1", 7}, {"F I2C 2", 8}, {"F I2C 3", 9},
                                                   {"R I2C 4", 3}, {"R I2C 5", 4}, {"R I2C 7", 5},
                                                   {"R I2C 8", 6}, {"M I2C 6", 10}};
    const uint16_t words[] = {0x1000, 0x0001, 0x0002, 0x1003, 0x0004, 0x1005};
    for (const auto &[model, count] : uplinks) {
        for (const auto &[connector, bus] : buses) {
            SCOPED_TRACE(connector + ' ' + model);
            board("[[backplane]]\nconnector = \"" + connector + "\"\nmodel = \"" + model + "\"\n");
            for (uint32_t k = 0; k < 8; ++k) {
                const std::string route =
                    std::to_string(bus) + ":0x70." + std::to_string(k) + ":0x27";
                ASSERT_EQ(is_there(route), k < count) << k;
                if (k < count) {
                    EXPECT_EQ(sim().expander(route).input, words[k]) << k;
                }
            }
        }
    }
}

TEST_F(Cables, UplinksAreNamedAsTheyArePrinted) {
    const std::pair<const char *, std::vector<const char *>> models[] = {
        {"BPFB", {"SLIMLINE A", "SLIMLINE B", "SLIMLINE C", "SLIMLINE D"}},
        {"BPFC",
         {"SLIMLINE A", "SLIMLINE B", "SLIMLINE C", "SLIMLINE D", "SLIMLINE E", "SLIMLINE F"}},
        {"BPFD",
         {"SLIMLINE 1", "SLIMLINE 2", "SLIMLINE 3", "SLIMLINE 4", "SLIMLINE 5", "SLIMLINE 6"}},
        {"BPRB", {"SLIMLINE"}},
        {"BPRE", {"SLIMLINE A", "SLIMLINE B"}}};
    for (const auto &[model, names] : models) {
        for (uint32_t k = 0; k < names.size(); ++k) {
            SCOPED_TRACE(std::string(model) + ' ' + names[k]);
            board("[[backplane]]\nconnector = \"R I2C 8\"\nmodel = \"" + std::string(model) +
                  "\"\n" + cable("CPU1 SLIMLINE B", std::string("R I2C 8 ") + names[k]));
            expect_one_chip("12:0x70.1:0x27", "6:0x70." + std::to_string(k) + ":0x27");
        }
    }
}

TEST_F(Cables, EachSocketHasItsChannel) {
    const char *names[] = {"CPU1 SLIMLINE A", "CPU1 SLIMLINE B", "CPU2 SLIMLINE C",
                           "CPU2 SLIMLINE D", "CPU2 SLIMLINE E", "CPU2 SLIMLINE F"};
    for (uint32_t k = 0; k < 6; ++k) {
        SCOPED_TRACE(names[k]);
        cabled(cable(names[k], "F I2C 1 SLIMLINE D"));
        for (uint32_t other = 0; other < 8; ++other) {
            EXPECT_EQ(is_there("12:0x70." + std::to_string(other) + ":0x27"), other == k);
        }
        expect_one_chip("12:0x70." + std::to_string(k) + ":0x27", "7:0x70.3:0x27");
    }
}

TEST_F(Cables, TheSocketsWordIsReadAtTheUplink) {
    cabled(cable("CPU2 SLIMLINE C", "F I2C 1 SLIMLINE D"));
    for (uint32_t other = 0; other < 6; ++other) {
        EXPECT_EQ(write_word(socket(other), 0xC002), other == 2 ? 0 : -1);
    }
    EXPECT_EQ(read_word(front_uplink(3)), 0xC002);
    EXPECT_EQ(read_index(front_uplink(3)), 0x1003);
    EXPECT_EQ(read_word(socket(2)), 0xC002);
    const ExpanderPins pins = sim().expander("7:0x70.3:0x27");
    EXPECT_EQ(pins.config, 0x1FFF);
    EXPECT_EQ(pins.output, 0xC002);
    EXPECT_EQ(read_word(front_uplink(0)), 0xFFFF);
}

TEST_F(Cables, OfARetimerLieBehindItsSwitch) {
    struct Slot {
        uint32_t number, bus, channel, pin;
        const char *riser;
    };
    const Slot slots[] = {
        {3, 4, 3, 2, "connector = \"RISER2\"\nboard = 0x5469"},
        {4, 4, 2, 1, "connector = \"RISER2\"\nboard = 0x5477"},
        {5, 4, 1, 0, "connector = \"RISER2\"\nboard = 0x546A"},
        {6, 5, 1, 0, "connector = \"RISER3\"\nboard = 0x5468"},
        {7, 5, 2, 1, "connector = \"RISER3\"\nboard = 0x5467"},
        {8, 5, 3, 2, "connector = \"RISER3\"\nboard = 0x5476"},
    };
    for (const Slot &slot : slots) {
        SCOPED_TRACE(slot.number);
        const std::string number = std::to_string(slot.number);
        cabled("[[riser]]\n" + std::string(slot.riser) + "\n[[retimer]]\nslot = " + number + "\n" +
               cable("retimer " + number + " port 0", "F I2C 1 SLIMLINE B") +
               cable("retimer " + number + " port 1", "F I2C 1 SLIMLINE C"));
        // a card: its identifier, and a pin that shows it
        const std::string riser = std::to_string(slot.bus) + ":0x70.";
        const std::string channel = riser + std::to_string(slot.channel);
        EXPECT_EQ(sim().expander(channel + ":0x22").input, 0x8D80);
        EXPECT_EQ(sim().expander(riser + "0:0x21").input, 0xFFFF & ~(1u << slot.pin));
        for (uint32_t port = 0; port < 2; ++port) {
            expect_one_chip(channel + ":0x71." + std::to_string(port) + ":0x27",
                            "7:0x70." + std::to_string(1 + port) + ":0x27");
        }
    }
}

TEST_F(Cables, ARetimersWordIsReadAtTheUplink) {
    cabled("[[riser]]\nconnector = \"RISER2\"\nboard = 0x5469\n[[retimer]]\nslot = 5\n" +
           cable("retimer 5 port 1", "F I2C 1 SLIMLINE B"));
    EXPECT_EQ(write_word(at(4, 0x27, 0x700071, 0x10001), 0x0007), 0);
    EXPECT_EQ(write_word(at(4, 0x27, 0x700071, 0x10000), 0x0007), -1);
    EXPECT_EQ(write_word(at(4, 0x27, 0x700071, 0x20001), 0x0007), -1);
    EXPECT_EQ(read_word(front_uplink(1)), 0x0007);
}

TEST_F(Cables, ANewCableIsOtherPeoplesToo) {
    cabled(cable("CPU1 SLIMLINE A", "F I2C 1 SLIMLINE A"));
    EXPECT_EQ(write_word(socket(0), 0xC080), 0);
    boardsim::Simulator &again = open_state();  // as another process does
    EXPECT_EQ(again.expander("7:0x70.0:0x27").output, 0xC080);
    EXPECT_EQ(again.expander("12:0x70.0:0x27").output, 0xC080);
}

// ---- what is wrong with one ----

TEST_F(Cables, NotPluggedInLeavesBothEndsAlone) {
    cabled(cable("CPU1 SLIMLINE A", "F I2C 1 SLIMLINE A", "plugged = false"));
    EXPECT_EQ(write_word(socket(0), 0xC080), -1);
    EXPECT_EQ(read_index(front_uplink(0)), 0x1000);
    EXPECT_EQ(read_word(front_uplink(0)), 0xFFFF);
}

TEST_F(Cables, NotPluggedInLeavesBothEndsFree) {
    cabled(cable("CPU1 SLIMLINE A", "F I2C 1 SLIMLINE A", "plugged = false") +
           cable("CPU1 SLIMLINE A", "F I2C 1 SLIMLINE A"));
    EXPECT_EQ(write_word(socket(0), 0xC080), 0);
}

TEST_F(Cables, InTheWrongSocket) {
    cabled(cable("CPU1 SLIMLINE A", "F I2C 1 SLIMLINE A", "plugged_into = \"CPU2 SLIMLINE F\"") +
           cable("CPU2 SLIMLINE F", "F I2C 1 SLIMLINE B", "plugged_into = \"CPU1 SLIMLINE A\""));
    EXPECT_EQ(write_word(socket(0), 0xC080), 0);
    EXPECT_EQ(write_word(socket(5), 0x6085), 0);
    EXPECT_EQ(read_word(front_uplink(0)), 0x6085);
    EXPECT_EQ(read_word(front_uplink(1)), 0xC080);
    EXPECT_EQ(read_index(front_uplink(0)), 0x1000);
}

TEST_F(Cables, IndexOfWrongParity) {
    cabled(cable("CPU1 SLIMLINE A", "F I2C 1 SLIMLINE A", "index_parity = false") +
           cable("CPU1 SLIMLINE B", "F I2C 1 SLIMLINE B", "index_parity = false"));
    EXPECT_EQ(read_index(front_uplink(0)), 0x0000);
    EXPECT_EQ(read_index(front_uplink(1)), 0x1001);
    EXPECT_EQ(write_word(socket(0), 0xC080), 0);
    EXPECT_EQ(read_word(front_uplink(0)), 0xC080);
}

TEST_F(Cables, WordOfWrongParity) {
    cabled(cable("CPU1 SLIMLINE A", "F I2C 1 SLIMLINE A", "word_parity = false") +
           cable("CPU1 SLIMLINE B", "F I2C 1 SLIMLINE B"));
    EXPECT_EQ(write_word(socket(0), 0xC080), 0);
    EXPECT_EQ(read_word(front_uplink(0)), 0xC000);
    EXPECT_EQ(write_word(socket(0), 0xC002), 0);
    EXPECT_EQ(read_word(front_uplink(0)), 0xC082);
    EXPECT_EQ(read_word(socket(0)), 0xC002);
    EXPECT_EQ(read_index(front_uplink(0)), 0x1000);
    EXPECT_EQ(write_word(socket(1), 0xE081), 0);
    EXPECT_EQ(read_word(front_uplink(1)), 0xE081);
}

// Both uplinks take the socket's word; each keeps its own index.
TEST_F(Cables, SplitReachesTwoUplinks) {
    cabled(cable("CPU2 SLIMLINE E", "F I2C 1 SLIMLINE A") +
           cable("CPU2 SLIMLINE E", "F I2C 1 SLIMLINE B", "split = true"));
    EXPECT_EQ(write_word(socket(4), 0x4084), 0);
    for (const uint32_t k : {0u, 1u}) {
        EXPECT_EQ(read_word(front_uplink(k)), 0x4084);
        EXPECT_EQ(sim().expander("7:0x70." + std::to_string(k) + ":0x27").config, 0x1FFF);
    }
    EXPECT_EQ(read_index(front_uplink(0)), 0x1000);
    EXPECT_EQ(read_index(front_uplink(1)), 0x0001);
    // two chips speak at once: a bit is 0 where either pulls it low
    EXPECT_EQ(read_index(socket(4)), 0x0000);
    EXPECT_EQ(read_word(socket(4)), 0x4084);
    // with one of them gone the other still answers
    sim().set_answers("12:0x70.4:0x27", false);
    EXPECT_EQ(write_word(socket(4), 0xC002), 0);
    EXPECT_EQ(read_word(front_uplink(0)), 0x4084);
    EXPECT_EQ(read_word(front_uplink(1)), 0xC002);
}

TEST_F(Cables, ATransferToASplitCableTakesTheTimeOfOne) {
    cabled(cable("CPU2 SLIMLINE E", "F I2C 1 SLIMLINE A") +
           cable("CPU2 SLIMLINE F", "F I2C 1 SLIMLINE C") +
           cable("CPU2 SLIMLINE E", "F I2C 1 SLIMLINE B", "split = true"));
    read_word(socket(4));
    const uint64_t split = bus(12).clocks;
    read_word(socket(5));
    EXPECT_EQ(bus(12).clocks, 2 * split);
}

// ---- cards that bring slots and sockets ----

TEST_F(Cables, RisersAreIdentifiedByTheirConnector) {
    board(
        "[[riser]]\nconnector = \"RISER2\"\nboard = 0x5469\npcb = 2\nbom = 5\n"
        "[[riser]]\nconnector = \"RISER3\"\nboard = 0x5467\nparity = false\n");
    EXPECT_EQ(word_at(at(4, 0x20)), 0x0D35);
    EXPECT_EQ(word_at(at(5, 0x20)), 0x8CE0);
}

TEST_F(Cables, ARetimerFitsIntoTheSlotsThatItsRiserHas) {
    const std::pair<const char *, std::vector<uint32_t>> risers[] = {
        {"0x5467", {6, 7, 8}}, {"0x5468", {6, 7}}, {"0x5469", {3, 4, 5}}, {"0x546A", {3, 5}},
        {"0x5476", {7, 8}},    {"0x5477", {4, 5}}, {"0x5470", {}}};
    for (const auto &[riser, slots] : risers) {
        for (uint32_t slot = 1; slot <= 10; ++slot) {
            SCOPED_TRACE(std::string(riser) + ' ' + std::to_string(slot));
            const std::string text =
                "[[riser]]\nconnector = \"RISER2\"\nboard = " + std::string(riser) +
                "\n[[retimer]]\nslot = " + std::to_string(slot) + "\n";
            if (std::count(slots.begin(), slots.end(), slot) != 0) {
                EXPECT_NO_THROW(board(text));
            } else {
                EXPECT_THROW(board(text), boardsim::Error);
            }
        }
    }
}

}  // namespace
