// Loads Varn504.dll the way a Windows host does and checks its outer surface:
// the eighteen exports by name and by ordinal, the caller-cleans calling
// convention, the getters, VarnInit and a short search. Prints one line per
// check and exits non-zero on the first failure.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "varn504.h"

namespace {

// The exports in ordinal order (alphabetical).
constexpr const char *ExportNames[18] = {
    "VarnAnalyse",     "VarnClearHashtable", "VarnGetAuthor",   "VarnGetParamList", "VarnGetVersion",
    "VarnInit",        "VarnNextBest",       "VarnPonderingOff", "VarnQuit",        "VarnSetBlitz",
    "VarnSetDepth",    "VarnSetGame",        "VarnSetInfinite", "VarnSetParam",     "VarnSetPosition",
    "VarnSetStartPosition", "VarnSetTime",   "VarnStopAnalyse"};

int Failures = 0;

// Prints a check's outcome and counts failures.
void Check(bool ok, const char *what) {
  std::printf("%s %s\n", ok ? "ok  " : "FAIL", what);
  if (!ok) ++Failures;
}

// What the search reports, kept for the summary line.
char LastLine[4096];
int LastScore;
unsigned LastNodes;
int LastDepth;

void OnNodes(uint32_t nodes, int32_t, int32_t) { LastNodes = nodes; }
void OnDepth(int32_t depth, int32_t) { LastDepth = depth; }
void OnCurrentMove(const char *, int32_t, int32_t) {}
void OnLine(const char *line, int32_t score) {
  std::snprintf(LastLine, sizeof LastLine, "%s", line ? line : "");
  LastScore = score;
}

#if defined(__i386__)
// Calls a one-argument export through a plain call and returns how many bytes
// of arguments the caller is left to remove (4 for cdecl, 0 for stdcall).
int CallerCleanedBytes(void (*function)(int32_t), int32_t argument) {
  int left;
  asm volatile(
      "movl %%esp, %%esi\n\t"
      "pushl %[argument]\n\t"
      "call *%[function]\n\t"
      "movl %%esi, %[left]\n\t"
      "subl %%esp, %[left]\n\t"
      "movl %%esi, %%esp\n\t"
      : [left] "=&d"(left)
      : [argument] "b"(argument), [function] "D"(function)
      : "eax", "ecx", "esi", "memory", "cc");
  return left;
}
#endif

}  // namespace

int main(int argc, char **argv) {
  const char *path = argc > 1 ? argv[1] : "Varn504.dll";
  const int depth = argc > 2 ? std::atoi(argv[2]) : 6;
  HMODULE module = LoadLibraryA(path);
  Check(module != nullptr, "LoadLibrary");
  if (!module) return 1;

  FARPROC byName[18];
  for (int i = 0; i < 18; ++i) {
    byName[i] = GetProcAddress(module, ExportNames[i]);
    FARPROC byOrdinal = GetProcAddress(module, MAKEINTRESOURCEA(i + 1));
    char what[96];
    std::snprintf(what, sizeof what, "%s by name and as ordinal %d", ExportNames[i], i + 1);
    Check(byName[i] != nullptr && byName[i] == byOrdinal, what);
  }
  Check(GetProcAddress(module, MAKEINTRESOURCEA(19)) == nullptr, "no ordinal 19");
  Check(GetProcAddress(module, "_VarnInit") == nullptr && GetProcAddress(module, "VarnInit@12") == nullptr,
        "no decorated names");
  if (Failures) return 1;

  auto get = [&](int ordinal) { return reinterpret_cast<void *>(byName[ordinal - 1]); };
  auto analyse = reinterpret_cast<VarnAnalyseFn>(get(1));
  auto author = reinterpret_cast<VarnGetAuthorFn>(get(3));
  auto params = reinterpret_cast<VarnGetParamListFn>(get(4));
  auto version = reinterpret_cast<VarnGetVersionFn>(get(5));
  auto init = reinterpret_cast<VarnInitFn>(get(6));
  auto quit = reinterpret_cast<VarnQuitFn>(get(9));
  auto setDepth = reinterpret_cast<VarnSetDepthFn>(get(11));
  auto setPosition = reinterpret_cast<VarnSetPositionFn>(get(15));

  Check(std::strcmp(version(), "Varn 504") == 0, "VarnGetVersion is \"Varn 504\"");
  Check(std::strcmp(author(), "Kaspo Trem") == 0, "VarnGetAuthor is \"Kaspo Trem\"");
  int lines = 0;
  for (const char *const *line = params(); *line; ++line) ++lines;
  std::printf("     VarnGetParamList: %d option lines\n", lines);
#if defined(__i386__)
  Check(CallerCleanedBytes(setDepth, 3) == 4, "caller removes the arguments (cdecl)");
#endif

  VarnCallbacks callbacks{nullptr, OnNodes, OnDepth, OnCurrentMove, OnLine, nullptr};
  Check(init(&callbacks, 12345, 0) == 1024, "VarnInit with 0 kB uses 1 MB");
  Check(init(&callbacks, 0, 32768) == 32768, "VarnInit with 32768 kB");

  char fen[] = "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3";
  setPosition(fen);
  setDepth(depth);
  const int result = analyse(0);
  Check(result == 0, "VarnAnalyse returns 0 with legal moves");
  std::printf("search depth %d nodes %u score %d line %s\n", LastDepth, LastNodes, LastScore, LastLine);
  quit();
  FreeLibrary(module);
  std::printf("%d failed\n", Failures);
  return Failures ? 1 : 0;
}
