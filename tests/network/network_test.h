// The interface that the tests change.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "boardfeatures/net.h"
#include "support/libc_layer.h"
#include "support/veth_pair.h"

namespace network {

inline const char *const port = veth::port.c_str();
// Used up to their first 15 characters.
inline const std::string long_name = veth::port + "-0001";
static_assert(sizeof("management-port-0001") - 1 == 20);

class Network : public veth::Pair {
protected:
    void TearDown() override { libc_layer::layer().clear(); }

    static veth::State state() { return veth::state_of(veth::port); }
    // Up with an address, and the network beyond it up as well.
    static void bring_up() {
        ASSERT_TRUE(veth::ip("addr add 10.1.1.1/24 dev " + veth::port + "\nlink set " + veth::port +
                             " up\nlink set " + veth::peer + " up\n"));
    }
    static void add_default(const std::string &gateway, int metric = 0) {
        ASSERT_TRUE(veth::ip("route add default via " + gateway + " dev " + veth::port +
                             " metric " + std::to_string(metric)));
    }
};

}  // namespace network
