// Questions about disks on the simulated machine with everything fitted: what they cost the I2C
// buses. The time that is measured is the simulation's; the library's own instructions are told by
// scripts/instructions.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <numeric>
#include <string>

#include "boardfeatures/storage.h"
#include "simulator.h"

namespace {

boardsim::Simulator &maximal() {
    static boardsim::Simulator board = [] {
        const std::string state_file = "/var/board.state";
        boardsim::make_state(std::string(BOARDS_DIR) + "/tarn-maximal.toml", state_file);
        setenv("BOARDSIM_STATE", state_file.c_str(), 1);
        return boardsim::Simulator(state_file);
    }();
    return board;
}

struct Cost {
    double accesses;
    double bus_ms;
};

Cost spent() {
    const boardsim::Accounts accounts = maximal().accounts();
    Cost cost = {};
    for (const boardsim::BusAccount &bus : accounts.buses) {
        cost.accesses += static_cast<double>(bus.transfers);
        cost.bus_ms += static_cast<double>(bus.nanoseconds) / 1e6;
    }
    return cost;
}

template <typename Question>
Cost cost_of(Question question) {
    const Cost before = spent();
    question();
    const Cost after = spent();
    return {after.accesses - before.accesses, after.bus_ms - before.bus_ms};
}

void tell(benchmark::State &state, const char *accesses, const char *bus_ms, const Cost &cost) {
    state.counters[accesses] = cost.accesses;
    state.counters[bus_ms] = cost.bus_ms;
}

// ---- one disk ----

// The first and the last bay in front, and a number that nobody knows.
void disk_status(benchmark::State &state) {
    const auto slot = static_cast<uint32_t>(state.range(0));
    maximal();
    if (GetDiskOnlineStatus(slot) != (slot <= 24 ? 0 : -1)) {
        state.SkipWithError("wrong answer");
    }
    tell(state, "accesses", "bus_ms", cost_of([&] { GetDiskOnlineStatus(slot); }));
    for (auto _ : state) {
        benchmark::DoNotOptimize(GetDiskOnlineStatus(slot));
    }
}
BENCHMARK(disk_status)->Arg(1)->Arg(24)->Arg(200)->Unit(benchmark::kMicrosecond);

int32_t present_disks() {
    int32_t present = 0;
    for (uint32_t slot = 1; slot <= GetDiskMaxCount(); ++slot) {
        present += GetDiskOnlineStatus(slot) == 0 ? 1 : 0;
    }
    return present;
}

void every_disk_status(benchmark::State &state) {
    maximal();
    if (present_disks() != 24) {
        state.SkipWithError("wrong count");
    }
    tell(state, "accesses", "bus_ms", cost_of(present_disks));
    for (auto _ : state) {
        benchmark::DoNotOptimize(present_disks());
    }
}
BENCHMARK(every_disk_status)->Unit(benchmark::kMillisecond);

// ---- lists ----

// The first list of a process asks the connectors what they hold, the next only the bays.
template <typename List>
void list(benchmark::State &state, int32_t (*question)(void *), uint32_t expected) {
    static const Cost first = [question] {
        maximal();
        List found = {};
        return cost_of([&] { question(&found); });
    }();
    List found = {};
    const Cost next = cost_of([&] { question(&found); });
    if (found.count != expected) {
        state.SkipWithError("wrong count");
    }
    tell(state, "first_accesses", "first_bus_ms", first);
    tell(state, "accesses", "bus_ms", next);
    for (auto _ : state) {
        found.count = 0;
        benchmark::DoNotOptimize(question(&found));
    }
}
void u2_nvme_list(benchmark::State &state) { list<U2NvmeList>(state, hdd_get_u2_nvme_list, 16); }
void online_disk_list(benchmark::State &state) { list<HddList>(state, HDD_GetOnlinePdList, 8); }
BENCHMARK(u2_nvme_list)->Unit(benchmark::kMicrosecond);
BENCHMARK(online_disk_list)->Unit(benchmark::kMicrosecond);

}  // namespace
