// Playing a move on the global position.
#pragma once

#include "board.h"

// Plays move for colour Us at ply: updates the position incrementally and
// writes the next ply's keys and this ply's en-passant square.
template <int Us>
void MakeMove(Move move, int ply);
void MakeMove(int side, Move move, int ply);
