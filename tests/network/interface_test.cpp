// Interfaces of the real kernel: what is read agrees with iproute2, and what is set changes that
// and nothing else.
#include <arpa/inet.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

#include "network/network_test.h"
#include "support/child_process.h"

using namespace network;
using testing::ElementsAre;
using testing::IsEmpty;
using veth::State;

namespace {

std::string mac_text(const uint8_t *mac) {
    char text[18];
    std::snprintf(text, sizeof(text), "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2],
                  mac[3], mac[4], mac[5]);
    return text;
}

// The ioctls of a call, without the sockets around them.
std::vector<std::string> requests_of(const std::function<uint32_t()> &call) {
    libc_layer::layer().calls.clear();
    const libc_layer::Watch watch;
    EXPECT_EQ(call(), 0u);
    return libc_layer::layer().calls_of("ioctl");
}

}  // namespace

// ---- state ----

TEST_F(Network, StateFollowsTheKernel) {
    uint8_t up[2] = {0xA5, 0xA5};
    EXPECT_EQ(OAL_GetEthState(port, up), 0u);
    EXPECT_THAT(up, ElementsAre(0, 0xA5));
    ASSERT_TRUE(veth::ip("link set " + veth::port + " up"));
    EXPECT_EQ(OAL_GetEthState(port, up), 0u);
    EXPECT_THAT(up, ElementsAre(1, 0xA5));
}

TEST_F(Network, UpAndDownChangeNothingElse) {
    const State down = state();
    ASSERT_FALSE(down.up);
    State up = down;
    up.up = true;
    for (int i = 0; i < 2; ++i) {  // also when it is so already
        EXPECT_EQ(OAL_SetEthUp(port), 0u);
        EXPECT_EQ(state(), up);
    }
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(OAL_SetEthDown(port), 0u);
        EXPECT_EQ(state(), down);
    }
}

TEST_F(Network, FlagsOfUpAndDown) {
    // BROADCAST and MULTICAST are there before; UP is 0x1, RUNNING 0x40.
    EXPECT_THAT(requests_of([] { return OAL_SetEthUp(port); }),
                ElementsAre("ioctl SIOCGIFFLAGS management-port",
                            "ioctl SIOCSIFFLAGS management-port 0x1043",
                            "ioctl SIOCGIFFLAGS management-port"));
    bring_up();
    // The kernel tells of the carrier a moment later.
    const auto flags = [] {
        ifreq request = {};
        std::strcpy(request.ifr_name, port);
        const int link = socket(AF_INET, SOCK_DGRAM, 0);
        EXPECT_EQ(ioctl(link, SIOCGIFFLAGS, &request), 0);
        close(link);
        return request.ifr_flags;
    };
    for (int i = 0; i < 200 && (flags() & IFF_RUNNING) == 0; ++i) {
        usleep(20000);
    }
    ASSERT_NE(flags() & IFF_RUNNING, 0);
    // Down takes UP away only.
    EXPECT_THAT(requests_of([] { return OAL_SetEthDown(port); }),
                ElementsAre("ioctl SIOCGIFFLAGS management-port",
                            "ioctl SIOCSIFFLAGS management-port 0x1042",
                            "ioctl SIOCGIFFLAGS management-port"));
}

TEST_F(Network, StateThatSomeoneElseChangesAtOnce) {
    // Between the change and the look at it.
    for (const bool up : {true, false}) {
        libc_layer::layer().clear();
        int reads = 0;
        libc_layer::layer().before = [&](const std::string &call) {
            if (call.starts_with("ioctl SIOCGIFFLAGS") && ++reads == 2) {
                EXPECT_TRUE(veth::ip("link set " + veth::port + (up ? " down" : " up")));
            }
        };
        const libc_layer::Watch watch;
        EXPECT_EQ(up ? OAL_SetEthUp(port) : OAL_SetEthDown(port), 0x80108001u);
        EXPECT_EQ(reads, 2);
    }
}

// ---- MAC address ----

TEST_F(Network, MacAddressIsTheKernels) {
    uint8_t mac[7] = {0, 0, 0, 0, 0, 0, 0xA5};
    EXPECT_EQ(OAL_GetEthMacAddr(port, mac), 0u);
    EXPECT_EQ(mac_text(mac), state().mac);
    EXPECT_EQ(mac[6], 0xA5);
}

TEST_F(Network, MacAddressIsSetAndTheInterfaceUpAfterwards) {
    const uint8_t mac[6] = {0x02, 0xFE, 0x80, 0x00, 0x7F, 0x9C};
    for (const bool was_up : {false, true}) {
        ASSERT_TRUE(veth::ip("link set " + veth::port + " address 02:00:00:00:00:01 " +
                             (was_up ? "up" : "down")));
        State expected = state();
        expected.up = true;
        expected.mac = "02:fe:80:00:7f:9c";
        EXPECT_EQ(OAL_SetEthMacAddr(port, mac), 0u);
        EXPECT_EQ(state(), expected);
    }
    EXPECT_THAT(requests_of([&] { return OAL_SetEthMacAddr(port, mac); })[3],
                "ioctl SIOCSIFHWADDR management-port 1:02FE80007F9C");
}

TEST_F(Network, MacAddressThatTheKernelRefusesLeavesTheInterfaceDown) {
    bring_up();
    State expected = state();
    expected.up = false;
    const uint8_t multicast[6] = {0x01, 0x00, 0x5E, 0x00, 0x00, 0x01};
    EXPECT_EQ(OAL_SetEthMacAddr(port, multicast), 0x80108104u);
    EXPECT_EQ(state(), expected);
    const uint8_t none[6] = {};
    EXPECT_EQ(OAL_SetEthMacAddr(port, none), 0x80108104u);
}

// ---- addresses and masks ----

TEST_F(Network, AddressAndMaskAreTheKernels) {
    const std::pair<const char *, std::pair<const char *, const char *>> addresses[] = {
        {"10.1.1.1/24", {"10.1.1.1", "255.255.255.0"}},
        {"1.2.3.4/0", {"1.2.3.4", "0.0.0.0"}},
        {"192.168.100.200/32", {"192.168.100.200", "255.255.255.255"}},
        {"223.255.255.254/31", {"223.255.255.254", "255.255.255.254"}},
        {"172.16.0.9/13", {"172.16.0.9", "255.248.0.0"}},
    };
    for (const auto &[set, expected] : addresses) {
        ASSERT_TRUE(
            veth::ip("addr flush dev " + veth::port + "\naddr add " + set + " dev " + veth::port));
        char address[17];
        char mask[17];
        std::memset(address, 'x', sizeof(address));
        std::memset(mask, 'x', sizeof(mask));
        EXPECT_EQ(OAL_GetEthtIP(port, address), 0u);
        EXPECT_EQ(OAL_GetEthMask(port, mask), 0u);
        EXPECT_STREQ(address, expected.first);
        EXPECT_STREQ(mask, expected.second);
        EXPECT_EQ(address[16], 'x');
        EXPECT_EQ(mask[16], 'x');
    }
}

TEST_F(Network, InterfaceWithoutAnAddress) {
    char text[16] = "untouched";
    EXPECT_EQ(OAL_GetEthtIP(port, text), 0x80108105u);
    EXPECT_EQ(OAL_GetEthMask(port, text), 0x80108108u);
    EXPECT_STREQ(text, "untouched");
    EXPECT_EQ(OAL_SetEthMask(port, "255.255.0.0"), 0x80108109u);
}

TEST_F(Network, SetAddressBringsTheInterfaceUp) {
    State expected = state();
    ASSERT_FALSE(expected.up);
    expected.up = true;
    expected.addresses = {"192.168.7.9/24"};  // the prefix of the address's class
    EXPECT_EQ(OAL_SetEthIP(port, "192.168.7.9"), 0u);
    EXPECT_EQ(state(), expected);
    expected.addresses = {"10.3.2.1/8"};  // it replaces the one before
    EXPECT_EQ(OAL_SetEthIP(port, "10.3.2.1"), 0u);
    EXPECT_EQ(state(), expected);
}

TEST_F(Network, EmptyAddressTakesItAway) {
    bring_up();
    ASSERT_TRUE(veth::ip("link set " + veth::port + " down"));
    State expected = state();
    expected.up = true;
    expected.addresses = {};
    EXPECT_THAT(requests_of([] { return OAL_SetEthIP(port, ""); })[0],
                "ioctl SIOCSIFADDR management-port 2:0.0.0.0");
    EXPECT_EQ(state(), expected);
}

TEST_F(Network, SetMaskLeavesTheInterfaceDown) {
    bring_up();
    ASSERT_TRUE(veth::ip("link set " + veth::port + " down"));
    State expected = state();
    expected.addresses = {"10.1.1.1/20"};
    EXPECT_THAT(requests_of([] { return OAL_SetEthMask(port, "255.255.240.0"); }),
                ElementsAre("ioctl SIOCSIFNETMASK management-port 2:255.255.240.0"));
    EXPECT_EQ(state(), expected);
}

TEST_F(Network, TextsThatAreNoAddress) {
    bring_up();
    const State before = state();
    for (const char *text : {"256.1.1.1", "10.1.1.1.1", "abc", "10.1.1.", "::1", " ", "10..1.1",
                             "-1.1.1.1", "1.1.1.1x"}) {
        EXPECT_EQ(OAL_SetEthIP(port, text), 0x80108107u) << text;
        EXPECT_EQ(OAL_SetEthMask(port, text), 0x80108107u) << text;
        EXPECT_EQ(OAL_SetEthGateWay(port, text), 0x80108107u) << text;
    }
    EXPECT_EQ(OAL_SetEthMask(port, ""), 0x80108107u);
    EXPECT_EQ(state(), before);
}

TEST_F(Network, ShortFormsOfAnAddress) {
    bring_up();
    const std::pair<const char *, const char *> forms[] = {{"10.1", "10.0.0.1/8"},
                                                           {"0x0a.1.2", "10.1.0.2/8"},
                                                           {"167772163", "10.0.0.3/8"},
                                                           {"012.0.0.4", "10.0.0.4/8"}};
    for (const auto &[text, address] : forms) {
        EXPECT_EQ(OAL_SetEthIP(port, text), 0u) << text;
        EXPECT_THAT(state().addresses, ElementsAre(address));
    }
}

TEST_F(Network, AddressesAndMasksThatTheKernelRefuses) {
    bring_up();
    const State before = state();
    EXPECT_EQ(OAL_SetEthIP(port, "224.0.0.1"), 0x80108106u);
    EXPECT_EQ(OAL_SetEthMask(port, "255.0.255.0"), 0x80108109u);
    EXPECT_EQ(OAL_SetEthMask(port, "0.0.0.1"), 0x80108109u);
    EXPECT_EQ(state(), before);
}

// ---- MTU ----

TEST_F(Network, MtuIsTheKernels) {
    for (const uint32_t size : {1500u, 68u, 9000u, 65535u}) {
        ASSERT_TRUE(veth::ip("link set " + veth::port + " mtu " + std::to_string(size)));
        uint32_t mtu[2] = {0, 0xA5A5A5A5};
        EXPECT_EQ(OAL_GetEthMTU(port, mtu), 0u);
        EXPECT_THAT(mtu, ElementsAre(size, 0xA5A5A5A5));
    }
}

// ---- names ----

TEST_F(Network, NameIsUsedUpToFifteenCharacters) {
    bring_up();
    add_default("10.1.1.2");
    const char *name = long_name.c_str();
    uint8_t up = 0;
    uint8_t mac[6];
    char text[16];
    uint32_t mtu = 0;
    EXPECT_EQ(OAL_GetEthState(name, &up), 0u);
    EXPECT_EQ(up, 1);
    EXPECT_EQ(OAL_GetEthMTU(name, &mtu), 0u);
    EXPECT_EQ(mtu, 1500u);
    EXPECT_EQ(OAL_GetEthMacAddr(name, mac), 0u);
    EXPECT_EQ(mac_text(mac), state().mac);
    EXPECT_EQ(OAL_GetEthtIP(name, text), 0u);
    EXPECT_STREQ(text, "10.1.1.1");
    EXPECT_EQ(OAL_GetEthMask(name, text), 0u);
    EXPECT_STREQ(text, "255.255.255.0");
    EXPECT_EQ(OAL_GetEthGateWay(name, text), 0u);
    EXPECT_STREQ(text, "10.1.1.2");

    State expected = state();
    expected.gateways = {};
    EXPECT_EQ(OAL_DelEthGateWay(name, "10.1.1.2"), 0u);
    EXPECT_EQ(state(), expected);
    EXPECT_EQ(OAL_SetEthGateWay(name, "10.1.1.3"), 0u);
    EXPECT_THAT(state().gateways, ElementsAre("10.1.1.3"));
    EXPECT_EQ(OAL_DelEthGateWay(name, ""), 0u);
    EXPECT_EQ(state(), expected);
    expected.up = false;
    EXPECT_EQ(OAL_SetEthDown(name), 0u);
    EXPECT_EQ(state(), expected);
    expected.up = true;
    EXPECT_EQ(OAL_SetEthUp(name), 0u);
    EXPECT_EQ(state(), expected);
    expected.mac = "02:00:00:00:00:07";
    EXPECT_EQ(OAL_SetEthMacAddr(name, reinterpret_cast<const uint8_t *>("\x02\0\0\0\0\x07")), 0u);
    EXPECT_EQ(state(), expected);
    expected.addresses = {"10.9.9.9/8"};
    EXPECT_EQ(OAL_SetEthIP(name, "10.9.9.9"), 0u);
    EXPECT_EQ(state(), expected);
    expected.addresses = {"10.9.9.9/9"};
    EXPECT_EQ(OAL_SetEthMask(name, "255.128.0.0"), 0u);
    EXPECT_EQ(state(), expected);
}

// ---- refusals ----

namespace {

const uint8_t some_mac[6] = {2, 0, 0, 0, 0, 9};
uint8_t byte;
uint8_t six_bytes[6];
uint32_t word;
char sixteen[16];

struct Call {
    const char *what;
    uint32_t missing;    // the code for an interface that is not there
    uint32_t forbidden;  // … and without the right to change anything
    std::function<uint32_t(const char *name)> call;
};

const Call calls[] = {
    {"GetEthState", 0x80108101, 0, [](const char *name) { return OAL_GetEthState(name, &byte); }},
    {"SetEthUp", 0x80108101, 0x80108102, OAL_SetEthUp},
    {"SetEthDown", 0x80108101, 0x80108102, OAL_SetEthDown},
    {"GetEthMacAddr", 0x80108103, 0,
     [](const char *name) { return OAL_GetEthMacAddr(name, six_bytes); }},
    {"SetEthMacAddr", 0x80108101, 0x80108102,
     [](const char *name) { return OAL_SetEthMacAddr(name, some_mac); }},
    {"GetEthtIP", 0x80108105, 0, [](const char *name) { return OAL_GetEthtIP(name, sixteen); }},
    {"SetEthIP", 0x80108106, 0x80108106,
     [](const char *name) { return OAL_SetEthIP(name, "10.5.5.5"); }},
    {"GetEthMask", 0x80108108, 0, [](const char *name) { return OAL_GetEthMask(name, sixteen); }},
    {"SetEthMask", 0x80108109, 0x80108109,
     [](const char *name) { return OAL_SetEthMask(name, "255.0.0.0"); }},
    // No interface has no route either.
    {"GetEthGateWay", 0, 0, [](const char *name) { return OAL_GetEthGateWay(name, sixteen); }},
    {"SetEthGateWay", 0x80108106, 0x80108106,
     [](const char *name) { return OAL_SetEthGateWay(name, "10.1.1.2"); }},
    {"DelEthGateWay", 0x80108106, 0x80108106,
     [](const char *name) { return OAL_DelEthGateWay(name, "10.1.1.3"); }},
    {"DelAllEthGateWays", 0, 0x80108106,
     [](const char *name) { return OAL_DelEthGateWay(name, ""); }},
    {"GetEthMTU", 0x80108105, 0, [](const char *name) { return OAL_GetEthMTU(name, &word); }},
};

}  // namespace

TEST_F(Network, NoSuchInterface) {
    testing::internal::CaptureStdout();
    for (const char *name : {"nothing", "", "management-por"}) {
        for (const Call &row : calls) {
            EXPECT_EQ(row.call(name), row.missing) << row.what << " " << name;
        }
    }
    testing::internal::GetCapturedStdout();
}

TEST_F(Network, WithoutTheRightToChange) {
    bring_up();
    add_default("10.1.1.3");
    const State before = state();
    testing::internal::CaptureStdout();
    child_process::Child user([] {
        if (setuid(65534) != 0) {
            return 100;
        }
        for (size_t i = 0; i < std::size(calls); ++i) {
            if (calls[i].call(port) != calls[i].forbidden) {
                return static_cast<int>(i) + 1;
            }
        }
        return 0;
    });
    EXPECT_EQ(user.wait(), 0) << "the number of the row that differs";
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(state(), before);
}

TEST(NetworkNulls, AreRefusedBeforeAnySystemCall) {
    const std::function<uint32_t()> nulls[] = {
        [] { return OAL_GetEthState(nullptr, &byte); },
        [] { return OAL_GetEthState("lo", nullptr); },
        [] { return OAL_SetEthUp(nullptr); },
        [] { return OAL_SetEthDown(nullptr); },
        [] { return OAL_GetEthMacAddr(nullptr, six_bytes); },
        [] { return OAL_GetEthMacAddr("lo", nullptr); },
        [] { return OAL_SetEthMacAddr(nullptr, some_mac); },
        [] { return OAL_SetEthMacAddr("lo", nullptr); },
        [] { return OAL_GetEthtIP(nullptr, sixteen); },
        [] { return OAL_GetEthtIP("lo", nullptr); },
        [] { return OAL_SetEthIP(nullptr, "10.1.1.1"); },
        [] { return OAL_SetEthIP("lo", nullptr); },
        [] { return OAL_GetEthMask(nullptr, sixteen); },
        [] { return OAL_GetEthMask("lo", nullptr); },
        [] { return OAL_SetEthMask(nullptr, "255.0.0.0"); },
        [] { return OAL_SetEthMask("lo", nullptr); },
        [] { return OAL_GetEthGateWay(nullptr, sixteen); },
        [] { return OAL_GetEthGateWay("lo", nullptr); },
        [] { return OAL_SetEthGateWay(nullptr, "10.1.1.1"); },
        [] { return OAL_SetEthGateWay("lo", nullptr); },
        [] { return OAL_DelEthGateWay(nullptr, "10.1.1.1"); },
        [] { return OAL_DelEthGateWay("lo", nullptr); },
        [] { return OAL_GetEthMTU(nullptr, &word); },
        [] { return OAL_GetEthMTU("lo", nullptr); },
        [] { return static_cast<uint32_t>(OAL_StartDhcp(nullptr, "host")); },
        [] { return static_cast<uint32_t>(OAL_StartDhcp("lo", nullptr)); },
    };
    const libc_layer::Watch watch;
    for (size_t i = 0; i < std::size(nulls); ++i) {
        EXPECT_EQ(nulls[i](), 0x80108004u) << i;
    }
    EXPECT_THAT(libc_layer::layer().calls, IsEmpty());
}
