// Checks of texts, interfaces and log lines beside the bare libc calls that they need: the
// library's share is the difference. Run inside the sandbox, which has log folders of its own:
//
//     tools/boardsim/bmc-sandbox -- build/release/bin/bench_oal --benchmark_repetitions=15
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <ctime>

#include "boardfeatures/net.h"
#include "boardfeatures/process.h"

namespace {

constexpr char domain[] = "bmc.rack-seven.row-three.example";
constexpr char address_text[] = "192.168.100.200";
constexpr char message[] = "admin set the fan mode to 2";

// ---- checks ----

void check_domain(benchmark::State &state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(OAL_VerifyDomain(domain));
    }
}
void check_directory_domain(benchmark::State &state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(OAL_VerifyDomain_AD(domain));
    }
}
// The copy and the split that both are stated with.
void bare_domain_split(benchmark::State &state) {
    for (auto _ : state) {
        char buffer[264] = {};
        std::strncpy(buffer, domain, sizeof(buffer) - 1);
        char *rest = nullptr;
        for (char *label = strtok_r(buffer, ".", &rest); label != nullptr;
             label = strtok_r(nullptr, ".", &rest)) {
            benchmark::DoNotOptimize(std::strlen(label));
        }
    }
}

void check_address(benchmark::State &state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(OAL_IsIpv4Address(address_text));
    }
}
void bare_check_address(benchmark::State &state) {
    for (auto _ : state) {
        in_addr address;
        benchmark::DoNotOptimize(inet_pton(AF_INET, address_text, &address));
    }
}

// ---- interfaces ----

void interface_state(benchmark::State &state) {
    uint8_t up = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(OAL_GetEthState("lo", &up));
    }
}
void bare_interface_state(benchmark::State &state) {
    for (auto _ : state) {
        const int link = socket(AF_INET, SOCK_DGRAM, 0);
        ifreq request = {};
        std::memcpy(request.ifr_name, "lo", 3);
        benchmark::DoNotOptimize(ioctl(link, SIOCGIFFLAGS, &request));
        close(link);
    }
}

// ---- log lines ----

void log_line(benchmark::State &state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(OAL_Log2File("/var/bench.log", 7, "%s", message));
    }
}
void bare_log_line(benchmark::State &state) {
    for (auto _ : state) {
        FILE *file = std::fopen("/var/bench.log", "a+");
        tzset();
        const time_t now = time(nullptr);
        tm local = {};
        char text[20];
        localtime_r(&now, &local);
        std::strftime(text, sizeof(text), "%F %T", &local);
        std::fprintf(file, "%s ", text);
        std::fprintf(file, "[%d] ", getpid());
        std::fputs(": ", file);
        std::fprintf(file, "%s", message);
        std::fputc('\n', file);
        std::fflush(file);
        std::fclose(file);
    }
}

constexpr char operation_log[] = "/extlog/unified_log/operation_log.log";

// The log is trimmed as it grows, now and then.
void operation_log_line(benchmark::State &state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Unified_Operation_Log2File("%s", message));
    }
}
// Without the trim.
void bare_operation_log_line(benchmark::State &state) {
    mkdir("/extlog/unified_log", 0777);
    for (auto _ : state) {
        benchmark::DoNotOptimize(access("/extlog/unified_log", F_OK));
        FILE *file = std::fopen(operation_log, "a+");
        tzset();
        const time_t now = time(nullptr);
        tm local = {};
        char line[1024];
        localtime_r(&now, &local);
        const size_t size = std::strftime(line, sizeof(line), "%F %T", &local);
        const int more = std::snprintf(line + size, sizeof(line) - size, "| %s\n", message);
        std::fwrite(line, 1, size + static_cast<size_t>(more), file);
        std::fclose(file);
        file = std::fopen(operation_log, "r+");
        std::fseek(file, 0, SEEK_END);
        benchmark::DoNotOptimize(std::ftell(file));
        std::fclose(file);
    }
    unlink(operation_log);
}

BENCHMARK(check_domain);
BENCHMARK(check_directory_domain);
BENCHMARK(bare_domain_split);
BENCHMARK(check_address);
BENCHMARK(bare_check_address);
BENCHMARK(interface_state);
BENCHMARK(bare_interface_state);
BENCHMARK(log_line);
BENCHMARK(bare_log_line);
BENCHMARK(operation_log_line);
BENCHMARK(bare_operation_log_line);

}  // namespace
