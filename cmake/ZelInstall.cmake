# What an installation holds: the library and its headers, the import libraries, the package that
# find_package(zel) finds (target zel::zel), the one for pkg-config, the programs with their manual pages and
# completion, the dissector, the licence.
include(CMakePackageConfigHelpers)

set(ZEL_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zel)

install(TARGETS zel EXPORT zelTargets)
install(DIRECTORY include/zel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
if(WIN32)
    install(FILES ${PROJECT_BINARY_DIR}/zel.lib DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

install(EXPORT zelTargets NAMESPACE zel:: DESTINATION ${ZEL_PACKAGE_DIR})
configure_package_config_file(cmake/zelConfig.cmake.in ${PROJECT_BINARY_DIR}/zelConfig.cmake
    INSTALL_DESTINATION ${ZEL_PACKAGE_DIR} PATH_VARS CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zelConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zelConfig.cmake ${PROJECT_BINARY_DIR}/zelConfigVersion.cmake
    DESTINATION ${ZEL_PACKAGE_DIR})

# The way from zel.pc to the prefix: an installation may be moved.
file(RELATIVE_PATH ZEL_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
cmake_path(SET ZEL_PREFIX_FROM_PC NORMALIZE "${ZEL_PREFIX_FROM_PC}")
string(REGEX REPLACE "/$" "" ZEL_PREFIX_FROM_PC "${ZEL_PREFIX_FROM_PC}")
configure_file(cmake/zel.pc.in zel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# For whoever looks at the wire: docs/wireshark.md tells where Wireshark looks for it.
install(FILES tools/wireshark/zel.lua DESTINATION ${CMAKE_INSTALL_DATADIR}/zel/wireshark)

# The manual's section 3 is for hosts, section 1 for the programs.
file(GLOB ZEL_MANUAL_1 CONFIGURE_DEPENDS docs/*.1)
file(GLOB ZEL_MANUAL_3 CONFIGURE_DEPENDS docs/*.3)
if(NOT WIN32)
    install(FILES ${ZEL_MANUAL_3} DESTINATION ${CMAKE_INSTALL_MANDIR}/man3)
endif()

if(ZEL_BUILD_APPS)
    install(TARGETS penctl pensim)
    if(NOT WIN32)
        install(FILES ${ZEL_MANUAL_1} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
        foreach(PROGRAM penctl pensim)
            install(FILES packaging/completion/zel.bash RENAME ${PROGRAM}
                DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
        endforeach()
        install(FILES packaging/completion/_zel DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
    endif()
endif()

# Last: what is installed by now is stripped, its debug information goes into files of its own.
option(ZEL_STRIP "Strip what is installed; its debug information is installed apart" ON)
if(ZEL_STRIP AND CMAKE_BUILD_TYPE MATCHES "RelWithDebInfo|Debug" AND CMAKE_OBJCOPY)
    set(ZEL_BINARIES $<IF:$<BOOL:${WIN32}>,${CMAKE_INSTALL_BINDIR},${CMAKE_INSTALL_LIBDIR}>/$<TARGET_FILE_NAME:zel>)
    if(ZEL_BUILD_APPS)
        list(APPEND ZEL_BINARIES ${CMAKE_INSTALL_BINDIR}/$<TARGET_FILE_NAME:penctl>
            ${CMAKE_INSTALL_BINDIR}/$<TARGET_FILE_NAME:pensim>)
    endif()
    install(CODE "
        set(ZEL_OBJCOPY \"${CMAKE_OBJCOPY}\")
        set(ZEL_BINARIES \"${ZEL_BINARIES}\")
        include(\"${PROJECT_SOURCE_DIR}/cmake/ZelSplitDebug.cmake\")")
endif()
