// A stand-in for the engine library that sends scripted reports, so the
// session's handling of what the library says (node counts past 32 bits,
// window failures, mates, late lines) can be tested without a real search.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "../../session/exports.h"

// One step of a scripted search.
struct FakeStep {
  enum Kind { Nodes, Depth, RootMove, Line, AwaitStop, Pause, StartSearch } kind;
  uint32_t number;   // nodes, depth, move index or pause in ms
  std::string text;  // root move or line text
  int32_t score;
  FakeStep(Kind k, uint32_t n = 0, std::string t = "", int32_t s = 0) : kind(k), number(n), text(std::move(t)), score(s) {}
};

inline std::vector<FakeStep> FakeScript;     // what the next VarnAnalyse sends
inline std::atomic<int> FakePonderOffs{0};   // VarnPonderingOff calls so far
inline std::atomic<int> FakeSearches{0};     // VarnAnalyse calls so far
inline std::atomic<int> FakeClears{0};       // VarnClearHashtable calls so far
inline std::atomic<int> FakeInits{0};        // VarnInit calls so far
inline std::atomic<int> FakeDepth{0};        // the last VarnSetDepth
inline std::atomic<bool> FakeTimedOut{false};  // an AwaitStop gave up after 3 s
inline std::vector<std::string> FakeParams;  // "name=value" of every VarnSetParam
inline VarnCallbacks FakeCallbacks{};

namespace fake {
inline std::atomic<bool> Stopped{false};
inline int32_t Init(const VarnCallbacks *callbacks, int32_t, int32_t hashKb) {
  FakeCallbacks = *callbacks;
  ++FakeInits;
  return hashKb > 4096 ? 4096 : hashKb;  // a machine with room for 4 MB only
}
inline int32_t Analyse(int32_t) {
  ++FakeSearches;
  Stopped = false;
  for (const FakeStep &step : FakeScript) {
    // As the library does, a stopped search reports nothing more, unless
    // its own start of search clears the stop first.
    if (Stopped && step.kind != FakeStep::StartSearch) return 0;
    switch (step.kind) {
      case FakeStep::Nodes: FakeCallbacks.ReportNodes(step.number, 0, 0); break;
      case FakeStep::Depth: FakeCallbacks.ReportDepth(int32_t(step.number), 0); break;
      case FakeStep::RootMove: FakeCallbacks.ReportCurrentMove(step.text.c_str(), int32_t(step.number), 20); break;
      case FakeStep::Line: FakeCallbacks.ReportPrincipalVariation(step.text.c_str(), step.score); break;
      case FakeStep::AwaitStop: {
        // A stop that never comes is a fault of the session: give up after 3 s.
        const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(3);
        while (!Stopped && std::chrono::steady_clock::now() < giveUp)
          std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (!Stopped) FakeTimedOut = true;
        return 0;
      }
      case FakeStep::Pause: std::this_thread::sleep_for(std::chrono::milliseconds(step.number)); break;
      // The library's start of search clears a stop that came before it.
      case FakeStep::StartSearch: Stopped = false; break;
    }
  }
  return 0;
}
inline void Stop() { Stopped = true; }
inline void PonderingOff() { ++FakePonderOffs; }
}  // namespace fake

// The exports of the stand-in; the setters it ignores do nothing.
inline VarnExports FakeExports() {
  static const char *const lines[] = {"option name DrawScore type spin default 15 min -50 max 50",
                                      "option name BlitzPlayingSpeed type spin default 26 min 25 max 35", nullptr};
  const auto nothing = [] {};
  const auto pair = [](int32_t, int32_t) {};
  const auto text = [](char *) {};
  const auto name = []() -> const char * { return "Fake"; };
  return {fake::Analyse, [] { ++FakeClears; }, name, []() -> const char *const * { return lines; }, name,
          fake::Init, nothing, fake::PonderingOff, nothing, pair, [](int32_t plies) { FakeDepth = plies; }, text,
          nothing, [](const char *n, const char *v) { FakeParams.push_back(std::string(n) + "=" + v); }, text,
          nothing, pair, fake::Stop};
}
