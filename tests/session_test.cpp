// The search session without a host process: the plan made from a position
// and a go command, the options, and what the session makes of the library's
// reports (from a scripted stand-in, or from the library for the mate texts).
#include <gtest/gtest.h>

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

struct PlanCase {
  const char *position;  // words after "position"
  const char *go;        // words after "go"
  LimitMode mode;
  int clockSeconds, incrementSeconds, moves, depth;
  int64_t stopAfterMs;
  bool hold;
};

// Overhead 30 ms and blitz speed 26: the clock keeps 30 ms + clock / 40.
const PlanCase PlanCases[] = {
    {"startpos", "wtime 100000 btime 5000", LimitMode::Blitz, 97, 0, 0, 0, 11244, false},
    // The side to move, and so the clock, comes from the moves after the FEN.
    {"startpos moves e2e4", "wtime 100000 btime 5000", LimitMode::Blitz, 4, 0, 0, 0, 558, false},
    {"startpos", "wtime 60000 btime 60000 winc 1000 binc 0", LimitMode::Blitz, 58, 1, 0, 0, 9744, false},
    {"startpos moves d2d4", "wtime 60000 btime 60000 winc 0 binc 2000", LimitMode::Blitz, 58, 2, 0, 0, 11694, false},
    {"startpos", "wtime 150 btime 150 winc 20 binc 20", LimitMode::Infinite, 0, 0, 0, 0, 18, false},
    // A large increment meets the cap of a fifth of the clock.
    {"startpos", "wtime 10000 btime 10000 winc 5000", LimitMode::Blitz, 9, 5, 0, 0, 1944, false},
    {"startpos", "wtime 30000 btime 30000 movestogo 10", LimitMode::MovesInTime, 29, 0, 10, 0, 5844, false},
    {"startpos", "wtime 3000 btime 3000 movestogo 2", LimitMode::MovesInTime, 2, 0, 2, 0, 1158, false},
    // Under a second the host alone keeps time; a spent clock stops at once.
    {"startpos", "wtime 600 btime 600", LimitMode::Infinite, 0, 0, 0, 0, 21, false},
    {"startpos", "wtime 30 btime 30000", LimitMode::Infinite, 0, 0, 0, 0, 0, false},
    {"startpos", "movetime 1000 wtime 100", LimitMode::Infinite, 0, 0, 0, 0, 970, false},
    {"startpos", "movetime 100", LimitMode::Infinite, 0, 0, 0, 0, 80, false},
    {"startpos", "depth 8", LimitMode::Depth, 0, 0, 0, 8, -1, false},
    {"startpos", "depth 8 wtime 400", LimitMode::Depth, 0, 0, 0, 8, 13, false},
    {"startpos", "depth 2", LimitMode::Depth, 0, 0, 0, 5, -1, false},
    {"startpos", "mate 4", LimitMode::Depth, 0, 0, 0, 7, -1, false},
    // The library searches 31 plies at most.
    {"startpos", "depth 40", LimitMode::Depth, 0, 0, 0, 31, -1, false},
    {"startpos", "mate 20", LimitMode::Depth, 0, 0, 0, 31, -1, false},
    // The last move before the control may spend most of the clock.
    {"startpos", "wtime 3000 btime 3000 movestogo 1", LimitMode::MovesInTime, 2, 0, 1, 0, 2316, false},
    {"startpos", "infinite", LimitMode::Infinite, 0, 0, 0, 0, -1, true},
    // Unreadable numbers are skipped, negative ones read as 0.
    {"startpos", "wtime x btime 9000 movestogo", LimitMode::Infinite, 0, 0, 0, 0, -1, true},
    {"startpos", "wtime -5", LimitMode::Infinite, 0, 0, 0, 0, 0, false},
};

void PrintTo(const PlanCase &c, std::ostream *os) { *os << "position " << c.position << ", go " << c.go; }

class Plan : public testing::TestWithParam<PlanCase> {};

TEST_P(Plan, FollowsTheClockOfTheSideToMove) {
  const PlanCase &c = GetParam();
  ASSERT_TRUE(SetGamePosition(SplitWords(c.position), 0).empty());
  const SearchPlan plan = PlanSearch(ParseGo(SplitWords(c.go), 0), GameWhiteToMove(), PlanSettings());
  EXPECT_EQ(plan.mode, c.mode);
  EXPECT_EQ(plan.clockSeconds, c.clockSeconds);
  EXPECT_EQ(plan.incrementSeconds, c.incrementSeconds);
  EXPECT_EQ(plan.moves, c.moves);
  EXPECT_EQ(plan.depth, c.depth);
  EXPECT_EQ(plan.stopAfterMs, c.stopAfterMs);
  EXPECT_EQ(plan.hold, c.hold);
}

INSTANTIATE_TEST_SUITE_P(Go, Plan, testing::ValuesIn(PlanCases));

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

  // The words of the last info line before bestmove, and the bestmove line.
  static std::pair<std::string, std::string> Ending(const std::vector<std::string> &lines) {
    std::pair<std::string, std::string> ending;
    for (const std::string &line : lines) {
      if (line.rfind("info depth", 0) == 0) ending.first = line;
      if (line.rfind("bestmove", 0) == 0) ending.second = line;
    }
    return ending;
  }
};

TEST_F(ScriptedSession, NodeCountsStayRightPastFourBillion) {
  // The library's 32-bit counts wrap twice during this search.
  FakeScript = {{FakeStep::Depth, 9},     {FakeStep::Nodes, 4294967000u}, {FakeStep::Line, 0, "e2e4 e7e5 ", 20},
                {FakeStep::Nodes, 300},   {FakeStep::Line, 0, "d2d4 d7d5 ", 25},
                {FakeStep::Nodes, 4294967295u}, {FakeStep::Line, 0, "c2c4 e7e5 ", 30},
                {FakeStep::Nodes, 10},    {FakeStep::Line, 0, "g1f3 d7d5 ", 35}};
  std::vector<std::string> lines;
  EXPECT_EQ(GoAndWait("depth 9", &lines), "bestmove g1f3 ponder d7d5");
  std::vector<std::string> counts;
  for (const std::string &line : lines) {
    const std::vector<std::string> words = SplitWords(line);
    if (words.size() > 4 && words[3] == "nodes") counts.push_back(words[4]);
  }
  const std::vector<std::string> expected = {"4294967000", "4294967596", "8589934591", "8589934602", "8589934602"};
  EXPECT_EQ(counts, expected);
}

TEST_F(ScriptedSession, AFailHighIsPlayedWhenNoLineCameAndAMateLimitStopsAtItsMate) {
  FakeScript = {{FakeStep::Depth, 7}, {FakeStep::RootMove, 1, "E2E4"}, {FakeStep::Line, 0, "d2d4!", 35},
                {FakeStep::AwaitStop}};
  std::vector<std::string> lines;
  EXPECT_EQ(GoAndWait("movetime 100", &lines), "bestmove d2d4");
  EXPECT_NE(Ending(lines).first.find("score cp 35 lowerbound pv d2d4"), std::string::npos) << Ending(lines).first;
  // A mate in 3 does not end "go mate 2"; the mate in 2 after it does.
  FakeScript = {{FakeStep::Depth, 5},  {FakeStep::Line, 0, "e2e4 e7e5 f1c4 ", ScoreInfinite - 6},
                {FakeStep::Depth, 6},  {FakeStep::Line, 0, "d1h5 g8f6 h5f7 ", ScoreInfinite - 4},
                {FakeStep::AwaitStop}};
  EXPECT_EQ(GoAndWait("mate 2", &lines), "bestmove d1h5 ponder g8f6");
  EXPECT_NE(Ending(lines).first.find("score mate 2 pv d1h5"), std::string::npos) << Ending(lines).first;
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

TEST_F(ScriptedSession, ReadyDuringASearchAnswersAtOnce) {
  FakeScript = {{FakeStep::AwaitStop}};
  const int searches = FakeSearches;
  Go(ParseGo(SplitWords("infinite"), 0), false);
  while (FakeSearches == searches) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  Ready();
  EXPECT_TRUE(SearchActive());
  Stop();
  JoinSearch(false);
  EXPECT_FALSE(SearchActive());
}

TEST_F(ScriptedSession, OptionsReachTheLibraryAndOutliveARestart) {
  EXPECT_EQ(SetOption("DrawScore", "-20"), "");
  EXPECT_EQ(SetOption("CheckExtensions", "99"), "option CheckExtensions 99 is out of range: set to 60 (0 to 60)");
  Ready();
  EXPECT_EQ(FakeParams, (std::vector<std::string>{"DrawScore=-20", "CheckExtensions=60"}));
  // A new size restarts the library, which resets its parameters: the GUI's
  // choices are given again. The stand-in has room for a 4 MB table only.
  FakeParams.clear();
  EXPECT_EQ(SetOption("hash", "16"), "");
  TakeOutput();
  Ready();
  EXPECT_EQ(TakeOutput(), std::vector<std::string>{"info string Hash reduced to 4 MB"});
  EXPECT_EQ(FakeParams, (std::vector<std::string>{"DrawScore=-20", "CheckExtensions=60"}));
  EXPECT_EQ(SetOption(EloOption, "x"), "option UCI_Elo needs a whole number");
  EXPECT_EQ(SetOption(EloOption, "99999"), "option UCI_Elo 99999 is out of range: set to " +
                                                std::to_string(LevelEloMax) + " (" + std::to_string(LevelEloMin) +
                                                " to " + std::to_string(LevelEloMax) + ")");
  EXPECT_EQ(SetOption(LimitStrengthOption, "maybe"), "option UCI_LimitStrength needs true or false");
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

TEST_F(ScriptedSession, ASearchEndedBeforeItsFirstLineGoesOnToTheFifthPly) {
  // The library's own clock ends the search at once, without a line; the
  // host's time is not up, so a depth-5 search follows and its line is played.
  FakeScript = {{FakeStep::Depth, 4}};
  const int searches = FakeSearches;
  EXPECT_EQ(GoAndWait("wtime 60000 btime 60000"), "bestmove " + RulesLegalMoves(GameFen())[0]);
  EXPECT_EQ(FakeSearches, searches + 2);
  EXPECT_EQ(FakeDepth, MinimumReportedDepth);
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
