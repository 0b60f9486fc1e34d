# Keeps the programs of an image small and their startup short; scripts/sizes prints the sizes.
# Debug and test builds do without.
add_library(agentRules INTERFACE)
if(NOT CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$")
    return()
endif()

# Removes unreferenced sections.
target_compile_options(compilerRules INTERFACE -ffunction-sections -fdata-sections)
target_link_options(compilerRules INTERFACE LINKER:--gc-sections)

# With link-time optimisation the linker generates the code, so it needs these options of cmake/Hardening.cmake too.
if(CMAKE_INTERPROCEDURAL_OPTIMIZATION)
    target_link_options(compilerRules INTERFACE -fstack-clash-protection -frecord-gcc-switches)
endif()

# The agent is often the only C++ program of an image, and uses little of the runtime libraries. The tools share
# them with their other libraries.
if(TARNO_STATIC_RUNTIME)
    target_link_options(agentRules INTERFACE -static-libstdc++ -static-libgcc)
endif()
