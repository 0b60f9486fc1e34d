# libtarnodevice in two components: what programs run with, and what they are built with.
file(GLOB DEVICE_MANUALS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/docs/man/tarnodevice.[37])
# The directory of the architecture under any prefix, as Debian has it, unless another one was asked for.
set(DEVICE_LIBDIR ${CMAKE_INSTALL_LIBDIR})
if(DEVICE_LIBDIR STREQUAL "lib" AND CMAKE_LIBRARY_ARCHITECTURE)
    set(DEVICE_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE})
endif()
set(DEVICE_CMAKE_DIRECTORY ${DEVICE_LIBDIR}/cmake/tarnodevice)

install(TARGETS tarnodevice tarnodeviceStatic EXPORT tarnodevice
    LIBRARY DESTINATION ${DEVICE_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${DEVICE_LIBDIR} COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES device/include/tarnodevice.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(FILES examples/device/pump.c examples/device/event_loop.c examples/device/pump.yaml
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libtarnodevice-dev/examples COMPONENT development)
install(PROGRAMS examples/device/device.py
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libtarnodevice-dev/examples COMPONENT development)

# find_package(tarnodevice) gives tarnodevice::tarnodevice and tarnodevice::tarnodeviceStatic.
include(CMakePackageConfigHelpers)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/tarnodeviceConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(EXPORT tarnodevice NAMESPACE tarnodevice:: FILE tarnodeviceConfig.cmake
    DESTINATION ${DEVICE_CMAKE_DIRECTORY} COMPONENT development)
install(FILES ${CMAKE_BINARY_DIR}/tarnodeviceConfigVersion.cmake
    DESTINATION ${DEVICE_CMAKE_DIRECTORY} COMPONENT development)
install(CODE "set(SOURCE_DIRECTORY [[${CMAKE_SOURCE_DIR}]])
set(BINARY_DIRECTORY [[${CMAKE_BINARY_DIR}]])
set(LIBDIR [[${DEVICE_LIBDIR}]])
set(VERSION [[${PROJECT_VERSION}]])
include([[${CMAKE_SOURCE_DIR}/cmake/InstallPkgConfig.cmake]])" COMPONENT development)

installManuals(development ${DEVICE_MANUALS})
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/manuals)
# A link for each function that the page names.
file(STRINGS docs/man/tarnodevice.3 FUNCTIONS REGEX "^\\.Nm tarno_")
list(TRANSFORM FUNCTIONS REPLACE "^\\.Nm (tarno_[a-z_]+).*" "\\1")
foreach(FUNCTION IN LISTS FUNCTIONS)
    set(LINK ${CMAKE_BINARY_DIR}/manuals/${FUNCTION}.3.gz)
    file(CREATE_LINK tarnodevice.3.gz ${LINK} SYMBOLIC)
    install(FILES ${LINK} DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT development)
endforeach()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/docs/man/tarnodevice.3)
