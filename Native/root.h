// Iterative deepening at the root.
#pragma once

#include "board.h"

extern Move RootMove;
extern int32_t RootMoveIndex;
extern int32_t BestMoveChangeDepth;
extern int32_t RootScoreDropped;

// Searches the current position for side; 1 when it has no legal move.
int RootSearch(int side);
int SearchDispatch(int side, int depth, int ply, int alpha, int beta, int nullAllowed);
