// The pure parts of PCIe identification: CRC, codec, sorting, lanes. Messages go nowhere.
#include <benchmark/benchmark.h>

#include <boost/crc.hpp>

#include "boardfeatures/pcieid.h"
#include "support/pciecfg_model.h"

namespace {

model::Bytes random_bytes(size_t size) {
    model::Random random(1);
    model::Bytes bytes(size);
    for (uint8_t &byte : bytes) {
        byte = static_cast<uint8_t>(random());
    }
    return bytes;
}

template <typename Crc>
void run_crc(benchmark::State &state, Crc crc) {
    const model::Bytes data = random_bytes(static_cast<size_t>(state.range(0)));
    if (crc(data) != model::crc(model::image_start, data)) {
        state.SkipWithError("wrong CRC");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(crc(data));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void my_crc(benchmark::State &state) {
    run_crc(state, [](const model::Bytes &data) {
        return my_crc16(data.data(), static_cast<uint32_t>(data.size()));
    });
}
void boost_crc(benchmark::State &state) {
    run_crc(state, [](const model::Bytes &data) {
        boost::crc_optimal<16, 0x1021, 0x0141> crc;
        crc.process_bytes(data.data(), data.size());
        return static_cast<uint32_t>(crc.checksum());
    });
}
BENCHMARK(my_crc)->Arg(14)->Arg(2048);
BENCHMARK(boost_crc)->Arg(14)->Arg(2048);

void encode(benchmark::State &state) {
    model::Random random(2);
    const pciecfg_list list = model::random_list(random, static_cast<uint32_t>(state.range(0)));
    pciecfg_image image;
    for (auto _ : state) {
        benchmark::DoNotOptimize(pciecfg_encode(&list, &image));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(encode)->Arg(1)->Arg(32)->Arg(128);

enum Order { random_order, ascending, descending };

void sort(benchmark::State &state) {
    model::Random random(3);
    pciecfg_list list = model::random_list(random, 128);
    for (uint32_t k = 0; k < list.count; ++k) {
        pciecfg_item &item = list.items[k];
        const uint32_t place = state.range(0) == ascending    ? k
                               : state.range(0) == descending ? list.count - k
                                                              : item.cpu * 256 + item.x1_start;
        item.cpu = place / 64;
        item.x1_start = place % 64;
    }
    pciecfg_list sorted;
    for (auto _ : state) {
        benchmark::DoNotOptimize(pciecfg_sort(&list, &sorted));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(sort)->ArgName("order")->Arg(random_order)->Arg(ascending)->Arg(descending);

void convert_lanes(benchmark::State &state) {
    const uint32_t lanes = static_cast<uint32_t>(state.range(0));
    const pciecap_list up = {1, {{0, 0, lanes, PCIECAP_REVERSE}}};
    pciecap_list wanted = {lanes / 4, {}};
    for (uint32_t i = 0; i < wanted.count; ++i) {
        wanted.links[i] = {0, 0, 4, PCIECAP_OBVERSE};
    }
    pciecap_list down;
    for (auto _ : state) {
        down = wanted;
        benchmark::DoNotOptimize(pciecap_convert(&up, &down));
        benchmark::ClobberMemory();
    }
    if (down.links[0].x1_start != lanes - 4) {
        state.SkipWithError("wrong lanes");
    }
}
BENCHMARK(convert_lanes)->Arg(8)->Arg(16)->Arg(128);

}  // namespace
