# The files of `cmake --install`, in five components: the agent with its service, the pages, the tools, and
# libtarnodevice in two (cmake/InstallDevice.cmake).
# Respects DESTDIR and --prefix. With the prefix /usr settings go to /etc, otherwise to etc below the prefix.
include(GNUInstallDirs)
file(GLOB AGENT_MANUALS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/docs/man/tarnoSnmp.8
    ${CMAKE_SOURCE_DIR}/docs/man/*.5 ${CMAKE_SOURCE_DIR}/docs/man/tarnosnmp-*.7)
file(GLOB TOOL_MANUALS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/docs/man/*.1)

install(TARGETS tarnoSnmp DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT agent)
install(FILES examples/snmpd.conf DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tarnosnmp/examples
    COMPONENT agent)
# The service contains the path of the agent, which is known only at install time.
install(CODE "set(SOURCE_DIRECTORY [[${CMAKE_SOURCE_DIR}]])
set(BINARY_DIRECTORY [[${CMAKE_BINARY_DIR}]])
include([[${CMAKE_SOURCE_DIR}/cmake/InstallService.cmake]])" COMPONENT agent)

# Arranged as in the sources, so that their links work.
install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tarnosnmp
    COMPONENT documents)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tarnosnmp
    COMPONENT documents PATTERN diagrams EXCLUDE)

if(TARNO_BUILD_TOOLS)
    install(TARGETS tarnoMapping tarnoDeviceSim DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
    install(FILES tools/mapping/completion/tarnoMapping.bash RENAME tarnoMapping
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
    install(FILES tools/mapping/completion/_tarnoMapping
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT tools)
    install(FILES tools/mapping/schema/mapping.schema.json
        DESTINATION ${CMAKE_INSTALL_DATADIR}/tarnosnmp-tools COMPONENT tools)
    install(FILES examples/sample.yaml examples/small.yaml examples/full-size.yaml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tarnosnmp-tools/examples COMPONENT tools)
endif()

# installManuals COMPONENT FILE...: compressed like Debian's, without a timestamp, so that the same sources
# always give the same files.
function(installManuals COMPONENT)
    find_program(GZIP gzip REQUIRED)
    foreach(MANUAL IN LISTS ARGN)
        cmake_path(GET MANUAL FILENAME NAME)
        string(REGEX REPLACE ".*\\." "" SECTION ${NAME})
        set(COPY ${CMAKE_BINARY_DIR}/manuals/${NAME})
        set(COMPRESSED ${COPY}.gz)
        add_custom_command(OUTPUT ${COMPRESSED}
            COMMAND ${CMAKE_COMMAND} -E copy ${MANUAL} ${COPY}
            COMMAND ${GZIP} -9 --no-name --force ${COPY}
            DEPENDS ${MANUAL} VERBATIM)
        list(APPEND ALL_COMPRESSED ${COMPRESSED})
        install(FILES ${COMPRESSED} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${SECTION}
            COMPONENT ${COMPONENT})
    endforeach()
    add_custom_target(${COMPONENT}Manuals ALL DEPENDS ${ALL_COMPRESSED})
endfunction()

installManuals(agent ${AGENT_MANUALS})
if(TARNO_BUILD_TOOLS)
    installManuals(tools ${TOOL_MANUALS})
endif()
include(cmake/InstallDevice.cmake)
