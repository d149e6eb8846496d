// Report texts: the library's line and score in the words GUIs read.
#include "reports.h"

#include <algorithm>
#include <cctype>

LineReport ReadLineReport(const std::string &text) {
  LineReport report;
  std::string line = text;
  if (!line.empty() && (line.back() == '!' || line.back() == '?')) {
    // A fail high proves at least the score; a fail low at most.
    report.bound = line.back() == '!' ? " lowerbound" : " upperbound";
    line.pop_back();
  }
  report.moves = SplitWords(LowerCase(line));
  return report;
}

int32_t MateMoves(int32_t score) {
  // The mating side's moves are its half of the plies to mate, rounded up;
  // the mated side has made one move fewer than the plies it survives.
  if (score > MateThreshold) return (ScoreInfinite - score + 1) / 2;
  if (score < -MateThreshold) return -std::max(1, (ScoreInfinite + score) / 2);
  return 0;
}

std::string ScoreText(int32_t score) {
  const int32_t mate = MateMoves(score);
  return mate ? "mate " + std::to_string(mate) : "cp " + std::to_string(score);
}

std::string LowerCase(std::string text) {
  for (char &c : text) c = char(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::vector<std::string> SplitWords(const std::string &line) {
  std::vector<std::string> words;
  size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && std::isspace(static_cast<unsigned char>(line[i]))) ++i;
    size_t start = i;
    while (i < line.size() && !std::isspace(static_cast<unsigned char>(line[i]))) ++i;
    if (i > start) words.push_back(line.substr(start, i - start));
  }
  return words;
}

std::string JoinWords(const std::vector<std::string> &words, size_t first) {
  std::string text;
  for (size_t i = first; i < words.size(); ++i) text += (text.empty() ? "" : " ") + words[i];
  return text;
}
