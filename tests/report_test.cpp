#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "interface.h"
#include "root.h"
#include "timer.h"
#include "utility.h"

namespace {

// What the host received, one text per callback call.
std::vector<std::string> Calls;

void OnNodes(uint32_t nodes, int32_t a, int32_t b) {
  Calls.push_back("nodes " + std::to_string(nodes) + " " + std::to_string(a) + " " + std::to_string(b));
}
void OnDepth(int32_t depth, int32_t a) { Calls.push_back("depth " + std::to_string(depth) + " " + std::to_string(a)); }
void OnCurrentMove(const char *move, int32_t index, int32_t count) {
  Calls.push_back("move " + std::string(move) + " " + std::to_string(index) + " " + std::to_string(count));
}
void OnLine(const char *line, int32_t score) { Calls.push_back("line [" + std::string(line) + "] " + std::to_string(score)); }

int64_t FakeNow;
int64_t FakeClock() { return FakeNow; }

class Reports : public ::testing::Test {
 protected:
  void SetUp() override {
    Calls.clear();
    Callbacks = VarnCallbacks{nullptr, OnNodes, OnDepth, OnCurrentMove, OnLine, nullptr};
    std::memset(Ply[1].pvRow, 0, sizeof Ply[1].pvRow);
    NodeCount = 123456;
    ReadClockMs = FakeClock;
    FakeNow = 0;
    StartClock();
  }
  void TearDown() override {
    Callbacks = VarnCallbacks{};
    ReadClockMs = SystemClockMs;
  }
  static void SetLine(std::initializer_list<Move> moves) {
    int i = 1;
    for (Move m : moves) Ply[1].pvRow[i++] = m;
    Ply[1].pvRow[i] = 0;
  }
};

TEST(MoveText, CoordinateNotation) {
  char text[MoveTextSize];
  EXPECT_STREQ(MoveText(MoveWord(E2, E4, Pawn), text), "e2e4");
  EXPECT_STREQ(MoveText(MoveWord(E7, E8, Pawn, 0, Queen), text), "e7e8Q");
  EXPECT_STREQ(MoveText(MoveWord(B2, B1, Pawn, 0, Knight), text), "b2b1N");
  EXPECT_STREQ(MoveText(MoveWord(G7, H8, Pawn, Rook, Rook), text), "g7h8R");
  EXPECT_STREQ(MoveText(MoveWord(A2, B1, Pawn, Bishop, Rook), text), "a2b1R");
  EXPECT_STREQ(MoveText(24964, text), "e1g1");
  EXPECT_STREQ(MoveText(28348, text), "e8c8");
  EXPECT_STREQ(MoveText(MoveWord(E5, D6, Pawn, Pawn), text), "e5d6");
  EXPECT_STREQ(MoveText(0xFFFFFFFF, text), "h8h8X") << "fields are masked, never out of range";
}

TEST_F(Reports, LineTexts) {
  char text[LineTextSize];
  EXPECT_STREQ(LineText(text, ReportKindExact), "");
  SetLine({MoveWord(E2, E4, Pawn), MoveWord(E7, E5, Pawn)});
  EXPECT_STREQ(LineText(text, ReportKindExact), "e2e4 e7e5 ");
  EXPECT_STREQ(LineText(text, 0), "e2e4 e7e5 ") << "any other kind is an exact line";
  EXPECT_STREQ(LineText(text, ReportKindFailHigh), "e2e4!");
  EXPECT_STREQ(LineText(text, ReportKindFailLow), "e2e4?");
}

TEST_F(Reports, LineTextStopsAtTheEndOfTheRow) {
  for (int i = 0; i < MaxPly; ++i) Ply[1].pvRow[i] = MoveWord(A7, A8, Pawn, 0, Queen);
  char text[LineTextSize + 1];
  text[LineTextSize] = 'Z';
  LineText(text, ReportKindExact);
  EXPECT_EQ(std::strlen(text), size_t(6 * (MaxPly - 1)));
  EXPECT_EQ(text[LineTextSize], 'Z');
}

TEST_F(Reports, LineReportsFromFivePlies) {
  SetLine({MoveWord(E2, E4, Pawn), MoveWord(E7, E5, Pawn)});
  ReportLine(17, 299, ReportKindExact);
  EXPECT_TRUE(Calls.empty());
  ReportLine(17, 359, ReportKindExact);
  ReportLine(-40, 420, ReportKindFailLow);
  ReportLine(29990, 420, ReportKindFailHigh);
  const std::vector<std::string> expected = {
      "depth 5 0", "nodes 123456 0 0", "line [e2e4 e7e5 ] 17",
      "depth 7 0", "nodes 123456 0 0", "line [e2e4?] -40",
      "depth 7 0", "nodes 123456 0 0", "line [e2e4!] 29990",
  };
  EXPECT_EQ(Calls, expected);
}

TEST_F(Reports, CurrentMoveAfterTheFirstSecond) {
  RootMove = MoveWord(G1, F3, Knight);
  RootMoveIndex = 3;
  Ply[1].listEnd = 21;
  FakeNow = 1000;
  ReportCurrentRootMove(600);
  EXPECT_TRUE(Calls.empty());
  FakeNow = 1001;
  ReportCurrentRootMove(600);
  const std::vector<std::string> expected = {"depth 10 0", "nodes 123456 0 0", "move g1f3 3 20"};
  EXPECT_EQ(Calls, expected);
}

TEST_F(Reports, NullCallbacksAreNeverCalled) {
  Callbacks = VarnCallbacks{};
  SetLine({MoveWord(E2, E4, Pawn)});
  FakeNow = 5000;
  ReportLine(0, 600, ReportKindExact);
  ReportCurrentRootMove(600);
  Callbacks.ReportPrincipalVariation = OnLine;
  ReportLine(5, 600, ReportKindExact);
  EXPECT_EQ(Calls, std::vector<std::string>{"line [e2e4 ] 5"});
}

}  // namespace
