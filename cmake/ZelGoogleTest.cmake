# A build takes the distribution's library of GoogleTest. That fits neither the cross-build nor ThreadSanitizer: they
# build it from its sources (Debian has them, in googletest).
if(NOT CMAKE_CROSSCOMPILING AND NOT ZEL_SANITIZE MATCHES "thread")
    find_package(GTest REQUIRED)
    return()
endif()
find_path(ZEL_GOOGLETEST_SOURCES googletest/include/gtest/gtest.h PATHS /usr/src/googletest
    NO_CMAKE_FIND_ROOT_PATH REQUIRED DOC "Sources of GoogleTest")
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
