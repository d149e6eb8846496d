// Placeholder until this area is built.
#include "undo.h"
template <int Us> void UndoMove(Move, int) {}
template void UndoMove<White>(Move, int);
template void UndoMove<Black>(Move, int);
void UndoMove(int side, Move move, int ply) { if (side) UndoMove<White>(move, ply); else UndoMove<Black>(move, ply); }
