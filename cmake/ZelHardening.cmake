# Hardening that is on in every build: stack protector, fortified C library calls,
# read-only relocations and position-independent programs on ELF; ASLR and DEP on PE.
add_library(zel_hardening INTERFACE)
target_compile_options(zel_hardening INTERFACE -fstack-protector-strong)
target_compile_definitions(zel_hardening INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
if(WIN32)
    target_link_options(zel_hardening INTERFACE
        -fstack-protector-strong -Wl,--dynamicbase -Wl,--nxcompat -Wl,--high-entropy-va)
else()
    target_link_options(zel_hardening INTERFACE
        -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
    set(CMAKE_POSITION_INDEPENDENT_CODE ON)
    include(CheckPIESupported)
    check_pie_supported()
endif()
