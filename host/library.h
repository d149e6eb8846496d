// The engine library as the host sees it: its eighteen exports, looked up by
// name at run time. Everything that differs between operating systems lives in
// library.cpp.
#pragma once

#include <string>

#include "../Native/varn504.h"

// Addresses of the eighteen exports of the loaded library: Varn.Analyse for
// VarnAnalyse and so on.
struct VarnExports {
#define VARN_SLOT(name, result, parameters) Varn##name##Fn name;
  VARN_EXPORTS(VARN_SLOT)
#undef VARN_SLOT
};

// The exports of the library loaded by LoadVarnLibrary.
extern VarnExports Varn;

// Loads the engine library, first from the executable's directory, then from
// the loader's search path, and fills Varn; false with a reason on failure.
bool LoadVarnLibrary(std::string &error);

// Sets standard input and output up for line-based protocol traffic.
void PrepareConsole();
