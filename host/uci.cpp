// The UCI command loop, and commands given on the command line.
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "bench.h"
#include "engine.h"
#include "library.h"
#include "search.h"
#include "timeplan.h"

namespace {

// Words that begin a command; anything before the first one is skipped.
constexpr const char *CommandWords[] = {"uci",  "isready",   "setoption", "ucinewgame", "position", "go",
                                        "stop", "ponderhit", "quit",      "bench",      "debug",    "register"};

// Depth of a command-line "go" that names no limit.
constexpr int CommandLineDepth = 12;

// True for a word that begins a command.
bool IsCommandWord(const std::string &word) {
  for (const char *command : CommandWords)
    if (word == command) return true;
  return false;
}

// "uci": identity, options, uciok.
void AnswerUci() {
  Say(std::string("id name ") + Varn.GetVersion());
  Say(std::string("id author ") + Varn.GetAuthor());
  for (const std::string &line : OptionLines()) Say(line);
  Say("uciok");
}

// "setoption name <name words> [value <value words>]".
void HandleSetOption(const std::vector<std::string> &words, size_t first) {
  if (first >= words.size() || words[first] != "name") return;
  std::string name, value;
  size_t i = first + 1;
  for (; i < words.size() && words[i] != "value"; ++i) name += (name.empty() ? "" : " ") + words[i];
  for (++i; i < words.size(); ++i) value += (value.empty() ? "" : " ") + words[i];
  SetOption(name, value);
}

// "go ...": ends any running search, brings the library up to date and starts
// the new one; on the command line it also waits for the bestmove.
void HandleGo(const std::vector<std::string> &words, size_t first, bool commandLine) {
  JoinSearch(true);
  SyncEngine();
  ApplyPosition();
  GoRequest request = ParseGo(words, first);
  const bool noLimit = !request.infinite && !request.ponder && request.depth < 0 && request.moveTime < 0 &&
                       request.whiteTime < 0 && request.blackTime < 0;
  if (commandLine && noLimit) request.depth = CommandLineDepth;
  StartSearch(PlanSearch(request, WhiteToMove(), BlitzSpeed()));
  if (commandLine && !SearchHolds()) JoinSearch(false);
}

// Runs one command line; false after "quit".
bool RunCommand(const std::vector<std::string> &words, bool commandLine) {
  size_t at = 0;
  while (at < words.size() && !IsCommandWord(words[at])) ++at;
  if (at == words.size()) return true;
  const std::string &command = words[at];
  const size_t rest = at + 1;
  if (command == "uci") {
    AnswerUci();
  } else if (command == "isready") {
    if (!SearchActive()) SyncEngine();
    Say("readyok");
  } else if (command == "setoption") {
    HandleSetOption(words, rest);
  } else if (command == "ucinewgame") {
    JoinSearch(true);
    RequestClearHash();
    SyncEngine();
  } else if (command == "position") {
    SetPositionCommand(words, rest);
  } else if (command == "go") {
    HandleGo(words, rest, commandLine);
  } else if (command == "stop") {
    RequestStop();
  } else if (command == "ponderhit") {
    PonderHit();
  } else if (command == "bench") {
    JoinSearch(true);
    SyncEngine();
    RunBench(rest < words.size() ? std::atoi(words[rest].c_str()) : 0);
  } else if (command == "quit") {
    return false;
  }
  return true;
}

// Splits command-line arguments into commands at the command words.
std::vector<std::vector<std::string>> CommandsFromArguments(int argc, char **argv) {
  std::vector<std::vector<std::string>> commands;
  for (int i = 1; i < argc; ++i) {
    for (const std::string &word : SplitWords(argv[i])) {
      if (commands.empty() || IsCommandWord(word)) commands.emplace_back();
      commands.back().push_back(word);
    }
  }
  return commands;
}

// At the end of input: a search that waits for stop is stopped, any other
// search is allowed to finish.
void FinishInput() { JoinSearch(SearchHolds()); }

}  // namespace

// With arguments: runs them as commands and exits; without: a UCI session.
int main(int argc, char **argv) {
  PrepareConsole();
  std::string error;
  if (!StartEngine(error)) {
    std::fprintf(stderr, "varn: %s\n", error.c_str());
    return 1;
  }
  StartWatchdog();
  bool running = true;
  if (argc > 1) {
    for (const std::vector<std::string> &command : CommandsFromArguments(argc, argv)) {
      running = RunCommand(command, true);
      if (!running) break;
    }
  } else {
    std::string line;
    while (running && std::getline(std::cin, line)) running = RunCommand(SplitWords(line), false);
  }
  if (running) FinishInput();
  JoinSearch(true);
  StopWatchdog();
  StopEngine();
  return 0;
}
