// Pawn structure evaluation and its cache.
#pragma once

#include <cstdint>

#include "board.h"

struct PawnEntry {
  uint64_t key;
  int16_t pawnScore;
  uint8_t openFiles;
  uint8_t whitePassedFiles;
  uint8_t whiteShelterKingSide;
  uint8_t whiteShelterQueenSide;
  uint8_t whiteLightPawns;
  uint8_t whiteDarkPawns;
  uint8_t blackPassedFiles;
  uint8_t blackShelterKingSide;
  uint8_t blackShelterQueenSide;
  uint8_t blackLightPawns;
  uint8_t blackDarkPawns;
};

constexpr int PawnHashSlots = 200000;
extern PawnEntry *PawnHashTable;
extern uint32_t PawnHashSize;  // slots in use (PawnHashSlots unless allocation failed)
extern PawnEntry *CurrentPawnEntry;
extern uint8_t LowestBitInByte[256];

void InitLowestBitInByte();
// Allocates and clears the cache; falls back to a small fixed table when the
// heap refuses, so that the evaluation always has one. Returns 1 on success.
int AllocatePawnHash();
void ClearPawnHash();
void FreePawnHash();

int EvaluatePawns(int side, int ply);
int ScorePawnStructure(int ply);
int PawnEndingRule();
