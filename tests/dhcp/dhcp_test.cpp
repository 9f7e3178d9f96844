// The DHCP client as it is: busybox at both ends of a pair of interfaces, the server in a network
// of its own.
#include <gmock/gmock.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "boardfeatures/net.h"
#include "support/child_process.h"
#include "support/libc_layer.h"
#include "support/veth_pair.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

namespace fs = std::filesystem;

const char events_path[] = "/var/events";
const char leases_path[] = "/var/leases";

std::string text_of(const fs::path &path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

// Waits for what another process does; it takes a second at most but under emulation.
bool comes_true(const std::function<bool()> &condition) {
    for (int i = 0; i < 600; ++i) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

// What is printed on standard output by a call, by its child too.
std::string said_by(const std::function<void()> &call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

std::vector<std::string> arguments_of(pid_t process) {
    std::vector<std::string> arguments;
    std::istringstream text(text_of("/proc/" + std::to_string(process) + "/cmdline"));
    for (std::string argument; std::getline(text, argument, '\0');) {
        arguments.push_back(argument);
    }
    return arguments;
}

bool is_client(pid_t process) {
    const std::vector<std::string> arguments = arguments_of(process);
    return !arguments.empty() && arguments[0] == "busybox";
}

// A child that has ended, not yet waited for.
bool has_ended(pid_t process) {
    siginfo_t info = {};
    return waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == process;
}

// The client of the sandbox, which nobody knows the id of.
pid_t find_client() {
    for (const auto &entry : fs::directory_iterator("/proc")) {
        const pid_t id = std::atoi(entry.path().filename().c_str());
        if (id > 0 && is_client(id)) {
            return id;
        }
    }
    return 0;
}

bool has_children() {
    siginfo_t info = {};
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

// /etc of this test alone, with the script that the client calls.
void make_script() {
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", "/etc", "tmpfs", 0, nullptr) != 0) {
        GTEST_SKIP() << "no right to mount (CAP_SYS_ADMIN)";
    }
    std::ofstream("/etc/udhcpc.script")
        << "#!/bin/sh\n"
           "case $1 in\n"
           "bound|renew) /bin/busybox ifconfig $interface $ip netmask $subnet ;;\n"
           "deconfig) /bin/busybox ifconfig $interface 0.0.0.0 ;;\n"
           "esac\n"
           "echo $1 $ip >>/var/events\n";
    ASSERT_EQ(chmod("/etc/udhcpc.script", 0755), 0);
}

}  // namespace

// ---- without a server ----

class Dhcp : public veth::Pair {
protected:
    void SetUp() override {
        Pair::SetUp();
        if (!IsSkipped()) {
            make_script();
        }
        if (!IsSkipped()) {
            ASSERT_TRUE(veth::ip("link set " + veth::port + " up\nlink set " + veth::peer + " up"));
        }
    }
    void TearDown() override {
        libc_layer::layer().clear();
        if (client_ > 0) {
            kill(client_, SIGKILL);
            waitpid(client_, nullptr, 0);
        }
    }
    // What it says; the process id in client_.
    std::string start(const std::string &host) {
        return said_by([&] {
            client_ = OAL_StartDhcp(veth::port.c_str(), host.c_str());
            EXPECT_TRUE(client_ <= 0 || comes_true([&] { return is_client(client_); }));
        });
    }

    // Starts a client whose exec fails: the exit status of the child, which goes on behind the call
    // with its result.
    static int without_busybox(const std::string &name, const std::function<int(int32_t)> &child) {
        const child_process::Signpost seen_alive;
        libc_layer::layer().before = [&](const std::string &call) {
            if (call.starts_with("execl /bin/busybox ")) {
                seen_alive.wait();
            }
        };
        libc_layer::layer().fail_with = [](const std::string &call) {
            return call.starts_with("execl /bin/busybox ") ? ENOENT : 0;
        };
        const pid_t parent = getpid();
        int32_t result = 0;
        {
            const libc_layer::Watch watch;
            result = OAL_StartDhcp(name.c_str(), "bmc");
        }
        if (getpid() != parent) {
            _exit(child(result));
        }
        EXPECT_GT(result, 0);
        seen_alive.reach();
        int status = 0;
        EXPECT_EQ(waitpid(result, &status, 0), result);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    int32_t client_ = 0;
};

TEST_F(Dhcp, CommandOfTheClient) {
    const std::string said = start("bmc");
    ASSERT_GT(client_, 0);
    EXPECT_EQ(said, "create pid " + std::to_string(client_) + "!\n");
    EXPECT_THAT(arguments_of(client_),
                ElementsAre("busybox", "udhcpc", "-i", veth::port, "-x", "hostname:bmc", "-s",
                            "/etc/udhcpc.script", "-f"));
    EXPECT_EQ(fs::read_symlink("/proc/" + std::to_string(client_) + "/exe").filename(), "busybox");
}

// The client has a rule of its own for them.
TEST_F(Dhcp, LongInterfaceNameIsHandedOn) {
    EXPECT_EQ(without_busybox("management-port-0001",
                              [](int32_t) {
                                  const auto calls = libc_layer::layer().calls_of("execl /bin/");
                                  return calls.size() == 1 &&
                                                 calls[0].find(" -i management-port-0001 ") !=
                                                     std::string::npos
                                             ? 42
                                             : 1;
                              }),
              42);
}

TEST_F(Dhcp, LongHostNameIsCut) {
    // 75 bytes hold the option's name, 65 characters and the end.
    for (const size_t length : {65u, 66u, 75u, 500u}) {
        std::string name(length, 'n');
        name[64] = 'E';
        start(name);
        ASSERT_GT(client_, 0);
        EXPECT_EQ(arguments_of(client_).at(5), "hostname:" + std::string(64, 'n') + "E") << length;
        TearDown();
    }
}

TEST_F(Dhcp, OutputOfTheProgramIsNotPrintedTwice) {
    const std::string said = said_by([&] {
        std::printf("pending");
        client_ = OAL_StartDhcp(veth::port.c_str(), "bmc");
        EXPECT_TRUE(comes_true([&] { return is_client(client_); }));
    });
    EXPECT_EQ(said, "pendingcreate pid " + std::to_string(client_) + "!\n");
}

TEST_F(Dhcp, ClientThatEndsAtOnce) {
    // On an interface that is not there it ends; the look at it comes after that.
    int32_t result = 0;
    libc_layer::layer().before = [](const std::string &call) {
        if (call.starts_with("waitpid")) {
            siginfo_t info = {};
            waitid(P_ALL, 0, &info, WEXITED | WNOWAIT);
        }
    };
    const std::string said = said_by([&] {
        const libc_layer::Watch watch;
        result = OAL_StartDhcp("nothing", "bmc");
    });
    EXPECT_EQ(result, -1);
    EXPECT_THAT(said, testing::MatchesRegex("create pid [0-9]+!\npid return !"));
    EXPECT_THAT(libc_layer::layer().calls_of("waitpid"), ElementsAre("waitpid 1"));  // WNOHANG
    EXPECT_FALSE(has_children()) << "it was waited for";
}

TEST_F(Dhcp, NoProcessToBeHad) {
    libc_layer::layer().fail_with = [](const std::string &call) {
        return call == "fork" ? EAGAIN : 0;
    };
    int32_t result = 0;
    EXPECT_EQ(said_by([&] {
                  const libc_layer::Watch watch;
                  result = OAL_StartDhcp(veth::port.c_str(), "bmc");
              }),
              "create pid fail!");
    EXPECT_EQ(result, -1);
    EXPECT_FALSE(has_children());
}

TEST_F(Dhcp, FailedWaitIsTakenForAnEnd) {
    libc_layer::layer().fail_with = [](const std::string &call) {
        return call.starts_with("waitpid") ? ECHILD : 0;
    };
    int32_t result = 0;
    const std::string said = said_by([&] {
        const libc_layer::Watch watch;
        result = OAL_StartDhcp(veth::port.c_str(), "bmc");
        // The client lives on; the library has lost sight of it.
        EXPECT_TRUE(comes_true([&] { return (client_ = find_client()) > 0; }));
    });
    EXPECT_EQ(result, -1);
    EXPECT_THAT(said, HasSubstr("pid return !"));
}

TEST_F(Dhcp, WithoutBusyboxTheChildGoesOnWithAFailure) {
    EXPECT_EQ(without_busybox(veth::port, [](int32_t result) { return result == -1 ? 42 : 1; }),
              42);
}

// ---- signals ----

TEST_F(Dhcp, StopOfALiveAndOfAnEndedClient) {
    start("bmc");
    ASSERT_GT(client_, 0);
    int32_t result = 0;
    EXPECT_EQ(said_by([&] { result = OAL_StopDhcp(client_); }), "");
    EXPECT_EQ(result, -1);  // success: a stop answers the other way round
    int status = 0;
    EXPECT_EQ(waitpid(client_, &status, 0), client_);
    EXPECT_EQ(said_by([&] { result = OAL_StopDhcp(client_); }), "OAL_StopDhcp\tINVALID_PID\n");
    EXPECT_EQ(result, client_);
    EXPECT_EQ(OAL_RenewDhcp(client_), 0xFFFFFFFFu);
    EXPECT_EQ(OAL_ReleaseDhcp(client_), 0xFFFFFFFFu);
    client_ = 0;
}

TEST(DhcpSignals, OneOfEachKind) {
    const std::pair<int, std::function<int64_t(pid_t)>> signals[] = {
        {SIGTERM, [](pid_t id) { return OAL_StopDhcp(id) == -1 ? 0 : 1; }},
        {SIGUSR1, [](pid_t id) { return OAL_RenewDhcp(id); }},
        {SIGUSR2, [](pid_t id) { return OAL_ReleaseDhcp(id); }},
    };
    for (const auto &[signal, send] : signals) {
        child_process::Child child([] {
            pause();
            return 0;
        });
        EXPECT_EQ(send(child.id()), 0);
        EXPECT_EQ(child.wait(), 128 + signal);
    }
}

TEST(DhcpSignals, NoneToWhatIsNoClient) {
    // 0 and below would reach whole groups of processes: this one's must not be its runner's.
    setpgid(0, 0);
    for (const int32_t id : {-1, 0, -2, INT32_MIN}) {
        const libc_layer::Watch watch;
        libc_layer::layer().calls.clear();
        int32_t stopped = 0;
        uint32_t result = 0;
        EXPECT_EQ(said_by([&] { result = OAL_RenewDhcp(id); }), "OAL_RenewDhcp\tINVALID_PID\n");
        EXPECT_EQ(result, 0x80108001u);
        EXPECT_EQ(said_by([&] { result = OAL_ReleaseDhcp(id); }), "OAL_ReleaseDhcp\tINVALID_PID\n");
        EXPECT_EQ(result, 0x80108001u);
        EXPECT_EQ(said_by([&] { stopped = OAL_StopDhcp(id); }), "OAL_StopDhcp\tINVALID_PID\n");
        EXPECT_EQ(stopped, id);
        EXPECT_THAT(libc_layer::layer().calls_of("kill"), IsEmpty());
    }
}

// ---- with a server ----

class Lease : public Dhcp {
protected:
    void SetUp() override {
        Dhcp::SetUp();
        if (IsSkipped()) {
            return;
        }
        std::ofstream("/var/udhcpd.conf") << "interface " << veth::peer
                                          << "\nstart 10.9.0.50\nend 10.9.0.50\n"
                                             "option subnet 255.255.0.0\noption lease 3600\n"
                                             "auto_time 1\nlease_file "
                                          << leases_path << "\npidfile /var/udhcpd.pid\n";
        std::ofstream(leases_path).close();
        server_.emplace([this] {
            if (unshare(CLONE_NEWNET) != 0) {
                return 1;
            }
            alone_.reach();
            connected_.wait();
            if (!veth::ip("addr add 10.9.0.1/16 dev " + veth::peer + "\nlink set " + veth::peer +
                          " up")) {
                return 2;
            }
            execl("/bin/busybox", "busybox", "udhcpd", "-f", "-a", "1", "/var/udhcpd.conf",
                  static_cast<char *>(nullptr));
            return 3;
        });
        alone_.wait();
        ASSERT_TRUE(veth::ip("link set " + veth::peer + " netns " + std::to_string(server_->id())));
        connected_.reach();
        ASSERT_TRUE(comes_true([] { return fs::exists("/var/udhcpd.pid"); }));
    }
    static bool event(const std::string &line) {
        return comes_true(
            [&] { return text_of(events_path).find(line + "\n") != std::string::npos; });
    }
    // The server keeps its leases in a file, the clients' names in them.
    static std::string leases() { return text_of(leases_path); }

private:
    child_process::Signpost alone_;
    child_process::Signpost connected_;
    std::optional<child_process::Child> server_;
};

TEST_F(Lease, IsObtainedRenewedReleasedAndEnds) {
    start("rack-seven-bmc");
    ASSERT_GT(client_, 0);
    ASSERT_TRUE(event("bound 10.9.0.50")) << text_of(events_path);
    EXPECT_THAT(veth::state_of(veth::port).addresses, ElementsAre("10.9.0.50/16"));
    // What the library reads is what the lease says.
    char text[16] = "";
    EXPECT_EQ(OAL_GetEthtIP(veth::port.c_str(), text), 0u);
    EXPECT_STREQ(text, "10.9.0.50");
    EXPECT_TRUE(comes_true([] { return leases().find("rack-seven-bmc") != std::string::npos; }));

    EXPECT_EQ(OAL_RenewDhcp(client_), 0u);
    EXPECT_TRUE(event("renew 10.9.0.50")) << text_of(events_path);
    EXPECT_THAT(veth::state_of(veth::port).addresses, ElementsAre("10.9.0.50/16"));

    fs::remove(events_path);
    EXPECT_EQ(OAL_ReleaseDhcp(client_), 0u);
    EXPECT_TRUE(event("deconfig")) << text_of(events_path);
    EXPECT_THAT(veth::state_of(veth::port).addresses, IsEmpty());
    EXPECT_FALSE(has_ended(client_));  // a released client waits to be told to renew

    EXPECT_EQ(OAL_RenewDhcp(client_), 0u);
    EXPECT_TRUE(event("bound 10.9.0.50")) << text_of(events_path);

    EXPECT_EQ(OAL_StopDhcp(client_), -1);
    EXPECT_TRUE(comes_true([&] { return has_ended(client_); }));
}

TEST_F(Lease, WithALongHostName) {
    start(std::string(75, 'n'));
    ASSERT_GT(client_, 0);
    EXPECT_TRUE(event("bound 10.9.0.50")) << text_of(events_path);
}
