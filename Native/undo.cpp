// Taking back a move from its word alone and the previous ply's en-passant square.
#include "undo.h"

#include "attacks.h"

template <int Us>
void UndoMove(Move move, int ply) {
  constexpr int Them = 1 - Us;
  constexpr int Forward = Us == White ? 8 : -8;
  constexpr int Sign = Us == White ? 1 : -1;
  SideRecord &us = SideOf<Us>(), &them = SideOf<Them>();
  const int from = MoveFrom(move), to = MoveTo(move), piece = MovePiece(move);
  const int captured = MoveCaptured(move), promotion = MovePromotion(move);
  bool captureDone = false;

  ClearRotated(to);
  SetRotated(from);
  us.occupied = (us.occupied & ClearMask[to]) | SetMask[from];
  Board[to] = Empty;

  if (piece == Pawn) {
    if (promotion) {
      us.pawnCount++;
      KindSet(us, promotion) &= ClearMask[to];
      us.pieceUnits -= UnitsOf[promotion];
      us.minorCount -= MinorOf[promotion];
      us.majorWeight -= MajorOf[promotion];
      us.material -= PieceValue[promotion] - 100;
    } else {
      us.pawns &= ClearMask[to];
      if (to == Ply[ply - 1].epSquare) {
        const int behind = to - Forward;
        them.pawns |= SetMask[behind];
        them.occupied |= SetMask[behind];
        SetRotated(behind);
        them.material += 100;
        them.pawnCount++;
        Board[behind] = -Sign * Pawn;
        captureDone = true;
      }
    }
    us.pawns |= SetMask[from];
    Board[from] = Sign * Pawn;
  } else if (piece == King) {
    if (Distance[from][to] == 2) {
      const int rookFrom = File(to) == 6 ? to + 1 : to - 2;
      const int rookTo = File(to) == 6 ? to - 1 : to + 1;
      us.castled = 0;
      us.rooks = (us.rooks & ClearMask[rookTo]) | SetMask[rookFrom];
      us.occupied = (us.occupied & ClearMask[rookTo]) | SetMask[rookFrom];
      ClearRotated(rookTo);
      SetRotated(rookFrom);
      Board[rookTo] = Empty;
      Board[rookFrom] = Sign * Rook;
    }
    us.kingSquare = from;
    Board[from] = Sign * King;
    MoveCounter[from]--;
  } else {
    Bitboard &set = KindSet(us, piece);
    set = (set & ClearMask[to]) | SetMask[from];
    Board[from] = Sign * piece;
    if (piece == Rook) MoveCounter[from]--;
  }

  if (captured && !captureDone) {
    SetRotated(to);
    them.occupied |= SetMask[to];
    if (captured != King) {
      KindSet(them, captured) |= SetMask[to];
      them.material += PieceValue[captured];
      if (captured == Pawn) {
        them.pawnCount++;
      } else {
        them.pieceUnits += UnitsOf[captured];
        them.minorCount += MinorOf[captured];
        them.majorWeight += MajorOf[captured];
        if (captured == Rook) MoveCounter[to]--;
      }
    }
    Board[to] = -Sign * captured;
  }
}

void UndoMove(int side, Move move, int ply) {
  if (side) UndoMove<White>(move, ply); else UndoMove<Black>(move, ply);
}

template void UndoMove<White>(Move, int);
template void UndoMove<Black>(Move, int);
