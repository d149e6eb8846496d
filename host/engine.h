// The host's side of the engine: output lines, options, the position the GUI
// set, and bringing the library up to date between searches.
#pragma once

#include <string>
#include <vector>

#include "report.h"

// Writes one line to standard output, whole, from any thread.
void Say(const std::string &line);

// Starts the library with the default hash size; false with a reason.
bool StartEngine(std::string &error);

// Frees the library's tables at exit.
void StopEngine();

// The option lines of the "uci" answer, library lines first.
std::vector<std::string> OptionLines();

// Records "setoption name <name> [value <value>]"; unknown names are ignored.
// The library sees the change at the next SyncEngine.
void SetOption(const std::string &name, const std::string &value);

// Applies pending option changes (a new hash size re-initialises the library
// and re-applies every parameter). Only while no search runs.
void SyncEngine();

// Asks for an empty hash table at the next SyncEngine.
void RequestClearHash();

// Current value of the blitz speed parameter as the host last set it.
int BlitzSpeed();

// Hands the game's position to the library. Only while no search runs.
void ApplyPosition();
