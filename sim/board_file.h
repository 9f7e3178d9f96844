// A board file and the board it describes.
#pragma once

#include <string>
#include <string_view>

#include "state.h"

namespace boardsim {

// Throws Error, "file:line: key: what is wrong".
void read_board(std::string_view text, const std::string &file_name, Board &board);

// A fault as the command line writes it: "access=epldio_read,nth=3,result=-5".
FaultRecord parse_fault_text(const std::string &text, Origin origin);

}  // namespace boardsim
