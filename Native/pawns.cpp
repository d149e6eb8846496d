// Pawn structure: square values, isolated, doubled, connected, backward and
// passed pawns and the shelters, cached per pawn configuration; the terms that
// also depend on kings and pieces are added on every call.
#include "pawns.h"

#include <bit>
#include <cstdlib>
#include <cstring>

#include "attacks.h"
#include "platform.h"

namespace {

// White's pawn values, rank 8 on the first line.
constexpr int PawnSquareTable[64] = {
    0,  0,  0,  0,  0,  0,  0,  0,   // 8
    25, 28, 31, 34, 34, 31, 28, 25,  // 7
    22, 25, 28, 31, 31, 28, 25, 22,  // 6
    9,  12, 15, 18, 18, 15, 12, 9,   // 5
    6,  9,  12, 15, 15, 12, 9,  6,   // 4
    3,  6,  9,  12, 12, 9,  6,  3,   // 3
    0,  3,  6,  -7, -7, 6,  3,  0,   // 2
    0,  0,  0,  0,  0,  0,  0,  0,   // 1
};

// By relative rank, 0 = the colour's first rank.
constexpr int PassedPawnBonus[8] = {0, 8, 16, 32, 60, 120, 160, 0};
constexpr int ProtectedPasserBonus[8] = {0, 0, 0, 12, 24, 48, 100, 0};
constexpr int ConnectedPawnBonus[8] = {0, 2, 3, 5, 8, 10, 15, 0};
constexpr int BlockedPasserPenalty[8] = {0, 8, 12, 16, 30, 45, 60, 0};
constexpr int KingSupportBonus[8] = {0, 0, 0, 0, 12, 60, 100, 0};

// Shelter weakness by the number of open files, half-open files and advance
// steps on a wing.
constexpr int OpenFileShelter[4] = {0, 8, 13, 16};
constexpr int HalfOpenFileShelter[4] = {0, 3, 7, 9};
constexpr int PawnAdvanceShelter[8] = {0, 1, 2, 3, 4, 5, 6, 7};

// Structure penalties per pawn; an isolated pawn that is also doubled pays
// the isolation twice.
constexpr int IsolatedPawnPenalty = 6;
constexpr int DoubledPawnPenalty = 10;
constexpr int BackwardPawnPenalty = 10;

constexpr int PawnEndingScore = 600;

PawnEntry FallbackPawnTable[FallbackPawnHashSlots];

// Square values and structure terms of colour Us's pawns, from Us's view;
// also counts their square colours and marks their passed files.
template <int Us>
int ScorePawnsOf(PawnEntry &entry) {
  constexpr int Them = !Us, Up = PawnStep[Us];
  const Bitboard ours = SideOf<Us>().pawns, theirs = SideOf<Them>().pawns;
  const Bitboard *behind = PawnAttackersTable<Us>();  // squares our pawns defend s from
  const Bitboard *rayBack = RayForward[Them];
  PawnFacts &facts = entry.facts[Us];
  int v = 0;
  for (Bitboard set = ours; set; set &= set - 1) {
    const int p = LowestSquare(set), f = File(p), r = RelativeRank<Us>(p);
    const bool doubled = PopCount(ours & FileMask[f]) > 1;
    const bool connected = (behind[p] | behind[p + Up]) & ours;
    v += PawnSquareTables[Us][p];
    if (DarkSquares & SetMask[p]) ++facts.darkPawns; else ++facts.lightPawns;
    if (!(ours & AdjacentFiles[p])) v -= doubled ? 2 * IsolatedPawnPenalty : IsolatedPawnPenalty;
    if (doubled) v -= DoubledPawnPenalty;
    if (connected) v += ConnectedPawnBonus[r];
    if (!(theirs & FileMask[f]) && !(behind[p] & ours)) {
      const int besides = PopCount(ours & behind[p + Up]);
      const int stoppers = PopCount(PawnAttacks[Us][p + Up] & theirs);
      if (stoppers > besides) v -= BackwardPawnPenalty;
    }
    if (!(theirs & PassedMask[Us][p])) {
      v += PassedPawnBonus[r];
      facts.passedFiles |= uint8_t(1 << f);
      if (ours & rayBack[p]) v -= PassedPawnBonus[r] / 2;
      if (connected) v += ProtectedPasserBonus[r];
    }
  }
  return v;
}

// Shelter weakness of colour Us on the wing of three files from firstFile
// (a..c or f..h): open and half-open files and pawns moved off their home.
template <int Us>
int ShelterOf(int firstFile) {
  const Bitboard ours = SideOf<Us>().pawns, theirs = SideOf<!Us>().pawns;
  const int second = Relative<Us>(A2), third = Relative<Us>(A3);
  auto held = [ours](int s) { return (ours & SetMask[s]) != 0; };
  int advance = 0, open = 0, halfOpenUs = 0, halfOpenThem = 0;
  for (int f = firstFile; f < firstFile + 3; ++f) {
    const bool oursOnFile = ours & FileMask[f], theirsOnFile = theirs & FileMask[f];
    open += !oursOnFile && !theirsOnFile;
    halfOpenUs += !oursOnFile && theirsOnFile;
    halfOpenThem += oursOnFile && !theirsOnFile;
    if (!oursOnFile || held(second + f)) continue;
    advance += (f == 1 || f == 6) ? 2 : 1;
    if (!held(third + f)) ++advance;
  }
  // A pawn chain on the third rank still shelters: f3/g3, or g3 and h3.
  if (advance > 0) {
    const int outer = third + firstFile;
    if (held(outer) ? held(outer + 1) : held(outer + 1) && held(outer + 2)) --advance;
  }
  return OpenFileShelter[open] + HalfOpenFileShelter[halfOpenUs] + HalfOpenFileShelter[halfOpenThem] / 2 +
         PawnAdvanceShelter[advance];
}

// Per-call passed-pawn terms of colour Us, from Us's view: blocked passers
// and passers supported by their king from the side.
template <int Us>
int PasserTermsOf(unsigned passedFiles) {
  constexpr int Up = PawnStep[Us];
  const SideRecord &us = SideOf<Us>();
  const int king = us.kingSquare;
  int v = 0;
  for (; passedFiles; passedFiles &= passedFiles - 1) {
    const Bitboard filePawns = us.pawns & FileMask[LowestBitInByte[passedFiles]];
    if (!filePawns) continue;  // only after a pawn-key collision
    const int p = MostAdvanced<Us>(filePawns), r = RelativeRank<Us>(p);
    if (Board[p + Up]) v -= BlockedPasserPenalty[r];
    if (FileDistance[p][king] == 1 && r <= RelativeRank<Us>(king)) v += KingSupportBonus[r];
  }
  return v;
}

// 1 when colour Us, with pawns against none, has its king in front of a pawn
// and closer to it than the defending king.
template <int Us>
int KingLeadsPawn() {
  constexpr int Them = !Us;
  const int ourKing = SideOf<Us>().kingSquare, theirKing = SideOf<Them>().kingSquare;
  const int cornerA = Relative<Us>(A8), cornerH = Relative<Us>(H8);
  const int kingRank = RelativeRank<Us>(ourKing);
  for (Bitboard set = SideOf<Us>().pawns; set; set &= set - 1) {
    const int p = LowestSquare(set), pawnRank = RelativeRank<Us>(p);
    if (kingRank <= pawnRank) continue;
    if (File(p) == 0 && File(ourKing) == 1 && Distance[ourKing][cornerA] < Distance[theirKing][cornerA]) return 1;
    if (File(p) == 7 && File(ourKing) == 6 && Distance[ourKing][cornerH] < Distance[theirKing][cornerH]) return 1;
    if (Distance[ourKing][p] < Distance[theirKing][p] && (kingRank > pawnRank + 1 || kingRank == 5)) return 1;
  }
  return 0;
}

}  // namespace

PawnEntry *PawnHashTable = FallbackPawnTable;
uint32_t PawnHashSize = FallbackPawnHashSlots;
Modulus PawnHashModulus = ModulusOf(FallbackPawnHashSlots);
PawnEntry *CurrentPawnEntry = FallbackPawnTable;
uint8_t LowestBitInByte[256];
int32_t PawnSquareTables[2][64];

// Index of the lowest set bit of every byte (0 for 0).
void InitLowestBitInByte() {
  LowestBitInByte[0] = 0;
  for (int i = 1; i < 256; ++i) LowestBitInByte[i] = uint8_t(std::countr_zero(unsigned(i)));
}

void InitPawnSquareTables() { SplitByColour(PawnSquareTable, PawnSquareTables); }

namespace {

// Serves the cache from table, of slots entries.
void UsePawnTable(PawnEntry *table, uint32_t slots) {
  PawnHashTable = table;
  PawnHashSize = slots;
  PawnHashModulus = ModulusOf(slots);
}

}  // namespace

// Takes the cache from the heap once (a second call keeps the block) and
// clears it; without heap memory the small static table serves.
int AllocatePawnHash() {
  if (PawnHashTable == FallbackPawnTable) {
    void *block = std::malloc(sizeof(PawnEntry) * PawnHashSlots);
    if (block) {
      AdviseLargePages(block, sizeof(PawnEntry) * PawnHashSlots);
      UsePawnTable(static_cast<PawnEntry *>(block), PawnHashSlots);
    }
  }
  ClearPawnHash();
  return PawnHashTable != FallbackPawnTable;
}

// Empties every slot in use.
void ClearPawnHash() {
  std::memset(static_cast<void *>(PawnHashTable), 0, sizeof(PawnEntry) * PawnHashSize);
  CurrentPawnEntry = PawnHashTable;
}

// Gives the heap block back and returns to the static table.
void FreePawnHash() {
  if (PawnHashTable != FallbackPawnTable) std::free(PawnHashTable);
  UsePawnTable(FallbackPawnTable, FallbackPawnHashSlots);
  ClearPawnHash();
}

// Pawn evaluation of the position at ply, White's view: the cached structure
// score plus the terms that depend on kings and pieces.
int EvaluatePawns(int, int ply) {
  const uint64_t key = Ply[ply].pawnKey;
  // Along a search line the pawns rarely change: the entry of the last call
  // is then the slot of this key, found without the remainder.
  if (CurrentPawnEntry->key != key) CurrentPawnEntry = PawnSlotOf(key);
  int v = CurrentPawnEntry->key == key ? CurrentPawnEntry->pawnScore : ScorePawnStructure(ply);
  const PawnEntry &entry = *CurrentPawnEntry;
  v += PasserTermsOf<White>(entry.whitePassedFiles());
  v -= PasserTermsOf<Black>(entry.blackPassedFiles());
  if (WhiteSide.pieceUnits == 0 && entry.blackPassedFiles()) return v + PawnEndingRule();
  if (BlackSide.pieceUnits == 0 && entry.whitePassedFiles()) return v + PawnEndingRule();
  return v;
}

// Recomputes the current entry from the pawns on the board and stores it
// under the pawn key of ply.
int ScorePawnStructure(int ply) {
  PawnEntry &entry = *CurrentPawnEntry;
  std::memset(static_cast<void *>(&entry), 0, sizeof entry);
  int v = ScorePawnsOf<White>(entry) - ScorePawnsOf<Black>(entry);
  const Bitboard pawns = WhiteSide.pawns | BlackSide.pawns;
  for (int f = 0; f < 8; ++f)
    if (!(pawns & FileMask[f])) entry.openFiles |= uint8_t(1 << f);
  entry.facts[White].shelterKingSide = uint8_t(ShelterOf<White>(5));
  entry.facts[White].shelterQueenSide = uint8_t(ShelterOf<White>(0));
  entry.facts[Black].shelterKingSide = uint8_t(ShelterOf<Black>(5));
  entry.facts[Black].shelterQueenSide = uint8_t(ShelterOf<Black>(0));
  entry.pawnScore = int16_t(v);
  entry.key = Ply[ply].pawnKey;
  return v;
}

// +600 or -600 for a king leading its pawn where the other side has none.
int PawnEndingRule() {
  if (WhiteSide.pawns && !BlackSide.pawns) return KingLeadsPawn<White>() ? PawnEndingScore : 0;
  if (BlackSide.pawns && !WhiteSide.pawns) return KingLeadsPawn<Black>() ? -PawnEndingScore : 0;
  return 0;
}
