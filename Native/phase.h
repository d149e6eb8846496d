// Score scale, draw values, game phase, king-safety and attacking tables,
// material balance and endgame knowledge.
#pragma once

#include "board.h"

constexpr int ScoreInfinite = 30000;
constexpr int MateThreshold = 29000;

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

// Updates GamePhase and builds both sides' safety and attacking tables.
void PrepareSearchTables(int side);

// White's material minus Black's with the trade adjustment.
int MaterialBalance();
// Score of a position without pawns, White's view.
int PawnlessEnding();
// Bit 0: White can still win; bit 1: Black can.
int WinChances(int side);
