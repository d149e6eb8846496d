// Text of squares and moves in coordinate notation (e2e4, e7e8Q).
#pragma once

#include "board.h"

char FileLetter(int file);
char RankDigit(int rank);

// Letters of the piece kinds 0 (none) to 6, for promotion text.
inline constexpr char PieceLetters[] = "XPNBRQK";

// A move text buffer needs MoveTextSize bytes.
constexpr int MoveTextSize = 6;
const char *SquareText(int square, char *buffer);
char *MoveText(Move move, char *buffer);
