# GoogleTest is built from its sources, with this build's compiler and instrumentation: a ready-made library fits
# neither the cross-build nor the sanitizers. Where a distribution has no sources (Debian has, in googletest),
# the ordinary build takes the library.
find_path(ZEL_GOOGLETEST_SOURCES googletest/include/gtest/gtest.h PATHS /usr/src/googletest
    NO_CMAKE_FIND_ROOT_PATH DOC "Sources of GoogleTest")
if(ZEL_GOOGLETEST_SOURCES)
    set(BUILD_GMOCK OFF)
    set(INSTALL_GTEST OFF)
    add_subdirectory(${ZEL_GOOGLETEST_SOURCES} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
    # Nobody steps through it, and it takes no time in a run. With a sanitizer's stack beside its own, what is not
    # optimised misreads which way the stack grows, and its death tests die.
    if(NOT ZEL_SANITIZE)
        foreach(ZEL_GTEST gtest gtest_main)
            target_compile_options(${ZEL_GTEST} PRIVATE -O0 -g0)
        endforeach()
    endif()
elseif(CMAKE_CROSSCOMPILING OR ZEL_SANITIZE)
    message(FATAL_ERROR "Set ZEL_GOOGLETEST_SOURCES to the folder of GoogleTest's sources")
else()
    find_package(GTest REQUIRED)
endif()
if(NOT TARGET GTest::gtest_main)
    add_library(GTest::gtest_main ALIAS gtest_main)
endif()
