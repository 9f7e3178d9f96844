// An I2C route as a line of text.
#include <cstdio>

#include "boardfeatures/pcieid_enum.h"
#include "common/pcieid/lists.h"

extern "C" {

void i2c_to_string(const I2cChipRoute *route, char *buffer, uint32_t size) {
    if (route == nullptr || buffer == nullptr || size == 0) {
        return;
    }
    std::snprintf(buffer, size, "%4u  %6x  %6x  %10x  %10x  %s", route->bus, route->address,
                  route->flags, route->switch_address, route->switch_channel,
                  bf::Terminated(route->name).text);
    buffer[size - 1] = '\0';
}

}  // extern "C"
