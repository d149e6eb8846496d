// The benchmark through the exports, reproducing the engine's own node total.
#include "bench.h"

#include <chrono>
#include <string>
#include <vector>

#include "engine.h"
#include "library.h"
#include "search.h"

#if __has_include("../tools/bench_positions.h")
#include "../tools/bench_positions.h"
#else
// Stand-in set until the engine's benchmark positions exist.
struct BenchPosition {
  const char *fen;
};
constexpr BenchPosition BenchPositions[] = {
    {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"},
    {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"},
    {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1"},
};
constexpr int BenchDepth = 8;
#endif

void RunBench(int depth) {
  if (depth < 1) depth = BenchDepth;
  SetReportsQuiet(true);
  uint64_t total = 0;
  const auto start = std::chrono::steady_clock::now();
  for (const BenchPosition &position : BenchPositions) {
    // The engine's own benchmark procedure, so both give the same node total.
    Varn.ClearHashtable();
    std::string text = position.fen;
    std::vector<char> fen(text.begin(), text.end());
    fen.push_back('\0');
    Varn.SetPosition(fen.data());
    Varn.SetDepth(depth);
    SetReportsQuiet(true);
    Varn.Analyse(0);
    total += LastLineNodes();
  }
  const auto ms =
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count();
  SetReportsQuiet(false);
  Say("positions " + std::to_string(std::size(BenchPositions)) + " depth " + std::to_string(depth));
  Say("nodes " + std::to_string(total));
  Say("time " + std::to_string(ms) + " ms");
  Say("nps " + std::to_string(total * 1000 / uint64_t(ms > 0 ? ms : 1)));
}
