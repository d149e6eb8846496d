// Report texts: the library's line and score in the words GUIs read.
#include "report.h"

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

std::string ScoreText(int32_t score) {
  if (score > 29000) return "mate " + std::to_string((30000 - score + 1) / 2);
  if (score < -29000) return "mate -" + std::to_string(std::max(1, (30000 + score) / 2));
  return "cp " + std::to_string(score);
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
