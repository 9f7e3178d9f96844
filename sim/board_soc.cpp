// [soc]: the system control unit's registers.
#include "board_reader.h"
#include "scu.h"

namespace boardsim {

namespace {

constexpr uint32_t all_bits = 0xFFFFFFFF;
constexpr uint32_t power_on = 0x1;

}  // namespace

void read_soc(Builder &builder, Table &table) {
    builder.set_memory(table, scu_protection, 0);
    builder.set_memory(table, scu_reset_status,
                       table.number("reset_status", 0, all_bits).value_or(power_on));
    builder.set_memory(table, scu_strap, table.number("strap", 0, all_bits).value_or(0));
}

}  // namespace boardsim
