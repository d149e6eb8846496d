// Attack tables, attack and pin tests, and static exchange evaluation.
#include "attacks.h"

#include <initializer_list>

alignas(64) Bitboard KnightAttacks[64];
alignas(64) Bitboard KingAttacks[64];
alignas(64) Bitboard PawnAttacks[2][64];

int32_t ShiftRank[64];
int32_t ShiftFile[64];
int32_t ShiftDiag[64];
int32_t ShiftAntiDiag[64];

alignas(64) Bitboard RankAttacks[64][256];
alignas(64) Bitboard FileAttacks[64][256];
alignas(64) Bitboard DiagAttacks[64][256];
alignas(64) Bitboard AntiDiagAttacks[64][256];
alignas(64) uint32_t DiagMobility[64][256];
alignas(64) uint32_t AntiDiagMobility[64][256];

Bitboard RayNorth[64];
Bitboard RaySouth[64];
Bitboard RayEast[64];
Bitboard RayWest[64];
Bitboard RayNorthEast[64];
Bitboard RayNorthWest[64];
Bitboard RaySouthEast[64];
Bitboard RaySouthWest[64];

Bitboard AdjacentFiles[64];
Bitboard PassedMask[2][64];
Bitboard AdjacentFilesAhead[2][64];

Bitboard InterposeMask[64][64];

Bitboard QueenSideFiles;
Bitboard KingSideFiles;
Bitboard FilesBToG;
Bitboard BishopTrapSquares[2];
Bitboard CornerA[2];
Bitboard CornerH[2];

namespace {

// File and rank steps of the eight line directions: the four of a line first
// and its opposite four after, so direction d and d + 4 walk one line.
constexpr int StepFile[8] = {1, 0, 1, -1, -1, 0, -1, 1};
constexpr int StepRank[8] = {0, 1, 1, 1, 0, -1, -1, -1};

bool OnBoard(int file, int rank) { return file >= 0 && file < 8 && rank >= 0 && rank < 8; }

// Squares a leaper on s reaches with the given square steps, rejecting steps
// that wrap around the edge of the board.
Bitboard LeaperTargets(int s, const int *steps, int count, int reach) {
  Bitboard targets = 0;
  for (int i = 0; i < count; ++i) {
    int t = s + steps[i];
    if (t < 0 || t > 63) continue;
    int df = File(t) - File(s), dr = Rank(t) - Rank(s);
    if (df < reach && df > -reach && dr < reach && dr > -reach) targets |= SetMask[t];
  }
  return targets;
}

// The bit of a line's occupancy byte that stands for the square (file, rank):
// the file for ranks and both diagonals, 7 - rank for files.
int LineBit(int line, int file, int rank) { return line == 1 ? 7 - rank : file; }

// Walks from s in direction d over the line whose blockers are the set bits
// of occupancy; returns the squares reached and counts the empty ones.
Bitboard WalkLine(int s, int d, int line, int occupancy, uint32_t &empties) {
  Bitboard reached = 0;
  int file = File(s) + StepFile[d], rank = Rank(s) + StepRank[d];
  for (; OnBoard(file, rank); file += StepFile[d], rank += StepRank[d]) {
    reached |= SetMask[8 * rank + file];
    if (occupancy >> LineBit(line, file, rank) & 1) break;
    ++empties;
  }
  return reached;
}

// Every square from s to the edge in direction d.
Bitboard Ray(int s, int d) {
  uint32_t unused = 0;
  return WalkLine(s, d, 0, 0, unused);
}

// The least valuable piece of colour side among the attackers; -1 if none.
int LeastValuableAttacker(int side, Bitboard attackers) {
  const SideRecord &us = SideOf(side);
  for (Bitboard set : {us.pawns, us.knights, us.bishops, us.rooks, us.queens}) {
    if (set & attackers) return LowestSquare(set & attackers);
  }
  return attackers & SetMask[us.kingSquare] ? us.kingSquare : -1;
}

}  // namespace

void InitAttackTables() {
  constexpr int KnightSteps[8] = {-17, -15, -10, -6, 6, 10, 15, 17};
  constexpr int KingSteps[8] = {-9, -8, -7, -1, 1, 7, 8, 9};
  constexpr int WhitePawnSteps[2] = {7, 9};
  constexpr int BlackPawnSteps[2] = {-7, -9};
  for (int s = 0; s < 64; ++s) {
    int f = File(s), r = Rank(s);
    ShiftRank[s] = 8 * r;
    ShiftFile[s] = 8 * f;
    ShiftDiag[s] = 8 * ((r - f) & 7);
    ShiftAntiDiag[s] = 8 * ((r + f) & 7);
    KnightAttacks[s] = LeaperTargets(s, KnightSteps, 8, 3);
    KingAttacks[s] = LeaperTargets(s, KingSteps, 8, 2);
    PawnAttacks[White][s] = LeaperTargets(s, WhitePawnSteps, 2, 2);
    PawnAttacks[Black][s] = LeaperTargets(s, BlackPawnSteps, 2, 2);
    for (int o = 0; o < 256; ++o) {
      uint32_t rankEmpty = 0, fileEmpty = 0;
      RankAttacks[s][o] = WalkLine(s, 0, 0, o, rankEmpty) | WalkLine(s, 4, 0, o, rankEmpty);
      FileAttacks[s][o] = WalkLine(s, 1, 1, o, fileEmpty) | WalkLine(s, 5, 1, o, fileEmpty);
      uint32_t diagEmpty = 0, antiDiagEmpty = 0;
      DiagAttacks[s][o] = WalkLine(s, 2, 2, o, diagEmpty) | WalkLine(s, 6, 2, o, diagEmpty);
      AntiDiagAttacks[s][o] = WalkLine(s, 3, 3, o, antiDiagEmpty) | WalkLine(s, 7, 3, o, antiDiagEmpty);
      DiagMobility[s][o] = diagEmpty;
      AntiDiagMobility[s][o] = antiDiagEmpty;
    }
  }
}

// Fixed evaluation masks, pawn-structure masks, rays and InterposeMask.
void InitDerivedMasks() {
  auto squares = [](std::initializer_list<int> list) {
    Bitboard b = 0;
    for (int s : list) b |= SetMask[s];
    return b;
  };
  BishopTrapSquares[Black] = squares({A2, H2});
  BishopTrapSquares[White] = squares({A7, H7});
  QueenSideFiles = FileMask[0] | FileMask[1] | FileMask[2] | FileMask[3];
  KingSideFiles = FileMask[4] | FileMask[5] | FileMask[6] | FileMask[7];
  FilesBToG = ~FileMask[0] & ~FileMask[7];
  CornerA[White] = squares({A1, C1, B2});
  CornerH[White] = squares({F1, H1, G2});
  CornerA[Black] = squares({A8, C8, B7});
  CornerH[Black] = squares({F8, H8, G7});

  for (int s = 0; s < 64; ++s) {
    int f = File(s), r = Rank(s);
    RayEast[s] = Ray(s, 0);
    RayNorth[s] = Ray(s, 1);
    RayNorthEast[s] = Ray(s, 2);
    RayNorthWest[s] = Ray(s, 3);
    RayWest[s] = Ray(s, 4);
    RaySouth[s] = Ray(s, 5);
    RaySouthWest[s] = Ray(s, 6);
    RaySouthEast[s] = Ray(s, 7);

    Bitboard sides = (f > 0 ? FileMask[f - 1] : 0) | (f < 7 ? FileMask[f + 1] : 0);
    Bitboard threeFiles = sides | FileMask[f];
    Bitboard above = 0, below = 0;
    for (int rank = r + 1; rank < 8; ++rank) above |= RankMask[rank];
    for (int rank = 0; rank < r; ++rank) below |= RankMask[rank];
    AdjacentFiles[s] = sides;
    PassedMask[White][s] = threeFiles & above;
    PassedMask[Black][s] = threeFiles & below;
    AdjacentFilesAhead[Black][s] = r == 7 ? 0 : sides & below;
    AdjacentFilesAhead[White][s] = r == 0 ? 0 : sides & above;

    for (int t = 0; t < 64; ++t) {
      if (Direction[s][t]) InterposeMask[s][t] = Between[s][t] | SetMask[t];
      else InterposeMask[s][t] = KnightAttacks[s] & SetMask[t];
    }
  }
}

template <int Us>
Bitboard AttackersBy(int s) {
  const SideRecord &us = SideOf<Us>();
  return (PawnAttackersTable<Us>()[s] & us.pawns) | (KnightAttacks[s] & us.knights) |
         (BishopAttacksOf(s) & (us.bishops | us.queens)) | (RookAttacksOf(s) & (us.rooks | us.queens)) |
         (KingAttacks[s] & SetMask[us.kingSquare]);
}

Bitboard AttackersOf(int s) {
  const SideRecord &w = WhiteSide, &b = BlackSide;
  return (PawnAttacks[White][s] & b.pawns) | (PawnAttacks[Black][s] & w.pawns) |
         (KnightAttacks[s] & (w.knights | b.knights)) |
         (BishopAttacksOf(s) & (w.bishops | w.queens | b.bishops | b.queens)) |
         (RookAttacksOf(s) & (w.rooks | w.queens | b.rooks | b.queens)) |
         (KingAttacks[s] & (SetMask[w.kingSquare] | SetMask[b.kingSquare]));
}

template <int Us>
int PinnedToKing(int s) {
  const SideRecord &them = SideOf<1 - Us>();
  int king = SideOf<Us>().kingSquare;
  Bitboard line, sliders;
  switch (Direction[s][king]) {
    case 1: case -1: line = RankAttacksOf(s); sliders = them.rooks | them.queens; break;
    case 8: case -8: line = FileAttacksOf(s); sliders = them.rooks | them.queens; break;
    case 9: case -9: line = DiagAttacksOf(s); sliders = them.bishops | them.queens; break;
    case 7: case -7: line = AntiDiagAttacksOf(s); sliders = them.bishops | them.queens; break;
    default: return 0;
  }
  return (line & SetMask[king]) && (line & sliders);
}

Bitboard AddXrayAttacker(int square, int direction, Bitboard set) {
  const SideRecord &w = WhiteSide, &b = BlackSide;
  Bitboard straight = w.rooks | w.queens | b.rooks | b.queens;
  Bitboard diagonal = w.bishops | w.queens | b.bishops | b.queens;
  switch (direction) {
    case 1: return set | (RankAttacksOf(square) & RayEast[square] & straight);
    case -1: return set | (RankAttacksOf(square) & RayWest[square] & straight);
    case 8: return set | (FileAttacksOf(square) & RayNorth[square] & straight);
    case -8: return set | (FileAttacksOf(square) & RaySouth[square] & straight);
    case 9: return set | (DiagAttacksOf(square) & RayNorthEast[square] & diagonal);
    case -9: return set | (DiagAttacksOf(square) & RaySouthWest[square] & diagonal);
    case 7: return set | (AntiDiagAttacksOf(square) & RayNorthWest[square] & diagonal);
    case -7: return set | (AntiDiagAttacksOf(square) & RaySouthEast[square] & diagonal);
    default: return set;
  }
}

// Swap-list exchange on `to`; the board is never changed, so pieces that have
// taken part still block their lines and x-rays are added explicitly.
int StaticExchange(int side, int from, int to) {
  constexpr int SwapSize = 32;
  int swap[SwapSize];
  Bitboard attackers = AttackersOf(to) & ClearMask[from];
  swap[0] = ValueOfCode(Board[to]);
  int onSquare = ValueOfCode(Board[from]);
  if (Direction[to][from]) attackers = AddXrayAttacker(from, Direction[to][from], attackers);
  int mover = side ? Black : White, n = 1;
  while (attackers && n < SwapSize) {
    int square = LeastValuableAttacker(mover, attackers);
    if (square < 0) break;
    swap[n] = onSquare - swap[n - 1];
    onSquare = ValueOfCode(Board[square]);
    attackers &= ClearMask[square];
    if (Direction[to][square]) attackers = AddXrayAttacker(square, Direction[to][square], attackers);
    ++n;
    mover = mover ? Black : White;
  }
  for (int k = n - 1; k >= 1; --k) {
    if (swap[k] > -swap[k - 1]) swap[k - 1] = -swap[k];
  }
  return swap[0];
}

template Bitboard AttackersBy<White>(int);
template Bitboard AttackersBy<Black>(int);
template int PinnedToKing<White>(int);
template int PinnedToKing<Black>(int);
