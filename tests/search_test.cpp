// The node search called directly: its cuts, leaves, stores and stop, the
// limits of the ply records and the move stack, and the node counts that
// pin down the search's behaviour.
#define VARN_BUILDING_LIBRARY
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>
#include <thread>

#include "attacks.h"
#include "hash.h"
#include "interface.h"
#include "make.h"
#include "moves.h"
#include "phase.h"
#include "root.h"
#include "score.h"
#include "timer.h"
#include "search.h"
#include "undo.h"
#include "varn504.h"

// Counts the heap allocations made while Counting is set. The replacements
// pair malloc with free, which the compiler cannot see through new and delete
// expressions once they are inlined.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
namespace {
std::atomic<bool> Counting{false};
std::atomic<int> Allocations{0};
}  // namespace

void *operator new(std::size_t size) {
  if (Counting) Allocations++;
  if (void *p = std::malloc(size ? size : 1)) return p;
  throw std::bad_alloc();
}
void operator delete(void *p) noexcept { std::free(p); }
void operator delete(void *p, std::size_t) noexcept { std::free(p); }

namespace {

class Node : public testing::Test {
 protected:
  void SetUp() override {
    const VarnCallbacks callbacks{};
    VarnInit(&callbacks, 0, 1024);
  }
  void TearDown() override { VarnQuit(); }

  // Sets the position and prepares the search state as the root does, so
  // that a node of the side to move can be searched at ply; the records
  // below it say that a move (not a null move) led there.
  static void Prepare(const char *fen, int ply) {
    std::string text = fen;
    VarnSetPosition(text.data());
    ResetSearchState();
    DerivePositionState();
    DrawValue[SideToMove] = DrawScore;
    DrawValue[1 - SideToMove] = -DrawScore;
    PrepareSearchTables(SideToMove);
    StopSearch = 0;
    NodeCountdown = 200000;
    NodeCount = 0;
    for (int p = 0; p < ply; ++p) {
      Ply[p].listEnd = 1;
      Ply[p].move = p ? MoveWord(A1, A1, Pawn) : 0;  // never matches a real destination square
      Ply[p].recaptured = 0;
      Ply[p].epSquare = Ply[0].epSquare;
    }
    Ply[ply].pawnKey = Ply[1].pawnKey;
    Ply[ply].pieceKey = Ply[1].pieceKey;
    // Keys no position has, so that the records below repeat nothing.
    for (int p = 1; p < ply; ++p) Ply[p].pawnKey = Ply[p].pieceKey = uint64_t(p);
    Ply[ply].inCheck = InCheck(SideToMove);
  }

  static int Search(int depth, int ply, int alpha, int beta, int nullAllowed = 1) {
    return SearchDispatch(SideToMove, depth, ply, alpha, beta, nullAllowed);
  }
};

// A node at ply p cannot score above a mate at ply p + 1: with alpha there
// it returns at once, one point lower it still searches and finds that mate.
TEST_F(Node, MateDistanceCut) {
  Prepare(StartFen, 5);
  EXPECT_EQ(Search(600, 5, 29994, 29999), 29994);
  EXPECT_EQ(NodeCount, 1u);
  EXPECT_EQ(HashDepth(ProbeHash(SideToMove, 600, 5)), 0);
  Prepare("6k1/5ppp/8/8/8/8/8/R5K1 w - -", 3);
  EXPECT_EQ(Search(120, 3, 29995, 30000), 29996);
}

// A null move answered by a mate marks the node as threatened in its entry.
TEST_F(Node, NullMoveFindsTheMateThreat) {
  Prepare("r5k1/5ppp/8/8/4N3/8/5PPP/6K1 w - -", 3);
  Search(300, 3, -100, 100);
  const HashEntry *entry = ProbeHash(White, 300, 3);
  ASSERT_NE(entry, nullptr);
  EXPECT_TRUE(HashFlags(entry) & HashThreat);
  Prepare("r5k1/5ppp/8/8/4N3/8/5PPP/5RK1 w - -", 3);
  Search(300, 3, -100, 100);
  EXPECT_FALSE(HashFlags(ProbeHash(White, 300, 3)) & HashThreat);
}

TEST_F(Node, MateAndStalemateAreExactResults) {
  Prepare("7k/8/8/8/8/8/5PPP/r5K1 w - -", 3);
  ASSERT_EQ(Ply[3].inCheck, 1);
  EXPECT_EQ(Search(120, 3, -30000, 30000), 3 - 30000);
  const HashEntry *entry = ProbeHash(White, 120, 3);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(HashDepth(entry), 120);
  EXPECT_EQ(HashFlags(entry), HashBoundExact);
  EXPECT_EQ(HashMove(entry), 0u);

  Prepare("7k/5Q2/6K1/8/8/8/8/8 b - -", 4);
  DrawValue[Black] = -37;
  EXPECT_EQ(Search(120, 4, -30000, 30000), -37);
}

// Quiescence has no legality test: a capture of the king refutes the move
// before it.
TEST_F(Node, KingCaptureReturnsBeta) {
  Prepare("4k3/4r3/8/8/8/8/4B3/4K3 w - -", 1);
  const Move exposing = MoveWord(E2, D3, Bishop);
  MakeMove<White>(exposing, 1);
  Ply[1].listEnd = 1;
  EXPECT_EQ(NodeSearch<Black>(0, 2, -5000, 5000, 0), 5000);
  UndoMove<White>(exposing, 1);
  EXPECT_EQ(PositionIsConsistent(), 1);
}

// At the last records and at the end of the move stack a node answers with
// its static value instead of writing past either array.
TEST_F(Node, StopsShortAtTheEndOfTheRecordsAndTheStack) {
  for (int ply : {MaxPly - 1, MaxPly - 2, MaxPly - 3, MaxPly - 5}) {
    Prepare("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -", ply);
    const int s = Search(600, ply, -30000, 30000);
    EXPECT_GT(s, -MateThreshold) << ply;
    EXPECT_LT(s, MateThreshold) << ply;
    EXPECT_EQ(PositionIsConsistent(), 1) << ply;
  }
  Prepare("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -", 2);
  for (int start : {MoveStackSize - 60, MoveStackSize - 1, MoveStackSize}) {
    Ply[1].listEnd = start;
    const int s = Search(300, 2, -30000, 30000);
    EXPECT_GT(s, -MateThreshold) << start;
    EXPECT_EQ(PositionIsConsistent(), 1) << start;
  }
}

TEST_F(Node, PrincipalVariationCopyStaysInTheRow) {
  for (int i = 0; i < MaxPly; ++i) Ply[MaxPly - 1].pvRow[i] = MoveWord(E2, E4, Pawn);
  UpdatePrincipalVariation(MoveWord(D2, D4, Pawn), MaxPly - 2);
  EXPECT_EQ(Ply[MaxPly - 2].pvRow[MaxPly - 2], MoveWord(D2, D4, Pawn));
  EXPECT_EQ(Ply[MaxPly - 2].pvRow[MaxPly - 1], MoveWord(E2, E4, Pawn));

  Ply[6].pvRow[6] = MoveWord(G1, F3, Knight);
  Ply[6].pvRow[7] = 0;
  Ply[5].pvRow[7] = MoveWord(A2, A3, Pawn);
  UpdatePrincipalVariation(MoveWord(B1, C3, Knight), 5);
  EXPECT_EQ(Ply[5].pvRow[5], MoveWord(B1, C3, Knight));
  EXPECT_EQ(Ply[5].pvRow[6], MoveWord(G1, F3, Knight));
  EXPECT_EQ(Ply[5].pvRow[7], 0u);  // the terminating word is copied too
}

// A stop makes a full-width node return 0 after its first legal move and
// store nothing; the periodic check never clears it.
TEST_F(Node, StopReturnsZeroWithoutStoring) {
  Prepare("r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq -", 2);
  VarnSetInfinite();
  StopSearch = 1;
  NodeCountdown = 1;
  EXPECT_EQ(Search(480, 2, -30000, 30000), 0);
  EXPECT_EQ(StopSearch, 1);
  EXPECT_EQ(HashDepth(ProbeHash(White, 480, 2)), 0);
  EXPECT_EQ(PositionIsConsistent(), 1);
}

TEST_F(Node, SearchAllocatesNothing) {
  std::string fen = "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -";
  VarnSetPosition(fen.data());
  VarnSetDepth(6);
  Allocations = 0;
  Counting = true;
  VarnAnalyse(0);
  Counting = false;
  EXPECT_EQ(Allocations, 0);
}

}  // namespace
