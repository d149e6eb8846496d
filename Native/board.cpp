// The global position, its square tables and keys, and setting it up from FEN.
#include "board.h"

#include <cstring>
#include <initializer_list>

int32_t Board[64];
int32_t MoveCounter[64];
SideRecord WhiteSide;
SideRecord BlackSide;
Bitboard RotatedFile;
Bitboard RotatedDiag;
Bitboard RotatedAntiDiag;
int32_t SideToMove;
int32_t GamePhase;

PlyRecord Ply[MaxPly];
alignas(64) Move MoveStack[MoveStackSize + MaxListLength];
alignas(64) int32_t MoveScores[MoveStackSize + MaxListLength];

int32_t GameMoveCount;
int32_t LastIrreversibleMove;
KeyPair GameKeyHistory[GameHistorySize];

alignas(64) Bitboard SetMask[64];
alignas(64) Bitboard ClearMask[64];
alignas(64) Bitboard SetMaskFile[64];
alignas(64) Bitboard SetMaskDiag[64];
alignas(64) Bitboard SetMaskAntiDiag[64];
alignas(64) Bitboard ClearMaskFile[64];
alignas(64) Bitboard ClearMaskDiag[64];
alignas(64) Bitboard ClearMaskAntiDiag[64];
Bitboard FileMask[8];
Bitboard RankMask[8];
Bitboard NotFileA;
Bitboard NotFileH;
Bitboard LightSquares;
Bitboard DarkSquares;
int32_t Direction[64][64];
Bitboard Between[64][64];
uint8_t Distance[64][64];
uint8_t FileDistance[64][64];

uint64_t KeyTable[2][7][64];
uint64_t EnPassantKey[64];

const char StartFen[] = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -";

namespace {

constexpr bool IsSeparator(char c) {
  return c == ',' || c == ';' || c == '=' || c == '+' || c == '/' || c == ' ';
}

// Bit positions of a square in the three rotated boards.
int FileBit(int s) { return 8 * File(s) + (7 - Rank(s)); }
int DiagBit(int s) { return 8 * ((Rank(s) - File(s)) & 7) + File(s); }
int AntiDiagBit(int s) { return 8 * ((Rank(s) + File(s)) & 7) + File(s); }

// State of the key generator; fixed so that every build draws the same keys.
uint64_t RandomState = 0x9E3779B97F4A7C15ull;

// Piece code of a FEN board letter, 0 for anything else.
int PieceOfLetter(char c) {
  switch (c) {
    case 'P': return Pawn;
    case 'N': return Knight;
    case 'B': return Bishop;
    case 'R': return Rook;
    case 'Q': return Queen;
    case 'K': return King;
    case 'p': return -Pawn;
    case 'n': return -Knight;
    case 'b': return -Bishop;
    case 'r': return -Rook;
    case 'q': return -Queen;
    case 'k': return -King;
    default: return 0;
  }
}

// Grants one castling right when its king and rook stand at home.
void GrantCastling(int king, int kingSquare, int rook, int rookSquare) {
  if (Board[kingSquare] == king && Board[rookSquare] == rook) {
    MoveCounter[kingSquare] = 0;
    MoveCounter[rookSquare] = 0;
  }
}

// An en-passant square is kept only where a double push of the side not to
// move can have left it: empty, on the right rank, with that pawn in front.
int CheckedEnPassant(int square, int side) {
  if (square == 0 || Board[square] != Empty) return 0;
  if (side == White) return Rank(square) == 5 && Board[square - 8] == -Pawn ? square : 0;
  return Rank(square) == 2 && Board[square + 8] == Pawn ? square : 0;
}

// One king per side: anything else cannot be searched safely.
int KingsArePlayable() {
  int whiteKings = 0, blackKings = 0;
  for (int s = 0; s < 64; ++s) {
    whiteKings += Board[s] == King;
    blackKings += Board[s] == -King;
  }
  return whiteKings == 1 && blackKings == 1;
}

}  // namespace

// File and king distances between every pair of squares.
void InitDistances() {
  for (int a = 0; a < 64; ++a) {
    for (int b = 0; b < 64; ++b) {
      int files = Absolute(File(a) - File(b));
      int ranks = Absolute(Rank(a) - Rank(b));
      FileDistance[a][b] = uint8_t(files);
      Distance[a][b] = uint8_t(files > ranks ? files : ranks);
    }
  }
}

// Single-square masks of the plain and the three rotated boards.
void InitSquareMasks() {
  for (int s = 0; s < 64; ++s) {
    SetMask[s] = Bitboard(1) << s;
    SetMaskFile[s] = Bitboard(1) << FileBit(s);
    SetMaskDiag[s] = Bitboard(1) << DiagBit(s);
    SetMaskAntiDiag[s] = Bitboard(1) << AntiDiagBit(s);
    ClearMask[s] = ~SetMask[s];
    ClearMaskFile[s] = ~SetMaskFile[s];
    ClearMaskDiag[s] = ~SetMaskDiag[s];
    ClearMaskAntiDiag[s] = ~SetMaskAntiDiag[s];
  }
}

// File, rank and square-colour masks, and the line tables Direction and Between.
void InitDerivedSquareMasks() {
  LightSquares = DarkSquares = 0;
  for (int i = 0; i < 8; ++i) FileMask[i] = RankMask[i] = 0;
  for (int s = 0; s < 64; ++s) {
    FileMask[File(s)] |= SetMask[s];
    RankMask[Rank(s)] |= SetMask[s];
    if ((File(s) + Rank(s)) & 1) LightSquares |= SetMask[s]; else DarkSquares |= SetMask[s];
  }
  NotFileA = ~FileMask[0];
  NotFileH = ~FileMask[7];
  for (int a = 0; a < 64; ++a) {
    for (int b = 0; b < 64; ++b) {
      int df = File(b) - File(a), dr = Rank(b) - Rank(a), step = 0;
      if (a != b) {
        if (dr == 0) step = df > 0 ? 1 : -1;
        else if (df == 0) step = dr > 0 ? 8 : -8;
        else if (df == dr) step = dr > 0 ? 9 : -9;
        else if (df == -dr) step = dr > 0 ? 7 : -7;
      }
      Direction[a][b] = step;
      Between[a][b] = 0;
      if (step) {
        for (int s = a + step; s != b; s += step) Between[a][b] |= SetMask[s];
      }
    }
  }
}

// A uniformly random 64-bit number from a fixed-seed splitmix generator, so
// keys (and with them search results) are the same on every platform.
uint64_t Random64() {
  uint64_t z = (RandomState += 0x9E3779B97F4A7C15ull);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

// The thirteen key tables, drawn square by square: White's six kinds, Black's
// six kinds, then en passant.
void InitPositionKeys() {
  RandomState = 0x9E3779B97F4A7C15ull;
  for (int s = 0; s < 64; ++s) {
    for (int kind = Pawn; kind <= King; ++kind) KeyTable[White][kind][s] = Random64();
    for (int kind = Pawn; kind <= King; ++kind) KeyTable[Black][kind][s] = Random64();
    EnPassantKey[s] = Random64();
    KeyTable[White][Empty][s] = KeyTable[Black][Empty][s] = 0;
  }
}

// Tokens longer than 31 characters are cut to their first 31; the host's
// text is only read, so a constant text is as good as a writable one.
int SplitTokens(const char *text, TokenSlot *slots) {
  int count = 0;
  const char *p = text ? text : "";
  while (*p) {
    while (*p && IsSeparator(*p)) ++p;
    if (!*p) break;
    int length = 0;
    char *slot = count < MaxTokens ? slots[count] : nullptr;
    for (; *p && !IsSeparator(*p); ++p) {
      if (slot && length < TokenSize - 1) slot[length++] = *p;
    }
    if (slot) {
      slot[length] = '\0';
      ++count;
    }
  }
  return count;
}

int SquareFromText(const char *text) {
  if (text[0] < 'a' || text[0] > 'h') return 0;
  if (text[1] < '1' || text[1] > '8') return 0;
  return (text[0] - 'a') + 8 * (text[1] - '1');
}

void SetStartPosition() {
  static TokenSlot slots[MaxTokens];
  int count = SplitTokens(StartFen, slots);
  SetUpFromTokens(slots, count);
}

// Clears the game record and sets the position from FEN tokens. A board
// without exactly one king per side gives the start position instead.
void SetUpFromTokens(TokenSlot *slots, int count) {
  GamePhase = 0;
  GameMoveCount = 0;
  LastIrreversibleMove = 0;
  std::memset(GameKeyHistory, 0, sizeof GameKeyHistory);
  WhiteSide.castled = BlackSide.castled = 0;
  SideToMove = ReadFenFields(slots, count);
  if (!KingsArePlayable()) SetStartPosition();
}

// Reads board, side, castling and en passant. Missing fields: empty ranks,
// White to move, no castling, no en passant. Pieces that would fall outside
// the board, and pawns on the first or last rank, are left out.
int ReadFenFields(TokenSlot *slots, int count) {
  for (int s = 0; s < 64; ++s) {
    Board[s] = Empty;
    MoveCounter[s] = 1;
  }
  int cursor = A8;
  for (int k = 0; k < 8; ++k) {
    const char *rank = k < count ? slots[k] : "";
    for (const char *c = rank; *c; ++c) {
      if (*c >= '1' && *c <= '8') {
        cursor += *c - '0';
      } else if (int piece = PieceOfLetter(*c)) {
        bool onBoard = cursor >= 0 && cursor < 64;
        bool pawnOnEdge = Absolute(piece) == Pawn && (Rank(cursor) == 0 || Rank(cursor) == 7);
        if (onBoard && !pawnOnEdge) Board[cursor] = piece;
        ++cursor;
      }
    }
    cursor -= 16;
  }
  int side = count > 8 ? (std::strcmp(slots[8], "w") == 0 ? White : Black) : White;
  for (const char *c = count > 9 ? slots[9] : ""; *c; ++c) {
    if (*c == 'K') GrantCastling(King, E1, Rook, H1);
    if (*c == 'Q') GrantCastling(King, E1, Rook, A1);
    if (*c == 'k') GrantCastling(-King, E8, -Rook, H8);
    if (*c == 'q') GrantCastling(-King, E8, -Rook, A8);
  }
  Ply[0].epSquare = CheckedEnPassant(count > 10 ? SquareFromText(slots[10]) : 0, side);
  DerivePositionState();
  return side;
}

// Rebuilds bitboards, rotated boards, counters, king squares and keys from
// Board.
void DerivePositionState() {
  for (SideRecord *side : {&WhiteSide, &BlackSide}) {
    int castled = side->castled;
    *side = SideRecord{};
    side->castled = castled;
  }
  RotatedFile = RotatedDiag = RotatedAntiDiag = 0;
  uint64_t pawnKey = 0, pieceKey = 0;
  for (int s = 0; s < 64; ++s) {
    int piece = Board[s];
    if (!piece) continue;
    int colour = piece > 0 ? White : Black, kind = Absolute(piece);
    if (colour == White) PutPiece<White>(kind, s); else PutPiece<Black>(kind, s);
    if (kind == Pawn) pawnKey ^= KeyTable[colour][kind][s]; else pieceKey ^= KeyTable[colour][kind][s];
  }
  Ply[1].pawnKey = pawnKey;
  Ply[1].pieceKey = pieceKey;
  int entry = GameMoveCount + 1;
  if (entry >= 0 && entry < GameHistorySize) GameKeyHistory[entry] = {pawnKey, pieceKey};
}

// Clears the search fields of every ply record. A record's line is read from
// its own ply on, up to the first empty word, so emptying that word empties
// the line (rather than 120 rows of 120 words before every search).
void ResetSearchState() {
  for (int ply = 0; ply < MaxPly; ++ply) {
    PlyRecord &record = Ply[ply];
    record.pvRow[ply] = 0;
    record.hashMove = record.killer1 = record.killer2 = record.bestMove = 0;
  }
  Ply[0].listEnd = 1;
  Ply[0].move = 0;
  Ply[0].recaptured = Ply[1].recaptured = 0;
}

KeyPair ComputeKeys() {
  KeyPair keys{0, 0};
  for (int s = 0; s < 64; ++s) {
    int piece = Board[s];
    if (!piece) continue;
    int colour = piece > 0 ? White : Black, kind = Absolute(piece);
    if (kind == Pawn) keys.pawnKey ^= KeyTable[colour][kind][s];
    else keys.pieceKey ^= KeyTable[colour][kind][s];
  }
  return keys;
}

int PositionIsConsistent() {
  SideRecord white = WhiteSide, black = BlackSide;
  Bitboard file = RotatedFile, diag = RotatedDiag, antiDiag = RotatedAntiDiag;
  KeyPair rootKeys{Ply[1].pawnKey, Ply[1].pieceKey};
  KeyPair history = GameKeyHistory[GameMoveCount + 1];

  DerivePositionState();
  bool same = white == WhiteSide && black == BlackSide && file == RotatedFile &&
              diag == RotatedDiag && antiDiag == RotatedAntiDiag;

  WhiteSide = white;
  BlackSide = black;
  RotatedFile = file;
  RotatedDiag = diag;
  RotatedAntiDiag = antiDiag;
  Ply[1].pawnKey = rootKeys.pawnKey;
  Ply[1].pieceKey = rootKeys.pieceKey;
  GameKeyHistory[GameMoveCount + 1] = history;
  return same;
}
