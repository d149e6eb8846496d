// Placeholder until this area is built.
#include "search.h"
int32_t NodeCountdown;
template <int Us> int NodeSearch(int, int, int, int, int) { return 0; }
template int NodeSearch<White>(int, int, int, int, int);
template int NodeSearch<Black>(int, int, int, int, int);
void UpdatePrincipalVariation(Move, int) {}
