// Converts lists made of the input and compares with the brute-force model.
#include <cstdlib>
#include <cstring>

#include "boardfeatures/pcieid.h"
#include "support/lane_model.h"

namespace {

class Input {
public:
    Input(const uint8_t *data, size_t size) : data_(data), left_(size) {}
    uint32_t byte() {
        if (left_ == 0) {
            return 0;
        }
        --left_;
        return *data_++;
    }
    uint32_t word() { return byte() | byte() << 8 | byte() << 16 | byte() << 24; }

    // Mostly small numbers; a first byte of 255 takes a whole word.
    uint32_t number() {
        const uint32_t value = byte();
        return value == 255 ? word() : value;
    }
    uint32_t sequence() {
        const uint32_t kind = byte();
        return kind % 3 == 0 ? PCIECAP_OBVERSE : kind % 3 == 1 ? PCIECAP_REVERSE : word();
    }
    pciecap_list list() {
        pciecap_list list;
        std::memset(&list, 0, sizeof(list));
        list.count = byte() % (PCIECAP_MAX_LINKS + 1);
        for (uint32_t i = 0; i < list.count; ++i) {
            list.links[i] = {number(), number(), number(), sequence()};
        }
        return list;
    }

private:
    const uint8_t *data_;
    size_t left_;
};

model::Links links_of(const pciecap_list &list) { return {list.links, list.links + list.count}; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    const pciecap_list up = input.list();
    pciecap_list down = input.list();
    const pciecap_list up_before = up;
    const model::Outcome expected = model::expected_of(links_of(up), links_of(down));
    const int32_t result = pciecap_convert(&up, &down);
    if (result != expected.result || std::memcmp(&up, &up_before, sizeof(up)) != 0) {
        std::abort();
    }
    for (uint32_t i = 0; i < down.count; ++i) {
        if (!model::same(down.links[i], expected.down[i])) {
            std::abort();
        }
    }
    return 0;
}
