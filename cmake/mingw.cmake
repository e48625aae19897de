# Cross-building for Windows with MinGW-w64; a tool chain file names its CMAKE_SYSTEM_PROCESSOR first.
set(CMAKE_SYSTEM_NAME Windows)
set(triple ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32)

# The posix-threads flavour has std::thread, which the tests use.
find_program(VQ_MINGW_C NAMES ${triple}-gcc-posix ${triple}-gcc REQUIRED)
find_program(VQ_MINGW_CXX NAMES ${triple}-g++-posix ${triple}-g++ REQUIRED)
set(CMAKE_C_COMPILER ${VQ_MINGW_C})
set(CMAKE_CXX_COMPILER ${VQ_MINGW_CXX})
set(CMAKE_RC_COMPILER ${triple}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
