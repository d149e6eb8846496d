// The search session without a host process: the time plan by its
// properties, and what a GUI reads from searches over a scripted stand-in of
// the library.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>

#include "game.h"
#include "level.h"
#include "options.h"
#include "reports.h"
#include "rules.h"
#include "support/fake_library.h"
#include "support/live_session.h"
#include "timeplan.h"

namespace {

SearchPlan PlanFor(const std::string &go, bool whiteToMove = true, const PlanSettings &settings = PlanSettings()) {
  return PlanSearch(ParseGo(SplitWords(go), 0), whiteToMove, settings);
}

// Clocks from spent to two hours, ascending, around the edges where the plan
// changes its mode; increments; moves to the control (0: none).
constexpr int64_t Clocks[] = {0,    1,    29,   30,   31,    100,   500,   999,    1000,   1029,
                              1030, 1100, 1500, 2000, 10000, 30000, 60000, 180000, 900000, 7200000};
constexpr int64_t Increments[] = {0, 100, 1000, 5000, 30000};
constexpr int64_t MovesToGo[] = {0, 80, 40, 10, 4, 3, 2, 1};

// White's plan for the clock, increment and moves to go at these indices.
SearchPlan ClockPlan(size_t clock, size_t increment, size_t moves, int overhead = 30, int speed = 26) {
  return PlanFor("wtime " + std::to_string(Clocks[clock]) + " btime 1000 winc " + std::to_string(Increments[increment]) +
                     " binc 0 movestogo " + std::to_string(MovesToGo[moves]),
                 true, {speed, overhead});
}

TEST(TimePlan, KeepsToTheClockAndGivesMoreForMore) {
  for (const int overhead : {0, 30, 500})
    for (size_t c = 0; c < std::size(Clocks); ++c)
      for (size_t i = 0; i < std::size(Increments); ++i)
        for (size_t m = 0; m < std::size(MovesToGo); ++m) {
          const int64_t clock = Clocks[c], increment = Increments[i], moves = MovesToGo[m];
          const SearchPlan plan = ClockPlan(c, i, m, overhead);
          SCOPED_TRACE(std::to_string(clock) + " ms + " + std::to_string(increment) + ", moves to go " +
                       std::to_string(moves) + ", overhead " + std::to_string(overhead));
          // Never past the clock less the overhead; a fifth of it at most,
          // more only for the last few moves before a control.
          const int64_t left = std::max<int64_t>(0, clock - overhead);
          EXPECT_LE(plan.budgetMs, plan.stopAfterMs);
          EXPECT_LE(plan.stopAfterMs, std::min(left, clock / (moves >= 1 && moves <= 3 ? moves : 5) + 1));
          EXPECT_TRUE(clock > overhead || ClockSpent(plan));
          EXPECT_FALSE(plan.hold);
          // The library's clock in whole seconds is never more than the host's.
          EXPECT_LE(plan.clockSeconds * int64_t(1000), left);
          EXPECT_LE(plan.incrementSeconds * int64_t(1000), increment);
          EXPECT_TRUE(plan.mode != LimitMode::Blitz || plan.incrementSeconds * int64_t(1000) > increment - 1000);
          // More clock, more increment or fewer moves to go never give less.
          const SearchPlan lessClock = ClockPlan(c ? c - 1 : c, i, m, overhead);
          EXPECT_TRUE(plan.stopAfterMs >= lessClock.stopAfterMs && plan.budgetMs >= lessClock.budgetMs);
          EXPECT_GE(plan.stopAfterMs, ClockPlan(c, i ? i - 1 : i, m, overhead).stopAfterMs);
          EXPECT_GE(plan.stopAfterMs, ClockPlan(c, i, m > 1 ? m - 1 : m, overhead).stopAfterMs);
          // The last move before the control spends most of the clock.
          EXPECT_TRUE(moves != 1 || left < 100 || plan.stopAfterMs > left / 2);
          // A faster playing speed never gives more.
          EXPECT_LE(ClockPlan(c, i, m, overhead, 35).stopAfterMs, plan.stopAfterMs);
        }
  EXPECT_LT(ClockPlan(16, 0, 0, 30, 35).stopAfterMs, ClockPlan(16, 0, 0, 30, 25).stopAfterMs);
  // Black's clock for Black.
  EXPECT_EQ(PlanFor("wtime 1000 btime 60000 winc 0 binc 0", false).stopAfterMs, ClockPlan(16, 0, 0).stopAfterMs);
}

TEST(TimePlan, LimitsAGuiSets) {
  for (const int64_t ms : {0, 1, 20, 100, 1000, 60000}) {
    const SearchPlan plan = PlanFor("movetime " + std::to_string(ms) + " wtime 100 btime 100");
    EXPECT_LE(plan.stopAfterMs, ms);
    EXPECT_GE(plan.stopAfterMs, ms - PlanSettings().moveOverheadMs);
    EXPECT_EQ(ClockSpent(plan), ms == 0);
  }
  // Depths below the first reported one, beyond the library's last, and the
  // plies a mate in n needs.
  const std::pair<const char *, int> depths[] = {{"depth 0", 5}, {"depth 2", 5},         {"depth 8", 8},
                                                 {"depth 40", 31}, {"mate 1", 5}, {"mate 4", 7},
                                                 {"depth 9 mate 4", 9}, {"mate 20", 31}};
  for (const auto &[go, depth] : depths) {
    const SearchPlan plan = PlanFor(go);
    EXPECT_TRUE(plan.mode == LimitMode::Depth && plan.depth == depth && !plan.hold) << go;
  }
  // A depth with a clock keeps to the clock.
  const SearchPlan deep = PlanFor("depth 20 wtime 400 btime 400");
  EXPECT_TRUE(deep.mode == LimitMode::Depth && deep.stopAfterMs >= 0 && deep.stopAfterMs <= 400 / 5);
  // Searches without end wait for stop (or ponderhit); a node limit alone does not.
  for (const char *go : {"infinite", "", "ponder wtime 1000 btime 1000", "ponder wtime 10 btime 10",
                         "wtime x btime 9000 movestogo"})
    EXPECT_TRUE(PlanFor(go).hold) << go;
  EXPECT_FALSE(PlanFor("nodes 5000").hold);
  EXPECT_FALSE(ClockSpent(PlanFor("ponder wtime 10 btime 10")));
  EXPECT_TRUE(ClockSpent(PlanFor("wtime -5")));
}

// A session over the scripted stand-in of the library.
class ScriptedSession : public testing::Test {
 protected:
  void SetUp() override {
    Varn = FakeExports();
    FakeScript.clear();
    FakeParams.clear();
    FakeTimedOut = false;
    SetOutput(Capture);
    std::string error;
    ASSERT_TRUE(StartSession(error));
    Position("startpos");
  }
  void TearDown() override {
    EndSession();
    EXPECT_FALSE(FakeTimedOut) << "a search waited for a stop that never came";
  }
};

TEST_F(ScriptedSession, InfoLinesReadAsAGuiExpects) {
  // The library's 32-bit counts wrap twice; an iteration that does not finish
  // reports a root move in its own upper-case text and both window failures.
  FakeScript = {{FakeStep::Depth, 9},           {FakeStep::Nodes, 4294967000u}, {FakeStep::Line, 0, "e2e4 e7e5 ", 20},
                {FakeStep::Nodes, 300},         {FakeStep::Line, 0, "d2d4 d7d5 ", 25},
                {FakeStep::Nodes, 4294967295u}, {FakeStep::Line, 0, "c2c4 e7e5 ", 30},
                {FakeStep::Pause, 40},          {FakeStep::Depth, 10},
                {FakeStep::Nodes, 10},          {FakeStep::RootMove, 1, "E7E8Q"},
                {FakeStep::Nodes, 20},          {FakeStep::Line, 0, "g1f3!", 60},
                {FakeStep::Nodes, 30},          {FakeStep::Line, 0, "b1c3?", -10},
                {FakeStep::Pause, 40}};
  std::vector<std::string> lines;
  EXPECT_EQ(GoAndWait("depth 10", &lines), "bestmove c2c4 ponder e7e5");
  std::vector<int64_t> counts;
  for (const std::string &line : lines) {
    const int64_t nodes = NumberAfter(line, "nodes"), ms = NumberAfter(line, "time");
    if (nodes < 0) continue;
    counts.push_back(nodes);
    // nps is nodes per second of the time shown.
    if (ms > 0) {
      EXPECT_NEAR(double(NumberAfter(line, "nps")), double(nodes) * 1000 / double(ms), 1.0) << line;
    }
  }
  const std::vector<int64_t> expected = {4294967000, 4294967596, 8589934591, 8589934612, 8589934622, 8589934622};
  EXPECT_EQ(counts, expected);
  for (const char *text : {"info depth 10 currmove e7e8q currmovenumber 1", "score cp 60 lowerbound pv g1f3",
                           "score cp -10 upperbound pv b1c3"})
    EXPECT_NE(LastLine(lines, text), "") << text;
  // The last word is the line played, at the depth it was found: not the
  // unfinished tenth ply's. Its count is the last one the library sent, with
  // the time it took, so the speed stays true after a silent stretch.
  const std::string last = LastLine(lines);
  EXPECT_EQ(last.rfind("info depth 9 nodes 8589934622 time ", 0), 0u) << last;
  EXPECT_NE(last.find(" score cp 30 pv c2c4 e7e5"), std::string::npos) << last;
  EXPECT_EQ(NumberAfter(last, "time"), NumberAfter(LastLine(lines, "upperbound"), "time")) << last;
  EXPECT_GE(NumberAfter(last, "time"), 40) << last;
}

TEST_F(ScriptedSession, AMoveIsPlayedWhateverCutsTheSearchShort) {
  // A fail high is played when no exact line came; a fail low is not.
  FakeScript = {{FakeStep::Depth, 7}, {FakeStep::RootMove, 1, "E2E4"}, {FakeStep::Line, 0, "d2d4!", 35},
                {FakeStep::AwaitStop}};
  std::vector<std::string> lines;
  EXPECT_EQ(GoAndWait("movetime 100", &lines), "bestmove d2d4");
  EXPECT_NE(LastLine(lines).find("score cp 35 lowerbound pv d2d4"), std::string::npos) << LastLine(lines);
  FakeScript = {{FakeStep::Depth, 7}, {FakeStep::RootMove, 1, "E2E4"}, {FakeStep::Line, 0, "d2d4?", -35},
                {FakeStep::RootMove, 2, "G1F3"}, {FakeStep::AwaitStop}};
  EXPECT_EQ(GoAndWait("movetime 100", &lines), "bestmove e2e4");
  // A node limit stops the search at the first report that reaches it.
  FakeScript = {{FakeStep::Depth, 5}, {FakeStep::Nodes, 999}, {FakeStep::Line, 0, "e2e4 ", 0},
                {FakeStep::Nodes, 1000}, {FakeStep::Line, 0, "d2d4 ", 0}, {FakeStep::AwaitStop}};
  EXPECT_EQ(GoAndWait("nodes 1000"), "bestmove d2d4");
  // A stop that lands before the library's own start of search clears it is
  // sent again.
  FakeScript = {{FakeStep::Pause, 300}, {FakeStep::StartSearch}, {FakeStep::AwaitStop}};
  EXPECT_EQ(GoAndWait("movetime 10"), "bestmove " + RulesLegalMoves(GameFen())[0]);
  EXPECT_FALSE(FakeTimedOut);
  // A mate in 3 does not end "go mate 2"; the mate in 2 after it does.
  FakeScript = {{FakeStep::Depth, 5},  {FakeStep::Line, 0, "e2e4 e7e5 f1c4 ", ScoreInfinite - 6},
                {FakeStep::Depth, 6},  {FakeStep::Line, 0, "d1h5 g8f6 h5f7 ", ScoreInfinite - 4},
                {FakeStep::AwaitStop}};
  EXPECT_EQ(GoAndWait("mate 2", &lines), "bestmove d1h5 ponder g8f6");
  EXPECT_NE(LastLine(lines).find("score mate 2 pv d1h5"), std::string::npos) << LastLine(lines);
}

TEST_F(ScriptedSession, ASearchEndedBeforeItsFirstLineGoesOnToTheFifthPly) {
  // The library's own clock ends the search at once, without a line; the
  // host's time is not up, so a depth-5 search follows. The count of the go
  // spans both calls.
  FakeScript = {{FakeStep::Depth, 4}, {FakeStep::Nodes, 1000}, {FakeStep::RootMove, 1, "G1F3"}};
  const int searches = FakeSearches;
  std::vector<std::string> lines;
  EXPECT_EQ(GoAndWait("wtime 60000 btime 60000", &lines), "bestmove g1f3");
  EXPECT_EQ(FakeSearches, searches + 2);
  EXPECT_EQ(FakeDepth, MinimumReportedDepth);
  EXPECT_EQ(NumberAfter(LastLine(lines), "nodes"), 2000) << LastLine(lines);
}

TEST_F(ScriptedSession, APonderSearchTimesItsMoveFromThePonderhit) {
  using Clock = std::chrono::steady_clock;
  FakeScript = {{FakeStep::Depth, 8}, {FakeStep::Line, 0, "e2e4 e7e5 ", 20}, {FakeStep::AwaitStop}};
  // 2 s on the clock: the host's guard stops a timed search after about 220 ms.
  Go(ParseGo(SplitWords("ponder wtime 2000 btime 2000"), 0), false);
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  EXPECT_TRUE(SearchActive());
  const Clock::time_point hit = Clock::now();
  PonderHit();
  while (SearchActive() && Clock::now() - hit < std::chrono::seconds(5))
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - hit).count();
  EXPECT_GE(ms, 150);
  EXPECT_LT(ms, 5000);
  EXPECT_EQ(FakePonderOffs, 1);
  EXPECT_EQ(LastLine(TakeOutput(), "bestmove"), "bestmove e2e4 ponder e7e5");
}

TEST_F(ScriptedSession, OptionsReachTheNextSearchWithOrWithoutIsready) {
  // Set without isready, a parameter reaches the library before the next search.
  EXPECT_EQ(SetOption("DrawScore", "-20"), "");
  FakeScript = {{FakeStep::Depth, 5}, {FakeStep::Line, 0, "e2e4 ", 0}};
  GoAndWait("depth 5");
  EXPECT_EQ(FakeParams, std::vector<std::string>{"DrawScore=-20"});
  EXPECT_EQ(SetOption("CheckExtensions", "99"), "option CheckExtensions 99 is out of range: set to 60 (0 to 60)");
  Ready();
  EXPECT_EQ(FakeParams, (std::vector<std::string>{"DrawScore=-20", "CheckExtensions=60"}));
  // A new size restarts the library once, never during a search, and hands
  // it the GUI's choices again. The stand-in has room for a 4 MB table only.
  FakeParams.clear();
  const int inits = FakeInits;
  FakeScript = {{FakeStep::AwaitStop}};
  Go(ParseGo(SplitWords("infinite"), 0), false);
  EXPECT_EQ(SetOption("hash", "16"), "");
  Ready();
  EXPECT_EQ(FakeInits, inits);
  Stop();
  JoinSearch(false);
  TakeOutput();
  FakeScript = {{FakeStep::Depth, 5}, {FakeStep::Line, 0, "e2e4 ", 0}};
  std::vector<std::string> lines;
  GoAndWait("depth 5", &lines);
  EXPECT_EQ(lines.front(), "info string Hash reduced to 4 MB");
  EXPECT_EQ(FakeParams, (std::vector<std::string>{"DrawScore=-20", "CheckExtensions=60"}));
  GoAndWait("depth 5", &lines);
  EXPECT_EQ(FakeInits, inits + 1);
  EXPECT_EQ(lines.front().rfind("info depth", 0), 0u) << lines.front();
  // Check values in any letter case.
  EXPECT_EQ(SetOption(LimitStrengthOption, "True"), "");
  EXPECT_EQ(OptionValue(LimitStrengthOption), 1);
  EXPECT_EQ(SetOption(LimitStrengthOption, "FALSE"), "");
  EXPECT_EQ(OptionValue(LimitStrengthOption), 0);
  // The library's playing speed shapes the host's plan.
  const std::string blitz = "wtime 60000 btime 60000";
  SetOption("BlitzPlayingSpeed", "25");
  const int64_t slow = PlanSearch(ParseGo(SplitWords(blitz), 0), true, CurrentPlanSettings()).stopAfterMs;
  SetOption("BlitzPlayingSpeed", "35");
  EXPECT_LT(PlanSearch(ParseGo(SplitWords(blitz), 0), true, CurrentPlanSettings()).stopAfterMs, slow);
}

TEST_F(ScriptedSession, ANewGameInheritsNeitherTableNorLine) {
  FakeScript = {{FakeStep::Depth, 6}, {FakeStep::Line, 0, "e2e4 e7e5 b1c3 ", 20}};
  GoAndWait("depth 6");
  // With no report in time the host continues the last line while the game follows it ...
  Position("startpos moves e2e4 e7e5");
  FakeScript = {{FakeStep::Pause, 50}};
  EXPECT_EQ(GoAndWait("depth 6"), "bestmove b1c3");
  Position("startpos moves d2d4 e7e5");
  EXPECT_EQ(GoAndWait("depth 6"), "bestmove " + RulesLegalMoves(GameFen())[0]);
  // ... but not in a new game, whose table is emptied too, as Clear Hash does.
  const int clears = FakeClears;
  NewGame();
  SetOption("Clear Hash", "");
  Ready();
  EXPECT_EQ(FakeClears, clears + 2);
  Position("startpos moves e2e4 e7e5");
  const std::string first = RulesLegalMoves(GameFen())[0];
  ASSERT_NE(first, "b1c3");
  EXPECT_EQ(GoAndWait("depth 6"), "bestmove " + first);
}

}  // namespace
