// The UCI host program: a session over the library loaded at run time,
// commands from the command line or from standard input.
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "../session/reports.h"
#include "../session/session.h"
#include "library.h"
#include "uci.h"

namespace {

// Splits command-line arguments into commands at the command words.
std::vector<std::vector<std::string>> CommandsFromArguments(int argc, char **argv) {
  std::vector<std::vector<std::string>> commands;
  for (int i = 1; i < argc; ++i) {
    for (const std::string &word : SplitWords(argv[i])) {
      if (commands.empty() || IsUciCommandWord(word)) commands.emplace_back();
      commands.back().push_back(word);
    }
  }
  return commands;
}

// Runs one command; a failure that escapes it (memory) is reported, not fatal.
bool RunCommandSafely(const std::vector<std::string> &words, bool commandLine) {
  try {
    return RunUciCommand(words, commandLine);
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
  if (!LoadVarnLibrary(error) || !StartSession(error)) {
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
  EndSession();
  return 0;
}
