// Getters of the cooling policy, with the configuration known, beside the bare copies that they
// make.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>

#include "boardfeatures/cooling.h"
#include "support/instant_board.h"

namespace {

FanPower power[FAN_POWER_ROWS];
FanPower power_source[FAN_POWER_ROWS];
CoolingModeRecord modes[FAN_COOLING_MODES_MAX];
CoolingModeRecord modes_source[FAN_COOLING_MODES_MAX];

void know_the_configuration() {
    instant_board_reset();
    FAN_GetPulse();
}

void constant(benchmark::State &state) {
    know_the_configuration();
    for (auto _ : state) {
        benchmark::DoNotOptimize(FAN_GetPulse());
    }
}

void speed_limit(benchmark::State &state) {
    know_the_configuration();
    for (auto _ : state) {
        benchmark::DoNotOptimize(FAN_GetMinRPM(5, FAN_TYPE_DUAL_ROTOR));
    }
}

void pid_record(benchmark::State &state) {
    know_the_configuration();
    FanPidParas paras;
    for (auto _ : state) {
        FAN_GetCPULargePIDParas(&paras);
        benchmark::DoNotOptimize(paras);
    }
}

void cooling_modes(benchmark::State &state) {
    know_the_configuration();
    for (auto _ : state) {
        FAN_GetCoolingMode(modes);
        benchmark::ClobberMemory();
    }
}
void bare_cooling_modes(benchmark::State &state) {
    for (auto _ : state) {
        std::memset(modes, 0, sizeof(modes[0]));
        benchmark::ClobberMemory();
        std::memcpy(modes, modes_source, sizeof(modes));
        benchmark::ClobberMemory();
    }
}

void fan_power(benchmark::State &state) {
    know_the_configuration();
    for (auto _ : state) {
        FAN_GetTotalPower(power, FAN_TYPE_DUAL_ROTOR);
        benchmark::ClobberMemory();
    }
}
void bare_fan_power(benchmark::State &state) {
    for (auto _ : state) {
        std::memset(power, 0, sizeof(power));
        benchmark::ClobberMemory();
        std::memcpy(power, power_source, sizeof(power));
        benchmark::ClobberMemory();
    }
}

BENCHMARK(constant);
BENCHMARK(speed_limit);
BENCHMARK(pid_record);
BENCHMARK(cooling_modes);
BENCHMARK(bare_cooling_modes);
BENCHMARK(fan_power);
BENCHMARK(bare_fan_power);

}  // namespace
