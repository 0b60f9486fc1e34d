# Compiles against musl's headers, for images without glibc. It links no programs: Debian has no agent library, and no
# C++ runtime, built against musl. What compiles uses nothing that only glibc declares.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${CMAKE_HOST_SYSTEM_PROCESSOR})
set(CMAKE_C_COMPILER clang-19)
set(CMAKE_CXX_COMPILER clang++-19)
set(TARNO_MUSL_TRIPLET ${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-musl)
set(CMAKE_C_COMPILER_TARGET ${TARNO_MUSL_TRIPLET})
set(CMAKE_CXX_COMPILER_TARGET ${TARNO_MUSL_TRIPLET})
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

set(CMAKE_C_FLAGS_INIT "-nostdlibinc -isystem /usr/include/${TARNO_MUSL_TRIPLET}")
# libc++ assumes glibc unless this macro is defined.
string(CONCAT CMAKE_CXX_FLAGS_INIT
    "-nostdlibinc -nostdinc++ -D_LIBCPP_HAS_MUSL_LIBC"
    " -isystem /usr/lib/llvm-19/include/c++/v1 -isystem /usr/include/${TARNO_MUSL_TRIPLET}")

# The headers of the libraries that the agent needs, in a directory without those of glibc. The libraries are only found.
set(CMAKE_LIBRARY_ARCHITECTURE ${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu)
set(HEADERS ${CMAKE_BINARY_DIR}/library-headers)
set(NETSNMP_INCLUDE_DIRECTORY ${HEADERS})
set(SQLite3_INCLUDE_DIR ${HEADERS})
foreach(HEADER net-snmp sqlite3.h openssl ${CMAKE_LIBRARY_ARCHITECTURE}/openssl)
    cmake_path(GET HEADER PARENT_PATH PARENT)
    file(MAKE_DIRECTORY ${HEADERS}/${PARENT})
    file(CREATE_LINK /usr/include/${HEADER} ${HEADERS}/${HEADER} SYMBOLIC)
endforeach()
string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem ${HEADERS}/${CMAKE_LIBRARY_ARCHITECTURE}")
