#include <gtest/gtest.h>

#include "attacks.h"
#include "pawns.h"
#include "support/position.h"

namespace {

// Sets the position and scores its pawns afresh.
int PawnScore(const char *fen) {
  EnsureEngineTables();
  static const int allocated = AllocatePawnHash();
  (void)allocated;
  SetFen(fen);
  ClearPawnHash();
  return EvaluatePawns(SideToMove, 1);
}

const PawnEntry &Entry() { return *CurrentPawnEntry; }

TEST(PawnStructure, StartPositionCancels) {
  EXPECT_EQ(PawnScore(StartFen), 0);
  EXPECT_EQ(Entry().openFiles, 0);
  EXPECT_EQ(Entry().whiteLightPawns, 4);
  EXPECT_EQ(Entry().blackDarkPawns, 4);
}

TEST(PawnStructure, DoubledIsolatedPassedRookPawns) {
  // a2 and a3: each -6 -6 -10; a3 passed at half (a2 behind), a2 passed.
  EXPECT_EQ(PawnScore("7k/8/8/8/8/P7/P7/7K w - - 0 1"), 3 - 44 + 16);
  EXPECT_EQ(Entry().pawnScore, -25);
  EXPECT_EQ(Entry().whitePassedFiles, 1);
  EXPECT_EQ(Entry().openFiles, 0xFE);
}

TEST(PawnStructure, ConnectedAndProtectedPassers) {
  // d4 and e5 alone: e5 passed (60), defended by d4 (24) and connected (8);
  // d4 passed (32) and not connected (d4 has nothing beside or behind it).
  EXPECT_EQ(PawnScore("7k/8/8/4P3/3P4/8/8/7K w - - 0 1"), (15 + 18) + 60 + 24 + 8 + 32);
  // Side by side on d4 and e4: each connected (5), passed (32) and, being
  // connected, a protected passer (12).
  EXPECT_EQ(PawnScore("7k/8/8/8/3PP3/8/8/7K w - - 0 1"), 2 * (15 + 5 + 32 + 12));
}

TEST(PawnStructure, BackwardPawns) {
  // d3 cannot advance past c5 and e5 with no support: isolated -6, backward
  // -10. c5 and e5 each isolated -6 and backward (d3 hits c4 and e4) -10.
  const int white = 12 - 6 - 10;
  const int black = (12 - 6 - 10) + (15 - 6 - 10);
  EXPECT_EQ(PawnScore("7k/8/8/2p1p3/8/3P4/8/7K w - - 0 1"), white - black);
}

TEST(PawnStructure, Shelters) {
  // Fianchetto f2 g3 h2 against f7 g7 h7: g2 missing counts 2.
  PawnScore("6k1/5ppp/8/8/8/6P1/5P1P/6K1 w - - 0 1");
  EXPECT_EQ(Entry().whiteShelterKingSide, 2);
  EXPECT_EQ(Entry().blackShelterKingSide, 0);
  EXPECT_EQ(Entry().whiteShelterQueenSide, 16);  // three open files
  // f3 g3 h2: f (1) + g (2), less 1 for the f3-g3 chain, and the h-file
  // without a Black pawn counts half of 3.
  PawnScore("6k1/5pp1/8/8/8/5PP1/7P/6K1 w - - 0 1");
  EXPECT_EQ(Entry().whiteShelterKingSide, 1 + 2 - 1 + 3 / 2);
  EXPECT_EQ(Entry().blackShelterKingSide, 3);  // the h-file is half-open for Black
  // Pawns pushed to the fourth rank: f, g, h count 2, 3, 2.
  PawnScore("6k1/8/8/8/5PPP/8/8/6K1 w - - 0 1");
  EXPECT_EQ(Entry().whiteShelterKingSide, 7 + 9 / 2);
  EXPECT_EQ(Entry().blackShelterKingSide, 9);
}

TEST(PawnEvaluation, BlockedPasserAndKingSupportOnEveryCall) {
  // Passer e6 blocked by a Black knight on e7, White king on d6 beside it.
  const char *fen = "7k/4n3/3KP3/8/8/8/8/8 w - - 0 1";
  const int miss = PawnScore(fen);
  const int cached = Entry().pawnScore;
  EXPECT_EQ(miss - cached, -45 + 60);
  EXPECT_EQ(EvaluatePawns(White, 1), miss);  // a hit adds the same terms
  EXPECT_EQ(PawnScore("7k/4nK2/4P3/8/8/8/8/8 w - - 0 1") - Entry().pawnScore, -45 + 60);
  EXPECT_EQ(PawnScore("7k/4n3/4P3/3K4/8/8/8/8 w - - 0 1") - Entry().pawnScore, -45);
  // Black's mirror.
  EXPECT_EQ(PawnScore("8/8/8/8/8/3kp3/4N3/7K b - - 0 1") - Entry().pawnScore, 45 - 60);
}

TEST(PawnEvaluation, PawnEndingRule) {
  auto rule = [](const char *fen) {
    PawnScore(fen);
    return PawnEndingRule();
  };
  EXPECT_EQ(rule("4k3/8/4K3/4P3/8/8/8/8 w - - 0 1"), 600);
  EXPECT_EQ(rule("4k3/8/8/4P3/4K3/8/8/8 w - - 0 1"), 0);
  EXPECT_EQ(rule("8/8/8/8/4p3/4k3/8/4K3 b - - 0 1"), -600);
  EXPECT_EQ(rule("7K/8/8/8/4p3/8/4k3/8 b - - 0 1"), -600);
  // Rook-pawn test fails (b6 and c8 both two from a8), the general test holds.
  EXPECT_EQ(rule("2k5/8/1K6/P7/8/8/8/8 w - - 0 1"), 600);
  // Rook-pawn test: king b7 closer to a8 than the defender.
  EXPECT_EQ(rule("8/1K6/8/P7/8/8/8/5k2 w - - 0 1"), 600);
  // Both sides with pawns: never.
  EXPECT_EQ(rule("4k3/8/4K3/4P3/8/8/p7/8 w - - 0 1"), 0);
  // The rule enters the evaluation only when the side without pieces faces passers.
  const int withRule = PawnScore("4k3/8/4K3/4P3/8/8/8/8 w - - 0 1");
  EXPECT_EQ(withRule - Entry().pawnScore, 600 - 30);  // the king on e6 blocks its own pawn
}

TEST(PawnHash, PawnlessKeyHitsTheClearedSlotZero) {
  PawnScore("4k3/8/8/8/8/8/8/4K3 w - - 0 1");
  EXPECT_EQ(Ply[1].pawnKey, 0u);
  EXPECT_EQ(CurrentPawnEntry, &PawnHashTable[0]);
  EXPECT_EQ(Entry().openFiles, 0);  // the cleared contents, not a fresh score
}

TEST(PawnHash, SlotIsKeyModuloSizeAndMissesOverwrite) {
  PawnScore(StartFen);
  EXPECT_EQ(PawnHashSize, uint32_t(PawnHashSlots));
  EXPECT_EQ(CurrentPawnEntry - PawnHashTable, long(Ply[1].pawnKey % PawnHashSlots));
  EXPECT_EQ(CurrentPawnEntry->key, Ply[1].pawnKey);
  // A foreign key in the slot is replaced by this configuration's score.
  CurrentPawnEntry->key ^= 1;
  CurrentPawnEntry->pawnScore = 999;
  EXPECT_EQ(EvaluatePawns(White, 1), 0);
  EXPECT_EQ(CurrentPawnEntry->key, Ply[1].pawnKey);
}

TEST(PawnHash, FreeTwiceFallsBackToTheStaticTable) {
  PawnScore(StartFen);
  FreePawnHash();
  FreePawnHash();
  EXPECT_EQ(PawnHashSize, uint32_t(FallbackPawnHashSlots));
  EXPECT_EQ(EvaluatePawns(White, 1), 0);
  EXPECT_EQ(PawnScore("7k/8/8/8/8/P7/P7/7K w - - 0 1"), -25);
  EXPECT_EQ(AllocatePawnHash(), 1);
  EXPECT_EQ(AllocatePawnHash(), 1);  // a second call keeps and clears the block
  EXPECT_EQ(PawnHashSize, uint32_t(PawnHashSlots));
}

TEST(LowestBitInByte, WalksFilesFromTheAFile) {
  EnsureEngineTables();
  EXPECT_EQ(LowestBitInByte[0], 0);
  EXPECT_EQ(LowestBitInByte[0x80], 7);
  EXPECT_EQ(LowestBitInByte[0x0C], 2);
}

}  // namespace
