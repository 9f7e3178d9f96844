// boardctl: asks the board's library what a person or a script wants to know.
#include "program.h"

int main(int argc, char **argv) { return boardctl::run(argc, argv); }
