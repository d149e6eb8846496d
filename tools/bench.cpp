// Searches the benchmark set to a fixed depth and prints its node signature
// and speed: the developer's measure of search behaviour and nodes per second.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench_positions.h"
#include "interface.h"

namespace {

uint32_t ReportedNodes = 0;
uint32_t LastLineNodes = 0;

void OnNodes(uint32_t nodes, int32_t, int32_t) { ReportedNodes = nodes; }
void OnLine(const char *, int32_t) { LastLineNodes = ReportedNodes; }

}  // namespace

int main(int argc, char **argv) {
  const int depth = argc > 1 ? std::atoi(argv[1]) : BenchDepth;
  VarnCallbacks callbacks{};
  callbacks.ReportNodes = OnNodes;
  callbacks.ReportPrincipalVariation = OnLine;
  VarnInit(&callbacks, 0, 32 * 1024);

  uint64_t signature = 0, searched = 0;
  const auto start = std::chrono::steady_clock::now();
  int index = 0;
  for (const BenchPosition &position : BenchPositions) {
    std::string fen = position.fen;
    const auto begin = std::chrono::steady_clock::now();
    LastLineNodes = 0;
    VarnClearHashtable();
    VarnSetPosition(fen.data());
    VarnSetDepth(depth);
    VarnAnalyse(0);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    signature += LastLineNodes;
    searched += NodeCount;
    std::printf("%2d %10u %10u %7.3f s  %s\n", ++index, LastLineNodes, NodeCount, seconds, position.fen);
  }
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("depth %d\nsignature %llu\nnodes searched %llu\ntime %.3f s\nnps %.0f\n", depth,
              static_cast<unsigned long long>(signature), static_cast<unsigned long long>(searched), seconds,
              seconds > 0 ? searched / seconds : 0.0);
  VarnQuit();
  return 0;
}
