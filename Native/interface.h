// The engine interface behind the exports: the host's callbacks, the search
// reports, and the reader of the host's game record. The state the exports
// write (limits, stop and ponder words, parameters) lives with its readers.
#pragma once

#include "board.h"
#include "parameters.h"
#include "search.h"
#include "timer.h"
#include "varn504.h"

// The engine's copy of the host's callbacks (a null slot is never called).
extern VarnCallbacks Callbacks;

// Room for a whole principal-variation row of five-letter moves and blanks.
constexpr int LineTextSize = MaxPly * 6 + 8;
// The text of record 1's principal variation in a buffer of LineTextSize
// bytes: "e2e4!" for a fail high, "e2e4?" for a fail low, else every move
// followed by a blank.
char *LineText(char *buffer, int kind);

// Game record reader: the legal move a token names (0 for none), playing a
// game move (0 when the record is full), and a whole text of moves.
Move ParseMoveText(int side, const char *token);
int PlayGameMove(int side, Move move);
void PlayGameText(const char *text);
