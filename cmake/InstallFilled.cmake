# For scripts that run at install time and know SOURCE_DIRECTORY and BINARY_DIRECTORY.
set(FILE_MODE OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

# installFilled SOURCE DIRECTORY NAME MODE...: installs a file of packaging/ with the variables filled in.
function(installFilled SOURCE DIRECTORY NAME)
    set(FILLED ${BINARY_DIRECTORY}/filled)
    configure_file(${SOURCE_DIRECTORY}/packaging/${SOURCE} ${FILLED}/${NAME} @ONLY)
    file(INSTALL DESTINATION ${DIRECTORY} TYPE FILE PERMISSIONS ${ARGN} FILES ${FILLED}/${NAME})
    file(REMOVE_RECURSE ${FILLED})
endfunction()
