// [[cable]]: from a slimline socket to an uplink, and what is wrong with it.
#include "board_reader.h"

namespace boardsim {

namespace {

using Plugs = std::map<std::string, Plug>;

Plugs::iterator plug_of(const Table &table, const char *key, const std::string &name, Plugs &plugs,
                        const std::string &what) {
    const auto found = plugs.find(name);
    if (found == plugs.end()) {
        table.fail(key, "there is no " + what + " \"" + name + "\"" +
                            (plugs.empty() ? std::string()
                                           : "; there are " + listed(plugs, [](const auto &plug) {
                                                 return plug.first;
                                             })));
    }
    return found;
}

constexpr uint8_t index_parity_bit = 0x10;  // of the expander's port 1
constexpr uint32_t word_parity_bit = 0x80;

// The word as the backplane's side reads it.
FaultRecord wrong_word(const Route &uplink) {
    FaultRecord fault = {};
    fault.origin = static_cast<uint32_t>(Origin::board_file);
    fault.call = index_of(Call::pca9535_gpio_word_get_output_value);
    fault.target = static_cast<uint32_t>(Target::chip);
    fault.route = uplink;
    fault.flips = word_parity_bit;
    return fault;
}

}  // namespace

void read_cable(Builder &builder, Table &table) {
    // Where it belongs, and where it is.
    const std::string from = table.required_text("from", 32);
    const std::string to = table.required_text("to", 32);
    const char *key = table.has("plugged_into") ? "plugged_into" : "from";
    const std::string into = table.text("plugged_into", 32).value_or(from);
    plug_of(table, "from", from, builder.sockets, "socket");
    Plug &socket = plug_of(table, key, into, builder.sockets, "socket")->second;
    Plug &uplink = plug_of(table, "to", to, builder.uplinks, "uplink")->second;

    if (!table.flag("index_parity").value_or(true)) {
        builder.cells(*find_chip(builder.board, uplink.route))[input_port + 1] ^= index_parity_bit;
    }
    if (!table.flag("word_parity").value_or(true)) {
        builder.add_fault(table, wrong_word(uplink.route));
    }
    const bool split = table.flag("split").value_or(false);
    if (!table.flag("plugged").value_or(true)) {
        return;
    }
    if (!uplink.cable.empty()) {
        table.fail("to", '"' + to + "\" has the cable of " + uplink.cable + " already");
    }
    if (!socket.cable.empty() && !split) {
        table.fail(key, '"' + into + "\" has the cable of " + socket.cable +
                            " already; a second end of that one says split = true");
    }
    uplink.cable = socket.cable = table.place();
    builder.connect(table, uplink.route, socket.route);
}

}  // namespace boardsim
