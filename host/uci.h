// The UCI protocol over a search session: reads a command's words and calls
// the session. Shared by the host program and the WebAssembly module.
#pragma once

#include <string>
#include <vector>

// Runs one command; false after "quit". With waitForSearch a "go" returns
// only after its bestmove (commands given on a command line).
bool RunUciCommand(const std::vector<std::string> &words, bool waitForSearch);

// True for a word that begins a command.
bool IsUciCommandWord(const std::string &word);
