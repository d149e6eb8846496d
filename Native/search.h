// The node search with its quiescence branch.
#pragma once

#include "board.h"

constexpr int DepthUnit = 60;

extern uint32_t NodeCount;     // nodes of the current search
extern int32_t NodeCountdown;  // nodes left until the next time check in the tree
constexpr int32_t TimeCheckInterval = 200000;  // nodes between two time checks in the tree

// Parameters the host sets by name: extensions in sixtieths of a ply, and the
// futility margin (0: no futility pruning).
extern int32_t CheckExtensions;
extern int32_t RecaptureExtensions;
extern int32_t PawnPushExtensions;
extern int32_t ThreatExtensions;
extern int32_t SingleMoveExtensions;
extern int32_t FutilityPruning;

// [captured now][captured by the previous move]: the trades of equal value
// whose recapture earns the recapture extension.
constexpr bool EqualTrade[7][7] = {
    {0, 0, 0, 0, 0, 0, 0}, {0, 1, 0, 0, 0, 0, 0}, {0, 0, 1, 1, 0, 0, 0}, {0, 0, 1, 1, 0, 0, 0},
    {0, 0, 0, 0, 1, 0, 0}, {0, 0, 0, 0, 0, 1, 0}, {0, 0, 0, 0, 0, 0, 0}};

// 1 when a move takes a pawn to either side's second or seventh rank: the
// push that earns the pawn-push extension, in the tree and at the root.
constexpr bool IsExtendedPawnPush(Move move) {
  return MovePiece(move) == Pawn && (Rank(MoveTo(move)) == 1 || Rank(MoveTo(move)) == 6);
}

template <int Us>
int NodeSearch(int depth, int ply, int alpha, int beta, int nullAllowed);
void UpdatePrincipalVariation(Move move, int ply);

// 1 when the position of ply repeats an earlier one with the same side to
// move within the reversible part of the game.
int IsRepetition(int ply);
