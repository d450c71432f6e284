# cmake -DMAKE=<usb_table|chaining_value> -DVALUE=<value> -DHEADER=<scratch> -P check_option.cmake
# Fails as the configuration of a build would.
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/../cmake/ZelBuilderOptions.cmake)
cmake_language(CALL zel_write_${MAKE} "${VALUE}" ${HEADER})
