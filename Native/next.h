// Move ordering: the staged move selectors and the history counters.
#pragma once

#include "board.h"

extern uint32_t History[2][4096];  // [side][from + 64 * to]

void ClearHistory();
// Divides every history counter by 256, so old results fade.
void AgeHistory();
template <int Us>
Move NextMove(int ply);
template <int Us>
Move NextEvasion(int ply);
template <int Us>
int IsPseudoLegal(Move move, int ply);
