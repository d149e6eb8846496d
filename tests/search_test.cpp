// The search through the exported functions with recording callbacks, and
// the node search called directly: its cuts, leaves, stores and stop, and
// the limits of the ply records and the move stack.
#define VARN_BUILDING_LIBRARY
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "attacks.h"
#include "hash.h"
#include "interface.h"
#include "make.h"
#include "moves.h"
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

struct Report {
  int depth;
  std::string text;
  int score;
};

std::vector<Report> Reports;
std::atomic<int> LinesSeen{0};
int CurrentDepth = -1;
std::string Order;

void OnDepth(int32_t depth, int32_t) {
  CurrentDepth = depth;
  Order += 'D';
}
void OnNodes(uint32_t, int32_t, int32_t) { Order += 'N'; }
void OnLine(const char *text, int32_t score) {
  Reports.push_back({CurrentDepth, text, score});
  Order += 'L';
  LinesSeen++;
}
void OnMove(const char *, int32_t, int32_t) { Order += 'M'; }

class Search : public testing::Test {
 protected:
  void SetUp() override {
    VarnCallbacks callbacks{};
    callbacks.ReportDepth = OnDepth;
    callbacks.ReportNodes = OnNodes;
    callbacks.ReportPrincipalVariation = OnLine;
    callbacks.ReportCurrentMove = OnMove;
    VarnInit(&callbacks, 0, 1024);
    Reports.clear();
    Order.clear();
    LinesSeen = 0;
  }
  void TearDown() override { VarnQuit(); }

  static int Analyse(const char *fen, int depth, int ponder = 0) {
    std::string text = fen;
    VarnSetPosition(text.data());
    VarnSetDepth(depth);
    return VarnAnalyse(ponder);
  }

  // The last exact line: the engine's answer.
  static const Report *Best() {
    for (auto it = Reports.rbegin(); it != Reports.rend(); ++it) {
      if (it->text.back() == ' ') return &*it;
    }
    return nullptr;
  }
};

TEST_F(Search, MatesAreScoredByTheirDistance) {
  struct Case {
    const char *fen;
    const char *moves;  // the mating first moves, or "" when several work
    int score;
  };
  const Case cases[] = {
      {"6k1/5ppp/8/8/8/8/8/R5K1 w - -", "a1a8", 29998},                    // mate in 1
      {"r5k1/8/8/8/8/8/5PPP/6K1 b - -", "a8a1", 29998},                    // the same for Black
      {"r5k1/5ppp/8/8/8/8/5PPP/R2R2K1 w - -", "a1a8", 29998},              // a capture that mates
      {"7k/8/8/8/8/8/R7/1R4K1 w - -", "a2a7 b1b7", 29996},                 // mate in 2
      {"k7/8/2K5/8/8/8/8/7R w - -", "c6b6", 29996},                        // mate in 2, a quiet king move
      {"6k1/8/8/6K1/8/8/8/R7 w - -", "", 29994},                           // mate in 3
  };
  for (const Case &c : cases) {
    Reports.clear();
    EXPECT_EQ(Analyse(c.fen, 8), 0) << c.fen;
    const Report *best = Best();
    ASSERT_NE(best, nullptr) << c.fen;
    if (*c.moves) {
      EXPECT_NE(std::string(c.moves).find(best->text.substr(0, 4)), std::string::npos) << c.fen;
    }
    EXPECT_EQ(best->score, c.score) << c.fen;
  }
}

TEST_F(Search, NoLegalMoveReturnsOneAndReportsNothing) {
  EXPECT_EQ(Analyse("7k/6Q1/6K1/8/8/8/8/8 b - -", 8), 1);  // checkmate
  EXPECT_EQ(Analyse("7k/5Q2/6K1/8/8/8/8/8 b - -", 8), 1);  // stalemate
  EXPECT_TRUE(Order.empty());
}

TEST_F(Search, SingleLegalMoveSearchesFivePliesAndKeepsTheLimit) {
  EXPECT_EQ(Analyse("7k/8/5K2/8/8/8/8/6R1 b - -", 12), 0);
  EXPECT_EQ(TimeMode, TimeModeDepth);
  EXPECT_EQ(DepthLimit, 5);
  ASSERT_FALSE(Reports.empty());
  for (const Report &r : Reports) EXPECT_LE(r.depth, 5);
  EXPECT_EQ(Reports.back().depth, 5);
  // The limit stays for the next search until the host sets another.
  std::string start = StartFen;
  VarnSetPosition(start.data());
  Reports.clear();
  EXPECT_EQ(VarnAnalyse(0), 0);
  EXPECT_EQ(Reports.back().depth, 5);
}

// Every report calls depth, nodes, then the line or move; fail reports carry
// the root move alone and the bound that was crossed.
TEST_F(Search, ReportsAndAspirationFailures) {
  const char *fens[] = {
      "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq -",
      "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
      "2r3k1/pp3ppp/8/3q4/8/1P3Q2/P4PPP/2R3K1 w - -",
      "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
  };
  int failures = 0;
  for (const char *fen : fens) {
    Reports.clear();
    Order.clear();
    Analyse(fen, 8);
    for (size_t i = 0; i < Order.size(); i += 3) EXPECT_EQ(Order.substr(i, 2), "DN");
    int lastExact = 0;
    bool haveExact = false;
    int lastDepth = 0;
    for (const Report &r : Reports) {
      EXPECT_GE(r.depth, 5);
      EXPECT_GE(r.depth, lastDepth);
      lastDepth = r.depth;
      const char end = r.text.back();
      if (end == ' ') {
        lastExact = r.score;
        haveExact = true;
        continue;
      }
      ++failures;
      EXPECT_EQ(r.text.size(), 5u) << r.text;  // one move and the mark
      if (haveExact) {
        EXPECT_EQ(r.score, end == '!' ? lastExact + 40 : lastExact - 40) << r.text;
      }
      EXPECT_TRUE(end == '!' || end == '?');
    }
  }
  EXPECT_GT(failures, 0);
}

TEST_F(Search, StopFromAnotherThreadLeavesThePositionAsItWas) {
  std::string fen = "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq -";
  VarnSetPosition(fen.data());
  const uint64_t pieceKey = Ply[1].pieceKey, pawnKey = Ply[1].pawnKey;
  for (int delayMs : {0, 3, 17, 40}) {
    VarnSetInfinite();
    std::atomic<bool> done{false};
    std::thread searcher([&] {
      EXPECT_EQ(VarnAnalyse(0), 0);
      done = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
    // The root clears the flag as it starts, so keep asking until it ends.
    while (!done) {
      VarnStopAnalyse();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    searcher.join();
    EXPECT_EQ(PositionIsConsistent(), 1);
    DerivePositionState();
    EXPECT_EQ(Ply[1].pieceKey, pieceKey);
    EXPECT_EQ(Ply[1].pawnKey, pawnKey);
  }
}

// A ponder search ignores the depth limit until the ponder hit hands it back.
TEST_F(Search, PonderingOffHandsTheSearchToTheLimit) {
  std::string text = "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq -";
  VarnSetPosition(text.data());
  VarnSetDepth(3);
  std::atomic<bool> done{false};
  std::thread searcher([&] {
    VarnAnalyse(1);
    done = true;
  });
  while (LinesSeen == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  EXPECT_FALSE(done);  // a depth-5 line arrived although the limit is 3
  VarnPonderingOff();
  searcher.join();
  EXPECT_EQ(Pondering, 0);
}

}  // namespace
