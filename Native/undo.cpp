// Taking back a move from its word alone and the previous ply's en-passant square.
#include "undo.h"

template <int Us>
void UndoMove(Move move, int ply) {
  constexpr int Them = 1 - Us;
  constexpr int Forward = Us == White ? 8 : -8;
  const int from = MoveFrom(move), to = MoveTo(move), piece = MovePiece(move);
  const int captured = MoveCaptured(move), promotion = MovePromotion(move);

  if (promotion) {
    RemovePiece<Us>(promotion, to);
    PutPiece<Us>(Pawn, from);
  } else {
    MovePiece<Us>(piece, to, from);
  }

  if (piece == King) {
    if (Distance[from][to] == 2) {
      const RookStep rook = CastlingRook(to);
      MovePiece<Us>(Rook, rook.to, rook.from);
      SideOf<Us>().castled = 0;
    }
    MoveCounter[from]--;
  } else if (piece == Rook) {
    MoveCounter[from]--;
  }

  if (captured) {
    const bool enPassant = piece == Pawn && !promotion && to == Ply[ply - 1].epSquare;
    PutPiece<Them>(captured, enPassant ? to - Forward : to);
    if (captured == Rook) MoveCounter[to]--;
  }
}

void UndoMove(int side, Move move, int ply) {
  if (side) UndoMove<White>(move, ply); else UndoMove<Black>(move, ply);
}

template void UndoMove<White>(Move, int);
template void UndoMove<Black>(Move, int);
