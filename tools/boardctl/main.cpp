// boardctl: asks the board's library what a person or a script wants to know.
#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>

#include "boardplatform/platform.h"
#include "overheard.h"
#include "program.h"

// The library's debug lines pass by the program on their way to the platform.
extern "C" void IDBG_LINUXAPP_DbgOut(uint32_t level, const char *format, ...) {
    char line[2048];
    va_list values;
    va_start(values, format);
    std::vsnprintf(line, sizeof(line), format, values);
    va_end(values);
    boardctl::overhear(line);
    using Channel = void (*)(uint32_t, const char *, ...);
    if (const auto platform = reinterpret_cast<Channel>(dlsym(RTLD_NEXT, "IDBG_LINUXAPP_DbgOut"))) {
        platform(level, "%s", line);
    }
}

int main(int argc, char **argv) { return boardctl::run(argc, argv); }
