// The full static evaluation.
#pragma once

#include "board.h"

extern int32_t WhiteKingDanger;
extern int32_t BlackKingDanger;

// Copies the piece-square tables into each colour's tables (Black mirrored).
void InitEvaluationTables();

int Evaluate(int side, int lower, int upper, int ply);
int KingSafety();
int Development();
