// Attack tables, attack and pin tests, and static exchange evaluation.
#pragma once

#include "board.h"

// Leaper tables.
extern Bitboard KnightAttacks[64];
extern Bitboard KingAttacks[64];
// The squares a pawn of each colour [side] attacks.
extern Bitboard PawnAttacks[2][64];

// Bit position of the byte holding a square's line in each occupancy board.
extern int32_t ShiftRank[64];
extern int32_t ShiftFile[64];
extern int32_t ShiftDiag[64];
extern int32_t ShiftAntiDiag[64];

// Sliding attacks by square and the 8-bit occupancy of the line.
extern Bitboard RankAttacks[64][256];
extern Bitboard FileAttacks[64][256];
extern Bitboard DiagAttacks[64][256];
extern Bitboard AntiDiagAttacks[64][256];
extern uint32_t DiagMobility[64][256];
extern uint32_t AntiDiagMobility[64][256];

// Rays to the board's edge.
extern Bitboard RayNorth[64];
extern Bitboard RaySouth[64];
extern Bitboard RayEast[64];
extern Bitboard RayWest[64];
extern Bitboard RayNorthEast[64];
extern Bitboard RayNorthWest[64];
extern Bitboard RaySouthEast[64];
extern Bitboard RaySouthWest[64];

// The rays towards each colour's [side] promotion rank.
constexpr const Bitboard *RayForward[2] = {RaySouth, RayNorth};

// Pawn-structure masks; per colour [side], ahead is towards its promotion
// rank: the squares ahead on the three files, and on the two adjacent files.
extern Bitboard AdjacentFiles[64];
extern Bitboard PassedMask[2][64];
extern Bitboard AdjacentFilesAhead[2][64];

// Check-blocking squares: between king a and checker b, plus b.
extern Bitboard InterposeMask[64][64];

// Fixed masks of the evaluation. Per colour [side]: the squares where its
// bishop is trapped (a7, h7 for White), and its fianchetto corners on the
// a-side (a1, c1, b2) and on the h-side (f1, h1, g2).
extern Bitboard QueenSideFiles;
extern Bitboard KingSideFiles;
extern Bitboard FilesBToG;
extern Bitboard BishopTrapSquares[2];
extern Bitboard CornerA[2];
extern Bitboard CornerH[2];

// Piece values by the signed code on the board.
constexpr int SignedPieceValue[13] = {3000, 900, 500, 300, 300, 100, 0, 100, 300, 300, 500, 900, 3000};
inline int ValueOfCode(int code) { return SignedPieceValue[code + 6]; }

// Shift tables, leaper tables, the four sliding tables, the mobility counts and
// the masks derived from them (initialisation steps 3 and 4).
void InitAttackTables();
void InitDerivedMasks();

// Sliding lookups through the current occupancy.
inline Bitboard RankAttacksOf(int s) {
  return RankAttacks[s][(Occupancy() >> ShiftRank[s]) & 255];
}
inline Bitboard FileAttacksOf(int s) { return FileAttacks[s][(RotatedFile >> ShiftFile[s]) & 255]; }
inline Bitboard DiagAttacksOf(int s) { return DiagAttacks[s][(RotatedDiag >> ShiftDiag[s]) & 255]; }
inline Bitboard AntiDiagAttacksOf(int s) {
  return AntiDiagAttacks[s][(RotatedAntiDiag >> ShiftAntiDiag[s]) & 255];
}
inline Bitboard BishopAttacksOf(int s) { return DiagAttacksOf(s) | AntiDiagAttacksOf(s); }
inline Bitboard RookAttacksOf(int s) { return RankAttacksOf(s) | FileAttacksOf(s); }
inline Bitboard QueenAttacksOf(int s) { return BishopAttacksOf(s) | RookAttacksOf(s); }

// Destinations of a piece kind (knight .. king) on s in the current position.
inline Bitboard PieceTargets(int kind, int s) {
  switch (kind) {
    case Knight: return KnightAttacks[s];
    case Bishop: return BishopAttacksOf(s);
    case Rook: return RookAttacksOf(s);
    case Queen: return QueenAttacksOf(s);
    default: return KingAttacks[s];
  }
}

// The pawn table that finds the pawns of colour Us attacking a square.
template <int Us>
inline const Bitboard *PawnAttackersTable() { return PawnAttacks[!Us]; }

// 1 when colour Us attacks square s.
template <int Us>
inline int AttackedBy(int s) {
  const SideRecord &us = SideOf<Us>();
  if (PawnAttackersTable<Us>()[s] & us.pawns) return 1;
  if (KnightAttacks[s] & us.knights) return 1;
  if (BishopAttacksOf(s) & (us.bishops | us.queens)) return 1;
  if (RookAttacksOf(s) & (us.rooks | us.queens)) return 1;
  return (KingAttacks[s] & SetMask[us.kingSquare]) != 0;
}

// 1 when two different squares share a rank, a file or a diagonal (as a
// nonzero Direction says), by arithmetic rather than a 16 KB table.
constexpr bool OnOneLine(int a, int b) {
  const int files = File(a) - File(b), ranks = Rank(a) - Rank(b);
  return files == 0 || ranks == 0 || files == ranks || files == -ranks;
}

// 1 when the move just made at ply was an en-passant capture.
inline bool WasEnPassant(Move move, int ply) {
  return MovePiece(move) == Pawn && MoveCaptured(move) == Pawn && !MovePromotion(move) &&
         MoveTo(move) == Ply[ply - 1].epSquare;
}

// 1 when the move just made by colour Us at ply left its own king attacked;
// inCheck says whether that king was attacked before. Out of check only a
// king move, an en-passant capture or a piece leaving the king's line can
// expose the king, so every other move needs no attack test.
template <int Us>
inline bool LeavesKingAttacked(Move move, int ply, int inCheck) {
  const int king = SideOf<Us>().kingSquare;
  if (!inCheck && MovePiece(move) != King && !OnOneLine(MoveFrom(move), king) && !WasEnPassant(move, ply))
    return false;
  return AttackedBy<1 - Us>(king);
}

// 1 when the move just made by colour Us at ply attacks the enemy king. The
// enemy king was not attacked before, so a check comes from the piece on its
// new square or from behind the square it left; king moves (castling), en
// passant and promotions take the whole attack test.
template <int Us>
inline int GivesCheck(Move move, int ply) {
  const int king = SideOf<1 - Us>().kingSquare, to = MoveTo(move), piece = MovePiece(move);
  if (piece == King || MovePromotion(move) || OnOneLine(MoveFrom(move), king) || WasEnPassant(move, ply))
    return AttackedBy<Us>(king);
  const Bitboard attacks = piece == Pawn ? PawnAttacks[Us][to] : PieceTargets(piece, to);
  return (attacks & SetMask[king]) != 0;
}

// 1 when the king of side is attacked by the other colour.
inline int InCheck(int side) {
  return side ? AttackedBy<Black>(WhiteSide.kingSquare) : AttackedBy<White>(BlackSide.kingSquare);
}

// The pieces of colour Us that attack s (king included).
template <int Us>
Bitboard AttackersBy(int s);

// The pieces of both colours that attack s, sliders through the occupancy.
Bitboard AttackersOf(int s);

// 1 when the piece of colour Us on s is the only shield of its king from an
// enemy slider on their common line.
template <int Us>
int PinnedToKing(int s);

// The set plus the slider hidden behind square on the line of direction.
Bitboard AddXrayAttacker(int square, int direction, Bitboard set);

// Material balance for side of moving its piece from `from` to `to` with
// both sides recapturing on `to` with their least valuable pieces.
int StaticExchange(int side, int from, int to);
