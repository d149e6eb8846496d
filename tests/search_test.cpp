// The node search called directly: its cuts, leaves, stores and stop, and
// the limits of the ply records and the move stack; the search through the
// exported functions with recording callbacks; and the root run directly on
// a scripted clock: its time rules, its reports and its last iteration.
#define VARN_BUILDING_LIBRARY
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "attacks.h"
#include "hash.h"
#include "interface.h"
#include "make.h"
#include "moves.h"
#include "next.h"
#include "phase.h"
#include "root.h"
#include "score.h"
#include "support/position.h"
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
    EXPECT_TRUE(s > -MateThreshold && s < MateThreshold && PositionIsConsistent()) << ply << ": " << s;
  }
  Prepare("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -", 2);
  for (int start : {MoveStackSize - 60, MoveStackSize - 1, MoveStackSize}) {
    Ply[1].listEnd = start;
    const int s = Search(300, 2, -30000, 30000);
    EXPECT_TRUE(s > -MateThreshold && PositionIsConsistent()) << start << ": " << s;
  }
}

// A stop makes a full-width node return 0 after its first legal move and
// store nothing, and a quiescence node unwind down its first capture chain
// instead of running on; the periodic check never clears the stop.
TEST_F(Node, StopReturnsZeroWithoutStoring) {
  Prepare("r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq -", 2);
  VarnSetInfinite();
  StopSearch = 1;
  NodeCountdown = 1;
  EXPECT_EQ(Search(480, 2, -30000, 30000), 0);
  EXPECT_EQ(StopSearch, 1);
  EXPECT_EQ(HashDepth(ProbeHash(White, 480, 2)), 0);
  EXPECT_EQ(PositionIsConsistent(), 1);
  for (const char *fen : {"7k/8/1p1p1p1p/P1P1P1P1/1p1p1p1p/P1P1P1P1/8/K7 w - -",
                          "r1b1k2r/pp1n1ppp/2pqpn2/3p4/2PP4/2NBPN2/PPQ2PPP/R3K2R w KQkq -"}) {
    Prepare(fen, 2);
    StopSearch = 1;
    EXPECT_EQ(Search(0, 2, -30000, 30000, 0), 0) << fen;
    EXPECT_LT(NodeCount, 40u) << fen;
  }
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

// The host's view: every callback in order, each line checked for its depth.
int CurrentDepth = -1;
std::string Order;

void OnDepth(int32_t depth, int32_t) {
  CurrentDepth = depth;
  Order += 'D';
}
void OnNodes(uint32_t, int32_t, int32_t) { Order += 'N'; }
void OnLine(const char *, int32_t) {
  EXPECT_GE(CurrentDepth, 5) << "lines from the fifth ply on";
  Order += 'L';
}
void OnMove(const char *, int32_t, int32_t) { Order += 'M'; }

// The root's view, for searches run directly: every line with the index of
// its root move, and the last root move announced, which says where the
// search stopped. A ponder search gets its ponder hit as the root announces
// iteration PonderHitDepth.
struct RootLine {
  int depth, index, kind, score;  // depth in plies
  std::string text;
};
std::vector<RootLine> Lines;
int MoveDepth, MoveIndex, RootCount, PonderHitDepth, Stage;

void RecordLine(int score, int depth, int kind) {
  char text[LineTextSize];
  Lines.push_back({depth / 60, RootMoveIndex, kind, score, LineText(text, kind)});
}
void RecordMove(int depth, Move, int index, int count) {
  MoveDepth = depth / 60;
  MoveIndex = index;
  RootCount = count;
  if (Pondering && MoveDepth == PonderHitDepth) VarnPonderingOff();
}

// A scripted clock whose elapsed time follows the search's progress.
int64_t (*Elapsed)();
uint32_t LastReadNodes;
int64_t ScriptedClock() {
  LastReadNodes = NodeCount;
  return 5'000'000'000 + Elapsed();
}

class Search : public testing::Test {
 protected:
  void SetUp() override {
    const VarnCallbacks callbacks{nullptr, OnNodes, OnDepth, OnMove, OnLine, nullptr};
    VarnInit(&callbacks, 0, 1024);
    Order.clear();
    Elapsed = [] { return int64_t(0); };
  }
  void TearDown() override {
    ReadClockMs = SystemClockMs;
    VarnQuit();
  }
  // Through the exports, to a depth.
  static int Analyse(const char *fen, int depth) {
    std::string text = fen;
    VarnSetPosition(text.data());
    VarnSetDepth(depth);
    return VarnAnalyse(0);
  }
  // The root run directly on the scripted clock from empty tables, under the
  // limits set; returns the last root move announced as (depth, index).
  // However the search ended, the position is as it was.
  static std::pair<int, int> Run(const char *fen) {
    std::string text = fen;
    VarnSetPosition(text.data());
    VarnClearHashtable();
    ClearHistory();
    ReadClockMs = ScriptedClock;
    Lines.clear();
    MoveDepth = MoveIndex = 0;
    NodeCount = 0;
    const uint64_t pieceKey = Ply[1].pieceKey, pawnKey = Ply[1].pawnKey;
    EXPECT_EQ(RootSearch(SideToMove, RootReports{RecordLine, RecordMove}), 0) << fen;
    EXPECT_EQ(PositionIsConsistent(), 1) << fen;
    DerivePositionState();
    EXPECT_TRUE(Ply[1].pieceKey == pieceKey && Ply[1].pawnKey == pawnKey) << fen;
    return {MoveDepth, MoveIndex};
  }
};

// Mates are scored by their distance; a side with no legal move is not
// searched: the library returns 1 and reports nothing.
TEST_F(Search, MatesAreScoredByTheirDistanceAndNoMoveIsNoSearch) {
  EXPECT_EQ(Analyse("7k/6Q1/6K1/8/8/8/8/8 b - -", 8), 1);  // checkmate
  EXPECT_EQ(Analyse("7k/5Q2/6K1/8/8/8/8/8 b - -", 8), 1);  // stalemate
  EXPECT_TRUE(Order.empty());
  const struct {
    const char *fen;
    const char *moves;  // the mating first moves, or "" when several work
    int score;
  } cases[] = {
      {"6k1/5ppp/8/8/8/8/8/R5K1 w - -", "a1a8", 29998},                    // mate in 1
      {"r5k1/8/8/8/8/8/5PPP/6K1 b - -", "a8a1", 29998},                    // the same for Black
      {"r5k1/5ppp/8/8/8/8/5PPP/R2R2K1 w - -", "a1a8", 29998},              // a capture that mates
      {"7k/8/8/8/8/8/R7/1R4K1 w - -", "a2a7 b1b7", 29996},                 // mate in 2
      {"k7/8/2K5/8/8/8/8/7R w - -", "c6b6", 29996},                        // mate in 2, a quiet king move
      {"6k1/8/8/6K1/8/8/8/R7 w - -", "", 29994},                           // mate in 3
  };
  VarnSetDepth(8);
  for (const auto &c : cases) {
    Run(c.fen);
    const RootLine &best = Lines.back();  // the last line of a finished iteration is exact
    if (*c.moves) {
      EXPECT_NE(std::string(c.moves).find(best.text.substr(0, 4)), std::string::npos) << c.fen;
    }
    EXPECT_EQ(best.score, c.score) << c.fen;
  }
}

// Every report calls depth, nodes, then the line or move; fail reports carry
// the root move alone and the bound that was crossed.
TEST_F(Search, ReportsAndAspirationFailures) {
  int failures = 0;
  for (const char *fen : {"r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq -",
                          "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
                          "2r3k1/pp3ppp/8/3q4/8/1P3Q2/P4PPP/2R3K1 w - -", "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -"}) {
    Order.clear();
    Analyse(fen, 8);
    for (size_t i = 0; i < Order.size(); i += 3) EXPECT_EQ(Order.substr(i, 2), "DN");
    Run(fen);
    int best = 0;
    for (const RootLine &line : Lines) {
      if (line.kind == ReportKindExact) {
        best = line.score;
        continue;
      }
      ++failures;
      const bool high = line.kind == ReportKindFailHigh;
      EXPECT_EQ(line.text.size(), 5u) << line.text;  // one move and the mark
      EXPECT_EQ(line.text.back(), high ? '!' : '?') << line.text;
      EXPECT_EQ(line.score, high ? best + 40 : best - 40) << line.text;
    }
  }
  EXPECT_GT(failures, 0);
}

const char *const Italian = "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq -";

// Past the budget no root move from the sixth on is started, unless the
// first move scored more than 10 below the last iteration's best line: then
// the iteration is finished, and no new one begun.
TEST_F(Search, ScoreDropFinishesTheIteration) {
  VarnSetTime(40, 200);  // budget 5 s: new iterations until 3.5 s, moves from the sixth until 5 s
  Elapsed = [] { return MoveDepth > Stage || (MoveDepth == Stage && MoveIndex >= 5) ? int64_t(6000) : 0; };
  int seen[2] = {0, 0};
  for (Stage = 2; Stage <= 7; ++Stage) {
    const std::pair<int, int> stop = Run(Italian);
    int previous = 0;  // the last line of the iteration before, always exact
    auto first = Lines.begin();
    for (; first->depth < Stage; ++first) previous = first->score;
    const bool dropped =
        first->kind == ReportKindFailLow || (first->kind == ReportKindExact && first->score < previous - 10);
    ++seen[dropped];
    EXPECT_EQ(stop, std::make_pair(Stage, dropped ? RootCount : 5)) << "iteration " << Stage;
  }
  EXPECT_GT(seen[0], 0);
  EXPECT_GT(seen[1], 0);
}

// At 3 s of a 5 s budget a new iteration begins only while the best move has
// changed within the last three plies; no search inherits that from another.
TEST_F(Search, StableBestMoveEndsTheSearchEarlier) {
  VarnSetTime(40, 200);
  Elapsed = [] { return MoveDepth == 0 ? 0 : MoveDepth > 12 ? int64_t(100000) : 3000; };
  for (const char *fen : {Italian, "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
                          "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -"}) {
    const std::pair<int, int> stop = Run(fen);
    int refused = 3;  // the iteration not begun: three after the last change before it
    for (const RootLine &line : Lines)
      if (line.index > 1 && line.depth < refused) refused = line.depth + 3;
    EXPECT_EQ(stop, std::make_pair(refused - 1, RootCount)) << fen;
  }
}

// Inside the tree the clock is read every 200000 nodes, counted afresh by
// each search: the read that finds the time used up stops the search at
// once, where the root's rules would let it go on.
TEST_F(Search, TheTreeReadsTheClockEvery200000Nodes) {
  VarnSetBlitz(26, 1000);  // the tree stops at 6 s; the root, with the increment, after 700 s
  for (Stage = 250000; Stage < 1000000; Stage += 400000) {
    Elapsed = [] { return NodeCount > 3000000 ? int64_t(100000) : NodeCount >= uint32_t(Stage) ? 10000 : 0; };
    Run(Italian);
    EXPECT_EQ(LastReadNodes, uint32_t(Stage / 200000 + 1) * 200000);
    EXPECT_LT(NodeCount - LastReadNodes, 100u);
  }
}

// Iterations end at the limit: the fifth with one legal move, a limit the
// host's next search keeps; the thirty-first in an infinite search, which
// does not stop on a mate; a ponder search ignores the limit until its hit.
TEST_F(Search, LastIteration) {
  VarnSetInfinite();
  std::pair<int, int> stop = Run("6k1/5ppp/8/8/8/8/8/R5K1 w - -");
  EXPECT_EQ(stop, std::make_pair(31, RootCount));
  VarnSetDepth(12);
  EXPECT_EQ(Run("7k/8/5K2/8/8/8/8/6R1 b - -"), std::make_pair(5, 1));
  stop = Run(Italian);
  EXPECT_EQ(stop, std::make_pair(5, RootCount));
  VarnSetDepth(3);
  Pondering = 1;
  PonderHitDepth = 6;
  EXPECT_EQ(Run(Italian), std::make_pair(6, 1));
  EXPECT_EQ(Pondering, 0);
}

}  // namespace
