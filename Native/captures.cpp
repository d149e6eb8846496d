// Generation of captures and queen promotions.
#include "captures.h"

#include "moves.h"

// Pawn pushes here are only the queen promotions.
template <int Us>
void GenerateCaptures(int ply) {
  const Bitboard theirs = SideOf<1 - Us>().occupied;
  const int epSquare = Ply[ply - 1].epSquare;
  const Bitboard victims = theirs | (epSquare ? SetMask[epSquare] : 0);
  int i = EmitPieceMoves<Us>(Ply[ply - 1].listEnd, theirs, 0);
  i = EmitKingMoves<Us>(i, theirs, 0);
  Ply[ply].listEnd = EmitPawnGroups<Us>(i, SideOf<Us>().pawns, RelativeRankMask<Us>(7), QueenPromotion, 0,
                                        victims, QueenPromotion, epSquare);
}

template void GenerateCaptures<White>(int);
template void GenerateCaptures<Black>(int);
