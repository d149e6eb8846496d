// The level's move choice; the searches that score the moves are the
// session's (see session.cpp).
#include "level.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>

#include "options.h"
#include "reports.h"

namespace {

// The style at each mark, lowest first. The weak levels misjudge many moves
// and allow large losses; the strong ones see every move and err by little.
struct StyleMark {
  int elo;
  LevelStyle style;
};
constexpr StyleMark StyleMarks[] = {
    {LevelEloMin, {5, 46, 800, 64}},
    {1000, {5, 44, 655, 53}},
    {1200, {5, 41, 510, 42}},
    {1400, {5, 35, 360, 27}},
    {1600, {5, 30, 260, 5}},
    {1800, {6, 10, 120, 0}},
    {LevelEloMax, {7, 1, 50, 0}},
};

constexpr std::array<int, std::size(StyleMarks)> MarkElos = [] {
  std::array<int, std::size(StyleMarks)> elos{};
  for (size_t i = 0; i < elos.size(); ++i) elos[i] = StyleMarks[i].elo;
  return elos;
}();

// Scores beyond this many centipawns all count as the same win or loss, so
// the choice between moves that all win (or all lose) a lot is a free one.
constexpr int32_t SameOutcomeCp = 1500;

uint64_t RandomState = 0x9e3779b97f4a7c15ull;

// splitmix64: a small, well-mixed generator that is the same on every platform.
uint64_t NextRandom() {
  uint64_t z = (RandomState += 0x9e3779b97f4a7c15ull);
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
  return z ^ (z >> 31);
}

// A random fraction in [0, 1) from 53 random bits.
double RandomFraction() { return double(NextRandom() >> 11) / double(uint64_t(1) << 53); }

// A score as a value to compare: mates beyond every other score, sooner ones
// better for the side that mates.
int32_t Value(int32_t score) {
  if (score > MateThreshold) return SameOutcomeCp + 1 + (score - MateThreshold);
  if (score < -MateThreshold) return -SameOutcomeCp - 1 - (-MateThreshold - score);
  return std::clamp(score, -SameOutcomeCp, SameOutcomeCp);
}

int Between(int from, int to, int elo, int low, int high) {
  return from + (to - from) * (elo - low) / std::max(1, high - low);
}

}  // namespace

std::span<const int> LevelMarks() { return MarkElos; }

LevelStyle LevelStyleFor(int elo) {
  elo = std::clamp(elo, LevelEloMin, LevelEloMax);
  const StyleMark *high = std::begin(StyleMarks) + 1;
  while (high + 1 < std::end(StyleMarks) && high->elo < elo) ++high;
  const StyleMark &low = high[-1];
  const LevelStyle &a = low.style, &b = high->style;
  // The search depth steps up at a mark; everything else changes smoothly.
  return {elo < high->elo ? a.childPlies : b.childPlies, Between(a.spreadCp, b.spreadCp, elo, low.elo, high->elo),
          Between(a.largestLossCp, b.largestLossCp, elo, low.elo, high->elo),
          Between(a.misjudgedPerMil, b.misjudgedPerMil, elo, low.elo, high->elo)};
}

std::vector<double> LevelChances(const std::vector<int32_t> &losses, const LevelStyle &style) {
  std::vector<double> chances;
  for (const int32_t loss : losses) chances.push_back(std::exp(-double(loss) / std::max(1, style.spreadCp)));
  return chances;
}

int32_t ScoreLoss(int32_t best, int32_t score) { return Value(best) - Value(score); }

size_t ChooseLevelMove(const std::vector<ScoredMove> &moves, const LevelStyle &style) {
  std::vector<int32_t> values;
  for (const ScoredMove &move : moves) values.push_back(Value(move.score));
  const size_t best = size_t(std::max_element(values.begin(), values.end()) - values.begin());
  if (moves[best].score > MateThreshold) return best;
  // A misjudged move that is worse than the position's ordinary move (the
  // median) looks as good as the best: a piece left en prise. One that is
  // better looks ordinary: a capture missed.
  std::vector<int32_t> sorted = values;
  std::nth_element(sorted.begin(), sorted.begin() + long(sorted.size() / 2), sorted.end());
  const int32_t ordinary = sorted[sorted.size() / 2];
  std::vector<int32_t> seen = values;
  for (int32_t &value : seen)
    if (RandomFraction() * 1000 < style.misjudgedPerMil) value = value < ordinary ? values[best] : ordinary;
  // Moves that lose more than the style allows are never played, seen or not.
  int32_t bestSeen = seen[best];
  for (size_t i = 0; i < moves.size(); ++i)
    if (values[best] - values[i] <= style.largestLossCp) bestSeen = std::max(bestSeen, seen[i]);
  std::vector<int32_t> losses;
  for (const int32_t value : seen) losses.push_back(bestSeen - value);
  std::vector<double> chances = LevelChances(losses, style);
  for (size_t i = 0; i < moves.size(); ++i)
    if (values[best] - values[i] > style.largestLossCp) chances[i] = 0;
  double total = 0;
  for (const double chance : chances) total += chance;
  double draw = RandomFraction() * total;
  for (size_t i = 0; i < moves.size(); ++i) {
    if (draw < chances[i]) return i;
    draw -= chances[i];
  }
  return best;
}

namespace {
bool ReseedAsked = false;
}  // namespace

void RequestLevelReseed() { ReseedAsked = true; }

void ReseedLevelIfAsked() {
  if (ReseedAsked) ReseedLevel();
}

void ReseedLevel() {
  ReseedAsked = false;
  const int64_t seed = OptionValue(SeedOption);
  RandomState = seed ? uint64_t(seed)
                     : uint64_t(std::chrono::steady_clock::now().time_since_epoch().count()) ^ (RandomState << 1);
}
