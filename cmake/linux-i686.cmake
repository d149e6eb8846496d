# Builds 32-bit x86 Linux programs with the host's GCC and its multilib
# support (packages gcc-multilib and g++-multilib): the data model of the
# shipped 32-bit Windows DLL, built and tested as a Linux build.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)

set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
# SSE2 arithmetic instead of the x87 unit, as in the Windows build, so that no
# floating-point step rounds differently from the 64-bit builds.
set(CMAKE_C_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-m32")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-m32")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-m32")

# Where the kernel cannot run 32-bit programs, pass an emulator with
# -DCMAKE_CROSSCOMPILING_EMULATOR=qemu-i386; CTest then runs the tests with it.
