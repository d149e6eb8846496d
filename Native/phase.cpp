// Placeholder until this area is built.
#include "phase.h"
int32_t DrawValue[2];
int32_t SafetyTable[2][64];
int32_t OffensiveTable[2][128];
void PrepareSearchTables(int) {}
int MaterialBalance() { return WhiteSide.material - BlackSide.material; }
int PawnlessEnding() { return 0; }
int WinChances(int) { return 3; }
