#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "attacks.h"
#include "captures.h"
#include "evasions.h"
#include "make.h"
#include "moves.h"
#include "support/position.h"
#include "undo.h"

namespace {

std::vector<Move> ListOf(int ply) {
  return std::vector<Move>(MoveStack + Ply[ply - 1].listEnd, MoveStack + Ply[ply].listEnd);
}

std::vector<Move> Sorted(std::vector<Move> moves) {
  std::sort(moves.begin(), moves.end());
  return moves;
}

std::string Text(Move move) {
  char from[3], to[3];
  std::string text = std::string(SquareText(MoveFrom(move), from)) + SquareText(MoveTo(move), to);
  if (MovePromotion(move)) text += "xpnbrqk"[MovePromotion(move)];
  return text;
}

std::vector<std::string> Texts(const std::vector<Move> &moves) {
  std::vector<std::string> texts;
  for (Move m : moves) texts.push_back(Text(m));
  return texts;
}

// Every field that make and undo must keep in step.
struct Snapshot {
  int32_t board[64], counters[64];
  SideRecord white, black;
  Bitboard file, diag, antiDiag;
  static Snapshot Take() {
    Snapshot s;
    std::memcpy(s.board, Board, sizeof Board);
    std::memcpy(s.counters, MoveCounter, sizeof MoveCounter);
    s.white = WhiteSide;
    s.black = BlackSide;
    s.file = RotatedFile;
    s.diag = RotatedDiag;
    s.antiDiag = RotatedAntiDiag;
    return s;
  }
  bool operator==(const Snapshot &o) const {
    return !std::memcmp(board, o.board, sizeof board) && !std::memcmp(counters, o.counters, sizeof counters) &&
           white == o.white && black == o.black && file == o.file && diag == o.diag && antiDiag == o.antiDiag;
  }
};

// Walks the legal tree and checks at every node that the staged generators
// agree with GenerateMoves, that make/undo restore everything and that the
// carried keys equal fresh ones apart from en-passant components.
template <int Us>
void CheckTree(int depth, int ply, uint64_t epKeys, int &nodes) {
  ++nodes;
  GenerateMoves<Us>(ply);
  const std::vector<Move> all = ListOf(ply);
  GenerateCaptures<Us>(ply);
  GenerateNonCaptures<Us>(ply, Ply[ply].listEnd);
  ASSERT_EQ(Sorted(ListOf(ply)), Sorted(all));

  std::vector<Move> legal;
  for (Move move : all) {
    const Snapshot before = Snapshot::Take();
    MakeMove<Us>(move, ply);
    ASSERT_TRUE(PositionIsConsistent()) << Text(move);
    const KeyPair fresh = ComputeKeys();
    const uint64_t lineEpKeys = epKeys ^ (Ply[ply].epSquare ? EnPassantKey[Ply[ply].epSquare] : 0);
    ASSERT_EQ(Ply[ply + 1].pawnKey, fresh.pawnKey) << Text(move);
    ASSERT_EQ(Ply[ply + 1].pieceKey ^ lineEpKeys, fresh.pieceKey) << Text(move);
    if (!InCheck(Us)) legal.push_back(move);
    UndoMove<Us>(move, ply);
    ASSERT_TRUE(before == Snapshot::Take()) << Text(move);
    ASSERT_TRUE(PositionIsConsistent()) << Text(move);
  }
  if (InCheck(Us)) {
    GenerateEvasions<Us>(ply);
    ASSERT_EQ(Sorted(ListOf(ply)), Sorted(legal));
  }
  if (depth == 0) return;
  for (Move move : legal) {
    MakeMove<Us>(move, ply);
    const uint64_t lineEpKeys = epKeys ^ (Ply[ply].epSquare ? EnPassantKey[Ply[ply].epSquare] : 0);
    Ply[ply].listEnd = Ply[ply - 1].listEnd;
    CheckTree<1 - Us>(depth - 1, ply + 1, lineEpKeys, nodes);
    UndoMove<Us>(move, ply);
  }
}

class GeneratorConsistency : public testing::TestWithParam<const char *> {};

TEST_P(GeneratorConsistency, EveryNodeOfTheTree) {
  SetFen(GetParam());
  int nodes = 0;
  if (SideToMove) CheckTree<White>(2, 1, 0, nodes); else CheckTree<Black>(2, 1, 0, nodes);
  EXPECT_GT(nodes, 20);
}

INSTANTIATE_TEST_SUITE_P(
    Positions, GeneratorConsistency,
    testing::Values("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
                    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
                    "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -",
                    "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -",
                    "r3k2r/1b4bq/8/8/8/8/7B/R3K2R w KQkq -",
                    "8/8/1k6/2b5/2pP4/8/5K2/8 b - d3",
                    // Black promotes on a1, square 0, which also means "no en passant".
                    "4k3/1P6/8/8/8/8/p1p5/1N2K2R b K -"));

TEST(Generation, StartPositionOrder) {
  SetFen(StartFen);
  GenerateMoves<White>(1);
  const std::vector<std::string> expected = {
      "b1a3", "b1c3", "g1f3", "g1h3", "a2a3", "b2b3", "c2c3", "d2d3", "e2e3", "f2f3",
      "g2g3", "h2h3", "a2a4", "b2b4", "c2c4", "d2d4", "e2e4", "f2f4", "g2g4", "h2h4"};
  EXPECT_EQ(Texts(ListOf(1)), expected);
  GenerateNonCaptures<White>(1, Ply[0].listEnd);
  EXPECT_EQ(Texts(ListOf(1)), expected);
  GenerateCaptures<White>(1);
  EXPECT_TRUE(ListOf(1).empty());
}

TEST(Generation, PromotionWords) {
  SetFen("1r2k3/P7/8/8/8/8/8/4K3 w - -");
  GenerateCaptures<White>(1);
  EXPECT_EQ(Texts(ListOf(1)), (std::vector<std::string>{"a7a8q", "a7b8q"}));
  GenerateNonCaptures<White>(1, Ply[0].listEnd);
  std::vector<std::string> quiet = Texts(ListOf(1));
  std::vector<std::string> pawnMoves(quiet.end() - 6, quiet.end());
  EXPECT_EQ(pawnMoves, (std::vector<std::string>{"a7a8r", "a7a8b", "a7a8n", "a7b8r", "a7b8b", "a7b8n"}));
  GenerateMoves<White>(1);
  std::vector<std::string> all = Texts(ListOf(1));
  std::vector<std::string> last(all.end() - 8, all.end());
  EXPECT_EQ(last, (std::vector<std::string>{"a7a8q", "a7a8r", "a7a8b", "a7a8n", "a7b8q", "a7b8r", "a7b8b",
                                            "a7b8n"}));
  EXPECT_EQ(MoveCaptured(ListOf(1).back()), Rook);
  // A push onto a1 is no capture, whatever the generator.
  SetFen("4k3/8/8/8/8/8/p7/4K3 b - -");
  GenerateMoves<Black>(1);
  GenerateCaptures<Black>(2);
  GenerateNonCaptures<Black>(3, Ply[2].listEnd);
  for (int i = Ply[0].listEnd; i < Ply[3].listEnd; ++i) EXPECT_EQ(MoveCaptured(MoveStack[i]), Empty) << Text(MoveStack[i]);
}

TEST(Generation, Castling) {
  auto castles = [](const char *fen) {
    SetFen(fen);
    GenerateMoves(SideToMove, 1);
    std::vector<std::string> found;
    for (Move m : ListOf(1)) {
      if (MovePiece(m) == King && Distance[MoveFrom(m)][MoveTo(m)] == 2) found.push_back(Text(m));
    }
    return found;
  };
  using Texts = std::vector<std::string>;
  EXPECT_EQ(castles("r3k2r/8/8/8/8/8/8/R3K2R w KQkq -"), (Texts{"e1g1", "e1c1"}));
  EXPECT_EQ(castles("r3k2r/8/8/8/8/8/8/R3K2R b KQkq -"), (Texts{"e8g8", "e8c8"}));
  EXPECT_EQ(castles("r3k2r/8/8/8/8/8/8/R3K2R w Qk -"), (Texts{"e1c1"}));
  EXPECT_EQ(castles("4k3/8/8/8/8/8/8/R3K2R w - -"), Texts{});
  EXPECT_EQ(castles("4k3/8/8/8/8/8/4r3/R3K2R w KQ -"), Texts{});          // in check
  EXPECT_EQ(castles("4k3/8/8/8/8/8/5r2/R3K2R w KQ -"), (Texts{"e1c1"}));  // f1 attacked
  EXPECT_EQ(castles("4k3/8/8/8/8/8/1r6/R3K2R w KQ -"), (Texts{"e1g1", "e1c1"}));  // only b1 attacked
  EXPECT_EQ(castles("4k3/8/8/8/8/8/8/RN2K2R w KQ -"), (Texts{"e1g1"}));  // b1 occupied
}

TEST(Generation, EnPassantOnlyRightAfterTheDoublePush) {
  SetFen("4k3/8/8/8/3p4/8/4P3/4K3 w - -");
  const Move push = MoveWord(E2, E4, Pawn);
  MakeMove<White>(push, 1);
  EXPECT_EQ(Ply[1].epSquare, E3);
  EXPECT_EQ(Ply[2].pieceKey ^ Ply[1].pieceKey, EnPassantKey[E3]);
  GenerateCaptures<Black>(2);
  ASSERT_EQ(ListOf(2).size(), 1u);
  EXPECT_EQ(ListOf(2)[0], MoveWord(D4, E3, Pawn, Pawn));
  MakeMove<Black>(MoveWord(E8, E7, King), 2);
  MakeMove<White>(MoveWord(E1, E2, King), 3);
  GenerateCaptures<Black>(4);
  EXPECT_TRUE(ListOf(4).empty());
  UndoMove<White>(MoveWord(E1, E2, King), 3);
  UndoMove<Black>(MoveWord(E8, E7, King), 2);
  UndoMove<White>(push, 1);
  // Without an opponent pawn beside it, a double push records nothing.
  SetFen(StartFen);
  MakeMove<White>(MoveWord(E2, E4, Pawn), 1);
  EXPECT_EQ(Ply[1].epSquare, 0);
  EXPECT_EQ(Ply[2].pieceKey, Ply[1].pieceKey);
  EXPECT_NE(Ply[2].pawnKey, Ply[1].pawnKey);
}

TEST(Generation, MakeKeepsCountersAndRights) {
  SetFen("r3k2r/8/8/8/8/8/8/R3K2R w KQkq -");
  SideRecord white = WhiteSide;
  MakeMove<White>(MoveWord(E1, G1, King), 1);
  EXPECT_EQ(Board[F1], Rook);
  EXPECT_EQ(Board[H1], Empty);
  EXPECT_EQ(WhiteSide.castled, 1);
  EXPECT_EQ(MoveCounter[E1], 1);
  EXPECT_EQ(MoveCounter[H1], 0);
  UndoMove<White>(MoveWord(E1, G1, King), 1);
  EXPECT_EQ(WhiteSide, white);
  // A pawn that captures a rook and becomes a queen.
  SetFen("r3k1r1/7P/8/8/8/8/8/4K3 w q -");
  MakeMove<White>(MoveWord(H7, G8, Pawn, Rook, Queen), 1);
  EXPECT_EQ(WhiteSide.material, 900);
  EXPECT_EQ(BlackSide.material, 500);
  EXPECT_EQ(MoveCounter[G8], 2);
}

TEST(Generation, CapturedCornerRookEndsCastlingUntilUndone) {
  auto whiteCastles = [](int ply) {
    GenerateMoves<White>(ply);
    int found = 0;
    for (Move m : ListOf(ply)) found += MovePiece(m) == King && Distance[MoveFrom(m)][MoveTo(m)] == 2;
    return found;
  };
  SetFen("r3k2r/8/8/3b4/8/8/8/R3K2R b KQkq -");
  const Move capture = MoveWord(D5, H1, Bishop, Rook);
  MakeMove<Black>(capture, 1);
  EXPECT_EQ(MoveCounter[H1], 1);
  EXPECT_EQ(WhiteSide.material, 500);
  Ply[1].listEnd = Ply[0].listEnd;
  EXPECT_EQ(whiteCastles(2), 1);  // queen side only
  UndoMove<Black>(capture, 1);
  EXPECT_EQ(MoveCounter[H1], 0);
  EXPECT_EQ(Board[H1], Rook);
  EXPECT_EQ(whiteCastles(1), 2);
}

TEST(Evasions, AnswersToEachKindOfCheck) {
  auto evasions = [](const char *fen) {
    SetFen(fen);
    if (SideToMove) GenerateEvasions<White>(1); else GenerateEvasions<Black>(1);
    return Texts(ListOf(1));
  };
  using Texts = std::vector<std::string>;
  // Knight check: capture the knight or step aside (f2 is the knight's too).
  EXPECT_EQ(evasions("4k3/8/8/8/8/3n4/4B3/4K3 w - -"), (Texts{"e2d3", "e1d1", "e1f1", "e1d2"}));
  // Rook along the back rank: f8 is behind the king on the line.
  EXPECT_EQ(evasions("R3k3/8/8/8/8/8/8/4K3 b - -"), (Texts{"e8d7", "e8e7", "e8f7"}));
  // A pinned bishop cannot capture the checker.
  EXPECT_EQ(evasions("4k3/8/8/8/1b6/8/3B4/r3K3 w - -"), (Texts{"e1e2", "e1f2"}));
  // Double check: the king alone moves; the queen may not take the rook.
  EXPECT_EQ(evasions("4k3/8/8/8/8/5n2/4r3/3QK3 w - -"), (Texts{"e1f1", "e1e2"}));
  // A checking double push may be taken en passant.
  EXPECT_EQ(evasions("8/8/8/2k5/3Pp3/8/8/4K3 b - d3"),
            (Texts{"c5b4", "c5c4", "c5d4", "c5b5", "c5d5", "c5b6", "c5c6", "c5d6", "e4d3"}));
  // ... but not when another piece gives the check.
  EXPECT_EQ(evasions("4K3/8/8/8/3Pp3/8/8/1R5k b - d3"), (Texts{"h1g2", "h1h2"}));
}

TEST(Evasions, InterpositionOnTheLastRankGivesFourWords) {
  SetFen("k7/8/8/8/8/8/1p6/R3K3 b - -");
  GenerateEvasions<Black>(1);
  std::vector<std::string> texts = Texts(ListOf(1));
  EXPECT_EQ(std::count(texts.begin(), texts.end(), "b2a1q") + std::count(texts.begin(), texts.end(), "b2a1n"), 2);
  EXPECT_EQ(texts.size(), 6u);
}

TEST(Captures, KingCaptureWhenTheLastMoveLeftTheKingAttacked) {
  SetFen("4k3/8/8/8/8/8/3r4/4K3 w - -");
  MakeMove<White>(MoveWord(E1, E2, King), 1);  // steps next to the rook
  Ply[1].listEnd = Ply[0].listEnd;
  GenerateCaptures<Black>(2);
  const std::vector<Move> captures = ListOf(2);
  ASSERT_EQ(captures.size(), 1u);
  EXPECT_EQ(captures[0], MoveWord(D2, E2, Rook, King));
}

TEST(LegalRootMoves, FiltersPinsAndFindsMates) {
  SetFen("4k3/8/8/8/8/8/4N3/4K2r w - -");
  EXPECT_EQ(LegalRootMoves(White), 3);  // two king steps and the knight's block on g1
  SetFen("4r1k1/8/8/8/8/8/4N3/4K3 w - -");
  int count = LegalRootMoves(White);
  for (int i = 1; i <= count; ++i) EXPECT_NE(MovePiece(MoveStack[i]), Knight);
  SetFen("7k/5Q2/6K1/8/8/8/8/8 b - -");
  EXPECT_EQ(LegalRootMoves(Black), 0);  // stalemate
  SetFen("7k/6Q1/6K1/8/8/8/8/8 b - -");
  EXPECT_EQ(LegalRootMoves(Black), 0);  // checkmate
}

}  // namespace
