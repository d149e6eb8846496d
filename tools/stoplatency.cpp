// Measures how long VarnStopAnalyse takes to end a search: stops at random
// moments in the benchmark set and in pawn capture chains; prints the median,
// 99th percentile and maximum. Usage: varn-stoplatency [stops]
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

#define VARN_BUILDING_LIBRARY
#include "varn504.h"
#include "bench_positions.h"

namespace {

using Clock = std::chrono::steady_clock;

// Positions whose quiescence runs long chains of pawn and piece captures.
constexpr const char *CaptureChains[] = {
    "7k/8/1p1p1p1p/P1P1P1P1/1p1p1p1p/P1P1P1P1/8/K7 w - -",
    "7k/8/p1p1p1p1/1P1P1P1P/p1p1p1p1/1P1P1P1P/8/K7 b - -",
    "r1b1k2r/pp1n1ppp/2pqpn2/3p4/2PP4/2NBPN2/PPQ2PPP/R3K2R w KQkq -",
    "8/8/4kpp1/3p1b2/p6P/2B5/6P1/6K1 b - - 0 47",
};

double Milliseconds(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

}  // namespace

int main(int argc, char **argv) {
  const int stops = argc > 1 ? std::max(1, std::atoi(argv[1])) : 240;
  std::vector<std::string> fens;
  for (const BenchPosition &p : BenchPositions) fens.emplace_back(p.fen);
  // Capture chains get as many stops as the whole benchmark set.
  for (size_t i = 0; i < std::size(BenchPositions); ++i) fens.emplace_back(CaptureChains[i % std::size(CaptureChains)]);
  const VarnCallbacks callbacks{};
  VarnInit(&callbacks, 0, 32 * 1024);
  std::mt19937 random(12345);
  std::uniform_int_distribution<int> delayMs(2, 400);
  std::vector<double> latencies;
  int lost = 0;
  for (int i = 0; i < stops; ++i) {
    std::string fen = fens[size_t(i) % fens.size()];
    VarnSetPosition(fen.data());
    VarnSetInfinite();
    Clock::time_point ended;
    std::atomic<bool> done = false;
    std::thread search([&] {
      VarnAnalyse(0);
      ended = Clock::now();
      done = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(delayMs(random)));
    const Clock::time_point stopped = Clock::now();
    VarnStopAnalyse();
    // A stop that came before the search began is cleared by it: such a
    // search is stopped again and left out of the figures.
    while (!done) {
      std::this_thread::sleep_for(std::chrono::microseconds(200));
      if (!done && Clock::now() - stopped > std::chrono::seconds(1)) {
        VarnStopAnalyse();
        ++lost;
        break;
      }
    }
    search.join();
    if (Milliseconds(ended - stopped) < 1000) latencies.push_back(Milliseconds(ended - stopped));
  }
  std::sort(latencies.begin(), latencies.end());
  const auto at = [&](double q) { return latencies[std::min(latencies.size() - 1, size_t(q * double(latencies.size())))]; };
  std::printf("stops %zu lost %d\nmedian %.3f ms\np99 %.3f ms\nmax %.3f ms\n", latencies.size(), lost, at(0.5),
              at(0.99), latencies.back());
  VarnQuit();
  return 0;
}
