// Levels: the move choice by its properties, and whole searches through the
// library: seeds, deeper passes, the top level.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "level.h"
#include "options.h"
#include "game.h"
#include "rules.h"
#include "support/live_session.h"

namespace {

TEST(LevelStyles, WeakerLevelsErrMoreAndNoneDeeperThanTheMarkBelow) {
  std::vector<int32_t> losses;
  for (int32_t loss = 0; loss <= 1200; loss += 10) losses.push_back(loss);
  LevelStyle previous = LevelStyleFor(LevelEloMin);
  std::vector<double> lower = LevelChances(losses, previous);
  int markBelow = LevelEloMin;
  for (int elo = LevelEloMin; elo < LevelEloMax; ++elo) {
    const LevelStyle style = LevelStyleFor(elo);
    const std::vector<double> chances = LevelChances(losses, style);
    EXPECT_EQ(chances[0], 1.0) << elo;
    for (size_t i = 1; i < chances.size(); ++i) {
      EXPECT_LT(chances[i], chances[i - 1]) << elo << " at loss " << losses[i];
      // A weaker level gives every loss at least the chance a stronger one does.
      EXPECT_GE(lower[i], chances[i]) << elo << " at loss " << losses[i];
    }
    EXPECT_LE(style.largestLossCp, previous.largestLossCp) << elo;
    EXPECT_LE(style.misjudgedPerMil, previous.misjudgedPerMil) << elo;
    // A level searches as deep as the mark at or below it, never as the one above.
    if (std::ranges::find(LevelMarks(), elo) != LevelMarks().end()) markBelow = elo;
    EXPECT_EQ(style.childPlies, LevelStyleFor(markBelow).childPlies) << elo;
    // From 1000 up no level gives a queen away or leaves one untaken.
    if (elo >= 1000) {
      EXPECT_LT(style.largestLossCp, 800) << elo;
    }
    previous = style;
    lower = chances;
  }
}

// How often each move is played in many draws.
std::map<std::string, int> Draws(const std::vector<ScoredMove> &moves, const LevelStyle &style, int draws) {
  std::map<std::string, int> counts;
  for (int i = 0; i < draws; ++i) counts[moves[ChooseLevelMove(moves, style)].move]++;
  return counts;
}

TEST(LevelChoice, DrawsFollowTheChancesAndMatesAreAlwaysPlayed) {
  SetOption(SeedOption, "5");
  ReseedLevel();
  // Without misjudged moves every move is played as often as its chance says.
  const LevelStyle style{5, 50, 400, 0};
  const std::vector<ScoredMove> moves = {{"a", -40, ""}, {"b", 10, ""}, {"c", -150, ""}, {"d", -600, ""}};
  std::vector<int32_t> losses;
  for (const ScoredMove &move : moves) losses.push_back(ScoreLoss(10, move.score));
  const std::vector<double> chances = LevelChances(losses, style);
  const double total = chances[0] + chances[1] + chances[2];
  const int draws = 40000;
  std::map<std::string, int> counts = Draws(moves, style, draws);
  for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(counts[moves[i].move], draws * chances[i] / total, draws * 0.01) << i;
  EXPECT_EQ(counts["d"], 0) << "a move losing more than the level allows";
  // Losses of mates count beyond every score: the shorter mate is the best.
  EXPECT_LT(ScoreLoss(ScoreInfinite - 2, ScoreInfinite - 4), ScoreLoss(ScoreInfinite - 2, 1400));
  // Even a mate so long that a big win scores near it is always played.
  const std::vector<ScoredMove> mating = {{"x", 1450, ""}, {"mate", MateThreshold + 30, ""}, {"y", 1449, ""}};
  for (const int elo : LevelMarks()) EXPECT_EQ(Draws(mating, LevelStyleFor(elo), 200)["mate"], 200) << elo;
}

// A position as a level sees it: one capture that wins a piece, twenty
// ordinary moves and six that leave a piece en prise.
std::vector<ScoredMove> KnightToTake() {
  std::vector<ScoredMove> moves = {{"take", 300, ""}};
  for (int i = 0; i < 20; ++i) moves.push_back({"ordinary", -2 * i, ""});
  for (int i = 0; i < 6; ++i) moves.push_back({"hang", -310, ""});
  return moves;
}

TEST(LevelChoice, WeakLevelsMissCapturesAndHangPiecesStrongOnesRarely) {
  SetOption(SeedOption, "9");
  ReseedLevel();
  const int draws = 10000;
  for (const int elo : {LevelEloMin, 1800}) {
    std::vector<ScoredMove> moves = KnightToTake();
    const double missed = 1 - double(Draws(moves, LevelStyleFor(elo), draws)["take"]) / draws;
    // The same position after the capture was taken back: all that can go
    // wrong is a piece left en prise.
    moves.erase(moves.begin());
    const double hung = double(Draws(moves, LevelStyleFor(elo), draws)["hang"]) / draws;
    EXPECT_TRUE(elo != LevelEloMin || (missed > 0.2 && hung > 0.015)) << missed << " and " << hung;
    EXPECT_TRUE(elo != 1800 || (missed < 0.01 && hung < 0.001)) << missed << " and " << hung;
  }
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

// Some plies at one level from the start position, whose moves must all be legal.
std::vector<std::string> LevelGame(int plies) {
  std::vector<std::string> moves;
  for (int ply = 0; ply < plies; ++ply) {
    Position("startpos moves " + JoinWords(moves));
    const std::vector<std::string> legal = RulesLegalMoves(GameFen());
    const std::string move = BestMove(GoAndWait("wtime 60000 btime 60000"));
    EXPECT_NE(std::find(legal.begin(), legal.end(), move), legal.end()) << move << " after " << JoinWords(moves);
    moves.push_back(move);
  }
  return moves;
}

TEST_F(LevelGames, ASeedReplaysEveryGameAndWithoutOneGamesDiffer) {
  UseLevel(LevelEloMin, 11);
  const std::vector<std::string> game = LevelGame(12);
  // The seed set once replays the game after every new game...
  NewGame();
  EXPECT_EQ(LevelGame(12), game);
  // ...but does not restart the draws at every move of one game.
  std::set<std::string> replies;
  for (int i = 0; i < 10; ++i) {
    Position("startpos");
    replies.insert(BestMove(GoAndWait("wtime 60000 btime 60000")));
  }
  EXPECT_GT(replies.size(), 1u);
  UseLevel(LevelEloMin, 12);
  EXPECT_NE(LevelGame(12), game);
  // Seed 0: every game draws anew.
  UseLevel(LevelEloMin, 0);
  const std::vector<std::string> unseeded = LevelGame(12);
  NewGame();
  EXPECT_NE(LevelGame(12), unseeded);
}

TEST_F(LevelGames, DeeperPassesOnlyWhenTimeAllowsAndNeverPartOfOne) {
  // The shallowest mark whose level searches deeper than one pass.
  int deep = LevelEloMin;
  for (const int mark : LevelMarks())
    if (LevelStyleFor(mark).childPlies > MinimumReportedDepth && deep == LevelEloMin) deep = mark;
  ASSERT_LT(deep, LevelEloMax);
  const int plies = LevelStyleFor(deep).childPlies;
  const char *fen = "fen rnb1kbnr/pppp1ppp/8/8/3qP3/2N2N2/PPPP1PPP/R1BQKB1R w KQkq - 0 4";
  std::vector<std::string> info;
  UseLevel(deep, 3);
  Position(fen);
  GoAndWait("wtime 600000 btime 600000", &info);
  EXPECT_EQ(NumberAfter(LastLine(info), "depth"), plies + 1) << "a level with time to spare";
  UseLevel(deep, 3);
  Position(fen);
  GoAndWait("wtime 3000 btime 3000", &info);
  EXPECT_LE(NumberAfter(LastLine(info), "depth"), MinimumReportedDepth + 1) << "a level short of time";
  // A deeper pass cut short by the node limit after its first move lacks the
  // capture: the complete pass before it chooses.
  const std::vector<std::string> legal = RulesLegalMoves(GameFen());
  ASSERT_NE(legal.front(), "f3d4");
  UseLevel(LevelEloMin + 1, 3);
  NewGame();
  GoAndWait("wtime 600000 btime 600000", &info);
  const int64_t onePass = NumberAfter(LastLine(info), "nodes");
  UseLevel(deep, 3);
  Position(fen);
  EXPECT_EQ(BestMove(GoAndWait("nodes " + std::to_string(onePass + 1), &info)), "f3d4");
  EXPECT_EQ(NumberAfter(LastLine(info), "depth"), MinimumReportedDepth + 1);
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
  // The same reports, line for line, but for times and speeds, and for the
  // root-move reports a search sends after its first second (whose count the
  // last info line carries when one came after the last line).
  for (std::vector<std::string> *lines : {&plain, &top}) {
    std::erase_if(*lines, [](const std::string &line) { return line.find(" currmove ") != std::string::npos; });
    for (size_t i = 0; i < lines->size(); ++i) {
      std::vector<std::string> words = SplitWords((*lines)[i]);
      for (size_t w = 1; w < words.size(); ++w)
        if (words[w - 1] == "time" || words[w - 1] == "nps" || (words[w - 1] == "nodes" && i + 2 == lines->size())) words[w] = "";
      (*lines)[i] = JoinWords(words);
    }
  }
  EXPECT_EQ(top, plain);
}

}  // namespace
