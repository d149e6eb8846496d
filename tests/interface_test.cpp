#include <gtest/gtest.h>

#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <string>

#include "interface.h"
#include "support/position.h"

#if defined(__SANITIZE_ADDRESS__)
#define VARN_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VARN_ADDRESS_SANITIZER 1
#endif
#endif

namespace {

// The eighteen exports of the shared library, looked up by name.
struct Exports {
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

void *Library;
Exports Varn;

template <typename Function>
void Find(Function &slot, const char *name) {
  slot = reinterpret_cast<Function>(dlsym(Library, name));
  ASSERT_NE(slot, nullptr) << name;
}

class Library504 : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    Library = dlopen(VARN_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(Library, nullptr) << dlerror();
    Find(Varn.Analyse, "VarnAnalyse");
    Find(Varn.ClearHashtable, "VarnClearHashtable");
    Find(Varn.GetAuthor, "VarnGetAuthor");
    Find(Varn.GetParamList, "VarnGetParamList");
    Find(Varn.GetVersion, "VarnGetVersion");
    Find(Varn.Init, "VarnInit");
    Find(Varn.NextBest, "VarnNextBest");
    Find(Varn.PonderingOff, "VarnPonderingOff");
    Find(Varn.Quit, "VarnQuit");
    Find(Varn.SetBlitz, "VarnSetBlitz");
    Find(Varn.SetDepth, "VarnSetDepth");
    Find(Varn.SetGame, "VarnSetGame");
    Find(Varn.SetInfinite, "VarnSetInfinite");
    Find(Varn.SetParam, "VarnSetParam");
    Find(Varn.SetPosition, "VarnSetPosition");
    Find(Varn.SetStartPosition, "VarnSetStartPosition");
    Find(Varn.SetTime, "VarnSetTime");
    Find(Varn.StopAnalyse, "VarnStopAnalyse");
    // Calls before any set-up must be harmless.
    Varn.Quit();
    Varn.Quit();
    std::string fen = "8/8/8/8/8/8/8/K6k w - -", game = "a1a2";
    Varn.SetPosition(fen.data());
    Varn.SetGame(game.data());
    Varn.SetStartPosition();
    Varn.ClearHashtable();
    Varn.SetDepth(2);
    EXPECT_EQ(Varn.Analyse(0), 0);
  }
  static void TearDownTestSuite() {
    if (Varn.Quit) Varn.Quit();
  }
};

TEST_F(Library504, ExportsOnlyTheVarnFunctions) {
  EXPECT_EQ(dlsym(Library, "SetParameter"), nullptr);
  EXPECT_EQ(dlsym(Library, "TimeCheck"), nullptr);
}

TEST_F(Library504, GettersReturnTheSameStaticTexts) {
  EXPECT_STREQ(Varn.GetVersion(), "Varn 504");
  EXPECT_STREQ(Varn.GetAuthor(), "Kaspo Trem");
  EXPECT_EQ(Varn.GetVersion(), Varn.GetVersion());
  EXPECT_EQ(Varn.GetAuthor(), Varn.GetAuthor());
  const char *const *lines = Varn.GetParamList();
  EXPECT_EQ(lines, Varn.GetParamList());
  const char *expected[] = {
      "option name RecaptureExtensions type spin default 45 min 0 max 60",
      "option name PawnPushExtensions type spin default 45 min 0 max 60",
      "option name ThreatExtensions type spin default 36 min 0 max 60",
      "option name SingleMoveExtensions type spin default 45 min 0 max 60",
      "option name DrawScore type spin default 15 min -50 max 50",
      "option name BlitzPlayingSpeed type spin default 26 min 25 max 35",
  };
  for (int i = 0; i < 6; ++i) EXPECT_STREQ(lines[i], expected[i]);
  EXPECT_EQ(lines[6], nullptr);
}

TEST_F(Library504, InitClampsTheHashSize) {
  const int32_t sizes[][2] = {{0, 1024},         {1023, 1024},        {1024, 1024},       {2047, 1024},
                              {32768, 32768},    {-5, 1024},          {INT32_MIN, 1024},  {1048576, 1048576},
                              {2000000, 1048576}, {INT32_MAX, 1048576}, {4096, 4096}};
  for (const auto &size : sizes) {
    // A second VarnInit without VarnQuit frees the earlier tables.
    EXPECT_EQ(Varn.Init(nullptr, size[0] ^ 0x5A5A, size[0]), size[1]) << size[0];
  }
  Varn.Quit();
  Varn.Quit();
  Varn.SetDepth(2);
  EXPECT_EQ(Varn.Analyse(0), 0) << "no search without tables";
  EXPECT_EQ(Varn.Init(nullptr, 0, 1024), 1024);
}

int Reports;
void CountReport(uint32_t, int32_t, int32_t) { ++Reports; }

TEST_F(Library504, HostTextsAndNullPointersAreSafe) {
  VarnCallbacks callbacks{nullptr, CountReport, nullptr, nullptr, nullptr, nullptr};
  ASSERT_EQ(Varn.Init(&callbacks, 0, 1024), 1024);
  Varn.SetPosition(nullptr);
  Varn.SetGame(nullptr);
  Varn.SetParam(nullptr, "1");
  Varn.SetParam("DrawScore", nullptr);
  std::string fen = "8/8/8/8/8/8/8/K6k w - - 0 1 " + std::string(5000, 'x');
  Varn.SetPosition(fen.data());
  std::string moves(3000, ',');
  moves += "a1a2 h1h2 " + std::string(100, 'q');
  Varn.SetGame(moves.data());
  Varn.SetStartPosition();
  std::string game = "e2e4 e7e5";
  Varn.SetGame(game.data());
  Varn.ClearHashtable();
  Varn.NextBest();
  Varn.SetBlitz(INT32_MAX, INT32_MIN);
  Varn.SetTime(0, -1);
  Varn.SetDepth(INT32_MIN);
  Varn.SetInfinite();
  Varn.StopAnalyse();
  Varn.PonderingOff();
  EXPECT_EQ(Reports, 0);
}

// VarnInit asks for 2 x 512 MB in a child whose address space is limited:
// the table shrinks instead of crashing, and the engine stays usable.
TEST_F(Library504, RefusedTableShrinksInsteadOfCrashing) {
#ifdef VARN_ADDRESS_SANITIZER
  GTEST_SKIP() << "the address sanitizer reserves more address space than the limit allows";
#else
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    rlimit limit{};
    getrlimit(RLIMIT_AS, &limit);
    long pages = 0;
    if (FILE *status = std::fopen("/proc/self/statm", "r")) {
      if (std::fscanf(status, "%ld", &pages) != 1) pages = 0;
      std::fclose(status);
    }
    const rlim_t used = rlim_t(pages) * rlim_t(sysconf(_SC_PAGESIZE));
    limit.rlim_cur = used + (100u << 20);
    if (setrlimit(RLIMIT_AS, &limit) != 0) _exit(3);
    const int32_t kilobytes = Varn.Init(nullptr, 0, 1 << 20);
    if (kilobytes <= 0 || kilobytes >= (1 << 20) || kilobytes % 1024) _exit(4);
    std::string game = "e2e4 e7e5 g1f3";
    Varn.SetGame(game.data());
    Varn.ClearHashtable();
    Varn.Quit();
    _exit(0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << "the child crashed";
  EXPECT_EQ(WEXITSTATUS(status), 0);
#endif
}

// Parameters are read back from the statically linked core.
class Parameters : public ::testing::Test {
 protected:
  void SetUp() override {
    EnsureEngineTables();
    SetParameterDefaults();
  }
};

TEST_F(Parameters, ValuesAreClampedToTheirRange) {
  VarnSetParam("DrawScore", "-80");
  EXPECT_EQ(DrawScore, -50);
  VarnSetParam("BlitzPlayingSpeed", "fast");
  EXPECT_EQ(BlitzPlayingSpeed, 25);
  VarnSetParam("FutilityPruning", "1000");
  EXPECT_EQ(FutilityPruning, 500);
  VarnSetParam("CheckExtensions", "30");
  EXPECT_EQ(CheckExtensions, 30) << "accepted although not announced";
  VarnSetParam("MaterialTrade", " \t+77abc");
  EXPECT_EQ(MaterialTrade, 77);
  VarnSetParam("OffensiveScale", "99999999999999999999999");
  EXPECT_EQ(OffensiveScale, 200);
  VarnSetParam("SafetyAsymmetry", "-99999999999999999999999");
  EXPECT_EQ(SafetyAsymmetry, -50);
}

TEST_F(Parameters, OnlyWholeNamesWithTheirCaseMatch) {
  for (const char *name : {"drawscore", "DrawScore ", " DrawScore", "Draw", "DrawScoreX", ""}) {
    VarnSetParam(name, "-20");
    EXPECT_EQ(DrawScore, 15) << '"' << name << '"';
  }
  VarnSetParam("DrawScore", "-20");
  EXPECT_EQ(DrawScore, -20);
}

TEST_F(Parameters, InitRestoresEveryDefault) {
  const char *names[] = {"CheckExtensions", "RecaptureExtensions", "PawnPushExtensions", "ThreatExtensions",
                         "SingleMoveExtensions", "DrawScore", "FutilityPruning", "MaterialTrade",
                         "OffensiveAsymmetry", "SafetyAsymmetry", "OffensiveScale", "SafetyScale",
                         "BlitzPlayingSpeed"};
  for (const char *name : names) VarnSetParam(name, "7");
  EXPECT_EQ(RecaptureExtensions, 7);
  EXPECT_EQ(BlitzPlayingSpeed, 25);
  ASSERT_EQ(VarnInit(nullptr, 0, 1024), 1024);
  const int32_t defaults[] = {CheckExtensions, RecaptureExtensions, PawnPushExtensions, ThreatExtensions,
                              SingleMoveExtensions, DrawScore, FutilityPruning, MaterialTrade,
                              OffensiveAsymmetry, SafetyAsymmetry, OffensiveScale, SafetyScale,
                              BlitzPlayingSpeed};
  const int32_t expected[] = {60, 45, 45, 36, 45, 15, 0, 120, 0, 0, 100, 100, 26};
  for (int i = 0; i < 13; ++i) EXPECT_EQ(defaults[i], expected[i]) << names[i];
  VarnQuit();
}

TEST(ParseDecimal, ReadsLikeAtoiButSaturates) {
  EXPECT_EQ(ParseDecimal("42"), 42);
  EXPECT_EQ(ParseDecimal("  -17 apples"), -17);
  EXPECT_EQ(ParseDecimal("\n+8"), 8);
  EXPECT_EQ(ParseDecimal("- 5"), 0);
  EXPECT_EQ(ParseDecimal("x5"), 0);
  EXPECT_EQ(ParseDecimal(""), 0);
  EXPECT_EQ(ParseDecimal(nullptr), 0);
  EXPECT_EQ(ParseDecimal("2147483647"), INT32_MAX);
  EXPECT_EQ(ParseDecimal("2147483648"), INT32_MAX);
  EXPECT_EQ(ParseDecimal("-2147483648"), INT32_MIN);
  EXPECT_EQ(ParseDecimal("-000000000000000000000000000000012"), -12);
  EXPECT_EQ(ParseDecimal("-99999999999999999999999999999999"), INT32_MIN);
}

TEST(Interface, ClearingTheTableKeepsThePosition) {
  EnsureEngineTables();
  std::string fen = "r3k2r/8/8/8/8/8/8/R3K2R b Kq -";
  VarnSetPosition(fen.data());
  int32_t board[64];
  std::memcpy(board, Board, sizeof board);
  VarnClearHashtable();
  EXPECT_EQ(std::memcmp(board, Board, sizeof board), 0);
  EXPECT_EQ(SideToMove, Black);
  EXPECT_EQ(MoveCounter[E1], 0);
}

TEST(Interface, TimeExportsStoreTheLimits) {
  VarnSetDepth(7);
  EXPECT_EQ(TimeMode, TimeModeDepth);
  EXPECT_EQ(DepthLimit, 7);
  VarnSetBlitz(60, 2);
  EXPECT_EQ(TimeMode, TimeModeBlitz);
  EXPECT_EQ(ClockTimeMs, 60000);
  EXPECT_EQ(IncrementMs, 2000);
  EXPECT_EQ(MovesToGo, 0);
  VarnSetTime(30, 90);
  EXPECT_EQ(TimeMode, TimeModeMovesInTime);
  EXPECT_EQ(MovesToGo, 30);
  EXPECT_EQ(ClockTimeMs, 90000);
  EXPECT_EQ(IncrementMs, 2000) << "left as it was";
  VarnSetInfinite();
  EXPECT_EQ(TimeMode, TimeModeInfinite);
  StopSearch = 0;
  VarnStopAnalyse();
  EXPECT_EQ(StopSearch, 1);
}

}  // namespace
