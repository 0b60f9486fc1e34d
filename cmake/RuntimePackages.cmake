# What programs for another architecture depend on: shlibdeps sees the libraries of this machine's only. Within a release
# of Debian, packages have the same names on all architectures; the package test compares these lists with shlibdeps.

# runtimePackage(STEM): sets STEM to the package with the library of STEM-dev, as this machine's release has it, and at
# least of its version: "libyaml-cpp0.7 (>= 0.7.0+dfsg)".
function(runtimePackage STEM)
    execute_process(COMMAND dpkg-query --show "--showformat=\${Depends}|\${source:Upstream-Version}" ${STEM}-dev
        OUTPUT_VARIABLE FOUND COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCH "${STEM}[^ ,|]*" NAME "${FOUND}")
    string(REGEX REPLACE ".*\\|" "" VERSION "${FOUND}")
    if(NOT NAME)
        message(FATAL_ERROR "${STEM}-dev needs no package with a library")
    endif()
    set(${STEM} "${NAME} (>= ${VERSION})" PARENT_SCOPE)
endfunction()

# Sets AGENT_LIBRARIES and TOOLS_LIBRARIES.
function(listLibraries)
    foreach(STEM libc6 libpugixml libsnmp libsqlite3 libyaml-cpp)
        runtimePackage(${STEM})
    endforeach()
    string(REGEX MATCH "^[0-9]+" COMPILER ${CMAKE_CXX_COMPILER_VERSION})
    set(AGENT_LIBRARIES "${libc6}, ${libsnmp}, ${libsqlite3}" PARENT_SCOPE)
    set(TOOLS_LIBRARIES "${libc6}, libgcc-s1 (>= 3.5), ${libpugixml}, ${libsnmp}, ${libsqlite3}, \
libstdc++6 (>= ${COMPILER}), ${libyaml-cpp}" PARENT_SCOPE)
endfunction()
