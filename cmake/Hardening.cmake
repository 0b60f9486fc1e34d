# Hardening for programs that go into an image: a memory error ends the process instead of being exploitable.
# Debug builds do without: their assertions and sanitizers find such errors earlier.
# scripts/check-hardening verifies the built programs.
if(NOT CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$")
    return()
endif()

set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

# Level 3 also checks buffers whose size is only known at run time. Compilers and C libraries without it warn.
include(CheckCXXSourceCompiles)
set(CMAKE_REQUIRED_FLAGS "-O2 -Werror -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
check_cxx_source_compiles("#include <cstring>\nint main() { return 0; }" TARNO_HAS_FORTIFY_3)
unset(CMAKE_REQUIRED_FLAGS)

target_compile_options(compilerRules INTERFACE
    -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=$<IF:$<BOOL:${TARNO_HAS_FORTIFY_3}>,3,2>
    -fstack-protector-strong -fstack-clash-protection
    # Records the compiler options in the program, even stripped; no paths are recorded.
    -frecord-gcc-switches)
target_link_options(compilerRules INTERFACE LINKER:-z,relro,-z,now,-z,noexecstack)
