# Cross-compilation for another Debian architecture. Each architecture's toolchain file sets TARNO_TRIPLET,
# TARNO_EMULATOR and TARNO_SYSROOT, the root that scripts/make-sysroot fills with headers and libraries, and includes
# this one.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${TARNO_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${TARNO_TRIPLET}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${TARNO_TRIPLET})
set(CMAKE_SYSROOT ${TARNO_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Debian's cross compiler searches start files and libraries in its own directories, not in those that Debian
# itself uses below the root.
set(CMAKE_C_FLAGS_INIT "-B${TARNO_SYSROOT}/usr/lib/${TARNO_TRIPLET}")
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT}")
set(CMAKE_EXE_LINKER_FLAGS_INIT "")
foreach(DIRECTORY usr/lib lib)
    string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT
        " -L${TARNO_SYSROOT}/${DIRECTORY}/${TARNO_TRIPLET}"
        " -Wl,-rpath-link,${TARNO_SYSROOT}/${DIRECTORY}/${TARNO_TRIPLET}")
endforeach()

# The emulator that programs are run with here.
set(CMAKE_CROSSCOMPILING_EMULATOR ${TARNO_EMULATOR} -L ${TARNO_SYSROOT})
