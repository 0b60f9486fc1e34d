# What keeps the programs of an image small and their start short; scripts/sizes shows what it comes to.
# Builds for finding errors go without.
add_library(agentRules INTERFACE)
if(NOT CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$")
    return()
endif()

# What nothing refers to is left out.
target_compile_options(compilerRules INTERFACE -ffunction-sections -fdata-sections)
target_link_options(compilerRules INTERFACE LINKER:--gc-sections)

# The code is then generated when the program is linked, which is what has to be said of itself how
# (cmake/Hardening.cmake).
if(CMAKE_INTERPROCEDURAL_OPTIMIZATION)
    target_link_options(compilerRules INTERFACE -fstack-clash-protection -frecord-gcc-switches)
endif()

# The agent is the one C++ program of many an image, and uses little of the runtime libraries. The
# programs beside it share them with libraries of theirs.
if(TARNO_STATIC_RUNTIME)
    target_link_options(agentRules INTERFACE -static-libstdc++ -static-libgcc)
endif()
