include_guard(GLOBAL)

# The header-only libraries that the programs use (networking, JSON, command line, formatting)
# come from the distribution's packages. A cross-build must not see the host's C headers, so
# their folder never becomes an include path: links to just these libraries stand in a folder
# of the build tree, the same for every platform.
set(ZEL_HOST_INCLUDE_DIR /usr/include CACHE PATH "Where the header-only libraries are installed")

set(ZEL_HOST_HEADER_LINKS ${CMAKE_BINARY_DIR}/host_headers)
file(MAKE_DIRECTORY ${ZEL_HOST_HEADER_LINKS})
foreach(ZEL_HEADER asio asio.hpp boost nlohmann CLI fmt)
    if(NOT EXISTS ${ZEL_HOST_INCLUDE_DIR}/${ZEL_HEADER})
        message(FATAL_ERROR "${ZEL_HOST_INCLUDE_DIR}/${ZEL_HEADER} is missing: install libasio-dev, libboost-dev, "
            "nlohmann-json3-dev, libcli11-dev and libfmt-dev")
    endif()
    file(CREATE_LINK ${ZEL_HOST_INCLUDE_DIR}/${ZEL_HEADER} ${ZEL_HOST_HEADER_LINKS}/${ZEL_HEADER} SYMBOLIC)
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
