# Cross-compiles for 64-bit Windows with Debian's MinGW-w64 (package g++-mingw-w64-x86-64):
#   cmake -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/mingw-w64-x86_64.cmake ...
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(_korvex_mingw x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${_korvex_mingw}-gcc)
set(CMAKE_CXX_COMPILER ${_korvex_mingw}-g++)
set(CMAKE_RC_COMPILER ${_korvex_mingw}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${_korvex_mingw})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
