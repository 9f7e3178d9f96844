// I2C transfers: the way to a chip, the chip's answer and the time that the bus takes for both.
#pragma once

#include <cstdint>
#include <span>

#include "state.h"

namespace boardsim {

// 0, or -1 when something on the way does not acknowledge.
int bus_read(State &state, const Route &route, uint32_t offset_width, uint32_t offset,
             std::span<uint8_t> data);
int bus_write(State &state, const Route &route, uint32_t offset_width, uint32_t offset,
              std::span<const uint8_t> data);

// The time of an address that nobody acknowledges: what a faulted access still costs.
void account_missing_acknowledge(State &state, const Route &route);

BusAccount &bus_account(Accounts &accounts, uint32_t bus);

}  // namespace boardsim
