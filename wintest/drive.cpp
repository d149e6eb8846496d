// The checks through the exports. Lines starting "= " hold only what the
// search decides (results, depths, node counts, scores, lines) and must be the
// same for the Windows DLL and the Linux library; the rest are timings and
// the outcome of checks that have no counterpart to compare with.
#include "drive.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "../tools/bench_positions.h"
#include "search.h"

#if defined(__i386__)
std::atomic<int> ConventionFaults = 0;

// Copies the words below a 16-byte boundary less 4, puts markers in the
// callee-saved registers, calls, then reports what the callee removed from
// the stack and whether the markers survived.
asm(R"(
  .text
  .globl CallMisaligned
  .type CallMisaligned, @function
CallMisaligned:
  pushl %ebp
  movl %esp, %ebp
  pushl %ebx
  pushl %esi
  pushl %edi
  subl $4, %esp
  movl 12(%ebp), %esi
  movl 16(%ebp), %ecx
  leal 0(,%ecx,4), %eax
  movl %esp, %edx
  subl %eax, %edx
  andl $-16, %edx
  subl $4, %edx
  movl %edx, %esp
  movl %edx, -16(%ebp)
  testl %ecx, %ecx
  jz 2f
1:
  movl -4(%esi,%ecx,4), %eax
  movl %eax, -4(%esp,%ecx,4)
  decl %ecx
  jnz 1b
2:
  movl 8(%ebp), %eax
  movl $0x5eed0001, %ebx
  movl $0x5eed0002, %esi
  movl $0x5eed0003, %edi
  call *%eax
  movl %esp, %ecx
  subl -16(%ebp), %ecx
  movl 20(%ebp), %edx
  movl %ecx, (%edx)
  xorl $0x5eed0001, %ebx
  xorl $0x5eed0002, %esi
  xorl $0x5eed0003, %edi
  orl %esi, %ebx
  orl %edi, %ebx
  movl 24(%ebp), %edx
  movl %ebx, (%edx)
  leal -12(%ebp), %esp
  popl %edi
  popl %esi
  popl %ebx
  popl %ebp
  ret
  .size CallMisaligned, .-CallMisaligned
)");
#endif

namespace {

using Clock = std::chrono::steady_clock;

int Failures = 0;

void Check(bool ok, const std::string &what) {
  std::printf("%s %s\n", ok ? "ok  " : "FAIL", what.c_str());
  if (!ok) ++Failures;
}

double MsBetween(Clock::time_point from, Clock::time_point to) {
  return std::chrono::duration<double, std::milli>(to - from).count();
}

double MsSince(Clock::time_point start) { return MsBetween(start, Clock::now()); }

// The most a search can overrun its clock inside the tree: two time-check
// intervals at the measured speed.
double TreeCheckMs(double nodesPerSecond) { return 2.0 * TimeCheckInterval / nodesPerSecond * 1000; }

// What the callbacks received during one search. Depth and nodes come before
// each line and before each current-move report; only the lines are kept, as
// current-move reports depend on the clock.
struct Reports {
  int32_t depth = 0;
  uint32_t nodes = 0;
  uint32_t lineNodes = 0;
  std::atomic<int> lines = 0;
  std::vector<std::string> text;
};
Reports Seen;

void OnNodes(uint32_t nodes, int32_t, int32_t) { Seen.nodes = nodes; }
void OnDepth(int32_t depth, int32_t) { Seen.depth = depth; }
void OnCurrentMove(const char *, int32_t, int32_t) {}
void OnLine(const char *line, int32_t score) {
  char text[1200];
  std::snprintf(text, sizeof text, "depth %d nodes %u score %d pv %s", Seen.depth, Seen.nodes, score, line);
  Seen.text.push_back(text);
  Seen.lineNodes = Seen.nodes;
  ++Seen.lines;
}
const VarnCallbacks Callbacks = {nullptr, OnNodes, OnDepth, OnCurrentMove, OnLine, nullptr};

void ClearReports() {
  Seen.depth = 0;
  Seen.nodes = Seen.lineNodes = 0;
  Seen.lines = 0;
  Seen.text.clear();
}

// A writable copy of a text for the exports that split it in place.
std::vector<char> Writable(const char *text) { return std::vector<char>(text, text + std::strlen(text) + 1); }

void SetPosition(const VarnExports &varn, const char *fen) {
  std::vector<char> copy = Writable(fen);
  Call(varn.SetPosition, copy.data());
}

// The getters: the texts, six option lines, the same pointers every call.
void CheckGetters(const VarnExports &varn) {
  std::printf("= version %s\n= author %s\n", Call(varn.GetVersion), Call(varn.GetAuthor));
  const char *const *list = Call(varn.GetParamList);
  int lines = 0;
  while (list[lines]) std::printf("= %s\n", list[lines++]);
  Check(lines == 6 && Call(varn.GetParamList) == list && Call(varn.GetVersion) == Call(varn.GetVersion),
        "six option lines; the getters return the same pointers every call");
}

// VarnInit's result for table sizes from none to 2048 MB, in kilobytes.
void CheckInitSizes(const VarnExports &varn) {
  const int32_t sizes[] = {-1, 0, 1, 1023, 1024, 2047, 32768, 65535, 262144, 1048575, 1048576, 2000000, 2097152};
  for (int32_t kb : sizes) {
    const int32_t used = Call(varn.Init, &Callbacks, 12345, kb);
    std::printf("= init %d kB -> %d kB\n", kb, used);
  }
}

// Report streams of fixed-depth searches: a game text with a token that names
// no move (skipped), changed parameters, no legal move and one legal move.
void CompareStreams(const VarnExports &varn) {
  Call(varn.Init, &Callbacks, 0, 32768);
  struct Stream {
    const char *fen, *moves;
    int depth;
  };
  const Stream streams[] = {
      {nullptr, "e2e4 e7e5 g1f3 b8c6 f1b5 a7a6 xx b5a4", 8},
      {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -", nullptr, 8},
      {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -", nullptr, 12},
      {"rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq -", nullptr, 6},
      {"k7/8/8/8/8/8/1Q6/K7 b - -", nullptr, 9},
  };
  int index = 0;
  for (const Stream &s : streams) {
    if (s.fen) SetPosition(varn, s.fen);
    else Call(varn.SetStartPosition);
    if (s.moves) {
      std::vector<char> moves = Writable(s.moves);
      Call(varn.SetGame, moves.data());
    }
    if (++index == 3) {
      Call(varn.SetParam, "DrawScore", "-20");
      Call(varn.SetParam, "ThreatExtensions", "20");
      Call(varn.NextBest);
    }
    Call(varn.SetDepth, s.depth);
    ClearReports();
    const int32_t result = Call(varn.Analyse, 0);
    for (const std::string &line : Seen.text) std::printf("= stream %d %s\n", index, line.c_str());
    std::printf("= stream %d result %d lines %zu\n", index, result, Seen.text.size());
  }
}

// The benchmark set through the exports: the signature is the sum of the node
// counts sent with each search's last line. Returns nodes per second of
// processor time, which a busy machine disturbs less than the wall clock.
double Bench(const VarnExports &varn, int depth) {
  Call(varn.Init, &Callbacks, 0, 32768);
  uint64_t signature = 0;
  int index = 0;
  const Clock::time_point start = Clock::now();
  const std::clock_t processorStart = std::clock();
  for (const BenchPosition &position : BenchPositions) {
    Call(varn.ClearHashtable);
    SetPosition(varn, position.fen);
    Call(varn.SetDepth, depth);
    ClearReports();
    Call(varn.Analyse, 0);
    signature += Seen.lineNodes;
    const std::string last = Seen.text.empty() ? " pv - " : Seen.text.back();
    const size_t move = last.find(" pv ") + 4;
    std::printf("= bench %d %s %u\n", ++index, last.substr(move, last.find(' ', move) - move).c_str(), Seen.lineNodes);
  }
  const double ms = MsSince(start), processorMs = double(std::clock() - processorStart) * 1000 / CLOCKS_PER_SEC;
  const double nodesPerSecond = double(signature) * 1000 / std::max(processorMs, 1.0);
  std::printf("= bench depth %d signature %llu\n", depth, static_cast<unsigned long long>(signature));
  std::printf("bench time %.0f ms (processor %.0f ms), %.0f nodes/s\n", ms, processorMs, nodesPerSecond);
  return nodesPerSecond;
}

// A search on a second thread; the host thread acts on it while it runs.
struct Search {
  std::atomic<bool> done = false;
  int32_t result = -1;
  Clock::time_point ended;
  std::thread thread;

  Search(const VarnExports &varn, int ponder) {
    ClearReports();
    thread = std::thread([this, &varn, ponder] {
      result = Call(varn.Analyse, ponder);
      ended = Clock::now();
      done = true;
    });
  }
  // Waits up to ms for the search to end; true when it has.
  bool Wait(double ms) {
    const Clock::time_point start = Clock::now();
    while (!done && MsSince(start) < ms) std::this_thread::sleep_for(std::chrono::microseconds(100));
    return done;
  }
  ~Search() { thread.join(); }
};

// Stops from the host thread at random moments after the first line report;
// prints the latencies from VarnStopAnalyse to VarnAnalyse's return.
void CheckStops(const VarnExports &varn, int stops, double nodesPerSecond) {
  std::mt19937 random(12345);
  std::uniform_int_distribution<int> delayMs(1, 60);
  std::vector<double> latencies;
  int late = 0;
  Call(varn.SetInfinite);
  for (int i = 0; i < stops; ++i) {
    SetPosition(varn, BenchPositions[size_t(i) * 7 % std::size(BenchPositions)].fen);
    Search search(varn, 0);
    while (Seen.lines == 0 && !search.done) std::this_thread::sleep_for(std::chrono::microseconds(100));
    std::this_thread::sleep_for(std::chrono::milliseconds(delayMs(random)));
    const Clock::time_point stopped = Clock::now();
    Call(varn.StopAnalyse);
    if (!search.Wait(2000)) {
      ++late;
      Call(varn.StopAnalyse);
      search.Wait(60000);
    }
    latencies.push_back(std::chrono::duration<double, std::micro>(search.ended - stopped).count());
  }
  std::sort(latencies.begin(), latencies.end());
  const double median = latencies[latencies.size() / 2], p90 = latencies[latencies.size() * 9 / 10];
  // A node time: how long this library takes per node of the benchmark.
  std::printf("stop latency over %d stops: median %.0f us (%.0f node times), p90 %.0f us, max %.0f us\n", stops,
              median, median * nodesPerSecond / 1e6, p90, latencies.back());
  Check(late == 0, "every stop ended the search within 2 s (" + std::to_string(late) + " did not)");
}

// A ponder search that no clock stops, made timed by VarnPonderingOff.
void CheckPondering(const VarnExports &varn, double nodesPerSecond) {
  SetPosition(varn, BenchPositions[8].fen);
  // A 2-second clock: a budget of 2000 / 26 ms, and 6 budgets at most in the
  // tree, which a timed search would have spent long before 1.5 s.
  Call(varn.SetBlitz, 2, 0);
  Search search(varn, 1);
  const bool pondering = !search.Wait(1500);
  const Clock::time_point off = Clock::now();
  Call(varn.PonderingOff);
  const double bound = 6 * 2000 / 26 + TreeCheckMs(nodesPerSecond) + 500;
  const bool ended = search.Wait(bound);
  search.Wait(60000);
  const double after = MsBetween(off, search.ended);
  Check(pondering, "a ponder search with a 2-second clock still runs after 1.5 s");
  char what[160];
  std::snprintf(what, sizeof what, "VarnPonderingOff made it timed: it ended %.0f ms later (bound %.0f ms), result %d",
                after, bound, search.result);
  Check(ended && search.result == 0 && Seen.lines > 0, what);
}

// A timed search: 40 moves in 8 s is a budget of 200 ms.
void CheckTimed(const VarnExports &varn, double nodesPerSecond) {
  SetPosition(varn, BenchPositions[11].fen);
  Call(varn.SetTime, 40, 8);
  const Clock::time_point start = Clock::now();
  Search search(varn, 0);
  const double bound = 4 * 200 + TreeCheckMs(nodesPerSecond) + 500;
  search.Wait(60000);
  const double ms = MsBetween(start, search.ended);
  char what[160];
  std::snprintf(what, sizeof what, "VarnSetTime 40 moves in 8 s: ended after %.0f ms (bound %.0f ms), depth %d",
                ms, bound, Seen.depth);
  Check(ms <= bound && search.result == 0 && Seen.lines > 0, what);
}

// VarnQuit gives every block back; a second VarnQuit is harmless.
void CheckQuit(const VarnExports &varn, const DriveOptions &options) {
  Call(varn.Init, &Callbacks, 0, 32768);
  const HeapCount held = options.heap();
  Call(varn.Quit);
  Call(varn.Quit);
  const HeapCount left = options.heap();
  Check(held.blocks > 0 && left.blocks == 0 && left.bytes == 0,
        "VarnInit holds " + std::to_string(held.blocks) + " blocks (" + std::to_string(held.bytes >> 10) +
            " kB); after VarnQuit " + std::to_string(left.blocks) + " blocks, " + std::to_string(left.bytes) + " bytes");
}

}  // namespace

int DriveLibrary(const VarnExports &varn, const DriveOptions &options) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  CheckGetters(varn);
  CheckInitSizes(varn);
  CompareStreams(varn);
  const double nodesPerSecond = Bench(varn, options.benchDepth);
  CheckStops(varn, options.stops, nodesPerSecond);
  CheckPondering(varn, nodesPerSecond);
  CheckTimed(varn, nodesPerSecond);
  if (options.heap) CheckQuit(varn, options);
  else Call(varn.Quit);
#if defined(__i386__)
  Check(ConventionFaults == 0,
        "every call, made with the stack 4 bytes off 16-byte alignment, was cdecl: the caller removes the "
        "arguments, ebx, esi and edi survive (" + std::to_string(ConventionFaults) + " calls were not)");
#endif
  return Failures;
}
