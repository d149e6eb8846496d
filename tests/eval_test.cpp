#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
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

// Counts every operator new of the test program, to show that the
// evaluation allocates nothing. The replacements pair malloc with free.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
std::atomic<long> Allocations{0};
void *operator new(std::size_t size) {
  ++Allocations;
  if (void *p = std::malloc(size ? size : 1)) return p;
  throw std::bad_alloc();
}
void operator delete(void *p) noexcept { std::free(p); }
void operator delete(void *p, std::size_t) noexcept { std::free(p); }
#pragma GCC diagnostic pop

namespace {

constexpr int Wide = ScoreInfinite;

// Tables built and the pawn cache taken once, parameters at their defaults.
void Prepare() {
  EnsureEngineTables();
  static const int allocated = AllocatePawnHash();
  (void)allocated;
  SetParameterDefaults();
}

// Everything a position is set from, so it can be mirrored and restored.
struct Snapshot {
  int32_t board[64];
  int32_t counters[64];
  int32_t castled[2];
  int side;
  int ep;
};

Snapshot Capture() {
  Snapshot p{};
  for (int s = 0; s < 64; ++s) p.board[s] = Board[s], p.counters[s] = MoveCounter[s];
  p.castled[White] = WhiteSide.castled;
  p.castled[Black] = BlackSide.castled;
  p.side = SideToMove;
  p.ep = Ply[0].epSquare;
  return p;
}

// Sets the position (game phase 0) and the root draw values to 0.
void Restore(const Snapshot &p) {
  for (int s = 0; s < 64; ++s) Board[s] = p.board[s], MoveCounter[s] = p.counters[s];
  WhiteSide.castled = p.castled[White];
  BlackSide.castled = p.castled[Black];
  SideToMove = p.side;
  GamePhase = 0;
  GameMoveCount = 0;
  ResetSearchState();
  Ply[0].epSquare = p.ep;
  DerivePositionState();
  DrawValue[White] = DrawValue[Black] = 0;
}

// The colour-mirrored twin: board flipped by rank, colours, side to move,
// castling rights and en passant exchanged.
Snapshot Mirror(const Snapshot &p) {
  Snapshot m{};
  for (int s = 0; s < 64; ++s) m.board[s ^ 56] = -p.board[s], m.counters[s ^ 56] = p.counters[s];
  m.castled[White] = p.castled[Black];
  m.castled[Black] = p.castled[White];
  m.side = !p.side;
  m.ep = p.ep ? p.ep ^ 56 : 0;
  return m;
}

// Calls visit at every position of the legal move tree to depth; returns
// the number of positions.
template <class Visit>
long Walk(int side, int ply, int depth, Visit &visit) {
  visit(side, ply);
  if (depth == 0) return 1;
  long nodes = 1;
  GenerateMoves(side, ply);
  for (int i = Ply[ply - 1].listEnd; i < Ply[ply].listEnd; ++i) {
    const Move move = MoveStack[i];
    MakeMove(side, move, ply);
    if (!InCheck(side)) nodes += Walk(!side, ply + 1, depth - 1, visit);
    UndoMove(side, move, ply);
  }
  return nodes;
}

bool MoveGenerationAvailable() {
  Prepare();
  SetFen(StartFen);
  GenerateMoves(White, 1);
  return Ply[1].listEnd - Ply[0].listEnd == 20;
}

const char *const TreeRoots[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1",
    "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - 1 8",
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
  // Rights where king and rook stand at home, sometimes.
  constexpr int Rights[4][3] = {{E1, H1, 1}, {E1, A1, 1}, {E8, H8, -1}, {E8, A8, -1}};
  if (pick(2)) {
    for (auto [king, rook, code] : Rights)
      if (p.board[king] == code * King && p.board[rook] == code * Rook) p.counters[king] = p.counters[rook] = 0;
  }
  p.castled[White] = pick(4) == 0;
  p.castled[Black] = pick(4) == 0;
  p.side = pick(2);
  Restore(p);
  return !InCheck(!p.side);
}

std::vector<Snapshot> TreePositions(int depth, int every) {
  std::vector<Snapshot> positions;
  long counter = 0;
  auto keep = [&](int, int) {
    if (counter++ % every == 0) positions.push_back(Capture());
  };
  for (const char *fen : TreeRoots) {
    SetFen(fen);
    Walk(SideToMove, 1, depth, keep);
  }
  return positions;
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

TEST(ColourSymmetry, MoveTreePositions) {
  if (!MoveGenerationAvailable()) GTEST_SKIP() << "move generation not built yet";
  const std::vector<Snapshot> positions = TreePositions(3, 97);
  for (const Snapshot &p : positions) ExpectColourSymmetry(p);
  EXPECT_GT(positions.size(), 300u);
}

// The tempo term is the one place where the evaluation is not symmetric:
// with the side to move White races a tempo ahead, Black never does.
TEST(ColourSymmetry, TempoTermFavoursOnlyWhite) {
  Prepare();
  // White's h-pawn and Black's king both six steps from h8: with White to
  // move the pawn is a tempo ahead, with Black to move it is not.
  SetFen("8/8/8/K7/8/1k6/7P/8 w - - 0 1");
  EXPECT_EQ(WinChances(White), 1);
  EXPECT_EQ(WinChances(Black), 0);
  // The mirrored twin with Black to move gets no tempo: 0, not 2.
  SetFen("8/7p/1K6/8/k7/8/8/8 b - - 0 1");
  EXPECT_EQ(WinChances(Black), 0);
}

TEST(PawnCache, CachedScoreEqualsFreshScoreOverMoveTrees) {
  if (!MoveGenerationAvailable()) GTEST_SKIP() << "move generation not built yet";
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
  for (const char *fen : {TreeRoots[0], TreeRoots[1], TreeRoots[2]}) {
    SetFen(fen);
    Walk(SideToMove, 1, fen == TreeRoots[2] ? 4 : 3, compare);
  }
  EXPECT_GT(positions, 100000);
}

TEST(Evaluate, AllocatesNothing) {
  Prepare();
  std::mt19937 random(7);
  Snapshot p;
  long before = Allocations, evaluations = 0;
  for (int trial = 0; trial < 200; ++trial) {
    if (!RandomPosition(random, p)) continue;
    PrepareSearchTables(p.side);
    Evaluate(p.side, -Wide, Wide, 1);
    ++evaluations;
  }
  EXPECT_GT(evaluations, 0);
  EXPECT_EQ(Allocations - before, 0);
}

// The breakdown adds up to the result, so the developer tool explains it.
TEST(Evaluate, TraceAddsUpToTheResult) {
  Prepare();
  std::mt19937 random(99);
  Snapshot p;
  for (int trial = 0; trial < 400; ++trial) {
    if (!RandomPosition(random, p)) continue;
    PrepareSearchTables(p.side);
    EvalTrace t;
    const int v = EvaluateTraced(p.side, -Wide, Wide, 1, t);
    ASSERT_EQ(v, Evaluate(p.side, -Wide, Wide, 1));
    ASSERT_EQ(v, t.result);
    if (t.exit == EvalExitDrawn) continue;
    int sum = t.material + t.pawnlessEnding + t.pawns + t.kingSafety + t.development + t.kingPlacement +
              t.oppositeBishops + t.clamp;
    for (int c : {White, Black})
      sum += t.knights[c] + t.bishops[c] + t.bishopSet[c] + t.rooks[c] + t.queens[c] + t.attack[c];
    ASSERT_EQ(sum, v) << trial;
  }
}

// Evaluates the position set from fen with White's tables at defaults.
EvalTrace Trace(const char *fen, int lower = -Wide, int upper = Wide) {
  Prepare();
  SetFen(fen);
  DrawValue[White] = DrawValue[Black] = 0;
  PrepareSearchTables(SideToMove);
  EvalTrace t;
  EvaluateTraced(SideToMove, lower, upper, 1, t);
  return t;
}

TEST(Evaluate, StartPositionIsLevel) {
  const EvalTrace t = Trace(StartFen);
  EXPECT_EQ(t.result, 0);
  EXPECT_EQ(t.exit, EvalExitFull);
}

TEST(Evaluate, DrawnMaterialGivesWhitesDrawValue) {
  Prepare();
  for (const char *fen : {"k7/8/8/8/8/8/P7/K7 w - - 0 1", "8/1k6/8/8/8/8/P7/K7 b - - 0 1",
                          "3bk3/8/8/8/8/8/8/R3K3 w - - 0 1", "4k3/8/8/8/8/8/8/3NK3 w - - 0 1"}) {
    SetFen(fen);
    DrawValue[White] = 15;
    DrawValue[Black] = -15;
    EXPECT_EQ(WinChances(SideToMove), 0) << fen;
    EXPECT_EQ(Evaluate(SideToMove, -Wide, Wide, 1), 15) << fen;
  }
}

TEST(Evaluate, OnlyWhiteCanWinKeepsBlacksAdvantageAtTheDrawValue) {
  // Black's rook pawns cannot pass White's king in the corner; White's h-pawn
  // still can run.
  Prepare();
  SetFen("8/8/8/p7/k7/p7/7P/1K6 w - - 0 1");
  DrawValue[White] = 15;
  DrawValue[Black] = -15;
  PrepareSearchTables(White);
  EXPECT_EQ(WinChances(White), 1);
  EvalTrace t;
  EXPECT_EQ(EvaluateTraced(White, -Wide, Wide, 1, t), 15);
  EXPECT_LT(t.beforeScaling, 15);
}

TEST(Evaluate, LazyExitsReturnThePartialValue) {
  const char *queenDown = "rnb1kbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR b KQkq - 0 1";
  EvalTrace t = Trace(queenDown, 1600, 1700);
  EXPECT_EQ(t.exit, EvalExitMaterial);
  EXPECT_EQ(t.result, MaterialBalance());
  t = Trace(queenDown, -Wide, -2000);
  EXPECT_EQ(t.exit, EvalExitMaterial);
  // Beyond the pawn margin but within the material margin.
  t = Trace(queenDown, 1300, 1400);
  EXPECT_EQ(t.exit, EvalExitPawns);
  EXPECT_EQ(t.result, t.material + t.pawns);
}

TEST(Evaluate, KnightOutpostBlockingTheCentrePawn) {
  // Knight e6 defended once by d5; Black has a knight, so half the outpost again.
  EvalTrace t = Trace("4k3/4p3/4N3/3P4/8/8/8/n3K3 w - - 0 1");
  EXPECT_EQ(t.knights[White], 6 + 20 + 10 + 12);
  // Without a Black minor piece able to exchange it, the full outpost again.
  t = Trace("4k3/4p3/4N3/3P4/8/8/8/4K3 w - - 0 1");
  EXPECT_EQ(t.knights[White], 6 + 20 + 20 + 12);
  // A pawn on f7 can drive it away: table value only.
  t = Trace("4k3/4pp2/4N3/3P4/8/8/8/4K3 w - - 0 1");
  EXPECT_EQ(t.knights[White], 6);
  // Mirrored for Black.
  t = Trace("4k3/8/8/8/3p4/4n3/4P3/N3K3 b - - 0 1");
  EXPECT_EQ(t.knights[Black], -(6 + 20 + 10 + 12));
}

TEST(Evaluate, TrappedBishop) {
  // Lone dark-squared bishop on a7, no White pawns on dark squares.
  EvalTrace t = Trace("4k3/B7/1p6/8/8/8/2P5/4K3 w - - 0 1");
  EXPECT_EQ(t.bishopSet[White], -175);
  t = Trace("4k3/B7/8/1p6/8/8/2P5/4K3 w - - 0 1");
  EXPECT_EQ(t.bishopSet[White], 0);
  t = Trace("4k3/6p1/8/8/8/6P1/7b/4K3 b - - 0 1");
  EXPECT_EQ(t.bishopSet[Black], 175 + 4 * 1);  // g7 is a dark square like h2
}

TEST(Evaluate, BishopSetTerms) {
  // Pair with seven pawns, fianchetto with the king on g1 next to g2.
  EvalTrace t = Trace("r2qk2r/pppppppp/8/8/8/6P1/1PPPPPBP/RQB3K1 w kq - 0 1");
  EXPECT_EQ(t.bishopSet[White], 15 + 10);
  // A lone bishop pays 4 per own pawn on its colour: f1, d3 and e2 are light.
  t = Trace("4k3/8/8/8/8/3P4/4P3/4KB2 w - - 0 1");
  EXPECT_EQ(t.bishopSet[White], -4 * 2);
}

TEST(Evaluate, RookFilesAndSeventhRank) {
  // Open d-file: file value 6 + 24.
  EvalTrace t = Trace("4k3/ppp2ppp/8/8/8/8/PPP2PPP/3RK3 w - - 0 1");
  EXPECT_EQ(t.rooks[White], 6 + 24);
  // Half-open c-file (Black pawn c7): +5; its rank reaches d1 on an open file.
  t = Trace("4k3/ppp2ppp/8/8/8/8/PP3PPP/1NR1K3 w - - 0 1");
  EXPECT_EQ(t.rooks[White], 4 + 5);
  // Boxed in by knights, far from the only open file (h): -12 as well.
  t = Trace("4k3/ppppppp1/8/8/8/8/PP1PPPP1/1NRNK3 w - - 0 1");
  EXPECT_EQ(t.rooks[White], 4 - 12 + 5);
  // Two rooks on the seventh with the king on the eighth: each 24 + 30 + 16.
  t = Trace("4k3/RR5p/8/8/8/8/7P/4K3 w - - 0 1");
  EXPECT_EQ(t.rooks[White], 2 * (0 + 24 + 30 + 16));
  // Rook behind its own passer (+40) and in front of it (-20).
  t = Trace("4k3/8/8/3P4/8/8/8/3RK3 w - - 0 1");
  EXPECT_EQ(t.rooks[White], 6 + 40);
  t = Trace("3R4/8/7k/3P4/8/8/8/4K3 w - - 0 1");
  EXPECT_EQ(t.rooks[White], 6 - 20);
}

TEST(Evaluate, OppositeBishopsHalveTheScore) {
  // White three pawns ahead on files b to g, bishops alone.
  EvalTrace t = Trace("4k3/8/5b2/8/2PPP3/8/4B3/4K3 w - - 0 1");
  EXPECT_EQ(t.exit, EvalExitBishops);
  EXPECT_EQ(t.result, t.beforeScaling / 2);
  // Material equal within two pawns: a quarter.
  t = Trace("4k3/6p1/5b2/8/2PP4/8/4B3/4K3 w - - 0 1");
  EXPECT_EQ(t.result, t.beforeScaling / 4);
  // Same-coloured bishops: unchanged.
  t = Trace("4k3/8/4b3/8/2PPP3/8/4B3/4K3 w - - 0 1");
  EXPECT_EQ(t.result, t.beforeScaling);
  // Extra rooks on both sides: the material difference is kept whole.
  t = Trace("r3k3/8/5b2/8/2PPP3/8/4B3/R3K3 w - - 0 1");
  const int d = 300;
  EXPECT_EQ(t.result, (t.beforeScaling - d) / 2 + d);
}

TEST(Evaluate, EndgameSkipsKingSafety) {
  EvalTrace t = Trace("6k1/5ppp/8/8/8/8/Q4PPP/6K1 w - - 0 1");
  EXPECT_EQ(t.kingSafety, 0);
  EXPECT_EQ(t.kingDanger[White], 0);
  EXPECT_EQ(t.kingDanger[Black], 0);
  EXPECT_EQ(t.attack[White], OffensiveTable[White][t.attackSum[White] + 8]);
  EXPECT_EQ(t.attack[Black], -OffensiveTable[Black][t.attackSum[Black] + 8]);
}

TEST(Evaluate, QueenFarFromTheKingLowersTheAttackSumToMinusEight) {
  // Two queens on the a-file against a king on g8, more than four pawns:
  // each lowers the sum by 8, the second only down to -8.
  EvalTrace t = Trace("6k1/5ppp/8/8/Q7/Q7/PPPPPPPP/4K3 w - - 0 1");
  EXPECT_EQ(t.attackSum[White], -8);
  EXPECT_EQ(t.attack[White], OffensiveTable[White][0]);
}

TEST(KingSafety, ShelterAndAttackers) {
  Prepare();
  // Castled king g1 behind f2, g3, h2, a Black bishop on f3 and a Black queen.
  SetFen("q5k1/5ppp/8/8/8/5bP1/5P1P/6K1 w - - 0 1");
  PrepareSearchTables(White);
  EvaluatePawns(White, 1);
  const int safety = KingSafety();
  // g1 weighs 0; king-side shelter: g2 missing (2); the bishop on f3 (3).
  EXPECT_EQ(WhiteKingDanger, 0 + 2 + 3);
  EXPECT_EQ(BlackKingDanger, 0);
  EXPECT_EQ(safety, SafetyBase[0] - SafetyBase[5]);
  // Uncastled king with both rights and an open e-file.
  SetFen("r3k2r/pppp1ppp/8/8/8/8/PPPP1PPP/R3K2R w KQkq - 0 1");
  EvaluatePawns(White, 1);
  KingSafety();
  EXPECT_EQ(WhiteKingDanger, (3 + 4) / 2);
}

TEST(Development, QueensAndCastlingRights) {
  Prepare();
  SetFen("rnb1kbnr/pppp1ppp/8/4p2q/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
  EXPECT_EQ(Development(), 15);
  SetFen("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w kq - 0 1");
  EXPECT_EQ(Development(), -35);
  WhiteSide.castled = 1;
  EXPECT_EQ(Development(), 0);
  SetFen("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w Kkq - 0 1");
  EXPECT_EQ(Development(), 0);  // one right left
}

TEST(InitEvaluationTables, BlackTablesMirrorWhites) {
  Prepare();
  for (int s = 0; s < 64; ++s) {
    EXPECT_EQ(KnightTables[Black][s], KnightTables[White][s ^ 56]);
    EXPECT_EQ(KingTablesQueenSide[Black][s], KingTablesQueenSide[White][s ^ 56]);
    EXPECT_EQ(PawnSquareTables[Black][s], PawnSquareTables[White][s ^ 56]);
  }
  // Printed rank 8 on top: the first printed line is the eighth rank.
  EXPECT_EQ(KnightTables[White][A8], -32);
  EXPECT_EQ(QueenTables[White][A7], -15);
  EXPECT_EQ(PawnSquareTables[White][D2], -7);
  EXPECT_EQ(KingDangerTables[White][B1], 0);
  EXPECT_EQ(KingDangerTables[Black][B8], 0);
}

}  // namespace
