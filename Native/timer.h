// Time control: the clock origin, elapsed time and the stop decision.
#pragma once

#include <cstdint>

// Milliseconds of a monotonic clock; tests may replace it.
extern int64_t (*ReadClockMs)();
int64_t SystemClockMs();

void StartClock();
int32_t ElapsedMs();
// 1 when the search must stop (ply 1: before a root move; deeper: in the tree).
int TimeCheck(int depth, int ply);
