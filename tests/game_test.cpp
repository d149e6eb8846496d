#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "interface.h"
#include "make.h"
#include "support/position.h"

namespace {

// Plays a game text as the host does (the text is a writable copy).
void Play(std::string text) { VarnSetGame(text.data()); }

void SetPosition(const char *fen) {
  EnsureEngineTables();
  std::string text = fen;
  VarnSetPosition(text.data());
}

TEST(GameRecord, MovesBetweenAnySeparators) {
  SetPosition(StartFen);
  Play("e2e4, e7e5;;g1f3  ;b8c6 ");
  EXPECT_EQ(GameMoveCount, 4);
  EXPECT_EQ(SideToMove, White);
  EXPECT_EQ(Board[E4], Pawn);
  EXPECT_EQ(Board[F3], Knight);
  EXPECT_EQ(Board[C6], -Knight);
  EXPECT_EQ(LastIrreversibleMove, 2);
  EXPECT_TRUE(PositionIsConsistent());
}

TEST(GameRecord, WordsThatNameNoMoveAreSkipped) {
  SetPosition(StartFen);
  Play("1. e2e4 e5 2. g1f3");
  EXPECT_EQ(GameMoveCount, 1);
  EXPECT_EQ(SideToMove, Black);
  EXPECT_EQ(Board[F3], Empty);
  Play("E7E5 e7-e5 e7 e7e9 O-O xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx");
  EXPECT_EQ(GameMoveCount, 1);
  VarnSetGame(nullptr);
  EXPECT_EQ(GameMoveCount, 1);
  EXPECT_EQ(ParseMoveText(Black, nullptr), 0u);
}

TEST(GameRecord, PromotionsNeedTheirLetterInEitherCase) {
  const char *fen = "8/P6P/4k3/8/8/3K4/1p4p1/8 w - -";
  SetPosition(fen);
  Play("a7a8 a7a8=Q h7h8X");
  EXPECT_EQ(GameMoveCount, 0);
  Play("a7a8q b2b1N h7h8R g2g1b");
  EXPECT_EQ(GameMoveCount, 4);
  EXPECT_EQ(Board[A8], Queen);
  EXPECT_EQ(Board[B1], -Knight);
  EXPECT_EQ(Board[H8], Rook);
  EXPECT_EQ(Board[G1], -Bishop);
  EXPECT_EQ(LastIrreversibleMove, 4);
  SetPosition(fen);
  Play("a7a8Q");
  EXPECT_EQ(Board[A8], Queen);
}

TEST(GameRecord, CastlingIsTheKingsMove) {
  SetPosition("r3k2r/8/8/8/8/8/8/R3K2R w KQkq -");
  Play("O-O 0-0 e1g1 e8c8");
  EXPECT_EQ(GameMoveCount, 2);
  EXPECT_EQ(Board[G1], King);
  EXPECT_EQ(Board[F1], Rook);
  EXPECT_EQ(Board[H1], Empty);
  EXPECT_EQ(Board[C8], -King);
  EXPECT_EQ(Board[D8], -Rook);
  EXPECT_EQ(LastIrreversibleMove, 0);
}

TEST(GameRecord, TwoHalvesGiveTheSameGameAsOne) {
  const char *moves = "e2e4 c7c5 g1f3 d7d6 d2d4 c5d4 f3d4 g8f6 b1c3 a7a6 c1e3 e7e5 d4b3";
  SetPosition(StartFen);
  Play(moves);
  DerivePositionState();
  int32_t board[64];
  std::memcpy(board, Board, sizeof board);
  KeyPair history[GameHistorySize];
  std::memcpy(history, GameKeyHistory, sizeof history);
  const int count = GameMoveCount, irreversible = LastIrreversibleMove, side = SideToMove, ep = Ply[0].epSquare;

  std::string text = moves;
  const size_t half = text.find("b1c3");
  SetPosition(StartFen);
  Play(text.substr(0, half));
  Play(text.substr(half));
  DerivePositionState();
  EXPECT_EQ(std::memcmp(board, Board, sizeof board), 0);
  EXPECT_EQ(std::memcmp(history, GameKeyHistory, sizeof history), 0);
  EXPECT_EQ(GameMoveCount, count);
  EXPECT_EQ(LastIrreversibleMove, irreversible);
  EXPECT_EQ(SideToMove, side);
  EXPECT_EQ(Ply[0].epSquare, ep);
  EXPECT_EQ(count, 13);
  EXPECT_EQ(irreversible, 12);
}

TEST(GameRecord, EnPassantSquareCarriesToTheNextMove) {
  SetPosition(StartFen);
  Play("e2e4 a7a6 e4e5 d7d5");
  EXPECT_EQ(Ply[0].epSquare, D6);
  Play("e5d6");
  EXPECT_EQ(GameMoveCount, 5);
  EXPECT_EQ(Board[D6], Pawn);
  EXPECT_EQ(Board[D5], Empty);
  EXPECT_EQ(Ply[0].epSquare, 0);
}

TEST(GameRecord, HoldsAtMostNineHundredNinetyNineMoves) {
  SetPosition(StartFen);
  std::string shuffle;
  for (int i = 0; i < 250; ++i) shuffle += "g1f3 g8f6 f3g1 f6g8 ";  // 1000 moves
  Play(shuffle);
  EXPECT_EQ(GameMoveCount, MaxGameMoves);
  EXPECT_EQ(SideToMove, Black) << "the thousandth move is refused and the side stays";
  EXPECT_EQ(Board[F6], -Knight);
  Play("f6g8 e2e4");
  EXPECT_EQ(GameMoveCount, MaxGameMoves);
  EXPECT_EQ(PlayGameMove(Black, MoveWord(F6, G8, Knight)), 0);
  DerivePositionState();
  EXPECT_EQ(GameKeyHistory[MaxGameMoves + 1].pieceKey, Ply[1].pieceKey);
}

// Gives ply the keys of a position named by a number.
void SetKeys(int ply, uint64_t n) {
  Ply[ply].pawnKey = n * 0x9E3779B97F4A7C15ull;
  Ply[ply].pieceKey = ~n;
}
KeyPair KeysOf(uint64_t n) { return {n * 0x9E3779B97F4A7C15ull, ~n}; }

TEST(Repetition, InsideTheSearchLine) {
  GameMoveCount = 0;
  LastIrreversibleMove = 0;
  std::memset(GameKeyHistory, 0, sizeof GameKeyHistory);
  for (int ply = 1; ply < 12; ++ply) SetKeys(ply, 100 + ply);
  EXPECT_EQ(IsRepetition(10), 0);
  SetKeys(10, 106);
  EXPECT_EQ(IsRepetition(10), 1) << "four plies back";
  SetKeys(10, 102);
  EXPECT_EQ(IsRepetition(10), 1) << "eight plies back";
  SetKeys(10, 107);
  EXPECT_EQ(IsRepetition(10), 0) << "other side to move";
  SetKeys(10, 108);
  EXPECT_EQ(IsRepetition(10), 0) << "two plies back is too near";
  SetKeys(5, 101);
  EXPECT_EQ(IsRepetition(5), 1) << "the root itself";
  Ply[5].pieceKey ^= 1;
  EXPECT_EQ(IsRepetition(5), 0) << "both halves must match";
  EXPECT_EQ(IsRepetition(0), 0);
  EXPECT_EQ(IsRepetition(MaxPly), 0);
}

TEST(Repetition, AgainstTheGameUpToTheLastIrreversibleMove) {
  GameMoveCount = 10;
  LastIrreversibleMove = 4;
  for (int i = 0; i < GameHistorySize; ++i) GameKeyHistory[i] = KeysOf(i);
  for (int ply = 1; ply < 8; ++ply) SetKeys(ply, 1000 + ply);
  SetKeys(2, 8);
  EXPECT_EQ(IsRepetition(2), 1) << "ply 2 against ply -2, entry 8";
  SetKeys(2, 6);
  EXPECT_EQ(IsRepetition(2), 1);
  SetKeys(2, 4);
  EXPECT_EQ(IsRepetition(2), 0) << "before the last irreversible move";
  SetKeys(3, 5);
  EXPECT_EQ(IsRepetition(3), 1) << "the position the irreversible move reached still counts";
  SetKeys(3, 9);
  EXPECT_EQ(IsRepetition(3), 1);
  SetKeys(3, 10);
  EXPECT_EQ(IsRepetition(3), 0) << "other side to move";
  SetKeys(7, 9);
  EXPECT_EQ(IsRepetition(7), 1) << "ply 7 reaches back through ply 1 to entry 9";
  SetKeys(7, 11);
  EXPECT_EQ(IsRepetition(7), 0) << "entry 11 is the root, already compared as ply 1";
}

TEST(Repetition, OfAPlayedGame) {
  SetPosition(StartFen);
  Play("e2e4 e7e5 g1f3 g8f6 f3g1");
  DerivePositionState();
  const Move back = ParseMoveText(Black, "f6g8");
  ASSERT_NE(back, 0u);
  MakeMove(Black, back, 1);
  EXPECT_EQ(IsRepetition(2), 1) << "back to the position after e7e5";

  SetPosition(StartFen);
  Play("g1f3 g8f6 f3g1");
  DerivePositionState();
  MakeMove(Black, ParseMoveText(Black, "f6g8"), 1);
  EXPECT_EQ(IsRepetition(2), 1) << "back to the start";
  SetPosition(StartFen);
  Play("g1f3");
  DerivePositionState();
  MakeMove(Black, ParseMoveText(Black, "g8f6"), 1);
  EXPECT_EQ(IsRepetition(2), 0);
}

}  // namespace
