#pragma once

#include "state.h"

namespace boardsim {

// The board of a program that names none: a board file that is compiled in.
const Board &default_board();

}  // namespace boardsim
