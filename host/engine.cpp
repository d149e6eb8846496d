// Options, the GUI's position and the library's state between searches.
#include "engine.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <mutex>

#include "game.h"
#include "library.h"
#include "search.h"

namespace {

// One engine parameter: the value the GUI chose and whether the library has it.
struct Parameter {
  std::string name;
  std::string value;
  bool pending = false;
};

// The seven parameters the library accepts but announces no line for.
constexpr const char *HiddenParameterLines[] = {
    "option name CheckExtensions type spin default 60 min 0 max 60",
    "option name FutilityPruning type spin default 0 min 0 max 500",
    "option name MaterialTrade type spin default 120 min 0 max 150",
    "option name OffensiveAsymmetry type spin default 0 min -50 max 50",
    "option name SafetyAsymmetry type spin default 0 min -50 max 50",
    "option name OffensiveScale type spin default 100 min 0 max 200",
    "option name SafetyScale type spin default 100 min 0 max 200",
};

constexpr int DefaultHashMb = 32;
constexpr int DefaultBlitzSpeed = 26;

std::mutex OutputLock;
std::vector<Parameter> Parameters;
int WantedHashMb = DefaultHashMb;
int LibraryHashMb = DefaultHashMb;
bool ClearHashPending = false;

// The parameter name of an option line ("option name X type ..."), or "".
std::string OptionName(const std::string &line) {
  const std::string head = "option name ";
  size_t end = line.find(" type ");
  if (line.compare(0, head.size(), head) != 0 || end == std::string::npos) return "";
  return line.substr(head.size(), end - head.size());
}

// Letter-case-blind comparison, as GUIs may change the case of option names.
bool SameName(const std::string &a, const std::string &b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
         });
}

// The library's option lines, up to its null pointer.
std::vector<std::string> LibraryOptionLines() {
  std::vector<std::string> lines;
  const char *const *list = Varn.GetParamList();
  for (int i = 0; list && list[i] && i < 64; ++i) lines.emplace_back(list[i]);
  return lines;
}

// Every parameter the library knows, announced ones first.
void CollectParameters() {
  Parameters.clear();
  for (const std::string &line : LibraryOptionLines()) {
    std::string name = OptionName(line);
    if (!name.empty()) Parameters.push_back({name, "", false});
  }
  for (const char *line : HiddenParameterLines) Parameters.push_back({OptionName(line), "", false});
}

// A writable copy of text for the library's in-place tokenizer.
std::vector<char> Writable(const std::string &text) {
  std::vector<char> buffer(text.begin(), text.end());
  buffer.push_back('\0');
  return buffer;
}

}  // namespace

// One fwrite per line, under a lock, so lines from two threads never mix.
void Say(const std::string &line) {
  std::lock_guard<std::mutex> guard(OutputLock);
  std::string text = line + "\n";
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

bool StartEngine(std::string &error) {
  if (!LoadVarnLibrary(error)) return false;
  Varn.Init(&HostCallbacks, 0, DefaultHashMb * 1024);
  CollectParameters();
  return true;
}

void StopEngine() { Varn.Quit(); }

std::vector<std::string> OptionLines() {
  std::vector<std::string> lines = LibraryOptionLines();
  lines.insert(lines.end(), std::begin(HiddenParameterLines), std::end(HiddenParameterLines));
  lines.push_back("option name Hash type spin default 32 min 1 max 1024");
  lines.push_back("option name Ponder type check default false");
  lines.push_back("option name Clear Hash type button");
  return lines;
}

void SetOption(const std::string &name, const std::string &value) {
  if (SameName(name, "Hash")) {
    char *end = nullptr;
    long megabytes = std::strtol(value.c_str(), &end, 10);
    if (end != value.c_str()) WantedHashMb = int(std::clamp<long>(megabytes, 1, 1024));
    return;
  }
  if (SameName(name, "Clear Hash")) {
    RequestClearHash();
    return;
  }
  if (value.empty()) return;
  for (Parameter &parameter : Parameters) {
    if (SameName(name, parameter.name)) {
      parameter.value = value;
      parameter.pending = true;
    }
  }
}

void RequestClearHash() { ClearHashPending = true; }

void SyncEngine() {
  if (WantedHashMb != LibraryHashMb) {
    // A new table size needs a fresh start, which also resets every parameter.
    Varn.Quit();
    Varn.Init(&HostCallbacks, 0, WantedHashMb * 1024);
    LibraryHashMb = WantedHashMb;
    ClearHashPending = false;
    for (Parameter &parameter : Parameters) parameter.pending = !parameter.value.empty();
  }
  for (Parameter &parameter : Parameters) {
    if (!parameter.pending) continue;
    Varn.SetParam(parameter.name.c_str(), parameter.value.c_str());
    parameter.pending = false;
  }
  if (ClearHashPending) {
    Varn.ClearHashtable();
    ClearHashPending = false;
  }
}

int BlitzSpeed() {
  for (const Parameter &parameter : Parameters) {
    if (parameter.name == "BlitzPlayingSpeed" && !parameter.value.empty())
      return std::clamp(std::atoi(parameter.value.c_str()), 25, 35);
  }
  return DefaultBlitzSpeed;
}

void ApplyPosition() {
  std::string fen, moves;
  GameHandover(fen, moves);
  if (fen.empty()) {
    Varn.SetStartPosition();
  } else {
    std::vector<char> text = Writable(fen);
    Varn.SetPosition(text.data());
  }
  if (!moves.empty()) {
    std::vector<char> text = Writable(moves);
    Varn.SetGame(text.data());
  }
}
