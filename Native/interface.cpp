// The exported functions and the interface state they write.
#define VARN_BUILDING_LIBRARY
#include "interface.h"

#include "hash.h"
#include "init.h"
#include "pawns.h"
#include "root.h"
#include "utility.h"

VarnCallbacks Callbacks;

int32_t TimeMode;
int32_t DepthLimit;
int32_t ClockTimeMs;
int32_t IncrementMs;
int32_t MovesToGo;
int32_t HashSizeMb;
uint32_t NodeCount;

std::atomic<int32_t> StopSearch;
std::atomic<int32_t> Pondering;
std::atomic<int32_t> PonderedMs;
std::atomic<int64_t> SearchStartTicks;

int32_t CheckExtensions;
int32_t RecaptureExtensions;
int32_t PawnPushExtensions;
int32_t ThreatExtensions;
int32_t SingleMoveExtensions;
int32_t DrawScore;
int32_t FutilityPruning;
int32_t MaterialTrade;
int32_t OffensiveAsymmetry;
int32_t SafetyAsymmetry;
int32_t OffensiveScale;
int32_t SafetyScale;
int32_t BlitzPlayingSpeed;

void SetParameterDefaults() {
  CheckExtensions = 60;
  RecaptureExtensions = 45;
  PawnPushExtensions = 45;
  ThreatExtensions = 36;
  SingleMoveExtensions = 45;
  DrawScore = 15;
  FutilityPruning = 0;
  MaterialTrade = 120;
  OffensiveAsymmetry = 0;
  SafetyAsymmetry = 0;
  OffensiveScale = 100;
  SafetyScale = 100;
  BlitzPlayingSpeed = 26;
  HashSizeMb = 32;
}

void SetParameter(const char *, const char *) {}
Move ParseMoveText(int, const char *) { return 0; }
int PlayGameMove(int, Move) { return 0; }
void PlayGameText(const char *) {}
int IsRepetition(int) { return 0; }

static TokenSlot HostTokens[MaxTokens];

extern "C" {

int32_t VarnAnalyse(int32_t ponder) {
  Pondering = ponder != 0;
  ResetSearchState();
  DerivePositionState();
  return RootSearch(SideToMove);
}

void VarnClearHashtable(void) {
  ClearHash();
  ResetSearchState();
  DerivePositionState();
}

const char *VarnGetAuthor(void) { return "Kaspo Trem"; }

const char *const *VarnGetParamList(void) {
  static const char *const lines[] = {nullptr};
  return lines;
}

const char *VarnGetVersion(void) { return "Varn 504"; }

int32_t VarnInit(const VarnCallbacks *callbacks, int32_t, int32_t hashKb) {
  Callbacks = callbacks ? *callbacks : VarnCallbacks{};
  InitEngineTables();
  AllocatePawnHash();
  HashSizeMb = hashKb >> 10;
  if (HashSizeMb <= 0) HashSizeMb = 1;
  if (HashSizeMb > 1024) HashSizeMb = 1024;
  AllocateHash();
  return HashSizeMb * 1024;
}

void VarnNextBest(void) {}

void VarnPonderingOff(void) { Pondering = 0; }

void VarnQuit(void) {
  FreePawnHash();
  FreeHash();
}

void VarnSetBlitz(int32_t, int32_t) { TimeMode = TimeModeBlitz; }

void VarnSetDepth(int32_t plies) {
  TimeMode = TimeModeDepth;
  DepthLimit = plies;
}

void VarnSetGame(char *moves) { PlayGameText(moves); }

void VarnSetInfinite(void) { TimeMode = TimeModeInfinite; }

void VarnSetParam(const char *name, const char *value) { SetParameter(name, value); }

void VarnSetPosition(char *fen) {
  int count = SplitTokens(fen ? fen : "", HostTokens);
  SetUpFromTokens(HostTokens, count);
  ResetSearchState();
  DerivePositionState();
}

void VarnSetStartPosition(void) {
  SetStartPosition();
  ResetSearchState();
  DerivePositionState();
}

void VarnSetTime(int32_t, int32_t) { TimeMode = TimeModeMovesInTime; }

void VarnStopAnalyse(void) { StopSearch = 1; }

}  // extern "C"
