# 32-bit ARM with hardware floating point, the devices' own architecture.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(TARNO_TRIPLET arm-linux-gnueabihf)
cmake_path(SET TARNO_SYSROOT NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-armhf)
set(TARNO_EMULATOR qemu-arm-static)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-debian.cmake)
# Silences GCC's note that versions before 7.1 passed some arguments differently; nothing here is that old.
string(APPEND CMAKE_CXX_FLAGS_INIT " -Wno-psabi")
