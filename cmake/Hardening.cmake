# What makes an error in a program that goes into an image end the process instead of giving it away.
# Debug builds go without: their assertions and sanitizers find such errors earlier.
# scripts/check-hardening holds the built programs against this.
if(NOT CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$")
    return()
endif()

set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

target_compile_options(compilerRules INTERFACE
    -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong -fstack-clash-protection
    # The program then says itself, also stripped, how it was compiled; no paths are recorded.
    -frecord-gcc-switches)
target_link_options(compilerRules INTERFACE LINKER:-z,relro,-z,now,-z,noexecstack)
