// Which addresses a host may have.
#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstdio>
#include <cstring>

#include "base/log.h"
#include "boardfeatures/net.h"

static constexpr char log_source[] = "vel_oal";

namespace {

bool parse(int family, const char *text, void *address) {
    return inet_pton(family, text, address) == 1;
}

// The big-endian 32-bit word `index` of an address that may lie anywhere.
uint32_t word_of(const uint8_t *address, uint32_t index) {
    const uint8_t *at = address + size_t{4} * index;
    return static_cast<uint32_t>(at[0]) << 24 | static_cast<uint32_t>(at[1]) << 16 |
           static_cast<uint32_t>(at[2]) << 8 | at[3];
}

}  // namespace

extern "C" {

int32_t OAL_IsIpv4Address(const char *text) {
    in_addr address;
    return text != nullptr && parse(AF_INET, text, &address) ? 0 : -1;
}

int32_t OAL_IsIpv6Address(const char *text) {
    in6_addr address;
    return text != nullptr && parse(AF_INET6, text, &address) ? 0 : -1;
}

int32_t OAL_IsValidIPv4Addr(const uint8_t *address) {
    if (address == nullptr) {
        return -1;
    }
    const uint8_t first = address[0];
    const bool multicast_or_reserved = first >= 224;
    const bool loopback = first == 127;
    return multicast_or_reserved || loopback || first == 0 ? -1 : 0;
}

int32_t OAL_IsValidIPv6Addr(const uint8_t *address) {
    if (address == nullptr) {
        return -1;
    }
    const bool multicast = address[0] == 0xFF;
    const bool link_local = address[0] == 0xFE && (address[1] & 0xC0) == 0x80;
    if (multicast || link_local) {
        return -1;
    }
    if (word_of(address, 0) != 0 || word_of(address, 1) != 0) {
        return 0;
    }
    const uint32_t third = word_of(address, 2);
    // What is left after a zero third word is ::, ::1 or IPv4-compatible: none is usable.
    const bool mapped_ipv4 = third == 0x0000FFFF;
    return mapped_ipv4 || third == 0 ? -1 : 0;
}

uint32_t OAL_VerifyIpAddr(const char *text) {
    if (text == nullptr) {
        return static_cast<uint32_t>(-1);
    }
    std::printf("CheckIp %s\n", text);
    uint8_t address[sizeof(in6_addr)];
    if (parse(AF_INET, text, address)) {
        return OAL_IsValidIPv4Addr(address) == 0 ? OAL_IP_IS_V4 : OAL_IP_V4_UNUSABLE;
    }
    if (parse(AF_INET6, text, address)) {
        return OAL_IsValidIPv6Addr(address) == 0 ? OAL_IP_IS_V6 : OAL_IP_V6_UNUSABLE;
    }
    return OAL_IP_NO_ADDRESS;
}

int32_t OAL_CheckDnsIpv6Server(const char *first, const char *second) {
    if (first == nullptr || second == nullptr) {
        return 0;
    }
    IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]check dns server %s and %s", log_source, __LINE__,
                         first, second);
    in6_addr a;
    in6_addr b;
    if (!parse(AF_INET6, first, &a) || !parse(AF_INET6, second, &b)) {
        return 0;
    }
    return std::memcmp(&a, &b, sizeof(a)) == 0 ? -1 : 0;
}

}  // extern "C"
