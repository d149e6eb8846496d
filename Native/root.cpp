// Iterative deepening at the root with an aspiration window and a
// move-to-front root list.
#include "root.h"

#include "attacks.h"
#include "interface.h"
#include "make.h"
#include "moves.h"
#include "phase.h"
#include "search.h"
#include "timer.h"
#include "undo.h"
#include "utility.h"

Move RootMove;
int32_t RootMoveIndex;
int32_t BestMoveChangeDepth;
int32_t RootScoreDropped;

namespace {

constexpr int AspirationWindow = 40;
constexpr int LastIteration = 31 * DepthUnit;

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
void ReportWindowFailure(Move move, int bound, int depth, int kind) {
  Ply[2].pvRow[2] = 0;
  UpdatePrincipalVariation(move, 1);
  ReportLine(bound, depth, kind);
}

}  // namespace

int SearchDispatch(int side, int depth, int ply, int alpha, int beta, int nullAllowed) {
  return side ? NodeSearch<White>(depth, ply, alpha, beta, nullAllowed)
              : NodeSearch<Black>(depth, ply, alpha, beta, nullAllowed);
}

int RootSearch(int side) {
  side = side ? White : Black;
  DrawValue[side] = DrawScore;
  DrawValue[1 - side] = -DrawScore;
  StopSearch = 0;
  BestMoveChangeDepth = 0;
  NodeCountdown = 200000;
  PonderedMs = 0;
  StartClock();
  NodeCount = 0;
  ResetSearchState();
  DerivePositionState();
  PrepareSearchTables(side);

  const int count = LegalRootMoves(side);
  if (count == 0) return 1;
  if (count == 1) {
    TimeMode = TimeModeDepth;
    DepthLimit = 5;
  }

  int depth = DepthUnit, alpha = -ScoreInfinite, beta = ScoreInfinite, previous = -ScoreInfinite;
  for (;;) {
    RootScoreDropped = 0;
    for (int i = 1; i <= count; ++i) {
      const Move move = MoveStack[i];
      RootMove = move;
      RootMoveIndex = i;
      MakeMove(side, move, 1);
      Ply[2].inCheck = InCheck(1 - side);
      UndoMove(side, move, 1);
      int extension = -DepthUnit;
      if (Ply[2].inCheck) extension += CheckExtensions;
      if (MovePiece(move) == Pawn && (Rank(MoveTo(move)) == 1 || Rank(MoveTo(move)) == 6))
        extension += PawnPushExtensions;
      if (extension > 0) extension = 0;
      const int childDepth = depth + extension;

      if (TimeCheck(depth, 1)) return 0;
      ReportCurrentRootMove(depth);

      int s = SearchRootMove(side, move, childDepth, alpha, i == 1 ? beta : alpha + 1);
      if (StopSearch) return 0;
      if (i == 1) {
        if (s < previous - 10) RootScoreDropped = 1;
        for (;;) {
          if (s <= alpha) {
            ReportWindowFailure(move, alpha, depth, ReportKindFailLow);
            alpha = -ScoreInfinite;
            s = SearchRootMove(side, move, childDepth, alpha, beta);
          } else if (s >= beta) {
            ReportWindowFailure(move, beta, depth, ReportKindFailHigh);
            beta = ScoreInfinite;
            s = SearchRootMove(side, move, childDepth, alpha, beta);
          } else {
            alpha = s;
            beta = s + AspirationWindow;
            UpdatePrincipalVariation(move, 1);
            ReportLine(s, depth, ReportKindExact);
            break;
          }
          if (StopSearch) return 0;
        }
        continue;
      }

      // Later moves: a zero window first, the full window only to confirm.
      if (s <= alpha) continue;
      if (s < beta) {
        s = SearchRootMove(side, move, childDepth, alpha, beta);
        if (StopSearch) return 0;
        if (s <= alpha) continue;
      }
      BestMoveChangeDepth = depth;
      if (s >= beta) {
        ReportWindowFailure(move, beta, depth, ReportKindFailHigh);
        s = SearchRootMove(side, move, childDepth, alpha, ScoreInfinite);
        if (StopSearch) return 0;
      }
      for (int j = i; j > 1; --j) MoveStack[j] = MoveStack[j - 1];
      MoveStack[1] = move;
      alpha = s;
      beta = s + AspirationWindow;
      UpdatePrincipalVariation(move, 1);
      ReportLine(s, depth, ReportKindExact);
    }
    previous = alpha;
    alpha = previous - AspirationWindow;
    beta = previous + AspirationWindow;
    depth += DepthUnit;
    if (depth > LastIteration) return 0;
  }
}
