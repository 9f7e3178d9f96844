// The chip models. Each lives in a file of its own and is one entry of the list in chips.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "state.h"

namespace boardsim {

struct ChipModel {
    const char *name;
    uint32_t default_size;  // bytes of registers or cells
    uint32_t largest_size;
    void (*power_on)(std::span<uint8_t> cells);
    // One transfer from `offset` on; false when the chip does not acknowledge it.
    bool (*read)(std::span<uint8_t> cells, uint32_t offset, std::span<uint8_t> data);
    bool (*write)(std::span<uint8_t> cells, uint32_t offset, std::span<const uint8_t> data);
};

extern const ChipModel pca9535_model;
extern const ChipModel eeprom_model;
extern const ChipModel registers_model;
extern const ChipModel regulator_model;
extern const ChipModel pier_model;

const ChipModel &model_of(const ChipRecord &chip);
std::optional<uint32_t> find_model(std::string_view name);
uint32_t default_size(uint32_t model);
uint32_t largest_size(uint32_t model);

// The chip that a route reaches, the next one behind `after` where there are several; null when
// there is none.
ChipRecord *find_chip(Board &board, const Route &route, const ChipRecord *after = nullptr);
// The n-th switch on the way.
bool has_switch(const Board &board, const Route &route, uint32_t n);
std::span<uint8_t> cells_of(Board &board, const ChipRecord &chip);

// Fits a chip in its power-on state; throws Error when the board has no room for it.
ChipRecord &add_chip(Board &board, const Route &route, uint32_t model, uint32_t size,
                     std::string_view name);
// The same chip on one more route.
ChipRecord &add_route(Board &board, const ChipRecord &chip, const Route &route);

// Register numbers of a PCA9535: each pair is port 0 and port 1.
enum Pca9535Register : uint8_t { input_port, output_port = 2, polarity_port = 4, config_port = 6 };

}  // namespace boardsim
