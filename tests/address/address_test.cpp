// Which addresses a host may have.
#include <arpa/inet.h>

#include <cstring>

#include "boardfeatures/net.h"
#include "support/scripted_platform.h"

using scripted::platform;
using testing::IsEmpty;

namespace {

constexpr uint32_t no_address = 0x80108501;
constexpr uint32_t unusable_v4 = 0x80108502;
constexpr uint32_t unusable_v6 = 0x80108503;

struct Judged {
    uint32_t result;
    std::string said;
};
Judged judge(const std::string &text) {
    Judged judged;
    testing::internal::CaptureStdout();
    judged.result = OAL_VerifyIpAddr(text.c_str());
    judged.said = testing::internal::GetCapturedStdout();
    return judged;
}

int32_t usable_v6(const char *text) {
    // At an odd address, as in the middle of a message.
    uint8_t buffer[17];
    EXPECT_EQ(inet_pton(AF_INET6, text, buffer + 1), 1) << text;
    return OAL_IsValidIPv6Addr(buffer + 1);
}

}  // namespace

TEST(Ipv4, FirstByteDecides) {
    for (unsigned first = 0; first < 256; ++first) {
        const bool usable = first != 0 && first != 127 && first < 224;
        for (const unsigned rest : {0x000000u, 0x000001u, 0x808080u, 0xFFFFFEu, 0xFFFFFFu}) {
            const uint8_t address[4] = {
                static_cast<uint8_t>(first), static_cast<uint8_t>(rest >> 16),
                static_cast<uint8_t>(rest >> 8), static_cast<uint8_t>(rest)};
            EXPECT_EQ(OAL_IsValidIPv4Addr(address), usable ? 0 : -1) << first << " " << rest;
        }
    }
    EXPECT_EQ(OAL_IsValidIPv4Addr(nullptr), -1);
}

TEST(Ipv6, FirstTwoBytesDecideForMost) {
    for (unsigned prefix = 0; prefix < 0x10000; ++prefix) {
        uint8_t address[17] = {};
        address[1] = static_cast<uint8_t>(prefix >> 8);
        address[2] = static_cast<uint8_t>(prefix);
        address[16] = 9;
        // multicast; link-local fe80 to febf; ::9
        const bool usable =
            prefix < 0xFF00 && !(prefix >= 0xFE80 && prefix <= 0xFEBF) && prefix != 0;
        ASSERT_EQ(OAL_IsValidIPv6Addr(address + 1), usable ? 0 : -1) << std::hex << prefix;
    }
    EXPECT_EQ(OAL_IsValidIPv6Addr(nullptr), -1);
}

TEST(Ipv6, EachBitAlone) {
    // Below the first byte, one bit set anywhere in the first twelve bytes makes it usable.
    for (int bit = 0; bit < 128; ++bit) {
        uint8_t address[16] = {};
        address[bit / 8] = static_cast<uint8_t>(0x80 >> (bit % 8));
        EXPECT_EQ(OAL_IsValidIPv6Addr(address), bit < 96 ? 0 : -1) << bit;
    }
}

TEST(Ipv6, Kinds) {
    const std::pair<const char *, int32_t> kinds[] = {
        {"::", -1},
        {"::1", -1},
        {"::2", -1},
        {"::10.0.0.1", -1},
        {"::255.255.255.255", -1},
        {"::ffff:10.0.0.1", -1},
        {"::ffff:0.0.0.0", -1},
        {"::fffe:10.0.0.1", 0},
        {"::1:ffff:10.0.0.1", 0},
        {"0:0:0:1:0:ffff:a00:1", 0},
        {"0:1::", 0},
        {"1::", 0},
        {"ff00::", -1},
        {"ff02::1", -1},
        {"ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", -1},
        {"fe80::", -1},
        {"fe80::1", -1},
        {"febf:ffff::1", -1},
        {"fe7f:ffff::1", 0},
        {"fec0::1", 0},
        {"fc00::1", 0},
        {"fe00::1", 0},
        {"2001:db8::1", 0},
        {"64:ff9b::10.0.0.1", 0},
    };
    for (const auto &[text, result] : kinds) {
        EXPECT_EQ(usable_v6(text), result) << text;
    }
}

TEST(AddressTexts, Kinds) {
    const struct {
        std::string text;
        int32_t v4, v6;
        uint32_t verdict;
    } texts[] = {
        {"127.0.0.1", 0, -1, unusable_v4},
        {"0.1.2.3", 0, -1, unusable_v4},
        {"0.0.0.0", 0, -1, unusable_v4},
        {"1.0.0.0", 0, -1, 1},
        {"10.0.0.1", 0, -1, 1},
        {"223.255.255.255", 0, -1, 1},
        {"224.0.0.1", 0, -1, unusable_v4},
        {"255.255.255.255", 0, -1, unusable_v4},
        {"fe80::1", -1, 0, unusable_v6},
        {"fec0::1", -1, 0, 2},
        {"::ffff:10.0.0.1", -1, 0, unusable_v6},
        {"::10.0.0.1", -1, 0, unusable_v6},
        {"2001:db8::1", -1, 0, 2},
        {"2001:DB8::A", -1, 0, 2},
        {"1:2:3:4:5:6:7:8", -1, 0, 2},
        {"1:2:3:4:5:6:7::", -1, 0, 2},
        {"abc", -1, -1, no_address},
        {"", -1, -1, no_address},
        // forms that other readers of addresses take
        {"10.1", -1, -1, no_address},
        {"0x0a.0.0.1", -1, -1, no_address},
        {"010.0.0.1", -1, -1, no_address},
        {"10.0.0.1 ", -1, -1, no_address},
        {" 10.0.0.1", -1, -1, no_address},
        {"10.0.0.1.", -1, -1, no_address},
        {"10.0.0.256", -1, -1, no_address},
        {"10.0.0.1/24", -1, -1, no_address},
        {"fe80::1%eth0", -1, -1, no_address},
        {"[2001:db8::1]", -1, -1, no_address},
        {"1:2:3:4:5:6:7", -1, -1, no_address},
        {"1:2:3:4:5:6:7:8:9", -1, -1, no_address},
        {"1::2::3", -1, -1, no_address},
        {"12345::", -1, -1, no_address},
        {":1", -1, -1, no_address},
        {std::string(5000, '1'), -1, -1, no_address},
    };
    for (const auto &row : texts) {
        EXPECT_EQ(OAL_IsIpv4Address(row.text.c_str()), row.v4) << row.text;
        EXPECT_EQ(OAL_IsIpv6Address(row.text.c_str()), row.v6) << row.text;
        const Judged judged = judge(row.text);
        EXPECT_EQ(judged.result, row.verdict) << row.text;
        EXPECT_EQ(judged.said, "CheckIp " + row.text + "\n");
    }
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(AddressTexts, EveryFirstNumber) {
    for (unsigned first = 0; first < 300; ++first) {
        const uint32_t expected = first > 255                                  ? no_address
                                  : first == 0 || first == 127 || first >= 224 ? unusable_v4
                                                                               : 1;
        EXPECT_EQ(judge(std::to_string(first) + ".2.3.4").result, expected) << first;
    }
}

TEST(AddressTexts, Null) {
    EXPECT_EQ(OAL_IsIpv4Address(nullptr), -1);
    EXPECT_EQ(OAL_IsIpv6Address(nullptr), -1);
    testing::internal::CaptureStdout();
    EXPECT_EQ(OAL_VerifyIpAddr(nullptr), 0xFFFFFFFFu);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(DnsServers, SameAddressInTwoSpellings) {
    const struct {
        const char *first, *second;
        int32_t result;
    } pairs[] = {
        {"2001:db8::1", "2001:0db8:0::1", -1},
        {"2001:db8::1", "2001:db8::1", -1},
        {"2001:DB8::A", "2001:db8::a", -1},
        {"::ffff:10.0.0.1", "::ffff:a00:1", -1},
        {"2001:db8::1", "2001:db8::2", 0},
        {"2001:db8::1", "3001:db8::1", 0},
        {"10.0.0.1", "10.0.0.1", 0},  // IPv4 is not compared
        {"2001:db8::1", "10.0.0.1", 0},
        {"", "", 0},
        {"same", "same", 0},
        {"2001:db8::1", "2001:db8::1 ", 0},
    };
    for (const auto &pair : pairs) {
        platform().clear_record();
        EXPECT_EQ(OAL_CheckDnsIpv6Server(pair.first, pair.second), pair.result)
            << pair.first << " " << pair.second;
        ASSERT_EQ(platform().messages.size(), 1u);
        const scripted::Message &message = platform().messages[0];
        EXPECT_EQ(message.channel, "dbgout");
        EXPECT_EQ(message.number, 130u);
        EXPECT_EQ(message.source, "vel_oal");
        EXPECT_GT(message.line, 0);
        EXPECT_EQ(message.text,
                  std::string("check dns server ") + pair.first + " and " + pair.second);
    }
    platform().clear_record();
    EXPECT_EQ(OAL_CheckDnsIpv6Server(nullptr, "2001:db8::1"), 0);
    EXPECT_EQ(OAL_CheckDnsIpv6Server("2001:db8::1", nullptr), 0);
    EXPECT_EQ(OAL_CheckDnsIpv6Server(nullptr, nullptr), 0);
    EXPECT_THAT(platform().messages, IsEmpty());
}
