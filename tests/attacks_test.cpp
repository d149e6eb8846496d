#include <gtest/gtest.h>

#include <random>

#include "attacks.h"
#include "support/position.h"

namespace {

Bitboard Squares(std::initializer_list<int> list) {
  Bitboard b = 0;
  for (int s : list) b |= SetMask[s];
  return b;
}

// Plain ray walk used as the reference for the rotated lookups.
Bitboard WalkRays(int s, Bitboard occupied, std::initializer_list<std::pair<int, int>> steps) {
  Bitboard result = 0;
  for (auto [df, dr] : steps) {
    for (int f = File(s) + df, r = Rank(s) + dr; f >= 0 && f < 8 && r >= 0 && r < 8; f += df, r += dr) {
      result |= SetMask[8 * r + f];
      if (occupied & SetMask[8 * r + f]) break;
    }
  }
  return result;
}

// Installs an occupancy in the position's occupied and rotated boards.
void SetOccupancy(Bitboard occupied) {
  WhiteSide = BlackSide = SideRecord{};
  WhiteSide.occupied = occupied;
  RotatedFile = RotatedDiag = RotatedAntiDiag = 0;
  for (Bitboard b = occupied; b; b &= b - 1) SetRotated(LowestSquare(b));
}

TEST(AttackTables, RotatedLookupsEqualARayWalk) {
  EnsureEngineTables();
  std::mt19937_64 random(12345);
  for (int trial = 0; trial < 2000; ++trial) {
    Bitboard occupied = random() & random();
    SetOccupancy(occupied);
    for (int s = 0; s < 64; ++s) {
      ASSERT_EQ(RookAttacksOf(s), WalkRays(s, occupied, {{1, 0}, {-1, 0}, {0, 1}, {0, -1}}));
      ASSERT_EQ(BishopAttacksOf(s), WalkRays(s, occupied, {{1, 1}, {-1, -1}, {1, -1}, {-1, 1}}));
    }
  }
  SetFen(StartFen);
}

TEST(AttackTables, LineAndLeaperExamples) {
  EnsureEngineTables();
  Bitboard rankOfD1 = Squares({A1, B1, C1, E1, F1, G1, H1});
  EXPECT_EQ(RankAttacks[D1][0x81], rankOfD1);
  EXPECT_EQ(RankAttacks[D1][0], rankOfD1);
  EXPECT_EQ(RankAttacks[D1][0x10], Squares({A1, B1, C1, E1}));
  EXPECT_EQ(FileAttacks[E4][0x02], Squares({E5, E6, E7, E3, E2, E1}));
  for (int o = 0; o < 256; ++o) EXPECT_EQ(DiagAttacks[A8][o], 0u);
  EXPECT_EQ(DiagAttacks[B1][1], DiagAttacks[B1][0]);
  EXPECT_EQ(DiagAttacks[B1][0], Squares({C2, D3, E4, F5, G6, H7}));
  EXPECT_EQ(AntiDiagAttacks[H1][0], Squares({G2, F3, E4, D5, C6, B7, A8}));
  EXPECT_EQ(KnightAttacks[A1], Squares({B3, C2}));
  EXPECT_EQ(KingAttacks[H8], Squares({G8, G7, H7}));
  EXPECT_EQ(WhitePawnAttacks[A2], Squares({B3}));
  EXPECT_EQ(WhitePawnAttacks[H8], 0u);
  EXPECT_EQ(BlackPawnAttacks[A1], 0u);
  // Bits stand for files on the diagonals: d2 is bit 3, e3 bit 4.
  EXPECT_EQ(DiagMobility[C1][1 << 3], 0u);
  EXPECT_EQ(DiagMobility[C1][1 << 4 | 0xE0], 1u);
  EXPECT_EQ(AntiDiagMobility[C1][0], 2u);
  EXPECT_EQ(InterposeMask[E1][E8], Squares({E2, E3, E4, E5, E6, E7, E8}));
  EXPECT_EQ(InterposeMask[E1][F3], Squares({F3}));
  EXPECT_EQ(InterposeMask[E1][F4], 0u);
  EXPECT_EQ(AdjacentFilesBelow[B8], 0u);
  EXPECT_EQ(AdjacentFilesAbove[G1], 0u);
  EXPECT_EQ(AdjacentFilesBelow[B7], Squares({A1, A2, A3, A4, A5, A6, C1, C2, C3, C4, C5, C6}));
  EXPECT_EQ(WhitePassedMask[E7], Squares({D8, E8, F8}));
  EXPECT_EQ(RayNorth[E6], Squares({E7, E8}));
  EXPECT_EQ(RaySouthEast[F2], Squares({G1}));
}

TEST(AttackDetection, StartPosition) {
  SetFen(StartFen);
  EXPECT_FALSE(InCheck(White));
  EXPECT_FALSE(InCheck(Black));
  EXPECT_TRUE(AttackedByWhite(F3));
  EXPECT_FALSE(AttackedByWhite(E4));
  EXPECT_FALSE(AttackedByBlack(E5));
  EXPECT_TRUE(AttackedByBlack(F6));
  EXPECT_TRUE(AttackedByBlack(D7));  // defended own piece counts as attacked
}

TEST(AttackDetection, AttackersAndTheKingAsBlocker) {
  SetFen("4k3/8/8/8/8/8/8/R6K w - -");
  EXPECT_TRUE(AttackedByWhite(D1));
  EXPECT_EQ(WhiteAttackersOf(D1), Squares({A1}));
  SetFen("4r2k/8/8/8/8/8/4K3/8 w - -");
  EXPECT_TRUE(InCheck(White));
  EXPECT_TRUE(AttackedByBlack(E3));
  EXPECT_FALSE(AttackedByBlack(E1));
  SetFen("4r2k/8/8/8/8/8/4Q3/4R2K w - -");
  EXPECT_EQ(AttackersOf(E4), Squares({E2, E8}));
  EXPECT_EQ(BlackAttackersOf(E4), Squares({E8}));
}

TEST(AttackDetection, Pins) {
  SetFen("4r2k/8/8/8/8/8/4N3/4K3 w - -");
  EXPECT_TRUE(PinnedToWhiteKing(E2));
  SetFen("4b2k/8/8/8/8/8/4N3/4K3 w - -");
  EXPECT_FALSE(PinnedToWhiteKing(E2));
  SetFen("4r2k/8/8/8/4B3/8/4N3/4K3 w - -");
  EXPECT_FALSE(PinnedToWhiteKing(E2));
  SetFen("7k/8/8/b7/8/8/3N4/4K3 w - -");
  EXPECT_TRUE(PinnedToWhiteKing(D2));
  SetFen("7k/8/8/r7/8/8/3N4/4K3 w - -");
  EXPECT_FALSE(PinnedToWhiteKing(D2));
  SetFen("7k/8/8/r7/8/5N2/8/4K3 w - -");
  EXPECT_FALSE(PinnedToWhiteKing(F3));
  SetFen("4k3/4n3/8/8/8/8/8/4R2K b - -");
  EXPECT_TRUE(PinnedToBlackKing(E7));
}

struct ExchangeCase {
  const char *fen;
  int side, from, to, value;
};

class Exchange : public testing::TestWithParam<ExchangeCase> {};

TEST_P(Exchange, Balance) {
  const ExchangeCase &c = GetParam();
  SetFen(c.fen);
  EXPECT_EQ(StaticExchange(c.side, c.from, c.to), c.value) << c.fen;
}

INSTANTIATE_TEST_SUITE_P(
    Examples, Exchange,
    testing::Values(
        ExchangeCase{"4k3/8/8/3n4/8/8/8/3RK3 w - -", White, D1, D5, 300},          // free knight
        ExchangeCase{"4k3/8/4p3/3n4/2P5/8/8/4K3 w - -", White, C4, D5, 200},       // pawn takes defended knight
        ExchangeCase{"4k3/8/4p3/3p4/8/8/8/3QK3 w - -", White, D1, D5, -800},       // queen takes defended pawn
        ExchangeCase{"4k3/8/8/8/4p3/8/8/2N1K3 w - -", White, C1, D3, -300},        // knight to a square a pawn attacks
        ExchangeCase{"4k3/8/8/8/8/8/8/2N1K3 w - -", White, C1, D3, 0},             // quiet and safe
        ExchangeCase{"3rk3/8/8/3p4/8/8/3R4/3RK3 w - -", White, D2, D5, 100},       // rear rook joins: R x p, r x R, R x r
        ExchangeCase{"3qk3/3r4/8/3p4/8/8/3R4/3RK3 w - -", White, D2, D5, -400},    // black's x-ray queen decides
        ExchangeCase{"4k3/8/8/8/3Pp3/8/8/4K3 b - d3", Black, E4, D3, 0},           // en passant counts no victim
        ExchangeCase{"4k3/8/8/8/3Pp3/8/2P5/4K3 b - d3", Black, E4, D3, -100},       // ... and can be taken back
        ExchangeCase{"4k3/8/8/8/8/8/3pK3/8 w - -", White, E2, D2, 100},             // king takes an undefended pawn
        ExchangeCase{"4k3/8/8/8/8/4p3/3pK3/8 w - -", White, E2, D2, 100 - 3000},   // ... a defended one
        ExchangeCase{"4k3/4r3/8/8/8/8/4B3/3rK3 w - -", White, E2, D1, 500}));      // pinned bishop still counts

}  // namespace
