// The host's side of the engine: output lines, options, the position the GUI
// set, and bringing the library up to date between searches.
#pragma once

#include <string>
#include <vector>

#include "report.h"
#include "timeplan.h"

// Writes one line to standard output, whole, from any thread.
void Say(const std::string &line);

// Starts the library with the default hash size; false with a reason.
bool StartEngine(std::string &error);

// Frees the library's tables at exit.
void StopEngine();

// The option lines of the "uci" answer: the library's parameters (announced
// ones first), then the host's own options.
std::vector<std::string> UciOptionLines();

// Records "setoption name <name> [value <value>]", the name in any letter
// case; returns "" or why nothing was set. The library sees the change at the
// next SyncEngine.
std::string SetOption(const std::string &name, const std::string &value);

// Applies pending option changes (a new hash size re-initialises the library
// and re-applies every parameter). Only while no search runs.
void SyncEngine();

// Asks for an empty hash table at the next SyncEngine.
void RequestClearHash();

// The time plan's settings from the current options.
PlanSettings CurrentPlanSettings();

// Hands the game's position to the library. Only while no search runs.
void ApplyPosition();
