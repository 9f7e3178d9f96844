// The DHCP client, a busybox process that is known by its id.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "boardfeatures/net.h"

namespace {

constexpr char client_path[] = "/bin/busybox";
constexpr char client_script[] = "/etc/udhcpc.script";
constexpr std::size_t host_option_size = 75;

void say_invalid(const char *function) { std::printf("%s\tINVALID_PID\n", function); }

// An id of 0 or below would reach a whole group of processes.
uint32_t signal_client(const char *function, int32_t process_id, int signal) {
    if (process_id <= 0) {
        say_invalid(function);
        return OAL_NET_FAILED;
    }
    return static_cast<uint32_t>(kill(process_id, signal));
}

}  // namespace

extern "C" {

int32_t OAL_StartDhcp(const char *name, const char *host_name) {
    if (name == nullptr || host_name == nullptr) {
        return static_cast<int32_t>(OAL_NET_NULL);
    }
    std::fflush(stdout);  // or the child would write the parent's pending output again
    const pid_t child = fork();
    if (child < 0) {
        std::printf("create pid fail!");
        return -1;
    }
    if (child == 0) {
        std::printf("create pid %d!\n", getpid());
        std::fflush(stdout);
        char host_option[host_option_size];
        std::snprintf(host_option, sizeof(host_option), "hostname:%s", host_name);
        execl(client_path, "busybox", "udhcpc", "-i", name, "-x", host_option, "-s", client_script,
              "-f", static_cast<char *>(nullptr));
        return -1;
    }
    if (waitpid(child, nullptr, WNOHANG) != 0) {
        std::printf("pid return !");
        return -1;
    }
    return child;
}

int32_t OAL_StopDhcp(int32_t process_id) {
    if (process_id > 0 && kill(process_id, SIGTERM) == 0) {
        return -1;
    }
    say_invalid(__func__);
    return process_id;
}

uint32_t OAL_RenewDhcp(int32_t process_id) { return signal_client(__func__, process_id, SIGUSR1); }

uint32_t OAL_ReleaseDhcp(int32_t process_id) {
    return signal_client(__func__, process_id, SIGUSR2);
}

}  // extern "C"
