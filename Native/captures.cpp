// Generation of captures and queen promotions.
#include "captures.h"

#include "moves.h"

template <int Us>
void GenerateCaptures(int ply) {
  constexpr int Them = 1 - Us;
  constexpr Bitboard LastRank = Us == White ? 0xFF00000000000000ull : 0xFFull;
  constexpr int Queens[1] = {Queen};
  const SideRecord &us = SideOf<Us>(), &them = SideOf<Them>();
  const int epSquare = Ply[ply - 1].epSquare;
  int i = Ply[ply - 1].listEnd;
  for (int kind = Knight; kind <= Queen; ++kind) {
    for (Bitboard set = KindSet(SideOf<Us>(), kind); set; set &= set - 1) {
      int s = LowestSquare(set);
      i = EmitTargets(i, s, kind, PieceTargets(kind, s) & them.occupied);
    }
  }
  i = EmitTargets(i, us.kingSquare, King, KingAttacks[us.kingSquare] & them.occupied);
  const Bitboard empty = ~(us.occupied | them.occupied);
  const Bitboard targets = them.occupied | (epSquare ? SetMask[epSquare] : 0);
  i = EmitPawnMoves<Us>(i, ShiftForward<Us>(us.pawns) & empty & LastRank, StepForward<Us>, Queens, 1, 0);
  i = EmitPawnMoves<Us>(i, ShiftTowardsA<Us>(us.pawns) & targets, StepTowardsA<Us>, Queens, 1, epSquare);
  i = EmitPawnMoves<Us>(i, ShiftTowardsH<Us>(us.pawns) & targets, StepTowardsH<Us>, Queens, 1, epSquare);
  Ply[ply].listEnd = i;
}

template void GenerateCaptures<White>(int);
template void GenerateCaptures<Black>(int);
