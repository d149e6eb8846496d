// The node search: fail-soft alpha-beta in sixtieths of a ply, with its own
// quiescence branch, one template for both colours.
#include "search.h"

#include "attacks.h"
#include "captures.h"
#include "hash.h"
#include "make.h"
#include "next.h"
#include "phase.h"
#include "score.h"
#include "timer.h"
#include "undo.h"
#include "varn504.h"

uint32_t NodeCount;
int32_t CheckExtensions;
int32_t RecaptureExtensions;
int32_t PawnPushExtensions;
int32_t ThreatExtensions;
int32_t SingleMoveExtensions;
int32_t FutilityPruning;
int32_t NodeCountdown;

namespace {

// The static evaluation seen from colour Us, with the window turned to White's view.
template <int Us>
int StaticValue(int alpha, int beta, int ply) {
  if constexpr (Us == White) return Evaluate(White, alpha, beta, ply);
  else return -Evaluate(Black, -beta, -alpha, ply);
}

template <int Us>
int MaterialValue() {
  if constexpr (Us == White) return MaterialBalance(); else return -MaterialBalance();
}

// A quiet move that cut off or was best: history credit and killer slot.
template <int Us>
void RewardQuietMove(Move move, int depth, int ply) {
  if (!move || MoveCaptured(move) || MovePromotion(move)) return;
  History[Us][move & 4095] += uint32_t(depth * depth / 3600);
  PlyRecord &record = Ply[ply];
  if (move != record.killer1) {
    record.killer2 = record.killer1;
    record.killer1 = move;
  }
}

// Captures only, best first, after standing pat on the static value v.
template <int Us>
int Quiescence(int ply, int alpha, int beta, int v) {
  constexpr int Them = 1 - Us;
  if (v > alpha) {
    alpha = v;
    if (alpha >= beta) return alpha;
  } else if (alpha > MateThreshold) {
    return alpha;
  }
  GenerateCaptures<Us>(ply);
  const int begin = Ply[ply - 1].listEnd, end = Ply[ply].listEnd;
  const int threshold = alpha - 120 - (SideOf<Us>().material - SideOf<Them>().material);
  // Keys as in the move selector; captures that cannot raise alpha and, once
  // worked out, losing exchanges stay below the floor of the picks.
  constexpr int Dropped = ExactKey(-ScoreInfinite);
  for (int i = begin; i < end; ++i) {
    const Move move = MoveStack[i];
    const int captured = MoveCaptured(move);
    if (captured == King) return beta;
    const int victim = PieceValue[captured];
    const int gain = victim + (MovePromotion(move) ? PieceValue[MovePromotion(move)] - 100 : 0);
    int key = Dropped;
    if (gain > threshold) {
      const int attacker = PieceValue[MovePiece(move)];
      key = attacker < victim || (attacker == victim && threshold <= 0) ? ExactKey(victim) : ExchangeBoundKey(move);
    }
    MoveScores[i] = key;
  }
  for (;;) {
    const int best = BestCapture<Us>(begin, end, ExactKey(-1));
    if (!best) return alpha;
    const Move move = MoveStack[best];
    MoveScores[best] = Dropped;
    MakeMove<Us>(move, ply);
    const int s = -NodeSearch<Them>(0, ply + 1, -beta, -alpha, 0);
    UndoMove<Us>(move, ply);
    // A stopped search's values are discarded: leave capture chains at once.
    if (StopSearch) return 0;
    if (s > alpha) {
      if (s >= beta) return s;
      alpha = s;
    }
  }
}

// The null move: the opponent moves twice in a row at a reduced depth. Returns
// its score, seen from Us; the caller cuts at beta.
template <int Us>
int NullMoveSearch(int depth, int ply, int beta) {
  constexpr int Them = 1 - Us;
  PlyRecord &record = Ply[ply];
  record.move = 0;
  record.epSquare = 0;
  record.listEnd = Ply[ply - 1].listEnd;
  record.recaptured = 0;
  Ply[ply + 1].inCheck = 0;
  Ply[ply + 1].pawnKey = record.pawnKey;
  Ply[ply + 1].pieceKey = record.pieceKey;
  const int units = SideOf<Us>().pieceUnits;
  const int reduction = depth > 6 * DepthUnit && units > 8 ? 4 * DepthUnit : 3 * DepthUnit;
  PrefetchHash(Them, ply + 1);
  return -NodeSearch<Them>(depth - reduction, ply + 1, -beta, -beta + 1, 0);
}

// Internal deepening: a search of this node two plies shallower, in a window
// shaped by the static value v, proposes the move to try first.
template <int Us>
void InternalDeepening(int depth, int ply, int alpha, int beta, int v, int inCheck) {
  int lower = alpha, upper = beta;
  if (depth <= 3 * DepthUnit) {
    if (!inCheck && v >= beta) upper = v + 100;
    else if (v <= alpha - 700) lower = v - 100;
  }
  NodeSearch<Us>(depth - 2 * DepthUnit, ply, lower, upper, 0);
  Ply[ply].hashMove = Ply[ply].bestMove;
}

// The extensions a legal move just made earns, before the cap of one ply;
// also marks a recapture in the ply record and whether the child is in check.
template <int Us>
int Extension(Move move, int ply, int threat, int inCheck, int firstMove) {
  PlyRecord &record = Ply[ply];
  record.recaptured = 0;
  int extension = 0;
  Ply[ply + 1].inCheck = GivesCheck<Us>(move, ply);
  if (Ply[ply + 1].inCheck) extension = CheckExtensions;
  const Move previous = Ply[ply - 1].move;
  if (MoveTo(move) == MoveTo(previous) && !Ply[ply - 1].recaptured) {
    if (MoveCaptured(previous) ? EqualTrade[MoveCaptured(move)][MoveCaptured(previous)]
                               : MovePromotion(previous) != 0) {
      record.recaptured = 1;
      extension += RecaptureExtensions;
    }
  }
  if (IsExtendedPawnPush(move)) extension += PawnPushExtensions;
  if (threat) extension += ThreatExtensions;
  if (firstMove && inCheck && record.listEnd - Ply[ply - 1].listEnd == 1) extension += SingleMoveExtensions;
  return extension;
}

// The child of a move already made: the full window for the first move and
// near the leaves, else a zero window first and the full one to confirm.
template <int Us>
int SearchChild(int childDepth, int depth, int ply, int alpha, int beta, int firstMove) {
  constexpr int Them = 1 - Us;
  if (firstMove || depth <= 4 * DepthUnit) {
    Ply[ply + 1].pvRow[ply + 1] = 0;
    return -NodeSearch<Them>(childDepth, ply + 1, -beta, -alpha, 1);
  }
  int s = -NodeSearch<Them>(childDepth, ply + 1, -alpha - 1, -alpha, 1);
  if (s > alpha && s < beta && !StopSearch) {
    Ply[ply + 1].pvRow[ply + 1] = 0;
    s = -NodeSearch<Them>(childDepth, ply + 1, -beta, -alpha, 1);
  }
  return s;
}

// 1 when a ply record or a game entry holds both halves of a position's key.
template <class Keys>
bool SameKeys(const Keys &record, uint64_t pawnKey, uint64_t pieceKey) {
  return record.pawnKey == pawnKey && record.pieceKey == pieceKey;
}

}  // namespace

// Same-side positions four or more plies back: first in the search line, then
// in the game back to the last pawn move or capture.
int IsRepetition(int ply) {
  if (ply < 2 || ply >= MaxPly) return 0;
  const uint64_t pawnKey = Ply[ply].pawnKey, pieceKey = Ply[ply].pieceKey;
  int q = ply - 4;
  for (; q >= 1; q -= 2) {
    if (SameKeys(Ply[q], pawnKey, pieceKey)) return 1;
  }
  for (int i = GameMoveCount + q; i > LastIrreversibleMove && i < GameHistorySize; i -= 2) {
    if (SameKeys(GameKeyHistory[i], pawnKey, pieceKey)) return 1;
  }
  return 0;
}

void UpdatePrincipalVariation(Move move, int ply) {
  Move *row = Ply[ply].pvRow;
  const Move *next = Ply[ply + 1].pvRow;
  row[ply] = move;
  int i = ply + 1;
  for (; i < MaxPly && next[i]; ++i) row[i] = next[i];
  if (i < MaxPly) row[i] = 0;
}

template <int Us>
int NodeSearch(int depth, int ply, int alpha, int beta, int nullAllowed) {
  constexpr int Them = 1 - Us;
  const SideRecord &us = SideOf<Us>();

  ++NodeCount;
  if (--NodeCountdown <= 0) {
    NodeCountdown = TimeCheckInterval;
    // The tree's rules do not look at the root's progress.
    if (TimeCheck(depth, ply, RootProgress{})) StopSearch = 1;
    VarnNextBest();
  }
  if (alpha >= 29999 - ply) return alpha;
  // The ply records and the move stack end here: stop short on the static value.
  if (ply >= MaxPly - 2 || Ply[ply - 1].listEnd >= MoveStackSize) return StaticValue<Us>(alpha, beta, ply);

  int v;
  if (depth <= DepthUnit) {
    v = StaticValue<Us>(alpha, beta, ply);
    if (depth <= 0 || v <= alpha - 700) return Quiescence<Us>(ply, alpha, beta, v);
  } else {
    v = MaterialValue<Us>();
  }

  PlyRecord &record = Ply[ply];
  const int inCheck = record.inCheck;
  if (depth <= 2 * DepthUnit) {
    if (depth <= DepthUnit && !inCheck && v >= beta + FutilityPruning) return v;
    if (v < beta) nullAllowed = 0;
  } else if (depth <= 3 * DepthUnit && v <= alpha - 800) {
    depth -= DepthUnit;
  }

  if (Ply[ply - 1].move && IsRepetition(ply)) return DrawValue[Us];

  record.hashMove = 0;
  record.bestMove = 0;
  int threat = 0, deepen = 1;
  const int origAlpha = alpha;
  HashEntry *entry = ProbeHash(Us, depth, ply);
  if (entry && HashDepth(entry)) {
    const int flags = HashFlags(entry);
    if (HashDepth(entry) >= depth) {
      const int s = HashScore(entry, ply);
      if (flags & HashBoundExact) return s;
      if (flags & HashBoundLower) {
        if (s >= beta) return s;
      } else if ((flags & HashBoundUpper) && s <= alpha) {
        return s;
      }
    }
    if (flags & HashThreat) threat = 1;
    if (HashDepth(entry) >= depth - 2 * DepthUnit) deepen = 0;
    record.hashMove = HashMove(entry);
  }

  if (!inCheck && !threat && nullAllowed && us.pieceUnits != 0 && (us.pieceUnits >= 6 || depth <= 7 * DepthUnit)) {
    const int s = NullMoveSearch<Us>(depth, ply, beta);
    if (s >= beta) return s;
    // After the pass the opponent mates at once: a threat to extend against.
    if (s == ply - 29998) threat = 1;
  }
  if (depth > 2 * DepthUnit && deepen && Ply[ply - 1].move) InternalDeepening<Us>(depth, ply, alpha, beta, v, inCheck);

  const int threatFlag = threat ? HashThreat : 0;
  record.phase = 0;
  int best = -ScoreInfinite;
  for (;;) {
    const Move move = inCheck ? NextEvasion<Us>(ply) : NextMove<Us>(ply);
    if (!move) break;
    MakeMove<Us>(move, ply);
    // The child at full width probes the table first: start loading its bucket.
    if (depth > DepthUnit) PrefetchHash(Them, ply + 1);
    if (LeavesKingAttacked<Us>(move, ply, inCheck)) {
      UndoMove<Us>(move, ply);
      continue;
    }
    const int firstMove = best == -ScoreInfinite;
    const int extension = Extension<Us>(move, ply, threat, inCheck, firstMove);
    const int childDepth = depth - DepthUnit + (extension < DepthUnit ? extension : DepthUnit);
    const int s = SearchChild<Us>(childDepth, depth, ply, alpha, beta, firstMove);
    UndoMove<Us>(move, ply);
    // A stopped child's score means nothing: leave without storing.
    if (StopSearch) return 0;

    if (s > best) {
      record.bestMove = move;
      if (s > alpha) {
        if (s >= beta) {
          RewardQuietMove<Us>(move, depth, ply);
          StoreHash(entry, move, depth, ply, s, HashBoundLower | threatFlag);
          return s;
        }
        UpdatePrincipalVariation(move, ply);
        alpha = s;
      }
      best = s;
    }
  }

  if (best == -ScoreInfinite) {
    const int s = inCheck ? ply - ScoreInfinite : DrawValue[Us];
    StoreHash(entry, record.bestMove, depth, ply, s, HashBoundExact);
    return s;
  }
  if (best > origAlpha) {
    RewardQuietMove<Us>(record.bestMove, depth, ply);
    StoreHash(entry, record.bestMove, depth, ply, best, HashBoundExact | threatFlag);
  } else {
    StoreHash(entry, record.bestMove, depth, ply, best, HashBoundUpper | threatFlag);
  }
  return best;
}

template int NodeSearch<White>(int, int, int, int, int);
template int NodeSearch<Black>(int, int, int, int, int);
