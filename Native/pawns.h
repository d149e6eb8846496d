// Pawn structure evaluation and its cache.
#pragma once

#include <cstdint>

#include "board.h"

// What the cache keeps of one colour's pawns.
struct PawnFacts {
  uint8_t passedFiles;       // bit f: a passed pawn on file f
  uint8_t shelterKingSide;   // shelter weakness on files f, g, h
  uint8_t shelterQueenSide;  // and on files a, b, c
  uint8_t lightPawns;        // pawns on light squares
  uint8_t darkPawns;         // and on dark squares
};

struct PawnEntry {
  uint64_t key;
  int16_t pawnScore;  // White's view
  uint8_t openFiles;  // bit f: no pawn on file f
  PawnFacts facts[2];  // [side]
  // Each colour's facts under their own names.
  uint8_t whitePassedFiles() const { return facts[White].passedFiles; }
  uint8_t whiteShelterKingSide() const { return facts[White].shelterKingSide; }
  uint8_t whiteShelterQueenSide() const { return facts[White].shelterQueenSide; }
  uint8_t whiteLightPawns() const { return facts[White].lightPawns; }
  uint8_t whiteDarkPawns() const { return facts[White].darkPawns; }
  uint8_t blackPassedFiles() const { return facts[Black].passedFiles; }
  uint8_t blackShelterKingSide() const { return facts[Black].shelterKingSide; }
  uint8_t blackShelterQueenSide() const { return facts[Black].shelterQueenSide; }
  uint8_t blackLightPawns() const { return facts[Black].lightPawns; }
  uint8_t blackDarkPawns() const { return facts[Black].darkPawns; }
};
static_assert(sizeof(PawnEntry) == 24, "200000 entries stay under 5 MB");

constexpr int PawnHashSlots = 200000;
// Slots of the static table used when the heap refuses the cache.
constexpr int FallbackPawnHashSlots = 4096;
extern PawnEntry *PawnHashTable;
extern uint32_t PawnHashSize;  // slots in use (PawnHashSlots unless allocation failed)
extern Modulus PawnHashModulus;  // key % PawnHashSize
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

// The cache slot of a pawn key.
inline PawnEntry *PawnSlotOf(uint64_t pawnKey) { return &PawnHashTable[Remainder(pawnKey, PawnHashModulus)]; }

int EvaluatePawns(int side, int ply);
int ScorePawnStructure(int ply);
int PawnEndingRule();
