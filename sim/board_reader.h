// Reading a board file: every key is asked for by name and checked, what nobody asked for is an
// error, and every error names file, line and key.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#define TOML_HEADER_ONLY 0
#include <toml++/toml.h>

#include "chips.h"
#include "state.h"

namespace boardsim {

// "a, b, c"
template <typename Rows, typename Name>
std::string listed(const Rows &rows, Name name_of) {
    std::string text;
    for (const auto &row : rows) {
        text += text.empty() ? "" : ", ";
        text += name_of(row);
    }
    return text;
}

// One table of the file.
class Table {
public:
    Table(const toml::table &node, const std::string &file, const std::string &name)
        : node_(node), file_(file), name_(name) {}

    bool has(std::string_view key) const { return node_.contains(key); }

    // The key's value within the limits; nothing when the key is not there.
    std::optional<uint32_t> number(std::string_view key, int64_t smallest, int64_t largest);
    std::optional<int32_t> signed_number(std::string_view key, int64_t smallest, int64_t largest);
    std::optional<bool> flag(std::string_view key);
    std::optional<std::string> text(std::string_view key, size_t longest);
    std::optional<Route> route(std::string_view key);
    std::optional<std::vector<uint8_t>> bytes(std::string_view key, size_t most);
    std::vector<std::string> texts(std::string_view key, size_t longest);
    std::optional<Table> table(std::string_view key);
    std::vector<Table> tables(std::string_view key);  // [[key]]
    // All keys are numbers, for registers, lines and addresses.
    std::map<uint32_t, uint32_t> numbered(int64_t largest_key, int64_t largest_value);

    uint32_t required_number(std::string_view key, int64_t smallest, int64_t largest);
    Route required_route(std::string_view key);
    std::string required_text(std::string_view key, size_t longest);

    // A key that nobody asked for is unknown.
    void finish() const;

    [[noreturn]] void fail(const std::string &message) const;  // about the table as a whole
    [[noreturn]] void fail(std::string_view key, const std::string &message) const;

    std::string place() const;  // "file:line" of the table
    std::vector<std::string> keys() const;

private:
    const toml::node *find(std::string_view key);
    int64_t checked(std::string_view key, const toml::node &node, int64_t smallest,
                    int64_t largest) const;
    std::string full_name(std::string_view key) const;

    const toml::table &node_;
    const std::string &file_;  // of the whole reading
    std::string name_;         // "card", "epld.registers"; empty for the file itself
    std::set<std::string, std::less<>> asked_;
};

// Where an end of a slimline cable goes. The cable-detect expander sits on the backplane, one an
// uplink; the cable carries the socket's I2C channel to it.
struct Plug {
    Route route;
    std::string cable = {};  // place of the cable that is in it; empty = none
};
constexpr uint32_t cable_expander = 0x27;  // address on either route

// The board that the sections of a file put together.
class Builder {
public:
    explicit Builder(Board &made);

    // Fits a chip; a second one on the same route is an error at `from`.
    ChipRecord &fit(const Table &from, const Route &route, std::string_view model,
                    std::string_view name, std::optional<uint32_t> size = std::nullopt);
    ChipRecord &fit_expander(const Table &from, const Route &route, std::string_view name,
                             uint16_t pins);
    // The chip on `known` is also reached on `route`, where others may be.
    void connect(const Table &from, const Route &known, const Route &route);
    std::span<uint8_t> cells(const ChipRecord &chip) { return cells_of(board, chip); }

    void set_epld_bit(uint32_t reg, uint32_t bit, bool level);
    // A word of physical memory; what was there before is replaced.
    void set_memory(const Table &from, uint32_t address, uint32_t value);
    void add_fault(const Table &from, const FaultRecord &fault);

    Board &board;
    uint32_t fan_modules = 0;             // fitted ones by their bit
    std::set<uint32_t> riser_slots;       // of the fitted risers
    std::map<std::string, Plug> sockets;  // "CPU1 SLIMLINE A", "retimer 5 port 0"
    std::map<std::string, Plug> uplinks;  // of the fitted backplanes, "F I2C 1 SLIMLINE A"

private:
    std::map<std::string, std::string> fitted_;  // route and the place of its chip
};

enum class Shape { table, tables };

// A top-level section. To add one: a function in a file of its own and a row in board_file.cpp.
struct Section {
    const char *name;
    Shape shape;
    void (*read)(Builder &builder, Table &table);
};

void read_mainboard(Builder &builder, Table &table);
void read_card(Builder &builder, Table &table);
void read_riser(Builder &builder, Table &table);
void read_retimer(Builder &builder, Table &table);
void read_backplane(Builder &builder, Table &table);
void read_cable(Builder &builder, Table &table);
void read_present(Builder &builder, Table &table);
void read_chassis(Builder &builder, Table &table);
void read_dimms(Builder &builder, Table &table);
void read_fan(Builder &builder, Table &table);
void read_psu(Builder &builder, Table &table);
void read_regulator(Builder &builder, Table &table);
void read_fru(Builder &builder, Table &table);
void read_pier(Builder &builder, Table &table);
void read_liquid_cooling(Builder &builder, Table &table);
void read_gpio(Builder &builder, Table &table);
void read_chip(Builder &builder, Table &table);
void read_epld(Builder &builder, Table &table);
void read_soc(Builder &builder, Table &table);
void read_memory(Builder &builder, Table &table);
void read_flash(Builder &builder, Table &table);
void read_storage(Builder &builder, Table &table);
void read_bus(Builder &builder, Table &table);
void read_time(Builder &builder, Table &table);
void read_fault(Builder &builder, Table &table);

// The route of the identifier chip of a card position named as in a board file, if it has one.
std::optional<Route> identifier_route(std::string_view position);

// Fits a card in a position named so. Its identifier is what the table's keys say; its board
// number is the one given, if there is one.
void fit_card(Builder &builder, Table &table, std::string_view position,
              std::optional<uint32_t> known_board);

// The disks in a fitted backplane's bays; a model without bays takes none.
void read_disks(Builder &builder, Table &backplane, std::string_view model,
                std::string_view connector, uint32_t bus);

FaultRecord parse_fault(Table &table, Origin origin);

}  // namespace boardsim
