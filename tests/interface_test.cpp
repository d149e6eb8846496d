#include <gtest/gtest.h>

#include <dlfcn.h>

#include <climits>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "interface.h"
#include "support/position.h"

// Under the thread sanitizer a refused allocation comes back as null, as it
// does from the plain allocator, instead of ending the program.
#if defined(__SANITIZE_THREAD__)
extern "C" const char *__tsan_default_options() { return "allocator_may_return_null=1"; }
#endif

namespace {

// Each test runs in a fresh process: the calls before any set-up must be
// harmless, as a host may make them.
class Library504 : public ::testing::Test {
 protected:
  void SetUp() override {
    VarnQuit();
    VarnQuit();
    std::string fen = "8/8/8/8/8/8/8/K6k w - -", game = "a1a2";
    VarnSetPosition(fen.data());
    VarnSetGame(game.data());
    VarnSetStartPosition();
    VarnClearHashtable();
    VarnSetDepth(2);
    EXPECT_EQ(VarnAnalyse(0), 0);
  }
  void TearDown() override { VarnQuit(); }
};

TEST_F(Library504, InitClampsTheHashSize) {
  const int32_t sizes[][2] = {{0, 1024},       {1023, 1024},      {2047, 1024},       {2048, 2048},
                              {INT32_MIN, 1024}, {1048576, 1048576}, {2000000, 1048576}, {INT32_MAX, 1048576}};
  for (const auto &size : sizes) {
    // A second VarnInit without VarnQuit frees the earlier tables.
    EXPECT_EQ(VarnInit(nullptr, size[0] ^ 0x5A5A, size[0]), size[1]) << size[0];
  }
  VarnQuit();
  VarnQuit();
  VarnSetDepth(2);
  EXPECT_EQ(VarnAnalyse(0), 0) << "no search without tables";
  EXPECT_EQ(VarnInit(nullptr, 0, 1024), 1024);
}

int Reports;
void CountReport(uint32_t, int32_t, int32_t) { ++Reports; }

TEST_F(Library504, HostTextsAndNullPointersAreSafe) {
  VarnCallbacks callbacks{nullptr, CountReport, nullptr, nullptr, nullptr, nullptr};
  ASSERT_EQ(VarnInit(&callbacks, 0, 1024), 1024);
  VarnSetPosition(nullptr);
  VarnSetGame(nullptr);
  VarnSetParam(nullptr, "1");
  VarnSetParam("DrawScore", nullptr);
  std::string fen = "8/8/8/8/8/8/8/K6k w - - 0 1 " + std::string(5000, 'x');
  VarnSetPosition(fen.data());
  std::string moves(3000, ',');
  moves += "a1a2 h1h2 " + std::string(100, 'q');
  VarnSetGame(moves.data());
  VarnSetStartPosition();
  std::string game = "e2e4 e7e5";
  VarnSetGame(game.data());
  VarnClearHashtable();
  VarnNextBest();
  VarnSetBlitz(INT32_MAX, INT32_MIN);
  VarnSetTime(0, -1);
  VarnSetDepth(INT32_MIN);
  VarnSetInfinite();
  VarnStopAnalyse();
  VarnPonderingOff();
  EXPECT_EQ(Reports, 0);
}

// Parameters are read back from the statically linked core: a value is
// clamped to its range, only the whole name with its case matches, and
// VarnInit restores the default.
TEST(Parameters, ClampedByNameAndRestoredByInit) {
  EnsureEngineTables();
  SetParameterDefaults();
  const int32_t drawDefault = DrawScore;
  const struct {
    const char *name, *value;
    int32_t *parameter;
    int32_t expected;
  } cases[] = {
      {"DrawScore", "-80", &DrawScore, -50},
      {"BlitzPlayingSpeed", "fast", &BlitzPlayingSpeed, 25},
      {"FutilityPruning", "1000", &FutilityPruning, 500},
      {"OffensiveScale", "99999999999999999999999", &OffensiveScale, 200},
      {"drawscore", "-20", &DrawScore, -50},
      {"DrawScoreX", "-20", &DrawScore, -50},
      {"DrawScore", "-20", &DrawScore, -20},
  };
  for (const auto &c : cases) {
    VarnSetParam(c.name, c.value);
    EXPECT_EQ(*c.parameter, c.expected) << '"' << c.name << "\" " << c.value;
  }
  ASSERT_EQ(VarnInit(nullptr, 0, 1024), 1024);
  EXPECT_EQ(DrawScore, drawDefault);
  VarnQuit();
}

// The module-definition file lists the header's exports with ordinal n for
// the n-th, and the shared library resolves every one of them by name.
TEST(Exports, DefinitionFileAndLibraryFollowTheHeaderList) {
  std::string expected = "LIBRARY Varn504.dll\nEXPORTS\n";
  int ordinal = 0;
#define VARN_DEF_LINE(name, result, parameters) \
  expected += "  Varn" #name " @" + std::to_string(++ordinal) + "\n";
  VARN_EXPORTS(VARN_DEF_LINE)
#undef VARN_DEF_LINE
  std::ifstream file(VARN_DEF_FILE);
  std::stringstream text;
  text << file.rdbuf();
  EXPECT_EQ(text.str(), expected);

  void *library = dlopen(VARN_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
#define VARN_RESOLVES(name, result, parameters) EXPECT_NE(dlsym(library, "Varn" #name), nullptr) << #name;
  VARN_EXPORTS(VARN_RESOLVES)
#undef VARN_RESOLVES
  dlclose(library);
}

}  // namespace
