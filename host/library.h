// The engine library as the host sees it: its eighteen exports, looked up by
// name at run time. Everything that differs between operating systems lives in
// library.cpp.
#pragma once

#include <string>

#include "../Native/varn504.h"

// Addresses of the eighteen exports of the loaded library.
struct VarnExports {
  VarnAnalyseFn Analyse;
  VarnClearHashtableFn ClearHashtable;
  VarnGetAuthorFn GetAuthor;
  VarnGetParamListFn GetParamList;
  VarnGetVersionFn GetVersion;
  VarnInitFn Init;
  VarnNextBestFn NextBest;
  VarnPonderingOffFn PonderingOff;
  VarnQuitFn Quit;
  VarnSetBlitzFn SetBlitz;
  VarnSetDepthFn SetDepth;
  VarnSetGameFn SetGame;
  VarnSetInfiniteFn SetInfinite;
  VarnSetParamFn SetParam;
  VarnSetPositionFn SetPosition;
  VarnSetStartPositionFn SetStartPosition;
  VarnSetTimeFn SetTime;
  VarnStopAnalyseFn StopAnalyse;
};

// The exports of the library loaded by LoadVarnLibrary.
extern VarnExports Varn;

// Loads the engine library, first from the executable's directory, then from
// the loader's search path, and fills Varn; false with a reason on failure.
bool LoadVarnLibrary(std::string &error);

// Sets standard input and output up for line-based protocol traffic.
void PrepareConsole();
