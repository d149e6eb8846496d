// The search session without a host process: the time plan by its
// properties, what a GUI reads from searches over a scripted stand-in of the
// library, the options, and mate texts from the real library.
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

// "go" with White's clock, the other side's clock far from it.
std::string ClockGo(int64_t clock, int64_t increment, int64_t movesToGo) {
  return "wtime " + std::to_string(clock) + " btime 3600000 winc " + std::to_string(increment) +
         " binc 60000 movestogo " + std::to_string(movesToGo);
}

// Clocks from spent to two hours, ascending, around the edges where the plan
// changes its mode.
constexpr int64_t Clocks[] = {0,    1,    29,   30,   31,    100,   500,   999,    1000,   1029,
                              1030, 1100, 1500, 2000, 10000, 30000, 60000, 180000, 900000, 7200000};
constexpr int64_t Increments[] = {0, 100, 1000, 5000, 30000};
constexpr int64_t MovesToGo[] = {0, 1, 2, 3, 4, 10, 40, 80};
constexpr int Overheads[] = {0, 30, 500};

TEST(TimePlan, NeverPastTheClockLessTheOverheadAndAFifthOfItPerMove) {
  for (const int overhead : Overheads) {
    const PlanSettings settings{PlanSettings().blitzSpeed, overhead};
    for (const int64_t clock : Clocks)
      for (const int64_t increment : Increments)
        for (const int64_t moves : MovesToGo) {
          const std::string go = ClockGo(clock, increment, moves);
          const SearchPlan plan = PlanFor(go, true, settings);
          SCOPED_TRACE(go + ", overhead " + std::to_string(overhead));
          const int64_t left = std::max<int64_t>(0, clock - overhead);
          EXPECT_LE(plan.stopAfterMs, left);
          EXPECT_LE(plan.budgetMs, plan.stopAfterMs);
          EXPECT_FALSE(plan.hold);
          EXPECT_TRUE(clock > overhead || ClockSpent(plan));
          // Only the last few moves before a control may take more.
          const int64_t share = moves >= 1 && moves <= 3 ? moves : 5;
          EXPECT_LE(plan.stopAfterMs, clock / share + 1);
          // The library's own clock, in whole seconds, is never more than the host's.
          EXPECT_LE(plan.clockSeconds * int64_t(1000), left);
          EXPECT_LE(plan.incrementSeconds * int64_t(1000), increment);
          EXPECT_TRUE(plan.mode != LimitMode::Blitz || plan.incrementSeconds * int64_t(1000) > increment - 1000);
          // The same clock on Black's side gives Black the same plan.
          const SearchPlan black = PlanFor("wtime 3600000 btime " + std::to_string(clock) + " winc 60000 binc " +
                                               std::to_string(increment) + " movestogo " + std::to_string(moves),
                                           false, settings);
          EXPECT_EQ(black.stopAfterMs, plan.stopAfterMs);
          EXPECT_EQ(black.clockSeconds, plan.clockSeconds);
        }
  }
}

TEST(TimePlan, MoreTimeNeverGivesLessAndTheLastMoveBeforeAControlGetsMost) {
  for (const int64_t increment : Increments)
    for (const int64_t moves : MovesToGo) {
      int64_t before = 0, budgetBefore = 0;
      for (const int64_t clock : Clocks) {
        const SearchPlan plan = PlanFor(ClockGo(clock, increment, moves));
        EXPECT_GE(plan.stopAfterMs, before) << ClockGo(clock, increment, moves);
        EXPECT_GE(plan.budgetMs, budgetBefore) << ClockGo(clock, increment, moves);
        before = plan.stopAfterMs;
        budgetBefore = plan.budgetMs;
      }
    }
  for (const int64_t clock : Clocks) {
    for (const int64_t moves : MovesToGo) {
      int64_t before = 0;
      for (const int64_t increment : Increments) {
        const SearchPlan plan = PlanFor(ClockGo(clock, increment, moves));
        EXPECT_GE(plan.stopAfterMs, before) << ClockGo(clock, increment, moves);
        before = plan.stopAfterMs;
      }
    }
    // Fewer moves to the control never give less time; the last one gets
    // more than half the clock.
    int64_t after = PlanFor(ClockGo(clock, 0, 80)).stopAfterMs;
    for (int64_t moves = 79; moves >= 1; --moves) {
      const int64_t stop = PlanFor(ClockGo(clock, 0, moves)).stopAfterMs;
      EXPECT_GE(stop, after) << ClockGo(clock, 0, moves);
      after = stop;
    }
    EXPECT_TRUE(clock < 100 || after > clock / 2) << clock;
  }
  // The library's playing speed divides a clock among moves in the host's plan too.
  for (const int64_t clock : Clocks) {
    int64_t before = PlanFor(ClockGo(clock, 0, 0), true, {25, 30}).stopAfterMs;
    for (int speed = 26; speed <= 35; ++speed) {
      const int64_t stop = PlanFor(ClockGo(clock, 0, 0), true, {speed, 30}).stopAfterMs;
      EXPECT_LE(stop, before) << clock << " at speed " << speed;
      before = stop;
    }
  }
  EXPECT_LT(PlanFor(ClockGo(60000, 0, 0), true, {35, 30}).stopAfterMs,
            PlanFor(ClockGo(60000, 0, 0), true, {25, 30}).stopAfterMs);
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
  const struct {
    const char *go;
    int depth;
  } depths[] = {{"depth 0", 5}, {"depth 2", 5}, {"depth 8", 8}, {"depth 40", 31}, {"mate 1", 5},
                {"mate 4", 7},  {"depth 9 mate 4", 9}, {"mate 20", 31}};
  for (const auto &d : depths) {
    EXPECT_EQ(PlanFor(d.go).mode, LimitMode::Depth) << d.go;
    EXPECT_EQ(PlanFor(d.go).depth, d.depth) << d.go;
    EXPECT_FALSE(PlanFor(d.go).hold) << d.go;
  }
  // A depth with a clock keeps to the clock.
  const SearchPlan deep = PlanFor("depth 20 wtime 400 btime 400");
  EXPECT_EQ(deep.mode, LimitMode::Depth);
  EXPECT_GE(deep.stopAfterMs, 0);
  EXPECT_LE(deep.stopAfterMs, 400 / 5);
  // Searches without end wait for stop (or ponderhit); a node limit alone does not.
  for (const char *go : {"infinite", "", "ponder wtime 1000 btime 1000", "ponder wtime 10 btime 10",
                         "wtime x btime 9000 movestogo"})
    EXPECT_TRUE(PlanFor(go).hold) << go;
  EXPECT_FALSE(PlanFor("nodes 5000").hold);
  EXPECT_FALSE(ClockSpent(PlanFor("ponder wtime 10 btime 10")));
  EXPECT_TRUE(ClockSpent(PlanFor("wtime -5")));
}

TEST(TimePlan, RulesWhileASearchRuns) {
  // A ponder search's deadline runs only from the ponderhit.
  const SearchPlan ponder = PlanFor("ponder wtime 60000 btime 60000");
  const SearchPlan timed = PlanFor("wtime 60000 btime 60000");
  EXPECT_EQ(HostDeadlineMs(ponder, false), -1);
  EXPECT_EQ(HostDeadlineMs(ponder, true), timed.stopAfterMs);
  EXPECT_EQ(HostDeadlineMs(timed, false), timed.stopAfterMs);
  EXPECT_EQ(HostDeadlineMs(PlanFor("infinite"), true), -1);
  // A level deepens while it has time, never once a quarter of its budget is
  // spent, and always without a clock.
  for (const int64_t clock : Clocks) {
    const SearchPlan plan = PlanFor(ClockGo(clock, 0, 0));
    bool stopped = false;
    for (int64_t ms = 0; ms <= clock; ms += 1 + clock / 500) {
      const bool deeper = LevelMayDeepen(plan, ms);
      EXPECT_FALSE(deeper && stopped) << clock << " at " << ms;
      EXPECT_FALSE(deeper && ms * 4 > plan.budgetMs) << clock << " at " << ms;
      stopped = !deeper;
    }
    EXPECT_TRUE(plan.budgetMs < 4 || LevelMayDeepen(plan, 0)) << clock;
  }
  EXPECT_TRUE(LevelMayDeepen(PlanFor("infinite"), 1000000));
}

// A session over the scripted stand-in of the library.
class ScriptedSession : public testing::Test {
 protected:
  void SetUp() override {
    Varn = FakeExports();
    FakeScript.clear();
    FakeResult = 0;
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

  // The last info line before bestmove, and the bestmove line.
  static std::pair<std::string, std::string> Ending(const std::vector<std::string> &lines) {
    std::pair<std::string, std::string> ending;
    for (const std::string &line : lines) {
      if (line.rfind("info depth", 0) == 0) ending.first = line;
      if (line.rfind("bestmove", 0) == 0) ending.second = line;
    }
    return ending;
  }

  // The number after word in a line, -1 when it is missing.
  static int64_t Field(const std::string &line, const std::string &word) {
    const std::vector<std::string> words = SplitWords(line);
    for (size_t i = 0; i + 1 < words.size(); ++i)
      if (words[i] == word) return std::stoll(words[i + 1]);
    return -1;
  }

  static void WaitForSearches(int count) {
    while (FakeSearches < count) std::this_thread::sleep_for(std::chrono::milliseconds(1));
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
    const int64_t nodes = Field(line, "nodes"), ms = Field(line, "time");
    if (nodes < 0) continue;
    counts.push_back(nodes);
    // nps is nodes per second of the time shown.
    if (ms > 0) {
      EXPECT_NEAR(double(Field(line, "nps")), double(nodes) * 1000 / double(ms), 1.0) << line;
    }
  }
  const std::vector<int64_t> expected = {4294967000, 4294967596, 8589934591, 8589934612, 8589934622, 8589934622};
  EXPECT_EQ(counts, expected);
  const auto has = [&](const std::string &text) {
    return std::any_of(lines.begin(), lines.end(), [&](const std::string &l) { return l.find(text) != l.npos; });
  };
  EXPECT_TRUE(has("info depth 10 currmove e7e8q currmovenumber 1"));
  EXPECT_TRUE(has("score cp 60 lowerbound pv g1f3"));
  EXPECT_TRUE(has("score cp -10 upperbound pv b1c3"));
  // The last word is the line played, at the depth it was found: not the
  // unfinished tenth ply's. Its count is the last one the library sent, with
  // the time it took, so the speed stays true after a silent stretch.
  const std::string last = Ending(lines).first;
  EXPECT_EQ(last.rfind("info depth 9 nodes 8589934622 time ", 0), 0u) << last;
  EXPECT_NE(last.find(" score cp 30 pv c2c4 e7e5"), std::string::npos) << last;
  const auto failLow = std::find_if(lines.begin(), lines.end(), [](const std::string &l) { return l.find("upperbound") != l.npos; });
  ASSERT_NE(failLow, lines.end());
  EXPECT_EQ(Field(last, "time"), Field(*failLow, "time")) << last;
  EXPECT_GE(Field(last, "time"), 40) << last;
}

TEST_F(ScriptedSession, AMoveIsPlayedWhateverCutsTheSearchShort) {
  // A fail high is played when no exact line came; a fail low is not.
  FakeScript = {{FakeStep::Depth, 7}, {FakeStep::RootMove, 1, "E2E4"}, {FakeStep::Line, 0, "d2d4!", 35},
                {FakeStep::AwaitStop}};
  std::vector<std::string> lines;
  EXPECT_EQ(GoAndWait("movetime 100", &lines), "bestmove d2d4");
  EXPECT_NE(Ending(lines).first.find("score cp 35 lowerbound pv d2d4"), std::string::npos) << Ending(lines).first;
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
  EXPECT_NE(Ending(lines).first.find("score mate 2 pv d1h5"), std::string::npos) << Ending(lines).first;
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
  EXPECT_EQ(Field(Ending(lines).first, "nodes"), 2000) << Ending(lines).first;
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
  EXPECT_EQ(Ending(TakeOutput()).second, "bestmove e2e4 ponder e7e5");
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
  // Check values in any letter case; bad values are refused with a reason.
  EXPECT_EQ(SetOption(LimitStrengthOption, "True"), "");
  EXPECT_EQ(OptionValue(LimitStrengthOption), 1);
  EXPECT_EQ(SetOption(LimitStrengthOption, "FALSE"), "");
  EXPECT_EQ(OptionValue(LimitStrengthOption), 0);
  EXPECT_EQ(SetOption(LimitStrengthOption, "maybe"), "option UCI_LimitStrength needs true or false");
  EXPECT_EQ(SetOption(EloOption, "x"), "option UCI_Elo needs a whole number");
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
  // ... but not in a new game, whose table is emptied too.
  const int clears = FakeClears;
  NewGame();
  EXPECT_EQ(FakeClears, clears + 1);
  Position("startpos moves e2e4 e7e5");
  const std::string first = RulesLegalMoves(GameFen())[0];
  ASSERT_NE(first, "b1c3");
  EXPECT_EQ(GoAndWait("depth 6"), "bestmove " + first);
}

// Mate texts from both sides, from searches of the real library.
TEST(MateText, MatesInOneAndTwoForAndAgainstTheSideToMove) {
  StartRealSession();
  const struct {
    const char *fen, *score;
  } cases[] = {
      {"6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - 0 1", "mate 1"},
      {"r2qkb1r/pp2nppp/3p4/2pNN1B1/2BnP3/3P4/PPP2PPP/R2bK2R w KQkq - 1 1", "mate 2"},
      {"6k1/8/8/8/8/1r6/r7/7K w - - 0 1", "mate -1"},
      {"7k/8/5K2/8/8/8/8/R7 b - - 0 1", "mate -2"},
  };
  for (const auto &c : cases) {
    Position(std::string("fen ") + c.fen);
    std::vector<std::string> lines;
    GoAndWait("depth 8", &lines);
    std::string last;
    for (const std::string &line : lines)
      if (line.rfind("info depth", 0) == 0) last = line;
    EXPECT_NE(last.find(std::string(" score ") + c.score + " "), std::string::npos) << c.fen << ": " << last;
  }
  EndSession();
}

}  // namespace
