// Levels: the move choice by its properties, and whole searches through the
// library at every level.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "level.h"
#include "options.h"
#include "game.h"
#include "rules.h"
#include "support/live_session.h"

namespace {

constexpr int Levels[] = {LevelEloMin, 1500, 1650, 1800, LevelEloMax - 1};

TEST(LevelChoice, ChancesFallAsTheLossGrowsAndRiseAsTheLevelDrops) {
  std::vector<int32_t> losses;
  for (int32_t loss = 0; loss <= 1200; loss += 10) losses.push_back(loss);
  std::vector<double> lower;
  for (int elo = LevelEloMin; elo < LevelEloMax; elo += 50) {
    const LevelStyle style = LevelStyleFor(elo);
    const std::vector<double> chances = LevelChances(losses, style);
    EXPECT_EQ(chances[0], 1.0) << elo;
    for (size_t i = 1; i < chances.size(); ++i) {
      EXPECT_LE(chances[i], chances[i - 1]) << elo << " at loss " << losses[i];
      if (losses[i] <= style.largestLossCp) {
        EXPECT_LT(chances[i], chances[i - 1]);
      } else {
        EXPECT_EQ(chances[i], 0.0);
      }
      // A weaker level gives every loss at least the chance a stronger one does.
      if (!lower.empty()) {
        EXPECT_GE(lower[i], chances[i]) << elo << " at loss " << losses[i];
      }
    }
    // A free queen is never given away, at any level.
    EXPECT_LT(style.largestLossCp, 800) << elo;
    lower = chances;
  }
}

TEST(LevelChoice, DrawsFollowTheChancesAndMatesAreAlwaysPlayed) {
  const LevelStyle style = LevelStyleFor(LevelEloMin);
  const std::vector<ScoredMove> moves = {{"a", -40, ""}, {"b", 10, ""}, {"c", -150, ""}, {"d", -2000, ""}};
  std::map<std::string, int> counts;
  for (int i = 0; i < 20000; ++i) counts[moves[ChooseLevelMove(moves, style)].move]++;
  EXPECT_GT(counts["b"], counts["a"]);
  EXPECT_GT(counts["a"], counts["c"]);
  EXPECT_GT(counts["c"], 0);
  EXPECT_EQ(counts["d"], 0);
  // Losses of mates count beyond every score: the shorter mate is the best.
  EXPECT_LT(ScoreLoss(ScoreInfinite - 2, ScoreInfinite - 4), ScoreLoss(ScoreInfinite - 2, 1400));
  // Even a mate so long that a big win scores near it is always played.
  const std::vector<ScoredMove> mating = {{"x", 1450, ""}, {"mate", MateThreshold + 30, ""}, {"y", 1449, ""}};
  for (int i = 0; i < 200; ++i) EXPECT_EQ(mating[ChooseLevelMove(mating, style)].move, "mate");
}

// Plays at a level with a seed from a new game.
void UseLevel(int elo, int seed) {
  EXPECT_EQ(SetOption(LimitStrengthOption, "true"), "");
  EXPECT_EQ(SetOption(EloOption, std::to_string(elo)), "");
  EXPECT_EQ(SetOption(SeedOption, std::to_string(seed)), "");
  NewGame();
}

class LevelGames : public testing::Test {
 protected:
  static void SetUpTestSuite() { StartRealSession(); }
  static void TearDownTestSuite() { EndSession(); }
};

TEST_F(LevelGames, EveryLevelTakesAFreeQueenAndMatesInOne) {
  const struct {
    const char *fen, *move;
  } cases[] = {
      {"rnb1kbnr/pppp1ppp/8/8/3qP3/2N2N2/PPPP1PPP/R1BQKB1R w KQkq - 0 4", "f3d4"},
      {"r1bqkb1r/pppp1ppp/2n2n2/3QP3/8/8/PPPP1PPP/RNB1KBNR b KQkq - 0 4", "f6d5"},
      {"6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - 0 1", "d1d8"},
      {"3r2k1/5ppp/8/8/8/8/5PPP/6K1 b - - 0 1", "d8d1"},
  };
  for (const int elo : Levels) {
    for (int seed = 1; seed <= 2; ++seed) {
      UseLevel(elo, seed);
      for (const auto &c : cases) {
        Position(std::string("fen ") + c.fen);
        EXPECT_EQ(BestMove(GoAndWait("depth 5")), c.move) << elo << " seed " << seed << ": " << c.fen;
      }
    }
  }
}

// A game of some plies at one level from the start position, whose moves must
// all be legal.
std::vector<std::string> LevelGame(int elo, int seed, int plies) {
  std::vector<std::string> moves;
  UseLevel(elo, seed);
  for (int ply = 0; ply < plies; ++ply) {
    Position("startpos moves " + JoinWords(moves));
    const std::vector<std::string> legal = RulesLegalMoves(GameFen());
    const std::string move = BestMove(GoAndWait("wtime 60000 btime 60000"));
    EXPECT_NE(std::find(legal.begin(), legal.end(), move), legal.end()) << move << " after " << JoinWords(moves);
    moves.push_back(move);
  }
  return moves;
}

TEST_F(LevelGames, ASeedReplaysAGameAndOtherSeedsVaryIt) {
  const std::vector<std::string> game = LevelGame(LevelEloMin, 11, 12);
  EXPECT_EQ(LevelGame(LevelEloMin, 11, 12), game);
  EXPECT_NE(LevelGame(LevelEloMin, 12, 12), game);
  EXPECT_NE(LevelGame(LevelEloMin, 13, 12), game);
}

TEST_F(LevelGames, FullStrengthIsTheOrdinarySearch) {
  SetOption(LimitStrengthOption, "false");
  Position("startpos");
  NewGame();
  std::vector<std::string> plain;
  const std::string best = GoAndWait("depth 7", &plain);
  SetOption(LimitStrengthOption, "true");
  SetOption(EloOption, std::to_string(LevelEloMax));
  NewGame();
  std::vector<std::string> top;
  EXPECT_EQ(GoAndWait("depth 7", &top), best);
  // The same reports, line for line, but for the times and speeds in them and
  // the root-move reports, which a search sends only after its first second
  // (and whose count the last line carries when one came after the last line).
  for (std::vector<std::string> *lines : {&plain, &top})
    std::erase_if(*lines, [](const std::string &line) { return line.find(" currmove ") != std::string::npos; });
  ASSERT_EQ(top.size(), plain.size());
  for (size_t i = 0; i < top.size(); ++i) {
    const std::vector<std::string> a = SplitWords(top[i]), b = SplitWords(plain[i]);
    ASSERT_EQ(a.size(), b.size());
    for (size_t w = 0; w < a.size(); ++w)
      if (w == 0 || (a[w - 1] != "time" && a[w - 1] != "nps" && (a[w - 1] != "nodes" || top[i + 1].rfind("bestmove", 0) != 0))) {
        EXPECT_EQ(a[w], b[w]) << top[i];
      }
  }
}

}  // namespace
