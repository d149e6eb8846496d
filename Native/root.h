// Iterative deepening at the root.
#pragma once

#include "board.h"

// Report kinds of a line report.
enum : int { ReportKindFailLow = 1, ReportKindFailHigh = 2, ReportKindExact = 4 };

// What the root tells its caller while it searches; the engine interface
// turns these into the host's callbacks. Depths are in sixtieths of a ply.
struct RootReports {
  // Record 1's line with a score: a new best line, or a window bound crossed.
  void (*line)(int score, int depth, int kind);
  // The root move about to be searched, its number (from 1) and the count.
  void (*currentMove)(int depth, Move move, int index, int count);
};

// Where the root search stands: the move being searched and its place in the
// list (from 1), the depth at which the best move last changed, and whether
// the first move's score fell in this iteration.
extern Move RootMove;
extern int32_t RootMoveIndex;
extern int32_t BestMoveChangeDepth;
extern int32_t RootScoreDropped;

// The root side's draw value, a parameter the host sets by name.
extern int32_t DrawScore;

// Searches the current position for side; 1 when it has no legal move.
int RootSearch(int side, const RootReports &reports);
int SearchDispatch(int side, int depth, int ply, int alpha, int beta, int nullAllowed);
