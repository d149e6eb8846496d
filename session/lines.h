// Root moves searched one at a time, each by a search of the position after
// it: the way to several lines with a score each (MultiPV), to searching only
// the root moves a GUI names (searchmoves), and to a level's scores. The
// library itself searches one line of the whole position.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "level.h"
#include "timeplan.h"

// The shallowest pass of several lines: its children are searched to the
// fewest plies the library reports a line for.
constexpr int LinesMinimumDepth = MinimumReportedDepth + 1;

// A root move and what the position after it needs for its search.
struct RootChild {
  std::string move;
  bool mates = false;       // the side to move there is checkmated
  bool stalemates = false;  // or stalemated
  std::string reply;        // its only legal reply, when it has one and the game goes on after it
};

// The root moves of the position fen, with what the positions after them
// hold. Uses the rules: call it before the search starts.
std::vector<RootChild> RootChildren(const std::string &fen, const std::vector<std::string> &moves);

// The root moves a "go searchmoves" names, in the order of legal; names that
// are not legal moves are left out and told in notes. All of legal when none
// is left.
std::vector<std::string> ChosenRootMoves(const std::vector<std::string> &legal, const std::vector<std::string> &named,
                                         std::vector<std::string> &notes);

// One search of the position after the root moves' text ("e2e4", or "e2e4
// e7e5" past a forced reply) to plies: its score from the view of the side
// to move there and its line. False when the go ended before a line came.
using PositionSearch = std::function<bool(const std::string &moves, int plies, int32_t &score, std::string &line)>;

// The score of a root move from a search of plies after it, seen from the
// root, with its line; a move that ends the game is scored without a search.
bool ScoreChild(const RootChild &child, int plies, const PositionSearch &search, ScoredMove &scored);

// Scores the children in order; stops at the first search without a line.
std::vector<ScoredMove> ScoreRootMoves(const std::vector<RootChild> &children, int plies,
                                       const PositionSearch &search);

// What a search of several lines is asked for and reports to.
struct LinesRequest {
  size_t count = 1;  // lines wanted
  int lastDepth = LinesMinimumDepth;
  PositionSearch search;
  std::function<bool()> stopped;              // the go is to end
  std::function<bool(int depth)> mayDeepen;   // a pass deeper than the first may start
  std::function<void(int depth, size_t index, const std::string &move)> searching;  // a root move's search starts
  std::function<void(int depth, const std::vector<ScoredMove> &lines)> completed;   // a pass's best lines
};

// Passes over the children, one ply deeper each from LinesMinimumDepth, until
// the last depth, a stop, or mayDeepen says no once a pass is complete. Returns the best lines of the
// last complete pass (of the first pass, as far as it came, when none
// completed), best first, and its depth.
std::vector<ScoredMove> SearchLines(const std::vector<RootChild> &children, const LinesRequest &request, int &depth);
