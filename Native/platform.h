// What the engine asks of the operating system beyond the standard library.
#pragma once

#include <cstddef>
#include <cstdint>

// Milliseconds of a clock that never goes backwards, from an arbitrary origin.
int64_t SystemClockMs();

#ifdef VARN_SINGLE_THREAD
// A build without threads has no second thread to stop a search: the host
// defines this hook, which every clock read calls first.
void OnClockRead();
#endif

// Asks for large memory pages for a big table, which spares the processor
// most address-translation misses on its random accesses; a hint that
// changes no contents and does nothing where the system has no such request.
void AdviseLargePages(void *block, size_t bytes);
