// What a "go" command asks for, and how the host maps it onto the library's
// search limits and its own deadlines.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The limits of one "go" command; -1 marks a value the GUI did not send.
struct GoRequest {
  int64_t whiteTime = -1, blackTime = -1;
  int64_t whiteIncrement = 0, blackIncrement = 0;
  int64_t movesToGo = 0;
  int64_t depth = -1;
  int64_t moveTime = -1;
  int64_t nodes = -1;
  int64_t mate = -1;
  int64_t perft = -1;        // asked for, not honoured: answered at once
  std::vector<std::string> searchMoves;  // the root moves to search; empty: all
  bool infinite = false;
  bool ponder = false;
};

// The most a short search may take after a stop or the host's deadline, when
// the search ended without a move to play.
constexpr int64_t ShortSearchGraceMs = 200;

// The library's search limits.
enum class LimitMode { Infinite, Depth, Blitz, MovesInTime };

// One search as the host runs it: the library's limit and the host's own guard.
struct SearchPlan {
  LimitMode mode = LimitMode::Infinite;
  int depth = 0;            // plies, for LimitMode::Depth
  int clockSeconds = 0;     // whole seconds, blitz and moves-in-time
  int incrementSeconds = 0; // whole seconds, blitz
  int moves = 0;            // moves-in-time
  bool ponder = false;      // start as a ponder search
  bool hold = false;        // bestmove waits for stop (infinite, ponder)
  int64_t stopAfterMs = -1; // host stops the search then and plays its best move so far
  int64_t budgetMs = -1;    // what a move is expected to take, when the clock or movetime says
  int64_t nodeLimit = -1;   // host stops the search once a report shows as many nodes
  int64_t mateMoves = -1;   // host stops the search once a mate in this many moves is reported
  int64_t graceMs = ShortSearchGraceMs;  // a short search for a move may run this long past the deadline
};

// The host's settings that shape a plan.
struct PlanSettings {
  int blitzSpeed = 26;      // the library's BlitzPlayingSpeed: a clock lasts that many moves
  int moveOverheadMs = 30;  // the least a move costs beyond the search: wake-up, pipe, GUI
};

// The whole number in text, saturated to [minimum, maximum] (also when it
// overflows); false when text is not a number.
bool ReadWholeNumber(const std::string &text, int64_t minimum, int64_t maximum, int64_t &value);

// Reads the words after "go"; unknown words and bad numbers are skipped.
GoRequest ParseGo(const std::vector<std::string> &words, size_t first);

// Plans a search for the side to move (true for White); a request without any
// limit searches without end.
SearchPlan PlanSearch(const GoRequest &request, bool whiteToMove, const PlanSettings &settings);

// Shallowest search that reports a line: the library reports from ply 5 on.
constexpr int MinimumReportedDepth = 5;

// The rules the session asks while a go runs; every time decision of the host
// is made here.

// A plan that leaves no time to search (a spent clock, not held for a stop or
// ponderhit) is answered at once, before any set-up costs time.
bool ClockSpent(const SearchPlan &plan);

// The host's deadline in ms after the clock base (the go, or the ponderhit of
// a ponder search); -1 while none runs: no deadline, or pondering.
int64_t HostDeadlineMs(const SearchPlan &plan, bool ponderHit);

// How often the host repeats a stop until the library's search returns: a
// stop sent just before the library starts its search is cleared by it.
constexpr int StopRepeatMs = 5;

// A search the library ended before its first line (its own clock ran out)
// goes on to MinimumReportedDepth, unless it had no move or the host's
// deadline or a stop came first.
bool FollowUpDue(bool hadMoves, bool lineReported, bool stopDue);

// A go that ended before it had a move to play gets one from a short ordinary
// search, which may run this many ms past its start: after a stop
// ShortSearchGraceMs, after the deadline the plan's grace.
int64_t ShortSearchCutMs(const SearchPlan &plan, bool stopRequested);

// A level starts a pass a ply deeper only while it has spent less than a
// quarter of its budget: each pass costs several times the one before.
bool LevelMayDeepen(const SearchPlan &plan, int64_t elapsedMs);

// Several lines start a pass a ply deeper only while they have spent at most
// half of the budget (a pass costs about as much as all the passes before
// it); while pondering the clock does not run and passes go on.
bool LinesMayDeepen(const SearchPlan &plan, bool clockRuns, int64_t elapsedMs);
