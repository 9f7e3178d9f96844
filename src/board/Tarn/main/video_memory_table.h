// Where the BMC's memory regions begin, for each size of the video memory.
#pragma once

#include <cstdint>

namespace bf::board {

struct VideoMemoryBase {
    uint32_t with_16mb;
    uint32_t with_64mb;
};

inline constexpr VideoMemoryBase video_memory_bases[] = {
    {0x9C000000, 0x9E000000},  //
    {0x9C100000, 0x9E100000},  //
    {0x9D000000, 0x9F000000},  //
    // above the 64 MB addresses on purpose
    {0x9E000000, 0x9D000000},  //
    {0x9E000028, 0x9D000028},  //
};

}  // namespace bf::board
