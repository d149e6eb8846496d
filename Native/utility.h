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

// Letters of the piece kinds 0 (none) to 6, for promotion text.
inline constexpr char PieceLetters[] = "XPNBRQK";

// Square and move text in coordinate notation (e2e4, e7e8Q); a move text
// buffer needs MoveTextSize bytes.
constexpr int MoveTextSize = 6;
const char *SquareText(int square, char *buffer);
char *MoveText(Move move, char *buffer);

// Report kinds of ReportLine.
enum : int { ReportKindFailLow = 1, ReportKindFailHigh = 2, ReportKindExact = 4 };
// Room for a whole principal-variation row of five-letter moves and blanks.
constexpr int LineTextSize = MaxPly * 6 + 8;
// The text of record 1's principal variation in a buffer of LineTextSize
// bytes: "e2e4!" for a fail high, "e2e4?" for a fail low, else every move
// followed by a blank.
char *LineText(char *buffer, int kind);

// Depth, nodes and line to the host, from five plies on (depth in units).
void ReportLine(int score, int depth, int kind);
// Depth, nodes and the root move being searched, after the first second.
void ReportCurrentRootMove(int depth);
