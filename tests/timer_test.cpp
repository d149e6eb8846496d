#include <gtest/gtest.h>

#include <atomic>
#include <climits>

#include "interface.h"
#include "root.h"
#include "timer.h"

namespace {

std::atomic<int64_t> FakeNow;
int64_t FakeClock() { return FakeNow.load(); }

constexpr int64_t Origin = 5'000'000'000;  // far from 0, beyond int32

// A search started at Origin on a fake clock, at the first root move of an
// iteration whose best move has just changed.
class Clock : public ::testing::Test {
 protected:
  void SetUp() override {
    ReadClockMs = FakeClock;
    FakeNow = Origin;
    StartClock();
    Pondering = 0;
    PonderedMs = 0;
    Root = {1, 300, 0};
    BlitzPlayingSpeed = 26;
    IncrementMs = 0;
  }
  void TearDown() override { ReadClockMs = SystemClockMs; }
  static inline RootProgress Root;
  // The answer of the time check after ms since the clock started.
  static int StopAt(int64_t ms, int depth, int ply) {
    FakeNow = Origin + ms;
    return TimeCheck(depth, ply, Root);
  }
  // The first elapsed millisecond at which the check answers 1.
  static int64_t FirstStop(int depth, int ply, int64_t limit = 1'000'000) {
    for (int64_t ms = 0; ms <= limit; ++ms)
      if (StopAt(ms, depth, ply)) return ms;
    return -1;
  }
};

// One time rule: the limits the host set, the place of the check (root move
// index, depth in sixtieths, ply) and the first elapsed millisecond at which
// the check says stop (-1: never within a million).
struct TimeRule {
  const char *what;
  int mode, first, second;  // VarnSetTime(moves, s), VarnSetBlitz(s, inc), VarnSetDepth(plies)
  int blitzSpeed, rootIndex, changeDepth, pondering;
  int depth, ply;
  int64_t firstStop;
};

void PrintTo(const TimeRule &rule, std::ostream *out) { *out << rule.what; }

class TimeRules : public Clock, public testing::WithParamInterface<TimeRule> {};

TEST_P(TimeRules, FirstStop) {
  const TimeRule &rule = GetParam();
  switch (rule.mode) {
    case TimeModeMovesInTime: VarnSetTime(rule.first, rule.second); break;
    case TimeModeBlitz: VarnSetBlitz(rule.first, rule.second); break;
    case TimeModeDepth: VarnSetDepth(rule.first); break;
    default: VarnSetInfinite();
  }
  BlitzPlayingSpeed = rule.blitzSpeed;
  Root = {rule.rootIndex, rule.changeDepth, 0};
  Pondering = rule.pondering;
  EXPECT_EQ(FirstStop(rule.depth, rule.ply), rule.firstStop);
}

constexpr int MIT = TimeModeMovesInTime, Blitz = TimeModeBlitz, Depth = TimeModeDepth, Inf = TimeModeInfinite;

INSTANTIATE_TEST_SUITE_P(
    Table, TimeRules,
    testing::Values(
        // what, mode, limits, speed, root index, change depth, pondering, depth, ply -> first stop
        TimeRule{"new iteration after 70%", MIT, 1, 10, 26, 1, 300, 0, 300, 1, 7001},
        TimeRule{"stable three plies: 50%", MIT, 1, 10, 26, 1, 120, 0, 300, 1, 5001},
        TimeRule{"root move 5 always starts", MIT, 1, 10, 26, 5, 300, 0, 300, 1, -1},
        TimeRule{"root move 6 after the budget", MIT, 1, 10, 26, 6, 300, 0, 300, 1, 10001},
        TimeRule{"tree: one second must remain", MIT, 1, 10, 26, 1, 300, 0, 600, 2, 9000},
        TimeRule{"40 moves: root", MIT, 40, 200, 26, 1, 300, 0, 300, 1, 3501},
        TimeRule{"40 moves: four budgets in the tree", MIT, 40, 200, 26, 1, 300, 0, 300, 2, 20000},
        TimeRule{"2 moves: half a budget per other move", MIT, 2, 20, 26, 1, 300, 0, 300, 2, 14000},
        TimeRule{"pondering never stops", MIT, 1, 10, 26, 6, 300, 1, 300, 2, -1},
        TimeRule{"blitz: root", Blitz, 300, 5, 26, 1, 300, 0, 300, 1, 11577},
        TimeRule{"blitz: tree", Blitz, 300, 5, 26, 1, 300, 0, 300, 2, 69228},
        TimeRule{"blitz: playing speed", Blitz, 300, 0, 35, 1, 300, 0, 300, 2, 6 * (300000 / 35)},
        TimeRule{"blitz: clock run out", Blitz, 1, 100, 26, 3, 300, 0, 300, 1, 1001},
        TimeRule{"depth: below the limit", Depth, 3, 0, 26, 1, 300, 0, 239, 1, -1},
        TimeRule{"depth: at the limit", Depth, 3, 0, 26, 1, 300, 0, 240, 1, 0},
        TimeRule{"depth: never in the tree", Depth, 3, 0, 26, 1, 300, 0, 6000, 2, -1},
        TimeRule{"infinite", Inf, 0, 0, 26, 1, 300, 0, 6000, 2, -1}));

// The ponder hit restarts the clock and hands the pondered time to the rules.
TEST_F(Clock, PonderHitCountsThePonderedTime) {
  VarnSetTime(1, 10);
  Pondering = 1;
  FakeNow = Origin + 4000;
  VarnPonderingOff();
  EXPECT_EQ(Pondering, 0);
  auto stopAfterHit = [](int64_t ms, int depth, int ply) { return StopAt(4000 + ms, depth, ply); };
  EXPECT_EQ(stopAfterHit(5800, 300, 1), 0);
  EXPECT_EQ(stopAfterHit(5801, 300, 1), 1) << "pondered time counts in time used and budget";
  Root.moveIndex = 6;
  EXPECT_EQ(stopAfterHit(10000, 300, 1), 0) << "later moves count time since the hit only";
  EXPECT_EQ(stopAfterHit(10001, 300, 1), 1);
}

// Host values beyond the int32 range saturate instead of wrapping, negatives
// count as 0, and a move count below 1 as 1.
TEST_F(Clock, HostValuesAreGuarded) {
  FakeNow = Origin + (int64_t(1) << 40);
  EXPECT_EQ(ElapsedMs(), INT32_MAX);
  VarnSetBlitz(INT32_MAX, INT32_MAX);
  EXPECT_EQ(ClockTimeMs, 2147483000);
  EXPECT_EQ(IncrementMs, 2147483000);
  EXPECT_EQ(StopAt(0, 300, 1), 0);
  EXPECT_EQ(StopAt(INT32_MAX, 300, 2), 1);
  VarnSetBlitz(-5, -1);
  EXPECT_EQ(StopAt(1, 300, 1), 1);
  VarnSetTime(-7, INT32_MAX);
  EXPECT_EQ(MovesToGo, 1);
  VarnSetTime(2, INT32_MAX);  // four budgets exceed the int32 range
  EXPECT_EQ(StopAt(1610611249, 300, 2), 0);
  EXPECT_EQ(StopAt(1610611250, 300, 2), 1);
}

}  // namespace
