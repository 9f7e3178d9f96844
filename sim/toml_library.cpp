// The TOML library's own definitions, compiled once.
#define TOML_IMPLEMENTATION
#include "board_reader.h"
