// PCA9535-class expander: 16 pins in two ports. A pin that is an output reads what it drives.
#include <algorithm>

#include "chips.h"

namespace boardsim {

namespace {

constexpr uint32_t register_count = 8;

void power_on(std::span<uint8_t> cells) {
    std::fill(cells.begin(), cells.end(), uint8_t{0xFF});
    cells[polarity_port] = cells[polarity_port + 1] = 0;
}

uint8_t pins_of(std::span<const uint8_t> cells, uint32_t port) {
    const uint8_t inputs = cells[config_port + port];
    const int level = (cells[input_port + port] & inputs) | (cells[output_port + port] & ~inputs);
    return static_cast<uint8_t>(level ^ cells[polarity_port + port]);
}

// Successive bytes of a transfer alternate between the two registers of a pair.
uint32_t paired(uint32_t first, size_t step) { return first ^ (step & 1); }

bool read(std::span<uint8_t> cells, uint32_t offset, std::span<uint8_t> data) {
    if (offset >= register_count) {
        return false;
    }
    for (size_t i = 0; i < data.size(); ++i) {
        const uint32_t number = paired(offset, i);
        data[i] = number < output_port ? pins_of(cells, number) : cells[number];
    }
    return true;
}

bool write(std::span<uint8_t> cells, uint32_t offset, std::span<const uint8_t> data) {
    if (offset >= register_count) {
        return false;
    }
    for (size_t i = 0; i < data.size(); ++i) {
        const uint32_t number = paired(offset, i);
        if (number >= output_port) {  // the input ports ignore a write
            cells[number] = data[i];
        }
    }
    return true;
}

}  // namespace

const ChipModel pca9535_model = {"pca9535", register_count, register_count, power_on, read, write};

}  // namespace boardsim
