// Searches the benchmark set to a fixed depth and prints its node signature
// and speed: the developer's measure of search behaviour and nodes per second.
// Speed is also given per second of this process's processor time, which a
// busy machine disturbs less than the wall clock.
// Usage: varn-bench [depth]
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "bench_positions.h"
#include "board.h"
#include "interface.h"
#include "utility.h"

namespace {

uint32_t ReportedNodes = 0;
uint32_t LastLineNodes = 0;

void OnNodes(uint32_t nodes, int32_t, int32_t) { ReportedNodes = nodes; }
void OnLine(const char *, int32_t) { LastLineNodes = ReportedNodes; }

double Seconds(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

// Seconds of processor time used by this process.
double CpuSeconds() { return double(std::clock()) / CLOCKS_PER_SEC; }

double PerSecond(uint64_t nodes, double seconds) { return seconds > 0 ? nodes / seconds : 0.0; }

}  // namespace

int main(int argc, char **argv) {
  const int depth = argc > 1 ? std::atoi(argv[1]) : BenchDepth;
  if (depth < 1 || depth > 31) {
    std::fprintf(stderr, "usage: varn-bench [depth 1..31]\n");
    return 2;
  }
  VarnCallbacks callbacks{};
  callbacks.ReportNodes = OnNodes;
  callbacks.ReportPrincipalVariation = OnLine;
  VarnInit(&callbacks, 0, 32 * 1024);

  uint64_t signature = 0, searched = 0;
  const auto start = std::chrono::steady_clock::now();
  const double cpuStart = CpuSeconds();
  int index = 0;
  for (const BenchPosition &position : BenchPositions) {
    std::string fen = position.fen;
    const auto begin = std::chrono::steady_clock::now();
    const double cpuBegin = CpuSeconds();
    LastLineNodes = 0;
    VarnClearHashtable();
    VarnSetPosition(fen.data());
    VarnSetDepth(depth);
    const int noMove = VarnAnalyse(0);
    const double seconds = Seconds(begin), cpuSeconds = CpuSeconds() - cpuBegin;
    signature += LastLineNodes;
    searched += NodeCount;
    char move[8] = "-";
    if (!noMove) MoveText(MoveStack[1], move);
    std::printf("%2d %-6s %10u %10u %7.3f s %10.0f nps  %s\n", ++index, move, LastLineNodes, NodeCount, seconds,
                PerSecond(NodeCount, cpuSeconds), position.fen);
    std::fflush(stdout);
  }
  const double seconds = Seconds(start), cpuSeconds = CpuSeconds() - cpuStart;
  std::printf("depth %d\nsignature %llu\nnodes searched %llu\ntime %.3f s (processor %.3f s)\nnps %.0f\n", depth,
              static_cast<unsigned long long>(signature), static_cast<unsigned long long>(searched), seconds,
              cpuSeconds, PerSecond(searched, cpuSeconds));
  VarnQuit();
  return 0;
}
