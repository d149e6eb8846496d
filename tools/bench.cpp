// Benchmark: searches the benchmark set to a fixed depth through the
// exports and prints each position's node count, time and speed, then the
// totals. The total node count is a signature of the build's search. Speed
// is given per second of this process's processor time, which a busy
// machine disturbs less than the wall clock.
// Usage: varn-bench [depth]
#define VARN_BUILDING_LIBRARY
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

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

// Milliseconds of processor time used by this process.
double CpuMs() { return std::clock() * 1000.0 / CLOCKS_PER_SEC; }

double PerSecond(unsigned long long nodes, double ms) { return ms > 0 ? nodes * 1000.0 / ms : 0.0; }

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
  double totalMs = 0, totalCpuMs = 0;
  int index = 0;
  for (const BenchPosition &position : BenchPositions) {
    static char fen[256];
    std::snprintf(fen, sizeof fen, "%s", position.fen);
    VarnClearHashtable();
    VarnSetPosition(fen);
    VarnSetDepth(depth);
    const double start = NowMs(), cpuStart = CpuMs();
    VarnAnalyse(0);
    const double ms = NowMs() - start, cpuMs = CpuMs() - cpuStart;
    const unsigned long long nodes = NodeCount;
    char move[8];
    MoveText(MoveStack[1], move);
    std::printf("%2d  %-6s %12llu nodes %8.0f ms %8.0f cpu ms %10.0f nps  %s\n", ++index, move, nodes, ms,
                cpuMs, PerSecond(nodes, cpuMs), position.fen);
    std::fflush(stdout);
    totalNodes += nodes;
    totalMs += ms;
    totalCpuMs += cpuMs;
  }
  std::printf("depth %d: %llu nodes in %.0f ms (%.0f ms processor time), %.0f nps\n", depth, totalNodes,
              totalMs, totalCpuMs, PerSecond(totalNodes, totalCpuMs));
  VarnQuit();
  return 0;
}
