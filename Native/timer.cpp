// Time control: elapsed time since the clock origin and the decision, before a
// root move or in the tree, whether the search must stop.
#include "timer.h"

#include <cstdint>

int32_t TimeMode;
int32_t DepthLimit;
int32_t ClockTimeMs;
int32_t IncrementMs;
int32_t MovesToGo;
int32_t BlitzPlayingSpeed;

std::atomic<int32_t> StopSearch;
std::atomic<int32_t> Pondering;
std::atomic<int32_t> PonderedMs;
std::atomic<int64_t> SearchStartTicks;

int64_t (*ReadClockMs)() = SystemClockMs;

namespace {

// Milliseconds from start to now, clamped to what an int32 holds.
int32_t Since(int64_t start, int64_t now) {
  int64_t elapsed = now - start;
  if (elapsed < 0) return 0;
  return elapsed > INT32_MAX ? INT32_MAX : int32_t(elapsed);
}

// Before a root move: a new iteration needs a share of the budget left, later
// root moves the whole budget; moves 2 to 5 and a dropped score always go on.
int RootRule(const RootProgress &root, int64_t budget, int64_t pondered, int64_t elapsed, int depth) {
  if (root.moveIndex == 1) {
    int64_t percent = depth - root.bestMoveChangeDepth >= 180 ? 50 : 70;
    return (pondered + elapsed) * 100 > (pondered + budget) * percent;
  }
  if (root.moveIndex <= 5) return 0;
  if (root.scoreDropped) return 0;
  return elapsed > budget;
}

// Divisors guarded against values the exports never store.
int32_t MovesLeft() { return MovesToGo < 1 ? 1 : MovesToGo; }
int32_t BlitzShares() { return BlitzPlayingSpeed < 1 ? 1 : BlitzPlayingSpeed; }

}  // namespace

void StartClock() { SearchStartTicks = ReadClockMs(); }

int32_t ElapsedMs() { return Since(SearchStartTicks.load(), ReadClockMs()); }

// The origin moves first, PonderedMs next, and clearing Pondering publishes both.
void StopPondering() {
  int64_t now = ReadClockMs();
  int32_t pondered = Since(SearchStartTicks.load(), now);
  SearchStartTicks.store(now);
  PonderedMs.store(pondered);
  Pondering.store(0);
}

// Pondering is read first and PonderedMs before SearchStartTicks, the reverse
// of the order StopPondering writes them, so a check sees either both new
// values or an older PonderedMs with a newer origin, never a stop too early.
int TimeCheck(int depth, int ply, const RootProgress &root) {
  if (Pondering.load()) return 0;
  const int64_t pondered = PonderedMs.load();
  const int64_t elapsed = ElapsedMs();
  const int64_t clock = ClockTimeMs;
  if (ply <= 1) {
    switch (TimeMode) {
      case TimeModeMovesInTime:
        return RootRule(root, clock / MovesLeft(), pondered, elapsed, depth);
      case TimeModeBlitz:
        if (elapsed > clock) return 1;
        return RootRule(root, clock / BlitzShares() + IncrementMs, pondered, elapsed, depth);
      case TimeModeDepth:
        return depth / 60 > DepthLimit;
      default:
        return 0;
    }
  }
  switch (TimeMode) {
    case TimeModeMovesInTime: {
      const int64_t budget = clock / MovesLeft();
      if (elapsed >= 4 * budget) return 1;
      // Stop when what remains, less a second, is at most half a budget per other move.
      return clock - elapsed - 1000 <= budget / 2 * (MovesLeft() - 1);
    }
    case TimeModeBlitz:
      return elapsed >= 6 * (clock / BlitzShares());
    default:
      return 0;
  }
}
