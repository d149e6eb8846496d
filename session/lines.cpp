// Root moves scored by searches of the positions after them, and passes of
// such searches that keep the best few lines.
#include "lines.h"

#include <algorithm>
#include <numeric>

#include "reports.h"
#include "rules.h"

namespace {

// Root moves outside the lines (and the one after them) are searched this
// many plies shallower, and again in full only when they beat the last line:
// the lines cost a fraction of searching every root move in full.
constexpr int RootReduction = 3;

// A root move's score from the search of the position after it: the child's
// score turned to the root's side, its mates one ply further away.
int32_t ScoreFromChild(int32_t childScore) {
  const int32_t score = -childScore;
  return score > MateThreshold ? score - 1 : score < -MateThreshold ? score + 1 : score;
}

// A root move in a pass: which child, its score and line, and whether it was
// searched to the pass's full depth.
struct Ranked {
  size_t child;
  ScoredMove scored;
  bool full;
};

// The score of the count-th best move searched in full so far; false while
// fewer were.
bool LastLineScore(const std::vector<Ranked> &pass, size_t count, int32_t &score) {
  std::vector<int32_t> scores;
  for (const Ranked &entry : pass)
    if (entry.full) scores.push_back(entry.scored.score);
  if (scores.size() < count) return false;
  std::nth_element(scores.begin(), scores.begin() + long(count - 1), scores.end(), std::greater<>());
  score = scores[count - 1];
  return true;
}

// One pass to depth over the children in the order given; the pass holds
// each move as scored. False when the go ended before the pass did.
bool RunPass(const std::vector<RootChild> &children, const LinesRequest &request, int depth,
             const std::vector<size_t> &order, std::vector<Ranked> &pass) {
  const int plies = depth - 1;
  const int reduced = std::max(MinimumReportedDepth, plies - RootReduction);
  for (size_t i = 0; i < order.size(); ++i) {
    const RootChild &child = children[order[i]];
    if (request.searching) request.searching(depth, i + 1, child.move);
    Ranked entry{order[i], {}, true};
    int32_t last = 0;
    if (i > request.count && reduced < plies && LastLineScore(pass, request.count, last)) {
      if (!ScoreChild(child, reduced, request.search, entry.scored) || request.stopped()) return false;
      if (entry.scored.score <= last) {
        entry.full = false;
        pass.push_back(entry);
        continue;
      }
    }
    if (!ScoreChild(child, plies, request.search, entry.scored)) return false;
    pass.push_back(entry);
    // A search stopped early may have given a shallower line, but only a first
    // pass, at the fewest plies, is kept unfinished.
    if (request.stopped()) return false;
  }
  return true;
}

}  // namespace

std::vector<RootChild> RootChildren(const std::string &fen, const std::vector<std::string> &moves) {
  std::vector<RootChild> children;
  for (const std::string &move : moves) {
    RootChild child;
    child.move = move;
    std::string next, after;
    bool irreversible = false;
    if (RulesPlay(fen, move, next, irreversible)) {
      const std::vector<std::string> replies = RulesLegalMoves(next);
      child.mates = replies.empty() && RulesInCheck(next);
      child.stalemates = replies.empty() && !child.mates;
      if (replies.size() == 1 && RulesPlay(next, replies[0], after, irreversible) && !RulesLegalMoves(after).empty())
        child.reply = replies[0];
    }
    children.push_back(child);
  }
  return children;
}

std::vector<std::string> ChosenRootMoves(const std::vector<std::string> &legal, const std::vector<std::string> &named,
                                         std::vector<std::string> &notes) {
  std::vector<std::string> chosen;
  for (const std::string &move : legal)
    if (std::find(named.begin(), named.end(), move) != named.end()) chosen.push_back(move);
  for (const std::string &move : named)
    if (std::find(legal.begin(), legal.end(), move) == legal.end())
      notes.push_back("searchmoves: " + move + " is not a legal move here");
  if (!chosen.empty()) return chosen;
  if (!named.empty()) notes.push_back("searchmoves names no legal move: searching all moves");
  return legal;
}

bool ScoreChild(const RootChild &child, int plies, const PositionSearch &search, ScoredMove &scored) {
  scored = ScoredMove{child.move, 0, child.move};
  if (child.mates || child.stalemates) {
    // The mated side is mated at the child's own ply, the root's second.
    scored.score = child.mates ? ScoreInfinite - 2 : 0;
    return true;
  }
  // The library searches a position with one legal move only to the fewest
  // plies: past a forced reply the search goes on from the position after it.
  const bool past = !child.reply.empty() && plies > MinimumReportedDepth;
  int32_t score = 0;
  std::string line;
  if (!search(past ? child.move + " " + child.reply : child.move, past ? plies - 1 : plies, score, line)) return false;
  scored.score = past ? ScoreFromChild(ScoreFromChild(score)) : ScoreFromChild(score);
  if (past) scored.line += " " + child.reply;
  scored.line += " " + line;
  return true;
}

std::vector<ScoredMove> ScoreRootMoves(const std::vector<RootChild> &children, int plies,
                                       const PositionSearch &search) {
  std::vector<ScoredMove> scored;
  for (const RootChild &child : children) {
    ScoredMove entry;
    if (!ScoreChild(child, plies, search, entry)) break;
    scored.push_back(entry);
  }
  return scored;
}

std::vector<ScoredMove> SearchLines(const std::vector<RootChild> &children, const LinesRequest &request, int &depth) {
  std::vector<size_t> order(children.size());
  std::iota(order.begin(), order.end(), size_t(0));
  std::vector<ScoredMove> best;
  depth = 0;
  for (int next = LinesMinimumDepth; next <= request.lastDepth && (depth == 0 || request.mayDeepen(next)); ++next) {
    std::vector<Ranked> pass;
    const bool complete = RunPass(children, request, next, order, pass);
    if (!complete && depth > 0) break;
    // Moves searched in full first, each group best first; among equals the
    // last pass's order stays.
    std::stable_sort(pass.begin(), pass.end(), [](const Ranked &a, const Ranked &b) {
      return a.full != b.full ? a.full : a.scored.score > b.scored.score;
    });
    best.clear();
    for (size_t i = 0; i < pass.size() && i < request.count; ++i) best.push_back(pass[i].scored);
    depth = best.empty() ? 0 : next;
    if (!complete) break;
    for (size_t i = 0; i < pass.size(); ++i) order[i] = pass[i].child;
    if (request.completed) request.completed(next, best);
  }
  return best;
}
