# What an installation holds: the library, its headers, the import libraries, the licence, and the
# package that find_package(zel) finds, with the target zel::zel.
include(CMakePackageConfigHelpers)

set(ZEL_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zel)

install(TARGETS zel EXPORT zelTargets)
install(DIRECTORY include/zel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
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

# For whoever looks at the wire: docs/wireshark.md tells where Wireshark looks for it.
install(FILES tools/wireshark/zel.lua DESTINATION ${CMAKE_INSTALL_DATADIR}/zel/wireshark)
