#include <gtest/gtest.h>

#include "interface.h"
#include "phase.h"
#include "support/position.h"

namespace {

struct BalanceCase {
  const char *fen;
  int expected;  // with MaterialTrade 120
  const char *row;
};

void PrintTo(const BalanceCase &c, std::ostream *os) { *os << c.row; }

class MaterialBalanceRows : public testing::TestWithParam<BalanceCase> {};

TEST_P(MaterialBalanceRows, AdjustsByTheFirstMatchingRow) {
  EnsureEngineTables();
  SetParameterDefaults();
  SetFen(GetParam().fen);
  EXPECT_EQ(MaterialBalance(), GetParam().expected) << GetParam().row;
}

INSTANTIATE_TEST_SUITE_P(
    TradeTable, MaterialBalanceRows,
    testing::Values(BalanceCase{StartFen, 0, "equal"},
                    BalanceCase{"rr2k3/8/8/8/8/8/8/3QK3 w - - 0 1", -100 + 120, "queen against two rooks"},
                    BalanceCase{"3qk3/8/8/8/8/8/8/RR2K3 w - - 0 1", 100 - 120, "two rooks against queen"},
                    BalanceCase{"4k3/8/8/8/8/8/8/R3K3 w - - 0 1", 500 + 120, "0, +1"},
                    BalanceCase{"4k3/8/8/8/8/8/8/1N2K3 w - - 0 1", 300, "both below 4 units"},
                    BalanceCase{"r3k3/8/8/8/8/8/8/RN2K3 w - - 0 1", 300 + 120, "+1, 0"},
                    BalanceCase{"1nb1k3/8/8/8/8/8/8/R3K3 w - - 0 1", -100 - 120, "-2, +1"},
                    BalanceCase{"rb2k3/8/8/8/8/8/8/3QK3 w - - 0 1", 100 + 60, "-1, +1 with White's queen"},
                    BalanceCase{"rn2k3/8/8/8/8/8/8/RR2K3 w - - 0 1", 200, "-1, +1 without queen"},
                    BalanceCase{"4k3/8/8/8/8/8/8/RN2K3 w - - 0 1", 800, "+1, +1"},
                    BalanceCase{"r3k3/8/8/8/8/8/8/1NB1K3 w - - 0 1", 100 + 120, "+2, -1"},
                    BalanceCase{"3qk3/8/8/8/8/8/8/R1B1K3 w - - 0 1", -100 - 60, "+1, -1 with Black's queen"},
                    BalanceCase{"1n1qk3/8/8/8/8/8/8/R3K3 w - - 0 1", -700, "-1, -1"},
                    BalanceCase{"1nbnk3/8/8/8/8/8/8/3QK3 w - - 0 1", -120, "-3, +2"},
                    BalanceCase{"1nb1k3/8/8/8/8/8/8/3QK3 w - - 0 1", 300, "-2, +2"},
                    BalanceCase{"3qk3/8/8/8/8/8/8/1NBNK3 w - - 0 1", 120, "+3, -2"},
                    BalanceCase{"3qk3/8/8/8/8/8/8/1NB1K3 w - - 0 1", -300, "+2, -2"},
                    BalanceCase{"1n2k3/8/8/8/8/8/8/R2QK3 w - - 0 1", 1100, "-1, +3"}));

TEST(MaterialBalance, TradeBonusFollowsTheParameter) {
  EnsureEngineTables();
  SetFen("1nb1k3/8/8/8/8/8/8/R3K3 w - - 0 1");
  MaterialTrade = 0;
  EXPECT_EQ(MaterialBalance(), -100);
  MaterialTrade = 150;
  EXPECT_EQ(MaterialBalance(), -250);
  MaterialTrade = 75;
  SetFen("rb2k3/8/8/8/8/8/8/3QK3 w - - 0 1");
  EXPECT_EQ(MaterialBalance(), 100 + 37);
  SetParameterDefaults();
}

TEST(PrepareSearchTables, GamePhaseOnlyMovesForward) {
  EnsureEngineTables();
  SetParameterDefaults();
  SetFen(StartFen);
  PrepareSearchTables(White);
  EXPECT_EQ(GamePhase, 0);
  GameMoveCount = 24;
  PrepareSearchTables(White);
  EXPECT_EQ(GamePhase, 0);
  GameMoveCount = 25;
  PrepareSearchTables(White);
  EXPECT_EQ(GamePhase, 1);
  SetFen("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR b k - 0 1");
  PrepareSearchTables(Black);
  EXPECT_EQ(GamePhase, 0);  // Black still keeps a castling
  SetFen("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR b - - 0 1");
  PrepareSearchTables(Black);
  EXPECT_EQ(GamePhase, 1);
  // Rook and bishop each: the endgame straight from the opening, kept after
  // a queen comes back on the board.
  SetFen("r2bk3/pp6/8/8/8/8/PP6/R2BK3 w KQkq - 0 1");
  PrepareSearchTables(White);
  EXPECT_EQ(GamePhase, 2);
  Board[D4] = Queen;
  DerivePositionState();
  PrepareSearchTables(White);
  EXPECT_EQ(GamePhase, 2);
  // Only one side below 15 units: not yet.
  SetFen("r2bk3/pp6/8/8/8/8/PP6/R2QKB2 w - - 0 1");
  PrepareSearchTables(White);
  EXPECT_EQ(GamePhase, 1);
}

TEST(PrepareSearchTables, AsymmetriesAndScales) {
  EnsureEngineTables();
  SetParameterDefaults();
  PrepareSearchTables(White);
  for (int i = 0; i < 64; ++i) ASSERT_EQ(SafetyTable[Black][i], SafetyBase[i]);
  for (int i = 0; i < 128; ++i) ASSERT_EQ(OffensiveTable[White][i], OffensiveBase[i]);
  SafetyAsymmetry = 50;
  PrepareSearchTables(White);
  EXPECT_EQ(SafetyTable[Black][2], 15 + 7);
  EXPECT_EQ(SafetyTable[White][2], 15);
  PrepareSearchTables(Black);
  EXPECT_EQ(SafetyTable[White][2], 15 + 7);
  SafetyAsymmetry = -50;
  PrepareSearchTables(White);
  EXPECT_EQ(SafetyTable[Black][2], 15 - 7);
  OffensiveAsymmetry = -50;
  PrepareSearchTables(White);
  EXPECT_EQ(OffensiveTable[White][0], -25 + 12);
  EXPECT_EQ(OffensiveTable[Black][0], -25);
  SafetyScale = 0;
  OffensiveAsymmetry = 50;
  OffensiveScale = 200;
  PrepareSearchTables(White);
  for (int i = 0; i < 64; ++i) ASSERT_EQ(SafetyTable[White][i] | SafetyTable[Black][i], 0);
  EXPECT_EQ(OffensiveTable[White][15], (25 + 12) * 2);
  EXPECT_EQ(OffensiveTable[Black][15], 50);
  SetParameterDefaults();
}

struct ChancesCase {
  const char *fen;
  int side;
  int expected;
  const char *what;
};

void PrintTo(const ChancesCase &c, std::ostream *os) { *os << c.what; }

class WinChancesCases : public testing::TestWithParam<ChancesCase> {};

TEST_P(WinChancesCases, Mask) {
  EnsureEngineTables();
  SetFen(GetParam().fen);
  EXPECT_EQ(WinChances(GetParam().side), GetParam().expected) << GetParam().what;
}

INSTANTIATE_TEST_SUITE_P(
    Endings, WinChancesCases,
    testing::Values(
        ChancesCase{"3bk3/8/8/8/8/8/8/R3K3 w - - 0 1", White, 0, "rook against bishop"},
        ChancesCase{"4k3/8/8/8/8/8/8/3NK3 w - - 0 1", White, 0, "lone knight"},
        ChancesCase{"4k3/8/8/8/8/8/P7/4KB2 w - - 0 1", White, 1, "light bishop guards a8"},
        ChancesCase{"8/1k6/8/8/8/8/P7/2B1K3 w - - 0 1", White, 0, "wrong bishop, king near a8"},
        ChancesCase{"k7/8/8/8/8/8/P7/K7 w - - 0 1", White, 0, "a-pawn, king on a8"},
        ChancesCase{"4k1n1/8/8/8/8/8/8/1NN1K3 w - - 0 1", White, 2, "two knights against one"},
        ChancesCase{"4k1b1/8/8/8/8/8/8/1NB1K3 b - - 0 1", Black, 2, "bishop and knight against bishop"},
        ChancesCase{"4k1n1/pp6/8/8/8/8/8/2BBK3 w - - 0 1", White, 2, "two bishops against knight and pawns"},
        ChancesCase{"4k1r1/8/8/8/8/8/8/RB2K3 w - - 0 1", White, 2, "rook and bishop against rook"},
        ChancesCase{"4k3/8/8/8/8/8/4P3/4K3 w - - 0 1", White, 3, "pawn on files b to g, no pieces"},
        ChancesCase{"4k3/8/8/8/8/8/P7/1NB1K3 w - - 0 1", White, 3, "bishop, knight and pawn"},
        ChancesCase{"4k3/p7/8/8/8/8/8/1N2K3 w - - 0 1", White, 0, "knight against a pawn"},
        ChancesCase{"4k3/pppppppp/8/8/8/8/PPPPPPPP/RNBQK3 w - - 0 1", White, 3, "many pieces"},
        ChancesCase{"8/7p/1K6/8/k7/8/8/8 b - - 0 1", Black, 0, "no tempo for Black"},
        ChancesCase{"8/8/8/K7/8/1k6/7P/8 w - - 0 1", White, 1, "tempo for White"}));

TEST(PawnlessEnding, BishopAndKnightDriveToTheBishopsCorner) {
  EnsureEngineTables();
  SetFen("7k/8/8/8/8/8/8/1NB1K3 w - - 0 1");  // dark bishop c1
  EXPECT_EQ(PawnlessEnding(), 100);
  SetFen("8/8/8/3k4/8/8/8/1NB1K3 w - - 0 1");
  EXPECT_EQ(PawnlessEnding(), 30);
  SetFen("8/8/8/8/4k3/8/8/1NB1K3 w - - 0 1");
  EXPECT_EQ(PawnlessEnding(), 30);
  SetFen("7k/8/8/8/8/8/8/1N2KB2 w - - 0 1");  // light bishop f1: h8 is wrong
  EXPECT_EQ(PawnlessEnding(), 30);
  SetFen("k7/8/8/8/8/8/8/1N2KB2 w - - 0 1");
  EXPECT_EQ(PawnlessEnding(), 100);
  SetFen("1nb1k3/8/8/8/8/8/8/7K b - - 0 1");  // Black's light bishop c8
  EXPECT_EQ(PawnlessEnding(), -100);
}

TEST(PawnlessEnding, StrongerSideDrivesTheKingToTheEdge) {
  EnsureEngineTables();
  SetFen("k7/8/2K5/8/8/8/8/7R w - - 0 1");
  EXPECT_EQ(PawnlessEnding(), 100 + 15);
  SetFen("8/8/8/3K4/8/8/8/r3k3 b - - 0 1");
  EXPECT_EQ(PawnlessEnding(), -40 + 15 * (4 - 3));
  SetFen("4k3/8/8/8/8/8/8/R3K2r w - - 0 1");
  EXPECT_EQ(PawnlessEnding(), 0);
}

}  // namespace
