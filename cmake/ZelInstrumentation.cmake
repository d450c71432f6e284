# Sanitizers and coverage act on the whole build, so that no object is left out.
set(ZEL_SANITIZE "" CACHE STRING "Sanitizers to build with, as in -fsanitize=")
option(ZEL_COVERAGE "Record line and branch coverage" OFF)
option(ZEL_LIBFUZZER "Build the fuzz targets as libFuzzer programs" OFF)

if(ZEL_SANITIZE)
    # The code asks this macro: of the compilers' own macros, no two compilers define the same.
    add_compile_definitions(ZEL_SANITIZED)
    # Stacks with lines are all that is looked at: less debug information builds faster.
    # Without "vptr": that check opens a pipe, and takes sound objects for broken where no descriptor is left.
    add_compile_options(-fsanitize=${ZEL_SANITIZE} -fno-sanitize=vptr -fno-omit-frame-pointer -fno-sanitize-recover=all
        -O1 -g1)
    add_link_options(-fsanitize=${ZEL_SANITIZE})
endif()
if(ZEL_COVERAGE)
    add_compile_options(--coverage -fprofile-update=atomic)
    add_link_options(--coverage)
endif()
