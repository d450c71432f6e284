set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

# Debian tells the compilers with POSIX threads by their names; elsewhere there is no other kind.
find_program(ZEL_MINGW_CC NAMES x86_64-w64-mingw32-gcc-posix x86_64-w64-mingw32-gcc REQUIRED)
find_program(ZEL_MINGW_CXX NAMES x86_64-w64-mingw32-g++-posix x86_64-w64-mingw32-g++ REQUIRED)
set(CMAKE_C_COMPILER ${ZEL_MINGW_CC})
set(CMAKE_CXX_COMPILER ${ZEL_MINGW_CXX})
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Where the target's libraries are: asked of the compiler, as it differs between distributions.
execute_process(COMMAND ${ZEL_MINGW_CC} -print-file-name=libws2_32.a
    OUTPUT_VARIABLE ZEL_MINGW_LIBRARY OUTPUT_STRIP_TRAILING_WHITESPACE)
cmake_path(GET ZEL_MINGW_LIBRARY PARENT_PATH ZEL_MINGW_ROOT)
cmake_path(SET CMAKE_FIND_ROOT_PATH NORMALIZE ${ZEL_MINGW_ROOT}/..)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Every program carries its own runtime: nothing but system DLLs may be needed.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")

set(CMAKE_CROSSCOMPILING_EMULATOR wine)
