// A device of byte registers: PMBus controllers, sensors, clock chips. The register pointer runs on
// and wraps at the end.
#include <algorithm>

#include "chips.h"

namespace boardsim {

namespace {

void power_on(std::span<uint8_t> cells) { std::fill(cells.begin(), cells.end(), uint8_t{0}); }

bool read(std::span<uint8_t> cells, uint32_t offset, std::span<uint8_t> data) {
    if (offset >= cells.size()) {
        return false;
    }
    for (size_t i = 0; i < data.size(); ++i) {
        data[i] = cells[(offset + i) % cells.size()];
    }
    return true;
}

bool write(std::span<uint8_t> cells, uint32_t offset, std::span<const uint8_t> data) {
    if (offset >= cells.size()) {
        return false;
    }
    for (size_t i = 0; i < data.size(); ++i) {
        cells[(offset + i) % cells.size()] = data[i];
    }
    return true;
}

}  // namespace

const ChipModel registers_model = {"registers", 256, 256, power_on, read, write};

}  // namespace boardsim
