// Several lines: the passes over root moves with scripted child searches, and
// whole searches of the library with MultiPV and searchmoves.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "lines.h"
#include "options.h"
#include "support/live_session.h"

namespace {

// Child searches from a table: the score (from the child's side) by moves
// searched and plies, else by moves alone; every search is recorded.
struct ScriptedChildren {
  std::map<std::pair<std::string, int>, int32_t> byPlies;
  std::map<std::string, int32_t> byMoves;
  std::vector<std::pair<std::string, int>> searched;
  size_t stopAfter = SIZE_MAX;  // the go ends once this many searches ran

  LinesRequest Request(size_t count, int lastDepth) {
    LinesRequest request;
    request.count = count;
    request.lastDepth = lastDepth;
    request.search = [this](const std::string &moves, int plies, int32_t &score, std::string &line) {
      searched.push_back({moves, plies});
      const auto at = byPlies.find({moves, plies});
      score = at != byPlies.end() ? at->second : byMoves.at(moves);
      line = "x" + std::to_string(plies);
      return true;
    };
    request.stopped = [this] { return searched.size() >= stopAfter; };
    request.mayDeepen = [](int) { return true; };
    return request;
  }
};

std::vector<RootChild> Children(const std::vector<std::string> &moves) {
  std::vector<RootChild> children;
  for (const std::string &move : moves) children.push_back(RootChild{move, false, false, ""});
  return children;
}

std::vector<std::string> Moves(const std::vector<ScoredMove> &lines) {
  std::vector<std::string> moves;
  for (const ScoredMove &line : lines) moves.push_back(line.move + ":" + std::to_string(line.score));
  return moves;
}

TEST(LinePasses, KeepTheBestMovesFirstAndSearchTheOthersShallowerUnlessTheyBeatTheLastLine) {
  ScriptedChildren script;
  // Child scores: the root's are their negatives.
  script.byMoves = {{"a", -10}, {"b", -30}, {"c", 20}, {"d", -20}, {"e", 50}, {"f", 40}};
  // At 6 and 9 plies e turns out best: its reduced search beats the second line.
  script.byPlies = {{{"e", 6}, -100}, {{"e", 9}, -100}};
  LinesRequest request = script.Request(2, 10);
  std::vector<std::vector<std::string>> passes;
  request.completed = [&](int depth, const std::vector<ScoredMove> &lines) {
    passes.push_back(Moves(lines));
    EXPECT_EQ(depth, LinesMinimumDepth + int(passes.size()) - 1);
  };
  int depth = 0;
  const std::vector<ScoredMove> lines = SearchLines(Children({"a", "b", "c", "d", "e", "f"}), request, depth);
  EXPECT_EQ(depth, 10);
  EXPECT_EQ(passes.front(), (std::vector<std::string>{"b:30", "d:20"}));
  EXPECT_EQ(passes.back(), (std::vector<std::string>{"e:100", "b:30"}));
  EXPECT_EQ(Moves(lines), passes.back());
  EXPECT_EQ(lines[0].line, "e x9");
  // The first pass searches every move in full; later ones the first three
  // of the last order in full, the others three plies shallower (never below
  // five), and e again in full once it beat d.
  const std::vector<std::pair<std::string, int>> lastPass(script.searched.end() - 7, script.searched.end());
  EXPECT_EQ(lastPass, (std::vector<std::pair<std::string, int>>{
                          {"b", 9}, {"d", 9}, {"a", 9}, {"c", 6}, {"f", 6}, {"e", 6}, {"e", 9}}));
}

TEST(LinePasses, AStopKeepsTheLastCompletePassOrTheFirstPassSoFarAndTheFirstPassAlwaysStarts) {
  ScriptedChildren script;
  script.byMoves = {{"a", -10}, {"b", -30}, {"c", 20}};
  LinesRequest request = script.Request(3, 20);
  script.stopAfter = 5;  // within the second pass
  int depth = 0;
  EXPECT_EQ(Moves(SearchLines(Children({"a", "b", "c"}), request, depth)),
            (std::vector<std::string>{"b:30", "a:10", "c:-20"}));
  EXPECT_EQ(depth, LinesMinimumDepth);
  script.searched.clear();
  script.stopAfter = 2;  // within the first
  EXPECT_EQ(Moves(SearchLines(Children({"a", "b", "c"}), request, depth)), (std::vector<std::string>{"b:30", "a:10"}));
  EXPECT_EQ(depth, LinesMinimumDepth);
  // Time allows no deeper pass: the first is still searched whole.
  script.stopAfter = SIZE_MAX;
  request.mayDeepen = [](int) { return false; };
  EXPECT_EQ(SearchLines(Children({"a", "b", "c"}), request, depth).size(), 3u);
  EXPECT_EQ(depth, LinesMinimumDepth);
}

TEST(LinePasses, GameEndsNeedNoSearchAndAForcedReplyIsSearchedPast) {
  ScriptedChildren script;
  // After "f reply" the root's side is to move again: its own view.
  script.byMoves = {{"a", 0}, {"f", -20}, {"f r", ScoreInfinite - 8}};
  std::vector<RootChild> children = Children({"a", "m", "s", "f"});
  children[1].mates = true;
  children[2].stalemates = true;
  children[3].reply = "r";
  int depth = 0;
  const std::vector<ScoredMove> lines = SearchLines(children, script.Request(4, 7), depth);
  EXPECT_EQ(Moves(lines), (std::vector<std::string>{"m:" + std::to_string(ScoreInfinite - 2),
                                                    "f:" + std::to_string(ScoreInfinite - 10), "a:0", "s:0"}));
  EXPECT_EQ(lines[1].line, "f r x5");
  // At the fewest plies the library reports, the forced position itself is searched.
  ScoredMove scored;
  ASSERT_TRUE(ScoreChild(children[3], MinimumReportedDepth, script.Request(1, 6).search, scored));
  EXPECT_EQ(scored.line, "f x5");
}

// The lines of a real search: the info lines of each depth with multipv.
struct Reported {
  std::map<int, std::vector<std::vector<std::string>>> byDepth;  // words of each line, in order
  std::string best;
};

Reported Search(const std::string &go) {
  std::vector<std::string> lines;
  Reported reported;
  reported.best = BestMove(GoAndWait(go, &lines));
  for (const std::string &line : lines) {
    const std::vector<std::string> words = SplitWords(line);
    if (words.size() > 4 && words[3] == "multipv") reported.byDepth[std::stoi(words[2])].push_back(words);
  }
  return reported;
}

// The word after a key word in an info line.
std::string After(const std::vector<std::string> &words, const std::string &key) {
  const auto at = std::find(words.begin(), words.end(), key);
  return at + 1 < words.end() ? *(at + 1) : "";
}

class LinesOfTheLibrary : public testing::Test {
 protected:
  static void SetUpTestSuite() { StartRealSession(); }
  static void TearDownTestSuite() { EndSession(); }
  void TearDown() override { SetOption(MultiPVOption, "1"); }
};

TEST_F(LinesOfTheLibrary, EachDepthReportsDistinctLinesBestFirstLineOnePlayedAndOneLineAMoveNamed) {
  ASSERT_EQ(SetOption(MultiPVOption, "3"), "");
  Position("fen r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3");
  const Reported reported = Search("depth 8");
  ASSERT_EQ(reported.byDepth.size(), 3u);
  for (const auto &[depth, lines] : reported.byDepth) {
    // Each depth once as it completes, and the last again before bestmove.
    ASSERT_EQ(lines.size(), depth == 8 ? 6u : 3u) << depth;
    std::set<std::string> first;
    for (size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(After(lines[i], "multipv"), std::to_string(i + 1));
      first.insert(After(lines[i], "pv"));
      if (i > 0) {
        EXPECT_GE(std::stoi(After(lines[i - 1], "cp")), std::stoi(After(lines[i], "cp"))) << depth;
      }
    }
    EXPECT_EQ(first.size(), 3u) << depth;
  }
  EXPECT_EQ(reported.best, After(reported.byDepth.at(8)[0], "pv"));
  // More lines than moves named: one line for each move.
  ASSERT_EQ(SetOption(MultiPVOption, "5"), "");
  const Reported two = Search("depth 6 searchmoves h2h3 a2a3");
  ASSERT_EQ(two.byDepth.at(6).size(), 4u);
  const std::set<std::string> moves = {After(two.byDepth.at(6)[0], "pv"), After(two.byDepth.at(6)[1], "pv")};
  EXPECT_EQ(moves, (std::set<std::string>{"a2a3", "h2h3"}));
}

}  // namespace
