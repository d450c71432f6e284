# Builds for Windows as Microsoft's tools do: their object format, their linker's input. Nothing of
# theirs is at hand, so a program may use no header or library but the package's.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET x86_64-pc-windows-msvc)
set(CMAKE_CXX_COMPILER_TARGET x86_64-pc-windows-msvc)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_C_STANDARD_LIBRARIES "" CACHE STRING "")
set(CMAKE_CXX_STANDARD_LIBRARIES "" CACHE STRING "")
set(CMAKE_MSVC_RUNTIME_LIBRARY "")
