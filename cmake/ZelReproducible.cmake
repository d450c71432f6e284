# What ships tells neither where nor when it was built. Paths of the sources begin with "." in debug
# information and in messages; a debugger that is started in the root of the tree finds them. Included by the
# folders of the library and the programs, and acts on these alone.
if(NOT ZEL_COVERAGE) # whose reports look for the sources by their paths
    add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=./build)
endif()
add_compile_options(-Wdate-time)
if(WIN32)
    add_link_options(-Wl,--no-insert-timestamp)
endif()
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
