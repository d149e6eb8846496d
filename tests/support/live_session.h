// Test helpers for the search session: the real library loaded as the host
// loads it, or a scripted stand-in, with the session's output captured.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "../../host/library.h"
#include "../../session/exports.h"
#include "../../session/output.h"
#include "../../session/reports.h"
#include "../../session/session.h"
#include "../../session/timeplan.h"

// Every line the session wrote since the last TakeOutput.
inline std::mutex CapturedLock;
inline std::vector<std::string> Captured;

inline void Capture(const std::string &line) {
  std::lock_guard<std::mutex> guard(CapturedLock);
  Captured.push_back(line);
}

inline std::vector<std::string> TakeOutput() {
  std::lock_guard<std::mutex> guard(CapturedLock);
  std::vector<std::string> lines;
  lines.swap(Captured);
  return lines;
}

// Starts a session over the library built beside the tests.
inline void StartRealSession() {
  std::string error;
  ASSERT_TRUE(LoadVarnLibrary(error, VARN_LIBRARY_PATH)) << error;
  SetOutput(Capture);
  ASSERT_TRUE(StartSession(error)) << error;
  TakeOutput();
}

// Sets a position from the words after "position".
inline void Position(const std::string &words) { SetPosition(SplitWords(words), 0); }

// Runs "go <words>" to its end; returns the bestmove line and leaves the
// lines before it in info.
inline std::string GoAndWait(const std::string &words, std::vector<std::string> *info = nullptr) {
  TakeOutput();
  Go(ParseGo(SplitWords(words), 0), true);
  JoinSearch(false);
  std::vector<std::string> lines = TakeOutput();
  std::string best;
  for (const std::string &line : lines)
    if (line.rfind("bestmove ", 0) == 0) best = line;
  if (info) *info = lines;
  return best;
}

// The move of a "bestmove" line.
inline std::string BestMove(const std::string &line) {
  const std::vector<std::string> words = SplitWords(line);
  return words.size() > 1 ? words[1] : "";
}

// The last line that holds text ("" when none): by default the last info line
// with a depth, the one before bestmove.
inline std::string LastLine(const std::vector<std::string> &lines, const std::string &text = "info depth") {
  const auto at = std::find_if(lines.rbegin(), lines.rend(), [&](const std::string &l) { return l.find(text) != l.npos; });
  return at == lines.rend() ? "" : *at;
}

// The number after word in a line, -1 when it is missing.
inline int64_t NumberAfter(const std::string &line, const std::string &word) {
  const std::vector<std::string> words = SplitWords(line);
  for (size_t i = 0; i + 1 < words.size(); ++i)
    if (words[i] == word) return std::stoll(words[i + 1]);
  return -1;
}
