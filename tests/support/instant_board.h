// A platform whose every call takes next to no time, stack or memory: boards/tarn-maximal.toml,
// three front backplanes full of disks and a riser-type one on six sockets and four retimer cards,
// an EPLD with a working flash, and a mailbox in every slot that answers at once. For what measures
// the library itself.
#pragma once

#include <cstddef>

// Unplugs every cable, blanks the flash and forgets the accesses.
void instant_board_reset();
// Platform calls since the reset.
size_t instant_board_accesses();
