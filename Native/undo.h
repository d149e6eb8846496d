// Taking back a move made at the same ply.
#pragma once

#include "board.h"

// Restores the position as it was before MakeMove<Us>(move, ply).
template <int Us>
void UndoMove(Move move, int ply);
void UndoMove(int side, Move move, int ply);
