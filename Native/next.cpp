// Placeholder until this area is built.
#include "next.h"
uint32_t History[2][4096];
void ClearHistory() {}
template <int Us> Move NextMove(int) { return 0; }
template <int Us> Move NextEvasion(int) { return 0; }
template <int Us> int IsPseudoLegal(Move, int) { return 0; }
template Move NextMove<White>(int);
template Move NextMove<Black>(int);
template Move NextEvasion<White>(int);
template Move NextEvasion<Black>(int);
template int IsPseudoLegal<White>(Move, int);
template int IsPseudoLegal<Black>(Move, int);
