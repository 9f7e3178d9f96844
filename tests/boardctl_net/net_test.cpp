// net: what it shows of the kernel's interfaces, and what it changes of them.
#include "boardctl/programs.h"
#include "boardctl/texts.h"
#include "support/veth_pair.h"

using boardctl_test::ask;
using boardctl_test::End;
using boardctl_test::expect_golden;
using boardctl_test::Json;
using boardctl_test::Outcome;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using veth::State;

namespace {

class Net : public veth::Pair {
protected:
    void SetUp() override {
        Pair::SetUp();
        if (!IsSkipped()) {
            ASSERT_TRUE(veth::ip(
                "link set " + veth::port + " address 02:00:00:00:00:01 mtu 1400\n" + "link set " +
                veth::peer + " address 02:00:00:00:00:02\n" + "link set " + veth::peer + " up"));
        }
    }
    static State state() { return veth::state_of(veth::port); }
    static void give_address() {
        ASSERT_TRUE(veth::ip("addr add 10.1.1.1/20 dev " + veth::port + "\nlink set " + veth::port +
                             " up\nroute add default via 10.1.1.2 dev " + veth::port));
    }
    static Json row(const Json &document, const std::string &name) {
        for (const Json &each : document["interfaces"]) {
            if (each["name"] == name) {
                return each;
            }
        }
        return nullptr;
    }
};

}  // namespace

// ---- shown ----

TEST_F(Net, EveryInterface) {
    give_address();
    const Outcome outcome = ask({"net", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const Json document = outcome.json();
    EXPECT_EQ(document["interfaces"].size(), 3u);
    EXPECT_EQ(row(document, veth::port), Json::parse(R"({
        "name": "management-port", "up": true, "mac": "02:00:00:00:00:01",
        "address": "10.1.1.1", "mask": "255.255.240.0", "gateway": "10.1.1.2", "mtu": 1400})"));
    EXPECT_EQ(row(document, veth::peer), Json::parse(R"({
        "name": "host-side", "up": true, "mac": "02:00:00:00:00:02",
        "address": null, "mask": null, "gateway": null, "mtu": 1500})"));
    EXPECT_EQ(row(document, "lo")["address"], "127.0.0.1");
    EXPECT_EQ(document["failures"], Json::array());
}

TEST_F(Net, Table) {
    give_address();
    const Outcome outcome = ask({"net"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    expect_golden("net.txt", outcome.out);
}

// ---- changed ----

TEST_F(Net, UpAndDown) {
    State expected = state();
    ASSERT_FALSE(expected.up);
    expected.up = true;
    Outcome outcome = ask({"net", "up", veth::port, "--yes", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(state(), expected);
    EXPECT_EQ(outcome.json()["interfaces"].size(), 1u);
    EXPECT_EQ(outcome.json()["interfaces"][0]["up"], true);
    expected.up = false;
    outcome = ask({"net", "down", veth::port, "-y", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(state(), expected);
    EXPECT_EQ(outcome.json()["interfaces"][0]["up"], false);
}

TEST_F(Net, Set) {
    const Outcome outcome =
        ask({"net", "set", veth::port, "--mac", "02:Ab:00:00:00:09", "--address", "192.168.7.2",
             "--mask", "255.255.255.128", "--gateway", "192.168.7.1", "--yes", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const State expected = {true, "02:ab:00:00:00:09", 1400, {"192.168.7.2/25"}, {"192.168.7.1"}};
    EXPECT_EQ(state(), expected);
    EXPECT_EQ(outcome.json()["interfaces"][0], Json::parse(R"({
        "name": "management-port", "up": true, "mac": "02:ab:00:00:00:09",
        "address": "192.168.7.2", "mask": "255.255.255.128", "gateway": "192.168.7.1",
        "mtu": 1400})"));
}

TEST_F(Net, SetOneThing) {
    give_address();
    State expected = state();
    expected.addresses = {"10.1.1.1/24"};
    expected.gateways = {};  // the kernel drops the routes over a network that changes
    EXPECT_EQ(ask({"net", "set", veth::port, "--mask", "255.255.255.0", "-y"}).status, 0);
    EXPECT_EQ(state(), expected);
    expected.gateways = {"10.1.1.77"};
    EXPECT_EQ(ask({"net", "set", veth::port, "--gateway", "10.1.1.77", "-y"}).status, 0);
    EXPECT_EQ(state(), expected);
    expected.gateways = {};
    EXPECT_EQ(ask({"net", "set", veth::port, "--gateway", "none", "-y"}).status, 0);
    EXPECT_EQ(state(), expected);
    expected.addresses = {};
    EXPECT_EQ(ask({"net", "set", veth::port, "--address", "none", "-y"}).status, 0);
    EXPECT_EQ(state(), expected);
}

TEST_F(Net, ARefusedGatewayLeavesTheOneBefore) {
    give_address();
    const State before = state();
    const Outcome outcome = ask({"net", "set", veth::port, "--gateway", "172.16.0.1", "--yes"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "boardctl: management-port: gateway: the address or the route cannot be written "
              "(0x80108106)\n");
    EXPECT_EQ(state(), before);
}

TEST_F(Net, TheFirstFailureEndsASet) {
    give_address();
    State expected = state();
    expected.up = false;  // as a refused MAC address leaves it
    expected.gateways = {};
    const Outcome outcome = ask(
        {"net", "set", veth::port, "--mac", "01:00:5e:00:00:01", "--address", "10.7.7.7", "--yes"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("management-port: MAC address: the MAC address cannot be "
                                       "written (0x80108104)\n"));
    EXPECT_EQ(state(), expected);
}

TEST_F(Net, NoSuchInterface) {
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"net", "up", "eth9", "--yes"},
          {"net", "down", "eth9", "--yes"},
          {"net", "set", "eth9", "--address", "10.1.1.1", "--yes"}}) {
        const Outcome outcome = ask(arguments);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, HasSubstr("boardctl: eth9: "));
    }
}

// ---- asked first ----

TEST_F(Net, AsksFirst) {
    const State before = state();
    const std::vector<std::vector<std::string>> changes = {
        {"net", "up", veth::port},
        {"net", "set", veth::port, "--address", "10.1.1.1", "--gateway", "10.1.1.2"}};
    for (const auto &change : changes) {
        const Outcome alone = ask(change);
        EXPECT_EQ(alone.status, 2);
        EXPECT_THAT(alone.err, HasSubstr("confirm it with --yes"));
        const Outcome refused =
            ask(change, {.err = End::terminal, .in = End::terminal, .typed = "n\n"});
        EXPECT_EQ(refused.status, 1);
        EXPECT_THAT(refused.err, HasSubstr("nothing was changed"));
        EXPECT_EQ(state(), before);
    }
    const Outcome down = ask({"net", "down", veth::port},
                             {.err = End::terminal, .in = End::terminal, .typed = "n\n"});
    EXPECT_THAT(down.err, HasSubstr("Take management-port down? Connections over it end. [y/N]"));
    const Outcome given =
        ask(changes[1], {.err = End::terminal, .in = End::terminal, .typed = "y\n"});
    EXPECT_EQ(given.status, 0) << given.err;
    EXPECT_THAT(given.err, HasSubstr("Set management-port to address 10.1.1.1, gateway 10.1.1.2? "
                                     "Connections over it may end. [y/N]"));
    EXPECT_THAT(state().gateways, ElementsAre("10.1.1.2"));
}

TEST_F(Net, WrongUse) {
    give_address();
    const State before = state();
    const std::vector<std::string> wrong[] = {
        {"set", veth::port},
        {"set", veth::port, "--mac", "02:00:00:00:00"},
        {"set", veth::port, "--mac", "02:00:00:00:00:0g"},
        {"set", veth::port, "--mac", "02-00-00-00-00-01"},
        {"set", veth::port, "--mac", "02:00:00:00:00:01:02"},
        {"set", veth::port, "--address", "10.1"},
        {"set", veth::port, "--address", "10.1.1.256"},
        {"set", veth::port, "--address", "127.0.0.1"},
        {"set", veth::port, "--address", "224.0.0.1"},
        {"set", veth::port, "--address", "::1"},
        {"set", veth::port, "--mask", "255.0.255.0"},
        {"set", veth::port, "--mask", "24"},
        {"set", veth::port, "--gateway", "0.0.0.0"},
        {"set", "--address", "10.1.1.1"},
        {"set", "a-name-too-long-", "--address", "10.1.1.1"},
        {"up"},
        {"up", ""},
        {"down", veth::port, "more"},
    };
    for (std::vector<std::string> arguments : wrong) {
        arguments.insert(arguments.begin(), "net");
        arguments.emplace_back("--yes");
        const Outcome outcome = ask(arguments);
        EXPECT_EQ(outcome.status, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err, "");
    }
    EXPECT_EQ(state(), before);
}
