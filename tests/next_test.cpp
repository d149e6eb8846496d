// Move ordering: the staged selectors hand out every move exactly once in
// their order, and the remembered-move test agrees with the generators.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "attacks.h"
#include "captures.h"
#include "evasions.h"
#include "moves.h"
#include "next.h"
#include "support/position.h"

namespace {

// The generator's list of the side to move at ply 1.
std::vector<Move> Generated() {
  Ply[0].listEnd = 1;
  GenerateMoves(SideToMove, 1);
  return std::vector<Move>(MoveStack + 1, MoveStack + Ply[1].listEnd);
}

// Sets up ply 1 as the node search does before its move loop.
void PrepareNode(Move hash = 0, Move killer1 = 0, Move killer2 = 0) {
  Ply[0].listEnd = 1;
  Ply[1].phase = 0;
  Ply[1].hashMove = hash;
  Ply[1].killer1 = killer1;
  Ply[1].killer2 = killer2;
}

// Everything the selector of the side to move returns at ply 1, checking
// that it keeps returning 0 afterwards.
std::vector<Move> Drain(bool evasions) {
  std::vector<Move> moves;
  auto next = [&] {
    if (evasions) return SideToMove ? NextEvasion<White>(1) : NextEvasion<Black>(1);
    return SideToMove ? NextMove<White>(1) : NextMove<Black>(1);
  };
  for (Move m; (m = next()) != 0;) moves.push_back(m);
  EXPECT_EQ(next(), 0u);
  EXPECT_EQ(next(), 0u);
  return moves;
}

Move Find(const std::vector<Move> &moves, int from, int to) {
  for (Move m : moves)
    if (MoveFrom(m) == from && MoveTo(m) == to) return m;
  ADD_FAILURE() << "no move " << from << "-" << to;
  return 0;
}

const char *const Positions[] = {
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R b KQkq -",
    "rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6 0 3",
    "n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - - 0 1",
    "n1n5/PPPk4/8/8/8/8/4Kppp/5N1N w - - 0 1",
    "r3k2r/8/8/8/8/8/3r4/R3K2R w KQkq -",
    "r3k2r/8/2B5/8/8/8/8/R3K2R b KQkq -",
    "rnbqkb1r/pp1p1ppp/4pn2/2p5/2PP4/2N5/PP2PPPP/R1BQKBNR w KQkq - 0 4",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
};

// Whatever hash move and killers it is given, the selector returns exactly
// the generated moves, each once, the valid hash move first; the evasion
// selector likewise in check.
TEST(NextMove, ReturnsEveryMoveOnce) {
  for (const char *fen : Positions) {
    SetFen(fen);
    if (InCheck(SideToMove)) continue;
    const std::vector<Move> all = Generated();
    // Killers are quiet moves only (the node search stores no other).
    std::vector<Move> quiet;
    for (Move m : all)
      if (!MoveCaptured(m) && !MovePromotion(m)) quiet.push_back(m);
    ASSERT_GE(quiet.size(), 3u) << fen;
    const Move picks[][3] = {
        {0, 0, 0}, {all[0], quiet[1], quiet[2]}, {all.back(), quiet[0], quiet.back()}, {quiet[0], quiet[0], quiet[1]}};
    for (const auto &pick : picks) {
      PrepareNode(pick[0], pick[1], pick[2]);
      const std::vector<Move> got = Drain(false);
      EXPECT_EQ(Sorted(got), Sorted(all)) << fen;
      if (pick[0]) {
        EXPECT_EQ(got.front(), pick[0]) << fen;
      }
    }
  }
  for (const char *fen : {"4k3/8/8/8/8/8/3q4/R3K2R w KQ -", "r3k2r/8/8/1B6/8/8/8/4K3 b kq -",
                          "4k3/8/8/8/1b6/8/8/RN2K2R w KQ -"}) {
    SetFen(fen);
    Ply[0].listEnd = 1;
    if (SideToMove) GenerateEvasions<White>(1); else GenerateEvasions<Black>(1);
    const std::vector<Move> all(MoveStack + 1, MoveStack + Ply[1].listEnd);
    ASSERT_FALSE(all.empty()) << fen;
    PrepareNode(all.back());
    const std::vector<Move> got = Drain(true);
    EXPECT_EQ(got.front(), all.back()) << fen;
    EXPECT_EQ(Sorted(got), Sorted(all)) << fen;
  }
}

// Good captures, killers, history picks, the rest, losing captures last.
TEST(NextMove, StagesComeInOrder) {
  // Qxd6 wins a pawn; Nxe5 loses the knight for a pawn.
  SetFen("4k3/8/3p4/4p3/8/5N2/8/3QK3 w - - 0 1");
  const std::vector<Move> all = Generated();
  const Move winning = Find(all, D1, D6), losing = Find(all, F3, E5);
  const Move killer1 = Find(all, E1, F2), killer2 = Find(all, D1, A4);
  const Move history[4] = {Find(all, F3, G5), Find(all, D1, D4), Find(all, E1, E2), Find(all, F3, H4)};
  ClearHistory();
  for (int i = 0; i < 4; ++i) History[White][history[i] & 4095] = 40 - 10 * i;
  // The killer's own counter must not bring it back.
  History[White][killer1 & 4095] = 100;

  PrepareNode(0, killer1, killer2);
  const std::vector<Move> got = Drain(false);
  ASSERT_EQ(got.size(), all.size());
  EXPECT_EQ(got[0], winning);
  EXPECT_EQ(got[1], killer1);
  EXPECT_EQ(got[2], killer2);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(got[3 + i], history[i]);
  EXPECT_EQ(got.back(), losing);
  ClearHistory();
}

// Any move word of any of the positions is accepted exactly when the
// generator of the current position produces it.
TEST(IsPseudoLegal, AgreesWithTheGenerator) {
  std::vector<Move> words[2];
  for (const char *fen : Positions) {
    SetFen(fen);
    for (Move m : Generated()) words[SideToMove].push_back(m);
  }
  for (const char *fen : Positions) {
    SetFen(fen);
    const std::vector<Move> all = Generated();
    for (Move m : words[SideToMove]) {
      const bool generated = std::find(all.begin(), all.end(), m) != all.end();
      EXPECT_EQ(SideToMove ? IsPseudoLegal<White>(m, 1) : IsPseudoLegal<Black>(m, 1), generated ? 1 : 0) << fen << m;
    }
  }
}

}  // namespace
