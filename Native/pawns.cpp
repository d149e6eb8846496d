// Placeholder until this area is built.
#include "pawns.h"
PawnEntry *PawnHashTable;
uint32_t PawnHashSize;
PawnEntry *CurrentPawnEntry;
uint8_t LowestBitInByte[256];
void InitLowestBitInByte() {}
int AllocatePawnHash() { return 1; }
void ClearPawnHash() {}
void FreePawnHash() {}
int EvaluatePawns(int, int) { return 0; }
int ScorePawnStructure(int) { return 0; }
int PawnEndingRule() { return 0; }
