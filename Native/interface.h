// The engine interface behind the exports: the host's callbacks, the search
// reports, and the reader of the host's game record. The state the exports
// write (limits, stop and ponder words, parameters) lives with its readers.
#pragma once

#include "board.h"
#include "phase.h"
#include "root.h"
#include "search.h"
#include "timer.h"
#include "varn504.h"

// The thirteen engine parameters a host sets by name (each variable lives
// with the code that reads it): names, defaults, ranges and option lines.
struct Parameter {
  const char *name;
  int32_t *value;
  int32_t defaultValue;
  int32_t minimum;
  int32_t maximum;
};

// In the order names are matched.
constexpr int ParameterCount = 13;
extern const Parameter Parameters[ParameterCount];

// The option lines announced to the host, then a null pointer.
extern const char *const OptionLines[];

// Decimal text as the C library's atoi reads it (blanks, sign, digits), but
// saturating at the int32 range instead of overflowing; null gives 0.
int32_t ParseDecimal(const char *text);
// Sets the thirteen defaults.
void SetParameterDefaults();
// Sets one parameter by exact name from decimal text, clamped to its range.
void SetParameter(const char *name, const char *value);

// The engine's copy of the host's callbacks (a null slot is never called).
extern VarnCallbacks Callbacks;

// Room for a whole principal-variation row of five-letter moves and blanks.
constexpr int LineTextSize = MaxPly * 6 + 8;
// The text of record 1's principal variation (from index 1 up to the first
// empty word) in a buffer of LineTextSize bytes: "e2e4!" for a fail high, "e2e4?" for a fail low, else every move
// followed by a blank.
char *LineText(char *buffer, int kind);

// Sets the position from FEN text as the host's set-up does (a board the
// search cannot handle gives the start position) and derives the search state
// from it: the one set-up of the tools and the tests (the tables must be built).
void SetUpPositionText(const char *fen);

// Game record reader: the legal move a token names (0 for none), playing a
// game move (0 when the record is full), and a whole text of moves.
Move ParseMoveText(int side, const char *token);
int PlayGameMove(int side, Move move);
void PlayGameText(const char *text);
