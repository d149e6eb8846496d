// The library's reports in the words front ends show: line texts, scores and
// mates, and node counts wider than the library's 32-bit words.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "../Native/varn504.h"

// The library's score scale (its public header's).
constexpr int32_t ScoreInfinite = VARN_SCORE_INFINITE;
constexpr int32_t MateThreshold = VARN_MATE_THRESHOLD;

// A line report: its moves in UCI notation and, for a window failure, the
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

// Joins words with single blanks.
std::string JoinWords(const std::vector<std::string> &words, size_t first = 0);

// A search's node count from the library's 32-bit reports: each report's
// count is taken as the least count at or above the last one with the same
// low 32 bits, so the total stays right past 2^32 nodes.
class NodeCounter {
 public:
  uint64_t Add(uint32_t reported) {
    total_ += uint32_t(reported - uint32_t(total_));
    return total_;
  }
  uint64_t Total() const { return total_; }

 private:
  uint64_t total_ = 0;
};
