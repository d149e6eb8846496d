// The game record: moves read from the host's text, the history of keys and
// repetitions against the game and inside the search line.
#include <gtest/gtest.h>

#include <string>

#include "interface.h"
#include "support/position.h"

namespace {

// Plays a game text as the host does (the text is a writable copy).
void Play(std::string text) { VarnSetGame(text.data()); }

void SetPosition(const char *fen) {
  EnsureEngineTables();
  std::string text = fen;
  VarnSetPosition(text.data());
}

struct GameCase {
  const char *fen, *text;
  int moves, lastIrreversible;
  int square, code;  // one square the game leaves and what stands there
};

class GameRecord : public testing::TestWithParam<GameCase> {};

TEST_P(GameRecord, ReadsTheMovesItNames) {
  const GameCase &c = GetParam();
  SetPosition(c.fen);
  Play(c.text);
  EXPECT_EQ(GameMoveCount, c.moves);
  EXPECT_EQ(LastIrreversibleMove, c.lastIrreversible);
  EXPECT_EQ(Board[c.square], c.code);
  EXPECT_EQ(SideToMove, c.moves % 2 ? Black : White);
  EXPECT_TRUE(PositionIsConsistent());
}

INSTANTIATE_TEST_SUITE_P(
    Texts, GameRecord,
    testing::Values(GameCase{StartFen, "e2e4, e7e5;;g1f3  ;b8c6 ", 4, 2, C6, -Knight},
                    // Words that name no legal move are skipped.
                    GameCase{StartFen, "1. e2e4 e5 2. E7E5 e7-e5 e7 e7e9 O-O xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx", 1, 1,
                             E4, Pawn},
                    // Promotions need their letter, in either case.
                    GameCase{"8/P6P/4k3/8/8/3K4/1p4p1/8 w - -", "a7a8 a7a8=Q h7h8X", 0, 0, A7, Pawn},
                    GameCase{"8/P6P/4k3/8/8/3K4/1p4p1/8 w - -", "a7a8q b2b1N h7h8R g2g1b", 4, 4, B1, -Knight},
                    // Castling is the king's move.
                    GameCase{"r3k2r/8/8/8/8/8/8/R3K2R w KQkq -", "O-O 0-0 e1g1 e8c8", 2, 0, D8, -Rook},
                    // The en-passant square carries to the next move.
                    GameCase{StartFen, "e2e4 a7a6 e4e5 d7d5 e5d6", 5, 5, D5, Empty}));

TEST(GameRecordLimits, HoldsAtMostNineHundredNinetyNineMoves) {
  SetPosition(StartFen);
  std::string shuffle;
  for (int i = 0; i < 250; ++i) shuffle += "g1f3 g8f6 f3g1 f6g8 ";  // 1000 moves
  Play(shuffle);
  EXPECT_EQ(GameMoveCount, MaxGameMoves);
  EXPECT_EQ(SideToMove, Black) << "the thousandth move is refused and the side stays";
  EXPECT_EQ(PlayGameMove(Black, MoveWord(F6, G8, Knight)), 0);
  DerivePositionState();
  EXPECT_EQ(GameKeyHistory[MaxGameMoves + 1].pieceKey, Ply[1].pieceKey);
}

// Gives ply the keys of a position named by a number.
void SetKeys(int ply, uint64_t n) {
  Ply[ply].pawnKey = n * 0x9E3779B97F4A7C15ull;
  Ply[ply].pieceKey = ~n;
}

// Ten game moves, the last irreversible at 4, game entry i holding position
// i and search ply p position 1000 + p; then one ply gets another position.
TEST(Repetition, AgainstTheGameAndTheSearchLine) {
  const struct {
    int ply;
    uint64_t position;
    int repeats;
  } cases[] = {
      {10, 1010, 0}, {10, 1006, 1}, {10, 1002, 1}, {10, 1007, 0}, {10, 1008, 0},  // four, eight, odd, two back
      {2, 8, 1},     {2, 6, 1},     {2, 4, 0},     {3, 5, 1},     {3, 9, 1},     {3, 10, 0},
      {7, 9, 1},     {7, 11, 0},    {0, 1000, 0},  {MaxPly, 0, 0},
  };
  for (const auto &c : cases) {
    GameMoveCount = 10;
    LastIrreversibleMove = 4;
    for (int i = 0; i < GameHistorySize; ++i) GameKeyHistory[i] = {i * 0x9E3779B97F4A7C15ull, ~uint64_t(i)};
    for (int ply = 0; ply <= 12; ++ply) SetKeys(ply, 1000 + ply);
    if (c.ply < MaxPly) SetKeys(c.ply, c.position);
    EXPECT_EQ(IsRepetition(c.ply), c.repeats) << "ply " << c.ply << " position " << c.position;
  }
  SetKeys(2, 6);
  Ply[2].pieceKey ^= 1;
  EXPECT_EQ(IsRepetition(2), 0) << "both halves must match";
}

}  // namespace
