# Cross-compiles for 32-bit Windows with the MinGW-w64 i686 toolchain.
# The posix-threads variant provides std::thread and the atomics the host uses.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)

set(VARN_MINGW_PREFIX i686-w64-mingw32)
find_program(CMAKE_CXX_COMPILER NAMES ${VARN_MINGW_PREFIX}-g++-posix ${VARN_MINGW_PREFIX}-g++ REQUIRED)
find_program(CMAKE_C_COMPILER NAMES ${VARN_MINGW_PREFIX}-gcc-posix ${VARN_MINGW_PREFIX}-gcc)
find_program(CMAKE_RC_COMPILER NAMES ${VARN_MINGW_PREFIX}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${VARN_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# SSE2 arithmetic instead of the x87 unit: any floating-point step then rounds
# exactly as on 64-bit builds, so results cannot drift between the platforms.
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
