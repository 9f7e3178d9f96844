#include "chips.h"

#include <algorithm>
#include <iterator>

namespace boardsim {

namespace {

constexpr const char *no_room = "the board has no room for another chip";

const ChipModel *const models[] = {&pca9535_model, &eeprom_model, &registers_model,
                                   &regulator_model, &pier_model};

}  // namespace

const ChipModel &model_of(const ChipRecord &chip) { return *models[chip.model]; }

std::optional<uint32_t> find_model(std::string_view name) {
    for (uint32_t i = 0; i < std::size(models); ++i) {
        if (models[i]->name == name) {
            return i;
        }
    }
    return std::nullopt;
}

uint32_t default_size(uint32_t model) { return models[model]->default_size; }
uint32_t largest_size(uint32_t model) { return models[model]->largest_size; }

ChipRecord *find_chip(Board &board, const Route &route, const ChipRecord *after) {
    const auto begin = after == nullptr ? board.chips : board.chips + (after - board.chips) + 1;
    const auto end = board.chips + board.chip_count;
    const auto found =
        std::find_if(begin, end, [&](const ChipRecord &chip) { return chip.route == route; });
    return found == end ? nullptr : found;
}

// A switch is on the board when some chip sits behind it.
bool has_switch(const Board &board, const Route &route, uint32_t n) {
    return std::any_of(board.chips, board.chips + board.chip_count, [&](const ChipRecord &chip) {
        const Route &other = chip.route;
        bool same = other.bus == route.bus && other.switches() > n;
        for (uint32_t i = 0; same && i < n; ++i) {
            same = other.switch_at(i) == route.switch_at(i) &&
                   other.channel_at(i) == route.channel_at(i);
        }
        return same && other.switch_at(n) == route.switch_at(n);
    });
}

std::span<uint8_t> cells_of(Board &board, const ChipRecord &chip) {
    return {board.pool + chip.data, chip.size};
}

ChipRecord &add_chip(Board &board, const Route &route, uint32_t model, uint32_t size,
                     std::string_view name) {
    if (board.chip_count == most_chips || chip_pool_size - board.pool_used < size) {
        throw Error(no_room);
    }
    ChipRecord &chip = board.chips[board.chip_count++];
    chip = {};
    chip.route = route;
    chip.model = model;
    chip.answers = 1;
    chip.data = board.pool_used;
    chip.size = size;
    name.copy(chip.name, sizeof(chip.name) - 1);
    board.pool_used += size;
    models[model]->power_on(cells_of(board, chip));
    return chip;
}

ChipRecord &add_route(Board &board, const ChipRecord &chip, const Route &route) {
    if (board.chip_count == most_chips) {
        throw Error(no_room);
    }
    ChipRecord &other = board.chips[board.chip_count++];
    other = chip;
    other.route = route;
    return other;
}

}  // namespace boardsim
