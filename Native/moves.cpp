// Generation of all moves and of non-captures, and the legal root list.
#include "moves.h"

#include "make.h"
#include "undo.h"

template <int Us>
void GenerateMoves(int ply) {
  const Bitboard theirs = SideOf<1 - Us>().occupied, empty = ~Occupancy();
  const int epSquare = Ply[ply - 1].epSquare;
  const Bitboard victims = theirs | (epSquare ? SetMask[epSquare] : 0);
  int i = EmitCastling<Us>(Ply[ply - 1].listEnd);
  i = EmitPieceMoves<Us>(i, theirs, empty);
  i = EmitKingMoves<Us>(i, theirs, empty);
  Ply[ply].listEnd = EmitPawnGroups<Us>(i, SideOf<Us>().pawns, ~Bitboard(0), AllPromotions, ~Bitboard(0), victims,
                                        AllPromotions, epSquare);
}

void GenerateMoves(int side, int ply) {
  if (side) GenerateMoves<White>(ply); else GenerateMoves<Black>(ply);
}

// Pawn captures here are only the under-promoting ones; the rest belong to
// the capture generator.
template <int Us>
void GenerateNonCaptures(int ply, int start) {
  const Bitboard empty = ~Occupancy();
  const Bitboard lastRankVictims = SideOf<1 - Us>().occupied & RelativeRankMask<Us>(7);
  int i = EmitCastling<Us>(start);
  i = EmitPieceMoves<Us>(i, empty, 0);
  i = EmitKingMoves<Us>(i, empty, 0);
  Ply[ply].listEnd = EmitPawnGroups<Us>(i, SideOf<Us>().pawns, ~Bitboard(0), UnderPromotions, ~Bitboard(0),
                                        lastRankVictims, UnderPromotions, 0);
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
