// The board: reading positions from FEN text, whatever the text, and the
// static exchange.
#include <gtest/gtest.h>

#include <string>

#include "attacks.h"
#include "support/position.h"

namespace {

Bitboard Squares(std::initializer_list<int> list) {
  Bitboard b = 0;
  for (int s : list) b |= Bitboard(1) << s;
  return b;
}

// What a FEN's castling and en-passant fields leave behind: the squares
// whose move counters read 0 (castling still possible) and the en-passant
// square, which needs the pawn that made it and an empty square behind.
struct SetupCase {
  const char *fen;
  Bitboard unmoved;
  int epSquare;
};

class Setup : public testing::TestWithParam<SetupCase> {};

TEST_P(Setup, CastlingAndEnPassantFields) {
  SetFen(GetParam().fen);
  Bitboard unmoved = 0;
  for (int s = 0; s < 64; ++s)
    if (MoveCounter[s] == 0) unmoved |= SetMask[s];
  EXPECT_EQ(unmoved, GetParam().unmoved);
  EXPECT_EQ(Ply[0].epSquare, GetParam().epSquare);
  // The set-up keys never include the FEN's en-passant square.
  EXPECT_EQ(Ply[1].pieceKey, ComputeKeys().pieceKey);
  EXPECT_TRUE(PositionIsConsistent());
}

const Bitboard AllRights = Squares({A1, E1, H1, A8, E8, H8});
const char *const AfterE4 = "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq ";

INSTANTIATE_TEST_SUITE_P(
    Fields, Setup,
    testing::Values(SetupCase{"r3k2r/8/8/8/8/8/8/R3K2R w Kq -", Squares({E1, H1, E8, A8}), 0},
                    SetupCase{"r3k2r/8/8/8/8/8/8/R4K1R w KQkq -", Squares({E8, A8, H8}), 0},
                    SetupCase{"r3k2r/8/8/8/8/8/8/R3K2R", 0, 0},
                    SetupCase{"rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3", AllRights, E3},
                    SetupCase{"rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq d3", AllRights, 0},
                    SetupCase{"rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e6", AllRights, 0},
                    SetupCase{"rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e9", AllRights, 0},
                    SetupCase{"rnbqkbnr/ppp1pppp/8/3pP3/8/8/PPPP1PPP/RNBQKBNR w KQkq d6", AllRights, D6},
                    SetupCase{"rnbqkbnr/pppppppp/8/4P3/8/8/PPPP1PPP/RNBQKBNR w KQkq d6", AllRights, 0},
                    SetupCase{"rnbqkbnr/ppp1pppp/3p4/3pP3/8/8/PPPP1PPP/RNBQKBNR w KQkq d6", AllRights, 0}));

// Whatever the text, the result is a searchable position inside the board:
// one king each, no pawn on the edge ranks, the side not to move not in check.
TEST(Setup, BadInputGivesAPlayablePosition) {
  std::string many;
  for (int i = 0; i < 3000; ++i) many += "p/";
  const std::string cases[] = {
      "", "/////", many, std::string(5000, 'Q'), std::string(300, '8') + "/k/K",
      "kkkkkkkk/8/8/8/8/8/8/KKKKKKKK w - -",
      "4k3/8/8/8/8/8/8/4K2Q9999999999999999999999999999999999999999 w",
      "P3k3/8/8/8/8/8/8/4K2p w - -",
      "4k3/8/8/8/8/8/8/4K2r b - -",
      "8/8/8/8/8/8/8/8 w - -",
  };
  for (const std::string &fen : cases) {
    SetFen(fen.c_str());
    EXPECT_TRUE(PositionIsConsistent()) << fen;
    EXPECT_EQ(Board[WhiteSide.kingSquare], King) << fen;
    EXPECT_EQ(Board[BlackSide.kingSquare], -King) << fen;
    EXPECT_FALSE(InCheck(1 - SideToMove)) << fen;
    EXPECT_EQ((WhiteSide.pawns | BlackSide.pawns) & (RankMask[0] | RankMask[7]), 0u) << fen;
  }
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
        ExchangeCase{"3rk3/8/8/3p4/8/8/3R4/3RK3 w - -", White, D2, D5, 100},       // rear rook joins
        ExchangeCase{"3qk3/3r4/8/3p4/8/8/3R4/3RK3 w - -", White, D2, D5, -400},    // black's x-ray queen decides
        ExchangeCase{"4k3/8/8/8/3Pp3/8/8/4K3 b - d3", Black, E4, D3, 0},           // en passant counts no victim
        ExchangeCase{"4k3/8/8/8/3Pp3/8/2P5/4K3 b - d3", Black, E4, D3, -100},      // ... and can be taken back
        ExchangeCase{"4k3/8/8/8/8/4p3/3pK3/8 w - -", White, E2, D2, 100 - 3000},   // king takes a defended pawn
        ExchangeCase{"4k3/4r3/8/8/8/8/4B3/3rK3 w - -", White, E2, D1, 500}));      // pinned bishop still counts

}  // namespace
