// Time control: the search limits, the words shared with a second host
// thread, the clock origin, elapsed time and the stop decision.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform.h"

// Search limits set by the host (and by the root for a single legal move).
enum : int { TimeModeInfinite = 0, TimeModeDepth = 3, TimeModeBlitz = 5, TimeModeMovesInTime = 6 };
extern int32_t TimeMode;
extern int32_t DepthLimit;
extern int32_t ClockTimeMs;
extern int32_t IncrementMs;
extern int32_t MovesToGo;
// Blitz clock shares, a parameter the host sets by name.
extern int32_t BlitzPlayingSpeed;

// Words shared with a second host thread while a search runs.
extern std::atomic<int32_t> StopSearch;
extern std::atomic<int32_t> Pondering;
extern std::atomic<int32_t> PonderedMs;
extern std::atomic<int64_t> SearchStartTicks;

// Milliseconds of a monotonic clock: SystemClockMs unless a test replaces it.
extern int64_t (*ReadClockMs)();

// How far the root search has come, for the rule before a root move.
struct RootProgress {
  int32_t moveIndex;            // the root move about to start, 1 = first of an iteration
  int32_t bestMoveChangeDepth;  // depth at which the best move last changed
  int32_t scoreDropped;         // the first move's score fell in this iteration
};

// SearchStartTicks := the clock now.
void StartClock();
// Milliseconds since SearchStartTicks, 0 to INT32_MAX.
int32_t ElapsedMs();
// 1 when the search must stop: at ply 1 before a root move, judged with the
// root's progress; deeper in the tree, where the progress plays no part.
int TimeCheck(int depth, int ply, const RootProgress &root);
// Ends pondering: PonderedMs := the time pondered, the clock restarts, and
// Pondering is cleared last so a time check never sees half of it.
void StopPondering();
