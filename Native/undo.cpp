// Taking back a move from its word alone and the previous ply's en-passant square.
#include "undo.h"

template <int Us>
void UndoMove(Move move, int ply) {
  constexpr int Them = 1 - Us;
  constexpr int Forward = PawnStep[Us];
  const int from = MoveFrom(move), to = MoveTo(move), piece = MovePiece(move);
  const int captured = MoveCaptured(move), promotion = MovePromotion(move);

  if (piece == Pawn) {
    if (promotion) {
      RemovePiece<Us>(promotion, to);
      PutPiece<Us>(Pawn, from);
    } else {
      ShiftPiece<Us>(Pawn, to, from);
    }
  } else if (piece == King) {
    ShiftPiece<Us>(King, to, from);
    if (Distance[from][to] == 2) {
      const RookStep rook = CastlingRook(to);
      ShiftPiece<Us>(Rook, rook.to, rook.from);
      SideOf<Us>().castled = 0;
    }
    MoveCounter[from]--;
  } else {
    ShiftPiece<Us>(piece, to, from);
    if (piece == Rook) MoveCounter[from]--;
  }

  if (captured == Pawn) {
    const bool enPassant = piece == Pawn && !promotion && to == Ply[ply - 1].epSquare;
    PutPiece<Them>(Pawn, enPassant ? to - Forward : to);
  } else if (captured) {
    PutPiece<Them>(captured, to);
    if (captured == Rook) MoveCounter[to]--;
  }
}

void UndoMove(int side, Move move, int ply) {
  if (side) UndoMove<White>(move, ply); else UndoMove<Black>(move, ply);
}

template void UndoMove<White>(Move, int);
template void UndoMove<Black>(Move, int);
