// Placeholder until this area is built.
#include "evasions.h"
template <int Us> void GenerateEvasions(int ply) { Ply[ply].listEnd = Ply[ply - 1].listEnd; }
template void GenerateEvasions<White>(int);
template void GenerateEvasions<Black>(int);
