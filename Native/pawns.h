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
static_assert(sizeof(PawnEntry) == 24, "200000 entries stay under 5 MB");

constexpr int PawnHashSlots = 200000;
// Slots of the static table used when the heap refuses the cache.
constexpr int FallbackPawnHashSlots = 4096;
extern PawnEntry *PawnHashTable;
extern uint32_t PawnHashSize;  // slots in use (PawnHashSlots unless allocation failed)
extern PawnEntry *CurrentPawnEntry;
extern uint8_t LowestBitInByte[256];

// Pawn square values per colour, Black's the rank mirror of White's.
extern int32_t PawnSquareTables[2][64];

void InitLowestBitInByte();
// Fills both colours' pawn square tables (part of the evaluation tables).
void InitPawnSquareTables();
// Allocates and clears the cache; falls back to a small fixed table when the
// heap refuses, so that the evaluation always has one. Returns 1 on success.
int AllocatePawnHash();
void ClearPawnHash();
void FreePawnHash();

int EvaluatePawns(int side, int ply);
int ScorePawnStructure(int ply);
int PawnEndingRule();
