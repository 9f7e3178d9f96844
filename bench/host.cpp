// A DIMM look-up, a BIOS translation and a mailbox exchange with a card that answers at once: what
// remains is the library's own time, and of the exchange the semaphore's. Run inside the sandbox.
#include <benchmark/benchmark.h>

#include "boardfeatures/bios.h"
#include "boardfeatures/dimm.h"
#include "boardfeatures/mailbox.h"

namespace {

void dimm_of_event(benchmark::State &state) {
    uint32_t event = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(GetDimmNumberBySelInfo(event >> 4 & 0x11, event & 0xF6));
        ++event;
    }
}
BENCHMARK(dimm_of_event);

void dimm_label(benchmark::State &state) {
    char label[10];
    for (auto _ : state) {
        benchmark::DoNotOptimize(GetDimmSilkScreenBySelInfo(0x10, 0x02, label));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(dimm_label);

// The last item of the table.
void bios_text_of_code(benchmark::State &state) {
    const uint8_t request[3] = {128, 5, 1};
    const char *name = nullptr;
    char text[32];
    uint8_t completion = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            BIOSInfoHandle(BIOS_VALUE_TO_TEXT, request, &name, nullptr, text, &completion));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(bios_text_of_code);

void bios_code_of_text(benchmark::State &state) {
    const uint8_t request[3] = {};
    const char *name = nullptr;
    char item[32] = "Onboardlan";
    char text[32] = "Enabled";
    uint8_t completion = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            BIOSInfoHandle(BIOS_TEXT_TO_VALUE, request, &name, item, text, &completion));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(bios_code_of_text);

void exchange(benchmark::State &state) {
    const uint8_t request[16] = {};
    uint8_t response[MOORING_DATA_MAX];
    uint8_t length = 0;
    for (auto _ : state) {
        if (VEL_Mooring_SendGetMsgFromPier(6, 1, 2, 3, request, sizeof(request), response,
                                           &length) != 0) {
            state.SkipWithError("no answer");
            break;
        }
    }
}
BENCHMARK(exchange);

// What of it is the semaphore's.
void semaphore_alone(benchmark::State &state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(VEL_Mooring_MRPIER_SemLock());
        benchmark::DoNotOptimize(VEL_Mooring_MRPIER_SemUnlock());
    }
}
BENCHMARK(semaphore_alone);

}  // namespace
