// One "go": the library's search on its own thread, a watchdog that stops it
// on the host's deadlines, and the reports turned into UCI lines.
#include "search.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "engine.h"
#include "library.h"
#include "report.h"

namespace {

using Clock = std::chrono::steady_clock;

// What the reports of the current search told so far; written by the
// callbacks, which run on the thread inside VarnAnalyse.
struct ReportState {
  int32_t depth = 0;
  uint32_t nodes = 0;
  uint32_t lineNodes = 0;    // node count of the last line report
  std::string bestLine;      // last exact line, moves in GUI notation
  int32_t bestDepth = 0;     // its depth and score
  int32_t bestScore = 0;
  std::string fallbackMove;  // the root list's front move, or the last fail high
  std::string fallbackScore; // " score ..." of a fail high, "" for a front move
  bool quiet = false;
};

// State shared by the input thread, the search thread and the watchdog.
struct SharedState {
  bool active = false;       // from StartSearch until bestmove is written
  bool analysing = false;    // inside VarnAnalyse
  bool phasePonder = false;  // the running VarnAnalyse was started to ponder
  bool stopRequested = false;
  bool ponderHit = false;
  bool nodesReached = false; // a report reached the plan's node limit
  bool mateFound = false;    // a line reached the plan's mate limit
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
std::string PreviousLine;  // the exact line of the search before the current one

// The word at index in a line ("" when missing).
std::string WordAt(const std::string &line, size_t index) {
  std::vector<std::string> words = SplitWords(line);
  return index < words.size() ? words[index] : "";
}

// Milliseconds since the current go.
int64_t ElapsedSinceGo() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - State.goTime).count();
}

// The words of an info line from depth to score, for a search so far.
std::string InfoHead(int32_t depth, const std::string &score) {
  const int64_t ms = ElapsedSinceGo();
  const int64_t nps = int64_t(Report.nodes) * 1000 / std::max<int64_t>(1, ms);
  return "info depth " + std::to_string(depth) + " nodes " + std::to_string(Report.nodes) + " time " +
         std::to_string(ms) + " nps " + std::to_string(nps) + score;
}

// Tells the watchdog when a report reached the plan's node limit.
void NoteNodes() {
  std::lock_guard<std::mutex> guard(StateLock);
  if (State.plan.nodeLimit >= 0 && int64_t(Report.nodes) >= State.plan.nodeLimit) State.nodesReached = true;
  StateChanged.notify_all();
}

// Ends a "go mate N" search once an exact line mates in N moves or fewer. The
// stop is set here, inside the report, so no deeper line follows it.
void NoteMate(int32_t score) {
  std::lock_guard<std::mutex> guard(StateLock);
  const int32_t mate = MateMoves(score);
  if (mate < 1 || mate > State.plan.mateMoves) return;
  State.mateFound = true;
  Varn.StopAnalyse();
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
  // The front of the root list is the best move of the last iteration.
  if (index == 1) {
    Report.fallbackMove = LowerCase(move);
    Report.fallbackScore.clear();
  }
  NoteNodes();
  if (Report.quiet) return;
  Say("info depth " + std::to_string(Report.depth) + " currmove " + LowerCase(move) + " currmovenumber " +
      std::to_string(index));
}

// A new best line ("m1 m2 ... "), or a window failure ("m1!" or "m1?").
void OnLine(const char *text, int32_t score) {
  if (!text || !*text) return;
  const LineReport report = ReadLineReport(text);
  const std::string &bound = report.bound;
  if (report.moves.empty()) return;
  Report.lineNodes = Report.nodes;
  std::string pv;
  for (const std::string &move : report.moves) pv += " " + move;
  if (bound.empty()) {
    Report.bestLine = pv.substr(1);
    Report.bestDepth = Report.depth;
    Report.bestScore = score;
    NoteMate(score);
  } else if (bound == " lowerbound") {
    Report.fallbackMove = report.moves[0];
    Report.fallbackScore = " score " + ScoreText(score) + bound;
  }
  NoteNodes();
  if (Report.quiet) return;
  Say(InfoHead(Report.depth, " score " + ScoreText(score) + bound) + " pv" + pv);
}

// True once the search must end: a stop, the node limit or the deadline
// (whose clock does not run while pondering).
bool StopDue(Clock::time_point now) {
  const SharedState &s = State;
  const bool clockRuns = !(s.plan.ponder && !s.ponderHit);
  const bool timeUp = clockRuns && s.plan.stopAfterMs >= 0 &&
                      now >= s.clockBase + std::chrono::milliseconds(s.plan.stopAfterMs);
  return s.stopRequested || s.nodesReached || s.mateFound || timeUp;
}

// The deadline after now, if any.
bool NextDeadline(Clock::time_point now, Clock::time_point &wake) {
  const SharedState &s = State;
  if (!s.analysing || (s.plan.ponder && !s.ponderHit) || s.plan.stopAfterMs < 0) return false;
  wake = s.clockBase + std::chrono::milliseconds(s.plan.stopAfterMs);
  return wake > now;
}

// Stops searches at the host's deadlines and on request; the stop is repeated
// until VarnAnalyse returns, since a stop sent just before the library's own
// start of search would be cleared by it.
void Watchdog() {
  std::unique_lock<std::mutex> lock(StateLock);
  while (!State.watchdogQuit) {
    Clock::time_point now = Clock::now();
    if (State.analysing && StopDue(now)) {
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

// The search thread: the planned search, a depth-5 follow-up when the
// library's own clock ended it before it reported a line and the host's time
// is not up, the wait a held bestmove needs, then bestmove. Without a line
// the library's front root move is played, else the host's move.
void RunSearch(SearchPlan plan, std::string hostMove, std::string noMoveScore) {
  SetLimit(plan);
  const int32_t result = Analyse(plan.ponder);
  bool followUp = false;
  {
    std::lock_guard<std::mutex> guard(StateLock);
    followUp = result == 0 && Report.bestLine.empty() && !StopDue(Clock::now());
  }
  if (followUp) {
    Varn.SetDepth(MinimumReportedDepth);
    Analyse(false);
  }
  {
    std::unique_lock<std::mutex> lock(StateLock);
    StateChanged.wait(lock, [&] { return State.stopRequested || !plan.hold || (plan.ponder && State.ponderHit); });
  }
  std::string best = WordAt(Report.bestLine, 0);
  std::string ponder = WordAt(Report.bestLine, 1);
  // The last word before bestmove: the line played, with its depth and score
  // where the library reported them.
  std::string info = InfoHead(Report.bestDepth, " score " + ScoreText(Report.bestScore)) + " pv " + Report.bestLine;
  if (best.empty()) {
    best = Report.fallbackMove.empty() ? hostMove : Report.fallbackMove;
    info = InfoHead(Report.depth, Report.fallbackMove.empty() ? "" : Report.fallbackScore) + " pv " + best;
  }
  if (result != 0 || best.empty()) {
    best = "0000";
    ponder.clear();
    info = InfoHead(Report.depth, noMoveScore.empty() ? "" : " score " + noMoveScore);
  }
  Say(info);
  Say("bestmove " + best + (ponder.empty() ? "" : " ponder " + ponder));
  std::lock_guard<std::mutex> guard(StateLock);
  State.active = false;
  StateChanged.notify_all();
}

}  // namespace

const VarnCallbacks HostCallbacks = {OnReserved, OnNodes, OnDepth, OnCurrentMove, OnLine, OnReserved};

void StopWatchdog() {
  {
    std::lock_guard<std::mutex> guard(StateLock);
    State.watchdogQuit = true;
    StateChanged.notify_all();
  }
  if (WatchdogThread.joinable()) WatchdogThread.join();
}

std::string StartSearch(const SearchPlan &plan, const std::string &hostMove, const std::string &noMoveScore) {
  if (SearchThread.joinable()) SearchThread.join();
  if (!Report.bestLine.empty()) PreviousLine = Report.bestLine;
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
  try {
    if (!WatchdogThread.joinable()) WatchdogThread = std::thread(Watchdog);
    SearchThread = std::thread(RunSearch, plan, hostMove, noMoveScore);
  } catch (const std::exception &error) {
    std::lock_guard<std::mutex> guard(StateLock);
    State.active = false;
    return error.what();
  }
  return "";
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

void AnswerAtOnce(const std::string &move, const std::string &score) {
  Say("info depth 0 nodes 0 time 0" + (score.empty() ? "" : " score " + score) + (move.empty() ? "" : " pv " + move));
  Say("bestmove " + (move.empty() ? "0000" : move));
}

std::string PreviousSearchLine() {
  return Report.bestLine.empty() ? PreviousLine : Report.bestLine;
}
