// Generation of all moves and of non-captures, the legal root list, and the
// generator core and castling test that every generator shares.
#pragma once

#include "attacks.h"
#include "board.h"

// Every pseudo-legal move of colour Us into the list of ply.
template <int Us>
void GenerateMoves(int ply);
void GenerateMoves(int side, int ply);

// Castling, quiet moves and under-promotions of colour Us, written from
// MoveStack index start; the ply's listEnd is set to the end.
template <int Us>
void GenerateNonCaptures(int ply, int start);

// Leaves of the legal move tree below ply for side, depth plies deep: every
// generated move is made and kept only when the mover's king is not left
// attacked, as the search does.
uint64_t Perft(int side, int depth, int ply);

// The legal moves of side at the root (ply 1, MoveStack from index 1);
// returns their number.
int LegalRootMoves(int side);

// Pawn sets moved one rank forward, and one file towards a or h, for colour Us.
template <int Us>
inline Bitboard ShiftForward(Bitboard b) {
  if constexpr (Us == White) return b << 8; else return b >> 8;
}
template <int Us>
inline Bitboard ShiftTowardsA(Bitboard b) {
  if constexpr (Us == White) return (b & NotFileA) << 7; else return (b & NotFileA) >> 9;
}
template <int Us>
inline Bitboard ShiftTowardsH(Bitboard b) {
  if constexpr (Us == White) return (b & NotFileH) << 9; else return (b & NotFileH) >> 7;
}
// Square steps matching the shifts above.
template <int Us> constexpr int StepForward = PawnStep[Us];
template <int Us> constexpr int StepTowardsA = PawnStep[Us] - 1;
template <int Us> constexpr int StepTowardsH = PawnStep[Us] + 1;

// Writes one word per square of targets, moving from `from`, at index i.
inline int EmitTargets(int i, int from, int kind, Bitboard targets) {
  for (; targets; targets &= targets - 1) {
    int to = LowestSquare(targets);
    MoveStack[i++] = MoveWord(from, to, kind, Absolute(Board[to]));
  }
  return i;
}

// Promotion kinds, in the order they are written, for one pawn move onto the
// last rank.
struct Promotions {
  const int *kinds;
  int count;
};
constexpr int AllPromotionKinds[4] = {Queen, Rook, Bishop, Knight};
constexpr int UnderPromotionKinds[3] = {Rook, Bishop, Knight};
constexpr Promotions AllPromotions{AllPromotionKinds, 4};
constexpr Promotions UnderPromotions{UnderPromotionKinds, 3};
constexpr Promotions QueenPromotion{AllPromotionKinds, 1};

// Writes the pawn moves of a destination set whose origins lie `step` behind,
// with the given promotions on the last rank. An empty destination equal to
// a nonzero epSquare is an en-passant capture; 0 means none, since a1 is an
// ordinary destination of Black's pushes.
template <int Us>
inline int EmitPawnMoves(int i, Bitboard targets, int step, Promotions promotions, int epSquare) {
  for (; targets; targets &= targets - 1) {
    int to = LowestSquare(targets), from = to - step;
    int code = Board[to];
    int captured = Absolute(code);
    if (code == Empty && epSquare && to == epSquare) captured = Pawn;
    if (RelativeRank<Us>(to) == 7) {
      for (int k = 0; k < promotions.count; ++k)
        MoveStack[i++] = MoveWord(from, to, Pawn, captured, promotions.kinds[k]);
    } else {
      MoveStack[i++] = MoveWord(from, to, Pawn, captured);
    }
  }
  return i;
}

// The generator core. Each generator asks for the moves of colour Us onto
// its own target sets, always in this order: knights, bishops, rooks and
// queens (kind by kind, square by square), the king, then the pawn groups.

// Each knight, bishop, rook and queen: its destinations in `first`, then
// those in `second`. With SkipPinned, pieces pinned to their king stay put.
template <int Us, bool SkipPinned = false>
inline int EmitPieceMoves(int i, Bitboard first, Bitboard second) {
  for (int kind = Knight; kind <= Queen; ++kind) {
    for (Bitboard set = KindSet(SideOf<Us>(), kind); set; set &= set - 1) {
      const int s = LowestSquare(set);
      if (SkipPinned && PinnedToKing<Us>(s)) continue;
      const Bitboard targets = PieceTargets(kind, s);
      i = EmitTargets(i, s, kind, targets & first);
      i = EmitTargets(i, s, kind, targets & second);
    }
  }
  return i;
}

// The king's destinations in `first`, then those in `second`.
template <int Us>
inline int EmitKingMoves(int i, Bitboard first, Bitboard second) {
  const int k = SideOf<Us>().kingSquare;
  i = EmitTargets(i, k, King, KingAttacks[k] & first);
  return EmitTargets(i, k, King, KingAttacks[k] & second);
}

// The pawn groups of the given pawns, each scanned by destination: single
// pushes onto empty squares of `pushes`, double pushes onto empty squares of
// `doublePushes`, then captures towards the a-file and towards the h-file
// onto `captures` (epSquare, when nonzero, is taken en passant).
template <int Us>
inline int EmitPawnGroups(int i, Bitboard pawns, Bitboard pushes, Promotions pushPromotions,
                          Bitboard doublePushes, Bitboard captures, Promotions capturePromotions,
                          int epSquare) {
  const Bitboard empty = ~Occupancy();
  const Bitboard single = ShiftForward<Us>(pawns) & empty;
  const Bitboard hop = ShiftForward<Us>(single & RelativeRankMask<Us>(2)) & empty;
  i = EmitPawnMoves<Us>(i, single & pushes, StepForward<Us>, pushPromotions, 0);
  i = EmitPawnMoves<Us>(i, hop & doublePushes, 2 * StepForward<Us>, Promotions{}, 0);
  i = EmitPawnMoves<Us>(i, ShiftTowardsA<Us>(pawns) & captures, StepTowardsA<Us>, capturePromotions, epSquare);
  return EmitPawnMoves<Us>(i, ShiftTowardsH<Us>(pawns) & captures, StepTowardsH<Us>, capturePromotions, epSquare);
}

// 1 when colour Us may castle on the king side (KingSide) or the queen side:
// the counters of the king's and that rook's home squares at 0, the squares
// between them empty, and the king's square, the one it crosses and its
// destination not attacked. The counters alone carry the right.
template <int Us, bool KingSide>
inline bool CastlingAllowed() {
  constexpr int Them = 1 - Us;
  constexpr int Home = Relative<Us>(E1);
  constexpr int Step = KingSide ? 1 : -1;
  constexpr int Corner = KingSide ? Home + 3 : Home - 4;
  if (MoveCounter[Home] || MoveCounter[Corner]) return false;
  for (int s = Home + Step; s != Corner; s += Step)
    if (Board[s]) return false;
  return !AttackedBy<Them>(Home) && !AttackedBy<Them>(Home + Step) && !AttackedBy<Them>(Home + 2 * Step);
}

// Castling words of colour Us that are allowed: king side first.
template <int Us>
inline int EmitCastling(int i) {
  constexpr int Home = Relative<Us>(E1);
  if (CastlingAllowed<Us, true>()) MoveStack[i++] = MoveWord(Home, Home + 2, King);
  if (CastlingAllowed<Us, false>()) MoveStack[i++] = MoveWord(Home, Home - 2, King);
  return i;
}
