// Playing a move on the global position, incrementally.
#include "make.h"

#include "attacks.h"

template <int Us>
void MakeMove(Move move, int ply) {
  constexpr int Them = 1 - Us;
  constexpr int Forward = Us == White ? 8 : -8;
  PlyRecord &record = Ply[ply];
  const int from = MoveFrom(move), to = MoveTo(move), piece = MovePiece(move);
  const int captured = MoveCaptured(move), promotion = MovePromotion(move);
  uint64_t pawnKey = record.pawnKey, pieceKey = record.pieceKey;
  auto toggleKey = [&](int colour, int kind, int s) {
    (kind == Pawn ? pawnKey : pieceKey) ^= KeyTable[colour][kind][s];
  };

  record.move = move;
  record.epSquare = 0;
  // The captured piece leaves first, so the mover always lands on an empty
  // square. A king is never taken off: the search refuses such a move.
  if (captured && captured != King) {
    const bool enPassant = piece == Pawn && !promotion && to == Ply[ply - 1].epSquare;
    const int square = enPassant ? to - Forward : to;
    RemovePiece<Them>(captured, square);
    toggleKey(Them, captured, square);
    if (captured == Rook) MoveCounter[to]++;
  }

  if (promotion) {
    RemovePiece<Us>(Pawn, from);
    PutPiece<Us>(promotion, to);
    toggleKey(Us, Pawn, from);
    toggleKey(Us, promotion, to);
  } else {
    MovePiece<Us>(piece, from, to);
    toggleKey(Us, piece, from);
    toggleKey(Us, piece, to);
  }

  if (piece == Pawn && to - from == 2 * Forward) {
    // En passant is recorded only when an enemy pawn stands ready to take.
    const int passed = from + Forward;
    if (PawnAttackersTable<Them>()[passed] & SideOf<Them>().pawns) {
      record.epSquare = passed;
      pieceKey ^= EnPassantKey[passed];
    }
  } else if (piece == King) {
    if (Distance[from][to] == 2) {
      const RookStep rook = CastlingRook(to);
      MovePiece<Us>(Rook, rook.from, rook.to);
      toggleKey(Us, Rook, rook.from);
      toggleKey(Us, Rook, rook.to);
      SideOf<Us>().castled = 1;
    }
    MoveCounter[from]++;
  } else if (piece == Rook) {
    MoveCounter[from]++;
  }

  Ply[ply + 1].pawnKey = pawnKey;
  Ply[ply + 1].pieceKey = pieceKey;
}

void MakeMove(int side, Move move, int ply) {
  if (side) MakeMove<White>(move, ply); else MakeMove<Black>(move, ply);
}

template void MakeMove<White>(Move, int);
template void MakeMove<Black>(Move, int);
