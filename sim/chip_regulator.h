// The cells of a simulated voltage regulator.
#pragma once

#include <cstdint>

namespace boardsim {

constexpr uint32_t regulator_page = 0;   // selected
constexpr uint32_t regulator_pages = 1;  // that it has
constexpr uint32_t regulator_revisions = 2;
constexpr uint32_t most_regulator_pages = 4;
constexpr uint32_t regulator_cells = regulator_revisions + most_regulator_pages;

}  // namespace boardsim
