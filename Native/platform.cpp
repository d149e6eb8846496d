// The platform layer: the Windows DLL entry point. Everything else the engine
// needs from the system comes through the standard library, so on other
// platforms this file holds only the checks below.
#include <atomic>
#include <climits>
#include <cstdint>

// Search results must not depend on the platform: the engine's words have the
// same widths everywhere, and the words shared with a second host thread are
// plain lock-free instructions (no lock, no helper library) on 32-bit x86 too.
static_assert(sizeof(int) == 4 && CHAR_BIT == 8, "the engine assumes 32-bit int");
static_assert(std::atomic<int32_t>::is_always_lock_free, "32-bit atomics must be lock-free");
static_assert(std::atomic<int64_t>::is_always_lock_free, "64-bit atomics must be lock-free");

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

// Loading the library builds nothing (VarnInit does); the engine has no use
// for thread attach and detach notifications, so it declines them.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(module);
  return TRUE;
}
#endif
