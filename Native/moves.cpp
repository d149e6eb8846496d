// Generation of all moves and of non-captures, and the legal root list.
#include "moves.h"

#include "make.h"
#include "undo.h"

template <int Us>
void GenerateMoves(int ply) {
  constexpr int Them = 1 - Us;
  constexpr Bitboard HopRank = Us == White ? 0xFF0000ull : 0xFF0000000000ull;
  const SideRecord &us = SideOf<Us>(), &them = SideOf<Them>();
  const Bitboard empty = ~(us.occupied | them.occupied);
  const int epSquare = Ply[ply - 1].epSquare;
  int i = EmitCastling<Us>(Ply[ply - 1].listEnd);
  for (int kind = Knight; kind <= Queen; ++kind) {
    for (Bitboard set = KindSet(SideOf<Us>(), kind); set; set &= set - 1) {
      int s = LowestSquare(set);
      Bitboard targets = PieceTargets(kind, s);
      i = EmitTargets(i, s, kind, targets & them.occupied);
      i = EmitTargets(i, s, kind, targets & empty);
    }
  }
  const int k = us.kingSquare;
  i = EmitTargets(i, k, King, KingAttacks[k] & them.occupied);
  i = EmitTargets(i, k, King, KingAttacks[k] & empty);
  const Bitboard single = ShiftForward<Us>(us.pawns) & empty;
  const Bitboard targets = them.occupied | (epSquare ? SetMask[epSquare] : 0);
  i = EmitPawnMoves<Us>(i, single, StepForward<Us>, AllPromotions, 4, 0);
  i = EmitPawnMoves<Us>(i, ShiftForward<Us>(single & HopRank) & empty, 2 * StepForward<Us>, nullptr, 0, 0);
  i = EmitPawnMoves<Us>(i, ShiftTowardsA<Us>(us.pawns) & targets, StepTowardsA<Us>, AllPromotions, 4, epSquare);
  i = EmitPawnMoves<Us>(i, ShiftTowardsH<Us>(us.pawns) & targets, StepTowardsH<Us>, AllPromotions, 4, epSquare);
  Ply[ply].listEnd = i;
}

void GenerateMoves(int side, int ply) {
  if (side) GenerateMoves<White>(ply); else GenerateMoves<Black>(ply);
}

template <int Us>
void GenerateNonCaptures(int ply, int start) {
  constexpr int Them = 1 - Us;
  constexpr Bitboard HopRank = Us == White ? 0xFF0000ull : 0xFF0000000000ull;
  constexpr Bitboard LastRank = Us == White ? 0xFF00000000000000ull : 0xFFull;
  const SideRecord &us = SideOf<Us>(), &them = SideOf<Them>();
  const Bitboard empty = ~(us.occupied | them.occupied);
  int i = EmitCastling<Us>(start);
  for (int kind = Knight; kind <= Queen; ++kind) {
    for (Bitboard set = KindSet(SideOf<Us>(), kind); set; set &= set - 1) {
      int s = LowestSquare(set);
      i = EmitTargets(i, s, kind, PieceTargets(kind, s) & empty);
    }
  }
  i = EmitTargets(i, us.kingSquare, King, KingAttacks[us.kingSquare] & empty);
  const Bitboard single = ShiftForward<Us>(us.pawns) & empty;
  i = EmitPawnMoves<Us>(i, single, StepForward<Us>, UnderPromotions, 3, 0);
  i = EmitPawnMoves<Us>(i, ShiftForward<Us>(single & HopRank) & empty, 2 * StepForward<Us>, nullptr, 0, 0);
  const Bitboard victims = them.occupied & LastRank;
  i = EmitPawnMoves<Us>(i, ShiftTowardsA<Us>(us.pawns) & victims, StepTowardsA<Us>, UnderPromotions, 3, 0);
  i = EmitPawnMoves<Us>(i, ShiftTowardsH<Us>(us.pawns) & victims, StepTowardsH<Us>, UnderPromotions, 3, 0);
  Ply[ply].listEnd = i;
}

// Generates at ply 1 and removes each move that leaves the own king
// attacked by moving the list's last move into its place.
int LegalRootMoves(int side) {
  Ply[0].listEnd = 1;
  GenerateMoves(side, 1);
  for (int i = Ply[0].listEnd; i < Ply[1].listEnd;) {
    const Move move = MoveStack[i];
    MakeMove(side, move, 1);
    const int illegal = InCheck(side);
    UndoMove(side, move, 1);
    if (illegal) MoveStack[i] = MoveStack[--Ply[1].listEnd]; else ++i;
  }
  return Ply[1].listEnd - Ply[0].listEnd;
}

namespace {

template <int Us>
uint64_t PerftOf(int depth, int ply) {
  GenerateMoves<Us>(ply);
  uint64_t nodes = 0;
  for (int i = Ply[ply - 1].listEnd; i < Ply[ply].listEnd; ++i) {
    const Move move = MoveStack[i];
    MakeMove<Us>(move, ply);
    if (!InCheck(Us)) nodes += depth > 1 ? PerftOf<1 - Us>(depth - 1, ply + 1) : 1;
    UndoMove<Us>(move, ply);
  }
  return nodes;
}

}  // namespace

uint64_t Perft(int side, int depth, int ply) {
  if (depth < 1) return 1;
  return side ? PerftOf<White>(depth, ply) : PerftOf<Black>(depth, ply);
}

template void GenerateMoves<White>(int);
template void GenerateMoves<Black>(int);
template void GenerateNonCaptures<White>(int, int);
template void GenerateNonCaptures<Black>(int, int);
