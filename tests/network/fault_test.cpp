// Every function's system calls in order, and each of them failing once: the code that tells so,
// and nothing left open.
#include <sstream>

#include "network/network_test.h"

using namespace network;

namespace {

const uint8_t mac[6] = {2, 0, 0, 0, 0, 9};
uint8_t byte;
uint8_t six_bytes[6];
uint32_t mtu;
char sixteen[16];

struct Subject {
    const char *name;
    // The calls and the last four digits of the code when the call fails; a failed close is none,
    // and a table that cannot be read is one without a route.
    const char *calls;
    std::function<uint32_t()> call;
};
void PrintTo(const Subject &subject, std::ostream *out) { *out << subject.name; }

#define UP_OR_DOWN "socket=8001 GIFFLAGS=8101 SIFFLAGS=8102 close socket=8001 GIFFLAGS=8001 close"

const Subject subjects[] = {
    {"GetEthState", "socket=8001 GIFFLAGS=8101 close", [] { return OAL_GetEthState(port, &byte); }},
    {"SetEthUp", UP_OR_DOWN, [] { return OAL_SetEthUp(port); }},
    {"SetEthDown", UP_OR_DOWN, [] { return OAL_SetEthDown(port); }},
    {"GetEthMacAddr", "socket=8001 GIFHWADDR=8103 close",
     [] { return OAL_GetEthMacAddr(port, six_bytes); }},
    {"SetEthMacAddr", UP_OR_DOWN " socket=8001 SIFHWADDR=8104 close " UP_OR_DOWN,
     [] { return OAL_SetEthMacAddr(port, mac); }},
    {"GetEthtIP", "socket=8001 GIFADDR=8105 close", [] { return OAL_GetEthtIP(port, sixteen); }},
    {"SetEthIP", "socket=8001 SIFADDR=8106 close " UP_OR_DOWN,
     [] { return OAL_SetEthIP(port, "10.1.1.1"); }},
    {"GetEthMask", "socket=8001 GIFNETMASK=8108 close",
     [] { return OAL_GetEthMask(port, sixteen); }},
    {"SetEthMask", "socket=8001 SIFNETMASK=8109 close",
     [] { return OAL_SetEthMask(port, "255.255.255.0"); }},
    {"GetEthGateWay", "fopen=8001 read fclose", [] { return OAL_GetEthGateWay(port, sixteen); }},
    {"SetEthGateWay", "socket=8001 ADDRT=8106 close",
     [] { return OAL_SetEthGateWay(port, "10.1.1.5"); }},
    {"DelEthGateWay", "socket=8001 DELRT=8106 close",
     [] { return OAL_DelEthGateWay(port, "10.1.1.2"); }},
    {"DelAllEthGateWays", "fopen=8001 read read fclose socket=8001 DELRT=8106 DELRT=8106 close",
     [] { return OAL_DelEthGateWay(port, ""); }},
    {"GetEthMTU", "socket=8001 GIFMTU=8105 close", [] { return OAL_GetEthMTU(port, &mtu); }},
};

struct Step {
    std::string call;
    uint32_t code = 0;
};
std::vector<Step> steps_of(const char *text) {
    std::vector<Step> steps;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const size_t equals = word.find('=');
        Step step{word.substr(0, equals)};
        if (equals != word.npos) {
            step.code = 0x80100000u + std::stoul(word.substr(equals + 1), nullptr, 16);
        }
        if (std::isupper(step.call[0])) {
            step.call = "ioctl SIOC" + step.call;
        } else if (step.call == "socket") {
            step.call = "socket 2 2 0";  // AF_INET, SOCK_DGRAM
        } else if (step.call == "fopen") {
            step.call = "fopen /proc/net/route r";
        }
        steps.push_back(step);
    }
    return steps;
}

}  // namespace

class NetworkFaults : public Network, public testing::WithParamInterface<Subject> {
protected:
    // An address, two default routes, up.
    static void prepare() {
        veth::ip("link set " + veth::port + " down");
        veth::ip("addr flush dev " + veth::port);
        bring_up();
        add_default("10.1.1.2", 0);
        add_default("10.1.1.3", 1);
        libc_layer::layer().clear();
        libc_layer::layer().transfers = true;
    }
    static uint32_t run() {
        testing::internal::CaptureStdout();
        uint32_t result = 0;
        {
            const libc_layer::Watch watch;
            result = GetParam().call();
        }
        testing::internal::GetCapturedStdout();
        return result;
    }
};

INSTANTIATE_TEST_SUITE_P(, NetworkFaults, testing::ValuesIn(subjects),
                         [](const auto &row) { return row.param.name; });

TEST_P(NetworkFaults, CodeOfEachAndNothingLeftOpen) {
    const std::vector<Step> steps = steps_of(GetParam().calls);
    prepare();
    const size_t descriptors = libc_layer::open_descriptors();
    EXPECT_EQ(run(), 0u);
    EXPECT_EQ(libc_layer::open_descriptors(), descriptors);
    const std::vector<std::string> calls = libc_layer::layer().calls;
    ASSERT_EQ(calls.size(), steps.size()) << testing::PrintToString(calls);
    for (size_t i = 0; i < steps.size(); ++i) {
        EXPECT_TRUE(calls[i].starts_with(steps[i].call)) << calls[i];
    }
    for (size_t i = 0; i < steps.size(); ++i) {
        prepare();
        libc_layer::layer().fail_call = i + 1;
        EXPECT_EQ(run(), steps[i].code) << calls[i];
        EXPECT_EQ(libc_layer::open_descriptors(), descriptors) << calls[i];
        // A failure ends the function; what was open is closed.
        if (steps[i].code != 0) {
            const bool is_open =
                !steps[i].call.starts_with("socket") && !steps[i].call.starts_with("fopen");
            EXPECT_EQ(libc_layer::layer().calls.size(), i + (is_open ? 2 : 1)) << calls[i];
        }
    }
}
