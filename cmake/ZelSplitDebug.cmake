# At installation, for each of ZEL_BINARIES (paths below the prefix): its debug information goes to .debug/
# beside it, where GDB looks for it, and the rest is stripped.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    set(ENV{SOURCE_DATE_EPOCH} 0) # objcopy would write the time of the installation into Windows programs
endif()
foreach(BINARY IN LISTS ZEL_BINARIES)
    cmake_path(GET BINARY PARENT_PATH FOLDER)
    cmake_path(GET BINARY FILENAME NAME)
    set(FOLDER "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/${FOLDER}")
    cmake_path(ABSOLUTE_PATH FOLDER) # the prefix may be relative to where the installation was started
    set(DEBUG_FILE "${FOLDER}/.debug/${NAME}.debug")
    message(STATUS "Stripping: ${FOLDER}/${NAME}")
    file(MAKE_DIRECTORY "${FOLDER}/.debug")
    execute_process(COMMAND_ERROR_IS_FATAL ANY
        COMMAND "${ZEL_OBJCOPY}" --only-keep-debug --compress-debug-sections "${NAME}" "${DEBUG_FILE}"
        WORKING_DIRECTORY "${FOLDER}")
    execute_process(COMMAND_ERROR_IS_FATAL ANY
        COMMAND "${ZEL_OBJCOPY}" --strip-unneeded "--add-gnu-debuglink=${DEBUG_FILE}" "${NAME}"
        WORKING_DIRECTORY "${FOLDER}")
    file(CHMOD "${DEBUG_FILE}" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endforeach()
