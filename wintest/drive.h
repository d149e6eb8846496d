// Drives Varn504 through its eighteen exports as a host does, for the loader
// of the Windows DLL and for the reference run of the Linux library, which
// must print the same "= " lines.
#pragma once

#include <atomic>
#include <cstdint>
#include <type_traits>

#include "../session/exports.h"

// Blocks and bytes the library holds from the C runtime's heap.
struct HeapCount {
  int64_t blocks;
  int64_t bytes;
};

struct DriveOptions {
  int benchDepth = 7;
  int stops = 40;
  HeapCount (*heap)() = nullptr;  // the loader counts malloc and free; null elsewhere
};

// Runs every check, prints one line per result, returns the number failed.
int DriveLibrary(const VarnExports &api, const DriveOptions &options);

#if defined(__i386__)
// Calls fn(words[0], ...) with the stack 4 bytes below 16-byte alignment, as a
// Windows caller may; returns eax. popped: the bytes of arguments the callee
// removed (0 for cdecl); clobbered: nonzero when ebx, esi or edi changed.
extern "C" uint32_t CallMisaligned(const void *fn, const uint32_t *words, int count, int32_t *popped,
                                   uint32_t *clobbered);
// Calls into the library that broke the cdecl convention.
extern std::atomic<int> ConventionFaults;

inline uint32_t Word(int32_t value) { return uint32_t(value); }
inline uint32_t Word(const void *pointer) { return uint32_t(reinterpret_cast<uintptr_t>(pointer)); }

// An export called as a Windows host calls it.
template <typename R, typename... A, typename... B>
R Call(R (*fn)(A...), B... args) {
  const uint32_t words[sizeof...(A) + 1] = {Word(A(args))...};
  int32_t popped = 0;
  uint32_t clobbered = 0;
  const uint32_t result =
      CallMisaligned(reinterpret_cast<const void *>(fn), words, int(sizeof...(A)), &popped, &clobbered);
  if (popped != 0 || clobbered != 0) ++ConventionFaults;
  if constexpr (std::is_pointer_v<R>) return reinterpret_cast<R>(uintptr_t(result));
  else if constexpr (!std::is_void_v<R>) return R(result);
}
#else
template <typename R, typename... A, typename... B>
R Call(R (*fn)(A...), B... args) {
  return fn(A(args)...);
}
#endif
