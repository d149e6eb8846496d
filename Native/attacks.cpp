// Placeholder until this area is built.
#include "attacks.h"
Bitboard KnightAttacks[64], KingAttacks[64], WhitePawnAttacks[64], BlackPawnAttacks[64];
int32_t ShiftRank[64], ShiftFile[64], ShiftDiag[64], ShiftAntiDiag[64];
Bitboard RankAttacks[64][256], FileAttacks[64][256], DiagAttacks[64][256], AntiDiagAttacks[64][256];
uint32_t DiagMobility[64][256], AntiDiagMobility[64][256];
Bitboard RayNorth[64], RaySouth[64], RayEast[64], RayWest[64], RayNorthEast[64], RayNorthWest[64], RaySouthEast[64], RaySouthWest[64];
Bitboard AdjacentFiles[64], WhitePassedMask[64], BlackPassedMask[64], AdjacentFilesBelow[64], AdjacentFilesAbove[64];
Bitboard InterposeMask[64][64];
Bitboard SquaresA2H2, SquaresA7H7, QueenSideFiles, KingSideFiles, FilesBToG, CornerA1, CornerH1, CornerA8, CornerH8;
void InitAttackTables() {}
void InitDerivedMasks() {}
template <int Us> Bitboard AttackersBy(int) { return 0; }
template Bitboard AttackersBy<White>(int);
template Bitboard AttackersBy<Black>(int);
Bitboard AttackersOf(int) { return 0; }
template <int Us> int PinnedToKing(int) { return 0; }
template int PinnedToKing<White>(int);
template int PinnedToKing<Black>(int);
Bitboard AddXrayAttacker(int, int, Bitboard set) { return set; }
int StaticExchange(int, int, int) { return 0; }
