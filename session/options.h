// The engine's options, as UCI announces them: the library's parameters (the
// lines it announces, then those it accepts without announcing them) and the
// host's own options from one table, each with its type, range and what
// happens when it changes. Also bringing the library up to date with them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "timeplan.h"

// Host option names that the session reads.
inline constexpr const char *HashOption = "Hash";
inline constexpr const char *OverheadOption = "Move Overhead";
inline constexpr const char *MultiPVOption = "MultiPV";
inline constexpr const char *LimitStrengthOption = "UCI_LimitStrength";
inline constexpr const char *EloOption = "UCI_Elo";
inline constexpr const char *SeedOption = "Level Seed";

// Starts the library with the default hash size and reads its options; false
// with a reason. The exports must be in place.
bool StartEngine(std::string &error);

// Frees the library's tables.
void StopEngine();

// The "option ..." lines of the uci answer, in order.
std::vector<std::string> UciOptionLines();

// Records "setoption name <name> [value <value>]", the name in any letter
// case. Returns "" or what the GUI should be told: why nothing was set, or
// that a number was clamped to the option's range. The library sees a change
// at the next SyncEngine.
std::string SetOption(const std::string &name, const std::string &value);

// The current value of a spin or check option (checks: 1 or 0).
int64_t OptionValue(const char *name);

// Applies pending changes to the library: a new hash size restarts it and
// hands it every parameter the GUI chose again. Only while no search runs.
void SyncEngine();

// Asks for an empty hash table at the next SyncEngine.
void RequestClearHash();

// The time plan's settings from the current options.
PlanSettings CurrentPlanSettings();
