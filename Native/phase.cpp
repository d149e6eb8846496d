// Game phase, the per-search king-safety and attacking tables, the material
// balance and the endgame knowledge that limits which side can win.
#include "phase.h"

#include "attacks.h"

int32_t DrawValue[2];
int32_t MaterialTrade;
int32_t OffensiveAsymmetry;
int32_t SafetyAsymmetry;
int32_t OffensiveScale;
int32_t SafetyScale;
int32_t SafetyTable[2][64];
int32_t OffensiveTable[2][128];

// King-safety weight by king-danger value.
const int32_t SafetyBase[64] = {
    0,   4,   15,  24,  36,  42,  54,  72,   //
    81,  84,  87,  90,  93,  96,  99,  102,  //
    105, 108, 111, 114, 117, 120, 124, 127,  //
    127, 127, 127, 127, 127, 127, 127, 127,  //
    127, 127, 127, 127, 127, 127, 127, 127,  //
    127, 127, 127, 127, 127, 127, 127, 127,  //
    127, 127, 127, 127, 127, 127, 127, 127,  //
    127, 127, 127, 127, 127, 127, 127, 127,  //
};

// Attacking weight by attack sum + 8.
const int32_t OffensiveBase[128] = {
    -25, -25, -20, -20, -15, -15, -10, -5,  //
    0,   2,   5,   10,  12,  16,  20,  25,  //
    30,  35,  40,  45,  50,  55,  60,  65,  //
    70,  75,  80,  85,  90,  95,  100, 105, //
    110, 115, 120, 125, 125, 125, 125, 125, //
    125, 125, 125, 125, 125, 125, 125, 125, //
    125, 125, 125, 125, 125, 125, 125, 125, //
    125, 125, 125, 125, 125, 125, 125, 125, //
    125, 125, 125, 125, 125, 125, 125, 125, //
    125, 125, 125, 125, 125, 125, 125, 125, //
    125, 125, 125, 125, 125, 125, 125, 125, //
    125, 125, 125, 125, 125, 125, 125, 125, //
    125, 125, 125, 125, 125, 125, 125, 125, //
    125, 125, 125, 125, 125, 125, 125, 125, //
    125, 125, 125, 125, 125, 125, 125, 125, //
    125, 125, 125, 125, 125, 125, 125, 125, //
};

namespace {

// King placement without pawns, rank 8 on the first line.
constexpr int PawnlessKingTable[64] = {
    100, 96, 93, 90, 90, 93, 96, 100,  // 8
    96,  80, 70, 60, 60, 70, 80, 96,   // 7
    93,  70, 60, 50, 50, 60, 70, 93,   // 6
    90,  60, 50, 40, 40, 50, 60, 90,   // 5
    90,  60, 50, 40, 40, 50, 60, 90,   // 4
    93,  70, 60, 50, 50, 60, 70, 93,   // 3
    96,  80, 70, 60, 60, 70, 80, 96,   // 2
    100, 96, 93, 90, 90, 93, 96, 100,  // 1
};

// Without pawns the stronger king is drawn towards the weaker: this much per
// step closer than three.
constexpr int KingProximityWeight = 15;
constexpr int KingProximityBase = 3;

// Bare king against bishop and knight: 100 in the corners of the bishop's
// colour, 30 along the long diagonal of the other colour.
constexpr int CornerTableDark(int s) { return 30 + 10 * Absolute(7 - File(s) - Rank(s)); }
constexpr int CornerTableLight(int s) { return 30 + 10 * Absolute(File(s) - Rank(s)); }

// 1 while the colour's king and at least one of its rooks are unmoved.
int KeepsCastling(int king, int rookA, int rookH) {
  return MoveCounter[king] == 0 && (MoveCounter[rookA] == 0 || MoveCounter[rookH] == 0);
}

// Trade adjustment by the differences in minor pieces and major weight.
int TradeAdjustment(int dMin, int dMaj) {
  const int t = MaterialTrade;
  const bool whiteQueenOnly = WhiteSide.queens && !BlackSide.queens;
  const bool blackQueenOnly = BlackSide.queens && !WhiteSide.queens;
  if (dMin == 0 && dMaj == 0) return whiteQueenOnly ? t : blackQueenOnly ? -t : 0;
  if (dMin == 0) return dMaj > 0 ? t : -t;
  if (dMaj == 0) return dMin > 0 ? t : -t;
  if (dMaj == 1) return dMin <= -2 ? -t : dMin == -1 ? (whiteQueenOnly ? t / 2 : 0) : 0;
  if (dMaj == -1) return dMin >= 2 ? t : dMin == 1 ? (blackQueenOnly ? -t / 2 : 0) : 0;
  if (dMaj == 2) return dMin <= -3 ? -t : 0;
  if (dMaj == -2) return dMin >= 3 ? t : 0;
  return 0;
}

// 1 when a side with at most one minor piece and only rook pawns, all on one
// rook file, cannot win because the defending king reaches the promotion
// corner. The side to move wins a tempo only when it is White.
template <int Us>
int RookPawnDraw(int side) {
  constexpr int Them = !Us;
  const SideRecord &us = SideOf<Us>();
  const int ourKing = us.kingSquare, theirKing = SideOf<Them>().kingSquare;
  const bool aPawn = us.pawns & FileMask[0], hPawn = us.pawns & FileMask[7];
  if (us.pieceUnits == 3 && us.knights) return 0;
  if (us.pieceUnits == 0 && aPawn && hPawn) return 0;
  if (us.bishops) {
    // The bishop that controls the a-file promotion square: a8 light, a1 dark.
    const bool bishopOnACornerColour = us.bishops & SquaresOfColour(Relative<Us>(A8));
    if (bishopOnACornerColour && aPawn) return 0;
    if (!bishopOnACornerColour && hPawn) return 0;
  }
  if (aPawn && hPawn) return 0;
  const int file = aPawn ? 0 : 7;
  const int corner = Relative<Us>(A8 + file);
  const int pawn = MostAdvanced<Us>(us.pawns & FileMask[file]);
  const int dThem = Distance[theirKing][corner], dUs = Distance[ourKing][corner];
  const int dPawn = Distance[pawn][corner];
  const int tempo = ColourSign[Us] * side;
  if (dThem <= 1) return 1;
  return !(dThem >= dUs - tempo || dThem > dPawn - tempo);
}

}  // namespace

void PrepareSearchTables(int side) {
  const int us = side ? White : Black, them = !us;
  if (GamePhase == 0) {
    if (GameMoveCount > 24) GamePhase = 1;
    else if (!KeepsCastling(E1, A1, H1) && !KeepsCastling(E8, A8, H8)) GamePhase = 1;
  }
  if (WhiteSide.pieceUnits < 15 && BlackSide.pieceUnits < 15) GamePhase = 2;
  for (int i = 0; i < 64; ++i) {
    SafetyTable[us][i] = SafetyBase[i] * SafetyScale / 100;
    SafetyTable[them][i] = (SafetyBase[i] + SafetyBase[i] * SafetyAsymmetry / 100) * SafetyScale / 100;
  }
  for (int i = 0; i < 128; ++i) {
    OffensiveTable[us][i] =
        (OffensiveBase[i] + OffensiveBase[i] * OffensiveAsymmetry / 100) * OffensiveScale / 100;
    OffensiveTable[them][i] = OffensiveBase[i] * OffensiveScale / 100;
  }
}

int MaterialBalance() {
  const int v = WhiteSide.material - BlackSide.material;
  if (WhiteSide.pieceUnits < 4 && BlackSide.pieceUnits < 4) return v;
  return v + TradeAdjustment(WhiteSide.minorCount - BlackSide.minorCount,
                             WhiteSide.majorWeight - BlackSide.majorWeight);
}

int PawnlessEnding() {
  const SideRecord &w = WhiteSide, &b = BlackSide;
  if (b.pieceUnits == 0 && w.pieceUnits == 6 && w.bishops && w.knights)
    return (w.bishops & DarkSquares) ? CornerTableDark(b.kingSquare) : CornerTableLight(b.kingSquare);
  if (w.pieceUnits == 0 && b.pieceUnits == 6 && b.bishops && b.knights)
    return -((b.bishops & DarkSquares) ? CornerTableDark(w.kingSquare) : CornerTableLight(w.kingSquare));
  const int kingDistance = Distance[w.kingSquare][b.kingSquare];
  const int proximity = KingProximityWeight * (kingDistance - KingProximityBase);
  if (w.material > b.material) return PawnlessKingTable[Printed(b.kingSquare)] - proximity;
  if (b.material > w.material) return -PawnlessKingTable[Printed(w.kingSquare)] + proximity;
  return 0;
}

int WinChances(int side) {
  const SideRecord &w = WhiteSide, &b = BlackSide;
  const int wU = w.pieceUnits, bU = b.pieceUnits, wP = w.pawnCount, bP = b.pawnCount;
  int r = 3;
  if (wU > 8 || bU > 8) return 3;
  if (wU == 6 && w.bishops && wP >= 1) return 3;
  if (bU == 6 && b.bishops && bP >= 1) return 3;
  if (wU == 0 && bU == 0 && ((w.pawns | b.pawns) & FilesBToG)) return 3;
  if (bU == 0 && (bP == 0 || (bP == 1 && wU != 0))) r &= ~2;
  if (wU == 0 && (wP == 0 || (wP == 1 && bU != 0))) r &= ~1;
  if (wP && !(w.pawns & FilesBToG) && wU < 4 && RookPawnDraw<White>(side)) r &= ~1;
  if (bP && !(b.pawns & FilesBToG) && bU < 4 && RookPawnDraw<Black>(side)) r &= ~2;
  if (wP && bP) return r;
  if (wP == 0 && wU == 8 && bU == 5) r &= ~1;
  if (bP == 0 && bU == 8 && wU == 5) r &= ~2;
  if (wP == 0 && wU < 7 && wU - bU == 3) r &= ~1;
  if (bP == 0 && bU < 7 && bU - wU == 3) r &= ~2;
  if (wP || bP) return r;
  if ((wU == 5 && bU == 3) || (wU == 3 && bU == 5)) r = 0;
  return r;
}
