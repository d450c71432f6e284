# GoogleTest is built from the distribution's sources, with this build's compiler and
# instrumentation: the ready-made library fits neither the cross-build nor the sanitizers.
set(BUILD_GMOCK OFF)
set(INSTALL_GTEST OFF)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
# Nobody steps through it, and it takes no time in a run.
foreach(ZEL_GTEST gtest gtest_main)
    target_compile_options(${ZEL_GTEST} PRIVATE -O0 -g0)
endforeach()
if(NOT TARGET GTest::gtest_main)
    add_library(GTest::gtest_main ALIAS gtest_main)
endif()
