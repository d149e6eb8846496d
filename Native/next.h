// Move ordering: the staged move selectors and the history counters.
#pragma once

#include "attacks.h"
#include "board.h"

extern uint32_t History[2][4096];  // [side][from + 64 * to]

void ClearHistory();
// Divides every history counter by 256, so old results fade.
void AgeHistory();
template <int Us>
Move NextMove(int ply);
template <int Us>
Move NextEvasion(int ply);
template <int Us>
int IsPseudoLegal(Move move, int ply);

// Capture ordering keys are scores doubled, with the low bit set on a bound
// still standing in for an exchange value: the exchange of a capture is at
// most the value standing on its target, so a capture ranks by that bound
// and its exchange is worked out only when the bound would be picked. Most
// lists cut off before their doubtful captures are reached.
constexpr int ExactKey(int score) { return 2 * score; }
inline int ExchangeBoundKey(Move move) { return 2 * ValueOfCode(Board[MoveTo(move)]) + 1; }
inline bool IsBoundKey(int key) { return key & 1; }

// The key of a capture (or evasion): the gain of a capture by a cheaper
// piece, else the bound of its exchange.
int CaptureKey(Move move);

// Index of the live list entry with the highest key above floor (earliest
// on ties), or 0; a bound that leads has its exchange worked out and the
// pick is repeated, so the answer is as if every exchange were known.
template <int Us>
int BestCapture(int begin, int end, int floor);
