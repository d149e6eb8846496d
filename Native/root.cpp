// Placeholder until this area is built.
#include "root.h"
Move RootMove;
int32_t RootMoveIndex;
int32_t BestMoveChangeDepth;
int32_t RootScoreDropped;
int RootSearch(int) { return 0; }
int SearchDispatch(int, int, int, int, int, int) { return 0; }
