// A program that knows the contract only: does what its arguments say, one after the other.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "boardplatform/platform.h"

namespace {

uint32_t number(const char *text) { return static_cast<uint32_t>(std::strtoul(text, nullptr, 0)); }

}  // namespace

int main(int argc, char **argv) {
    for (int i = 1; i < argc; ++i) {
        const char *command = argv[i];
        if (std::strcmp(command, "read") == 0 && i + 1 < argc) {
            uint16_t value = 0;
            const int result = epldio_read(number(argv[++i]), &value);
            std::printf("%d 0x%04X\n", result, value);
        } else if (std::strcmp(command, "write") == 0 && i + 2 < argc) {
            const uint32_t reg = number(argv[++i]);
            std::printf("%d\n", epldio_write(reg, static_cast<uint16_t>(number(argv[++i]))));
        } else if (std::strcmp(command, "word") == 0 && i + 2 < argc) {
            I2cChipRoute route = {};
            route.bus = number(argv[++i]);
            route.address = static_cast<uint16_t>(number(argv[++i]));
            uint32_t value = 0;
            const int result = ei2c_pca9535_get_word_value(&route, 0xFFFF, &value);
            std::printf("%d 0x%04X\n", result, value);
        } else if (std::strcmp(command, "sleep") == 0 && i + 1 < argc) {
            std::printf("%d\n", select_sleep(0, number(argv[++i])));
        } else if (std::strcmp(command, "warn") == 0) {
            _ssp_warn(56, "probe", "main", 1, "warned");
        } else if (std::strcmp(command, "debug") == 0) {
            _ssp_debug(56, "probe", "main", 2, "debugged");
        } else if (std::strcmp(command, "exit") == 0 && i + 1 < argc) {
            return static_cast<int>(number(argv[++i]));
        } else if (std::strcmp(command, "hang") == 0) {
            std::puts("hanging");
            std::fflush(stdout);
            pause();
        } else {
            std::fprintf(stderr, "what is \"%s\"?\n", command);
            return 99;
        }
        std::fflush(stdout);
    }
    return 0;
}
