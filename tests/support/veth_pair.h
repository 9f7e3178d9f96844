// A pair of virtual Ethernet interfaces in the sandbox's own network, and what iproute2 says of
// them: the kernel's view by another way than the one that is tested.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

namespace veth {

// Fifteen characters, as many as a name can have, and its other end.
inline const std::string port = "management-port";
inline const std::string peer = "host-side";

inline std::string output_of(const std::string &command) {
    std::string text;
    FILE *pipe = popen(command.c_str(), "r");
    std::array<char, 4096> part;
    for (size_t size = 0;
         pipe != nullptr && (size = fread(part.data(), 1, part.size(), pipe)) > 0;) {
        text.append(part.data(), size);
    }
    EXPECT_TRUE(pipe != nullptr && pclose(pipe) == 0) << command << ": " << text;
    return text;
}

// Commands of ip(8), one a line; true when all were carried out.
inline bool ip(const std::string &commands) {
    FILE *pipe = popen("ip -batch - 2>/dev/null", "w");
    return pipe != nullptr && fputs(commands.c_str(), pipe) >= 0 && pclose(pipe) == 0;
}

inline nlohmann::json ip_json(const std::string &what) {
    return nlohmann::json::parse(output_of("ip -j " + what));
}

// What can be set of an interface.
struct State {
    bool up = false;
    std::string mac;
    uint32_t mtu = 0;
    std::vector<std::string> addresses;  // IPv4: "10.1.1.1/24"
    std::vector<std::string> gateways;   // of default routes

    bool operator==(const State &) const = default;
};

inline void PrintTo(const State &state, std::ostream *out) {
    *out << (state.up ? "up " : "down ") << state.mac << " mtu " << state.mtu;
    for (const std::string &address : state.addresses) {
        *out << ' ' << address;
    }
    for (const std::string &gateway : state.gateways) {
        *out << " via " << gateway;
    }
}

inline State state_of(const std::string &name) {
    State state;
    const nlohmann::json link = ip_json("addr show dev " + name).at(0);
    const auto &flags = link.at("flags");
    state.up = std::find(flags.begin(), flags.end(), "UP") != flags.end();
    state.mac = link.at("address");
    state.mtu = link.at("mtu");
    for (const auto &address : link.at("addr_info")) {
        if (address.at("family") == "inet") {
            state.addresses.push_back(address.at("local").get<std::string>() + "/" +
                                      std::to_string(address.at("prefixlen").get<int>()));
        }
    }
    for (const auto &route : ip_json("-4 route show default dev " + name)) {
        state.gateways.push_back(route.value("gateway", ""));
    }
    return state;
}

// A test in a network of its own with both interfaces, which go with the network.
class Pair : public testing::Test {
protected:
    void SetUp() override {
        if (ip_json("link").size() != 1) {
            GTEST_SKIP() << "this is no network of the test's own: run it by bmc-sandbox";
        }
        if (!ip("link add " + port + " type veth peer name " + peer)) {
            GTEST_SKIP() << "no right to make network interfaces (CAP_NET_ADMIN)";
        }
    }
};

}  // namespace veth
