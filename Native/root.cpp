// Iterative deepening at the root with an aspiration window and a
// move-to-front root list.
#include "root.h"

#include "attacks.h"
#include "make.h"
#include "moves.h"
#include "next.h"
#include "phase.h"
#include "search.h"
#include "timer.h"
#include "undo.h"

Move RootMove;
int32_t DrawScore;
int32_t RootMoveIndex;
int32_t BestMoveChangeDepth;
int32_t RootScoreDropped;

namespace {

constexpr int AspirationWindow = 40;
constexpr int LastIteration = 31 * DepthUnit;

// What the steps of one root search share: the side to move, the iteration
// depth, the root window and where the reports go.
struct RootState {
  int side;
  int depth;
  int alpha;
  int beta;
  const RootReports *reports;
};

// Draw values, stop flag, clock and counters, a fresh derivation of the
// position and the evaluation's tables for this search.
void PrepareRoot(int side) {
  DrawValue[side] = DrawScore;
  DrawValue[1 - side] = -DrawScore;
  StopSearch = 0;
  BestMoveChangeDepth = 0;
  NodeCountdown = TimeCheckInterval;
  PonderedMs = 0;
  StartClock();
  NodeCount = 0;
  ResetSearchState();
  DerivePositionState();
  AgeHistory();
  PrepareSearchTables(side);
}

// The depth of a root move's child: one ply less, given back for a check or
// a pawn push to the second or seventh rank, never more than the iteration's.
// Also records whether the move gives check for the child.
int RootChildDepth(int side, Move move, int depth) {
  MakeMove(side, move, 1);
  Ply[2].inCheck = InCheck(1 - side);
  UndoMove(side, move, 1);
  int extension = -DepthUnit;
  if (Ply[2].inCheck) extension += CheckExtensions;
  if (IsExtendedPawnPush(move)) extension += PawnPushExtensions;
  if (extension > 0) extension = 0;
  return depth + extension;
}

// One search of a root move in the window (lower, upper), seen from the root.
// The child row is cleared first so that a line never carries moves left
// from an earlier search.
int SearchRootMove(int side, Move move, int depth, int lower, int upper) {
  MakeMove(side, move, 1);
  Ply[2].pvRow[2] = 0;
  const int s = -SearchDispatch(1 - side, depth, 2, -upper, -lower, 1);
  UndoMove(side, move, 1);
  return s;
}

// Reports the root move alone with a window bound that it crossed.
void ReportWindowFailure(const RootState &root, Move move, int bound, int kind) {
  Ply[2].pvRow[2] = 0;
  UpdatePrincipalVariation(move, 1);
  root.reports->line(bound, root.depth, kind);
}

// Accepts move as best with score s: the window re-centres on it and its line
// is reported.
void AcceptBest(RootState &root, Move move, int s) {
  root.alpha = s;
  root.beta = s + AspirationWindow;
  UpdatePrincipalVariation(move, 1);
  root.reports->line(s, root.depth, ReportKindExact);
}

// The first move of an iteration, already searched to s: a score outside the
// window is reported and searched again with that side opened. Returns 1 when
// the search was stopped.
int ResolveFirstMove(RootState &root, Move move, int childDepth, int s) {
  for (;;) {
    if (s <= root.alpha) {
      ReportWindowFailure(root, move, root.alpha, ReportKindFailLow);
      root.alpha = -ScoreInfinite;
    } else if (s >= root.beta) {
      ReportWindowFailure(root, move, root.beta, ReportKindFailHigh);
      root.beta = ScoreInfinite;
    } else {
      AcceptBest(root, move, s);
      return 0;
    }
    s = SearchRootMove(root.side, move, childDepth, root.alpha, root.beta);
    if (StopSearch) return 1;
  }
}

// A later root move at index i, whose zero-window search gave s: confirmed in
// the full window, it becomes best and moves to the front of the list.
// Returns 1 when the search was stopped.
int ResolveLaterMove(RootState &root, Move move, int i, int childDepth, int s) {
  if (s <= root.alpha) return 0;
  if (s < root.beta) {
    s = SearchRootMove(root.side, move, childDepth, root.alpha, root.beta);
    if (StopSearch) return 1;
    if (s <= root.alpha) return 0;
  }
  BestMoveChangeDepth = root.depth;
  if (s >= root.beta) {
    ReportWindowFailure(root, move, root.beta, ReportKindFailHigh);
    s = SearchRootMove(root.side, move, childDepth, root.alpha, ScoreInfinite);
    if (StopSearch) return 1;
  }
  for (int j = i; j > 1; --j) MoveStack[j] = MoveStack[j - 1];
  MoveStack[1] = move;
  AcceptBest(root, move, s);
  return 0;
}

// One iteration over the root list; previous is the last iteration's score.
// Returns 1 when the search is to end.
int SearchIteration(RootState &root, int count, int previous) {
  RootScoreDropped = 0;
  for (int i = 1; i <= count; ++i) {
    const Move move = MoveStack[i];
    RootMove = move;
    RootMoveIndex = i;
    const int childDepth = RootChildDepth(root.side, move, root.depth);
    if (TimeCheck(root.depth, 1, RootProgress{RootMoveIndex, BestMoveChangeDepth, RootScoreDropped})) return 1;
    root.reports->currentMove(root.depth, RootMove, RootMoveIndex, count);

    const int upper = i == 1 ? root.beta : root.alpha + 1;
    const int s = SearchRootMove(root.side, move, childDepth, root.alpha, upper);
    if (StopSearch) return 1;
    if (i == 1 && s < previous - 10) RootScoreDropped = 1;
    const int stopped = i == 1 ? ResolveFirstMove(root, move, childDepth, s)
                               : ResolveLaterMove(root, move, i, childDepth, s);
    if (stopped) return 1;
  }
  return 0;
}

}  // namespace

int SearchDispatch(int side, int depth, int ply, int alpha, int beta, int nullAllowed) {
  return side ? NodeSearch<White>(depth, ply, alpha, beta, nullAllowed)
              : NodeSearch<Black>(depth, ply, alpha, beta, nullAllowed);
}

int RootSearch(int side, const RootReports &reports) {
  side = side ? White : Black;
  PrepareRoot(side);
  const int count = LegalRootMoves(side);
  if (count == 0) return 1;
  if (count == 1) {
    TimeMode = TimeModeDepth;
    DepthLimit = 5;
  }

  RootState root{side, DepthUnit, -ScoreInfinite, ScoreInfinite, &reports};
  int previous = -ScoreInfinite;
  for (;;) {
    if (SearchIteration(root, count, previous)) return 0;
    previous = root.alpha;
    root.alpha = previous - AspirationWindow;
    root.beta = previous + AspirationWindow;
    root.depth += DepthUnit;
    if (root.depth > LastIteration) return 0;
  }
}
