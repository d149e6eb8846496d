// The host's own units without a process: the plan made from a position and
// a go command, and the report texts.
#include <gtest/gtest.h>

#include <string>

#include "game.h"
#include "reports.h"
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
    {"fen 4k3/8/8/8/8/8/8/4K3 b - - moves e8d8", "wtime 100000 btime 5000", LimitMode::Blitz, 97, 0, 0, 0, 11244,
     false},
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

TEST(PlanLimits, PonderHoldsAndNodesAreTheHostsToCount) {
  const SearchPlan ponder = PlanSearch(ParseGo(SplitWords("ponder wtime 5000 btime 5000"), 0), true, PlanSettings());
  EXPECT_TRUE(ponder.ponder);
  EXPECT_TRUE(ponder.hold);
  const SearchPlan nodes = PlanSearch(ParseGo(SplitWords("nodes 20000"), 0), true, PlanSettings());
  EXPECT_EQ(nodes.nodeLimit, 20000);
  EXPECT_FALSE(nodes.hold);
  // The moves after searchmoves are skipped, not read as limits.
  const GoRequest odd = ParseGo(SplitWords("searchmoves e2e4 d2d4 depth 6 perft 3"), 0);
  EXPECT_TRUE(odd.searchMoves);
  EXPECT_EQ(odd.depth, 6);
  EXPECT_EQ(odd.perft, 3);
}

TEST(ReportText, LinesBoundsAndScores) {
  const struct {
    const char *text, *bound, *first;
  } lines[] = {{"e2e4 e7e5 ", "", "e2e4"}, {"g1f3!", " lowerbound", "g1f3"}, {"e7e8Q?", " upperbound", "e7e8q"}};
  for (const auto &line : lines) {
    const LineReport report = ReadLineReport(line.text);
    EXPECT_EQ(report.bound, line.bound) << line.text;
    ASSERT_FALSE(report.moves.empty());
    EXPECT_EQ(report.moves[0], line.first);
  }
  EXPECT_EQ(ScoreText(29999), "mate 1");
  EXPECT_EQ(ScoreText(29995), "mate 3");
  EXPECT_EQ(ScoreText(-29998), "mate -1");
  EXPECT_EQ(ScoreText(-35), "cp -35");
}

}  // namespace
