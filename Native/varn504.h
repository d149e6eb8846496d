/* The library's public surface: eighteen C functions and the host's table of
   six callbacks, usable from C and C++. Hosts that link the library call the
   functions declared below; hosts that load it at run time use the pointer
   types for the addresses they look up. */
#ifndef VARN504_H
#define VARN504_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The host's callback table, copied by VarnInit; slots 1 and 6 are never
   called. Texts are valid only during the call. */
typedef struct VarnCallbacks {
  void (*Reserved1)(void);
  void (*ReportNodes)(uint32_t nodes, int32_t zero1, int32_t zero2);
  void (*ReportDepth)(int32_t depth, int32_t zero);
  void (*ReportCurrentMove)(const char *move, int32_t index, int32_t count);
  void (*ReportPrincipalVariation)(const char *line, int32_t score);
  void (*Reserved6)(void);
} VarnCallbacks;

typedef int32_t (*VarnAnalyseFn)(int32_t ponder);
typedef void (*VarnClearHashtableFn)(void);
typedef const char *(*VarnGetAuthorFn)(void);
typedef const char *const *(*VarnGetParamListFn)(void);
typedef const char *(*VarnGetVersionFn)(void);
typedef int32_t (*VarnInitFn)(const VarnCallbacks *callbacks, int32_t unused, int32_t hashKb);
typedef void (*VarnNextBestFn)(void);
typedef void (*VarnPonderingOffFn)(void);
typedef void (*VarnQuitFn)(void);
typedef void (*VarnSetBlitzFn)(int32_t baseSeconds, int32_t incrementSeconds);
typedef void (*VarnSetDepthFn)(int32_t plies);
typedef void (*VarnSetGameFn)(char *moves);
typedef void (*VarnSetInfiniteFn)(void);
typedef void (*VarnSetParamFn)(const char *name, const char *value);
typedef void (*VarnSetPositionFn)(char *fen);
typedef void (*VarnSetStartPositionFn)(void);
typedef void (*VarnSetTimeFn)(int32_t moves, int32_t seconds);
typedef void (*VarnStopAnalyseFn)(void);

/* Only the library's own build marks the functions for export (Windows names
   them in its module-definition file instead). */
#if defined(VARN_BUILDING_LIBRARY) && !defined(_WIN32)
#define VARN_EXPORT __attribute__((visibility("default")))
#else
#define VARN_EXPORT
#endif
/* Searches the current position; 1 when the side to move has no legal move. */
VARN_EXPORT int32_t VarnAnalyse(int32_t ponder);
/* Empties the transposition table; the position stays. */
VARN_EXPORT void VarnClearHashtable(void);
VARN_EXPORT const char *VarnGetAuthor(void);
/* Six option lines, then a null pointer; the same static table every call. */
VARN_EXPORT const char *const *VarnGetParamList(void);
VARN_EXPORT const char *VarnGetVersion(void);
/* Builds everything (again: earlier tables are freed first); returns the
   table size in kilobytes in use: 1024 to 1048576, less when the heap
   refused the size asked for, 0 when the engine runs without a table. */
VARN_EXPORT int32_t VarnInit(const VarnCallbacks *callbacks, int32_t unused, int32_t hashKb);
VARN_EXPORT void VarnNextBest(void);
/* From a second thread during a ponder search: the search becomes timed. */
VARN_EXPORT void VarnPonderingOff(void);
/* Frees both tables; harmless when repeated or before VarnInit. */
VARN_EXPORT void VarnQuit(void);
/* Seconds below 0 count as 0; above 2147483 as 2147483. */
VARN_EXPORT void VarnSetBlitz(int32_t baseSeconds, int32_t incrementSeconds);
VARN_EXPORT void VarnSetDepth(int32_t plies);
/* Plays the coordinate moves of the text (null: none) on the position. */
VARN_EXPORT void VarnSetGame(char *moves);
VARN_EXPORT void VarnSetInfinite(void);
VARN_EXPORT void VarnSetParam(const char *name, const char *value);
/* Sets the position from FEN text (null: empty text). */
VARN_EXPORT void VarnSetPosition(char *fen);
VARN_EXPORT void VarnSetStartPosition(void);
/* A move count below 1 counts as 1; seconds as in VarnSetBlitz. */
VARN_EXPORT void VarnSetTime(int32_t moves, int32_t seconds);
/* From a second thread: the running search returns promptly. */
VARN_EXPORT void VarnStopAnalyse(void);

#ifdef __cplusplus
}
#endif

#endif
