#include "report.h"

#include <fmt/format.h>

namespace boardsim {

namespace {

constexpr double per_second_ns = 1e9;
constexpr double per_second_us = 1e6;

// Calls of one kind with their buses: "bus 4: 12, bus 13: 1".
std::string buses_of(const Accounts &before, const Accounts &after, uint32_t call) {
    std::string text;
    for (uint32_t bus = 0; bus < account_buses; ++bus) {
        const uint64_t made = after.buses[bus].calls[call] - before.buses[bus].calls[call];
        if (made != 0) {
            text += fmt::format("{}bus {}: {}", text.empty() ? "" : ", ", bus, made);
        }
    }
    return text;
}

}  // namespace

std::string account_report(const Accounts &before, const Accounts &after) {
    std::string text = fmt::format("{:<36} {:>9} {:>9}  {}\n", "access", "made", "failed", "where");
    for (uint32_t call = 0; call < call_count; ++call) {
        const uint64_t made = after.calls[call].made - before.calls[call].made;
        const uint64_t failed = after.calls[call].failed - before.calls[call].failed;
        if (made == 0) {
            continue;
        }
        text += fmt::format("{:<36} {:>9} {:>9}  {}\n", call_names[call], made, failed,
                            buses_of(before, after, call));
        while (text[text.size() - 2] == ' ') {
            text.erase(text.size() - 2, 1);
        }
    }
    uint64_t total_ns = 0;
    text += fmt::format("\n{:<6} {:>10} {:>10} {:>12} {:>12}\n", "bus", "transfers", "bytes",
                        "clocks", "seconds");
    for (uint32_t bus = 0; bus < account_buses; ++bus) {
        const BusAccount &old = before.buses[bus];
        const BusAccount &now = after.buses[bus];
        if (now.transfers == old.transfers && now.clocks == old.clocks) {
            continue;
        }
        total_ns += now.nanoseconds - old.nanoseconds;
        text += fmt::format("{:<6} {:>10} {:>10} {:>12} {:>12.6f}\n", bus,
                            now.transfers - old.transfers, now.bytes - old.bytes,
                            now.clocks - old.clocks,
                            static_cast<double>(now.nanoseconds - old.nanoseconds) / per_second_ns);
    }
    text += fmt::format("\nbus time {:.6f} s, sleeps {:.6f} s, delays {:.6f} s\n",
                        static_cast<double>(total_ns) / per_second_ns,
                        static_cast<double>(after.slept_us - before.slept_us) / per_second_us,
                        static_cast<double>(after.delayed_us - before.delayed_us) / per_second_us);
    return text;
}

}  // namespace boardsim
