// A search session over the library's exports: one "go" after another, each
// with the host's time plan and its own guard, on a search thread beside the
// caller, the library's reports turned into UCI "info" lines and exactly one
// "bestmove" at the end. Every front end (the UCI host, the WebAssembly
// module) drives the engine through these calls.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "../Native/varn504.h"
#include "timeplan.h"

// The callback table the session hands to VarnInit.
extern const VarnCallbacks SessionCallbacks;

// Starts the library and the level's random choices; false with a reason.
bool StartSession(std::string &error);

// Ends any search and the session's threads, and frees the library's tables.
void EndSession();

// "position": sets the game and tells the GUI what was refused or repaired.
void SetPosition(const std::vector<std::string> &words, size_t first);

// "go": ends a running search, brings the library up to date and starts the
// new search. With wait, returns only after its bestmove (unless it waits
// for stop or ponderhit). Searches the current game; a refused position, a
// spent clock, a position without moves and perft are answered at once.
void Go(const GoRequest &request, bool wait);

// "stop": ends the search (once it has a move to give) and releases a held
// bestmove.
void Stop();

// "ponderhit": the ponder search becomes a timed search.
void PonderHit();

// "ucinewgame": a new game inherits no table and starts the level's random
// choices anew.
void NewGame();

// "isready": applies pending option changes unless a search runs.
void Ready();

// True while a search is running or holding its bestmove.
bool SearchActive();

// Waits for the search thread to end, stopping it first if asked to.
void JoinSearch(bool stopFirst);

#ifdef VARN_SINGLE_THREAD
// Without threads a search runs on the caller's thread and hears the host only
// when it reads the clock: OnClockRead (the platform's hook) gives the front
// end a turn, HostTurn, to take the host's commands (with wait, until one
// comes), then stops the search when the host's deadlines or a stop say so.
void HostTurn(bool wait);
#endif

// The benchmark through the exports: every position of the set searched to
// depth (the set's own depth when below 1); prints the node total and speed.
void RunBench(int depth);

