// net: the network interfaces, and setting them.
#include <arpa/inet.h>
#include <net/if.h>

#include <CLI/CLI.hpp>
#include <array>
#include <charconv>
#include <memory>
#include <optional>

#include "boardfeatures/net.h"
#include "command.h"

namespace boardctl {

namespace {

struct NetMeaning {
    uint32_t code;
    char text[48];
};
constexpr NetMeaning net_meanings[] = {
    {OAL_NET_FAILED, "no socket, or not the state asked for"},
    {OAL_NET_GET_FLAGS, "the flags cannot be read"},
    {OAL_NET_SET_FLAGS, "the flags cannot be written"},
    {OAL_NET_GET_MAC, "the MAC address cannot be read"},
    {OAL_NET_SET_MAC, "the MAC address cannot be written"},
    {OAL_NET_GET_ADDRESS, "the address or the MTU cannot be read"},
    {OAL_NET_SET_ADDRESS, "the address or the route cannot be written"},
    {OAL_NET_BAD_TEXT, "no address"},
    {OAL_NET_GET_MASK, "the mask cannot be read"},
    {OAL_NET_SET_MASK, "the mask cannot be written"},
};

bool net_works(Session &session, const std::string &name, const char *what, uint32_t code) {
    if (code == 0) {
        return true;
    }
    std::string why = hex(code, 8);
    for (const NetMeaning &meaning : net_meanings) {
        if (meaning.code == code) {
            why = fmt::format("{} ({})", meaning.text, why);
        }
    }
    session.fail(fmt::format("{}: {}: {}", name, what, why));
    return false;
}

// ---- reading ----

std::string mac_text(const uint8_t *mac) {
    return fmt::format("{:02x}:{:02x}:{:02x}:{:02x}:{:02x}:{:02x}", mac[0], mac[1], mac[2], mac[3],
                       mac[4], mac[5]);
}

// An address text; the code that says that there is none is no failure.
Json interface_address(Session &session, const std::string &name, const char *what,
                       uint32_t (*get)(const char *, char *), uint32_t none) {
    char text[OAL_ADDRESS_TEXT_SIZE] = "";
    const uint32_t code = get(name.c_str(), text);
    if ((code != 0 && code == none) || !net_works(session, name, what, code)) {
        return nullptr;
    }
    return text[0] != '\0' ? Json(text) : Json();
}

Json interface_json(Session &session, const std::string &name) {
    uint8_t up = 0;
    uint8_t mac[OAL_MAC_SIZE] = {};
    uint32_t mtu = 0;
    const bool has_state = net_works(session, name, "state", OAL_GetEthState(name.c_str(), &up));
    const bool has_mac =
        net_works(session, name, "MAC address", OAL_GetEthMacAddr(name.c_str(), mac));
    const bool has_mtu = net_works(session, name, "MTU", OAL_GetEthMTU(name.c_str(), &mtu));
    return {{"name", name},
            {"up", has_state ? Json(up != 0) : Json()},
            {"mac", has_mac ? Json(mac_text(mac)) : Json()},
            {"address",
             interface_address(session, name, "address", OAL_GetEthtIP, OAL_NET_GET_ADDRESS)},
            {"mask", interface_address(session, name, "mask", OAL_GetEthMask, OAL_NET_GET_MASK)},
            {"gateway", interface_address(session, name, "gateway", OAL_GetEthGateWay, 0)},
            {"mtu", has_mtu ? Json(mtu) : Json()}};
}

std::vector<std::string> interface_names(Session &session) {
    std::vector<std::string> names;
    struct if_nameindex *list = if_nameindex();
    if (list == nullptr) {
        session.fail("the network interfaces cannot be listed");
        return names;
    }
    for (const struct if_nameindex *each = list; each->if_index != 0; ++each) {
        names.emplace_back(each->if_name);
    }
    if_freenameindex(list);
    return names;
}

Json interfaces_json(Session &session, const std::vector<std::string> &names) {
    Json rows = Json::array();
    for (const std::string &name : names) {
        rows.push_back(interface_json(session, name));
    }
    return {{"interfaces", std::move(rows)}};
}

Json net(Session &session) { return interfaces_json(session, interface_names(session)); }

void show_net(Page &page, const Json &document) {
    page.heading("Network interfaces");
    page.table(document["interfaces"], {{"Name", "/name"},
                                        {"Up", "/up"},
                                        {"MAC address", "/mac"},
                                        {"Address", "/address"},
                                        {"Mask", "/mask"},
                                        {"Gateway", "/gateway"},
                                        {"MTU", "/mtu"}});
}

// ---- changing ----

using MacAddress = std::array<uint8_t, OAL_MAC_SIZE>;

std::optional<MacAddress> mac_of(const std::string &text) {
    MacAddress mac;
    if (text.size() != 3 * mac.size() - 1) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < mac.size(); ++i) {
        const char *at = text.data() + 3 * i;
        const auto [end, error] = std::from_chars(at, at + 2, mac[i], 16);
        if (error != std::errc() || end != at + 2 || (i + 1 < mac.size() && *end != ':')) {
            return std::nullopt;
        }
    }
    return mac;
}

// What the command line names, checked before anything is changed: the text, or why it is none.
std::string check_mac(const std::string &text) {
    return mac_of(text) ? "" : text + " is no MAC address such as 02:00:00:00:00:01";
}
std::string check_host_address(const std::string &text) {
    in_addr parsed;
    const bool usable = inet_pton(AF_INET, text.c_str(), &parsed) == 1 &&
                        OAL_IsValidIPv4Addr(reinterpret_cast<const uint8_t *>(&parsed)) == 0;
    return usable || text == "none" ? "" : text + " is no IPv4 address that a host can have";
}
std::string check_mask(const std::string &text) {
    in_addr mask;
    if (inet_pton(AF_INET, text.c_str(), &mask) != 1) {
        return text + " is no mask such as 255.255.255.0";
    }
    const uint32_t zeros = ~ntohl(mask.s_addr);
    return (zeros & (zeros + 1)) == 0 ? "" : text + " is no mask: its ones are not together";
}

// The text that stands for none in the library.
const char *address_or_none(const std::string &text) { return text == "none" ? "" : text.c_str(); }

struct InterfaceSetting {
    std::string name;
    std::string mac, address, mask, gateway;  // empty: stays as it is
};

// A gateway that is refused is no reason to lose the one that was there.
bool set_only_gateway(Session &session, const InterfaceSetting &setting) {
    const char *name = setting.name.c_str();
    char before[OAL_ADDRESS_TEXT_SIZE] = "";
    if (!net_works(session, setting.name, "gateway", OAL_GetEthGateWay(name, before)) ||
        !net_works(session, setting.name, "gateway", OAL_DelEthGateWay(name, ""))) {
        return false;
    }
    if (setting.gateway == "none" || net_works(session, setting.name, "gateway",
                                               OAL_SetEthGateWay(name, setting.gateway.c_str()))) {
        return true;
    }
    if (before[0] != '\0') {
        net_works(session, setting.name, "previous gateway", OAL_SetEthGateWay(name, before));
    }
    return false;
}

// In the order in which one does not undo the other: a new address gets the mask of its class, and
// a gateway must be reachable. The first failure ends it.
void apply_setting(Session &session, const InterfaceSetting &setting) {
    const char *name = setting.name.c_str();
    if (!setting.mac.empty() &&
        !net_works(session, setting.name, "MAC address",
                   OAL_SetEthMacAddr(name, mac_of(setting.mac).value_or(MacAddress{}).data()))) {
        return;
    }
    if (!setting.address.empty() &&
        !net_works(session, setting.name, "address",
                   OAL_SetEthIP(name, address_or_none(setting.address)))) {
        return;
    }
    if (!setting.mask.empty() &&
        !net_works(session, setting.name, "mask", OAL_SetEthMask(name, setting.mask.c_str()))) {
        return;
    }
    if (!setting.gateway.empty()) {
        set_only_gateway(session, setting);
    }
}

Json set_interface(Session &session, const InterfaceSetting &setting) {
    std::string changes;
    for (const auto &[what, text] :
         {std::pair("MAC address", setting.mac), std::pair("address", setting.address),
          std::pair("mask", setting.mask), std::pair("gateway", setting.gateway)}) {
        if (!text.empty()) {
            changes += fmt::format("{}{} {}", changes.empty() ? "" : ", ", what, text);
        }
    }
    if (changes.empty()) {
        throw Stopped(status_usage, "nothing to set: name --mac, --address, --mask or --gateway");
    }
    session.confirm(
        fmt::format("Set {} to {}? Connections over it may end.", setting.name, changes));
    apply_setting(session, setting);
    return interfaces_json(session, {setting.name});
}

Json change_interface_state(Session &session, const std::string &name, bool up) {
    session.confirm(up ? fmt::format("Bring {} up?", name)
                       : fmt::format("Take {} down? Connections over it end.", name));
    net_works(session, name, up ? "up" : "down",
              up ? OAL_SetEthUp(name.c_str()) : OAL_SetEthDown(name.c_str()));
    return interfaces_json(session, {name});
}

CLI::App &add_interface_change(Cli &cli, CLI::App &parent, const std::string &name,
                               const std::string &summary, std::string &interface,
                               std::function<Json(Session &)> run) {
    CLI::App &command = cli.add({.name = name,
                                 .title = "",
                                 .summary = summary,
                                 .run = std::move(run),
                                 .show = show_net,
                                 .in_report = false,
                                 .changes = true},
                                &parent);
    command.add_option("interface", interface, "name of the interface")
        ->required()
        ->type_name("INTERFACE")
        ->check([](const std::string &text) {
            // the library would use the first 15 characters of a longer one
            return text.empty() || text.size() >= IFNAMSIZ
                       ? text + " is no name of an interface (1 to 15 characters)"
                       : std::string();
        });
    return command;
}

}  // namespace

void add_net(Cli &cli) {
    CLI::App &command = cli.add({.name = "net",
                                 .title = "Network interfaces",
                                 .summary = "The network interfaces, and setting them",
                                 .run = net,
                                 .show = show_net});
    for (const bool up : {true, false}) {
        const auto name = std::make_shared<std::string>();
        add_interface_change(
            cli, command, up ? "up" : "down",
            up ? "Bring an interface up" : "Take an interface down", *name,
            [name, up](Session &session) { return change_interface_state(session, *name, up); });
    }
    const auto setting = std::make_shared<InterfaceSetting>();
    CLI::App &set_command = add_interface_change(
        cli, command, "set", "Set addresses of an interface and bring it up", setting->name,
        [setting](Session &session) { return set_interface(session, *setting); });
    set_command.add_option("--mac", setting->mac, "MAC address")
        ->type_name("MAC")
        ->check(check_mac);
    set_command.add_option("--address", setting->address, "IPv4 address, or none")
        ->type_name("ADDRESS")
        ->check(check_host_address);
    set_command.add_option("--mask", setting->mask, "mask")->type_name("MASK")->check(check_mask);
    set_command.add_option("--gateway", setting->gateway, "the only default gateway, or none")
        ->type_name("ADDRESS")
        ->check(check_host_address);
}

}  // namespace boardctl
