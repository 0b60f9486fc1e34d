# Runs at install time: writes the service files with the paths of the installation.
include(${SOURCE_DIRECTORY}/cmake/InstallFilled.cmake)
set(SBINDIR ${CMAKE_INSTALL_PREFIX}/sbin)
set(BINDIR ${CMAKE_INSTALL_PREFIX}/bin)
set(LIBEXECDIR ${CMAKE_INSTALL_PREFIX}/libexec)
set(SYSCONFDIR ${CMAKE_INSTALL_PREFIX}/etc)
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(SYSCONFDIR /etc)
endif()

set(PROGRAM_MODE OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

installFilled(tarnosnmp.service.in ${CMAKE_INSTALL_PREFIX}/lib/systemd/system tarnosnmp.service ${FILE_MODE})
installFilled(tarnosnmp.default.in ${SYSCONFDIR}/default tarnosnmp ${FILE_MODE})
installFilled(tarnosnmp.init.in ${SYSCONFDIR}/init.d tarnosnmp ${PROGRAM_MODE})
installFilled(tarnosnmp-check-mapping.in ${LIBEXECDIR}/tarnosnmp check-mapping ${PROGRAM_MODE})
# For images with other service managers, which have them in other places.
set(EXAMPLES ${CMAKE_INSTALL_PREFIX}/share/doc/tarnosnmp/examples)
installFilled(tarnosnmp.openrc.in ${EXAMPLES} tarnosnmp.openrc ${PROGRAM_MODE})
installFilled(tarnosnmp.procd.in ${EXAMPLES} tarnosnmp.procd ${PROGRAM_MODE})
installFilled(tarnosnmp-snmpd.conf.in ${SYSCONFDIR}/snmp/snmpd.conf.d tarnosnmp.conf ${FILE_MODE})
# The mapping database comes from the device's own software.
file(MAKE_DIRECTORY $ENV{DESTDIR}${SYSCONFDIR}/tarnosnmp)
