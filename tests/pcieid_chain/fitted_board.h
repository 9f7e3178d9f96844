// A fitted and cabled board read from a file, with what its identification must yield.
//
//   riser CONNECTOR HWID          a riser card in riser connector 2 or 3
//   card SLOT HWID                a card in slot 3..8 of a riser
//   backplane INTERFACE HWID      F1 F2 F3 R4 R5 R7 R8
//   cable SOCKET INTERFACE.UPLINK a socket of the mainboard (A..F) or port of a retimer
//   (SLOT.PORT):
//                                 one expander, on both routes; it carries the uplink's index
//   split SOCKET INTERFACE.UPLINK a second cable from a cabled socket
//   index INTERFACE.UPLINK WORD   the expander's input pins, where they are wrong
//   word INTERFACE.UPLINK WORD    the expander's output, where no socket writes it
//   item, uplink, log, calls      expectations, see boards_test.cpp
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/pcieid_lines.h"
#include "support/pcieid_said.h"
#include "support/scripted_platform.h"

struct FittedBoard {
    std::vector<std::string> items;
    std::vector<std::string> uplinks;
    std::vector<std::string> log;
    size_t calls = 0;
};

inline uint32_t interface_bus(const std::string &name) {
    static const std::map<std::string, uint32_t> buses = {
        {"F1", 7}, {"F2", 8}, {"F3", 9}, {"R4", 3}, {"R5", 4}, {"R7", 5}, {"R8", 6}};
    return buses.at(name);
}

// The mux channel and bus of a riser slot.
inline std::pair<uint32_t, uint32_t> slot_place(uint32_t slot) {
    static const std::map<uint32_t, std::pair<uint32_t, uint32_t>> places = {
        {3, {4, 3}}, {4, {4, 2}}, {5, {4, 1}}, {6, {5, 1}}, {7, {5, 2}}, {8, {5, 3}}};
    return places.at(slot);
}

inline scripted::Chip socket_chip(const std::string &socket) {
    if (socket.size() == 1) {
        return {12, 0x27, 0x70, static_cast<uint32_t>(socket[0] - 'A')};
    }
    const auto [bus, channel] = slot_place(static_cast<uint32_t>(socket[0] - '0'));
    return {bus, 0x27, 0x00700071, channel << 16 | static_cast<uint32_t>(socket[2] - '0')};
}

inline scripted::Chip uplink_chip(const std::string &uplink) {
    return {interface_bus(uplink.substr(0, 2)), 0x27, 0x70, static_cast<uint32_t>(uplink[3] - '0')};
}

inline uint16_t own_index_word(uint32_t index) {
    return static_cast<uint16_t>(__builtin_popcount(index) % 2 != 0 ? index : index | 0x1000);
}

// Fits the scripted platform as the file says; the platform was empty.
inline FittedBoard fit_board(const std::string &name) {
    FittedBoard board;
    std::ifstream file(std::string(FITTED_BOARDS_DIR "/") + name + ".txt");
    EXPECT_TRUE(file.is_open()) << name;
    scripted::Platform &platform = scripted::platform();
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string what, first, second;
        words >> what;
        if (what.empty() || what[0] == '#') {
            continue;
        }
        std::string rest;
        std::getline(words, rest);
        std::istringstream arguments(rest);
        arguments >> first >> second;
        const auto hex = [&second] {
            return static_cast<uint32_t>(std::stoul(second, nullptr, 16));
        };
        if (what == "riser") {
            platform.identifier(first == "2" ? 4 : 5, 0x20, 0, 0, identifier_word(hex()));
        } else if (what == "card") {
            const auto [bus, channel] = slot_place(static_cast<uint32_t>(std::stoul(first)));
            platform.identifier(bus, 0x22, 0x70, channel, identifier_word(hex()));
        } else if (what == "backplane") {
            platform.identifier(interface_bus(first), 0x20, 0, 0, identifier_word(hex()));
        } else if (what == "cable") {
            const scripted::Chip chip = uplink_chip(second);
            platform.expanders[chip].input = own_index_word(chip.channel);
            platform.same_expander[socket_chip(first)] = chip;
        } else if (what == "split") {
            platform.same_expander[uplink_chip(second)] =
                platform.same_expander.at(socket_chip(first));
        } else if (what == "index") {
            platform.expanders[uplink_chip(first)].input = static_cast<uint16_t>(hex());
        } else if (what == "word") {
            platform.expanders[uplink_chip(first)].output = static_cast<uint16_t>(hex());
        } else if (what == "item") {
            board.items.push_back(squeezed(rest));
        } else if (what == "uplink") {
            board.uplinks.push_back(squeezed(rest));
        } else if (what == "log") {
            board.log.push_back(squeezed(rest));
        } else if (what == "calls") {
            board.calls = std::stoul(first);
        } else {
            ADD_FAILURE() << name << ": " << line;
        }
    }
    return board;
}

inline const char *const board_names[] = {"empty",   "24nvme", "retimer",    "maximal",
                                          "front12", "mixed",  "half-riser", "miscabled"};
