// Mapping a GUI's clock onto the library's limits, with host deadlines that
// keep the engine inside the clock whatever the library's own rules decide.
#include "timeplan.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

bool ReadWholeNumber(const std::string &text, int64_t minimum, int64_t maximum, int64_t &value) {
  errno = 0;
  char *end = nullptr;
  const long long number = std::strtoll(text.c_str(), &end, 10);
  if (end == text.c_str() || *end != '\0') return false;
  value = errno == ERANGE ? (number < 0 ? minimum : maximum) : std::clamp<int64_t>(number, minimum, maximum);
  return true;
}

namespace {

// The part of a clock the host may spend on searching: it keeps back the
// least a move costs and a share of the clock for scheduler delays.
int64_t UsableMs(int64_t clockMs, const PlanSettings &settings) {
  return std::max<int64_t>(0, clockMs - settings.moveOverheadMs - clockMs / 40);
}

// Host deadline for a clock of clockMs with incrementMs per move.
void PlanDeadlines(SearchPlan &plan, int64_t clockMs, int64_t incrementMs, int64_t movesToGo,
                   const PlanSettings &settings) {
  const int64_t usable = UsableMs(clockMs, settings);
  const int64_t moves = movesToGo > 0 ? std::min<int64_t>(movesToGo, 50) : 0;
  const int64_t share = moves > 0 ? usable / moves : usable / std::max(1, settings.blitzSpeed);
  // The increment is spent in full only while the clock holds eight of them:
  // a low clock is rebuilt, leaving room for a stalled machine.
  const int64_t budget = share + std::min(incrementMs, usable / 8);
  // Never more than a fifth of the clock on one move, unless the clock is
  // refilled within the next few moves.
  const int64_t cap = usable * 4 / 5 / (moves >= 1 && moves < 4 ? moves : 4);
  // The library keeps its own budget; the host's stop is the guard behind it.
  plan.stopAfterMs = std::min(3 * budget, cap);
  plan.budgetMs = std::min(budget, cap);
  // Under a second the library's whole-second clock would read zero: search
  // without a library limit and stop at the host's own budget instead.
  if (usable < 1000) {
    plan.mode = LimitMode::Infinite;
    plan.stopAfterMs = std::min(budget, cap);
  }
  // A short search past the deadline spends at most half of what is left.
  plan.graceMs = std::clamp<int64_t>((clockMs - settings.moveOverheadMs - plan.stopAfterMs) / 2, 0, ShortSearchGraceMs);
}

}  // namespace

GoRequest ParseGo(const std::vector<std::string> &words, size_t first) {
  GoRequest request;
  bool moves = false;  // the words after searchmoves are its moves, up to the next keyword
  for (size_t i = first; i < words.size(); ++i) {
    const std::string &word = words[i];
    if (word == "infinite" || word == "ponder") {
      (word == "infinite" ? request.infinite : request.ponder) = true;
      moves = false;
    } else if (word == "searchmoves") {
      moves = true;
    } else if (int64_t *slot = word == "wtime"       ? &request.whiteTime
                               : word == "btime"     ? &request.blackTime
                               : word == "winc"      ? &request.whiteIncrement
                               : word == "binc"      ? &request.blackIncrement
                               : word == "movestogo" ? &request.movesToGo
                               : word == "depth"     ? &request.depth
                               : word == "movetime"  ? &request.moveTime
                               : word == "nodes"     ? &request.nodes
                               : word == "mate"      ? &request.mate
                               : word == "perft"     ? &request.perft
                                                     : nullptr) {
      moves = false;
      if (i + 1 < words.size() && ReadWholeNumber(words[i + 1], 0, 1000000000, *slot)) ++i;
    } else if (moves) {
      request.searchMoves.push_back(word);
    }
  }
  return request;
}

SearchPlan PlanSearch(const GoRequest &request, bool whiteToMove, const PlanSettings &settings) {
  SearchPlan plan;
  plan.nodeLimit = request.nodes;
  plan.mateMoves = request.mate;
  plan.ponder = request.ponder;
  plan.hold = request.ponder;
  const int64_t clockMs = whiteToMove ? request.whiteTime : request.blackTime;
  const int64_t incrementMs = whiteToMove ? request.whiteIncrement : request.blackIncrement;
  if (request.infinite) {
    plan.hold = true;
  } else if (request.moveTime >= 0) {
    // A fixed time per move: the library searches without end, the host stops it.
    const int64_t overhead = std::min<int64_t>(settings.moveOverheadMs, request.moveTime / 5);
    plan.stopAfterMs = std::max<int64_t>(0, request.moveTime - overhead);
    plan.budgetMs = plan.stopAfterMs;
    plan.graceMs = overhead / 2;
  } else if (request.depth >= 0 || request.mate >= 0) {
    // A mate in n moves needs 2n - 1 plies; the deeper of the two limits counts.
    const int64_t plies = std::max(request.depth, request.mate >= 0 ? 2 * request.mate - 1 : -1);
    plan.mode = LimitMode::Depth;
    plan.depth = int(std::clamp<int64_t>(plies, MinimumReportedDepth, 31));
    if (clockMs >= 0) {
      PlanDeadlines(plan, clockMs, incrementMs, request.movesToGo, settings);
      plan.mode = LimitMode::Depth;
    }
  } else if (clockMs >= 0) {
    const int64_t seconds = UsableMs(clockMs, settings) / 1000;
    if (request.movesToGo > 0) {
      plan.mode = LimitMode::MovesInTime;
      plan.moves = int(std::min<int64_t>(request.movesToGo, 1000));
    } else {
      plan.mode = LimitMode::Blitz;
      plan.incrementSeconds = int(incrementMs / 1000);
    }
    plan.clockSeconds = int(seconds);
    PlanDeadlines(plan, clockMs, incrementMs, request.movesToGo, settings);
  } else if (request.nodes < 0) {
    plan.hold = true;
  }
  // The library has no node limit: the host stops it from the reports.
  return plan;
}

bool ClockSpent(const SearchPlan &plan) { return plan.stopAfterMs == 0 && !plan.hold; }

int64_t HostDeadlineMs(const SearchPlan &plan, bool ponderHit) {
  return plan.ponder && !ponderHit ? -1 : plan.stopAfterMs;
}

bool FollowUpDue(bool hadMoves, bool lineReported, bool stopDue) { return hadMoves && !lineReported && !stopDue; }

bool LevelMayDeepen(const SearchPlan &plan, int64_t elapsedMs) {
  return plan.budgetMs < 0 || elapsedMs * 4 <= plan.budgetMs;
}

bool LinesMayDeepen(const SearchPlan &plan, bool clockRuns, int64_t elapsedMs) {
  return plan.budgetMs < 0 || !clockRuns || elapsedMs * 2 <= plan.budgetMs;
}

int64_t ShortSearchCutMs(const SearchPlan &plan, bool stopRequested) {
  return stopRequested ? ShortSearchGraceMs : plan.graceMs;
}
