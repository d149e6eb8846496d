#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "attacks.h"
#include "support/position.h"

namespace {

int Byte(Bitboard b, int k) { return int(b >> (8 * k) & 255); }

TEST(SplitTokens, SkipsSeparatorRunsAndCutsLongTokens) {
  static TokenSlot slots[MaxTokens];
  EXPECT_EQ(SplitTokens("  e2e4 ,;e7e5//g1f3+ ", slots), 3);
  EXPECT_STREQ(slots[0], "e2e4");
  EXPECT_STREQ(slots[1], "e7e5");
  EXPECT_STREQ(slots[2], "g1f3");
  EXPECT_EQ(SplitTokens(" ,;=+/ ", slots), 0);
  EXPECT_EQ(SplitTokens("", slots), 0);
  EXPECT_EQ(SplitTokens(nullptr, slots), 0);
  std::string longToken(100, 'x');
  EXPECT_EQ(SplitTokens((longToken + " y").c_str(), slots), 2);
  EXPECT_EQ(std::strlen(slots[0]), 31u);
  EXPECT_STREQ(slots[1], "y");
  std::string many;
  for (int i = 0; i < 1500; ++i) many += "a ";
  EXPECT_EQ(SplitTokens(many.c_str(), slots), MaxTokens);
}

TEST(SquareText, ReadsAndWritesSquareNames) {
  EXPECT_EQ(SquareFromText("h8"), H8);
  EXPECT_EQ(SquareFromText("e3"), E3);
  for (const char *bad : {"i1", "a9", "", "E3", "3e"}) EXPECT_EQ(SquareFromText(bad), 0) << bad;
  EXPECT_EQ(FileLetter(8), '-');
  EXPECT_EQ(RankDigit(8), '-');
  char buffer[3];
  EXPECT_STREQ(SquareText(E4, buffer), "e4");
  EXPECT_STREQ(SquareText(64, buffer), "--");
  EXPECT_STREQ(SquareText(-1, buffer), "--");
}

TEST(SquareTables, LinesAndDistances) {
  EnsureEngineTables();
  EXPECT_EQ(Direction[E4][E8], 8);
  EXPECT_EQ(Direction[E4][A8], 7);
  EXPECT_EQ(Direction[E4][H1], -7);
  EXPECT_EQ(Direction[E4][B1], -9);
  EXPECT_EQ(Direction[E4][F6], 0);
  EXPECT_EQ(Direction[E4][E4], 0);
  Bitboard diagonal = 0;
  for (int s : {B2, C3, D4, E5, F6, G7}) diagonal |= SetMask[s];
  EXPECT_EQ(Between[A1][H8], diagonal);
  EXPECT_EQ(Between[A1][B2], 0u);
  EXPECT_EQ(Between[A1][C2], 0u);
  EXPECT_EQ(Distance[A1][H8], 7);
  EXPECT_EQ(Distance[B6][A8], 2);
  EXPECT_EQ(FileDistance[A1][H8], 7);
  EXPECT_EQ(PopCount(LightSquares), 32);
  EXPECT_TRUE(DarkSquares & SetMask[A1]);
  EXPECT_TRUE(LightSquares & SetMask[B1]);
}

TEST(BitOperations, EdgeSquares) {
  EXPECT_EQ(PopCount(0), 0);
  EXPECT_EQ(PopCount(~Bitboard(0)), 64);
  Bitboard corners = (Bitboard(1) << A1) | (Bitboard(1) << H8);
  EXPECT_EQ(LowestSquare(Bitboard(1) << H8), 63);
  EXPECT_EQ(LowestSquare(corners), 0);
  EXPECT_EQ(HighestSquare(corners), 63);
  Bitboard middle = (Bitboard(1) << 31) | (Bitboard(1) << 32);
  EXPECT_EQ(LowestSquare(middle), 31);
  EXPECT_EQ(HighestSquare(middle), 32);
}

TEST(Setup, StartPosition) {
  SetFen(StartFen);
  EXPECT_EQ(SideToMove, White);
  for (const SideRecord *side : {&WhiteSide, &BlackSide}) {
    EXPECT_EQ(side->material, 3900);
    EXPECT_EQ(side->pieceUnits, 31);
    EXPECT_EQ(side->minorCount, 4);
    EXPECT_EQ(side->majorWeight, 4);
    EXPECT_EQ(side->pawnCount, 8);
  }
  EXPECT_EQ(WhiteSide.kingSquare, E1);
  EXPECT_EQ(BlackSide.kingSquare, E8);
  for (int s = 0; s < 64; ++s) {
    bool home = s == A1 || s == E1 || s == H1 || s == A8 || s == E8 || s == H8;
    EXPECT_EQ(MoveCounter[s], home ? 0 : 1) << s;
  }
  const int diag[8] = {0xC3, 0xE1, 0xF0, 0x78, 0x3C, 0x1E, 0x0F, 0x87};
  const int antiDiag[8] = {0x87, 0x0F, 0x1E, 0x3C, 0x78, 0xF0, 0xE1, 0xC3};
  for (int k = 0; k < 8; ++k) {
    EXPECT_EQ(Byte(RotatedFile, k), 0xC3);
    EXPECT_EQ(Byte(RotatedDiag, k), diag[k]);
    EXPECT_EQ(Byte(RotatedAntiDiag, k), antiDiag[k]);
  }
  EXPECT_EQ(Ply[0].epSquare, 0);
  EXPECT_EQ(GameMoveCount, 0);
  KeyPair keys = ComputeKeys();
  EXPECT_EQ(Ply[1].pawnKey, keys.pawnKey);
  EXPECT_EQ(Ply[1].pieceKey, keys.pieceKey);
  EXPECT_EQ(GameKeyHistory[1].pieceKey, keys.pieceKey);
}

TEST(Setup, RotatedBoardsPlaceSquaresByLine) {
  EnsureEngineTables();
  EXPECT_EQ(SetMaskFile[E4], Bitboard(1) << 36);
  EXPECT_EQ(SetMaskDiag[E4], Bitboard(1) << 60);
  EXPECT_EQ(SetMaskAntiDiag[E4], Bitboard(1) << 60);
  EXPECT_EQ(SetMaskDiag[A8], Bitboard(1) << 56);
  EXPECT_EQ(SetMaskDiag[B1], Bitboard(1) << 57);
  EXPECT_EQ(SetMaskFile[H1], Bitboard(1) << 63);
  EXPECT_EQ(SetMaskFile[A8], Bitboard(1) << 0);
  for (int s : {B1, C2, D3, E4, F5, G6, H7}) EXPECT_NE(SetMaskDiag[s] & (Bitboard(255) << 56), 0u) << s;
  for (int s : {A1, H2, G3, F4, E5, D6, C7, B8}) EXPECT_NE(SetMaskAntiDiag[s] & 255, 0u) << s;
}

TEST(Setup, CastlingRightsNeedKingAndRookAtHome) {
  SetFen("r3k2r/8/8/8/8/8/8/R3K2R w Kq -");
  for (int s = 0; s < 64; ++s) {
    bool granted = s == E1 || s == H1 || s == E8 || s == A8;
    EXPECT_EQ(MoveCounter[s], granted ? 0 : 1) << s;
  }
  SetFen("r3k2r/8/8/8/8/8/8/R4K1R w KQkq -");
  EXPECT_EQ(MoveCounter[H1], 1);
  EXPECT_EQ(MoveCounter[A1], 1);
  EXPECT_EQ(MoveCounter[E8], 0);
  EXPECT_EQ(MoveCounter[A8], 0);
  EXPECT_EQ(MoveCounter[H8], 0);
}

TEST(Setup, SideAndEnPassantFields) {
  SetFen("8/8/8/8/8/8/8/K6k W - -");
  EXPECT_EQ(SideToMove, Black);
  EXPECT_EQ(WhiteSide.kingSquare, A1);
  EXPECT_EQ(BlackSide.kingSquare, H1);
  EXPECT_EQ(WhiteSide.material + BlackSide.material, 0);
  SetFen("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3");
  EXPECT_EQ(Ply[0].epSquare, E3);
  for (const char *bad : {"-", "e9", "E3", "3e", "d3", "e6"}) {
    std::string fen = std::string("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq ") + bad;
    SetFen(fen.c_str());
    EXPECT_EQ(Ply[0].epSquare, 0) << bad;
  }
  // A key for the FEN's en-passant square is never part of the set-up keys.
  SetFen("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3");
  EXPECT_EQ(Ply[1].pieceKey, ComputeKeys().pieceKey);
}

TEST(Setup, RankStringsMoveTheCursor) {
  SetFen("4k3/8/8/8/3p4/8/8/4K3 w - -");
  EXPECT_EQ(Board[D4], -Pawn);
  // A seven-square rank shifts every later square one index down.
  // Here the first rank string holds seven squares, so the rook meant for a1
  // would fall below the board and is left out.
  SetFen("4k2/8/8/8/8/8/8/R3K3 w - -");
  EXPECT_EQ(Board[E8], -King);
  EXPECT_EQ(Board[D1], King);
  EXPECT_EQ(WhiteSide.rooks, 0u);
}

TEST(Setup, DeriveTwiceChangesNothing) {
  SetFen("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -");
  SideRecord white = WhiteSide, black = BlackSide;
  KeyPair keys{Ply[1].pawnKey, Ply[1].pieceKey};
  DerivePositionState();
  EXPECT_EQ(white, WhiteSide);
  EXPECT_EQ(black, BlackSide);
  EXPECT_EQ(keys.pawnKey, Ply[1].pawnKey);
  EXPECT_EQ(keys.pieceKey, Ply[1].pieceKey);
  EXPECT_TRUE(PositionIsConsistent());
}

TEST(Setup, KeysDistinguishColourKindAndSquare) {
  SetFen("4k3/8/8/8/8/8/4P3/4K3 w - -");
  KeyPair a = ComputeKeys();
  SetFen("4k3/8/8/8/8/8/3P4/4K3 w - -");
  KeyPair b = ComputeKeys();
  SetFen("4k3/8/8/8/8/8/4N3/4K3 w - -");
  KeyPair c = ComputeKeys();
  EXPECT_NE(a.pawnKey, b.pawnKey);
  EXPECT_EQ(a.pieceKey, b.pieceKey);
  EXPECT_EQ(c.pawnKey, 0u);
  EXPECT_NE(c.pieceKey, a.pieceKey);
}

// Whatever the text, the result is a searchable position inside the board.
TEST(Setup, BadInputGivesAPlayablePosition) {
  std::string many;
  for (int i = 0; i < 3000; ++i) many += "p/";
  const std::string cases[] = {
      "", " ", "/////", "rnbqkbnr/pppppppp", many,
      std::string(5000, 'Q'), std::string(300, '8') + "/k/K",
      "kkkkkkkk/8/8/8/8/8/8/KKKKKKKK w - -",
      "4k3/8/8/8/8/8/8/4K2Q9999999999999999999999999999999999999999 w",
      "r3k2r/8/8/8/8/8/8/R3K2R",                // no side: White
      "4k3/8/8/8/8/8/8/4K3 b - - 0 1 extra tokens",
      "P3k3/8/8/8/8/8/8/4K2p w - -",            // pawns on the edge ranks
      "4k3/8/8/8/8/8/8/4K2r b - -",             // side not to move in check
      "8/8/8/8/8/8/8/8 w - -",                  // no kings
  };
  for (const std::string &fen : cases) {
    SetFen(fen.c_str());
    EXPECT_TRUE(PositionIsConsistent()) << fen;
    EXPECT_EQ(Board[WhiteSide.kingSquare], King) << fen;
    EXPECT_EQ(Board[BlackSide.kingSquare], -King) << fen;
    EXPECT_FALSE(InCheck(1 - SideToMove)) << fen;
    for (int s = 0; s < 64; ++s) {
      if (Rank(s) == 0 || Rank(s) == 7) {
        EXPECT_NE(Board[s] < 0 ? -Board[s] : Board[s], Pawn) << fen;
      }
    }
  }
  SetFen("r3k2r/8/8/8/8/8/8/R3K2R");
  EXPECT_EQ(SideToMove, White);
  EXPECT_EQ(MoveCounter[E1], 1);
  SetFen("4k3/8/8/8/8/8/8/4K2r b - -");
  EXPECT_EQ(WhiteSide.material, 3900);  // fell back to the start position
  SetFen("P3k3/8/8/8/8/8/8/4K2p w - -");
  EXPECT_EQ(WhiteSide.pawnCount + BlackSide.pawnCount, 0);
}

}  // namespace
