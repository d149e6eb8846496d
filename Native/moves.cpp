// Placeholder until this area is built.
#include "moves.h"
template <int Us> void GenerateMoves(int ply) { Ply[ply].listEnd = Ply[ply - 1].listEnd; }
template void GenerateMoves<White>(int);
template void GenerateMoves<Black>(int);
void GenerateMoves(int side, int ply) { if (side) GenerateMoves<White>(ply); else GenerateMoves<Black>(ply); }
template <int Us> void GenerateNonCaptures(int ply, int start) { Ply[ply].listEnd = start; }
template void GenerateNonCaptures<White>(int, int);
template void GenerateNonCaptures<Black>(int, int);
int LegalRootMoves(int) { Ply[1].listEnd = 1; return 0; }
