// The exported functions, the search reports they hand to the root, and the
// reader of the host's game record.
#include "interface.h"

#include <climits>
#include <cstring>

#include "attacks.h"
#include "hash.h"
#include "init.h"
#include "make.h"
#include "moves.h"
#include "next.h"
#include "pawns.h"
#include "root.h"
#include "utility.h"

VarnCallbacks Callbacks;

const Parameter Parameters[ParameterCount] = {
    {"CheckExtensions", &CheckExtensions, 60, 0, 60},
    {"RecaptureExtensions", &RecaptureExtensions, 45, 0, 60},
    {"PawnPushExtensions", &PawnPushExtensions, 45, 0, 60},
    {"ThreatExtensions", &ThreatExtensions, 36, 0, 60},
    {"SingleMoveExtensions", &SingleMoveExtensions, 45, 0, 60},
    {"DrawScore", &DrawScore, 15, -50, 50},
    {"FutilityPruning", &FutilityPruning, 0, 0, 500},
    {"MaterialTrade", &MaterialTrade, 120, 0, 150},
    {"OffensiveAsymmetry", &OffensiveAsymmetry, 0, -50, 50},
    {"SafetyAsymmetry", &SafetyAsymmetry, 0, -50, 50},
    {"OffensiveScale", &OffensiveScale, 100, 0, 200},
    {"SafetyScale", &SafetyScale, 100, 0, 200},
    {"BlitzPlayingSpeed", &BlitzPlayingSpeed, 26, 25, 35},
};

const char *const OptionLines[] = {
    "option name RecaptureExtensions type spin default 45 min 0 max 60",
    "option name PawnPushExtensions type spin default 45 min 0 max 60",
    "option name ThreatExtensions type spin default 36 min 0 max 60",
    "option name SingleMoveExtensions type spin default 45 min 0 max 60",
    "option name DrawScore type spin default 15 min -50 max 50",
    "option name BlitzPlayingSpeed type spin default 26 min 25 max 35",
    nullptr,
};

int32_t ParseDecimal(const char *text) {
  if (!text) return 0;
  const char *p = text;
  while (*p == ' ' || (*p >= '\t' && *p <= '\r')) ++p;
  bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  int64_t value = 0;
  for (; *p >= '0' && *p <= '9'; ++p) {
    value = value * 10 + (*p - '0');
    if (value > INT32_MAX) value = int64_t(INT32_MAX) + 1;
  }
  if (negative) value = -value;
  return int32_t(value > INT32_MAX ? INT32_MAX : value);
}

void SetParameterDefaults() {
  for (const Parameter &parameter : Parameters) *parameter.value = parameter.defaultValue;
}

void SetParameter(const char *name, const char *value) {
  if (!name) return;
  for (const Parameter &parameter : Parameters) {
    if (std::strcmp(name, parameter.name) != 0) continue;
    int32_t number = ParseDecimal(value);
    if (number < parameter.minimum) number = parameter.minimum;
    if (number > parameter.maximum) number = parameter.maximum;
    *parameter.value = number;
    return;
  }
}

namespace {

// Host seconds as milliseconds: negatives give 0, huge values saturate.
int32_t SecondsToMs(int32_t seconds) {
  if (seconds <= 0) return 0;
  return seconds > INT32_MAX / 1000 ? INT32_MAX / 1000 * 1000 : seconds * 1000;
}

// The token's last character names the promotion piece, in either case.
bool HasPromotionLetter(const char *token, int promotion) {
  size_t length = std::strlen(token);
  if (length == 0) return false;
  char last = token[length - 1];
  if (last >= 'a' && last <= 'z') last = char(last - 'a' + 'A');
  return last == PieceLetters[promotion];
}

// The token starts with the names of the move's two squares.
bool NamesSquares(const char *token, Move move) {
  const int from = MoveFrom(move), to = MoveTo(move);
  return token[0] == FileLetter(File(from)) && token[1] == RankDigit(Rank(from)) &&
         token[2] == FileLetter(File(to)) && token[3] == RankDigit(Rank(to));
}

TokenSlot HostTokens[MaxTokens];

// The square and attack tables a position needs have been built.
bool TablesBuilt() { return SetMask[A1] != 0; }

// From VarnQuit to the next VarnInit the hash tables are gone.
bool EngineClosed;

// Depth, nodes, then the line: a best line or a window failure, from five
// plies on.
void ReportLine(int score, int depth, int kind) {
  if (depth < 300) return;
  char text[LineTextSize];
  LineText(text, kind);
  if (Callbacks.ReportDepth) Callbacks.ReportDepth(depth / 60, 0);
  if (Callbacks.ReportNodes) Callbacks.ReportNodes(NodeCount, 0, 0);
  if (Callbacks.ReportPrincipalVariation) Callbacks.ReportPrincipalVariation(text, score);
}

// Depth, nodes, then the root move with its number and the number of root
// moves, once the search has run for a second.
void ReportCurrentRootMove(int depth, Move move, int index, int count) {
  if (ElapsedMs() <= 1000) return;
  char text[MoveTextSize];
  MoveText(move, text);
  if (Callbacks.ReportDepth) Callbacks.ReportDepth(depth / 60, 0);
  if (Callbacks.ReportNodes) Callbacks.ReportNodes(NodeCount, 0, 0);
  if (Callbacks.ReportCurrentMove) Callbacks.ReportCurrentMove(text, index, count);
}

constexpr RootReports HostReports = {ReportLine, ReportCurrentRootMove};

// The per-ply records cleared and everything that follows from the board
// derived again; the history counters age with every such refresh.
void RefreshPosition() {
  ResetSearchState();
  DerivePositionState();
  AgeHistory();
}

// A new position: the set-up derived the board once while reading it, and
// that derivation ages the history counters too.
void RefreshNewPosition() {
  StopSearch = 0;
  AgeHistory();
  RefreshPosition();
}

}  // namespace

char *LineText(char *buffer, int kind) {
  const Move *line = Ply[1].pvRow;
  buffer[0] = '\0';
  if (kind == ReportKindFailHigh || kind == ReportKindFailLow) {
    MoveText(line[1], buffer);
    const size_t length = std::strlen(buffer);
    buffer[length] = kind == ReportKindFailHigh ? '!' : '?';
    buffer[length + 1] = '\0';
    return buffer;
  }
  size_t length = 0;
  for (int i = 1; i < MaxPly && line[i]; ++i) {
    if (length + MoveTextSize + 1 > size_t(LineTextSize)) break;
    MoveText(line[i], buffer + length);
    length += std::strlen(buffer + length);
    buffer[length++] = ' ';
    buffer[length] = '\0';
  }
  return buffer;
}

// The first legal move whose squares (and promotion letter) the token names.
Move ParseMoveText(int side, const char *token) {
  DerivePositionState();
  AgeHistory();
  if (!token) return 0;
  const int count = LegalRootMoves(side);
  for (int i = 1; i <= count; ++i) {
    const Move move = MoveStack[i];
    const int promotion = MovePromotion(move);
    if (promotion && !HasPromotionLetter(token, promotion)) continue;
    if (NamesSquares(token, move)) return move;
  }
  return 0;
}

// Plays a game move for good and records how far back repetitions count.
int PlayGameMove(int side, Move move) {
  if (GameMoveCount >= MaxGameMoves) return 0;
  MakeMove(side, move, 1);
  GameMoveCount++;
  if (MovePiece(move) == Pawn || MoveCaptured(move)) LastIrreversibleMove = GameMoveCount;
  // The new position becomes the root.
  Ply[0].epSquare = Ply[1].epSquare;
  Ply[1].pawnKey = Ply[2].pawnKey;
  Ply[1].pieceKey = Ply[2].pieceKey;
  return 1;
}

// Plays every token that names a legal move, turning the side after each.
void PlayGameText(const char *text) {
  const int count = SplitTokens(text, HostTokens);
  for (int i = 0; i < count; ++i) {
    const Move move = ParseMoveText(SideToMove, HostTokens[i]);
    if (move && PlayGameMove(SideToMove, move)) SideToMove = 1 - SideToMove;
  }
}

namespace {

// Sets the position from FEN tokens as the host's set-up does: a board the
// search cannot handle (not one king per side, or the side not to move in
// check) gives the start position instead.
void SetUpSearchablePosition(TokenSlot *slots, int count) {
  SetUpFromTokens(slots, count);
  if (InCheck(SideToMove ? Black : White)) SetStartPosition();
}

}  // namespace

void SetUpPositionText(const char *fen) {
  SetUpSearchablePosition(HostTokens, SplitTokens(fen, HostTokens));
  ResetSearchState();
  DerivePositionState();
}

extern "C" {

// Before VarnInit or after VarnQuit nothing is searched and 0 is returned.
int32_t VarnAnalyse(int32_t ponder) {
  if (!TablesBuilt() || EngineClosed) return 0;
  Pondering = ponder != 0;
  RefreshPosition();
  return RootSearch(SideToMove, HostReports);
}

void VarnClearHashtable(void) {
  if (!TablesBuilt()) return;
  ClearHash();
  RefreshPosition();
}

const char *VarnGetAuthor(void) { return "Kaspo Trem"; }

const char *const *VarnGetParamList(void) { return OptionLines; }

const char *VarnGetVersion(void) { return "Varn 504"; }

// A second call frees the earlier tables first. Returns the table size in
// kilobytes actually in use: smaller when the heap refused, 0 for none.
int32_t VarnInit(const VarnCallbacks *callbacks, int32_t, int32_t hashKb) {
  Callbacks = callbacks ? *callbacks : VarnCallbacks{};
  SetParameterDefaults();
  InitEngineTables();
  FreePawnHash();
  AllocatePawnHash();
  HashSizeMb = hashKb >> 10;
  if (HashSizeMb <= 0) HashSizeMb = 1;
  if (HashSizeMb > 1024) HashSizeMb = 1024;
  AllocateHash();
  EngineClosed = false;
  return HashSizeMb * 1024;
}

void VarnNextBest(void) {}

void VarnPonderingOff(void) { StopPondering(); }

void VarnQuit(void) {
  EngineClosed = true;
  FreePawnHash();
  FreeHash();
}

void VarnSetBlitz(int32_t baseSeconds, int32_t incrementSeconds) {
  TimeMode = TimeModeBlitz;
  MovesToGo = 0;
  ClockTimeMs = SecondsToMs(baseSeconds);
  IncrementMs = SecondsToMs(incrementSeconds);
}

void VarnSetDepth(int32_t plies) {
  TimeMode = TimeModeDepth;
  DepthLimit = plies;
}

void VarnSetGame(char *moves) {
  if (TablesBuilt()) PlayGameText(moves);
}

void VarnSetInfinite(void) { TimeMode = TimeModeInfinite; }

void VarnSetParam(const char *name, const char *value) { SetParameter(name, value); }

// Positions wait for the tables of the first VarnInit.
void VarnSetPosition(char *fen) {
  if (!TablesBuilt()) return;
  const int count = SplitTokens(fen, HostTokens);
  SetUpSearchablePosition(HostTokens, count);
  RefreshNewPosition();
}

void VarnSetStartPosition(void) {
  if (!TablesBuilt()) return;
  SetStartPosition();
  RefreshNewPosition();
}

// A move count below 1 is taken as 1: the budget divides by it.
void VarnSetTime(int32_t moves, int32_t seconds) {
  TimeMode = TimeModeMovesInTime;
  MovesToGo = moves < 1 ? 1 : moves;
  ClockTimeMs = SecondsToMs(seconds);
}

void VarnStopAnalyse(void) { StopSearch = 1; }

}  // extern "C"
