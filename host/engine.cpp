// Options, the GUI's position and the library's state between searches.
#include "engine.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <mutex>

#include "game.h"
#include "interface.h"
#include "library.h"
#include "search.h"

namespace {

// A spin option: an engine parameter, handed to the library, or the host's own.
struct SpinOption {
  std::string name;
  int32_t defaultValue = 0, minimum = 0, maximum = 0;
  bool library = false;
  std::string line;       // the option line announced on "uci"
  int32_t value = 0;      // the GUI's choice, clamped to the range
  bool chosen = false;    // the GUI set it since the start
  bool pending = false;   // the library has not been given it yet
};

constexpr const char *HashName = "Hash";
constexpr const char *OverheadName = "Move Overhead";
constexpr const char *BlitzSpeedName = "BlitzPlayingSpeed";
constexpr int DefaultHashMb = 32;

std::mutex OutputLock;
std::vector<SpinOption> Spins;
int LibraryHashMb = DefaultHashMb;
bool ClearHashPending = false;

// Letter-case-blind comparison, as GUIs may change the case of option names.
bool SameName(const std::string &a, const std::string &b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
         });
}

// The UCI line of a spin option.
std::string SpinLine(const SpinOption &option) {
  return "option name " + option.name + " type spin default " + std::to_string(option.defaultValue) + " min " +
         std::to_string(option.minimum) + " max " + std::to_string(option.maximum);
}

// A host option with its range.
SpinOption HostSpin(const char *name, int32_t defaultValue, int32_t minimum, int32_t maximum) {
  SpinOption option;
  option.name = name;
  option.defaultValue = defaultValue;
  option.minimum = minimum;
  option.maximum = maximum;
  option.line = SpinLine(option);
  return option;
}

// Reads "option name <words> type spin default D min A max B"; false for any
// other form.
bool ReadSpinLine(const std::string &line, SpinOption &option) {
  const std::vector<std::string> words = SplitWords(line);
  size_t i = 2;
  if (words.size() < 3 || words[0] != "option" || words[1] != "name") return false;
  std::string name;
  for (; i < words.size() && words[i] != "type"; ++i) name += (name.empty() ? "" : " ") + words[i];
  if (name.empty() || i + 8 != words.size() || words[i + 1] != "spin" || words[i + 2] != "default" ||
      words[i + 4] != "min" || words[i + 6] != "max")
    return false;
  option.name = name;
  option.defaultValue = ParseDecimal(words[i + 3].c_str());
  option.minimum = ParseDecimal(words[i + 5].c_str());
  option.maximum = ParseDecimal(words[i + 7].c_str());
  option.library = true;
  option.line = line;
  return true;
}

// The library's announced lines, then the rest of the core's parameter table
// (accepted by name but not announced), then the host's own spin options.
void CollectOptions() {
  Spins.clear();
  const char *const *list = Varn.GetParamList();
  for (int i = 0; list && list[i] && i < 64; ++i) {
    SpinOption option;
    if (ReadSpinLine(list[i], option)) Spins.push_back(option);
  }
  for (const Parameter &parameter : Parameters) {
    if (std::any_of(Spins.begin(), Spins.end(), [&](const SpinOption &o) { return o.name == parameter.name; }))
      continue;
    SpinOption option = HostSpin(parameter.name, parameter.defaultValue, parameter.minimum, parameter.maximum);
    option.library = true;
    Spins.push_back(option);
  }
  Spins.push_back(HostSpin(HashName, DefaultHashMb, 1, 1024));
  Spins.push_back(HostSpin(OverheadName, PlanSettings().moveOverheadMs, 0, 5000));
  for (SpinOption &option : Spins) option.value = option.defaultValue;
}

// The current value of a spin option, or fallback when there is none.
int32_t SpinValue(const char *name, int32_t fallback) {
  for (const SpinOption &option : Spins)
    if (option.name == name) return option.value;
  return fallback;
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
  CollectOptions();
  return true;
}

void StopEngine() { Varn.Quit(); }

std::vector<std::string> UciOptionLines() {
  std::vector<std::string> lines;
  for (const SpinOption &option : Spins) lines.push_back(option.line);
  lines.push_back("option name Ponder type check default false");
  lines.push_back("option name Clear Hash type button");
  return lines;
}

std::string SetOption(const std::string &name, const std::string &value) {
  if (SameName(name, "Clear Hash")) {
    RequestClearHash();
    return "";
  }
  if (SameName(name, "Ponder")) {
    return SameName(value, "true") || SameName(value, "false") ? "" : "option Ponder needs true or false";
  }
  for (SpinOption &option : Spins) {
    if (!SameName(name, option.name)) continue;
    int64_t number = 0;
    if (!ReadWholeNumber(value, option.minimum, option.maximum, number))
      return "option " + option.name + " needs a whole number";
    option.value = int32_t(number);
    option.chosen = true;
    option.pending = option.library;
    return "";
  }
  return "unknown option " + name;
}

void RequestClearHash() { ClearHashPending = true; }

void SyncEngine() {
  const int wantedHashMb = SpinValue(HashName, DefaultHashMb);
  if (wantedHashMb != LibraryHashMb) {
    // A new table size needs a fresh start, which also resets every parameter.
    Varn.Quit();
    Varn.Init(&HostCallbacks, 0, wantedHashMb * 1024);
    LibraryHashMb = wantedHashMb;
    ClearHashPending = false;
    for (SpinOption &option : Spins) option.pending = option.library && option.chosen;
  }
  for (SpinOption &option : Spins) {
    if (!option.pending) continue;
    Varn.SetParam(option.name.c_str(), std::to_string(option.value).c_str());
    option.pending = false;
  }
  if (ClearHashPending) {
    Varn.ClearHashtable();
    ClearHashPending = false;
  }
}

PlanSettings CurrentPlanSettings() {
  PlanSettings settings;
  settings.blitzSpeed = SpinValue(BlitzSpeedName, settings.blitzSpeed);
  settings.moveOverheadMs = SpinValue(OverheadName, settings.moveOverheadMs);
  return settings;
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
