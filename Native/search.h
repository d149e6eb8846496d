// The node search with its quiescence branch.
#pragma once

#include "board.h"

constexpr int DepthUnit = 60;

extern int32_t NodeCountdown;

template <int Us>
int NodeSearch(int depth, int ply, int alpha, int beta, int nullAllowed);
void UpdatePrincipalVariation(Move move, int ply);
