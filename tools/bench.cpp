// Benchmark: searches the benchmark set to a fixed depth through the
// exports and prints each position's node count, time and speed, then the
// totals. The total node count is a signature of the build's search.
// Usage: varn-bench [depth]
#define VARN_BUILDING_LIBRARY
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench_positions.h"
#include "board.h"
#include "interface.h"
#include "utility.h"
#include "varn504.h"

namespace {

// Milliseconds of a steady clock.
double NowMs() {
  using namespace std::chrono;
  return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace

int main(int argc, char **argv) {
  int depth = BenchDepth;
  if (argc > 1) depth = std::atoi(argv[1]);
  if (depth < 1 || depth > 31) {
    std::fprintf(stderr, "usage: varn-bench [depth 1..31]\n");
    return 2;
  }
  const VarnCallbacks callbacks{};
  VarnInit(&callbacks, 0, 32768);

  unsigned long long totalNodes = 0;
  double totalMs = 0;
  int index = 0;
  for (const BenchPosition &position : BenchPositions) {
    static char fen[256];
    std::snprintf(fen, sizeof fen, "%s", position.fen);
    VarnClearHashtable();
    VarnSetPosition(fen);
    VarnSetDepth(depth);
    const double start = NowMs();
    VarnAnalyse(0);
    const double ms = NowMs() - start;
    const unsigned long long nodes = NodeCount;
    char move[8];
    MoveText(MoveStack[1], move);
    std::printf("%2d  %-6s %12llu nodes %9.0f ms %10.0f nps  %s\n", ++index, move, nodes, ms,
                ms > 0 ? nodes * 1000.0 / ms : 0.0, position.fen);
    std::fflush(stdout);
    totalNodes += nodes;
    totalMs += ms;
  }
  std::printf("depth %d: %llu nodes in %.0f ms, %.0f nps\n", depth, totalNodes, totalMs,
              totalMs > 0 ? totalNodes * 1000.0 / totalMs : 0.0);
  VarnQuit();
  return 0;
}
