// Builds every table of the engine, in the order later steps rely on.
#include "init.h"

#include "attacks.h"
#include "board.h"
#include "next.h"
#include "pawns.h"
#include "score.h"

void InitEngineTables() {
  InitDistances();
  InitLowestBitInByte();
  InitSquareMasks();
  InitAttackTables();
  InitDerivedSquareMasks();
  InitDerivedMasks();
  InitPositionKeys();
  SetStartPosition();
  ResetSearchState();
  WhiteSide.castled = 0;
  BlackSide.castled = 0;
  InitEvaluationTables();
  ClearHistory();
  DerivePositionState();
}
