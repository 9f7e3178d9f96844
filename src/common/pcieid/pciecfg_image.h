// The stored image as codec and flash driver see it.
#pragma once

#include "boardfeatures/pcieid.h"

namespace bf {

// The item bytes that the header claims and the data CRC covers: at most 2048.
uint32_t image_data_length(const pciecfg_image &image);

// Header CRC, signature and data CRC, in this order; the first that is wrong is printed on standard
// output. The version is deliberately not looked at.
bool image_valid(const pciecfg_image &image);

}  // namespace bf
