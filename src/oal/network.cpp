// Network interfaces, through ioctls on a socket of each call, and the routing table.
#include <arpa/inet.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <net/route.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstring>

#include "base/stream.h"
#include "boardfeatures/net.h"

namespace {

constexpr uint32_t ok = 0;
constexpr char route_path[] = "/proc/net/route";

struct InterfaceName {
    char text[IFNAMSIZ];
};
InterfaceName name_of(const char *name) {
    InterfaceName cut = {};
    std::memcpy(cut.text, name, strnlen(name, sizeof(cut.text) - 1));
    return cut;
}

ifreq request_for(const char *name) {
    ifreq request = {};
    const InterfaceName cut = name_of(name);
    std::memcpy(request.ifr_name, cut.text, sizeof(cut.text));
    return request;
}

// One request on a socket of its own: OAL_NET_FAILED without a socket, `failure` when refused.
uint32_t ask(ifreq &request, unsigned long what, uint32_t failure) {
    const bf::Descriptor link(socket(AF_INET, SOCK_DGRAM, 0));
    if (!link) {
        return OAL_NET_FAILED;
    }
    return ioctl(link.get(), what, &request) < 0 ? failure : ok;
}

// Requests carry IPv4 addresses in a generic socket address.
void put_address(sockaddr &target, in_addr address) {
    sockaddr_in typed = {};
    typed.sin_family = AF_INET;
    typed.sin_addr = address;
    std::memcpy(&target, &typed, sizeof(target));
}
in_addr address_in(const sockaddr &source) {
    sockaddr_in typed;
    std::memcpy(&typed, &source, sizeof(typed));
    return typed.sin_addr;
}

uint32_t give_text(in_addr address, char *text) {
    return inet_ntop(AF_INET, &address, text, OAL_ADDRESS_TEXT_SIZE) == nullptr ? OAL_NET_BAD_TEXT
                                                                                : ok;
}

// A dotted quad; an empty text is 0.0.0.0 where that is allowed.
bool parse_address(const char *text, bool may_be_empty, in_addr *address) {
    if (text[0] == '\0') {
        *address = {};
        return may_be_empty;
    }
    return inet_aton(text, address) != 0;
}

uint32_t get_address(const char *name, unsigned long what, uint32_t failure, char *text) {
    if (name == nullptr || text == nullptr) {
        return OAL_NET_NULL;
    }
    ifreq request = request_for(name);
    const uint32_t result = ask(request, what, failure);
    return result == ok ? give_text(address_in(request.ifr_addr), text) : result;
}

uint32_t set_address(const char *name, const char *text, bool may_be_empty, unsigned long what,
                     uint32_t failure) {
    if (name == nullptr || text == nullptr) {
        return OAL_NET_NULL;
    }
    in_addr address;
    if (!parse_address(text, may_be_empty, &address)) {
        return OAL_NET_BAD_TEXT;
    }
    ifreq request = request_for(name);
    put_address(request.ifr_addr, address);
    return ask(request, what, failure);
}

// Sets and clears interface flags, which the kernel keeps as 16 bits.
uint32_t change_flags(const char *name, short set, short clear) {
    const bf::Descriptor link(socket(AF_INET, SOCK_DGRAM, 0));
    if (!link) {
        return OAL_NET_FAILED;
    }
    ifreq request = request_for(name);
    if (ioctl(link.get(), SIOCGIFFLAGS, &request) < 0) {
        return OAL_NET_GET_FLAGS;
    }
    request.ifr_flags = static_cast<short>((request.ifr_flags | set) & ~clear);
    return ioctl(link.get(), SIOCSIFFLAGS, &request) < 0 ? OAL_NET_SET_FLAGS : ok;
}

uint32_t change_state(const char *name, short set, short clear, bool wanted_up) {
    if (name == nullptr) {
        return OAL_NET_NULL;
    }
    const uint32_t result = change_flags(name, set, clear);
    if (result != ok) {
        return result;
    }
    uint8_t up = 0;
    if (OAL_GetEthState(name, &up) != ok || (up != 0) != wanted_up) {
        return OAL_NET_FAILED;
    }
    return ok;
}

// ---- routes ----

// Calls `visit` with the gateway of each default route of an interface until it returns false.
// Lines that are not of the table's form are passed over. False when the table cannot be opened.
template <typename Visit>
bool visit_default_routes(const char *name, Visit visit) {
    const bf::Stream table(route_path, "r");
    if (!table) {
        return false;
    }
    const InterfaceName wanted = name_of(name);
    char line[256];
    if (std::fgets(line, sizeof(line), table.get()) == nullptr) {
        return true;  // not even the heading
    }
    while (std::fgets(line, sizeof(line), table.get()) != nullptr) {
        char interface[IFNAMSIZ] = {};
        unsigned long destination = 0;
        unsigned long gateway = 0;
        unsigned long flags = 0;
        if (std::sscanf(line, "%15s\t%lx\t%lx\t%lx", interface, &destination, &gateway, &flags) !=
                4 ||
            std::strcmp(interface, wanted.text) != 0 || destination != 0) {
            continue;
        }
        if (!visit(in_addr{static_cast<in_addr_t>(gateway)})) {
            break;
        }
    }
    return true;
}

// The entry of a default route. `device` must outlive it.
rtentry default_route(in_addr gateway, InterfaceName &device) {
    rtentry route = {};
    put_address(route.rt_dst, {});
    put_address(route.rt_genmask, {});
    put_address(route.rt_gateway, gateway);
    route.rt_flags = RTF_UP | RTF_GATEWAY;
    route.rt_dev = device.text;
    return route;
}

}  // namespace

extern "C" {

// ---- state ----

uint32_t OAL_GetEthState(const char *name, uint8_t *up) {
    if (name == nullptr || up == nullptr) {
        return OAL_NET_NULL;
    }
    ifreq request = request_for(name);
    const uint32_t result = ask(request, SIOCGIFFLAGS, OAL_NET_GET_FLAGS);
    if (result == ok) {
        *up = (request.ifr_flags & IFF_UP) != 0 ? 1 : 0;
    }
    return result;
}

uint32_t OAL_SetEthUp(const char *name) {
    return change_state(name, IFF_UP | IFF_RUNNING, 0, true);
}
uint32_t OAL_SetEthDown(const char *name) { return change_state(name, 0, IFF_UP, false); }

uint32_t OAL_GetEthMTU(const char *name, uint32_t *mtu) {
    if (name == nullptr || mtu == nullptr) {
        return OAL_NET_NULL;
    }
    ifreq request = request_for(name);
    const uint32_t result = ask(request, SIOCGIFMTU, OAL_NET_GET_ADDRESS);
    if (result == ok) {
        *mtu = static_cast<uint32_t>(request.ifr_mtu);
    }
    return result;
}

// ---- addresses ----

uint32_t OAL_GetEthMacAddr(const char *name, uint8_t *mac) {
    if (name == nullptr || mac == nullptr) {
        return OAL_NET_NULL;
    }
    ifreq request = request_for(name);
    const uint32_t result = ask(request, SIOCGIFHWADDR, OAL_NET_GET_MAC);
    if (result == ok) {
        std::memcpy(mac, request.ifr_hwaddr.sa_data, OAL_MAC_SIZE);
    }
    return result;
}

uint32_t OAL_SetEthMacAddr(const char *name, const uint8_t *mac) {
    if (name == nullptr || mac == nullptr) {
        return OAL_NET_NULL;
    }
    uint32_t result = OAL_SetEthDown(name);
    if (result != ok) {
        return result;
    }
    ifreq request = request_for(name);
    request.ifr_hwaddr.sa_family = ARPHRD_ETHER;
    std::memcpy(request.ifr_hwaddr.sa_data, mac, OAL_MAC_SIZE);
    result = ask(request, SIOCSIFHWADDR, OAL_NET_SET_MAC);
    return result == ok ? OAL_SetEthUp(name) : result;
}

uint32_t OAL_GetEthtIP(const char *name, char *text) {
    return get_address(name, SIOCGIFADDR, OAL_NET_GET_ADDRESS, text);
}
uint32_t OAL_SetEthIP(const char *name, const char *text) {
    const uint32_t result = set_address(name, text, true, SIOCSIFADDR, OAL_NET_SET_ADDRESS);
    return result == ok ? OAL_SetEthUp(name) : result;
}

uint32_t OAL_GetEthMask(const char *name, char *text) {
    return get_address(name, SIOCGIFNETMASK, OAL_NET_GET_MASK, text);
}
uint32_t OAL_SetEthMask(const char *name, const char *text) {
    return set_address(name, text, false, SIOCSIFNETMASK, OAL_NET_SET_MASK);
}

// ---- gateways ----

uint32_t OAL_GetEthGateWay(const char *name, char *text) {
    if (name == nullptr || text == nullptr) {
        return OAL_NET_NULL;
    }
    uint32_t result = ok;
    const bool read = visit_default_routes(name, [&](in_addr gateway) {
        result = give_text(gateway, text);
        return false;
    });
    return read ? result : OAL_NET_FAILED;
}

uint32_t OAL_SetEthGateWay(const char *name, const char *text) {
    if (name == nullptr || text == nullptr) {
        return OAL_NET_NULL;
    }
    in_addr gateway;
    if (!parse_address(text, true, &gateway)) {
        return OAL_NET_BAD_TEXT;
    }
    InterfaceName device = name_of(name);
    rtentry route = default_route(gateway, device);
    const bf::Descriptor link(socket(AF_INET, SOCK_DGRAM, 0));
    if (!link) {
        return OAL_NET_FAILED;
    }
    return ioctl(link.get(), SIOCADDRT, &route) < 0 ? OAL_NET_SET_ADDRESS : ok;
}

uint32_t OAL_DelEthGateWay(const char *name, const char *text) {
    if (name == nullptr || text == nullptr) {
        return OAL_NET_NULL;
    }
    in_addr gateway = {};
    int count = 1;
    if (text[0] == '\0') {
        count = 0;
        const bool read = visit_default_routes(name, [&](in_addr) {
            ++count;
            return true;
        });
        if (!read) {
            return OAL_NET_FAILED;
        }
        if (count == 0) {
            return ok;
        }
    } else if (!parse_address(text, false, &gateway)) {
        std::printf("%s: '%s' invalid ip address, %s\n", __func__, name, text);
        return OAL_NET_BAD_TEXT;
    }
    InterfaceName device = name_of(name);
    rtentry route = default_route(gateway, device);
    const bf::Descriptor link(socket(AF_INET, SOCK_DGRAM, 0));
    if (!link) {
        return OAL_NET_FAILED;
    }
    for (; count > 0; --count) {
        const int result = ioctl(link.get(), SIOCDELRT, &route);
        if (result < 0) {
            std::printf("%s: '%s' Error: SIOCADDRT failed, return  %d \n", __func__, name, result);
            return OAL_NET_SET_ADDRESS;
        }
    }
    return ok;
}

}  // extern "C"
