// EEPROM: cells from offset 0, erased to 0xFF. A transfer beyond its end is refused, as a driver
// that knows the part's size refuses it.
#include <algorithm>

#include "chips.h"

namespace boardsim {

namespace {

void power_on(std::span<uint8_t> cells) { std::fill(cells.begin(), cells.end(), uint8_t{0xFF}); }

bool fits(std::span<const uint8_t> cells, uint32_t offset, size_t length) {
    return offset <= cells.size() && length <= cells.size() - offset;
}

bool read(std::span<uint8_t> cells, uint32_t offset, std::span<uint8_t> data) {
    if (!fits(cells, offset, data.size())) {
        return false;
    }
    std::copy_n(cells.subspan(offset).begin(), data.size(), data.begin());
    return true;
}

bool write(std::span<uint8_t> cells, uint32_t offset, std::span<const uint8_t> data) {
    if (!fits(cells, offset, data.size())) {
        return false;
    }
    std::copy(data.begin(), data.end(), cells.subspan(offset).begin());
    return true;
}

}  // namespace

const ChipModel eeprom_model = {"eeprom", 256, 65536, power_on, read, write};

}  // namespace boardsim
