# 64-bit ARM.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(TARNO_TRIPLET aarch64-linux-gnu)
cmake_path(SET TARNO_SYSROOT NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-arm64)
set(TARNO_EMULATOR qemu-aarch64-static)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-debian.cmake)
