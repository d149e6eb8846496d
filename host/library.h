// Loading the engine library at run time. Everything that differs between
// operating systems lives in library.cpp.
#pragma once

#include <string>

#include "../session/exports.h"

// Loads the engine library, first from the executable's directory, then from
// the loader's search path (or from path alone when given), and fills Varn;
// false with a reason on failure.
bool LoadVarnLibrary(std::string &error, const char *path = nullptr);

// Sets standard input and output up for line-based protocol traffic.
void PrepareConsole();
