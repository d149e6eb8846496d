# Cross-compiles for 64-bit Windows with the MinGW-w64 x86_64 toolchain: not
# the shipped build, but one that Wine can run where 32-bit programs cannot.
# The posix-threads variant provides std::thread and the atomics the host uses.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(VARN_MINGW_PREFIX x86_64-w64-mingw32)
find_program(CMAKE_CXX_COMPILER NAMES ${VARN_MINGW_PREFIX}-g++-posix ${VARN_MINGW_PREFIX}-g++ REQUIRED)
find_program(CMAKE_C_COMPILER NAMES ${VARN_MINGW_PREFIX}-gcc-posix ${VARN_MINGW_PREFIX}-gcc)
find_program(CMAKE_RC_COMPILER NAMES ${VARN_MINGW_PREFIX}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${VARN_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

