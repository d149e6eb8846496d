// Engine-side state of the interface: the host's callbacks, the search
// limits, the parameters and the game record reader.
#pragma once

#include <atomic>
#include <cstdint>

#include "board.h"
// The engine's own files and tests call the exports directly.
#ifndef VARN_BUILDING_LIBRARY
#define VARN_BUILDING_LIBRARY
#endif
#include "varn504.h"

// The engine's copy of the host's callbacks (a null slot is never called).
extern VarnCallbacks Callbacks;

// Search limits set by the host (and by the root for a single legal move).
enum : int { TimeModeInfinite = 0, TimeModeDepth = 3, TimeModeBlitz = 5, TimeModeMovesInTime = 6 };
extern int32_t TimeMode;
extern int32_t DepthLimit;
extern int32_t ClockTimeMs;
extern int32_t IncrementMs;
extern int32_t MovesToGo;
extern int32_t HashSizeMb;
extern uint32_t NodeCount;

// Words shared with a second host thread while a search runs.
extern std::atomic<int32_t> StopSearch;
extern std::atomic<int32_t> Pondering;
extern std::atomic<int32_t> PonderedMs;
extern std::atomic<int64_t> SearchStartTicks;

// The thirteen engine parameters.
extern int32_t CheckExtensions;
extern int32_t RecaptureExtensions;
extern int32_t PawnPushExtensions;
extern int32_t ThreatExtensions;
extern int32_t SingleMoveExtensions;
extern int32_t DrawScore;
extern int32_t FutilityPruning;
extern int32_t MaterialTrade;
extern int32_t OffensiveAsymmetry;
extern int32_t SafetyAsymmetry;
extern int32_t OffensiveScale;
extern int32_t SafetyScale;
extern int32_t BlitzPlayingSpeed;

// Decimal text as the C library's atoi reads it (blanks, sign, digits), but
// saturating at the int32 range instead of overflowing; null gives 0.
int32_t ParseDecimal(const char *text);
// Sets the thirteen defaults (and HashSizeMb 32).
void SetParameterDefaults();
// Sets one parameter by exact name from decimal text, clamped to its range.
void SetParameter(const char *name, const char *value);

// Game record reader: the legal move a token names (0 for none), playing a
// game move (0 when the record is full), and a whole text of moves.
Move ParseMoveText(int side, const char *token);
int PlayGameMove(int side, Move move);
void PlayGameText(const char *text);

// 1 when the position of ply repeats an earlier one with the same side to
// move within the reversible part of the game.
int IsRepetition(int ply);
