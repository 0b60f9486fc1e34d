# Debian packages of the files in cmake/Install.cmake, one per component; scripts/package builds them.
set(PACKAGING ${CMAKE_SOURCE_DIR}/packaging/debian)
set(MAINTAINER "tarnoSnmp developers <developers@tarnosnmp.invalid>")
# Packages of an older release of Debian have a lower version, so that an upgrade of Debian replaces them: 1.0.0~deb12 is
# lower than 1.0.0~deb13. A system that is not Debian, or has no number yet, gets the plain version.
set(PACKAGE_VERSION ${PROJECT_VERSION})
set(OS_RELEASE ${CMAKE_SYSROOT}/usr/lib/os-release)
if(EXISTS ${OS_RELEASE})
    file(STRINGS ${OS_RELEASE} SYSTEM REGEX "^(ID|VERSION_ID)=")
    if(SYSTEM MATCHES "(^|;)ID=debian" AND SYSTEM MATCHES "VERSION_ID=\"([0-9]+)\"")
        string(APPEND PACKAGE_VERSION "~deb${CMAKE_MATCH_1}")
    endif()
endif()
# Programs that were built with another major version keep the library that they need.
set(LIBRARY_PACKAGE libtarnodevice${PROJECT_VERSION_MAJOR})

# The files that Debian requires in every package, and that a plain installation does not have.
function(installForPackage COMPONENT PACKAGE)
    set(DOCUMENTS ${CMAKE_BINARY_DIR}/packaging/${PACKAGE})
    file(MAKE_DIRECTORY ${DOCUMENTS})
    execute_process(COMMAND gzip -9 --no-name --stdout ${PACKAGING}/changelog
        OUTPUT_FILE ${DOCUMENTS}/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
    install(FILES ${DOCUMENTS}/changelog.gz ${PACKAGING}/copyright
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${PACKAGE} COMPONENT ${COMPONENT} EXCLUDE_FROM_ALL)
endfunction()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PACKAGING}/changelog)
installForPackage(agent tarnosnmp)
installForPackage(documents tarnosnmp-doc)
installForPackage(library ${LIBRARY_PACKAGE})
installForPackage(development libtarnodevice-dev)
set(CPACK_COMPONENTS_ALL agent documents library development)
if(TARNO_BUILD_TOOLS)
    installForPackage(tools tarnosnmp-tools)
    list(APPEND CPACK_COMPONENTS_ALL tools)
endif()

# Maintainer scripts have plain names in a package.
foreach(SCRIPT postinst prerm postrm conffiles)
    configure_file(${PACKAGING}/agent.${SCRIPT} ${CMAKE_BINARY_DIR}/packaging/control/${SCRIPT} COPYONLY)
    list(APPEND CPACK_DEBIAN_AGENT_PACKAGE_CONTROL_EXTRA ${CMAKE_BINARY_DIR}/packaging/control/${SCRIPT})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tarnosnmp)
set(CPACK_PACKAGE_VERSION ${PACKAGE_VERSION})
set(CPACK_PACKAGE_CONTACT ${MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_OUTPUT_FILE_PREFIX ${CMAKE_BINARY_DIR}/packages)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

set(CPACK_DEBIAN_AGENT_PACKAGE_NAME tarnosnmp)
set(CPACK_DEBIAN_AGENT_DESCRIPTION "SNMP agent of a network device
Serves the objects of the device's management application as SNMP scalars and
tables, as an AgentX subagent of snmpd. An SQLite mapping database defines
which object is served under which OID; values are exchanged over System V
message queues.")
set(CPACK_DEBIAN_AGENT_PACKAGE_RECOMMENDS snmpd)
# Master mode kills a running master with killall.
set(CPACK_DEBIAN_AGENT_PACKAGE_SUGGESTS "psmisc, snmp, tarnosnmp-doc, tarnosnmp-tools")

set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_NAME tarnosnmp-doc)
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DOCUMENTS_DESCRIPTION "SNMP agent of a network device (documentation)
The pages for makers of devices, operators and contributors of the SNMP agent
tarnoSnmp: mapping, operation, security, monitoring, performance.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME tarnosnmp-tools)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "tools for the SNMP agent tarnoSnmp
tarnoMapping builds, checks, lists and publishes mapping databases.
tarnoDeviceSim simulates the device application, to try a mapping and the
agent without the device.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_ENHANCES tarnosnmp)
# smidump reads MIB modules.
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS smitools)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${LIBRARY_PACKAGE})
# CPack has no setting for the second field before 3.31.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION "libs\nMulti-Arch: same")
# With shlibdeps, CPack would add maintainer scripts that run ldconfig; Debian's libraries have a trigger.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "libc6 (>= 2.34)")
set(LIBRARY_CONTROL ${CMAKE_BINARY_DIR}/packaging/library)
file(CONFIGURE OUTPUT ${LIBRARY_CONTROL}/triggers CONTENT "activate-noawait ldconfig\n")
file(CONFIGURE OUTPUT ${LIBRARY_CONTROL}/shlibs
    CONTENT "libtarnodevice ${PROJECT_VERSION_MAJOR} ${LIBRARY_PACKAGE} (>= ${PROJECT_VERSION}~)\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${LIBRARY_CONTROL}/triggers ${LIBRARY_CONTROL}/shlibs)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "device application's end of the link to tarnoSnmp
A program declares its objects and serves them to the SNMP agent tarnoSnmp,
over System V message queues.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtarnodevice-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION "libdevel\nMulti-Arch: same")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${LIBRARY_PACKAGE} (= ${PACKAGE_VERSION}), libc6-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "pkgconf, tarnosnmp-tools")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "device application's end of the link to tarnoSnmp (development)
The header, the static library, manual pages and examples of libtarnodevice,
with which a device application in C serves its objects to the SNMP agent
tarnoSnmp.")

# adduser for the service's user; init functions for systems without systemd.
set(AGENT_NEEDS "adduser, init-system-helpers (>= 1.54~), sysvinit-utils (>= 3.05-4) | lsb-base")
if(CMAKE_CROSSCOMPILING)
    execute_process(COMMAND dpkg-architecture --host-type=${CMAKE_LIBRARY_ARCHITECTURE} --query=DEB_HOST_ARCH
        OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE OUTPUT_STRIP_TRAILING_WHITESPACE
        ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
    include(${CMAKE_CURRENT_LIST_DIR}/RuntimePackages.cmake)
    listLibraries()
    set(CPACK_DEBIAN_AGENT_PACKAGE_DEPENDS "${AGENT_LIBRARIES}, ${AGENT_NEEDS}")
    set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${TOOLS_LIBRARIES}")
else()
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_AGENT_PACKAGE_DEPENDS ${AGENT_NEEDS})
endif()
include(CPack)
