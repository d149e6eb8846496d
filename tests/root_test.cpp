// Searches through the exported functions, with recording callbacks.
#define VARN_BUILDING_LIBRARY
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "interface.h"
#include "support/position.h"
#include "timer.h"
#include "varn504.h"

namespace {

struct Report {
  std::string kind;  // "line" or "move"
  int depth;
  uint32_t nodes;
  std::string text;
  int score;
};

std::vector<Report> Reports;
std::atomic<int> LinesSeen{0};
int CurrentDepth = -1;
uint32_t CurrentNodes = 0;
std::string Order;

void OnDepth(int32_t depth, int32_t) {
  CurrentDepth = depth;
  Order += 'D';
}
void OnNodes(uint32_t nodes, int32_t, int32_t) {
  CurrentNodes = nodes;
  Order += 'N';
}
void OnLine(const char *text, int32_t score) {
  Reports.push_back({"line", CurrentDepth, CurrentNodes, text, score});
  Order += 'L';
  LinesSeen++;
}
void OnMove(const char *text, int32_t index, int32_t) {
  Reports.push_back({"move", CurrentDepth, CurrentNodes, text, index});
  Order += 'M';
}

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
      if (it->kind == "line" && it->text.back() == ' ') return &*it;
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
      if (r.kind != "line") continue;
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
  const char *fen = "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq -";
  for (int delayMs : {0, 3, 17, 40}) {
    std::string text = fen;
    VarnSetPosition(text.data());
    int32_t board[64];
    std::memcpy(board, Board, sizeof Board);
    const SideRecord white = WhiteSide, black = BlackSide;
    const uint64_t pieceKey = Ply[1].pieceKey;
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
    EXPECT_EQ(std::memcmp(board, Board, sizeof Board), 0);
    EXPECT_EQ(white, WhiteSide);
    EXPECT_EQ(black, BlackSide);
    DerivePositionState();
    EXPECT_EQ(Ply[1].pieceKey, pieceKey);
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
