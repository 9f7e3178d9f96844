// Which of the two configurations the machine is, as far as this process knows.
#pragma once

#include "main/cooling_tables.h"

namespace bf::cooling {

// Whether `Fell` was recognised by an earlier call.
bool fell_known();

// Looks the configuration up if need be. The audit line carries the calling function's name.
bool is_fell(const char *member = __builtin_FUNCTION(), int line = __builtin_LINE());

// The value for the configuration, looked up if need be.
template <typename Value>
const Value &choose(const board::PerConfiguration<Value> &value,
                    const char *member = __builtin_FUNCTION(), int line = __builtin_LINE()) {
    return is_fell(member, line) ? value.fell : value.tarn;
}

// The value for the configuration as it is known.
template <typename Value>
const Value &choose_known(const board::PerConfiguration<Value> &value) {
    return fell_known() ? value.fell : value.tarn;
}

}  // namespace bf::cooling
