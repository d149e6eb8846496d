// Placeholder until this area is built.
#include "utility.h"
int SplitTokens(const char *, TokenSlot *) { return 0; }
char FileLetter(int f) { return f >= 0 && f < 8 ? char(97 + f) : 45; }
char RankDigit(int r) { return r >= 0 && r < 8 ? char(49 + r) : 45; }
int SquareFromText(const char *) { return 0; }
const char *SquareText(int, char *b) { return b; }
char *MoveText(Move, char *b) { return b; }
char *LineText(char *b, int) { return b; }
void ReportLine(int, int, int) {}
void ReportCurrentRootMove(int) {}
