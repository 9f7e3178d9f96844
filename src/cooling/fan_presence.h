// Whether a fan is fitted, asked in the way that the board's table names for it.
#pragma once

#include <cstdint>
#include <span>

#include "boardplatform/platform.h"

namespace bf::cooling {

enum PresenceMethod : uint8_t { by_epld_bit = 0, by_expander_input = 1, by_speed = 0xFF };

struct FanPresence {
    uint8_t fan_index;
    uint8_t method;
    uint8_t epld_bit;
    uint8_t pin;
    I2cChipRoute route;  // of the expander; its name is the module's
};
static_assert(sizeof(FanPresence) == 36);

// By the fan's first row of a known method: 1 present, 0 absent, unreadable or without such a row.
int32_t fan_present(std::span<const FanPresence> rows, uint32_t fan_index);

// 1 when a row of the fan goes by its speed, else 0.
int32_t present_by_speed_only(std::span<const FanPresence> rows, uint32_t fan_index);

}  // namespace bf::cooling
