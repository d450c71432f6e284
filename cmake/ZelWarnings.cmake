# The warnings that every target of this project is built with.
add_library(zel_warnings INTERFACE)
target_compile_options(zel_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow $<$<BOOL:${PROJECT_IS_TOP_LEVEL}>:-Werror>)
