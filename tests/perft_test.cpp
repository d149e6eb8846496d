#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>
#include <vector>

#include "attacks.h"
#include "make.h"
#include "moves.h"
#include "support/position.h"
#include "undo.h"

#if defined(__has_feature)
#define VARN_CLANG_ASAN __has_feature(address_sanitizer)
#else
#define VARN_CLANG_ASAN 0
#endif

namespace {

uint64_t PerftOf(const char *fen, int depth) {
  SetFen(fen);
  return Perft(SideToMove, depth, 1);
}

struct PerftCase {
  const char *name;
  const char *fen;
  std::vector<uint64_t> counts;  // depth 1, 2, ...
};

// Test names show the case name rather than the bytes of the struct.
void PrintTo(const PerftCase &c, std::ostream *out) { *out << c.name; }

const PerftCase PerftCases[] = {
    {"Start", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -", {20, 400, 8902, 197281, 4865609}},
    {"Castles", "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -", {48, 2039, 97862, 4085603}},
    {"RookEnding", "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -", {14, 191, 2812, 43238, 674624}},
    {"Promotions", "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -", {6, 264, 9467, 422333}},
    {"CheckedKing", "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -", {44, 1486, 62379, 2103487}},
    // White has 47 moves here (the a3 pawn adds one); counts confirmed by an
    // independent engine for this exact text.
    {"Middlegame", "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P3/P1NP1N2/1PP1QPPP/R4RK1 w - -", {47, 1845, 81467, 3065277}},
    // The colour-mirrored twin of Castles: the Black routines must agree.
    {"CastlesMirrored", "r3k2r/pppbbppp/2n2q1P/1P2p3/3pn3/BN2PNP1/P1PPQPB1/R3K2R b KQkq -", {48, 2039, 97862, 4085603}},
};

class PerftTest : public testing::TestWithParam<PerftCase> {};

// Deep counts run in the optimised build; the sanitizer build stops one
// level earlier to keep its run short.
TEST_P(PerftTest, PublishedCounts) {
#if defined(__SANITIZE_ADDRESS__) || VARN_CLANG_ASAN
  const size_t maxDepth = GetParam().counts.size() - 1;
#else
  const size_t maxDepth = GetParam().counts.size();
#endif
  for (size_t depth = 1; depth <= maxDepth; ++depth) {
    EXPECT_EQ(PerftOf(GetParam().fen, int(depth)), GetParam().counts[depth - 1])
        << GetParam().fen << " depth " << depth;
  }
}

INSTANTIATE_TEST_SUITE_P(ReferencePositions, PerftTest, testing::ValuesIn(PerftCases),
                         [](const testing::TestParamInfo<PerftCase> &info) { return info.param.name; });

}  // namespace
