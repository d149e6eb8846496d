// The search thread, its watchdog and the translation of the library's
// reports into "info" and "bestmove" lines.
#pragma once

#include <cstdint>
#include <string>

#include "../Native/varn504.h"
#include "timeplan.h"

// The callback table handed to VarnInit.
extern const VarnCallbacks HostCallbacks;

// Ends the watchdog thread; no search may run.
void StopWatchdog();

// Runs the plan on a new search thread (starting the watchdog on first use);
// the position must be set and no search may run. The thread ends with
// a final info line and exactly one "bestmove" line, hostMove when the library
// reported none; noMoveScore is the score shown when there is no legal move.
// Returns "" or why no thread could be started (then nothing was written).
std::string StartSearch(const SearchPlan &plan, const std::string &hostMove, const std::string &noMoveScore);

// "stop": ends the search (once it has a move to give) and releases a held
// bestmove.
void RequestStop();

// "ponderhit": the ponder search becomes a timed search.
void PonderHit();

// True while a search is running or holding its bestmove.
bool SearchActive();

// True while the running search will not end before a stop or ponderhit.
bool SearchHolds();

// Waits for the search thread to end, stopping it first if asked to.
void JoinSearch(bool stopFirst);

// Bench support: reports are counted but not printed while quiet.
void SetReportsQuiet(bool quiet);

// Answers a "go" without a search: a final info line (with the score text
// when one is known) and "bestmove move", "0000" when move is "".
void AnswerAtOnce(const std::string &move, const std::string &score);

// Node count sent with the last line report.
uint32_t LastLineNodes();

// The exact line of the last search that reported one, moves separated by blanks.
std::string PreviousSearchLine();
