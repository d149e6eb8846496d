// The library's report texts turned into the words of UCI "info" lines.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// A line report: its moves in GUI notation and, for a window failure, the
// bound (" lowerbound" after "m1!", " upperbound" after "m1?"), else "".
struct LineReport {
  std::vector<std::string> moves;
  std::string bound;
};

// Reads a line report's text ("m1 m2 ... ", "m1!" or "m1?").
LineReport ReadLineReport(const std::string &text);

// Moves to mate for a library score: positive when the side to move mates,
// negative when it is mated, 0 for a score that is no mate.
int32_t MateMoves(int32_t score);

// The UCI score text for a library score: "cp S" or "mate M".
std::string ScoreText(int32_t score);

// A move in UCI text: promotion letters in lower case.
std::string LowerCase(std::string text);

// Splits a line into words at blanks and tabs.
std::vector<std::string> SplitWords(const std::string &line);
