// Playing a move on the global position, incrementally.
#include "make.h"

#include "attacks.h"

template <int Us>
void MakeMove(Move move, int ply) {
  constexpr int Them = 1 - Us;
  constexpr int Forward = PawnStep[Us];
  PlyRecord &record = Ply[ply];
  const int from = MoveFrom(move), to = MoveTo(move), piece = MovePiece(move);
  const int captured = MoveCaptured(move), promotion = MovePromotion(move);
  uint64_t pawnKey = record.pawnKey, pieceKey = record.pieceKey;

  record.move = move;
  record.epSquare = 0;
  // The captured piece leaves first, so the mover always lands on an empty
  // square. A king is never taken off: the search refuses such a move.
  if (captured == Pawn) {
    const bool enPassant = piece == Pawn && !promotion && to == Ply[ply - 1].epSquare;
    const int square = enPassant ? to - Forward : to;
    RemovePiece<Them>(Pawn, square);
    pawnKey ^= KeyTable[Them][Pawn][square];
  } else if (captured && captured != King) {
    RemovePiece<Them>(captured, to);
    pieceKey ^= KeyTable[Them][captured][to];
    if (captured == Rook) MoveCounter[to]++;
  }

  if (piece == Pawn) {
    pawnKey ^= KeyTable[Us][Pawn][from];
    if (promotion) {
      RemovePiece<Us>(Pawn, from);
      PutPiece<Us>(promotion, to);
      pieceKey ^= KeyTable[Us][promotion][to];
    } else {
      ShiftPiece<Us>(Pawn, from, to);
      pawnKey ^= KeyTable[Us][Pawn][to];
      // En passant is recorded only when an enemy pawn stands ready to take.
      const int passed = from + Forward;
      if (to - from == 2 * Forward && (PawnAttackersTable<Them>()[passed] & SideOf<Them>().pawns)) {
        record.epSquare = passed;
        pieceKey ^= EnPassantKey[passed];
      }
    }
  } else if (piece == King) {
    ShiftPiece<Us>(King, from, to);
    pieceKey ^= KeyTable[Us][King][from] ^ KeyTable[Us][King][to];
    if (Distance[from][to] == 2) {
      const RookStep rook = CastlingRook(to);
      ShiftPiece<Us>(Rook, rook.from, rook.to);
      pieceKey ^= KeyTable[Us][Rook][rook.from] ^ KeyTable[Us][Rook][rook.to];
      SideOf<Us>().castled = 1;
    }
    MoveCounter[from]++;
  } else {
    ShiftPiece<Us>(piece, from, to);
    pieceKey ^= KeyTable[Us][piece][from] ^ KeyTable[Us][piece][to];
    if (piece == Rook) MoveCounter[from]++;
  }

  Ply[ply + 1].pawnKey = pawnKey;
  Ply[ply + 1].pieceKey = pieceKey;
}

void MakeMove(int side, Move move, int ply) {
  if (side) MakeMove<White>(move, ply); else MakeMove<Black>(move, ply);
}

template void MakeMove<White>(Move, int);
template void MakeMove<Black>(Move, int);
