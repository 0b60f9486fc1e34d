# Debian packages: libsnmp-dev, libsqlite3-dev; libyaml-cpp-dev for the tools; libgtest-dev for the tests.
find_library(NETSNMP_LIBRARY netsnmp REQUIRED)
find_library(NETSNMP_AGENT_LIBRARY netsnmpagent REQUIRED)
find_library(NETSNMP_MIBS_LIBRARY netsnmpmibs REQUIRED)
find_path(NETSNMP_INCLUDE_DIRECTORY net-snmp/net-snmp-config.h REQUIRED)
find_package(SQLite3 REQUIRED)
if(TARNO_BUILD_TOOLS)
    find_package(yaml-cpp REQUIRED)
endif()
if(TARNO_BUILD_TESTS)
    find_package(GTest REQUIRED)
endif()

add_library(netsnmp INTERFACE)
target_include_directories(netsnmp SYSTEM INTERFACE ${NETSNMP_INCLUDE_DIRECTORY})
target_link_libraries(netsnmp INTERFACE
    ${NETSNMP_MIBS_LIBRARY} ${NETSNMP_AGENT_LIBRARY} ${NETSNMP_LIBRARY})
