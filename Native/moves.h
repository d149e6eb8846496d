// Generation of all moves and of non-captures, and the legal root list.
#pragma once

#include "board.h"

// Every pseudo-legal move of colour Us into the list of ply.
template <int Us>
void GenerateMoves(int ply);
void GenerateMoves(int side, int ply);

// Castling, quiet moves and under-promotions of colour Us, written from
// MoveStack index start; the ply's listEnd is set to the end.
template <int Us>
void GenerateNonCaptures(int ply, int start);

// The legal moves of side at the root (ply 1, MoveStack from index 1);
// returns their number.
int LegalRootMoves(int side);
