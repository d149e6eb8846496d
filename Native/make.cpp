// Placeholder until this area is built.
#include "make.h"
template <int Us> void MakeMove(Move, int) {}
template void MakeMove<White>(Move, int);
template void MakeMove<Black>(Move, int);
void MakeMove(int side, Move move, int ply) { if (side) MakeMove<White>(move, ply); else MakeMove<Black>(move, ply); }
