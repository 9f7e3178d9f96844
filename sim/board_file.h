// A board file and the board it describes.
#pragma once

#include <string>
#include <string_view>

#include "state.h"

namespace boardsim {

// Throws Error, "file:line: key: what is wrong".
void read_board(std::string_view text, const std::string &file_name, Board &board);

// Where the main board's FRU data are kept; programs find them in a file.
constexpr char fru_main_board_route[] = "13:0x50";

// A fault as the command line writes it: "access=epldio_read,nth=3,result=-5".
FaultRecord parse_fault_text(const std::string &text, Origin origin);

}  // namespace boardsim
