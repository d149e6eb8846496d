// Time control: the clock origin, elapsed time and the stop decision.
#pragma once

#include <cstdint>

// Milliseconds of a monotonic clock; tests may replace it.
extern int64_t (*ReadClockMs)();
int64_t SystemClockMs();

// SearchStartTicks := the clock now.
void StartClock();
// Milliseconds since SearchStartTicks, 0 to INT32_MAX.
int32_t ElapsedMs();
// 1 when the search must stop (ply 1: before a root move; deeper: in the tree).
int TimeCheck(int depth, int ply);
// Ends pondering: PonderedMs := the time pondered, the clock restarts, and
// Pondering is cleared last so a time check never sees half of it.
void StopPondering();
