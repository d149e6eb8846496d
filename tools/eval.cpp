// varn-eval: prints the static evaluation of a position term by term, or
// measures evaluation speed over the positions of a move tree.
//
//   varn-eval [--param Name=Value]... "<fen>"
//   varn-eval --bench [depth] ["<fen>"]
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "attacks.h"
#include "board.h"
#include "init.h"
#include "interface.h"
#include "make.h"
#include "moves.h"
#include "pawns.h"
#include "phase.h"
#include "score.h"
#include "undo.h"
#include "utility.h"

namespace {

constexpr int Wide = ScoreInfinite;

// Sets the position and prepares the tables as the root search does.
void SetPosition(const char *fen) {
  SetUpPositionText(fen);
  DrawValue[SideToMove] = DrawScore;
  DrawValue[!SideToMove] = -DrawScore;
  PrepareSearchTables(SideToMove);
}

const char *PhaseName(int phase) { return phase == 0 ? "opening" : phase == 1 ? "middlegame" : "endgame"; }

const char *ExitName(int exit) {
  switch (exit) {
    case EvalExitDrawn: return "no side can win: White's draw value";
    case EvalExitMaterial: return "lazy exit after material";
    case EvalExitPawnless: return "no pawns: material and pawnless ending only";
    case EvalExitPawns: return "lazy exit after pawns";
    case EvalExitPositional: return "lazy exit after king safety / development / king placement";
    case EvalExitBishops: return "bishops of opposite colours alone: halved";
    default: return "all terms";
  }
}

const char *WinMaskName(int mask) {
  static const char *const names[4] = {"dead draw", "only White can win", "only Black can win",
                                       "both sides can win"};
  return names[mask & 3];
}

// One line: a term's White and Black parts and their sum.
void Row(const char *name, int white, int black) {
  std::printf("  %-24s %+7d %+7d %+7d\n", name, white, black, white + black);
}
void Total(const char *name, int value) { std::printf("  %-24s %7s %7s %+7d\n", name, "", "", value); }

void PrintBreakdown() {
  EvalTrace t;
  const int score = EvaluateTraced(SideToMove, -Wide, Wide, 1, t);
  const PawnEntry &e = *CurrentPawnEntry;
  std::printf("%s to move, %s (GamePhase %d), draw value White %+d Black %+d\n",
              SideToMove ? "White" : "Black", PhaseName(GamePhase), GamePhase, DrawValue[White],
              DrawValue[Black]);
  std::printf("Win chances: %d (%s); evaluated: %s\n\n", t.winMask, WinMaskName(t.winMask), ExitName(t.exit));
  std::printf("  %-24s %7s %7s %7s\n", "term (White's view)", "White", "Black", "total");
  Total("material", t.material);
  if (t.exit == EvalExitPawnless) Total("pawnless ending", t.pawnlessEnding);
  if (t.exit >= EvalExitPawns || t.exit == EvalExitFull) {
    Total("pawn structure (cached)", t.pawnStructure);
    Total("passers and pawn ending", t.pawns - t.pawnStructure);
    std::printf("  %-24s %7s %7s  open files %02X, passed files %02X / %02X\n", "", "", "", e.openFiles,
                e.whitePassedFiles(), e.blackPassedFiles());
    std::printf("  %-24s %7s %7s  shelter king side %d / %d, queen side %d / %d\n", "", "", "",
                e.whiteShelterKingSide(), e.blackShelterKingSide(), e.whiteShelterQueenSide(),
                e.blackShelterQueenSide());
  }
  if (t.exit == EvalExitFull || t.exit == EvalExitBishops || t.exit == EvalExitPositional) {
    Total("king safety", t.kingSafety);
    std::printf("  %-24s %7d %7d\n", "  king danger", t.kingDanger[White], t.kingDanger[Black]);
    Total("development", t.development);
    Total("king placement", t.kingPlacement);
  }
  if (t.exit == EvalExitFull || t.exit == EvalExitBishops) {
    Row("knights", t.knights[White], t.knights[Black]);
    Row("bishops", t.bishops[White], t.bishops[Black]);
    Row("bishop set", t.bishopSet[White], t.bishopSet[Black]);
    Row("rooks", t.rooks[White], t.rooks[Black]);
    Row("queens", t.queens[White], t.queens[Black]);
    std::printf("  %-24s %7d %7d\n", "  attack sum", t.attackSum[White], t.attackSum[Black]);
    Row("attack term", t.attack[White], t.attack[Black]);
    Total("before scaling", t.beforeScaling);
    Total("opposite bishops", t.oppositeBishops);
  }
  Total("win-chances clamp", t.clamp);
  Total("final, White's view", score);
  Total("final, side to move", SideToMove ? score : -score);
}

// Evaluates (or only visits) every position of the legal move tree.
long long Walk(int side, int ply, int depth, bool evaluate, long long &checksum) {
  long long nodes = 1;
  if (evaluate) checksum += Evaluate(side, -Wide, Wide, ply);
  if (depth == 0) return nodes;
  GenerateMoves(side, ply);
  for (int i = Ply[ply - 1].listEnd; i < Ply[ply].listEnd; ++i) {
    const Move move = MoveStack[i];
    MakeMove(side, move, ply);
    if (!InCheck(side)) nodes += Walk(!side, ply + 1, depth - 1, evaluate, checksum);
    UndoMove(side, move, ply);
  }
  return nodes;
}

// Shortest of several walks of the tree, in seconds, with or without
// evaluating; the pawn cache starts empty each time.
double Seconds(bool evaluate, int depth, long long &nodes, long long &checksum) {
  double best = 1e9, spent = 0;
  for (int run = 0; run < 50 && (run < 3 || spent < 1.0); ++run) {
    ClearPawnHash();
    ResetSearchState();
    DerivePositionState();
    checksum = 0;
    const auto start = std::chrono::steady_clock::now();
    nodes = Walk(SideToMove, 1, depth, evaluate, checksum);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    best = seconds < best ? seconds : best;
    spent += seconds;
  }
  return best;
}

int Bench(int depth, const char *fen) {
  SetPosition(fen);
  long long nodes = 0, checksum = 0, unused = 0;
  const double walk = Seconds(false, depth, nodes, unused);
  const double total = Seconds(true, depth, nodes, checksum);
  const double evaluating = total > walk ? total - walk : total;
  std::printf("positions %lld, tree walk %.4f s, walk with evaluation %.4f s (best of several runs)\n", nodes,
              walk, total);
  std::printf("evaluations per second: %.0f (checksum %lld)\n", double(nodes) / evaluating, checksum);
  return 0;
}

int Usage() {
  std::fprintf(stderr,
               "usage: varn-eval [--param Name=Value]... \"<fen>\"\n"
               "       varn-eval --bench [depth] [\"<fen>\"]\n");
  return 2;
}

}  // namespace

int main(int argc, char **argv) {
  SetParameterDefaults();
  InitEngineTables();
  AllocatePawnHash();
  if (argc >= 2 && std::strcmp(argv[1], "--bench") == 0) {
    const int depth = argc >= 3 ? std::atoi(argv[2]) : 4;
    if (depth < 0 || depth > 8) return Usage();
    return Bench(depth, argc >= 4 ? argv[3] : StartFen);
  }
  const char *fen = nullptr;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--param") == 0 && i + 1 < argc) {
      static char name[64];
      const char *assignment = argv[++i], *equals = std::strchr(assignment, '=');
      if (!equals || equals - assignment >= int(sizeof name)) return Usage();
      std::memcpy(name, assignment, size_t(equals - assignment));
      name[equals - assignment] = 0;
      SetParameter(name, equals + 1);
    } else if (!fen) {
      fen = argv[i];
    } else {
      return Usage();
    }
  }
  if (!fen) return Usage();
  SetPosition(fen);
  std::printf("%s\n", fen);
  PrintBreakdown();
  FreePawnHash();
  return 0;
}
