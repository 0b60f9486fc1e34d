# Runs at install time: writes the description of libtarnodevice for pkg-config, with the prefix of the installation.
include(${SOURCE_DIRECTORY}/cmake/InstallFilled.cmake)
installFilled(tarnodevice.pc.in ${CMAKE_INSTALL_PREFIX}/${LIBDIR}/pkgconfig tarnodevice.pc ${FILE_MODE})
