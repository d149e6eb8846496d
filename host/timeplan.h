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
  bool infinite = false;
  bool ponder = false;
};

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
  int64_t stopAfterMs = -1; // host stops the search then, once it has a line
  int64_t hardAfterMs = -1; // host stops the search then with any legal move
  int64_t nodeLimit = -1;   // host stops the search once a report shows as many nodes
};

// Reads the words after "go"; unknown words and bad numbers are skipped.
GoRequest ParseGo(const std::vector<std::string> &words, size_t first);

// Plans a search for the side to move (true for White) with the given blitz
// playing speed; a request without any limit searches without end.
SearchPlan PlanSearch(const GoRequest &request, bool whiteToMove, int blitzSpeed);

// Shallowest search that reports a line: the library reports from ply 5 on.
constexpr int MinimumReportedDepth = 5;
