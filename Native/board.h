// The one global position, the move word, the per-ply search records, the game
// record and the small square tables that nearly every area reads.
#pragma once

#include <cstdint>

#include "uint64.h"
#include "varn504.h"

// Colours: every side argument uses this coding (nonzero means White). Where
// the engine's documentation names a twin by its colour (AttackedByWhite,
// GenerateBlackCaptures, WhitePassedMask, BlackKingDanger), the code has one
// template over the colour (AttackedBy<White>) or one table indexed by it
// (PassedMask[White]).
constexpr int White = 1;
constexpr int Black = 0;

// Side-relative constants by colour [side]: the sign of its pieces' codes
// and scores, its pawns' forward step, and what turns its squares into
// White's view (Black's are mirrored by rank, a1 <-> a8).
constexpr int ColourSign[2] = {-1, 1};
constexpr int PawnStep[2] = {-8, 8};
constexpr int RankMirror[2] = {56, 0};

constexpr int Absolute(int x) { return x < 0 ? -x : x; }

// The score scale of the public header: every score lies inside
// +-ScoreInfinite; mated at ply p scores p - ScoreInfinite.
constexpr int ScoreInfinite = VARN_SCORE_INFINITE;
constexpr int MateThreshold = VARN_MATE_THRESHOLD;

// Piece kinds; Black's pieces are the negative codes on the board.
enum : int { Empty = 0, Pawn = 1, Knight = 2, Bishop = 3, Rook = 4, Queen = 5, King = 6 };

// Squares, a1 = 0 .. h8 = 63.
enum : int {
  A1, B1, C1, D1, E1, F1, G1, H1,
  A2, B2, C2, D2, E2, F2, G2, H2,
  A3, B3, C3, D3, E3, F3, G3, H3,
  A4, B4, C4, D4, E4, F4, G4, H4,
  A5, B5, C5, D5, E5, F5, G5, H5,
  A6, B6, C6, D6, E6, F6, G6, H6,
  A7, B7, C7, D7, E7, F7, G7, H7,
  A8, B8, C8, D8, E8, F8, G8, H8,
};

constexpr int MaxPly = 120;          // per-ply records, the root is ply 1
constexpr int MoveStackSize = 5000;  // logical size of the shared move stack
// No single generated list can exceed this many words (at most 17 non-pawn
// movers per destination square, at most 12 words per promoting pawn), so a
// list that starts inside the logical stack always fits in the padded array.
constexpr int MaxListLength = 1536;
constexpr int MaxGameMoves = VARN_MAX_GAME_MOVES;
constexpr int GameHistorySize = MaxGameMoves + 2;  // entry GameMoveCount + 1 after the last move

// ---------------------------------------------------------------------------
// Move word: from + 64 to + 4096 piece + 32768 captured + 262144 promotion.
using Move = uint32_t;

constexpr Move MoveWord(int from, int to, int piece, int captured = 0, int promotion = 0) {
  return Move(from) | Move(to) << 6 | Move(piece) << 12 | Move(captured) << 15 | Move(promotion) << 18;
}
constexpr int MoveFrom(Move m) { return int(m & 63); }
constexpr int MoveTo(Move m) { return int(m >> 6 & 63); }
constexpr int MovePiece(Move m) { return int(m >> 12 & 7); }
constexpr int MoveCaptured(Move m) { return int(m >> 15 & 7); }
constexpr int MovePromotion(Move m) { return int(m >> 18 & 7); }
static_assert(MoveWord(E1, G1, King) == 24964 && MoveWord(E8, C8, King) == 28348);
static_assert(MoveWord(63, 63, 7, 7, 7) < (1u << 21), "move fields fit in 21 bits");

// ---------------------------------------------------------------------------
// Position.
struct SideRecord {
  Bitboard pawns;
  Bitboard knights;
  Bitboard bishops;
  Bitboard rooks;
  Bitboard queens;
  Bitboard occupied;  // king included; the king itself has no bitboard
  int32_t minorCount;
  int32_t majorWeight;
  int32_t pieceUnits;
  int32_t pawnCount;
  int32_t material;
  int32_t castled;
  int32_t kingSquare;
  bool operator==(const SideRecord &) const = default;
};

// Piece values by kind (none, pawn .. king), also what a piece adds to its
// side's material (kings never enter the counters), and the counter weights.
constexpr int PieceValue[7] = {0, 100, 300, 300, 500, 900, 3000};
constexpr int UnitsOf[7] = {0, 0, 3, 3, 5, 9, 0};
constexpr int MinorOf[7] = {0, 0, 1, 1, 0, 0, 0};
constexpr int MajorOf[7] = {0, 0, 0, 0, 1, 2, 0};

extern int32_t Board[64];
extern int32_t MoveCounter[64];  // castling rights: 0 on home squares still unmoved
extern SideRecord WhiteSide;
extern SideRecord BlackSide;
extern Bitboard RotatedFile;
extern Bitboard RotatedDiag;
extern Bitboard RotatedAntiDiag;
extern int32_t SideToMove;
extern int32_t GamePhase;

template <int Us>
inline SideRecord &SideOf() {
  if constexpr (Us == White) return WhiteSide; else return BlackSide;
}
inline SideRecord &SideOf(int side) { return side ? WhiteSide : BlackSide; }

// The Board code of colour Us's piece of a kind.
template <int Us>
constexpr int PieceCode(int kind) { return ColourSign[Us] * kind; }

// 1 when the Board code belongs to colour Us.
template <int Us>
constexpr bool Owns(int code) { return ColourSign[Us] * code > 0; }

// The bitboard of a piece kind (pawn .. queen) in a side record.
inline Bitboard &KindSet(SideRecord &side, int kind) {
  static constexpr Bitboard SideRecord::*Member[6] = {
      &SideRecord::occupied, &SideRecord::pawns, &SideRecord::knights,
      &SideRecord::bishops, &SideRecord::rooks, &SideRecord::queens};
  return side.*Member[kind];
}

inline Bitboard Occupancy() { return WhiteSide.occupied | BlackSide.occupied; }

// ---------------------------------------------------------------------------
// Per-ply search records and the shared move stack.
struct PlyRecord {
  Move pvRow[MaxPly];
  Move hashMove;
  Move killer1;
  Move killer2;
  Move move;
  Move bestMove;
  int32_t epSquare;
  int32_t listEnd;
  int32_t phase;
  int32_t historyPicks;
  int32_t recaptured;
  int32_t inCheck;
  uint64_t pawnKey;
  uint64_t pieceKey;
};

extern PlyRecord Ply[MaxPly];
extern Move MoveStack[MoveStackSize + MaxListLength];
extern int32_t MoveScores[MoveStackSize + MaxListLength];

// ---------------------------------------------------------------------------
// Game record played in by the host.
struct KeyPair {
  uint64_t pawnKey;
  uint64_t pieceKey;
};
extern int32_t GameMoveCount;
extern int32_t LastIrreversibleMove;
extern KeyPair GameKeyHistory[GameHistorySize];

// ---------------------------------------------------------------------------
// Square tables, filled once by the initialisation.
constexpr int File(int s) { return s & 7; }
constexpr int Rank(int s) { return s >> 3; }

extern Bitboard SetMask[64];
extern Bitboard ClearMask[64];
extern Bitboard SetMaskFile[64];
extern Bitboard SetMaskDiag[64];
extern Bitboard SetMaskAntiDiag[64];
extern Bitboard ClearMaskFile[64];
extern Bitboard ClearMaskDiag[64];
extern Bitboard ClearMaskAntiDiag[64];
extern Bitboard FileMask[8];
extern Bitboard RankMask[8];
extern Bitboard NotFileA;
extern Bitboard NotFileH;
extern Bitboard LightSquares;
extern Bitboard DarkSquares;
extern int32_t Direction[64][64];
extern Bitboard Between[64][64];
extern uint8_t Distance[64][64];
extern uint8_t FileDistance[64][64];

// Square s as colour Us sees it: White's squares stay, Black's are
// mirrored by rank. Relative<Us>(E1) is Us's king home.
template <int Us>
constexpr int Relative(int s) { return s ^ RankMirror[Us]; }

// Index of square s in a table printed as a player reads it, rank 8 on the
// first line.
constexpr int Printed(int s) { return Relative<Black>(s); }

// Fills both colours' rows of a square table from its printed White copy.
inline void SplitByColour(const int (&printed)[64], int32_t (&tables)[2][64]) {
  for (int s = 0; s < 64; ++s) {
    tables[White][s] = printed[Printed(s)];
    tables[Black][s] = printed[Printed(Relative<Black>(s))];
  }
}

// Rank counted from colour Us's own side (0 = its first rank).
template <int Us>
constexpr int RelativeRank(int s) { return Rank(Relative<Us>(s)); }

// The squares of rank r counted from colour Us's side.
template <int Us>
inline Bitboard RelativeRankMask(int r) { return RankMask[RelativeRank<Us>(8 * r)]; }

// 1 when square a lies behind square b on their file, seen by colour Us.
template <int Us>
constexpr bool Behind(int a, int b) { return Relative<Us>(a) < Relative<Us>(b); }

// The squares of the colour (light or dark) that s belongs to.
inline Bitboard SquaresOfColour(int s) { return (DarkSquares & SetMask[s]) ? DarkSquares : LightSquares; }

// The most advanced square of colour Us in a non-empty set.
template <int Us>
inline int MostAdvanced(Bitboard set) {
  if constexpr (Us == White) return HighestSquare(set); else return LowestSquare(set);
}

// Puts square s into, or takes it out of, the three rotated boards.
inline void SetRotated(int s) {
  RotatedFile |= SetMaskFile[s];
  RotatedDiag |= SetMaskDiag[s];
  RotatedAntiDiag |= SetMaskAntiDiag[s];
}
inline void ClearRotated(int s) {
  RotatedFile &= ClearMaskFile[s];
  RotatedDiag &= ClearMaskDiag[s];
  RotatedAntiDiag &= ClearMaskAntiDiag[s];
}

// ---------------------------------------------------------------------------
// Square changes. Every piece that enters, leaves or crosses the board goes
// through these three, so Board, the side's bitboards, counters and king
// square and the rotated boards cannot fall out of step.

// Adds (sign 1) or takes away (sign -1) one piece of a kind (pawn .. queen)
// in a side's counters.
inline void CountPiece(SideRecord &side, int kind, int sign) {
  side.material += sign * PieceValue[kind];
  side.pawnCount += sign * (kind == Pawn);
  side.pieceUnits += sign * UnitsOf[kind];
  side.minorCount += sign * MinorOf[kind];
  side.majorWeight += sign * MajorOf[kind];
}

// Puts colour Us's piece of a kind (pawn .. king) on the empty square s.
template <int Us>
inline void PutPiece(int kind, int s) {
  SideRecord &side = SideOf<Us>();
  Board[s] = PieceCode<Us>(kind);
  side.occupied |= SetMask[s];
  SetRotated(s);
  if (kind == King) {
    side.kingSquare = s;
    return;
  }
  KindSet(side, kind) |= SetMask[s];
  CountPiece(side, kind, 1);
}

// Takes colour Us's piece of a kind (pawn .. queen) off square s.
template <int Us>
inline void RemovePiece(int kind, int s) {
  SideRecord &side = SideOf<Us>();
  Board[s] = Empty;
  side.occupied &= ClearMask[s];
  ClearRotated(s);
  KindSet(side, kind) &= ClearMask[s];
  CountPiece(side, kind, -1);
}

// Shifts colour Us's piece of a kind (pawn .. king) from `from` to the empty
// square `to`.
template <int Us>
inline void ShiftPiece(int kind, int from, int to) {
  SideRecord &side = SideOf<Us>();
  Board[from] = Empty;
  Board[to] = PieceCode<Us>(kind);
  side.occupied = (side.occupied & ClearMask[from]) | SetMask[to];
  ClearRotated(from);
  SetRotated(to);
  if (kind == King) {
    side.kingSquare = to;
    return;
  }
  Bitboard &set = KindSet(side, kind);
  set = (set & ClearMask[from]) | SetMask[to];
}

// The rook's move in a castling whose king lands on kingTo: from the h-file
// to the f-file beside a king on the g-file, else from the a-file to the d-file.
struct RookStep {
  int from;
  int to;
};
constexpr RookStep CastlingRook(int kingTo) {
  return File(kingTo) == 6 ? RookStep{kingTo + 1, kingTo - 1} : RookStep{kingTo - 2, kingTo + 1};
}

// ---------------------------------------------------------------------------
// Position keys: per colour and kind (1..6) and square, and en passant.
extern uint64_t KeyTable[2][7][64];
extern uint64_t EnPassantKey[64];

// ---------------------------------------------------------------------------
// Token slots of the FEN and game-record tokenizer.
constexpr int MaxTokens = 1024;
constexpr int TokenSize = 32;  // 31 characters and the terminating NUL
using TokenSlot = char[TokenSize];

// Splits text at ",;=+/ " into at most MaxTokens slots of at most 31
// characters (longer tokens are cut); returns the number of tokens. The
// text itself is not changed.
int SplitTokens(const char *text, TokenSlot *slots);
// The square a name such as e4 gives, 0 for anything else.
int SquareFromText(const char *text);

// Initialisation steps owned by this area (called by InitEngineTables).
void InitDistances();
void InitSquareMasks();
void InitDerivedSquareMasks();
uint64_t Random64();
void InitPositionKeys();

// Position set-up.
extern const char StartFen[];
void SetStartPosition();
void SetUpFromTokens(TokenSlot *slots, int count);
int ReadFenFields(TokenSlot *slots, int count);
void DerivePositionState();
void ResetSearchState();

// The two key halves of the current board computed from scratch (no en
// passant component).
KeyPair ComputeKeys();

// Rebuilds everything that follows from Board (bitboards, counters, king
// squares, rotated boards) and compares it with the incrementally kept
// fields; returns 1 when they agree. For tests and debugging.
int PositionIsConsistent();
