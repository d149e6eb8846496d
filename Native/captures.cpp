// Placeholder until this area is built.
#include "captures.h"
template <int Us> void GenerateCaptures(int ply) { Ply[ply].listEnd = Ply[ply - 1].listEnd; }
template void GenerateCaptures<White>(int);
template void GenerateCaptures<Black>(int);
