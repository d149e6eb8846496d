// The option table and the library's state between searches.
#include "options.h"

#include <algorithm>
#include <cctype>

#include "exports.h"
#include "level.h"
#include "output.h"
#include "reports.h"
#include "session.h"

namespace {

enum class OptionType { Spin, Check, Button, String };

// One row of an option table: name, type, default, range (spins), and what
// the host does when the GUI sets it.
struct OptionRow {
  const char *name;
  OptionType type;
  int64_t defaultValue, minimum, maximum;
  void (*changed)();
};

// An option with the GUI's choice.
struct Option {
  OptionRow row;
  std::string name;
  bool library = false;  // a parameter the library takes by name
  std::string text;      // value of a string option
  int64_t value = 0;     // value of a spin or check option
  bool chosen = false;   // the GUI set it since the start
  bool pending = false;  // the library has not been given it yet
};

constexpr int DefaultHashMb = 32;
int LibraryHashMb = DefaultHashMb;
bool ClearHashPending = false;
std::vector<Option> Options;

// The parameters the library accepts by name without announcing them.
constexpr OptionRow HiddenParameters[] = {
    {"CheckExtensions", OptionType::Spin, 60, 0, 60, nullptr},
    {"FutilityPruning", OptionType::Spin, 0, 0, 500, nullptr},
    {"MaterialTrade", OptionType::Spin, 120, 0, 150, nullptr},
    {"OffensiveAsymmetry", OptionType::Spin, 0, -50, 50, nullptr},
    {"SafetyAsymmetry", OptionType::Spin, 0, -50, 50, nullptr},
    {"OffensiveScale", OptionType::Spin, 100, 0, 200, nullptr},
    {"SafetyScale", OptionType::Spin, 100, 0, 200, nullptr},
};

// The host's own options.
constexpr OptionRow HostOptions[] = {
    {HashOption, OptionType::Spin, DefaultHashMb, 1, 1024, nullptr},
    {OverheadOption, OptionType::Spin, PlanSettings().moveOverheadMs, 0, 5000, nullptr},
    {"Ponder", OptionType::Check, 0, 0, 1, nullptr},
    {MultiPVOption, OptionType::Spin, 1, 1, 256, nullptr},
    {"Clear Hash", OptionType::Button, 0, 0, 0, RequestClearHash},
    {LimitStrengthOption, OptionType::Check, 0, 0, 1, nullptr},
    {EloOption, OptionType::Spin, LevelEloMax, LevelEloMin, LevelEloMax, nullptr},
    {SeedOption, OptionType::Spin, 0, 0, 2147483647, RequestLevelReseed},
};

// An option at its default.
Option FromRow(const OptionRow &row, bool library) {
  Option option;
  option.row = row;
  option.name = row.name ? row.name : "";
  option.library = library;
  option.value = row.defaultValue;
  return option;
}

// Letter-case-blind comparison, as GUIs may change the case of option names.
bool SameName(const std::string &a, const std::string &b) {
  return LowerCase(a) == LowerCase(b);
}

// The UCI line that announces an option.
std::string OptionLine(const Option &option) {
  const std::string head = "option name " + option.name + " type ";
  const OptionRow &row = option.row;
  switch (row.type) {
    case OptionType::Spin:
      return head + "spin default " + std::to_string(row.defaultValue) + " min " + std::to_string(row.minimum) +
             " max " + std::to_string(row.maximum);
    case OptionType::Check: return head + "check default " + (row.defaultValue ? "true" : "false");
    case OptionType::Button: return head + "button";
    case OptionType::String: return head + "string default " + option.text;
  }
  return head;
}

// Reads "option name <words> type spin default D min A max B" into an option
// of the library; false for any other form.
bool ReadSpinLine(const std::string &line, Option &option) {
  const std::vector<std::string> words = SplitWords(line);
  size_t i = 2;
  if (words.size() < 3 || words[0] != "option" || words[1] != "name") return false;
  for (; i < words.size() && words[i] != "type"; ++i) {}
  if (i == 2 || i + 8 != words.size() || words[i + 1] != "spin" || words[i + 2] != "default" ||
      words[i + 4] != "min" || words[i + 6] != "max")
    return false;
  OptionRow row{nullptr, OptionType::Spin, 0, 0, 0, nullptr};
  if (!ReadWholeNumber(words[i + 3], INT32_MIN, INT32_MAX, row.defaultValue) ||
      !ReadWholeNumber(words[i + 5], INT32_MIN, INT32_MAX, row.minimum) ||
      !ReadWholeNumber(words[i + 7], INT32_MIN, INT32_MAX, row.maximum) || row.minimum > row.maximum)
    return false;
  option = FromRow(row, true);
  option.name = JoinWords(std::vector<std::string>(words.begin() + 2, words.begin() + long(i)));
  return true;
}

// The library's announced lines, then the parameters it takes unannounced,
// then the host's own options.
void CollectOptions() {
  Options.clear();
  const char *const *list = Varn.GetParamList();
  for (int i = 0; list && list[i] && i < 64; ++i) {
    Option option;
    if (ReadSpinLine(list[i], option)) Options.push_back(option);
  }
  for (const OptionRow &row : HiddenParameters) {
    if (std::none_of(Options.begin(), Options.end(), [&](const Option &o) { return o.name == row.name; }))
      Options.push_back(FromRow(row, true));
  }
  for (const OptionRow &row : HostOptions) Options.push_back(FromRow(row, false));
}

Option *FindOption(const std::string &name) {
  for (Option &option : Options)
    if (SameName(name, option.name)) return &option;
  return nullptr;
}

// Starts the library with a table of hashMb megabytes and says when the
// machine gave it less.
void InitLibrary(int hashMb) {
  const int32_t usedKb = Varn.Init(&SessionCallbacks, 0, hashMb * 1024);
  if (usedKb <= 0) {
    Say("info string no memory for the hash table: searching without one");
  } else if (usedKb < hashMb * 1024) {
    Say("info string Hash reduced to " + std::to_string(usedKb / 1024) + " MB");
  }
  LibraryHashMb = hashMb;
}

}  // namespace

bool StartEngine(std::string &) {
  InitLibrary(DefaultHashMb);
  CollectOptions();
  return true;
}

void StopEngine() { Varn.Quit(); }

std::vector<std::string> UciOptionLines() {
  std::vector<std::string> lines;
  for (const Option &option : Options) lines.push_back(OptionLine(option));
  return lines;
}

std::string SetOption(const std::string &name, const std::string &value) {
  Option *option = FindOption(name);
  if (!option) return "unknown option " + name;
  std::string told;
  const OptionRow &row = option->row;
  switch (row.type) {
    case OptionType::Button: break;
    case OptionType::String: option->text = value; break;
    case OptionType::Check:
      if (!SameName(value, "true") && !SameName(value, "false")) return "option " + option->name + " needs true or false";
      option->value = SameName(value, "true");
      break;
    case OptionType::Spin: {
      int64_t number = 0;
      if (!ReadWholeNumber(value, INT64_MIN, INT64_MAX, number)) return "option " + option->name + " needs a whole number";
      option->value = std::clamp(number, row.minimum, row.maximum);
      if (option->value != number)
        told = "option " + option->name + " " + value + " is out of range: set to " + std::to_string(option->value) +
               " (" + std::to_string(row.minimum) + " to " + std::to_string(row.maximum) + ")";
      break;
    }
  }
  option->chosen = true;
  option->pending = option->library;
  if (row.changed) row.changed();
  return told;
}

int64_t OptionValue(const char *name) {
  const Option *option = FindOption(name);
  return option ? option->value : 0;
}

void RequestClearHash() { ClearHashPending = true; }

void SyncEngine() {
  const int wantedHashMb = int(OptionValue(HashOption));
  if (wantedHashMb != LibraryHashMb) {
    // A new table size needs a fresh start, which also resets every parameter.
    Varn.Quit();
    InitLibrary(wantedHashMb);
    ClearHashPending = false;
    for (Option &option : Options) option.pending = option.library && option.chosen;
  }
  for (Option &option : Options) {
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
  if (const Option *speed = FindOption("BlitzPlayingSpeed")) settings.blitzSpeed = int(speed->value);
  settings.moveOverheadMs = int(OptionValue(OverheadOption));
  return settings;
}
