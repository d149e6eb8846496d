// Playing a move on the global position, incrementally.
#include "make.h"

#include "attacks.h"

template <int Us>
void MakeMove(Move move, int ply) {
  constexpr int Them = 1 - Us;
  constexpr int Forward = Us == White ? 8 : -8;
  constexpr int Sign = Us == White ? 1 : -1;
  SideRecord &us = SideOf<Us>(), &them = SideOf<Them>();
  PlyRecord &record = Ply[ply];
  const int from = MoveFrom(move), to = MoveTo(move), piece = MovePiece(move);
  const int captured = MoveCaptured(move), promotion = MovePromotion(move);
  uint64_t pawnKey = record.pawnKey, pieceKey = record.pieceKey;
  bool captureDone = false;

  record.move = move;
  Board[from] = Empty;
  ClearRotated(from);
  SetRotated(to);
  us.occupied = (us.occupied & ClearMask[from]) | SetMask[to];
  record.epSquare = 0;

  if (piece == Pawn) {
    pawnKey ^= KeyTable[Us][Pawn][from];
    if (promotion) {
      us.pawns &= ClearMask[from];
      us.pawnCount--;
      pieceKey ^= KeyTable[Us][promotion][to];
      KindSet(us, promotion) |= SetMask[to];
      us.pieceUnits += UnitsOf[promotion];
      us.minorCount += MinorOf[promotion];
      us.majorWeight += MajorOf[promotion];
      us.material += PieceValue[promotion] - 100;
      Board[to] = Sign * promotion;
    } else {
      pawnKey ^= KeyTable[Us][Pawn][to];
      us.pawns = (us.pawns & ClearMask[from]) | SetMask[to];
      if (to - from == 2 * Forward) {
        const int passed = from + Forward;
        const Bitboard *ourPawnAttacks = Us == White ? WhitePawnAttacks : BlackPawnAttacks;
        if (ourPawnAttacks[passed] & them.pawns) {
          record.epSquare = passed;
          pieceKey ^= EnPassantKey[passed];
        }
      } else if (to == Ply[ply - 1].epSquare) {
        const int behind = to - Forward;
        pawnKey ^= KeyTable[Them][Pawn][behind];
        them.pawns &= ClearMask[behind];
        them.occupied &= ClearMask[behind];
        ClearRotated(behind);
        them.material -= 100;
        them.pawnCount--;
        Board[behind] = Empty;
        captureDone = true;
      }
      Board[to] = Sign * Pawn;
    }
  } else if (piece == King) {
    pieceKey ^= KeyTable[Us][King][from] ^ KeyTable[Us][King][to];
    if (Distance[from][to] == 2) {
      const int rookFrom = File(to) == 6 ? to + 1 : to - 2;
      const int rookTo = File(to) == 6 ? to - 1 : to + 1;
      us.castled = 1;
      pieceKey ^= KeyTable[Us][Rook][rookFrom] ^ KeyTable[Us][Rook][rookTo];
      us.rooks = (us.rooks & ClearMask[rookFrom]) | SetMask[rookTo];
      us.occupied = (us.occupied & ClearMask[rookFrom]) | SetMask[rookTo];
      ClearRotated(rookFrom);
      SetRotated(rookTo);
      Board[rookFrom] = Empty;
      Board[rookTo] = Sign * Rook;
    }
    us.kingSquare = to;
    Board[to] = Sign * King;
    MoveCounter[from]++;
  } else {
    pieceKey ^= KeyTable[Us][piece][from] ^ KeyTable[Us][piece][to];
    Bitboard &set = KindSet(us, piece);
    set = (set & ClearMask[from]) | SetMask[to];
    Board[to] = Sign * piece;
    if (piece == Rook) MoveCounter[from]++;
  }

  if (captured && !captureDone && captured != King) {
    if (captured == Pawn) {
      pawnKey ^= KeyTable[Them][Pawn][to];
      them.pawnCount--;
    } else {
      pieceKey ^= KeyTable[Them][captured][to];
      them.pieceUnits -= UnitsOf[captured];
      them.minorCount -= MinorOf[captured];
      them.majorWeight -= MajorOf[captured];
      if (captured == Rook) MoveCounter[to]++;
    }
    KindSet(them, captured) &= ClearMask[to];
    them.occupied &= ClearMask[to];
    them.material -= PieceValue[captured];
  }

  Ply[ply + 1].pawnKey = pawnKey;
  Ply[ply + 1].pieceKey = pieceKey;
}

void MakeMove(int side, Move move, int ply) {
  if (side) MakeMove<White>(move, ply); else MakeMove<Black>(move, ply);
}

template void MakeMove<White>(Move, int);
template void MakeMove<Black>(Move, int);
