// The static evaluation: material, pawns, king safety, development, king
// placement, piece placement and the attack term, with lazy exits and the
// endgame knowledge that scales or caps the result.
#include "score.h"

#include <algorithm>

#include "attacks.h"
#include "pawns.h"
#include "phase.h"

int32_t KingDanger[2];

alignas(64) int32_t KnightTables[2][64];
alignas(64) int32_t BishopTables[2][64];
alignas(64) int32_t OutpostTables[2][64];
alignas(64) int32_t QueenTables[2][64];
alignas(64) int32_t KingTablesBothWings[2][64];
alignas(64) int32_t KingTablesQueenSide[2][64];
alignas(64) int32_t KingTablesKingSide[2][64];
alignas(64) int32_t KingDangerTables[2][64];

namespace {

// Square tables, White's view, rank 8 on the first line.
constexpr int KnightTable[64] = {
    -32, -16, -8, -8, -8, -8, -16, -32,  // 8
    -24, -24, 4,  4,  4,  4,  -24, -24,  // 7
    -8,  2,   6,  6,  6,  6,  2,   -8,   // 6
    -8,  2,   6,  6,  6,  6,  2,   -8,   // 5
    -8,  2,   4,  4,  4,  4,  2,   -8,   // 4
    -8,  2,   2,  2,  2,  2,  2,   -8,   // 3
    -8,  -8,  0,  0,  0,  0,  -8,  -8,   // 2
    -8,  -8,  -8, -8, -8, -8, -8,  -8,   // 1
};

constexpr int BishopTable[64] = {
    -16, -16, 0,  0,  0,  0,  -16, -16,  // 8
    -16, 2,   4,  4,  4,  4,  2,   -16,  // 7
    -4,  2,   6,  6,  6,  6,  2,   -4,   // 6
    -4,  2,   6,  6,  6,  6,  2,   -4,   // 5
    -4,  2,   4,  4,  4,  4,  2,   -4,   // 4
    -4,  2,   2,  2,  2,  2,  2,   -4,   // 3
    -16, 2,   0,  0,  0,  0,  2,   -16,  // 2
    -16, -16, -8, -8, -8, -8, -16, -16,  // 1
};

constexpr int OutpostTable[64] = {
    0, 0, 0,  0,  0,  0,  0, 0,  // 8
    0, 0, 4,  8,  8,  4,  0, 0,  // 7
    0, 0, 12, 20, 20, 12, 0, 0,  // 6
    0, 0, 12, 16, 16, 12, 0, 0,  // 5
    0, 0, 0,  6,  6,  0,  0, 0,  // 4
    0, 0, 0,  0,  0,  0,  0, 0,  // 3
    0, 0, 0,  0,  0,  0,  0, 0,  // 2
    0, 0, 0,  0,  0,  0,  0, 0,  // 1
};

// By file, the same on every rank.
constexpr int RookTable[8] = {0, 0, 4, 6, 6, 4, 0, 0};

constexpr int QueenTable[64] = {
    0,   0,   0,  0,  0,  0,  0,   0,    // 8
    -15, 0,   4,  5,  5,  4,  0,   -15,  // 7
    0,   2,   4,  10, 10, 4,  2,   0,    // 6
    0,   2,   10, 12, 12, 10, 2,   0,    // 5
    -10, 2,   10, 12, 12, 10, 2,   -10,  // 4
    -10, -10, 4,  10, 10, 4,  -10, -10,  // 3
    -10, 2,   8,  8,  8,  8,  2,   -10,  // 2
    -10, -8,  0,  0,  0,  0,  -8,  -10,  // 1
};

// Endgame king placement by the wings that hold pawns.
constexpr int KingTableBothWings[64] = {
    -50, -30, -30, -30, -30, -30, -30, -50,  // 8
    -30, -30, -10, -10, -10, -10, -30, -30,  // 7
    -30, -10, 20,  30,  30,  20,  -10, -30,  // 6
    -30, -10, 20,  30,  30,  20,  -10, -30,  // 5
    -30, -10, 10,  20,  20,  10,  -10, -30,  // 4
    -30, -10, 0,   10,  10,  0,   -10, -30,  // 3
    -30, -20, -10, 0,   0,   -10, -20, -30,  // 2
    -50, -40, -30, -20, -20, -30, -40, -50,  // 1
};

constexpr int KingTableQueenSide[64] = {
    -30, -30, -30, -30, -30, -50, -70, -90,  // 8
    -10, -10, -10, -10, -20, -30, -50, -70,  // 7
    0,   20,  20,  10,  -10, -30, -50, -70,  // 6
    0,   30,  30,  20,  -10, -30, -50, -70,  // 5
    0,   30,  30,  20,  -10, -30, -50, -70,  // 4
    0,   20,  20,  10,  -10, -30, -50, -70,  // 3
    -10, -10, -10, -10, -20, -30, -50, -70,  // 2
    -30, -20, -20, -30, -40, -50, -70, -90,  // 1
};

constexpr int KingTableKingSide[64] = {
    -90, -70, -50, -30, -30, -30, -30, -30,  // 8
    -70, -50, -30, -30, -10, -10, -10, -10,  // 7
    -70, -50, -30, -10, 10,  20,  20,  0,    // 6
    -70, -50, -30, -10, 20,  30,  30,  0,    // 5
    -70, -50, -30, -10, 20,  30,  30,  0,    // 4
    -70, -50, -30, -10, 10,  20,  20,  0,    // 3
    -70, -50, -30, -20, -10, -10, -10, -10,  // 2
    -90, -70, -50, -40, -30, -20, -20, -30,  // 1
};

// Base king danger by the king's square.
constexpr int KingDangerTable[64] = {
    8, 8, 8, 8, 8, 8, 8, 8,  // 8
    7, 7, 7, 7, 7, 7, 7, 7,  // 7
    6, 6, 6, 6, 6, 6, 6, 6,  // 6
    5, 5, 5, 5, 5, 5, 5, 5,  // 5
    4, 4, 4, 4, 4, 4, 4, 4,  // 4
    3, 3, 3, 3, 3, 3, 3, 3,  // 3
    1, 1, 2, 3, 3, 2, 1, 1,  // 2
    1, 0, 2, 3, 3, 2, 0, 1,  // 1
};

// Bishop mobility by empty squares reached; pair bonus by own pawn count.
constexpr int BishopMobility[14] = {0, 0, 4, 8, 12, 16, 20, 24, 26, 28, 30, 32, 32, 32};
constexpr int BishopPairBonus[9] = {20, 20, 20, 20, 20, 20, 20, 15, 8};

// Attack-sum contributions by distance to the enemy king.
constexpr int KnightTropism[8] = {3, 3, 3, 2, 1, 0, 0, 0};
constexpr int BishopTropism[8] = {3, 3, 3, 2, 1, 0, 0, 0};
constexpr int RookTropism[8] = {3, 3, 3, 2, 1, 0, 0, 0};
constexpr int RookFileTropism[8] = {4, 3, 1, 0, 0, 0, 0, 0};
constexpr int QueenTropism[8] = {4, 4, 4, 2, 1, 0, 0, 0};
constexpr int QueenFileTropism[8] = {5, 5, 3, 0, 0, 0, 0, 0};

// Multiplier (in sixteenths) of the attack term by the enemy king's danger.
constexpr int ShelterFactor[64] = {
    16, 16, 16, 16, 17, 17, 18, 18,  //
    19, 19, 20, 20, 21, 21, 22, 22,  //
    23, 23, 24, 24, 25, 25, 26, 26,  //
    27, 27, 27, 27, 27, 27, 27, 27,  //
    27, 27, 27, 27, 27, 27, 27, 27,  //
    27, 27, 27, 27, 27, 27, 27, 27,  //
    27, 27, 27, 27, 27, 27, 27, 27,  //
    27, 27, 27, 27, 27, 27, 27, 27,  //
};

// Lazy exits: how far outside the window a partial value may stand.
constexpr int LazyMarginMaterial = 500;
constexpr int LazyMarginPawns = 150;
constexpr int LazyMarginPositional = 100;

// Phases by piece units: win chances are asked below the first, the
// endgame begins below the second for either side.
constexpr int WinChanceUnits = 9;
constexpr int EndgameUnits = 15;

// King danger and development.
constexpr int OpenCentreDanger[3] = {2, 4, 2};  // open files beside, at and beyond the king's file
constexpr int MissingFianchettoDanger = 3;
constexpr int EarlyQueenPenalty = 15;
constexpr int LostCastlingPenalty = 35;

// Knights and bishops.
constexpr int CentreBlockBonus = 12;
constexpr int LoneBishopPawnPenalty = 4;  // per own pawn on the bishop's colour
constexpr int TrappedBishopPenalty = 175;
constexpr int FianchettoBonus = 10;

// Rooks.
constexpr int RookBehindPasser = 40;  // either colour's passer, seen along its path
constexpr int RookInFrontOfPasser = -20;
constexpr int RookOpenFileBonus = 24;
constexpr int RookCutOffPenalty = 12;  // no open file within reach on its rank
constexpr int RookHalfOpenFileBonus = 5;
constexpr int RookSeventhBonus = 30;
constexpr int RookSeventhDoubledBonus = 16;

// Queens.
constexpr int QueenSeventhBonus = 10;
constexpr int WeakerKingMargin = 4;
constexpr int WeakerKingBonus = 30;
constexpr int FarQueenAttackPenalty = 8;  // also the floor it lowers the attack sum to

// Attack term and scaling.
// The attacking tables end at attack sum 119 (index 127).
constexpr int MaxAttackSum = 119;
constexpr int OppositeBishopsUnits = 12;  // scaling only below this for both sides
constexpr int ClearMaterialLead = 201;     // from this lead on, opposite bishops halve

// The files (as a byte) of a set of squares on rank r.
unsigned FilesOnRank(Bitboard squares, int r) { return unsigned(squares >> (8 * r)) & 255; }

// 1 when colour Us's piece on s stands on the d6/e6 square (their d3/e3) that
// no enemy pawn can attack, with an enemy pawn right in front of it.
template <int Us>
bool BlocksCentrePawn(int s) {
  constexpr int Up = PawnStep[Us];
  if (!OutpostTables[Us][s] || (SideOf<!Us>().pawns & AdjacentFilesAhead[Us][s])) return false;
  return (s == Relative<Us>(D6) || s == Relative<Us>(E6)) && Board[s + Up] == PieceCode<!Us>(Pawn);
}

// The king danger of colour Us before the queen halving: the king's square,
// open central files while castling is possible, the shelter of its wing and
// enemy pieces next to a missing fianchetto pawn.
template <int Us>
int KingDangerOf(const PawnEntry &entry) {
  const SideRecord &them = SideOf<!Us>();
  const int king = SideOf<Us>().kingSquare;
  const int shelterKingSide = entry.facts[Us].shelterKingSide;
  const int shelterQueenSide = entry.facts[Us].shelterQueenSide;
  auto open = [&entry](int f) { return (entry.openFiles >> f) & 1; };
  auto attacker = [](int code) { return code == PieceCode<!Us>(Pawn) || code == PieceCode<!Us>(Bishop) || code == PieceCode<!Us>(Queen); };
  const bool movedA = MoveCounter[Relative<Us>(A1)], movedH = MoveCounter[Relative<Us>(H1)];
  int danger = KingDangerTables[Us][king];
  if (MoveCounter[Relative<Us>(E1)] == 0 && !(movedA && movedH)) {
    danger += OpenCentreDanger[0] * open(3) + OpenCentreDanger[1] * open(4) + OpenCentreDanger[2] * open(5);
    if (movedA && !movedH) danger += shelterKingSide / 2;
    else if (!movedA && movedH) danger += shelterQueenSide / 2;
  } else if (File(king) <= 3) {
    danger += shelterQueenSide;
    if (File(king) == 3)
      danger += OpenCentreDanger[0] * open(2) + OpenCentreDanger[1] * open(3) + OpenCentreDanger[2] * open(4);
    if (Board[Relative<Us>(B2)] != PieceCode<Us>(Pawn) && them.queens && attacker(Board[Relative<Us>(C3)]))
      danger += MissingFianchettoDanger;
  } else {
    danger += shelterKingSide;
    if (File(king) == 4)
      danger += OpenCentreDanger[0] * open(3) + OpenCentreDanger[1] * open(4) + OpenCentreDanger[2] * open(5);
    if (Board[Relative<Us>(G2)] != PieceCode<Us>(Pawn) && them.queens && attacker(Board[Relative<Us>(F3)]))
      danger += MissingFianchettoDanger;
  }
  return danger;
}

// Development of colour Us in the opening, from Us's view.
template <int Us>
int DevelopmentOf() {
  const SideRecord &us = SideOf<Us>();
  int v = -EarlyQueenPenalty * PopCount(us.queens & ClearMask[Relative<Us>(D1)]);
  const bool movedA = MoveCounter[Relative<Us>(A1)], movedH = MoveCounter[Relative<Us>(H1)];
  if (!us.castled && (MoveCounter[Relative<Us>(E1)] || (movedA && movedH))) v -= LostCastlingPenalty;
  return v;
}

// Knights of colour Us, White's view: placement, outposts and the attack sum.
template <int Us>
int KnightTerms(int &attackSum) {
  const SideRecord &us = SideOf<Us>(), &them = SideOf<!Us>();
  const Bitboard *defenders = PawnAttackersTable<Us>();
  int v = 0;
  for (Bitboard set = us.knights; set; set &= set - 1) {
    const int s = LowestSquare(set), outpost = OutpostTables[Us][s];
    v += KnightTables[Us][s];
    if (outpost && !(them.pawns & AdjacentFilesAhead[Us][s])) {
      v += outpost;
      if (const Bitboard guards = defenders[s] & us.pawns) {
        // Without a minor piece able to exchange it the knight is there to stay.
        if (!them.knights && !(them.bishops & SquaresOfColour(s))) v += outpost;
        else v += PopCount(guards) == 2 ? outpost : outpost / 2;
      }
      if (BlocksCentrePawn<Us>(s)) v += CentreBlockBonus;
    }
    attackSum += KnightTropism[Distance[s][them.kingSquare]];
  }
  return ColourSign[Us] * v;
}

// Bishops of colour Us, White's view: placement, mobility, the centre block
// and the attack sum.
template <int Us>
int BishopTerms(int &attackSum) {
  const SideRecord &us = SideOf<Us>();
  const int theirKing = SideOf<!Us>().kingSquare;
  int v = 0;
  for (Bitboard set = us.bishops; set; set &= set - 1) {
    const int s = LowestSquare(set);
    const int mobility = int(DiagMobility[s][(RotatedDiag >> ShiftDiag[s]) & 255] +
                             AntiDiagMobility[s][(RotatedAntiDiag >> ShiftAntiDiag[s]) & 255]);
    v += BishopTables[Us][s] + BishopMobility[mobility];
    if (BlocksCentrePawn<Us>(s)) v += CentreBlockBonus;
    attackSum += BishopTropism[Distance[s][theirKing]];
  }
  return ColourSign[Us] * v;
}

// Terms of colour Us's bishops as a set, White's view: own pawns on the lone
// bishop's colour, the pair, a bishop trapped on a7/h7 and the fianchetto.
template <int Us>
int BishopSetTerms(const PawnEntry &entry, bool endgame) {
  const SideRecord &us = SideOf<Us>();
  if (!us.bishops) return 0;
  int v = 0;
  if (PopCount(us.bishops) == 1) {
    const bool dark = us.bishops & DarkSquares;
    const int blockers = dark ? entry.facts[Us].darkPawns : entry.facts[Us].lightPawns;
    v -= LoneBishopPawnPenalty * blockers;
  } else {
    v += BishopPairBonus[std::min(us.pawnCount, 8)];
  }
  if (us.bishops & BishopTrapSquares[Us]) {
    if (Board[Relative<Us>(A7)] == PieceCode<Us>(Bishop)) {
      if (Board[Relative<Us>(B6)] == PieceCode<!Us>(Pawn)) v -= TrappedBishopPenalty;
    } else if (Board[Relative<Us>(H7)] == PieceCode<Us>(Bishop)) {
      if (Board[Relative<Us>(G6)] == PieceCode<!Us>(Pawn)) v -= TrappedBishopPenalty;
    }
  }
  if (!endgame) {
    const int king = us.kingSquare;
    const int g2 = Relative<Us>(G2), b2 = Relative<Us>(B2);
    if (File(king) >= 5 && Board[g2] != PieceCode<Us>(Pawn) && Board[Relative<Us>(G3)] == PieceCode<Us>(Pawn) &&
        Distance[king][g2] == 1 && (us.bishops & CornerH[Us]))
      v += FianchettoBonus;
    else if (File(king) <= 2 && Board[b2] != PieceCode<Us>(Pawn) && Board[Relative<Us>(B3)] == PieceCode<Us>(Pawn) &&
             Distance[king][b2] == 1 && (us.bishops & CornerA[Us]))
      v += FianchettoBonus;
  }
  return ColourSign[Us] * v;
}

// File distance for the file tropism of colour Us's heavy piece on s: 7 when
// an own pawn stands ahead of it on its file.
template <int Us>
int FileTropismDistance(int s, int theirKing) {
  return (SideOf<Us>().pawns & RayForward[Us][s]) ? 7 : FileDistance[s][theirKing];
}

// 1 when the enemy king is on its first rank or enemy pawns on their second.
template <int Us>
bool SeventhRankMatters() {
  const SideRecord &them = SideOf<!Us>();
  return RelativeRank<Us>(them.kingSquare) == 7 || (them.pawns & RelativeRankMask<Us>(6));
}

// Rooks of colour Us, White's view: passed pawns on the file, open and
// half-open files, the seventh rank and the attack sum.
template <int Us>
int RookTerms(const PawnEntry &entry, int &attackSum) {
  constexpr int Up = PawnStep[Us];
  const SideRecord &us = SideOf<Us>(), &them = SideOf<!Us>();
  const unsigned ourPassed = entry.facts[Us].passedFiles, theirPassed = entry.facts[!Us].passedFiles;
  int v = 0;
  for (Bitboard set = us.rooks; set; set &= set - 1) {
    const int s = LowestSquare(set), f = File(s);
    v += RookTable[f];
    const Bitboard ourFilePawns = us.pawns & FileMask[f], theirFilePawns = them.pawns & FileMask[f];
    if ((ourPassed >> f & 1) && ourFilePawns) {
      const int p = MostAdvanced<Us>(ourFilePawns);
      if (Behind<Us>(p, s)) v += RookInFrontOfPasser;
      else if (!Owns<!Us>(Board[p + Up])) v += RookBehindPasser;
    }
    if ((theirPassed >> f & 1) && theirFilePawns)
      v += Behind<Us>(MostAdvanced<!Us>(theirFilePawns), s) ? RookBehindPasser : RookInFrontOfPasser;
    if (entry.openFiles >> f & 1) {
      v += RookOpenFileBonus;
    } else {
      if (entry.openFiles && !(FilesOnRank(RankAttacksOf(s), Rank(s)) & entry.openFiles)) v -= RookCutOffPenalty;
      if (!ourFilePawns) v += RookHalfOpenFileBonus;
    }
    if (RelativeRank<Us>(s) == 6 && SeventhRankMatters<Us>()) {
      v += RookSeventhBonus;
      if (RankAttacksOf(s) & (us.rooks | us.queens)) v += RookSeventhDoubledBonus;
    }
    const int d = FileTropismDistance<Us>(s, them.kingSquare);
    attackSum += std::max(RookFileTropism[d], RookTropism[Distance[s][them.kingSquare]]);
  }
  return ColourSign[Us] * v;
}

// Queens of colour Us, White's view: placement, the seventh rank, a weaker
// enemy king and the attack sum, lowered for a queen far from that king.
template <int Us>
int QueenTerms(int &attackSum) {
  const SideRecord &us = SideOf<Us>();
  const int theirKing = SideOf<!Us>().kingSquare;
  const int ourDanger = KingDanger[Us], theirDanger = KingDanger[!Us];
  int v = 0;
  for (Bitboard set = us.queens; set; set &= set - 1) {
    const int s = LowestSquare(set);
    v += QueenTables[Us][s];
    if (RelativeRank<Us>(s) == 6 && SeventhRankMatters<Us>() && (RankAttacksOf(s) & us.rooks)) v += QueenSeventhBonus;
    if (theirDanger > ourDanger + WeakerKingMargin) v += WeakerKingBonus;
    const int d = FileTropismDistance<Us>(s, theirKing);
    attackSum += std::max(QueenFileTropism[d], QueenTropism[Distance[s][theirKing]]);
    if (us.pawnCount > 4) {
      const bool farWings = (File(s) <= 1 && File(theirKing) >= 5) || (File(s) >= 6 && File(theirKing) <= 2);
      if (farWings) attackSum = std::max(attackSum - FarQueenAttackPenalty, -FarQueenAttackPenalty);
    }
  }
  return ColourSign[Us] * v;
}

// Colour Us's attack term, White's view: its attack sum weighted by its
// attacking table and by the enemy king's danger.
template <int Us>
int AttackTerm(int attackSum) {
  const int v = ShelterFactor[KingDanger[!Us]] * OffensiveTable[Us][std::min(attackSum, MaxAttackSum) + 8] / 16;
  return ColourSign[Us] * v;
}

// Endgame king placement, White's view, by the wings that hold pawns.
int KingPlacement() {
  const Bitboard pawns = WhiteSide.pawns | BlackSide.pawns;
  const bool queenSide = pawns & QueenSideFiles, kingSide = pawns & KingSideFiles;
  const int32_t (*tables)[64] = queenSide && kingSide ? KingTablesBothWings
                                : queenSide           ? KingTablesQueenSide
                                : kingSide            ? KingTablesKingSide
                                                      : nullptr;
  if (!tables) return 0;
  return tables[White][WhiteSide.kingSquare] - tables[Black][BlackSide.kingSquare];
}

// Caps v at White's draw value in the favour of a side that cannot win.
int ClampByWinChances(int v, int winMask) {
  const int draw = DrawValue[White];
  if (winMask == 3) return v;
  if (v > draw && !(winMask & 1)) return draw;
  if (v >= draw) return v;
  if (!(winMask & 2)) return draw;
  return v;
}

// 1 when each side has one bishop, on squares of different colours.
bool OppositeBishops() {
  const Bitboard w = WhiteSide.bishops, b = BlackSide.bishops;
  if (PopCount(w) != 1 || PopCount(b) != 1) return false;
  return bool(w & DarkSquares) != bool(b & DarkSquares);
}

// v scaled towards a draw when opposite-coloured bishops are the only minor
// pieces; alone is set when nothing but the bishops is left and one side is
// more than two pawns up, where the halved value is final.
int ScaleOppositeBishops(int v, bool &alone) {
  const SideRecord &w = WhiteSide, &b = BlackSide;
  alone = false;
  if (w.pieceUnits >= OppositeBishopsUnits || b.pieceUnits >= OppositeBishopsUnits || !OppositeBishops()) return v;
  const int d = w.material - b.material;
  const bool bishopsAlone = w.pieceUnits == 3 && b.pieceUnits == 3;
  if (d >= ClearMaterialLead || d <= -ClearMaterialLead) {
    alone = bishopsAlone;
    if (bishopsAlone) return v / 2;
    // Other pieces beside: only the positional part is halved.
    return w.pieceUnits == b.pieceUnits ? (v - d) / 2 + d : v;
  }
  return bishopsAlone ? v / 4 : v;
}

// 1 when v lies more than margin outside the window (lower, upper).
bool OutsideWindow(int v, int lower, int upper, int margin) { return v < lower - margin || v > upper + margin; }

// The whole evaluation, term by term into t (White's view); the value is
// the running sum of the terms reached. The search and the breakdown of a
// position both come through here.
int EvaluateTerms(int side, int lower, int upper, int ply, EvalTrace &t) {
  const SideRecord &w = WhiteSide, &b = BlackSide;
  auto finish = [&t](int v, int exit) {
    t.exit = exit;
    t.result = v;
    return v;
  };
  KingDanger[White] = KingDanger[Black] = 0;
  t.winMask = w.pieceUnits < WinChanceUnits && b.pieceUnits < WinChanceUnits ? WinChances(side) : 3;
  const bool canExitEarly = t.winMask == 3;
  if (t.winMask == 0) return finish(DrawValue[White], EvalExitDrawn);

  // Material, and the ending without pawns.
  t.material = MaterialBalance();
  int v = t.material;
  if (canExitEarly && OutsideWindow(v, lower, upper, LazyMarginMaterial)) return finish(v, EvalExitMaterial);
  if (!w.pawns && !b.pawns) {
    t.pawnlessEnding = PawnlessEnding();
    v += t.pawnlessEnding;
    const int clamped = ClampByWinChances(v, t.winMask);
    t.clamp = clamped - v;
    return finish(clamped, EvalExitPawnless);
  }

  // Pawns.
  t.pawns = EvaluatePawns(side, ply);
  const PawnEntry &entry = *CurrentPawnEntry;
  t.pawnStructure = entry.pawnScore;
  v += t.pawns;
  if (canExitEarly && OutsideWindow(v, lower, upper, LazyMarginPawns)) return finish(v, EvalExitPawns);

  // Kings: safety, development in the opening, placement in the endgame.
  const bool endgame = w.pieceUnits < EndgameUnits || b.pieceUnits < EndgameUnits;
  if (!endgame) v += t.kingSafety = KingSafety();
  if (GamePhase == 0) v += t.development = Development();
  if (endgame) v += t.kingPlacement = KingPlacement();
  t.kingDanger[White] = KingDanger[White];
  t.kingDanger[Black] = KingDanger[Black];
  if (canExitEarly && OutsideWindow(v, lower, upper, LazyMarginPositional)) return finish(v, EvalExitPositional);

  // Pieces. The queens' floor on the attack sums makes this order part
  // of the result.
  int *sum = t.attackSum;
  sum[White] = sum[Black] = 0;
  t.knights[White] = KnightTerms<White>(sum[White]);
  t.knights[Black] = KnightTerms<Black>(sum[Black]);
  t.bishops[White] = BishopTerms<White>(sum[White]);
  t.bishopSet[White] = BishopSetTerms<White>(entry, endgame);
  t.bishops[Black] = BishopTerms<Black>(sum[Black]);
  t.bishopSet[Black] = BishopSetTerms<Black>(entry, endgame);
  t.rooks[White] = RookTerms<White>(entry, sum[White]);
  t.rooks[Black] = RookTerms<Black>(entry, sum[Black]);
  t.queens[White] = QueenTerms<White>(sum[White]);
  t.queens[Black] = QueenTerms<Black>(sum[Black]);
  t.attack[Black] = AttackTerm<Black>(sum[Black]);
  t.attack[White] = AttackTerm<White>(sum[White]);
  for (int c : {White, Black})
    v += t.knights[c] + t.bishops[c] + t.bishopSet[c] + t.rooks[c] + t.queens[c] + t.attack[c];
  t.beforeScaling = v;

  // Endgame knowledge: opposite bishops, then who can still win.
  bool bishopsAlone;
  const int scaled = ScaleOppositeBishops(v, bishopsAlone);
  const int result = ClampByWinChances(scaled, t.winMask);
  t.oppositeBishops = scaled - v;
  t.clamp = result - scaled;
  return finish(result, bishopsAlone ? EvalExitBishops : EvalExitFull);
}

}  // namespace

void InitEvaluationTables() {
  SplitByColour(KnightTable, KnightTables);
  SplitByColour(BishopTable, BishopTables);
  SplitByColour(OutpostTable, OutpostTables);
  SplitByColour(QueenTable, QueenTables);
  SplitByColour(KingTableBothWings, KingTablesBothWings);
  SplitByColour(KingTableQueenSide, KingTablesQueenSide);
  SplitByColour(KingTableKingSide, KingTablesKingSide);
  SplitByColour(KingDangerTable, KingDangerTables);
  InitPawnSquareTables();
}

// Static value of the position, White's view, within the window
// (lower, upper) given in White's view.
int Evaluate(int side, int lower, int upper, int ply) {
  EvalTrace unread;
  return EvaluateTerms(side, lower, upper, ply, unread);
}

int EvaluateTraced(int side, int lower, int upper, int ply, EvalTrace &trace) {
  trace = EvalTrace{};
  return EvaluateTerms(side, lower, upper, ply, trace);
}

// Both kings' danger values (also stored) and the safety difference,
// White's view; needs the pawn entry of this evaluation.
int KingSafety() {
  const PawnEntry &entry = *CurrentPawnEntry;
  int white = KingDangerOf<White>(entry), black = KingDangerOf<Black>(entry);
  // Without a queen the attack on a king is much weaker.
  if (!WhiteSide.queens) black /= 2;
  if (!BlackSide.queens) white /= 2;
  KingDanger[White] = white;
  KingDanger[Black] = black;
  return SafetyTable[Black][black] - SafetyTable[White][white];
}

// Queens out early and lost castling rights in the opening, White's view.
int Development() { return DevelopmentOf<White>() - DevelopmentOf<Black>(); }
