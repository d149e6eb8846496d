// Text helpers: the tokenizer, square and move text, and the search reports.
#pragma once

#include "board.h"

// Splits text at ",;=+/ " into at most MaxTokens slots of at most 31
// characters (longer tokens are cut); returns the number of tokens. The
// text itself is not changed.
int SplitTokens(const char *text, TokenSlot *slots);

char FileLetter(int file);
char RankDigit(int rank);
int SquareFromText(const char *text);

// Square and move text in coordinate notation (e2e4, e7e8Q).
const char *SquareText(int square, char *buffer);
char *MoveText(Move move, char *buffer);

// Report kinds of ReportLine.
enum : int { ReportKindFailLow = 1, ReportKindFailHigh = 2, ReportKindExact = 4 };
// Room for a whole principal-variation row of five-letter moves and blanks.
constexpr int LineTextSize = MaxPly * 6 + 8;
char *LineText(char *buffer, int kind);

void ReportLine(int score, int depth, int kind);
void ReportCurrentRootMove(int depth);
