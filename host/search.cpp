// One "go": the library's search on its own thread, a watchdog that stops it
// on the host's deadlines, and the reports turned into UCI lines.
#include "search.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "engine.h"
#include "library.h"

namespace {

using Clock = std::chrono::steady_clock;

// What the reports of the current search told so far; written by the
// callbacks, which run on the thread inside VarnAnalyse.
struct ReportState {
  int32_t depth = 0;
  uint32_t nodes = 0;
  uint32_t lineNodes = 0;    // node count of the last line report
  std::string bestLine;      // last exact line, moves in GUI notation
  std::string fallbackMove;  // a legal root move from any other report
  bool quiet = false;
};

// State shared by the input thread, the search thread and the watchdog.
struct SharedState {
  bool active = false;       // from StartSearch until bestmove is written
  bool analysing = false;    // inside VarnAnalyse
  bool phasePonder = false;  // the running VarnAnalyse was started to ponder
  bool stopRequested = false;
  bool ponderHit = false;
  bool haveLine = false;     // an exact line has been reported
  bool haveMove = false;     // some legal root move has been reported
  bool nodesReached = false; // a report reached the plan's node limit
  bool watchdogQuit = false;
  SearchPlan plan;
  Clock::time_point goTime;
  Clock::time_point clockBase;  // go, or ponderhit for a ponder search
};

ReportState Report;
SharedState State;
std::mutex StateLock;
std::condition_variable StateChanged;
std::thread SearchThread;
std::thread WatchdogThread;

// Moves in UCI text: promotion letters in lower case.
std::string Lower(std::string text) {
  for (char &c : text) c = char(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// The word at index in a line ("" when missing).
std::string WordAt(const std::string &line, size_t index) {
  std::vector<std::string> words = SplitWords(line);
  return index < words.size() ? words[index] : "";
}

// Milliseconds since the current go.
int64_t ElapsedSinceGo() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - State.goTime).count();
}

// Records under the lock that a line or a move is known, for the watchdog.
void NoteMove(bool exactLine) {
  std::lock_guard<std::mutex> guard(StateLock);
  State.haveMove = true;
  if (exactLine) State.haveLine = true;
  if (State.plan.nodeLimit >= 0 && int64_t(Report.nodes) >= State.plan.nodeLimit) State.nodesReached = true;
  StateChanged.notify_all();
}

// Slots 1 and 6: the library never calls them.
void OnReserved() {}

// Node count, sent before every line or root-move report.
void OnNodes(uint32_t nodes, int32_t, int32_t) { Report.nodes = nodes; }

// Iteration depth in plies, sent first in every report.
void OnDepth(int32_t depth, int32_t) { Report.depth = depth; }

// A root move about to be searched.
void OnCurrentMove(const char *move, int32_t index, int32_t) {
  if (!move || !*move) return;
  Report.fallbackMove = Lower(move);
  NoteMove(false);
  if (Report.quiet) return;
  Say("info depth " + std::to_string(Report.depth) + " currmove " + Report.fallbackMove + " currmovenumber " +
      std::to_string(index));
}

// A new best line ("m1 m2 ... "), or a window failure ("m1!" or "m1?").
void OnLine(const char *text, int32_t score) {
  if (!text || !*text) return;
  std::string line = text;
  std::string bound;
  const char last = line.back();
  if (last == '!' || last == '?') {
    bound = last == '!' ? " lowerbound" : " upperbound";
    line.pop_back();
  }
  std::vector<std::string> moves = SplitWords(Lower(line));
  if (moves.empty()) return;
  Report.lineNodes = Report.nodes;
  std::string pv;
  for (const std::string &move : moves) pv += " " + move;
  if (bound.empty()) {
    Report.bestLine = pv.substr(1);
  } else {
    Report.fallbackMove = moves[0];
  }
  NoteMove(bound.empty());
  if (Report.quiet) return;
  const int64_t ms = ElapsedSinceGo();
  const int64_t nps = int64_t(Report.nodes) * 1000 / std::max<int64_t>(1, ms);
  Say("info depth " + std::to_string(Report.depth) + " nodes " + std::to_string(Report.nodes) + " time " +
      std::to_string(ms) + " nps " + std::to_string(nps) + " score " + ScoreText(score) + bound + " pv" + pv);
}

// True when the watchdog must stop the running VarnAnalyse now.
bool MustStop(Clock::time_point now) {
  const SharedState &s = State;
  if (!s.analysing) return false;
  const bool clockRuns = !(s.plan.ponder && !s.ponderHit);
  const bool timeUp = clockRuns && s.plan.stopAfterMs >= 0 &&
                      now >= s.clockBase + std::chrono::milliseconds(s.plan.stopAfterMs);
  const bool hardUp = clockRuns && s.plan.hardAfterMs >= 0 &&
                      now >= s.clockBase + std::chrono::milliseconds(s.plan.hardAfterMs);
  if (!s.stopRequested && !timeUp && !s.nodesReached) return false;
  // Without an exact line the search goes on until one arrives, or until the
  // last moment if some other legal move is known.
  return s.haveLine || (hardUp && s.haveMove);
}

// The next deadline after now, if any.
bool NextDeadline(Clock::time_point now, Clock::time_point &wake) {
  const SharedState &s = State;
  if (!s.analysing || (s.plan.ponder && !s.ponderHit)) return false;
  bool found = false;
  for (int64_t after : {s.plan.stopAfterMs, s.plan.hardAfterMs}) {
    if (after < 0) continue;
    Clock::time_point at = s.clockBase + std::chrono::milliseconds(after);
    if (at > now && (!found || at < wake)) {
      wake = at;
      found = true;
    }
  }
  return found;
}

// Stops searches at the host's deadlines and on request; the stop is repeated
// until VarnAnalyse returns, since a stop sent just before the library's own
// start of search would be cleared by it.
void Watchdog() {
  std::unique_lock<std::mutex> lock(StateLock);
  while (!State.watchdogQuit) {
    Clock::time_point now = Clock::now();
    if (MustStop(now)) {
      Varn.StopAnalyse();
      StateChanged.wait_for(lock, std::chrono::milliseconds(5));
      continue;
    }
    Clock::time_point wake;
    if (NextDeadline(now, wake)) {
      StateChanged.wait_until(lock, wake);
    } else {
      StateChanged.wait(lock);
    }
  }
}

// One VarnAnalyse call with the watchdog informed; returns its result.
int32_t Analyse(bool ponder) {
  bool asPonder = false;
  {
    std::lock_guard<std::mutex> guard(StateLock);
    asPonder = ponder && !State.ponderHit;
    State.phasePonder = asPonder;
    State.analysing = true;
    StateChanged.notify_all();
  }
  const int32_t result = Varn.Analyse(asPonder ? 1 : 0);
  {
    std::lock_guard<std::mutex> guard(StateLock);
    State.analysing = false;
    State.phasePonder = false;
    StateChanged.notify_all();
  }
  return result;
}

// Gives the library the plan's search limit.
void SetLimit(const SearchPlan &plan) {
  switch (plan.mode) {
    case LimitMode::Infinite: Varn.SetInfinite(); break;
    case LimitMode::Depth: Varn.SetDepth(plan.depth); break;
    case LimitMode::Blitz: Varn.SetBlitz(plan.clockSeconds, plan.incrementSeconds); break;
    case LimitMode::MovesInTime: Varn.SetTime(plan.moves, plan.clockSeconds); break;
  }
}

// True once the hard deadline has passed (never while pondering).
bool HardTimeUp() {
  std::lock_guard<std::mutex> guard(StateLock);
  const SearchPlan &plan = State.plan;
  if (plan.hardAfterMs < 0 || (plan.ponder && !State.ponderHit)) return false;
  return Clock::now() >= State.clockBase + std::chrono::milliseconds(plan.hardAfterMs);
}

// The search thread: the planned search, a depth-5 follow-up when it ended
// before reporting a line, the wait a held bestmove needs, then bestmove.
void RunSearch(SearchPlan plan) {
  SetLimit(plan);
  const int32_t result = Analyse(plan.ponder);
  if (result == 0 && Report.bestLine.empty() && (Report.fallbackMove.empty() || !HardTimeUp())) {
    Varn.SetDepth(MinimumReportedDepth);
    Analyse(false);
  }
  {
    std::unique_lock<std::mutex> lock(StateLock);
    StateChanged.wait(lock, [&] { return State.stopRequested || !plan.hold || (plan.ponder && State.ponderHit); });
  }
  std::string best = WordAt(Report.bestLine, 0);
  std::string ponder = WordAt(Report.bestLine, 1);
  if (best.empty()) best = Report.fallbackMove;
  if (result != 0 || best.empty()) {
    best = "0000";
    ponder.clear();
  }
  Say("bestmove " + best + (ponder.empty() ? "" : " ponder " + ponder));
  std::lock_guard<std::mutex> guard(StateLock);
  State.active = false;
  StateChanged.notify_all();
}

}  // namespace

const VarnCallbacks HostCallbacks = {OnReserved, OnNodes, OnDepth, OnCurrentMove, OnLine, OnReserved};

std::string ScoreText(int32_t score) {
  if (score > 29000) return "mate " + std::to_string((30000 - score + 1) / 2);
  if (score < -29000) return "mate -" + std::to_string(std::max(1, (30000 + score) / 2));
  return "cp " + std::to_string(score);
}

void StartWatchdog() { WatchdogThread = std::thread(Watchdog); }

void StopWatchdog() {
  {
    std::lock_guard<std::mutex> guard(StateLock);
    State.watchdogQuit = true;
    StateChanged.notify_all();
  }
  if (WatchdogThread.joinable()) WatchdogThread.join();
}

void StartSearch(const SearchPlan &plan) {
  if (SearchThread.joinable()) SearchThread.join();
  Report = ReportState();
  {
    std::lock_guard<std::mutex> guard(StateLock);
    const bool quit = State.watchdogQuit;
    State = SharedState();
    State.watchdogQuit = quit;
    State.active = true;
    State.plan = plan;
    State.goTime = Clock::now();
    State.clockBase = State.goTime;
  }
  SearchThread = std::thread(RunSearch, plan);
}

void RequestStop() {
  std::lock_guard<std::mutex> guard(StateLock);
  if (!State.active) return;
  State.stopRequested = true;
  StateChanged.notify_all();
}

void PonderHit() {
  std::lock_guard<std::mutex> guard(StateLock);
  if (!State.active || !State.plan.ponder || State.ponderHit) return;
  State.ponderHit = true;
  State.clockBase = Clock::now();
  // The library's clock starts now too; a search that has not yet entered
  // VarnAnalyse starts without pondering instead.
  if (State.analysing && State.phasePonder) Varn.PonderingOff();
  StateChanged.notify_all();
}

bool SearchActive() {
  std::lock_guard<std::mutex> guard(StateLock);
  return State.active;
}

bool SearchHolds() {
  std::lock_guard<std::mutex> guard(StateLock);
  return State.active && !State.stopRequested && State.plan.hold && !(State.plan.ponder && State.ponderHit);
}

void JoinSearch(bool stopFirst) {
  if (stopFirst) RequestStop();
  if (SearchThread.joinable()) SearchThread.join();
}

void SetReportsQuiet(bool quiet) {
  Report = ReportState();
  Report.quiet = quiet;
}

uint32_t LastLineNodes() { return Report.lineNodes; }
