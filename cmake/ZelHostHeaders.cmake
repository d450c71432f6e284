include_guard(GLOBAL)

# The header-only libraries that the programs use (networking, JSON, command line, formatting) come from this
# machine's packages, also in a cross-build, where CMake by itself looks only among the target's: they are looked
# for beside the programs in PATH (/usr/include beside /usr/bin), and below CMAKE_PREFIX_PATH. A cross-build must
# not see the machine's C headers, so their folder never becomes an include path: links to just these libraries
# stand in a folder of the build tree, the same for every platform.
cmake_path(CONVERT "$ENV{PATH}" TO_CMAKE_PATH_LIST ZEL_HOST_PREFIXES)
list(TRANSFORM ZEL_HOST_PREFIXES REPLACE "/s?bin/?$" "")

set(ZEL_HOST_HEADER_LINKS ${CMAKE_BINARY_DIR}/host_headers)
file(MAKE_DIRECTORY ${ZEL_HOST_HEADER_LINKS})
foreach(ZEL_HEADER asio.hpp asio/io_context.hpp boost/beast.hpp nlohmann/json.hpp CLI/CLI.hpp fmt/core.h)
    find_path(ZEL_FOLDER_OF_${ZEL_HEADER} ${ZEL_HEADER} PATHS ${ZEL_HOST_PREFIXES} PATH_SUFFIXES include
        NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    string(REGEX REPLACE "/.*" "" ZEL_LINK ${ZEL_HEADER}) # the library's own folder, or its one header
    file(CREATE_LINK ${ZEL_FOLDER_OF_${ZEL_HEADER}}/${ZEL_LINK} ${ZEL_HOST_HEADER_LINKS}/${ZEL_LINK} SYMBOLIC)
endforeach()

add_library(zel_host_headers INTERFACE)
target_include_directories(zel_host_headers SYSTEM INTERFACE ${ZEL_HOST_HEADER_LINKS})
target_compile_definitions(zel_host_headers INTERFACE ASIO_STANDALONE FMT_HEADER_ONLY)
if(ZEL_SANITIZE MATCHES "thread")
    # ThreadSanitizer does not understand fences; asio's own locks do without them.
    target_compile_definitions(zel_host_headers INTERFACE ASIO_DISABLE_FENCED_BLOCK)
endif()
if(WIN32)
    target_compile_definitions(zel_host_headers INTERFACE
        _WIN32_WINNT=0x0A00 WIN32_LEAN_AND_MEAN NOMINMAX)
    target_link_libraries(zel_host_headers INTERFACE ws2_32 mswsock)
else()
    find_package(Threads REQUIRED)
    target_link_libraries(zel_host_headers INTERFACE Threads::Threads)
endif()
