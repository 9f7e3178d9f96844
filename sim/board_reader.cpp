#include "board_reader.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "access.h"

namespace boardsim {

namespace {

std::string hex(int64_t number) {
    char text[32];
    std::snprintf(text, sizeof(text), number < 0 ? "%lld" : "0x%llX",
                  static_cast<long long>(number));
    return text;
}

std::string line_of(const toml::node &node) { return std::to_string(node.source().begin.line); }

// "0x208" or "201".
std::optional<int64_t> key_number(std::string_view text) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
        base = 16;
    }
    int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc() || end != text.data() + text.size() || text.starts_with('-')) {
        return std::nullopt;
    }
    return number;
}

}  // namespace

std::string Table::full_name(std::string_view key) const {
    return name_.empty() ? std::string(key) : name_ + '.' + std::string(key);
}

std::string Table::place() const { return file_ + ':' + line_of(node_); }

std::vector<std::string> Table::keys() const {
    std::vector<std::string> names;
    for (const auto &[key, value] : node_) {
        names.emplace_back(key.str());
    }
    return names;
}

void Table::fail(const std::string &message) const {
    throw Error(place() + ": " + name_ + ": " + message);
}

void Table::fail(std::string_view key, const std::string &message) const {
    const toml::node *node = node_.get(key);
    throw Error(file_ + ':' + line_of(node == nullptr ? node_ : *node) + ": " + full_name(key) +
                ": " + message);
}

const toml::node *Table::find(std::string_view key) {
    asked_.emplace(key);
    return node_.get(key);
}

int64_t Table::checked(std::string_view key, const toml::node &node, int64_t smallest,
                       int64_t largest) const {
    const auto *value = node.as_integer();
    if (value == nullptr) {
        fail(key, "is not a whole number");
    }
    if (value->get() < smallest || value->get() > largest) {
        fail(key, hex(value->get()) + " is out of range, " + hex(smallest) + " to " + hex(largest));
    }
    return value->get();
}

std::optional<uint32_t> Table::number(std::string_view key, int64_t smallest, int64_t largest) {
    const toml::node *node = find(key);
    if (node == nullptr) {
        return std::nullopt;
    }
    return static_cast<uint32_t>(checked(key, *node, smallest, largest));
}

std::optional<int32_t> Table::signed_number(std::string_view key, int64_t smallest,
                                            int64_t largest) {
    const toml::node *node = find(key);
    if (node == nullptr) {
        return std::nullopt;
    }
    return static_cast<int32_t>(checked(key, *node, smallest, largest));
}

std::optional<bool> Table::flag(std::string_view key) {
    const toml::node *node = find(key);
    if (node == nullptr) {
        return std::nullopt;
    }
    const auto *value = node->as_boolean();
    if (value == nullptr) {
        fail(key, "is neither true nor false");
    }
    return value->get();
}

std::optional<std::string> Table::text(std::string_view key, size_t longest) {
    const toml::node *node = find(key);
    if (node == nullptr) {
        return std::nullopt;
    }
    const auto *value = node->as_string();
    if (value == nullptr) {
        fail(key, "is not a text");
    }
    if (value->get().size() > longest) {
        fail(key, "is longer than " + std::to_string(longest) + " characters");
    }
    return value->get();
}

std::optional<Route> Table::route(std::string_view key) {
    const auto value = text(key, 64);
    if (!value) {
        return std::nullopt;
    }
    const auto parsed = parse_route(*value);
    if (!parsed) {
        fail(key, '"' + *value +
                      "\" is no route; write bus:address as in \"13:0x26\", with "
                      "switches as in \"4:0x70.1:0x22\"");
    }
    return parsed;
}

std::optional<std::vector<uint8_t>> Table::bytes(std::string_view key, size_t most) {
    const toml::node *node = find(key);
    if (node == nullptr) {
        return std::nullopt;
    }
    const auto *list = node->as_array();
    if (list == nullptr) {
        fail(key, "is not a list of bytes");
    }
    if (list->size() > most) {
        fail(key, "holds more than " + std::to_string(most) + " bytes");
    }
    std::vector<uint8_t> values;
    for (const toml::node &each : *list) {
        values.push_back(static_cast<uint8_t>(checked(key, each, 0, 0xFF)));
    }
    return values;
}

std::vector<std::string> Table::texts(std::string_view key, size_t longest) {
    const toml::node *node = find(key);
    if (node == nullptr) {
        return {};
    }
    const auto *list = node->as_array();
    if (list == nullptr || (!list->empty() && !list->is_homogeneous<std::string>())) {
        fail(key, "is not a list of texts");
    }
    std::vector<std::string> values;
    for (const toml::node &each : *list) {
        values.push_back(each.as_string()->get());
        if (values.back().size() > longest) {
            fail(key, "holds a text longer than " + std::to_string(longest) + " characters");
        }
    }
    return values;
}

std::optional<Table> Table::table(std::string_view key) {
    const toml::node *node = find(key);
    if (node == nullptr) {
        return std::nullopt;
    }
    if (node->as_table() == nullptr) {
        fail(key, "is not a table, [" + full_name(key) + ']');
    }
    return Table(*node->as_table(), file_, full_name(key));
}

std::vector<Table> Table::tables(std::string_view key) {
    const toml::node *node = find(key);
    if (node == nullptr) {
        return {};
    }
    const auto *list = node->as_array();
    if (list == nullptr || (!list->empty() && !list->is_homogeneous<toml::table>())) {
        fail(key, "is not a list of tables, [[" + full_name(key) + "]]");
    }
    std::vector<Table> found;
    for (const toml::node &each : *list) {
        found.emplace_back(*each.as_table(), file_, full_name(key));
    }
    return found;
}

std::map<uint32_t, uint32_t> Table::numbered(int64_t largest_key, int64_t largest_value) {
    std::map<uint32_t, uint32_t> found;
    for (const auto &[key, value] : node_) {
        asked_.emplace(key.str());
        const auto number = key_number(key.str());
        if (!number) {
            fail(key.str(), "is not a number");
        }
        if (*number > largest_key) {
            fail(key.str(), "is out of range, 0x0 to " + hex(largest_key));
        }
        const auto content = static_cast<uint32_t>(checked(key.str(), value, 0, largest_value));
        if (!found.emplace(static_cast<uint32_t>(*number), content).second) {
            fail(key.str(), "is the same number as another key");
        }
    }
    return found;
}

uint32_t Table::required_number(std::string_view key, int64_t smallest, int64_t largest) {
    const auto value = number(key, smallest, largest);
    if (!value) {
        fail(key, "is missing");
    }
    return *value;
}

Route Table::required_route(std::string_view key) {
    const auto value = route(key);
    if (!value) {
        fail(key, "is missing");
    }
    return *value;
}

std::string Table::required_text(std::string_view key, size_t longest) {
    auto value = text(key, longest);
    if (!value) {
        fail(key, "is missing");
    }
    return *value;
}

void Table::finish() const {
    for (const auto &[key, value] : node_) {
        if (!asked_.contains(key.str())) {
            throw Error(file_ + ':' + std::to_string(key.source().begin.line) + ": " +
                        full_name(key.str()) + ": unknown key");
        }
    }
}

Builder::Builder(Board &made) : board(made) {
    // The mainboard's sockets, each on a channel of one switch.
    constexpr std::array names = {"CPU1 SLIMLINE A", "CPU1 SLIMLINE B", "CPU2 SLIMLINE C",
                                  "CPU2 SLIMLINE D", "CPU2 SLIMLINE E", "CPU2 SLIMLINE F"};
    for (uint32_t socket = 0; socket < names.size(); ++socket) {
        sockets[names[socket]] = {{12, cable_expander, 0x70, socket}};
    }
}

ChipRecord &Builder::fit(const Table &from, const Route &route, std::string_view model,
                         std::string_view name, std::optional<uint32_t> size) {
    const std::string at = route_text(route);
    const auto [entry, is_new] = fitted_.emplace(at, from.place());
    if (!is_new) {
        from.fail("a chip at " + at + " is already fitted by " + entry->second);
    }
    const uint32_t index = find_model(model).value();
    try {
        ChipRecord &chip = add_chip(board, route, index, size.value_or(default_size(index)), name);
        return chip;
    } catch (const Error &error) {
        from.fail(error.what());
    }
}

ChipRecord &Builder::fit_expander(const Table &from, const Route &route, std::string_view name,
                                  uint16_t pins) {
    ChipRecord &chip = fit(from, route, pca9535_model.name, name);
    const auto registers = cells(chip);
    registers[input_port] = static_cast<uint8_t>(pins);
    registers[input_port + 1] = static_cast<uint8_t>(pins >> 8);
    return chip;
}

void Builder::connect(const Table &from, const Route &known, const Route &route) {
    try {
        add_route(board, *find_chip(board, known), route);
    } catch (const Error &error) {
        from.fail(error.what());
    }
}

void Builder::set_epld_bit(uint32_t reg, uint32_t bit, bool level) {
    const uint32_t mask = 1u << bit;
    const uint32_t word = board.epld[reg];
    board.epld[reg] = static_cast<uint16_t>(level ? word | mask : word & ~mask);
}

void Builder::set_memory(const Table &from, uint32_t address, uint32_t value) {
    MemoryWord *const end = board.memory + board.memory_count;
    MemoryWord *const word = std::find_if(
        board.memory, end, [&](const MemoryWord &each) { return each.address == address; });
    if (word != end) {
        word->value = value;
        return;
    }
    if (board.memory_count == most_memory_words) {
        from.fail("holds more than " + std::to_string(most_memory_words) + " words");
    }
    board.memory[board.memory_count++] = {address, value};
}

void Builder::add_fault(const Table &from, const FaultRecord &fault) {
    if (!put_fault(board, fault)) {
        from.fail("the board has no room for another fault");
    }
}

}  // namespace boardsim
