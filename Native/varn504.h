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

/* The score scale of line reports, in centipawns from the side to move's
   view: a side mated at ply p scores p - VARN_SCORE_INFINITE, and scores
   beyond VARN_MATE_THRESHOLD either way are mates. */
#define VARN_SCORE_INFINITE 30000
#define VARN_MATE_THRESHOLD 29000

/* The most game moves VarnSetGame keeps; later ones are ignored, so a host
   hands a longer game over as a later position and its last moves. */
#define VARN_MAX_GAME_MOVES 999

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

/* The eighteen exports in ordinal order (alphabetical), each exported as Varn
   followed by the name given here, with its result type and parameters. The
   declarations and pointer types below, hosts that load the library, the
   tests and the module-definition file's check all take the list from here. */
#define VARN_EXPORTS(X)                                                           \
  /* Searches the current position; 1 when the side to move has no legal move. */ \
  X(Analyse, int32_t, (int32_t ponder))                                           \
  /* Empties the transposition table; the position stays. */                      \
  X(ClearHashtable, void, (void))                                                 \
  X(GetAuthor, const char *, (void))                                              \
  /* Six option lines, then a null pointer; the same static table every call. */  \
  X(GetParamList, const char *const *, (void))                                    \
  X(GetVersion, const char *, (void))                                             \
  /* Builds everything (again: earlier tables are freed first); returns the      \
     table size in kilobytes in use: 1024 to 1048576, less when the heap          \
     refused the size asked for, 0 when the engine runs without a table. */       \
  X(Init, int32_t, (const VarnCallbacks *callbacks, int32_t unused, int32_t hashKb)) \
  X(NextBest, void, (void))                                                       \
  /* From a second thread during a ponder search: the search becomes timed. */    \
  X(PonderingOff, void, (void))                                                   \
  /* Frees both tables; harmless when repeated or before VarnInit. */             \
  X(Quit, void, (void))                                                           \
  /* Seconds below 0 count as 0; above 2147483 as 2147483. */                     \
  X(SetBlitz, void, (int32_t baseSeconds, int32_t incrementSeconds))              \
  X(SetDepth, void, (int32_t plies))                                              \
  /* Plays the coordinate moves of the text (null: none) on the position. */      \
  X(SetGame, void, (char *moves))                                                 \
  X(SetInfinite, void, (void))                                                    \
  X(SetParam, void, (const char *name, const char *value))                        \
  /* Sets the position from FEN text (null: empty text). */                       \
  X(SetPosition, void, (char *fen))                                               \
  X(SetStartPosition, void, (void))                                               \
  /* A move count below 1 counts as 1; seconds as in VarnSetBlitz. */             \
  X(SetTime, void, (int32_t moves, int32_t seconds))                              \
  /* From a second thread: the running search returns promptly. */                \
  X(StopAnalyse, void, (void))

/* Only the library's own build marks the functions for export (Windows names
   them in its module-definition file instead). */
#if defined(VARN_BUILDING_LIBRARY) && !defined(_WIN32)
#define VARN_EXPORT __attribute__((visibility("default")))
#else
#define VARN_EXPORT
#endif

/* VarnAnalyseFn and so on: the type of each export's address. */
#define VARN_POINTER_TYPE(name, result, parameters) typedef result(*Varn##name##Fn) parameters;
VARN_EXPORTS(VARN_POINTER_TYPE)
#undef VARN_POINTER_TYPE

/* VarnAnalyse and so on, for hosts that link the library. */
#define VARN_DECLARATION(name, result, parameters) VARN_EXPORT result Varn##name parameters;
VARN_EXPORTS(VARN_DECLARATION)
#undef VARN_DECLARATION

#ifdef __cplusplus
}
#endif

#endif
