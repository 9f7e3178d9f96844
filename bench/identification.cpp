// The whole identification on a fully cabled board whose platform answers at once: what remains is
// the library's own time.
#include <benchmark/benchmark.h>

#include <memory>

#include "boardfeatures/pcieid_enum.h"
#include "support/instant_board.h"

namespace {

void identify(benchmark::State &state) {
    const auto work = std::make_unique<pcieid_workspace>();
    instant_board_reset();
    if (pcieid_identify(work.get(), &work->identified) != 0 || work->identified.count != 27) {
        state.SkipWithError("wrong list");
    }
    state.counters["accesses"] = static_cast<double>(instant_board_accesses());
    for (auto _ : state) {
        benchmark::DoNotOptimize(pcieid_identify(work.get(), &work->identified));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(identify)->Unit(benchmark::kMicrosecond);

// A stored list that is still right: the flash is read and compared.
void identify_and_compare(benchmark::State &state) {
    const auto work = std::make_unique<pcieid_workspace>();
    instant_board_reset();
    if (pcieid_identify_and_store(work.get()) != 0 || work->stored != 1) {
        state.SkipWithError("not stored");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(pcieid_identify_and_store(work.get()));
        benchmark::ClobberMemory();
    }
    if (work->stored != 0) {
        state.SkipWithError("stored again");
    }
}
BENCHMARK(identify_and_compare)->Unit(benchmark::kMicrosecond);

}  // namespace
