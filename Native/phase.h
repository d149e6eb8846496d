// Draw values, game phase, king-safety and attacking tables,
// material balance and endgame knowledge.
#pragma once

#include "board.h"

extern int32_t DrawValue[2];  // [side]

// Evaluation parameters the host sets by name.
extern int32_t MaterialTrade;
extern int32_t OffensiveAsymmetry;
extern int32_t SafetyAsymmetry;
extern int32_t OffensiveScale;
extern int32_t SafetyScale;
extern int32_t SafetyTable[2][64];
extern int32_t OffensiveTable[2][128];

// King-safety and attacking weights before the host's scales and asymmetries.
extern const int32_t SafetyBase[64];
extern const int32_t OffensiveBase[128];

// Advances GamePhase and builds both sides' safety and attacking tables for a
// search whose root side is side.
void PrepareSearchTables(int side);

// White's material minus Black's, adjusted for unequal trades.
int MaterialBalance();
// Score of a position without pawns, White's view: the weaker king driven to
// the edge (to a corner of the bishop's colour for bishop and knight against
// a bare king).
int PawnlessEnding();
// Which sides can still win with the material on the board: bit 0 White,
// bit 1 Black; side is the side to move.
int WinChances(int side);
