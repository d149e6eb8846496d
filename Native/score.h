// The full static evaluation.
#pragma once

#include "board.h"

// Each colour's [side] king danger, set by KingSafety for the evaluation
// under way.
extern int32_t KingDanger[2];

// Piece-square tables per colour [side][square]; Black's value on s is
// White's on Relative<Black>(s).
extern int32_t KnightTables[2][64];
extern int32_t BishopTables[2][64];
extern int32_t OutpostTables[2][64];
extern int32_t QueenTables[2][64];
extern int32_t KingTablesBothWings[2][64];
extern int32_t KingTablesQueenSide[2][64];
extern int32_t KingTablesKingSide[2][64];
extern int32_t KingDangerTables[2][64];

// Copies the piece-square tables into each colour's tables (Black mirrored).
void InitEvaluationTables();

int Evaluate(int side, int lower, int upper, int ply);
int KingSafety();
int Development();

// Where an evaluation returned.
enum : int {
  EvalExitFull = 0,        // every term, then the win-mask clamp
  EvalExitDrawn = 2,       // no side can win: White's draw value
  EvalExitMaterial = 3,    // lazy exit after the material balance
  EvalExitPawnless = 4,    // no pawns: material and pawnless ending
  EvalExitPawns = 5,       // lazy exit after the pawns
  EvalExitPositional = 9,  // lazy exit after king safety, development, king placement
  EvalExitBishops = 12,    // king and opposite bishops alone: halved
};

// One evaluation broken down by term, each in White's view; per-colour
// entries are [side] and hold that colour's contribution (Black's negative
// when it favours Black). Terms not reached stay 0.
struct EvalTrace {
  int winMask;
  int material;
  int pawnlessEnding;
  int pawnStructure;  // the cached part of the pawn evaluation
  int pawns;          // the whole pawn evaluation
  int kingSafety;
  int development;
  int kingPlacement;
  int knights[2];
  int bishops[2];
  int bishopSet[2];
  int rooks[2];
  int queens[2];
  int attackSum[2];
  int kingDanger[2];
  int attack[2];
  int beforeScaling;    // value before the opposite-bishops step
  int oppositeBishops;  // change made by the opposite-bishops step
  int clamp;            // change made by the win-mask clamp
  int exit;             // EvalExit...
  int result;
};

// Evaluate that also fills trace; same result as Evaluate.
int EvaluateTraced(int side, int lower, int upper, int ply, EvalTrace &trace);
