// A stop request ends the quiescence branch too: capture chains would
// otherwise run on for hundreds of thousands of nodes after the stop.
#define VARN_BUILDING_LIBRARY
#include <gtest/gtest.h>

#include <string>

#include "interface.h"
#include "phase.h"
#include "root.h"
#include "score.h"
#include "search.h"

TEST(StopRequest, QuiescenceUnwindsAtOnce) {
  const VarnCallbacks callbacks{};
  VarnInit(&callbacks, 0, 1024);
  for (const char *fen : {"7k/8/1p1p1p1p/P1P1P1P1/1p1p1p1p/P1P1P1P1/8/K7 w - -",
                          "r1b1k2r/pp1n1ppp/2pqpn2/3p4/2PP4/2NBPN2/PPQ2PPP/R3K2R w KQkq -"}) {
    std::string text = fen;
    VarnSetPosition(text.data());
    ResetSearchState();
    DerivePositionState();
    PrepareSearchTables(SideToMove);
    for (int p = 0; p < 2; ++p) Ply[p].listEnd = 1;
    NodeCountdown = 200000;
    NodeCount = 0;
    StopSearch = 1;
    const int score = SideToMove == White ? NodeSearch<White>(0, 2, -30000, 30000, 0)
                                          : NodeSearch<Black>(0, 2, -30000, 30000, 0);
    EXPECT_EQ(score, 0) << fen;
    // One capture per ply down the first chain, then straight back up.
    EXPECT_LT(NodeCount, 40u) << fen;
  }
  StopSearch = 0;
  VarnQuit();
}
