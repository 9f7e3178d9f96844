// A PMBus voltage regulator: PAGE selects one of its rails, MFR_REVISION is read as a block of one
// byte, the count before it. Registers that it does not have are not acknowledged.
#include "chip_regulator.h"

#include <algorithm>

#include "chips.h"

namespace boardsim {

namespace {

constexpr uint32_t page_register = 0x00;
constexpr uint32_t pmbus_revision_register = 0x98;
constexpr uint32_t mfr_revision_register = 0x9B;
constexpr uint8_t all_pages = 0xFF;
constexpr uint8_t pmbus_1_3 = 0x33;

void power_on(std::span<uint8_t> cells) {
    std::fill(cells.begin(), cells.end(), uint8_t{0});
    cells[regulator_pages] = 1;
}

bool read(std::span<uint8_t> cells, uint32_t offset, std::span<uint8_t> data) {
    uint8_t answer[2] = {};
    size_t length = 1;
    const uint8_t page = cells[regulator_page];
    switch (offset) {
        case page_register:
            answer[0] = page;
            break;
        case pmbus_revision_register:
            answer[0] = pmbus_1_3;
            break;
        case mfr_revision_register:
            answer[0] = 1;
            answer[1] = cells[regulator_revisions + (page == all_pages ? 0 : page)];
            length = 2;
            break;
        default:
            return false;
    }
    // Who reads on gets what an idle bus shows.
    for (size_t i = 0; i < data.size(); ++i) {
        data[i] = i < length ? answer[i] : 0xFF;
    }
    return true;
}

bool write(std::span<uint8_t> cells, uint32_t offset, std::span<const uint8_t> data) {
    if (offset != page_register || data.size() != 1 ||
        (data[0] >= cells[regulator_pages] && data[0] != all_pages)) {
        return false;
    }
    cells[regulator_page] = data[0];
    return true;
}

}  // namespace

const ChipModel regulator_model = {"regulator", regulator_cells, regulator_cells, power_on, read,
                                   write};

}  // namespace boardsim
