// The UCI commands, each handed to the session.
#include "uci.h"

#include <cstdlib>

#include "../session/exports.h"
#include "../session/game.h"
#include "../session/options.h"
#include "../session/output.h"
#include "../session/reports.h"
#include "../session/session.h"

namespace {

// Words that begin a command; anything before the first one is skipped.
constexpr const char *CommandWords[] = {"uci",   "isready", "setoption", "ucinewgame", "position",
                                        "go",    "stop",    "ponderhit", "quit",       "bench",
                                        "debug", "register", "d"};

// Depth of a command-line "go" that names no limit.
constexpr int CommandLineDepth = 12;

// "uci": identity, options, uciok.
void AnswerUci() {
  Say(std::string("id name ") + Varn.GetVersion());
  Say(std::string("id author ") + Varn.GetAuthor());
  for (const std::string &line : UciOptionLines()) Say(line);
  Say("uciok");
}

// "setoption name <name words> [value <value words>]".
void HandleSetOption(const std::vector<std::string> &words, size_t first) {
  std::string name, value;
  size_t i = first + 1;
  for (; i < words.size() && words[i] != "value"; ++i) name += (name.empty() ? "" : " ") + words[i];
  value = JoinWords(words, i + 1);
  const std::string told = first < words.size() && words[first] == "name" && !name.empty()
                               ? SetOption(name, value)
                               : "setoption needs name <option> [value <value>]";
  if (!told.empty()) Say("info string " + told);
}

// "d": the game's position as a diagram and a FEN.
void ShowPosition() {
  if (!GameIsLegal()) {
    Say("info string no position to show: the last one was refused");
    return;
  }
  for (const std::string &line : GameDiagram()) Say(line);
}

// "go ...": on the command line a go without any limit searches to a fixed
// depth instead of without end.
void HandleGo(const std::vector<std::string> &words, size_t first, bool waitForSearch) {
  GoRequest request = ParseGo(words, first);
  const bool noLimit = !request.infinite && !request.ponder && request.depth < 0 && request.moveTime < 0 &&
                       request.whiteTime < 0 && request.blackTime < 0 && request.nodes < 0 && request.mate < 0;
  if (waitForSearch && noLimit) request.depth = CommandLineDepth;
  Go(request, waitForSearch);
}

}  // namespace

bool IsUciCommandWord(const std::string &word) {
  for (const char *command : CommandWords)
    if (word == command) return true;
  return false;
}

bool RunUciCommand(const std::vector<std::string> &words, bool waitForSearch) {
  size_t at = 0;
  while (at < words.size() && !IsUciCommandWord(words[at])) ++at;
  if (at == words.size()) {
    if (!words.empty()) Say("info string unknown command " + words[0]);
    return true;
  }
  const std::string &command = words[at];
  const size_t rest = at + 1;
  if (command == "uci") {
    AnswerUci();
  } else if (command == "isready") {
    Ready();
    Say("readyok");
  } else if (command == "setoption") {
    HandleSetOption(words, rest);
  } else if (command == "ucinewgame") {
    NewGame();
  } else if (command == "position") {
    SetPosition(words, rest);
  } else if (command == "go") {
    HandleGo(words, rest, waitForSearch);
  } else if (command == "stop") {
    Stop();
  } else if (command == "ponderhit") {
    PonderHit();
  } else if (command == "bench") {
    RunBench(rest < words.size() ? std::atoi(words[rest].c_str()) : 0);
  } else if (command == "d") {
    ShowPosition();
  } else if (command == "quit") {
    return false;
  }
  return true;
}
