// Move ordering: staged selectors that generate lazily, and the history counters.
#include "next.h"

#include <cstdint>
#include <cstring>

#include "attacks.h"
#include "captures.h"
#include "evasions.h"
#include "moves.h"

uint32_t History[2][4096];

void ClearHistory() { std::memset(History, 0, sizeof History); }

void AgeHistory() {
  for (auto &table : History)
    for (uint32_t &counter : table) counter >>= 8;
}

namespace {

// The scans below rank taken entries below every live one instead of
// skipping them, so that their comparisons become selects, not branches
// the processor must guess.

// Index of the highest-scored live entry above floor (earliest on ties), or 0.
int BestScored(int begin, int end, int floor) {
  int best = 0, bestScore = floor;
  for (int i = begin; i < end; ++i) {
    const int score = MoveStack[i] ? MoveScores[i] : INT32_MIN;
    best = score > bestScore ? i : best;
    bestScore = score > bestScore ? score : bestScore;
  }
  return best;
}

// Index of the live entry with the highest history value (earliest on ties), or 0.
int BestByHistory(const uint32_t *history, int begin, int end) {
  int best = 0;
  int64_t bestValue = -1;
  for (int i = begin; i < end; ++i) {
    const Move move = MoveStack[i];
    const int64_t value = move ? int64_t(history[move & 4095]) : -1;
    best = value > bestValue ? i : best;
    bestValue = value > bestValue ? value : bestValue;
  }
  return best;
}

// Returns the entry at index and removes it from the list.
Move Take(int index) {
  const Move move = MoveStack[index];
  MoveStack[index] = 0;
  return move;
}

}  // namespace

int CaptureKey(Move move) {
  const int attacker = PieceValue[MovePiece(move)], victim = PieceValue[MoveCaptured(move)];
  return attacker < victim ? ExactKey(victim - attacker) : ExchangeBoundKey(move);
}

template <int Us>
int BestCapture(int begin, int end, int floor) {
  for (;;) {
    const int best = BestScored(begin, end, floor);
    if (!best || !IsBoundKey(MoveScores[best])) return best;
    const Move move = MoveStack[best];
    MoveScores[best] = ExactKey(StaticExchange(Us, MoveFrom(move), MoveTo(move)));
  }
}

template <int Us>
Move NextMove(int ply) {
  PlyRecord &record = Ply[ply];
  const int begin = Ply[ply - 1].listEnd;
  switch (record.phase) {
    case 0:
      record.phase = 1;
      if (record.hashMove && IsPseudoLegal<Us>(record.hashMove, ply)) {
        record.listEnd = begin;
        return record.hashMove;
      }
      [[fallthrough]];
    case 1:
      record.phase = 2;
      GenerateCaptures<Us>(ply);
      for (int i = begin; i < record.listEnd; ++i) {
        if (record.hashMove && MoveStack[i] == record.hashMove) {
          MoveStack[i] = 0;
          record.hashMove = 0;
        } else {
          MoveScores[i] = CaptureKey(MoveStack[i]);
        }
      }
      [[fallthrough]];
    case 2:
      // Captures that win or hold material, best first.
      if (int best = BestCapture<Us>(begin, record.listEnd, ExactKey(-1))) return Take(best);
      record.phase = 3;
      [[fallthrough]];
    case 3:
      record.phase = 4;
      if (record.killer1 != record.hashMove && IsPseudoLegal<Us>(record.killer1, ply)) return record.killer1;
      [[fallthrough]];
    case 4:
      record.phase = 5;
      if (record.killer2 != record.hashMove && IsPseudoLegal<Us>(record.killer2, ply)) return record.killer2;
      [[fallthrough]];
    case 5:
      record.phase = 6;
      record.historyPicks = 0;
      GenerateNonCaptures<Us>(ply, record.listEnd);
      [[fallthrough]];
    case 6:
      if (record.historyPicks < 4) {
        if (record.historyPicks == 0) {
          for (int i = begin; i < record.listEnd; ++i) {
            const Move move = MoveStack[i];
            if ((record.hashMove && move == record.hashMove) || move == record.killer1 || move == record.killer2)
              MoveStack[i] = 0;
          }
        }
        record.historyPicks++;
        if (int best = BestByHistory(History[Us], begin, record.listEnd)) return Take(best);
      }
      record.phase = 7;
      [[fallthrough]];
    case 7:
      for (int i = record.listEnd - 1; i >= begin; --i) {
        if (MoveStack[i]) {
          record.listEnd = i;
          return MoveStack[i];
        }
      }
      return 0;
    default:
      return 0;
  }
}

template <int Us>
Move NextEvasion(int ply) {
  PlyRecord &record = Ply[ply];
  const int begin = Ply[ply - 1].listEnd;
  if (record.phase == 0) {
    record.phase = 8;
    GenerateEvasions<Us>(ply);
    for (int i = begin; i < record.listEnd; ++i) {
      const Move move = MoveStack[i];
      MoveScores[i] = record.hashMove && move == record.hashMove ? ExactKey(ScoreInfinite) : CaptureKey(move);
    }
  }
  if (record.phase != 8) return 0;
  const int best = BestCapture<Us>(begin, record.listEnd, ExactKey(-ScoreInfinite));
  return best ? Take(best) : 0;
}

template <int Us>
int IsPseudoLegal(Move move, int ply) {
  constexpr int Sign = ColourSign[Us];
  constexpr int Forward = PawnStep[Us];
  const int from = MoveFrom(move), to = MoveTo(move), piece = MovePiece(move), captured = MoveCaptured(move);
  if (piece == 0 || Board[from] != Sign * piece) return 0;
  const bool destination = captured ? Board[to] == -Sign * captured : Board[to] == Empty;
  switch (piece) {
    case Pawn:
      if (captured && Board[to] != Empty) return Board[to] == -Sign * captured;
      if (captured) {
        const int ep = Ply[ply - 1].epSquare;
        return captured == Pawn && ep && to == ep && Board[to - Forward] == -Sign * Pawn;
      }
      if (Board[to] != Empty) return 0;
      return to == from + Forward || (to == from + 2 * Forward && Board[from + Forward] == Empty);
    case Knight:
      return destination;
    case Bishop:
    case Rook:
    case Queen:
      return destination && !(Between[from][to] & Occupancy());
    case King:
      if (!destination) return 0;
      if (Distance[from][to] != 2) return 1;
      if (File(to) == 2) return CastlingAllowed<Us, false>();
      if (File(to) == 6) return CastlingAllowed<Us, true>();
      return 0;
    default:
      return 0;
  }
}

template Move NextMove<White>(int);
template Move NextMove<Black>(int);
template int BestCapture<White>(int, int, int);
template int BestCapture<Black>(int, int, int);
template Move NextEvasion<White>(int);
template Move NextEvasion<Black>(int);
template int IsPseudoLegal<White>(Move, int);
template int IsPseudoLegal<Black>(Move, int);
