#pragma once

#include <string>

#include "state.h"

namespace boardsim {

// What happened between two readings of a board's accounts, as text for people.
std::string account_report(const Accounts &before, const Accounts &after);

}  // namespace boardsim
