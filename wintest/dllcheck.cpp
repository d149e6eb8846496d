// Loads Varn504.dll the way a Windows host does and checks its outer surface:
// the eighteen exports by name and by ordinal, the caller-cleans calling
// convention, the getters, VarnInit and a short search. Prints one line per
// check and exits non-zero on the first failure.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "../session/exports.h"

namespace {

// The exports in ordinal order (alphabetical).
#define VARN_NAME(name, result, parameters) "Varn" #name,
constexpr const char *ExportNames[] = {VARN_EXPORTS(VARN_NAME)};
#undef VARN_NAME
constexpr int ExportCount = sizeof ExportNames / sizeof ExportNames[0];


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

  FARPROC byName[ExportCount];
  for (int i = 0; i < ExportCount; ++i) {
    byName[i] = GetProcAddress(module, ExportNames[i]);
    FARPROC byOrdinal = GetProcAddress(module, MAKEINTRESOURCEA(i + 1));
    char what[96];
    std::snprintf(what, sizeof what, "%s by name and as ordinal %d", ExportNames[i], i + 1);
    Check(byName[i] != nullptr && byName[i] == byOrdinal, what);
  }
  char beyond[32];
  std::snprintf(beyond, sizeof beyond, "no ordinal %d", ExportCount + 1);
  Check(ExportCount == 18 && GetProcAddress(module, MAKEINTRESOURCEA(ExportCount + 1)) == nullptr, beyond);
  Check(GetProcAddress(module, "_VarnInit") == nullptr && GetProcAddress(module, "VarnInit@12") == nullptr,
        "no decorated names");
  if (Failures) return 1;

  VarnExports varn{};
  int slot = 0;
#define VARN_TAKE(name, result, parameters) \
  varn.name = reinterpret_cast<Varn##name##Fn>(reinterpret_cast<void *>(byName[slot++]));
  VARN_EXPORTS(VARN_TAKE)
#undef VARN_TAKE

  Check(std::strcmp(varn.GetVersion(), "Varn 504") == 0, "VarnGetVersion is \"Varn 504\"");
  Check(std::strcmp(varn.GetAuthor(), "Kaspo Trem") == 0, "VarnGetAuthor is \"Kaspo Trem\"");
  int lines = 0;
  for (const char *const *line = varn.GetParamList(); *line; ++line) ++lines;
  std::printf("     VarnGetParamList: %d option lines\n", lines);
#if defined(__i386__)
  Check(CallerCleanedBytes(varn.SetDepth, 3) == 4, "caller removes the arguments (cdecl)");
#endif

  VarnCallbacks callbacks{nullptr, OnNodes, OnDepth, OnCurrentMove, OnLine, nullptr};
  Check(varn.Init(&callbacks, 12345, 0) == 1024, "VarnInit with 0 kB uses 1 MB");
  Check(varn.Init(&callbacks, 0, 32768) == 32768, "VarnInit with 32768 kB");

  char fen[] = "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3";
  varn.SetPosition(fen);
  varn.SetDepth(depth);
  const int result = varn.Analyse(0);
  Check(result == 0, "VarnAnalyse returns 0 with legal moves");
  std::printf("search depth %d nodes %u score %d line %s\n", LastDepth, LastNodes, LastScore, LastLine);
  varn.Quit();
  FreeLibrary(module);
  std::printf("%d failed\n", Failures);
  return Failures ? 1 : 0;
}
