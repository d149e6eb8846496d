// The level's move choice; the searches that score the moves are the
// session's (see session.cpp).
#include "level.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iterator>

#include "options.h"
#include "reports.h"

namespace {

// The style at a few Elo marks, lowest first; styles between two marks are
// drawn by straight lines through them.
struct StyleMark {
  int elo;
  LevelStyle style;
};
constexpr StyleMark StyleMarks[] = {
    {LevelEloMin, {5, 55, 350}},
    {1470, {5, 36, 280}},
    {1785, {6, 18, 180}},
    {1830, {6, 9, 125}},
    {LevelEloMax, {7, 1, 50}},
};

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

LevelStyle LevelStyleFor(int elo) {
  elo = std::clamp(elo, LevelEloMin, LevelEloMax);
  const StyleMark *high = std::begin(StyleMarks) + 1;
  while (high + 1 < std::end(StyleMarks) && high->elo < elo) ++high;
  const StyleMark &low = high[-1];
  // The search depth steps up at a mark; the chances change smoothly.
  return {elo < high->elo ? low.style.childPlies : high->style.childPlies,
          Between(low.style.spreadCp, high->style.spreadCp, elo, low.elo, high->elo),
          Between(low.style.largestLossCp, high->style.largestLossCp, elo, low.elo, high->elo)};
}

std::vector<double> LevelChances(const std::vector<int32_t> &losses, const LevelStyle &style) {
  std::vector<double> chances;
  for (const int32_t loss : losses)
    chances.push_back(loss > style.largestLossCp ? 0.0 : std::exp(-double(loss) / std::max(1, style.spreadCp)));
  return chances;
}

int32_t ScoreLoss(int32_t best, int32_t score) { return Value(best) - Value(score); }

size_t ChooseLevelMove(const std::vector<ScoredMove> &moves, const LevelStyle &style) {
  size_t best = 0;
  for (size_t i = 1; i < moves.size(); ++i)
    if (Value(moves[i].score) > Value(moves[best].score)) best = i;
  if (moves[best].score > MateThreshold) return best;
  std::vector<int32_t> losses;
  for (const ScoredMove &move : moves) losses.push_back(ScoreLoss(moves[best].score, move.score));
  const std::vector<double> chances = LevelChances(losses, style);
  double total = 0;
  for (const double chance : chances) total += chance;
  // A draw in [0, total): 53 random bits as a fraction.
  double draw = double(NextRandom() >> 11) / double(uint64_t(1) << 53) * total;
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
