// The evaluation: colour-mirror symmetry over random positions, the pawn
// cache against fresh scores over move trees, and a golden table of positions
// chosen to exercise one term or rule each.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "attacks.h"
#include "interface.h"
#include "make.h"
#include "moves.h"
#include "pawns.h"
#include "phase.h"
#include "score.h"
#include "support/position.h"
#include "undo.h"

namespace {

constexpr int Wide = ScoreInfinite;

// Tables built and the pawn cache taken once, parameters at their defaults.
void Prepare() {
  EnsureEngineTables();
  static const int allocated = AllocatePawnHash();
  (void)allocated;
  SetParameterDefaults();
}

// Sets the position (game phase 0) and the root draw values to 0.
void Restore(const Snapshot &p) {
  for (int s = 0; s < 64; ++s) Board[s] = p.board[s], MoveCounter[s] = p.counters[s];
  WhiteSide.castled = p.white.castled;
  BlackSide.castled = p.black.castled;
  SideToMove = p.side;
  GamePhase = 0;
  GameMoveCount = 0;
  ResetSearchState();
  Ply[0].epSquare = p.ep;
  DerivePositionState();
  DrawValue[White] = DrawValue[Black] = 0;
}

// The colour-mirrored twin: board flipped by rank, colours, side to move and
// castled flags exchanged.
Snapshot Mirror(const Snapshot &p) {
  Snapshot m{};
  for (int s = 0; s < 64; ++s) m.board[s ^ 56] = -p.board[s], m.counters[s ^ 56] = p.counters[s];
  m.white.castled = p.black.castled;
  m.black.castled = p.white.castled;
  m.side = !p.side;
  return m;
}

// Calls visit at every position of the legal move tree to depth.
template <class Visit>
void Walk(int side, int ply, int depth, Visit &visit) {
  visit(side, ply);
  if (depth == 0) return;
  GenerateMoves(side, ply);
  for (int i = Ply[ply - 1].listEnd; i < Ply[ply].listEnd; ++i) {
    const Move move = MoveStack[i];
    MakeMove(side, move, ply);
    if (!InCheck(side)) Walk(!side, ply + 1, depth - 1, visit);
    UndoMove(side, move, ply);
  }
}

const char *const TreeRoots[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
};

// 1 when a side with only rook pawns and at most one minor piece meets the
// side-to-move tempo of the win-chances test, which favours White alone.
bool TempoTermApplies() {
  if (WhiteSide.pieceUnits >= 9 || BlackSide.pieceUnits >= 9) return false;
  for (const SideRecord *side : {&WhiteSide, &BlackSide})
    if (side->pawns && !(side->pawns & FilesBToG) && side->pieceUnits < 4) return true;
  return false;
}

// A random position with one king per side and pawns off the edge ranks;
// returns false when the side not to move stands in check.
bool RandomPosition(std::mt19937 &random, Snapshot &p) {
  p = Snapshot{};
  auto pick = [&](int n) { return int(random() % unsigned(n)); };
  const int whiteKing = pick(64);
  int blackKing;
  do blackKing = pick(64);
  while (Distance[whiteKing][blackKing] < 2);
  p.board[whiteKing] = King;
  p.board[blackKing] = -King;
  const int count = pick(24);
  constexpr int Kinds[10] = {Pawn, Pawn, Pawn, Pawn, Knight, Bishop, Bishop, Rook, Rook, Queen};
  for (int i = 0; i < count; ++i) {
    const int s = pick(64), kind = Kinds[pick(10)];
    if (p.board[s] || (kind == Pawn && (Rank(s) == 0 || Rank(s) == 7))) continue;
    p.board[s] = pick(2) ? kind : -kind;
  }
  for (int s = 0; s < 64; ++s) p.counters[s] = 1;
  p.white.castled = pick(4) == 0;
  p.black.castled = pick(4) == 0;
  p.side = pick(2);
  Restore(p);
  return !InCheck(!p.side);
}

// Evaluation of the restored snapshot at the root with the tables its root
// side would build and the game phase forced; side is the one passed to
// the win-chances test.
int EvaluateAt(const Snapshot &p, int phase, int lower, int upper, int side) {
  Restore(p);
  PrepareSearchTables(p.side);
  GamePhase = phase;
  return Evaluate(side, lower, upper, 1);
}

// Expects the position and its mirrored twin to evaluate to exact negatives
// over several windows and phases. Where the win-chances tempo could apply,
// both are evaluated as with Black to move, which gives neither side a tempo.
void ExpectColourSymmetry(const Snapshot &p) {
  Restore(p);
  const bool tempo = TempoTermApplies();
  const Snapshot m = Mirror(p);
  constexpr int Windows[][2] = {{-Wide, Wide}, {-30, 30}, {350, 400}, {-900, -850}, {120, 121}};
  for (int phase = 0; phase < 3; ++phase) {
    for (auto [lower, upper] : Windows) {
      const int v = EvaluateAt(p, phase, lower, upper, tempo ? Black : p.side);
      const int twin = EvaluateAt(m, phase, -upper, -lower, tempo ? Black : m.side);
      if (v != -twin) {
        ADD_FAILURE() << "phase " << phase << " window " << lower << ".." << upper << ": " << v << " vs "
                      << twin;
        return;
      }
    }
  }
}

TEST(ColourSymmetry, RandomPositions) {
  Prepare();
  std::mt19937 random(2024);
  int checked = 0;
  for (int trial = 0; trial < 600; ++trial) {
    Snapshot p;
    if (!RandomPosition(random, p)) continue;
    SCOPED_TRACE(trial);
    ExpectColourSymmetry(p);
    ++checked;
  }
  EXPECT_GT(checked, 300);
}

TEST(PawnCache, CachedScoreEqualsFreshScoreOverMoveTrees) {
  Prepare();
  ClearPawnHash();
  long positions = 0;
  auto compare = [&](int side, int ply) {
    ++positions;
    PrepareSearchTables(side);
    const int cached = Evaluate(side, -Wide, Wide, ply);
    const PawnEntry kept = *CurrentPawnEntry;
    CurrentPawnEntry->key = ~Ply[ply].pawnKey;  // forces a fresh computation
    const int fresh = Evaluate(side, -Wide, Wide, ply);
    ASSERT_EQ(cached, fresh);
    ASSERT_EQ(std::memcmp(&kept, CurrentPawnEntry, sizeof kept), 0);
  };
  for (const char *fen : TreeRoots) {
    SetFen(fen);
    Walk(SideToMove, 1, fen == TreeRoots[2] ? 4 : 3, compare);
  }
  EXPECT_GT(positions, 100000);
}

// Evaluation of the position set from fen at the root with its side to
// move, whose draw value is 15 (so a draw scores 15 or -15, not 0).
int EvaluationOf(const std::string &fen) {
  Prepare();
  SetFen(fen.c_str());
  DrawValue[SideToMove] = 15;
  DrawValue[!SideToMove] = -15;
  PrepareSearchTables(SideToMove);
  return Evaluate(SideToMove, -Wide, Wide, 1);
}

struct Golden {
  const char *fen;
  int value;  // White's view
  const char *what;
};

void PrintTo(const Golden &g, std::ostream *out) { *out << g.what; }

// Positions chosen to exercise one term or rule each, pinned to their full
// evaluation; each colour-mirrored twin must give the negated value.
class GoldenEvaluation : public testing::TestWithParam<Golden> {};

TEST_P(GoldenEvaluation, PositionAndMirror) {
  EXPECT_EQ(EvaluationOf(GetParam().fen), GetParam().value) << GetParam().fen;
  EXPECT_EQ(EvaluationOf(MirrorFen(GetParam().fen)), -GetParam().value) << MirrorFen(GetParam().fen);
}

const Golden GoldenCases[] = {
    {StartFen, 0, "start position"},
    {"4k3/4p3/4N3/3P4/8/8/8/n3K3 w - - 0 1", 113, "knight outpost, exchangeable"},
    {"4k3/4p3/4N3/3P4/8/8/8/4K3 w - - 0 1", 393, "knight outpost, to stay"},
    {"4k3/4pp2/4N3/3P4/8/8/8/4K3 w - - 0 1", 207, "knight a pawn can drive away"},
    {"4k3/B7/1p6/8/8/8/2P5/4K3 w - - 0 1", 111, "trapped bishop"},
    {"4k3/B7/8/1p6/8/8/2P5/4K3 w - - 0 1", 307, "bishop on a7, not trapped"},
    {"r2qk2r/pppppppp/8/8/8/6P1/1PPPPPBP/RQB3K1 w kq - 0 1", 119, "bishop pair and fianchetto"},
    {"4k3/8/8/8/8/3P4/4P3/4KB2 w - - 0 1", 520, "lone bishop behind its pawns"},
    {"4k3/ppp2ppp/8/8/8/8/PPP2PPP/3RK3 w - - 0 1", 660, "rook on the open file"},
    {"4k3/ppppppp1/8/8/8/8/PP1PPPP1/1NRNK3 w - - 0 1", 975, "rook boxed in, far from the open file"},
    {"4k3/RR5p/8/8/8/8/7P/4K3 w - - 0 1", 1270, "rooks on the seventh"},
    {"4k3/8/8/3P4/8/8/8/3RK3 w - - 0 1", 838, "rook behind its passer"},
    {"3R4/8/7k/3P4/8/8/8/4K3 w - - 0 1", 810, "rook in front of its passer"},
    {"4k3/8/p7/8/R7/p7/8/4K3 w - - 0 1", 410, "rook between doubled enemy passers"},
    {"4k3/8/5b2/8/2PPP3/8/4B3/4K3 w - - 0 1", 237, "opposite bishops halve"},
    {"4k3/6p1/5b2/8/2PP4/8/4B3/4K3 w - - 0 1", 55, "opposite bishops quarter"},
    {"r3k3/8/5b2/8/2PPP3/8/4B3/R3K3 w - - 0 1", 387, "opposite bishops with rooks"},
    {"6k1/5ppp/8/8/8/8/Q4PPP/6K1 w - - 0 1", 1010, "endgame without king safety"},
    {"6k1/5ppp/8/8/Q7/Q7/PPPPPPPP/4K3 w - - 0 1", 2424, "queens far from the king"},
    {"q5k1/5ppp/8/8/8/5bP1/5P1P/6K1 w - - 0 1", -1228, "shelter and attackers"},
    {"r2qk2r/pppp1ppp/8/8/8/8/PPPP1PPP/R2QK2R w KQ - 0 1", 35, "uncastled kings, open e-file"},
    {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w kq - 0 1", -35, "White lost its castling"},
    {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQ1KNR w kq - 0 1", -462, "White king moved"},
    {"rnb1kbnr/pppp1ppp/8/4p2q/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", -13, "early queen"},
    {"7k/4n1pp/3KP3/8/8/8/6PP/R7 w - - 0 1", 494, "blocked passer, king beside it"},
    {"7k/4n1pp/4P3/3K4/8/8/6PP/R7 w - - 0 1", 434, "blocked passer, king behind"},
    {"4k3/8/4K3/4P3/8/8/8/8 w - - 0 1", 782, "king leads its pawn"},
    {"2k5/8/1K6/P7/8/8/8/8 w - - 0 1", 815, "king leads the rook pawn"},
    {"4k3/8/8/4P3/4K3/8/8/8 w - - 0 1", 222, "king behind its pawn"},
    {"8/8/8/8/7k/1K6/P7/6N1 w - - 0 1", 1089, "king leads the a-pawn from the b-file"},
    {"8/8/8/8/k7/6K1/7P/1N6 w - - 0 1", 1089, "king leads the h-pawn from the g-file"},
    {"8/8/5k2/8/8/1K6/P7/6N1 w - - 0 1", 444, "king ahead of its a-pawn, no nearer the corner"},
    {"8/8/8/8/7k/8/PK6/6N1 w - - 0 1", 459, "king beside its a-pawn"},
    {"4k3/pp3p1p/2p3p1/8/1P1P4/P3P2P/5P2/4K3 w - - 0 1", 21, "pawn structure"},
    {"4k3/8/8/8/2P5/2P5/8/4K3 w - - 0 1", 209, "doubled isolated pawns"},
    {"4k3/p7/8/1P6/8/P7/8/4K3 w - - 0 1", 111, "backward and passed pawns"},
    {"6k1/5pp1/8/8/8/5PP1/7P/6K1 w - - 0 1", 108, "shelter with a pawn chain"},
    {"6k1/8/8/8/5PPP/8/8/6K1 w - - 0 1", 474, "shelter pushed to the fourth rank"},
    {"rr2k3/8/8/8/8/8/8/3QK3 w - - 0 1", -10, "queen against two rooks"},
    {"1nb1k3/8/8/8/8/8/8/R3K3 w - - 0 1", -250, "rook against two minors"},
    {"rb2k3/8/8/8/8/8/8/3QK3 w - - 0 1", 190, "queen against rook and minor"},
    {"3qk3/8/8/8/8/8/8/1NBNK3 w - - 0 1", 120, "three minors against a queen"},
    {"r2bk3/pp6/8/8/8/8/PP6/R2QKB2 w - - 0 1", 1036, "one side below the endgame line"},
    {"7k/8/8/8/8/8/8/1NB1K3 w - - 0 1", 820, "bishop and knight, right corner"},
    {"k7/8/8/8/8/8/8/1N2KB2 w - - 0 1", 820, "bishop and knight, light corner"},
    {"8/8/8/3k4/8/8/8/1NB1K3 w - - 0 1", 750, "bishop and knight, king in the centre"},
    {"k7/8/2K5/8/8/8/8/7R w - - 0 1", 735, "rook drives the king to the edge"},
    {"8/8/8/3K4/8/8/8/r3k3 b - - 0 1", -645, "Black's rook against the king"},
    {"3bk3/8/8/8/8/8/8/R3K3 w - - 0 1", 15, "rook against bishop is drawn"},
    {"4k3/8/8/8/8/8/1PP5/4K1n1 w - - 0 1", 15, "a knight up without pawns cannot win"},
    {"4k3/8/8/8/8/8/1PP5/4KN2 w - - 0 1", 521, "a knight up, and only that side can win"},
    {"8/8/3k4/8/P3K3/8/8/8 b - - 0 1", -15, "the king catches the rook pawn"},
    {"4k3/8/8/8/8/8/P7/4KB2 w - - 0 1", 414, "bishop guards the corner"},
    {"8/1k6/8/8/8/8/P7/2B1K3 w - - 0 1", 15, "wrong bishop"},
    {"4k1n1/8/8/8/8/8/8/1NN1K3 w - - 0 1", 15, "two knights against one"},
    {"4k1r1/8/8/8/8/8/8/RB2K3 w - - 0 1", 15, "rook and bishop against rook"},
};

INSTANTIATE_TEST_SUITE_P(Terms, GoldenEvaluation, testing::ValuesIn(GoldenCases));

// A lone rook pawn cannot win when the defending king stands beside its
// promotion corner, or nearer to it than the other king and no farther than
// the pawn; the side to move gains a tempo in that race only if it is White.
TEST(WinChances, RookPawnRaceCountsOnlyWhitesTempo) {
  const struct {
    const char *fen;
    int mask;  // bit 0: White can win, bit 1: Black can
  } cases[] = {
      {"8/8/3k4/8/P3K3/8/8/8 w - -", 1}, {"8/8/3k4/8/P3K3/8/8/8 b - -", 0}, {"8/8/8/p3k3/8/3K4/8/8 b - -", 0},
      {"8/8/8/7p/4k3/8/8/4K3 b - -", 2}, {"8/8/8/7p/4k3/8/8/4K3 w - -", 0}, {"8/3k4/8/P7/5K2/8/8/8 w - -", 1},
      {"8/3k4/8/P7/5K2/8/8/8 b - -", 0}, {"1k6/8/2K5/P7/8/8/8/8 w - -", 0},
  };
  for (const auto &c : cases) {
    SetFen(c.fen);
    EXPECT_EQ(WinChances(SideToMove), c.mask) << c.fen;
  }
}

// The game phase: the opening while castling is kept, the endgame once both
// sides are below fifteen piece units, and never back.
TEST(GamePhase, EndgameNeedsBothSidesBelowFifteenUnits) {
  const struct {
    const char *fen;
    int phase;
  } cases[] = {
      {StartFen, 0},
      {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w - - 0 1", 1},
      {"r2bk3/pp6/8/8/8/8/PP6/R2QKB2 w - - 0 1", 1},
      {"r2bk3/pp6/8/8/8/8/PP6/R2BK3 w KQkq - 0 1", 2},
  };
  for (const auto &c : cases) {
    Prepare();
    SetFen(c.fen);
    PrepareSearchTables(SideToMove);
    EXPECT_EQ(GamePhase, c.phase) << c.fen;
  }
  Board[D4] = Queen;
  DerivePositionState();
  PrepareSearchTables(White);
  EXPECT_EQ(GamePhase, 2) << "a queen back on the board";
}

}  // namespace
