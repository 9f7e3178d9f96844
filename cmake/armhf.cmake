# The target: 32-bit little-endian ARM Linux with hardware floating point (Debian armhf).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)  # notes on a change of GCC 7
# What Debian has no cross package of, fetched by scripts/armhf-sysroot.
set(bf_armhf_sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/armhf-sysroot)
set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf ${bf_armhf_sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_EXE_LINKER_FLAGS_INIT -Wl,-rpath-link,${bf_armhf_sysroot}/usr/lib/arm-linux-gnueabihf)
set(CMAKE_SHARED_LINKER_FLAGS_INIT ${CMAKE_EXE_LINKER_FLAGS_INIT})
set(CMAKE_CROSSCOMPILING_EMULATOR
    qemu-arm -L /usr/arm-linux-gnueabihf
    -E LD_LIBRARY_PATH=${bf_armhf_sysroot}/usr/lib/arm-linux-gnueabihf)
