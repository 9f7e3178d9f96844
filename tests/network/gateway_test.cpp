// Default gateways: read from the kernel's table, added and deleted by requests.
#include <filesystem>
#include <fstream>

#include "network/network_test.h"

using namespace network;
using testing::ElementsAre;
using testing::IsEmpty;
using veth::State;

namespace {

const char added_by[] = "2:0.0.0.0 2:0.0.0.0 ";

std::string gateway() {
    char text[17] = "untouched";
    text[16] = 'x';
    EXPECT_EQ(OAL_GetEthGateWay(port, text), 0u);
    EXPECT_EQ(text[16], 'x');
    return text;
}

// The requests of a call and what it prints.
struct Deletion {
    uint32_t result;
    std::vector<std::string> requests;
    std::string said;
};
Deletion delete_gateway(const char *text) {
    Deletion deletion;
    libc_layer::layer().calls.clear();
    testing::internal::CaptureStdout();
    {
        const libc_layer::Watch watch;
        deletion.result = OAL_DelEthGateWay(port, text);
    }
    deletion.said = testing::internal::GetCapturedStdout();
    deletion.requests = libc_layer::layer().calls_of("ioctl");
    return deletion;
}

}  // namespace

class Gateway : public Network {
protected:
    void SetUp() override {
        Network::SetUp();
        if (!IsSkipped()) {
            bring_up();
        }
    }
};

TEST_F(Gateway, WithoutOneTheOutputIsUntouched) {
    EXPECT_EQ(gateway(), "untouched");
    // Nor by a network's route, nor by a default route without a gateway beside it.
    ASSERT_TRUE(veth::ip("route add 10.7.0.0/16 via 10.1.1.9 dev " + veth::port));
    EXPECT_EQ(gateway(), "untouched");
}

TEST_F(Gateway, FirstOfTheTable) {
    add_default("10.1.1.3", 7);
    EXPECT_EQ(gateway(), "10.1.1.3");
    add_default("10.1.1.254", 2);
    EXPECT_EQ(gateway(), "10.1.1.254");
    ASSERT_TRUE(veth::ip("addr add 100.100.100.100/8 dev " + veth::port));
    add_default("100.200.199.198");
    EXPECT_EQ(gateway(), "100.200.199.198");
}

TEST_F(Gateway, OfThisInterfaceOnly) {
    ASSERT_TRUE(veth::ip("addr add 10.2.2.1/24 dev " + veth::peer +
                         "\nroute add default via 10.2.2.2 dev " + veth::peer));
    EXPECT_EQ(gateway(), "untouched");
    add_default("10.1.1.2", 9);
    EXPECT_EQ(gateway(), "10.1.1.2");
}

TEST_F(Gateway, IsAdded) {
    State expected = state();
    expected.gateways = {"10.1.1.2"};
    const libc_layer::Watch watch;
    EXPECT_EQ(OAL_SetEthGateWay(port, "10.1.1.2"), 0u);
    EXPECT_EQ(state(), expected);
    EXPECT_THAT(
        libc_layer::layer().calls_of("ioctl"),
        ElementsAre(std::string("ioctl SIOCADDRT ") + added_by + "2:10.1.1.2 0x3 management-port"));
    // A second one by the same way exists already.
    EXPECT_EQ(OAL_SetEthGateWay(port, "10.1.1.2"), 0x80108106u);
    EXPECT_EQ(state(), expected);
}

TEST_F(Gateway, ThatTheKernelRefuses) {
    const State before = state();
    EXPECT_EQ(OAL_SetEthGateWay(port, "10.77.1.2"), 0x80108106u);  // no way to it
    EXPECT_EQ(OAL_SetEthGateWay(port, "10.1.1.255"), 0x80108106u);
    libc_layer::layer().calls.clear();
    {
        const libc_layer::Watch watch;
        EXPECT_EQ(OAL_SetEthGateWay(port, ""), 0x80108106u);
    }
    EXPECT_THAT(
        libc_layer::layer().calls_of("ioctl"),
        ElementsAre(std::string("ioctl SIOCADDRT ") + added_by + "2:0.0.0.0 0x3 management-port"));
    EXPECT_EQ(state(), before);
    ASSERT_TRUE(veth::ip("link set " + veth::port + " down"));
    EXPECT_EQ(OAL_SetEthGateWay(port, "10.1.1.2"), 0x80108106u);
}

TEST_F(Gateway, NamedOneIsDeleted) {
    add_default("10.1.1.2", 1);
    add_default("10.1.1.3", 2);
    const Deletion deletion = delete_gateway("10.1.1.3");
    EXPECT_EQ(deletion.result, 0u);
    EXPECT_EQ(deletion.said, "");
    EXPECT_THAT(deletion.requests, ElementsAre("ioctl SIOCDELRT 2:0.0.0.0 2:0.0.0.0 2:10.1.1.3 0x3 "
                                               "management-port"));
    EXPECT_THAT(state().gateways, ElementsAre("10.1.1.2"));
}

TEST_F(Gateway, NamedOneThatIsNotThere) {
    add_default("10.1.1.2");
    const Deletion deletion = delete_gateway("10.1.1.3");
    EXPECT_EQ(deletion.result, 0x80108106u);
    EXPECT_EQ(deletion.said,
              "OAL_DelEthGateWay: 'management-port' Error: SIOCADDRT failed, return  -1 \n");
    EXPECT_THAT(state().gateways, ElementsAre("10.1.1.2"));
}

TEST_F(Gateway, NamedByWhatIsNoAddress) {
    testing::internal::CaptureStdout();
    libc_layer::layer().calls.clear();
    {
        const libc_layer::Watch watch;
        EXPECT_EQ(OAL_DelEthGateWay(long_name.c_str(), "10.1.1.300"), 0x80108107u);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "OAL_DelEthGateWay: 'management-port-0001' invalid ip address, 10.1.1.300\n");
    EXPECT_THAT(libc_layer::layer().calls_of("ioctl"), IsEmpty());
}

TEST_F(Gateway, AllAreDeleted) {
    const State without = state();
    const std::string request = "ioctl SIOCDELRT 2:0.0.0.0 2:0.0.0.0 2:0.0.0.0 0x3 management-port";
    for (size_t count = 0; count <= 3; ++count) {
        for (size_t i = 0; i < count; ++i) {
            add_default("10.1.1." + std::to_string(2 + i), static_cast<int>(i));
        }
        ASSERT_EQ(state().gateways.size(), count);
        const Deletion deletion = delete_gateway("");
        EXPECT_EQ(deletion.result, 0u);
        EXPECT_EQ(deletion.said, "");
        EXPECT_THAT(deletion.requests, testing::ContainerEq(std::vector(count, request)));
        EXPECT_EQ(state(), without);
    }
}

TEST_F(Gateway, DeletingAllStopsAtTheFirstFailure) {
    // Three lines with destination 0, but half of the address space is no default route.
    add_default("10.1.1.2");
    ASSERT_TRUE(veth::ip("route add 0.0.0.0/1 via 10.1.1.4 dev " + veth::port +
                         "\nroute add 0.0.0.0/2 via 10.1.1.5 dev " + veth::port));
    const Deletion deletion = delete_gateway("");
    EXPECT_EQ(deletion.result, 0x80108106u);
    EXPECT_EQ(deletion.said,
              "OAL_DelEthGateWay: 'management-port' Error: SIOCADDRT failed, return  -1 \n");
    EXPECT_EQ(deletion.requests.size(), 2u);
    EXPECT_THAT(state().gateways, IsEmpty());
}

// ---- the table's text ----

namespace {

const char table_path[] = "/proc/net/route";
const std::string heading = "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\n";

// What the library finds in a table of this text: the first gateway and how many it counts.
struct Found {
    std::string gateway;
    size_t count;
};
Found read_table(const std::string &text) {
    const std::string path = "/var/route";
    std::ofstream(path, std::ios::binary) << text;
    libc_layer::layer().clear();
    libc_layer::layer().redirected[table_path] = path;
    // The kernel is not asked: all requests are answered with a failure, which ends the deletion.
    libc_layer::layer().fail_with = [](const std::string &call) {
        return call.starts_with("ioctl") ? EIO : 0;
    };
    char gateway[16] = "untouched";
    const libc_layer::Watch watch;
    EXPECT_EQ(OAL_GetEthGateWay("eth0", gateway), 0u);
    testing::internal::CaptureStdout();
    const size_t before = libc_layer::open_descriptors();
    OAL_DelEthGateWay("eth0", "");
    EXPECT_EQ(libc_layer::open_descriptors(), before);
    testing::internal::GetCapturedStdout();
    return {gateway, libc_layer::layer().calls_of("ioctl").size()};
}

}  // namespace

TEST(RouteTable, LinesOfAnotherFormArePassedOver) {
    const std::string good = "eth0\t00000000\t0201010A\t0003\t0\t0\n";
    const struct {
        const char *what;
        std::string text;
        const char *gateway;
        bool found;
    } tables[] = {
        {"nothing at all", "", "untouched", false},
        {"the heading alone", heading, "untouched", false},
        {"a heading without its end", "Iface", "untouched", false},
        {"the first line is never a route", good, "untouched", false},
        {"a default route", heading + good, "10.1.1.2", true},
        {"without a last line end", heading + "eth0\t00000000\t0301010A\t0003", "10.1.1.3", true},
        {"blanks in place of tabs", heading + "  eth0 0 401010a 3\n", "10.1.1.4", true},
        {"a prefix of the name", heading + "eth\t00000000\t0501010A\t0003\n", "untouched", false},
        {"a longer name", heading + "eth00\t00000000\t0501010A\t0003\n", "untouched", false},
        {"another destination", heading + "eth0\t0001010A\t0501010A\t0003\n", "untouched", false},
        {"no flags", heading + "eth0\t00000000\t0501010A\n" + good, "10.1.1.2", true},
        {"no number", heading + "eth0\tx\t0501010A\t0003\n" + good, "10.1.1.2", true},
        {"a number that breaks off", heading + "eth0\t0000g000\t0501010A\t3\n" + good, "10.1.1.2",
         true},
        {"an empty line", heading + "\n\n" + good, "10.1.1.2", true},
        {"only blanks", heading + " \t \n" + good, "10.1.1.2", true},
        {"a name of 16 characters", heading + "abcdefghijklmnop\t0\t0501010A\t3\n" + good,
         "10.1.1.2", true},
        {"a name of 300 characters", heading + std::string(300, 'e') + "\t0\t1\t3\n" + good,
         "10.1.1.2", true},
        {"a NUL in the line", heading + std::string("eth0\t0\0\t1\t3\n", 12) + good, "10.1.1.2",
         true},
        {"no text", heading + std::string("\xFF\xFE\x80\x01\x1B", 5) + "\n" + good, "10.1.1.2",
         true},
        {"a line beyond the buffer ends with it",
         heading + std::string(255, 'e') + "eth0\t0\t0701010A\t3\n", "10.1.1.7", true},
        {"a heading beyond the buffer ends with it",
         std::string(255, 'h') + "eth0\t0\t0601010A\t3\n", "10.1.1.6", true},
    };
    for (const auto &table : tables) {
        const Found found = read_table(table.text);
        EXPECT_EQ(found.gateway, table.gateway) << table.what;
        EXPECT_EQ(found.count, table.found ? 1u : 0u) << table.what;
    }
}

TEST(RouteTable, LongestAnswer) {
    EXPECT_EQ(read_table(heading + "eth0\t0\tFFFFFFFF\t3\n").gateway, "255.255.255.255");
}

TEST(RouteTable, ManyRoutes) {
    std::string table = heading;
    for (int i = 0; i < 5000; ++i) {
        table += "eth1\t00000000\t0901010A\t0003\n";
    }
    table += "eth0\t00000000\t0801010A\t0003\n";
    EXPECT_EQ(read_table(table).gateway, "10.1.1.8");
}

TEST(RouteTable, CannotBeOpened) {
    libc_layer::layer().redirected[table_path] = "/var/not-there";
    char text[16] = "untouched";
    const libc_layer::Watch watch;
    EXPECT_EQ(OAL_GetEthGateWay("eth0", text), 0x80108001u);
    EXPECT_STREQ(text, "untouched");
    EXPECT_EQ(OAL_DelEthGateWay("eth0", ""), 0x80108001u);
    EXPECT_THAT(libc_layer::layer().calls_of("ioctl"), IsEmpty());
}

TEST(RouteTable, CannotBeRead) {
    libc_layer::layer().redirected[table_path] = "/var";  // opens, but no read succeeds
    char text[16] = "untouched";
    const size_t before = libc_layer::open_descriptors();
    const libc_layer::Watch watch;
    EXPECT_EQ(OAL_GetEthGateWay("eth0", text), 0u);
    EXPECT_EQ(OAL_DelEthGateWay("eth0", ""), 0u);
    EXPECT_STREQ(text, "untouched");
    EXPECT_EQ(libc_layer::open_descriptors(), before);
}
