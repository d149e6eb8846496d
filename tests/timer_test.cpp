#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <thread>

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
    RootMoveIndex = 1;
    BestMoveChangeDepth = 300;
    RootScoreDropped = 0;
    BlitzPlayingSpeed = 26;
    IncrementMs = 0;
  }
  void TearDown() override { ReadClockMs = SystemClockMs; }
  // The answer of the time check after ms since the clock started.
  static int StopAt(int64_t ms, int depth, int ply) {
    FakeNow = Origin + ms;
    return TimeCheck(depth, ply);
  }
  // The first elapsed millisecond at which the check answers 1.
  static int64_t FirstStop(int depth, int ply, int64_t limit = 1'000'000) {
    for (int64_t ms = 0; ms <= limit; ++ms)
      if (StopAt(ms, depth, ply)) return ms;
    return -1;
  }
};

TEST_F(Clock, ElapsedTimeIsClampedToInt32) {
  FakeNow = Origin + 1234;
  EXPECT_EQ(ElapsedMs(), 1234);
  FakeNow = Origin - 10;
  EXPECT_EQ(ElapsedMs(), 0);
  FakeNow = Origin + (int64_t(1) << 40);
  EXPECT_EQ(ElapsedMs(), INT32_MAX);
  ReadClockMs = SystemClockMs;
  StartClock();
  EXPECT_GE(ElapsedMs(), 0);
  EXPECT_LT(ElapsedMs(), 1000);
}

TEST_F(Clock, OneMoveInTenSeconds) {
  VarnSetTime(1, 10);
  EXPECT_EQ(FirstStop(300, 1), 7001) << "no iteration starts after 70 percent";
  BestMoveChangeDepth = 120;
  EXPECT_EQ(FirstStop(300, 1), 5001) << "stable for three plies: 50 percent";
  BestMoveChangeDepth = 121;
  EXPECT_EQ(FirstStop(300, 1), 7001);
  for (int index = 2; index <= 5; ++index) {
    RootMoveIndex = index;
    EXPECT_EQ(StopAt(1'000'000, 300, 1), 0) << "root move " << index << " always starts";
  }
  RootMoveIndex = 6;
  EXPECT_EQ(FirstStop(300, 1), 10001);
  RootScoreDropped = 1;
  EXPECT_EQ(StopAt(1'000'000, 300, 1), 0) << "a dropped score finishes the iteration";
  EXPECT_EQ(FirstStop(600, 2), 9000) << "in the tree: one second must remain";
  EXPECT_EQ(FirstStop(600, 7), 9000);
}

TEST_F(Clock, FortyMovesInTwoHundredSeconds) {
  VarnSetTime(40, 200);
  EXPECT_EQ(FirstStop(300, 1), 3501);
  RootMoveIndex = 6;
  EXPECT_EQ(FirstStop(300, 1), 5001);
  EXPECT_EQ(FirstStop(300, 2), 20000) << "four budgets in the tree";
  VarnSetTime(2, 20);  // budget 10 s, but only 20 - t - 1 <= 5 s left
  EXPECT_EQ(FirstStop(300, 2), 14000);
}

TEST_F(Clock, BlitzBudget) {
  VarnSetBlitz(300, 5);
  EXPECT_EQ(ClockTimeMs, 300000);
  EXPECT_EQ(IncrementMs, 5000);
  EXPECT_EQ(MovesToGo, 0);
  EXPECT_EQ(FirstStop(300, 1), 11577);
  BestMoveChangeDepth = 0;
  EXPECT_EQ(FirstStop(300, 1), 8270);
  RootMoveIndex = 6;
  EXPECT_EQ(FirstStop(300, 1), 16539);
  EXPECT_EQ(FirstStop(300, 2, 100000), 69228);
  VarnSetBlitz(300, 0);
  EXPECT_EQ(FirstStop(300, 2, 100000), 69228) << "the increment plays no part in the tree";
  BlitzPlayingSpeed = 35;
  EXPECT_EQ(FirstStop(300, 2, 100000), 6 * (300000 / 35));
}

TEST_F(Clock, BlitzClockRunOutStopsEveryRootMove) {
  VarnSetBlitz(1, 100);  // a budget far beyond the clock
  RootMoveIndex = 3;
  EXPECT_EQ(StopAt(1000, 300, 1), 0);
  EXPECT_EQ(StopAt(1001, 300, 1), 1);
}

TEST_F(Clock, DepthLimitStopsAtTheRootOnly) {
  VarnSetDepth(3);
  EXPECT_EQ(StopAt(0, 180, 1), 0);
  EXPECT_EQ(StopAt(0, 239, 1), 0);
  EXPECT_EQ(StopAt(0, 240, 1), 1);
  EXPECT_EQ(StopAt(0, 6000, 2), 0);
  VarnSetInfinite();
  EXPECT_EQ(StopAt(INT32_MAX, 6000, 1), 0);
  EXPECT_EQ(StopAt(INT32_MAX, 6000, 2), 0);
}

TEST_F(Clock, PonderingNeverStopsUntilPonderHit) {
  VarnSetTime(1, 10);
  Pondering = 1;
  EXPECT_EQ(StopAt(1'000'000, 300, 1), 0);
  EXPECT_EQ(StopAt(1'000'000, 300, 2), 0);
  VarnSetDepth(1);
  EXPECT_EQ(StopAt(0, 6000, 1), 0);

  VarnSetTime(1, 10);
  FakeNow = Origin + 4000;
  VarnPonderingOff();
  EXPECT_EQ(Pondering, 0);
  EXPECT_EQ(PonderedMs, 4000);
  EXPECT_EQ(SearchStartTicks, Origin + 4000);
  auto stopAfterHit = [](int64_t ms, int depth, int ply) { return StopAt(4000 + ms, depth, ply); };
  EXPECT_EQ(stopAfterHit(5800, 300, 1), 0);
  EXPECT_EQ(stopAfterHit(5801, 300, 1), 1) << "pondered time counts in time used and budget";
  RootMoveIndex = 6;
  EXPECT_EQ(stopAfterHit(10000, 300, 1), 0) << "later moves count time since the hit only";
  EXPECT_EQ(stopAfterHit(10001, 300, 1), 1);
  EXPECT_EQ(stopAfterHit(8999, 600, 2), 0);
  EXPECT_EQ(stopAfterHit(9000, 600, 2), 1);
}

TEST_F(Clock, HostValuesAreGuarded) {
  VarnSetBlitz(INT32_MAX, INT32_MAX);
  EXPECT_EQ(ClockTimeMs, 2147483000);
  EXPECT_EQ(IncrementMs, 2147483000);
  EXPECT_EQ(StopAt(INT32_MAX, 300, 1), 1);
  EXPECT_EQ(StopAt(0, 300, 1), 0);
  EXPECT_EQ(StopAt(INT32_MAX, 300, 2), 1);
  VarnSetBlitz(-5, -1);
  EXPECT_EQ(ClockTimeMs, 0);
  EXPECT_EQ(IncrementMs, 0);
  EXPECT_EQ(StopAt(1, 300, 1), 1);
  VarnSetTime(0, 10);
  EXPECT_EQ(MovesToGo, 1) << "a move count below 1 is taken as 1";
  VarnSetTime(-7, INT32_MAX);
  EXPECT_EQ(MovesToGo, 1);
  EXPECT_EQ(ClockTimeMs, 2147483000);
  EXPECT_EQ(StopAt(INT32_MAX, 300, 1), 1);
  EXPECT_EQ(StopAt(INT32_MAX, 300, 2), 1);
  VarnSetTime(2, INT32_MAX);  // four budgets exceed the int32 range
  EXPECT_EQ(StopAt(1000, 300, 2), 0);
  EXPECT_EQ(StopAt(1610611249, 300, 2), 0);
  EXPECT_EQ(StopAt(1610611250, 300, 2), 1);
}

// A ponder hit raced against time checks: before the hit no check may stop
// (pondering), after it none should (4 s pondered, 0 s since, budget 10 s);
// a half-applied hit (4 s pondered counted twice) would stop.
TEST_F(Clock, PonderHitIsNeverSeenHalfDone) {
  VarnSetTime(1, 10);
  for (int round = 0; round < 300; ++round) {
    FakeNow = Origin;
    StartClock();
    PonderedMs = 0;
    Pondering = 1;
    FakeNow = Origin + 4000;
    std::atomic<bool> go{false};
    std::thread host([&] {
      while (!go) {
      }
      VarnPonderingOff();
    });
    go = true;
    int stops = 0;
    for (int i = 0; i < 2000; ++i) stops += TimeCheck(300, 1) + TimeCheck(300, 2);
    host.join();
    ASSERT_EQ(stops, 0) << "round " << round;
    ASSERT_EQ(PonderedMs, 4000);
  }
}

}  // namespace
