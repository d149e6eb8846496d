// The platform layer: the clock, the Windows DLL entry point and the
// large-page hint for the hash tables. Everything else the engine needs from
// the system comes through the C library.
#include "platform.h"

#include <atomic>
#include <climits>
#include <cstdint>

// Search results must not depend on the platform: the engine's words have the
// same widths everywhere, and the words shared with a second host thread are
// plain lock-free instructions (no lock, no helper library) on 32-bit x86 too.
static_assert(sizeof(int) == 4 && CHAR_BIT == 8, "the engine assumes 32-bit int");
static_assert(std::atomic<int32_t>::is_always_lock_free, "32-bit atomics must be lock-free");
static_assert(std::atomic<int64_t>::is_always_lock_free, "64-bit atomics must be lock-free");

#ifdef __linux__
#include <sys/mman.h>

// Transparent huge pages (2 MB) for the whole 2 MB blocks inside the table;
// the allocator's block need not be aligned to them.
void AdviseLargePages(void *block, size_t bytes) {
  constexpr uintptr_t Huge = uintptr_t(1) << 21;
  const uintptr_t begin = (reinterpret_cast<uintptr_t>(block) + Huge - 1) & ~(Huge - 1);
  const uintptr_t end = (reinterpret_cast<uintptr_t>(block) + bytes) & ~(Huge - 1);
  if (end > begin) madvise(reinterpret_cast<void *>(begin), end - begin, MADV_HUGEPAGE);
}
#else
void AdviseLargePages(void *, size_t) {}
#endif

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <ctime>

// The Windows C runtime's clock() counts wall-clock milliseconds since the
// process started, so the DLL needs no other time source.
static_assert(CLOCKS_PER_SEC == 1000, "clock() must tick in milliseconds");
int64_t SystemClockMs() { return std::clock(); }

// The DLL's entry point, called by the Windows loader without any start-up
// code in between. Loading builds nothing (VarnInit does); the engine has no
// use for thread attach and detach notifications, so it declines them.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(module);
  return TRUE;
}
#else
#include <chrono>

// The steady clock, which never goes backwards.
int64_t SystemClockMs() {
#ifdef VARN_SINGLE_THREAD
  OnClockRead();
#endif
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}
#endif
