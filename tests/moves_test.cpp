// Move generation: perft counts of each position and its colour-mirrored
// twin, one tree walk that checks the generators against each other and
// make/undo against a fresh derivation at every node, and the special moves.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <tuple>
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

std::string Text(Move move) {
  char from[3], to[3];
  std::string text = std::string(SquareText(MoveFrom(move), from)) + SquareText(MoveTo(move), to);
  if (MovePromotion(move)) text += "xpnbrqk"[MovePromotion(move)];
  return text;
}

struct PerftCase {
  std::string name;
  std::string fen;
  std::vector<uint64_t> counts;  // depth 1, 2, ...
};

// The standard positions and their published counts, from the one list the
// scripts use too: "name|FEN|count at depth 1, 2, ..." a line.
std::vector<PerftCase> ReadPerftCases() {
  std::vector<PerftCase> cases;
  std::ifstream file(VARN_PERFT_POSITIONS);
  for (std::string line; std::getline(file, line);) {
    std::istringstream fields(line);
    PerftCase c;
    std::string counts;
    if (!std::getline(fields, c.name, '|') || !std::getline(fields, c.fen, '|') || !std::getline(fields, counts)) continue;
    std::istringstream numbers(counts);
    for (uint64_t n; numbers >> n;) c.counts.push_back(n);
    cases.push_back(c);
  }
  return cases;
}

const std::vector<PerftCase> PerftCases = ReadPerftCases();

TEST(PerftList, HoldsTheSixStandardPositions) { EXPECT_EQ(PerftCases.size(), 6u); }

// Each position and its colour-mirrored twin: the Black routines must agree
// with the White ones. The sanitizer build stops one level earlier.
class PerftCounts : public testing::TestWithParam<std::tuple<int, bool>> {};

TEST_P(PerftCounts, PublishedCounts) {
  ASSERT_LT(size_t(std::get<0>(GetParam())), PerftCases.size());
  const PerftCase &c = PerftCases[size_t(std::get<0>(GetParam()))];
  const std::string fen = std::get<1>(GetParam()) ? MirrorFen(c.fen) : c.fen;
#if defined(__SANITIZE_ADDRESS__)
  const size_t maxDepth = c.counts.size() - 1;
#else
  const size_t maxDepth = c.counts.size();
#endif
  for (size_t depth = 1; depth <= maxDepth; ++depth) {
    SetFen(fen.c_str());
    EXPECT_EQ(Perft(SideToMove, int(depth), 1), c.counts[depth - 1]) << fen << " depth " << depth;
  }
}

INSTANTIATE_TEST_SUITE_P(Positions, PerftCounts, testing::Combine(testing::Range(0, 6), testing::Bool()),
                         [](const testing::TestParamInfo<std::tuple<int, bool>> &info) {
                           const size_t index = size_t(std::get<0>(info.param));
                           return (index < PerftCases.size() ? PerftCases[index].name : "Missing") +
                                  (std::get<1>(info.param) ? "Mirrored" : "");
                         });

// Walks the legal tree; at every node the staged and evasion generators agree
// with GenerateMoves, make/undo restore everything, the carried keys equal
// fresh ones but for en passant, and the short legality and check tests agree
// with the whole attack test.
template <int Us>
void CheckTree(int depth, int ply, uint64_t epKeys) {
  GenerateMoves<Us>(ply);
  const std::vector<Move> all = ListOf(ply);
  GenerateCaptures<Us>(ply);
  GenerateNonCaptures<Us>(ply, Ply[ply].listEnd);
  ASSERT_EQ(Sorted(ListOf(ply)), Sorted(all));

  std::vector<Move> legal;
  const int inCheck = InCheck(Us);
  for (Move move : all) {
    const Snapshot before = Snapshot::Take();
    MakeMove<Us>(move, ply);
    ASSERT_EQ(LeavesKingAttacked<Us>(move, ply, inCheck), bool(InCheck(Us))) << Text(move);
    if (!InCheck(Us)) {
      ASSERT_EQ(GivesCheck<Us>(move, ply), InCheck(1 - Us)) << Text(move);
    }
    ASSERT_TRUE(PositionIsConsistent()) << Text(move);
    const KeyPair fresh = ComputeKeys();
    const uint64_t lineEpKeys = epKeys ^ (Ply[ply].epSquare ? EnPassantKey[Ply[ply].epSquare] : 0);
    ASSERT_EQ(Ply[ply + 1].pawnKey, fresh.pawnKey) << Text(move);
    ASSERT_EQ(Ply[ply + 1].pieceKey ^ lineEpKeys, fresh.pieceKey) << Text(move);
    if (!InCheck(Us)) legal.push_back(move);
    UndoMove<Us>(move, ply);
    ASSERT_TRUE(before == Snapshot::Take()) << Text(move);
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
    CheckTree<1 - Us>(depth - 1, ply + 1, lineEpKeys);
    UndoMove<Us>(move, ply);
  }
}

class GeneratorConsistency : public testing::TestWithParam<const char *> {};

TEST_P(GeneratorConsistency, EveryNodeOfTheTree) {
  for (const std::string &fen : {std::string(GetParam()), MirrorFen(GetParam())}) {
    SetFen(fen.c_str());
    if (SideToMove) CheckTree<White>(2, 1, 0); else CheckTree<Black>(2, 1, 0);
  }
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
                    "4k3/1P6/8/8/8/8/p1p5/1N2K2R b K -",
                    // Taking c6 en passant uncovers the bishop's check along a3-e7 ...
                    "8/4k3/8/2pP4/8/B7/8/4K3 w - c6",
                    // ... or, in a position no game reaches, the bishop's attack on a3.
                    "8/8/3b4/2pP4/8/K7/8/7k w - c6",
                    // Checks of each kind: a knight's, a rook's along the back rank, a
                    // double check, one a pinned piece cannot answer, a checking double
                    // push taken en passant (and one where another piece checks), and
                    // an interposition that promotes.
                    "4k3/8/8/8/8/3n4/4B3/4K3 w - -", "R3k3/8/8/8/8/8/8/4K3 b - -",
                    "4k3/8/8/8/1b6/8/3B4/r3K3 w - -", "4k3/8/8/8/8/5n2/4r3/3QK3 w - -",
                    "4r2k/8/8/1b6/8/8/4K3/8 w - -", "8/8/8/2k5/3Pp3/8/8/4K3 b - d3",
                    "4K3/8/8/8/3Pp3/8/8/1R5k b - d3", "k7/8/8/8/8/8/1p6/R3K3 b - -"));

TEST(Generation, EnPassantOnlyRightAfterTheDoublePush) {
  SetFen("4k3/8/8/8/3p4/8/4P3/4K3 w - -");
  MakeMove<White>(MoveWord(E2, E4, Pawn), 1);
  EXPECT_EQ(Ply[1].epSquare, E3);
  GenerateCaptures<Black>(2);
  EXPECT_EQ(ListOf(2), std::vector<Move>{MoveWord(D4, E3, Pawn, Pawn)});
  MakeMove<Black>(MoveWord(E8, E7, King), 2);
  MakeMove<White>(MoveWord(E1, E2, King), 3);
  GenerateCaptures<Black>(4);
  EXPECT_TRUE(ListOf(4).empty());
  // Without an opponent pawn beside it, a double push records nothing.
  SetFen(StartFen);
  MakeMove<White>(MoveWord(E2, E4, Pawn), 1);
  EXPECT_EQ(Ply[1].epSquare, 0);
  EXPECT_EQ(Ply[2].pieceKey, Ply[1].pieceKey);
}

}  // namespace
