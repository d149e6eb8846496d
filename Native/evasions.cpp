// Generation of the legal answers to a check.
#include "evasions.h"

#include "moves.h"

namespace {

// King steps that leave no attacked square and do not retreat along a
// checking line (the attack test cannot see behind the king itself).
template <int Us>
int EmitKingEvasions(int i, int lineA, int lineB) {
  const int k = SideOf<Us>().kingSquare;
  for (Bitboard set = KingAttacks[k] & ~SideOf<Us>().occupied; set; set &= set - 1) {
    int to = LowestSquare(set);
    if (AttackedBy<1 - Us>(to) || Direction[k][to] == lineA || Direction[k][to] == lineB) continue;
    MoveStack[i++] = MoveWord(k, to, King, Absolute(Board[to]));
  }
  return i;
}

// The line along which a checker attacks the king; 0 for pawns and knights.
int CheckLine(int checker, int king) {
  return Board[checker] == Pawn || Board[checker] == -Pawn ? 0 : Direction[checker][king];
}

}  // namespace

template <int Us>
void GenerateEvasions(int ply) {
  constexpr int Them = 1 - Us;
  const SideRecord &us = SideOf<Us>(), &them = SideOf<Them>();
  const int k = us.kingSquare;
  const Bitboard checkers = AttackersBy<Them>(k);
  int i = Ply[ply - 1].listEnd;
  if (PopCount(checkers) != 1) {
    int lineA = 0, lineB = 0;
    if (checkers) {
      int first = LowestSquare(checkers);
      lineA = CheckLine(first, k);
      Bitboard rest = checkers & ClearMask[first];
      if (rest) lineB = CheckLine(LowestSquare(rest), k);
    }
    Ply[ply].listEnd = EmitKingEvasions<Us>(i, lineA, lineB);
    return;
  }
  const int checker = LowestSquare(checkers);
  const Bitboard target = InterposeMask[k][checker];
  i = EmitPieceMoves<Us, true>(i, target, 0);
  i = EmitKingEvasions<Us>(i, CheckLine(checker, k), CheckLine(checker, k));
  Bitboard pawns = 0;
  for (Bitboard set = us.pawns; set; set &= set - 1) {
    if (!PinnedToKing<Us>(LowestSquare(set))) pawns |= SetMask[LowestSquare(set)];
  }
  // En passant only when the pawn that just moved two squares is the checker.
  const int epSquare = Ply[ply - 1].epSquare;
  const bool epAllowed = epSquare && (target & SetMask[epSquare - StepForward<Us>]);
  const Bitboard victims = (them.occupied & target) | (epAllowed ? SetMask[epSquare] : 0);
  Ply[ply].listEnd = EmitPawnGroups<Us>(i, pawns, target, AllPromotions, target, victims, AllPromotions,
                                        epAllowed ? epSquare : 0);
}

template void GenerateEvasions<White>(int);
template void GenerateEvasions<Black>(int);
