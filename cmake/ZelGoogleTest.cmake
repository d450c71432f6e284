# GoogleTest is built from the distribution's sources, with this build's compiler and
# instrumentation: the ready-made library fits neither the cross-build nor the sanitizers.
set(BUILD_GMOCK ON)
set(INSTALL_GTEST OFF)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
if(NOT TARGET GTest::gtest_main)
    add_library(GTest::gtest_main ALIAS gtest_main)
    add_library(GTest::gmock ALIAS gmock)
endif()
