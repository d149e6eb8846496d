// The benchmark through the exports, reproducing the engine's own node total.
#include "bench.h"

#include <chrono>
#include <iterator>
#include <string>
#include <vector>

#include "engine.h"
#include "library.h"
#include "search.h"

#include "../tools/bench_positions.h"

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
