# Compiler options for all targets; a target links compilerRules to get them.
add_library(compilerRules INTERFACE)
target_compile_options(compilerRules INTERFACE
    -Wall -Wextra -Wpedantic -Werror
    -Wshadow -Wconversion -Wsign-conversion -Wcast-align -Wcast-qual -Wformat=2
    -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wnull-dereference
    -Wextra-semi -Wundef
    "$<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond;-Wduplicated-branches;-Wlogical-op>"
    # With optimisation, GCC 12 reports overlapping copies in std::string (https://gcc.gnu.org/PR105651).
    "$<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>,$<NOT:$<CONFIG:Debug>>>:-Wno-restrict>"
    # clang also reports what std::stable_sort of GCC 12's library uses; GCC finds our own uses.
    "$<$<CXX_COMPILER_ID:Clang>:-Wno-deprecated-declarations>"
    # ARM may fuse a multiplication and an addition into one rounding; x86 would then convert
    # decimals differently.
    -ffp-contract=off)

if(TARNO_SANITIZE)
    # A sanitizer misses an index beyond the size but within the capacity; the library's assertions catch it.
    target_compile_definitions(compilerRules INTERFACE _GLIBCXX_ASSERTIONS)
    target_compile_options(compilerRules INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(compilerRules INTERFACE -fsanitize=address,undefined)
endif()

# On 32-bit processors times after January 2038 and files over 2 GiB. Not for code that includes the agent library's
# headers: its structures have the times that it was built with.
add_library(wideTimes INTERFACE)
target_compile_definitions(wideTimes INTERFACE _TIME_BITS=64 _FILE_OFFSET_BITS=64)

# Counters for the agent's own sources, and for its headers in the unit tests. Everything that links them needs the
# coverage runtime.
add_library(coverageRules INTERFACE)
if(TARNO_COVERAGE)
    # -pthread makes the counters atomic; ccache does not support -fprofile-update=atomic, which does the same.
    target_compile_options(coverageRules INTERFACE --coverage -pthread)
    target_link_options(compilerRules INTERFACE --coverage)
endif()

include(${CMAKE_CURRENT_LIST_DIR}/Hardening.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/SmallSize.cmake)
