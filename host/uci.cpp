// The UCI command loop, and commands given on the command line.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "bench.h"
#include "engine.h"
#include "game.h"
#include "library.h"
#include "search.h"
#include "timeplan.h"

namespace {

// Words that begin a command; anything before the first one is skipped.
constexpr const char *CommandWords[] = {"uci",   "isready", "setoption", "ucinewgame", "position",
                                        "go",    "stop",    "ponderhit", "quit",       "bench",
                                        "debug", "register", "d"};

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
  for (const std::string &line : UciOptionLines()) Say(line);
  Say("uciok");
}

// "setoption name <name words> [value <value words>]"; what cannot be set is
// named in an info string.
void HandleSetOption(const std::vector<std::string> &words, size_t first) {
  std::string name, value;
  size_t i = first + 1;
  for (; i < words.size() && words[i] != "value"; ++i) name += (name.empty() ? "" : " ") + words[i];
  for (++i; i < words.size(); ++i) value += (value.empty() ? "" : " ") + words[i];
  const std::string refused =
      first < words.size() && words[first] == "name" && !name.empty() ? SetOption(name, value)
                                                                       : "setoption needs name <option> [value <value>]";
  if (!refused.empty()) Say("info string " + refused);
}

// "d": the host's position as a diagram and a FEN.
void ShowPosition() {
  if (!GameIsLegal()) {
    Say("info string no position to show: the last one was refused");
    return;
  }
  for (const std::string &line : GameDiagram()) Say(line);
}

// The move played when the library reports none in time: the previous
// search's line continued when the game followed it, else the first legal
// move; "" when there is none.
std::string HostMove() {
  const std::vector<std::string> legal = GameLegalMoves();
  const std::vector<std::string> line = SplitWords(PreviousSearchLine());
  const std::vector<std::string> played = GameMoves();
  const size_t n = played.size();
  if (line.size() > 2 && n >= 2 && played[n - 2] == line[0] && played[n - 1] == line[1] &&
      std::find(legal.begin(), legal.end(), line[2]) != legal.end())
    return line[2];
  return legal.empty() ? "" : legal[0];
}

// "go ...": ends any running search, brings the library up to date and starts
// the new one; on the command line it also waits for the bestmove. A refused
// position, a spent clock and perft are answered at once.
void HandleGo(const std::vector<std::string> &words, size_t first, bool commandLine) {
  JoinSearch(true);
  if (!GameIsLegal()) {
    AnswerAtOnce("", "");
    return;
  }
  GoRequest request = ParseGo(words, first);
  const std::string hostMove = HostMove();
  const std::string noMoveScore = hostMove.empty() ? (GameInCheck() ? "mate 0" : "cp 0") : "";
  if (request.perft >= 0) {
    Say("info string perft is not supported: answering with a move at once");
    AnswerAtOnce(hostMove, noMoveScore);
    return;
  }
  if (request.searchMoves) Say("info string searchmoves is not supported: searching all moves");
  if (request.depth >= 0 && request.depth < MinimumReportedDepth)
    Say("info string depth " + std::to_string(request.depth) + " is searched to depth " +
        std::to_string(MinimumReportedDepth) + ", the least the engine reports");
  const bool noLimit = !request.infinite && !request.ponder && request.depth < 0 && request.moveTime < 0 &&
                       request.whiteTime < 0 && request.blackTime < 0;
  if (commandLine && noLimit) request.depth = CommandLineDepth;
  const SearchPlan plan = PlanSearch(request, GameWhiteToMove(), CurrentPlanSettings());
  // A spent clock leaves no time for a search: answer before the thread and
  // the library's set-up cost anything.
  if (plan.stopAfterMs == 0 && !plan.hold) {
    AnswerAtOnce(hostMove, noMoveScore);
    return;
  }
  SyncEngine();
  ApplyPosition();
  const std::string error = StartSearch(plan, hostMove, noMoveScore);
  if (!error.empty()) {
    std::fprintf(stderr, "varn: cannot start a search thread (%s); answering without a search\n", error.c_str());
    AnswerAtOnce(hostMove, noMoveScore);
    return;
  }
  if (commandLine && !SearchHolds()) JoinSearch(false);
}

// Runs one command line; false after "quit".
bool RunCommand(const std::vector<std::string> &words, bool commandLine) {
  size_t at = 0;
  while (at < words.size() && !IsCommandWord(words[at])) ++at;
  if (at == words.size()) {
    if (!words.empty()) Say("info string unknown command " + words[0]);
    return true;
  }
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
    const std::string refused = SetGamePosition(words, rest);
    if (!refused.empty()) Say("info string " + refused);
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
  } else if (command == "d") {
    ShowPosition();
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

// Runs one command; a failure that escapes it (memory) is reported, not fatal.
bool RunCommandSafely(const std::vector<std::string> &words, bool commandLine) {
  try {
    return RunCommand(words, commandLine);
  } catch (const std::exception &error) {
    std::fprintf(stderr, "varn: command failed: %s\n", error.what());
    return true;
  }
}

}  // namespace

// With arguments: runs them as commands and exits; without: a UCI session.
int main(int argc, char **argv) {
  PrepareConsole();
  std::string error;
  if (!StartEngine(error)) {
    std::fprintf(stderr, "varn: %s\n", error.c_str());
    return 1;
  }
  bool running = true;
  if (argc > 1) {
    for (const std::vector<std::string> &command : CommandsFromArguments(argc, argv)) {
      running = RunCommandSafely(command, true);
      if (!running) break;
    }
  } else {
    std::string line;
    while (running && std::getline(std::cin, line)) running = RunCommandSafely(SplitWords(line), false);
  }
  // The end of input ends the process as quit does; command-line searches
  // have already finished, except one that waits for a stop.
  JoinSearch(true);
  StopWatchdog();
  StopEngine();
  return 0;
}
